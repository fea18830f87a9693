"""Streams of frames through pipes, several files at once, and what happens when they break off."""

import os
import select
import signal
import subprocess
import time

import numpy as np
from programs import (COMMAND, FAILED, UNREADABLE, USAGE, CommandTest, by_library, ffmpeg, planes, scene, tool, tlux,
                      write_png)

WIDTH, HEIGHT = 64, 48
LUMA = WIDTH * HEIGHT
FRAME = LUMA * 3 // 2
RAW = ["--size", f"{WIDTH}x{HEIGHT}", "--format", "nv12"]
TEST_VIDEO = ["-f", "lavfi", "-i", f"testsrc2=s={WIDTH}x{HEIGHT}:r=10:d=1"]


def raw_frames(count):
    noise = np.random.default_rng(count)
    luma = 30 + 3 * np.arange(WIDTH) // 2 + noise.integers(0, 9, (count, HEIGHT, WIDTH))
    luma = np.minimum(255, luma + 10 * np.arange(count)[:, None, None])
    chroma = noise.integers(118, 138, (count, HEIGHT // 2, WIDTH))
    return [frame.astype(np.uint8).tobytes() for frame in np.concatenate([luma, chroma], axis=1)]


def exact(frames, strength, layout="nv12"):
    return [by_library(frame, WIDTH, HEIGHT, strength, layout) for frame in frames]


def to_planar(frames):
    return [frame[:LUMA] + frame[LUMA::2] + frame[LUMA + 1::2] for frame in frames]


def y4m(frames, header=f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F30:1 Ip A1:1 C420jpeg XCOLORRANGE=FULL"):
    return header.encode() + b"\n" + b"".join(b"FRAME\n" + frame for frame in frames)


class StreamTest(CommandTest):
    def pipe(self, content, *arguments):
        return self.run_command("enhance", *arguments, input=content, text=False)

    def piped(self, content, *arguments):
        result = self.pipe(content, *arguments)
        self.assertEqual((0, b""), (result.returncode, result.stderr))
        return result.stdout


class Y4m(StreamTest):
    def test_round_trip_is_the_librarys_output_to_the_byte(self):
        frames = raw_frames(4)
        for strength in (0, 60):
            output = self.piped(y4m(to_planar(frames)), "-", "-o", "-", "-s", strength, "--exact")
            header, *actual = output.split(b"FRAME\n")
            self.assertTrue(header.startswith(f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F30:1 Ip A1:1 C420jpeg".encode()), header)
            self.assertIn(b"XCOLORRANGE=FULL", header)
            self.assertEqual(to_planar(exact(frames, strength)), actual)

    def test_tags_are_kept(self):
        frames = to_planar(raw_frames(2))
        for tags in ("F30000:1001 It A10:11 C420mpeg2", "F25:1 Ip A1:1 C420paldv", "F24:1 Ip A0:0 C420jpeg", "F25:1"):
            header = f"YUV4MPEG2 W{WIDTH} H{HEIGHT} {tags}"
            output = self.piped(y4m(frames, header), "-", "-o", "-").split(b"\n")[0]
            self.assertTrue(output.startswith(header.encode()), output)
            self.assertIn(b" C420", output)

    def test_other_chroma_is_converted(self):
        for tag, content in (("C444", 3 * LUMA), ("C422", 2 * LUMA), ("Cmono", LUMA)):
            frames = [bytes([100]) * LUMA + bytes([128]) * (content - LUMA)] * 2
            stream = y4m(frames, f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F25:1 Ip A1:1 {tag}")
            header, *actual = self.piped(stream, "-", "-o", "-", "-s", 0).split(b"FRAME\n")
            self.assertIn(b" C420", header)
            self.assertEqual([FRAME] * 2, [len(frame) for frame in actual])
            self.assertEqual({128}, set(actual[0][LUMA:]), tag)

    def test_works_between_two_others(self):
        source = self.path("in.mkv")
        ffmpeg(*TEST_VIDEO, "-pix_fmt", "yuv420p", source)
        tool("sh", "-c", f"ffmpeg -v error -i in.mkv -f yuv4mpegpipe - | '{COMMAND}' enhance - -o - |"
             " ffmpeg -v error -i - -c:v ffv1 out.mkv", cwd=self.folder)
        self.enhance(source, "direct.mkv", "--codec", "ffv1")
        direct, piped = (ffmpeg("-i", self.path(name), "-f", "framemd5", "-") for name in ("direct.mkv", "out.mkv"))
        self.assertEqual(direct.splitlines()[-10:], piped.splitlines()[-10:])

    def test_a_failed_output_does_not_wait_for_input(self):
        # More than what is collected before it is written, less than what a pipe takes unread.
        frames = to_planar(raw_frames(12))
        for content, options in ((y4m(frames), []), (b"".join(frames), RAW)):
            reading, writing = os.pipe()
            os.close(reading)
            with self.start_command("enhance", "-", "-o", "-", *options, stdin=subprocess.PIPE, stdout=writing,
                                    stderr=subprocess.PIPE) as process:
                os.close(writing)
                process.stdin.write(content)
                process.stdin.flush() # and nothing more comes, nor an end
                self.assertEqual(FAILED, process.wait(timeout=30))
                self.assertEqual(1, process.stderr.read().count(b"\n"))

    def test_an_interrupted_command_ends_its_line(self):
        terminal, end = os.openpty()
        with self.start_command("enhance", "-", "-o", "out.nv12", *RAW, stdin=subprocess.PIPE, stderr=end) as process:
            os.close(end)
            shown = b""
            while b"frame" not in shown:
                process.stdin.write(raw_frames(1)[0])
                process.stdin.flush()
                time.sleep(0.02)
                if select.select([terminal], [], [], 0)[0]:
                    shown += os.read(terminal, 1000)
            process.send_signal(signal.SIGINT)
            process.wait(timeout=30)
        shown += os.read(terminal, 1000)
        os.close(terminal)
        self.assertTrue(shown.endswith(b"\r\n"), shown)
        self.assert_only_files()

    def test_broken_ones_are_refused_or_taken_as_far_as_they_go(self):
        whole = y4m(to_planar(raw_frames(3)))
        for content, mention in ((b"", "-: "), (b"no stream\n" * 100, "-: "), (whole[:30], "-: "),
                                 (whole[:-5], "breaks off"), (whole[:-LUMA], "breaks off")):
            for output in ("-", "out.y4m"):
                self.assert_fails(self.pipe(content, "-", "-o", output, "--strict"), UNREADABLE, mention)
        self.assert_only_files()
        result = self.pipe(whole[:-5], "-", "-o", "-")
        self.assert_fails(result, 0, "breaks off")
        self.assertEqual(2, result.stdout.count(b"FRAME\n"))


class Raw(StreamTest):
    def test_frames_in_a_row_are_each_the_librarys(self):
        frames = raw_frames(5)
        for name in ("nv12", "nv21"):
            raw = ["--size", f"{WIDTH}x{HEIGHT}", "--format", name, "-s", 40, "--exact"]
            expected = b"".join(exact(frames, 40, name))
            self.assertEqual(expected, self.piped(b"".join(frames), "-", "-o", "-", *raw))
            self.path("in.raw").write_bytes(b"".join(frames))
            self.enhance("in.raw", "out." + name, *raw)
            self.assertEqual(expected, self.path("out." + name).read_bytes())

    def test_tones_follow_the_scene_and_forget_it_between_files(self):
        dark = raw_frames(1)[0]
        luma, chroma = planes(dark, WIDTH, HEIGHT)
        bright = luma.copy()
        bright[:8, :8] = 230
        lamp = bright.tobytes() + chroma.tobytes()
        for options, steady in (([], None), (["--steady", "0"], 0), (["--steady", "3"], 3)):
            with tlux.Stream(steady=8 if steady is None else steady) as stream:
                expected = [b"".join(plane.tobytes() for plane in stream.run(y, chroma))
                            for y in (luma, bright, bright)]
            self.assertEqual(steady != 0, expected[1] != expected[2])
            self.assertEqual(b"".join(expected), self.piped(dark + lamp + lamp, "-", "-o", "-", *RAW, *options))
            for name in ("a.nv12", "b.nv12"):
                self.path(name).write_bytes(dark + lamp)
            self.do("enhance", "a.nv12", "b.nv12", "-d", "out", "-j", "1", *RAW, *options)
            for name in ("a.nv12", "b.nv12"):
                self.assertEqual(b"".join(expected[:2]), self.path("out").joinpath(name).read_bytes())

    def test_become_streams_and_videos_and_these_become_raw_frames(self):
        frames = raw_frames(3)
        expected = exact(frames, 30)
        stream = self.piped(b"".join(frames), "-", "-o", "-", "--as", "y4m", "--fps", "30", "--exact", *RAW)
        header, *actual = stream.split(b"FRAME\n")
        self.assertIn(b" F30:1 ", header)
        self.assertEqual(to_planar(expected), actual)
        self.piped(b"".join(frames), "-", "-o", "out.mkv", "--codec", "ffv1", "--exact", *RAW, "-q")
        self.assertEqual(b"".join(to_planar(expected)), ffmpeg("-i", self.path("out.mkv"), "-f", "rawvideo", "-"))
        self.path("in.y4m").write_bytes(y4m(to_planar(frames)))
        self.assertEqual(b"".join(expected), self.piped(None, "in.y4m", "-o", "-", "--as", "nv12", "--exact"))
        self.enhance("in.y4m", "out.nv12", "--exact")
        self.assertEqual(b"".join(expected), self.path("out.nv12").read_bytes())

    def test_a_part_of_a_frame_is_refused(self):
        content = b"".join(raw_frames(2))
        for length in (0, 1, len(content) - 1):
            self.assert_fails(self.pipe(content[:length], "-", "-o", "-", *RAW), UNREADABLE)


class Breaks(StreamTest):
    def make_long_video(self, name="in.mkv"):
        ffmpeg("-f", "lavfi", "-i", "testsrc2=s=320x240:r=25:d=20", "-c:v", "mpeg4", "-g", 25, self.path(name))
        return name

    def test_truncated_videos_are_refused_where_that_is_asked_for(self):
        for name in ("in.mkv", "in.mp4", "in.avi", "in.mov"):
            whole, cut = self.path(name), self.path("cut-" + name)
            ffmpeg("-f", "lavfi", "-i", "testsrc2=s=160x120:r=10:d=4", "-c:v", "mpeg4",
                   *(["-movflags", "+faststart"] if name == "in.mp4" else []), whole)
            for share in (0.05, 0.6):
                cut.write_bytes(whole.read_bytes()[:int(whole.stat().st_size * share)])
                self.assert_each_fails([(UNREADABLE, ["enhance", cut, "-o", "out.mkv", "--strict"], "cut-" + name)])

    def test_what_makes_no_video_is_refused(self):
        ffmpeg("-f", "lavfi", "-i", "sine=d=1", self.path("sound.wav"))
        self.path("text.mkv").write_text("no video at all\n" * 100)
        self.path("in.y4m").write_bytes(y4m(to_planar(raw_frames(2))))
        self.assert_each_fails(
            [(UNREADABLE, ["enhance", name, "-o", "out.mkv"], name)
             for name in ("sound.wav", "text.mkv", "missing.mkv")] +
            [(FAILED, ["enhance", "in.y4m", "-o", name], name)
             for name in ("/proc/out.mkv", "missing/out.mp4", "in.y4m/out.nv12")] +
            [(USAGE, ["enhance", "in.y4m", "-o", "out.mkv", option, value], option)
             for option, value in (("--codec", "nonsense"), ("--codec", "aac"), ("--fps", "much"), ("--jobs", "0"),
                                   ("--as", "xyz"))])

    def test_a_reader_that_goes_away_ends_the_run(self):
        with self.start_command("enhance", self.make_long_video(), "-o", "-", stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE) as process:
            process.stdout.read(1000)
            process.stdout.close()
            message = process.stderr.read().decode()
        self.assertEqual(FAILED, process.returncode)
        self.assertRegex(message, r"^tlux: -: .*\n$")

    def test_interruption_leaves_nothing(self):
        names = [self.make_long_video(), "also.mkv"]
        os.link(self.path(names[0]), self.path(names[1]))
        for ending in (signal.SIGINT, signal.SIGTERM):
            with self.start_command("enhance", *names, "-d", "out", "--jobs", "2", stderr=subprocess.PIPE) as process:
                deadline = time.monotonic() + 60
                while not self.path("out").exists():
                    self.assertLess(time.monotonic(), deadline)
                    time.sleep(0.01)
                time.sleep(0.3) # both are at work now
                process.send_signal(ending)
            self.assertEqual(-ending, process.returncode)
            self.assertEqual([], self.files("out"))


class SeveralFiles(StreamTest):
    def test_good_ones_are_done_beside_a_bad_one(self):
        stream = y4m(to_planar(raw_frames(3)))
        names = [f"{index}.y4m" for index in range(6)]
        for name in names:
            self.path(name).write_bytes(stream)
        write_png(self.path("photo.png"), scene(40, 30))
        self.path("3.y4m").write_bytes(stream[:-10])
        result = self.run_command("enhance", *names, "photo.png", "-d", "out", "--jobs", "3", "--strict")
        self.assert_fails(result, UNREADABLE, "3.y4m")
        self.assertEqual(6, result.stdout.count("\n"))
        self.assertEqual(sorted({*names, "photo.png"} - {"3.y4m"}), self.files("out"))
        self.assertEqual(1, len({path.read_bytes() for path in self.path("out").glob("*.y4m")}))

    def test_pipes_take_pictures_and_have_their_limits(self):
        for words, code in (("-d out", USAGE), ("-o out.png", UNREADABLE), ("-o - --as jpg", UNREADABLE)):
            self.assert_fails(self.pipe(b"", "-", *words.split()), code)
        self.enhance(write_png(self.path("in.png"), scene(40, 30)), "out.png")
        output = self.piped(None, "in.png", "-o", "-", "--as", "png")
        self.assertEqual(self.path("out.png").read_bytes(), output)
