"""The frames of ID3v2 tags of all versions, with or without unsynchronisation, extended headers,
footers and frame flags."""

import struct
import zlib

CODECS = {0: "latin-1", 1: "utf-16", 2: "utf-16-be", 3: "utf-8"}
# What ID3v2.2 calls the frames of later versions.
ID3V22_NAMES = {
    "BUF": "RBUF", "CNT": "PCNT", "COM": "COMM", "CRA": "AENC", "EQU": "EQUA", "ETC": "ETCO",
    "GEO": "GEOB", "IPL": "IPLS", "LNK": "LINK", "MCI": "MCDI", "MLL": "MLLT", "PIC": "APIC",
    "POP": "POPM", "REV": "RVRB", "RVA": "RVAD", "SLT": "SYLT", "STC": "SYTC", "TAL": "TALB",
    "TBP": "TBPM", "TCM": "TCOM", "TCO": "TCON", "TCP": "TCMP", "TCR": "TCOP", "TDA": "TDAT",
    "TDY": "TDLY", "TEN": "TENC", "TFT": "TFLT", "TIM": "TIME", "TKE": "TKEY", "TLA": "TLAN",
    "TLE": "TLEN", "TMT": "TMED", "TOA": "TOPE", "TOF": "TOFN", "TOL": "TOLY", "TOR": "TORY",
    "TOT": "TOAL", "TP1": "TPE1", "TP2": "TPE2", "TP3": "TPE3", "TP4": "TPE4", "TPA": "TPOS",
    "TPB": "TPUB", "TRC": "TSRC", "TRD": "TRDA", "TRK": "TRCK", "TSI": "TSIZ", "TSS": "TSSE",
    "TT1": "TIT1", "TT2": "TIT2", "TT3": "TIT3", "TXT": "TEXT", "TXX": "TXXX", "TYE": "TYER",
    "UFI": "UFID", "ULT": "USLT", "WAF": "WOAF", "WAR": "WOAR", "WAS": "WOAS", "WCM": "WCOM",
    "WCP": "WCOP", "WPB": "WPUB", "WXX": "WXXX"}
UNSYNCHRONISED = 0x80


def syncsafe(data):
    """The number in four bytes of 7 bits."""
    return data[0] << 21 | data[1] << 14 | data[2] << 7 | data[3]


def id3v2_size(data):
    """The bytes of an ID3v2 tag at the start of `data`, 0 when there is none."""
    if not data.startswith(b"ID3"):
        return 0
    return syncsafe(data[6:10]) + (20 if data[3] == 4 and data[5] & 0x10 else 10)


def texts(encoding, data, least=1):
    """The texts in `data`, which zeros separate; a zero may end the last one. There are at least so
    many."""
    found = [text.lstrip("\ufeff") for text in data.decode(CODECS[encoding]).split("\0")]
    return found[:-1] if found[-1] == "" and len(found) > least else found


def picture_frame(body, version):
    """(encoding, MIME type, picture type, description, image)"""
    mime, rest = (body[1:4], body[4:]) if version == 2 else body[1:].split(b"\0", 1)
    kind, rest, at = rest[0], rest[1:], 0
    step = 2 if body[0] in (1, 2) else 1
    while any(rest[at:at + step]):
        at += step
    description = rest[:at].decode(CODECS[body[0]])
    return (body[0], mime.decode(), kind, description, rest[at + step:])


def value_of(name, body, version):
    """A text as (encoding, text...), a comment or lyrics as (encoding, language, description,
    text), a picture as picture_frame does; other frames, and what is not understood, as bytes."""
    try:
        if name[0] == "T" or name in ("GRP1", "IPLS", "MVNM", "MVIN"):
            return (body[0], *texts(body[0], body[1:], 2 if name == "TXXX" else 1))
        if name in ("COMM", "USLT"):
            return (body[0], body[1:4].decode(), *texts(body[0], body[4:], 2))
        if name == "APIC":
            return picture_frame(body, version)
    except (IndexError, KeyError, UnicodeDecodeError):
        pass
    return body


def synchronised(data):
    """Without the zeros of unsynchronisation."""
    return data.replace(b"\xff\0", b"\xff")


def unwrapped(body, flags, version, whole_tag):
    """The content of a frame and the flags that remain: not those on how it is stored."""
    if version == 3:
        if flags & 0x20:
            body = body[:4 * bool(flags & 0x80)] + body[4 * bool(flags & 0x80) + 1:]
        if flags & 0x80 and not flags & 0x40:
            return zlib.decompress(body[4:]), flags & ~0x80
        return body, flags
    if version == 2:
        return body, flags
    if flags & 0x40:
        body = body[1:]
    if flags & 0x04:
        return body, flags
    if flags & 0x01:
        body = body[4:]
    if flags & 0x02 or whole_tag:
        body = synchronised(body)
    if flags & 0x08:
        body = zlib.decompress(body)
    return body, flags & ~0x0b


def frames_of(data):
    """The frames of a tag, as (name, body, flags, version)."""
    version, flags = data[3], data[5]
    unsync = bool(flags & UNSYNCHRONISED)
    body = data[10:10 + syncsafe(data[6:10])]
    if unsync and version < 4:
        body = synchronised(body)
    if flags & 0x40 and version > 2:
        size = syncsafe(body) if version == 4 else struct.unpack(">I", body[:4])[0] + 4
        body = body[size:]
    id_size, header_size = (3, 6) if version == 2 else (4, 10)
    while len(body) >= header_size and body[0]:
        name = body[:id_size].decode("latin-1")
        raw_size = body[id_size:2 * id_size]
        size = syncsafe(raw_size) if version == 4 else int.from_bytes(raw_size, "big")
        frame_flags = int.from_bytes(body[8:10], "big") if version > 2 else 0
        content, frame_flags = unwrapped(body[header_size:header_size + size], frame_flags, version,
                                         unsync)
        yield ID3V22_NAMES.get(name, name), content, frame_flags, version
        body = body[header_size + size:]


def add_id3v2(contents, data, prefix="ID3v2"):
    """Adds what is in the tag at the start of `data`."""
    contents[prefix] = [f"2.{data[3]}"]
    for name, body, flags, version in frames_of(data):
        value = value_of(name, body, version)
        if flags:
            contents.add(f"{prefix} flags of {name}", flags)
        contents.add(f"{prefix} TXXX:{value[1]}" if name == "TXXX" and len(value) > 1
                     else f"{prefix} {name}", value)
