"""Edits through one service that a whole class of tests shares, and a close look at the file after
each one."""

import os
import sys
import tempfile

_HERE = os.path.dirname(os.path.abspath(__file__))
sys.path += [_HERE, os.path.join(_HERE, "..", "player")]

from player import GLib, Player, change, dictionary, number, raw_bytes, text  # noqa: E402, F401
from support import DATA, SANITIZER_REPORTS, ScratchTest, contents, run  # noqa: E402
from tag_contents import tag_contents  # noqa: E402

LONG_AGO = 1_000_000_000


def variants(field, value):
    """The "track" dictionary in which a field has this value; None is an absent one."""
    if value is None:
        return {}
    if field == "disc":
        disc, total = value
        return {"disc": number(disc), "totalNumberOfDiscs": number(total)}
    kind = {bool: "b", int: "x", float: "d", str: "s"}[type(value)]
    return {field: GLib.Variant(kind, value)}


def data(name):
    return os.path.join(DATA, name)


def audio_digests(paths):
    """A digest of the decoded audio of each of the files: one ffmpeg for all."""
    with tempfile.TemporaryDirectory() as directory:
        digests = [os.path.join(directory, str(i)) for i in range(len(paths))]
        inputs = [flag for path in paths for flag in ("-i", path)]
        outputs = [flag for i, digest in enumerate(digests)
                   for flag in ("-map", f"{i}:a", "-f", "md5", digest)]
        run("ffmpeg", "-v", "quiet", *inputs, *outputs)
        result = [contents(digest) for digest in digests]
    if b"MD5=d41d8cd98f00b204e9800998ecf8427e\n" in result:
        raise AssertionError("a file without audio")
    return result


class EditTest(ScratchTest):
    """A test whose service logs nothing but what `said` has asked for, and keeps no descriptor."""

    maxDiff = 3000

    @classmethod
    def setUpClass(cls):
        cls.player = Player()
        cls.addClassCleanup(cls.player.close)
        cls.service = cls.player.service
        cls.log_seen = 0
        cls.descriptors = sorted(cls.service.descriptors())

    @classmethod
    def tearDownClass(cls):
        log = cls.service.log()
        if cls.player.hang_up() != 0 or any(report in log for report in SANITIZER_REPORTS):
            raise AssertionError(f"the service came to a bad end: {log}")

    def tearDown(self):
        self.player.ping()
        self.assertEqual(sorted(self.service.descriptors()), self.descriptors)
        self.assertEqual(self.said(), "")

    def said(self):
        """What the service has logged since this was last called."""
        log = self.service.log()
        new, type(self).log_seen = log[self.log_seen:], len(log)
        return new

    def file(self, name, new_name=None, *, data=None):
        """A scratch file with the content of a test file or these bytes; returns its path."""
        if data is None:
            return self.copy(name, new_name)
        path = os.path.join(self.directory, new_name or name)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def send(self, request, path, mode="rb+", offset=0):
        with open(path, mode) as file:
            file.seek(offset)
            reply = self.player.write(request, [file])
        return reply["result"].get_boolean()

    def edit(self, field, value, path, name=None, **how):
        """Changes a field of the file and returns the result. `name` is what the file is called."""
        request = change(field, None, name or path)
        request["track"] = dictionary(variants(field, value))
        return self.send(request, path, **how)

    def assert_edited(self, field, value, path):
        self.assertTrue(self.edit(field, value, path), (field, value))

    def write_cover(self, path, image, kind=None, replace=None, **how):
        """Writes a cover and returns the result."""
        request = {"fd": GLib.Variant("h", 0), "path": text(path), "artwork": raw_bytes(image)}
        if kind is not None:
            request["artworktype"] = number(kind)
        if replace is not None:
            request["replaceartwork"] = GLib.Variant("b", replace)
        return self.send(request, path, **how)

    def clear_covers(self, path, **how):
        """Removes the pictures and returns the result."""
        request = {"fd": GLib.Variant("h", 0), "path": text(path),
                   "clearartwork": GLib.Variant("b", True)}
        return self.send(request, path, **how)

    def assert_untouched(self, path, before, call):
        """The call returns false, and nobody writes to the file."""
        os.utime(path, (LONG_AGO, LONG_AGO))
        self.assertFalse(call())
        self.assertEqual(os.stat(path).st_mtime, LONG_AGO)
        self.assertEqual(contents(path) == before, True, "the file has changed")

    def assert_edit(self, path, call):
        """The call returns true, and somebody writes to the file only if that changes it."""
        before = contents(path)
        os.utime(path, (LONG_AGO, LONG_AGO))
        self.assertTrue(call())
        self.assertEqual(os.stat(path).st_mtime == LONG_AGO, contents(path) == before)

    def assert_contents(self, path, expected, extension=None):
        self.assertEqual(tag_contents(path, extension), expected)
