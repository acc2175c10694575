"""Edits over what is in a file already: which frame, field or item is taken, what is kept of it and
what is removed."""

import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

import mutagen.apev2  # noqa: E402
import mutagen.asf  # noqa: E402
import mutagen.flac  # noqa: E402
import mutagen.mp4  # noqa: E402

from edits import EditTest, contents, data, tag_contents  # noqa: E402
from expectations import LATIN1, UTF8, VALUES, stored  # noqa: E402

UTF16 = 1
ENCRYPTED = b"\0\4"


def frame(name, body, flags=b"\0\0"):
    """An ID3v2.4 frame; sizes below 128 bytes."""
    return name.encode() + bytes([0, 0, 0, len(body)]) + flags + body


def text_frame(name, *texts, encoding=UTF8):
    codec = {LATIN1: "latin-1", UTF8: "utf-8", UTF16: "utf-16"}[encoding]
    zero = b"\0\0" if encoding == UTF16 else b"\0"
    return frame(name, bytes([encoding]) + zero.join(text.encode(codec) for text in texts))


def comment(language, description, text, name="COMM"):
    return frame(name, b"\3" + "\0".join((language + description, text)).encode())


class OverOldValues(EditTest):

    def mp3(self, *frames, base="mp3_plain.mp3"):
        """An MP3 with these frames."""
        size = sum(map(len, frames))
        header = b"ID3\4\0\0" + bytes([0, 0, size >> 7, size & 127])
        return self.file("a.mp3", data=header + b"".join(frames) + contents(data(base)))

    def mutagen_file(self, name, kind, values):
        path = self.file(name)
        file = kind(path)
        file.update(values)
        file.save()
        return path

    def expect(self, path, name, *values):
        self.assertEqual(tag_contents(path).get(name, []), list(values))

    # Pairs ---------------------------------------------------------------------------------------

    def test_what_is_left_of_an_old_track_text(self):
        for row in VALUES["pairs"]:
            with self.subTest(row=row):
                path = self.mp3(text_frame("TRCK", row["old"]))
                self.assert_edited(row["field"], row["value"], path)
                expected = [] if row["text"] is None else [(UTF8, row["text"])]
                self.expect(path, "ID3v2 TRCK", *expected)

                path = self.file("ape_plain.ape")
                tags = mutagen.apev2.APEv2()
                tags["TRACK"] = row["old"]
                tags.save(path)
                self.assert_edited(row["field"], row["value"], path)
                expected = [] if row["text"] is None else [("text", row["text"].encode())]
                self.expect(path, "APE Track", *expected)
                self.expect(path, "APE TRACK")
                if "mp4" in row:
                    pair = tuple(map(int, (row["old"] + "/0").split("/")[:2]))
                    path = self.mutagen_file("m4a_plain.m4a", mutagen.mp4.MP4, {"trkn": [pair]})
                    self.assert_edited(row["field"], row["value"], path)
                    self.expect(path, "MP4 trkn", stored("trackNumber", "mp4", "MP4 trkn",
                                                         row["mp4"]))

    def test_a_track_in_an_ape_item_of_several_values(self):
        path = self.file("ape_plain.ape")
        tags = mutagen.apev2.APEv2()
        tags["Track"] = ["1/7", "12"]
        tags.save(path)
        self.assert_edited("trackNumber", 4, path)
        self.expect(path, "APE Track", ("text", b"4/7"))

    def test_track_number_in_both_tags_of_an_mp3(self):
        path = self.file("mp3_id3v24_id3v1.mp3")
        for value, frames, number in ((4, [(UTF8, "4")], 4), (0, [], 0)):
            self.assert_edited("trackNumber", value, path)
            self.expect(path, "ID3v2 TRCK", *frames)
            self.expect(path, "ID3v1 track", number)

    # Texts ---------------------------------------------------------------------------------------

    def test_one_frame_in_the_place_of_several(self):
        for field, name in (("composer", "TCOM"), ("grouping", "TIT1"), ("grouping", "GRP1"),
                            ("bpm", "TBPM"), ("compilation", "TCMP"), ("disc", "TPOS")):
            for value, left in (("Live", "Live"), ("", None), (None, None)):
                value = {"bpm": 7, "disc": [7, 0], "compilation": True}.get(field, value)
                left = {"bpm": "7", "disc": "7", "compilation": "1"}.get(field, left)
                with self.subTest(field=field, value=value):
                    path = self.mp3(text_frame(name, "one"), text_frame("TEXT", "stays"),
                                    text_frame(name, "two"))
                    self.assert_edited(field, value, path)
                    self.expect(path, "ID3v2 " + name, *([(UTF8, left)] if left else []))
                    self.expect(path, "ID3v2 TEXT", (UTF8, "stays"))

    def test_one_field_in_the_place_of_several(self):
        old = {"contentgroup": ["one", "two"], "Grouping": ["one", "two"], "OTHER": ["stays"]}
        for value in ("Live", "", None):
            path = self.mutagen_file("flac_plain.flac", mutagen.flac.FLAC, old)
            self.assert_edited("grouping", value, path)
            for name in ("Xiph CONTENTGROUP", "Xiph GROUPING"):
                self.expect(path, name, *([value] if value else []))
            self.expect(path, "Xiph OTHER", "stays")

    def test_one_item_in_the_place_of_another_spelling(self):
        for value in ("Live", "", None):
            path = self.file("ape_plain.ape")
            tags = mutagen.apev2.APEv2()
            tags["COMPOSER"], tags["Mood"] = ["one", "two"], "stays"
            tags.save(path)
            self.assert_edited("composer", value, path)
            self.expect(path, "APE COMPOSER")
            self.expect(path, "APE Composer", *([("text", value.encode())] if value else []))
            self.expect(path, "APE Mood", ("text", b"stays"))

    def test_one_attribute_in_the_place_of_several(self):
        old = {"WM/Composer": ["one", mutagen.asf.ASFDWordAttribute(7)], "WM/Mood": ["stays"]}
        for value in ("Live", "", None):
            path = self.mutagen_file("wma_plain.wma", mutagen.asf.ASF, old)
            self.assert_edited("composer", value, path)
            self.expect(path, "ASF WM/Composer", *([] if value is None else [(0, value)]))
            self.expect(path, "ASF WM/Mood", (0, "stays"))

    def test_other_names_of_the_same_value_are_removed(self):
        for field, old in (("bpm", ("BPM", "TEMPO")),
                           ("totalNumberOfTracks", ("TRACKTOTAL", "TOTALTRACKS"))):
            for value in (7, 0, None):
                path = self.mutagen_file("flac_plain.flac", mutagen.flac.FLAC,
                                         dict.fromkeys(old, ["1", "2"]))
                self.assert_edited(field, value, path)
                self.expect(path, "Xiph " + old[0])
                self.expect(path, "Xiph " + old[1], *(["7"] if value else []))
        for value in (True, False):
            path = self.file("wma_tagged.wma")
            self.expect(path, "ASF WM/Compilation", (0, "1"))
            self.assert_edited("compilation", value, path)
            self.expect(path, "ASF WM/Compilation")

    def test_description_of_a_wma_is_not_its_comment(self):
        path = self.file("wma_tagged.wma")
        self.assert_edited("description", "D", path)
        self.assert_edited("comment", "C", path)
        self.expect(path, "ASF Description", (0, "D"))
        self.expect(path, "ASF (description)", "C")

    def test_description_of_a_flac_is_not_its_comment(self):
        path = self.file("flac_comment.flac")
        self.assert_edited("description", "D", path)
        for value, left in (("C", ["C"]), (None, [])):
            self.assert_edited("comment", value, path)
            self.expect(path, "Xiph COMMENT", *left)
            self.expect(path, "Xiph DESCRIPTION", "D")

    # The main comment ----------------------------------------------------------------------------

    def check_comments(self, old, value, new):
        """Edits the comment of an MP3 with these comments, each language|description|text."""
        path = self.mp3(*(comment(*entry.split("|")) for entry in old))
        self.assert_edited("comment", value, path)
        self.expect(path, "ID3v2 COMM", *((UTF8, *entry.split("|")) for entry in new))

    def test_which_comment_is_the_main_one(self):
        self.check_comments(["deu||A", "eng|Comment|B", "eng||C"], "new",
                            ["deu||A", "eng|Comment|new", "eng||C"])
        self.check_comments(["fra|other|A", "deu||B", "fra|comment|C"], "new",
                            ["fra|other|A", "deu||new", "fra|comment|C"])
        self.check_comments(["deu||A", "ENG||B", "Eng||C"], "new", ["deu||new", "ENG||B", "Eng||C"])
        for name in ("comment", "COMMENT", "cOmMeNt", "Songs-DB_Custom1", "SONGS-DB_CUSTOM1"):
            self.check_comments([f"eng|{name}|old"], "new", [f"eng|{name}|new"])
            self.check_comments([f"eng|{name}|old"], "", [f"eng|{name}|"])
            self.check_comments([f"eng|{name}|old"], None, [])

    def test_other_comments_are_never_touched(self):
        for name in ("comments", "commen", " comment", "comment ", "Kommentar", "Songs-DB_Custom2",
                     "Songs-DB_Custom10", "iTunNORM", "ÇOMMENT", "comm\u0119nt"):
            self.check_comments([f"eng|{name}|A"], "new", [f"eng|{name}|A", "eng||new"])
            self.check_comments([f"eng|{name}|A"], None, [f"eng|{name}|A"])

    def test_no_comment_removes_every_main_one(self):
        self.check_comments(["deu||A", "eng|Comment|B", "fra|note|C", "jpn|songs-db_custom1|D",
                             "eng||E"], None, ["fra|note|C"])

    def test_a_comment_keeps_its_encoding(self):
        path = self.mp3(frame("COMM", b"\1eng" + b"\xff\xfe\0\0" + "old".encode("utf-16")))
        self.assert_edited("comment", "new", path)
        self.expect(path, "ID3v2 COMM", (UTF16, "eng", "", "new"))

    def test_a_comment_that_nobody_can_read_is_passed_over(self):
        for value, added in (("new", [(UTF8, "eng", "", "new")]), (None, [])):
            path = self.mp3(frame("COMM", b"\3eng\0encrypted", ENCRYPTED),
                            comment("eng", "", "old"))
            self.assert_edited("comment", value, path)
            # TagLib saves it without the mark.
            self.expect(path, "ID3v2 COMM", (UTF8, "eng", "", "encrypted"), *added)

    # Other frames with rules of their own --------------------------------------------------------

    def test_catalog_number_takes_the_first_frame_and_keeps_its_encoding(self):
        frames = (text_frame("TXXX", "CatalogNumber", "other"),
                  text_frame("TXXX", "CATALOGNUMBER", "one", encoding=UTF16),
                  text_frame("TXXX", "CATALOGNUMBER", "two", encoding=LATIN1))
        one = (UTF16, "CATALOGNUMBER", "new")
        two = (LATIN1, "CATALOGNUMBER", "two")
        for value, left in (("new", [one, two]), ("", [one[:2] + ("",), two]), (None, [two])):
            path = self.mp3(*frames)
            self.assert_edited("catalogNumber", value, path)
            self.expect(path, "ID3v2 TXXX:CATALOGNUMBER", *left)
            self.expect(path, "ID3v2 TXXX:CatalogNumber", (UTF8, "CatalogNumber", "other"))

    def test_lyrics_take_the_place_of_all(self):
        for value, left in (("Žluť", [(UTF8, "eng", "", "Žluť")]), ("", [(UTF8, "eng", "", "")]),
                            (None, [])):
            path = self.mp3(comment("eng", "", "one", "USLT"),
                            comment("deu", "zwei", "two", "USLT"))
            self.assert_edited("lyrics", value, path)
            self.expect(path, "ID3v2 USLT", *left)

    def test_a_rating_takes_the_place_of_all(self):
        path = self.file("mp3_id3v23.mp3")
        self.assertEqual(len(tag_contents(path)["ID3v2 POPM"]), 2)
        self.assert_edited("rating", 3.5, path)
        self.expect(path, "ID3v2 POPM", b"no@email\0\xba" + bytes(4))

    # TagLib's share ------------------------------------------------------------------------------

    def test_what_taglib_does_with_comments_and_tracks_beside_an_id3v1_tag(self):
        # Where the main comment is empty, TagLib has no comment, and so none is left of any kind.
        path = self.file("mp3_id3v24_id3v1.mp3")
        self.assert_edited("comment", "new", path)
        self.assert_edited("comment", "", path)
        self.expect(path, "ID3v2 COMM")
        # TagLib restores from the ID3v1 tag what was removed from the ID3v2 tag.
        path = self.file("mp3_id3v24_id3v1.mp3")
        for total, text in ((12, (UTF8, "7/12")), (0, (LATIN1, "7"))):
            self.assert_edited("totalNumberOfTracks", total, path)
            self.expect(path, "ID3v2 TRCK", text)
            self.expect(path, "ID3v1 track", 7)
        # A track with only a total does not count.
        path = self.file("mp3_id3v23.mp3")
        self.assert_edited("trackNumber", 0, path)
        self.expect(path, "ID3v2 TRCK", (UTF8, "0/10"))
        self.assert_edited("title", "new", path)
        self.expect(path, "ID3v2 TRCK")


