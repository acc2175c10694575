"""Requests from a random generator, and damage to them, to their bytes or to those of a file."""

from player import GLib, change, dictionary_of_pairs, number, raw_bytes, text

FIELDS = ["title", "artist", "composer", "comment", "lyrics", "cueSheet", "genre"]
KEYS = ["fd", "path", "artwork", "artworktype", "replaceartwork", "clearartwork", "changedtag",
        "track", "truncateconnection", "field", "picture", "offset"]


def mutated(data, generator):
    """A copy with some bytes changed, removed, repeated or cut off."""
    data = bytearray(data)
    for _ in range(generator.choice((1, 2, 8, 32))):
        if not data:
            break
        # Mostly near the start, where most formats have their structure.
        index = min(int(generator.expovariate(1 / 300)), len(data) - 1)
        length = generator.choice((1, 4, 30))
        match generator.randrange(6):
            case 0:
                data[index:index + length] = generator.randbytes(length)
            case 1:
                data[index] ^= 1 << generator.randrange(8)
            case 2:
                data[index:index + 4] = generator.choice((b"\0\0\0\0", b"\xff" * 4, b"\x7f" * 4))
            case 3:
                del data[index:index + length]
            case 4:
                data[index:index] = data[index:index + length]
            case 5 if generator.randrange(8) == 0:
                del data[generator.randrange(len(data)):]
    return bytes(data)


def any_value(generator, depth=0):
    """A value of any type, with few of the values that are expected."""
    bits = generator.choice((0, 1, 7, 0x7f, 0x80, 0xffff, 1 << 31, (1 << 63) - 1, 1 << 63))
    match generator.randrange(13 if depth < 12 else 9):
        case 0:
            return text(chr(generator.choice((1, 0x41, 0x7f, 0x80, 0xfffd, 0x1f600))) *
                        generator.choice((0, 1, 3, 1000)))
        case 1:
            return raw_bytes(generator.randbytes(generator.choice((0, 1, 100, 70_000))))
        case 2:
            return GLib.Variant("d", generator.choice((-1.0, 0.0, 4.5, 1e308, float("nan"))))
        case 3:
            return GLib.Variant("b", generator.random() < 0.5)
        case 4:
            return GLib.Variant("h", generator.choice((0, 1, 2, 1 << 30)))
        case 5:
            return GLib.Variant("y", bits & 0xff)
        case 6:
            return GLib.Variant(generator.choice("ut"), bits & 0xffffffff)
        case 7:
            return GLib.Variant("x", bits - (1 << 64) if bits >> 63 else bits)
        case 8:
            return GLib.Variant("as", ["a"] * generator.randrange(4))
        case 9:
            return GLib.Variant.new_variant(any_value(generator, depth + 1))
        case 10:
            return GLib.Variant.new_tuple(any_value(generator, depth + 1))
        case 11:
            return GLib.Variant.new_array(None, [any_value(generator, depth + 1)])
        case _:
            pairs = [(generator.choice(FIELDS), any_value(generator, depth + 1)) for _ in range(2)]
            return dictionary_of_pairs(pairs)


def distorted(request, generator):
    """A well-formed request with some keys removed, repeated or with a value of any kind."""
    pairs = list(request.items())
    for _ in range(generator.choice((1, 1, 2, 8))):
        key = generator.choice((*KEYS, *FIELDS, "", "x" * 300))
        match generator.randrange(3):
            case 0:
                pairs.append((key, any_value(generator)))
            case 1 if pairs:
                del pairs[generator.randrange(len(pairs))]
            case 2 if pairs:
                index = generator.randrange(len(pairs))
                pairs[index] = (pairs[index][0], any_value(generator))
    return dictionary_of_pairs(pairs)


def damaged_call(generator, request, blob):
    """The bytes of a call with this request, every second one well-formed. `blob` encodes it."""
    if generator.random() < 0.5:
        return blob(distorted(request, generator))
    return mutated(blob(request), generator)


def any_change(generator, path):
    """A request to tagwriterd, for the file that is descriptor 0."""
    match generator.randrange(4):
        case 0:
            return {"fd": GLib.Variant("h", 0), "path": text(path),
                    "artwork": raw_bytes(generator.randbytes(generator.randrange(5000))),
                    "artworktype": number(2), "replaceartwork": GLib.Variant("b", True)}
        case 1:
            return {"fd": GLib.Variant("h", 0), "path": text(path),
                    "clearartwork": GLib.Variant("b", True)}
        case _:
            value = text("x" * generator.randrange(3000)) if generator.randrange(3) else None
            return change(generator.choice(FIELDS), value, path)


def any_question(generator, path):
    """A request to tagreaderd, for the file that is descriptor 0."""
    request = {"fd": GLib.Variant("h", 0), "path": text(path)}
    match generator.randrange(3):
        case 0:
            request["field"] = text(generator.choice(FIELDS))
        case 1:
            request["picture"] = GLib.Variant("t", generator.randrange(3))
            request["offset"] = GLib.Variant("t", generator.choice((0, 1, 5000, 2 ** 64 - 1)))
    return request
