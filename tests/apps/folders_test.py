"""Whole folders: what is taken from them, how results are named, what is left alone."""

import os

from programs import FAILED, UNREADABLE, USAGE, CommandTest, scene, write_png


class Folders(CommandTest):
    def setUp(self):
        super().setUp()
        picture = write_png(self.path("one.png"), scene(20, 20)).read_bytes()
        for name in ("trip/b.png", "trip/A.PNG", "trip/day 1/c.png", "trip/day 1/night/d.png",
                     "trip/.hidden.png", "trip/.thumbs/e.png", "trip/out/old.png"):
            self.path(name).parent.mkdir(parents=True, exist_ok=True)
            self.path(name).write_bytes(picture)
        self.path("trip/notes.txt").write_text("no picture")
        os.symlink("..", self.path("trip/day 1/up"))

    def results(self, folder):
        return {str(path.relative_to(self.path(folder)))
                for path in self.path(folder).rglob("*") if path.is_file()}

    def test_sub_folders_are_kept_and_the_rest_is_left_out(self):
        whole = {"A.PNG", "b.png", "day 1/c.png", "day 1/night/d.png"}
        cases = [("out", [], whole | {"out/old.png"}),
                 ("bees", ["--match", "[bc].*"], {"b.png", "day 1/c.png"}),
                 ("jpegs", ["--as", "jpg", "--match", "b*"], {"b.jpg"}),
                 ("named", ["--name", "{name}-{strength}", "-s", "30", "--match", "b*"], {"b-30.png"}),
                 ("trip/out", [], whole | {"old.png"})]
        for folder, options, expected in cases:
            with self.subTest(folder=folder):
                self.do("enhance", "trip", "-d", folder, *options)
                self.assertEqual(expected, self.results(folder))

    def test_what_exists_is_skipped_or_refused_on_demand(self):
        arguments = ("enhance", "trip", "-d", "out", "--match", "[bc].*")
        self.path("out").mkdir()
        self.path("out/b.png").write_text("before")
        self.assertIn("trip/b.png -> out/b.png: skipped", self.do(*arguments, "--skip-existing").stdout)
        self.path("out/day 1/c.png").unlink()
        self.assert_fails(self.run_command(*arguments, "--no-clobber"), FAILED, "out/b.png", "exists")
        self.assertEqual({"b.png", "day 1/c.png"}, self.results("out"))
        self.assertEqual("before", self.path("out/b.png").read_text())

    def test_inputs_of_one_name_are_refused_and_the_others_done(self):
        self.do("enhance", "trip", "one.png", "trip/day 1/c.png", "-d", "new", "--match", "[bc].*", "--name", "{name}")
        result = self.run_command("enhance", "trip/b.png", "one.png", "trip/./b.png", "-d", "out")
        self.assert_fails(result, USAGE, "out/b.png", "trip/b.png and trip/./b.png")
        self.assertEqual({"one.png"}, self.results("out"))

    def test_nonsense_is_refused(self):
        self.path("empty").mkdir()
        self.assert_each_fails((code, ["enhance", *words.split()], mention) for words, code, mention in [
            ("empty -d out", UNREADABLE, "empty"), ("trip -d out --match *.gif", UNREADABLE, "trip"),
            ("trip -o out.png", UNREADABLE, "trip"), ("one.png -d out --name a/{name}", USAGE, "--name"),
            ("one.png -d out --name {title}", USAGE, "--name")])
