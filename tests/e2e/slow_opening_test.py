#!/usr/bin/env python3
"""A project on a disk that gives it ten seconds late or never: told, cancelled, raced by another opening, by an edit
and by what is sent to the programs, and left alone when the program ends. And pictures on such a disk.

usage: slow_opening_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import fcntl
import json
import os
import pathlib
import signal
import subprocess
import time

from case import StudioTest, main
from desktop import x
from editing import Editor, make_home

LATE = 10  # seconds
END = 10  # seconds that the program may take to its end
CANCEL, READY = "Cancelar apertura", "El proyecto está listo, pero has hecho cambios mientras se abría."


class SlowFile:
    """A file that whoever opens it waits for, until it is given; the system gives it after 45 s itself."""

    def __init__(self, path):
        self.path, self.file = path, os.open(path, os.O_RDWR)
        fcntl.fcntl(self.file, fcntl.F_SETLEASE, fcntl.F_WRLCK)

    def is_wanted(self):
        """Somebody waits for it."""
        return fcntl.fcntl(self.file, fcntl.F_GETLEASE) != fcntl.F_WRLCK

    def give(self):
        if self.file is not None:
            os.close(self.file)
            self.file = None

    def is_read(self):
        """It was given, and nobody has it open any more."""
        file = os.open(self.path, os.O_RDWR)
        try:
            fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_WRLCK)
            return True
        except BlockingIOError:
            return False
        finally:
            os.close(file)


class SlowOpeningTest(StudioTest):
    def setUp(self):
        super().setUp()
        signal.signal(signal.SIGIO, lambda *_: None)  # tells that somebody waits
        self.start(home=make_home())
        self.editor = Editor(self.studio)

    def slow(self, title):
        folder = self.studio.home / "red"
        folder.mkdir(exist_ok=True)
        path, scenes = folder / f"{title}.nimbara", [dict(name=title, layers=[])]
        path.write_text(json.dumps(dict(version=3, gain=100, scenes=scenes, hall=scenes)))
        return self.hold(path)

    def hold(self, path):
        file = SlowFile(path)
        self.addCleanup(file.give)
        return file

    def open(self, file, *answers):
        """Returns when the disk is asked, and the operator told."""
        told = len(self.studio.statuses())
        self.editor.open(file.path, *answers)
        self.editor.wait("the opening", lambda: "Abriendo proyecto…" in self.studio.statuses()[told:])
        self.editor.wait(CANCEL, lambda: self.studio.find(CANCEL))
        self.editor.wait("the disk", file.is_wanted)

    def is_scene(self, name):
        return self.studio.find(name, role="combo box")

    def cancel(self):
        """Another one opens while the first still hangs, and stays when that one comes."""
        hanging, other = self.slow("uno"), self.slow("dos")
        other.give()
        self.open(hanging)
        self.studio.click(CANCEL)
        self.studio.wait_status("Apertura cancelada.")
        self.editor.open(other.path)
        self.editor.wait("the other project", lambda: self.is_scene("dos"))
        return hanging

    def race(self, cancelled):
        """An edit and what is sent stay until the operator answers."""
        late = self.slow("tres")
        self.open(late)
        began = time.monotonic()
        cancelled.give()
        self.editor.add("text")
        self.studio.click("AL AIRE  →")
        self.editor.wait("it on air", lambda: self.studio.find("AL AIRE · dos"))
        time.sleep(max(0, LATE - (time.monotonic() - began)))
        self.assertTrue(self.studio.find(CANCEL))
        late.give()
        self.editor.wait("the question", lambda: any(READY in name for name in self.studio.names()))
        self.assertTrue(self.studio.find("AL AIRE · dos"))
        self.studio.click("No", "&No")
        self.editor.wait("the end of the opening", lambda: self.studio.find("Abrir proyecto", role="push button"))
        self.assertTrue(self.is_scene("dos"))
        self.assertEqual(len(self.editor.listed()), 1)

    def end(self):
        self.open(self.slow("nunca"), "No guardar")
        x("key", "alt+F4")  # the window manager's
        self.studio.click("No guardar")
        began = time.monotonic()
        self.studio.process.wait(END)
        print(f"the end took {time.monotonic() - began:.1f} s")

    def test_an_opening_that_hangs_takes_nothing_away(self):
        self.race(self.cancel())
        self.end()

    def picture(self, name):
        path = self.studio.home / f"{name}.png"
        words = ["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc=size=64x36", "-frames:v", "1", str(path)]
        subprocess.run(words, check=True)
        return path

    def choose_picture(self, path):
        self.studio.enter_path("Imagen", path)

    def change(self, path):
        self.editor.click("Cambiar imagen...")
        self.choose_picture(path)

    def test_late_pictures_go_where_they_were_meant_for(self):
        """The earlier of two changes counts when it comes last; a box open meanwhile changes another layer."""
        first, second, late, added = (self.picture(name) for name in ("primera", "segunda", "tarde", "otra"))
        self.editor.choose_source("image")
        self.choose_picture(first)
        self.editor.wait("the image", lambda: len(self.editor.listed()) == 2)
        slow = self.hold(late)
        self.change(late)
        self.editor.wait("the disk", slow.is_wanted)
        self.change(second)
        slow.give()
        self.editor.wait("the late picture", slow.is_read)
        slow = self.hold(added)
        self.editor.choose_source("image")
        self.choose_picture(added)
        self.editor.wait("the disk", slow.is_wanted)
        self.editor.click("Cambiar imagen...")
        self.editor.wait("the box", lambda: self.studio.has_keyboard("Imagen", "text"))
        slow.give()
        self.editor.wait("the other layer", lambda: len(self.editor.listed()) == 3)
        self.choose_picture(late)
        file = self.studio.home / "culto.nimbara"
        layers = lambda: [each for each in json.loads(file.read_bytes())["scenes"][0]["layers"] if each["kind"] == "image"]
        self.editor.save(file)
        self.assertEqual([pathlib.Path(each["path"]).name for each in layers()], ["tarde.png", "otra.png"])
        x("key", "ctrl+z", "ctrl+z")
        self.editor.save()
        self.assertEqual([pathlib.Path(each["path"]).name for each in layers()], ["segunda.png"])


if __name__ == "__main__":
    main()
