"""Artwork through the real service, read back with other software.

What goes in has to come out of mutagen, metaflac and ffmpeg byte for byte, and every decoded sample
has to stay as it was.
"""

import base64
import os
import struct
import subprocess
import sys
import unittest

import mutagen.aiff
import mutagen.apev2
import mutagen.asf
import mutagen.dsf
import mutagen.flac
import mutagen.id3
import mutagen.monkeysaudio
import mutagen.mp4
import mutagen.musepack
import mutagen.oggflac
import mutagen.oggopus
import mutagen.oggvorbis
import mutagen.wave
import mutagen.wavpack

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "player"))

from player import GLib, dictionary, number, raw_bytes, text  # noqa: E402
from support import DATA, PlayerTest, contents, run  # noqa: E402

FRONT_COVER = 3
PNG, JPEG, TIFF, GIF, BMP = 1, 2, 3, 4, 5
MIME_TYPES = {PNG: "image/png", JPEG: "image/jpeg", TIFF: "image/tiff", GIF: "image/gif",
              BMP: "image/bmp"}
MP4_FORMATS = {PNG: 14, JPEG: 13, TIFF: 0, GIF: 12, BMP: 27}
SUFFIXES = {PNG: ".png", JPEG: ".jpg", TIFF: ".tiff", GIF: ".gif", BMP: ".bmp"}
IMAGES = {kind: contents(os.path.join(DATA, name)) for kind, name in (
    (PNG, "cover_red.png"), (JPEG, "cover_blue.jpg"), (TIFF, "cover.tiff"), (GIF, "cover.gif"),
    (BMP, "cover.bmp"))}


def id3_pictures(tags):
    return [(int(frame.type), frame.mime, frame.desc, frame.data)
            for frame in (tags.getall("APIC") if tags is not None else [])]


def flac_pictures(pictures):
    return [(picture.type, picture.mime, picture.desc, picture.data) for picture in pictures]


def xiph_pictures(tags):
    return flac_pictures(mutagen.flac.Picture(base64.b64decode(field))
                         for field in (tags or {}).get("METADATA_BLOCK_PICTURE", []))


def ape_pictures(tags):
    return [tags[key].value for key in ("Cover Art (Front)",) if tags and key in tags]


def mp4_pictures(path):
    """Format and image of each cover, from the boxes: mutagen takes every unknown format for 13."""
    with open(path, "rb") as file:
        atoms = mutagen.mp4.Atoms(file)
        try:
            box = atoms.path(b"moov", b"udta", b"meta", b"ilst", b"covr")[-1].read(file)[1]
        except KeyError:
            return []
    pictures = []
    while box:
        size, name, kind = struct.unpack(">I4sI", box[:12])
        if name != b"data":
            raise AssertionError(f"a box called {name} in covr")
        pictures.append((kind, box[16:size]))
        box = box[size:]
    return pictures


def mp3_tags(path):
    try:
        return mutagen.id3.ID3(path)
    except mutagen.id3.ID3NoHeaderError:
        return None


def id3_expected(kind, image):
    return (FRONT_COVER, MIME_TYPES.get(kind, ""), "", image)


def ape_expected(kind, image):
    name = "Cover Art (Front)" + SUFFIXES.get(kind, ".jpg")
    return name.encode() + b"\0" + image


# A file without a picture: what reads its pictures, what a picture looks like there, and whether
# ffmpeg finds it.
FORMATS = {
    "mp3_plain.mp3": (lambda path: id3_pictures(mp3_tags(path)), id3_expected, True),
    "aiff_plain.aiff": (lambda path: id3_pictures(mutagen.aiff.AIFF(path).tags),
                        id3_expected, True),
    "wav_plain.wav": (lambda path: id3_pictures(mutagen.wave.WAVE(path).tags),
                      id3_expected, True),
    "dsf_plain.dsf": (lambda path: id3_pictures(mutagen.dsf.DSF(path).tags), id3_expected, True),
    "m4a_plain.m4a": (mp4_pictures, lambda kind, image: (MP4_FORMATS.get(kind, 0), image), True),
    "flac_plain.flac": (lambda path: flac_pictures(mutagen.flac.FLAC(path).pictures),
                        id3_expected, True),
    "vorbis_plain.ogg": (lambda path: xiph_pictures(mutagen.oggvorbis.OggVorbis(path).tags),
                         id3_expected, True),
    "vorbis.oga": (lambda path: xiph_pictures(mutagen.oggvorbis.OggVorbis(path).tags),
                   id3_expected, True),
    "flac.oga": (lambda path: xiph_pictures(mutagen.oggflac.OggFLAC(path).tags),
                 id3_expected, True),
    "opus_plain.opus": (lambda path: xiph_pictures(mutagen.oggopus.OggOpus(path).tags),
                        id3_expected, True),
    # The bytes of the image alone, which is not what ffmpeg looks for.
    "wma_plain.wma": (
        lambda path: [attribute.value
                      for attribute in (mutagen.asf.ASF(path).tags or {}).get("WM/Picture", [])],
        lambda kind, image: image, False),
    "ape_plain.ape": (lambda path: ape_pictures(mutagen.monkeysaudio.MonkeysAudio(path).tags),
                      ape_expected, True),
    "wavpack_plain.wv": (lambda path: ape_pictures(mutagen.wavpack.WavPack(path).tags),
                         ape_expected, True),
    "mpc_plain.mpc": (lambda path: ape_pictures(mutagen.musepack.Musepack(path).tags),
                      ape_expected, True),
}


