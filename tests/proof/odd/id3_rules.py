"""What TagLib does on its own to ID3v2 and ID3v1 tags."""

import re

from .changes import LOST, MISSED, NOT_EDITED, REWRITTEN, rule

# What both ID3v2 and ID3v1 have.
SHARED = ("TIT2", "TPE1", "TALB", "COMM", "TCON", "TDRC", "TRCK")
NO_PLACE_IN_2_4 = {f"ID3v2 {name}" for name in ("TSIZ", "TRDA", "RVAD", "EQUA", "TDAT", "TIME")}


@rule(MISSED, "All frames of an ID3v2.3 tag with an extended header.")
def _extended_header_2_3(c):
    return c.lost("ID3v2.*") | c.names("value") if "2.3_extended_header" in c.file else ()


@rule(MISSED, "The last frames of an ID3v2.4 tag with an extended header.")
def _extended_header_2_4(c):
    return c.lost("ID3v2.*") if "2.4_extended_header" in c.file else ()


@rule(MISSED, "The last frame of an ID3v2.2 tag without padding, if its content has no more than 4 "
      "bytes.")
def _short_last_frame(c):
    if c.before.get("ID3v2") != ["2.2"]:
        return ()
    last = [name for name in c.before if name.startswith("ID3v2 ")][-1:]
    return {name for name in c.lost("ID3v2 T.*") & set(last) if len(c.diff[name][0][0][1]) <= 3}


@rule(MISSED, "The content of an encrypted frame: it loses the mark that says that it is "
      "encrypted.")
def _encrypted(c):
    if "encrypted_frame" not in c.file:
        return ()
    return c.names("ID3v2 (flags of )?TCOM|ID3v2 (ENCR|TIT2)")


@rule(MISSED, "The content of a frame with a group identifier.")
def _grouped(c):
    return c.names("ID3v2 (flags of )?TCOM") if "grouped_frame" in c.file else ()


@rule(LOST, "Frame flags (read-only, discard if altered), and frames that are to be discarded if "
      "the tag is altered.")
def _flags(c):
    flags = c.lost("ID3v2 flags of .*")
    discard = {"2.3": 0x8000, "2.4": 0x4000}.get(c.before.get("ID3v2", [""])[0], 0)
    discarded = {name.replace("flags of ", "") for name in flags if c.before[name][0] & discard}
    return flags | {name for name in discarded if name in c.diff and c.diff[name][1] is None}


@rule(REWRITTEN, "ID3v2.2 and ID3v2.3 tags become ID3v2.4, also in front of a FLAC file.")
def _version(c):
    return c.where("ID3v2", lambda old, new: new == ["2.4"])


@rule(REWRITTEN, "TYER, TDAT and TIME become TDRC, TORY becomes TDOR, and IPLS becomes TIPL.")
def _dates(c):
    names = set()
    if c.names("ID3v2 TYER"):
        years = [text[1] for text in c.after.get("ID3v2 TDRC", [])]
        if c.edit.field == "year" or all(any(year.startswith(text) for year in years)
                                         for _, text in c.diff["ID3v2 TYER"][0]):
            names |= c.names("ID3v2 (TYER|TDRC)")
            if any("-" in year for year in years):
                names |= c.names("ID3v2 TDAT")
            if any("T" in year for year in years):
                names |= c.names("ID3v2 TIME")
    for old, new in (("TORY", "TDOR"), ("IPLS", "TIPL")):
        if (f"ID3v2 {old}" in c.diff
                and c.diff[f"ID3v2 {old}"][0] == c.diff.get(f"ID3v2 {new}", (None, None))[1]):
            names |= {f"ID3v2 {old}", f"ID3v2 {new}"}
    return names


@rule(LOST, "Frames that ID3v2.4 does not have: TSIZ, TRDA, RVAD, EQUA; TDAT and TIME without "
      "TYER.")
def _no_place(c):
    return c.lost("ID3v2 .*") & NO_PLACE_IN_2_4 if c.before.get("ID3v2") != ["2.4"] else ()


@rule(LOST, "ID3v2.2 frames that no later version has.")
def _unknown_2_2(c):
    return c.lost("ID3v2 [A-Z0-9]{3}")


@rule(REWRITTEN, "The play counter of a POPM frame gets four bytes; the rest of a longer one is "
      "lost.")
