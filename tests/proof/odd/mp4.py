"""MP4 files."""

import struct

from .boxes import HANDLER, Movie, box, data_atom, freeform, full, item, meta

FRONT, BACK = ["moov", "mdat"], ["mdat", "moov"]
ITUNES = "com.apple.iTunes"


def free(size, name=b"free"):
    """A box of padding, `size` bytes with its header."""
    return box(name, bytes(size - 8))


def usual():
    """The items that most files have."""
    return [item(b"\xa9nam", "Old title"), item(b"\xa9ART", "Old artist"),
            item(b"\xa9alb", "Old album"), item(b"\xa9day", "1999-12-31"),
            item(b"trkn", struct.pack(">HHHH", 0, 1, 10, 0), 0), item(b"\xa9too", "Encoder 1.0"),
            item(b"\xa9wrt", "Zoë Müller")]


def udta(*items, **how):
    """Where items are."""
    return box(b"udta", meta(*items, **how))


def of_layouts(movie):
    """Boxes in all orders."""
    tags = udta(*usual())
    for label, order in (("moov_first", FRONT), ("mdat_first", BACK)):
        yield f"{label}_no_udta", movie.file(order)
        yield f"{label}_tagged", movie.file(order, tags)
        yield f"{label}_empty_list", movie.file(order, udta())
        for size in (8, 9, 64, 2048, 50000):
            yield f"{label}_free_{size}_in_meta", movie.file(order, udta(*usual(),
                                                                         padding=free(size)))
        yield f"{label}_free_in_udta", movie.file(order, box(b"udta", meta(*usual()), free(100)))
        yield f"{label}_free_in_moov", movie.file(order, tags + free(500))
        yield f"{label}_free_before_meta", movie.file(order, box(b"udta", free(200),
                                                                 meta(*usual())))
        yield f"{label}_64_bit_mdat", movie.file(order, tags, wide_mdat=True)
        yield f"{label}_64_bit_offsets", movie.file(order, tags, wide_offsets=True)
        yield f"{label}_64_bit_both", movie.file(order, tags, wide_mdat=True, wide_offsets=True)
        yield f"{label}_free_between", movie.file([order[0], free(300), order[1]], tags)
        yield f"{label}_free_at_the_ends", movie.file([free(33), *order, free(77)], tags)
        yield f"{label}_wide_and_skip", movie.file([free(8, b"wide"), *order,
                                                    free(40, b"skip")], tags)
        yield f"{label}_unknown_boxes", movie.file(
            [box(b"uuid", bytes(range(16)), b"who knows"), *order, box(b"abcd", b"1234")], tags)
        yield f"{label}_no_tags_but_free", movie.file([order[0], free(4000), order[1]])
    yield "mdat_to_the_end_of_the_file", movie.file(FRONT, tags, to_the_end=True)
    offsets = [at for entry in movie.chunks() for at in entry[1]]
    split = offsets[len(offsets) // 2]
    yield "two_mdat_around_moov", movie.file(["mdat", "moov", "mdat2"], tags, split=split)
    yield "two_mdat_after_moov", movie.file(["moov", "mdat", free(20), "mdat2"], tags,
                                            split=split)


def of_places(movie):
    """Item lists elsewhere, or written in another way."""
    yield "meta_as_quicktime_writes_it", movie.file(FRONT, udta(*usual(), quicktime=True))
    yield "meta_without_handler", movie.file(FRONT, udta(*usual(), handler=b""))
    yield "meta_with_other_handler", movie.file(FRONT, udta(*usual(), handler=box(
        b"hdlr", full(), bytes(4), b"mdta", bytes(12), b"\0")))
    yield "meta_with_keys_beside", movie.file(FRONT, udta(*usual(), after=box(
        b"keys", full(), struct.pack(">I", 0))))
    yield "list_after_free", movie.file(FRONT, box(b"udta", box(
        b"meta", full(), HANDLER, free(100), box(b"ilst", *usual()))))
    yield "udta_with_other_boxes", movie.file(FRONT, box(
        b"udta", box(b"cprt", full(), b"\x15\xc7(c) someone\0"), meta(*usual()),
        box(b"name", b"A track")))
    yield "udta_nero_chapters", movie.file(FRONT, box(b"udta", meta(*usual()), box(
        b"chpl", full(1), b"\0\0\0\0\1", bytes(8), b"\5First")))
    yield "udta_without_meta", movie.file(FRONT, box(b"udta", box(b"name", b"A track")))
    yield "udta_ends_with_zeros", movie.file(FRONT, box(b"udta", meta(*usual()), bytes(4)))
    yield "quicktime_texts", movie.file(FRONT, box(
        b"udta", box(b"\xa9nam", struct.pack(">HH", 3, 0x55c4), b"QTx"), meta(*usual())))
    yield "meta_in_moov", movie.file(FRONT, box(b"meta", full(), HANDLER, box(
        b"ilst", item(b"\xa9nam", "In moov"))) + udta(*usual()))
    yield "meta_of_the_file", movie.file(
        [box(b"meta", full(), HANDLER, box(b"ilst", item(b"\xa9nam", "Of the file"))), *FRONT],
        udta(*usual()))
    yield "udta_of_a_track", _with_track_udta(movie)


def _with_track_udta(movie):
    track = next(entry for entry in movie.moov if entry[0] == b"trak")
    own = [b"udta", [[b"name", b"Track"], [b"tagc", b"public.main"]]]
    track[1].append(own)
    data = movie.file(FRONT, udta(*usual()))
    track[1].remove(own)
    return data


def of_items(movie, image):
    """Items of all kinds."""
    cover = data_atom(image, 14)
    lists = {
        "texts_in_several_scripts": [item(b"\xa9nam", "日本Ω🎵"), item(b"\xa9ART", "Zoë")],
        "text_in_utf16": [item(b"\xa9nam", "日本".encode("utf-16-be"), 2)],
        "text_of_implicit_type": [item(b"\xa9nam", "Title", 0), item(b"\xa9wrt", "C", 0)],
        "text_with_locale": [box(b"\xa9nam", data_atom(b"Titel", 1, 0x15c7))],
        "texts_of_several_values": [box(b"\xa9ART", data_atom(b"One"), data_atom(b"Two")),
                                    box(b"\xa9gen", data_atom(b"Rock"), data_atom(b"Pop"))],
        "texts_several_items_of_a_name": [item(b"\xa9ART", "One"), item(b"\xa9ART", "Two")],
        "texts_empty": [item(b"\xa9nam", ""), item(b"\xa9cmt", ""), item(b"\xa9wrt", "")],
        "texts_of_all_kinds": [item(b"\xa9" + name, name.decode()) for name in (
            b"nam", b"ART", b"alb", b"cmt", b"lyr", b"gen", b"grp", b"too", b"wrk", b"mvn",
            b"enc", b"dir", b"xyz", b"con", b"pub")],
        "sort_names": [item(name, "Sorted") for name in
                       (b"sonm", b"soar", b"soal", b"soaa", b"soco", b"sosn")],
        "item_without_data": [box(b"\xa9nam"), item(b"\xa9ART", "A")],
        "genre_number": [item(b"gnre", struct.pack(">H", 18), 0)],
        "genre_number_and_text": [item(b"gnre", struct.pack(">H", 18), 0), item(b"\xa9gen", "Own")],
        "tempo_of_1_byte": [item(b"tmpo", b"\x78", 21)],
        "tempo_of_2_bytes": [item(b"tmpo", b"\0\x78", 21)],
        "tempo_of_4_bytes": [item(b"tmpo", b"\0\0\0\x78", 21)],
        "tempo_of_implicit_type": [item(b"tmpo", b"\0\x78", 0)],
        "flags": [item(name, b"\1", 21) for name in (b"cpil", b"pgap", b"pcst", b"hdvd", b"shwm")],
        "video_definition": [item(b"hdvd", b"\2", 21)],
        "flags_of_4_bytes": [item(name, b"\0\0\0\1", 21) for name in (b"cpil", b"pgap")],
        "flags_of_implicit_type": [item(name, b"\1", 0) for name in (b"cpil", b"pgap")],
        "kinds_and_ratings": [item(b"stik", b"\1", 21), item(b"rtng", b"\4", 21), item(
            b"akID", b"\0", 21)],
        "store_numbers": [item(b"cnID", b"\1\2\3\4", 21), item(b"sfID", b"\0\2\x30\x5f", 21), item(
            b"plID", bytes(range(8)), 21), item(b"atID", b"\0\0\1\0", 21), item(
                b"geID", b"\0\0\0\x14", 21)],
        "store_texts": [item(b"apID", "me@example.org"), item(b"purd", "2024-01-01 00:00:00"), item(
            b"xid ", "Vendor:isrc:DE1"), item(b"ownr", "Me"), item(b"cprt", "(c)")],
        "tv_show": [item(b"tvsh", "Show"), item(b"tven", "E1"), item(b"tvsn", b"\0\0\0\1", 21),
                    item(b"tves", b"\0\0\0\2", 21), item(b"tvnn", "Net")],
        "podcast": [item(b"pcst", b"\1", 21), item(b"catg", "News"), item(b"keyw", "a,b"),
                    item(b"purl", b"http://example.org", 0), item(b"egid", b"id-1", 0)],
        "descriptions": [item(b"desc", "short"), item(b"ldes", "long " * 300)],
        "movement_numbers": [item(b"\xa9mvi", b"\0\3", 21), item(b"\xa9mvc", b"\0\4", 21)],
        "track_of_6_bytes": [item(b"trkn", struct.pack(">HHH", 0, 1, 10), 0)],
        "disc_of_8_bytes": [item(b"disk", struct.pack(">HHHH", 0, 1, 2, 0), 0)],
        "pairs_of_integer_type": [item(b"trkn", struct.pack(">HHHH", 0, 1, 10, 0), 21)],
        "rating_text": [item(b"rate", "80")],
        "rating_number": [item(b"rate", b"\x50", 21)],
        "day_of_several_values": [box(b"\xa9day", data_atom(b"1999"), data_atom(b"2001-02-03"))],
        "covers": [box(b"covr", cover, data_atom(image, 13))],
        "cover_of_implicit_type": [box(b"covr", data_atom(image, 0))],
        "cover_bmp_and_gif": [box(b"covr", data_atom(b"BM" + bytes(50), 27), data_atom(
            b"GIF89a" + bytes(50), 12))],
        "cover_with_name": [box(b"covr", cover, box(b"name", full(), b"front.png"))],
        "cover_items": [box(b"covr", cover), box(b"covr", cover)],
        "cover_empty": [box(b"covr", data_atom(b"", 13))],
        "free_in_list": [item(b"\xa9nam", "T"), free(50), item(b"\xa9ART", "A")],
        "unknown_items": [item(b"abcd", "unknown"), item(b"\xa9zzz", "also"), item(
            b"wxyz", b"\0\1\2", 21), box(b"none", b"not even data")],
        "unknown_type_of_data": [item(b"\xa9nam", "T", 77), item(b"abcd", b"\1\2\3", 88)],
        "freeform_texts": [freeform(ITUNES, name, (b"one", 1)) for name in
                           ("LABEL", "CATALOGNUMBER", "CONDUCTOR", "DISCSUBTITLE", "label", "A")],
        "freeform_of_several_values": [freeform(ITUNES, "ARTISTS", (b"One", 1), (b"Two", 1))],
        "freeform_items_of_a_name": [freeform(ITUNES, "LABEL", (b"One", 1)), freeform(
            ITUNES, "LABEL", (b"Two", 1))],
        "freeform_of_others": [freeform("org.example", "LABEL", (b"theirs", 1)), freeform(
            "", "nobody", (b"x", 1))],
        "freeform_binary": [freeform(ITUNES, "iTunes_CDDB_1", (b"AB+1", 0)), freeform(
            ITUNES, "bin", (bytes(range(256)), 0)), freeform(ITUNES, "number", (b"\0\1", 21))],
        "freeform_soundcheck": [freeform(ITUNES, "iTunNORM", (b" 00000001" * 10, 1)), freeform(
            ITUNES, "iTunSMPB", (b" 00000000 00000840", 1))],
        "freeform_without_name": [box(b"----", box(b"mean", full(), ITUNES.encode()),
                                      data_atom(b"x"))],
        "freeform_without_data": [freeform(ITUNES, "EMPTY")],
        "freeform_in_utf16": [freeform(ITUNES, "LABEL", ("Ω".encode("utf-16-be"), 2))],
    }
    for label, items in lists.items():
        yield f"items_{label}", movie.file(FRONT, udta(*items))


def of_streams(encoders):
    """Other tracks, codecs, brands and fragments."""
    for label, data in encoders.mp4_streams():
        yield label, data


def files(encoders):
    """(name, bytes) of each file."""
    movie = Movie(encoders.mp4())
    image = encoders.data("cover_red.png")
    for made in (of_layouts(movie), of_places(movie), of_items(movie, image)):
        for name, data in made:
            yield f"{name}.m4a", data
    for name, data in of_streams(encoders):
        yield name, data
