#!/usr/bin/env python3
"""The shipped program and its verses by keys alone, in both languages: cued, taken, paged, the neighbours,
another Bible, and what was shown before; and two Bibles side by side with their pages in the hall and in the
streams, in both formats. Each format in one language, unless NIMBARA_VERSES asks for both.

usage: verses_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

from case import StudioTest, main
from desktop import Atspi, Program, wait_for, x
from hands import Keyboard

both_languages = unittest.skipUnless("NIMBARA_VERSES" in os.environ, "takes minutes")

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
        open="Abrir proyecto",
        edit_hall="Pantallas de sala",
        show_hall="Pantallas de sala en el monitor elegido",
        hide_hall="Ocultar pantallas de sala",
        opened="Proyecto guardado/abierto",
        editing="Editando las escenas de las pantallas de sala.",
        sent="Escena enviada a las pantallas de sala.",
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
        open="Open project",
        edit_hall="Hall screens",
        show_hall="Hall screens on the chosen monitor",
        hide_hall="Hide hall screens",
        opened="Project saved/opened",
        editing="Editing the hall screen scenes.",
        sent="Scene sent to the hall screens.",
    ),
}


SPANISH = (
    "Mateo 5:3-6 · Reina-Valera 1909",
    "3 BIENAVENTURADOS los pobres en espíritu: porque de ellos es el reino de los cielos. 4 Bienaventurados los que "
    "lloran: porque ellos recibirán consolación. 5 Bienaventurados los mansos: porque ellos recibirán la tierra por "
    "heredad. 6 Bienaventurados los que tienen hambre y sed de justicia: porque ellos serán hartos.",
)
ENGLISH = (
    "Matthew 5:3-6 · King James Version",
    "3 Blessed are the poor in spirit: for theirs is the kingdom of heaven. 4 Blessed are they that mourn: for they "
    "shall be comforted. 5 Blessed are the meek: for they shall inherit the earth. 6 Blessed are they which do hunger "
    "and thirst after righteousness: for they shall be filled.",
)
BOX = dict(x=0.1, y=0.2, w=0.8, h=0.6)
HALL_AREA = (1280, 0, 1920, 1080)  # on the desktop


def bilingual(name, fill, first, second, size):
    """A scene of one colour with a verse in two Bibles side by side."""
    shown = dict(visible=True, opacity=1)
    verse = dict(kind="verse", name="Cita", **BOX, **shown, size=size, background="#00000000", color="#ffffffff")
    verse.update(shadow=False, paged=True, reference=first[0], text=first[1])
    verse.update(secondReference=second[0], secondText=second[1], arrangement=1)
    ground = dict(kind="color", name="Fondo", x=0, y=0, w=1, h=1, **shown, fill=fill)
    return dict(name=name, layers=[ground, verse])


class Picture:
    """A part of the desktop, in grey."""

    def __init__(self, desktop, left, top, width, height):
        self.width, self.height = width, height
        words = ["ffmpeg", "-v", "error", "-f", "x11grab", "-video_size", f"{width}x{height}", "-draw_mouse", "0"]
        words += ["-i", f"{desktop.display}+{left},{top}", "-frames:v", "1", "-pix_fmt", "gray", "-f", "rawvideo", "-"]
        self.data = subprocess.run(words, check=True, capture_output=True).stdout

    def __eq__(self, other):
        return self.data == other.data

    def inked_columns(self):
        """Where something white is."""
        return [x for x in range(self.width) if max(self.data[x :: self.width]) > 160]

    def keep(self, name):
        """For someone who looks at them: where NIMBARA_PICTURES says."""
        if "NIMBARA_PICTURES" in os.environ:
            path = pathlib.Path(os.environ["NIMBARA_PICTURES"], f"{name}.pgm")
            path.write_bytes(f"P5 {self.width} {self.height} 255\n".encode() + self.data)


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


class HallVersesTest(StudioTest):
    """The hall's own window beside the monitor of the streams."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.open_hall()

    def open_project(self, language, vertical, first, second):
        """A project with both on air, the hall on its monitor."""
        self.words = words = WORDS[language]
        home = pathlib.Path(tempfile.mkdtemp(prefix="studio-home-"))
        settings = Program.settings_of(home)
        settings.parent.mkdir(parents=True)
        general = f"[General]\nlanguage={language}\nonboarding_complete=true\n"
        settings.write_text(general + "[first_steps]\nclosed=true\n")
        project = home / "lectura.nimbara"
        streams = [bilingual("Redes", "#ff0000a0", first, second, size=110)]
        hall = [bilingual("Sala", "#ff006000", first, second, size=80)]
        project.write_text(json.dumps(dict(version=3, vertical=vertical, gain=100, scenes=streams, hall=hall)))
        self.start(home=home)
        self.hand = Keyboard(self.studio)
        self.addCleanup(self.hand.close)
        self.hand.press(words["open"])
        self.hand.open_file(words["open"], project)
        self.studio.wait_status(words["opened"])
        self.hand.page("Fuentes y pantallas")
        self.hand.press(words["show_hall"])
        wait_for("the hall's window", lambda: self.studio.find(words["hide_hall"]))
        self.hand.take()
        self.hand.press(words["edit_hall"], role="check box")
        self.studio.wait_status(words["editing"])
        self.hand.take()
        self.studio.wait_status(words["sent"])

    def monitor(self):
        """Where the streams' program is seen now."""
        monitors = wait_for("the program's monitor", lambda: self.studio.all_named(self.words["program"]))
        places = [monitor.get_extents(Atspi.CoordType.SCREEN) for monitor in monitors]
        place = max(places, key=lambda each: each.height)
        return place.x, place.y, place.width, place.height

    def hall(self):
        return HALL_AREA

    def settled(self, place):
        """Once it stays, with text on it."""
        last = []

        def stays():
            last.append(Picture(self.desktop, *place()))
            return len(last) > 1 and last[-1] == last[-2] and last[-1].inked_columns() and last[-1]

        return wait_for("a picture that stays", stays)

    def both(self):
        """What the hall and the streams show."""
        return self.settled(self.hall), self.settled(self.monitor)

    def turn(self, key):
        """A page on or back, as it is told."""
        before = len(self.studio.statuses())
        self.hand.shortcut(key)
        wait_for(f"a status behind {key}", lambda: len(self.studio.statuses()) > before)

    def check_hall(self, picture):
        """No letter beyond the text's area, nor cut off at its edge."""
        columns = picture.inked_columns()
        self.assertGreater(min(columns), BOX["x"] * 1920 + 12)
        self.assertLess(max(columns), (BOX["x"] + BOX["w"]) * 1920 - 12)

    def read_on(self, name):
        """Page after page until both programs show another one, and back to the first."""
        self.turn("Next")
        self.turn("Prior")
        first = last = self.both()
        steps = 0
        while last[0] == first[0] or last[1] == first[1]:
            self.assertLess(steps, 6, "one of them stays at its first page")
            self.turn("Next")
            last = self.both()
            steps += 1
        for page, pictures in (("first", first), ("last", last)):
            for place, picture in zip(("hall", "streams"), pictures):
                picture.keep(f"{name}-{page}-{place}")
            self.check_hall(pictures[0])
        for _ in range(steps):
            self.turn("Prior")
        self.assertTrue(self.settled(self.hall) == first[0], "another first page than before")

    def test_upright_in_spanish(self):
        self.open_project("es", True, SPANISH, ENGLISH)
        self.read_on("upright-es")

    def test_wide_in_english(self):
        self.open_project("en", False, ENGLISH, SPANISH)
        self.read_on("wide-en")

    @both_languages
    def test_upright_in_english(self):
        self.open_project("en", True, ENGLISH, SPANISH)
        self.read_on("upright-en")

    @both_languages
    def test_wide_in_spanish(self):
        self.open_project("es", False, SPANISH, ENGLISH)
        self.read_on("wide-es")


if __name__ == "__main__":
    main()
