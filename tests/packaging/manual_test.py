"""The manual pages are well-formed and describe every command, option and field."""

import re
import subprocess
import unittest

from staging import DEADLINE, SOURCE, StagingTest, run

PAGES = ["man1/tagwriter.1", "man3/tagwriter.3", "man8/tagwriter-bus.8", "man8/tagwriterd.8",
         "man8/tagreaderd.8"]


class ManualTest(StagingTest):
    def page(self, name):
        return self.prefix / "share/man" / name

    def lines(self, name):
        """A page as shown on a terminal, without bold and underlining."""
        return re.sub(".\b", "", run("mandoc", "-T", "utf8", self.page(name))).splitlines()

    def rendered(self, name):
        """A page as plain text on one line."""
        return " ".join(" ".join(self.lines(name)).split())

    def help_of(self, program, *arguments):
        return run(self.prefix / program, *arguments, "--help")

    def assert_describes_options(self, page, help_text):
        options = re.findall(r"(?<![\w-])--[a-z][a-z-]*", help_text)
        self.assertIn("--help", options)
        rendered = self.rendered(page)
        for option in set(options):
            self.assertRegex(rendered, rf"(?<![\w-]){option}(?![\w-])", page)

    def test_mandoc_has_no_warnings(self):
        for name in PAGES:
            run("mandoc", "-T", "lint", "-W", "warning,stop", self.page(name))

    def test_headings_are_not_parsed_as_commands(self):
        for name in PAGES:
            # "\&" prints nothing; it prevents a word from being parsed as a command.
            written = [line[len(".Sh "):].replace(r"\&", "")
                       for line in self.page(name).read_text().splitlines()
                       if line.startswith((".Sh ", ".Ss "))]
            # Text is indented more than headings.
            shown = [line.strip() for line in self.lines(name)[1:-1]
                     if re.match(r" {0,3}\S", line)]
            self.assertEqual(shown, written, name)
            self.assertEqual(shown[0], "NAME", name)

    def test_the_command_page_describes_every_command_and_option(self):
        listed = self.help_of("bin/tagwriter").split("Commands:")[1].split("\n\n")[0]
        commands = re.findall(r"^  ([a-z]+) ", listed, re.MULTILINE)
        self.assertIn("set", commands)
        for command in commands:
            self.assertRegex(self.rendered(PAGES[0]), rf"tagwriter {command}\b")
            self.assert_describes_options(PAGES[0], self.help_of("bin/tagwriter", command))

    def test_the_service_pages_describe_every_option(self):
        for page in PAGES[2:]:
            program = page.removeprefix("man8/").removesuffix(".8")
            self.assert_describes_options(page, self.help_of(f"libexec/tagwriter/{program}"))

    def test_the_command_page_lists_every_field_with_its_type(self):
        listed = dict(re.findall(r"^\.It Cm (\w+) Ta (.+) Ta", self.page(PAGES[0]).read_text(),
                                 re.MULTILINE))
        header = (SOURCE / "protocol/fields.h").read_text()
        keys = re.findall(r'char k\w+\[\] = "(\w+)"', header)
        self.assertGreater(len(keys), 20)
        self.assertEqual(sorted(listed), sorted(keys))
        self.assertEqual((listed["title"], listed["rating"], listed["compilation"], listed["year"]),
                         ("text in UTF-8", "a decimal number", "yes or no", "a whole number"))

    def test_the_exit_codes_are_those_of_the_page(self):
        rendered = self.rendered(PAGES[0])
        for arguments, code, meaning in [([], 2, "Wrong usage"),
                                         (["show", "/nowhere.mp3"], 1, "Something failed")]:
            done = subprocess.run([self.prefix / "bin/tagwriter", *arguments], timeout=DEADLINE,
                                  capture_output=True, check=False)
            self.assertEqual(done.returncode, code, arguments)
            self.assertIn(f"{code} {meaning}", rendered)


if __name__ == "__main__":
    unittest.main()
