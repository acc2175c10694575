"""FLAC files."""

import struct

from . import id3
from .frames import common

STREAMINFO, PADDING, APPLICATION, SEEKTABLE, COMMENT, CUESHEET, PICTURE = range(7)


def block(kind, body, last=False):
    """A metadata block."""
    return bytes([kind | 0x80 * last]) + len(body).to_bytes(3, "big") + body


def comment(*fields, vendor="reference libFLAC 1.4.2 20221022"):
    """A comment of KEY=value fields."""
    def packed(field):
        return struct.pack("<I", len(field.encode())) + field.encode()

    return packed(vendor) + struct.pack("<I", len(fields)) + b"".join(map(packed, fields))


def picture(image, kind=3, mime="image/png", description="", numbers=bytes(16)):
    """The body of a picture block."""
    return b"".join((struct.pack(">I", kind), *(struct.pack(">I", len(t)) + t for t in
                                                (mime.encode(), description.encode())),
                     numbers, struct.pack(">I", len(image)), image))


def cuesheet(samples):
    """A cue sheet of a track and the lead-out."""
    track = struct.pack(">QB12s14x", 0, 1, b"DEXX19900001") + b"\1" + struct.pack(">QB3x", 0, 1)
    end = struct.pack(">QB12s14x", samples, 170, b"") + b"\0"
    head = struct.pack(">128sQ", b"1234567890123", 88200) + b"\x80" + bytes(258) + b"\2"
    return head + track + end


USUAL = ("TITLE=Old title", "ARTIST=Zoë Müller", "ALBUM=Old album", "DATE=1999-12-31",
         "TRACKNUMBER=1", "GENRE=Rock", "COMPOSER=A. Composer")
FIELDS = {
    "several_values": ("ARTIST=One", "ARTIST=Two", "COMPOSER=C1", "COMPOSER=C2", "TITLE=T1",
                       "TITLE=T2", "GENRE=G1", "GENRE=G2"),
    "keys_in_lower_case": ("title=Old title", "artist=A", "Composer=C", "mood=calm"),
    "keys_in_mixed_case": ("Title=one", "TITLE=two", "title=three", "Mood=a", "MOOD=b"),
    "odd_keys": ("A KEY WITH SPACES=1", "KEY:WITH;SIGNS!=2", "}=3"),
    "empty_values": ("TITLE=", "COMPOSER=", "MOOD="),
    "values_with_equals_signs": ("TITLE=a=b=c", "MOOD==", "COMPOSER===x"),
    "values_of_several_lines": ("LYRICS=la\nla\r\nla", "CUESHEET=FILE \"a\" WAVE\n  TRACK 01\n",
                                "DESCRIPTION=one\n\ntwo"),
    "values_in_many_scripts": ("TITLE=日本Ω🎵", "MOOD=\u202eright to left", "ARTIST=e\u0301"),
    "values_with_spaces": ("TITLE=  title  ", "MOOD=\t"),
    "totals_and_aliases": ("TRACKNUMBER=1/10", "TRACKTOTAL=10", "TOTALTRACKS=11", "DISCNUMBER=1/2",
                           "DISCTOTAL=2", "TOTALDISCS=2", "BPM=118", "TEMPO=119", "YEAR=1998",
                           "DATE=1999", "DESCRIPTION=d", "COMMENT=c", "TRACKNUM=2"),
    "picture_in_a_field": ("TITLE=t", "COVERART=aW1hZ2U=", "COVERARTMIME=image/png"),
    "long_value": ("MOOD=" + "long " * 20000,),
    "many_fields": tuple(f"FIELD{i}=value {i}" for i in range(1000)),
    "none": (),
    "zero_in_value": ("TITLE=t", "MOOD=a\0b"),
    "ratings": ("RATING=80", "RATING:me@example.org=0.8", "FMPS_RATING=0.8"),
}


class Stream:
    """The blocks and frames of a file, to be put together with others."""

    def __init__(self, data):
        self.info, self.frames = data[8:42], data[42:]
        assert data[4] == 0x80  # no other block
        self.samples = int.from_bytes(self.info[13:18], "big") & (1 << 36) - 1

    def file(self, *blocks, vendor="reference libFLAC 1.4.2 20221022"):
        """A file with (kind, body) blocks."""
        blocks = [(STREAMINFO, self.info), *blocks]
        return b"fLaC" + b"".join(block(kind, body, index == len(blocks) - 1)
                                  for index, (kind, body) in enumerate(blocks)) + self.frames


