"""All that is in a file: its tags, as tag_contents reads them, and what surrounds them."""

import struct

from mp4_contents import add_boxes, add_fragments, add_samples, whole
from tag_contents import READERS

from . import asf

ASF_TAGS = (asf.DESCRIPTION, asf.ATTRIBUTES, asf.METADATA, asf.LIBRARY, asf.PADDING)
NAMES_OF_OBJECTS = {value: name.lower() for name, value in vars(asf).items()
                    if isinstance(value, bytes)}


def add_asf_objects(contents, data):
    """Adds the objects in the header that are no tags."""
    def objects(at, end):
        while at + 24 <= end:
            kind, (size,) = data[at:at + 16], struct.unpack_from("<Q", data, at + 16)
            body = data[at + 24:at + size]
            if kind == asf.EXTENSION:
                objects(at + 46, at + size)
            elif kind == asf.FILE_PROPERTIES:  # without the length of the file
                contents.add("object file_properties", body[:16] + body[24:])
                contents["length in the header"] = [
                    "right" if struct.unpack_from("<Q", body, 16)[0] == len(data) else "wrong"]
            elif kind not in ASF_TAGS:
                contents.add(f"object {NAMES_OF_OBJECTS.get(kind, kind.hex())}", body)
            at += size

    objects(30, struct.unpack_from("<Q", data, 16)[0])


def add_ape_header(contents, data):
    """Adds the version and flags of the APE tag at the end."""
    at = data.rfind(b"APETAGEX")
    if at >= 0 and len(data) - at in (32, 160):
        version, _, _, flags = struct.unpack_from("<4I", data, at + 8)
        contents["APE version"] = [version]
        if version == 2000:
            contents["APE has a header"] = [bool(flags & 1 << 31)]
            contents["APE is read-only"] = [bool(flags & 1)]


def add_info(contents):
    """Puts the texts of INFO lists in the place of their chunks."""
    lists = contents.pop("chunk LIST", [])
    others = [body for body in lists if not body.startswith(b"INFO")]
    if others:
        contents["chunk LIST"] = others
    for number, body in enumerate((body for body in lists if body.startswith(b"INFO")), 1):
        prefix, at = "INFO" if number == 1 else f"INFO ({number})", 4
        contents[prefix] = ["there"]
        while at + 8 <= len(body):
            size, = struct.unpack_from("<I", body, at + 4)
            contents.add(f"{prefix} {body[at:at + 4].decode('latin-1')}",
                         body[at + 8:at + 8 + size].rstrip(b"\0"))
            at += 8 + size + size % 2


def add_lengths(contents, data):
    """Adds whether the length in the header of a RIFF or IFF file is right."""
    length, = struct.unpack(("<" if data[:2] == b"RI" else ">") + "I", data[4:8])
    contents["length in the header"] = ["right" if length + 8 == len(data) else "wrong"]


def inventory(name, data):
    """What is in the bytes of a file of this name, but for padding."""
    extension = name.rpartition(".")[2]
    contents = READERS[extension](data)
    if extension in ("m4a", "m4b", "m4v", "mp4"):
        file = whole(data)
        add_boxes(contents, file)
        add_samples(contents, file)
        add_fragments(contents, file)
    elif extension == "wma":
        add_asf_objects(contents, data)
    elif extension in ("ape", "wv", "mpc", "mp3"):
        add_ape_header(contents, data)
    elif extension in ("wav", "aif", "aiff"):
        add_info(contents)
        add_lengths(contents, data)
    return contents
