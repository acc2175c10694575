"""Which of the things that a request asks for is done, and what a value of another type means."""

import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

from edits import (  # noqa: E402
    EditTest, GLib, contents, data, dictionary, number, raw_bytes, tag_contents, text)
from expectations import LATIN1  # noqa: E402

MP3 = "mp3_id3v23.mp3"
PNG = 1

YES, NO = GLib.Variant("b", True), GLib.Variant("b", False)
TITLE = {"changedtag": text("title"), "track": dictionary({"title": text("New")})}
CLEAR, REPLACE = {"clearartwork": YES}, {"replaceartwork": YES}
IMAGE = {"artwork": raw_bytes(b"image")}
OLD = [frame[-1] for frame in tag_contents(data(MP3))["ID3v2 APIC"]]


class Precedence(EditTest):

    def expect(self, result, pictures, title, **values):
        """Sends a request for a file with two pictures, and checks the file."""
        path = self.file(MP3)
        request = {"fd": GLib.Variant("h", 0), "path": text(path), **values}
        self.assertEqual(self.send(request, path), result)
        found = tag_contents(path)
        self.assertEqual([frame[-1] for frame in found.get("ID3v2 APIC", [])], pictures)
        self.assertEqual(found["ID3v2 TIT2"][0][1], title)

    def test_artwork_comes_first(self):
        self.expect(True, [b"image"], "Rising Tone", **IMAGE, **REPLACE, **CLEAR, **TITLE)
        self.expect(False, OLD, "Rising Tone", **IMAGE, **CLEAR, **TITLE)
        empty = {"artwork": raw_bytes(b"")}
        self.expect(True, [b""], "Rising Tone", **empty, **REPLACE, **CLEAR, **TITLE)

    def test_clear_comes_before_the_track(self):
        self.expect(True, [], "Rising Tone", **CLEAR, **TITLE)
        self.expect(True, OLD, "New", clearartwork=NO, **TITLE)

    def test_values_of_other_types_are_none(self):
        for value in (text("image"), YES, number(7), dictionary({}), GLib.Variant("as", ["image"])):
            self.expect(True, [], "Rising Tone", artwork=value, **CLEAR, **TITLE)
            self.expect(True, OLD, "New", artwork=value, **TITLE)
        others = (text("true"), number(1), GLib.Variant("d", 1.0), GLib.Variant("t", 1),
                  GLib.Variant("i", 1), raw_bytes(b"\1"))
        for value in others:
            self.expect(True, OLD, "New", clearartwork=value, **TITLE)
            self.expect(False, OLD, "Rising Tone", clearartwork=value, track=dictionary({}))
            self.expect(False, OLD, "Rising Tone", replaceartwork=value, **IMAGE)

    def test_a_type_that_is_absent_or_of_another_type_is_0(self):
        for value in (None, text("1"), GLib.Variant("d", 1.0), YES):
            path = self.file("mp3_plain.mp3")
            kind = {} if value is None else {"artworktype": value}
            request = {"fd": GLib.Variant("h", 0), "path": text(path), **IMAGE, **kind}
            self.assertTrue(self.send(request, path))
            self.assertEqual(tag_contents(path)["ID3v2 APIC"], [(LATIN1, "", 3, "", b"image")])

    def test_artwork_without_a_path_is_refused(self):
        path = self.file(MP3)
        request = {"fd": GLib.Variant("h", 0), **IMAGE, **REPLACE, "artworktype": number(PNG)}
        self.assert_untouched(path, contents(data(MP3)), lambda: self.send(request, path))


if __name__ == "__main__":
    unittest.main()
