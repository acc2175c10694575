"""One field written into files that are full of tags: what is in the bytes of everything else, as
mutagen reads it without translating anything, and the decoded audio. What the service's tag library
does on its own when it saves is listed here, file by file."""

import io
import struct
import unittest

import mutagen.apev2
import mutagen.asf
import mutagen.flac
import mutagen.id3
import mutagen.mp4

from command import CommandTest, all_samples
from reading import read_xiph
from support import DATA, contents


def id3_dump(data):
    """The frames of an ID3v2 tag, as they stand in `data`."""
    tags = mutagen.id3.ID3(io.BytesIO(data), translate=False, load_v1=False)
    dump = {f"ID3 {key}": repr(frame) for key, frame in tags.items()}
    dump["ID3 version"] = tags.version
    dump["ID3 unknown frames"] = [bytes(frame) for frame in tags.unknown_frames]
    return dump


def mp3_dump(data):
    dump = {}
    if data.startswith(b"ID3"):
        dump |= id3_dump(data)
    if data[-128:].startswith(b"TAG"):
        dump["ID3v1"] = data[-128:]
    return dump | ape_items(data)


def ape_items(data):
    try:
        tags = mutagen.apev2.APEv2(io.BytesIO(data))
    except mutagen.apev2.APENoHeaderError:
        return {}
    return {f"APE {key}": (tags[key].kind, str(tags[key])) for key in tags.keys()}


def ape_dump(data):
    dump = ape_items(data)
    if data[-128:].startswith(b"TAG"):
        dump["ID3v1"] = data[-128:]
    return dump


def chunks_dump(data, byte_order, id3_names):
    """The chunks of a RIFF or IFF file; the ID3 chunk taken apart."""
    dump = {}
    offset = 12
    while offset + 8 <= len(data):
        name, size = struct.unpack(byte_order + "4sI", data[offset:offset + 8])
        body = data[offset + 8:offset + 8 + size]
        dump |= id3_dump(body) if name in id3_names else {f"chunk {name}": body}
        offset += 8 + size + size % 2
    return dump


def dsf_dump(data):
    return id3_dump(data[struct.unpack("<Q", data[20:28])[0]:])


def mp4_dump(data):
    tags = mutagen.mp4.MP4(io.BytesIO(data)).tags
    return {key: repr(value) for key, value in tags.items()}


def flac_dump(data):
    file = mutagen.flac.FLAC(io.BytesIO(data))
    left_out = (mutagen.flac.VCFLACDict.code, mutagen.flac.Padding.code)
    dump = {f"block {number}": (block.code, block.write()) for number, block in
            enumerate(block for block in file.metadata_blocks if block.code not in left_out)}
    dump |= read_xiph(file.tags)
    dump["vendor"] = file.tags.vendor
    return dump | mp3_dump(data)


def ogg_dump(data):
    file = mutagen.File(io.BytesIO(data))
    return read_xiph(file.tags) | {"vendor": file.tags.vendor}


def asf_dump(data):
    tags = mutagen.asf.ASF(io.BytesIO(data)).tags
    return {key: [(value.TYPE, value.value) for value in tags[key]] for key in tags.keys()}


DUMPS = {
    "mp3": mp3_dump,
    "aif": lambda data: chunks_dump(data, ">", (b"ID3 ",)),
    "wav": lambda data: chunks_dump(data, "<", (b"ID3 ", b"id3 ")),
    "dsf": dsf_dump,
    "m4a": mp4_dump,
    "flac": flac_dump,
    "ogg": ogg_dump,
    "oga": ogg_dump,
    "opus": ogg_dump,
    "wma": asf_dump,
    "ape": ape_dump,
    "wv": ape_dump,
    "mpc": ape_dump,
}


def dump(path):
    return DUMPS[path.rpartition(".")[2]](contents(path))


