"""Streams of frames through pipes, several files at once, and what happens when they break off."""

import os
import random
import select
import signal
import subprocess
import time
import unittest

from support import COMMAND, CommandTest, ffmpeg, scene, write_png

LIBRARY_RUN = os.environ["TLUX_LIBRARY_RUN"]
USAGE, UNREADABLE, FAILED = 1, 2, 3
WIDTH, HEIGHT = 64, 48
LUMA, CHROMA = WIDTH * HEIGHT, WIDTH * HEIGHT // 2
RAW = ["--size", f"{WIDTH}x{HEIGHT}", "--format", "nv12"]


def raw_frames(count):
    noise = random.Random(count)
    return [bytes(min(255, 30 + 3 * x // 2 + index * 10 + noise.randrange(9))
                  for _ in range(HEIGHT) for x in range(WIDTH)) +
            bytes(118 + noise.randrange(20) for _ in range(CHROMA)) for index in range(count)]


def to_planar(frame):
    return frame[:LUMA] + frame[LUMA::2] + frame[LUMA + 1::2]


def y4m(frames, header=f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F30:1 Ip A1:1 C420jpeg XCOLORRANGE=FULL"):
    return header.encode() + b"\n" + b"".join(b"FRAME\n" + frame for frame in frames)


class StreamTest(CommandTest):
    def pipe(self, content, *arguments):
        return subprocess.run([COMMAND, "enhance", *map(str, arguments)], input=content,
                              cwd=self.folder, capture_output=True, timeout=120, check=False)

    def piped(self, content, *arguments):
        result = self.pipe(content, *arguments)
        self.assertEqual((0, b""), (result.returncode, result.stderr))
        return result.stdout

    def library_output(self, frame, strength, name="nv12"):
        source, output = self.path("library.in"), self.path("library.out")
        source.write_bytes(frame)
        subprocess.run([LIBRARY_RUN, "run", name, str(WIDTH), str(HEIGHT), str(WIDTH), str(strength),
                        source, output], check=True, timeout=120)
        return output.read_bytes()


class Y4m(StreamTest):
    def test_round_trip_is_the_librarys_output_to_the_byte(self):
        frames = raw_frames(4)
        stream = y4m(map(to_planar, frames))
        for strength in (0, 60):
            header, *actual = self.piped(stream, "-", "-o", "-", "-s", strength, "--exact").split(b"FRAME\n")
            self.assertEqual(f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F30:1 Ip A1:1 C420jpeg",
                             header.decode().split(" XYSCSS")[0])
            self.assertIn(b"XCOLORRANGE=FULL", header)
            self.assertEqual([to_planar(self.library_output(frame, strength)) for frame in frames],
                             actual)

    def test_tags_are_kept(self):
        frames = [to_planar(frame) for frame in raw_frames(2)]
        for tags in ("F30000:1001 It A10:11 C420mpeg2", "F25:1 Ip A1:1 C420paldv",
                     "F24:1 Ip A0:0 C420jpeg"):
            header = f"YUV4MPEG2 W{WIDTH} H{HEIGHT} {tags}"
            output = self.piped(y4m(frames, header), "-", "-o", "-")
            self.assertTrue(output.startswith(header.encode()), output[:100])
        output = self.piped(y4m(frames, f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F25:1"), "-", "-o", "-")
        self.assertIn(b" C420jpeg", output[:100])

    def test_other_chroma_is_converted(self):
        for tag, samples in (("C444", 3 * LUMA), ("C422", 2 * LUMA), ("Cmono", LUMA)):
            frames = [bytes([100]) * LUMA + bytes([128]) * (samples - LUMA)] * 2
            stream = y4m(frames, f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F25:1 Ip A1:1 {tag}")
            header, *actual = self.piped(stream, "-", "-o", "-", "-s", 0).split(b"FRAME\n")
            self.assertIn(b" C420", header)
            self.assertEqual([LUMA + CHROMA] * 2, [len(frame) for frame in actual])
            self.assertEqual({128}, set(actual[0][LUMA:]), tag)

    def test_works_between_two_others(self):
        source = self.path("in.mkv")
        ffmpeg("-f", "lavfi", "-i", f"testsrc2=s={WIDTH}x{HEIGHT}:r=10:d=1", "-pix_fmt", "yuv420p",
               source)
        subprocess.run(f"ffmpeg -v error -i in.mkv -f yuv4mpegpipe - | '{COMMAND}' enhance - -o - |"
                       " ffmpeg -v error -i - -c:v ffv1 out.mkv", shell=True, check=True,
                       cwd=self.folder, timeout=120)
        direct = ["-f", "framemd5", "-"]
        self.enhance(source, "direct.mkv", "--codec", "ffv1")
        self.assertEqual(ffmpeg("-i", self.path("direct.mkv"), *direct).splitlines()[-10:],
                         ffmpeg("-i", self.path("out.mkv"), *direct).splitlines()[-10:])

    def test_a_failed_output_does_not_wait_for_input(self):
        # More than what is collected before it is written, less than what a pipe takes unread.
        frames = [to_planar(frame) for frame in raw_frames(12)]
        for content, options in ((y4m(frames), []), (b"".join(frames), RAW)):
            reading, writing = os.pipe()
            os.close(reading)
            with subprocess.Popen([COMMAND, "enhance", "-", "-o", "-", *options], cwd=self.folder,
                                  stdin=subprocess.PIPE, stdout=writing, stderr=subprocess.PIPE) as process:
                os.close(writing)
                process.stdin.write(content)
                process.stdin.flush() # and nothing more comes, nor an end
                self.assertEqual(FAILED, process.wait(timeout=30))
                self.assertEqual(1, process.stderr.read().count(b"\n"))

    def test_an_interrupted_command_ends_its_line(self):
        terminal, end = os.openpty()
        with subprocess.Popen([COMMAND, "enhance", "-", "-o", "out.nv12", *RAW], cwd=self.folder,
                              stdin=subprocess.PIPE, stderr=end) as process:
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

    def test_what_is_no_stream_is_refused(self):
        whole = y4m(map(to_planar, raw_frames(3)))
        for content, mention in ((b"", "-: "), (b"no stream\n" * 100, "-: "), (whole[:30], "-: "),
                                 (whole[:-5], "breaks off"), (whole[:-LUMA], "breaks off")):
            for output in ("-", "out.y4m"):
                result = self.pipe(content, "-", "-o", output, "--strict")
                self.assertEqual(UNREADABLE, result.returncode, result)
                self.assertEqual(1, result.stderr.count(b"\n"), result)
                self.assertIn(mention, result.stderr.decode())
        self.assert_only_files()

    def test_what_is_there_of_a_broken_one_is_taken(self):
        whole = y4m(map(to_planar, raw_frames(3)))
        result = self.pipe(whole[:-5], "-", "-o", "-")
        self.assertEqual((0, 1), (result.returncode, result.stderr.count(b"\n")), result.stderr)
        self.assertIn(b"breaks off", result.stderr)
        self.assertEqual(2, result.stdout.count(b"FRAME\n"))


class Raw(StreamTest):
    def test_frames_in_a_row_are_each_the_librarys(self):
        frames = raw_frames(5)
        for name in ("nv12", "nv21"):
            raw = ["--size", f"{WIDTH}x{HEIGHT}", "--format", name, "-s", 40, "--exact"]
            expected = b"".join(self.library_output(frame, 40, name) for frame in frames)
            self.assertEqual(expected, self.piped(b"".join(frames), "-", "-o", "-", *raw))
            self.path("in.raw").write_bytes(b"".join(frames))
            self.enhance("in.raw", "out." + name, *raw)
            self.assertEqual(expected, self.path("out." + name).read_bytes())

    def test_tones_follow_the_scene_and_forget_it_between_files(self):
        dark = raw_frames(1)[0]
        lamp = bytes(230 if i // WIDTH < 8 and i % WIDTH < 8 else dark[i] for i in range(LUMA)) + dark[LUMA:]
        length = len(dark)

        def tones(*options, content=b"".join([dark, lamp, lamp])):
            output = self.piped(content, "-", "-o", "-", *RAW, *options)
            return [output[start:start + length] for start in range(0, len(output), length)]

        alone = tones("--steady", "0")
        self.assertEqual(alone[1], alone[2])
        steady = tones()
        self.assertNotEqual(steady[1], steady[2])
        self.assertEqual(steady, tones("--steady", "8"))
        for name in ("a", "b"):
            self.path(name + ".nv12").write_bytes(dark + lamp)
        self.assert_done(self.run_command("enhance", "a.nv12", "b.nv12", "-d", "out", "-j", "1", *RAW))
        for name in ("a", "b"):
            self.assertEqual(b"".join(steady[:2]), self.path(f"out/{name}.nv12").read_bytes())

    def test_become_a_stream_or_a_video(self):
        frames = raw_frames(3)
        expected = [to_planar(self.library_output(frame, 30)) for frame in frames]
        stream = self.piped(b"".join(frames), "-", "-o", "-", "--as", "y4m", "--fps", "30", "--exact", *RAW)
        header, *actual = stream.split(b"FRAME\n")
        self.assertIn(b" F30:1 ", header)
        self.assertEqual(expected, actual)
        self.piped(b"".join(frames), "-", "-o", "out.mkv", "--codec", "ffv1", "--exact", *RAW, "-q")
        decoded = ffmpeg("-i", self.path("out.mkv"), "-f", "rawvideo", "-")
        self.assertEqual(b"".join(expected), decoded)

    def test_videos_become_raw_frames(self):
        frames = raw_frames(3)
        stream = y4m(map(to_planar, frames))
        expected = b"".join(self.library_output(frame, 30) for frame in frames)
        self.assertEqual(expected, self.piped(stream, "-", "-o", "-", "--as", "nv12", "--exact"))
        self.path("in.y4m").write_bytes(stream)
        self.enhance("in.y4m", "out.nv12", "--exact")
        self.assertEqual(expected, self.path("out.nv12").read_bytes())

    def test_a_part_of_a_frame_is_refused(self):
        content = b"".join(raw_frames(2))
        for length in (0, 1, len(content) - 1):
            result = self.pipe(content[:length], "-", "-o", "-", *RAW)
            self.assertEqual(UNREADABLE, result.returncode)
            self.assertEqual(1, result.stderr.count(b"\n"), result)


class Breaks(StreamTest):
    def make_long_video(self, name="in.mkv"):
        ffmpeg("-f", "lavfi", "-i", "testsrc2=s=320x240:r=25:d=20", "-c:v", "mpeg4", "-g", 25,
               self.path(name))
        return name

    def test_truncated_videos_are_refused_where_that_is_asked_for(self):
        for name in ("in.mkv", "in.mp4", "in.avi", "in.mov"):
            whole, cut = self.path(name), self.path("cut-" + name)
            ffmpeg("-f", "lavfi", "-i", "testsrc2=s=160x120:r=10:d=4", "-c:v", "mpeg4",
                   *(["-movflags", "+faststart"] if name == "in.mp4" else []), whole)
            for share in (0.05, 0.6):
                cut.write_bytes(whole.read_bytes()[:int(whole.stat().st_size * share)])
                with self.subTest(name=name, share=share):
                    result = self.run_command("enhance", cut, "-o", "out.mkv", "--strict")
                    self.assert_fails(result, UNREADABLE, "cut-" + name)
                    self.assertFalse(self.path("out.mkv").exists())
            whole.unlink()
            cut.unlink()
        self.assert_only_files()

    def test_what_holds_no_video_is_refused(self):
        ffmpeg("-f", "lavfi", "-i", "sine=d=1", self.path("sound.wav"))
        self.path("text.mkv").write_text("no video at all\n" * 100)
        for name in ("sound.wav", "text.mkv", "missing.mkv"):
            self.assert_fails(self.run_command("enhance", name, "-o", "out.mkv"), UNREADABLE, name)

    def test_what_cannot_be_written_is_reported(self):
        self.path("in.y4m").write_bytes(y4m(map(to_planar, raw_frames(2))))
        for output in ("/proc/out.mkv", "missing/out.mp4", "in.y4m/out.nv12"):
            self.assert_fails(self.run_command("enhance", "in.y4m", "-o", output), FAILED, output)
        for arguments in (["--codec", "nonsense"], ["--codec", "aac"], ["--fps", "much"],
                          ["--jobs", "0"], ["--as", "xyz"]):
            result = self.run_command("enhance", "in.y4m", "-o", "out.mkv", *arguments)
            self.assert_fails(result, USAGE, arguments[0])
        self.assert_only_files("in.y4m")

    def test_a_reader_that_goes_away_ends_the_run(self):
        name = self.make_long_video()
        with subprocess.Popen([COMMAND, "enhance", name, "-o", "-"], cwd=self.folder,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            process.stdout.read(1000)
            process.stdout.close()
            message = process.stderr.read().decode()
        self.assertEqual(FAILED, process.returncode)
        self.assertRegex(message, r"^tlux: -: .*\n$")

    def test_interruption_leaves_nothing(self):
        names = [self.make_long_video(), "also.mkv"]
        os.link(self.path(names[0]), self.path(names[1]))
        for ending in (signal.SIGINT, signal.SIGTERM):
            with subprocess.Popen([COMMAND, "enhance", *names, "-d", "out", "--jobs", "2"],
                                  cwd=self.folder, stderr=subprocess.PIPE) as process:
                deadline = time.monotonic() + 60
                while not self.path("out").exists():
                    self.assertLess(time.monotonic(), deadline)
                    time.sleep(0.01)
                time.sleep(0.3) # both are at work now
                process.send_signal(ending)
            self.assertEqual(-ending, process.returncode)
            self.assertEqual([], list(self.path("out").iterdir()))


class SeveralFiles(StreamTest):
    def test_good_ones_are_done_beside_a_bad_one(self):
        stream = y4m(map(to_planar, raw_frames(3)))
        names = [f"{index}.y4m" for index in range(6)]
        for name in names:
            self.path(name).write_bytes(stream)
        write_png(self.path("photo.png"), scene(40, 30))
        self.path("3.y4m").write_bytes(stream[:-10])
        result = self.run_command("enhance", *names, "photo.png", "-d", "out", "--jobs", "3", "--strict")
        self.assert_fails(result, UNREADABLE, "3.y4m")
        self.assertEqual(6, result.stdout.count("\n"))
        outputs = {path.name: path.read_bytes() for path in self.path("out").iterdir()}
        self.assertEqual({*names, "photo.png"} - {"3.y4m"}, set(outputs))
        del outputs["photo.png"]
        self.assertEqual(1, len(set(outputs.values())))

    def test_pipes_have_their_limits(self):
        for arguments, code in ((["-d", "out"], USAGE), (["-o", "out.png"], UNREADABLE),
                                (["-o", "-", "--as", "jpg"], UNREADABLE)):
            result = self.pipe(b"", "-", *arguments)
            self.assertEqual(code, result.returncode, result)
            self.assertEqual(1, result.stderr.count(b"\n"), result)

    def test_pictures_go_to_pipes(self):
        picture = write_png(self.path("in.png"), scene(40, 30))
        self.enhance(picture, "out.png")
        output = self.piped(None, "in.png", "-o", "-", "--as", "png")
        self.assertEqual(self.path("out.png").read_bytes(), output)


if __name__ == "__main__":
    unittest.main()
