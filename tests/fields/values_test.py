"""Every field in every container: what each value becomes, over nothing and over the value before,
and that nothing else in the file moves."""

import math
import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

from edits import EditTest, audio_digests, contents, data, tag_contents  # noqa: E402
from expectations import (  # noqa: E402
    ASF_DWORD, ASF_TEXT, CONTAINERS, FIELDS, VALUES, put, put_info, stored, text_of)

TYPICAL = "A typical value"
NON_ASCII = "Žluťoučký kůň, 日本語, é, 🎵𝄞"
# Has a character outside the 16-bit range in every 16 bytes.
LONG = ("a long text 🎵" * 4096)[:60_000]
TEXTS = (TYPICAL, TYPICAL, NON_ASCII, LONG, "", TYPICAL, None, "", None)

TEXT_FIELDS = [key for key, field in FIELDS.items() if "kind" in field]
OTHER_FIELDS = [key for key, field in FIELDS.items() if "kind" not in field]


def number_values(row, family):
    return row[family] if family in row else row["text"]


def rating_values(row, family):
    """The expected values of one family in a row of the ratings; two for the two names in ASF."""
    _, byte, percent, sdb, shared, stars = row
    return {"id3v2": byte, "mp4": percent, "xiph": percent, "asf": (sdb, shared),
            "ape": stars}[family]


# (field, value, outcome_in(family)) of all fields that are not texts.
OTHERS = [(row["field"], row["value"], lambda family, row=row: number_values(row, family))
          for row in VALUES["numbers"]]
OTHERS += [("rating", float(row[0]), lambda family, row=row: rating_values(row, family))
           for row in VALUES["ratings"]]


def is_refused(field, value, container):
    family = container["family"]
    if field == "cueSheet":
        return container["cueSheet"] == "refused" or (
            family == "ape" and container["cueSheet"] == "in a tag")
    if field == "totalNumberOfTracks":
        return family == "asf"
    # The texts of the content description have 16-bit lengths.
    return family == "asf" and value == LONG and FIELDS[field]["asf"][0].startswith("(")


class EveryContainer(EditTest):

    def expected_id3v1(self, expected, field, value):
        """TagLib's: an MP3 that its generic file reference saves has an ID3v1 tag with what fits
        into it, or none when all would be empty."""
        if FIELDS[field].get("kind") != "core" and field != "year":
            return
        for name in list(expected):
            if name.startswith("ID3v1"):
                del expected[name]
        if field == "year":  # which TagLib prints as a signed number
            signed = ((value or 0) + 2**31) % 2**32 - 2**31
            value, fits = signed, str(signed)[:4]
        else:
            fits = value if value == TYPICAL else ""
        if field == "genre" or not value:
            return
        empty = {"title": "", "artist": "", "album": "", "year": "", "comment": "", "track": 0,
                 "genre": 255}
        expected |= {f"ID3v1 {name}": [other] for name, other in empty.items()}
        expected[f"ID3v1 {field}"] = [fits]

    def follow(self, container, field, steps):
        """Edits one file step by step, each a value and what it becomes."""
        path = self.file(container["file"])
        expected = tag_contents(path)
        done = None
        for value, outcome in steps:
            with self.subTest(container=container["file"], field=field, value=str(value)[:30]):
                previous = contents(path)
                if is_refused(field, value, container):
                    self.assert_untouched(path, previous, lambda: self.edit(field, value, path))
                    continue
                self.assert_edited(field, value, path)
                self.expect(expected, container, field, value, outcome)
                if repr(value) == done and (field, path[-5:]) != ("cueSheet", ".flac"):
                    self.assertEqual(contents(path) == previous, True, "moved by the same again")
                done = repr(value)
                self.assert_contents(path, expected)

    def expect(self, expected, container, field, value, outcome):
        family = container["family"]
        put(expected, field, family, outcome)
        if container["file"].endswith(".flac"):
            # A cue sheet does not create a comment, but TagLib adds one to every FLAC file.
            if field == "cueSheet" and "Xiph vendor" not in expected:
                expected.pop("Xiph CUESHEET", None)
            expected.setdefault("Xiph vendor", [""])
        if container["file"].endswith(".wav"):
            put_info(expected, field, outcome)
        if container["file"].endswith(".mp3"):
            self.expected_id3v1(expected, field, value)
        # The tag is added with its first frame and removed with its last.
        if family == "id3v2":
            expected.pop("ID3v2", None)
            if any(name.startswith("ID3v2 ") for name in expected):
                expected["ID3v2"] = ["2.4"]

    def test_texts(self):
        for container in CONTAINERS["containers"]:
            for field in TEXT_FIELDS:
                kind = FIELDS[field]["kind"]
                self.follow(container, field, [
                    (value, text_of(kind, container["family"], value)) for value in TEXTS])

    def test_numbers_flags_and_ratings(self):
        for container in CONTAINERS["containers"]:
            for field in OTHER_FIELDS:
                steps = [(value, outcome_in(container["family"]))
                         for key, value, outcome_in in OTHERS if key == field]
                if field in ("trackNumber", "totalNumberOfTracks"):
                    # Each without an old value: other tests combine them.
                    for step in steps:
                        self.follow(container, field, [step])
                else:
                    self.follow(container, field, [steps[0], *steps])

    def test_absent_values_are_zero(self):
        for container in CONTAINERS["containers"]:
            for field in OTHER_FIELDS:
                of_zero = next(outcome_in for key, value, outcome_in in OTHERS
                               if key == field and value in (0, [0, 0]))
                self.follow(container, field, [(None, of_zero(container["family"]))])

    def test_the_audio_is_the_same_to_the_sample(self):
        """After an edit that makes the tag grow, one that shrinks it, and a clear."""
        names = [container["file"] for container in CONTAINERS["containers"]]
        paths = [self.file(name) for name in names]
        digests = audio_digests([data(name) for name in names])
        for value in ("x" * 20_000, "y", None):
            for path in paths:
                for field in ("title", "composer"):
                    self.assert_edited(field, value, path)
            self.assertEqual(audio_digests(paths), digests)


class RatingScale(EditTest):
    """Both sides of every step."""

    def setUp(self):
        super().setUp()
        self.mp3, self.wma = self.file("mp3_plain.mp3"), self.file("wma_plain.wma")

    def check(self, stars, byte, sdb):
        for path in (self.mp3, self.wma):
            self.assert_edited("rating", stars, path)
        popularimeter, = tag_contents(self.mp3)["ID3v2 POPM"]
        self.assertEqual(popularimeter, stored("rating", "id3v2", "ID3v2 POPM", byte), stars)
        self.assertEqual(tag_contents(self.wma)["ASF SDB/Rating"], [(ASF_TEXT, sdb)], stars)

    def test_steps(self):
        below = 0.0
        for limit, byte, sdb in VALUES["rating scale"]:
            for stars in (math.nextafter(below, math.inf), (below + limit) / 2,
                          math.nextafter(limit, 0), limit):
                self.check(stars, byte, sdb)
            below = limit
        self.check(math.nextafter(0.0, -math.inf), 13, "10")
        self.check(math.nextafter(5.0, math.inf), 255, "0")

    def test_shared_user_rating_goes_by_the_stars_that_are_full(self):
        for stars, value in enumerate((0, 24, 49, 74, 89, 99)):
            for rating in (float(stars), math.nextafter(stars + 1, 0)):
                self.assert_edited("rating", rating, self.wma)
                self.assertEqual(tag_contents(self.wma)["ASF WM/SharedUserRating"],
                                 [(ASF_DWORD, value)])


if __name__ == "__main__":
    unittest.main()
