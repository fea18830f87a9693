"""Videos keep everything but their pixels, and the pixels are what the library makes of them."""

import json
import os
import subprocess
import unittest

from support import CommandTest, ffmpeg

LIBRARY_RUN = os.environ["TLUX_LIBRARY_RUN"]
WIDTH, HEIGHT, FRAMES = 96, 64, 12
TEST_VIDEO = ["-f", "lavfi", "-i", f"testsrc2=s={WIDTH}x{HEIGHT}:r=10:d={FRAMES / 10}"]
TEST_SOUND = ["-f", "lavfi", "-i", f"sine=d={FRAMES / 10}"]


def probe(path):
    text = subprocess.run(["ffprobe", "-v", "error", "-of", "json", "-show_format", "-show_streams",
                           "-show_packets", "-show_chapters", path],
                          capture_output=True, check=True, text=True, timeout=60).stdout
    return json.loads(text)


def packets(path, stream):
    """The times and the hash of each packet, without whatever comes along with it."""
    lines = ffmpeg("-i", path, "-map", f"0:{stream}", "-c", "copy", "-f", "framemd5", "-")
    return [line.split(",")[1:6] for line in lines.decode().splitlines() if line[0] != "#"]


def frame_times(video):
    return sorted(int(packet["pts"]) for packet in video["packets"] if packet["stream_index"] == 0)


