#!/usr/bin/env python3
"""Takes the pictures of scripts/screenshots. usage: screenshots.py PROGRAM SIZE LANGUAGE"""

import os
import pathlib
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "e2e"))
from desktop import Desktop, Program, wait_for, x  # noqa: E402

# name: the screen, the window at most, the scale factor, where the pictures go
SIZES = {
    "guide": ("1920x1080x24", (1320, 920), "1", ROOT / "docs" / "pictures"),
    "small": ("1024x768x24", (1024, 768), "1", ROOT / "build" / "screenshots" / "small"),
    "double": ("2720x2000x24", (2640, 1840), "2", ROOT / "build" / "screenshots" / "double"),
}
TABS = {
    "scene": ("Escena y fuentes", "Scene and sources"),
    "sources": ("Fuentes y pantallas", "Sources and screens"),
    "audio": ("Audio", "Audio"),
    "outputs": ("Transmitir y grabar", "Stream and record"),
    "translation": ("Traducción IA y Biblia", "AI translation and Bible"),
}


def window_id(title):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], capture_output=True, text=True)
    return found.stdout.split()[0] if found.stdout.split() else None


def place(window):
    """Width, height and the absolute place of the window's own area, without its frame."""
    told = subprocess.run(["xwininfo", "-id", window], capture_output=True, text=True, check=True).stdout
    words = ("Width", "Height", "Absolute upper-left X", "Absolute upper-left Y")
    return tuple(int(re.search(rf"{word}:\s+(-?\d+)", told)[1]) for word in words)


class Photographer:
    def __init__(self, program, language, size):
        self.program, self.language = program, language
        self.screen, self.window, self.scale, folder = SIZES[size]
        self.folder = folder / language
        self.folder.mkdir(parents=True, exist_ok=True)
        self.spanish = language == "es"
        os.environ["QT_SCALE_FACTOR"] = self.scale

    def say(self, spanish, english):
        return spanish if self.spanish else english

    def take(self, name, title=None):
        """The window as it stands on the screen, with what is on top of it; or a box alone."""
        time.sleep(0.6)  # a frame or two, and the toolkit's own animations
        target = wait_for(f"window {title}", lambda: window_id(title or "^Vesperline · Ardenvale$"))
        width, height, left, top = place(target)
        area = f"{width}x{height}+{left}+{top}"
        if title is None and (width, height) != self.window:
            print(f"{self.folder}: {name}: the window is {area}, not {self.window}")
        path = self.folder / f"{name}.png"
        subprocess.run(
            ["import", "-window", "root", "-crop", area, "+repage", "-dither", "None", "-colors", "256",
             "-define", "png:compression-level=9", f"PNG8:{path}"],
            check=True,
        )

    def open(self, onboarded):
        studio = Program(self.program, self.language, onboarded=onboarded)
        target = wait_for("the main window", lambda: window_id("^Vesperline · Ardenvale$"))
        x("windowmove", "--sync", target, "0", "0")
        return studio

    def first_start(self):
        studio = self.open(onboarded=False)
        try:
            title = self.say("Bienvenido a Ardenvale Vesperline", "Welcome to Ardenvale Vesperline")
            self.take("assistant-terms", title)
            studio.click(self.say("Leer condiciones y créditos", "Read terms and credits"))
            box = self.say("Ardenvale Vesperline · créditos y licencias", "Ardenvale Vesperline · credits and licenses")
            self.take("credits", box)
            x("key", "Escape")
            studio.click(
                self.say("Acepto las condiciones de uso y licencias de terceros", "I accept the terms of use and the third-party licenses")
            )
            studio.click(self.say("Siguiente", "Next"))
            self.take("assistant-key", title)
            studio.click(self.say("Terminar", "Finish"))
        finally:
            studio.close()

    def tabs(self):
        studio = self.open(onboarded=True)
        try:
            x("key", self.say("F1", "F2"))  # subtitles, and so verses, in the reader's language
            x("key", "space")
            studio.click(self.say("Pantallas de sala", "Hall screens"), role="check box")
            x("key", "space")
            studio.click(self.say("Redes (YouTube/Facebook)", "Streams (YouTube/Facebook)"), role="check box")
            time.sleep(0.6)
            for name, titles in TABS.items():
                studio.click(self.say(*titles), role="page tab")
                self.take(name)
            studio.click(self.say(*TABS["scene"]), role="page tab")
            self.verse(studio)
            self.boxes(studio)
        finally:
            studio.close()

    def verse(self, studio):
        studio.click(self.say("Cita", "Reference"), role="text")
        x("type", self.say("Juan 3:16", "John 3:16"))
        x("key", "Return")
        studio.wait_status(self.say("Versículo listo: ", "Verse ready: "))
        studio.click(self.say("AL AIRE  →", "ON AIR  →"))
        time.sleep(0.6)
        self.take("verse")

    def boxes(self, studio):
        studio.click(self.say("+ Escena", "+ Scene"))
        self.take("new-scene", self.say("Nueva escena", "New scene"))
        x("key", "Escape")
        studio.click(self.say("Abrir proyecto", "Open project"))
        self.take("open-project", self.say("Abrir proyecto", "Open project"))
        x("key", "Escape")
        if self.window[1] < 801:
            return  # what follows would need the scroll bar
        studio.click(self.say(*TABS["outputs"]), role="page tab")
        studio.click(self.say("● Grabar", "● Record"))
        studio.enter_path(self.say("Grabar Programa", "Record Program"), studio.home / "service.webm")
        studio.wait_status(self.say("Grabando Programa", "Recording Program"))
        self.take("recording")
        x("key", "alt+F4")
        self.take("close-question", self.say("^Cerrar$", "^Close$"))
        x("key", "Escape")


def main():
    program, size, language = sys.argv[1:]
    photographer = Photographer(os.path.abspath(program), language, size)
    desktop = Desktop(photographer.screen)
    try:
        photographer.first_start()
        photographer.tabs()
    finally:
        desktop.close()


if __name__ == "__main__":
    main()
