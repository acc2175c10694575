"""Safe mode under SIGKILL: a program that edits one file in a loop is killed at random moments, and
its worker with it. The file is then what it was before the edit in hand, or what it is after it.

The moments come from a seed that is printed; SAFE_KILL_SEED repeats a run.
"""

import collections
import os
import random
import select
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

import mutagen

BIN = Path(os.environ["TAGWRITER_BIN"])

DEADLINE = 60
KILLS = 50
AUDIO_BYTES = 20 << 20
# Each of them is too long for the space that the others leave, so the whole file moves every time.
TITLE_LENGTHS = [10, 300_000, 900_000]
LETTERS = "ABC"
ENDLESS = 1_000_000


def next_letter(letter):
    return LETTERS[(LETTERS.index(letter) + 1) % len(LETTERS)]


def make_flac(path):
    """Noise, which does not get smaller."""
    noise = random.Random(1).randbytes(AUDIO_BYTES)
    subprocess.run(
        ["flac", "--silent", "--fast", "--force-raw-format", "--endian=little", "--sign=signed",
         "--channels=2", "--bps=16", "--sample-rate=44100", "-o", path, "-"],
        input=noise, check=True)


def children_of(parent):
    found = []
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            stat = Path(f"/proc/{entry}/stat").read_text()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(stat[stat.rindex(")") + 2:].split()[1]) == parent:
            found.append(int(entry))
    return found


def command(mode, count, path):
    return [BIN / "safe_loop", mode, str(count), path, *map(str, TITLE_LENGTHS)]


def edit_in_place(path, count):
    subprocess.run(command("--in-place", count, path), check=True, timeout=DEADLINE,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)


class Editor:
    """safe_loop at work on the file."""

    def __init__(self, mode, path):
        self._process = subprocess.Popen(
            command(mode, ENDLESS, path), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL)
        os.set_blocking(self._process.stdout.fileno(), False)
        self.finished = ""

    def read(self, within):
        """Waits for finished edits; whether there are any new ones."""
        output = self._process.stdout
        if not select.select([output], [], [], max(within, 0))[0]:
            return False
        letters = output.read()
        if not letters:
            raise AssertionError(f"safe_loop has ended by itself: {self._process.wait(DEADLINE)}")
        self.finished += letters.decode()
        return True

    def read_until(self, end):
        while (left := end - time.monotonic()) > 0:
            self.read(left)

    def wait_for_edits(self, count):
        end = time.monotonic() + DEADLINE
        while len(self.finished) < count:
            if time.monotonic() > end:
                raise AssertionError("safe_loop does not get on")
            self.read(DEADLINE)

    def kill(self, editor_first=True):
        """Kills the program and its worker, and waits until both are dead."""
        self._process.send_signal(signal.SIGSTOP)  # it starts no other worker meanwhile
        workers = [os.pidfd_open(pid) for pid in children_of(self._process.pid)]
        if editor_first:
            self._process.kill()
        for worker in workers:
            signal.pidfd_send_signal(worker, signal.SIGKILL)
        self._process.kill()
        for worker in workers:
            if not select.select([worker], [], [], DEADLINE)[0]:
                raise AssertionError("the worker does not end")
            os.close(worker)
        if self._process.wait(DEADLINE) != -signal.SIGKILL:
            raise AssertionError("safe_loop was not killed")
        self.finished += (self._process.stdout.read() or b"").decode()
        self._process.stdout.close()


class SafeKillTest(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory(prefix="tagwriter-kill-")
        cls.addClassCleanup(directory.cleanup)
        cls.original = Path(directory.name) / "original.flac"
        make_flac(cls.original)
        cls.directory = Path(directory.name) / "music"
        cls.directory.mkdir()
        cls.path = cls.directory / "song.flac"
        cls.make_versions()
        seed = int(os.environ.get("SAFE_KILL_SEED", time.time_ns() % 1_000_000))
        print(f"SAFE_KILL_SEED={seed}")
        cls.random = random.Random(seed)

    @classmethod
    def make_versions(cls):
        """The whole file with each title. A title makes the same file in each round."""
        edit_in_place(cls.original, len(LETTERS))  # from here on the padding is the library's
        cls.versions = {}
        for count in range(1, 2 * len(LETTERS) + 1):
            shutil.copyfile(cls.original, cls.path)
            edit_in_place(cls.path, count)
            letter = LETTERS[(count - 1) % len(LETTERS)]
            content = cls.path.read_bytes()
            if cls.versions.setdefault(letter, content) != content:
                raise AssertionError(f"two files with the title {letter}")
        for letter, content in cls.versions.items():
            cls.path.write_bytes(content)
            subprocess.run(["flac", "--silent", "--test", cls.path], check=True)

    def version(self):
        """Which version the file is, by all of its bytes; None when it is none of them."""
        content = self.path.read_bytes()
        return next((letter for letter in LETTERS if self.versions[letter] == content), None)

    def run_and_kill(self, mode, longest):
        """Edits for a random time, up to `longest` seconds after the first edit, and kills."""
        editor = Editor(mode, self.path)
        try:
            editor.wait_for_edits(1)
            start = time.monotonic()
            editor.read_until(start + self.random.uniform(0, longest))
        finally:
            editor.kill(editor_first=self.random.random() < 0.5)
        return editor.finished

    def time_of_a_round(self):
        """The seconds that one edit of each kind takes here and now."""
        editor = Editor("--safe", self.path)
        try:
            editor.wait_for_edits(1)
            start = time.monotonic()
            editor.wait_for_edits(1 + len(LETTERS))
            return time.monotonic() - start
        finally:
            editor.kill()

    def test_leaves_the_file_before_or_after_the_edit_in_hand(self):
        longest = self.time_of_a_round()
        ends = collections.Counter()
        leftovers = set()
        for kill in range(KILLS):
            finished = self.run_and_kill("--safe", longest)
            version = self.version()
            with self.subTest(kill=kill, finished=finished):
                expected = {finished[-1]: "before", next_letter(finished[-1]): "after"}
                self.assertIn(version, expected)
                ends[expected[version]] += 1
                title = mutagen.File(self.path)["title"][0]
                self.assertEqual(set(title), {version})
                others = set(os.listdir(self.directory)) - {self.path.name}
                # A finished copy that has its name, but not yet its place.
                for name in others - leftovers:
                    self.assertTrue(name.startswith("."))
                    self.assertTrue((self.directory / name).read_bytes() in self.versions.values())
                leftovers = others
        print(f"{KILLS} kills: {ends['before']} before, {ends['after']} after the edit in hand was in "
              f"place; {len(leftovers)} finished copies left under a hidden name")
        self.assertEqual(sum(ends.values()), KILLS)
        self.assertGreater(ends["before"], 0, "the kills do not hit the edits")

    def test_would_see_damage(self):
        """The same kills do harm to an edit in place, so they do hit the edits."""
        longest = self.time_of_a_round()
        for kill in range(KILLS):
            shutil.copyfile(self.original, self.path)
            self.run_and_kill("--in-place", longest)
            if self.version() is None:
                print(f"in place, kill {kill + 1} does harm")
                return
        self.fail(f"{KILLS} kills in the middle of edits in place do no harm")


if __name__ == "__main__":
    unittest.main()
