#!/usr/bin/env python3
"""A camera of the media service, as a process that can be killed, whose pictures tell where they are from.

  counting_camera.py PORT red|blue LIFE

All are of one product and one name; the port alone tells them apart. 30 plain pictures a second, whose colour
is 150 + 12 times the life (of 8) in the channel of the camera, 20 + 12 times the lower digit (of 16) of the
picture's number in the green one and 20 + 12 times the higher one (of 8) in the other.
"""
import sys

import gi

gi.require_version("Gst", "1.0")
from gi.repository import GLib, Gst  # noqa: E402

STEP = 12


def main():
    port, colour, life = sys.argv[1], sys.argv[2], int(sys.argv[3])
    Gst.init(None)
    node = f"p,media.class=Video/Source,node.name=twin.{port},node.description=Gemela,node.autoconnect=false"
    model = f"device.vendor.id=(string)0x046d,device.product.id=(string)0x0825,device.bus-path=(string){port}"
    pipeline = Gst.parse_launch(
        "videotestsrc name=source is-live=true pattern=solid-color"
        " ! video/x-raw,format=YUY2,width=320,height=180,framerate=30/1"
        f" ! pipewiresink stream-properties={node},{model}"
    )
    source = pipeline.get_by_name("source")
    number = 0

    def paint():
        own, green, other = 150 + STEP * (life % 8), 20 + STEP * (number % 16), 20 + STEP * (number // 16 % 8)
        red, blue = (own, other) if colour == "red" else (other, own)
        source.set_property("foreground-color", 0xFF000000 | red << 16 | green << 8 | blue)

    def drawn(_pad, _info):
        nonlocal number
        number += 1
        paint()
        return Gst.PadProbeReturn.OK

    paint()
    source.get_static_pad("src").add_probe(Gst.PadProbeType.BUFFER, drawn)
    pipeline.set_state(Gst.State.PLAYING)
    loop = GLib.MainLoop()
    pipeline.get_bus().add_signal_watch()
    pipeline.get_bus().connect("message::error", lambda *_: loop.quit())
    loop.run()


main()
