"""Ogg files of Vorbis, Opus, FLAC and Speex."""

import base64
import itertools
import struct

from . import flac
from .flac import FIELDS, USUAL, comment

MAX_SEGMENTS = 255
CONTINUED, FIRST, LAST = 1, 2, 4
NO_POSITION = 2**64 - 1


def _crc_table():
    for value in range(256):
        value <<= 24
        for _ in range(8):
            value = value << 1 ^ (0x104c11db7 if value & 0x80000000 else 0)
        yield value & 0xffffffff


CRC = list(_crc_table())


def page(flags, position, serial, number, segments, body):
    """A page with its checksum."""
    data = bytearray(struct.pack("<4sBBQIIIB", b"OggS", 0, flags, position, serial, number, 0,
                                 len(segments)) + bytes(segments) + body)
    crc = 0
    for byte in data:
        crc = (crc << 8 & 0xffffffff) ^ CRC[crc >> 24 ^ byte]
    struct.pack_into("<I", data, 22, crc)
    return bytes(data)


def parsed(data):
    """(flags, position, segments, body) of each page."""
    at = 0
    while at < len(data):
        flags, position = struct.unpack_from("<BQ", data, at + 5)
        segments = data[at + 27:at + 27 + data[at + 26]]
        start = at + 27 + len(segments)
        yield flags, position, segments, data[start:start + sum(segments)]
        at = start + sum(segments)


def packets_of(pages):
    """The packets in pages of one stream."""
    packet = b""
    for _, _, segments, body in pages:
        at = 0
        for size in segments:
            packet += body[at:at + size]
            at += size
            if size < 255:
                yield packet
                packet = b""


