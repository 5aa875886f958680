#!/usr/bin/env python3
"""A camera on the network, as a process that can be killed: H.264 over RTSP from gst-rtsp-server.

  rtsp_server.py PORT COLOUR [basic|digest USER PASSWORD]

Beside the picture it offers a stream of media "application", as cameras do for what they detect.
COLOUR is 0xAARRGGBB. "/live" and "/other" answer. "ready" is printed once it listens, then a line
"client" for each connection and "transport …" for each stream that is set up.
"""
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtsp", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtsp, GstRtspServer  # noqa: E402

PATHS = ("/live", "/other")


def factory(colour, secured):
    made = GstRtspServer.RTSPMediaFactory()
    made.set_launch(
        f"( videotestsrc is-live=true pattern=solid-color foreground-color={colour}"
        " ! video/x-raw,width=320,height=180,framerate=30/1"
        " ! openh264enc gop-size=30 ! h264parse ! rtph264pay name=pay0 pt=96"
        " audiotestsrc is-live=true ! rtpgstpay name=pay1 pt=97 )"
    )
    made.set_shared(False)  # one client that is cut off holds up no other
    if secured:
        permissions = GstRtspServer.RTSPPermissions()
        permissions.add_permission_for_role("viewer", "media.factory.access", True)
        permissions.add_permission_for_role("viewer", "media.factory.construct", True)
        made.set_permissions(permissions)
    return made


def secure(server, scheme, user, password):
    auth = GstRtspServer.RTSPAuth()
    token = GstRtspServer.RTSPToken()
    token.set_string("media.factory.role", "viewer")
    if scheme == "basic":
        auth.set_supported_methods(GstRtsp.RTSPAuthMethod.BASIC)
        auth.add_basic(GstRtspServer.RTSPAuth.make_basic(user, password), token)
    else:
        auth.set_supported_methods(GstRtsp.RTSPAuthMethod.DIGEST)
        auth.add_digest(user, password, token)
    server.set_auth(auth)


def listen(client):
    print("client", flush=True)

    def set_up(_, context):
        _, transport = context.request.get_header(GstRtsp.RTSPHeaderField.TRANSPORT, 0)
        print("transport", transport, flush=True)

    client.connect("setup-request", set_up)


def main():
    port, colour, login = sys.argv[1], sys.argv[2], sys.argv[3:]
    Gst.init(None)
    server = GstRtspServer.RTSPServer()
    server.set_address("127.0.0.1")
    server.set_service(port)
    for path in PATHS:
        server.get_mount_points().add_factory(path, factory(colour, bool(login)))
    if login:
        secure(server, *login)
    server.connect("client-connected", lambda _, client: listen(client))
    if server.attach(None) == 0:
        sys.exit(f"port {port} is taken")
    print("ready", flush=True)
    GLib.MainLoop().run()


main()
