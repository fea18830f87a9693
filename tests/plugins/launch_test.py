"""The element in gst-launch-1.0: documented, working in pipelines, without leaks."""

from pathlib import Path

from support import DEBIAN_PYTHON, DECODED_CLIP, HostTest


class Launch(HostTest):
    TOOLS = ("gst-launch-1.0", "gst-inspect-1.0", "ffmpeg")

    def test_is_described(self):
        text = self.run_tool("gst-inspect-1.0", "tlux")
        properties = {"strength": "0 - 100", "colour": "0 - 100", "steady": "0 - 1000", "threads": "0 - 64",
                      "exact": "Boolean"}
        for name, values in properties.items():
            with self.subTest(name):
                lines = text[text.index(f"\n  {name} "):].splitlines()[1:4]
                self.assertIn("controllable, changeable in NULL, READY, PAUSED or PLAYING state", lines[1])
                self.assertIn(values, lines[2])

    def test_frames_that_a_tee_shares_are_left_as_they_were(self):
        self.make_clip(324, 182)  # rows without padding, whose bytes would be anything
        self.launch(f"{DECODED_CLIP} ! videoconvert ! video/x-raw,format=NV21 ! tee name=both "
                    "both. ! queue ! tlux ! filesink location=shared.raw "
                    "both. ! queue ! filesink location=source.raw")
        source = self.read("source.raw")
        self.launch(f"{DECODED_CLIP} ! videoconvert ! video/x-raw,format=NV21 ! tlux ! filesink location=alone.raw")
        self.assertEqual(self.read("shared.raw"), self.read("alone.raw"))
        self.launch(f"{DECODED_CLIP} ! videoconvert ! video/x-raw,format=NV21 ! filesink location=plain.raw")
        self.assertEqual(source, self.read("plain.raw"))
        self.assertNotEqual(source, self.read("alone.raw"))

    def test_a_seek_to_the_start_gives_the_first_frames_again(self):
        self.make_clip(320, 180)
        self.run_tool(*DEBIAN_PYTHON, Path(__file__).parent / "seek.py",
                           f"{DECODED_CLIP} ! videoconvert ! tlux steady=100 ! appsink name=sink sync=false")

    def test_nothing_is_left_behind(self):
        self.make_clip(320, 180)
        for pipeline in ("videotestsrc num-buffers=20 ! video/x-raw,format=NV12,width=161,height=91 ! tlux ! fakesink",
                         "videotestsrc num-buffers=20 ! tlux strength=0 ! fakesink",
                         "videotestsrc num-buffers=100 ! tlux threads=1 ! fakesink sync=true max-lateness=0 qos=true",
                         f"{DECODED_CLIP} ! videoconvert ! tlux exact=true ! fakesink"):
            with self.subTest(pipeline):
                said = self.launch(pipeline, GST_TRACERS="leaks", GST_DEBUG="GST_TRACER:7", GST_DEBUG_NO_COLOR="1")
                self.assertIn("new format string: object-alive", said)  # the tracer is at work
                self.assertNotIn(":: object-alive", said)