class CueSheets(EditTest):

    SHEET = 'FILE "a.wav" WAVE\n  TRACK 01 AUDIO\n    TITLE "Žluť 🎵"\n'

    def test_a_tag_that_is_there_takes_it_and_loses_it(self):
        for name in ("flac_comment.flac", "vorbis_tagged.ogg", "opus_tagged.opus", "flac.oga",
                     "ape_tagged.ape", "ape_id3v1.ape", "wavpack_tagged.wv"):
            path = self.file(name)
            is_ape = name.endswith((".ape", ".wv"))
            key = "APE CUESHEET" if is_ape else "Xiph CUESHEET"
            expected = tag_contents(path)
            expected.pop(key, None)
            for gone in ("", None):
                self.assert_edited("cueSheet", self.SHEET, path)
                sheet = ("text", self.SHEET.encode()) if is_ape else self.SHEET
                self.assert_contents(path, expected | {key: [sheet]})
                self.assert_edited("cueSheet", gone, path)
                self.assert_contents(path, expected)

    def test_it_replaces_every_spelling(self):
        path = self.file("ape_plain.ape")
        tags = mutagen.apev2.APEv2()
        tags["Cuesheet"] = ["one", "two"]
        tags.save(path)
        self.assert_edited("cueSheet", self.SHEET, path)
        self.expect_sheet(path, "APE CUESHEET", ("text", self.SHEET.encode()))

    def expect_sheet(self, path, name, sheet):
        found = {key: value for key, value in tag_contents(path).items() if "CUE" in key.upper()}
        self.assertEqual(found, {name: [sheet]})

    def test_files_that_are_not_valid_are_refused(self):
        for extension in ("flac", "ogg", "opus", "oga", "ape", "wv"):
            for size in (3, 4000):
                path = self.file("a." + extension, data=b"n" * size)
                for sheet in (self.SHEET, None):
                    self.assert_untouched(path, b"n" * size,
                                          lambda: self.edit("cueSheet", sheet, path))


class Wma(EditTest):
    """A WMA file keeps the lengths of title, artist and comment in 16 bits."""

    def test_the_longest_text(self):
        before = contents(data("wma_tagged.wma"))
        for field, name in (("title", "ASF (title)"), ("artist", "ASF (author)"),
                            ("comment", "ASF (description)")):
            path = self.file("wma_tagged.wma")
            self.assert_untouched(path, before, lambda: self.edit(field, "x" * 32767, path))
            expected = tag_contents(path) | {name: ["x" * 32766]}
            self.assert_edited(field, "x" * 32766, path)
            self.assert_contents(path, expected)


if __name__ == "__main__":
    unittest.main()
