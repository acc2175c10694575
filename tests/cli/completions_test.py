"""The completions at work: keys are typed into real shells."""

import os
import re
import shlex
import subprocess
import tempfile
import unittest

from cli_support import DEADLINE, FIELDS, TAGWRITER, VERBS, CommandTest, Terminal, tagwriter, wait_for

ALL = b"\x1b*"  # in the shells below: inserts everything that could stand here
TAB = b"\t"

FILES = ["My Song.mp3", "it's [a] $1.mp3", "song.flac", "text"]


def options_of(verb):
    """The options that the help of a verb names."""
    text = tagwriter(verb, "--help").stdout
    found = re.findall(r"(?m)^  (-\S+)", text)
    return sorted(option for group in found for option in group.split(","))


class LineEditor:
    """An interactive shell, in which the command is a function that notes its arguments."""

    def __init__(self, test, command, setup, **environment):
        self._directory = tempfile.mkdtemp(prefix="shell-", dir=test.aside)
        self._noted = os.path.join(self._directory, "noted")
        self._terminal = Terminal(
            test, *command, cwd=test.directory, env={
                "PATH": os.environ["PATH"], "HOME": self._directory, "TERM": "dumb",
                "LC_ALL": "C.UTF-8", "PS1": "ready> ", **environment})
        script = os.path.join(self._directory, "setup")
        with open(script, "w") as file:
            # More than the command has arguments, so that it is seen when there are none.
            file.write(setup.replace("FOLDER", self._directory) + f"""
tagwriter() {{ printf '%s\\0' tagwriter "$@" > {self._noted}.new; mv {self._noted}.new {self._noted}; }}
""")
        wait_for(lambda: b"ready> " in self._terminal.output, "the shell is ready")
        self._terminal.type(f". {script}\n".encode())

    def type(self, line, key, rest=""):
        """Types a line and a key and what follows, and returns the arguments that come out."""
        self._terminal.type(line.encode() + key + rest.encode() + b"\n")
        wait_for(lambda: os.path.exists(self._noted), f"the shell runs {line!r}")
        with open(self._noted) as file:
            arguments = file.read().split("\0")[1:-1]
        os.unlink(self._noted)
        return arguments


class CompletionsTest:
    """What every shell must do."""

    before_verbs = []  # what else may stand in the place of a verb

    def setUp(self):
        super().setUp()
        for name in FILES:
            (self.directory / name).touch()
        (self.directory / "directory").mkdir()
        self.start()

    def script(self, shell):
        run = tagwriter("completion", shell)
        self.assert_run(run, 0)
        return run.stdout

    def test_completes_verbs(self):
        self.assertEqual(sorted(self.complete("tagwriter ")), sorted([*VERBS, *self.before_verbs]))
        self.assertEqual(sorted(self.complete("tagwriter c")), ["clear", "completion", "cover"])

    def test_completes_the_options_of_each_verb(self):
        for verb in VERBS:
            with self.subTest(verb):
                options = options_of(verb)
                self.assertIn("--help", options)
                self.assertEqual(sorted(self.complete(f"tagwriter {verb} -")), options)
        self.assertEqual(self.complete("tagwriter set song.flac --dry"), ["--dry-run"])

    def test_completes_fields_with_an_equals_sign_where_a_value_follows(self):
        for verb, suffix in (("set", "="), ("clear", "")):
            keys = [key + suffix for key in FIELDS]
            for option in ("-t", "--tag"):
                with self.subTest(verb=verb, option=option):
                    start = f"tagwriter {verb} --safe {option} "
                    self.assertEqual(sorted(self.complete(start)), sorted(keys))
                    self.assertEqual(sorted(self.complete(start + "disc")),
                                     sorted(key for key in keys if key.startswith("disc")))
                    self.assertEqual(self.complete(start + "x"), self.unknown("x"))

    def test_completes_files_with_any_name(self):
        for start in ("tagwriter show ", "tagwriter set -t title=T ", "tagwriter clear -t title -r ",
                      "tagwriter cover --replace "):
            with self.subTest(start):
                self.assertEqual(sorted(word.rstrip("/") for word in self.complete(start)),
                                 sorted([*FILES, "directory"]))
        self.assertEqual(self.complete("tagwriter show M"), ["My Song.mp3"])
        self.assertEqual(self.complete("tagwriter show text s"), ["song.flac"])


class LineEditorTest(CompletionsTest):
    """What a shell with its line editor must do."""

    def unknown(self, word):
        return [word]  # it stays as it is

    def complete(self, line):
        """All that could stand in the place of the last word."""
        words = len(shlex.split(line)) - (not line.endswith(" "))
        return self.editor.type(line, ALL)[words - 1:]

    def test_leaves_the_place_behind_a_word_as_it_is_needed(self):
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

    before_verbs = ["--help"]

    def start(self):
        self.editor = LineEditor(
            self, ["bash", "--norc", "--noprofile", "-i"],
            self.script("bash") + "\nbind 'set bell-style none'\nbind '\"\\e*\": insert-completions'",
            INPUTRC="/dev/null", HISTFILE="/dev/null")



class ZshTest(LineEditorTest, CommandTest):

    def start(self):
        functions = self.aside / "functions"
        functions.mkdir()
        (functions / "_tagwriter").write_text(self.script("zsh"))
        self.editor = LineEditor(self, ["zsh", "-f", "-i"], f"""
unsetopt beep auto_remove_slash
fpath=({functions} $fpath)
autoload -Uz compinit
compinit -u -d FOLDER/dump
zle -C all-matches complete-word _generic
bindkey '\\e*' all-matches
zstyle ':completion:all-matches:*' completer _all_matches _complete
zstyle ':completion:all-matches:*' insert yes
""")


class FishTest(CompletionsTest, CommandTest):

    def unknown(self, _word):
        return []

    def start(self):
        self.completions = self.aside / "tagwriter.fish"
        self.completions.write_text(self.script("fish"))

    def complete(self, line):
        run = subprocess.run(
            ["fish", "--no-config", "-c", 'source $argv[1]; complete -C $argv[2]',
             self.completions, line], cwd=self.directory, stdin=subprocess.DEVNULL,
            capture_output=True, text=True, timeout=DEADLINE, check=True,
            env={"PATH": os.environ["PATH"], "HOME": str(self.aside), "LC_ALL": "C.UTF-8"})
        self.assertEqual(run.stderr, "")
        return [line.partition("\t")[0] for line in run.stdout.splitlines()]

    def test_completes_fields_behind_an_equals_sign(self):
        self.assertEqual(self.complete("tagwriter set --tag=albumA"), ["--tag=albumArtist="])
        self.assertEqual(self.complete("tagwriter clear --tag=albumA"), ["--tag=albumArtist"])


class ScriptTest(CommandTest):

    def test_every_shell_finds_its_script_well_formed(self):
        for shell in ("bash", "zsh", "fish"):
            with self.subTest(shell):
                path = self.aside / shell
                path.write_text(tagwriter("completion", shell).stdout)
                run = subprocess.run([shell, "-n", path], capture_output=True, text=True,
                                     timeout=DEADLINE)
                self.assert_run(run, 0)

    def test_the_fields_are_those_of_the_help(self):
        listed = re.findall(r"(?m)^  (\S+)", tagwriter("set", "--help").stdout.split("Fields:\n")[1])
        self.assertEqual(listed, FIELDS)


if __name__ == "__main__":
    unittest.main()
