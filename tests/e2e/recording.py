"""Reads what a recording of a test clip holds: time stamps, frame numbers, flashes and beeps."""

import array
import json
import math
import subprocess

BITS = 16
RATE = 48000


def probe(path):
    """The streams and the container of a file, as ffprobe tells them."""
    words = ["ffprobe", "-v", "error", "-show_streams", "-show_format", "-of", "json", str(path)]
    return json.loads(subprocess.run(words, check=True, capture_output=True, text=True).stdout)


def video_times(path):
    """Presentation times of the pictures in seconds."""
    words = ["ffprobe", "-v", "error", "-select_streams", "v:0"]
    words += ["-show_entries", "packet=pts_time", "-of", "csv=p=0", str(path)]
    out = subprocess.run(words, check=True, capture_output=True, text=True).stdout
    return sorted(float(line.split(",")[0]) for line in out.split() if line.strip(","))


def pictures(path, width, height, turn=""):
    """Each picture as grey bytes, decoded at a small size; `turn` is a filter to put it upright."""
    words = ["ffmpeg", "-v", "error", "-i", str(path), "-vsync", "passthrough"]
    words += ["-vf", f"{turn}scale={width}:{height}:flags=area,format=gray", "-f", "rawvideo", "-"]
    data = subprocess.run(words, check=True, capture_output=True).stdout
    size = width * height
    return [data[i : i + size] for i in range(0, len(data) - size + 1, size)]


class Clip:
    """Where the clip lies in the recorded frame: fitted into it with its shape kept."""

    def __init__(self, shape, frame=(1920, 1080), decoded=(480, 270)):
        self.width, self.height = decoded
        scale = min(frame[0] / shape[0], frame[1] / shape[1])
        self.w = shape[0] * scale * decoded[0] / frame[0]
        self.h = shape[1] * scale * decoded[1] / frame[1]
        self.x = (decoded[0] - self.w) / 2
        self.y = (decoded[1] - self.h) / 2

    def level(self, picture, across, down):
        column = int(self.x + self.w * across)
        row = int(self.y + self.h * down)
        return picture[row * self.width + column]

    def number(self, picture):
        """The frame number, or None where the picture does not show the clip's blocks clearly."""
        number = 0
        for bit in range(BITS):
            level = self.level(picture, (bit + 0.5) / BITS, 1 / 16)
            if 90 < level < 165:
                return None
            number |= (level >= 165) << bit
        return number

    def flashes(self, picture):
        return self.level(picture, 0.5, 15 / 16) > 128


def read_clip(path, shape, on_its_side=False):
    """(time, number or None, flash) of each picture."""
    clip = Clip(shape, (1080, 1920), (270, 480)) if on_its_side else Clip(shape)
    times = video_times(path)
    frames = pictures(path, clip.width, clip.height, "transpose=clock," if on_its_side else "")
    return [(t, clip.number(p), clip.flashes(p)) for t, p in zip(times, frames)]


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
