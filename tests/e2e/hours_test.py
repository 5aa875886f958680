#!/usr/bin/env python3
"""A service of hours, recorded and streamed: sound that leaves its picture little by little, pictures that are
not there at their time, memory that grows. The engine's outputs (hours_run) with small pictures, so that its time passes faster.

usage: hours_test.py HOURS_RUN [unittest arguments]

NIMBARA_HOURS (3) of the service, NIMBARA_HOURS_SPEED (6) times as fast.
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import unittest

from case import FRAME, Platform
from recording import beep_offsets, read_clip, video_times

HOURS = float(os.environ.get("NIMBARA_HOURS", "3"))
SPEED = float(os.environ.get("NIMBARA_HOURS_SPEED", "6"))
PLACES = 19  # at which picture and sound are compared
PERIOD = 0.033333  # of the frame schedule


class HoursTest(unittest.TestCase):
    program = ""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="studio-hours-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.platform = Platform()
        self.addCleanup(self.platform.close)

    def serve(self, recording):
        """Memory (MiB) at each ten minutes, and how many pictures were lost."""
        words = [self.program, str(SPEED), str(HOURS), str(recording), self.platform.rtmp]
        process, held, lines = subprocess.Popen(words, stdout=subprocess.PIPE, text=True), [], []
        self.addCleanup(process.kill)
        for line in process.stdout:
            lines.append(line.strip())
            if line.startswith("minute"):
                status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
                held.append(int(status.split("VmRSS:")[1].split()[0]) // 1024)
        self.assertEqual(process.wait(), 0, lines)
        self.assertEqual(lines[-1], "Grabación guardada correctamente")
        return held, int(lines[-2].split()[1])

    def piece(self, path, second):
        """Ten seconds of a file, as it is."""
        target = self.folder / "piece.mkv"
        words = ["ffmpeg", "-v", "error", "-y", "-ss", f"{second:.3f}", "-i", path, "-t", "10", "-c", "copy", target]
        subprocess.run([*map(str, words)], check=True)
        return target

    def check_file(self, name, path, lost):
        times = video_times(path)
        missing = round((times[-1] - times[0]) / PERIOD) + 1 - len(times)
        offsets = []
        for place in range(PLACES):
            piece = self.piece(path, times[0] + (times[-1] - times[0] - 12) * place / (PLACES - 1))
            shown = read_clip(piece)
            steps = [(b - a) % 65536 for (_, a, _), (_, b, _) in zip(shown, shown[1:])]
            self.assertGreater(min(steps), 0, "pictures in order")
            self.assertLessEqual(sum(steps) - len(steps), lost)
            offsets.append(round(1000 * statistics.median(beep_offsets(piece, shown))))
        print(f"{name}: {len(times)} pictures in {times[-1] - times[0]:.1f} s, {missing} missing, largest gap"
              f" {1000 * max(b - a for a, b in zip(times, times[1:])):.0f} ms; beeps later by {offsets} ms", flush=True)
        self.assertGreater(len(times), 3600 * HOURS / FRAME * 0.99)
        self.assertLessEqual(missing, lost)
        self.assertLessEqual(max(map(abs, offsets)), 50)

    def test_a_service_of_hours(self):
        recording = self.folder / f"service.{os.environ.get('NIMBARA_HOURS_FORMAT', 'webm')}"
        held, lost = self.serve(recording)
        print(f"{HOURS:g} hours, {SPEED:g} times as fast: memory {held} MiB, {lost} pictures lost", flush=True)
        self.check_file("recording", recording, lost)
        for slot in range(2):
            self.check_file(f"stream {slot + 1}", self.platform.received(f"hours-{slot}"), lost)
        late = held[len(held) // 2 :]
        self.assertLessEqual(min(late), min(held[1 : len(held) // 2] or late) + 10)


if __name__ == "__main__":
    HoursTest.program = os.path.abspath(sys.argv[1])
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]], verbosity=2)
