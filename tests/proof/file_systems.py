"""Edits on other file systems: what is promised in place, and what is promised in safe mode.

Mounts what the kernel and the installed FUSE programs can, in a mount namespace; needs root.

    file_systems.py KIND

prints the row of one of them as JSON.
"""

import contextlib
import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

TESTS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TESTS / "player"), str(TESTS / "bus")]

from deaths import Command, of_command  # noqa: E402
from edited_file import GROW, MODES, SOURCES, EditedFile, write  # noqa: E402
from songs import require  # noqa: E402

MB = 1 << 20
NOT_PROMISED = {"in place": set(), "safe": {"inode", "hard link"}}  # safe mode makes a new file
KILLED_AT = 5  # each fifth system call
CANNOT_MOUNT = "not tested here: "

# How to make each one in an image of that size, and how to mount the image.
LOOP = ["mount", "-o", "loop"]
KINDS = {
    "ext4": (["mkfs.ext4", "-q"], 64 * MB, LOOP),
    "XFS": (["mkfs.xfs", "-q"], 300 * MB, LOOP),
    "btrfs": (["mkfs.btrfs", "-q"], 128 * MB, LOOP),
    "tmpfs": (None, 0, ["mount", "-t", "tmpfs", "-o", "size=64M"]),
    "overlay on ext4": (["mkfs.ext4", "-q"], 64 * MB, LOOP),
    "vfat": (["mkfs.vfat"], 64 * MB, [*LOOP, "-i", "-t", "vfat"]),
    "vfat (FUSE)": (["mkfs.vfat"], 64 * MB, ["fusefat", "-o", "rw+"]),
    "exfat": (["mkfs.exfat"], 64 * MB, [*LOOP, "-i", "-t", "exfat"]),
    "exfat (FUSE)": (["mkfs.exfat"], 64 * MB, [*LOOP, "-t", "exfat-fuse"]),
    "NTFS": (["mkntfs", "-F", "-Q"], 64 * MB, [*LOOP, "-i", "-t", "ntfs3"]),
    "NTFS (FUSE)": (["mkntfs", "-F", "-Q"], 64 * MB, ["ntfs-3g"]),
}


def run(command):
    """Returns None, or the first line of why it failed."""
    if not shutil.which(command[0]):
        return f"{command[0]} is not installed"
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    return None if done.returncode == 0 else (done.stderr or done.stdout).strip().splitlines()[0]


def make_files(place):
    """The files that are edited, in a directory for each mode."""
    for mode in MODES:
        directory = os.path.join(place, mode)
        os.mkdir(directory)
        for source in SOURCES:
            write(directory, source)


def mount(kind, directory):
    """Mounts a new file system with files. Returns the mount points, the last one of which is it,
    and why there is none."""
    place, image = os.path.join(directory, "mounted"), os.path.join(directory, "image")
    os.mkdir(place)
    make, size, command = KINDS[kind]
    if make:
        with open(image, "wb") as file:
            file.truncate(size)
        if reason := run([*make, image]):
            return [], reason
    if reason := run([*command, image if make else "none", place]):
        return [], CANNOT_MOUNT + reason.replace(f"mount: {place}: ", "")
    if not kind.startswith("overlay"):
        make_files(place)
        return [place], None
    over = os.path.join(directory, "over")
    lower, upper, work = (os.path.join(place, name) for name in ("lower", "upper", "work"))
    for each in (over, lower, upper, work):
        os.mkdir(each)
    make_files(lower)  # the first edit of each file copies it up
    options = f"lowerdir={lower},upperdir={upper},workdir={work}"
    if reason := run(["mount", "-t", "overlay", "overlay", "-o", options, over]):
        return [place], CANNOT_MOUNT + reason
    return [place, over], None


def files_in(place, mode):
    """The files of one mode."""
    return [EditedFile(os.path.join(place, mode, source)) for source in SOURCES]


def require_nothing_else(place):
    """No copy was left behind."""
    for mode in MODES:
        names = {name.removesuffix(".link") for name in os.listdir(os.path.join(place, mode))}
        require(names == set(SOURCES), f"in the directory: {names}")