NEW = {"ID3 TPE3": "TPE3(encoding=<Encoding.UTF8: 3>, text=['C'])"}
VERSION_2_4 = {"ID3 version": (2, 4, 0)}
XIPH = {"CONDUCTOR": ["C"]}
APE = {"APE Conductor": (0, "C")}
MP4 = {"----:com.apple.iTunes:CONDUCTOR": "[MP4FreeForm(b'C', <AtomDataType.UTF8: 1>)]"}


def latin1(frame, text, language=""):
    return f"{frame}(encoding=<Encoding.LATIN1: 0>, {language}text=['{text}'])"


COMMENT = {"ID3 COMM::XXX": latin1("COMM", "a comment of 28 characters..", "lang='XXX', desc='', ")}

# What is new or other after the edit: a value, None when it is gone, or a function of the old one.
CHANGES = {
    # A picture gets a MIME type in the place of three letters.
    "mp3_id3v22.mp3": NEW | VERSION_2_4 | {
        "ID3 APIC:front": lambda old: old.replace("mime='PNG'", "mime='image/png'")},
    # The year moves to a frame of the new version, and a popularimeter gets its play counter.
    "mp3_id3v23.mp3": NEW | VERSION_2_4 | {
        "ID3 TYER": None, "ID3 TDRC": latin1("TDRC", "1999"),
        "ID3 POPM:one@example.org": "POPM(email='one@example.org', rating=196, count=0)",
        "ID3 POPM:two@example.org": "POPM(email='two@example.org', rating=64, count=0)"},
    # What only the ID3v1 tag has is copied from there.
    "mp3_id3v24_id3v1.mp3": NEW | COMMENT | {"ID3 TCON": latin1("TCON", "Rock")},
    "mp3_id3v1.mp3": NEW | VERSION_2_4 | COMMENT | {
        "ID3 unknown frames": [], "ID3 TIT2": latin1("TIT2", "Rising Tone"),
        "ID3 TPE1": latin1("TPE1", "Zoë Müller"), "ID3 TALB": latin1("TALB", "Test Tones"),
        "ID3 TDRC": latin1("TDRC", "1999"), "ID3 TRCK": latin1("TRCK", "7"),
        "ID3 TCON": latin1("TCON", "Rock")},
    "mp3_id3v2_ape.mp3": NEW,
    "aiff_id3.aif": NEW | VERSION_2_4,
    "wav_info.wav": NEW | VERSION_2_4 | {"ID3 unknown frames": []},
    "wav_id3.wav": NEW | VERSION_2_4,
    "wav_info_id3.wav": NEW,
    "dsf_tagged.dsf": NEW | VERSION_2_4,
    "m4a_tagged.m4a": MP4,
    "m4a_mdat_first.m4a": MP4,
    "flac_comment.flac": XIPH,
    "flac_pictures.flac": XIPH,
    "flac_id3.flac": XIPH,
    "vorbis_tagged.ogg": XIPH,
    "vorbis.oga": XIPH,
    "flac.oga": XIPH,
    "opus_tagged.opus": XIPH,
    # The texts that go with the title are written when they are empty, too.
    "wma_tagged.wma": {"WM/Conductor": [(0, "C")]} | {
        key: [(0, "")] for key in ("Author", "Copyright", "Description", "Rating")},
    "ape_tagged.ape": APE,
    "ape_id3v1.ape": APE,
    "wavpack_tagged.wv": APE,
    "mpc_tagged.mpc": APE,
}


def after_change(before, changes):
    """The dump that is to be expected."""
    changed = {key: change(before[key]) if callable(change) else change
               for key, change in changes.items()}
    return {key: value for key, value in (before | changed).items() if value is not None}


class Untouched(CommandTest):
    maxDiff = 2000

    def test_everything_but_the_edited_field(self):
        paths = {name: self.copy(name) for name in CHANGES}
        originals = {name: f"{DATA}/{name}" for name in CHANGES}
        self.set_and_expect(["conductor=C"], paths)
        for name, changes in CHANGES.items():
            with self.subTest(file=name):
                before = dump(originals[name])
                self.assertEqual(dump(paths[name]), after_change(before, changes))
        self.assertEqual(all_samples(paths), all_samples(originals))


if __name__ == "__main__":
    unittest.main()
