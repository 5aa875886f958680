#!/usr/bin/env python3
"""A camera and a microphone of the media service before which somebody claps every five seconds.

  clapper.py CAMERA MICROPHONE DELAY

The dark picture turns white for a tenth of a second, and the sound, silent otherwise, beeps (1 kHz), later
by DELAY milliseconds than the light on its way into the service, which has a delay of its own. Both run while
this does.
"""
import array
import fcntl
import json
import math
import os
import subprocess
import sys
import time

import gi

gi.require_version("Gst", "1.0")
from gi.repository import Gst  # noqa: E402

RATE, FRAMES = 48000, 30
PERIOD, LENGTH = 5, 0.1  # seconds, of the claps and of each
STEP = RATE // 100  # samples written at a time
WIDTH, HEIGHT = 640, 360
DARK, WHITE = 0xFF202020, 0xFFF0F0F0
LATE = 0.1  # seconds: what was held up so long is left out


def is_on(seconds):
    """A clap is under way."""
    return seconds > 1 and seconds % PERIOD < LENGTH


def show(name):
    """Begins; the moment from which its pictures count, on the monotonic clock."""
    node = f"p,media.class=Video/Source,node.name={name},node.description={name},node.autoconnect=false"
    pipeline = Gst.parse_launch(
        "videotestsrc name=source is-live=true pattern=solid-color"
        f" ! video/x-raw,format=YUY2,width={WIDTH},height={HEIGHT},framerate={FRAMES}/1"
        f" ! pipewiresink stream-properties={node}"
    )
    source = pipeline.get_by_name("source")

    def drawn(_pad, info):
        following = info.get_buffer().pts / Gst.SECOND + 1.5 / FRAMES
        source.set_property("foreground-color", WHITE if is_on(following) else DARK)
        return Gst.PadProbeReturn.OK

    source.set_property("foreground-color", DARK)
    source.get_static_pad("src").add_probe(Gst.PadProbeType.BUFFER, drawn)
    pipeline.use_clock(Gst.SystemClock.obtain())
    pipeline.set_state(Gst.State.PLAYING)
    while pipeline.get_base_time() == 0:
        time.sleep(0.01)
    return pipeline, pipeline.get_base_time() / Gst.SECOND


def sound(began, name, delay):
    node = json.dumps({"media.class": "Audio/Source", "node.name": name, "node.description": name})
    words = ["pw-cat", "--playback", "--target", "0", "--latency", "10ms", "--properties", node]
    words += ["--rate", str(RATE), "--channels", "1", "--format", "s16", "-"]
    player = subprocess.Popen(words, stdin=subprocess.PIPE)
    pipe = player.stdin.fileno()
    fcntl.fcntl(pipe, fcntl.F_SETPIPE_SZ, 4096)
    tone = [round(16000 * math.sin(2 * math.pi * 1000 * i / RATE)) for i in range(RATE // 1000)]
    place = 0  # samples since the beginning
    while True:
        now = time.monotonic() - began
        if now - place / RATE > LATE:  # nobody listened
            place = round(now * RATE)
        time.sleep(max(0, place / RATE - now))
        moments = range(place, place + STEP)
        block = array.array("h", (tone[at % len(tone)] * is_on(at / RATE - delay) for at in moments))
        os.write(pipe, block.tobytes())
        place += STEP


def main():
    camera, microphone, delay = sys.argv[1], sys.argv[2], int(sys.argv[3]) / 1000
    Gst.init(None)
    pipeline, began = show(camera)
    sound(began, microphone, delay)
    pipeline.set_state(Gst.State.NULL)


main()
