"""An RTSP server that plays a test picture at /live and keeps what it is sent at /better.

usage: rtsp_server.py PORT FRAMES FILE
"""

import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer  # noqa: E402


def main():
    port, frames, path = sys.argv[1:]
    Gst.init(None)
    server = GstRtspServer.RTSPServer(address="127.0.0.1", service=port)

    live = GstRtspServer.RTSPMediaFactory()
    live.set_launch(f"( videotestsrc is-live=true num-buffers={frames} ! video/x-raw,width=320,height=180,framerate=25/1 "
                    "! x264enc tune=zerolatency key-int-max=10 ! rtph264pay name=pay0 pt=96 )")
    better = GstRtspServer.RTSPMediaFactory()
    better.set_transport_mode(GstRtspServer.RTSPTransportMode.RECORD)
    better.set_launch(f"( rtph264depay name=depay0 ! h264parse ! video/x-h264,stream-format=byte-stream "
                      f"! filesink location={path} buffer-mode=unbuffered async=false )")
    for place, factory in (("/live", live), ("/better", better)):
        server.get_mount_points().add_factory(place, factory)

    server.attach(None)
    print("ready", flush=True)
    GLib.MainLoop().run()


main()
