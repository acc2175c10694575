"""ID3v2 frames of all kinds."""

import struct

from . import id3
from .id3 import UTF8, UTF16

# Frames that both versions have, with the bodies of several.
FRAMES = {
    "AENC": [b"me@example.org\0" + struct.pack(">HH", 1, 2) + b"data"],
    "COMR": [b"\0EUR1.00\0" + b"20301231" + b"http://example.org\0" + b"\1Seller\0About\0"],
    "ETCO": [b"\2" + struct.pack(">BIBI", 3, 100, 4, 200)],
    "GEOB": [b"\0text/plain\0a.txt\0first\0content", b"\1image/x\0" + "ä".encode("utf-16")
             + b"\0\0" + "second".encode("utf-16") + b"\0\0\1\2\3"],
    "LINK": [b"TALhttp://example.org\0ID"],
    "MCDI": [bytes(range(30))],
    "MLLT": [struct.pack(">HBBBBBBBB", 1, 0, 0, 4, 0, 0, 10, 8, 8) + bytes(4)],
    "OWNE": [b"\0EUR1.00\0" + b"20240101" + b"Shop"],
    "PCNT": [struct.pack(">I", 77)],
    "POSS": [b"\2" + struct.pack(">I", 1000)],
    "PRIV": [b"a@example.org\0one", b"b@example.org\0\0\1two", b"a@example.org\0three"],
    "RBUF": [struct.pack(">I", 4096)[1:] + b"\1" + struct.pack(">I", 0)],
    "RVRB": [bytes(12)],
    "SYLT": [b"\0eng\2\1first\0" + b"".join(word + b"\0" + struct.pack(">I", at) for word, at in
                                            ((b"la", 10), (b"lala", 20))),
             b"\1deu\2\1" + "ö".encode("utf-16") + b"\0\0" + "lä".encode("utf-16") + b"\0\0"
             + struct.pack(">I", 10)],
    "SYTC": [b"\2" + struct.pack(">BI", 120, 0)],
    "UFID": [b"http://musicbrainz.org\0id-1", b"http://example.org\0" + bytes(64)],
    "USER": [b"\0engTerms of use"],
    "USLT": [id3.described("one", "la la", language=b"eng"),
             id3.described("zwei", "lä lä", UTF16, b"deu")],
    "WCOM": [b"http://example.org/1", b"http://example.org/2"],
    "WOAR": [b"http://example.org/1", b"http://example.org/2\0"],
    "WOAF": [b"http://example.org/\xe4"],
    "WXXX": [id3.url("one", "http://example.org"), id3.url("", "http://example.org/2"),
             id3.described("zwei", "", UTF16) + b"http://example.org/3"],
    "CHAP": [b"ch1\0" + struct.pack(">IIII", 0, 100, 2**32 - 1, 2**32 - 1)
             + id3.frame("TIT2", b"\0One", 4)],
    "PCST": [bytes(4)],
    "TDES": [id3.text("Podcast about", UTF16)],
    "WFED": [b"\0http://example.org/feed"],
    "TCAT": [id3.text("Podcasts")],
    "TGID": [id3.text("http://example.org/episode")],
    "MVNM": [id3.text("Movement")],
    "MVIN": [id3.text("1/4")],
    "GRP1": [id3.text("Group", UTF16)],
    "TSO2": [id3.text("Sort album artist")],
    "TSOC": [id3.text("Sort composer")],
    "TCMP": [id3.text("1")],
    "TFLT": [id3.text("MPG/3")],
    "TMED": [id3.text("(DIG)")],
    "TSRC": [id3.text("DEXX19900001")],
    "TLAN": [id3.text("deu")],
    "TKEY": [id3.text("Abm")],
    "TBPM": [id3.text("120")],
    "TPE4": [id3.text("Remixer")],
    "NCON": [b"\0\1\2"],
}
# In the versions' own: the same name twice, or a name that the other does not have.
FRAMES_OF_2_3 = {
    "IPLS": [id3.text(["producer", "Someone", "engineer", "Another"])],
    "RVAD": [b"\3\x10" + bytes(8)],
    "EQUA": [b"\x10" + struct.pack(">HH", 0x8064, 100)],
    "XSOP": [id3.text("Sort artist")],
    "XDOR": [id3.text("1970-01-01")],
    "TOPE": [id3.text("Original")],
}
FRAMES_OF_2_4 = {
    "TIPL": [id3.text(["producer", "Someone", "engineer", "Another"], UTF8)],
    "TMCL": [id3.text(["piano", "Someone", "violin", "Another"], UTF8)],
    "RVA2": [b"track\0" + struct.pack(">Bhb", 1, -512, 16) + b"\0\0",
             b"album\0" + struct.pack(">Bhb", 1, 512, 0)],
    "EQU2": [b"\1curve\0" + struct.pack(">HhHh", 100, 5, 200, -5)],
    "ASPI": [struct.pack(">IIHB", 0, 1000, 2, 8) + b"\1\2"],
    "SIGN": [b"\x80signature"],
    "CTOC": [b"toc\0\3\1ch1\0"],
    "TSOP": [id3.text("Sort artist", UTF8)],
    "TSST": [id3.text("Disc title", UTF8)],
    "TPRO": [id3.text("2024 Someone", UTF8)],
    "TMOO": [id3.text("calm", UTF8)],
}


def texts(**frames):
    """Text frames in Latin-1."""
    return [(name, id3.text(value)) for name, value in frames.items()]


def common(version, encoding):
    """The frames that most files have."""
    tail = "" if encoding == id3.LATIN1 else " Ω日本"
    names = {"TIT2": "Rising Tone", "TPE1": "Zoë Müller", "TALB": "Test Tones", "TPE2": "Various",
             "TRCK": "1/10", "TPOS": "1/2", "TCON": "Rock", "TCOM": "A. Composer",
             "TYER" if version < 4 else "TDRC": "1999", "TENC": "me", "TIT1": "Group"}
    return [(name, id3.text(value + (tail if name in ("TIT2", "TCOM") else ""), encoding))
            for name, value in names.items()] + [
        ("COMM", id3.described("", "a comment" + tail, encoding, b"eng")),
        ("TXXX", id3.described("MOOD", "calm" + tail, encoding))]
