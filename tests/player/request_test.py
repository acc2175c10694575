"""How the real service reads a request: the path and its echo, what makes a request fail, and what
is passed over.

A request that fails leaves the file as it was; whether the service keeps or closes the descriptor
is counted in /proc.
"""

import os
import unittest

import mutagen.flac
import mutagen.id3

from player import GLib, change, dictionary, number, raw_bytes, text
from support import PlayerTest, contents

# Values that are neither a string nor a dictionary.
WRONG_TYPES = [
    number(1), GLib.Variant("t", 1), GLib.Variant("i", 1), GLib.Variant("d", 1.5),
    GLib.Variant("b", True), GLib.Variant("o", "/a"), GLib.Variant("g", "s"),
    GLib.Variant("as", ["title"]), GLib.Variant("(s)", ["title"]),
    GLib.Variant("v", text("title")),
]


def title_of(path):
    """The title of a FLAC file or of any file with an ID3v2 tag, or None."""
    if path.endswith(".flac"):
        values = (mutagen.flac.FLAC(path).tags or {}).get("TITLE", [])
    else:
        values = mutagen.id3.ID3(path).getall("TIT2")
    return str(values[0]) if values else None


class RequestTest(PlayerTest):

    def setUp(self):
        super().setUp()
        self.path = self.copy("flac_comment.flac")
        self.before = contents(self.path)
        self.request = change("title", text("New"), self.path)

    def send(self, path=None):
        """Sends the request. Returns the reply's values when all the work is over."""
        reply = self.write(self.request, path or self.path)
        self.player.ping()
        return reply

    def assert_written(self):
        """The request does its work."""
        self.assertTrue(self.result(self.send()))
        self.assertEqual(title_of(self.path), "New")

    def assert_refused(self, descriptors_left=0):
        """The request gives false, leaves the file alone, and the service has so many descriptors
        of it open afterwards."""
        self.assertFalse(self.result(self.send()))
        self.assertEqual(contents(self.path), self.before)
        self.assertEqual(self.service.descriptors_of(self.path), descriptors_left)


class Path(RequestTest):

    def check_echo(self, path):
        """The reply is the path as it was sent and the result, nothing else."""
        if path is not None:
            self.request["path"] = path
        reply = self.send()
        self.assertEqual(set(reply), {"path", "result"})
        self.assertTrue(reply["path"].equal(self.request["path"]), reply["path"])
        return self.result(reply)

    def test_string_is_echoed(self):
        for path in ("/some/where/Ōsaka 🎵.flac", "plain.flac", " "):
            with self.subTest(path=path):
                self.assertTrue(self.check_echo(text(path)))

    def test_bytes_are_echoed_as_bytes(self):
        for path in (b"plain.flac", b"caf\xe9 \xff\xfe.flac", b"ends with NUL.flac\0",
                     b"a\0b.flac"):
            with self.subTest(path=path):
                self.assertTrue(self.check_echo(raw_bytes(path)))

    def test_empty_path_is_echoed(self):
        self.check_echo(text(""))
        self.check_echo(raw_bytes(b""))

    def test_is_echoed_when_the_request_fails(self):
        self.request["changedtag"] = text("nothing")
        self.assertFalse(self.check_echo(None))
        self.assertFalse(self.check_echo(raw_bytes(b"\xff")))
        del self.request["fd"]
        self.assertFalse(self.check_echo(None))

    def test_file_whose_name_is_not_utf8(self):
        path = os.path.join(os.fsencode(self.directory), b"caf\xe9.flac")
        os.rename(self.path, path)
        self.request["path"] = raw_bytes(path)
        self.assertTrue(self.result(self.send(path)))
        self.assertEqual(mutagen.flac.FLAC(path)["TITLE"], ["New"])

    def test_only_names_the_file(self):
        other = self.copy("flac_plain.flac")
        before = contents(other)
        self.request["path"] = text(other)
        self.assert_written()
        self.assertEqual(contents(other), before)

    def test_absent(self):
        path = self.copy("mp3_id3v23.mp3")
        del self.request["path"]
        reply = self.send(path)
        self.assertEqual(set(reply), {"result"})
        self.assertTrue(self.result(reply))
        self.assertEqual(title_of(path), "New")

    def test_of_a_wrong_type_is_absent(self):
        path = self.copy("mp3_id3v23.mp3")
        for value in WRONG_TYPES + [dictionary({}), GLib.Variant("h", 0)]:
            with self.subTest(type=value.get_type_string()):
                self.request["path"] = value
                self.assertEqual(set(self.send(path)), {"result"})


