"""Help, and what is printed for wrong usage."""

import re
import unittest

from cli_support import COMMANDS, FIELDS, CommandTest, tagwriter

HELP = {"-h", "--help"}
FILES = {"-r", "--recursive", "--json"} | HELP
WRITING = {"--safe", "--keep-times", "--force", "--bus", "-j", "--jobs", "-n", "--dry-run", "-q",
           "--quiet"} | FILES
OPTIONS = {
    "set": {"-t", "--tag", "--from"} | WRITING,
    "clear": {"-t", "--tag"} | WRITING,
    "cover": {"--replace", "--type", "--clear", "--extract"} | WRITING,
    "copy": {"-t", "--tag", "--replace"} | WRITING,
    "show": {"-t", "--tag", "--all"} | FILES,
}


class HelpTest(CommandTest):

    def section(self, text, name):
        """The first words of the lines below a heading, up to the next empty line."""
        found = re.search(rf"(?m)^{name}:\n((?:.+\n)*)", text)
        self.assertTrue(found, text)
        return re.findall(r"(?m)^  (\S+)", found[1])

    def test_lists_commands_options_and_fields(self):
        mp3 = self.copy("mp3_plain.mp3")
        for option in HELP:
            text = tagwriter(option).stdout
            self.assertEqual(self.section(text, "Commands"), COMMANDS)
            for command, options in OPTIONS.items():
                run = tagwriter(command, "-t", "title=T", mp3, option)
                self.assert_run(run, 0)
                self.assertRegex(run.stdout, rf"(?m)^ *Usage: tagwriter {command} ")
                listed = ",".join(self.section(run.stdout, "Options")).split(",")
                self.assertEqual(sorted(listed), sorted(options))
                if command != "cover":
                    self.assertEqual(self.section(run.stdout, "Fields"), FIELDS)
                    self.assertRegex(run.stdout, r"\n  rating +a decimal number\n")
        self.assert_as_it_was(mp3)


class WrongUsageTest(CommandTest):

    def test_is_reported_and_does_nothing(self):
        mp3 = self.copy("mp3_plain.mp3")
        for arguments, text in (
                ([], "a command is required; the commands are set, clear, cover, copy and show"),
                (["frobnicate", mp3],
                 "frobnicate: no such command; the commands are set, clear, cover, copy and show"),
                (["frobnicate", "set", "-t", "title=T", mp3], "frobnicate: no such command"),
                (["sohw", mp3], "sohw: no such command; did you mean 'show'?"),
                (["delete", mp3], "delete: no such command; did you mean 'clear'?"),
                (["cover", "--repalce", mp3],
                 "--repalce: no such option; did you mean '--replace'?"),
                (["--frobnicate"], "--frobnicate: no such option"),
                (["--safe", "set", "-t", "title=T", mp3],
                 "--safe: options come after the command, set"),
                (["set", "-t", "title=T"], "FILE is required"),
                (["clear", "-t", "title"], "FILE is required"),
                (["show", "--json", "-r"], "FILE is required"),
                (["show", "-t", "titel", mp3], "did you mean 'title'"),
                (["set", mp3], "--tag or --from is required"),
                (["clear", mp3], "--tag is required"),
                (["set", "title=T", mp3], "title=T: a field needs -t before it"),
                (["set", "-t", "title=T", "Track=1/2", mp3], "Track=1/2: a field needs -t"),
                (["clear", "title", mp3], "title: a field needs -t before it"),
                (["set", "--title=T", mp3], "--title: no such option; did you mean '-t title'?"),
                (["-t", "title=T", mp3],
                 "-t: no such option before a command; the commands are set, clear,"),
                (["set", mp3, "-t"], "--tag"),
                (["set", "-t", "title", mp3], "title: expected KEY=VALUE"),
                (["set", "-t", "title=T", "-t", "year=MCM", mp3], "year: must be a whole number"),
                (["set", "-t", "=T", mp3], "no such field"),
                (["set", "-t", "frobnicate=T", mp3],
                 "frobnicate: no such field; the fields are " + ", ".join(FIELDS)),
                (["clear", "-t", "title", "-t", "titel", mp3], "titel: no such field"),
                (["set", "-t", "title=T", "--frobnicate", mp3], "--frobnicate"),
                (["set", "-t", "title=T", "--json=what", mp3], "--json"),
                (["show", "--safe", mp3], "--safe")):
            with self.subTest(arguments=arguments):
                run = tagwriter(*arguments)
                self.assertEqual((run.returncode, run.stdout), (2, ""))
                first, second = run.stderr.splitlines()
                self.assertTrue(first.startswith("tagwriter: "), first)
                self.assertIn(text, first)
                command = [word for word in arguments if word in COMMANDS]
                self.assertEqual(second, f"See '{' '.join(['tagwriter', *command])} --help'.")
        self.assert_as_it_was(mp3)

    def test_without_an_image_says_what_is_wrong_with_the_file(self):
        mp3 = self.copy("mp3_plain.mp3")
        empty, text = self.directory / "empty.png", self.directory / "list.txt"
        empty.write_bytes(b"")
        text.write_text("not an image")
        for path, reason in (
                (mp3, "not an image; the image comes before the audio files"),
                (empty, "an empty file"),
                (text, "not a PNG, JPEG, TIFF, GIF or BMP image; if it is one, use --type"),
                (self.directory, "cannot be read: Is a directory"),
                (self.directory / "none.png", "cannot be read: No such file or directory")):
            with self.subTest(path=path):
                self.assert_run(tagwriter("cover", path, mp3), 1, f"{path}: {reason}\n")
        self.assert_run(tagwriter("cover", "--type", "png", empty, mp3), 1,
                        f"{empty}: an empty file\n")
        self.assert_as_it_was(mp3)

    def test_no_file_name_has_a_special_meaning(self):
        names = ["[2001]", "[a,b]", "[]", "[[x]]", "++", "%%", "{}", "set", "=", "@x", "'x'", '"x"']
        for name in [*names, "-n.mp3"]:
            self.copy("mp3_plain.mp3", name)
        # What the first three must not be taken for.
        others = [self.copy("mp3_plain.mp3", name) for name in ("2001", "a", "b", "x")]
        for arguments in (names, ["--", *names, "-n.mp3"]):
            run = tagwriter("set", "--force", "-t", "title=[T]", *arguments, cwd=self.directory)
            self.assert_run(run, 0)
        for name in [*names, "-n.mp3"]:
            self.assertEqual(self.title(self.directory / name), "[T]")
        for path in others:
            self.assert_as_it_was(path)


if __name__ == "__main__":
    unittest.main()
