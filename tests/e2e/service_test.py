#!/usr/bin/env python3
"""The shipped program on a desktop of its own, driven by clicks and keys: clips go on air and are
recorded, and the recordings are read back.

usage: service_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from desktop import Desktop, Program, wait_for, x
from recording import beep_offsets, probe, read_clip, video_times

PROGRAM = ""
MAKE_CLIP = ""
FRAME = 1 / 30


def make_clip(**words):
    arguments = [f"{key}={value}" for key, value in words.items()]
    return subprocess.run([MAKE_CLIP, *arguments], check=True, capture_output=True, text=True).stdout.strip()


class ServiceTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.folder = tempfile.TemporaryDirectory(prefix="studio-e2e-")

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()
        cls.folder.cleanup()

    def setUp(self):
        self.studio = Program(PROGRAM)

    def tearDown(self):
        self.studio.close()

    def start_recording(self, name):
        path = os.path.join(self.folder.name, name)
        self.studio.click("Transmitir y grabar", role="page tab")
        self.studio.click("● Grabar")
        self.studio.enter_path("Grabar Programa", path)
        self.studio.wait_status("Grabando Programa y audio seleccionado.")
        return path

    def stop_recording(self):
        self.studio.click("■ Detener grabación")
        self.studio.wait_status("Grabación guardada correctamente")

    def record_on_air(self, name, seconds):
        """TAKE with the key, then a recording of that length."""
        x("key", "space")
        path = self.start_recording(name)
        time.sleep(seconds)
        self.stop_recording()
        return path

    def check_even(self, path, seconds=None):
        """VP8 1080p and Vorbis, without a gap: 99 of 100 frames, each 33 ± 1 ms after the last."""
        told = probe(path)
        video = next(s for s in told["streams"] if s["codec_type"] == "video")
        audio = next(s for s in told["streams"] if s["codec_type"] == "audio")
        self.assertEqual(
            (video["codec_name"], video["width"], video["height"]), ("vp8", 1920, 1080)
        )
        self.assertEqual(
            (audio["codec_name"], audio["sample_rate"], audio["channels"]), ("vorbis", "48000", 2)
        )
        times = video_times(path)
        promised = round((times[-1] - times[0]) / FRAME) + 1
        self.assertGreaterEqual(len(times), 0.99 * promised)
        steps = [round((b - a) * 1000) for a, b in zip(times, times[1:])]
        uneven = [step for step in steps if abs(step - 33.3) > 1.4]
        self.assertLessEqual(len(uneven), promised - len(times), f"uneven steps: {uneven}")
        if seconds is not None:
            self.assertAlmostEqual(float(told["format"]["duration"]), seconds, delta=0.4)
        return times

    def check_clip(self, path, shape, has_sound=True, on_its_side=False):
        """The counter runs forward and every flash has its beep within 50 ms."""
        shown = read_clip(path, shape, on_its_side)
        numbers = [number for _, number, _ in shown if number is not None]
        self.assertGreater(len(numbers), 0.8 * len(shown))
        self.assertGreater(len(set(numbers)), len(numbers) // 3)
        backwards = [(a, b) for a, b in zip(numbers, numbers[1:]) if b < a]
        self.assertEqual(backwards, [])
        if has_sound:
            offsets = beep_offsets(path, shown)
            self.assertGreaterEqual(len(offsets), 1)
            print(f"{os.path.basename(path)}: beep after flash, ms:", [round(o * 1000) for o in offsets])
            self.assertTrue(all(abs(o) <= 0.05 for o in offsets), offsets)

    def test_ten_seconds_on_air(self):
        clip = make_clip(width=1280, height=720, seconds=40, audio="aac")
        self.studio.load_video(clip)
        x("key", "space")
        path = self.start_recording("service.webm")
        start = time.monotonic()
        time.sleep(10)
        length = time.monotonic() - start
        self.stop_recording()
        self.check_even(path, length)
        self.check_clip(path, (1280, 720))

    def check_on_air(self, name, words, shape):
        """The clip goes on air; what was recorded is even, in order and in time with its sound."""
        self.studio.load_video(make_clip(seconds=20, **words))
        path = self.record_on_air(f"{name}.webm", 8)
        self.check_even(path)
        # The phone lay on its side: what is up in its pixels stands at the left of the recording.
        self.check_clip(path, shape, words.get("audio") != "", on_its_side="rotate" in words)

    def test_truncated_clip_is_told_and_the_program_goes_on(self):
        clip = make_clip(seconds=20, cut=0.5)
        self.studio.click("Fuentes y pantallas", role="page tab")
        self.studio.click("Cargar video")
        self.studio.enter_path("Video", clip)
        self.studio.wait_status("Fuente sin señal: ")
        path = self.record_on_air("after.webm", 8)
        self.check_even(path)

    def test_stalls_leave_the_time_stamps_on_schedule(self):
        path = self.start_recording("stall.webm")
        time.sleep(2)
        for stall in (0.2, 1.0, 10.0):
            os.kill(self.studio.process.pid, signal.SIGSTOP)
            time.sleep(stall)
            os.kill(self.studio.process.pid, signal.SIGCONT)
            time.sleep(2)
        self.stop_recording()
        times = video_times(path)
        gaps = [b - a for a, b in zip(times, times[1:]) if b - a > 0.045]
        print("gaps after stalls of 0.2, 1 and 10 s:", [round(g, 3) for g in gaps])
        self.assertEqual(len([g for g in gaps if g > 0.9]), 2)
        self.assertGreater(sum(gaps), 10.5)
        self.assertLess(times[-1], 20.5)

    def test_a_killed_recording_plays(self):
        path = self.start_recording("killed.webm")
        time.sleep(6)
        self.studio.process.kill()
        self.studio.process.wait()
        played = subprocess.run(
            ["ffmpeg", "-v", "error", "-i", path, "-f", "null", "-"], capture_output=True, text=True
        )
        self.assertEqual(played.returncode, 0, played.stderr)
        times = video_times(path)
        self.assertGreater(times[-1], 4.0)

    def test_a_killed_program_offers_its_work(self):
        self.studio.click("Duplicar")
        copies = self.studio.log_path.parent / "recovery"
        wait_for("the recovery copy", lambda: list(copies.glob("*.recovery")))
        self.studio.process.kill()
        self.studio.process.wait()
        self.studio = Program(PROGRAM, home=self.studio.home)
        self.studio.click("Sí", "&Sí")
        self.studio.wait_status("Trabajo recuperado")
        wait_for("the scene", lambda: self.studio.find("Escena 1 copia"))

    def test_another_language_restarts_the_program(self):
        self.studio.click("ES", role="combo box")
        x("key", "Down", "Return")
        self.studio.click("Sí")
        self.studio.process.wait(30)
        old = self.studio.pid
        others = lambda: [pid for pid in self.studio.applications() if pid != old]
        self.studio.pid = wait_for("the program again", others)[0]
        self.addCleanup(os.kill, self.studio.pid, signal.SIGTERM)
        wait_for("the window in English", lambda: self.studio.find("ON AIR  →"))

    def test_full_disk_is_told_and_the_program_goes_on(self):
        self.studio.click("Transmitir y grabar", role="page tab")
        self.studio.click("● Grabar")
        full = os.path.join(self.folder.name, "full.webm")
        os.symlink("/dev/full", full)
        self.studio.enter_path("Grabar Programa", full)
        wait_for("the dialog's question", lambda: self.studio.find("● Grabar") is not None)
        x("key", "alt+s")  # "Sí", should the dialog ask whether to replace
        self.studio.wait_status("Fallo de salida (codigo ")
        path = self.start_recording("after-full.webm")
        time.sleep(2)
        self.stop_recording()
        self.check_even(path)


CLIPS = {
    "4x3": (dict(width=640, height=480), (640, 480)),
    "portrait": (dict(width=640, height=360, rotate=90), (640, 360)),
    "25fps": (dict(rate="25"), (320, 180)),
    "59_94fps": (dict(width=1280, height=720, rate="60000/1001"), (1280, 720)),
    "vfr": (dict(extra="-vf select=not(eq(mod(n\\,7)\\,3)) -vsync vfr"), (320, 180)),
    "webm": (dict(video="libvpx-vp9", audio="libopus", container="webm"), (320, 180)),
    "mkv": (dict(container="mkv", audio="libvorbis"), (320, 180)),
    "silent": (dict(audio=""), (320, 180)),
    "5_1": (dict(channels=6), (320, 180)),
    "4k": (dict(width=3840, height=2160, extra="-preset ultrafast"), (3840, 2160)),
}
for name, (words, shape) in CLIPS.items():
    setattr(
        ServiceTest,
        f"test_clip_{name}",
        lambda self, name=name, words=words, shape=shape: self.check_on_air(name, words, shape),
    )


if __name__ == "__main__":
    PROGRAM, MAKE_CLIP = sys.argv[1:3]
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
