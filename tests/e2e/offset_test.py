#!/usr/bin/env python3
"""The sound offset of the shipped program: somebody claps before a camera, the microphone is late, the
measuring help proposes an offset, and a recording with it is read back.

usage: pipewire_session.sh --with-services offset_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import statistics
import subprocess

from case import SUPPORT, StudioTest, main, share_media_service
from desktop import wait_for, x
from recording import HEIGHT, WIDTH, beep_offsets, level, pictures, video_times

CAMERA, MICROPHONE = "Altar", "Pulpit-microphone"
LATE = 300  # ms, beside what the media service takes


class OffsetTest(StudioTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        share_media_service()

    def setUp(self):
        super().setUp()
        words = [SUPPORT / "clapper.py", CAMERA, MICROPHONE, str(LATE)]
        clapper = subprocess.Popen(["/usr/bin/python3", *words])
        self.addCleanup(clapper.wait)
        self.addCleanup(clapper.kill)
        wait_for("both devices in the service", self.are_there)  # the program looks once
        self.start()

    def are_there(self):
        told = subprocess.run(["pw-dump"], capture_output=True, text=True).stdout
        return all(f'"node.name": "{name}"' in told for name in (CAMERA, MICROPHONE))

    def connect(self):
        self.studio.click("Fuentes y pantallas", role="page tab")
        wait_for("the devices", lambda: {CAMERA, MICROPHONE} <= set(self.studio.names()))
        entries = ("Barras de prueba", CAMERA, ["Down"]), ("Sin entrada / silencio", MICROPHONE, ["Down"] * 2)
        for nothing, chosen, keys in entries:
            self.studio.click(nothing, role="combo box")
            x("key", *keys, "Return")
            wait_for(f"{chosen} chosen", lambda: self.studio.find(chosen, role="combo box"))
        self.studio.click("Conectar fuentes")
        self.studio.wait_status("Fuentes abiertas.")
        self.studio.click("AL AIRE  →")

    def measure(self):
        """What the help proposes, in ms."""
        self.studio.click("Audio", role="page tab")
        self.studio.click("Medir con palmadas")
        self.studio.wait_status("Palmada 3 de 3")
        use = lambda: [name for name in self.studio.names() if name.startswith("Usar ") and name.endswith(" ms")]
        proposal = wait_for("the proposal", use)[0]
        self.studio.click(proposal)
        return int(proposal.split()[1].replace("\u2212", "-"))

    def offsets(self, path):
        """How long after each flash its beep is heard in the recording, in seconds."""
        frames = pictures(path, WIDTH, HEIGHT)
        shown = [(t, None, level(p, 0.5, 0.5) > 128) for t, p in zip(video_times(path), frames)]
        return beep_offsets(path, shown)

    def test_a_late_microphone_is_heard_with_its_picture(self):
        self.connect()
        proposed = self.measure()
        self.assertLess(proposed, -LATE / 2)
        path = self.folder / "claps.webm"
        self.studio.start_recording(path)
        self.wait_recorded(path, 28)
        self.studio.stop_recording()
        offsets = self.offsets(path)
        self.assertGreaterEqual(len(offsets), 4)
        apart = statistics.median(offsets)
        told = f"offset {proposed} ms: beep after flash {[round(1000 * o) for o in offsets]} ms"
        self.assertLess(abs(apart), LATE / 2000, told)  # the other way round it would be twice as late
        self.expect(abs(apart) <= 0.02, told)


if __name__ == "__main__":
    main()
