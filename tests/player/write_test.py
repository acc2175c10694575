"""The five core fields, written through the real service and read back with other software.

Every edit here must give what mutagen and metaflac then read, and must leave every decoded sample
as it was.
"""

import os
import unittest

import mutagen.flac
import mutagen.id3

from player import DEADLINE, Player, change, dictionary, number, text
from support import PlayerTest, contents, run, samples

VALUES = {
    "title": text("Straße nach Ōsaka 🎵"),
    "artist": text("Žluťoučký kůň"),
    "album": text("  Two spaces, a / and a ; "),
    "genre": text("Musique concrète"),
    "year": number(2024),
}
MP3_FRAMES = {"title": "TIT2", "artist": "TPE1", "album": "TALB", "genre": "TCON", "year": "TDRC"}
FLAC_FIELDS = {"title": "TITLE", "artist": "ARTIST", "album": "ALBUM", "genre": "GENRE",
               "year": "DATE"}


def mp3_values(path):
    """The five fields of an MP3 file, by their keys."""
    tags = mutagen.id3.ID3(path)
    return {key: [str(value) for value in tags[frame].text]
            for key, frame in MP3_FRAMES.items() if frame in tags}


def flac_values(path):
    """The five fields of a FLAC file, by their keys."""
    tags = mutagen.flac.FLAC(path).tags or {}
    return {key: tags[name] for key, name in FLAC_FIELDS.items() if name in tags}


def metaflac_values(path):
    """The same, read with metaflac."""
    found = {key: run("metaflac", "--no-utf8-convert", f"--show-tag={name}", path).splitlines()
             for key, name in FLAC_FIELDS.items()}
    return {key: [line.partition("=")[2] for line in lines]
            for key, lines in found.items() if lines}


class CoreFields(PlayerTest):

    def check_all_fields(self, name, readers):
        """Changes one field after the other in one file: each one, and only that one, changes."""
        path = self.copy(name)
        expected = readers[0](path)
        audio = samples(path)
        for field, value in VALUES.items():
            with self.subTest(file=name, field=field):
                self.assertNotEqual(expected.get(field), [str(value.unpack())])
                self.assertTrue(self.write_field(field, value, path))
                expected[field] = [str(value.unpack())]
                for reader in readers:
                    self.assertEqual(reader(path), expected, reader.__name__)
                self.assertEqual(samples(path), audio)

    def test_mp3(self):
        self.check_all_fields("mp3_id3v23.mp3", [mp3_values])

    def test_flac(self):
        for name in ("flac_plain.flac", "flac_comment.flac", "flac_pictures.flac"):
            self.check_all_fields(name, [flac_values, metaflac_values])

    def test_mp3_without_a_tag(self):
        path = self.copy("mp3_plain.mp3")
        audio = samples(path)
        self.assertTrue(self.write_field("album", VALUES["album"], path))
        self.assertEqual(mp3_values(path), {"album": [VALUES["album"].get_string()]})
        self.assertEqual(samples(path), audio)

    def test_only_the_changed_field_is_read(self):
        path = self.copy("flac_plain.flac")
        request = change("artist", VALUES["artist"], path)
        request["track"] = dictionary(VALUES)
        self.assertTrue(self.result(self.write(request, path)))
        self.assertEqual(flac_values(path), {"artist": [VALUES["artist"].get_string()]})

    def test_absent_value_clears(self):
        for name, reader in (("mp3_id3v23.mp3", mp3_values), ("flac_comment.flac", flac_values)):
            for field in VALUES:
                with self.subTest(file=name, field=field):
                    path = self.copy(name)
                    self.assertTrue(self.write_field(field, VALUES[field], path))
                    expected = reader(path)
                    self.assertIn(field, expected)
                    audio = samples(path)
                    self.assertTrue(self.write_field(field, None, path))
                    del expected[field]
                    self.assertEqual(reader(path), expected)
                    self.assertEqual(samples(path), audio)

    def test_empty_string_clears(self):
        path = self.copy("flac_plain.flac")
        self.assertTrue(self.write_field("title", VALUES["title"], path))
        self.assertIn("title", flac_values(path))
        self.assertTrue(self.write_field("title", text(""), path))
        self.assertNotIn("title", flac_values(path))

    def test_long_value(self):
        path = self.copy("flac_plain.flac")
        audio = samples(path)
        self.assertTrue(self.write_field("title", text("ä" * 100_000), path))
        self.assertEqual(flac_values(path), {"title": ["ä" * 100_000]})
        self.assertEqual(samples(path), audio)

    def test_year_zero_clears(self):
        for name, reader in (("mp3_id3v23.mp3", mp3_values), ("flac_comment.flac", flac_values)):
            with self.subTest(file=name):
                path = self.copy(name)
                self.assertTrue(self.write_field("year", number(1999), path))
                self.assertEqual(reader(path)["year"], ["1999"])
                self.assertTrue(self.write_field("year", number(0), path))
                self.assertNotIn("year", reader(path))

    def test_year_keeps_its_low_32_bits(self):
        for name, reader in (("mp3_plain.mp3", mp3_values), ("flac_plain.flac", flac_values)):
            for value, low in ((2**32 + 2024, 2024), (-2**63 + 1987, 1987), (-1, 2**32 - 1)):
                with self.subTest(file=name, year=value):
                    path = self.copy(name)
                    twin = self.copy(name, "twin-" + name)
                    self.assertTrue(self.write_field("year", number(value), path))
                    self.assertTrue(self.write_field("year", number(low), twin))
                    self.assertEqual(contents(path), contents(twin))
                    self.assertIn("year", reader(path))
                    if low < 2**31:  # the library writes larger ones with a sign
                        self.assertEqual(reader(path)["year"], [str(low)])

    def test_year_whose_low_32_bits_are_zero_clears(self):
        path = self.copy("flac_plain.flac")
        self.assertTrue(self.write_field("year", number(1999), path))
        self.assertTrue(self.write_field("year", number(2**32), path))
        self.assertEqual(flac_values(path), {})


