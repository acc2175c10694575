"""Edits on other file systems: what is promised in place, and what is promised in safe mode.

Mounts what the kernel and the installed FUSE programs can, in a mount namespace; needs root.
"""

import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import mutagen

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "player"))
from support import DATA, contents, samples  # noqa: E402

TAGWRITER = Path(os.environ["TAGWRITER_BIN"], "tagwriter")
MB = 1 << 20
SOURCES = ["mp3_plain.mp3", "flac_plain.flac", "m4a_plain.m4a", "vorbis_plain.ogg",
           "opus_plain.opus", "wma_tagged.wma"]
COMMENT = "c" * 30_000  # longer than any padding
OLD = (1_000_000_000, 1_234_567_890)  # times of access and modification, in seconds
ATTRIBUTE = "user.proof"

# How to make each one in an image of that size, and how to mount the image.
LOOP = ["mount", "-o", "loop"]
KINDS = {
    "ext4": (["mkfs.ext4", "-q"], 64 * MB, LOOP),
    "XFS": (["mkfs.xfs", "-q"], 300 * MB, LOOP),
    "btrfs": (["mkfs.btrfs", "-q"], 128 * MB, LOOP),
    "tmpfs": (None, 64 * MB, ["mount", "-t", "tmpfs", "-o", "size=64M"]),
    "overlay": (None, 0, None),
    "vfat": (["mkfs.vfat"], 64 * MB, LOOP),
    "exfat (FUSE)": (["mkfs.exfat"], 64 * MB, [*LOOP, "-t", "exfat-fuse"]),
    "NTFS (FUSE)": (["mkntfs", "-F", "-Q"], 64 * MB, ["ntfs-3g"]),
}


def run(command):
    """Returns None, or the first line of why it failed."""
    if not shutil.which(command[0]):
        return f"{command[0]} is not installed"
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    return None if done.returncode == 0 else (done.stderr or done.stdout).strip().splitlines()[0]


def mount(kind, directory):
    """Mounts a new file system. Returns where, and why not."""
    place = os.path.join(directory, "mounted")
    os.mkdir(place)
    make, size, command = KINDS[kind]
    if kind == "overlay":
        lower, upper, work = (os.path.join(directory, name) for name in ("lower", "upper", "work"))
        for each in (lower, upper, work):
            os.mkdir(each)
        for source in SOURCES:
            shutil.copy(Path(DATA, source), lower)
        options = f"lowerdir={lower},upperdir={upper},workdir={work}"
        return place, run(["mount", "-t", "overlay", "overlay", "-o", options, place])
    image = os.path.join(directory, "image") if make else "none"
    if make:
        with open(image, "wb") as file:
            file.truncate(size)
        if reason := run([*make, image]):
            return place, reason
    return place, run([*command, image, place])


class Song:
    """A file on the file system, with its state before an edit."""

    def __init__(self, place, source):
        self.path = os.path.join(place, source)
        self.renew()

    def renew(self):
        """Copies the file again, with a hard link and an attribute where they can be had."""
        for path in (self.path, self.path + ".link"):
            if os.path.lexists(path):
                os.unlink(path)
        shutil.copyfile(Path(DATA, os.path.basename(self.path)), self.path)
        self.has_link, self.has_attribute = True, True
        try:
            os.link(self.path, self.path + ".link")
        except OSError:
            self.has_link = False
        try:
            os.setxattr(self.path, ATTRIBUTE, b"kept")
        except OSError:
            self.has_attribute = False
        os.utime(self.path, OLD)
        self.before, self.audio = contents(self.path), samples(self.path)

    def edit(self, *options):
        """Returns what happened, and the message."""
        done = subprocess.run([TAGWRITER, "set", "-t", f"comment={COMMENT}", "--keep-times",
                               "--json", *options, self.path], capture_output=True, text=True,
                              check=False)
        if done.returncode == 0:
            return "written", ""
        message = json.loads(done.stdout.splitlines()[-1])["error"]
        damaged = message.startswith(("not written completely", "the service did not answer"))
        return "told" if damaged else "refused", message

    def is_edited(self):
        """The comment is in the file, and the audio is the same."""
        tags = mutagen.File(self.path).tags
        return COMMENT in str(dict(tags)) and samples(self.path) == self.audio

    def keeps(self):
        """What of the file's surroundings is as it was."""
        status = os.stat(self.path)
        return {"times": abs(status.st_mtime - OLD[1]) <= 2,
                "link": not self.has_link or os.path.samefile(self.path, self.path + ".link"),
                "attribute": not self.has_attribute
                             or os.getxattr(self.path, ATTRIBUTE) == b"kept"}


