#!/usr/bin/env python3
"""A sermon in real time, in two languages and by two voices, while the live session ends in every way. The
recogniser knows the script and hears each word by a mark that the voice bears; what the program has kept of its
captions is held against the script word by word, and the recording against the rules of easy reading.

usage: api_host.sh PEERS pipewire_session.sh --with-services sermon_test.py PROGRAM PEERS [unittest arguments]

NIMBARA_SERMON_MINUTES chooses its length (30).
"""

import array
import difflib
import json
import math
import os
import pathlib
import re
import statistics
import subprocess
import time

from case import FRAME, SUPPORT, main
from desktop import wait_for
from recording import RATE, video_times
from translation_test import STREAM, PulpitTest, cropped

MINUTES = float(os.environ.get("NIMBARA_SERMON_MINUTES", "30"))
TEXTS = pathlib.Path(__file__).resolve().parent.parent / "bible"
ANSWER = 300  # milliseconds, of each answer
PAUSE = 0.8  # seconds between two phrases
SILENCE = 0.45  # of them pass before a session tells of a phrase's end
VOCABULARY, MARK, STEP = 80, 5000, 24  # see word_ear.mjs
LEAST, GAP = 0.3, 0.07  # seconds of a word and of the silence behind its mark
SETTINGS = """[General]
language=es
onboarding_complete=true
translation_target=Portuguese
source_language=es
caption_separator=3
"""  # into a language without a built-in Bible, so that no verse takes the place of what was said


def phrases_of(text):
    """To the next mark behind four words, or nine words."""
    phrase = []
    for word in text.split():
        phrase.append(word)
        if (len(phrase) > 3 and word[-1] in ".,:;?!") or len(phrase) == 9:
            yield phrase
            phrase = []
    if phrase:
        yield phrase


def script():
    """The phrases of both sermons, each with the voice that says it."""
    for code, voice in ("es", "es-419"), ("en", "en-us+f3"):
        for phrase in phrases_of((TEXTS / f"sermon_{code}.txt").read_text()):
            yield voice, phrase


