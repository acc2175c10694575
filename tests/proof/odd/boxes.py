"""MP4 files, box by box."""

import struct

CONTAINERS = (b"moov", b"trak", b"mdia", b"minf", b"stbl", b"udta", b"edts")


def box(name, *parts, wide=False):
    """A box; `wide` gives it a size of 64 bits."""
    body = b"".join(parts)
    if wide:
        return struct.pack(">I4sQ", 1, name, len(body) + 16) + body
    return struct.pack(">I4s", len(body) + 8, name) + body


def parsed(data):
    """The boxes in `data`, as [name, children or bytes] lists."""
    result, at = [], 0
    while at + 8 <= len(data):
        size, name = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + size]
        result.append([name, parsed(body) if name in CONTAINERS else body])
        at += size
    return result


def rendered(boxes):
    """The bytes of boxes."""
    return b"".join(box(name, rendered(inside) if isinstance(inside, list) else inside)
                    for name, inside in boxes)


def walk(boxes):
    """All boxes below these, parents first."""
    for entry in boxes:
        yield entry
        if entry[0] in CONTAINERS:
            yield from walk(entry[1])


def full(version=0, flags=0):
    """What a full box begins with."""
    return struct.pack(">I", version << 24 | flags)


def data_atom(payload, kind=1, locale=0):
    """The value of an item."""
    return box(b"data", struct.pack(">II", kind, locale), payload)


def item(name, payload, kind=1):
    """An item of one value; a text if the payload is one."""
    payload = payload.encode() if isinstance(payload, str) else payload
    return box(name, data_atom(payload, kind))


def freeform(mean, name, *values):
    """A "----" item of (payload, kind) values."""
    return box(b"----", box(b"mean", full(), mean.encode()), box(b"name", full(), name.encode()),
               *(data_atom(*value) for value in values))


HANDLER = box(b"hdlr", full(), bytes(4), b"mdirappl", bytes(9))


def meta(*items, padding=b"", handler=HANDLER, quicktime=False, after=b""):
    """A meta box with an item list, which is a full box unless written as QuickTime does."""
    return box(b"meta", b"" if quicktime else full(), handler, box(b"ilst", *items), padding, after)


class Movie:
    """A file whose boxes can be put into any order. Positions in `offsets` are relative to the
    audio data."""

    def __init__(self, data):
        boxes = parsed(data)
        self.type = next(body for name, body in boxes if name == b"ftyp")
        self.moov = next(body for name, body in boxes if name == b"moov")
        self.moov = [entry for entry in self.moov if entry[0] != b"udta"]
        self.media = next(body for name, body in boxes if name == b"mdat")
        start = data.index(self.media)
        for entry in walk(self.moov):
            if entry[0] == b"stco":
                count, = struct.unpack(">I", entry[1][4:8])
                assert count == 1
                first, = struct.unpack(">I", entry[1][8:12])
                entry[1] = [first - start]
        self._one_chunk_per_sample()

    def _one_chunk_per_sample(self):
        """So that there are many offsets."""
        tables = {entry[0]: entry for entry in walk([[b"moov", self.moov]])}
        sizes = tables[b"stsz"][1]
        sizes = struct.unpack(f">{len(sizes) // 4 - 3}I", sizes[12:])
        at, = tables[b"stco"][1]
        tables[b"stco"][1] = [at + sum(sizes[:index]) for index in range(len(sizes))]
        tables[b"stsc"][1] = full() + struct.pack(">IIII", 1, 1, 1, 1)

    def chunks(self):
        """The tables of chunk offsets."""
        return [entry for entry in walk([[b"moov", self.moov]])
                if entry[0] in (b"stco", b"co64")]

    def _moov(self, starts, split, extra, wide):
        def table(entry):
            offsets = [at + (starts[1] - split if split is not None and at >= split
                             else starts[0]) for at in entry[1]]
            kind = "Q" if wide else "I"
            return [b"co64" if wide else b"stco", full() + struct.pack(
                f">I{len(offsets)}{kind}", len(offsets), *offsets)]

        def copied(boxes):
            return [table(entry) if entry[0] in (b"stco", b"co64") else
                    [entry[0], copied(entry[1])] if isinstance(entry[1], list) else entry
                    for entry in boxes]

        return box(b"moov", rendered(copied(self.moov)), extra)

    def file(self, order, extra=b"", *, wide_mdat=False, wide_offsets=False, split=None,
             to_the_end=False):
        """The file, of "moov", "mdat", "mdat2" and bytes in this order. `extra` goes to the end
        of the moov box. The second part of the media begins at `split`."""
        head = 16 if wide_mdat else 8
        parts = [self.media[:split], self.media[split:] if split is not None else b""]
        starts, pieces = [0, 0], b""
        for _ in range(2):  # the second time with the right offsets
            pieces = box(b"ftyp", self.type)
            for piece in order:
                if piece == "moov":
                    pieces += self._moov(starts, split, extra, wide_offsets)
                elif isinstance(piece, str):
                    index = int(piece == "mdat2")
                    starts[index] = len(pieces) + head
                    whole = box(b"mdat", parts[index], wide=wide_mdat)
                    pieces += bytes(4) + whole[4:] if to_the_end else whole
                else:
                    pieces += piece
        return pieces
