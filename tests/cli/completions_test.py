"""The completions, in real shells."""

import os
import re
import shlex
import subprocess
import tempfile
import unittest

from cli_support import (COMMANDS, DATA, DEADLINE, FIELDS, CommandTest, Terminal, tagwriter,
                         wait_for)

COMPLETIONS = DATA.parent.parent / "packaging/completions"

ALL = b"\x1b*"  # in the shells below: inserts all completions
TAB = b"\t"

FILES = ["My Song.mp3", "it's [a] $1.mp3", "song.flac", "text"]


def options_of(command):
    """The options that the help of a command names."""
    text = tagwriter(command, "--help").stdout
    found = re.findall(r"(?m)^  (-\S+)", text)
    return sorted(option for group in found for option in group.split(","))


class LineEditor:
    """An interactive shell, in which the command is a function that records its arguments."""

    def __init__(self, test, command, setup, **environment):
        self._directory = tempfile.mkdtemp(prefix="shell-", dir=test.aside)
        self._record = os.path.join(self._directory, "noted")
        self._terminal = Terminal(
            test, *command, cwd=test.directory, env={
                "PATH": os.environ["PATH"], "HOME": self._directory, "TERM": "dumb",
                "LC_ALL": "C.UTF-8", "PS1": "ready> ", **environment})
        script = os.path.join(self._directory, "setup")
        with open(script, "w") as file:
            # The command itself too, so that the record is never empty.
            file.write(setup.replace("DIRECTORY", self._directory) + f"""
tagwriter() {{
  printf '%s\\0' tagwriter "$@" > {self._record}.new
  mv {self._record}.new {self._record}
}}
""")
        wait_for(lambda: b"ready> " in self._terminal.output, "the shell is ready")
        self._terminal.type(f". {script}\n".encode())

    def type(self, line, key, rest=""):
        """Types a line, a key and the rest; returns the arguments of the resulting command."""
        self._terminal.type(line.encode() + key + rest.encode() + b"\n")
        wait_for(lambda: os.path.exists(self._record), f"the shell runs {line!r}")
        with open(self._record) as file:
            arguments = file.read().split("\0")[1:-1]
        os.unlink(self._record)
        return arguments


class CompletionsTest:
    """What every shell completes."""

    before_commands = []  # other completions in the place of a command

    def setUp(self):
        super().setUp()
        for name in FILES:
            (self.directory / name).touch()
        (self.directory / "directory").mkdir()
        self.start()

    def test_completes_commands(self):
        self.assertEqual(sorted(self.complete("tagwriter ")),
                         sorted([*COMMANDS, *self.before_commands]))
        self.assertEqual(sorted(self.complete("tagwriter c")), ["clear", "copy", "cover"])

    def test_completes_the_options_of_each_command(self):
        for command in COMMANDS:
            with self.subTest(command):
                options = options_of(command)
                self.assertIn("--help", options)
                self.assertEqual(sorted(self.complete(f"tagwriter {command} -")), options)
        self.assertEqual(self.complete("tagwriter set song.flac --dry"), ["--dry-run"])
        self.assertEqual(sorted(self.complete("tagwriter cover --type ")),
                         ["bmp", "gif", "jpeg", "png", "tiff"])

    def test_completes_fields_with_an_equals_sign_for_set_only(self):
        for command, suffix in (("set", "="), ("clear", ""), ("copy", ""), ("show", "")):
            keys = [key + suffix for key in FIELDS]
            for option in ("-t", "--tag"):
                with self.subTest(command=command, option=option):
                    start = f"tagwriter {command} --json {option} "
                    self.assertEqual(sorted(self.complete(start)), sorted(keys))
                    self.assertEqual(sorted(self.complete(start + "disc")),
                                     sorted(key for key in keys if key.startswith("disc")))
                    self.assertEqual(self.complete(start + "x"), self.unknown("x"))

    def test_completes_values(self):
        found = self.complete("tagwriter set -t compilation=")
        self.assertLessEqual({"yes", "no"}, {word.rpartition("=")[2] for word in found})

    def test_completes_files(self):
        for start in ("tagwriter show ", "tagwriter set -t title=T ",
                      "tagwriter clear -t title -r ", "tagwriter cover --replace ",
                      "tagwriter set --from "):
            with self.subTest(start):
                self.assertEqual(sorted(word.rstrip("/") for word in self.complete(start)),
                                 sorted([*FILES, "directory"]))
        self.assertEqual(self.complete("tagwriter show M"), ["My Song.mp3"])
        self.assertEqual(self.complete("tagwriter show text s"), ["song.flac"])