def edit_all(place, mode):
    """Edits all files. A cell on what happened."""
    lost, refusals = set(), []
    for file in files_in(place, mode):
        status, message = file.edit(*GROW, *MODES[mode])
        if status == "written":
            require(file.has(GROW), f"{file.path}: not as it must be")
            lost |= file.lost() - NOT_PROMISED[mode]
        else:
            require(file.is_unchanged(), f"{file.path}: {message}, and the file has changed")
            refusals.append(message)
    edited = f"{len(SOURCES) - len(refusals)} of {len(SOURCES)} edited" if refusals else "edited"
    losses = [f"not kept: {what}" for what in sorted(lost)]
    return "; ".join([edited, *sorted(set(refusals)), *losses])


def edit_without_room(place, mode):
    """Edits new files on a full file system. A cell on what happened."""
    shutil.rmtree(os.path.join(place, mode))
    os.mkdir(os.path.join(place, mode))
    for source in SOURCES:
        write(os.path.join(place, mode), source)
    files, outcomes = files_in(place, mode), set()
    filler = os.path.join(place, "filler")
    fill(filler)
    for file in files:
        status, message = file.edit(*GROW, *MODES[mode])
        is_edited = status == "written" and file.has(GROW)
        may_be_damaged = status == "damaged" and mode == "in place"
        require(is_edited or may_be_damaged or file.is_unchanged(), f"{file.path}: {message}")
        require(status != "written" or is_edited, f"{file.path}: not as it must be")
        outcomes.add({"written": "edited", "damaged": "may be damaged"}.get(status, status))
    os.unlink(filler)
    return " or ".join(sorted(outcomes))


def fill(path):
    """Makes a file larger until there is no room left, not even after a flush: some file systems
    free the room of a removed file only then. ext4 reserves some room for fallocate."""
    size = -1
    with open(path, "wb", buffering=0) as file:
        while size < (size := os.fstat(file.fileno()).st_size):
            subprocess.run(["sync", "-f", path], check=True)
            for block in (MB, 4096, 512, 1):
                extend(file, block)


def extend(file, block):
    """Adds blocks of this size until that fails."""
    with contextlib.suppress(OSError):
        file.seek(0, os.SEEK_END)
        while file.write(bytes(block)) == block:
            pass
    with contextlib.suppress(OSError):
        while True:
            os.posix_fallocate(file.fileno(), os.fstat(file.fileno()).st_size, block)


def has_unnamed_files(directory):
    """Whether a copy can be made that disappears with its process."""
    try:
        os.close(os.open(directory, os.O_TMPFILE | os.O_RDWR))
        return True
    except OSError:
        return False


def kill(directory):
    """Kills the command in safe mode. A cell on what happened."""
    command = Command(directory, MODES["safe"])
    return of_command(command, KILLED_AT, has_unnamed_files(directory))


def promises(place):
    """The cells of a file system's row."""
    lacks = files_in(place, "safe")[0].lacks()
    cells = [edit_all(place, mode) for mode in MODES]
    cells += [edit_without_room(place, mode) for mode in MODES]
    require_nothing_else(place)
    cells.append(kill(os.path.join(place, "safe")) if cells[1].startswith("edited") else "–")
    return [*cells, ", ".join(sorted(lacks)) or "–"]


def main(kind):
    with tempfile.TemporaryDirectory(prefix="tagwriter-fs-") as directory:
        places, reason = mount(kind, directory)
        try:
            print(json.dumps([reason] if reason else promises(places[-1])))
        finally:
            for place in reversed(places):
                subprocess.run(["umount", place], check=True)


def row(kind):
    """The row of one file system, made in a mount namespace that ends with it."""
    done = subprocess.run(["unshare", "--mount", sys.executable, "-B", __file__, kind],
                          stdout=subprocess.PIPE, text=True, check=False)
    require(done.returncode == 0, f"{kind} failed")
    return json.loads(done.stdout.splitlines()[-1])


if __name__ == "__main__":
    main(sys.argv[1])
