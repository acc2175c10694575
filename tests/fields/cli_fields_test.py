"""Every field in every container through the command line and the real service, read back with
mutagen: set, set once more, cleared. The decoded audio never changes.

What a field becomes is written down here by hand, family by family.
"""

import unittest

from command import CommandTest, all_samples
from reading import APE, ASF, CONTAINERS, ID3, MP4, XIPH, read_tags
from support import DATA, contents, run

TEXT = "Žluť, 日本 🎵"
LABEL = "----:com.apple.iTunes:"


def names(id3, mp4, xiph, asf, ape):
    return {ID3: id3, MP4: mp4, XIPH: xiph, ASF: asf, APE: ape}


def texts(id3, mp4, xiph, asf, ape):
    """The outcome of a text, under these names."""
    return names({name: [TEXT] for name in id3}, {mp4: [TEXT]}, {name: [TEXT] for name in xiph},
                 {asf: [TEXT]}, {ape: TEXT})


class Field:
    """What to give to the command and what is then in a file of each family. `cleared` is what is
    there when the field has been cleared, where that is not nothing; `refused` are the families
    that do not take the field."""

    def __init__(self, value, outcome, cleared=None, refused=()):
        self.value = value
        self.outcome = outcome
        self.cleared = cleared or {}
        self.refused = refused


# What the library's generic tag cannot remove from a WMA file.
def asf_keeps(name, value):
    return {ASF: {name: [value]}}


FIELDS = {
    "title": Field(TEXT, texts(["TIT2"], "©nam", ["TITLE"], "Title", "TITLE")),
    "artist": Field(TEXT, texts(["TPE1"], "©ART", ["ARTIST"], "Author", "ARTIST")),
    "album": Field(TEXT, texts(["TALB"], "©alb", ["ALBUM"], "WM/AlbumTitle", "ALBUM"),
                   asf_keeps("WM/AlbumTitle", "")),
    "genre": Field(TEXT, texts(["TCON"], "©gen", ["GENRE"], "WM/Genre", "GENRE"),
                   asf_keeps("WM/Genre", "")),
    "composer": Field(TEXT, texts(["TCOM"], "©wrt", ["COMPOSER"], "WM/Composer", "Composer")),
    "comment": Field(TEXT, texts(["COMM::eng"], "©cmt", ["COMMENT"], "Description", "COMMENT")),
    "lyrics": Field(TEXT, texts(["USLT::eng"], "©lyr", ["UNSYNCEDLYRICS"], "WM/Lyrics",
                                  "Lyrics")),
    "albumArtist": Field(TEXT, texts(["TPE2"], "aART", ["ALBUMARTIST"], "WM/AlbumArtist",
                                       "Album Artist")),
    "grouping": Field(TEXT, texts(["TIT1", "GRP1"], "©grp", ["CONTENTGROUP", "GROUPING"],
                                    "WM/ContentGroupDescription", "Grouping")),
    "encoder": Field(TEXT, texts(["TENC"], "©too", ["ENCODER"], "WM/EncodedBy", "Encoder")),
    "publisher": Field(TEXT, texts(["TPUB"], LABEL + "LABEL", ["ORGANIZATION"], "WM/Publisher",
                                     "Publisher")),
    "description": Field(TEXT, texts(["TIT3"], "desc", ["DESCRIPTION"], "Description",
                                       "DESCRIPTION")),
    "catalogNumber": Field(TEXT, texts(["TXXX:CATALOGNUMBER"], LABEL + "CATALOGNUMBER",
                                         ["CATALOGNUMBER"], "WM/CatalogNo", "CatalogNumber")),
    "conductor": Field(TEXT, texts(["TPE3"], LABEL + "CONDUCTOR", ["CONDUCTOR"],
                                     "WM/Conductor", "Conductor")),
    "discSubtitle": Field(TEXT, texts(["TSST"], LABEL + "DISCSUBTITLE", ["DISCSUBTITLE"],
                                        "WM/SetSubTitle", "DiscSubtitle")),
    # No APE tag is there that could take it, and FLAC files without a comment get none for it.
    "cueSheet": Field(TEXT, names({}, {}, {"CUESHEET": [TEXT]}, {}, {}),
                      refused=(ID3, MP4, ASF, APE)),
    "rating": Field("3.5", names({"POPM:no@email": ("no@email", 186, 0)}, {"rate": ["70"]},
                                   {"RATING": ["70"]},
                                   {"SDB/Rating": ["70"], "WM/SharedUserRating": [74]},
                                   {"Rating": "3.500000"}),
                    # No family removes it.
                    names({"POPM:no@email": ("no@email", 0, 0)}, {"rate": ["0"]},
                          {"RATING": ["0"]}, {"SDB/Rating": ["0"], "WM/SharedUserRating": [0]},
                          {"Rating": "0.000000"})),
    "compilation": Field("yes", names({"TCMP": ["1"]}, {"cpil": True}, {"COMPILATION": ["1"]},
                                        {"WM/IsCompilation": [True]}, {"Compilation": "1"}),
                         {MP4: {"cpil": False}, ASF: {"WM/IsCompilation": [False]}}),
    "year": Field("2024", names({"TDRC": ["2024"]}, {"©day": ["2024"]}, {"DATE": ["2024"]},
                                  {"WM/Year": ["2024"]}, {"YEAR": "2024"}),
                  asf_keeps("WM/Year", "0")),
    "bpm": Field("120", names({"TBPM": ["120"]}, {"tmpo": [120]}, {"TEMPO": ["120"]},
                                {"WM/BeatsPerMinute": ["120"]}, {"BPM": "120"})),
    "trackNumber": Field("4", names({"TRCK": ["4"]}, {"trkn": [(4, 0)]}, {"TRACKNUMBER": ["4"]},
                                      {"WM/TrackNumber": ["4"]}, {"Track": "4"}),
                         {MP4: {"trkn": [(0, 0)]}, **asf_keeps("WM/TrackNumber", "0")}),
    # Without a track number the families that keep both in one text keep nothing.
    "totalNumberOfTracks": Field("12", names({}, {"trkn": [(0, 12)]}, {"TOTALTRACKS": ["12"]},
                                               {}, {}),
                                 {MP4: {"trkn": [(0, 0)]}}, refused=(ASF,)),
    "disc": Field("2", names({"TPOS": ["2"]}, {"disk": [(2, 0)]}, {"DISCNUMBER": ["2"]},
                               {"WM/PartOfSet": ["2"]}, {"Disc": "2"}),
                  names({"TPOS": ["0"]}, {}, {"DISCNUMBER": ["0"]}, {"WM/PartOfSet": ["0"]},
                        {"Disc": "0"})),
}

