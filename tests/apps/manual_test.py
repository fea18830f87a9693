"""The manual page is valid, and describes every command and option that the help lists."""

import re
import subprocess

from programs import CommandTest

HELP = {}  # of each command asked for


def sections(source):
    """Lines below each heading: "op blur", "COMMON OPTIONS"."""
    found, name = {}, None
    for line in source.splitlines():
        heading = re.match(r"\.S[hs] (.*)", line)
        if heading:
            # The arguments and options of a command follow its name.
            name = re.sub(r" (Ar|Cm|Fl|Brq|Op) .*", "", heading[1])
            found[name] = []
        elif name:
            found[name].append(line)
    return found


def options_in(lines):
    """-s and --strength of ".It Fl s , -strength Ar number"."""
    found = set()
    for line in lines:
        if line.startswith(".It "):
            for flags in re.findall(r"Fl (\S+(?: , -\S+)*)", line):
                found |= {"-" + flag for flag in flags.split(" , ")}
    return found


class Manual(CommandTest):
    def setUp(self):
        super().setUp()
        self.page = self.do("help", "--manual").stdout
        self.sections = sections(self.page)
        self.common = options_in(self.sections["COMMON OPTIONS"]) | {"-h", "--help"}

    def help_of(self, *command):
        if command not in HELP:
            HELP[command] = self.do(*command, "--help").stdout
        return HELP[command]

    def commands(self, *above):
        """Every command and operation as the help lists them."""
        listed = re.search(r"(?ms)^Subcommands:\n(.*?)\n\n", self.help_of(*above))
        for name in re.findall(r"(?m)^  (\S+)", listed[1] if listed else ""):
            yield (*above, name)
            yield from self.commands(*above, name)

    def options(self, *command):
        heads = re.findall(r"(?m)^  (-\S+)", self.help_of(*command))
        return {option for head in heads for option in head.split(",")}

    def test_formatters_have_nothing_to_say(self):
        for formatter in (["mandoc", "-T", "lint", "-W", "style"],
                          ["groff", "-ww", "-mandoc", "-T", "utf8", "-z"]):
            with self.subTest(formatter=formatter[0]):
                result = subprocess.run(formatter, input=self.page, capture_output=True, text=True, timeout=60,
                                        check=False)
                self.assertEqual((0, "", ""), (result.returncode, result.stdout, result.stderr))

    def test_tells_of_the_commands_and_options_that_there_are(self):
        commands = list(self.commands())
        self.assertIn(("op", "blur"), commands)
        for command in commands:
            with self.subTest(command=" ".join(command)):
                told = options_in(self.sections[" ".join(command)])
                listed = self.options(*command)
                self.assertEqual((set(), set()), (listed - told - self.common, told - listed))
        self.assertLessEqual(self.options(), options_in(self.sections["DESCRIPTION"]))

    def test_every_help_teaches(self):
        for command in [(), *self.commands()]:
            text = self.help_of(*command)
            self.assertRegex(text, r"Examples?:\n  \S", command)
            self.assertLess(max(map(len, text.splitlines())), 100, command)
