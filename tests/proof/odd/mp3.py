"""MP3 files."""

import struct
import zlib

from . import id3
from .frames import FRAMES, FRAMES_OF_2_3, FRAMES_OF_2_4, common, texts
from .id3 import LATIN1, UTF8, UTF16, UTF16BE, ape, compressed, frame, id3v1, syncsafe, tag

PADDINGS = (0, 1, 10, 60000)


def of_versions(audio, image):
    """What all versions of ID3v2 have."""
    for version in (2, 3, 4):
        name = f"id3v2.{version}"
        yield f"{name}_latin1", tag(common(version, LATIN1), version) + audio
        yield f"{name}_utf16", tag(common(version, UTF16), version) + audio
        for padding in PADDINGS:
            yield (f"{name}_padding_{padding}",
                   tag(common(version, LATIN1), version, padding=padding) + audio)
        yield f"{name}_without_frames", tag([], version, padding=32) + audio
        yield (f"{name}_mixed_encodings",
               tag([("TIT2", id3.text("Título", LATIN1)), ("TPE1", id3.text("Künstler", UTF16)),
                    ("TALB", id3.text("日本", UTF16)), ("TCOM", id3.text("C", LATIN1))], version)
               + audio)
        yield (f"{name}_texts_end_with_zeros",
               tag([("TIT2", id3.text("Title", LATIN1, b"\0")),
                    ("TPE1", id3.text("Artist", UTF16, b"\0\0")),
                    ("TALB", id3.text("Album", LATIN1, b"\0\0\0"))], version) + audio)
        yield (f"{name}_big_endian_utf16",
               tag([("TIT2", b"\1\xfe\xff" + "Tïtle".encode("utf-16-be")),
                    ("TCOM", b"\1\xfe\xff" + "Cömposer".encode("utf-16-be"))], version) + audio)
        yield f"{name}_empty_texts", tag([("TIT2", b"\0"), ("TPE1", b"\0\0"), ("TCOM", b"\0"),
                                          ("TALB", id3.text("A"))], version) + audio
        yield (f"{name}_unsynchronised",
               tag([("TIT2", id3.text("ÿÿà", LATIN1)), ("TALB", id3.text("Ωÿ", UTF16)),
                    ("PRIV" if version > 2 else "UFID", b"me\0\xff\xe0\xff\0\xff\xff")],
                   version, unsync=True, padding=20) + audio)
        yield (f"{name}_several_languages",
               tag([("COMM", id3.described("", f"{language} comment", LATIN1, language.encode()))
                    for language in ("deu", "fra", "eng", "XXX", "ENG")]
                   + [("USLT", id3.described("", f"{language} words", UTF16, language.encode()))
                      for language in ("deu", "eng", "jpn")], version) + audio)
        yield (f"{name}_several_comments",
               tag([("COMM", id3.described(name, f"about {name}", LATIN1, b"eng"))
                    for name in ("iTunNORM", "comment", "Songs-DB_Custom1", "", "ID3v1 Comment")],
                   version) + audio)
        yield (f"{name}_user_texts",
               tag([("TXXX", id3.described(name, name.lower(), encoding))
                    for name, encoding in (("CATALOGNUMBER", UTF16), ("CatalogNumber", LATIN1),
                                           ("MusicBrainz Album Id", LATIN1), ("Ünicode", UTF16),
                                           ("", LATIN1), ("empty value", LATIN1))]
                   + [("TXXX", id3.described("nothing", ""))], version) + audio)
        pictures = ([("PIC", id3.picture_2_2(image, kind, f"no {kind}")) for kind in (0, 3, 4, 17)]
                    if version == 2 else
                    [("APIC", id3.picture(image, kind, f"no {kind}", encoding=kind % 2))
                     for kind in (0, 1, 3, 4, 17, 20)])
        yield f"{name}_several_pictures", tag(pictures, version) + audio
        linked = (("PIC", id3.picture_2_2(b"http://example.org/a", form=b"-->")) if version == 2
                  else ("APIC", id3.picture(b"http://example.org/a", mime=b"-->")))
        yield f"{name}_linked_picture", tag([linked], version) + audio
        yield (f"{name}_unknown_frames",
               tag([("XZZ" if version == 2 else "XZZZ", b"\0\1\2what is this"),
                    ("TZZ" if version == 2 else "TZZZ", id3.text("unknown text")),
                    ("WZZ" if version == 2 else "WZZZ", b"http://example.org")], version) + audio)
        yield f"{name}_numbers_with_zeros", tag(texts(
            TRCK="01/09", TPOS="00/02", TBPM="099.5", TYER="0099", TCMP="1"), version) + audio
        yield f"{name}_odd_pairs", tag(texts(TRCK="A3", TPOS="1/2/3", TCON="(17)Rock"),
                                       version) + audio
        yield (f"{name}_several_ratings",
               tag([("POPM", user + b"\0" + bytes([rating]) + counter) for user, rating, counter in
                    ((b"a@b", 196, b""), (b"Windows Media Player 9 Series", 255, bytes(4)),
                     (b"no@email", 128, b"\0\0\0\1"), (b"", 1, b"\1\0\0\0\0\7"))], version) + audio)
        for genre in ("(17)", "17", "(RX)", "(4)(17)Other", "((Foo)", "Rock/Pop", "Cover"):
            label = "".join(c if c.isalnum() else "-" for c in genre)
            yield f"{name}_genre_{label}", tag(texts(TCON=genre), version) + audio


