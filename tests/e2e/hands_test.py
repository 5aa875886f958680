#!/usr/bin/env python3
"""A service of forty steps in the shipped program by keyboard alone, and again by mouse alone: from the opening of
the project to the end of the stream. A step is over when what it should do is seen; what went on air is read back
from the recording and at the platform. What each hand needed is printed.

usage: pipewire_session.sh --with-services hands_test.py PROGRAM PRIMARY_TEXT [unittest arguments]
"""

import itertools
import json
import subprocess
import time

from case import Platform, StudioTest, main, share_media_service
from desktop import Atspi, Program, wait_for
from editing import make_home
from hands import Keyboard, Mouse
from storm_test import SENDING, Camera
from translation_test import Microphone

PLATFORM, KEY = "Otro RTMP", "k3y-hands"
TITLE, TITLE_FIELD = "Domingo de Ramos", "Título, versículo o cinta inferior..."
MONITOR = "PROGRAMA REDES · lo que sale a YouTube/Facebook"
WIDTH, HEIGHT = 48, 27  # of the pictures that are looked at
CORNER, BAND = (0.16, 0.1), (0.9, 0.85)  # where scenes are told apart, and the title's band
COLORS = {"black": (0, 0, 0), "red": (160, 0, 0), "camera": (255, 255, 255), "blue": (0, 0, 160)}
SERVICE = ["red", "camera", "blue", "red", "black"]


def scene(name, *layers):
    box = dict(x=0, y=0, w=1, h=1, visible=True, opacity=1)
    return dict(name=name, layers=[{**box, **layer} for layer in layers])


def project():
    verse = dict(kind="verse", name="Cita", x=0.3, y=0.2, w=0.6, h=0.5, size=90, paged=True)
    streams = [
        scene("Bienvenida", dict(kind="color", name="Rojo", fill="#ffa00000")),
        scene("Plano general", dict(kind="camera", name="Cámara")),
        scene("Lectura", dict(kind="color", name="Azul", fill="#ff0000a0"), verse),
    ]
    hall = [scene("Sala", dict(kind="color", name="Verde", fill="#ff00a000"))]
    return json.dumps(dict(version=3, gain=100, scenes=streams, hall=hall))


def color_at(picture, place):
    """The name of the colour there; none for a mixture."""
    start = 3 * (int(place[1] * HEIGHT) * WIDTH + int(place[0] * WIDTH))
    found = picture[start : start + 3]
    near = [name for name, wanted in COLORS.items() if all(abs(a - b) < 40 for a, b in zip(found, wanted))]
    return near[0] if near else None


def pictures(path):
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-vf", f"fps=10,scale={WIDTH}:{HEIGHT}:flags=area,format=rgb24"]
    data = subprocess.run([*words, "-f", "rawvideo", "-"], check=True, capture_output=True).stdout
    size = 3 * WIDTH * HEIGHT
    return [data[start : start + size] for start in range(0, len(data) - size + 1, size)]


def scenes(seen):
    """That were on air, one after another, from the first one on."""
    colors = [name for name, _ in itertools.groupby(corner for corner, _ in seen if corner)]
    return colors[1:] if colors[:1] == ["black"] else colors


def is_part(some, whole):
    """In the same order."""
    rest = iter(whole)
    return all(one in rest for one in some)


