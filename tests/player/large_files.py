"""Large files, which take no time to make: their audio is empty."""

import os
import struct

from support import DATA

PAGE_HEADER = struct.Struct("<4sBBqIIIB")
SEGMENT = 255
SEGMENTS = 16  # so that a page has about 4 KB


def mp3(path, size):
    """An MP3 without a tag, which is sparse after its first frames."""
    with open(os.path.join(DATA, "mp3_plain.mp3"), "rb") as file:
        frames = file.read()
    with open(path, "wb") as file:
        file.write(frames)
        file.truncate(size)


def ogg(path, size):
    """An Ogg Vorbis file with many pages of silence behind its headers. Their checksums are wrong;
    TagLib does not check them."""
    with open(os.path.join(DATA, "vorbis_plain.ogg"), "rb") as file:
        original = file.read()
    serial, = struct.unpack_from("<I", original, 14)
    third = original.index(b"OggS", original.index(b"OggS", 4) + 4)
    table = bytes([SEGMENT] * (SEGMENTS - 1) + [0])
    data = bytes(SEGMENT * (SEGMENTS - 1))
    with open(path, "wb") as file:
        file.write(original[:third])
        number = 2
        while file.tell() < size:
            header = PAGE_HEADER.pack(b"OggS", 0, 0, number, serial, number, 0, SEGMENTS)
            file.write(header + table + data)
            number += 1
