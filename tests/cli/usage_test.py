"""Help, and what is said about command lines that are wrong."""

import re
import unittest

import mutagen

from cli_support import FIELDS, VERBS, CommandTest, tagwriter

WRITING = {"--safe", "--keep-times", "--bus", "-n", "--dry-run", "-q", "--quiet"}
FILES = {"-r", "--recursive", "--json"}
HELP = {"-h", "--help"}
OPTIONS = {
    "set": {"-t", "--tag"} | WRITING | FILES | HELP,
    "clear": {"-t", "--tag"} | WRITING | FILES | HELP,
    "cover": {"--replace", "--type", "--clear"} | WRITING | FILES | HELP,
    "show": FILES | HELP,
    "completion": HELP,
}


class HelpTest(CommandTest):

    def help(self, *arguments):
        """The text of the help, which goes to standard output."""
        run = tagwriter(*arguments)
        self.assert_run(run, 0)
        self.assertRegex(run.stdout, r"(?m)^ *Usage: tagwriter ")
        return run.stdout

    def section(self, text, name):
        """The first words of the lines below a heading, up to the next empty line."""
        found = re.search(rf"(?m)^{name}:\n((?:.+\n)*)", text)
        self.assertTrue(found, text)
        return re.findall(r"(?m)^  (\S+)", found[1])

    def test_names_every_verb(self):
        for option in ("--help", "-h"):
            text = self.help(option)
            self.assertEqual(self.section(text, "Subcommands"), VERBS)
            self.assertIn("0 all done, 1 something failed", text)

    def test_names_every_option_of_a_verb(self):
        for verb in VERBS:
            for option in ("--help", "-h"):
                with self.subTest(verb=verb, option=option):
                    text = self.help(verb, option)
                    options = ",".join(self.section(text, "Options")).split(",")
                    self.assertEqual(sorted(options), sorted(OPTIONS[verb]))

    def test_lists_the_fields(self):
        for verb in ("set", "clear"):
            text = self.help(verb, "--help")
            self.assertEqual(self.section(text, "Fields"), FIELDS)
        self.assertRegex(text, r"\n  rating +a decimal number\n")
        self.assertRegex(text, r"\n  compilation +yes or no\n")
        self.assertRegex(text, r"\n  year +a whole number\n")

    def test_does_nothing_else(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.help("set", "-t", "title=T", mp3, "--help")
        self.assert_as_it_was(mp3)


class WrongUsageTest(CommandTest):

    def test_is_said_on_standard_error(self):
        mp3 = self.copy("mp3_plain.mp3")
        for arguments, text in (
                ([], "subcommand"),
                (["frobnicate"], "frobnicate: no such verb"),
                (["frobnicate", mp3], "frobnicate: no such verb"),
                (["Set", "-t", "title=T", mp3], "Set: no such verb"),
                (["--frobnicate"], "--frobnicate: no such option"),
                (["--safe", "set", "-t", "title=T", mp3], "--safe"),
                (["set", "-t", "title=T"], "FILE is required"),
                (["clear", "-t", "title"], "FILE is required"),
                (["cover"], "FILE is required"),
                (["cover", "--clear"], "FILE is required"),
                (["show"], "FILE is required"),
                (["show", "--json", "-r"], "FILE is required"),
                (["completion"], "SHELL is required"),
                (["completion", "tcsh"], "tcsh"),
                (["completion", "bash", "zsh"], "zsh"),
                (["set", mp3], "--tag is required"),
                (["clear", mp3], "--tag is required"),
                (["set", mp3, "-t"], "--tag"),
                (["set", "-t", "", mp3], "expected key=value"),
                (["set", "-t", "title", mp3], "title: expected key=value"),
                (["set", "-t", "year=MCM", mp3], "year: takes a whole number"),
                (["set", "-t", "title=T", "-t", "year=MCM", mp3], "year: takes a whole number"),
                (["set", "-t", "=T", mp3], "no such field"),
                (["clear", "-t", "title=T", mp3], "title=T: no such field"),
                (["clear", "-t", "title", "-t", "titel", mp3], "titel: no such field"),
                (["set", "-t", "title=T", "--frobnicate", mp3], "--frobnicate"),
                (["set", "-t", "title=T", "--json=what", mp3], "--json"),
                (["show", "--safe", mp3], "--safe"),
                (["show", "-t", "title", mp3], "-t")):
            with self.subTest(arguments=arguments):
                run = tagwriter(*arguments)
                self.assertEqual((run.returncode, run.stdout), (2, ""))
                first, second = run.stderr.splitlines()
                self.assertTrue(first.startswith("tagwriter: "), first)
                self.assertIn(text, first)
                self.assertEqual(second, "Run with --help for more information.")
        self.assert_as_it_was(mp3)

    def test_an_unknown_field_is_answered_with_the_known_ones(self):
        for arguments in (["set", "-t", "Title=T"], ["clear", "-t", "Title"]):
            run = tagwriter(*arguments, self.copy("mp3_plain.mp3"))
            self.assertEqual(run.stderr.splitlines()[0],
                             "tagwriter: Title: no such field; the fields are " + ", ".join(FIELDS))

    def test_every_name_of_a_file_is_taken_as_it_is(self):
        names = ["[2001]", "[a,b]", "[]", "[[x]]", "++", "%%", "{}", "set", "=", "@x", "'x'", '"x"']
        for name in names:
            self.copy("mp3_plain.mp3", name)
        # What the first three must not be taken for.
        others = [self.copy("mp3_plain.mp3", name) for name in ("2001", "a", "b", "x")]
        for arguments in (names, ["--", *names]):
            run = tagwriter("set", "-t", "title=[T]", *arguments, cwd=self.directory)
            self.assert_run(run, 0)
        for name in names:
            self.assertEqual(str(mutagen.File(self.directory / name).tags["TIT2"]), "[T]")
        for path in others:
            self.assert_as_it_was(path)

    def test_names_may_begin_with_a_dash_behind_two_dashes(self):
        mp3 = self.copy("mp3_plain.mp3", "-n.mp3")
        run = tagwriter("show", "--", mp3.name, cwd=self.directory)
        self.assert_run(run, 0)
        self.assertEqual(run.stdout, "-n.mp3\n  (no tags)\n")


if __name__ == "__main__":
    unittest.main()
