#!/usr/bin/env python3
"""Takes the pictures of scripts/screenshots. usage: screenshots.py PROGRAM SIZE LANGUAGE"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "e2e"))
from desktop import Desktop, Program, wait_for, x  # noqa: E402

# name: the screen, the window at most, the scale factor, where the pictures go
BUILD = ROOT / "build" / "screenshots"
SIZES = {
    "guide": ("1920x1080x24", (1320, 920), "1", ROOT / "docs" / "pictures"),
    "normal": ("1920x1080x24", (1320, 920), "1", BUILD / "normal"),
    "small": ("1024x768x24", (1024, 768), "1", BUILD / "small"),
    "netbook": ("1024x600x24", (1024, 600), "1", BUILD / "netbook"),
    "laptop": ("1366x768x24", (1366, 768), "1", BUILD / "laptop"),
    "full": ("1920x1080x24", (1920, 1080), "1", BUILD / "full"),
    "double": ("2720x2000x24", (2640, 1840), "2", BUILD / "double"),
    "dense": ("3840x2160x24", (3840, 2160), "2", BUILD / "dense"),
}
TABS = {
    "scene": ("Escena y fuentes", "Scene and sources"),
    "sources": ("Fuentes y pantallas", "Sources and screens"),
    "audio": ("Audio", "Audio"),
    "outputs": ("Transmitir y grabar", "Stream and record"),
    "translation": ("Traducción IA y Biblia", "AI translation and Bible"),
}
# In the order of the menu.
KINDS = ["camera", "image", "text", "video", "network", "screen", "color", "subtitles", "verse-source", "clock"]
WINDOW = r"(^|— )Vesperline · Ardenvale\*?$"  # after what it streams and records, before unsaved changes


def window_id(title):
    # Where the program's locale is not installed its titles come in another encoding.
    pattern = re.sub(r"[^\x00-\x7f]", ".+", title)
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", pattern], capture_output=True, text=True)
    return found.stdout.split()[0] if found.stdout.split() else None


def place(window):
    """Width, height and the absolute place of the window's own area, without its frame."""
    told = subprocess.run(["xwininfo", "-id", window], capture_output=True, text=True, check=True).stdout
    words = ("Width", "Height", "Absolute upper-left X", "Absolute upper-left Y")
    return tuple(int(re.search(rf"{word}:\s+(-?\d+)", told)[1]) for word in words)


class Home:
    """An operator's home that looks like one, with something in it; gone at the end."""

    def __init__(self, videos, pictures):
        self.above = None
        self.path = pathlib.Path("/home/ana")
        try:
            self.path.mkdir()
        except OSError:  # somebody's, or not ours to make
            self.above = tempfile.mkdtemp()
            self.path = pathlib.Path(self.above) / "ana"
            self.path.mkdir()
        (self.path / videos).mkdir()
        (self.path / pictures).mkdir()
        self.image, self.video = self.path / pictures / "cartel.png", self.path / videos / "himno.mp4"
        subprocess.run(["convert", "-size", "640x360", "plasma:", str(self.image)], check=True)
        source = ["-f", "lavfi", "-i", "testsrc=size=640x360:rate=25:duration=20"]
        subprocess.run(["ffmpeg", "-v", "error", *source, "-pix_fmt", "yuv420p", str(self.video)], check=True)

    def remove(self):
        shutil.rmtree(self.above or self.path)


