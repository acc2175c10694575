"""What TagLib does on its own to tags other than ID3, and to more than one tag."""

from .changes import LOST, MISSED, NOT_EDITED, REWRITTEN, rule


@rule(REWRITTEN, "An edit creates the tag that it needs, with its header or boxes. A tag in which "
      "nothing is left is removed.")
def _tags_come_and_go(c):
    def has(contents, prefix):
        return any(name.startswith(prefix) and not name.startswith("ID3v2 at the end")
                   for name in contents)

    names = {name for name in c.names("ID3v2") if None in c.diff[name]
             and not has(c.before if c.diff[name][0] is None else c.after, "ID3v2 ")}
    names |= {name for name in c.names("Xiph vendor") if c.diff[name] == (None, [""])}
    names |= {name for name in c.names("APE (version|has a header|is read-only)")
              if None in c.diff[name]}
    names |= {name for name in c.names(r"box moov\.udta(\.meta(\.hdlr)?)?")
              if c.diff[name][0] is None}
    return names | c.lost("INFO|chunk id3 ")


@rule(LOST, "A second ID3v2 tag or chunk, a second INFO list, and a second comment block.")
def _second(c):
    return c.lost(r"(ID3v2|INFO|Xiph) \(2\).*") if ".og" not in c.file else ()


@rule(REWRITTEN, "Fields, items and attributes with an empty value are removed.")
def _empty(c):
    def filled(values):
        return [v for v in values if v not in ("", ("text", b""), ("binary", b""))]
    return {name for name in c.names("(Xiph|APE) .*") if c.diff[name][0]
            and filled(c.diff[name][0]) == (c.diff[name][1] or [])}


@rule(REWRITTEN, "The picture in the field COVERART becomes METADATA_BLOCK_PICTURE.")
def _coverart(c):
    if "Xiph COVERART" not in c.before or "Xiph COVERART" in c.after:
        return ()
    return c.names("Xiph (COVERART|METADATA_BLOCK_PICTURE)|value")


@rule(REWRITTEN, "Setting the year removes the field YEAR, and setting the track number removes "
      "TRACKNUM.")
def _aliases(c):
    alias = {"year": "Xiph YEAR", "trackNumber": "Xiph TRACKNUM"}.get(c.edit.field)
    return {alias} & c.lost("Xiph .*")


@rule(LOST, "What follows a zero character in a field of a Xiph comment.")
def _zero_in_field(c):
    return c.where("Xiph .*", lambda old, new: [v.partition("\0")[0] for v in old] == new)


@rule(LOST, "Binary data after the comment of an Opus file.")
def _opus_binary(c):
    return c.lost("Xiph binary")


@rule(MISSED, "In an Ogg Speex file with a Skeleton stream, a packet of that stream: a core field "
      "is written over it, and the comment stays as it was.")
def _skeleton(c):
    return c.names(r"audio \(2\)|value") if c.file == "speex_skeleton_second.oga" else ()


@rule(REWRITTEN, "An APE tag of version 1 becomes version 2, and is no longer read-only.")
def _ape_version(c):
    return c.names("APE (version|has a header|is read-only)")


@rule(LOST, "An MP4 genre in words beside a number (gnre), which replaces it.")
def _own_genre(c):
    return c.where("MP4 \xa9gen", lambda old, new: "MP4 gnre" in c.before)


@rule(REWRITTEN, "The number of an MP4 genre (gnre) becomes its name (\xa9gen).")
def _gnre(c):
    return {*c.lost("MP4 gnre"), *c.names("MP4 \xa9gen")} if "MP4 gnre" in c.diff else ()


@rule(MISSED, "MP4 texts in UTF-16 or of implicit type.")
def _encoded_texts(c):
    return {name for name in c.lost("MP4 \xa9.*")
            if c.diff[name][0][0][8:12] in (bytes(4), b"\0\0\0\2")}


@rule(LOST, "MP4 items without data, and those whose name or data type TagLib does not know.")
def _unknown_items(c):
    return c.lost("MP4 .*")


