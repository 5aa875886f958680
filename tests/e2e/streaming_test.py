#!/usr/bin/env python3
"""The shipped program sends to a real RTMP server, which records what it receives. The files are
read back, and what the streams cost is printed.

usage: streaming_test.py PROGRAM MAKE_CLIP [unittest arguments]
"""

import json
import os
import pathlib
import shutil
import socket
import statistics
import stat
import subprocess
import threading
import time

from case import FRAME, Platform, StudioTest, main, timing
from desktop import wait_for, x
from recording import beep_offsets, probe, read_clip, video_times

CLIP = dict(width=1280, height=720, seconds=120)
FAILED = "Fallo de salida (codigo "
SENDING = "Enviando · confirma recepción en la plataforma"
AUTHORITIES = "/etc/ssl/certs/ca-certificates.crt"  # where the system's TLS library looks


def key_frame_times(path):
    words = ["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time,flags"]
    out = subprocess.run([*words, "-of", "csv=p=0", path], check=True, capture_output=True, text=True).stdout
    return [float(line.split(",")[0]) for line in out.split() if ",K" in line]


class StreamingTest(StudioTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.platform = Platform()
        cls.addClassCleanup(cls.platform.close)

    def open(self, program=None, **words):
        """The program at its destinations."""
        self.addCleanup(self.check_no_key_is_kept)  # after the program's end
        self.start(program, **words)
        self.studio.click("Transmitir y grabar", role="page tab")

    def check_no_key_is_kept(self):
        for path in self.studio.home.rglob("*"):  # log, settings: no key in any of them
            if path.is_file():
                self.assertNotIn(b"k3y-e2e", path.read_bytes(), path)

    def fill(self, name, server, key):
        self.studio.type_into(f"RTMP {name}", server)
        self.studio.type_into(f"Clave de transmisión {name}", key, "password text")

    def wait_received(self, key, size=100_000):
        wait_for(f"something of {key} at the server", lambda: self.platform.size(key) > size)

    def wait_failed(self):
        return wait_for("the failure", lambda: [t for t in self.studio.names() if t.startswith(FAILED)])[0]

    def check_stream(self, key):
        """H.264 1080p and AAC at 48 kHz, a key frame at least every 60 pictures. The spacing of those."""
        self.check_shape(probe(self.platform.received(key)), "h264", "aac")
        times, keys = video_times(self.platform.received(key)), key_frame_times(self.platform.received(key))
        self.assertEqual(keys[0], times[0])
        between = [sum(a <= t < b for t in times) for a, b in zip(keys, keys[1:])]
        self.assertTrue(all(count <= 60 for count in between), between)
        return [round(b - a, 2) for a, b in zip(keys, keys[1:])]

    def test_a_stream_is_whole_and_closing_asks(self):
        """What a small machine has to manage: every picture, a key frame every 2 s."""
        self.open(clip=CLIP)
        self.fill("Twitch", self.platform.rtmp, "k3y-e2e-one")
        self.studio.click("Iniciar Twitch")
        self.wait_received("k3y-e2e-one")
        self.wait_recorded(self.platform.received("k3y-e2e-one"), 7)
        copy = self.folder / "one.flv"  # the server goes on writing
        shutil.copyfile(self.platform.received("k3y-e2e-one"), copy)
        shown = read_clip(copy)
        self.check_clip("one destination", shown, beep_offsets(copy, shown), 3)
        spacing = self.check_stream("k3y-e2e-one")
        self.expect(all(abs(s - 2) < 0.05 for s in spacing), f"key frames every {spacing} s")
        path = self.folder / "closing.webm"
        self.studio.start_recording(path)
        self.wait_recorded(path, 2)

        x("key", "alt+F4")
        self.studio.click("No", "&No")
        size = self.platform.size("k3y-e2e-one")
        wait_for("more at the server", lambda: self.platform.size("k3y-e2e-one") > size + 20_000)
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

    @timing
    def test_four_destinations_and_a_recording(self):
        """More than two cores can encode, and one server never reads: pictures go, but neither the interface,
        the memory nor another output."""
        self.open(clip=CLIP)
        mute = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(mute.close)
        servers = {name: self.platform.rtmp for name in ("YouTube", "Facebook", "Twitch")}
        servers["Otro RTMP"] = f"rtmp://127.0.0.1:{mute.getsockname()[1]}/live"
        for name, server in servers.items():
            self.fill(name, server, f"k3y-e2e-{name[:2]}")
            self.studio.click(name, role="check box")
        self.studio.click("Iniciar destinos seleccionados")
        keys = [f"k3y-e2e-{name[:2]}" for name in servers][:3]
        for key in keys:
            self.wait_received(key)
        path = self.folder / "five.webm"
        self.studio.start_recording(path)
        memory, answers, node = [], [], self.studio.find("Detener transmisiones")
        while not any(name.startswith(FAILED) for name in self.studio.names()):  # the mute one, in the end
            memory.append(int(pathlib.Path(f"/proc/{self.studio.pid}/status").read_text().split("VmRSS:")[1].split()[0]))
            before = time.monotonic()
            node.clear_cache()
            node.get_extents(0)  # answered by the interface thread, between two of its tasks
            answers.append(time.monotonic() - before)
        print(f"memory {memory[0]} to {max(memory)} kB, answers after {statistics.median(answers):.3f} s, at most {max(answers):.3f}")
        self.studio.stop_recording()
        self.studio.click("Detener transmisiones")
        wait_for("stopped slots", lambda: self.studio.find(SENDING) is None)
        for name in [*(self.platform.received(key) for key in keys), path]:
            times = video_times(name)
            gap = max(b - a for a, b in zip(times, times[1:]))
            share = len(times) / (round((times[-1] - times[0]) / FRAME) + 1)
            print(f"{name}: {share:.0%} of the pictures, largest gap {1000 * gap:.0f} ms")
        # The queues of five outputs hold 3 pictures each, and the encoders a few.
        self.assertLess(max(memory), memory[len(memory) // 4] + 300_000)
        self.assertLess(statistics.median(answers), 0.5)
        self.assertLess(max(answers), 3)  # a tick that waits for a network

    def start_keyring(self):
        """The system's own store, unlocked and with a home of its own, on this session's bus."""
        home = dict(os.environ, HOME=str(self.folder), XDG_DATA_HOME=str(self.folder), XDG_RUNTIME_DIR=str(self.folder))
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
        self.fill("Twitch", f"{closed}/{key}", key)
        self.studio.click("Iniciar Twitch")
        self.wait_failed()
        self.studio.type_into("RTMP Twitch", self.platform.rtmp)
        self.studio.click("Guardar claves en este equipo")
        self.studio.wait_status("Claves guardadas en Llavero / Credential Manager.")
        self.studio.type_into("Clave de transmisión Twitch", " ", "password text")
        self.studio.click("Iniciar Twitch")
        self.wait_received(key, 20_000)
        self.studio.click("Detener transmisiones")
        wait_for("a stopped slot", lambda: self.studio.find(SENDING) is None)
        self.studio.click("Guardar proyecto", role="push button")
        project = self.folder / "key.nimbara"
        self.studio.enter_path("Guardar proyecto", project)
        self.studio.wait_status("Proyecto guardado")
        stop.set()
        watcher.join()
        limits = pathlib.Path(f"/proc/{self.studio.process.pid}/limits").read_text()
        self.studio.close()
        paths = [*self.studio.home.rglob("*"), project]
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
        path = self.folder / "trusting"
        mount = f'mount --bind "{authority}" {AUTHORITIES} && exec "{self.program}"'
        path.write_text(f"#!/bin/sh\nexec unshare --mount --map-current-user --keep-caps sh -c '{mount}'\n")
        path.chmod(path.stat().st_mode | stat.S_IXUSR)
        return str(path)

    def test_rtmps_needs_a_known_certificate(self):
        self.open()
        self.fill("YouTube", self.platform.rtmps, "k3y-e2e-unknown")
        self.studio.click("Iniciar YouTube")
        shown = self.wait_failed()
        self.assertNotIn("k3y", shown)
        print("unknown certificate:", shown)
        self.assertEqual(self.platform.size("k3y-e2e-unknown"), 0)
        self.studio.close()
        self.check_no_key_is_kept()

        self.open(self.trusting(self.platform.authority))
        self.fill("YouTube", self.platform.rtmps, "k3y-e2e-secure")
        self.studio.click("Iniciar YouTube")
        self.wait_received("k3y-e2e-secure")
        self.check_stream("k3y-e2e-secure")


if __name__ == "__main__":
    main()
