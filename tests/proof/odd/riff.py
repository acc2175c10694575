"""WAV and AIFF files."""

import struct

from . import id3
from .frames import common, texts

DATA_SIZE_UNKNOWN = 0xffffffff


def chunk(name, body, order="<"):
    """A chunk, with a zero after an odd size."""
    return name + struct.pack(order + "I", len(body)) + body + bytes(len(body) % 2)


def wav(*chunks, form=b"RIFF"):
    """A file of chunks."""
    body = b"WAVE" + b"".join(chunks)
    return form + struct.pack("<I", len(body)) + body


def info(*pairs, odd=True):
    """A LIST chunk of INFO texts, which end with a zero."""
    return chunk(b"LIST", b"INFO" + b"".join(
        chunk(name, value.encode("latin-1") + b"\0" * odd) for name, value in pairs))


INFO = ((b"INAM", "Old title"), (b"IART", "Zoë"), (b"IPRD", "Album"), (b"ICRD", "1999"),
        (b"IGNR", "Rock"), (b"ICMT", "a comment"), (b"ITRK", "3"), (b"ISFT", "Encoder"))


def tags(version=3, **how):
    """An ID3v2 tag."""
    return id3.tag(common(version, id3.LATIN1), version, **how)


def of_wav(samples):
    """RIFF files."""
    fmt = chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, 8000, 16000, 2, 16))
    data = chunk(b"data", samples)
    tag = tags()
    yield "plain", wav(fmt, data)
    yield "info_before_data", wav(fmt, info(*INFO), data)
    yield "info_after_data", wav(fmt, data, info(*INFO))
    yield "info_unpadded_texts", wav(fmt, data, info((b"INAM", "abc"), (b"IART", "abcd"),
                                                     odd=False))
    yield "info_empty", wav(fmt, info(), data)
    yield "info_unknown_names", wav(fmt, info((b"INAM", "t"), (b"IXYZ", "who"), (b"abcd", "knows")),
                                    data)
    yield "info_twice", wav(fmt, info(*INFO), data, info((b"INAM", "Other title")))
    yield "info_several_of_a_name", wav(fmt, info((b"IART", "One"), (b"IART", "Two")), data)
    yield "list_adtl", wav(fmt, data, chunk(b"LIST", b"adtl" + chunk(b"labl", b"\1\0\0\0One\0")))
    yield "list_adtl_and_info", wav(fmt, chunk(b"LIST", b"adtl"), info(*INFO), data)
    for version in (2, 3, 4):
        yield f"id3v2.{version}_after_data", wav(fmt, data, chunk(b"id3 ", tags(version)))
        yield f"id3v2.{version}_before_data", wav(fmt, chunk(b"id3 ", tags(version)), data)
    yield "id3_in_capitals", wav(fmt, data, chunk(b"ID3 ", tag))
    yield "id3_twice", wav(fmt, chunk(b"id3 ", tag), data, chunk(b"id3 ", id3.tag(
        texts(TIT2="Second"), 4)))
    yield "id3_in_both_cases", wav(fmt, chunk(b"ID3 ", tag), data, chunk(b"id3 ", tag))
    yield "id3_and_info", wav(fmt, info(*INFO), data, chunk(b"id3 ", tag))
    yield "id3_much_padding", wav(fmt, data, chunk(b"id3 ", tags(4, padding=9001)))
    yield "id3_odd_size", wav(fmt, data, chunk(b"id3 ", tags(4, padding=len(tags(4)) % 2 + 1)))
    yield "id3_unsynchronised", wav(fmt, data, chunk(b"id3 ", id3.tag(
        [("PRIV", b"me\0\xff\xe0"), ("TIT2", id3.text("ÿ", id3.UTF16))], 3, unsync=True)))
    yield "id3_empty_chunk", wav(fmt, data, chunk(b"id3 ", b""))
    yield "chunks_before_fmt", wav(chunk(b"JUNK", bytes(28)), fmt, data)
    yield "chunks_of_odd_size", wav(fmt, chunk(b"odd1", b"a"), chunk(b"odd3", b"abc"), data,
                                    chunk(b"odd5", b"abcde"))
    yield "chunks_empty", wav(fmt, chunk(b"none", b""), data, chunk(b"non2", b""))
    yield "chunks_of_broadcasters", wav(chunk(b"bext", b"Description".ljust(602, b"\0")), fmt, data,
                                        chunk(b"iXML", b"<BWFXML/>"), chunk(b"cart", bytes(100)),
                                        chunk(b"_PMX", b"<x:xmpmeta/>"), chunk(b"axml", b"<x/>"))
    yield "chunks_cue_fact_smpl", wav(fmt, chunk(b"fact", struct.pack("<I", len(samples) // 2)),
                                      data, chunk(b"cue ", bytes(28)), chunk(b"smpl", bytes(36)))
    yield "chunks_many", wav(fmt, *(chunk(b"c%03d" % i, bytes(i)) for i in range(100)), data)
    yield "data_of_odd_size", wav(chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, 8000, 8000, 1, 8)),
                                  chunk(b"data", bytes(range(100, 151))), info(*INFO))
    yield "zeros_after_the_last_chunk", wav(fmt, data, info(*INFO)) + bytes(64)
    yield "extensible_24_bit", wav(chunk(b"fmt ", struct.pack(
        "<HHIIHHHHI", 0xfffe, 1, 8000, 24000, 3, 24, 22, 24, 4) + b"\1\0\0\0\0\0\x10\0\x80\0\0\xaa"
        b"\0\x38\x9b\x71"), chunk(b"data", samples[:3000]), info(*INFO))
    ds64 = chunk(b"ds64", struct.pack("<QQQI", len(samples) + 80, len(samples),
                                      len(samples) // 2, 0))
    rf64 = wav(ds64, fmt, b"data" + struct.pack("<I", DATA_SIZE_UNKNOWN) + samples, info(*INFO),
               form=b"RF64")
    yield "rf64", rf64[:4] + struct.pack("<I", DATA_SIZE_UNKNOWN) + rf64[8:]
    yield "rifx", (b"RIFX" + struct.pack(">I", len(samples) + 36) + b"WAVE" + chunk(
        b"fmt ", struct.pack(">HHIIHH", 1, 1, 8000, 16000, 2, 16), ">") + chunk(
            b"data", samples, ">"))


def of_aiff(samples):
    """AIFF and AIFF-C files."""
    rate = struct.pack(">HQ", 16383 + 12, 8000 << 51)
    frames = len(samples) // 2
    comm = chunk(b"COMM", struct.pack(">HIH", 1, frames, 16) + rate, ">")
    ssnd = chunk(b"SSND", bytes(8) + samples, ">")
    name = b"\x0enot compressed\0"
    swapped = b"\x0dlittle endian"
    tag = tags()

    def big(label, body):
        return chunk(label, body, ">")

    def aiff(*chunks, form=b"AIFF"):
        return big(b"FORM", form + b"".join(chunks))

    def comm_c(codec, label):
        return big(b"COMM", struct.pack(">HIH", 1, frames, 16) + rate + codec + label)

    version = big(b"FVER", b"\xa2\x80\x51\x40")
    yield "plain", aiff(comm, ssnd)
    yield "sound_first", aiff(ssnd, comm)
    for number in (2, 3, 4):
        yield f"id3v2.{number}", aiff(comm, ssnd, big(b"ID3 ", tags(number)))
    yield "id3_first", aiff(big(b"ID3 ", tag), comm, ssnd)
    yield "id3_lower_case", aiff(comm, ssnd, big(b"id3 ", tag))
    yield "id3_twice", aiff(comm, big(b"ID3 ", tag), ssnd, big(b"ID3 ", id3.tag(
        texts(TIT2="Second"), 4)))
    yield "id3_much_padding", aiff(comm, ssnd, big(b"ID3 ", tags(4, padding=9001)))
    yield "id3_odd_size", aiff(comm, ssnd, big(b"ID3 ", tags(4, padding=len(tags(4)) % 2 + 1)))
    yield "id3_unsynchronised", aiff(comm, ssnd, big(b"ID3 ", id3.tag(
        [("PRIV", b"me\0\xff\xe0")], 3, unsync=True)))
    texts_of_aiff = [big(b"NAME", b"Old title"), big(b"AUTH", b"Author"), big(b"(c) ", b"1999 me"),
                     big(b"ANNO", b"one"), big(b"ANNO", b"two")]
    yield "texts_of_its_own", aiff(*texts_of_aiff, comm, ssnd)
    yield "texts_and_id3", aiff(comm, *texts_of_aiff, ssnd, big(b"ID3 ", tag))
    yield "chunks_of_odd_size", aiff(big(b"odd1", b"a"), comm, big(b"odd3", b"abc"), ssnd)
    yield "markers_and_comments", aiff(comm, big(b"MARK", b"\0\1\0\1\0\0\0\0\3one"),
                                       big(b"COMT", b"\0\1" + bytes(8) + b"\0\2hi"), ssnd,
                                       big(b"INST", bytes(20)))
    yield "application", aiff(comm, ssnd, big(b"APPL", b"stocdata"))
    yield "offset_of_sound", aiff(comm, big(b"SSND", struct.pack(">II", 4, 0) + bytes(4) + samples))
    yield "aifc", aiff(version, comm_c(b"NONE", name), ssnd, form=b"AIFC")
    yield "aifc_sowt", aiff(version, comm_c(b"sowt", swapped), ssnd, form=b"AIFC")
    yield "aifc_id3", aiff(version, comm_c(b"NONE", name), ssnd, big(b"ID3 ", tag), form=b"AIFC")
    yield "aifc_id3_first", aiff(big(b"ID3 ", tag), version, comm_c(b"sowt", swapped), ssnd,
                                 form=b"AIFC")


def files(encoders):
    """(name, bytes) of each file."""
    samples = encoders.data("wav_plain.wav")[-6400:]
    for name, data in of_wav(samples):
        yield f"{name}.wav", data
    for name, data in of_aiff(samples):
        yield f"{name}.{'aif' if 'twice' in name else 'aiff'}", data
