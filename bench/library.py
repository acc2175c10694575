"""What the library and the command add to the service."""

import os
import shutil
import subprocess

import edits
import files
from confinement import program, timed
from document import table
from edits import Text
from measure import interleaved, median, progress, ratio

REQUESTS, ROUNDS = 2000, 15
STARTS = 201
TITLE = "Second"


def through_library(path):
    """Requests through TagWriter. Returns the seconds that they took."""
    service = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriterd")
    return float(subprocess.run([program("library_requests"), service, str(REQUESTS), path],
                                check=True, capture_output=True).stdout)


def section(directory):
    """The times of both, in Markdown."""
    original = os.path.join(directory, "original.mp3")
    files.song(original)

    def prepare():
        return shutil.copyfile(original, os.path.join(directory, "song.mp3"))

    def measure(what, field, contestants, rounds):
        progress(what)

        def check(way, path):
            if way != "start" and not Text(field, TITLE).is_in(path):
                raise RuntimeError(f"{what}: {way} had no effect")

        return interleaved(contestants, rounds, prepare, check)

    requests = measure("comments", "comment",
                       {"library": through_library, "raw": timed(REQUESTS)}, ROUNDS)
    command = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter")
    starts = measure("`tagwriter set`", "title", {
        "command": edits.program(command, "set", "-t", f"title={TITLE}", "FILE"),
        "TagLib": edits.program(program("set_title"), TITLE, "FILE"),
        "start": edits.program(program("only_start_as_tagwriter"),
                               program("only_start_as_tagwriterd")),
    }, STARTS)

    def line(what, seconds, way, other, scale, unit):
        return [what, *(f"{median(seconds[name], scale)} {unit}" for name in (way, other)),
                ratio(seconds[way], seconds[other])]

    return table(["MP3", "tagwriter", "compared with", "ratio"], [
        line("comment with `TagWriter`; over a raw connection", requests, "library", "raw",
             1e6 / REQUESTS, "µs"),
        line("`tagwriter set -t title=`; the least program with TagLib", starts, "command",
             "TagLib", 1e3, "ms"),
        line("the same; two programs that only load the libraries", starts, "command", "start",
             1e3, "ms"),
    ])
