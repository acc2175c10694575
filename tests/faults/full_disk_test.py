"""Edits on a full file system: a file is either as planned or, if the result is false, as before.

    full_disk_test.py ext4|xfs|tmpfs [unittest's arguments]

Mounts a small file system in a mount namespace, which ends with the test. Exits with 77 and the
reason where this machine cannot do that.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "player"))

from player import GLib, Player, change, raw_bytes, text  # noqa: E402
from support import DATA, contents  # noqa: E402

WITHOUT_RESERVATIONS = os.path.join(os.environ["TAGWRITER_BIN"], "without_reservations")
IN_NAMESPACE = "TAGWRITER_TEST_IN_NAMESPACE"
NOT_RUN = 77

# How to make each one, in an image of so many bytes; None: it needs no image.
MAKE = {"ext4": (["mkfs.ext4", "-q", "-m", "0"], 64 << 20),
        "xfs": (["mkfs.xfs", "-q"], 300 << 20),
        "tmpfs": None}

FILES = ["mp3_plain.mp3", "mp3_id3v24_id3v1.mp3", "mp3_id3v2_ape.mp3", "m4a_tagged.m4a",
         "flac_comment.flac", "flac_plain.flac", "vorbis_tagged.ogg", "opus_tagged.opus",
         "flac.oga", "wma_tagged.wma", "aiff_id3.aif", "wav_info_id3.wav", "ape_id3v1.ape",
         "wavpack_tagged.wv", "mpc_tagged.mpc", "dsf_tagged.dsf"]
LONG_FILE = "long.mp3"  # longer than what is moved at once

LITTLE = 64 << 10
# Each edit, and whether there is room for it in 0 bytes and in LITTLE; None: depends on the file.
EDITS = {
    "2 KB": (lambda path: change("comment", text("c" * 2048), path), None, True),
    "20 KB": (lambda path: change("comment", text("c" * 20480), path), False, True),
    "cover": (lambda path: {"path": text(path), "fd": GLib.Variant("h", 0),
                            "artwork": raw_bytes(b"i" * 300_000),
                            "replaceartwork": GLib.Variant("b", True)}, False, False),
}


def skip(reason):
    """Ends the test, which has not run."""
    print(f"full_disk_test: NOT RUN on {sys.argv[1]}: {reason}", file=sys.stderr)
    sys.exit(NOT_RUN)


def enter_namespace():
    """Runs this program again in a mount namespace, as root or as root of a user namespace."""
    for way in (["unshare", "--mount"], ["unshare", "--mount", "--map-root-user"]):
        if subprocess.run([*way, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0:
            os.environ[IN_NAMESPACE] = "1"
            os.execvp(way[0], [*way, sys.executable, "-B", *sys.argv])
    skip("this machine permits no mount namespaces")


def mount(name, directory):
    """Mounts a new file system of this type. Returns where."""
    place = os.path.join(directory, "mounted")
    os.mkdir(place)
    command = ["mount", "-t", name, "-o", "size=8M", "none", place]
    if MAKE[name]:
        make, size = MAKE[name]
        image = os.path.join(directory, "image")
        with open(image, "wb") as file:
            file.truncate(size)
        if not shutil.which(make[0]):
            skip(f"{make[0]} is not installed")
        subprocess.run([*make, image], check=True)
        command = ["mount", "-o", "loop", image, place]
    mounted = subprocess.run(command, stderr=subprocess.PIPE, text=True, check=False)
    if mounted.returncode != 0:
        skip(mounted.stderr.splitlines()[0])
    return place


def set_contents(path, data):
    """Overwrites the file, which keeps its blocks."""
    with open(path, "rb+") as file:
        file.write(data)
        file.truncate()
        os.fsync(file.fileno())


def contents_on_disk(path):
    """The bytes of the file as the file system stored them."""
    with open(path, "rb") as file:
        os.fsync(file.fileno())
        os.posix_fadvise(file.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)
        return file.read()


def fill(free):
    """Takes all space of the file system but `free` bytes."""
    path = os.path.join(MOUNTED, "filler")
    filler = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_APPEND)
    for size in (1 << 20, 1 << 12):
        while True:
            try:
                os.write(filler, bytes(size))
            except OSError:
                break
    os.fsync(filler)
    os.ftruncate(filler, os.fstat(filler).st_size - free)
    os.close(filler)
    os.sync()


class FullDisk(unittest.TestCase):

    def setUp(self):
        self.place = MOUNTED
        self.roomy = tempfile.mkdtemp(dir=os.path.dirname(MOUNTED))
        self.originals = {name: contents(os.path.join(DATA, name)) for name in FILES}
        self.originals[LONG_FILE] = self.originals["mp3_plain.mp3"] * 1700
        for name, data in self.originals.items():
            with open(os.path.join(self.place, name), "wb") as file:
                file.write(data)
        os.sync()
        self.planned = self.plan()

    def plan(self):
        """What each edit makes of each file where there is room."""
        planned = {}
        with Player() as player:
            for name, original in self.originals.items():
                path = os.path.join(self.roomy, name)
                for edit, (request, *_) in EDITS.items():
                    with open(path, "wb") as file:
                        file.write(original)
                    self.assertEqual(self.write(player, request, path), (True, False))
                    planned[name, edit] = contents(path)
        return planned

    @staticmethod
    def write(player, request, path):
        """Makes the edit. Returns the result, and whether the reply says incomplete."""
        with open(path, "rb+") as file:
            reply = player.write(request(path), [file])
        return reply["result"].unpack(), "incomplete" in reply

    def check(self, player, name, edit, fits):
        path = os.path.join(self.place, name)
        result, incomplete = self.write(player, EDITS[edit][0], path)
        expected = self.planned[name, edit] if result else self.originals[name]
        self.assertFalse(incomplete)
        self.assertTrue(contents_on_disk(path) == expected, f"changed; the result is {result}")
        if fits is not None:
            self.assertEqual(result, fits)
        set_contents(path, self.originals[name])

    def run_all(self, prepare):
        for column, free in enumerate((0, LITTLE)):
            fill(free)
            with Player(prepare) as player:
                for name in self.originals:
                    for edit, (_, *fits) in EDITS.items():
                        with self.subTest(free=free, file=name, edit=edit):
                            self.check(player, name, edit, fits[column])

    def test_where_room_can_be_reserved(self):
        self.run_all("")

    def test_where_no_room_can_be_reserved(self):
        self.run_all(f'set -- "{WITHOUT_RESERVATIONS}" "$@"')


class FullForTheCommand(unittest.TestCase):

    def test_says_so(self):
        fill(1 << 20)
        path = os.path.join(MOUNTED, "song.mp3")
        lyrics = os.path.join(os.path.dirname(MOUNTED), "lyrics.txt")
        shutil.copy(os.path.join(DATA, "mp3_plain.mp3"), path)
        with open(lyrics, "w", encoding="utf-8") as file:
            file.write("la " * 100_000)
        fill(0)
        before = contents(path)
        command = [os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter"), "set", "-t",
                   f"lyrics=@{lyrics}", path]
        run = subprocess.run(command, capture_output=True, text=True, check=False)
        self.assertEqual((run.returncode, run.stderr),
                         (1, f"{path}: lyrics: not written: there is not enough space: "
                             "No space left on device\n"))
        self.assertEqual(contents(path), before)


if __name__ == "__main__":
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    if not shutil.which("unshare") or not shutil.which("mount"):
        skip("it needs the programs unshare and mount")
    if IN_NAMESPACE not in os.environ:
        enter_namespace()
    if subprocess.run([WITHOUT_RESERVATIONS, "true"], check=False).returncode != 0:
        skip("this machine permits no system call filters")
    with tempfile.TemporaryDirectory() as scratch:
        MOUNTED = mount(sys.argv[1], scratch)
        try:
            program = unittest.main(argv=[sys.argv[0], *sys.argv[2:]], exit=False)
        finally:
            subprocess.run(["umount", MOUNTED], check=True)
    sys.exit(not program.result.wasSuccessful())
