"""A real dbus-daemon starts the installed front on the first request."""

import unittest

import mutagen

from staging import StagingTest, run_on_bus, spy_on

PLAYER = "share/doc/tagwriter/examples/player_python/player.py"


class ActivationTest(StagingTest):
    def play(self, *arguments):
        return run_on_bus(self.prefix, "/usr/bin/python3", self.prefix / PLAYER, *arguments)

    def test_the_python_player_writes_and_truncates_through_the_installed_front(self):
        mp3, ogg = self.copy("mp3_plain.mp3"), self.copy("vorbis_tagged.ogg")
        started = spy_on(self.prefix / "libexec/tagwriter/tagwriter-bus")
        self.assertEqual(self.play("long " * 100, mp3, ogg), f"{mp3}: written\n{ogg}: written\n")
        self.assertTrue(started.exists())
        output = self.play("Früh", ogg)
        self.assertEqual(output, f"truncated to {ogg.stat().st_size} bytes\n{ogg}: written\n")
        self.assertEqual(mutagen.File(ogg).tags["TITLE"], ["Früh"])
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "long " * 100)

    def test_the_python_player_reports_what_is_not_written(self):
        text, missing = self.directory / "text.flac", self.directory / "missing.mp3"
        text.write_text("no audio")
        expected = f"(?s)returned 1:.*{text}: not written\n.*No such file .*'{missing}'"
        with self.assertRaisesRegex(AssertionError, expected):
            self.play("Title", text, missing)
        self.assertEqual(text.read_text(), "no audio")

    def test_the_command_writes_through_the_bus(self):
        mp3 = self.copy("mp3_plain.mp3")
        run_on_bus(self.prefix, self.prefix / "bin/tagwriter", "set", "--bus", "-t", "artist=Clara",
                   mp3)
        self.assertEqual(str(mutagen.File(mp3).tags["TPE1"]), "Clara")


if __name__ == "__main__":
    unittest.main()
