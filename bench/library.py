"""What the library and the command add to the service."""

import os
import shutil
import subprocess

import edits
import files
from confinement import program, timed
from edits import Text
from measure import interleaved, median, progress, ratio, table

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

    def compare(what, field, ours, theirs, rounds, scale, unit):
        progress(what)

        def check(way, path):
            if not Text(field, TITLE).is_in(path):
                raise RuntimeError(f"{what}: {way} had no effect")

        seconds = interleaved({"ours": ours, "theirs": theirs}, rounds, prepare, check)
        return [what, *(f"{median(seconds[way], scale)} {unit}" for way in ("ours", "theirs")),
                ratio(seconds["ours"], seconds["theirs"])]

    command = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter")
    return table(["MP3", "tagwriter", "compared with", "ratio"], [
        compare("comment with `TagWriter`; over a raw connection", "comment", through_library,
                timed(REQUESTS), ROUNDS, 1e6 / REQUESTS, "µs"),
        compare("`tagwriter set -t title=`; the least program with TagLib", "title",
                edits.program(command, "set", "-t", f"title={TITLE}", "FILE"),
                edits.program(program("set_title"), TITLE, "FILE"), STARTS, 1e3, "ms"),
    ])
