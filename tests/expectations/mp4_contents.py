"""What is in an MP4 file: the items of its tag, all other boxes, and the samples of its tracks."""

import hashlib
import struct
from dataclasses import dataclass, field

CONTAINERS = (b"moov", b"trak", b"mdia", b"minf", b"stbl", b"udta", b"edts", b"moof", b"traf",
              b"mfra", b"mvex", b"ilst")
PADDING = (b"free", b"skip", b"wide")
# Boxes that say where something is; add_samples and add_fragments look whether it is there.
POSITIONS = (b"stco", b"co64", b"tfra")


@dataclass
class Atom:
    """A box. `data` is the whole file."""

    name: bytes
    data: bytes
    start: int
    body_start: int
    end: int
    children: list = field(default_factory=list)

    @property
    def body(self):
        """The bytes after the header."""
        return self.data[self.body_start:self.end]

    def child(self, *path):
        """The first box at a path below, or None."""
        for atom in self.children:
            if atom.name == path[0]:
                return atom.child(*path[1:]) if path[1:] else atom
        return None


def atoms(data, start=0, end=None):
    """The boxes in a part of the file."""
    end, result = len(data) if end is None else end, []
    while start + 8 <= end:
        size, name = struct.unpack(">I4s", data[start:start + 8])
        head = 8
        if size == 1:
            size, head = struct.unpack(">Q", data[start + 8:start + 16])[0], 16
        if size < 8:
            size = end - start
        atom = Atom(name, data, start, start + head, min(start + size, end))
        if name in CONTAINERS:
            atom.children = atoms(data, atom.body_start, atom.end)
        elif name == b"meta":  # QuickTime writes no version and flags
            skipped = 0 if data[atom.body_start + 4:atom.body_start + 8] == b"hdlr" else 4
            atom.children = atoms(data, atom.body_start + skipped, atom.end)
        result.append(atom)
        start = atom.end
    return result


def whole(data):
    """The file as a box without a name."""
    return Atom(b"", data, 0, 0, len(data), atoms(data))


def item_name(atom):
    """The name of an item; that of a freeform one with its mean and name."""
    name, body = atom.name.decode("latin-1"), atom.body
    if name != "----":
        return name
    parts = {part.name: part.body[4:].decode() for part in atoms(body)
             if part.name in (b"mean", b"name")}
    return f"{name}:{parts.get(b'mean', '')}:{parts.get(b'name', '')}"


def add_items(contents, file):
    """Adds the items, and a digest of the media."""
    contents.add_audio(b"".join(atom.body for atom in file.children if atom.name == b"mdat"))
    items = file.child(b"moov", b"udta", b"meta", b"ilst")
    for item in items.children if items else ():
        contents.add("MP4 " + item_name(item), item.body)


def add_boxes(contents, atom, path=""):
    """Adds all other boxes below this one, but for padding and positions."""
    for child in atom.children:
        name = f"{path}{child.name.decode('latin-1')}"
        if child.name in (*PADDING, *POSITIONS, b"mdat") or name == "moov.udta.meta.ilst":
            continue
        if child.children or child.name in CONTAINERS:
            contents.add("box " + name, "")
            add_boxes(contents, child, name + ".")
        else:
            body = child.body
            if child.name == b"tfhd" and body[3] & 1:  # the position where the data begins
                body = body[:8] + body[16:]
            contents.add("box " + name, body)


def _numbers(atom, kind):
    count, = struct.unpack(">I", atom.body[4:8])
    return struct.unpack(f">{count}{kind}", atom.body[8:8 + count * struct.calcsize(">" + kind)])


def samples_of(track, data):
    """The bytes of the samples of a track."""
    table = track.child(b"mdia", b"minf", b"stbl")
    offsets = (_numbers(table.child(b"stco"), "I") if table.child(b"stco")
               else _numbers(table.child(b"co64"), "Q"))
    runs = [struct.unpack(">III", table.child(b"stsc").body[at:at + 12])
            for at in range(8, len(table.child(b"stsc").body), 12)]
    body = table.child(b"stsz").body
    equal, count = struct.unpack(">II", body[4:12])
    sizes = [equal] * count if equal else struct.unpack(f">{count}I", body[12:12 + 4 * count])
    result, sample = b"", 0
    for number, at in enumerate(offsets, 1):
        chunk = [per for first, per, _ in runs if first <= number][-1]
        size = sum(sizes[sample:sample + chunk])
        result += data[at:at + size]
        sample += chunk
    return result


def add_samples(contents, file):
    """Adds a digest of each track's samples, which its offsets lead to."""
    moov = file.child(b"moov")
    for number, track in enumerate((atom for atom in moov.children if atom.name == b"trak"), 1):
        contents[f"samples of track {number}"] = hashlib.md5(
            samples_of(track, file.data)).hexdigest()


def add_fragments(contents, file):
    """Adds where the index of the fragments and their own base offsets lead."""
    for atom in file.children:
        for child in atom.children:
            if atom.name == b"mfra" and child.name == b"tfra":
                wide = child.body[0] == 1
                step = (16 if wide else 8) + sum((child.body[11] >> shift & 3) + 1
                                                 for shift in (0, 2, 4))
                for at in range(16, len(child.body), step):
                    offset, = struct.unpack_from(">Q" if wide else ">I",
                                                 child.body, at + (8 if wide else 4))
                    contents.add("fragment in the index", file.data[offset + 4:offset + 8])
            header = child.child(b"tfhd") if child.name == b"traf" else None
            if header and header.body[3] & 1:
                base, = struct.unpack(">Q", header.body[8:16])
                contents.add("data of a fragment", hashlib.md5(
                    file.data[base:base + 100]).hexdigest() if base != atom.start else "its start")
