"""Plays the first frames of a pipeline, seeks to its start and fails unless the same come again.

usage: seek.py PIPELINE      (its sink is an appsink by the name of sink)
"""

import sys

import gi

gi.require_version("Gst", "1.0")
from gi.repository import Gst  # noqa: E402

FRAMES = 8


def first_frames(sink):
    frames = []
    for _ in range(FRAMES):
        buffer = sink.emit("pull-sample").get_buffer()
        frames.append((buffer.pts, buffer.extract_dup(0, buffer.get_size())))
    return frames


def main():
    Gst.init(None)
    pipeline = Gst.parse_launch(sys.argv[1])
    sink = pipeline.get_by_name("sink")
    sink.set_property("max-buffers", 2)
    pipeline.set_state(Gst.State.PLAYING)
    before = first_frames(sink)
    if not pipeline.seek_simple(Gst.Format.TIME, Gst.SeekFlags.FLUSH | Gst.SeekFlags.ACCURATE, 0):
        sys.exit("the pipeline cannot seek")
    after = first_frames(sink)
    pipeline.set_state(Gst.State.NULL)
    if before != after:
        sys.exit("other frames after the seek")


main()