@rule(MISSED, "All but the first of several MP4 items of the same name, such as several artists.")
def _same_items(c):
    return c.where("MP4 .*", lambda old, new: len(old) > 1 and new in (old[:1], old[-1:]))


@rule(LOST, "The file name of an MP4 cover.")
def _cover_name(c):
    return c.names("MP4 covr") if c.file == "items_cover_with_name.m4a" else ()


@rule(MISSED, "MP4 numbers of 4 bytes (cpil, pgap, tmpo): they become 0.")
def _four_bytes(c):
    return c.where("MP4 (cpil|pgap|tmpo)", lambda old, new: len(old[0]) == 20 and not any(
        new[0][16:]))


@rule(LOST, "The number of the video definition in an MP4 file (hdvd), if it is more than 1: it "
      "becomes 1.")
def _definition(c):
    return c.where("MP4 hdvd", lambda old, new: old[0][16:] > b"\1" and new[0][16:] == b"\1")


@rule(REWRITTEN, "MP4 numbers and pairs get the usual data type and length, and texts lose their "
      "locale.")
def _numbers(c):
    def number(values):
        return int.from_bytes(values[0][16:], "big")
    names = c.where("MP4 (cpil|pgap|hdvd|tmpo|rate)", lambda old, new: number(old) == number(new))
    names |= c.where("MP4 (trkn|disk)", lambda old, new: old[0][16:22] == new[0][16:22])
    return names | c.where("MP4 .*", lambda old, new: old[0][16:] == new[0][16:])


@rule(LOST, "The index of an MP4 file with fragments, by which players find a time: it becomes "
      "wrong.")
def _fragment_index(c):
    return c.names("fragment in the index")


@rule(NOT_EDITED, "The length of the file in the header of a WMA file.")
def _asf_length(c):
    return c.names("length in the header") if c.file.endswith(".wma") else ()


@rule(REWRITTEN, "The values of a WMA attribute with several values change their order.")
def _asf_order(c):
    return c.where("ASF .*", lambda old, new: sorted(map(repr, old)) == sorted(map(repr, new)))


@rule(LOST, "One of two content descriptions of a WMA file.")
def _asf_twice(c):
    return c.names(r"ASF .*|value") if c.file.startswith("description_twice") else ()


@rule(MISSED, "Texts in the INFO list of a WAV file that are not UTF-8, as those with accents in "
      "Latin-1, and all but the last of several with the same name.")
def _info(c):
    def good(value):
        try:
            return bool(value.decode())
        except UnicodeDecodeError:
            return False
    return {name for name in c.names("INFO .*") if c.diff[name][0]
            and [v for v in c.diff[name][0] if good(v)][-1:] == (c.diff[name][1] or [])}


@rule(NOT_EDITED, "The core fields of an Ogg FLAC file (.oga) with a Vorbis stream beside it.")
def _flac_beside_vorbis(c):
    return c.names("reply") if c.file == "flac_multiplexed_with_vorbis.oga" and c.is_core() else ()


@rule(NOT_EDITED, "Ogg files with several streams side by side, except for some Ogg FLAC files; "
      "Speex files only for core fields.")
def _side_by_side(c):
    several = ("_multiplexed_", "_skeleton_", "_with_theora")
    return c.names("reply") if any(words in c.file for words in several) else ()


@rule(NOT_EDITED, "An attribute Author in a WMA file, beside the author in the content "
      "description.")
def _asf_author(c):
    return c.names("value") if c.edit.field == "artist" and "ASF Author" in c.after else ()


@rule(MISSED, "The end of a core field beyond 30 characters in a Monkey's Audio, WavPack or "
      "Musepack file with an ID3v1 tag and no APE tag: it is written into the ID3v1 tag "
      "only.")
def _id3v1_without_ape(c):
    tags = c.file.startswith("id3v1.") and "APE version" not in c.before
    return c.names("value") if tags else ()


@rule(NOT_EDITED, "RIFX files (WAV with numbers in big-endian order); the reply is true "
      "nevertheless.")
def _rifx(c):
    return c.names("value|reply") if c.file == "rifx.wav" else ()
