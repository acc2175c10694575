"""Covers in every container: written where there is none, over one, over three, kept out, cleared.
What is stored is checked to the byte, and everything else in the file has to stay."""

import base64
import os
import struct
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

import mutagen  # noqa: E402
import mutagen.apev2  # noqa: E402
import mutagen.asf  # noqa: E402
import mutagen.flac  # noqa: E402
import mutagen.id3  # noqa: E402
import mutagen.mp4  # noqa: E402

from edits import EditTest, audio_digests, contents, data, run, tag_contents  # noqa: E402
from expectations import (  # noqa: E402
    ARTWORK_TYPES, CONTAINERS, LATIN1, family_of, mp4_data)
from saved_files import SAVED, saved  # noqa: E402

FRONT_COVER = 3
NO_TYPES = (0, 6, 9, -1, -3, 2**32 + 1, 2**40, -2**63, 2**63 - 1)
KINDS = [(row["type"], row) for row in ARTWORK_TYPES if row["type"]]
KINDS += [(number, ARTWORK_TYPES[-1]) for number in NO_TYPES]
PNG, GIF = 1, 4
IMAGE = contents(data("cover_red.png"))

FILES = {container["file"]: container for container in CONTAINERS["containers"]}
FLAC = ".flac"


def flac_picture(picture_type, mime, image, description=""):
    """A PICTURE block: type, MIME type, description, four numbers, image."""
    return b"".join((struct.pack(">I", picture_type),
                     *(struct.pack(">I", len(text)) + text
                       for text in (mime.encode(), description.encode())),
                     bytes(16), struct.pack(">I", len(image)), image))


def cover_name(file):
    """The name under which tag_contents shows a file's pictures."""
    if file.endswith(FLAC):
        return "FLAC block 6"
    return {"id3v2": "ID3v2 APIC", "mp4": "MP4 covr", "asf": "ASF WM/Picture",
            "xiph": "Xiph METADATA_BLOCK_PICTURE", "ape": "APE Cover Art (Front)"}[family_of(file)]


def cover(name, row, image):
    """What is stored under the name for an image of the type in this row of the table."""
    if name == "ID3v2 APIC":
        return (LATIN1, row["mime"], FRONT_COVER, "", image)
    if name == "MP4 covr":
        return mp4_data(row["mp4"], image)
    if name == "ASF WM/Picture":
        return (1, image)
    if name == "APE Cover Art (Front)":
        return ("binary", row["ape"].encode() + b"\0" + image)
    block = flac_picture(FRONT_COVER, row["mime"], image)
    return block if name == "FLAC block 6" else base64.b64encode(block).decode()


def add_pictures(path, count):
    """Puts pictures into a file as other software does: back cover, front cover, medium."""
    file = mutagen.File(path)
    if file.tags is None:
        file.add_tags()
    types = [4, FRONT_COVER, 6][:count]
    images = [b"old %d" % kind for kind in types]
    if isinstance(file.tags, mutagen.id3.ID3Tags):
        for kind, image in zip(types, images):
            file.tags.add(mutagen.id3.APIC(encoding=3, mime="image/png", type=kind,
                                           desc=f"{kind}", data=image))
    elif isinstance(file, mutagen.mp4.MP4):
        file["covr"] = [mutagen.mp4.MP4Cover(image) for image in images]
    elif isinstance(file, mutagen.asf.ASF):
        file["WM/Picture"] = [mutagen.asf.ASFByteArrayAttribute(image) for image in images]
    elif isinstance(file.tags, mutagen.apev2.APEv2):
        for kind, image in zip(types, images):
            key = {4: "Back", FRONT_COVER: "Front", 6: "Media"}[kind]
            file[f"Cover Art ({key})"] = mutagen.apev2.APEValue(b"x.png\0" + image, 1)
    elif isinstance(file, mutagen.flac.FLAC):
        for kind, image in zip(types, images):
            picture = mutagen.flac.Picture(flac_picture(kind, "image/png", image, "old"))
            file.add_picture(picture)
    else:
        file["METADATA_BLOCK_PICTURE"] = [
            base64.b64encode(flac_picture(kind, "image/png", image, "old")).decode()
            for kind, image in zip(types, images)]
    file.save()


