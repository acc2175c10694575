"""Ways to make the same edit: this project's, TagLib's, mutagen's and those of other programs.

Each is a function that takes the path of the file.
"""

import ctypes
import os
import shutil
import subprocess

import mutagen
from mutagen.flac import Picture
from mutagen.id3 import COMM, TIT2
from mutagen.mp4 import MP4Cover

LIBRARY = ctypes.CDLL(os.environ["TAGWRITER_BENCH"])
for name in ("serviceSet", "serviceCover", "librarySet", "libraryCover", "plainMove"):
    getattr(LIBRARY, name).restype = ctypes.c_bool


def call(name, path, *arguments):
    """Calls a function of edits.cpp, which must succeed."""
    if not getattr(LIBRARY, name)(os.fsencode(path), *arguments):
        raise RuntimeError(f"{name} failed for {path}")


def program(*words):
    """A whole process, which must succeed. The word "FILE" is the path."""
    def edit(path):
        subprocess.run([path if word == "FILE" else word for word in words], check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
    return edit


def copy(path):
    """A copy of the file with cp."""
    program("cp", "FILE", path + ".copy")(path)


def move(start, target):
    """The least that an edit in place has to do: everything from `start` moves to `target`."""
    return lambda path: call("plainMove", path, ctypes.c_int64(start), ctypes.c_int64(target))


class Text:
    """A text field set to a value."""

    def __init__(self, field, value):
        self.field, self.value = field, value

    def by(self, way):
        """The edit by "service" or by "library"."""
        words = self.field.encode(), self.value.encode()
        return lambda path: call(f"{way}Set", path, *words)

    def mutagen(self, path):
        file = mutagen.File(path)
        if file.tags is None:
            file.add_tags()
        kind = type(file).__name__
        if kind == "MP3":
            frame = TIT2 if self.field == "title" else COMM
            file.tags.add(frame(encoding=3, text=self.value))
        elif kind == "MP4":
            file.tags["©nam" if self.field == "title" else "©cmt"] = self.value
        else:
            file.tags[self.field] = self.value
        file.save()

    def is_in(self, path):
        """Whether the file has the value, as mutagen reads it."""
        return f"={self.value}" in mutagen.File(path).tags.pprint()


class Cover:
    """A front cover, or none."""

    def __init__(self, image):
        self.image = image

    def by(self, way):
        size = ctypes.c_size_t(len(self.image or b""))
        return lambda path: call(f"{way}Cover", path, self.image, size)

    def mutagen(self, path):
        file = mutagen.File(path)
        kind = type(file).__name__
        if kind == "MP3":
            file.tags.delall("APIC")
        elif kind == "MP4":
            if file.tags is None:
                file.add_tags()
            file.tags["covr"] = [MP4Cover(self.image)]
        else:
            picture = Picture()
            picture.data, picture.mime, picture.type = self.image, "image/jpeg", 3
            file.add_picture(picture)
        file.save()

    def is_in(self, path):
        file = mutagen.File(path)
        kind = type(file).__name__
        if kind == "MP3":
            found = [frame.data for frame in file.tags.getall("APIC")] if file.tags else []
        elif kind == "MP4":
            found = [bytes(cover) for cover in file.tags.get("covr", [])]
        else:
            found = [picture.data for picture in file.pictures]
        return found == ([self.image] if self.image else [])
