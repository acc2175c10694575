"""Which value of a request is read, and as what."""

import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

from edits import (  # noqa: E402
    EditTest, GLib, change, contents, data, dictionary, number, tag_contents, text)
from expectations import FIELDS, UTF8  # noqa: E402

MP3 = "mp3_id3v23.mp3"


class Dispatch(EditTest):

    def change(self, field, values, name=MP3):
        """Sends a request for a fresh file and returns the result and what is then in the file."""
        path = self.file(name)
        request = change(field, None, path)
        request["track"] = dictionary(values)
        return self.send(request, path), tag_contents(path)

    def test_unknown_keys_do_nothing(self):
        everything = {"title": text("T"), "disc": number(2), "totalNumberOfDiscs": number(3)}
        keys = [key.upper() for key in FIELDS] + [key[0].upper() + key[1:] for key in FIELDS]
        for key in ("", "title ", "albumartist", "totalNumberOfDiscs", *keys):
            with self.subTest(key=key):
                path = self.file(MP3)
                request = change(key, None, path)
                request["track"] = dictionary({key: text("T"), **everything})
                self.assert_untouched(path, contents(data(MP3)), lambda: self.send(request, path))

    def test_a_request_without_a_changed_key_does_nothing(self):
        path = self.file(MP3)
        request = change("title", text("T"), path)
        del request["changedtag"]
        self.assert_untouched(path, contents(data(MP3)), lambda: self.send(request, path))

    def test_only_the_changed_field_is_read(self):
        before = tag_contents(data(MP3))
        result, found = self.change("composer", {"composer": text("C"), "title": text("T")})
        self.assertTrue(result)
        self.assertEqual(found["ID3v2 TIT2"], before["ID3v2 TIT2"])
        self.assertEqual(found["ID3v2 TCOM"], [(UTF8, "C")])
        result, found = self.change("title", {"artist": text("A")})
        self.assertTrue(result)
        self.assertNotIn("ID3v2 TIT2", found)
        self.assertEqual(found["ID3v2 TPE1"], before["ID3v2 TPE1"])

    def test_a_disc_without_the_number_of_discs(self):
        result, found = self.change("disc", {"disc": number(2)})
        self.assertTrue(result)
        self.assertEqual(found["ID3v2 TPOS"], [(UTF8, "2")])

    def test_values_of_other_types_count_as_absent(self):
        real, flag = GLib.Variant("d", 120.0), GLib.Variant("b", True)
        for field, value, name in (
                ("composer", number(7), "TCOM"), ("bpm", real, "TBPM"), ("year", text("7"), "TDRC"),
                ("compilation", text("1"), "TCMP"), ("compilation", number(1), "TCMP"),
                ("lyrics", flag, "USLT")):
            with self.subTest(field=field, value=value):
                result, found = self.change(field, {field: value})
                self.assertTrue(result)
                self.assertNotIn("ID3v2 " + name, found)
        for field, value, name, zero in (
                ("disc", flag, "ID3v2 TPOS", (UTF8, "0")),
                ("trackNumber", text("4"), "ID3v2 TRCK", (UTF8, "0/10")),
                ("rating", text("5"), "ID3v2 POPM", b"no@email\0\0" + bytes(4))):
            result, found = self.change(field, {field: value})
            self.assertTrue(result)
            self.assertEqual(found[name], [zero])


if __name__ == "__main__":
    unittest.main()
