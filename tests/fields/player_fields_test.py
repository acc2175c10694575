"""Values that no command line sends, through a player of our own and the real service: numbers
beyond 32 bits, ratings that are none, values of the wrong type. Read back with mutagen."""

import math
import unittest

from reading import APE, ASF, CONTAINERS, ID3, MP4, XIPH, read_tags
from player import GLib, change, dictionary, number, text
from support import DATA, PlayerTest, contents

MAX, MIN = 2**63 - 1, -2**63


def real(value):
    return GLib.Variant("d", value)


def flag(value):
    return GLib.Variant("b", value)


class FieldTest(PlayerTest):

    def check(self, field, values, expected, families=(ID3, MP4, XIPH, ASF, APE)):
        """Changes a field in a new copy of each container. `values` is the "track" dictionary,
        `expected` the tags that are then there beside the old ones, by family."""
        for container, family in CONTAINERS.items():
            with self.subTest(container=container):
                path = self.copy(container)
                before = read_tags(path)
                request = change(field, None, path)
                request["track"] = dictionary(values)
                taken = self.result(self.write(request, path))
                self.assertEqual(taken, family in families)
                if not taken:
                    self.assertEqual(contents(path), contents(f"{DATA}/{container}"))
                    continue
                self.assertEqual(read_tags(path), before | expected[family])


class Numbers(FieldTest):

    def test_year_keeps_its_low_32_bits(self):
        for value in (2**32 + 1987, -2**32 + 1987, 2**40 + 1987):
            with self.subTest(value=value):
                self.check("year", {"year": number(value)}, {
                    ID3: {"TDRC": ["1987"]}, MP4: {"©day": ["1987"]}, XIPH: {"DATE": ["1987"]},
                    ASF: {"WM/Year": ["1987"]}, APE: {"YEAR": "1987"}})

    def test_year_of_zero_in_32_bits_is_none(self):
        for value in (0, 2**40, MIN):
            with self.subTest(value=value):
                self.check("year", {"year": number(value)},
                           {ID3: {}, MP4: {}, XIPH: {}, ASF: {"WM/Year": ["0"]}, APE: {}})

    def test_year_is_printed_with_a_sign_by_the_library(self):
        # mutagen takes a TDRC frame for a date and shows none in "-1".
        self.check("year", {"year": number(-1)}, {
            ID3: {"TDRC": [""]}, MP4: {"©day": ["-1"]}, XIPH: {"DATE": ["-1"]},
            ASF: {"WM/Year": ["-1"]}, APE: {"YEAR": "-1"}})

    def test_tempo_is_zero_in_64_bits_only(self):
        for value in (2**40, MIN):
            with self.subTest(value=value):
                self.check("bpm", {"bpm": number(value)}, {
                    ID3: {"TBPM": ["0"]}, MP4: {"tmpo": [0]}, XIPH: {"TEMPO": ["0"]},
                    ASF: {"WM/BeatsPerMinute": ["0"]}, APE: {"BPM": "0"}})
        self.check("bpm", {"bpm": number(0)}, {ID3: {}, MP4: {}, XIPH: {}, ASF: {}, APE: {}})

    def test_tempo_is_written_in_32_bits(self):
        self.check("bpm", {"bpm": number(2**40 + 90)}, {
            ID3: {"TBPM": ["90"]}, MP4: {"tmpo": [90]}, XIPH: {"TEMPO": ["90"]},
            ASF: {"WM/BeatsPerMinute": ["90"]}, APE: {"BPM": "90"}})
        # In an MP4 file the library keeps 16 bits.
        self.check("bpm", {"bpm": number(MAX)}, {
            ID3: {"TBPM": ["-1"]}, MP4: {"tmpo": [-1]}, XIPH: {"TEMPO": ["-1"]},
            ASF: {"WM/BeatsPerMinute": ["-1"]}, APE: {"BPM": "-1"}})

    def test_track_number_keeps_its_low_32_bits(self):
        self.check("trackNumber", {"trackNumber": number(2**40 + 4)}, {
            ID3: {"TRCK": ["4"]}, MP4: {"trkn": [(4, 0)]}, XIPH: {"TRACKNUMBER": ["4"]},
            ASF: {"WM/TrackNumber": ["4"]}, APE: {"Track": "4"}})
        self.check("trackNumber", {"trackNumber": number(2**40)}, {
            ID3: {}, MP4: {"trkn": [(0, 0)]}, XIPH: {}, ASF: {"WM/TrackNumber": ["0"]}, APE: {}})
        self.check("trackNumber", {"trackNumber": number(-1)}, {
            ID3: {"TRCK": ["-1"]}, MP4: {"trkn": [(65535, 0)]}, XIPH: {"TRACKNUMBER": ["-1"]},
            ASF: {"WM/TrackNumber": ["-1"]}, APE: {"Track": "-1"}})

    def test_track_total_keeps_its_low_32_bits(self):
        self.check("totalNumberOfTracks", {"totalNumberOfTracks": number(2**40 + 12)}, {
            ID3: {}, MP4: {"trkn": [(0, 12)]}, XIPH: {"TOTALTRACKS": ["12"]}, APE: {}},
            families=(ID3, MP4, XIPH, APE))

    def test_disc_is_written_in_64_bits_where_it_is_text(self):
        both = {"disc": number(2**40), "totalNumberOfDiscs": number(2**40 + 3)}
        written = "1099511627776/1099511627779"
        self.check("disc", both, {
            ID3: {"TPOS": [written]}, MP4: {"disk": [(0, 3)]}, XIPH: {"DISCNUMBER": [written]},
            ASF: {"WM/PartOfSet": [written]}, APE: {"Disc": written}})
        both = {"disc": number(MIN), "totalNumberOfDiscs": number(MAX)}
        written = f"{MIN}/{MAX}"
        self.check("disc", both, {
            ID3: {"TPOS": [written]}, MP4: {"disk": [(0, 65535)]}, XIPH: {"DISCNUMBER": [written]},
            ASF: {"WM/PartOfSet": [written]}, APE: {"Disc": written}})


