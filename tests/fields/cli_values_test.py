"""The values that the command takes for each field; disc and number of discs share a value."""

import os
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))
sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "player"))

import mutagen.flac  # noqa: E402

from expectations import CONTAINERS, FIELDS, VALUES, names_of, stored  # noqa: E402
from support import SANITIZER_REPORTS, ScratchTest, contents  # noqa: E402
from tag_contents import tag_contents  # noqa: E402

TAGWRITER = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter")
TEXT_KEYS = [key for key, field in FIELDS.items() if "kind" in field]
NUMBER_KEYS = ["year", "bpm", "trackNumber", "totalNumberOfTracks", "disc", "totalNumberOfDiscs"]


class CommandTest(ScratchTest):

    def tagwriter(self, command, values, paths):
        """Runs `tagwriter COMMAND -t VALUE... PATH...`; no sanitizer may complain."""
        flags = [flag for value in values for flag in ("-t", value)]
        done = subprocess.run([TAGWRITER, command, *flags, *paths], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=120, check=False)
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, done.stderr)
        return done

    def expect_done(self, command, values, *paths):
        done = self.tagwriter(command, values, paths)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


class Values(CommandTest):

    def expect_usage_error(self, command, value, *words):
        """The command reports a usage error with this message and does not change the file."""
        path = self.copy("mp3_id3v23.mp3")
        before = contents(path)
        first = "composer=first" if command == "set" else "composer"
        done = self.tagwriter(command, [first, value], [path])
        self.assertEqual(done.returncode, 2, done.stderr)
        for word in words:
            self.assertIn(word, done.stderr)
        self.assertEqual(contents(path), before)

    def test_a_value_that_does_not_parse_is_a_usage_error(self):
        cases = [(key, value, "a whole number") for key in NUMBER_KEYS
                 for value in ("", "1.5", "9223372036854775808")]
        cases += [("rating", value, "a decimal") for value in ("", "3,5")]
        cases += [("compilation", value, "yes or no") for value in ("", "maybe")]
        for key, value, what in cases:
            with self.subTest(key=key, value=value):
                self.expect_usage_error("set", f"{key}={value}", f"{key}: must be", what)

    def test_a_text_that_is_not_utf8_is_a_usage_error(self):
        for key in TEXT_KEYS:
            with self.subTest(key=key):
                self.expect_usage_error("set", os.fsencode(key) + b"=caf\xe9", f"{key}: must be",
                                        "UTF-8")

    def test_a_key_that_is_no_field_is_a_usage_error(self):
        for key in ("TIT2", "performer", "", "title:"):
            with self.subTest(key=key):
                self.expect_usage_error("set", f"{key}=x", f"{key}: no such field")
                self.expect_usage_error("clear", key, f"{key}: no such field")
        self.expect_usage_error("set", "title", "title")

    def test_every_key_in_one_command(self):
        path = self.copy("flac_plain.flac")
        values = {key: f"={key}=" for key in TEXT_KEYS}
        values |= {key: str(number) for number, key in enumerate(NUMBER_KEYS, 7)}
        values |= {"rating": "4.5", "compilation": "yes"}
        self.expect_done("set", [f"{key}={value}" for key, value in values.items()], path)
        found = tag_contents(path)
        expected = {name: [values[key]] for key in values if key in FIELDS
                    for name in names_of(key, "xiph")}
        expected |= {"Xiph DISCNUMBER": ["11/12"], "Xiph RATING": ["90"], "Xiph COMPILATION": ["1"]}
        self.assertEqual({key: value for key, value in found.items()
                          if key.startswith("Xiph ") and key != "Xiph vendor"}, expected)

    def test_an_empty_text_is_a_value(self):
        path = self.copy("m4a_plain.m4a")
        name, = names_of("composer", "mp4")
        self.expect_done("set", ["composer="], path)
        self.assertEqual(tag_contents(path)[name], [stored("composer", "mp4", name, "")])
        self.expect_done("clear", ["composer"], path)
        self.assertNotIn(name, tag_contents(path))


class Discs(CommandTest):
    """A disc and the number of discs are one value in every file."""

    def setUp(self):
        super().setUp()
        self.paths = {self.copy(container["file"]): container["family"]
                      for container in CONTAINERS["containers"]}

    def expect_disc(self, number, total):
        """Every file holds this pair, as the table says for other numbers."""
        rows = [row for row in VALUES["numbers"] if row["field"] == "disc"]
        text = f"{number}/{total}" if total else f"{number}"
        for path, family in self.paths.items():
            with self.subTest(file=path):
                name, = names_of("disc", family)
                value = [number, total] if family == "mp4" else text
                nothing = [row.get(family, "") for row in rows if row["value"] == [number, total]]
                expected = None if nothing == [None] else [stored("disc", family, name, value)]
                self.assertEqual(tag_contents(path).get(name), expected)

    def test_each_keeps_the_other(self):
        for command, values, pair in (
                ("set", ["totalNumberOfDiscs=3"], (0, 3)), ("set", ["disc=2"], (2, 3)),
                ("clear", ["totalNumberOfDiscs"], (2, 0)),
                ("set", ["totalNumberOfDiscs=9"], (2, 9)),
                ("clear", ["disc"], (0, 9)), ("set", ["disc=1", "totalNumberOfDiscs=5"], (1, 5)),
                ("clear", ["totalNumberOfDiscs", "disc"], (0, 0))):
            self.expect_done(command, values, *self.paths)
            self.expect_disc(*pair)

    def test_a_number_of_discs_that_another_program_keeps_elsewhere(self):
        for name in ("DISCTOTAL", "TOTALDISCS"):
            path = self.copy("flac_comment.flac")
            file = mutagen.flac.FLAC(path)
            file["DISCNUMBER"], file[name] = "1", "4"
            file.save()
            self.expect_done("set", ["disc=2"], path)
            self.assertEqual(tag_contents(path)["Xiph DISCNUMBER"], ["2/4"])

    def test_files_that_others_have_tagged(self):
        mp3, m4a = self.copy("mp3_id3v23.mp3"), self.copy("m4a_tagged.m4a")
        self.paths = {mp3: "id3v2", m4a: "mp4"}
        for value, pair in (("disc=2", (2, 2)), ("totalNumberOfDiscs=9", (2, 9))):
            self.expect_done("set", [value], mp3, m4a)
            self.expect_disc(*pair)


if __name__ == "__main__":
    unittest.main()
