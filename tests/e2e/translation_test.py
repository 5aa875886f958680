#!/usr/bin/env python3
"""Spoken Spanish at a virtual microphone of the shipped program, captions on the hall window, in the
recording and at a real RTMP server, and the synthetic voice in the sound. The program takes a server of
this machine for the API's host, and nothing reaches that before the start or after the pause.

usage: api_host.sh PEERS pipewire_session.sh translation_test.py PROGRAM PEERS [unittest arguments]
"""

import array
import base64
import json
import math
import os
import pathlib
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from desktop import Desktop, Program, wait_for, x
from recording import RATE, probe, video_times
from streaming_test import FRAME, Platform, SUPPORT

PROGRAM = ""
PEERS = pathlib.Path()
KEY = "sk-e2e-9d8f7c6b5a"
CAMERA = "👁  Cámara   ·  Cámara"  # its layer in the list
TONE = 3000  # hertz, of the synthetic voice
SPOKEN = 1.2  # seconds of it
CAP_HEIGHT = 1409 / 2048  # of the captions' font, for each pixel of its size
PHRASES = [
    ("Abramos la Biblia en el evangelio de Juan", "LET THERE BE LIGHT"),
    ("En el principio era el verbo", "THE WORD WAS THERE"),
    ("Porque de tal manera amó Dios al mundo", "FOR HE LOVED THE EARTH"),
]
HALL = (96, 86, 1728, 907)  # x, y, width, height of the subtitles on each target, in pixels
STREAM = (77, 843, 1766, 172)


class Api:
    """tests/support/api_peer.mjs at the API's own address, answering as the API would."""

    def __init__(self):
        host = PEERS / "host"
        words = ["node", SUPPORT / "api_peer.mjs", host / "server.pem", host / "server.key", "443"]
        self.process = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.events = []
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()
        wait_for("the API's server", lambda: self.of("listening"))
        tone = (int(9000 * math.sin(2 * math.pi * TONE * i / 24000)) for i in range(int(SPOKEN * 24000)))
        voice = base64.b64encode(array.array("h", tone)).decode()
        phrases = [{"heard": heard, "caption": caption} for heard, caption in PHRASES]
        self.command(do="serve", delay=300, phrases=phrases, voice=voice)

    def read(self):
        for line in self.process.stdout:
            self.events.append(json.loads(line))

    def command(self, **words):
        self.process.stdin.write(json.dumps(words) + "\n")
        self.process.stdin.flush()

    def of(self, *kinds, path=""):
        return [e for e in self.events if e["event"] in kinds and e.get("path", "").endswith(path)]

    def received(self):
        """All that ever came from the program."""
        return len(self.of("connection", "upgrade", "request", "text"))

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.reader.join()
        self.process.stdout.close()


class Microphone:
    """A microphone of the media service, written to at the pace of the clock: silence or speech."""

    STEP = RATE // 100

    def __init__(self, name):
        node = json.dumps({"media.class": "Audio/Source", "node.name": name, "node.description": name})
        words = ["pw-cat", "--playback", "--target", "0", "--latency", "10ms", "--properties", node]
        words += ["--rate", str(RATE), "--channels", "1", "--format", "s16", "-"]
        self.process = subprocess.Popen(words, stdin=subprocess.PIPE)
        self.waiting = b""
        self.writer = threading.Thread(target=self.write)
        self.writer.start()

    def write(self):
        due = time.monotonic()
        while self.process.poll() is None:
            due += self.STEP / RATE
            time.sleep(max(0, due - time.monotonic()))
            block, self.waiting = self.waiting[: 2 * self.STEP], self.waiting[2 * self.STEP :]
            try:
                os.write(self.process.stdin.fileno(), block.ljust(2 * self.STEP, b"\0"))
            except BrokenPipeError:
                return

    def say(self, text):
        """Returns when the phrase is over; silence follows."""
        speech = subprocess.run(["espeak-ng", "-v", "es", "--stdout", text], check=True, capture_output=True).stdout
        words = ["ffmpeg", "-v", "error", "-i", "-", "-ar", str(RATE), "-ac", "1", "-f", "s16le", "-"]
        self.waiting = subprocess.run(words, input=speech, check=True, capture_output=True).stdout
        wait_for("the end of the phrase", lambda: not self.waiting)

    def close(self):
        self.process.kill()
        self.writer.join()
        self.process.stdin.close()
        self.process.wait()


