"""How much faster the command is with two workers."""

import os
import shutil
import subprocess

import files
from document import table
from measure import interleaved, median, progress, ratio

ROUNDS = 15
FILES = 1000


def section(directory, rounds=ROUNDS):
    """The seconds for many small files with one worker and with two, in Markdown."""
    progress("workers side by side")
    program = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter")
    songs = os.path.join(directory, "songs")
    song = files.read("mp3_plain.mp3")

    def prepare():
        shutil.rmtree(songs, ignore_errors=True)
        os.mkdir(songs)
        for number in range(FILES):
            with open(os.path.join(songs, f"{number}.mp3"), "wb") as file:
                file.write(song)
        return songs

    def check(_jobs, path):
        for name in os.listdir(path):
            if os.path.getsize(os.path.join(path, name)) <= len(song):
                raise RuntimeError(f"{name} was not written")

    def edit(jobs):
        def run(path):
            subprocess.run([program, "set", "-q", "-j", jobs, "-t", "title=T", "-r", path],
                           check=True)
        return run

    seconds = interleaved({jobs: edit(jobs) for jobs in ("1", "2")}, rounds, prepare, check)
    line = [f"{FILES} small MP3s", median(seconds["1"], 1), median(seconds["2"], 1),
            ratio(seconds["1"], seconds["2"])]
    text = (f"`tagwriter set -j`, medians of {rounds} rounds, in each of which both ran, in seconds; "
            "and the ratio within a round.\n\n")
    return text + table(["", "`-j 1`", "`-j 2`", "times as fast"], [line])


if __name__ == "__main__":
    import tempfile
    with tempfile.TemporaryDirectory(prefix="tagwriter-bench-") as temporary:
        print(section(temporary))
