"""Artwork through the real service, read back with other software.

What goes in has to come out of mutagen, metaflac and ffmpeg byte for byte, and every decoded sample
has to stay as it was.
"""

import base64
import os
import unittest

import mutagen.flac

from artwork_support import (DATA, FORMATS, GIF, IMAGES, JPEG, MIME_TYPES, PNG, ArtworkTest,
                             contents, ffmpeg_picture, flac_pictures, id3_expected, run, samples)


def comment_lines(path):
    """The fields of a FLAC file, in no order."""
    return sorted(run("metaflac", "--no-utf8-convert", "--export-tags-to=-", path).splitlines())


def without_positions(blocks):
    """What metaflac lists, without the numbers of the blocks and the mark of the last one."""
    return [line for line in blocks.splitlines()
            if not line.startswith(("METADATA block", "  is last:"))]


class ReadBack(ArtworkTest):

    def test_every_format(self):
        for name, (pictures, expected, ffmpeg_finds_it) in FORMATS.items():
            path = self.copy(name)
            audio = samples(path)
            self.assertEqual(pictures(path), [])
            for kind in (PNG, JPEG):
                with self.subTest(file=name, type=kind):
                    image = IMAGES[kind]
                    self.assertTrue(self.write_artwork(path, image, kind, replace=True))
                    self.assertEqual(pictures(path), [expected(kind, image)])
                    self.assertEqual(ffmpeg_picture(path), image if ffmpeg_finds_it else None)
                    self.assertEqual(samples(path), audio)
            with self.subTest(file=name):
                self.assertTrue(self.clear_artwork(path))
                self.assertEqual(pictures(path), [])
                self.assertIsNone(ffmpeg_picture(path))
                self.assertEqual(samples(path), audio)

    def test_every_type(self):
        for name, (pictures, expected, _) in FORMATS.items():
            path = self.copy(name)
            for kind in (*IMAGES, 0, 6, 9, -1, 2**40, -2**63, 2**63 - 1):
                with self.subTest(file=name, type=kind):
                    image = IMAGES.get(kind, b"an image of another kind")
                    self.assertTrue(self.write_artwork(path, image, kind, replace=True))
                    self.assertEqual(pictures(path), [expected(kind, image)])

    def test_big_images(self):
        for size in (100_000, 5_000_000):
            image = IMAGES[PNG] + os.urandom(size)
            for name, (pictures, expected, _) in FORMATS.items():
                with self.subTest(file=name, size=size):
                    path = self.copy(name)
                    self.assertTrue(self.write_artwork(path, image, PNG))
                    self.assertEqual(pictures(path), [expected(PNG, image)])
                    if size == 100_000:
                        self.assertEqual(samples(path), samples(os.path.join(DATA, name)))

    def test_metaflac(self):
        for name in ("flac_plain.flac", "flac_comment.flac", "flac_pictures.flac"):
            path = self.copy(name)
            blocks = run("metaflac", "--list", "--except-block-type=PICTURE,PADDING,VORBIS_COMMENT",
                         path)
            fields = comment_lines(path)
            for kind, image in IMAGES.items():
                with self.subTest(file=name, type=kind):
                    self.assertTrue(self.write_artwork(path, image, kind, replace=True))
                    exported = os.path.join(self.directory, "exported")
                    run("metaflac", f"--export-picture-to={exported}", path)
                    self.assertEqual(contents(exported), image)
                    block = run("metaflac", "--list", "--block-type=PICTURE", path)
                    self.assertEqual(block.count("METADATA block"), 1)
                    self.assertIn("type: 3 (Cover (front))", block)
                    self.assertIn(f"MIME type: {MIME_TYPES[kind]}\n", block)
                    run("flac", "--silent", "--test", path)
            self.assertTrue(self.clear_artwork(path))
            self.assertEqual(run("metaflac", "--list", "--block-type=PICTURE", path), "")
            self.assertEqual(comment_lines(path), fields)
            self.assertEqual(
                without_positions(run("metaflac", "--list",
                                      "--except-block-type=PICTURE,PADDING,VORBIS_COMMENT", path)),
                without_positions(blocks))

    def test_ogg_flac_stays_playable_with_its_own_tool(self):
        path = self.copy("flac.oga")
        self.assertTrue(self.write_artwork(path, IMAGES[PNG], PNG))
        run("flac", "--silent", "--test", path)
        self.assertTrue(self.clear_artwork(path))
        run("flac", "--silent", "--test", path)

    def test_vorbiscomment(self):
        path = self.copy("vorbis_tagged.ogg")
        self.assertTrue(self.write_artwork(path, IMAGES[JPEG], JPEG, replace=True))
        fields = [line.partition("=") for line in run("vorbiscomment", "-R", path).splitlines()]
        pictures = [mutagen.flac.Picture(base64.b64decode(value))
                    for name, _, value in fields if name.upper() == "METADATA_BLOCK_PICTURE"]
        self.assertEqual(flac_pictures(pictures), [id3_expected(JPEG, IMAGES[JPEG])])

    def test_kept_picture(self):
        for name, saved in (("mp3_id3v23.mp3", False), ("m4a_tagged.m4a", False),
                            ("flac_pictures.flac", False), ("wma_tagged.wma", False),
                            ("dsf_tagged.dsf", False), ("vorbis_tagged.ogg", True),
                            ("opus_tagged.opus", True)):
            for replace in (None, False):
                with self.subTest(file=name, replace=replace):
                    path = self.copy(name)
                    before = contents(path)
                    self.assertEqual(self.write_artwork(path, IMAGES[GIF], GIF, replace), saved)
                    if saved:
                        self.assertNotEqual(contents(path), before)
                        self.assertEqual(ffmpeg_picture(path), IMAGES[PNG])
                    else:
                        self.assertEqual(contents(path), before)


if __name__ == "__main__":
    unittest.main()
