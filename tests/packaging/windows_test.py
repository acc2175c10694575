"""The examples with a main loop: it goes on while they edit many files."""

import os
import re
import shutil
import unittest

import mutagen

from staging import CXX_FLAGS, StagingTest, run

FILES = 200
STRICT = ["-Wall", "-Wextra", "-Werror", *CXX_FLAGS]


class WindowsTest(StagingTest):
    def build(self, example):
        build = self.directory / "build"
        run("cmake", "-S", self.prefix / "share/doc/tagwriter/examples" / example, "-B", build,
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_FLAGS={' '.join(STRICT)}")
        run("cmake", "--build", build)
        return build / "player"

    def assert_goes_on(self, example):
        player, first = self.build(example), self.copy("mp3_plain.mp3")
        files = [first] + [first.with_name(f"{number}.mp3") for number in range(1, FILES)]
        for file in files[1:]:
            shutil.copy(first, file)
        # The leaks of Qt and GLib are not ours.
        output = run(player, "Morgen", *files, env={
            **os.environ, "QT_QPA_PLATFORM": "offscreen", "ASAN_OPTIONS": "detect_leaks=0"})
        last = re.search(r"^200 files written; ticks from the first to the last: (\d+)$", output,
                         re.MULTILINE)
        self.assertTrue(last, output)
        # None, if the loop stood still.
        self.assertGreater(int(last[1]), 1)
        for file in files:
            self.assertEqual(str(mutagen.File(file).tags["TIT2"]), "Morgen")

    def test_a_window_of_qt(self):
        self.assert_goes_on("player_qt")

    def test_a_main_loop_of_glib(self):
        self.assert_goes_on("player_glib")


if __name__ == "__main__":
    unittest.main()
