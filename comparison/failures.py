"""What happens to a file that must not, or cannot, be written; and what an edit keeps of a file."""

import contextlib
import os
import re
import shutil
import subprocess
import tempfile

import songs
from formats import TITLE
from mistakes import SONGS, copy_songs, with_suffix
from programs import OURS, TIMEOUT
from report import behaviour, common

FREE = 64 << 10  # bytes on the full disk

ADD_COVER = {
    OURS: "tagwriter cover --replace cover.jpg FILE",
    "kid3-cli": "kid3-cli -c 'set picture:cover.jpg front' FILE",
    "operon": "operon image-set cover.jpg FILE",
    "eyeD3": "eyeD3 --add-image=cover.jpg:FRONT_COVER FILE",
    "metaflac": "metaflac --import-picture-from=cover.jpg FILE",
    "AtomicParsley": "AtomicParsley FILE --artwork cover.jpg --overWrite",
}
DISK_TEXT = f"""\
A cover of 300 KB for a file on a file system (tmpfs) that has {FREE >> 10} KiB left.
Done means that the file is, byte for byte, as it was, and that the exit code is not 0. A program
that does not end is killed after {TIMEOUT} seconds."""

READ_ONLY_TEXT = """\
A title for a file without write permission (mode 0444) of the same user, in a directory that the
user may write. A program that replaces the file is not stopped by that."""

KEEP_TIMES = {
    OURS: "tagwriter set --keep-times -t title=Morgen song.mp3",
    f"{OURS} --safe": "tagwriter set --safe --keep-times -t title=Morgen song.mp3",
    "kid3-cli": "kid3-cli -c 'config File.preserveTime true' -c 'set title Morgen' song.mp3",
    "eyeD3": "eyeD3 --preserve-file-times --title Morgen song.mp3",
    "metaflac": "metaflac --preserve-modtime --remove-tag=TITLE --set-tag=TITLE=Morgen song.flac",
}
TIMES_TEXT = """\
A title, with the program's option to keep the modification time, where it has one. A hard link is
kept if the file's other name has the new title as well."""
YEAR_2001 = 978307200


def without_override():
    """What makes permissions apply to root, too."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", "--bounding-set", "-dac_override,-dac_read_search"]


def read_only(workshop):
    def prepare(directory):
        copy_songs(workshop, directory)
        for entry in os.scandir(directory):
            os.chmod(entry.path, 0o444)

    def observe(_, directory):
        new = [entry.name for entry in os.scandir(directory)
               if songs.title(entry.path) == "Morgen"]
        return ("edited", "edited") if new else ("refused", "as it was")
    commands = with_suffix({program: command.replace("FILE", "song.SUFFIX")
                            for program, command in TITLE.items()})
    return behaviour(workshop, "A file without write permission", READ_ONLY_TEXT, commands,
                     ["the file afterwards"], prepare, observe, prefix=without_override())


@contextlib.contextmanager
def small_disk():
    """A file system of 16 MiB. This needs root."""
    with tempfile.TemporaryDirectory(prefix="tagwriter-compare-disk-") as directory:
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16m", "tmpfs", directory], check=True)
        try:
            yield directory
        finally:
            subprocess.run(["umount", directory], check=True)


def fill(directory):
    """Leaves FREE bytes in the file system."""
    state = os.statvfs(directory)
    with open(os.path.join(directory, "filler"), "wb") as file:
        file.write(bytes(state.f_bavail * state.f_frsize - FREE))


def observe_full(run, path, before):
    directory = os.path.dirname(path)
    left = set(os.listdir(directory)) - {os.path.basename(path), "cover.jpg", "filler"}
    notes = [f"leaves `{re.sub('[0-9]+', '…', name)}`" for name in sorted(left)] + [run.end()]
    unchanged = songs.contents(path) == songs.contents(before)
    if unchanged:
        state = "as it was"
    elif songs.audio(path) != songs.audio(before):
        state = "**damaged**"
    else:
        state = "changed, plays"
    return unchanged and bool(run.exit_code), ", ".join([state, *notes])


def disk(workshop):
    """A cover that does not fit on the disk."""
    def prepare(directory):
        shutil.copy(workshop.songs.large_cover, directory)
        fill(directory)
    with small_disk() as directory:
        return common(workshop, "A full disk does no harm, and is reported", DISK_TEXT, ADD_COVER,
                      observe_full, prepare, directory)


def times(workshop):
    def prepare(directory):
        copy_songs(workshop, directory)
        for entry in list(os.scandir(directory)):
            os.utime(entry.path, (YEAR_2001, YEAR_2001))
            os.link(entry.path, os.path.join(directory, "other name of " + entry.name))

    def observe(_, directory):
        name = next((name for name in SONGS
                     if songs.title(os.path.join(directory, name)) == "Morgen"), None)
        if not name:
            return "neither", "no edit", "no edit"
        linked = songs.title(os.path.join(directory, "other name of " + name)) == "Morgen"
        kept = os.stat(os.path.join(directory, name)).st_mtime == YEAR_2001
        word = {(True, True): "both", (True, False): "links", (False, True): "times",
                (False, False): "neither"}[linked, kept]
        return word, "yes" if linked else "no", "yes" if kept else "no"
    commands = {**KEEP_TIMES, **with_suffix({program: TITLE[program].replace("FILE", "song.SUFFIX")
                                             for program in TITLE if program not in KEEP_TIMES})}
    return behaviour(workshop, "Hard links and modification times kept", TIMES_TEXT, commands,
                     ["hard link kept", "time kept"], prepare, observe)


def sections(workshop):
    return [read_only(workshop), disk(workshop), times(workshop)]
