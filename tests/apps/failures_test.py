"""Every failure is reported in one line with the right exit code, and leaves no partial file."""

import os
import resource
import signal
import subprocess
import time

from programs import FAILED, UNREADABLE, USAGE, CommandTest, ffmpeg, scene, size, write_png


class Usage(CommandTest):
    def test_nonsense_is_refused(self):
        write_png(self.path("in.png"), scene(20, 20))
        os.symlink("in.png", self.path("same.png"))
        png = ["enhance", "in.png", "-o", "out.png"]
        raw = ["enhance", "in.png", "-o", "out.nv21", "--format"]
        self.assert_each_fails((USAGE, arguments, mention) for arguments, mention in [
            ([], "--help"),
            (["improve"], "'improve' is not a command\n"),
            (["enhanc", "in.png", "-o", "out.png"], "did you mean 'enhance'?"),
            (["op", "blurr", "in.png"], "'blurr' is not an operation; did you mean 'blur'?"),
            (["help", "op", "blurr"], "did you mean 'blur'?"),
            (["enhance"], "input"),
            (["enhance", "in.png"], "-o FILE or -d FOLDER"),
            ([*png, "-d", "out"], "-o FILE or -d FOLDER"),
            ([*png, "--strong"], "did you mean '--strength'?"),
            (["info", "more"], "more"),
            ([*png, "-s", "101"], "--strength: '101' is not a whole number from 0 to 100"),
            *(([*png, "-s", number], "whole number") for number in ("50.5", "0x10", "-1", "much")),
            (["enhance", "in.png", "-o", "out.jpg", "--quality", "0"], "--quality"),
            *((["enhance", "in.png", "-o", name], name)
              for name in ("out", "out.xyz", "out.raw", "in.png", "same.png")),
            (["enhance", "in.png", "-o", "./in.png"], "in.png"),
            (["enhance", "in.png", "-d", "."], "in.png"),
            (["enhance", "in.png", "same.png", "-o", "out.png"], "-d FOLDER"),
            (["enhance", "in.png", "./in.png", "-d", "out"], "out/in.png"),
            ([*raw[:-1], "--size", "20x20"], "--format"), ([*raw, "yv12", "--size", "20x20"], "--format"),
            *(([*raw, "nv21", "--size", size], "--size")
              for size in ("20", "20x", "21x20", "20x20x20", "-2x20", "99999999999x20")),
            ([*raw, "nv21", "--size", "20x20", "--pitch", "18"], "--pitch"),
            (["compare", "in.png"], "--output"),
            (["enhance", "in.png", "-o", "-", "--json"], "--json"),
            ([*png, "--exact", "--steady", "4"], "--exact"), ([*png, "--colour", "101"], "--colour"),
        ])

    def test_numbers_are_decimal(self):
        write_png(self.path("in.png"), scene(20, 20))
        for number, meant in (("050", 50), ("010", 10), ("08", 8)):
            self.assertIn(f"strength {meant}:", self.enhance("in.png", "out.png", "-s", number).stdout)
        sheet = self.run_command("sweep", "in.png", "-o", "out.png", "--strengths", "010,08")
        self.assertIn("strengths 10, 8:", sheet.stdout)

    def test_help_and_version_have_short_ways(self):
        for short, long in ((["help", "op", "blur"], ["op", "blur", "--help"]), (["help"], ["--help"]),
                            (["-V"], ["--version"])):
            self.assertEqual(self.run_command(*long).stdout, self.do(*short).stdout)


class Input(CommandTest):
    def test_truncated_pictures_are_refused(self):
        picture = write_png(self.path("picture.png"), scene(120, 80))
        for kind in ("png", "webp", "tiff", "bmp", "gif"):
            whole = self.path("whole." + kind)
            ffmpeg("-i", picture, whole)
            content = whole.read_bytes()
            for share in (0.02, 0.3, 0.6, 0.9):
                with self.subTest(kind=kind, share=share):
                    cut = self.path("cut." + kind)
                    cut.write_bytes(content[:int(len(content) * share)])
                    self.assert_fails(self.run_command("enhance", cut, "-o", "out.png"), UNREADABLE, "cut." + kind)
        self.assertFalse(self.path("out.png").exists())

    def test_what_is_not_a_picture_is_refused(self):
        self.path("empty.jpg").touch()
        self.path("text.jpg").write_text("no picture at all\n" * 100)
        self.path("folder.png").mkdir()
        self.path("list.jpg").write_text("ffconcat version 1.0\nfile picture.png\n")
        write_png(self.path("picture.png"), scene(40, 30))
        ffmpeg("-loop", 1, "-t", 1, "-i", self.path("picture.png"), "-r", 5, self.path("animation.gif"))
        self.assert_each_fails((UNREADABLE, ["enhance", name, "-o", "out.png"], name.replace("\n", "?")) for name in (
            "empty.jpg", "text.jpg", "folder.png", "list.jpg", "missing.png", "two\nlines.png", "animation.gif",
            "http://localhost/a.jpg"))
        raw = ["--size", "20x20", "--format", "nv21"]
        for length in (0, 599, 601):
            self.path("in.nv21").write_bytes(bytes(length))
            self.assert_each_fails([(UNREADABLE, ["enhance", "in.nv21", "-o", "out.nv21", *raw], "in.nv21")])

    def test_odd_names_are_names(self):
        for name in ("a:b.png", "photo%03d.png", "[1].png", "with space.png"):
            write_png(self.path(name), scene(20, 20))
            with self.subTest(name=name):
                self.do("enhance", name, "-d", "out")
                self.assertTrue(self.path("out").joinpath(name).exists())


