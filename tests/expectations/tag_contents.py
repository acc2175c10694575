"""All that is in an audio file beside padding, by name: every frame, atom, field, attribute and
item to the byte, and a digest of the audio data as it is stored.

Names are "ID3v2 TCOM", "ID3v1 title", "MP4 ©wrt", "Xiph COMPOSER", "ASF WM/Composer",
"APE Composer", "FLAC block 2", "chunk LIST"; each has a list of values. A TXXX frame has its
description in the name. A second tag of a kind has a number: "ID3v2 (2) TCOM".
"""

import hashlib
import io
import struct

import mutagen.asf

from id3v2_contents import add_id3v2, id3v2_size
from mp4_contents import add_items, whole


FLAC_COMMENT, FLAC_PADDING = 4, 1


class Contents(dict):
    """Values by name."""

    def add(self, name, value):
        self.setdefault(name, []).append(value)

    def add_audio(self, data):
        self["audio"] = hashlib.md5(data).hexdigest()


def add_id3v1(contents, tag):
    """ID3v1.1, which is ID3v1 with a track number."""
    for name, start, end in (("title", 3, 33), ("artist", 33, 63), ("album", 63, 93),
                             ("year", 93, 97), ("comment", 97, 125)):
        contents["ID3v1 " + name] = [tag[start:end].rstrip(b"\0 ").decode("latin-1")]
    contents["ID3v1 track"] = [tag[126]]
    contents["ID3v1 genre"] = [tag[127]]


def add_ape(contents, data):
    """The APE tag at the end of `data`. Returns the bytes before it."""
    footer = data[-32:]
    if not footer.startswith(b"APETAGEX"):
        return data
    # The number of items is not looked at: TagLib counts empty ones that it does not write.
    size, _, flags = struct.unpack("<III", footer[12:24])
    items = data[len(data) - size:-32]
    while items:
        length, item_flags = struct.unpack("<II", items[:8])
        key, _, rest = items[8:].partition(b"\0")
        contents.add("APE " + key.decode("latin-1"),
                     ({0: "text", 2: "binary"}.get(item_flags, item_flags), rest[:length]))
        items = rest[length:]
    return data[:len(data) - size - (32 if flags & 1 << 31 else 0)]


def add_tail(contents, data):
    """The tags at the end of a file. Returns the bytes before them."""
    if data[-128:].startswith(b"TAG") and data[-131:-123] != b"APETAGEX":
        add_id3v1(contents, data[-128:])
        data = data[:-128]
    data = add_ape(contents, data)
    if data[-10:].startswith(b"3DI"):
        start = len(data) - id3v2_size(b"ID3" + data[-7:])
        add_id3v2(contents, data[start:], "ID3v2 at the end")
        data = data[:start]
    return data


def add_front(contents, data):
    """The ID3v2 tags in front of a file. Returns the bytes after them."""
    count = 0
    while data.startswith(b"ID3"):
        count += 1
        add_id3v2(contents, data, "ID3v2" if count == 1 else f"ID3v2 ({count})")
        data = data[id3v2_size(data):]
    return data


def of_mpeg(data):
    contents = Contents()
    contents.add_audio(add_tail(contents, add_front(contents, data)))
    return contents


def of_ape(data):
    contents = Contents()
    contents.add_audio(add_tail(contents, data))
    return contents


def of_chunks(data):
    """RIFF and IFF files."""
    contents = Contents()
    at, tags, order = 12, 0, "<" if data.startswith((b"RIFF", b"RF64")) else ">"
    while at + 8 <= len(data):
        name, size = struct.unpack(order + "4sI", data[at:at + 8])
        body = data[at + 8:at + 8 + size]
        if name.upper() == b"ID3 " and body:
            tags += 1
            add_id3v2(contents, body, "ID3v2" if tags == 1 else f"ID3v2 ({tags})")
        else:
            contents.add("chunk " + name.decode("latin-1"), body)
        at += 8 + size + size % 2
    return contents


def of_dsf(data):
    contents = Contents()
    pointer, = struct.unpack("<Q", data[20:28])
    if pointer:
        add_id3v2(contents, data[pointer:])
        after = data[pointer + id3v2_size(data[pointer:]):]
        if after:
            contents["bytes after the tag"] = [after]
    contents.add_audio(data[:20] + data[28:pointer or len(data)])
    return contents


def of_mp4(data):
    contents = Contents()
    add_items(contents, whole(data))
    return contents


def add_xiph(contents, body, prefix="Xiph"):
    """The fields of a comment. Returns the bytes after them."""
    def packed(at):
        size, = struct.unpack("<I", body[at:at + 4])
        return body[at + 4:at + 4 + size].decode(), at + 4 + size

    vendor, at = packed(0)
    contents[f"{prefix} vendor"] = [vendor]
    count, = struct.unpack("<I", body[at:at + 4])
    at += 4
    for _ in range(count):
        field, at = packed(at)
        name, _, value = field.partition("=")
        contents.add(f"{prefix} {name.upper()}", value)
    return body[at:]


