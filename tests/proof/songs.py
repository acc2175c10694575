"""Songs that are edited at random, and what must be in them afterwards."""

import contextlib
import functools
import os
import random
import shutil
from pathlib import Path

import mutagen

from player import GLib, change, number, raw_bytes, text
from support import DATA, contents, samples

# Files whose tags mutagen shows under the same names, whatever the format.
SOURCES = ["mp3_plain.mp3", "flac_plain.flac", "m4a_plain.m4a", "vorbis_plain.ogg",
           "opus_plain.opus", "wavpack_plain.wv"]
WITH_PICTURES = ("mp3", "flac")
FIELDS = ["title", "artist", "album"]
LETTERS = "abc XYZ 019 äßé €œ 日本 \U0001f3b5 %/\\\"'"
IMAGES = [(1, contents(os.path.join(DATA, "cover_red.png"))),
          (2, contents(os.path.join(DATA, "cover_blue.jpg")))]


def any_text(generator):
    """A text without spaces at its ends; sometimes longer than any padding."""
    length = generator.choice((1, 5, 30, 300, 3000))
    return "".join(generator.choice(LETTERS) for _ in range(length)).strip() or "x"


@functools.cache
def audio_of(source):
    """A digest of the decoded audio."""
    return samples(os.path.join(DATA, source))


class Song:
    """A copy of a file of the test data, with what it must contain."""

    def __init__(self, directory, source, index):
        self.path = str(shutil.copyfile(Path(DATA, source), Path(directory, f"{index}_{source}")))
        self.audio = audio_of(source)
        self.has_pictures = source.endswith(WITH_PICTURES)
        self.expected = self.content()

    def content(self):
        """What is in the file, as mutagen sees it."""
        tags = mutagen.File(self.path, easy=True)
        found = {field: list(tags.get(field, [])) for field in FIELDS}
        if self.has_pictures:
            file = mutagen.File(self.path)
            pictures = (file.pictures if self.path.endswith("flac") else
                        file.tags.getall("APIC") if file.tags else [])
            found["pictures"] = [bytes(picture.data) for picture in pictures]
        return found

    def settle(self, after):
        """A request was made of which nobody knows whether it was carried out: all of it, or
        nothing, is expected from now on. Returns whether it was."""
        self.expected, before = after, self.expected
        if self.content() == before:
            self.expected = before
        return self.expected is after

    def problems(self):
        """Sentences about what is not as expected."""
        found = self.content()
        if found != self.expected:
            yield f"{self.path} has {str(found)[:200]}, not {str(self.expected)[:200]}"
        if samples(self.path) != self.audio:
            yield f"{self.path} has other audio"

    def any_request(self, generator):
        """Returns a request, the result that it must have, None if there is nothing to change,
        and what is in the file then."""
        kinds = ["text"] * 6 + ["clear", "no file"]
        if self.has_pictures:
            kinds += ["cover", "cover", "no cover"]
        after = dict(self.expected)
        field = generator.choice(FIELDS)
        match generator.choice(kinds):
            case "text":
                value = any_text(generator)
                after[field] = [value]
                return change(field, text(value), self.path), True, after
            case "clear":
                after[field] = []
                return change(field, None, self.path), True, after
            case "no file":
                request = change(field, text("never written"), self.path)
                del request["fd"]
                return request, False, after
            case "cover":
                kind, image = generator.choice(IMAGES)
                replaces = generator.random() < 0.5
                is_written = replaces or not after["pictures"]
                if is_written:
                    after["pictures"] = [image]
                return {"fd": GLib.Variant("h", 0), "path": text(self.path),
                        "artwork": raw_bytes(image), "artworktype": number(kind),
                        "replaceartwork": GLib.Variant("b", replaces)}, is_written, after
            case "no cover":
                result = True if after["pictures"] else None
                after["pictures"] = []
                return {"fd": GLib.Variant("h", 0), "path": text(self.path),
                        "clearartwork": GLib.Variant("b", True)}, result, after


def make_songs(directory, name, sources=SOURCES):
    """One song for each source, in a directory of their own."""
    own = Path(directory, name)
    own.mkdir()
    return [Song(own, source, index) for index, source in enumerate(sources)]


def require(condition, message):
    """Raises AssertionError."""
    if not condition:
        raise AssertionError(message)


def check(songs):
    """The songs are as expected."""
    problems = [problem for song in songs for problem in song.problems()]
    require(not problems, "\n".join(problems))


def two_sources(number):
    """Two of all; the same two for the same number."""
    return [SOURCES[number % len(SOURCES)], SOURCES[(number + 1) % len(SOURCES)]]


@contextlib.contextmanager
def opened(song):
    """The open file for a request."""
    with open(song.path, "rb+") as file:
        yield [file]


def generator_for(*names):
    """The same numbers each time for the same names."""
    return random.Random(" ".join(map(str, names)))
