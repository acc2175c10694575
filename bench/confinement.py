"""What the confinement of the service costs its players."""

import os
import shutil
import subprocess

import files
from document import table
from edits import Text
from measure import interleaved, median, progress, ratio

REQUESTS, ROUNDS = 1000, 41
STARTS = 101
LAST_COMMENT = Text("comment", "Second")


def program(name):
    """The path of a program of the benchmarks."""
    return os.path.join(os.path.dirname(os.environ["TAGWRITER_BENCH"]), name)


def timed(count, *options):
    """Requests to a new service. Returns the seconds as `requests` prints them."""
    service = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriterd")
    command = [program("requests"), service, str(count)]
    return lambda path: float(subprocess.run([*command, path, *options], check=True,
                                             capture_output=True).stdout)


def section(directory):
    """The times with and without it, in Markdown."""
    original = os.path.join(directory, "original.mp3")
    files.song(original)

    def prepare():
        return shutil.copyfile(original, os.path.join(directory, "song.mp3"))

    def check(way, path):
        if not LAST_COMMENT.is_in(path):
            raise RuntimeError(f"{way} had no effect")

    lines = []
    for what, count, rounds, unit in (
            ("request over a warm connection", REQUESTS, ROUNDS, "µs"),
            ("start to the first two answers", 0, STARTS, "ms")):
        progress(what)
        seconds = interleaved({"confined": timed(count), "not": timed(count, "--unconfined")},
                              rounds, prepare, check)
        scale = 1e6 / count if count else 1e3
        lines.append([what, *(f"{median(seconds[way], scale)} {unit}" for way in seconds),
                      ratio(seconds["confined"], seconds["not"])])
    return table(["MP3: comment", "tagwriterd", "with `--unconfined`", "ratio"], lines)