def of_blocks(stream, image):
    """Blocks of all kinds, in any order."""
    usual = (COMMENT, comment(*USUAL))
    table = (SEEKTABLE, struct.pack(">QQH", 0, 0, 3200) + b"\xff" * 8 + bytes(10))
    application = (APPLICATION, b"test" + b"data of an application")
    sheet = (CUESHEET, cuesheet(stream.samples))
    pictures = [(PICTURE, picture(image, kind, description=f"no {kind} ü"))
                for kind in (3, 4, 0, 17)]
    yield "no_comment", stream.file()
    yield "no_comment_padding", stream.file((PADDING, bytes(100)))
    yield "comment_only", stream.file(usual)
    for size in (0, 1, 3, 4, 5, 40, 4096, 70000):
        yield f"padding_{size}", stream.file(usual, (PADDING, bytes(size)))
    yield "padding_before_the_comment", stream.file((PADDING, bytes(500)), usual)
    yield "padding_several", stream.file((PADDING, bytes(50)), usual, (PADDING, bytes(60)), table,
                                         (PADDING, b""))
    yield "padding_not_zero", stream.file(usual, (PADDING, b"not zero at all"))
    yield "seektable", stream.file(table, usual)
    yield "seektable_after_the_comment", stream.file(usual, table)
    yield "seektable_empty", stream.file((SEEKTABLE, b""), usual)
    yield "application", stream.file(application, usual)
    yield "application_several", stream.file(application, usual, application,
                                             (APPLICATION, b"riff" + bytes(20)))
    yield "cuesheet", stream.file(sheet, usual)
    yield "cuesheet_and_field", stream.file(sheet, (COMMENT, comment(*USUAL, "CUESHEET=FILE x")))
    yield "everything", stream.file(application, table, sheet, usual, *pictures,
                                    (PADDING, bytes(999)))
    yield "everything_backwards", stream.file((PADDING, bytes(999)), *pictures, usual, sheet, table,
                                              application)
    yield "unknown_block", stream.file(usual, (100, b"what is this"))
    yield "comment_several", stream.file(usual, (COMMENT, comment("TITLE=Second", "MOOD=calm")))
    yield "comment_long_vendor", stream.file((COMMENT, comment(*USUAL, vendor="v" * 5000)))
    yield "comment_no_vendor", stream.file((COMMENT, comment(*USUAL, vendor="")))
    yield "pictures", stream.file(usual, *pictures)
    yield "pictures_before_the_comment", stream.file(*pictures, usual)
    yield "pictures_no_comment", stream.file(*pictures)
    yield "picture_linked", stream.file(usual, (PICTURE, picture(b"http://example.org/a",
                                                                 mime="-->")))
    yield "picture_empty", stream.file(usual, (PICTURE, picture(b"")))
    yield "picture_large", stream.file(usual, (PICTURE, picture(image + bytes(100_000))))
    yield "picture_with_numbers", stream.file(usual, (PICTURE, picture(
        image, numbers=struct.pack(">IIII", 8, 8, 24, 256))))


def of_tags(stream):
    """Tags of other formats around a file."""
    data = stream.file((COMMENT, comment(*USUAL)), (PADDING, bytes(64)))
    id3v2 = {version: id3.tag(common(version, id3.LATIN1), version, padding=version)
             for version in (2, 3, 4)}
    for version, tag in id3v2.items():
        yield f"id3v2.{version}_in_front", tag + data
    yield "id3v2_in_front_no_comment", id3v2[3] + stream.file()
    yield "id3v2_in_front_much_padding", id3.tag(common(4, id3.UTF8), 4, padding=20000) + data
    yield "id3v2_footer_in_front", id3.tag(common(4, id3.UTF8), 4, footer=True) + data
    yield "id3v2_unsynchronised_in_front", id3.tag(
        [("PRIV", b"me\0\xff\xe0")], 3, unsync=True) + data
    yield "id3v1_at_the_end", data + id3.id3v1()
    yield "id3v1_at_the_end_no_comment", stream.file() + id3.id3v1()
    yield "id3_at_both_ends", id3v2[3] + data + id3.id3v1()
    yield "ape_at_the_end", data + id3.ape(("Title", "APE title"))


def files(encoders):
    """(name, bytes) of each file."""
    stream = Stream(encoders.data("flac_plain.flac"))
    for made in (of_blocks(stream, encoders.data("cover_red.png")), of_tags(stream)):
        for name, data in made:
            yield f"{name}.flac", data
    for name, fields in FIELDS.items():
        yield f"fields_{name}.flac", stream.file((COMMENT, comment(*fields)), (PADDING, bytes(32)))
    for name, data in encoders.flac_streams():
        yield f"stream_{name}.flac", data
