"""The tagwriter command as a user sees it: output, errors, exit codes and files."""

import fcntl
import os
import shutil
import unittest

import mutagen
from mutagen.id3 import ID3, TXXX

from cli_support import BIN, DATA, TAGWRITER, CommandTest, tagwriter


class SetTest(CommandTest):

    def test_writes_several_fields_in_order_into_several_files(self):
        mp3, flac = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        run = tagwriter("set", "-t", "title=one", "-t", "title=Süß = gut", "--tag", "year=1918",
                        mp3, flac)
        self.assert_run(run, 0)
        self.assertEqual(run.stdout, "")
        tags = mutagen.File(mp3).tags
        self.assertEqual((str(tags["TIT2"]), str(tags["TDRC"])), ("Süß = gut", "1918"))
        tags = mutagen.File(flac).tags
        self.assertEqual((tags["TITLE"], tags["DATE"]), (["Süß = gut"], ["1918"]))

    def test_reports_a_service_that_cannot_be_started_and_tries_again_for_the_next_file(self):
        program = shutil.copy(TAGWRITER, self.aside)
        worker = self.aside / "tagwriterd"
        worker.write_text(f"""#!/bin/sh
if mkdir {self.aside}/started 2>/dev/null; then exit 1; fi
exec {BIN}/tagwriterd "$@"
""")
        worker.chmod(0o755)
        first, second = self.copies(2)
        run = tagwriter("set", "-t", "title=T", first, second, program=program)
        self.assertEqual(run.returncode, 1)
        self.assertRegex(run.stderr, rf"\A{first}: the service is not available: .+\n\Z")
        self.assert_as_it_was(first)
        self.assertEqual(self.title(second), "T")
        worker.unlink()
        self.assertIn("tagwriterd is neither", tagwriter("set", "-t", "title=T", first,
                                                         program=program).stderr)

    def test_makes_no_further_edit_after_an_incomplete_one(self):
        mp3 = self.copy("mp3_plain.mp3")
        tagwriter("set", "-t", "lyrics=" + 100_000 * "x", mp3)
        fd = os.memfd_create("song", os.MFD_ALLOW_SEALING)  # a file that cannot become shorter
        self.addCleanup(os.close, fd)
        os.write(fd, mp3.read_bytes())
        fcntl.fcntl(fd, fcntl.F_ADD_SEALS, fcntl.F_SEAL_SHRINK)
        mp3.unlink()
        mp3.symlink_to(f"/proc/{os.getpid()}/fd/{fd}")
        run = tagwriter("set", "-t", "lyrics=", "-t", "title=T", mp3)
        self.assert_run(run, 1, "FDFileStream::truncate() -- xpc error: Operation not permitted.\n"
                                f"{mp3}: not written completely: the file could not be truncated\n")
        self.assertNotIn(b"TIT2", mp3.read_bytes())


class ShowTest(CommandTest):

    def test_prints_what_is_in_each_file(self):
        mp3, plain = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        tagwriter("set", "-t", "title=T", "-t", "artist=A", mp3)
        run = tagwriter("show", mp3, plain, DATA / "flac_pictures.flac")
        self.assert_run(run, 0)
        start = f"{mp3}\n  ARTIST: A\n  TITLE: T\n{plain}\n  (no tags)\n"
        self.assertTrue(run.stdout.startswith(start), run.stdout)
        self.assertRegex(run.stdout[len(start):], r"(?m)^  picture: .*, image/png, 8x8, 96 bytes$")

    def test_escapes_control_characters_except_line_feeds_in_values(self):
        mp3 = self.copy("mp3_plain.mp3", "a\x1b.mp3")
        tags = ID3()
        tags.add(TXXX(encoding=3, desc="X\x1bY", text="red\x1b[31m\nnext\x9b"))
        tags.save(mp3)
        self.assertEqual(tagwriter("show", mp3).stdout,
                         f"{self.directory}/a\\x1b.mp3\n  X\\x1bY: red\\x1b[31m\n    next\\x9b\n")
        run = tagwriter("set", "-n", "-t", "title=a\x1b\nb", mp3)
        self.assertEqual(run.stdout, f"{self.directory}/a\\x1b.mp3: title = a\\x1b\\x0ab\n")
        self.assertEqual(tagwriter("show", "a\x1b").stderr, "a\\x1b: No such file or directory\n")

    def test_reports_files_that_it_cannot_read(self):
        noise, fifo = self.directory / "noise.txt", self.directory / "fifo.mp3"
        noise.write_text("no audio")
        os.mkfifo(fifo)  # without a writer: nothing may wait for it
        run = tagwriter("show", noise, self.directory / "missing", fifo, self.directory)
        self.assert_run(run, 1, f"{self.directory}: is a directory (use --recursive)\n"
                                f"{noise}: cannot be read as an audio file\n"
                                f"{self.directory}/missing: No such file or directory\n"
                                f"{fifo}: not a regular file\n")
        # Reading it would block, too.
        with open(fifo, "r+b", buffering=0):
            self.assert_run(tagwriter("show", fifo), 1, f"{fifo}: not a regular file\n")


if __name__ == "__main__":
    unittest.main()
