"""Reads tags with mutagen, which shares no code with the service, into plain values by name.

The names are the format's own: "TCOM", "COMM::eng", "©wrt", "COMPOSER", "WM/Composer",
"Album Artist". Every value is a list, but for APE items, numbers of a popularimeter and flags.
"""

import os
import sys

import mutagen.aiff
import mutagen.apev2
import mutagen.asf
import mutagen.dsf
import mutagen.flac
import mutagen.id3
import mutagen.mp4
import mutagen.oggflac
import mutagen.oggopus
import mutagen.oggvorbis
import mutagen.wave

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "player"))

ID3, MP4, XIPH, ASF, APE = "ID3v2", "MP4", "Xiph", "ASF", "APE"


def frame_value(frame):
    """The content of an ID3 frame."""
    if isinstance(frame, mutagen.id3.POPM):
        return (frame.email, frame.rating, getattr(frame, "count", None))
    if isinstance(frame, mutagen.id3.USLT):
        return [frame.text]
    if isinstance(frame, mutagen.id3.TextFrame):
        return [str(text) for text in frame.text]
    return repr(frame)


def read_id3(tags):
    return {key: frame_value(frame) for key, frame in (tags or {}).items()}


def read_mp3(path):
    try:
        return read_id3(mutagen.id3.ID3(path, load_v1=False))
    except mutagen.id3.ID3NoHeaderError:
        return {}


def read_mp4(path):
    def plain(value):
        return bytes(value).decode() if isinstance(value, mutagen.mp4.MP4FreeForm) else value

    tags = mutagen.mp4.MP4(path).tags or {}
    return {key: [plain(value) for value in values] if isinstance(values, list) else values
            for key, values in tags.items()}


def read_xiph(tags):
    result = {}
    for key, value in tags or []:
        result.setdefault(key.upper(), []).append(value)
    return result


CONTENT_DESCRIPTION = ("Title", "Author", "Copyright", "Description", "Rating")


def read_asf(path):
    tags = mutagen.asf.ASF(path).tags
    found = {key: [value.value for value in tags[key]] for key in tags.keys()}
    # The texts of the content description stand in front; empty ones say nothing.
    for key in CONTENT_DESCRIPTION:
        if found.get(key, [None])[0] == "":
            found[key] = found[key][1:]
    return {key: values for key, values in found.items() if values}


def read_ape(path):
    try:
        tags = mutagen.apev2.APEv2(path)
    except mutagen.apev2.APENoHeaderError:
        return {}
    return {key: str(tags[key]) for key in tags.keys()}


READERS = {
    ".mp3": read_mp3,
    ".aiff": lambda path: read_id3(mutagen.aiff.AIFF(path).tags),
    ".wav": lambda path: read_id3(mutagen.wave.WAVE(path).tags),
    ".dsf": lambda path: read_id3(mutagen.dsf.DSF(path).tags),
    ".m4a": read_mp4,
    ".flac": lambda path: read_xiph(mutagen.flac.FLAC(path).tags),
    ".ogg": lambda path: read_xiph(mutagen.oggvorbis.OggVorbis(path).tags),
    ".oga": lambda path: read_xiph(mutagen.File(path).tags),
    ".opus": lambda path: read_xiph(mutagen.oggopus.OggOpus(path).tags),
    ".wma": read_asf,
    ".ape": read_ape,
    ".wv": read_ape,
    ".mpc": read_ape,
}


def read_tags(path):
    """Every tag of the file's main family."""
    return READERS[os.path.splitext(path)[1]](path)


# One file a container, with no tag or next to none, and the family that its format carries.
CONTAINERS = {
    "mp3_plain.mp3": ID3,
    "aiff_plain.aiff": ID3,
    "wav_plain.wav": ID3,
    "dsf_plain.dsf": ID3,
    "m4a_plain.m4a": MP4,
    "flac_plain.flac": XIPH,
    "vorbis_plain.ogg": XIPH,
    "vorbis.oga": XIPH,
    "flac.oga": XIPH,
    "opus_plain.opus": XIPH,
    "wma_plain.wma": ASF,
    "ape_plain.ape": APE,
    "wavpack_plain.wv": APE,
    "mpc_plain.mpc": APE,
}
