"""Monkey's Audio, WavPack, Musepack and DSF files."""

import struct

from . import id3
from .frames import common
from .id3 import BINARY, LOCATOR, ape, id3v1

USUAL = (("Title", "Old title"), ("Artist", "Zoë Müller"), ("Album", "Old album"),
         ("Year", "1999-12-31"), ("Track", "1/10"), ("Genre", "Rock"), ("Composer", "C"))


def of_tags(audio, image):
    """Tags of all kinds behind the same audio."""
    cover = ("Cover Art (Front)", b"cover.png\0" + image, BINARY)
    yield "plain", audio
    yield "usual", audio + ape(*USUAL)
    yield "no_header", audio + ape(*USUAL, header=False)
    yield "no_items", audio + ape()
    yield "read_only", audio + ape(*USUAL, read_only=True)
    yield "version_1", audio + ape(*USUAL, version=1000, header=False)
    yield "keys_in_capitals", audio + ape(*((key.upper(), value) for key, value in USUAL))
    yield "keys_in_lower_case", audio + ape(*((key.lower(), value) for key, value in USUAL))
    yield "several_values", audio + ape(("Artist", "One\0Two\0Three"), ("Title", "T1\0T2"),
                                        ("Composer", "C1\0C2"), ("Mood", "a\0b"))
    yield "empty_values", audio + ape(("Title", ""), ("Composer", ""), ("Mood", ""))
    yield "read_only_items", audio + ape(("Title", "T", 1), ("Composer", "C", 1), ("Mood", "m", 1))
    yield "binary_items", audio + ape(("Title", "T"), ("Data", bytes(range(256)), BINARY), (
        "Nothing", b"", BINARY))
    yield "locator_items", audio + ape(("Title", "T"), ("File", "http://example.org/a", LOCATOR), (
        "Related", "a.wv\0b.wv", LOCATOR))
    yield "covers", audio + ape(("Title", "T"), cover, ("Cover Art (Back)", cover[1], BINARY))
    yield "cover_key_in_lower_case", audio + ape(("cover art (front)", cover[1], BINARY))
    yield "cover_as_text", audio + ape(("Cover Art (Front)", "http://example.org", LOCATOR))
    yield "odd_keys", audio + ape(("A key!", "1"), ("~" * 255, "2"), ("12", "3"))
    yield "long_value", audio + ape(("Title", "T"), ("Lyrics", "la " * 30000))
    yield "many_items", audio + ape(*((f"Item {i}", f"value {i}") for i in range(500)))
    yield "cuesheet", audio + ape(("Title", "T"), ("Cuesheet", 'FILE "a"\n  TRACK 01'))
    yield "aliases", audio + ape(("Track", "1"), ("Totaltracks", "10"), ("Disc", "1/2"), (
        "Album Artist", "A"), ("AlbumArtist", "B"), ("Catalog", "c"), ("Rating", "4"))
    yield "id3v1", audio + id3v1()
    yield "ape_and_id3v1", audio + ape(*USUAL) + id3v1()
    yield "empty_ape_and_id3v1", audio + ape() + id3v1()


def of_id3v2(audio):
    """ID3v2 in front, as some programs write it."""
    tag = id3.tag(common(3, id3.LATIN1), 3, padding=50)
    yield "id3v2_in_front", tag + audio
    yield "id3v2_in_front_ape_id3v1", tag + audio + ape(*USUAL) + id3v1()


def mpc_sv7(frames=3):
    """A Musepack file of stream version 7 with silence. ffmpeg does not decode the last frame."""
    header = b"MP+\x07" + struct.pack("<I", frames) + struct.pack(
        "<IIIII", 0, 0, 0, 576 << 4, 0)
    bits = "".join(f"{16:020b}" + "0" * 16 for _ in range(frames))
    bits += f"{576:011b}"
    bits += "0" * (-len(bits) % 32 + 64)
    words = [int(bits[i:i + 32], 2) for i in range(0, len(bits), 32)]
    return header[:24] + struct.pack(f"<{len(words) + 1}I", 0, *words)


def dsf(audio, tag=b"", *, total=None):
    """A DSF file with this tag at its end, and its pointer there."""
    head, fmt, data = audio[:28], audio[28:80], audio[80:]
    end = 28 + len(fmt) + len(data)
    total = end + len(tag) if total is None else total
    return (head[:12] + struct.pack("<QQ", total, end if tag else 0) + fmt + data + tag)


def of_dsf(audio):
    """DSF files of each layout."""
    yield "plain", dsf(audio)
    for version in (2, 3, 4):
        tag = id3.tag(common(version, id3.LATIN1), version)
        yield f"id3v2.{version}", dsf(audio, tag)
        yield f"id3v2.{version}_padding", dsf(audio, id3.tag(
            common(version, id3.UTF16), version, padding=4000))
    tag = id3.tag(common(3, id3.LATIN1), 3)
    yield "bytes_after_the_tag", dsf(audio, tag + bytes(100))
    yield "total_size_wrong", dsf(audio, tag, total=1)
    yield "total_size_without_tag", dsf(audio, tag, total=len(audio))
    yield "tag_without_frames", dsf(audio, id3.tag([], 4, padding=64))
    yield "tag_with_footer", dsf(audio, id3.tag(common(4, id3.UTF8), 4, footer=True))
    yield "tag_unsynchronised", dsf(audio, id3.tag([("PRIV", b"me\0\xff\xe0")], 3, unsync=True))
    yield "gap_before_the_tag", dsf(audio + bytes(64), tag)
    yield "no_tag_bytes_at_the_end", dsf(audio) + bytes(64)


def files(encoders):
    """(name, bytes) of each file."""
    image = encoders.data("cover_red.png")
    streams = {"ape": encoders.data("ape_plain.ape"), "wv": encoders.data("wavpack_plain.wv"),
               "mpc": encoders.data("mpc_plain.mpc")}
    for extension, audio in streams.items():
        for name, data in of_tags(audio, image):
            yield f"{name}.{extension}", data
        for name, data in of_id3v2(audio) if extension != "wv" else ():
            yield f"{name}.{extension}", data
    sv7 = mpc_sv7()
    yield "sv7.mpc", sv7
    yield "sv7_tagged.mpc", sv7 + ape(*USUAL)
    yield "sv7_id3v1.mpc", sv7 + ape(*USUAL) + id3v1()
    for name, data in encoders.wavpack_streams():
        yield f"stream_{name}.wv", data
        yield f"stream_{name}_tagged.wv", data + ape(*USUAL)
    for name, data in of_dsf(encoders.data("dsf_plain.dsf")):
        yield f"{name}.dsf", data
