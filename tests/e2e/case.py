"""What the runs of the shipped program share: their desktop, clips, an RTMP server.

The environment variable NIMBARA_TIMING asks for what a machine with nothing else to do can promise: every
picture, at its time. Without it the runs tell the same figures and go on.
"""

import os
import pathlib
import socket
import subprocess
import sys
import tempfile
import time
import unittest

from desktop import Desktop, Program, wait_for
from recording import video_times

FRAME = 1 / 30
HALL = ("--setmonitor", "Sala", "1920/508x1080/286+1280+0", "none")  # right of the studio's own screen
SUPPORT = pathlib.Path(__file__).resolve().parent.parent / "support"
TIMING = "NIMBARA_TIMING" in os.environ
timing = unittest.skipUnless(TIMING, "on a machine with nothing else to do")


class StudioTest(unittest.TestCase):
    """`program` is the shipped one, `tool` a helper's path."""

    program = tool = ""

    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.addClassCleanup(cls.desktop.close)
        folder = tempfile.TemporaryDirectory(prefix="studio-e2e-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)

    @classmethod
    def open_hall(cls):
        """A wider desktop, with a second monitor for the hall."""
        cls.desktop.close()
        cls.desktop = Desktop("3200x1080x24")
        cls.addClassCleanup(cls.desktop.close)
        subprocess.run(["xrandr", "--setmonitor", "Control", "1280/338x1080/286+0+0", "screen"], check=True)
        subprocess.run(["xrandr", *HALL], check=True)

    def setUp(self):
        started = time.monotonic()
        self.addCleanup(lambda: print(f"{self.id()}: {time.monotonic() - started:.0f} s"))

    def start(self, program=None, clip=None, **words):
        """The program, with a clip on air where its recipe is given."""
        self.studio = Program(program or self.program, **words)
        self.addCleanup(lambda: self.studio.close())
        if clip:
            made = [f"{key}={value}" for key, value in clip.items()]
            path = subprocess.run([self.tool, *made], check=True, capture_output=True, text=True).stdout
            self.studio.load_video(path.strip())
            self.studio.click("AL AIRE  →")

    def expect(self, met, what):
        """Of the speed of the machine."""
        print(f"{what}: {'as promised' if met else 'NOT as promised'}")
        self.assertTrue(met or not TIMING, what)

    def wait_recorded(self, path, seconds):
        def recorded():
            return os.path.exists(path) and (video_times(path, False) or [0])[-1] >= seconds

        wait_for(f"{seconds} s in {path}", recorded)

    def check_shape(self, told, video, audio):
        streams = {stream["codec_type"]: stream for stream in told["streams"]}
        shown, heard = streams["video"], streams["audio"]
        self.assertEqual((shown["codec_name"], shown["width"], shown["height"]), (video, 1920, 1080))
        self.assertEqual((heard["codec_name"], heard["sample_rate"], heard["channels"]), (audio, "48000", 2))

    def check_clip(self, path, shown, offsets, at_least):
        """The clip's pictures run forward; 30 a second, and each flash with its beep within 50 ms."""
        numbers = [number for _, number, _ in shown if number is not None]
        self.assertGreater(len(numbers), 0.8 * len(shown))
        self.assertGreater(len(set(numbers)), len(numbers) // 3)
        self.assertEqual(numbers, sorted(numbers))
        self.assertGreaterEqual(len(offsets), at_least)
        self.check_even(path, [time for time, _, _ in shown])
        self.expect(all(abs(o) <= 0.05 for o in offsets), f"{path}: beep after flash {[round(1000 * o) for o in offsets]} ms")

    def check_even(self, path, times):
        """99 of 100 pictures, each 33 ± 1 ms after the last."""
        due = round((times[-1] - times[0]) / FRAME) + 1
        uneven = [round(1000 * (b - a)) for a, b in zip(times, times[1:]) if abs(b - a - FRAME) > 0.0014]
        even = len(times) >= 0.99 * due and len(uneven) <= due - len(times)
        self.expect(even, f"{path}: {len(times)} of {due} pictures, other steps {uneven} ms")


def share_media_service():
    """With the program, whose runtime folder is another one."""
    os.environ["PIPEWIRE_REMOTE"] = os.path.join(os.environ["XDG_RUNTIME_DIR"], "pipewire-0")


def free_port():
    with socket.socket() as probe_socket:
        probe_socket.bind(("127.0.0.1", 0))
        return probe_socket.getsockname()[1]


def answers(port):
    with socket.socket() as client:
        client.settimeout(1)
        return client.connect_ex(("127.0.0.1", port)) == 0


class Platform:
    """tests/support/rtmp_server.sh, on free ports unless named; `more` are further words for it."""

    def __init__(self, port=None, secure_port=None, more=()):
        self.folder = tempfile.TemporaryDirectory(prefix="studio-rtmp-")
        self.port, self.secure_port = port or free_port(), secure_port or free_port()
        self.more = more
        self.run()
        self.rtmp = f"rtmp://127.0.0.1:{self.port}/live"
        self.rtmps = f"rtmps://localhost:{self.secure_port}/live"
        self.authority = os.path.join(self.folder.name, "ca.pem")

    def run(self):
        words = [SUPPORT / "rtmp_server.sh", self.folder.name, str(self.port), str(self.secure_port), *self.more]
        self.server = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for("the RTMP server", lambda: answers(self.port) and answers(self.secure_port))

    def signal(self, number):
        """To the server itself."""
        os.kill(int(pathlib.Path(self.folder.name, "nginx.pid").read_text()), number)

    def received(self, key):
        return os.path.join(self.folder.name, "rec", f"{key}.flv")

    def size(self, key):
        return os.path.getsize(self.received(key)) if os.path.exists(self.received(key)) else 0

    def close(self):
        self.server.terminate()
        self.server.wait()
        self.folder.cleanup()


def main():
    """PROGRAM TOOL [unittest arguments]"""
    StudioTest.program, StudioTest.tool = map(os.path.abspath, sys.argv[1:3])
    unittest.main(module="__main__", argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
