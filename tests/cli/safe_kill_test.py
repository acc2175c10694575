"""Safe mode under SIGKILL: the command and its worker are killed at random moments of an edit. The
file is then what it was before the edit or what it is after it.

The moments come from a seed that is printed; SAFE_KILL_SEED repeats a run.
"""

import collections
import os
import random
import signal
import subprocess
import time
import unittest

from cli_support import DEADLINE, TAGWRITER, CommandTest, end, tagwriter
from processes import Process, children_of

KILLS = 50
AUDIO_BYTES = 4 << 20
# So different in length that no padding fits, so that every edit moves the whole file.
TITLES = ["A" * 10, "B" * 60_000, "C" * 125_000]


class SafeKillTest(CommandTest):

    def setUp(self):
        super().setUp()
        self.path = self.directory / "song.flac"
        noise = random.Random(1).randbytes(AUDIO_BYTES)  # does not compress
        subprocess.run(
            ["flac", "--silent", "--fast", "--force-raw-format", "--endian=little", "--sign=signed",
             "--channels=2", "--bps=16", "--sample-rate=44100", "-o", self.path, "-"],
            input=noise, check=True)
        # The file with each title, whatever the title was before.
        self.versions = {}
        for title in [*TITLES[::-1], *TITLES, TITLES[0], TITLES[2]]:
            started = time.monotonic()
            self.assert_run(tagwriter("set", "-t", f"title={title}", self.path), 0)
            self.duration = time.monotonic() - started
            content = self.path.read_bytes()
            self.assertTrue(self.versions.setdefault(title, content) == content)
        seed = int(os.environ.get("SAFE_KILL_SEED", time.time_ns() % 1_000_000))
        print(f"SAFE_KILL_SEED={seed}")
        self.random = random.Random(seed)

    def kill_during_edit(self, title, *options):
        """Starts an edit and kills the command and its worker, in random order."""
        process = subprocess.Popen([TAGWRITER, "set", *options, "-t", f"title={title}", self.path],
                                   stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(end, process)
        time.sleep(self.random.uniform(0, 1.2 * self.duration))
        process.send_signal(signal.SIGSTOP)  # it must not start a worker meanwhile
        workers = [Process(pid) for pid in children_of(process.pid)]
        killed = [process.kill, *(lambda w=w: w.send(signal.SIGKILL) for w in workers)]
        self.random.shuffle(killed)
        for kill in killed:
            kill()
        for worker in workers:
            worker.wait()
        process.wait(DEADLINE)

    def version(self):
        """The title whose version the file is, all bytes compared; None if it is none of them."""
        content = self.path.read_bytes()
        return next((title for title in TITLES if self.versions[title] == content), None)

    def test_the_file_is_as_before_or_as_after_the_edit(self):
        results, leftovers, before = collections.Counter(), set(), TITLES[-1]
        for kill in range(KILLS):
            after = TITLES[kill % len(TITLES)]
            self.kill_during_edit(after, "--safe")
            version = self.version()
            self.assertIn(version, (before, after), f"kill {kill}")
            results["after" if version == after else "before"] += 1
            names = set(os.listdir(self.directory)) - {self.path.name}
            for name in names - leftovers:  # complete copies that already had a name
                self.assertTrue(name.startswith("."))
                self.assertIn((self.directory / name).read_bytes(), self.versions.values())
            before, leftovers = version, names
        print(f"{KILLS} kills: {dict(results)}; {len(leftovers)} complete copies left")
        self.assertGreater(results["before"], 0, "no kill was early enough")

    def test_the_same_kills_damage_a_file_that_is_edited_in_place(self):
        """Otherwise the other test shows nothing."""
        for kill in range(4 * KILLS):
            self.path.write_bytes(self.versions[TITLES[-1]])
            self.kill_during_edit(TITLES[kill % 2])
            if self.version() is None:
                print(f"in place, kill {kill + 1} damages the file")
                return
        self.fail("no kill did any damage")


if __name__ == "__main__":
    unittest.main()
