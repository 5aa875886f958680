#!/usr/bin/env python3
"""What outputs and recordings do when lines, servers, disks and the program itself fail: the engine's outputs
in real time (outputs_run), real servers behind a line in the test's hand, real disks.

usage: outputs_test.py OUTPUTS_RUN [unittest arguments]

A short form, unless NIMBARA_OUTPUTS asks for all of it: NIMBARA_OUTPUTS_SECONDS (30) of each trouble,
NIMBARA_OUTPUTS_MOMENTS (20) at which the program or a disk ends, NIMBARA_OUTPUTS_MINUTES (10) of joining and
leaving. NIMBARA_OUTPUTS_SEED repeats a run.
"""

import fcntl
import json
import os
import pathlib
import random
import shutil
import signal
import statistics
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from case import FRAME, Platform
from desktop import wait_for
from recording import HEIGHT, WIDTH, beep_offsets, number, probe, read_clip
from wire import Wire, enter_own_world

LONG = "NIMBARA_OUTPUTS" in os.environ
SECONDS = float(os.environ.get("NIMBARA_OUTPUTS_SECONDS", "30" if LONG else "2"))
MOMENTS = int(os.environ.get("NIMBARA_OUTPUTS_MOMENTS", "20" if LONG else "1"))
MINUTES = float(os.environ.get("NIMBARA_OUTPUTS_MINUTES", "10"))
SEED = int(os.environ.get("NIMBARA_OUTPUTS_SEED", random.randrange(10_000)))
EXT4_SHUTDOWN, NOTHING_FLUSHED = 0x8004587D, 2
LOST = "Se vuelve a conectar sola"
SLACK = 0 if LONG else 20  # seconds: all of it is asked of a machine with nothing else to do
at_length = unittest.skipUnless(LONG, "takes minutes")


class Engine:
    """A run of outputs_run."""

    program = ""

    def __init__(self, journal):
        words, pipe = [self.program, journal], subprocess.PIPE
        self.process = subprocess.Popen(words, stdin=pipe, stdout=pipe, text=True, env=dict(os.environ, HOME=str(journal)))
        self.now, self.told, self.ticks = None, [], []
        threading.Thread(target=self.listen, daemon=True).start()
        wait_for("the first report", lambda: self.now)

    def listen(self):
        for line in self.process.stdout:
            report = json.loads(line)
            self.told += report["told"]
            self.ticks += report["ticks"]
            self.now = report

    def do(self, *lines):
        self.process.stdin.write("".join(line + "\n" for line in lines))
        self.process.stdin.flush()

    def slot(self, place):
        return self.now["slots"][place]

    def begin(self, place, server, key):
        self.do(f"server {place} {server}", f"key {place} {key}", f"toggle {place}")

    def stream(self, place, server, key):
        self.begin(place, server, key)
        wait_for(f"the stream {key}", lambda: self.slot(place)["sends"])

    def record(self, path):
        self.do(f"record {path}")
        wait_for("the recording", lambda: self.now["recorded"])

    def finish(self):
        self.do("finish")
        wait_for("the end of the recording", lambda: not self.now["recording"])

    def wait_told(self, text):
        wait_for(f"{text!r} in {self.told}", lambda: any(text in each for each in self.told))

    def picture(self):
        """The number of the one that is due."""
        return (time.monotonic() - self.now["began"]) / FRAME

    def held(self):
        """Memory in MiB, descriptors, threads."""
        proc = pathlib.Path(f"/proc/{self.process.pid}")
        memory = int((proc / "status").read_text().split("VmRSS:")[1].split()[0]) // 1024
        return memory, len(list((proc / "fd").iterdir())), len(list((proc / "task").iterdir()))

    def kill(self):
        self.process.kill()
        self.process.wait()

    def close(self):
        self.process.stdin.close()
        self.process.wait(20)


def ffmpeg(*words):
    return subprocess.run(["ffmpeg", "-v", "error", "-nostdin", *map(str, words)], capture_output=True)


def packets(path):
    """(seconds, hash) of each encoded picture."""
    lines = ffmpeg("-i", path, "-map", "0:v", "-c", "copy", "-f", "framehash", "-hash", "crc32", "-").stdout.decode().splitlines()
    rows = [line.split(",") for line in lines if not line.startswith("#")]
    return [(int(row[2]) / 1000, row[5]) for row in rows]


