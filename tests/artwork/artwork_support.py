"""What the tests of artwork through the service share: requests, and readers of pictures that have
nothing to do with the service's tag library."""

import base64
import os
import struct
import subprocess
import sys

import mutagen.aiff
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

from player import GLib, dictionary, number, raw_bytes, text  # noqa: E402, F401
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
