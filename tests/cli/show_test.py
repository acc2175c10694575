"""What `show` prints, for people and for scripts."""

import os
import unittest

from mutagen.id3 import ID3, POPM, TIT2, TXXX, USLT

from cli_support import DATA, TAGWRITER, CommandTest, Terminal, objects, tagwriter


class TextTest(CommandTest):

    def test_prints_fields_and_pictures_of_each_file(self):
        mp3, plain = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        tagwriter("set", "-t", "title=T", "-t", "rating=3.5", "-t", "lyrics=a\nb\n", "-t", "disc=1",
                  "-t", "compilation=yes", mp3)
        run = tagwriter("show", mp3, plain, DATA / "flac_pictures.flac")
        self.assert_run(run, 0)
        start = (f"{mp3}\n  title: T\n  lyrics: a\n    b\n  rating: 3.5\n  compilation: yes\n"
                 f"  disc: 1\n{plain}\n  (no tags)\n")
        self.assertTrue(run.stdout.startswith(start), run.stdout)
        self.assertRegex(run.stdout[len(start):], r"(?m)^  picture: .*, image/png, 8x8, 96 bytes$")

    def test_all_adds_what_has_no_key(self):
        mp3 = self.copy("mp3_plain.mp3")
        tags = ID3()
        tags.add(TXXX(encoding=3, desc="MOOD", text=["calm", "dark"]))
        tags.save(mp3)
        self.assertEqual(tagwriter("show", mp3).stdout,
                         f"{mp3}\n  (no field that has a key; use --all)\n")
        tagwriter("set", "-t", "title=T", mp3)
        self.assertEqual(tagwriter("show", "--all", mp3).stdout,
                         f"{mp3}\n  title: T\n  all tags, as TagLib names them:\n"
                         "    MOOD: calm\n    MOOD: dark\n    TITLE: T\n")
        shown, = objects(tagwriter("show", "--all", "--json", mp3).stdout)
        self.assertEqual(shown["tags"], {"MOOD": ["calm", "dark"], "TITLE": ["T"]})

    def test_escapes_control_characters_except_line_feeds_in_values(self):
        mp3 = self.copy("mp3_plain.mp3", "a\x1b.mp3")
        tags = ID3()
        tags.add(TXXX(encoding=3, desc="X\x1bY", text="red\x1b[31m\nnext\x9b"))
        tags.save(mp3)
        self.assertEqual(tagwriter("show", "--all", mp3).stdout,
                         f"{self.directory}/a\\x1b.mp3\n  all tags, as TagLib names them:\n"
                         "    X\\x1bY: red\\x1b[31m\n      next\\x9b\n")
        run = tagwriter("set", "-n", "-t", "title=a\x1b\nb", mp3)
        self.assertEqual(run.stdout, f"{self.directory}/a\\x1b.mp3: title = a\\x1b\\x0ab "
                                     "(was not set)\n")
        self.assertEqual(tagwriter("show", "a\x1b").stderr, "a\\x1b: No such file or directory\n")

    def test_reports_files_that_it_cannot_read(self):
        noise, fifo = self.directory / "noise.txt", self.directory / "fifo.mp3"
        noise.write_text("no audio")
        os.mkfifo(fifo)  # without a writer: nothing may wait for it
        for option in ([], ["-t", "title"]):
            run = tagwriter("show", *option, noise, self.directory / "missing", fifo,
                            self.directory)
            self.assert_run(run, 1, f"{self.directory}: is a directory (use --recursive)\n"
                                    f"{noise}: cannot be read as an audio file\n"
                                    f"{self.directory}/missing: No such file or directory\n"
                                    f"{fifo}: not a regular file\n")
            self.assertEqual(run.stdout, "")
        # Reading it would block, too.
        with open(fifo, "r+b", buffering=0):
            self.assert_run(tagwriter("show", fifo), 1, f"{fifo}: not a regular file\n")


class ValuesTest(CommandTest):
    """show -t KEY."""

    def test_prints_values_and_nothing_else(self):
        mp3, plain = self.copy("mp3_plain.mp3", "a.mp3"), self.copy("flac_plain.flac")
        text = "x\x1b\n" + "y" * (21 << 20)  # more than the reader sends with everything else
        tags = ID3()
        for frame in (TIT2(encoding=3, text=" T "), USLT(encoding=3, text=text),
                      POPM(rating=242)):
            tags.add(frame)
        tags.save(mp3)
        run = tagwriter("show", "-t", "rating", "-t", "lyrics", "-t", "title", mp3, plain)
        self.assert_run(run, 0)
        self.assertTrue(run.stdout == f"4.5\n{text}\n T \n\n\n\n")
        run = tagwriter("show", "--json", "-t", "rating", "-t", "year", mp3)
        self.assertEqual(objects(run.stdout), [{"file": str(mp3), "fields": {"rating": 4.5}}])

    def test_escapes_them_on_a_terminal_only(self):
        flac = self.copy("flac_plain.flac")
        tagwriter("set", "-t", "title=\x1b[31m", flac)
        self.assertEqual(tagwriter("show", "-t", "title", flac).stdout, "\x1b[31m\n")
        terminal = Terminal(self, TAGWRITER, "show", "-t", "title", flac)
        self.assertEqual((terminal.wait(), terminal.screen()), (0, ["\\x1b[31m", ""]))


if __name__ == "__main__":
    unittest.main()