def promises(place):
    """The cells of a file system's row."""
    songs = [Song(place, source) for source in SOURCES]
    cells = []
    for options in ([], ["--safe"]):
        lost, refused = set(), set()
        for song in songs:
            song.renew()
            status, message = song.edit(*options)
            if status != "written":
                if contents(song.path) != song.before:
                    raise AssertionError(f"{song.path}: {status}, and the file has changed")
                refused.add(message)
                continue
            if not song.is_edited():
                raise AssertionError(f"{song.path}: not as it must be after {options}")
            lost |= {what for what, is_kept in song.keeps().items() if not is_kept}
        if options:
            lost.discard("link")  # safe mode makes a new file
        cells.append("; ".join(sorted(refused) or ["all edited"])
                     + (f"; not kept: {', '.join(sorted(lost))}" if lost else ""))
    leftovers = {name for name in os.listdir(place) if not name.endswith(".link")} - set(SOURCES)
    if leftovers - {"lost+found"}:
        raise AssertionError(f"left behind: {leftovers}")
    missing = [what for what, has in (("hard links", songs[0].has_link),
                                      ("attributes", songs[0].has_attribute)) if not has]
    return [*cells, full(place, songs), ", ".join(missing) or "–"]


def full(place, songs):
    """What happens without room."""
    for song in songs:
        song.renew()
    filler = os.path.join(place, "filler")
    try:
        with open(filler, "wb", buffering=0) as file:
            for size in (MB, 4096, 512, 1):
                while file.write(bytes(size)) == size:
                    pass
    except OSError:
        pass
    outcomes = set()
    for song in songs:
        status, _ = song.edit()
        is_same = contents(song.path) == song.before
        if not is_same and status != "told" and not (status == "written" and song.is_edited()):
            raise AssertionError(f"{song.path}: {status} without room, and the file has changed")
        outcomes.add("refused, file as it was" if is_same else "edited")
    os.unlink(filler)
    return " or ".join(sorted(outcomes))


FAILURES = [("write", "EIO"), ("write", "ENOSPC"), ("truncate", "EIO"), ("flush", "EIO"),
            ("read", "ESTALE"), ("fsync", "EIO"), ("rename", "EIO"), ("create", "EACCES")]


def failures(directory, steps=8):
    """Every operation of a file system over FUSE fails once, at each of the first steps."""
    below, place = os.path.join(directory, "below"), os.path.join(directory, "failing")
    os.mkdir(below)
    os.mkdir(place)
    program = Path(__file__).resolve().parent / "failing_fs.py"
    server = subprocess.Popen([program, below, place], stderr=subprocess.PIPE, text=True)
    while not os.path.ismount(place):
        if server.poll() is not None:
            return [("failing FUSE", server.stderr.read().strip().splitlines()[-1])]
    rows = []
    try:
        for operation, error in FAILURES:
            counts = {}
            for options in ([], ["--safe"]):
                for step in range(1, steps + 1):
                    rows_of = outcome_of_failure(place, operation, step, error, options)
                    counts[rows_of] = counts.get(rows_of, 0) + 1
            rows.append((f"{operation}: {error}",
                         ", ".join(f"{count} × {what}" for what, count in sorted(counts.items()))))
    finally:
        subprocess.run(["umount", place], check=True)
        server.wait(60)
    return rows


def outcome_of_failure(place, operation, step, error, options):
    """One edit, of which one operation fails."""
    song = Song(place, random.Random(f"{operation} {step}").choice(SOURCES))
    plan = Path(f"{place}.plan")
    plan.write_text(f"{operation} {step} {error}")
    status, message = song.edit(*options)
    plan.unlink()
    if contents(song.path) == song.before:
        if status == "written":
            raise AssertionError(f"{song.path}: written, and the file is as it was")
        return "refused, file as it was"
    if status == "written" and song.is_edited():
        return "edited"
    if status == "told" and not options:
        return "told that it may be damaged"
    raise AssertionError(f"{song.path} {options}: {status} ({message}) after {operation} {step}")


def in_namespace(kind):
    """Prints the row of one file system as JSON."""
    with tempfile.TemporaryDirectory(prefix="tagwriter-fs-") as directory:
        if kind == "failing":
            print(json.dumps(failures(directory)))
            return
        place, reason = mount(kind, directory)
        try:
            print(json.dumps([f"not tried: {reason}"] if reason else promises(place)))
        finally:
            if not reason:
                subprocess.run(["umount", place], check=True)


def row(kind):
    """The row of one file system, made in a mount namespace that ends with it."""
    done = subprocess.run(["unshare", "--mount", sys.executable, "-B", __file__, kind],
                          stdout=subprocess.PIPE, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{kind} failed")
    return json.loads(done.stdout.splitlines()[-1])


if __name__ == "__main__":
    in_namespace(sys.argv[1])
