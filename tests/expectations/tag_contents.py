"""All that is in an audio file beside padding, by name: every frame, atom, field, attribute and
item to the byte, and a digest of the audio data as it is stored.

Names are "ID3v2 TCOM", "ID3v1 title", "MP4 ©wrt", "Xiph COMPOSER", "ASF WM/Composer",
"APE Composer", "FLAC block 2", "chunk LIST"; each has a list of values. A TXXX frame has its
description in the name.
"""

import hashlib
import io
import struct

import mutagen
import mutagen.asf
import mutagen.flac
import mutagen.mp4
import mutagen.ogg


class Contents(dict):
    """Values by name."""

    def add(self, name, value):
        self.setdefault(name, []).append(value)

    def add_audio(self, data):
        self["audio"] = hashlib.md5(data).hexdigest()


def syncsafe(data):
    return data[0] << 21 | data[1] << 14 | data[2] << 7 | data[3]


def id3v2_size(data):
    """The bytes of an ID3v2 tag at the start of `data`, 0 when there is none."""
    return 10 + syncsafe(data[6:10]) if data.startswith(b"ID3") else 0


CODECS = {0: "latin-1", 1: "utf-16", 2: "utf-16-be", 3: "utf-8"}
# What ID3v2.2 calls the frames of later versions.
ID3V22_NAMES = {"TT2": "TIT2", "TP1": "TPE1", "TAL": "TALB", "TRK": "TRCK", "COM": "COMM",
                "PIC": "APIC"}


def texts(encoding, data, least=1):
    """The texts in `data`, which zeros separate; a zero may end the last one. There are at least so
    many."""
    found = [text.lstrip("\ufeff") for text in data.decode(CODECS[encoding]).split("\0")]
    return found[:-1] if found[-1] == "" and len(found) > least else found


def picture_frame(body, version):
    """(encoding, MIME type, picture type, description, image)"""
    mime, rest = (body[1:4], body[4:]) if version == 2 else body[1:].split(b"\0", 1)
    description, image = rest[1:].split(b"\0", 1)  # in one byte a character
    return (body[0], mime.decode(), rest[0], description.decode(), image)


def add_id3v2(contents, data):
    """The frames of a tag without extended header and unsynchronisation. Texts are
    (encoding, text), comments and lyrics (encoding, language, description, text)."""
    version = data[3]
    contents["ID3v2"] = [f"2.{version}"]
    id_size, header_size = (3, 6) if version == 2 else (4, 10)
    at, end = 10, id3v2_size(data)
    while at + header_size <= end and data[at]:
        name = data[at:at + id_size].decode()
        name = ID3V22_NAMES.get(name, name)
        raw_size = data[at + id_size:at + 2 * id_size]
        size = syncsafe(raw_size) if version == 4 else int.from_bytes(raw_size, "big")
        value = body = data[at + header_size:at + header_size + size]
        flags = data[at + 8:at + 10] if version == 4 else b"\0\0"
        if any(flags):
            value = (flags, body)
        elif name[0] == "T" or name == "GRP1":
            value = (body[0], *texts(body[0], body[1:], 2 if name == "TXXX" else 1))
        elif name in ("COMM", "USLT"):
            value = (body[0], body[1:4].decode(), *texts(body[0], body[4:], 2))
        elif name == "APIC":
            value = picture_frame(body, version)
        contents.add(f"ID3v2 TXXX:{value[1]}" if name == "TXXX" else "ID3v2 " + name, value)
        at += header_size + size


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
        contents.add("APE " + key.decode(),
                     ({0: "text", 2: "binary"}.get(item_flags, item_flags), rest[:length]))
        items = rest[length:]
    return data[:len(data) - size - (32 if flags & 1 << 31 else 0)]


def add_tail(contents, data):
    """The tags at the end of a file. Returns the bytes before them."""
    if data[-128:].startswith(b"TAG"):
        add_id3v1(contents, data[-128:])
        data = data[:-128]
    return add_ape(contents, data)


def of_mpeg(data):
    contents = Contents()
    if data.startswith(b"ID3"):
        add_id3v2(contents, data)
    contents.add_audio(add_tail(contents, data[id3v2_size(data):]))
    return contents


