"""Edits that move the audio of a large file."""

import os
import shutil
import statistics
from dataclasses import dataclass, field

import edits
import files
from document import table
from edits import Cover, Text, program
from measure import interleaved, median, progress, ratio

ROUNDS = 15
TITLE = "Morgen"
COMMENT = "A comment of two kilobytes. " * 73
MB = 1_000_000


@dataclass
class Row:
    name: str
    make: callable  # writes the file and returns the offset of its audio
    edit: object
    others: dict = field(default_factory=dict)  # programs, by name


def with_cover(path, size):
    """An MP3 with a cover."""
    files.large_mp3(path)
    edits.call("libraryCover", path, files.image(size), size)
    return os.path.getsize(path) - (files.LARGE - files.LARGE % len(files.read("mp3_plain.mp3")))


def rows(directory):
    """The rows of the table. The covers that programs need are written to the directory."""
    covers = {}
    for size in (1 * MB, 600_000):
        covers[size] = os.path.join(directory, f"cover{size}.jpg")
        with open(covers[size], "wb") as file:
            file.write(files.image(size))
    kid3 = ("kid3-cli", "-c")
    return [
        Row("MP3: title, no tag before", files.large_mp3, Text("title", TITLE), {
            "id3v2": program("id3v2", "--song", TITLE, "FILE"),
            "eyeD3": program("eyeD3", "--title", TITLE, "FILE"),
            "kid3-cli": program(*kid3, f'set title "{TITLE}"', "FILE"),
        }),
        Row("M4A: comment of 2 KB", files.large_m4a, Text("comment", COMMENT), {
            "kid3-cli": program(*kid3, f'set comment "{COMMENT}"', "FILE"),
        }),
        Row("FLAC: comment of 2 KB", files.large_flac, Text("comment", COMMENT), {
            "metaflac": program("metaflac", f"--set-tag=COMMENT={COMMENT}", "FILE"),
            "kid3-cli": program(*kid3, f'set comment "{COMMENT}"', "FILE"),
        }),
        Row("MP3: cover of 2 MB removed", lambda path: with_cover(path, 2 * MB), Cover(None), {
            "id3v2": program("id3v2", "--remove-frame", "APIC", "FILE"),
            "eyeD3": program("eyeD3", "--remove-all-images", "FILE"),
            "kid3-cli": program(*kid3, 'set picture ""', "FILE"),
        }),
        Row("M4A: cover of 1 MB", files.large_m4a, Cover(files.image(1 * MB)), {
            "AtomicParsley": program("AtomicParsley", "FILE", "--artwork", covers[1 * MB],
                                     "--overWrite"),
            "kid3-cli": program(*kid3, f'set picture:"{covers[1 * MB]}" ""', "FILE"),
        }),
        Row("FLAC: cover of 600 KB", files.large_flac, Cover(files.image(600_000)), {
            "metaflac": program("metaflac", "--import-picture-from",
                                f"3|image/jpeg||1x1x24|{covers[600_000]}", "FILE"),
            "kid3-cli": program(*kid3, f'set picture:"{covers[600_000]}" ""', "FILE"),
        }),
    ]


def measure(row, directory, rounds):
    """The seconds of each contestant."""
    original = os.path.join(directory, "original." + row.name[:4].rstrip(":").lower())
    work = os.path.join(directory, "work" + os.path.splitext(original)[1])
    start = row.make(original)

    def prepare():
        for path in (work, work + ".copy"):
            if os.path.exists(path):
                os.remove(path)
        shutil.copyfile(original, work)
        return work

    def check(name, path):
        if name not in ("cp", "floor") and not row.edit.is_in(path):
            raise RuntimeError(f"{row.name}: {name} had no effect")

    service = row.edit.by("service")
    service(prepare())
    target = start + os.path.getsize(work) - os.path.getsize(original)
    contestants = {
        "tagwriter": service,
        "floor": edits.move(start, target),
        "cp": edits.copy,
        "TagLib": row.edit.by("library"),
        "mutagen": row.edit.mutagen,
        **row.others,
    }
    try:
        return interleaved(contestants, rounds, prepare, check)
    finally:
        prepare()
        os.remove(work)
        os.remove(original)


def section(directory, rounds=ROUNDS):
    """The table, in Markdown."""
    lines = []
    for row in rows(directory):
        progress(row.name)
        seconds = measure(row, directory, rounds)
        ours = seconds["tagwriter"]
        best = min(row.others, key=lambda name: statistics.median(seconds[name]))
        lines.append([row.name, median(ours, 1000) + " ms"]
                     + [ratio(ours, seconds[name]) for name in ("floor", "cp", "TagLib", "mutagen")]
                     + [f"{ratio(ours, seconds[best])} {best}"])
    return table(["100 MB file", "tagwriter", "/ plain move", "/ `cp`", "/ TagLib", "/ mutagen",
                  "/ best other program"], lines)
