#!/usr/bin/env python3
"""The shipped program is killed in the midst of a translated service, at moments by chance, with a recording and
without: in each file of the captions there is every one that was shown, in order, but the last at most.

usage: api_host.sh PEERS pipewire_session.sh --with-services killed_captions_test.py PROGRAM PEERS [unittest arguments]

NIMBARA_CAPTION_MOMENTS (10) at which it is killed; NIMBARA_CAPTION_SEED repeats a run.
"""

import array
import html
import math
import os
import pathlib
import random
import re
import time

from case import main
from desktop import wait_for
from recording import RATE
from sermon_test import cues
from translation_test import PulpitTest

MOMENTS = int(os.environ.get("NIMBARA_CAPTION_MOMENTS", "10"))
SEED = int(os.environ.get("NIMBARA_CAPTION_SEED", random.randrange(10_000)))
PHRASES = [{"heard": f"frase número {i}", "caption": f"phrase number {i}"} for i in range(400)]
TONE = [int(9000 * math.sin(2 * math.pi * 300 * i / RATE)) for i in range(int(1.0 * RATE))]
SETTINGS = """[General]
language=es
onboarding_complete=true
translation_target=Portuguese
source_language=es
"""


class KilledCaptionsTest(PulpitTest):
    settings = SETTINGS

    def captions(self):
        return self.studio.log().count("IA: Subtítulo actualizado · ")

    def preach(self):
        """Phrases of a second for the next minutes."""
        phrase = array.array("h", TONE + [0] * int(0.6 * RATE)).tobytes()
        self.microphone.waiting = 200 * phrase

    def kept(self, place):
        """The captions in each file there, by its name."""
        found = {}
        for path in sorted(place.glob("*.*")):
            text = path.read_text() if path.suffix in (".srt", ".vtt", ".txt", ".html") else ""
            if path.suffix == ".srt":
                found[path.name] = [" ".join(lines) for _, _, lines in cues(path)]
            elif path.suffix == ".vtt":
                found[path.name] = [cue.split("\n", 1)[1] for cue in text.strip().split("\n\n")[1:]]
            elif path.suffix == ".txt":
                found[path.name] = text.splitlines()
            elif path.suffix == ".html":
                rows = re.findall(r"<td>[^<]*</td><td>([^<]*)</td><td>([^<]*)</td>", text)
                found[path.name + " es"], found[path.name + " pt"] = ([html.unescape(c) for c in side] for side in zip(*rows))
        return found

    def kill(self, moment):
        chance = random.Random(f"{SEED} {moment}")
        self.connect_microphone()
        self.api.command(do="serve", delay=300, phrases=PHRASES)
        self.begin_translation()
        place = self.studio.home / "Videos"
        if moment % 2 == 0:
            place = self.folder / f"service-{moment}"
            place.mkdir()
            self.studio.start_recording(place / "service.mkv")
        self.preach()
        wait_for("captions", lambda: self.captions() >= 2)
        time.sleep(chance.uniform(0, 12))
        shown = self.captions()
        time.sleep(0.1)  # by then they are on the pictures
        self.studio.process.kill()
        self.studio.process.wait()
        self.microphone.waiting = b""
        return shown, place if moment % 2 == 0 else next(path for path in place.rglob("*.txt")).parent

    def test_one_caption_is_lost_at_most(self):
        print(f"killed captions {SEED}: {MOMENTS} moments", flush=True)
        for moment in range(MOMENTS):
            if moment > 0:
                self.api.close()
                self.api = type(self.api)(pathlib.Path(self.tool))
                self.addCleanup(self.api.close)
                self.start(home=self.home())
            shown, place = self.kill(moment)
            kept = self.kept(place)
            print(f"{moment}: killed after {shown} captions; {({name: len(each) for name, each in kept.items()})}", flush=True)
            self.assertEqual(len(kept), 8)
            for name, found in kept.items():
                side = "heard" if ".es." in name or name.endswith(" es") else "caption"
                self.assertEqual(found, [each[side] for each in PHRASES[: len(found)]], name)
                self.assertGreaterEqual(len(found), shown - 1, name)


if __name__ == "__main__":
    main()
