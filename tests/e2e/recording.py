"""Reads what a recording of a test clip holds, which fills the frame: time stamps, numbers, flashes, beeps."""

import array
import json
import math
import subprocess

BITS = 16
RATE = 48000
WIDTH, HEIGHT = 480, 270  # of the decoded pictures


def probe(path):
    """The streams and the container of a file, as ffprobe tells them."""
    words = ["ffprobe", "-v", "error", "-show_streams", "-show_format", "-of", "json", str(path)]
    return json.loads(subprocess.run(words, check=True, capture_output=True, text=True).stdout)


def video_times(path, whole=True):
    """Presentation times of the pictures in seconds; of a file that is being written, not `whole`."""
    words = ["ffprobe", "-v", "error", "-select_streams", "v:0"]
    words += ["-show_entries", "packet=pts_time", "-of", "csv=p=0", str(path)]
    out = subprocess.run(words, check=whole, capture_output=True, text=True).stdout
    return sorted(float(line.split(",")[0]) for line in out.split() if line.strip(","))


def pictures(path, width, height):
    """Each picture as grey bytes, decoded at a small size."""
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-vsync", "passthrough"]
    words += ["-vf", f"scale={width}:{height}:flags=area,format=gray", "-f", "rawvideo", "-"]
    data = subprocess.run(words, check=True, capture_output=True).stdout
    size = width * height
    return [data[i : i + size] for i in range(0, len(data) - size + 1, size)]


def level(picture, across, down):
    return picture[int(HEIGHT * down) * WIDTH + int(WIDTH * across)]


def number(picture):
    """The frame number, or None where the picture does not show the clip's blocks clearly."""
    levels = [level(picture, (bit + 0.5) / BITS, 1 / 16) for bit in range(BITS)]
    if any(90 < value < 165 for value in levels):
        return None
    return sum((value >= 165) << bit for bit, value in enumerate(levels))


def read_clip(path):
    """(time, number or None, flash) of each picture."""
    frames = pictures(path, WIDTH, HEIGHT)
    return [(t, number(p), level(p, 0.5, 15 / 16) > 128) for t, p in zip(video_times(path), frames)]


def beep_offsets(path, shown):
    """How long after each flash the nearest beep comes, in seconds; `shown` is what `read_clip` gave."""
    flashes = onsets((time, flash) for time, _, flash in shown)
    beeps = beep_onsets(path)
    inner = [f for f in flashes if 0.5 < f - shown[0][0] and f < shown[-1][0] - 0.5]
    return [min((b - f for b in beeps), key=abs, default=9) for f in inner]


def onsets(flags):
    """The times at which a (time, flag) sequence turns on; one that starts on does not count."""
    flags = list(flags)
    return [b[0] for a, b in zip(flags, flags[1:]) if b[1] and not a[1]]


def beep_onsets(path):
    """The times at which the sound turns on, to a millisecond."""
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-ac", "1", "-ar", str(RATE), "-f", "f32le", "-"]
    data = array.array("f", subprocess.run(words, check=True, capture_output=True).stdout)
    start = float(next(s for s in probe(path)["streams"] if s["codec_type"] == "audio").get("start_time", 0))
    step = RATE // 1000
    loud = []
    quiet = 0
    on = False
    for i in range(0, len(data) - step, step):
        level = math.sqrt(sum(v * v for v in data[i : i + step : 4]) / (step // 4))
        if level > 0.05:
            if not on and quiet >= 300:
                loud.append(start + i / RATE)
            on, quiet = True, 0
        else:
            quiet += 1
            on = on and quiet < 50
    return loud