class Ratings(FieldTest):

    def check_rating(self, rating, byte, percent, steps, shared, stars):
        self.check("rating", {"rating": real(rating)}, {
            ID3: {"POPM:no@email": ("no@email", byte, 0)}, MP4: {"rate": [percent]},
            XIPH: {"RATING": [percent]},
            ASF: {"SDB/Rating": [steps], "WM/SharedUserRating": [shared]}, APE: {"Rating": stars}})

    def test_half_and_whole_stars(self):
        self.check_rating(0.0, 0, "0", "0", 0, "0.000000")
        self.check_rating(4.1, 242, "81", "90", 89, "4.100000")
        self.check_rating(5.0, 255, "100", "100", 99, "5.000000")

    def test_beyond_the_scale(self):
        self.check_rating(7.0, 255, "140", "0", 0, "7.000000")
        self.check_rating(-1.0, 13, "-20", "10", 0, "-1.000000")

    def test_beyond_every_buffer(self):
        self.check_rating(1e300, 255, "214748364", "0", 0, "100000000000000")
        self.check_rating(-1e300, 13, "-21474836", "10", 0, "-10000000000000")

    def test_infinite(self):
        self.check_rating(math.inf, 255, "214748364", "0", 0, "inf")
        self.check_rating(-math.inf, 13, "-21474836", "10", 0, "-inf")

    def test_not_a_number(self):
        self.check_rating(math.nan, 255, "0", "0", 0, "nan")


class Dispatch(PlayerTest):
    """Which value of the request is read, and as what."""

    def change_track(self, field, values, name="mp3_plain.mp3"):
        """Sends the values and returns the result and the path."""
        path = self.copy(name)
        request = change(field, None, path)
        request["track"] = dictionary(values)
        result = self.result(self.write(request, path))
        self.player.ping()  # the service has let go of the request
        self.assertEqual(self.service.descriptors_of(path), 0)
        return result, path

    def test_a_key_in_the_wrong_case_is_unknown(self):
        for key in ("Title", "TITLE", "albumartist", "AlbumArtist", "tracknumber", "BPM"):
            with self.subTest(key=key):
                result, path = self.change_track(key, {key: text("T"), "title": text("T")})
                self.assertFalse(result)
                self.assertEqual(contents(path), contents(f"{DATA}/mp3_plain.mp3"))

    def test_the_number_of_discs_is_no_key_of_its_own(self):
        result, path = self.change_track("totalNumberOfDiscs", {
            "disc": number(2), "totalNumberOfDiscs": number(3)})
        self.assertFalse(result)
        self.assertEqual(contents(path), contents(f"{DATA}/mp3_plain.mp3"))

    def test_a_request_without_a_changed_key(self):
        path = self.copy("mp3_plain.mp3")
        request = change("title", text("T"), path)
        del request["changedtag"]
        self.assertFalse(self.result(self.write(request, path)))
        self.player.ping()  # the service has let go of the request
        self.assertEqual(self.service.descriptors_of(path), 0)
        self.assertEqual(contents(path), contents(f"{DATA}/mp3_plain.mp3"))
        self.assertEqual(self.service.log(), "")

    def test_disc_and_number_of_discs_are_written_together(self):
        result, path = self.change_track("disc", {
            "disc": number(2), "totalNumberOfDiscs": number(3)})
        self.assertTrue(result)
        self.assertEqual(read_tags(path), {"TPOS": ["2/3"]})

    def test_a_disc_without_the_number_of_discs(self):
        result, path = self.change_track("disc", {"disc": number(2)}, "mp3_id3v23.mp3")
        self.assertTrue(result)
        self.assertEqual(read_tags(path)["TPOS"], ["2"])

    def test_a_title_that_is_absent_is_cleared(self):
        result, path = self.change_track("title", {"artist": text("A")}, "mp3_id3v23.mp3")
        self.assertTrue(result)
        self.assertNotIn("TIT2", read_tags(path))
        self.assertEqual(read_tags(path)["TPE1"], read_tags(f"{DATA}/mp3_id3v23.mp3")["TPE1"])

    def test_a_rating_that_is_a_whole_number_counts_as_none(self):
        result, path = self.change_track("rating", {"rating": number(5)})
        self.assertTrue(result)
        self.assertEqual(read_tags(path), {"POPM:no@email": ("no@email", 0, 0)})

    def test_a_year_that_is_a_text_counts_as_none(self):
        result, path = self.change_track("year", {"year": text("2024")}, "mp3_id3v23.mp3")
        self.assertTrue(result)
        self.assertNotIn("TDRC", read_tags(path))

    def test_values_of_other_types_count_as_absent(self):
        for field, value, frame in (("composer", number(7), "TCOM"), ("bpm", real(120.0), "TBPM"),
                                    ("compilation", text("1"), "TCMP"),
                                    ("compilation", number(1), "TCMP"),
                                    ("trackNumber", text("4"), "TRCK"),
                                    ("disc", flag(True), "TPOS")):
            with self.subTest(field=field, value=value):
                result, path = self.change_track(field, {field: value})
                self.assertTrue(result)
                self.assertEqual(read_tags(path), {"TPOS": ["0"]} if field == "disc" else {})


if __name__ == "__main__":
    unittest.main()
