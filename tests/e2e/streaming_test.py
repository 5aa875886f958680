#!/usr/bin/env python3
"""The shipped program sends to a real RTMP server, which records what it receives. The files are
read back, and what the streams cost is printed.

usage: streaming_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import json
import os
import pathlib
import shutil
import signal
import socket
import statistics
import stat
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import gi.repository.GLib
from desktop import Desktop, Program, wait_for, x
from recording import beep_offsets, probe, read_clip, video_times

PROGRAM = ""
MAKE_CLIP = ""
FRAME = 1 / 30
NAMES = ("YouTube", "Facebook", "Twitch", "Otro RTMP")
CLIP = ["width=1280", "height=720", "seconds=120", "audio=aac"]
FAILED = "Fallo de salida (codigo "
SENDING = "Enviando · confirma recepción en la plataforma"
SUPPORT = pathlib.Path(__file__).resolve().parent.parent / "support"
AUTHORITIES = "/etc/ssl/certs/ca-certificates.crt"  # where the system's TLS library looks


def free_port():
    with socket.socket() as probe_socket:
        probe_socket.bind(("127.0.0.1", 0))
        return probe_socket.getsockname()[1]


def answers(port):
    with socket.socket() as client:
        client.settimeout(1)
        return client.connect_ex(("127.0.0.1", port)) == 0


class Platform:
    """tests/support/rtmp_server.sh on free ports."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="studio-rtmp-")
        self.port, self.secure_port = free_port(), free_port()
        words = [SUPPORT / "rtmp_server.sh", self.folder.name, str(self.port), str(self.secure_port)]
        self.server = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for("the RTMP server", lambda: answers(self.port) and answers(self.secure_port))
        self.rtmp = f"rtmp://127.0.0.1:{self.port}/live"
        self.rtmps = f"rtmps://localhost:{self.secure_port}/live"
        self.authority = os.path.join(self.folder.name, "ca.pem")

    def received(self, key):
        return os.path.join(self.folder.name, "rec", f"{key}.flv")

    def size(self, key):
        return os.path.getsize(self.received(key)) if os.path.exists(self.received(key)) else 0

    def signal(self, number):
        """To the server itself, which holds the connections."""
        os.kill(int(pathlib.Path(self.folder.name, "nginx.pid").read_text()), number)

    def close(self):
        self.server.terminate()
        self.server.wait()
        self.folder.cleanup()