class LineEditorTest(CompletionsTest):
    """What shells complete in their line editor."""

    def unknown(self, word):
        return [word]  # unchanged

    def complete(self, line):
        """All completions of the last word."""
        words = len(shlex.split(line)) - (not line.endswith(" "))
        return self.editor.type(line, ALL)[words - 1:]

    def test_adds_a_space_except_after_an_equals_sign(self):
        for start in ("-t ", "--tag ", "--tag="):
            with self.subTest(start):
                self.assertEqual(
                    self.editor.type(f"tagwriter set {start}albumA", TAB, "x"),
                    ["set", *f"{start}albumArtist=x".split()])
                self.assertEqual(
                    self.editor.type(f"tagwriter clear {start}albumA", TAB, "x"),
                    ["clear", *f"{start}albumArtist".split(), "x"])
        self.assertEqual(self.editor.type("tagwriter sh", TAB, "x"), ["show", "x"])
        self.assertEqual(self.editor.type("tagwriter set --dr", TAB, "x"),
                         ["set", "--dry-run", "x"])

    def test_quotes_names(self):
        for typed in ("My", "'My", '"My', "My\\ So", "'My So"):
            with self.subTest(typed):
                self.assertEqual(self.editor.type(f"tagwriter show {typed}", TAB),
                                 ["show", "My Song.mp3"])
        self.assertEqual(self.editor.type("tagwriter show it", TAB), ["show", "it's [a] $1.mp3"])
        self.assertEqual(self.editor.type("tagwriter show dir", TAB, "x"), ["show", "directory/x"])


class BashTest(LineEditorTest, CommandTest):

    before_commands = ["--help", "--version"]

    def start(self):
        self.editor = LineEditor(
            self, ["bash", "--norc", "--noprofile", "-i"],
            f". {COMPLETIONS}/tagwriter.bash\nbind 'set bell-style none'\n"
            "bind '\"\\e*\": insert-completions'",
            INPUTRC="/dev/null", HISTFILE="/dev/null")


class ZshTest(LineEditorTest, CommandTest):

    def start(self):
        self.editor = LineEditor(self, ["zsh", "-f", "-i"], f"""
unsetopt beep auto_remove_slash
fpath=({COMPLETIONS} $fpath)
autoload -Uz compinit
compinit -u -d DIRECTORY/dump
zle -C all-matches complete-word _generic
bindkey '\\e*' all-matches
zstyle ':completion:all-matches:*' completer _all_matches _complete
zstyle ':completion:all-matches:*' insert yes
""")


class FishTest(CompletionsTest, CommandTest):

    def unknown(self, _word):
        return []

    def start(self):
        pass

    def complete(self, line):
        run = subprocess.run(
            ["fish", "--no-config", "-c", 'source $argv[1]; complete -C $argv[2]',
             COMPLETIONS / "tagwriter.fish", line], cwd=self.directory, stdin=subprocess.DEVNULL,
            capture_output=True, text=True, timeout=DEADLINE, check=True,
            env={"PATH": os.environ["PATH"], "HOME": str(self.aside), "LC_ALL": "C.UTF-8"})
        self.assertEqual(run.stderr, "")
        return [line.partition("\t")[0] for line in run.stdout.splitlines()]

    def test_completes_fields_after_an_equals_sign(self):
        self.assertEqual(self.complete("tagwriter set --tag=albumA"), ["--tag=albumArtist="])
        self.assertEqual(self.complete("tagwriter clear --tag=albumA"), ["--tag=albumArtist"])


if __name__ == "__main__":
    unittest.main()