class Refused(RequestTest):

    def test_unknown_field(self):
        for field in ("Title", "TITLE", "title ", "totalNumberOfDiscs", "nothing", ""):
            with self.subTest(field=field):
                self.request["changedtag"] = text(field)
                self.request["track"] = dictionary({field: text("New"), "title": text("New")})
                self.assert_refused()

    def test_field_absent(self):
        del self.request["changedtag"]
        self.assert_refused()

    def test_field_of_a_wrong_type(self):
        for value in WRONG_TYPES + [raw_bytes(b"title"), dictionary({"title": text("title")})]:
            with self.subTest(type=value.get_type_string()):
                self.request["changedtag"] = value
                self.assert_refused()

    def test_track_absent(self):
        del self.request["track"]
        self.assert_refused(descriptors_left=1)
        self.assert_refused(descriptors_left=2)
        self.assert_still_answers()

    def test_track_of_a_wrong_type(self):
        values = WRONG_TYPES + [text("title"), raw_bytes(b"title"),
                                GLib.Variant("a{ss}", {"title": "New"}),
                                GLib.Variant("v", dictionary({"title": text("New")}))]
        for count, value in enumerate(values, start=1):
            with self.subTest(type=value.get_type_string()):
                self.request["track"] = value
                self.assert_refused(descriptors_left=count)

    def test_unknown_field_without_track(self):
        self.request["changedtag"] = text("nothing")
        del self.request["track"]
        self.assert_refused(descriptors_left=1)

    def test_descriptor_absent(self):
        del self.request["fd"]
        self.assert_refused()

    def test_descriptor_of_a_wrong_type(self):
        for value in WRONG_TYPES + [text("0"), raw_bytes(b"0"), dictionary({}),
                                    GLib.Variant("u", 0), GLib.Variant("ah", [0])]:
            with self.subTest(type=value.get_type_string()):
                self.request["fd"] = value
                self.assert_refused()

    def test_empty_request(self):
        reply = self.player.write({})
        self.assertEqual(set(reply), {"result"})
        self.assertFalse(self.result(reply))


class WrongTypesReadAsAbsent(RequestTest):

    def test_title(self):
        for value in WRONG_TYPES + [raw_bytes(b"New"), dictionary({"title": text("New")})]:
            with self.subTest(type=value.get_type_string()):
                path = self.copy("flac_comment.flac")
                self.assertIsNotNone(title_of(path))
                self.request["track"] = dictionary({"title": value})
                self.assertTrue(self.result(self.send(path)))
                self.assertIsNone(title_of(path))

    def test_year(self):
        self.request["changedtag"] = text("year")
        for value in [text("2024"), GLib.Variant("i", 2024), GLib.Variant("u", 2024),
                      GLib.Variant("t", 2024), GLib.Variant("d", 2024), GLib.Variant("q", 2024),
                      GLib.Variant("b", True), dictionary({"year": number(2024)})]:
            with self.subTest(type=value.get_type_string()):
                path = self.copy("flac_comment.flac")
                self.assertTrue(self.write_field("year", number(1999), path))
                self.assertEqual(mutagen.flac.FLAC(path)["DATE"], ["1999"])
                self.request["track"] = dictionary({"year": value})
                self.assertTrue(self.result(self.send(path)))
                self.assertNotIn("DATE", mutagen.flac.FLAC(path))


if __name__ == "__main__":
    unittest.main()