def of_dates(audio):
    """The ways to write when."""
    cases = {"year": {"TYER": "1999"}, "year_and_date": {"TYER": "1999", "TDAT": "3112"},
             "year_date_time": {"TYER": "1999", "TDAT": "3112", "TIME": "2359"},
             "date_without_year": {"TDAT": "3112"}, "original_year": {"TORY": "1970"},
             "recording_dates": {"TRDA": "4th-7th June", "TYER": "1999"},
             "size": {"TSIZ": "12345", "TYER": "1999"},
             "timestamp_in_2.3": {"TDRC": "1999-12-31", "TYER": "1998"}}
    for label, frames in cases.items():
        yield f"id3v2.3_{label}", tag(texts(**frames), 3) + audio
    yield "id3v2.2_date", tag(texts(TYER="1999", TDAT="3112", TIME="2359"), 2) + audio
    for label, frames in {
            "timestamp": {"TDRC": "1999-12-31T23:59:58", "TDOR": "1970-01", "TDRL": "2001",
                          "TDEN": "2002-01-01T00", "TDTG": "2003-04-05T06:07"},
            "year_frame_in_2.4": {"TYER": "1999", "TDAT": "3112"},
            "both_years": {"TDRC": "2001", "TYER": "1999"}}.items():
        yield f"id3v2.4_{label}", tag(texts(**frames), 4) + audio


def of_frames(audio):
    """A frame of each kind, and several of those of which a tag may have several."""
    for version, own in ((3, FRAMES_OF_2_3), (4, FRAMES_OF_2_4)):
        for label, frames in (("common", FRAMES), ("own", own)):
            yield f"id3v2.{version}_{label}_frames", tag(
                [(name, body) for name, bodies in frames.items() for body in bodies], version,
                padding=10) + audio


def of_2_3(audio):
    """What only ID3v2.3 has."""
    frames = b"".join(frame(name, body, 3) for name, body in common(3, LATIN1))
    yield "id3v2.3_extended_header", tag([frames], 3, extended=struct.pack(">IHI", 6, 0, 12),
                                         padding=12) + audio
    yield ("id3v2.3_extended_header_with_crc",
           tag([frames], 3, extended=struct.pack(">IHII", 10, 0x8000, 0, zlib.crc32(frames)))
           + audio)
    yield "id3v2.3_compressed_frame", tag([compressed("TCOM", id3.text("C" * 300), 3),
                                           ("TIT2", id3.text("T"))], 3) + audio
    yield "id3v2.3_encrypted_frame", tag([frame("TCOM", b"secret", 3, 0x40, b"\x80"),
                                          ("ENCR", b"me\0\x80"), ("TIT2", id3.text("T"))],
                                         3) + audio
    yield "id3v2.3_grouped_frame", tag([frame("TCOM", id3.text("C"), 3, 0x20, b"\x81"),
                                        ("GRID", b"us\0\x81"), ("TIT2", id3.text("T"))], 3) + audio
    yield "id3v2.3_read_only_frames", tag([frame("TCOM", id3.text("C"), 3, 0xe000),
                                           frame("PRIV", b"me\0data", 3, 0x2000)], 3) + audio
    yield "id3v2.3_experimental", tag(common(3, LATIN1), 3, flags=0x20) + audio
    yield "id3v2.3_utf8_text", tag([("TIT2", id3.text("Tïtle", UTF8)),
                                    ("TCOM", id3.text("Cömposer", UTF8))], 3) + audio
    yield "id3v2.3_values_with_slashes", tag(texts(TPE1="One/Two", TCOM="A/B/C"), 3) + audio
    yield "id3v2.3_values_with_zeros", tag([("TPE1", id3.text(["One", "Two"])),
                                            ("TCOM", id3.text(["A", "B"], UTF16))], 3) + audio


