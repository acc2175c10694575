"""WMA files. What no encoder writes is put into the header of one that was encoded."""

import struct


def guid(text):
    """The bytes of a GUID."""
    a, b, c, d, e = text.split("-")
    return struct.pack("<IHH", int(a, 16), int(b, 16), int(c, 16)) + bytes.fromhex(d + e)


HEADER = guid("75B22630-668E-11CF-A6D9-00AA0062CE6C")
FILE_PROPERTIES = guid("8CABDCA1-A947-11CF-8EE4-00C00C205365")
EXTENSION = guid("5FBF03B5-A92E-11CF-8EE3-00C00C205365")
RESERVED = guid("ABD3D211-A9BA-11CF-8EE6-00C00C205365")
DESCRIPTION = guid("75B22633-668E-11CF-A6D9-00AA0062CE6C")
ATTRIBUTES = guid("D2D0A440-E307-11D2-97F0-00A0C95EA850")
METADATA = guid("C5F8CBEA-5BAF-4877-8467-AA8C44FA4CCA")
LIBRARY = guid("44231C94-9498-49D1-A141-1D134E457054")
LANGUAGES = guid("7C4346A9-EFE0-4BFC-B229-393EDE415C85")
PADDING = guid("1806D474-CADF-4509-A4BA-9AABCB96AAE8")
BRANDING = guid("2211B3FA-BD23-11D2-B4B7-00A0C955FC6E")
SCRIPT = guid("1EFB1A30-0B62-11D0-A39B-00A0C90348F6")
MARKER = guid("F487CD01-A951-11CF-8EE6-00C00C205365")
COMPATIBILITY = guid("75B22630-0000-0000-A6D9-00AA0062CE6C")
UNKNOWN = guid("12345678-1234-1234-1234-123456789ABC")

TEXT, BYTES, BOOL, DWORD, QWORD, WORD, GUID = range(7)
SIZES = {BOOL: "<I", DWORD: "<I", QWORD: "<Q", WORD: "<H"}


def obj(kind, body):
    """An object."""
    return kind + struct.pack("<Q", len(body) + 24) + body


def wide(text):
    """A text with its terminator."""
    return (text + "\0").encode("utf-16-le")


def value(kind, content, boolean="<I"):
    """The bytes of a value."""
    if kind in SIZES:
        return struct.pack(boolean if kind == BOOL else SIZES[kind], content)
    return wide(content) if kind == TEXT else content


def description(*texts):
    """Title, author, copyright, description, rating."""
    packed = [wide(text) if text else b"" for text in texts]
    return obj(DESCRIPTION, struct.pack("<5H", *map(len, packed)) + b"".join(packed))


def attributes(*triples):
    """An extended content description of (name, kind, content)."""
    body = struct.pack("<H", len(triples))
    for name, kind, content in triples:
        packed = value(kind, content)
        body += (struct.pack("<H", len(wide(name))) + wide(name)
                 + struct.pack("<HH", kind, len(packed)) + packed)
    return obj(ATTRIBUTES, body)


def library(*entries, kind_of_object=LIBRARY):
    """A metadata library, or metadata, of (language, stream, name, kind, content)."""
    body = struct.pack("<H", len(entries))
    for language, stream, name, kind, content in entries:
        packed = value(kind, content, "<H")
        body += struct.pack("<HHHHI", language, stream, len(wide(name)), kind,
                            len(packed)) + wide(name) + packed
    return obj(kind_of_object, body)


def languages(*names):
    """The list of languages."""
    return obj(LANGUAGES, struct.pack("<H", len(names)) + b"".join(
        bytes([len(wide(name))]) + wide(name) for name in names))


def picture(image, kind=3, mime="image/png", text=""):
    """A WM/Picture."""
    return struct.pack("<BI", kind, len(image)) + wide(mime) + wide(text) + image


class Stream:
    """A file whose header can get other objects."""

    def __init__(self, data):
        size, count = struct.unpack("<QI", data[16:28])
        self.rest, at, objects = data[size:], 30, []
        for _ in range(count):
            length, = struct.unpack("<Q", data[at + 16:at + 24])
            objects.append(data[at:at + length])
            at += length
        tags = (DESCRIPTION, ATTRIBUTES)
        self.extension = next(o[46:] for o in objects if o.startswith(EXTENSION))
        self.objects = [o for o in objects if not o.startswith((*tags, EXTENSION))]

    def file(self, *more, extension=(), first=(), has_extension=True):
        """A file with more objects after the usual ones, before them, and in the extension."""
        inside = self.extension + b"".join(extension)
        wrapped = obj(EXTENSION, RESERVED + struct.pack("<HI", 6, len(inside)) + inside)
        objects = [*first, *self.objects, *([wrapped] if has_extension else []), *more]
        size = 30 + sum(map(len, objects)) + len(self.rest)
        for index, entry in enumerate(objects):
            if entry.startswith(FILE_PROPERTIES):
                objects[index] = entry[:40] + struct.pack("<Q", size) + entry[48:]
        body = struct.pack("<IBB", len(objects), 1, 2) + b"".join(objects)
        return obj(HEADER, body) + self.rest