def ink(picture):
    """Its bright pixels, as ones."""
    return picture.translate(bytes(value > 200 for value in range(256)))


def ink_height(picture, width):
    """The rows of the first line of text."""
    rows = [1 in ink(picture[at : at + width]) for at in range(0, len(picture), width)]
    first = rows.index(True)
    return (rows + [False]).index(False, first) - first


def cropped(path, box):
    """That part of each picture, as grey bytes."""
    area = f"crop={box[2]}:{box[3]}:{box[0]}:{box[1]},format=gray"
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-vsync", "passthrough", "-vf", area, "-f", "rawvideo", "-"]
    decoder = subprocess.Popen(words, stdout=subprocess.PIPE)
    while len(picture := decoder.stdout.read(box[2] * box[3])) == box[2] * box[3]:
        yield picture
    decoder.communicate()


def hall():
    """The subtitles of the hall window, off the screen."""
    left, top, width, height = HALL
    words = ["import", "-window", "root", "-crop", f"{width}x{height}+{left}+{top}", "-depth", "8", "gray:-"]
    return subprocess.run(words, check=True, capture_output=True).stdout


def loudness(path, hertz):
    """Of each 50 ms of the left channel: the level of that frequency, and of all."""
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-af", "pan=mono|c0=c0", "-ar", str(RATE), "-f", "f32le", "-"]
    data = array.array("f", subprocess.run(words, check=True, capture_output=True).stdout)
    length = RATE // 20
    turn = [complex(math.cos(a), math.sin(a)) for a in (2 * math.pi * hertz * i / RATE for i in range(length))]
    for at in range(0, len(data) - length, length):
        part = data[at : at + length]
        yield 2 * abs(sum(v * t for v, t in zip(part, turn))) / length, math.sqrt(sum(v * v for v in part) / length)


class TranslationTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.platform = Platform()
        cls.folder = tempfile.TemporaryDirectory(prefix="studio-e2e-")
        os.environ["PIPEWIRE_REMOTE"] = os.path.join(os.environ["XDG_RUNTIME_DIR"], "pipewire-0")

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()
        cls.platform.close()
        cls.folder.cleanup()

    def setUp(self):
        self.api = Api()
        self.addCleanup(self.api.close)
        self.microphone = Microphone("Pulpit-microphone")
        self.addCleanup(self.microphone.close)
        self.studio = Program(PROGRAM)
        self.addCleanup(self.studio.close)
        self.connect_microphone()
        self.prepare_scenes()

    def connect_microphone(self):
        self.studio.click("Fuentes y pantallas", role="page tab")
        names = lambda: [node.get_name() for node in self.studio.walk(self.studio.application())]
        wait_for("the microphone", lambda: "Pulpit-microphone" in names())
        self.studio.click("Sin entrada / silencio", role="combo box")  # named after its entry
        self.studio.click("Pulpit-microphone", role="list item")
        self.studio.click("Conectar fuentes")
        self.studio.wait_status("Fuentes abiertas.")

    def prepare_scenes(self):
        """Subtitles on both targets, in the streams before black, and both on air."""
        self.studio.click("Pantallas de sala")
        self.studio.click("A PANTALLAS  →")
        self.studio.wait_status("Escena enviada a las pantallas de sala.")
        self.studio.click("Redes (YouTube/Facebook)")
        self.studio.click("Escena y fuentes", role="page tab")
        self.studio.click("+ Fuente")
        time.sleep(1)  # the menu opens; its eighth entry
        x("key", *["Down"] * 8, "Return")
        wait_for("the layer", lambda: self.studio.find("👁  Subtítulos (IA)   ·  Subtítulos (IA)"))
        self.studio.click(CAMERA)
        self.studio.click("Eliminar")
        wait_for("one layer", lambda: not self.studio.find(CAMERA))
        self.studio.click("AL AIRE  →")

    def start(self, *boxes):
        """Begins to translate; the boxes are clicked first."""
        self.studio.click("Traducción IA y Biblia", role="page tab")
        self.studio.click("API key de OpenAI · se lee del almacén seguro al iniciar traducción", role="password text")
        x("key", "ctrl+a")
        x("type", "--delay", "5", KEY)
        for box in boxes:
            self.studio.click(box, role="check box")
        self.assertEqual(self.api.received(), 0, "something was sent before the start")
        self.studio.click("Iniciar traducción")

    def say(self, phrase):
        """Says a phrase of the script and waits for its caption."""
        shown = self.count("IA: Subtítulo actualizado · ")
        self.microphone.say(PHRASES[phrase][0])
        wait_for("the caption", lambda: self.count("IA: Subtítulo actualizado · ") > shown)
        print("caption:", self.studio.wait_status("IA: Subtítulo actualizado · "))

    def count(self, text):
        return len([status for status in self.studio.statuses() if text in status])

    def check_nothing_is_sent_after_the_pause(self):
        self.studio.click("Traducción IA y Biblia", role="page tab")
        self.studio.click("Pausar traducción")
        wait_for("the pause", lambda: self.studio.find("Iniciar traducción"))
        time.sleep(0.5)  # what was under way arrives
        before = self.api.received()
        self.microphone.say(PHRASES[0][0])
        time.sleep(2)
        self.assertEqual(self.api.received(), before)

    def check_key_is_nowhere(self):
        secret = KEY[7:].encode()
        told = {path: path.read_bytes() for path in self.studio.home.rglob("*") if path.is_file()}
        self.assertIn(self.studio.log_path, told)
        for name in ("cmdline", "environ"):
            path = pathlib.Path(f"/proc/{self.studio.process.pid}/{name}")
            told[path] = path.read_bytes()
        told["shown"] = "\n".join(n.get_name() for n in self.studio.walk(self.studio.application())).encode()
        for where, text in told.items():
            self.assertNotIn(secret, text, where)

    def record(self, name, body):
        path = os.path.join(self.folder.name, name)
        self.studio.click("Transmitir y grabar", role="page tab")
        self.studio.click("● Grabar")
        self.studio.enter_path("Grabar Programa", path)
        self.studio.wait_status("Grabando Programa y audio seleccionado.")
        body()
        self.studio.click("Transmitir y grabar", role="page tab")
        self.studio.click("■ Detener grabación")
        self.studio.wait_status("Grabación guardada correctamente")
        return path

    def test_live_captions_in_the_hall_and_in_a_recording(self):
        self.microphone.say(PHRASES[0][0])  # nobody has started
        self.start("Voz sintética en transmisión/grabación")
        self.studio.wait_status("IA: Modo en vivo activo (texto mientras se habla).")
        path = self.record("live.webm", self.hear_in_the_hall)
        self.assertEqual(len(self.api.of("request", path="/audio/transcriptions")), 0)
        self.check_caption_arrives_whole(path)
        self.check_voice(path)
        self.check_nothing_is_sent_after_the_pause()
        self.check_key_is_nowhere()

    def hear_in_the_hall(self):
        self.studio.click("Fuentes y pantallas", role="page tab")
        self.studio.click("Pantallas de sala en el monitor elegido")
        wait_for("the hall window", lambda: len(set(hall())) == 1)  # its background
        self.assertNotIn(1, ink(hall()))
        self.say(0)
        picture = wait_for("the caption in the hall", lambda: (lambda p: p if 1 in ink(p) else None)(hall()))
        height = ink_height(picture, HALL[2])
        print(f"hall: capitals of {height} pixels")
        self.assertAlmostEqual(height, 72 * CAP_HEIGHT, delta=3)
        time.sleep(SPOKEN + 0.5)
        x("key", "Escape")

    def check_caption_arrives_whole(self, path):
        """No picture shows half of it, and the picture that brings it keeps to the schedule."""
        times, amounts = video_times(path), [ink(picture).count(1) for picture in cropped(path, STREAM)]
        first = next(i for i, amount in enumerate(amounts) if amount > 0)
        whole = max(amounts)
        print(f"ink around the caption's arrival: {amounts[first - 1 : first + 3]}")
        self.assertGreater(amounts[first], 0.9 * whole)
        self.assertGreater(min(amounts[first:]), 0.9 * whole)
        gap = times[first] - times[first - 1]
        print(f"its picture comes {1000 * gap:.0f} ms after the one before")
        self.assertAlmostEqual(gap, FRAME, delta=0.0014)
        told = next(s for s in probe(path)["streams"] if s["codec_type"] == "video")
        self.assertEqual((told["width"], told["height"]), (1920, 1080))

    def check_voice(self, path):
        parts = list(loudness(path, TONE))
        spoken = [tone for tone, _ in parts if tone > 0.1]
        print(f"voice: {len(spoken) / 20:.2f} s in the recording, amplitude {max(spoken):.2f}")
        self.assertAlmostEqual(len(spoken) / 20, SPOKEN, delta=0.1)
        self.assertAlmostEqual(max(spoken), 9000 / 32768, delta=0.03)
        self.assertGreater(max(level for tone, level in parts if tone < 0.01), 0.05)  # the preacher

    def test_a_lost_session_goes_on_by_phrases_in_a_stream(self):
        self.start()
        self.studio.wait_status("IA: Modo en vivo activo (texto mientras se habla).")
        self.say(0)
        self.api.command(do="live", mode="reject")
        self.api.command(do="terminate")
        self.studio.wait_status("IA: Modo en vivo no disponible; se usa modo por trozos.")
        self.studio.click("Transmitir y grabar", role="page tab")
        for name, text in (("RTMP Twitch", self.platform.rtmp), ("Clave de transmisión Twitch", "caption")):
            self.studio.click(name)
            x("key", "ctrl+a")
            x("type", "--delay", "5", text)
        self.studio.click("Iniciar Twitch")
        wait_for("the stream", lambda: self.platform.size("caption") > 100_000)
        self.studio.click("Traducción IA y Biblia", role="page tab")
        self.studio.click("Limpiar pantalla de subtítulos")
        self.say(1)
        time.sleep(2)
        self.assertEqual(len(self.api.of("request", path="/audio/transcriptions")), 1)
        self.assertEqual(len(self.api.of("upgrade")), 1)
        self.studio.click("Transmitir y grabar", role="page tab")
        self.studio.click("Detener transmisiones")
        shown = [picture for picture in cropped(self.platform.received("caption"), STREAM) if 1 in ink(picture)]
        height = ink_height(shown[-1], STREAM[2])
        print(f"stream: capitals of {height} pixels in {len(shown)} pictures")
        self.assertAlmostEqual(height, 44 * CAP_HEIGHT, delta=3)
        self.check_nothing_is_sent_after_the_pause()
        self.refuse_the_key()
        self.check_key_is_nowhere()

    def refuse_the_key(self):
        """The API repeats the key in its refusal."""
        self.api.command(do="serve")
        self.studio.click("Iniciar traducción", button="4")  # the wheel: the first row is out of sight
        x("click", "--repeat", "9", "4")
        self.studio.click("Probar API key ahora")
        request = wait_for("the key's test", lambda: self.api.of("request")[-1])
        body = json.dumps({"error": {"message": f"Incorrect API key provided: {KEY}."}})
        self.api.command(do="answer", id=request["id"], status=401, base64=base64.b64encode(body.encode()).decode())
        told = self.studio.wait_status("API con error HTTP 401: ")
        print("refused:", told)


if __name__ == "__main__":
    PROGRAM, PEERS = sys.argv[1], pathlib.Path(sys.argv[2])
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
