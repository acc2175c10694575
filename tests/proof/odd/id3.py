"""ID3 and APE tags, byte by byte, so that each can be odd in its own way."""

import struct
import zlib

from id3v2_contents import ID3V22_NAMES

LATIN1, UTF16, UTF16BE, UTF8 = range(4)
CODECS = ("latin-1", "utf-16-le", "utf-16-be", "utf-8")
NAMES_OF_2_2 = {name: old for old, name in ID3V22_NAMES.items()}


def syncsafe(number, width=4):
    """A number of 7 bits per byte."""
    return bytes(number >> 7 * i & 0x7f for i in reversed(range(width)))


def encoded(text, encoding):
    """Text without a terminator, with a byte order mark in UTF-16."""
    return (b"\xff\xfe" if encoding == UTF16 else b"") + text.encode(CODECS[encoding])


def text(value, encoding=LATIN1, end=b""):
    """The body of a text frame. Several values are separated by a zero character."""
    zero = b"\0\0" if encoding in (UTF16, UTF16BE) else b"\0"
    values = [value] if isinstance(value, str) else value
    return bytes([encoding]) + zero.join(encoded(v, encoding) for v in values) + end


def described(description, value, encoding=LATIN1, language=b""):
    """The body of a frame like TXXX, COMM or USLT."""
    zero = b"\0\0" if encoding in (UTF16, UTF16BE) else b"\0"
    return (bytes([encoding]) + language + encoded(description, encoding) + zero
            + encoded(value, encoding))


def picture(image, kind=3, description="", mime=b"image/png", encoding=LATIN1):
    """The body of an APIC frame."""
    zero = b"\0\0" if encoding in (UTF16, UTF16BE) else b"\0"
    return (bytes([encoding]) + mime + b"\0" + bytes([kind]) + encoded(description, encoding)
            + zero + image)


def picture_2_2(image, kind=3, description="", form=b"PNG"):
    """The body of a PIC frame."""
    return b"\0" + form + bytes([kind]) + description.encode("latin-1") + b"\0" + image


def url(description, address):
    """The body of a WXXX frame."""
    return b"\0" + description.encode() + b"\0" + address.encode()


def frame(name, body, version, flags=0, prefix=b""):
    """A frame. `prefix` is what the flags put between header and body."""
    data = prefix + body
    if version == 2:
        name = NAMES_OF_2_2.get(name, name)
        return name.encode() + len(data).to_bytes(3, "big") + data
    size = syncsafe(len(data)) if version == 4 else struct.pack(">I", len(data))
    return name.encode() + size + struct.pack(">H", flags) + data


def compressed(name, body, version):
    """A frame compressed by zlib."""
    data = zlib.compress(body)
    if version == 3:
        return frame(name, data, 3, 0x80, struct.pack(">I", len(body)))
    return frame(name, data, 4, 0x09, syncsafe(len(body)))


def unsynchronised(data):
    """With a zero after each 0xff that could start an MPEG frame."""
    result = bytearray()
    for i, byte in enumerate(data):
        result.append(byte)
        following = data[i + 1] if i + 1 < len(data) else 0
        if byte == 0xff and (following >= 0xe0 or following == 0):
            result.append(0)
    return bytes(result)


def tag(frames, version, *, padding=0, unsync=False, extended=b"", footer=False, flags=0):
    """A tag of (name, body) pairs or of finished frames."""
    body = b"".join(f if isinstance(f, bytes) else frame(*f, version) for f in frames)
    if unsync and version < 4:
        body, flags = unsynchronised(body), flags | 0x80
    if unsync and version == 4:
        body = b"".join(frame(name, unsynchronised(content), 4, 0x03, syncsafe(len(content)))
                        for name, content in frames)
        flags |= 0x80
    flags |= 0x40 if extended else 0
    flags |= 0x10 if footer else 0
    body = extended + body + bytes(padding)
    header = bytes([version, 0, flags]) + syncsafe(len(body))
    return b"ID3" + header + body + (b"3DI" + header if footer else b"")


def id3v1(title=b"Old title", artist=b"Old artist", album=b"Old album", year=b"1999",
          comment=b"old comment", track=7, genre=17, filler=b"\0"):
    """An ID3v1.1 tag; ID3v1.0 if the comment has 30 bytes."""
    texts = [value.ljust(length, filler) for value, length in
             ((title, 30), (artist, 30), (album, 30), (year, 4), (comment, 28))]
    end = bytes([genre]) if len(comment) == 30 else bytes([0, track, genre])
    return b"TAG" + b"".join(texts) + end


def lyrics3(*fields):
    """A Lyrics3v2 block, which stands before an ID3v1 tag."""
    body = b"LYRICSBEGIN" + b"".join(name + b"%05d" % len(value) + value for name, value in fields)
    return body + b"%06d" % len(body) + b"LYRICS200"


TEXT, BINARY, LOCATOR = 0, 2, 4


def ape_item(key, value, kind=TEXT):
    """An item of an APE tag."""
    value = value.encode() if isinstance(value, str) else value
    return struct.pack("<II", len(value), kind) + key.encode() + b"\0" + value


def ape(*items, version=2000, header=True, read_only=False):
    """An APE tag of (key, value[, kind]) triples."""
    body = b"".join(ape_item(*item) for item in items)
    flags = (1 << 31 if header else 0) | read_only

    def end(more):
        return b"APETAGEX" + struct.pack("<IIII8x", version, len(body) + 32, len(items),
                                         flags | more if version == 2000 else 0)

    return (end(1 << 29) if header else b"") + body + end(0)
