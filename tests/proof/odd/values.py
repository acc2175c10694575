"""The value of a field, or the pictures, as mutagen sees them.

Nothing, an empty text and zero are all the empty text here; tests/fields tells them apart.
"""

import base64
import hashlib
import io

from mutagen import MutagenError, aiff, apev2, asf, dsf, flac, id3, mp4
from mutagen import oggflac, oggopus, oggspeex, oggvorbis, wave

from edits import contents
from expectations import FIELDS, VALUES, family_of
from tag_contents import of_asf

from .edits import IMAGES

PAIRS = ("trackNumber", "totalNumberOfTracks", "disc")
QUICKTIME = "meta_as_quicktime_writes_it.m4a"
MAIN_COMMENTS = ("", "comment", "songs-db_custom1")
READERS = {
    "mp3": lambda stream: id3.ID3(stream, load_v1=False), "wav": wave.WAVE, "aif": aiff.AIFF,
    "aiff": aiff.AIFF, "dsf": dsf.DSF, "flac": flac.FLAC, "wma": asf.ASF,
    "ogg": oggvorbis.OggVorbis, "opus": oggopus.OggOpus,
    **dict.fromkeys(("ape", "wv", "mpc"), apev2.APEv2),
    **dict.fromkeys(("m4a", "m4b", "m4v", "mp4"), mp4.MP4)}
NO_TAG = (id3.ID3NoHeaderError, apev2.APENoHeaderError)


def opened(file, data):
    """mutagen's view of a file, None if it finds no tag."""
    stream, kind = io.BytesIO(data), READERS.get(file.rpartition(".")[2])
    if not kind:
        kind = {b"OpusHead": oggopus.OggOpus, b"Speex   ": oggspeex.OggSpeex,
                b"\x01vorbis\0": oggvorbis.OggVorbis}.get(data[28:36], oggflac.OggFLAC)
    try:
        return kind(stream)
    except NO_TAG:
        return None


def _plain(value):
    """A value as a text."""
    if isinstance(value, (bytes, bytearray)):
        value = bytes(value).decode()
    if isinstance(value, tuple):
        value = "/".join(str(part) for part in value).removesuffix("/0")
    if hasattr(value, "value"):
        value = value.value
    if isinstance(value, bool):
        value = int(value)
    text = str(value)
    try:
        return "" if float(text) == 0 else text
    except ValueError:
        return text


def _in_id3(tags, field, names):
    if field == "comment":
        found = [frame for frame in tags.getall("COMM") if frame.desc.lower() in MAIN_COMMENTS]
        found.sort(key=lambda frame: frame.lang != "eng")
        return [str(frame) for frame in found[:1]]
    if field == "rating":
        return [frame.rating for frame in tags.getall("POPM")]
    frames = tags.getall(names[0])[:1] if field == "catalogNumber" else tags.getall(names[0])
    return [str(text) for frame in frames for text in
            ([frame.text] if isinstance(frame.text, str) else frame.text)]


def shown(file, data, field):
    """The value of a field, several joined by a vertical line."""
    view, family = opened(file, data), family_of(file)
    tags = getattr(view, "tags", view)  # ID3 and APEv2 are tags
    if tags is None:
        return ""
    if field == "cover":
        return _digest(_pictures(view, tags, family))
    names = FIELDS[field][family]
    if family == "id3v2":
        values = _in_id3(tags, field, names)
    else:
        name = names[0].strip("()").title() if family == "asf" and names[0][0] == "(" else (
            names[0] if names else "")
        values = tags.get(name, []) if name else []
        values = [values] if isinstance(values, (int, str, bytes)) else list(values)
        if name == "Description":  # mutagen puts that of the content description in front
            values = [value for value in values if str(value)]
            own = of_asf(data)["ASF (description)"] != [""]
            values = values[:own] if field == "comment" else values[own:]
    return "|".join(map(_plain, values))


def _pictures(view, tags, family):
    if family == "id3v2":
        return [frame.data for frame in tags.getall("APIC")]
    if isinstance(view, flac.FLAC):
        return [picture.data for picture in view.pictures]
    if family == "xiph":
        return [flac.Picture(base64.b64decode(text)).data
                for text in tags.get("METADATA_BLOCK_PICTURE", [])]
    if family == "asf":
        return [value.value for value in tags.get("WM/Picture", [])]
    if family == "mp4":
        return [bytes(cover) for cover in tags.get("covr", [])]
    return [bytes(tags["Cover Art (Front)"].value).partition(b"\0")[2]
            ] if "Cover Art (Front)" in tags else []


def _digest(images):
    return "|".join(hashlib.md5(image).hexdigest() for image in images)


def expected(file, edit):
    """What must be shown after an edit."""
    family, value = family_of(file), edit.value
    if edit.field == "cover":
        return _digest([contents(IMAGES[value])]) if value else ""
    if value is None:
        return ""
    if edit.field == "rating":
        row = next(row for row in VALUES["ratings"] if row[0] == value)
        return _plain({"id3v2": row[1], "asf": row[3], "ape": row[5]}.get(family, row[2]))
    return _plain(value)


def contained(file, edit, after):
    """Whether a text is in the tag of a file that mutagen cannot read."""
    own = [value for name in FIELDS[edit.field][family_of(file)] for key, value in after.items()
           if key.endswith(" " + name)] if edit.field in FIELDS else []
    return not isinstance(edit.value, str) or any(
        (edit.value in value) if isinstance(value, (str, tuple)) else edit.value.encode() in value
        for values in own for value in values)


def old_number(before):
    """The track number in a tag of a kind that has number and total in one text."""
    values = next((values for name, values in before.items()
                   if name in ("ID3v2 TRCK", "APE Track", "APE TRACK", "APE track")), [(0, "")])
    text = values[0][1]
    text = text.decode() if isinstance(text, bytes) else text
    digits = text.partition("/")[0].strip()
    return int(digits) if digits.isdigit() else 0


def problem(file, edit, before, inventory, after):
    """The value that an edit should leave and the one that is there, None if they are the same."""
    if edit.step == "keep":
        return None  # what a format does with a cover that must not replace another is its own
    if file == QUICKTIME:
        raise MutagenError("mutagen finds no items in such a box")
    found, wanted = shown(file, after, edit.field), expected(file, edit)
    if edit.field in PAIRS[:2] and family_of(file) not in ("xiph", "asf"):
        part = PAIRS.index(edit.field)
        number, _, total = found.partition("/")
        found = _plain((number, total)[part])
        if part and family_of(file) != "mp4" and not old_number(inventory):
            wanted = ""
    if edit.field == "cueSheet" and file.endswith(".flac") and "Xiph vendor" not in inventory:
        wanted = ""  # a cue sheet does not create the comment
    if edit.field == "cover" and edit.step == "set" and family_of(file) == "xiph":
        wanted = shown(file, before, "cover") or wanted
    return None if found == wanted else (wanted, found)