def of_2_4(audio):
    """What only ID3v2.4 has."""
    few = [("TIT2", id3.text("T", UTF8)), ("TCOM", id3.text("C", UTF8))]
    yield "id3v2.4_utf8", tag(common(4, UTF8), 4) + audio
    yield "id3v2.4_utf16_without_mark", tag(common(4, UTF16BE), 4) + audio
    yield "id3v2.4_footer", tag(common(4, UTF8), 4, footer=True) + audio
    for encoding, label in ((LATIN1, "latin1"), (UTF16, "utf16"), (UTF8, "utf8")):
        yield (f"id3v2.4_several_values_{label}",
               tag([("TIT2", id3.text(["T1", "T2"], encoding)), ("TPE1", id3.text(
                   ["A1", "A2", "A3"], encoding)), ("TCON", id3.text(["17", "Jazz"], encoding)),
                    ("TCOM", id3.text(["C1", "C2"], encoding))], 4) + audio)
    yield "id3v2.4_extended_header", tag(few, 4, extended=syncsafe(6) + b"\1\0") + audio
    yield "id3v2.4_extended_header_update", tag(
        few, 4, extended=syncsafe(7) + b"\1\x40\0", padding=5) + audio
    yield ("id3v2.4_extended_header_full",
           tag(few, 4, extended=syncsafe(15) + b"\1\x70\0" + b"\5" + syncsafe(0x1234567, 5)
               + b"\1\x5b") + audio)
    yield "id3v2.4_compressed_frame", tag([compressed("TCOM", id3.text("C" * 300, UTF8), 4),
                                           *few[:1]], 4) + audio
    yield "id3v2.4_encrypted_frame", tag([frame("TCOM", b"secret", 4, 0x05, b"\x80" + syncsafe(6)),
                                          ("ENCR", b"me\0\x80"), *few[:1]], 4) + audio
    yield "id3v2.4_grouped_frame", tag([frame("TCOM", id3.text("C", UTF8), 4, 0x40, b"\x81"),
                                        ("GRID", b"us\0\x81"), *few[:1]], 4) + audio
    yield "id3v2.4_data_length", tag([frame("TCOM", id3.text("C", UTF8), 4, 0x01, syncsafe(2)),
                                      *few[:1]], 4) + audio
    body = id3.unsynchronised(b"me\0\xff\xe0\xff\0")
    yield "id3v2.4_unsynchronised_frame", tag([frame("PRIV", body, 4, 0x02), *few], 4) + audio
    yield ("id3v2.4_unsynchronised_frame_with_length",
           tag([frame("PRIV", body, 4, 0x03, syncsafe(7)), *few], 4, flags=0x80) + audio)
    yield "id3v2.4_read_only_frames", tag([frame("TCOM", id3.text("C"), 4, 0x7000),
                                           frame("PRIV", b"me\0data", 4, 0x1000)], 4) + audio
    yield "id3v2.4_long_frame", tag([("TCOM", id3.text("C" * 70000)), *few[:1]], 4) + audio
    yield "id3v2.4_several_frames_of_a_text", tag(
        [("TIT2", id3.text("T1")), ("TIT2", id3.text("T2")), ("TCOM", id3.text("C1")),
         ("TCOM", id3.text("C2"))], 4) + audio