class Gauge:
    """What the running program uses, and how soon its interface thread answers."""

    def __init__(self, studio):
        self.studio = studio
        self.node = studio.find("Detener transmisiones")
        self.memory, self.answers = [], []
        self.start = (time.monotonic(), self.cpu())

    def read(self, name):
        return pathlib.Path(f"/proc/{self.studio.process.pid}/{name}").read_text()

    def cpu(self):
        return sum(int(ticks) for ticks in self.read("stat").rsplit(")", 1)[1].split()[11:13]) / os.sysconf("SC_CLK_TCK")

    def sample(self):
        self.memory.append(int(self.read("status").split("VmRSS:")[1].split()[0]) / 1024)
        before = time.monotonic()
        self.node.clear_cache()
        self.node.get_extents(0)  # answered by the interface thread, between two of its tasks
        self.answers.append(time.monotonic() - before)

    def watch(self, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.sample()
            time.sleep(0.5)

    def report(self):
        passed, used = time.monotonic() - self.start[0], self.cpu() - self.start[1]
        print(
            f"{passed:.0f} s: {used / passed:.2f} cores, memory {self.memory[0]:.0f} MB at first,"
            f" {max(self.memory):.0f} at most, {self.memory[-1]:.0f} at last;"
            f" answers after {1000 * statistics.median(self.answers):.0f} ms,"
            f" at most {1000 * max(self.answers):.0f} ms"
        )


def key_frame_times(path):
    words = ["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time,flags"]
    out = subprocess.run([*words, "-of", "csv=p=0", path], check=True, capture_output=True, text=True).stdout
    return [float(line.split(",")[0]) for line in out.split() if ",K" in line]


class StreamingTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.platform = Platform()
        cls.folder = tempfile.TemporaryDirectory(prefix="studio-e2e-")

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()
        cls.platform.close()
        cls.folder.cleanup()

    def tearDown(self):
        self.studio.close()
        for path in self.studio.home.rglob("*"):  # log, settings: no key in any of them
            if path.is_file():
                self.assertNotIn(b"k3y-e2e", path.read_bytes(), path)

    def open(self, program=None, clip="", debug=None):
        """The program at its destinations, with a clip on air where words for `make_clip` are given."""
        self.studio = Program(program or PROGRAM, debug=debug)
        if clip:
            made = subprocess.run([MAKE_CLIP, *clip], check=True, capture_output=True, text=True)
            self.studio.load_video(made.stdout.strip())
            x("key", "space")
        self.studio.click("Transmitir y grabar", role="page tab")

    def type_into(self, name, text):
        self.studio.click(name, role="text" if name.startswith("RTMP") else "password text")
        x("key", "ctrl+a")
        x("type", "--delay", "5", text)

    def fill(self, name, server, key):
        self.type_into(f"RTMP {name}", server)
        self.type_into(f"Clave de transmisión {name}", key)

    def start_recording(self, name):
        path = os.path.join(self.folder.name, name)
        self.studio.click("● Grabar")
        self.studio.enter_path("Grabar Programa", path)
        self.studio.wait_status("Grabando Programa y audio seleccionado.")
        return path

    def wait_received(self, key, size=100_000):
        wait_for(f"something of {key} at the server", lambda: self.platform.size(key) > size)

    def check_stream(self, key):
        """H.264 1080p and AAC at 48 kHz, a key frame at least every 60 pictures. The share of the
        pictures of its time that arrived, and the spacing of the key frames."""
        told = probe(self.platform.received(key))
        video = next(s for s in told["streams"] if s["codec_type"] == "video")
        audio = next(s for s in told["streams"] if s["codec_type"] == "audio")
        self.assertEqual((video["codec_name"], video["width"], video["height"]), ("h264", 1920, 1080))
        self.assertEqual((audio["codec_name"], audio["sample_rate"], audio["channels"]), ("aac", "48000", 2))
        times, keys = video_times(self.platform.received(key)), key_frame_times(self.platform.received(key))
        self.assertEqual(keys[0], times[0])
        between = [sum(a <= t < b for t in times) for a, b in zip(keys, keys[1:])]
        self.assertTrue(all(count <= 60 for count in between), between)
        return len(times) / (round((times[-1] - times[0]) / FRAME) + 1), [b - a for a, b in zip(keys, keys[1:])]

    def check_time(self, key):
        """30 pictures a second, which run forward, and each flash with its beep within 50 ms."""
        path = os.path.join(self.folder.name, f"{key}.copy")  # the server goes on writing
        shutil.copyfile(self.platform.received(key), path)
        shown = read_clip(path, (1280, 720))
        lost = round((shown[-1][0] - shown[0][0]) / FRAME) + 1 - len(shown)
        uneven = [b[0] - a[0] for a, b in zip(shown, shown[1:]) if abs(b[0] - a[0] - FRAME) > 0.0014]
        self.assertLessEqual(len(uneven), lost, uneven)
        numbers = [number for _, number, _ in shown if number is not None]
        self.assertGreater(len(numbers), 0.8 * len(shown))
        self.assertEqual(numbers, sorted(numbers))
        offsets = beep_offsets(path, shown)
        print(f"{key}: beep after flash, ms:", [round(o * 1000) for o in offsets])
        self.assertGreaterEqual(len(offsets), 10)
        self.assertTrue(all(abs(o) <= 0.05 for o in offsets), offsets)

    def test_one_destination_is_whole_and_closing_asks(self):
        """What a small machine has to manage: every picture, a key frame every 2 s."""
        self.open(clip=CLIP)
        self.fill("Twitch", self.platform.rtmp, "k3y-e2e-one")
        self.studio.click("Iniciar Twitch")
        self.wait_received("k3y-e2e-one")
        gauge = Gauge(self.studio)
        gauge.watch(15)
        gauge.report()
        share, spacing = self.check_stream("k3y-e2e-one")
        print(f"one destination: {share:.1%} of the pictures, key frames every", [round(s, 2) for s in spacing])
        self.check_time("k3y-e2e-one")
        path = self.start_recording("closing.webm")
        gauge.watch(3)

        x("key", "alt+F4")
        self.studio.click("No", "&No")
        size = self.platform.size("k3y-e2e-one")
        wait_for("more at the server", lambda: self.platform.size("k3y-e2e-one") > size + 100_000)
        self.assertIsNone(self.studio.process.poll())
        x("key", "alt+F4")
        self.studio.click("Sí", "&Sí")
        self.studio.click("No guardar")  # the clip is unsaved work
        started = time.monotonic()
        self.assertEqual(self.studio.process.wait(60), 0)
        print(f"closed {time.monotonic() - started:.1f} s after the answer")
        self.assertGreater(float(probe(path)["format"]["duration"]), 2)
        decoded = subprocess.run(["ffmpeg", "-v", "error", "-xerror", "-i", path, "-f", "null", "-"], capture_output=True)
        self.assertEqual((decoded.returncode, decoded.stderr), (0, b""))
        self.assertGreaterEqual(share, 0.99)
        self.assertTrue(all(abs(s - 2) < 0.05 for s in spacing), spacing)

    def test_four_destinations_and_a_recording(self):
        """More than two cores can encode: pictures go, but neither the interface nor the memory."""
        self.open(clip=CLIP)
        keys = [f"k3y-e2e-four-{i}" for i in range(4)]
        for name, key in zip(NAMES, keys):
            self.fill(name, self.platform.rtmp, key)
            self.studio.click(name, role="check box")
        self.studio.click("Iniciar destinos seleccionados")
        for key in keys:
            self.wait_received(key)
        path = self.start_recording("five.webm")
        gauge = Gauge(self.studio)
        gauge.watch(60)
        gauge.report()
        self.assertIsNotNone(self.studio.find(SENDING))
        self.studio.click("■ Detener grabación")
        self.studio.wait_status("Grabación guardada correctamente")
        self.studio.click("Detener transmisiones")
        wait_for("four stopped slots", lambda: self.studio.find(SENDING) is None)
        for key in keys:
            share, spacing = self.check_stream(key)
            print(f"{key}: {share:.0%} of the pictures, key frames", [round(s, 1) for s in spacing])
            self.check_time(key)
        times = video_times(path)
        print(f"recording: {len(times) / (round((times[-1] - times[0]) / FRAME) + 1):.0%} of the pictures")
        # The queues of five outputs hold 3 pictures each, and the encoders a few.
        self.assertLess(max(gauge.memory), gauge.memory[10] + 300)
        self.assertLess(statistics.median(gauge.answers), 0.5)

    def failures(self):
        while True:
            try:
                return [n for n in self.studio.walk(self.studio.application()) if n.get_name().startswith(FAILED)]
            except gi.repository.GLib.Error:  # the tree changed under the walk
                time.sleep(0.05)

    def wait_failed(self, name):
        """The failure stands beside the button of its own slot, which can start again."""
        label = wait_for(f"the failure of {name}", self.failures, 90)[0].get_extents(0)
        button = self.studio.find(f"Iniciar {name}").get_extents(0)
        self.assertLess(abs(label.y + label.height / 2 - button.y - button.height / 2), button.height)
        self.assertEqual(len(self.failures()), 1)

    def test_a_bad_destination_is_noticed_by_no_other(self):
        """Refused, killed in mid-stream, accepting and never reading: beside one that works. The program
        shows test bars, whose noise moves."""
        self.open()
        self.studio.click("AL AIRE  →")
        self.fill("Twitch", self.platform.rtmp, "k3y-e2e-good")
        self.studio.click("Iniciar Twitch")
        self.wait_received("k3y-e2e-good", 20_000)
        path, started = self.start_recording("beside.webm"), time.monotonic()
        while time.monotonic() < started + 12:  # the same reading and typing as beside the others
            self.type_into("RTMP Facebook", "rtmp://127.0.0.1/app")
            self.assertEqual(self.failures(), [])
            time.sleep(0.05)
        alone = time.monotonic() - started
        dying = Platform()
        self.addCleanup(dying.close)
        mute = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(mute.close)
        servers = {
            "refused": self.platform.rtmp.replace("/live", "/closed"),
            "killed": dying.rtmp,
            "never reading": f"rtmp://127.0.0.1:{mute.getsockname()[1]}/live",
        }
        for what, server in servers.items():
            self.fill("Facebook", server, "k3y-e2e-bad")
            self.studio.click("Iniciar Facebook")
            if what == "killed":
                wait_for("something of it", lambda: dying.size("k3y-e2e-bad") > 20_000)
                dying.signal(signal.SIGKILL)
            if what == "never reading":  # the failure before it has gone
                wait_for("the new start", lambda: not self.failures())
            since = time.monotonic()
            self.wait_failed("Facebook")
            self.assertIsNotNone(self.studio.find("Detener Twitch"))
            print(f"{what}: told after {time.monotonic() - since:.1f} s")
        self.studio.click("■ Detener grabación")
        self.studio.wait_status("Grabación guardada correctamente")
        self.studio.click("Detener transmisiones")
        recorded, received = video_times(path), video_times(self.platform.received("k3y-e2e-good"))
        self.check_parts("recording", recorded, recorded[0] + alone)
        self.check_parts("received", received, received[-1] - recorded[-1] + alone)

    def check_parts(self, name, times, limit):
        """A tick that waits for a network would leave a gap of seconds. Two cores have no time for every
        picture of three outputs, so the share is only demanded of larger machines."""
        parts = {"alone": [t for t in times if t < limit], "beside": [t for t in times if t >= limit]}
        gaps = {part: max(b - a for a, b in zip(shown, shown[1:])) for part, shown in parts.items()}
        due = {part: round((shown[-1] - shown[0]) / FRAME) + 1 for part, shown in parts.items()}
        shares = {part: len(shown) / due[part] for part, shown in parts.items()}
        for part, shown in parts.items():
            print(f"{name} {part}: {len(shown)} pictures, {shares[part]:.2%}, largest gap {1000 * gaps[part]:.0f} ms")
        if os.cpu_count() >= 4:
            self.assertGreaterEqual(shares["beside"], 0.99)
        self.assertLess(gaps["beside"], gaps["alone"] + 0.5)

    def start_keyring(self):
        """The system's own store, unlocked and with a home of its own, on this session's bus."""
        home = dict(os.environ, HOME=self.folder.name, XDG_DATA_HOME=self.folder.name, XDG_RUNTIME_DIR=self.folder.name)
        words = ["gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"]
        quiet = dict(stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        ring = subprocess.Popen(words, env=home, stdin=subprocess.PIPE, **quiet)
        self.addCleanup(lambda: (ring.terminate(), ring.wait()))
        ring.stdin.write(b"pass")
        ring.stdin.close()
        subprocess.run(["gdbus", "wait", "--session", "--timeout", "30", "org.freedesktop.secrets"], check=True)

    def children(self):
        """The words of the program's own processes, as anyone on the machine may read them."""
        found, seen = [self.studio.process.pid], b""
        for pid in found:  # grows on the way
            try:
                for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
                    found += [int(child) for child in (task / "children").read_text().split()]
                seen += pathlib.Path(f"/proc/{pid}/cmdline").read_bytes() + b"\n"
            except (FileNotFoundError, ProcessLookupError):
                pass
        return seen

    def test_a_key_is_in_its_stores_and_nowhere_else(self):
        """Typed, saved, read back, used, refused and put into the wrong field, while GStreamer tells all it does."""
        key = "k3y-e2e-9d8f7c"
        closed = self.platform.rtmp.replace("/live", "/closed")
        self.start_keyring()
        # The program sets the threshold of all others back; all of them at 5 would hold it up for minutes.
        self.open(debug="5,rtmp*:6,flv*:5,GST_URI:6,GST_ELEMENT*:5,GST_STATES:5,GST_BUS:5,default:5")
        words, stop = set(), threading.Event()

        def watch():
            while not stop.is_set():
                words.add(self.children())
                time.sleep(0.002)

        watcher = threading.Thread(target=watch)
        watcher.start()
        self.addCleanup(watcher.join)
        self.addCleanup(stop.set)
        self.fill("Twitch", f"{closed}?key={key}", key)
        self.studio.click("Iniciar Twitch")
        self.studio.wait_status("Servidor RTMP/RTMPS inválido. Separa la clave del servidor.")
        title = "Ardenvale Vesperline"
        box = lambda: self.studio.find(title, role="alert") or self.studio.find(title, role="dialog")
        wait_for("the warning", box)
        x("key", "Escape")
        wait_for("no warning", lambda: not box())
        self.fill("Twitch", f"{closed}/{key}", key)
        self.studio.click("Iniciar Twitch")
        self.wait_failed("Twitch")
        self.type_into("RTMP Twitch", self.platform.rtmp)
        self.studio.click("Guardar claves en este equipo")
        self.studio.wait_status("Claves guardadas en Llavero / Credential Manager.")
        self.type_into("Clave de transmisión Twitch", " ")
        self.studio.click("Iniciar Twitch")
        self.wait_received(key, 20_000)
        self.studio.click("Detener transmisiones")
        wait_for("a stopped slot", lambda: self.studio.find(SENDING) is None)
        self.studio.click("Guardar proyecto", role="push button")
        project = os.path.join(self.folder.name, "key.nimbara")
        self.studio.enter_path("Guardar proyecto", project)
        self.studio.wait_status("Proyecto guardado")
        stop.set()
        watcher.join()
        limits = pathlib.Path(f"/proc/{self.studio.process.pid}/limits").read_text()
        self.studio.close()
        paths = [*self.studio.home.rglob("*"), pathlib.Path(project)]
        told = {path: path.read_bytes() for path in paths if path.is_file()}
        store = next(path for path in told if path.name == "secrets.json")
        self.assertEqual(json.loads(told.pop(store)), {"stream-Twitch": key})
        ask = ["secret-tool", "lookup", "server", "NimbaraStudio", "user", "stream-Twitch"]
        self.assertEqual(subprocess.run(ask, capture_output=True, text=True).stdout, key)
        self.assertIn(b"rtmp2", told[self.studio.error_path] + told[self.studio.debug_path])
        self.assertIn(b"NimbaraStudio", b"".join(words))
        self.assertRegex(limits, r"Max core file size +0 ")
        for where, text in [*told.items(), *(("words", text) for text in words)]:
            self.assertNotIn(b"9d8f7c", text, where)
        for path in (self.studio.error_path, self.studio.debug_path, self.studio.log_path):
            print(path.name, len(told[path]), "bytes")
        store.unlink()

    def trusting(self, authority):
        """The program with the authority in the place of the system's."""
        path = pathlib.Path(self.folder.name) / "trusting"
        mount = f'mount --bind "{authority}" {AUTHORITIES} && exec "{PROGRAM}"'
        path.write_text(f"#!/bin/sh\nexec unshare --mount --map-current-user --keep-caps sh -c '{mount}'\n")
        path.chmod(path.stat().st_mode | stat.S_IXUSR)
        return str(path)

    def test_rtmps_needs_a_known_certificate(self):
        self.open()
        self.fill("YouTube", self.platform.rtmps, "k3y-e2e-unknown")
        self.fill("Twitch", self.platform.rtmp, "k3y-e2e-beside")
        self.studio.click("Iniciar Twitch")
        self.studio.click("Iniciar YouTube")
        texts = lambda: [n.get_name() for n in self.studio.walk(self.studio.application())]
        shown = wait_for("the failure", lambda: [t for t in texts() if t.startswith(FAILED)])
        self.assertNotIn("k3y", shown[0])
        print("unknown certificate:", shown[0])
        self.wait_received("k3y-e2e-beside")
        self.assertEqual(self.platform.size("k3y-e2e-unknown"), 0)
        self.tearDown()

        self.open(self.trusting(self.platform.authority))
        self.fill("YouTube", self.platform.rtmps, "k3y-e2e-secure")
        self.studio.click("Iniciar YouTube")
        self.wait_received("k3y-e2e-secure")
        self.check_stream("k3y-e2e-secure")


if __name__ == "__main__":
    PROGRAM, MAKE_CLIP = map(os.path.abspath, sys.argv[1:3])
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
