#!/usr/bin/env python3
"""The shipped program sends to a real RTMP server, which records what it receives. The files are
read back, and what the streams cost is printed.

usage: streaming_test.py PROGRAM [unittest arguments]
"""

import os
import pathlib
import socket
import statistics
import stat
import subprocess
import sys
import tempfile
import time
import unittest

from desktop import Desktop, Program, wait_for, x
from recording import probe, video_times

PROGRAM = ""
FRAME = 1 / 30
NAMES = ("YouTube", "Facebook", "Twitch", "Otro RTMP")
SENDING = "Enviando · confirma recepción en la plataforma"
SUPPORT = pathlib.Path(__file__).resolve().parent.parent / "support"
AUTHORITIES = "/etc/ssl/certs/ca-certificates.crt"  # where the system's TLS library looks


def free_port():
    with socket.socket() as probe_socket:
        probe_socket.bind(("127.0.0.1", 0))
        return probe_socket.getsockname()[1]


def answers(port):
    with socket.socket() as client:
        client.settimeout(1)
        return client.connect_ex(("127.0.0.1", port)) == 0


class Platform:
    """tests/support/rtmp_server.sh on free ports."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="studio-rtmp-")
        self.port, self.secure_port = free_port(), free_port()
        words = [SUPPORT / "rtmp_server.sh", self.folder.name, str(self.port), str(self.secure_port)]
        self.server = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for("the RTMP server", lambda: answers(self.port) and answers(self.secure_port))
        self.rtmp = f"rtmp://127.0.0.1:{self.port}/live"
        self.rtmps = f"rtmps://localhost:{self.secure_port}/live"
        self.authority = os.path.join(self.folder.name, "ca.pem")

    def received(self, key):
        return os.path.join(self.folder.name, "rec", f"{key}.flv")

    def size(self, key):
        return os.path.getsize(self.received(key)) if os.path.exists(self.received(key)) else 0

    def close(self):
        self.server.terminate()
        self.server.wait()
        self.folder.cleanup()


class Gauge:
    """What the running program uses, and how soon its interface thread answers."""

    def __init__(self, studio):
        self.studio = studio
        self.node = studio.find("Detener transmisiones")
        self.memory, self.answers = [], []
        self.start = (time.monotonic(), self.cpu())

    def read(self, name):
        return pathlib.Path(f"/proc/{self.studio.process.pid}/{name}").read_text()

    def cpu(self):
        return sum(int(ticks) for ticks in self.read("stat").rsplit(")", 1)[1].split()[11:13]) / os.sysconf("SC_CLK_TCK")

    def sample(self):
        self.memory.append(int(self.read("status").split("VmRSS:")[1].split()[0]) / 1024)
        before = time.monotonic()
        self.node.clear_cache()
        self.node.get_extents(0)  # answered by the interface thread, between two of its tasks
        self.answers.append(time.monotonic() - before)

    def watch(self, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.sample()
            time.sleep(0.5)

    def report(self):
        passed, used = time.monotonic() - self.start[0], self.cpu() - self.start[1]
        print(
            f"{passed:.0f} s: {used / passed:.2f} cores, memory {self.memory[0]:.0f} MB at first,"
            f" {max(self.memory):.0f} at most, {self.memory[-1]:.0f} at last;"
            f" answers after {1000 * statistics.median(self.answers):.0f} ms,"
            f" at most {1000 * max(self.answers):.0f} ms"
        )


def key_frame_times(path):
    words = ["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time,flags"]
    out = subprocess.run([*words, "-of", "csv=p=0", path], check=True, capture_output=True, text=True).stdout
    return [float(line.split(",")[0]) for line in out.split() if ",K" in line]


class StreamingTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.platform = Platform()
        cls.folder = tempfile.TemporaryDirectory(prefix="studio-e2e-")

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()
        cls.platform.close()
        cls.folder.cleanup()

    def tearDown(self):
        self.studio.close()
        for path in self.studio.home.rglob("*"):  # log, settings: no key in any of them
            if path.is_file():
                self.assertNotIn(b"k3y-e2e", path.read_bytes(), path)

    def open(self, program=None):
        self.studio = Program(program or PROGRAM)
        self.studio.click("Transmitir y grabar", role="page tab")

    def type_into(self, name, text):
        self.studio.click(name, role="text" if name.startswith("RTMP") else "password text")
        x("key", "ctrl+a")
        x("type", "--delay", "5", text)

    def fill(self, name, server, key):
        self.type_into(f"RTMP {name}", server)
        self.type_into(f"Clave de transmisión {name}", key)

    def start_recording(self, name):
        path = os.path.join(self.folder.name, name)
        self.studio.click("● Grabar")
        self.studio.enter_path("Grabar Programa", path)
        self.studio.wait_status("Grabando Programa y audio seleccionado.")
        return path

    def wait_received(self, key, size=100_000):
        wait_for(f"something of {key} at the server", lambda: self.platform.size(key) > size)

    def check_stream(self, key):
        """H.264 1080p and AAC at 48 kHz, a key frame at least every 60 pictures. The share of the
        pictures of its time that arrived, and the spacing of the key frames."""
        told = probe(self.platform.received(key))
        video = next(s for s in told["streams"] if s["codec_type"] == "video")
        audio = next(s for s in told["streams"] if s["codec_type"] == "audio")
        self.assertEqual((video["codec_name"], video["width"], video["height"]), ("h264", 1920, 1080))
        self.assertEqual((audio["codec_name"], audio["sample_rate"], audio["channels"]), ("aac", "48000", 2))
        times, keys = video_times(self.platform.received(key)), key_frame_times(self.platform.received(key))
        self.assertEqual(keys[0], times[0])
        between = [sum(a <= t < b for t in times) for a, b in zip(keys, keys[1:])]
        self.assertTrue(all(count <= 60 for count in between), between)
        return len(times) / (round((times[-1] - times[0]) / FRAME) + 1), [b - a for a, b in zip(keys, keys[1:])]

    def test_one_destination_is_whole_and_closing_asks(self):
        """What a small machine has to manage: every picture, a key frame every 2 s."""
        self.open()
        self.fill("Twitch", self.platform.rtmp, "k3y-e2e-one")
        self.studio.click("Iniciar Twitch")
        self.wait_received("k3y-e2e-one")
        gauge = Gauge(self.studio)
        gauge.watch(15)
        gauge.report()
        share, spacing = self.check_stream("k3y-e2e-one")
        print(f"one destination: {share:.1%} of the pictures, key frames every", [round(s, 2) for s in spacing])
        path = self.start_recording("closing.webm")
        gauge.watch(3)

        x("key", "alt+F4")
        self.studio.click("No", "&No")
        gauge.watch(1)
        self.assertIsNone(self.studio.process.poll())
        x("key", "alt+F4")
        self.studio.click("Sí", "&Sí")
        started = time.monotonic()
        self.assertEqual(self.studio.process.wait(60), 0)
        print(f"closed {time.monotonic() - started:.1f} s after the answer")
        self.assertGreater(float(probe(path)["format"]["duration"]), 2)
        self.assertGreaterEqual(share, 0.99)
        self.assertTrue(all(abs(s - 2) < 0.05 for s in spacing), spacing)

    def test_four_destinations_and_a_recording(self):
        """More than two cores can encode: pictures go, but neither the interface nor the memory."""
        self.open()
        keys = [f"k3y-e2e-four-{i}" for i in range(4)]
        for name, key in zip(NAMES, keys):
            self.fill(name, self.platform.rtmp, key)
            self.studio.click(name, role="check box")
        self.studio.click("Iniciar destinos seleccionados")
        for key in keys:
            self.wait_received(key)
        path = self.start_recording("five.webm")
        gauge = Gauge(self.studio)
        gauge.watch(60)
        gauge.report()
        self.assertIsNotNone(self.studio.find(SENDING))
        self.studio.click("■ Detener grabación")
        self.studio.wait_status("Grabación guardada correctamente")
        self.studio.click("Detener transmisiones")
        wait_for("four stopped slots", lambda: self.studio.find(SENDING) is None)
        for key in keys:
            share, spacing = self.check_stream(key)
            print(f"{key}: {share:.0%} of the pictures, key frames", [round(s, 1) for s in spacing])
        times = video_times(path)
        print(f"recording: {len(times) / (round((times[-1] - times[0]) / FRAME) + 1):.0%} of the pictures")
        # The queues of five outputs hold 3 pictures each, and the encoders a few.
        self.assertLess(max(gauge.memory), gauge.memory[10] + 300)
        self.assertLess(statistics.median(gauge.answers), 0.5)

    def trusting(self, authority):
        """The program with the authority in the place of the system's."""
        path = pathlib.Path(self.folder.name) / "trusting"
        mount = f'mount --bind "{authority}" {AUTHORITIES} && exec "{PROGRAM}"'
        path.write_text(f"#!/bin/sh\nexec unshare --mount --map-current-user --keep-caps sh -c '{mount}'\n")
        path.chmod(path.stat().st_mode | stat.S_IXUSR)
        return str(path)

    def test_rtmps_needs_a_known_certificate(self):
        self.open()
        self.fill("YouTube", self.platform.rtmps, "k3y-e2e-unknown")
        self.fill("Twitch", self.platform.rtmp, "k3y-e2e-beside")
        self.studio.click("Iniciar Twitch")
        self.studio.click("Iniciar YouTube")
        failed = "Fallo de salida (codigo "
        texts = lambda: [n.get_name() for n in self.studio.walk(self.studio.application())]
        shown = wait_for("the failure", lambda: [t for t in texts() if t.startswith(failed)])
        self.assertNotIn("k3y", shown[0])
        print("unknown certificate:", shown[0])
        self.wait_received("k3y-e2e-beside")
        self.assertEqual(self.platform.size("k3y-e2e-unknown"), 0)
        self.tearDown()

        self.open(self.trusting(self.platform.authority))
        self.fill("YouTube", self.platform.rtmps, "k3y-e2e-secure")
        self.studio.click("Iniciar YouTube")
        self.wait_received("k3y-e2e-secure")
        self.check_stream("k3y-e2e-secure")


if __name__ == "__main__":
    PROGRAM = sys.argv[1]
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]], verbosity=2)