class Matrix(EditTest):

    def expected(self, file, path):
        """What an edit of the file leaves of it, and the name for pictures."""
        tags = tag_contents(path)
        if file.endswith(FLAC):
            tags.setdefault("Xiph vendor", [""])
        name = cover_name(file)
        tags.pop(name, None)
        return tags, name

    def assert_pictures(self, path, base, name, *pictures):
        expected = dict(base)
        if name == "ID3v2 APIC":
            expected.pop("ID3v2", None)
            if pictures or any(key.startswith("ID3v2 ") for key in expected):
                expected["ID3v2"] = ["2.4"]
        if pictures:
            expected[name] = list(pictures)
        found = tag_contents(path)
        if found != expected:  # without all the bytes of big images
            self.fail(f"{str(found)[:1500]}\n!= {str(expected)[:1500]}")

    def test_every_type_and_size_over_the_one_before(self):
        sizes = (0, 1, 127, 128, 255, 256, 65535, 65536, 100_000, 1, 300)
        for file in FILES:
            path = self.file(file)
            base, name = self.expected(file, path)
            for (kind, row), size in zip(KINDS, (*sizes, *[50] * len(KINDS))):
                with self.subTest(file=file, type=kind, size=size):
                    image = (IMAGE * (size // len(IMAGE) + 1))[:size]
                    self.assertTrue(self.write_cover(path, image, kind, True))
                    self.assert_pictures(path, base, name, cover(name, row, image))
            image = os.urandom(2_000_000)
            self.assertTrue(self.write_cover(path, image, None, True))
            self.assert_pictures(path, base, name, cover(name, ARTWORK_TYPES[-1], image))
            self.assertTrue(self.clear_covers(path))
            self.assert_pictures(path, base, name, *([b""] if name == "MP4 covr" else []))

    def test_where_there_is_none_and_once_more(self):
        row = ARTWORK_TYPES[0]
        for file, container in FILES.items():
            for replace in (None, False, True):
                with self.subTest(file=file, replace=replace):
                    path = self.file(file)
                    base, name = self.expected(file, path)
                    self.assertTrue(self.write_cover(path, IMAGE, PNG, replace))
                    self.assert_pictures(path, base, name, cover(name, row, IMAGE))
                    self.check_kept(path, container, base, name, [cover(name, row, IMAGE)])

    def check_kept(self, path, container, base, name, old):
        """Another cover that is to replace nothing."""
        before = contents(path)
        for replace in (None, False):
            if container["kept"] == "refused":
                self.assert_untouched(path, before,
                                      lambda: self.write_cover(path, b"new", GIF, replace))
                continue
            self.assert_edit(path, lambda: self.write_cover(path, b"new", GIF, replace))
            if container["kept"] == "replaced":
                old = [cover(name, ARTWORK_TYPES[GIF - 1], b"new")]
            self.assert_pictures(path, base, name, *old)

    def test_over_old_ones(self):
        for file, container in FILES.items():
            for count in (1, 2, 3):
                with self.subTest(file=file, count=count):
                    path = self.file(file)
                    add_pictures(path, count)
                    base, name = self.expected(file, path)
                    old = tag_contents(path).get(name, [])
                    if name != "ID3v2 APIC":  # which TagLib writes in other words
                        self.check_kept(path, container, base, name, old)
                    elif old:
                        self.assert_untouched(path, contents(path),
                                              lambda: self.write_cover(path, b"new", GIF))
                    self.assertTrue(self.write_cover(path, IMAGE, GIF, True))
                    self.assert_pictures(path, base, name,
                                         cover(name, ARTWORK_TYPES[GIF - 1], IMAGE))
                    path = self.file(file)
                    add_pictures(path, count)
                    self.assert_edit(path, lambda: self.clear_covers(path))
                    self.assert_pictures(path, base, name, *([b""] if name == "MP4 covr" else []))
                    # What is left lets a cover in.
                    self.assertTrue(self.write_cover(path, IMAGE, PNG, False))
                    self.assert_pictures(path, base, name, cover(name, ARTWORK_TYPES[0], IMAGE))

    def test_clearing_none(self):
        for file, container in FILES.items():
            with self.subTest(file=file):
                path = self.file(file)
                before = contents(path)
                if not container["clear"]:
                    self.assert_untouched(path, before, lambda: self.clear_covers(path))
                else:
                    expected = tag_contents(path)
                    self.assertTrue(self.clear_covers(path))
                    self.assert_contents(path, expected)
                # In a tag without a picture there is nothing to lose, and only FLAC minds.
                self.assert_edited("composer", "C", path)
                expected = tag_contents(path)
                if file.endswith(FLAC):
                    self.assert_untouched(path, contents(path), lambda: self.clear_covers(path))
                else:
                    self.assertTrue(self.clear_covers(path))
                    self.assert_contents(path, expected)

    def test_files_that_are_full_of_tags_keep_everything_else(self):
        for file in SAVED:
            with self.subTest(file=file):
                path = self.file(file)
                base = saved(file)
                name = cover_name(file)
                base.pop(name, None)
                for image in (os.urandom(70_000), b"x"):
                    self.assertTrue(self.write_cover(path, image, PNG, True))
                    self.assert_pictures(path, base, name, cover(name, ARTWORK_TYPES[0], image))
                self.assertTrue(self.clear_covers(path))
                self.assert_pictures(path, base, name, *([b""] if name == "MP4 covr" else []))

    def test_pictures_in_the_comment_of_a_flac_file_are_left_alone(self):
        path = self.file("flac_comment.flac")
        file = mutagen.flac.FLAC(path)
        inside = base64.b64encode(flac_picture(4, "image/png", b"in the comment")).decode()
        file["METADATA_BLOCK_PICTURE"] = [inside]
        file.save()
        base = tag_contents(path)
        for replace in (False, True):
            self.assertTrue(self.write_cover(path, IMAGE, PNG, replace))
            self.assert_pictures(path, base, "FLAC block 6",
                                 cover("FLAC block 6", ARTWORK_TYPES[0], IMAGE))
        self.assertTrue(self.clear_covers(path))
        self.assert_contents(path, base)
        self.assert_untouched(path, contents(path), lambda: self.clear_covers(path))

    def test_the_front_cover_of_an_ape_tag_in_any_spelling(self):
        for key in ("Cover Art (Front)", "Cover Art (front)", "COVER ART (FRONT)"):
            for call in (lambda: self.clear_covers(path),
                         lambda: self.write_cover(path, IMAGE, PNG, False)):
                path = self.file("ape_plain.ape")
                tags = mutagen.apev2.APEv2()
                tags[key] = mutagen.apev2.APEValue(b"x.png\0y", 1)
                tags.save(path)
                self.assertTrue(call())
                left = tag_contents(path)
                del left["audio"]
                self.assertLessEqual(set(left), {"APE Cover Art (Front)"})
                self.assertNotIn(b"x.png\0y", contents(path))

    def test_a_picture_in_the_ape_tag_of_an_mp3_is_not_looked_for(self):
        path = self.file("mp3_id3v2_ape.mp3")
        tags = mutagen.apev2.APEv2(path)
        tags["Cover Art (Front)"] = mutagen.apev2.APEValue(b"x.png\0y", 1)
        tags.save(path)
        expected = tag_contents(path)
        self.assertTrue(self.clear_covers(path))
        self.assert_contents(path, expected)


class OtherReaders(EditTest):

    def test_ffmpeg_finds_the_picture_and_the_same_audio(self):
        paths = {file: self.file(file) for file in FILES}
        audio = audio_digests([data(file) for file in FILES])
        for path in paths.values():
            self.assertTrue(self.write_cover(path, IMAGE, PNG))
        self.assertEqual(audio_digests(list(paths.values())), audio)
        for file, path in paths.items():
            if file.endswith(".wma"):
                continue  # the bytes of the image alone, which is not what ffmpeg looks for
            with self.subTest(file=file):
                found = subprocess.run(
                    ["ffmpeg", "-v", "error", "-i", path, "-map", "0:v:0", "-c", "copy", "-f",
                     "image2pipe", "-"], check=True, stdin=subprocess.DEVNULL,
                    stdout=subprocess.PIPE).stdout
                self.assertEqual(found, IMAGE)
        for path in paths.values():
            self.assertTrue(self.clear_covers(path))
        self.assertEqual(audio_digests(list(paths.values())), audio)

    def test_metaflac(self):
        path = self.file("flac_pictures.flac")
        for kind, row in KINDS[:5]:
            self.assertTrue(self.write_cover(path, IMAGE, kind, True))
            listed = run("metaflac", "--list", "--block-type=PICTURE", path)
            self.assertEqual(listed.count("METADATA block"), 1)
            self.assertIn("type: 3 (Cover (front))", listed)
            self.assertIn(f"MIME type: {row['mime']}\n", listed)
            run("flac", "--silent", "--test", path)


if __name__ == "__main__":
    unittest.main()
