"""The tables of this directory for Python, and the bytes that a value becomes in a file.

The names of stored values are those of the module tag_contents: "ID3v2 TCOM", "MP4 ©wrt",
"Xiph COMPOSER", "ASF WM/Composer", "APE Composer".
"""

import json
import os
import struct

# The columns of outcomes that TagLib decides, up to the series that the programs are built with.
TAGLIB = [f"TagLib {series}" for series in range(1, int(os.environ["TAGWRITER_TAGLIB_SERIES"]) + 1)]

PREFIXES = {"id3v2": "ID3v2 ", "mp4": "MP4 ", "xiph": "Xiph ", "asf": "ASF ", "ape": "APE "}
EMAIL = "no@email"


def _resolved(value):
    """The table with the outcomes of this series. A series without a column of its own has the
    outcome of the series before."""
    if isinstance(value, dict) and TAGLIB[0] in value:
        return value[next(column for column in reversed(TAGLIB) if column in value)]
    if isinstance(value, dict):
        return {key: _resolved(entry) for key, entry in value.items()}
    return [_resolved(entry) for entry in value] if isinstance(value, list) else value


def table(name):
    """The table in NAME.json."""
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), name + ".json")
    with open(path, encoding="utf-8") as file:
        return _resolved(json.load(file))


FIELDS = {row["key"]: row for row in table("fields")["fields"]}
VALUES = table("values")
CONTAINERS = table("containers")
ARTWORK_TYPES = table("artwork")["types"]


def family_of(file):
    """The tag family that a file's extension promises."""
    extension = file.rpartition(".")[2]
    extension = {"aif": "aiff", "m4b": "m4a", "m4v": "m4a", "mp4": "m4a"}.get(extension, extension)
    return next(container["family"] for container in CONTAINERS["containers"]
                if container["file"].endswith("." + extension))


def names_of(field, family):
    """The names under which an edit of the field stores its value."""
    return [PREFIXES[family] + name for name in FIELDS[field][family]]


def removed_names_of(field, family):
    """The names that an edit of the field only removes."""
    return [PREFIXES[family] + name
            for name in FIELDS[field].get("removes", {}).get(family, [])]


def is_core(field):
    """Whether TagLib's generic tag writes the field, into all tags that the file has."""
    return FIELDS[field].get("kind") == "core" or field == "year"


def is_refused(file, field):
    """Whether the file's format does not store the field."""
    family = family_of(file)
    if field == "cueSheet":
        return family in ("id3v2", "mp4", "asf") or file.endswith(".mpc")
    return field == "totalNumberOfTracks" and family == "asf"


def edited_names(file, field):
    """The names, in capitals, under which an edit of the field may change the file."""
    family = family_of(file)
    names = set(names_of(field, family)) | set(removed_names_of(field, family))
    if is_core(field):
        names |= set(names_of(field, "id3v2")) | set(names_of(field, "ape"))
    if "id3v1" in FIELDS[field] and (is_core(field) or file.endswith(".mp3")):
        names.add("ID3v1 " + FIELDS[field]["id3v1"])
    if field == "genre":
        names.add("ID3v1 genre")
    return {name.upper() for name in names}


def text_of(kind, family, text):
    """What a text becomes, None for nothing; an absent text is None."""
    if text:
        return text
    special = VALUES["texts"][kind].get("absent" if text is None else "empty", {})
    return special.get(family)


# Bytes -----------------------------------------------------------------------------------------

UTF8, LATIN1 = 3, 0


def _id3v2(field, value):
    kind = FIELDS[field].get("kind")
    if field == "rating":
        return EMAIL.encode() + b"\0" + bytes([value]) + bytes(4)
    if kind == "core" or field == "year":  # a frame of TagLib is in Latin-1 where that can hold it
        return (LATIN1 if value.isascii() else UTF8, value)
    prefix = {"comment": ("eng", ""), "lyrics": ("eng", ""), "userText": ("CATALOGNUMBER",)}
    return (UTF8, *prefix.get(kind, ()), value)


def atom(name, payload):
    return struct.pack(">I", len(payload) + 8) + name + payload


def mp4_data(kind, payload):
    return atom(b"data", struct.pack(">II", kind, 0) + payload)


def _mp4(name, value):
    if name == "MP4 cpil":
        return mp4_data(21, bytes([value]))
    if isinstance(value, int):
        return mp4_data(21, struct.pack(">h", value))
    if isinstance(value, list):
        pair = struct.pack(">Hhh", 0, *value)
        return mp4_data(0, pair + bytes(2) if name == "MP4 trkn" else pair)
    if name.startswith("MP4 ----:"):
        _, mean, label = name.split(":")
        return (atom(b"mean", bytes(4) + mean.encode()) + atom(b"name", bytes(4) + label.encode())
                + mp4_data(1, value.encode()))
    return mp4_data(1, value.encode())


ASF_TEXT, ASF_BYTES, ASF_BOOL, ASF_DWORD = 0, 1, 2, 3


def _asf(name, value):
    if name.startswith("ASF ("):
        return value
    kinds = {str: ASF_TEXT, bool: ASF_BOOL, int: ASF_DWORD}
    return (kinds[type(value)], value)


def stored(field, family, name, value):
    """What tag_contents finds under the name, for a value that is no None."""
    if family == "id3v2":
        return _id3v2(field, value)
    if family == "mp4":
        return _mp4(name, value)
    if family == "asf":
        return _asf(name, value)
    return ("text", value.encode()) if family == "ape" else value


def put_info(contents, field, text):
    """Sets the item of a WAV file's INFO list that an edit of the field writes, too, or removes it
    if there is no text. TagLib sorts the items."""
    name, items = FIELDS[field].get("info"), {}
    if name is None:
        return
    chunk, at = contents.pop("chunk LIST", [b"INFO"])[0], 4
    while at < len(chunk):
        size, = struct.unpack("<I", chunk[at + 4:at + 8])
        items[chunk[at:at + 4]] = chunk[at + 8:at + 8 + size]
        at += 8 + size + size % 2
    items[name.encode()] = text.encode() + b"\0" if text else b""
    if any(items.values()):
        contents["chunk LIST"] = [b"INFO" + b"".join(
            key + struct.pack("<I", len(value)) + value + bytes(len(value) % 2)
            for key, value in sorted(items.items()) if value)]


def put(contents, field, family, values):
    """Replaces the values of a field in the contents by these: one value for all its names, or a
    tuple with one per name. Removes what an edit of the field removes."""
    names = names_of(field, family)
    if not isinstance(values, tuple):
        values = (values,) * len(names)
    for name in removed_names_of(field, family):
        contents.pop(name, None)
    for name, value in zip(names, values, strict=True):
        if value is not None:
            contents[name] = [stored(field, family, name, value)]
        elif name.startswith("ASF ("):  # these are always there
            contents[name] = [""]
        else:
            contents.pop(name, None)