def _counter(c):
    def padded(value):
        user, _, rest = value.partition(b"\0")
        return user + b"\0" + rest[:1] + rest[1:5].rjust(4, b"\0")
    return c.where("ID3v2 POPM", lambda old, new: [padded(v) for v in old] == new)


@rule(REWRITTEN, "Zeros at the end of a text or an address, and empty texts, are removed from an "
      "ID3v2 tag.")
def _zeros(c):
    def trimmed(value):
        if isinstance(value, bytes):
            return value.rstrip(b"\0")
        while len(value) > 2 and value[-1] == "":
            value = value[:-1]
        return value
    names = c.where("ID3v2 [TW].*", lambda old, new: [trimmed(v) for v in old] == new)
    return names | {name for name in c.lost("ID3v2 T.*")
                    if all(not any(value[1:]) for value in c.diff[name][0])}


@rule(REWRITTEN, "An ID3v2 genre in parentheses is stored without them; text after a number "
      "replaces the number.")
def _genre(c):
    def plain(value):
        found = re.findall(r"\(([^()]*)\)", value[1])
        rest = re.sub(r"^(\([^()]*\))*", "", value[1])
        return ([*found, rest] if rest else found), rest
    return c.where("ID3v2 TCON", lambda old, new: "(" in old[0][1] and (
        list(new[0][1:]) in (plain(old[0])[0], [plain(old[0])[1]])))


@rule(MISSED, "An ID3v2 genre that starts with two opening parentheses.")
def _escaped_genre(c):
    return {name for name in c.names("ID3v2 TCON") if c.diff[name][0]
            and c.diff[name][0][0][1].startswith("((")}


@rule(REWRITTEN, "The three letters for the type of a picture in ID3v2.2 become a MIME type; "
      "those of a linked picture become image/-->.")
def _picture_type(c):
    types = {"PNG": "image/png", "JPG": "image/jpeg", "-->": "image/-->"}
    return c.where("ID3v2 APIC", lambda old, new: [
        (v[0], types.get(v[1]), *v[2:]) for v in old] == new)


@rule(LOST, "The last two characters of a comment of 30 in ID3v1.0, which becomes ID3v1.1.")
def _id3v1_0(c):
    return c.names("ID3v1 (track|comment)") if c.file == "id3v1.0.mp3" else ()


@rule(REWRITTEN, "An edit of a core field also adds an ID3v1 tag to an MP3 file, and what only "
      "one of its ID3 tags has is copied to the other.")
def _id3v1_of_core(c):
    if not c.is_core() or not c.file.endswith(".mp3"):
        return ()
    return {name for name in c.names("ID3v1 .*") if c.diff[name][0] in (None, [""], [0], [255])}


@rule(MISSED, "A track that is no number, such as A3, when a core field of an MP3 file is edited.")
def _odd_track(c):
    return {name for name in c.lost("ID3v2 TRCK") if c.is_core()
            and not c.diff[name][0][0][1][:1].isdigit()}


@rule(REWRITTEN, "What only the ID3v1 tag of an MP3 file has, or only the ID3 tags of a FLAC file "
      "without a comment, is copied into the tag of the format, even if that field is "
      "to be cleared.")
def _copied(c):
    if c.file.endswith(".flac"):
        if any(name.startswith("Xiph ") for name in c.before):
            return ()
        if c.edit.step == "clear":
            return c.names("Xiph [A-Z]+|value")
    return {name for name in c.names(f"ID3v2 ({'|'.join(SHARED)})|Xiph [A-Z]+")
            if c.diff[name][0] is None and any(key.startswith("ID3") for key in c.before)}


@rule(REWRITTEN, "An ID3v1 tag without content is removed.")
def _empty_id3v1(c):
    values = [c.before[name] for name in c.before if name.startswith("ID3v1 ")]
    return c.lost("ID3v1 .*") if all(v in ([""], [0], [255]) for v in values) else ()


@rule(NOT_EDITED, "A TYER frame in an ID3v2.4 tag when the year is cleared, and the second year "
      "of an ID3v2.3 tag that has both TYER and TDRC.")
def _second_year(c):
    years = c.before.get("ID3v2 TYER") or len(c.before.get("ID3v2 TDRC", [])) > 1
    return c.names("value") if c.edit.field == "year" and years else ()


@rule(NOT_EDITED, "The second of several title frames.")
def _second_text(c):
    return c.names("value") if c.file == "id3v2.4_several_frames_of_a_text.mp3" else ()
