"""Every field in files that are full of tags: an edit leaves everything else as it is, to the byte,
but for what TagLib does on its own."""

import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

from edits import EditTest, audio_digests, contents, data, tag_contents  # noqa: E402
from expectations import (  # noqa: E402
    FIELDS, VALUES, edited_names, family_of, is_core, is_refused, put, put_info)
from saved_files import SAVED, saved  # noqa: E402

# The ID3v1 tag that an MP3 gets when TagLib's generic file reference saves it: what the ID3v2 tag
# says.
NEW_ID3V1 = {
    "mp3_id3v22.mp3": ("Rising Tone", "The Artist", "Test Tones", "", "a comment", 1),
    "mp3_id3v23.mp3": ("Rising Tone", "Zoë Müller", "Test Tones", "1999", "a comment", 1),
    "mp3_id3v2_ape.mp3": ("Rising Tone", "Zoë Müller", "Test Tones", "1999", "", 7),
}
ID3V1_NAMES = ("title", "artist", "album", "year", "comment", "track")

# A value of each field and what is stored for it; for a text, the text.
TYPICAL = {"rating": 3.5, "compilation": True, "bpm": 120, "year": 2024, "trackNumber": 4,
           "totalNumberOfTracks": 12, "disc": [2, 3]}
# These fields do not simply replace the old value; other tests show what they do.
OF_THEIR_OWN = ("comment", "lyrics", "catalogNumber", "trackNumber", "totalNumberOfTracks")


def stored_typical(field, family):
    if field == "rating":
        row = next(row for row in VALUES["ratings"] if row[0] == TYPICAL["rating"])
        return {"id3v2": row[1], "asf": (row[3], row[4]), "ape": row[5]}.get(family, row[2])
    for row in VALUES["numbers"]:
        if (row["field"], row["value"]) == (field, TYPICAL.get(field)):
            return row.get(family, row["text"])
    return "A typical value"


def stored_absent(field, family):
    if field == "rating":
        return {"id3v2": 0, "asf": ("0", 0), "ape": "0.000000"}.get(family, "0")
    if field in ("disc", "compilation"):
        zero = [0, 0] if field == "disc" else False
        row = next(row for row in VALUES["numbers"]
                   if row["field"] == field and row["value"] == zero)
        return row.get(family, row["text"])
    return None


class TaggedFiles(EditTest):

    def check(self, name, field, value, stored):
        family = family_of(name)
        path = self.file(name)
        if is_refused(name, field):
            return self.assert_untouched(path, contents(data(name)),
                                         lambda: self.edit(field, value, path))
        self.assert_edited(field, value, path)
        expected = saved(name)
        if is_core(field) and name in NEW_ID3V1:
            expected |= {f"ID3v1 {key}": [text]
                         for key, text in zip(ID3V1_NAMES, NEW_ID3V1[name])}
            expected["ID3v1 genre"] = [255]
        if name.endswith(".wav"):
            put_info(expected, field, stored)
        found = tag_contents(path)
        if is_core(field) or field in OF_THEIR_OWN:
            names = edited_names(name, field)
            for tags in (found, expected):
                for key in [key for key in tags if key.upper() in names]:
                    del tags[key]
        else:
            for key in [key for key in expected  # APE items, in whose keys the case may change
                        if key.upper() in edited_names(name, field)]:
                del expected[key]
            put(expected, field, family, stored)
        if not any(key.startswith("ID3v2 ") for key in expected):
            expected.pop("ID3v2", None)
            found.pop("ID3v2", None)
        if any(key.startswith("ID3v2 ") for key in expected) and family == "id3v2":
            expected["ID3v2"] = ["2.4"]
        self.assertEqual(found, expected)
        found = tag_contents(path)
        self.assert_edited(field, value, path)
        if (name, field, value) != ("mp3_id3v1.mp3", "totalNumberOfTracks", 12):
            # which needs a number before it, and the first save has copied that
            self.assert_contents(path, found)

    def test_a_value(self):
        for name in SAVED:
            for field in FIELDS:
                with self.subTest(file=name, field=field):
                    self.check(name, field, TYPICAL.get(field, "A typical value"),
                               stored_typical(field, family_of(name)))

    def test_no_value(self):
        for name in SAVED:
            for field in FIELDS:
                with self.subTest(file=name, field=field):
                    self.check(name, field, None, stored_absent(field, family_of(name)))

    def test_the_audio_is_the_same_to_the_sample(self):
        paths = [self.file(name) for name in SAVED]
        for path in paths:
            self.assert_edited("conductor", "C", path)
            self.assert_edited("title", "T" * 5000, path)
        self.assertEqual(audio_digests(paths), audio_digests([data(name) for name in SAVED]))


if __name__ == "__main__":
    unittest.main()