def tags(path):
    """Those of an FLV file that grows, in order: "V" and "A" headers, "K" key frame, "p" other picture, "a" sound."""
    data, place, kinds = pathlib.Path(path).read_bytes()[:300_000] if os.path.exists(path) else b"", 13, ""
    while place + 15 + (size := int.from_bytes(data[place + 1 : place + 4], "big")) <= len(data):
        kind, first, second = data[place], data[place + 11], data[place + 12]
        place += 15 + size
        if kind == 8:
            kinds += "a" if second else "A"
        if kind == 9:
            kinds += "V" if second == 0 else "K" if first >> 4 == 1 else "p"
    return kinds


class OutputsTest(unittest.TestCase):
    def setUp(self):
        started = time.monotonic()
        self.addCleanup(lambda: print(f"{self.id()}: {time.monotonic() - started:.0f} s", flush=True))
        folder = tempfile.TemporaryDirectory(prefix="studio-outputs-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.random = random.Random(SEED)

    def run_engine(self, journal=None):
        engine = Engine(journal or self.folder)
        self.addCleanup(engine.kill)
        return engine

    def check_every(self, name, times, lost):
        """Each picture, but for those that the machine could not encode."""
        missing = round((times[-1] - times[0]) / FRAME) + 1 - len(times)
        gap = max(b - a for a, b in zip(times, times[1:]))
        print(f"{name}: {len(times)} pictures, {missing} missing, largest gap {1000 * gap:.0f} ms", flush=True)
        self.assertLessEqual(missing, lost, name)


class LinesTest(OutputsTest):
    @classmethod
    def setUpClass(cls):
        try:
            cls.wire = Wire(SEED)
        except OSError as error:
            raise unittest.SkipTest(f"no tunnel for packets on this machine: {error}")
        cls.platform = Platform(1935, 1945, ["0.0.0.0", "3s"])
        cls.other = Platform(1936, 1946, ["0.0.0.0", "90s" if LONG else "12s"])
        cls.addClassCleanup(cls.platform.close)
        cls.addClassCleanup(cls.other.close)

    def setUp(self):
        super().setUp()
        self.wire.troubles.clear()
        self.engine = self.run_engine()

    def restart(self):
        self.other.server.wait()
        self.other.run()

    def is_connected(self, far):
        rows = [line.split() for line in pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]]
        ends = [row[2].split(":") for row in rows if row[3] in ("01", "02")]  # stands, or is being opened
        return any(address == f"{far:02X}01090A" and int(port, 16) < 2000 for address, port in ends)

    def stop(self, place, far):
        """How many seconds until the operator reads it, data was last sent, the connection is gone."""
        began = time.monotonic()
        if self.engine.slot(place)["onAir"]:
            self.engine.do(f"toggle {place}")
        wait_for("a stopped slot", lambda: not self.engine.slot(place)["onAir"])
        told = time.monotonic() - began
        wait_for("no connection", lambda: not self.is_connected(far) and not self.engine.now["leaving"])
        return told, max(0, self.wire.sent.get(far, 0) - began), time.monotonic() - began

    def test_one_of_four_in_trouble(self):
        """It takes pictures from the others, holds up the tick, or does not let itself be stopped."""
        wire, other, engine, nothing = self.wire, self.other, self.engine, lambda: None
        well = "rtmp://10.9.1.4:1936/live"
        troubles = [  # server, what befalls it, what ends that
            ("narrow", well, lambda: wire.set(4, bits=1e6), nothing),
            ("late and lossy", well, lambda: wire.set(4, delay=0.2, loss=0.05), nothing),
            ("black hole", well, lambda: wire.set(4, cut=True), nothing),
            ("never answers", "rtmp://10.9.1.5:1936/live", nothing, nothing),
            ("stops reading", well, lambda: other.signal(signal.SIGSTOP), lambda: other.signal(signal.SIGCONT)),
            ("killed", well, lambda: other.signal(signal.SIGKILL), self.restart),
            ("refused", "rtmp://10.9.1.4:1936/closed", nothing, nothing),
            ("unknown authority", "rtmps://10.9.1.4:1946/live", nothing, nothing),
            ("no such name", "rtmp://host.invalid/live", nothing, nothing),
        ]
        wire.set(5, cut=True)
        whole = self.folder / "whole.mkv"
        engine.record(whole)
        for place in range(3):
            engine.begin(place, self.platform.rtmp, f"good-{place}")
        wait_for("three streams", lambda: all(engine.slot(place)["sends"] for place in range(3)))
        for name, server, befall, end in troubles if LONG else troubles[:3]:
            engine.begin(3, server, name.replace(" ", "-"))
            wait_for(name, lambda: server != well or engine.slot(3)["sends"])
            befall()
            engine.ticks.clear()
            time.sleep(SECONDS)
            ticks, state = sorted(engine.ticks), engine.slot(3)
            told, sent, gone = self.stop(3, 5 if name == "never answers" else 4)
            end()
            wire.set(4)
            print(f"{name}: outputs of a tick p99 {ticks[len(ticks) * 99 // 100]:.1f}, most {ticks[-1]:.1f} ms; {state['dropped']} dropped,"
                  f" {state['text']!r}; stop: told {told:.1f}, sent {sent:.1f}, gone {gone:.1f} s", flush=True)
            self.assertLess(max(told, sent), 2 + SLACK, name)
        self.assertEqual([engine.slot(place)["dropped"] for place in range(3)], [0, 0, 0])
        engine.do(*(f"toggle {place}" for place in range(3)))
        engine.finish()
        lost, recorded = engine.now["lost"], packets(whole)
        self.check_every("recording", [time for time, _ in recorded], lost)
        hashes = [each for _, each in recorded]
        for place in range(3):
            received = packets(self.platform.received(f"good-{place}"))
            first = hashes.index(received[0][1])
            self.assertEqual([each for _, each in received], hashes[first : first + len(received)])
            self.assertGreater(len(received), len(hashes) - first - 60)

    def come_back(self, name, server, befall, heal, within=2):
        """Late, in the middle of pictures, or out of step with its sound."""
        platform = self.other if ":1936" in server else self.platform
        path = pathlib.Path(platform.received(name))
        self.engine.stream(3, server, name)
        wait_for("something at the server", lambda: "p" in tags(path))
        self.engine.told.clear()
        befall()
        shown = self.engine.slot(3)["text"]
        path.unlink()
        heal()
        began = time.monotonic()
        wait_for("pictures again", lambda: "K" in tags(path))
        passed = time.monotonic() - began
        time.sleep(5)
        copy = shutil.copyfile(path, self.folder / "back.flv")
        offsets = [round(1000 * each) for each in beep_offsets(copy, read_clip(copy))]
        print(f"{name}: first picture after {passed:.1f} s ({shown!r}); {tags(copy)[:9]}; sound later by {offsets} ms", flush=True)
        self.stop(3, 4)
        self.wire.troubles.clear()
        self.assertRegex(tags(copy), "^[VAa]*V[VAa]*K")
        self.assertRegex(tags(copy), "^[VKp]*A")
        self.assertLessEqual(abs(statistics.median(offsets)), 50)  # a flash may begin with a lost picture
        self.assertLess(passed, within + SLACK)

    def cut(self, seconds):
        self.wire.set(4, cut=True)
        time.sleep(seconds)

    def test_a_name_moves(self):
        hosts = self.folder / "hosts"
        hosts.write_text("10.9.1.4 ingest.test\n")
        subprocess.run(["mount", "--bind", hosts, "/etc/hosts"], check=True)
        self.addCleanup(subprocess.run, ["umount", "/etc/hosts"])
        self.come_back("moved", "rtmp://ingest.test/holds", lambda: (self.cut(0), self.engine.wait_told(LOST), time.sleep(3)),
            lambda: hosts.write_text("10.9.1.6 ingest.test\n"), within=3)

    @at_length
    def test_a_link_or_server_comes_back(self):
        server = "rtmp://10.9.1.4:1936/live"
        self.come_back("restart", server, lambda: (self.other.signal(signal.SIGKILL), time.sleep(4)), self.restart)
        for seconds in (20, 100):
            self.come_back(f"cut-{seconds}", "rtmp://10.9.1.4/holds", lambda: self.cut(seconds), lambda: self.wire.set(4))

    @at_length
    def test_a_name_that_is_held(self):
        def befall():
            self.wire.strand(4)
            log = pathlib.Path(self.other.folder.name, "logs", "error.log")
            wait_for("a refusal", lambda: "aún tiene" in self.engine.slot(3)["text"])
            wait_for("the end of the hold", lambda: "drop idle" in log.read_text(), 150)

        self.come_back("held", "rtmp://10.9.1.4:1936/holds", befall, lambda: None, within=12)

    @at_length
    def test_one_joins_and_leaves(self):
        """What each start leaves behind, or takes from the stream that stays; that has a short cut of its own."""
        engine, held = self.engine, []
        engine.stream(0, "rtmp://10.9.1.4/live", "stays")
        self.cut(1)
        self.wire.set(4)
        began = time.monotonic()
        while time.monotonic() - began < 60 * MINUTES:
            engine.begin(1, "rtmp://10.9.1.1:1936/live", f"joins-{len(held)}")
            time.sleep(3)
            engine.do("toggle 1")
            time.sleep(3)
            held.append(engine.held())
        print(f"memory, descriptors, threads: {held[:: max(1, len(held) // 10)]}", flush=True)
        state = engine.slot(0)
        self.stop(0, 4)
        times = [time for time, _ in packets(self.platform.received("stays"))]
        self.check_every("the one that stays", times, engine.now["lost"])
        self.assertEqual((state["dropped"], state["returns"]), (0, 0))
        for column, slack in zip(zip(*held), (20, 4, 4)):  # pictures that wait come and go
            self.assertLessEqual(min(column[-(len(held) // 3) :]), min(column[: len(held) // 3]) + slack)


class RecordingsTest(OutputsTest):
    def mount_disk(self):
        """An ext4 of 3 GB in a file."""
        image, path = self.folder / "image", self.folder / "disk"
        path.mkdir()
        subprocess.run(["truncate", "-s", "3G", image], check=True)
        subprocess.run(["mkfs.ext4", "-q", "-m", "0", image], check=True)
        mount = lambda: subprocess.run(["mount", "-o", "loop", image, path], capture_output=True).returncode == 0
        if not mount():
            self.skipTest("no disk can be mounted by this user")
        self.addCleanup(subprocess.run, ["umount", "-l", path])
        return path, mount

    def moments(self):
        """What befalls the recordings of this run: number, form, second."""
        for index in range(MOMENTS):
            yield index, ("webm", "mkv")[index % 2], self.random.uniform(2, 12 if LONG else 6)

    def record(self, path, seconds, journal):
        engine = self.run_engine(journal)
        engine.record(path)
        time.sleep(seconds)
        return engine

    def mend(self, path, journal):
        """Another start of the program."""
        engine = self.run_engine(journal)
        engine.wait_told(f"Grabación interrumpida reparada: {path.name}")
        engine.close()

    def check_whole(self, path, end, most):
        """It plays and seeks, up to `most` seconds before picture `end`."""
        shown = read_clip(path)
        numbers = [each for _, each, _ in shown]
        print(f"{path.name}: {len(numbers)} pictures, the last {(end - numbers[-1]) * FRAME:.2f} s missing", flush=True)
        self.assertEqual(numbers, sorted(set(numbers)))
        self.assertEqual(ffmpeg("-xerror", "-i", path, "-f", "null", "-").stderr, b"")
        middle = float(probe(path)["format"]["duration"]) / 2
        form = f"scale={WIDTH}:{HEIGHT}:flags=area,format=gray"
        sought = number(ffmpeg("-ss", middle, "-i", path, "-frames:v", 1, "-vf", form, "-f", "rawvideo", "-").stdout)
        self.assertIn(sought, [each for when, each, _ in shown if abs(when - shown[0][0] - middle) < 0.1])
        self.assertLessEqual((end - numbers[-1]) * FRAME, most + (0 if LONG else 3))

    def test_the_program_is_killed(self):
        for index, form, seconds in self.moments():
            path = self.folder / f"killed {index}.{form}"
            engine = self.record(path, seconds, self.folder)
            end = engine.picture()
            engine.kill()
            self.mend(path, self.folder)
            self.check_whole(path, end, 2)

    def test_the_power_is_cut(self):
        """A recording, or what tells the next start of it, had not been brought to the disk."""
        disk, mount = self.mount_disk()
        for index, form, seconds in self.moments():
            path = disk / f"cut {index}.{form}"
            engine = self.record(path, seconds, disk)
            end = engine.picture()
            folder = os.open(disk, os.O_RDONLY)
            fcntl.ioctl(folder, EXT4_SHUTDOWN, struct.pack("I", NOTHING_FLUSHED))
            os.close(folder)
            engine.kill()
            subprocess.run(["umount", disk], check=True)
            self.assertTrue(mount())
            self.mend(path, disk)
            self.check_whole(path, end, 5)

    @at_length
    def test_the_disk_is_full(self):
        """What was recorded before is lost, or the stream notices."""
        disk, _ = self.mount_disk()
        platform = Platform()
        self.addCleanup(platform.close)
        for index, form, seconds in self.moments():
            path, filler, key = disk / f"full {index}.{form}", disk / "filler", f"beside-{index}"
            engine = self.run_engine()
            engine.stream(0, platform.rtmp, key)
            engine.record(path)
            time.sleep(seconds)
            space = os.statvfs(disk)
            size = space.f_bavail * space.f_bsize - self.random.randrange(200_000)
            end = engine.picture()
            filled = subprocess.run(["fallocate", "-l", str(size), filler], capture_output=True, text=True)
            self.assertTrue(filled.returncode == 0 or "No space left" in filled.stderr, filled.stderr)
            wait_for("the end of the recording", lambda: not engine.now["recording"])
            time.sleep(1)
            state = engine.slot(0)
            engine.do("toggle 0")
            wait_for("the end of the stream", lambda: not engine.slot(0)["onAir"])
            lost = engine.now["lost"]
            is_closed = "Grabación guardada correctamente" in engine.told  # it was just in time
            engine.close()
            filler.unlink()
            self.assertEqual((state["sends"], state["dropped"], state["returns"]), (True, 0, 0))
            self.check_every(key, [time for time, _ in packets(platform.received(key))], lost)
            print(engine.told[-1], flush=True)
            if not is_closed:
                self.mend(path, self.folder)
            self.check_whole(path, end, 1)

    @at_length
    def test_parts_join(self):
        for form in ("webm", "mkv"):
            engine = self.run_engine()
            engine.do("parts 1")
            engine.record(self.folder / f"part.{form}")
            time.sleep(190)
            engine.finish()
            lost = engine.now["lost"]
            numbers, heard, offsets = [], 0, []
            for more in ("", " 2", " 3", " 4"):
                path = self.folder / f"part{more}.{form}"
                shown = read_clip(path)
                numbers += [each for _, each, _ in shown]
                offsets += [round(1000 * each) for each in beep_offsets(path, shown)]
                heard += len(ffmpeg("-i", path, "-ac", 1, "-f", "s16le", "-").stdout) / 2 / 48000
            due = numbers[-1] - numbers[0] + 1
            print(f"parts, {form}: {len(numbers)} of {due} pictures, {len(numbers) - len(set(numbers))} doubled; {heard - due * FRAME:.3f} s more sound;"
                  f" beeps later by {min(offsets)} to {max(offsets)} ms", flush=True)
            self.assertEqual(numbers, sorted(set(numbers)))
            self.assertLessEqual(due - len(numbers), lost)
            self.assertLess(abs(heard - due * FRAME), 0.1)
            self.assertLessEqual(abs(statistics.median(offsets)), 50)


if __name__ == "__main__":
    Engine.program = os.path.abspath(sys.argv[1])
    print(f"seed {SEED}", flush=True)
    try:
        enter_own_world()
    except (OSError, subprocess.CalledProcessError) as error:
        LinesTest = unittest.skip(f"no network of one's own on this machine: {error}")(LinesTest)
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]], verbosity=2, warnings="ignore")