def of_ape(data):
    contents = Contents()
    contents.add_audio(add_tail(contents, data))
    return contents


def of_chunks(data):
    """RIFF and IFF files."""
    contents = Contents()
    at = 12
    while at + 8 <= len(data):
        name, size = struct.unpack(">4sI" if data.startswith(b"FORM") else "<4sI", data[at:at + 8])
        body = data[at + 8:at + 8 + size]
        if name.upper() == b"ID3 ":
            add_id3v2(contents, body)
        else:
            contents.add("chunk " + name.decode(), body)
        at += 8 + size + size % 2
    return contents


def of_dsf(data):
    contents = Contents()
    pointer, = struct.unpack("<Q", data[20:28])
    if pointer:
        add_id3v2(contents, data[pointer:])
    contents.add_audio(data[:20] + data[28:pointer or len(data)])
    return contents


def of_mp4(data):
    contents = Contents()
    file = io.BytesIO(data)
    atoms = mutagen.mp4.Atoms(file)
    contents.add_audio(b"".join(atom.read(file)[1] for atom in atoms.atoms
                                if atom.name == b"mdat"))
    try:
        items = atoms.path(b"moov", b"udta", b"meta", b"ilst")[-1].children
    except KeyError:
        return contents
    for item in items:
        body = item.read(file)[1]
        name = item.name.decode("latin-1")
        if name == "----":
            mean = int.from_bytes(body[:4], "big")
            label = int.from_bytes(body[mean:mean + 4], "big")
            name += f":{body[12:mean].decode()}:{body[mean + 12:mean + label].decode()}"
        contents.add("MP4 " + name, body)
    return contents


def add_xiph(contents, comment):
    contents["Xiph vendor"] = [comment.vendor]
    for name, value in comment:
        contents.add("Xiph " + name.upper(), value)


def of_flac(data):
    contents = Contents()
    if data.startswith(b"ID3"):
        add_id3v2(contents, data)
    at, last = id3v2_size(data) + 4, False
    while not last:
        last, kind = bool(data[at] & 0x80), data[at] & 0x7f
        size = int.from_bytes(data[at + 1:at + 4], "big")
        body = data[at + 4:at + 4 + size]
        if kind == mutagen.flac.VCFLACDict.code:
            add_xiph(contents, mutagen.flac.VCFLACDict(body))
        elif kind != mutagen.flac.Padding.code:
            contents.add(f"FLAC block {kind}", body)
        at += 4 + size
    contents.add_audio(add_tail(contents, data[at:]))
    return contents


def of_ogg(data):
    contents = Contents()
    file = io.BytesIO(data)
    pages = []
    while file.tell() < len(data):
        pages.append(mutagen.ogg.OggPage(file))
    packets = mutagen.ogg.OggPage.to_packets(pages)
    add_xiph(contents, mutagen.File(io.BytesIO(data)).tags)
    if packets[0].startswith(b"\x7fFLAC"):
        contents["last block"] = [index for index, packet in enumerate(packets)
                                  if index and packet[0] & 0x80 and packet[0] != 0xff]
    del packets[1]
    contents.add_audio(b"".join(packets))
    return contents


# GUIDs of ASF objects.
CONTENT_DESCRIPTION = bytes.fromhex("3326b2758e66cf11a6d900aa0062ce6c")
DATA_OBJECT = bytes.fromhex("3626b2758e66cf11a6d900aa0062ce6c")
DESCRIPTION_TEXTS = ("Title", "Author", "Copyright", "Description", "Rating")


def of_asf(data):
    contents = Contents()
    tags = mutagen.asf.ASF(io.BytesIO(data)).tags
    attributes = {key: [(value.TYPE, value.value) for value in tags[key]] for key in tags.keys()}
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
           "m4a": of_mp4, "flac": of_flac, "ogg": of_ogg, "oga": of_ogg, "opus": of_ogg,
           "wma": of_asf, "ape": of_ape, "wv": of_ape, "mpc": of_ape}


def tag_contents(path, extension=None):
    """The contents of the file, read as what its extension or `extension` says."""
    with open(path, "rb") as file:
        data = file.read()
    return READERS[extension or path.rpartition(".")[2].lower()](data)