def spoken(voice, phrase, first):
    """Its sound: the voice below 2000 Hz and, above, a mark for each word, of which `first` is the number."""
    words = ["espeak-ng", "-v", voice, "-s", "185", "--stdout", " ".join(phrase)]
    speech = subprocess.run(words, check=True, capture_output=True).stdout
    words = ["ffmpeg", "-v", "error", "-i", "-", "-af", f"aresample=4000,aresample={RATE}", "-ac", "1", "-f", "f32le", "-"]
    sound = array.array("f", subprocess.run(words, input=speech, check=True, capture_output=True).stdout)
    each = max(int(LEAST * RATE), len(sound) // len(phrase))
    sound.extend([0.0] * (each * len(phrase) - len(sound)))
    gap = int(GAP * RATE)
    for place in range(len(phrase)):
        turn = 2 * math.pi * (MARK + STEP * ((first + place) % VOCABULARY)) / RATE
        begin = place * each
        for i in range(each - gap):
            sound[begin + i] = 0.5 * sound[begin + i] + 0.2 * math.sin(turn * i)
        for i in range(begin + each - gap, begin + each):  # a cut without a pause falls into it
            sound[i] *= 0.05
    pcm = array.array("h", (round(32767 * max(-1.0, min(1.0, value))) for value in sound))
    return pcm.tobytes()


def cues(path):
    """(begin, end, lines) of each caption of a SubRip file, in seconds."""
    seconds = lambda clock: sum(float(part) * unit for part, unit in zip(clock.replace(",", ".").split(":"), (3600, 60, 1)))
    for cue in path.read_text().strip().split("\n\n"):
        _, times, *lines = cue.split("\n")
        begin, end = times.split(" --> ")
        yield seconds(begin), seconds(end), lines


def words_in(path):
    """A line may end in the hyphen of a word that goes on in the next."""
    text = "\n".join(line for _, _, lines in cues(path) for line in lines)
    return re.sub(r"(?<=\w-)\n", "", text).split()


def changes(said, heard):
    """Where they differ: (from, to) in what was said, and in what was heard."""
    codes = difflib.SequenceMatcher(None, said, heard, autojunk=False).get_opcodes()
    return [code[1:] for code in codes if code[0] != "equal"]


class Line:
    """A second listener at the microphone."""

    def __init__(self, folder):
        self.path = folder / "line.wav"
        words = ["pw-record", "--target", "Pulpit-microphone", "--rate", str(RATE), "--channels", "1", "--format", "s16"]
        self.process = subprocess.Popen([*words, str(self.path)])

    def close(self):
        self.process.terminate()
        self.process.wait()

    def words(self, script):
        """What it has heard of the script."""
        heard, told = self.path.with_suffix(".16.wav"), self.path.with_suffix(".json")
        made = ["-bitexact", "-ar", "16000", "-ac", "1", str(heard)]
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", str(self.path), *made], check=True)
        told.write_text(json.dumps(script))
        ear = ["node", str(SUPPORT / "hear_line.mjs"), str(heard), str(told)]
        return subprocess.run(ear, check=True, capture_output=True, text=True).stdout.split()


class SermonTest(PulpitTest):
    settings = SETTINGS

    # What becomes of the session.

    def lives(self):
        return self.studio.log().count("IA: Modo en vivo activo")

    def delays(self):
        """Of each caption so far, from the end of its phrase on."""
        return [float(each) for each in re.findall(r"Subtítulo actualizado · ([\d.]+) s", self.studio.log())]

    def plan(self):
        """What ends it, and when: in five ways, a sixth of the time apart."""
        ways = ["close", "terminate", "hush", "refuse", "away"]
        return [(60 * MINUTES * (place + 1) / 6, way) for place, way in enumerate(ways)]

    def strike(self, way):
        """Ends the session; returns whether it may come back yet."""
        began, upgrades = time.monotonic(), len(self.api.of("upgrade"))
        if way == "refuse":
            self.api.command(do="live", mode="busy")
            self.api.command(do="terminate")
            return lambda: len(self.api.of("upgrade")) >= upgrades + 2
        if way == "away":
            self.api.command(do="live", mode="plain")
            self.api.command(do="cut")
            return lambda: time.monotonic() - began > 40
        self.api.command(do=way)
        return lambda: True

    def preach(self):
        """Returns the words that were said. Each end falls into a phrase."""
        began, said, plan, struck = time.monotonic(), [], self.plan(), None
        self.microphone.latest = 0.0
        self.away = []  # the captions that came while there was no session
        for voice, phrase in script():
            sound = spoken(voice, phrase, len(said))  # while the phrase before is heard
            wait_for("the end of the phrase", lambda: not self.microphone.waiting)
            passed = time.monotonic() - began
            if passed > 60 * MINUTES and not plan and not struck:
                break
            self.microphone.waiting = sound + bytes(2 * int(PAUSE * RATE))
            said += phrase
            if struck and self.lives() > struck["lives"]:
                print(f"{struck['way']} at {struck['at'] / 60:.1f} min: live again {passed - struck['at']:.0f} s later", flush=True)
                self.away.append((struck["captions"], len(self.delays())))
                struck = None
            elif struck and struck["may_return"]():
                self.api.command(do="live", mode="accept")
            elif plan and not struck and passed > plan[0][0]:
                time.sleep(1)
                struck = {"way": plan.pop(0)[1], "at": passed, "lives": self.lives(), "captions": len(self.delays())}
                struck["may_return"] = self.strike(struck["way"])
        return said

    def test_every_word_is_captioned_once(self):
        self.connect_microphone()
        self.prepare_scene()
        words = [word for _, phrase in script() for word in phrase]
        self.api.command(do="listen", words=words, delay=ANSWER)
        self.begin_translation()
        path = self.folder / "sermon.mkv"
        self.studio.start_recording(path)
        self.studio.click("Traducción IA y Biblia", role="page tab")
        line = Line(self.folder)
        self.addCleanup(line.close)
        said = self.preach()
        original, shown = (path.with_name(f"sermon.{code}.srt") for code in ("es", "pt"))
        # All is read, and the last caption is gone by itself.
        wait_for("the last words on file", lambda: words_in(shown)[-len(said[-3:]):] == said[-3:], 120)
        self.studio.stop_recording()
        self.studio.click("Traducción IA y Biblia", role="page tab")
        self.studio.click("Pausar traducción")
        self.tell_delays()
        line.close()
        heard = line.words(words)
        stumbles = changes(said, heard)
        print(f"the microphone was at most {1000 * self.microphone.latest:.0f} ms late")
        print(f"the line stumbled {len(stumbles)} times: {[(said[a:b], heard[c:d]) for a, b, c, d in stumbles]}")
        for file in original, shown:
            with self.subTest(file.name):
                self.check_words(file, said, stumbles)
        with self.subTest("reading"):
            self.check_reading(list(cues(shown)))
        with self.subTest("pictures"):
            self.check_pictures(path, list(cues(shown)))

    # What is left of it.

    def check_words(self, file, said, stumbles):
        heard = words_in(file)
        wrong = changes(said, heard)
        lost, more = sum(b - a for a, b, _, _ in wrong), sum(d - c for _, _, c, d in wrong)
        print(f"{file.name}: {len(heard)} words of {len(said)}, {lost} lost, {more} too many")
        own = [each for each in wrong if not any(a <= each[1] + 1 and each[0] <= b + 1 for a, b, _, _ in stumbles)]
        around = [(said[max(0, a - 3) : b + 3], heard[max(0, c - 3) : d + 3]) for a, b, c, d in own]
        self.assertEqual(around, [])

    def tell_delays(self):
        report = wait_for("the report", lambda: re.findall(r"IA: (Retraso de la traducción: .*)", self.studio.log()))
        print(report[-1])
        late = self.delays()
        between = sorted(each - SILENCE for at, each in enumerate(late) if not any(a <= at < b for a, b in self.away))
        median, most = statistics.median(between), between[int(0.9 * len(between))]
        print(f"beyond the pause, in between: {len(between)} of {len(late)}, median {median:.1f} s, 9 in 10 within {most} s")
        print(f"while there was no session: at most {max(late)} s")
        self.expect(median < 1.0, "a phrase is captioned within a second of its pause")
        self.expect(most < 1.8, "9 in 10 within 1.8 s")

    def check_reading(self, shown):
        stood = [end - begin for begin, end, _ in shown]
        pace = max(len(" ".join(lines)) / time for (_, _, lines), time in zip(shown, stood))
        print(f"{len(shown)} blocks: the shortest stood {min(stood):.2f} s, the fastest had {pace:.1f} letters a second")
        for _, _, lines in shown:
            self.assertLessEqual(len(lines), 2)
            self.assertLessEqual(max(map(len, lines)), 37, lines)
        self.assertGreater(min(stood), 1.5 - 0.005)
        self.assertLess(pace, 20.5)

    def check_pictures(self, path, shown):
        """No picture of the recording has another pixel of ink than the one before, but where the block changes."""
        bright, dark = (bytes(keep(value) for value in range(256)) for keep in (lambda v: v > 200, lambda v: v < 60))
        before, changed = None, []
        for time_, picture in zip(video_times(path), cropped(path, STREAM)):
            now = [int.from_bytes(picture.translate(table), "little") for table in (bright, dark)]
            turned = 0 if before is None else ((now[0] & before[1]) | (now[1] & before[0])).bit_count()
            if turned > 0:
                changed.append((time_, turned))
            before = now
        blocks = sorted({edge for begin, end, _ in shown for edge in (begin, end)})
        far = [(round(at, 2), count) for at, count in changed if min(abs(at - edge) for edge in blocks) > 3.5 * FRAME]
        print(f"recording: ink changed in {len(changed)} pictures at {len(blocks)} changes of the block, {len(far)} elsewhere {far[:20]}")
        self.assertGreaterEqual(len(changed), len(shown))
        self.assertEqual(far, [], "a shown word changed")


if __name__ == "__main__":
    main()