# A FLAC file without a comment gets no cue sheet, but the library gives every file that it saves a
# comment, and so the second edit finds one. No other edit moves a byte when it comes again.
MOVED_BY_THE_SECOND_EDIT = {"cueSheet": {"flac_plain.flac"}}

AUDIO = {}  # the digests of the containers' audio, made once


def setUpModule():
    AUDIO.update(all_samples({name: f"{DATA}/{name}" for name in CONTAINERS}))


class EveryFieldInEveryContainer(CommandTest):

    def check_field(self, name):
        field = FIELDS[name]
        paths = {container: self.copy(container) for container in CONTAINERS}
        before = {container: read_tags(path) for container, path in paths.items()}
        refused = [paths[container] for container, family in CONTAINERS.items()
                   if family in field.refused]

        assignment = f"{name}={field.value}"
        self.set_and_expect([assignment], paths, refused)
        self.expect_tags(paths, before, field, field.outcome)
        self.assertEqual(all_samples(paths), AUDIO)

        first = {container: contents(path) for container, path in paths.items()}
        self.set_and_expect([assignment], paths, refused)
        moved = {container for container, path in paths.items()
                 if contents(path) != first[container]}
        self.assertEqual(moved, MOVED_BY_THE_SECOND_EDIT.get(name, set()))

        self.clear_and_expect([name], paths, refused)
        self.expect_tags(paths, before, field, field.cleared)
        self.assertEqual(all_samples(paths), AUDIO)

    def expect_tags(self, paths, before, field, outcome):
        for container, path in paths.items():
            family = CONTAINERS[container]
            with self.subTest(container=container):
                if family in field.refused:
                    self.assertEqual(contents(path), contents(f"{DATA}/{container}"))
                    continue
                expected = {key: value for key, value in before[container].items()
                            if key not in field.outcome[family]}
                expected |= outcome.get(family, {})
                if container == "flac_plain.flac":  # see MOVED_BY_THE_SECOND_EDIT
                    expected.pop("CUESHEET", None)
                self.assertEqual(read_tags(path), expected)


for field_name in FIELDS:
    setattr(EveryFieldInEveryContainer, f"test_{field_name}",
            lambda self, field_name=field_name: self.check_field(field_name))


class OtherReaders(CommandTest):
    """The same values through other programs."""

    def test_flac(self):
        path = self.copy("flac_plain.flac")
        self.set_and_expect(["composer=" + TEXT, "rating=3.5", "grouping=Live"], {"": path})
        listing = run("metaflac", "--no-utf8-convert", "--export-tags-to=-", path)
        self.assertEqual(sorted(listing.splitlines()),
                         ["COMPOSER=" + TEXT, "CONTENTGROUP=Live", "GROUPING=Live", "RATING=70"])

    def test_vorbis(self):
        path = self.copy("vorbis_plain.ogg")
        self.set_and_expect(["composer=" + TEXT, "rating=3.5", "grouping=Live"], {"": path})
        listing = run("vorbiscomment", "--raw", "--list", path)
        self.assertEqual(sorted(listing.splitlines()),
                         ["COMPOSER=" + TEXT, "CONTENTGROUP=Live", "GROUPING=Live", "RATING=70"])

    def test_containers_that_ffmpeg_reads(self):
        keys = {"mp3_plain.mp3": "composer", "m4a_plain.m4a": "composer",
                "wma_plain.wma": "composer", "ape_plain.ape": "Composer",
                "opus_plain.opus": "COMPOSER"}
        paths = {name: self.copy(name) for name in keys}
        self.set_and_expect(["composer=" + TEXT], paths)
        for name, key in keys.items():
            with self.subTest(container=name):
                shown = run("ffprobe", "-v", "error", "-show_entries", "format_tags:stream_tags",
                            paths[name])
                self.assertIn(f"TAG:{key}={TEXT}", shown.splitlines())


if __name__ == "__main__":
    unittest.main()