def of_places(audio):
    """Tags elsewhere than in front, and several tags."""
    front = tag(texts(TIT2="Front", TPE1="Front artist"), 4, padding=16)
    old = tag(texts(TIT2="Front", TYER="1999"), 3, padding=16)
    end = tag(texts(TIT2="End", TCOM="End composer"), 4, footer=True)
    items = ape(("Title", "APE title"), ("Artist", "One\0Two"), ("Year", "2001"),
                ("Catalog", "CAT 1"), ("Cover Art (Front)", b"c.png\0image", id3.BINARY))
    lyrics = id3.lyrics3((b"IND", b"100"), (b"LYR", b"[00:01]la la\r\n"), (b"ETT", b"Long title"))
    yield "no_tag_zeros_in_front", bytes(300) + audio
    yield "tag_at_the_end", audio + end
    yield "tag_at_the_end_before_id3v1", audio + end + id3v1()
    yield "tags_at_both_ends", front + audio + end
    yield "two_tags_in_front", front + old + audio
    yield "two_equal_tags_in_front", front + front + audio
    yield "zeros_after_the_tag", front + bytes(500) + audio
    yield "seek_frame", tag([("SEEK", struct.pack(">I", len(audio)))], 4) + audio + end
    yield "id3v1", audio + id3v1()
    yield "id3v1.0", audio + id3v1(comment=b"c" * 30)
    yield "id3v1_spaces", audio + id3v1(filler=b" ")
    yield "id3v1_full", audio + id3v1(b"t" * 30, b"a" * 30, b"l" * 30, b"2024", b"c" * 28, 255, 191)
    yield "id3v1_empty", audio + id3v1(b"", b"", b"", b"", b"", 0, 255)
    yield "id3v1_utf8_and_latin1", audio + id3v1("Tïtle".encode(), "Künstler".encode("latin-1"))
    yield "id3v1_enhanced", audio + b"TAG+" + bytes(223) + id3v1()
    yield "id3v1_lyrics3", audio + lyrics + id3v1()
    for label, before in (("id3v2.3", old), ("id3v2.4", front)):
        yield f"{label}_id3v1", before + audio + id3v1()
        yield f"{label}_id3v1_lyrics3", before + audio + lyrics + id3v1()
        yield f"{label}_ape", before + audio + items
        yield f"{label}_ape_id3v1", before + audio + items + id3v1()
    yield "id3v2.2_ape_id3v1", tag(common(2, LATIN1), 2) + audio + items + id3v1()
    yield "ape", audio + items
    yield "ape_id3v1", audio + items + id3v1()
    yield "ape_without_header", audio + ape(("Title", "APE title"), header=False)
    yield "ape_read_only", audio + ape(("Title", "APE title"), read_only=True)
    yield "ape_version_1", audio + ape(("Title", "APE title"), ("Year", "1999"), version=1000,
                                       header=False) + id3v1()
    yield "ape_locators", audio + ape(("File", "http://example.org/a", id3.LOCATOR),
                                      ("Related", "a\0b", id3.LOCATOR),
                                      ("Title", "APE title")) + id3v1()
    yield "ape_replaygain_mp3gain", audio + ape(
        ("MP3GAIN_MINMAX", "100,180"), ("REPLAYGAIN_TRACK_GAIN", "-6.50 dB"), ("MP3GAIN_UNDO",
                                                                               "+001,+001,N"))
    yield "ape_in_front", items + audio
    yield "ape_empty", front + audio + ape()
    yield "junk_after_the_audio", front + audio + b"junk" * 40
    yield "junk_before_id3v1", audio + b"\0" * 100 + id3v1()


def of_audio(encoders):
    """Other streams."""
    for label, audio in encoders.mpeg_streams():
        yield f"stream_{label}", audio
        yield f"stream_{label}_tagged", tag(common(3, UTF16), 3) + audio + id3v1()


def files(encoders):
    """(name, bytes) of each file."""
    audio, image = encoders.data("mp3_plain.mp3"), encoders.data("cover_red.png")
    for made in (of_versions(audio, image), of_dates(audio), of_frames(audio), of_2_3(audio),
                 of_2_4(audio), of_places(audio), of_audio(encoders)):
        for name, data in made:
            yield f"{name}.mp3", data