def limited(frame, luma_bytes):
    """A full range frame in limited range."""
    return (bytes((value * 219 + 127) // 255 + 16 for value in frame[:luma_bytes]) +
            bytes((value * 224 + 4095) // 255 for value in frame[luma_bytes:]))


def full(frame, luma_bytes):
    """A limited range frame in full range."""
    def luma(value):
        return ((min(max(value, 16), 235) - 16) * 255 + 109) // 219

    def chroma(value):
        return min(255, (255 * min(max(value, 16), 240) - 3856) // 224)

    return (bytes(map(luma, frame[:luma_bytes])) + bytes(map(chroma, frame[luma_bytes:])))


class VideoTest(CommandTest):
    def decoded(self, path, width=WIDTH, height=HEIGHT):
        """The frames as stored in the file, without any change of range."""
        content = ffmpeg("-noautorotate", "-i", path, "-map", "0:v:0", "-vf",
                         "scale=in_range=tv:out_range=tv", "-vsync", "passthrough",
                         "-f", "rawvideo", "-pix_fmt", "nv12", "-")
        length = width * height * 3 // 2
        self.assertEqual(0, len(content) % length)
        return [content[start:start + length] for start in range(0, len(content), length)]

    def library_output(self, frame, strength, width=WIDTH, height=HEIGHT):
        source, output = self.path("library.in"), self.path("library.out")
        source.write_bytes(frame)
        subprocess.run([LIBRARY_RUN, "run", "nv12", str(width), str(height), str(width), str(strength),
                        source, output], check=True, timeout=120)
        return output.read_bytes()


class Frames(VideoTest):
    def test_are_those_of_the_library(self):
        luma_bytes = WIDTH * HEIGHT
        for range_name in ("pc", "tv"):
            source = self.path("in.mkv")
            ffmpeg(*TEST_VIDEO, "-vf", f"scale=out_range={range_name}:out_color_matrix=bt709",
                   "-pix_fmt", "yuv420p", "-color_range", range_name, "-colorspace", "bt709",
                   "-c:v", "ffv1", source)
            self.enhance(source, "out.mkv", "--codec", "ffv1", "-s", 70, "--exact")
            before, after = self.decoded(source), self.decoded(self.path("out.mkv"))
            self.assertEqual(FRAMES, len(after))
            for index in (0, 5, FRAMES - 1):
                with self.subTest(range=range_name, frame=index):
                    frame = before[index]
                    if range_name == "tv":
                        # The tones of the full range frame; rounding to it and back is spared,
                        # which the chroma of dark samples, scaled by the ratio of lumas, shows most.
                        expected = limited(self.library_output(full(frame, luma_bytes), 70),
                                           luma_bytes)
                        differences = [abs(a - b) for a, b in zip(expected, after[index], strict=True)]
                        self.assertLessEqual(max(differences[:luma_bytes]), 3)
                        self.assertLess(sum(differences[luma_bytes:]), luma_bytes / 2)
                    else:
                        self.assertEqual(self.library_output(frame, 70), after[index])
            stream = probe(self.path("out.mkv"))["streams"][0]
            self.assertEqual((range_name, "bt709"), (stream["color_range"], stream["color_space"]))

    def test_every_layout_keeps_its_colors(self):
        """Strength 0 smooths a little; what is left of a plain colour is the conversions' work."""
        layouts = {"nv21": "rawvideo", "yuv422p": "ffv1", "yuv444p10": "ffv1", "gray": "ffv1",
                   "bgr0": "ffv1", "gbrp12": "ffv1", "yuv420p": "ffv1"}
        for layout, codec in layouts.items():
            source = self.path("in.mkv")
            ffmpeg("-f", "lavfi", "-i", "color=0x6080a0:s=98x50:r=5:d=0.6", "-pix_fmt", layout,
                   "-c:v", codec, source)
            rgb = []
            deep = 1 if layout in ("yuv444p10", "gbrp12") else 0
            self.enhance(source, "out.mkv", "--codec", "ffv1", "-s", 0, warnings=deep)
            for path in (source, self.path("out.mkv")):
                rgb.append(ffmpeg("-i", path, "-frames:v", 1, "-f", "rawvideo", "-pix_fmt", "rgb24",
                                  "-sws_flags", "bicubic+accurate_rnd+full_chroma_int", "-"))
            with self.subTest(layout=layout):
                self.assertLessEqual(max(abs(a - b) for a, b in zip(*rgb)), 5)

    def test_every_size_is_kept(self):
        for width, height in [(34, 18), (33, 17), (12, 10), (161, 91)]:
            source = self.path("in.mkv")
            ffmpeg("-f", "lavfi", "-i", "testsrc=s=320x240:r=5:d=0.6", "-vf",
                   f"format=rgb24,scale={width}:{height}", "-pix_fmt", "bgr0", "-c:v", "ffv1", source)
            for output in ("out.mkv", "out.mp4", "out.webm", "out.y4m"):
                with self.subTest(size=(width, height), output=output):
                    self.enhance(source, output)
                    stream = probe(self.path(output))["streams"][0]
                    self.assertEqual((width, height), (stream["width"], stream["height"]))

    def test_edges_are_treated_like_the_rest(self):
        source = self.path("in.mkv")
        ffmpeg("-f", "lavfi", "-i", "color=0x202020:s=90x50:r=5:d=0.4,noise=alls=12:allf=t",
               "-pix_fmt", "yuv420p", "-c:v", "ffv1", source)
        self.enhance(source, "out.mkv", "--codec", "ffv1", "-s", 80)
        before = self.decoded(source, 90, 50)[0]
        after = self.decoded(self.path("out.mkv"), 90, 50)[0]
        last = slice(90 * 49, 90 * 50)
        self.assertGreater(sum(after[last]) - 16 * 90, 1.3 * (sum(before[last]) - 16 * 90))


class Surroundings(VideoTest):
    def make_clip(self, name, *options):
        path = self.path(name)
        ffmpeg(*TEST_VIDEO, *TEST_SOUND, "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest",
               "-metadata", "title=Night", *options, path)
        return path

    def test_sound_and_times_are_kept_in_every_container(self):
        for name in ("clip.mp4", "clip.mov", "clip.mkv", "clip.avi", "clip.ts", "clip.flv"):
            source = self.make_clip(name)
            with self.subTest(name=name):
                self.enhance(source, "out-" + name)
                output = self.path("out-" + name)
                sound = packets(source, "a")
                self.assertEqual(sound, packets(output, "a"))
                self.assertGreater(len(sound), 40)
                self.assertEqual(FRAMES, len(packets(output, "v")))
                before, after = probe(source), probe(output)
                self.assertEqual({stream["codec_type"]: stream["avg_frame_rate"]
                                  for stream in before["streams"]},
                                 {stream["codec_type"]: stream["avg_frame_rate"]
                                  for stream in after["streams"]})
                self.assertAlmostEqual(float(before["format"]["duration"]),
                                       float(after["format"]["duration"]), delta=0.25)

    def test_uneven_times_are_kept(self):
        source = self.path("in.mp4")
        ffmpeg(*TEST_VIDEO, "-vf", "settb=1/1000,setpts='(N*N+3*N)*10'", "-vsync", "vfr", "-pix_fmt", "yuv420p",
               "-video_track_timescale", 12800, "-color_primaries", "bt709", "-color_trc", "bt709",
               "-colorspace", "bt709", source)
        for output in ("out.mp4", "out.mov"):
            self.enhance(source, output)
            before, after = probe(source), probe(self.path(output))
            self.assertEqual(frame_times(before), frame_times(after))
            for key in ("time_base", "duration_ts", "color_primaries", "color_transfer",
                        "color_space", "sample_aspect_ratio"):
                self.assertEqual(before["streams"][0][key], after["streams"][0][key])

    def test_rotation_is_kept_or_applied(self):
        upright = self.make_clip("upright.mp4")
        source = self.path("turned.mp4")
        ffmpeg("-i", upright, "-c", "copy", "-metadata:s:v", "rotate=90", source)
        for output, is_kept in (("out.mp4", True), ("out.mov", True), ("out.mkv", False),
                                ("out.y4m", False)):
            with self.subTest(output=output):
                self.enhance(source, output, warnings=1 if output == "out.y4m" else 0)
                stream = probe(self.path(output))["streams"][0]
                size = (WIDTH, HEIGHT) if is_kept else (HEIGHT, WIDTH)
                self.assertEqual(size, (stream["width"], stream["height"]))
                if is_kept:
                    self.assertEqual(probe(source)["streams"][0]["side_data_list"],
                                     stream["side_data_list"])

    def test_everything_else_goes_along(self):
        self.path("words.srt").write_text("1\n00:00:00,100 --> 00:00:00,900\nHello\n")
        self.path("chapters.txt").write_text(
            ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/10\nSTART=0\nEND=5\ntitle=One\n"
            "[CHAPTER]\nTIMEBASE=1/10\nSTART=5\nEND=12\ntitle=Two\n")
        source = self.path("in.mkv")
        ffmpeg(*TEST_VIDEO, *TEST_SOUND, "-i", self.path("words.srt"), "-i",
               self.path("chapters.txt"), "-map", 0, "-map", 1, "-map", 2, "-pix_fmt", "yuv420p",
               "-c:v", "ffv1", "-c:a", "flac", "-c:s", "srt", "-metadata", "title=Night",
               "-metadata:s:a", "language=fra", "-disposition:a", "default+comment", source)
        self.enhance(source, "out.mkv")
        before, after = probe(source), probe(self.path("out.mkv"))
        self.assertEqual("Night", after["format"]["tags"]["title"])
        self.assertEqual(before["chapters"], after["chapters"])
        self.assertEqual("fra", after["streams"][1]["tags"]["language"])
        self.assertEqual(before["streams"][1]["disposition"], after["streams"][1]["disposition"])
        for stream in (1, 2):
            self.assertEqual(packets(source, stream), packets(self.path("out.mkv"), stream))
        # This container does not support the sound, which is reported; it has its own text format.
        self.enhance(source, "out.webm", warnings=1)
        self.assertEqual(["vp9", "webvtt"],
                         [stream["codec_name"] for stream in probe(self.path("out.webm"))["streams"]])

    def test_text_is_converted_there_and_back_and_fonts_stay(self):
        self.path("words.srt").write_text("1\n00:00:00,100 --> 00:00:00,900\nHello\n")
        self.path("font.ttf").write_bytes(b"letters")
        source = self.path("in.mkv")
        ffmpeg(*TEST_VIDEO, "-i", self.path("words.srt"), "-map", 0, "-map", 1, "-pix_fmt", "yuv420p",
               "-c:s", "srt", "-attach", self.path("font.ttf"), "-metadata:s:t", "mimetype=application/x-truetype-font",
               source)
        self.enhance(source, "same.mkv")
        self.assertEqual(["h264", "subrip", "ttf"],
                         [stream["codec_name"] for stream in probe(self.path("same.mkv"))["streams"]])
        self.enhance(source, "there.mp4", warnings=1)  # fonts have no place in it
        self.enhance("there.mp4", "back.mkv")
        for name, codec in (("there.mp4", "mov_text"), ("back.mkv", "ass")):
            self.assertEqual(codec, probe(self.path(name))["streams"][1]["codec_name"])
            text = ffmpeg("-i", self.path(name), "-map", "0:s", "-f", "srt", "-").decode()
            self.assertIn("00:00:00,100 --> 00:00:00,900", text)
            self.assertIn("Hello", text)

    def test_depth_chroma_and_place_of_the_index(self):
        source = self.path("in.mkv")
        ffmpeg(*TEST_VIDEO, "-pix_fmt", "yuv420p10le", "-c:v", "ffv1", source)
        for options, layout, codec in (([], "yuv420p10le", "hevc"), (["--codec", "mpeg4"], "yuv420p", "mpeg4"),
                                       (["--chroma", "444", "--codec", "libx264", "--preset", "ultrafast"],
                                        "yuv444p10le", "h264")):
            result = self.enhance(source, "out.mp4", *options, warnings=1)
            self.assertIn("8", result.stderr)
            stream = probe(self.path("out.mp4"))["streams"][0]
            self.assertEqual((layout, codec), (stream["pix_fmt"], stream["codec_name"]))
            content = self.path("out.mp4").read_bytes()
            self.assertLess(content.index(b"moov"), content.index(b"mdat"))
        self.assertIn("no presets", self.run_command("enhance", source, "-o", "out.mp4", "--codec", "mpeg4",
                                                     "--preset", "fast").stderr)

    def test_quality_and_codec_are_chosen(self):
        source = self.make_clip("in.mp4")
        sizes = []
        for quality in (20, 60, 95):
            self.enhance(source, "out.mp4", "--quality", quality)
            sizes.append(self.path("out.mp4").stat().st_size)
        self.assertEqual(sorted(set(sizes)), sizes)
        codecs = {"out.mp4": ["h264"], "out.webm": ["vp9"], "out.mpg": ["mpeg2video"]}
        source = self.path("silent.mkv")
        ffmpeg(*TEST_VIDEO, "-r", 25, "-pix_fmt", "yuv420p", source)
        for output, expected in codecs.items():
            self.enhance(source, output)
            streams = probe(self.path(output))["streams"]
            self.assertEqual(expected, [stream["codec_name"] for stream in streams])
        self.enhance(source, "out.mp4", "--codec", "libx265")
        self.assertEqual("hevc", probe(self.path("out.mp4"))["streams"][0]["codec_name"])

    def test_says_what_was_done(self):
        source = self.make_clip("in.mp4")
        result = self.enhance(source, "out.mkv", "-s", 30, "--timing", warnings=1)
        self.assertRegex(result.stdout, r"in.mp4 96x64 -> out.mkv, strength 30: 12 frames in [\d.]+ s"
                         r", [\d.]+ per second\n$")
        self.assertRegex(result.stderr, r"^tlux: \S*in.mp4: .*decode \d+ %, library \d+ %, "
                         r"encode \d+ % of the time\n$")
        self.assertEqual("", self.enhance(source, "out.mkv", "--quiet").stdout)


if __name__ == "__main__":
    unittest.main()
