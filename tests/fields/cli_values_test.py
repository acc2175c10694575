"""What the command line takes for each field, and how a disc and the number of discs go together."""

import os
import unittest

import mutagen.flac

from command import CommandTest
from reading import read_tags
from support import DATA, contents

TEXT_KEYS = ("title", "artist", "album", "genre", "composer", "comment", "lyrics", "albumArtist",
             "grouping", "encoder", "publisher", "description", "catalogNumber", "conductor",
             "discSubtitle", "cueSheet")
NUMBER_KEYS = ("year", "bpm", "trackNumber", "totalNumberOfTracks", "disc", "totalNumberOfDiscs")

NOT_WHOLE = ("", " ", "x", "1.5", "1e3", " 1", "1 ", "1/2", "0x10", "--1", "9223372036854775808",
             "-9223372036854775809")
NOT_DECIMAL = ("", " ", "x", "3,5", "4.5 stars", " 4", "4 ", "1/2", "--4")
NEITHER_YES_NOR_NO = ("", " ", "maybe", "2", "-1", "yes ", "1.0")


class Values(CommandTest):

    def expect_usage_error(self, verb, argument, path, *words):
        """The command fails as wrongly used, says so in these words, and leaves the file alone."""
        before = contents(path)
        done = self.tagwriter(verb, "-t", "composer=first", "-t", argument, path) \
            if verb == "set" else self.tagwriter(verb, "-t", "composer", "-t", argument, path)
        self.assertEqual(done.returncode, 2, done.stderr)
        for word in words:
            self.assertIn(word, done.stderr)
        self.assertEqual(contents(path), before)

    def test_a_value_that_does_not_parse_is_a_usage_error(self):
        path = self.copy("mp3_id3v23.mp3")
        bad = [(key, NOT_WHOLE, "a whole number") for key in NUMBER_KEYS]
        bad += [("rating", NOT_DECIMAL, "a decimal"), ("compilation", NEITHER_YES_NOR_NO, "yes or no")]
        for key, values, what in bad:
            for value in values:
                with self.subTest(key=key, value=value):
                    self.expect_usage_error("set", f"{key}={value}", path, f"{key}: takes", what)

    def test_a_text_that_is_not_utf8_is_a_usage_error(self):
        path = self.copy("mp3_id3v23.mp3")
        for key in TEXT_KEYS:
            with self.subTest(key=key):
                self.expect_usage_error("set", os.fsencode(key) + b"=caf\xe9", path,
                                        f"{key}: takes", "UTF-8")

    def test_a_key_that_is_no_field_is_a_usage_error(self):
        path = self.copy("mp3_id3v23.mp3")
        for key in ("Title", "TITLE", "TIT2", "albumartist", "track", "", "title "):
            with self.subTest(key=key):
                self.expect_usage_error("set", f"{key}=x", path, f"{key}: no such field",
                                        "totalNumberOfDiscs")
                self.expect_usage_error("clear", key, path, f"{key}: no such field")

    def test_a_key_without_a_value_is_a_usage_error(self):
        self.expect_usage_error("set", "title", self.copy("mp3_plain.mp3"), "title")

    def test_every_key_takes_its_type(self):
        path = self.copy("flac_plain.flac")
        values = {key: f"={key}=" for key in TEXT_KEYS}
        values |= {key: str(number) for number, key in enumerate(NUMBER_KEYS, 7)}
        values |= {"rating": "4.5", "compilation": "yes"}
        self.assertEqual(len(values), 24)
        self.set_and_expect([f"{key}={value}" for key, value in values.items()], {"": path})
        self.assertEqual(read_tags(path), {
            "TITLE": ["=title="], "ARTIST": ["=artist="], "ALBUM": ["=album="],
            "GENRE": ["=genre="], "COMPOSER": ["=composer="], "COMMENT": ["=comment="],
            "UNSYNCEDLYRICS": ["=lyrics="], "ALBUMARTIST": ["=albumArtist="],
            "CONTENTGROUP": ["=grouping="], "GROUPING": ["=grouping="], "ENCODER": ["=encoder="],
            "ORGANIZATION": ["=publisher="], "DESCRIPTION": ["=description="],
            "CATALOGNUMBER": ["=catalogNumber="], "CONDUCTOR": ["=conductor="],
            "DISCSUBTITLE": ["=discSubtitle="], "CUESHEET": ["=cueSheet="], "DATE": ["7"],
            "TEMPO": ["8"], "TRACKNUMBER": ["9"], "TOTALTRACKS": ["10"], "DISCNUMBER": ["11/12"],
            "RATING": ["90"], "COMPILATION": ["1"]})

    def test_words_for_yes_and_no(self):
        for words, expected in ((("yes", "true", "on", "1"), True),
                                (("no", "false", "off", "0"), False)):
            for word in words:
                path = self.copy("m4a_plain.m4a")
                self.set_and_expect([f"compilation={word}"], {"": path})
                self.assertEqual(read_tags(path), {"cpil": expected}, word)

    def test_numbers_at_the_ends_of_their_range(self):
        path = self.copy("flac_plain.flac")
        self.set_and_expect(["disc=-9223372036854775808",
                             "totalNumberOfDiscs=9223372036854775807"], {"": path})
        self.assertEqual(read_tags(path),
                         {"DISCNUMBER": ["-9223372036854775808/9223372036854775807"]})

    def test_an_empty_text_is_a_value(self):
        path = self.copy("m4a_plain.m4a")
        self.set_and_expect(["composer="], {"": path})
        self.assertEqual(read_tags(path), {"©wrt": [""]})
        self.clear_and_expect(["composer"], {"": path})
        self.assertEqual(read_tags(path), {})


