#!/usr/bin/env python3
"""The shipped program and its verses by keys alone, in both languages: cued, taken, paged, the neighbours,
another Bible, and what was shown before.

usage: verses_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import pathlib
import subprocess
import tempfile

from case import StudioTest, main
from desktop import Atspi, Program, wait_for, x

WORDS = {
    "es": dict(
        box="Pasajes de hoy",
        field="Cita",
        recent="Mostrados últimamente",
        program="PROGRAMA REDES · lo que sale a YouTube/Facebook",
        ready="Versículo listo: ",
        page="página",
        of="de",
        psalm="Salmos 119",
        verse="Juan 3:16 KJV",
        other="John 3:16 · King James Version",
    ),
    "en": dict(
        box="Today's passages",
        field="Reference",
        recent="Shown lately",
        program="STREAM PROGRAM · what goes to YouTube/Facebook",
        ready="Verse ready: ",
        page="page",
        of="of",
        psalm="Psalms 119",
        verse="John 3:16 RV1909",
        other="Juan 3:16 · Reina-Valera 1909",
    ),
}


class VersesTest(StudioTest):
    def begin(self, language):
        home = pathlib.Path(tempfile.mkdtemp(prefix="studio-home-"))
        settings = Program.settings_of(home)
        settings.parent.mkdir(parents=True)
        settings.write_text(f"[General]\nlanguage={language}\nonboarding_complete=true\nbible_choice={language}\n")
        self.words = WORDS[language]
        self.start(home=home)
        monitors = wait_for("the program's monitor", lambda: self.studio.all_named(self.words["program"]))
        places = [monitor.get_extents(Atspi.CoordType.SCREEN) for monitor in monitors]
        self.monitor = max(places, key=lambda place: place.height)  # the other one is its caption

    def press(self, *keys):
        x("key", *keys)

    def last(self):
        return (self.studio.statuses() or [""])[-1]

    def told(self, text):
        """Waits until it is the last that was told."""
        try:
            return wait_for(f"status {text!r}", lambda: text in self.last() and self.last())
        except AssertionError as never:
            raise AssertionError(f"{never}, but {self.last()!r}") from None

    def told_by(self, key):
        """What the key makes it tell."""
        before = len(self.studio.statuses())
        self.press(key)
        wait_for(f"a status behind {key}", lambda: len(self.studio.statuses()) > before)
        return self.last()

    def seen(self):
        """The verse in the streams' program, without what moves beside it."""
        place = self.monitor
        left, top = place.x + place.width // 4, place.y + place.height * 64 // 100
        size, area = f"{place.width * 45 // 100}x{place.height // 4}", f"{self.desktop.display}+{left},{top}"
        words = ["ffmpeg", "-v", "error", "-f", "x11grab", "-video_size", size, "-i", area, "-frames:v", "1"]
        words += ["-pix_fmt", "gray", "-f", "rawvideo", "-"]
        return subprocess.run(words, check=True, capture_output=True).stdout

    def changes(self, *keys):
        """What the keys do is seen on air."""
        before = self.seen()
        self.press(*keys)
        wait_for(f"another picture on air behind {keys}", lambda: self.seen() != before)

    def open_box(self):
        self.press("ctrl+l")
        wait_for("the keyboard in the passages", lambda: self.studio.has_keyboard(self.words["box"]))

    def close_box(self):
        self.press("Escape")
        wait_for("the keyboard in the window", lambda: not self.boxes() and self.studio.has_keyboard())

    def boxes(self):
        return self.studio.find(self.words["recent"], role="list")

    def cue(self, typed):
        """Writes it into the list and takes it from there."""
        self.open_box()
        self.press("shift+Tab", "shift+Tab")
        self.studio.type_in_focus(self.words["field"], typed)
        self.press("Return")
        wait_for(f"{typed} in the list", lambda: any(name.startswith(f"{typed}   ·") for name in self.studio.names()))
        self.press("Tab", "Tab")
        wait_for("the keyboard at the list", lambda: self.studio.has_keyboard(self.words["box"], role="list"))
        self.press("End", "Return")

    def serve(self):
        words = self.words
        passage = words["psalm"] + ":1-56"
        page = lambda number: f" · {words['page']} {number} {words['of']} "
        self.cue(passage)
        self.told(words["ready"] + passage + page(1))
        self.close_box()
        self.changes("space")
        for number in (2, 3, 4):
            self.changes("Next")
            self.told(page(number))
        told = self.last()
        while words["page"] in told:
            told = self.told_by("Next")
        self.assertEqual(told, words["ready"] + words["psalm"] + ":57")
        self.changes("Prior")
        self.told(words["ready"] + words["psalm"] + ":56")
        self.cue(words["verse"])
        self.told(words["ready"] + words["other"].split(" · ")[0])
        wait_for("the other Bible", lambda: self.studio.find(words["other"].split(" · ")[1], role="label"))
        self.close_box()
        self.changes("space")
        self.open_box()
        self.press("Tab", "Tab", "Tab", "Tab")
        wait_for("the keyboard at what was shown", lambda: self.studio.has_keyboard(words["recent"], role="list"))
        self.press("End", "Return")
        self.told(words["ready"] + passage + page(1))

    def test_a_reading_in_spanish(self):
        self.begin("es")
        self.serve()

    def test_a_reading_in_english(self):
        self.begin("en")
        self.serve()


if __name__ == "__main__":
    main()