def of_attributes(stream, image):
    """Descriptions and attributes."""
    usual = description("Old title", "Zoë Müller", "(c) 1999", "a comment", "5")
    more = attributes(("WM/AlbumTitle", TEXT, "Album"), ("WM/Year", TEXT, "1999"), (
        "WM/Composer", TEXT, "C"), ("WM/TrackNumber", DWORD, 3), ("WM/Genre", TEXT, "Rock"))
    yield "no_tags", stream.file()
    yield "no_extension", stream.file(usual, has_extension=False)
    yield "description", stream.file(usual)
    yield "description_empty", stream.file(description("", "", "", "", ""))
    yield "attributes_without_description", stream.file(more)
    yield "tags_first", stream.file(first=[usual, more])
    yield "tags_usual", stream.file(usual, more)
    yield "attributes_of_all_kinds", stream.file(attributes(
        ("A text", TEXT, "t"), ("Bytes", BYTES, b"\0\1\2"), ("Yes", BOOL, 1), ("Dword", DWORD, 7), (
            "Qword", QWORD, 2**40), ("Word", WORD, 9), ("Empty", TEXT, ""), ("None", BYTES, b"")))
    yield "attributes_of_several_values", stream.file(attributes(
        ("Author", TEXT, "One"), ("Author", TEXT, "Two"), ("WM/Composer", TEXT, "C1"), (
            "WM/Composer", TEXT, "C2"), ("WM/Genre", TEXT, "G1"), ("WM/Genre", TEXT, "G2")))
    yield "attributes_of_store_and_player", stream.file(attributes(
        ("WM/Provider", TEXT, "AMG"), ("WM/MediaClassPrimaryID", GUID, bytes(range(16))), (
            "WM/UniqueFileIdentifier", TEXT, "AMGa_id=1"), ("IsVBR", BOOL, 0), (
                "WMFSDKVersion", TEXT, "11.0"), ("WM/MCDI", BYTES, bytes(20))))
    yield "attributes_numbers_as_text", stream.file(attributes(
        ("WM/TrackNumber", TEXT, "3"), ("WM/Track", DWORD, 2), ("WM/PartOfSet", TEXT, "1/2"), (
            "WM/IsCompilation", BOOL, 1), ("WM/SharedUserRating", DWORD, 75)))
    yield "pictures", stream.file(usual, attributes(
        ("WM/Picture", BYTES, picture(image)), ("WM/Picture", BYTES, picture(image, 4, text="b"))))
    yield "objects_unknown", stream.file(usual, obj(UNKNOWN, b"who knows"), more, obj(
        COMPATIBILITY, b"\1\0"))
    yield "objects_of_scripts_and_markers", stream.file(usual, obj(SCRIPT, bytes(16) + struct.pack(
        "<HH", 0, 0)), obj(MARKER, bytes(16) + struct.pack("<IHH", 0, 0, 0)), more)
    yield "objects_branding", stream.file(usual, obj(BRANDING, struct.pack("<IIII", 0, 0, 0, 0)))
    for size in (0, 1, 4000):
        yield f"padding_{size}", stream.file(usual, obj(PADDING, bytes(size)), more)
    yield "padding_in_extension", stream.file(usual, more, extension=[obj(PADDING, bytes(999))])
    yield "description_twice", stream.file(usual, description("Second", "", "", "", ""))


def of_libraries(stream, image):
    """Metadata of streams and languages."""
    many = library((0, 0, "WM/Composer", TEXT, "C in English"), (1, 0, "WM/Composer", TEXT,
                                                                 "C auf Deutsch"),
                   (0, 1, "WM/Mood", TEXT, "of stream 1"), (2, 2, "WM/Mood", TEXT, "of stream 2"))
    list_of_3 = languages("en-us", "de-de", "ja-jp")
    yield "languages", stream.file(description("T", "", "", "", ""), extension=[list_of_3, many])
    yield "languages_and_attributes", stream.file(
        attributes(("WM/Composer", TEXT, "plain"), ("WM/Mood", TEXT, "m")),
        extension=[list_of_3, many])
    yield "language_list_only", stream.file(extension=[list_of_3])
    yield "library_of_all_kinds", stream.file(extension=[library(
        (0, 0, "Text", TEXT, "t"), (0, 0, "Bytes", BYTES, b"\0\1"), (0, 0, "Yes", BOOL, 1), (
            0, 0, "Dword", DWORD, 7), (0, 0, "Qword", QWORD, 2**40), (0, 0, "Word", WORD, 9), (
                0, 0, "Guid", GUID, bytes(range(16))))])
    yield "library_picture", stream.file(extension=[library(
        (0, 0, "WM/Picture", BYTES, picture(image + bytes(70000))))])
    yield "library_long_text", stream.file(extension=[library((0, 0, "WM/Lyrics", TEXT,
                                                               "la " * 12000))])
    yield "metadata_of_streams", stream.file(extension=[library(
        (0, 1, "AspectRatioX", DWORD, 1), (0, 1, "DeviceConformanceTemplate", TEXT, "L1"), (
            0, 0, "IsVBR", BOOL, 1), kind_of_object=METADATA)])
    yield "metadata_and_library", stream.file(extension=[
        library((0, 1, "One", TEXT, "1"), kind_of_object=METADATA), list_of_3, many])
    yield "extension_unknown_object", stream.file(extension=[obj(UNKNOWN, b"inside"), many])


def files(encoders):
    """(name, bytes) of each file."""
    stream = Stream(encoders.data("wma_plain.wma"))
    image = encoders.data("cover_red.png")
    for made in (of_attributes(stream, image), of_libraries(stream, image)):
        for name, data in made:
            yield f"{name}.wma", data