class Photographer:
    def __init__(self, program, language, size):
        self.program, self.language = program, language
        self.screen, self.window, self.scale, folder = SIZES[size]
        self.for_guide, self.is_small = size == "guide", size == "small"
        self.fills = size in ("netbook", "laptop", "full", "dense")  # the screen, below the window's title
        self.folder = folder / language
        self.folder.mkdir(parents=True, exist_ok=True)
        self.spanish = language == "es"
        os.environ["QT_SCALE_FACTOR"] = self.scale
        self.studio = None

    def say(self, spanish, english):
        return spanish if self.spanish else english

    def click(self, spanish, english, **words):
        self.studio.click(self.say(spanish, english), **words)

    def take(self, name, title=None):
        """The window as it stands on the screen, with what is on top of it; or a box alone."""
        time.sleep(0.6)  # a frame or two, and the toolkit's own animations
        target = wait_for(f"window {title}", lambda: window_id(title or WINDOW))
        width, height, left, top = place(target)
        area = f"{width}x{height}+{left}+{top}"
        if title is None and not self.fills and (width, height) != self.window:
            print(f"{self.folder}: {name}: the window is {area}, not {self.window}")
        path = self.folder / f"{name}.png"
        subprocess.run(
            ["import", "-window", "root", "-crop", area, "+repage", "-dither", "None", "-colors", "256",
             "-define", "png:compression-level=9", f"PNG8:{path}"],
            check=True,
        )

    def take_box(self, name, spanish, english):
        """A box, which goes away afterwards."""
        self.take(name, f"^({self.say(spanish, english)})$")
        x("key", "Escape")
        wait_for("the box's end", lambda: window_id(f"^({self.say(spanish, english)})$") is None)

    def open(self, home, onboarded):
        os.environ["LC_ALL"] = self.say("es_ES.UTF-8", "en_US.UTF-8")
        self.studio = Program(
            self.program, self.language, home=home, onboarded=onboarded, runtime=tempfile.mkdtemp()
        )
        os.environ["LC_ALL"] = "C.UTF-8"  # the tools need one that is installed, to find titles by
        target = wait_for("the main window", lambda: window_id(WINDOW))
        if self.fills:
            x("windowmove", "--sync", target, "0", "20")
            x("windowsize", target, str(self.window[0]), str(self.window[1] - 20))
            time.sleep(0.6)
        else:
            x("windowmove", "--sync", target, "0", "0")

    def wheel(self, column, row, turns=30):
        """Down over a place of the window, told in parts of its size."""
        width, height, left, top = place(window_id(WINDOW))
        x("mousemove", str(left + int(column * width)), str(top + int(row * height)))
        x("click", "--repeat", str(turns), "--delay", "10", "5")
        time.sleep(0.3)

    def first_start(self):
        title = self.say("Bienvenido a Ardenvale Vesperline", "Welcome to Ardenvale Vesperline")
        self.take("assistant-terms", title)
        self.click("Leer condiciones y créditos", "Read terms and credits")
        self.take_box(
            "credits", "Ardenvale Vesperline · créditos y licencias", "Ardenvale Vesperline · credits and licenses"
        )
        self.click("Acepto las condiciones de uso y licencias de terceros", "I accept the terms of use and the third-party licenses")
        self.click("Siguiente", "Next")
        if not self.for_guide:
            self.take("assistant-key", title)
        self.click("Terminar", "Finish")
        wait_for("the assistant's end", lambda: window_id(title) is None)

    def edit(self, hall):
        names = ("Pantallas de sala", "Hall screens") if hall else ("Redes (YouTube/Facebook)", "Streams (YouTube/Facebook)")
        self.click(*names, role="check box")

    def tabs(self):
        x("key", self.say("F1", "F2"))  # subtitles, and so verses, in the reader's language
        self.edit(hall=True)
        x("key", "space")
        self.take("hall")
        self.edit(hall=False)
        x("key", "space")
        time.sleep(0.6)
        for name, titles in TABS.items():
            self.click(*titles, role="page tab")
            self.take(name)
        if self.is_small:
            self.wheel(0.65, 0.1)
            self.take("bottom")
        self.wheel(0.04, 0.85)
        self.take("bible")
        self.click(*TABS["scene"], role="page tab")

    def verse(self):
        self.click(*TABS["scene"], role="page tab")
        self.click("Cita", "Reference", role="text")
        x("type", self.say("Juan 3:16", "John 3:16"))
        x("key", "Return")
        self.studio.wait_status(self.say("Versículo listo: ", "Verse ready: "))
        self.click("AL AIRE  →", "ON AIR  →")
        time.sleep(0.6)
        self.take("verse")

    def languages(self):
        if self.fills and self.window[1] < 900:  # the header is folded away
            self.click("Mostrar la cabecera", "Show the header")
        there, back = (("Down", "Up") if self.spanish else ("Up", "Down"))
        self.click("ES", "EN", role="combo box")
        x("key", there, "Return")
        self.take_box("language-question", "Idioma", "Language")
        self.click("EN", "ES", role="combo box")
        x("key", back, "Return")

    def scenes(self, home):
        self.click("+ Escena", "+ Scene")
        self.take("new-scene", self.say("Nueva escena", "New scene"))
        x("key", "Return")
        self.click("Eliminar escena", "Delete scene")
        self.take_box("delete-scene", "Eliminar escena", "Delete scene")
        self.add("network")
        self.take_box("network-source", "Fuente de red", "Network source")
        self.add("image")
        self.studio.enter_path(self.say("Imagen", "Image"), home.video)
        self.take_box("warning", "Ardenvale Vesperline", "Ardenvale Vesperline")

    def add(self, kind):
        self.click("+ Fuente", "+ Source")
        x("key", "--delay", "30", *["Down"] * (KINDS.index(kind) + 1), "Return")

    def properties(self, home):
        """Each kind of source, the upper and the lower part of its properties."""
        for kind in KINDS:
            if kind == "network":
                continue  # a video to the interface
            self.add(kind)
            if kind == "image":
                self.studio.enter_path(self.say("Imagen", "Image"), home.image)
            if kind == "video":
                self.studio.enter_path("Video", home.video)
            self.take(f"{kind}-upper")
            self.wheel(0.52, 0.85)
            self.take(f"{kind}-lower")
            if kind == "color":
                self.click("Color", "Color", role="push button")
                self.take_box("color-box", "Seleccionar color|Select Color", "Select Color")

    def projects(self, home):
        self.click("Guardar proyecto", "Save project")
        self.take("save-project", self.say("Guardar proyecto", "Save project"))
        self.studio.enter_path(self.say("Guardar proyecto", "Save project"), home.path / "domingo.nimbara")
        self.studio.wait_status(self.say("Proyecto guardado/abierto", "Project saved/opened"))
        self.click("Abrir proyecto", "Open project")
        self.take_box("open-project", "Abrir proyecto", "Open project")

    def recording(self, home):
        self.click(*TABS["outputs"], role="page tab")
        self.click("● Grabar", "● Record")
        self.studio.enter_path(self.say("Grabar Programa", "Record Program"), home.path / "culto.webm")
        self.studio.wait_status(self.say("Grabando Programa", "Recording Program"))
        self.take("recording")
        x("key", "alt+F4")
        self.take_box("close-question", "Cerrar", "Close")

    def run(self):
        home = Home("Videos", self.say("Fotos", "Pictures"))  # names that the keyboard types
        try:
            self.open(home.path, onboarded=False)
            self.first_start()
            self.tabs()
            if self.for_guide:
                self.verse()
                return
            # What needs the upper part of a small window comes first, a window of its own.
            self.studio.close()
            self.open(home.path, onboarded=True)
            self.languages()
            self.projects(home)
            if self.is_small:
                self.wheel(0.65, 0.1)
            self.verse()
            self.scenes(home)
            self.properties(home)
            if not self.is_small:  # its button is beyond the edge there
                self.recording(home)
        finally:
            if self.studio:
                self.studio.close()
            home.remove()


def main():
    program, size, language = sys.argv[1:]
    photographer = Photographer(program, language, size)
    desktop = Desktop(photographer.screen)
    try:
        photographer.run()
    finally:
        desktop.close()


if __name__ == "__main__":
    main()