class Output(CommandTest):
    def setUp(self):
        super().setUp()
        write_png(self.path("in.png"), scene(400, 300))

    def test_what_cannot_be_written_is_reported(self):
        self.path("folder.png").mkdir()
        self.path("folder.png/full").touch()
        locked = self.path("locked")
        locked.mkdir(mode=0o555)
        # Permissions do not stop the superuser; the kernel's own tree does.
        locked = "/proc" if os.geteuid() == 0 else locked
        outputs = f"{locked}/out.png", "missing/out.png", "in.png/out.png", "folder.png", "x" * 300 + ".png"
        self.assert_each_fails((FAILED, ["enhance", "in.png", "-o", output], output) for output in outputs)
        self.assert_each_fails([(FAILED, ["enhance", "in.png", "-d", "in.png/deep"], "in.png/deep")])

    def test_full_disk_leaves_the_old_file(self):
        self.path("out.bmp").write_text("before")

        def limit_file_size():
            resource.setrlimit(resource.RLIMIT_FSIZE, (10000, 10000))

        # Restoring no signals keeps SIGXFSZ ignored, so that the write fails instead.
        result = self.run_command("enhance", "in.png", "-o", "out.bmp", preexec_fn=limit_file_size,
                                  restore_signals=False)
        self.assert_fails(result, FAILED, "out.bmp")
        self.assertEqual("before", self.path("out.bmp").read_text())
        self.assert_only_files("in.png", "out.bmp")

    def test_interruption_leaves_all_or_nothing(self):
        self.enhance("in.png", "out.bmp")
        whole = self.path("out.bmp").read_bytes()
        endings = [signal.SIGINT, signal.SIGTERM]
        try:
            os.close(os.open(self.folder, os.O_TMPFILE | os.O_RDWR))
            endings.append(signal.SIGKILL)
        except OSError:
            pass # The file system knows no files without a name.
        for step in range(45):
            self.path("out.bmp").unlink(missing_ok=True)
            with self.start_command("enhance", "-q", "in.png", "-o", "out.bmp") as process:
                time.sleep(step * 0.0014)
                process.send_signal(endings[step % len(endings)])
            if self.path("out.bmp").exists():
                self.assertEqual(whole, self.path("out.bmp").read_bytes())
            self.assertLessEqual(set(self.files()), {"in.png", "out.bmp"})

    def test_links_stay_and_lead_to_the_result(self):
        self.path("elsewhere").mkdir()
        for target in ("there.png", "new.png"):
            self.path("elsewhere/there.png").write_text("before")
            link = self.path("link.png")
            link.unlink(missing_ok=True)
            link.symlink_to("elsewhere/" + target)
            with self.subTest(target=target):
                self.enhance("in.png", "link.png")
                self.assertTrue(link.is_symlink())
                self.assertEqual((400, 300), size(self.path("elsewhere/" + target)))
        self.path("loop.png").symlink_to("loop.png")
        self.assert_fails(self.run_command("enhance", "in.png", "-o", "loop.png"), FAILED, "loop.png")

    def test_protected_files_need_force(self):
        self.path("out.png").write_text("before")
        self.path("out.png").chmod(0o444)
        for arguments in (["enhance", "in.png", "-o", "out.png"], ["op", "flip", "in.png", "-o", "out.png"]):
            self.assert_fails(self.run_command(*arguments), FAILED, "out.png", "--force")
            self.assert_fails(self.run_command(*arguments, "--no-clobber", "--force"), FAILED, "exists")
        self.assertEqual("before", self.path("out.png").read_text())
        self.enhance("in.png", "out.png", "--force")
        self.assertEqual((400, 300), size(self.path("out.png")))

    def test_unwritten_words_are_a_failure(self):
        with open("/dev/full", "w") as full:
            for arguments in (["--help"], ["help", "op"], ["--version"], ["info"], ["info", "--json"],
                              ["completion", "bash"], ["enhance", "in.png", "-o", "out.png"],
                              ["op", "label", "in.png", "-o", "out.png", "--json"],
                              ["bench", "--json", "--size", "64x48", "--seconds", "0"]):
                with self.subTest(arguments=arguments):
                    result = self.run_command(*arguments, capture_output=False, stdout=full, stderr=subprocess.PIPE)
                    self.assert_fails(result, FAILED, "standard output")

    def test_new_files_get_the_usual_permissions(self):
        self.run_command("enhance", "in.png", "-o", "out.png", umask=0o027)
        self.assertEqual(0o640, self.path("out.png").stat().st_mode & 0o777)


class SeveralFiles(CommandTest):
    def test_a_failed_one_does_not_stop_the_others(self):
        for name in ("a.png", "z.png"):
            write_png(self.path(name), scene(20, 20))
        self.path("bad.png").write_bytes(self.path("a.png").read_bytes()[:60])
        result = self.run_command("enhance", "a.png", "missing.png", "bad.png", "z.png", "-d", "out")
        self.assertEqual(UNREADABLE, result.returncode)
        self.assertEqual(2, result.stderr.count("\n"), result)
        self.assertEqual(["a.png", "z.png"], self.files("out"))

    def test_the_worst_outcome_is_told(self):
        write_png(self.path("a.png"), scene(20, 20))
        self.path("out").mkdir()
        self.path("out/a.png").mkdir()
        self.path("out/a.png/full").touch()
        result = self.run_command("enhance", "a.png", "missing.png", "-d", "out")
        self.assertEqual(FAILED, result.returncode)
        self.assertEqual(2, result.stderr.count("\n"), result)

    def test_kinds_that_cannot_be_written_become_png(self):
        write_png(self.path("a.png"), scene(20, 20))
        ffmpeg("-i", self.path("a.png"), self.path("b.gif"))
        self.do("enhance", "a.png", "b.gif", "-d", "out")
        self.assertEqual(["a.png", "b.png"], self.files("out"))
