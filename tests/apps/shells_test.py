"""Command lines complete in every shell; the shells themselves say so."""

from programs import USAGE, CommandTest

# Prints what zsh's functions for completion are given, in place of a menu.
ZSH_PROBE = r"""
compdef() { }
_describe() { print -l -- "${(P@)2}" }
_arguments() { print -l -- "$@" }
source <("$TLUX_COMMAND" completion zsh)
words=("$@") CURRENT=$# PREFIX=${@[-1]}
_tlux
"""


class Completion(CommandTest):
    TOOLS = ("bash", "zsh", "fish")

    def lines(self, *command):
        return self.run_tool(*command, HOME=str(self.folder)).splitlines()

    def bash(self, *words):
        script = ('source <("$TLUX_COMMAND" completion bash); COMP_WORDS=("$@"); '
                  'COMP_CWORD=$(($# - 1)); _tlux; printf "%s\\n" "${COMPREPLY[@]}"')
        return [line for line in self.lines("bash", "-c", script, "bash", *words) if line]

    def zsh(self, *words):
        return [line.split(":")[0].split("[")[0]
                for line in self.lines("zsh", "-fc", ZSH_PROBE, "zsh", *words)]

    def fish(self, *words):
        script = 'source (eval $TLUX_COMMAND completion fish | psub); complete -C "$argv"'
        return [line.split("\t")[0] for line in self.lines("fish", "-Nc", script, " ".join(words))]

    def shells(self):
        for name in ("bash", "zsh", "fish"):
            with self.subTest(shell=name):
                yield name, getattr(self, name)

    def test_commands_and_operations(self):
        for _, complete in self.shells():
            commands = complete("tlux", "")
            for name in ("enhance", "compare", "op", "bench", "info", "completion"):
                self.assertIn(name, commands)
            self.assertNotIn("blur", commands)
            self.assertIn("blur", complete("tlux", "op", ""))
            self.assertNotIn("enhance", complete("tlux", "op", ""))
        self.assertEqual(["blur"], self.bash("tlux", "op", "bl"))
        self.assertEqual(["enhance"], self.bash("tlux", "enh"))

    def test_options_of_the_command(self):
        for _, complete in self.shells():
            options = complete("tlux", "op", "blur", "--")
            self.assertIn("--radius", options)
            self.assertIn("--output", options)
            self.assertNotIn("--strength", options)
            self.assertIn("--strength", complete("tlux", "enhance", "in.png", "--"))

    def test_values(self):
        asked = ("tlux", "op", "resize", "in.png", "--method")
        self.assertEqual(["nearest", "bilinear", "bicubic"], self.bash(*asked, ""))
        self.assertEqual(["bicubic"], self.bash(*asked, "bic"))
        self.assertEqual(["bash"], self.bash("tlux", "completion", "ba"))
        # No words: file names, where allowed, are completed by the shell.
        for words in (("enhance", "-o", ""), ("enhance", ""), ("enhance", "--strength", "")):
            self.assertEqual([], self.bash("tlux", *words))
        fish = self.fish(*asked, "")
        self.assertEqual({"nearest", "bilinear", "bicubic"}, set(fish))

    def test_a_file_named_like_a_command_is_a_file(self):
        self.assertIn("--strength", self.bash("tlux", "enhance", "op", "--"))
        self.assertEqual([], self.bash("tlux", "enhance", "op", "bl"))

    def test_scripts_are_sound(self):
        for name, _ in self.shells():
            script = self.path(name)
            script.write_text(self.run_command("completion", name).stdout)
            no_run = {"fish": "--no-execute"}.get(name, "-n")
            self.assertEqual([], self.lines(name, no_run, script))

    def test_other_shells_are_refused(self):
        self.assert_fails(self.run_command("completion", "tcsh"), USAGE, "tcsh")
        self.assert_fails(self.run_command("completion"), USAGE, "shell")