class HandsTest(StudioTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.open_hall()
        share_media_service()

    def setUp(self):
        super().setUp()
        for make in (Camera, lambda: Microphone("Pulpit-microphone"), Platform):
            self.platform = make()
            self.addCleanup(self.platform.close)
        home = make_home(secrets={f"stream-{PLATFORM}": KEY})
        self.file = home / "domingo.nimbara"
        self.file.write_text(project())
        self.studio = Program(self.program, home=home)
        self.addCleanup(lambda: self.studio.close())
        wait_for("the devices", lambda: {"Pulpit-microphone", "Altar"} <= set(self.studio.names()))

    # What is seen of a step.

    def said(self, text):
        return lambda: any(text in status for status in self.studio.statuses()[self.told :])

    def shows(self, *names, role=None):
        return lambda: self.studio.find(*names, role=role)

    def has(self, state, name, role):
        def met():
            node = self.studio.find(name, role=role)
            return node is not None and node.get_state_set().contains(state)

        return met

    def holds(self, field, text):
        def met():
            node = self.studio.find(field, role="text")
            return node is not None and Atspi.Text.get_text(node, 0, -1) == text

        return met

    def on_air(self):
        """What the monitor of the streams shows."""
        box = self.studio.find(MONITOR, role="filler").get_extents(Atspi.CoordType.SCREEN)
        words = ["import", "-window", "root", "-crop", f"{box.width}x{box.height}+{box.x}+{box.y}", "+repage"]
        words += ["-resize", f"{WIDTH}x{HEIGHT}!", "-depth", "8", "rgb:-"]
        return subprocess.run(words, check=True, capture_output=True).stdout

    def shows_page(self, other):
        """Another page of the verse than the first, or that one."""

        def met():
            shown = self.on_air()
            differs = sum(abs(a - b) > 40 for a, b in zip(shown, self.first_page)) > 30
            return color_at(shown, CORNER) == "blue" and differs == other

        return met

    def turn_page(self):
        self.first_page = self.on_air()
        self.hand.page_on()

    def open_project(self):
        self.hand.press("Abrir proyecto")
        self.hand.open_file("Abrir proyecto", self.file)

    def page(self, name, control):
        return lambda: self.hand.page(name), self.shows(control, role="push button")

    def steps(self):
        """What is done, and how it is seen that it is."""
        hand, checked = self.hand, Atspi.StateType.CHECKED
        box, combo, entry = "check box", "combo box", "list item"
        hidden = lambda: hand.beginning("🚫", role=entry)
        titled = lambda: color_at(self.on_air(), CORNER) == "red" and color_at(self.on_air(), BAND) != "red"
        airs = lambda name: self.shows(f"AL AIRE · {name}")
        found = self.said("Versículo listo: ")
        field = f"RTMP {PLATFORM}"
        return [
            (self.open_project, self.said("Proyecto guardado/abierto")),
            self.page("Fuentes y pantallas", "Conectar fuentes"),
            (lambda: hand.choose("Barras de prueba", "Altar"), self.shows("Altar", role=combo)),
            (lambda: hand.choose("Sin entrada / silencio", "Pulpit-microphone"), self.shows("Pulpit-microphone", role=combo)),
            (lambda: hand.press("Conectar fuentes"), self.said("Fuentes abiertas.")),
            (lambda: hand.press("Pantallas de sala en el monitor elegido"), self.shows("Ocultar pantallas de sala")),
            self.page("Audio", "Medir con palmadas"),
            (lambda: hand.press("Silenciar"), self.shows("Quitar silencio")),
            (lambda: hand.press("Quitar silencio"), self.shows("Silenciar")),
            self.page("Transmitir y grabar", "Guardar claves en este equipo"),
            (lambda: hand.tick(PLATFORM), self.has(checked, PLATFORM, box)),
            (lambda: hand.write(field, self.platform.rtmp), self.holds(field, self.platform.rtmp)),
            (lambda: hand.press("● Grabar"), self.shows("Grabar Programa")),
            (lambda: hand.save_file("Grabar Programa"), self.said("Grabando Programa y audio seleccionado.")),
            (lambda: hand.press("Iniciar destinos seleccionados"), self.shows(SENDING)),
            (lambda: hand.scene(1), self.shows("Bienvenida", role=combo)),
            (hand.take, airs("Bienvenida")),
            (lambda: hand.write(TITLE_FIELD, TITLE), self.holds(TITLE_FIELD, TITLE)),
            (lambda: hand.tick("Banda"), self.has(checked, "Banda", box)),
            (hand.take, titled),
            (lambda: hand.scene(2), self.shows("Plano general", role=combo)),
            (hand.take, airs("Plano general")),
            (lambda: hand.scene(3), self.shows("Lectura", role=combo)),
            self.page("Escena y fuentes", "+ Fuente"),
            (lambda: hand.write("Cita", "Salmos 23"), self.holds("Cita", "Salmos 23")),
            (lambda: hand.look_up(found), found),
            (hand.take, lambda: color_at(self.on_air(), CORNER) == "blue"),
            (self.turn_page, self.shows_page(other=True)),
            (hand.page_back, self.shows_page(other=False)),
            (hand.toggle_front_layer, hidden),
            (hand.undo, lambda: not hidden()),
            (lambda: hand.scene(1), self.shows("Bienvenida", role=combo)),
            (hand.take, airs("Bienvenida")),
            (lambda: hand.press("Pantallas de sala", role=box), self.said("Editando las escenas de las pantallas de sala.")),
            (hand.take, self.said("Escena enviada a las pantallas de sala.")),
            (lambda: hand.press("Redes (YouTube/Facebook)", role=box), self.said("Editando las escenas de Redes.")),
            (lambda: hand.press("Fuera del aire"), self.said("Programa en negro")),
            self.page("Transmitir y grabar", "Guardar claves en este equipo"),
            (lambda: hand.press("■ Detener grabación"), self.said("Grabación guardada correctamente")),
            (lambda: hand.press("Detener transmisiones"), lambda: not self.studio.find(SENDING)),
        ]

    def serve(self, hand):
        self.hand = hand
        self.addCleanup(hand.close)
        began = time.monotonic()
        steps = self.steps()
        self.assertEqual(len(steps), 40)
        for number, (do, done) in enumerate(steps, 1):
            self.told = len(self.studio.statuses())
            do()
            wait_for(f"what step {number} does; said: {self.studio.statuses()[-3:]}", done)
        print(f"{type(hand).__name__.lower()}: {hand.presses} presses, {time.monotonic() - began:.0f} s")
        seen = self.seen_in(next(self.studio.home.glob("*.webm")))
        self.assertEqual(scenes(seen), SERVICE)
        self.assertIn(("red", "red"), seen)
        self.assertTrue(any(corner == "red" and band != "red" for corner, band in seen), "no title")
        received = scenes(self.seen_in(self.platform.received(KEY)))
        self.assertTrue(is_part(received, SERVICE) and {"red", "blue"} <= set(received), received)
        self.expect(received == SERVICE, f"at the platform: {received}")

    def seen_in(self, path):
        """The colours of each picture at both places."""
        return [(color_at(picture, CORNER), color_at(picture, BAND)) for picture in pictures(path)]

    def test_by_keyboard_alone(self):
        self.serve(Keyboard(self.studio))

    def test_by_mouse_alone(self):
        self.serve(Mouse(self.studio, self.tool))


if __name__ == "__main__":
    main()