def samples(path):
    """A digest of the decoded audio. What ffmpeg thinks of the pictures is not shown."""
    return run("ffmpeg", "-v", "quiet", "-i", path, "-map", "0:a", "-f", "md5", "-")


def ffmpeg_picture(path):
    """The first picture as ffmpeg finds it, or None."""
    streams = run("ffprobe", "-v", "quiet", "-show_entries", "stream_disposition=attached_pic",
                  "-of", "csv=p=0", path).split()
    if "1" not in streams:
        return None
    return subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-map", "0:v:0", "-c", "copy", "-f",
                           "image2pipe", "-"], check=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE).stdout


class ArtworkTest(PlayerTest):

    def request(self, path, **values):
        """A request with these keys, for the file that is descriptor 0."""
        return {"fd": GLib.Variant("h", 0), "path": text(path), **values}

    def write_artwork(self, path, image, kind=None, replace=None):
        """Writes a picture and returns the result."""
        values = {"artwork": raw_bytes(image)}
        if kind is not None:
            values["artworktype"] = number(kind)
        if replace is not None:
            values["replaceartwork"] = GLib.Variant("b", replace)
        return self.result(self.write(self.request(path, **values), path))

    def clear_artwork(self, path):
        """Removes the pictures and returns the result."""
        request = self.request(path, clearartwork=GLib.Variant("b", True))
        return self.result(self.write(request, path))


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
                    exported = os.path.join(self.folder, "exported")
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


def comment_lines(path):
    """The fields of a FLAC file, in no order."""
    return sorted(run("metaflac", "--no-utf8-convert", "--export-tags-to=-", path).splitlines())


def without_positions(blocks):
    """What metaflac lists, without the numbers of the blocks and the mark of the last one."""
    return [line for line in blocks.splitlines()
            if not line.startswith(("METADATA block", "  is last:"))]


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


class Memory(ArtworkTest):

    SIZE = 30 << 20
    # Far more than it takes, and far less than a leak or a copy for each page would.
    BOUND = 2 << 30

    def peak(self):
        """The most memory that the service has had so far, in bytes."""
        with open(f"/proc/{self.service._process.pid}/status", encoding="ascii") as status:
            fields = dict(line.split(":", 1) for line in status)
        amount, unit = fields["VmHWM"].split()
        self.assertEqual(unit, "kB")
        return int(amount) * 1024

    def check(self, name, taken):
        """Writes the artwork into a copy of the file, and says what that took."""
        pictures, expected, _ = FORMATS[name]
        image = os.urandom(self.SIZE)
        path = self.copy(name)
        before = contents(path)
        idle = self.peak()
        self.assertEqual(self.write_artwork(path, image, JPEG), taken)
        peak = self.peak()
        print(f"{name}: {self.SIZE >> 20} MiB of artwork, peak memory of the service "
              f"{peak >> 20} MiB ({idle >> 20} MiB before)", file=sys.stderr)
        self.assertLess(peak, self.BOUND)
        self.assertEqual(pictures(path), [expected(JPEG, image)] if taken else [])
        if not taken:
            self.assertEqual(contents(path), before)
        self.player.ping()
        self.assertEqual(self.service.descriptors_of(path), 0)

    def test_mp3(self):
        self.check("mp3_plain.mp3", True)

    def test_m4a(self):
        self.check("m4a_plain.m4a", True)

    def test_vorbis(self):
        self.check("vorbis_plain.ogg", True)

    def test_flac_refuses_it(self):
        self.check("flac_plain.flac", False)


if __name__ == "__main__":
    unittest.main()