class Discs(CommandTest):
    """A disc and the number of discs are one value in every file."""

    # Where each kind of file keeps them, and as what.
    KINDS = {
        "mp3_plain.mp3": ("TPOS", lambda text: [text]),
        "aiff_plain.aiff": ("TPOS", lambda text: [text]),
        "wav_plain.wav": ("TPOS", lambda text: [text]),
        "dsf_plain.dsf": ("TPOS", lambda text: [text]),
        "m4a_plain.m4a": ("disk", lambda text: [tuple(map(int, (text + "/0").split("/")[:2]))]),
        "flac_plain.flac": ("DISCNUMBER", lambda text: [text]),
        "vorbis_plain.ogg": ("DISCNUMBER", lambda text: [text]),
        "opus_plain.opus": ("DISCNUMBER", lambda text: [text]),
        "wma_plain.wma": ("WM/PartOfSet", lambda text: [text]),
        "ape_plain.ape": ("Disc", str),
        "wavpack_plain.wv": ("Disc", str),
        "mpc_plain.mpc": ("Disc", str),
    }

    def setUp(self):
        super().setUp()
        self.paths = {name: self.copy(name) for name in self.KINDS}

    def expect_disc(self, text):
        """Every file says `text`; nothing of the kind is "0" in an M4A."""
        for name, (key, value) in self.KINDS.items():
            with self.subTest(file=name):
                gone = text == "0" and name.endswith(".m4a")
                expected = {} if gone else {key: value(text)}
                self.assertEqual(read_tags(self.paths[name]), expected)

    def test_each_keeps_the_other(self):
        self.set_and_expect(["disc=1", "totalNumberOfDiscs=5"], self.paths)
        self.expect_disc("1/5")
        self.set_and_expect(["disc=2"], self.paths)
        self.expect_disc("2/5")
        self.set_and_expect(["totalNumberOfDiscs=3"], self.paths)
        self.expect_disc("2/3")

    def test_one_alone_in_a_file_without(self):
        self.set_and_expect(["totalNumberOfDiscs=3"], self.paths)
        self.expect_disc("0/3")
        self.set_and_expect(["disc=2"], self.paths)
        self.expect_disc("2/3")

    def test_each_is_cleared_by_itself(self):
        self.set_and_expect(["totalNumberOfDiscs=3", "disc=2"], self.paths)
        self.clear_and_expect(["totalNumberOfDiscs"], self.paths)
        self.expect_disc("2")
        self.set_and_expect(["totalNumberOfDiscs=3"], self.paths)
        self.clear_and_expect(["disc"], self.paths)
        self.expect_disc("0/3")
        self.clear_and_expect(["totalNumberOfDiscs", "disc"], self.paths)
        self.expect_disc("0")

    def test_beside_other_fields(self):
        path = self.copy("flac_plain.flac")
        self.set_and_expect(["title=T", "disc=2", "rating=3.5", "totalNumberOfDiscs=3",
                             "compilation=no"], {"": path})
        self.assertEqual(read_tags(path), {"TITLE": ["T"], "DISCNUMBER": ["2/3"],
                                           "RATING": ["70"]})
        self.clear_and_expect(["title", "disc", "rating"], {"": path})
        self.assertEqual(read_tags(path), {"DISCNUMBER": ["0/3"], "RATING": ["0"]})

    def test_a_number_of_discs_that_another_program_keeps_elsewhere(self):
        for name in ("DISCTOTAL", "TOTALDISCS"):
            path = self.copy("flac_comment.flac")
            file = mutagen.flac.FLAC(path)
            file["DISCNUMBER"], file[name] = "1", "4"
            file.save()
            self.set_and_expect(["disc=2"], {"": path})
            self.assertEqual(read_tags(path)["DISCNUMBER"], ["2/4"])

    def test_files_that_others_have_tagged(self):
        mp3, m4a = self.copy("mp3_id3v23.mp3"), self.copy("m4a_tagged.m4a")
        self.assertEqual(read_tags(f"{DATA}/m4a_tagged.m4a")["disk"], [(1, 2)])
        self.set_and_expect(["disc=2"], {"mp3": mp3, "m4a": m4a})
        self.assertEqual(read_tags(mp3)["TPOS"], ["2/2"])
        self.assertEqual(read_tags(m4a)["disk"], [(2, 2)])
        self.set_and_expect(["totalNumberOfDiscs=9"], {"mp3": mp3, "m4a": m4a})
        self.assertEqual(read_tags(mp3)["TPOS"], ["2/9"])
        self.assertEqual(read_tags(m4a)["disk"], [(2, 9)])


if __name__ == "__main__":
    unittest.main()