class TheFile(PlayerTest):

    def test_found_by_content_under_an_unknown_extension(self):
        path = self.copy("mp3_id3v23.mp3", "song.xyz")
        self.assertTrue(self.write_field("title", VALUES["title"], path))
        self.assertEqual(mp3_values(path)["title"], [VALUES["title"].get_string()])

    def test_offset_of_the_descriptor_does_not_matter(self):
        paths = [self.copy("mp3_id3v23.mp3", name) for name in ("start.mp3", "end.mp3")]
        for path, offset in zip(paths, (0, os.path.getsize(paths[1]))):
            with open(path, "rb+") as file:
                file.seek(offset)
                self.assertTrue(self.result(self.player.write(
                    change("title", VALUES["title"], path), [file])))
        self.assertEqual(contents(paths[0]), contents(paths[1]))

    def test_descriptor_for_reading_only(self):
        path = self.copy("flac_plain.flac")
        before = contents(path)
        with open(path, "rb") as file:
            reply = self.player.write(change("title", VALUES["title"], path), [file])
        self.assertFalse(self.result(reply))
        self.assertEqual(contents(path), before)
        self.player.ping()
        self.assertEqual(self.service.descriptors_of(path), 0)

    def test_unreadable_file_is_logged(self):
        for field in VALUES:
            path = self.copy("vgm.vgm")
            before = contents(path)
            self.assertFalse(self.write_field(field, VALUES[field], path))
            self.assertEqual(contents(path), before)
            self.assertIn(f"Failed to write {field} tag to file. "
                          f"TagLib could not read the file at {path}\n", self.service.log())

    def test_what_is_no_audio_file(self):
        for name, flags in ((os.devnull, os.O_RDWR), (self.directory, os.O_RDONLY)):
            with self.subTest(name=name):
                fd = os.open(name, flags)
                self.addCleanup(os.close, fd)
                reply = self.player.write(change("title", VALUES["title"], "a.vgm"), [fd])
                self.assertFalse(self.result(reply))
        self.assert_still_answers()


class ManyRequests(PlayerTest):

    def test_requests_in_a_row_leave_no_descriptor(self):
        path = self.copy("mp3_id3v23.mp3")
        self.write_field("title", text("first"), path)
        self.player.ping()
        before = sorted(self.service.descriptors())
        for index in range(20):
            self.assertTrue(self.write_field("title", text(f"title {index}"), path))
        self.player.ping()
        self.assertEqual(mp3_values(path)["title"], ["title 19"])
        self.assertEqual(self.service.descriptors_of(path), 0)
        self.assertEqual(sorted(self.service.descriptors()), before)

    def test_requests_sent_at_once_are_all_answered(self):
        paths = [self.copy("flac_plain.flac", f"{index}.flac") for index in range(8)]
        files = [open(path, "rb+") for path in paths]
        futures = [self.player.write_later(change("title", text(path), path), [file])
                   for path, file in zip(paths, files)]
        for path, file, future in zip(paths, files, futures):
            self.assertEqual(future.result(DEADLINE).unpack(), ({"path": path, "result": True},))
            file.close()
            self.assertEqual(flac_values(path), {"title": [path]})

    def test_two_services_at_once(self):
        path = self.copy("flac_plain.flac")
        with Player() as other, open(path, "rb+") as file:
            self.assertTrue(self.result(other.write(change("title", text("a"), path), [file])))
            self.assertTrue(self.write_field("artist", text("b"), path))
            self.assertEqual(other.hang_up(), 0)
        self.assertEqual(flac_values(path), {"title": ["a"], "artist": ["b"]})


if __name__ == "__main__":
    unittest.main()