def of_flac(data):
    contents = Contents()
    data = add_front(contents, data)
    at, last, comments = 4, False, 0
    while not last:
        last, kind = bool(data[at] & 0x80), data[at] & 0x7f
        size = int.from_bytes(data[at + 1:at + 4], "big")
        body = data[at + 4:at + 4 + size]
        if kind == FLAC_COMMENT:
            comments += 1
            add_xiph(contents, body, "Xiph" if comments == 1 else f"Xiph ({comments})")
        elif kind != FLAC_PADDING:
            contents.add(f"FLAC block {kind}", body)
        at += 4 + size
    contents.add_audio(add_tail(contents, data[at:]))
    return contents


class OggStream:
    """A logical stream of an Ogg file."""

    def __init__(self):
        self.packets, self.open, self.position, self.flags = [], False, 0, 0

    def add_page(self, flags, position, sizes, body):
        """Adds what is on a page."""
        self.position, self.flags = position, flags
        for size in sizes:
            if not self.open:
                self.packets.append(b"")
            self.packets[-1] += body[:size]
            body, self.open = body[size:], size == 255

    def add_comment(self, contents, prefix):
        """Adds the fields of the comment. Returns the other packets."""
        first, comment, *others = self.packets
        for start, skipped in ((b"\1vorbis", 7), (b"OpusHead", 8), (b"\x7fFLAC", 4),
                               (b"Speex", 0)):
            if first.startswith(start):
                rest = add_xiph(contents, comment[skipped:], prefix)
                if start == b"OpusHead" and rest[:1] and rest[0] & 1:
                    contents[f"{prefix} binary"] = [rest]
                return [first, *others]
        return self.packets


def ogg_streams(data):
    """The logical streams by the place of their first pages."""
    streams, serials, at = [], {}, 0
    while at < len(data):
        flags, position, serial = struct.unpack("<BQI", data[at + 5:at + 18])
        sizes = data[at + 27:at + 27 + data[at + 26]]
        if flags & 2:
            serials[serial] = OggStream()
            streams.append(serials[serial])
        at += 27 + len(sizes)
        serials[serial].add_page(flags, position, sizes, data[at:at + sum(sizes)])
        at += sum(sizes)
    return streams


def of_ogg(data):
    contents = Contents()
    for number, stream in enumerate(ogg_streams(data), 1):
        tag, audio = (("Xiph", "audio") if number == 1 else
                      (f"Xiph ({number})", f"audio ({number})"))
        packets = stream.add_comment(contents, tag)
        if number == 1 and packets[0].startswith(b"\x7fFLAC"):
            contents["last block"] = [index for index, packet in enumerate(stream.packets)
                                      if index and packet[0] & 0x80 and packet[0] != 0xff]
        if stream.open:
            contents["unfinished packet"] = [number]
        contents[audio] = hashlib.md5(b"".join(packets)).hexdigest()
        contents[f"end of {audio}"] = [(stream.position, stream.flags & 4)]
    return contents


# GUIDs of ASF objects.
CONTENT_DESCRIPTION = bytes.fromhex("3326b2758e66cf11a6d900aa0062ce6c")
DATA_OBJECT = bytes.fromhex("3626b2758e66cf11a6d900aa0062ce6c")
DESCRIPTION_TEXTS = ("Title", "Author", "Copyright", "Description", "Rating")


def asf_value(value):
    """(type, content), followed by language and stream if they are not those of the file."""
    place = (value.language or 0, value.stream or 0)
    return (value.TYPE, value.value, *(place if any(place) else ()))


def of_asf(data):
    contents = Contents()
    tags = mutagen.asf.ASF(io.BytesIO(data)).tags
    attributes = {key: [asf_value(value) for value in tags[key]] for key in tags.keys()}
    at = data.find(CONTENT_DESCRIPTION)
    lengths = struct.unpack("<5H", data[at + 24:at + 34]) if at >= 0 else (0,) * 5
    # mutagen puts these texts in front of the attributes with the same names.
    for name, length in zip(DESCRIPTION_TEXTS, lengths):
        contents[f"ASF ({name.lower()})"] = [attributes[name].pop(0)[1] if length else ""]
    for name, values in attributes.items():
        if values:
            contents["ASF " + name] = values
    at = data.find(DATA_OBJECT)
    size, = struct.unpack("<Q", data[at + 16:at + 24])
    contents.add_audio(data[at:at + size])
    return contents


READERS = {"mp3": of_mpeg, "aif": of_chunks, "aiff": of_chunks, "wav": of_chunks, "dsf": of_dsf,
           "m4a": of_mp4, "m4b": of_mp4, "m4v": of_mp4, "mp4": of_mp4,
           "flac": of_flac, "ogg": of_ogg, "oga": of_ogg, "opus": of_ogg,
           "wma": of_asf, "ape": of_ape, "wv": of_ape, "mpc": of_ape}


def tag_contents(path, extension=None):
    """The contents of the file, read as what its extension or `extension` says."""
    with open(path, "rb") as file:
        data = file.read()
    return READERS[extension or path.rpartition(".")[2].lower()](data)
