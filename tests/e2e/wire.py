"""A line whose packets a test holds in its hand, in a network of this process's own.

A connection to 10.9.1.N leaves through a tunnel and comes back as one from there to this machine, whose
servers hear it. On the way each N has troubles of its own; both kernels do about them what they do.
"""

import collections
import ctypes
import fcntl
import heapq
import itertools
import os
import random
import select
import struct
import subprocess
import threading
import time

NEWNS, NEWUSER, NEWNET = 0x20000, 0x10000000, 0x40000000
TUNSETIFF, TUN_WITHOUT_HEADER = 0x400454CA, 0x1001
LONGEST_QUEUE = 0.5  # seconds in front of a narrow line; what comes then is lost
# `delay` in seconds to and fro, `loss` as a share of the packets, `bits` a second (0: as many as there are).
Trouble = collections.namedtuple("Trouble", "cut delay loss bits", defaults=(False, 0, 0, 0))


def enter_own_world():
    """Network and mounts of this process's own. Raises `OSError` where that is not allowed."""
    uid = os.getuid()
    if ctypes.CDLL(None, use_errno=True).unshare(NEWNS | NEWNET | (NEWUSER if uid else 0)) != 0:
        raise OSError(ctypes.get_errno(), "no namespaces")
    if uid:
        maps = {"setgroups": "deny", "uid_map": f"0 {uid} 1", "gid_map": f"0 {os.getgid()} 1"}
        for name, text in maps.items():
            with open(f"/proc/self/{name}", "w") as file:
                file.write(text)
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)


class Wire:
    def __init__(self, seed):
        self.tunnel = os.open("/dev/net/tun", os.O_RDWR)
        fcntl.ioctl(self.tunnel, TUNSETIFF, struct.pack("16sH22x", b"wire0", TUN_WITHOUT_HEADER))
        for words in ("address add 10.9.0.1 dev wire0", "link set wire0 up", "route add 10.9.1.0/24 dev wire0"):
            subprocess.run(["ip", *words.split()], check=True)
        self.dice = random.Random(seed)
        self.troubles = collections.defaultdict(Trouble)  # by N
        self.flows, self.stranded = set(), set()  # (N, ports of both ends)
        self.sent = {}  # when an N was last sent more than a header
        self.free = collections.Counter()  # when a narrow line is, by its direction
        self.under_way, self.serial = [], itertools.count()
        threading.Thread(target=self.carry, daemon=True).start()

    def set(self, far, **words):
        self.troubles[far] = Trouble(**words)

    def strand(self, far):
        """The connections that are there fall silent; new ones do not."""
        self.stranded |= {flow for flow in self.flows if flow[0] == far}

    def carry(self):
        while True:
            wait = max(0, self.under_way[0][0] - time.monotonic()) if self.under_way else None
            if select.select([self.tunnel], [], [], wait)[0]:
                self.take(os.read(self.tunnel, 65536))
            while self.under_way and self.under_way[0][0] <= time.monotonic():
                os.write(self.tunnel, heapq.heappop(self.under_way)[2])

    def take(self, packet):
        if packet[0] != 0x45 or packet[16:19] != b"\x0a\x09\x01":
            return
        far, due = packet[19], time.monotonic()
        ports = struct.unpack("!HH", packet[20:24])
        flow, is_up = (far, *sorted(ports)), ports[0] > ports[1]  # those of servers are the low ones
        self.flows.add(flow)
        if is_up and len(packet) > 100:
            self.sent[far] = due
        trouble = self.troubles[far]
        if trouble.cut or flow in self.stranded or self.dice.random() < trouble.loss:
            return
        if trouble.bits:
            starts = max(self.free[far, is_up], due)
            if starts - due > LONGEST_QUEUE:
                return
            self.free[far, is_up] = due = starts + 8 * len(packet) / trouble.bits
        turned = packet[:12] + packet[16:20] + packet[12:16] + packet[20:]  # its sums stay right
        heapq.heappush(self.under_way, (due + trouble.delay / 2, next(self.serial), turned))
