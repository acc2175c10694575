"""The commands cover and show: images in, images out, and the messages about them."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import mutagen.flac
import mutagen.id3
import mutagen.mp4

BIN = Path(os.environ["TAGWRITER_BIN"])
DATA = Path(os.environ["TAGWRITER_DATA"])

IMAGES = {"image/png": "cover_red.png", "image/jpeg": "cover_blue.jpg", "image/tiff": "cover.tiff",
          "image/gif": "cover.gif", "image/bmp": "cover.bmp"}


def tagwriter(*arguments):
    command = [BIN / "tagwriter", *map(os.fspath, arguments)]
    return subprocess.run(command, capture_output=True, text=True, timeout=120)


def pictures(mp3):
    """The pictures of an MP3 file."""
    try:
        tags = mutagen.id3.ID3(mp3)
    except mutagen.id3.ID3NoHeaderError:
        return []
    return [(int(frame.type), frame.mime, frame.data) for frame in tags.getall("APIC")]


class CommandTest(unittest.TestCase):

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="tagwriter-cover-")
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)
        self.png = DATA / "cover_red.png"

    def copy(self, name, as_name=None):
        return Path(shutil.copy(DATA / name, self.directory / (as_name or name)))

    def image(self, name, contents):
        path = self.directory / name
        path.write_bytes(contents)
        return path

    def assert_done(self, run):
        self.assertEqual((run.returncode, run.stderr), (0, ""))

    def assert_failed(self, run, *words):
        """One line of error with these words, and no more."""
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertEqual(len(run.stderr.splitlines()), 1, run.stderr)
        for word in words:
            self.assertIn(os.fspath(word), run.stderr)

    def assert_usage_error(self, run, word):
        self.assertEqual(run.returncode, 2, run.stderr)
        self.assertIn(word, run.stderr)


class StoreTest(CommandTest):

    def test_stores_an_image_in_several_files(self):
        mp3, flac = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        self.assert_done(tagwriter("cover", self.png, mp3, flac))
        image = self.png.read_bytes()
        self.assertEqual(pictures(mp3), [(3, "image/png", image)])
        found = mutagen.flac.FLAC(flac).pictures
        self.assertEqual([(p.type, p.mime, p.data) for p in found], [(3, "image/png", image)])

    def test_finds_the_type_in_the_first_bytes(self):
        for mime, name in IMAGES.items():
            with self.subTest(image=name):
                contents = (DATA / name).read_bytes()
                mp3 = self.copy("mp3_plain.mp3")
                self.assert_done(tagwriter("cover", self.image("image.jpg", contents), mp3))
                self.assertEqual(pictures(mp3), [(3, mime, contents)])

    def test_takes_the_type_from_the_user(self):
        text = self.image("image.png", b"no image")
        for kind, mime in (("png", "image/png"), ("jpeg", "image/jpeg"), ("tiff", "image/tiff"),
                           ("gif", "image/gif"), ("bmp", "image/bmp")):
            mp3 = self.copy("mp3_plain.mp3")
            self.assert_done(tagwriter("cover", "--type", kind, text, mp3))
            self.assertEqual(pictures(mp3), [(3, mime, b"no image")])
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_done(tagwriter("cover", self.png, mp3, "--type=gif"))
        self.assertEqual(pictures(mp3), [(3, "image/gif", self.png.read_bytes())])

    def test_refuses_an_image_of_unknown_type(self):
        mp3 = self.copy("mp3_plain.mp3")
        for contents in (b"no image", b"\x89PNG", b"\0"):
            image = self.image("image.png", contents)
            self.assert_failed(tagwriter("cover", image, mp3), image, "--type", "PNG", "BMP")
            self.assertEqual(mp3.read_bytes(), (DATA / "mp3_plain.mp3").read_bytes())

    def test_refuses_an_image_that_is_missing_or_empty(self):
        mp3 = self.copy("mp3_plain.mp3")
        for image in (self.directory / "missing.png", self.image("empty.png", b"")):
            for options in ((), ("--type", "png"), ("--replace",)):
                self.assert_failed(tagwriter("cover", *options, image, mp3), image)
        self.assertEqual(mp3.read_bytes(), (DATA / "mp3_plain.mp3").read_bytes())

    def test_refuses_a_directory_for_an_image(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_failed(tagwriter("cover", self.directory, mp3), self.directory)
        self.assertEqual(mp3.read_bytes(), (DATA / "mp3_plain.mp3").read_bytes())

    def test_keeps_what_is_there_in_every_format(self):
        for name in ("mp3_plain.mp3", "vorbis_plain.ogg", "ape_plain.ape", "m4a_plain.m4a"):
            with self.subTest(name=name):
                path = self.copy(name)
                self.assert_done(tagwriter("cover", self.png, path))
                before = path.read_bytes()
                self.assert_failed(tagwriter("cover", DATA / "cover.gif", path), path, "picture")
                self.assertEqual(path.read_bytes(), before)

    def test_replaces_on_request(self):
        mp3 = self.copy("mp3_id3v23.mp3")
        self.assertEqual(len(pictures(mp3)), 2)
        self.assert_done(tagwriter("cover", "--replace", DATA / "cover.gif", mp3))
        self.assertEqual(pictures(mp3), [(3, "image/gif", (DATA / "cover.gif").read_bytes())])

    def test_goes_on_after_a_file_that_fails(self):
        missing, vgm = self.directory / "missing.mp3", self.copy("vgm.vgm")
        mp3, kept, m4a = (self.copy(name) for name in
                          ("mp3_plain.mp3", "flac_pictures.flac", "m4a_plain.m4a"))
        run = tagwriter("cover", self.png, missing, mp3, vgm, kept, m4a)
        self.assertEqual(run.returncode, 1)
        self.assertEqual([line.partition(":")[0] for line in run.stderr.splitlines()],
                         [*map(os.fspath, (missing, vgm, kept)), "tagwriter"])
        self.assertEqual(pictures(mp3), [(3, "image/png", self.png.read_bytes())])
        self.assertEqual(mutagen.mp4.MP4(m4a)["covr"], [self.png.read_bytes()])
        for path in (vgm, kept):
            self.assertEqual(path.read_bytes(), (DATA / path.name).read_bytes())

    def test_takes_a_big_image(self):
        contents = self.png.read_bytes() + os.urandom(20 << 20)
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_done(tagwriter("cover", self.image("big.png", contents), mp3))
        self.assertEqual(pictures(mp3), [(3, "image/png", contents)])

    def test_refuses_an_image_that_fits_no_request(self):
        image = self.directory / "huge.png"
        image.write_bytes(self.png.read_bytes())
        os.truncate(image, 65 << 20)
        mp3, again = self.copy("mp3_plain.mp3"), self.copy("mp3_plain.mp3", "again.mp3")
        run = tagwriter("cover", image, mp3, again)
        self.assertEqual(run.returncode, 1)
        self.assertEqual([line.partition(":")[0] for line in run.stderr.splitlines()],
                         [os.fspath(mp3), os.fspath(again), "tagwriter"])
        for path in (mp3, again):
            self.assertEqual(path.read_bytes(), (DATA / "mp3_plain.mp3").read_bytes())


class ClearTest(CommandTest):

    def test_clears_several_files(self):
        mp3, m4a, flac = (self.copy(name) for name in
                          ("mp3_id3v23.mp3", "m4a_tagged.m4a", "flac_pictures.flac"))
        self.assert_done(tagwriter("cover", "--clear", mp3, m4a, flac))
        self.assertEqual(pictures(mp3), [])
        self.assertEqual(mutagen.mp4.MP4(m4a).get("covr", []), [])
        self.assertEqual(mutagen.flac.FLAC(flac).pictures, [])
        self.assertEqual(str(mutagen.id3.ID3(mp3)["TIT2"]), "Rising Tone")

    def test_goes_on_after_a_file_without_pictures(self):
        flac, mp3 = self.copy("flac_plain.flac"), self.copy("mp3_id3v23.mp3")
        self.assert_failed(tagwriter("cover", "--clear", "-q", flac, mp3), flac)
        self.assertEqual(pictures(mp3), [])
        self.assertEqual(flac.read_bytes(), (DATA / "flac_plain.flac").read_bytes())


class UsageTest(CommandTest):

    def test_usage_errors_do_nothing(self):
        mp3 = self.copy("mp3_id3v23.mp3")
        for arguments, word in (
                (["cover"], "FILE"),
                (["cover", self.png], "FILE"),
                (["cover", "--replace", self.png], "FILE"),
                (["cover", "--clear"], "FILE"),
                (["cover", "--clear", "--replace", mp3], "--clear"),
                (["cover", "--clear", "--type", "png", mp3], "--clear"),
                (["cover", "--type", "webp", self.png, mp3], "--type"),
                (["cover", "--type", "", self.png, mp3], "--type"),
                (["cover", "--type", "1", self.png, mp3], "--type"),
                (["cover", self.png, mp3, "--type"], "--type"),
                (["cover", "--remove", mp3], "--remove")):
            with self.subTest(arguments=arguments):
                self.assert_usage_error(tagwriter(*arguments), word)
        self.assertEqual(mp3.read_bytes(), (DATA / "mp3_id3v23.mp3").read_bytes())

    def test_help_shows_both_uses(self):
        run = tagwriter("cover", "--help")
        self.assert_done(run)
        self.assertIn("tagwriter cover [--replace] [--type TYPE] IMAGE FILE...", run.stdout)
        self.assertIn("tagwriter cover --clear FILE...", run.stdout)


class ShowTest(CommandTest):

    def picture_lines(self, *paths):
        run = tagwriter("show", *paths)
        self.assert_done(run)
        return [line for line in run.stdout.splitlines() if line.startswith("  picture:")]

    def test_names_type_dimensions_and_size(self):
        for mime, name in IMAGES.items():
            mp3 = self.copy("mp3_plain.mp3")
            self.assert_done(tagwriter("cover", DATA / name, mp3))
            size = (DATA / name).stat().st_size
            dimensions = "" if mime == "image/tiff" else " 8x8,"
            self.assertEqual(self.picture_lines(mp3),
                             [f"  picture: Front Cover, {mime},{dimensions} {size} bytes"])

    def test_shows_every_picture(self):
        self.assertEqual(self.picture_lines(DATA / "mp3_id3v23.mp3"),
                         ["  picture: Back Cover, image/png, 8x8, 94 bytes",
                          "  picture: Front Cover, image/png, 8x8, 96 bytes"])
        self.assertEqual(self.picture_lines(DATA / "m4a_tagged.m4a"),
                         ["  picture: Cover, image/png, 8x8, 96 bytes",
                          "  picture: Cover, image/jpeg, 8x8, 207 bytes"])

    def test_shows_an_unknown_format(self):
        m4a = self.copy("m4a_plain.m4a")
        self.assert_done(tagwriter("cover", "--type", "tiff", self.image("i", b"no image"), m4a))
        self.assertEqual(self.picture_lines(m4a), ["  picture: Cover, unknown format, 8 bytes"])

    def test_shows_no_picture_where_there_is_none(self):
        self.assertEqual(self.picture_lines(DATA / "mp3_plain.mp3", DATA / "flac_comment.flac"), [])


if __name__ == "__main__":
    unittest.main()
