#!/usr/bin/env python3
"""Spoken Spanish at a virtual microphone of the shipped program, captions in the recording, and the
synthetic voice in the sound. The program takes a server of
this machine for the API's host, and nothing reaches that before the start or after the pause.

usage: api_host.sh PEERS pipewire_session.sh --with-services translation_test.py PROGRAM PEERS [unittest arguments]
"""

import array
import base64
import json
import math
import os
import pathlib
import subprocess
import tempfile
import threading
import time

from case import FRAME, SUPPORT, StudioTest, main, share_media_service
from desktop import Program, wait_for, x
from recording import RATE, video_times

KEY = "sk-e2e-9d8f7c6b5a"
CAMERA = "👁  Cámara   ·  Cámara"  # its layer in the list
TONE = 3000  # hertz, of the synthetic voice
SPOKEN = 1.2  # seconds of it
PHRASES = [
    ("Abramos la Biblia en el evangelio de Juan", "LET THERE BE LIGHT"),
    ("En el principio era el verbo", "THE WORD WAS THERE"),
    ("Porque de tal manera amó Dios al mundo", "FOR HE LOVED THE EARTH"),
]
STREAM = (77, 843, 1766, 172)  # x, y, width, height of the subtitles, in pixels


class Api:
    """tests/support/api_peer.mjs at the API's own address, answering as the API would."""

    def __init__(self, peers):
        host = peers / "host"
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
        self.latest = 0.0  # seconds behind the clock; what is late by more than a moment is heard with a gap
        self.writer = threading.Thread(target=self.write)
        self.writer.start()

    def write(self):
        due = time.monotonic()
        while self.process.poll() is None:
            due += self.STEP / RATE
            time.sleep(max(0, due - time.monotonic()))
            self.latest = max(self.latest, time.monotonic() - due)
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


def cropped(path, box):
    """That part of each picture, as grey bytes."""
    area = f"crop={box[2]}:{box[3]}:{box[0]}:{box[1]},format=gray"
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-vsync", "passthrough", "-vf", area, "-f", "rawvideo", "-"]
    decoder = subprocess.Popen(words, stdout=subprocess.PIPE)
    while len(picture := decoder.stdout.read(box[2] * box[3])) == box[2] * box[3]:
        yield picture
    decoder.communicate()


def loudness(path, hertz):
    """Of each 50 ms of the left channel: the level of that frequency, and of all."""
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-af", "pan=mono|c0=c0", "-ar", str(RATE), "-f", "f32le", "-"]
    data = array.array("f", subprocess.run(words, check=True, capture_output=True).stdout)
    length = RATE // 20
    turn = [complex(math.cos(a), math.sin(a)) for a in (2 * math.pi * hertz * i / RATE for i in range(length))]
    for at in range(0, len(data) - length, length):
        part = data[at : at + length]
        yield 2 * abs(sum(v * t for v, t in zip(part, turn))) / length, math.sqrt(sum(v * v for v in part) / length)


class PulpitTest(StudioTest):
    """The program with the API's server and a microphone. `settings`: its file at the start; empty: none."""

    settings = ""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        share_media_service()

    def setUp(self):
        super().setUp()
        self.api = Api(pathlib.Path(self.tool))
        self.addCleanup(self.api.close)
        self.microphone = Microphone("Pulpit-microphone")
        self.addCleanup(self.microphone.close)
        self.start(home=self.home())

    def home(self):
        if not self.settings:
            return None
        home = pathlib.Path(tempfile.mkdtemp(prefix="studio-home-"))
        settings = Program.settings_of(home)
        settings.parent.mkdir(parents=True)
        settings.write_text(self.settings)
        return home

    def connect_microphone(self):
        self.studio.click("Fuentes y pantallas", role="page tab")
        wait_for("the microphone", lambda: "Pulpit-microphone" in self.studio.names())
        self.studio.click("Sin entrada / silencio", role="combo box")  # named after its entry
        self.studio.click("Pulpit-microphone", role="list item")
        self.studio.click("Conectar fuentes")
        self.studio.wait_status("Fuentes abiertas.")

    def prepare_scene(self):
        """Subtitles before black on air."""
        self.studio.click("Escena y fuentes", role="page tab")
        shown = self.studio.windows()
        self.studio.click("+ Fuente")
        wait_for("the menu", lambda: self.studio.windows() != shown)
        x("key", *["Down"] * 8, "Return")
        wait_for("the layer", lambda: self.studio.find("👁  Subtítulos (IA)   ·  Subtítulos (IA)"))
        self.studio.click(CAMERA)
        self.studio.click("Eliminar")
        wait_for("one layer", lambda: not self.studio.find(CAMERA))
        self.studio.click("AL AIRE  →")

    def begin_translation(self, *wanted):
        """With these boxes ticked."""
        self.studio.click("Traducción IA y Biblia", role="page tab")
        field = "API key de OpenAI · se lee del almacén seguro al iniciar traducción"
        self.studio.type_into(field, KEY, "password text")
        for box in wanted:
            self.studio.click(box, role="check box")
        self.assertEqual(self.api.received(), 0, "something was sent before the start")
        self.studio.click("Iniciar traducción")
        self.studio.wait_status("IA: Modo en vivo activo (texto mientras se habla).")


