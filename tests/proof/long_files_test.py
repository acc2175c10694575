"""A file beyond 4 GiB of which nothing is moved."""

import os
import sys
import unittest
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[1] / "player"))

import long_files  # noqa: E402
from support import ScratchTest  # noqa: E402


class LongFilesTest(ScratchTest):

    def test_m4a_with_the_tags_behind(self):
        path = os.path.join(self.directory, "last.m4a")
        audio = long_files.m4a(path, 4_500_000_000, False)
        self.assertEqual(long_files.edit(path, audio), "edited")


if __name__ == "__main__":
    unittest.main()
