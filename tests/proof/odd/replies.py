"""The reply that an edit of a file must get."""

from expectations import CONTAINERS, family_of, is_core, is_refused

KEPT = {row["file"].rpartition(".")[2]: row["kept"] for row in CONTAINERS["containers"]}
PICTURES = {"id3v2": "ID3v2 APIC", "mp4": "MP4 covr", "asf": "ASF WM/Picture"}
IN_A_TAG = {"ape": "APE ", "wv": "APE "}
SAME = {"aif": "aiff", "m4b": "m4a", "m4v": "m4a", "mp4": "m4a"}


def has(contents, prefix):
    """Whether there is a name with this prefix."""
    return any(name.startswith(prefix) for name in contents)


def expected_reply(file, edit, before):
    """Whether the edit must be made, of a file with these contents."""
    extension = file.rpartition(".")[2]
    extension = SAME.get(extension, extension)
    if file.startswith("speex_"):
        return is_core(edit.field) if edit.field != "cover" else False
    if edit.field != "cover":
        needs_tag = edit.field == "cueSheet" and extension in IN_A_TAG
        return not is_refused(file, edit.field) and not (
            needs_tag and not has(before, IN_A_TAG[extension]))
    picture = "FLAC block 6" if extension == "flac" else PICTURES.get(family_of(file), "-")
    if edit.step in ("set", "keep"):
        return KEPT[extension] != "refused" or picture not in before
    if edit.step == "replace":
        return True
    if extension == "flac":
        return picture in before
    tag = {"mp3": "ID3v2", "ape": "APE version", "wv": "APE version"}.get(extension)
    return tag is None or tag in before
