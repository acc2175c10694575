"""Saves that TagLib would do with damage: Ogg FLAC files, blocks beyond the sizes of FLAC, and
fragments of MP4 files."""

import io
import os
import struct
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

from mutagen._vorbis import VComment  # noqa: E402
from mutagen.ogg import OggPage  # noqa: E402

from edits import EditTest, audio_digests, contents, data, run, tag_contents  # noqa: E402

MAX_BLOCK = 2**24 - 1

# The first byte of a block's header (FLAC format, METADATA_BLOCK_HEADER).
LAST, PADDING, APPLICATION, COMMENT = 0x80, 1, 2, 4


def pages_of(stream):
    file, pages = io.BytesIO(stream), []
    while file.tell() < len(stream):
        pages.append(OggPage(file))
    return pages


def block(kind):
    return bytes([kind, 0, 0, 100]) + b"x" * 100


def comment_block(kind=COMMENT | LAST):
    """The comment of flac.oga, which is the last block there."""
    return bytes([kind]) + OggPage.to_packets(pages_of(contents(data("flac.oga"))))[1][1:]


def ogg_flac(*blocks):
    """flac.oga with these blocks behind the stream's header."""
    header, comment, *audio = pages_of(contents(data("flac.oga")))
    first = header.packets[0]  # signature, version, then the number of these packets
    header.packets = [first[:7] + struct.pack(">H", len(blocks)) + first[9:]]
    pages = [header, *OggPage.from_packets(list(blocks), 1), *audio]
    for number, page in enumerate(pages):
        page.sequence, page.serial = number, header.serial
    return b"".join(page.write() for page in pages)


def kinds(path, count):
    packets = OggPage.to_packets(pages_of(contents(path)))
    return [packet[0] for packet in packets[1:count + 1]]


class OggFlac(EditTest):

    def check(self, stream, *blocks):
        """The file takes edits of every kind; then its blocks are of these kinds."""
        path = self.file("a.oga", data=stream)
        for title in ("x" * 200_000, "y", "z" * 70_000):
            self.assert_edited("title", title, path)
            self.assert_edited("composer", "C", path)
            self.assert_edited("cueSheet", "S", path)
            self.assertTrue(self.write_cover(path, b"an image" * 9000, 1, True))
            self.assertEqual(kinds(path, len(blocks)), list(blocks))
            self.assertTrue(self.clear_covers(path))
            self.assertEqual(kinds(path, len(blocks)), list(blocks))
        index = blocks.index(next(kind for kind in blocks if kind & ~LAST == COMMENT))
        packet = OggPage.to_packets(pages_of(contents(path)))[1 + index]
        self.assertEqual(sorted(VComment(packet[4:], framing=False)),
                         [("ARTIST", "Zoë Müller"), ("COMPOSER", "C"), ("CUESHEET", "S"),
                          ("TITLE", title)])
        run("flac", "--silent", "--test", path)

    def test_the_mark_of_the_last_block_stays_on_the_comment(self):
        self.check(contents(data("flac.oga")), COMMENT | LAST)

    def test_the_mark_stays_on_another_block(self):
        self.check(ogg_flac(comment_block(COMMENT), block(PADDING | LAST)), COMMENT, PADDING | LAST)

    def test_a_comment_behind_other_blocks(self):
        self.check(ogg_flac(block(APPLICATION), block(PADDING), comment_block()),
                   APPLICATION, PADDING, COMMENT | LAST)

    def test_a_file_without_a_comment_is_refused(self):
        stream = ogg_flac(block(PADDING | LAST))
        path = self.file("a.oga", data=stream)
        for field in ("title", "composer", "cueSheet"):
            self.assert_untouched(path, stream, lambda: self.edit(field, "x", path))
        self.assert_untouched(path, stream, lambda: self.write_cover(path, b"an image", 1))
        self.assert_untouched(path, stream, lambda: self.clear_covers(path))


class BlockLimit(EditTest):
    """What does not fit into a metadata block of FLAC is refused, and the file left alone."""

    def test_of_a_text(self):
        for file in ("flac_plain.flac", "flac.oga"):
            path = self.file(file)
            for field in ("title", "composer"):
                self.assert_untouched(path, contents(data(file)),
                                      lambda: self.edit(field, "x" * MAX_BLOCK, path))

    def test_of_a_picture(self):
        for kind, mime in ((0, ""), (2, "image/jpeg")):
            longest = MAX_BLOCK - 8 * 4 - len(mime)  # eight numbers
            path = self.file("flac_pictures.flac")
            before = contents(path)
            self.assert_untouched(
                path, before, lambda: self.write_cover(path, bytes(longest + 1), kind, True))
            self.assertTrue(self.write_cover(path, b"i" * longest, kind, True))
            self.assertEqual(len(tag_contents(path)["FLAC block 6"][0]), MAX_BLOCK)

    def test_of_a_picture_in_a_comment(self):
        path = self.file("flac.oga")
        before = contents(path)
        self.assert_untouched(path, before, lambda: self.write_cover(path, bytes(12_600_000), 0))
        self.assertTrue(self.write_cover(path, bytes(12_400_000), 0))


class Fragments(EditTest):
    """The data of each fragment of an MP4 file is found when the boxes in front have grown."""

    def test_offsets_from_the_start_of_the_file(self):
        made = os.path.join(self.directory, "made.m4a")
        run("ffmpeg", "-v", "error", "-i", data("wav_plain.wav"), "-c:a", "aac", "-movflags",
            "frag_keyframe+empty_moov", "-frag_duration", "100000", made)
        self.assertGreater(contents(made).count(b"moof"), 2)
        path = self.file("a.m4a", data=contents(made))
        for text in ("x" * 200_000, "y", "z" * 70_000):
            for edit in (lambda: self.assert_edited("title", text, path),
                         lambda: self.assert_edited("composer", text, path),
                         lambda: self.assertTrue(self.write_cover(path, text.encode(), 1, True)),
                         lambda: self.assertTrue(self.clear_covers(path))):
                edit()
                self.assertEqual(*audio_digests([made, path]))


if __name__ == "__main__":
    unittest.main()