class Stream:
    """A logical stream: its header packets, of which the second is the comment, and its pages of
    audio."""

    def __init__(self, data, headers):
        pages = list(parsed(data))
        self.headers = list(itertools.islice(packets_of(pages), headers))
        start = next(i for i in range(2, len(pages) + 1)
                     if len(list(packets_of(pages[:i]))) >= headers)
        self.audio = pages[start:]

    def with_headers(self, second, *more):
        """Its packets with another comment."""
        return [self.headers[0], second, *(more or self.headers[2:])]

    def pages(self, headers, serial=0x1234, *, most=MAX_SEGMENTS, alone=False, empty=False):
        """The pages. `most` limits the segments on a page of headers; with `alone` each header
        begins a page; `empty` puts pages without packets between those of the audio."""
        numbers = itertools.count()
        groups = [headers[:1], *([h] for h in headers[1:])] if alone else [headers[:1], headers[1:]]
        for index, group in enumerate(groups):
            segments = [size for packet in group for size in
                        [255] * (len(packet) // 255) + [len(packet) % 255]]
            body, at, continued = b"".join(group), 0, False
            for start in range(0, len(segments), most):
                here = segments[start:start + most]
                ends = any(size < 255 for size in here)
                yield page(FIRST * (not index) | CONTINUED * continued,
                           0 if ends else NO_POSITION, serial, next(numbers), here,
                           body[at:at + sum(here)])
                continued = here[-1] == 255
                at += sum(here)
        for flags, granule, segments, body in self.audio:
            if empty:
                yield page(0, NO_POSITION, serial, next(numbers), b"", b"")
            yield page(flags, granule, serial, next(numbers), segments, body)


def _framed(codec):
    """How a codec wraps a comment into a packet."""
    return {"vorbis": lambda body: b"\3vorbis" + body + b"\1",
            "opus": lambda body: b"OpusTags" + body,
            "flac": lambda body: flac.block(flac.COMMENT, body, last=True),
            "speex": lambda body: body}[codec]


def of_comments(codec, stream, image):
    """Comments of all lengths, on all pages."""
    wrap = _framed(codec)

    def file(*fields, vendor="Encoder 1.0", **how):
        headers = stream.with_headers(wrap(comment(*fields, vendor=vendor)))
        return b"".join(stream.pages(headers, **how))

    picture = base64.b64encode(flac.picture(image, 3, description="ü")).decode()
    second = base64.b64encode(flac.picture(image + bytes(90_000), 4)).decode()
    yield "comment_usual", file(*USUAL)
    yield "comment_none", file()
    yield "comment_no_vendor", file(*USUAL, vendor="")
    yield "comment_over_pages", file(*USUAL, "MOOD=" + "long " * 30000)
    yield "comment_over_pages_fields", file(*(f"FIELD{i}=" + "v" * 300 for i in range(500)))
    yield "comment_over_small_pages", file(*USUAL, "MOOD=" + "long " * 500, most=2)
    yield "comment_on_a_page_of_its_own", file(*USUAL, alone=True)
    yield "pictures", file(*USUAL, f"METADATA_BLOCK_PICTURE={picture}",
                           f"METADATA_BLOCK_PICTURE={second}")
    yield "picture_of_the_old_kind", file(*USUAL, "COVERART=aW1hZ2U=", "COVERARTMIME=image/png")
    for length in (255, 510, 255 * 255, 255 * 255 * 2):
        base = len(wrap(comment(*USUAL, "MOOD=", vendor="Encoder 1.0")))
        if length > base:
            yield (f"comment_of_exactly_{length}_bytes",
                   file(*USUAL, "MOOD=" + "m" * (length - base)))
    yield "serial_of_all_ones", file(*USUAL, serial=0xffffffff)
    yield "empty_pages", file(*USUAL, empty=True)
    yield "chained", file(*USUAL) + file("TITLE=Second link", "MOOD=calm", serial=99)
    yield "chained_3", b"".join(file(*USUAL, serial=serial) for serial in (3, 2, 1))


def of_fields(codec, stream):
    """Fields of all kinds."""
    for name, fields in FIELDS.items():
        headers = stream.with_headers(_framed(codec)(comment(*fields)))
        yield f"fields_{name}", b"".join(stream.pages(headers))


def of_opus(stream):
    """What only Opus has."""
    for label, more in (("padding", bytes(512)), ("padding_of_1", bytes(1)),
                        ("padding_with_data", b"\1binary data that must stay"),
                        ("padding_much", bytes(70000))):
        headers = stream.with_headers(b"OpusTags" + comment(*USUAL) + more)
        yield f"comment_{label}", b"".join(stream.pages(headers))
    gains = comment(*USUAL, "R128_TRACK_GAIN=-256", "R128_ALBUM_GAIN=10")
    yield "gains", b"".join(stream.pages(stream.with_headers(b"OpusTags" + gains)))


def of_flac(stream, image):
    """What only FLAC has: more blocks after the comment."""
    more = [flac.block(flac.APPLICATION, b"testdata"),
            flac.block(flac.PICTURE, flac.picture(image)),
            flac.block(flac.PADDING, bytes(100), last=True)]
    first = bytearray(stream.headers[0])
    for label, count in (("counted", len(more) + 1), ("not_counted", 0)):
        struct.pack_into(">H", first, 7, count)
        headers = [bytes(first), flac.block(flac.COMMENT, comment(*USUAL)), *more]
        for alone in (False, True):
            yield (f"blocks_{label}" + "_on_pages_of_their_own" * alone,
                   b"".join(stream.pages(headers, alone=alone)))
    struct.pack_into(">H", first, 7, 1)
    last = [bytes(first), flac.block(flac.COMMENT, comment(*USUAL), last=True)]
    yield "comment_is_the_last_block", b"".join(stream.pages(last))


def multiplexed(*streams):
    """Streams side by side: first pages first, then the others in turn."""
    queues = [list(pages) for pages in streams]
    return b"".join(queue[0] for queue in queues) + b"".join(
        page for pages in itertools.zip_longest(*(queue[1:] for queue in queues), fillvalue=b"")
        for page in pages)


def skeleton(serial=7):
    """The pages of an Ogg Skeleton stream."""
    head = b"fishead\0" + struct.pack("<HHQQQQ20sQI", 3, 0, 0, 1000, 0, 1000, b"", 0, 0)[:56]
    yield page(FIRST, 0, serial, 0, [len(head)], head)
    yield page(LAST, 0, serial, 1, [0], b"")


def of_multiplexing(streams):
    """Several streams in a file."""
    made = {codec: stream.with_headers(_framed(codec)(comment(*USUAL, f"MOOD={codec}")))
            for codec, stream in streams.items()}
    def pages(codec, serial):
        return streams[codec].pages(made[codec], serial=serial)

    for one, other in (("vorbis", "opus"), ("opus", "vorbis"), ("flac", "vorbis"),
                       ("vorbis", "vorbis"), ("opus", "opus"), ("speex", "vorbis")):
        yield one, f"multiplexed_with_{other}", multiplexed(pages(one, 1), pages(other, 2))
    for codec in streams:
        yield codec, "skeleton_first", multiplexed(skeleton(), pages(codec, 1))
        yield codec, "skeleton_second", multiplexed(pages(codec, 1), skeleton())
    yield "vorbis", "chained_with_opus", b"".join([*pages("vorbis", 1), *pages("opus", 2)])


EXTENSIONS = {"vorbis": "ogg", "opus": "opus", "flac": "oga", "speex": "oga"}


def files(encoders):
    """(name, bytes) of each file."""
    image = encoders.data("cover_red.png")
    streams = {"vorbis": Stream(encoders.data("vorbis_plain.ogg"), 3),
               "opus": Stream(encoders.data("opus_plain.opus"), 2),
               "flac": Stream(encoders.data("flac.oga"), 2),
               "speex": Stream(encoders.data("speex.oga"), 2)}
    for codec, stream in streams.items():
        made = [of_comments(codec, stream, image)]
        made += [of_fields(codec, stream)] if codec in ("vorbis", "opus") else []
        made += [of_opus(stream)] if codec == "opus" else []
        made += [of_flac(stream, image)] if codec == "flac" else []
        for name, data in itertools.chain(*made):
            yield f"{codec}_{name}.{EXTENSIONS[codec]}", data
    for codec, name, data in of_multiplexing(streams):
        yield f"{codec}_{name}.{EXTENSIONS[codec]}", data
    usual = streams["vorbis"].with_headers(_framed("vorbis")(comment(*USUAL)))
    yield "vorbis_called_oga.oga", b"".join(streams["vorbis"].pages(usual))
    for name, data in encoders.ogg_streams():
        yield name, data
