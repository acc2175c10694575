"""Which of the things that a request asks for is done, and what a value of another type means."""

import unittest

import mutagen.flac
import mutagen.id3

from artwork_support import (FORMATS, FRONT_COVER, IMAGES, PNG, ArtworkTest, GLib, contents,
                             dictionary, flac_pictures, number, raw_bytes, text)


class Precedence(ArtworkTest):

    TITLE = {"changedtag": text("title"), "track": dictionary({"title": text("New")})}

    def mp3(self, path):
        """The pictures and the title of an MP3 file."""
        tags = mutagen.id3.ID3(path)
        return [frame.data for frame in tags.getall("APIC")], str(tags["TIT2"])

    def do(self, **values):
        """Sends a request for a fresh file with two pictures. Returns the result and its mp3()."""
        path = self.copy("mp3_id3v23.mp3")
        result = self.result(self.write(self.request(path, **values), path))
        self.player.ping()
        return result, *self.mp3(path)

    def setUp(self):
        super().setUp()
        self.old, self.title = self.mp3(self.copy("mp3_id3v23.mp3"))
        self.assertEqual(len(self.old), 2)
        self.replace = {"replaceartwork": GLib.Variant("b", True)}
        self.clear = {"clearartwork": GLib.Variant("b", True)}

    def test_artwork_comes_first(self):
        self.assertEqual(self.do(artwork=raw_bytes(b"image"), **self.replace, **self.clear,
                                 **self.TITLE), (True, [b"image"], self.title))
        self.assertEqual(self.do(artwork=raw_bytes(b"image"), **self.clear, **self.TITLE),
                         (False, self.old, self.title))

    def test_clear_comes_before_the_track(self):
        self.assertEqual(self.do(**self.clear, **self.TITLE), (True, [], self.title))
        no = {"clearartwork": GLib.Variant("b", False)}
        self.assertEqual(self.do(**no, **self.TITLE), (True, self.old, "New"))

    def test_empty_data_is_artwork(self):
        self.assertEqual(self.do(artwork=raw_bytes(b""), artworktype=number(PNG), **self.replace,
                                 **self.clear, **self.TITLE), (True, [b""], self.title))

    def test_artwork_of_another_type_is_none(self):
        for value in (text("image"), GLib.Variant("b", True), number(7), dictionary({}),
                      GLib.Variant("as", ["image"])):
            with self.subTest(type=value.get_type_string()):
                self.assertEqual(self.do(artwork=value, **self.clear, **self.TITLE),
                                 (True, [], self.title))
                self.assertEqual(self.do(artwork=value, **self.TITLE), (True, self.old, "New"))

    def test_clear_of_another_type_is_none(self):
        for value in (text("true"), number(1), GLib.Variant("d", 1.0), GLib.Variant("t", 1),
                      GLib.Variant("i", 1), raw_bytes(b"\1")):
            with self.subTest(type=value.get_type_string()):
                self.assertEqual(self.do(clearartwork=value, **self.TITLE),
                                 (True, self.old, "New"))
                self.assertEqual(self.do(clearartwork=value), (False, self.old, self.title))

    def test_replace_of_another_type_keeps(self):
        for value in (text("true"), number(1), GLib.Variant("i", 1), raw_bytes(b"\1")):
            with self.subTest(type=value.get_type_string()):
                self.assertEqual(self.do(artwork=raw_bytes(b"image"), replaceartwork=value),
                                 (False, self.old, self.title))

    def test_type_that_is_absent_or_of_another_type_is_0(self):
        for values in ({}, {"artworktype": text("1")}, {"artworktype": GLib.Variant("t", 1)},
                       {"artworktype": GLib.Variant("i", 1)},
                       {"artworktype": GLib.Variant("d", 1.0)}):
            with self.subTest(values=values):
                path = self.copy("flac_plain.flac")
                request = self.request(path, artwork=raw_bytes(b"image"), **values)
                self.assertTrue(self.result(self.write(request, path)))
                self.assertEqual(flac_pictures(mutagen.flac.FLAC(path).pictures),
                                 [(FRONT_COVER, "", "", b"image")])

    def test_no_path(self):
        path = self.copy("mp3_id3v23.mp3")
        before = contents(path)
        request = self.request(path, artwork=raw_bytes(b"image"), **self.replace)
        del request["path"]
        reply = self.write(request, path)
        self.assertEqual(list(reply), ["result"])
        self.assertFalse(self.result(reply))
        self.assertEqual(contents(path), before)
        # Without a path a file is cleared as an MP3.
        request = self.request(path, **self.clear)
        del request["path"]
        self.assertTrue(self.result(self.write(request, path)))
        self.assertEqual(self.mp3(path), ([], self.title))
        self.player.ping()
        self.assertEqual(self.service.descriptors_of(path), 0)

    def test_no_descriptor_stays_open(self):
        for name in sorted(FORMATS) + ["vgm.vgm", "ac3.ac3", "au.au", "opus.oga"]:
            path = self.copy(name)
            self.write_artwork(path, IMAGES[PNG], PNG)
            self.write_artwork(path, IMAGES[PNG], PNG)
            self.clear_artwork(path)
            self.player.ping()
            self.assertEqual(self.service.descriptors_of(path), 0, name)

    def test_types_without_pictures(self):
        for name in ("vgm.vgm", "ac3.ac3", "au.au", "opus.oga", "speex.oga"):
            with self.subTest(file=name):
                path = self.copy(name)
                before = contents(path)
                self.assertFalse(self.write_artwork(path, IMAGES[PNG], PNG, True))
                self.assertFalse(self.clear_artwork(path))
                self.assertEqual(contents(path), before)


if __name__ == "__main__":
    unittest.main()
