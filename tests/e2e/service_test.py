#!/usr/bin/env python3
"""The shipped program on a desktop of its own, driven by clicks and keys: what is on air is recorded, and
the recordings are read back.

usage: service_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import os
import signal
import subprocess
import time

from gi.repository import Atspi

from case import StudioTest, main, timing
from desktop import Program, wait_for, x
from recording import beep_offsets, probe, read_clip, video_times


class ServiceTest(StudioTest):
    def record(self, name, seconds):
        path = self.folder / name
        self.studio.start_recording(path)
        self.wait_recorded(path, seconds)
        self.studio.stop_recording()
        self.check_shape(probe(path), "vp8", "vorbis")
        return path

    def test_a_clip_on_air_is_recorded(self):
        self.start(clip=dict(width=1280, height=720, seconds=60))
        path = self.record("service.webm", 8)
        shown = read_clip(path)
        self.check_clip(path, shown, beep_offsets(path, shown), 4)

    @timing
    def test_stalls_leave_the_time_stamps_on_schedule(self):
        self.start()
        path, started = self.folder / "stall.webm", time.monotonic()
        self.studio.start_recording(path)
        for at, stall in ((2, 0.2), (4, 10.0)):
            self.wait_recorded(path, at)
            os.kill(self.studio.pid, signal.SIGSTOP)
            time.sleep(stall)
            os.kill(self.studio.pid, signal.SIGCONT)
        self.wait_recorded(path, 16)
        self.studio.stop_recording()
        times = video_times(path)
        gaps = [b - a for a, b in zip(times, times[1:]) if b - a > 0.045]
        print("gaps after stalls of 0.2 and 10 s:", [round(g, 3) for g in gaps])
        self.assertEqual(len([g for g in gaps if g > 9]), 1)
        self.assertLess(times[-1], time.monotonic() - started)

    def test_a_killed_program_leaves_its_recording_and_offers_its_work(self):
        self.start()
        path = self.folder / "killed.webm"
        self.studio.start_recording(path)
        self.wait_recorded(path, 4)
        self.studio.click("Escena y fuentes", role="page tab")
        self.studio.click("Duplicar")
        copies = self.studio.log_path.parent / "recovery"
        wait_for("the recovery copy", lambda: list(copies.glob("*.recovery")))
        self.studio.process.kill()
        self.studio.process.wait()
        played = subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-f", "null", "-"], capture_output=True)
        self.assertEqual(played.returncode, 0, played.stderr)
        self.assertGreaterEqual(video_times(path)[-1], 4)
        self.studio = Program(self.program, home=self.studio.home)
        self.studio.click("Sí", "&Sí")
        self.studio.wait_status("Trabajo recuperado")
        wait_for("the scene", lambda: self.studio.find("Escena 1 copia"))

    def test_a_screen_reader_is_told_of_every_control(self):
        """Over the bus, as a reader hears it: what the toolkit knows may not be what it tells."""
        self.start()
        wait_for("the window", lambda: self.studio.find("AL AIRE  →"))
        reached, nameless = 0, []
        for node in self.studio.walk(self.studio.application()):  # those of tabs that are not in front, too
            if node.get_state_set().contains(Atspi.StateType.FOCUSABLE):
                reached += 1
                owner = node.get_parent()
                if not node.get_name().strip() and owner.get_role_name() != "combo box":  # which its list is part of
                    nameless.append(f"{node.get_role_name()} in {owner.get_name()!r}")
        self.assertGreater(reached, 100)
        self.assertEqual(nameless, [], "controls without a name")

    def test_another_language_restarts_the_program(self):
        self.start()
        self.studio.click("ES", role="combo box")
        x("key", "Down", "Return")
        self.studio.click("Sí", "&Sí")
        self.studio.process.wait(30)
        old = self.studio.pid
        others = lambda: [pid for pid in self.studio.applications() if pid != old]
        self.studio.pid = wait_for("the program again", others)[0]
        self.addCleanup(os.kill, self.studio.pid, signal.SIGTERM)
        wait_for("the window in English", lambda: self.studio.find("ON AIR  →"))

    def test_a_full_disk_is_told_and_the_program_goes_on(self):
        self.start()
        self.studio.click("Transmitir y grabar", role="page tab")
        self.studio.click("● Grabar")
        full = self.folder / "full.webm"
        os.symlink("/dev/full", full)
        self.studio.enter_path("Grabar Programa", full)
        self.studio.click("Sí", "&Sí")  # it exists: replace it
        self.studio.wait_status("Fallo de salida (codigo ")
        self.check_even("after the full disk", video_times(self.record("after.webm", 2)))


if __name__ == "__main__":
    main()