class TranslationTest(PulpitTest):
    def say(self, phrase):
        """Says a phrase of the script and waits for its caption and its voice."""
        caption = "IA: Subtítulo actualizado · "
        count = lambda: self.studio.log().count(caption)
        shown, spoken = count(), len(self.api.of("request", path="/audio/speech"))
        self.microphone.say(PHRASES[phrase][0])
        wait_for("the caption", lambda: count() > shown)
        print("caption:", self.studio.log().rsplit(caption, 1)[1].splitlines()[0])
        wait_for("its voice", lambda: len(self.api.of("request", path="/audio/speech")) > spoken)

    def test_captions_and_voice_and_nothing_is_sent_unasked(self):
        self.connect_microphone()
        self.prepare_scene()
        self.microphone.say(PHRASES[0][0])  # nobody has started
        self.begin_translation("Voz sintética en transmisión/grabación")
        path = self.folder / "live.webm"
        self.studio.start_recording(path)
        self.say(0)
        self.say(2)  # the first voice is over by now
        self.studio.stop_recording()
        self.assertEqual(len(self.api.of("request", path="/audio/transcriptions")), 0)
        self.check_caption_arrives_whole(path)
        self.check_voice(path)
        self.lose_the_session()
        self.pause_and_refuse_the_key()
        self.check_key_is_nowhere()

    def check_caption_arrives_whole(self, path):
        """No picture shows half of it, and the picture that brings it keeps to the schedule."""
        times, amounts = video_times(path), [ink(picture).count(1) for picture in cropped(path, STREAM)]
        first = next(i for i, amount in enumerate(amounts) if amount > 0)
        print(f"ink around the caption's arrival: {amounts[first - 1 : first + 3]}")
        self.assertEqual(amounts[first - 1], 0)
        self.assertGreater(amounts[first], 0.9 * amounts[first + 1])
        gap = times[first] - times[first - 1]
        self.expect(abs(gap - FRAME) < 0.0014, f"its picture comes {1000 * gap:.0f} ms after the one before")

    def check_voice(self, path):
        parts = list(loudness(path, TONE))
        self.assertAlmostEqual(max(tone for tone, _ in parts), 9000 / 32768, delta=0.03)
        self.assertGreater(max(level for tone, level in parts if tone < 0.01), 0.05)  # the preacher
        spoken = "".join("x" if tone > 0.1 else " " for tone, _ in parts).split()
        self.expect(abs(len(spoken[0]) / 20 - SPOKEN) < 0.11, f"voice: {[len(run) / 20 for run in spoken]} s")

    def lose_the_session(self):
        self.api.command(do="live", mode="reject")
        self.api.command(do="terminate")
        self.studio.wait_status("IA: Modo en vivo no disponible; se usa modo por trozos.")
        wait_for("another attempt", lambda: len(self.api.of("upgrade")) == 2)
        self.say(1)
        self.assertEqual(len(self.api.of("request", path="/audio/transcriptions")), 1)
        self.assertEqual(len(self.api.of("upgrade")), 2, "a refused key was tried again")

    def pause_and_refuse_the_key(self):
        """What is said after the pause stays here. The API repeats the key in its refusal."""
        self.studio.click("Traducción IA y Biblia", role="page tab")
        self.studio.click("Pausar traducción")
        wait_for("the pause", lambda: self.studio.find("Iniciar traducción"))
        before = len(self.api.of("request"))
        self.microphone.say(PHRASES[0][0])
        self.api.command(do="serve")
        self.studio.click("Iniciar traducción", button="4")  # the wheel: the first row is out of sight
        x("click", "--repeat", "9", "4")
        self.studio.click("Probar API key ahora")
        wait_for("the key's test", lambda: len(self.api.of("request")) > before)
        self.assertEqual(len(self.api.of("request")), before + 1)
        body = json.dumps({"error": {"message": f"Incorrect API key provided: {KEY}."}})
        request = self.api.of("request")[-1]["id"]
        self.api.command(do="answer", id=request, status=401, base64=base64.b64encode(body.encode()).decode())
        print("refused:", self.studio.wait_status("API con error HTTP 401: "))

    def check_key_is_nowhere(self):
        told = {path: path.read_bytes() for path in self.studio.home.rglob("*") if path.is_file()}
        self.assertIn(self.studio.log_path, told)
        for name in ("cmdline", "environ"):
            path = pathlib.Path(f"/proc/{self.studio.pid}/{name}")
            told[path] = path.read_bytes()
        told["shown"] = "\n".join(self.studio.names()).encode()
        for where, text in told.items():
            self.assertNotIn(KEY[7:].encode(), text, where)


if __name__ == "__main__":
    main()
