"""What an edit may cost: memory, and system calls."""

import os
import re
import subprocess
import unittest

import large_files
from player import text
from support import PlayerTest, ScratchTest, change

MB = 1 << 20
LONG_COMMENT = "long " * 20000  # needs two pages of an Ogg file


class MemoryTest(ScratchTest):

    def peak(self, make, size, field, value):
        """The service's peak memory for one edit of a large file."""
        path = os.path.join(self.directory, f"{size}.{make.__name__}")
        make(path, size)
        player = self.start_player()
        with open(path, "rb+") as file:
            reply = player.write(change(field, text(value), path), [file])
        self.assertTrue(reply["result"].get_boolean())
        self.assertGreater(os.path.getsize(path), size)
        os.remove(path)
        return player.service.peak_memory()

    def test_does_not_depend_on_the_size_of_the_file(self):
        small, large = (self.peak(large_files.mp3, size * MB, "title", "Word")
                        for size in (10, 200))
        self.assertLess(large - small, 2 * MB)

    def test_has_a_limit_where_every_page_changes(self):
        peak = self.peak(large_files.ogg, 100 * MB, "comment", LONG_COMMENT)
        self.assertLess(peak, 64 * MB)


class SystemCallTest(PlayerTest):

    MAX_CALLS = 12

    def setUp(self):
        if subprocess.run(["strace", "-qq", "-o", os.devnull, "true"]).returncode != 0:
            self.skipTest("this machine does not let strace trace")
        super().setUp()

    def start_player(self):
        self.trace = os.path.join(self.directory, "trace")
        return super().start_player(f'set -- strace -qq -o "{self.trace}" "$@"')

    def test_a_short_edit_makes_few(self):
        path = self.copy("mp3_id3v23.mp3")
        self.assertTrue(self.write_field("title", text("Some title"), path))
        self.assertTrue(self.write_field("title", text("Some other"), path))
        with open(self.trace) as file:
            trace = file.read()
        *_, (_, calls) = re.findall(r"F_DUPFD_CLOEXEC, \d+\) += (\d+)\n(.*?)^close\(\1\)", trace,
                                     re.MULTILINE | re.DOTALL)
        self.assertLessEqual(len(calls.splitlines()), self.MAX_CALLS, calls)


if __name__ == "__main__":
    unittest.main()
