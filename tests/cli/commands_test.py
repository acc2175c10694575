"""The tagwriter command as a person at a terminal uses it: output, errors, exit codes, bytes."""

import os
import shutil
import unittest

import mutagen

from cli_support import BIN, DATA, CommandTest, tagwriter


class SetTest(CommandTest):
    def test_writes_several_fields_into_several_files(self):
        mp3, flac = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        run = tagwriter("set", "-t", "title=Süß = gut", "--tag", "year=1918", mp3, flac)
        self.assert_run(run, 0)
        self.assertEqual(run.stdout, "")
        tags = mutagen.File(mp3).tags
        self.assertEqual((str(tags["TIT2"]), str(tags["TDRC"])), ("Süß = gut", "1918"))
        tags = mutagen.File(flac).tags
        self.assertEqual((tags["TITLE"], tags["DATE"]), (["Süß = gut"], ["1918"]))

    def test_keeps_the_order_of_the_fields(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_run(tagwriter("set", "-t", "title=one", "-t", "title=two", mp3), 0)
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "two")

    def test_goes_on_after_a_file_that_fails(self):
        missing, mp3 = self.directory / "missing.mp3", self.copy("mp3_plain.mp3")
        run = tagwriter("set", "-t", "title=T", missing, self.directory, mp3)
        self.assert_run(run, 1, f"{self.directory}: is a directory; --recursive goes into it\n"
                                f"{missing}: cannot be opened: No such file or directory\n")
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "T")

    def test_names_the_field_that_the_service_did_not_write(self):
        noise = self.directory / "noise.xyz"
        noise.write_bytes(b"no audio at all")
        run = tagwriter("set", "-t", "title=T", noise)
        self.assertEqual(run.returncode, 1)
        self.assertIn(f"{noise}: title: not written: ", run.stderr)
        self.assertEqual(noise.read_bytes(), b"no audio at all")

    def test_refuses_what_is_no_regular_file(self):
        fifo = self.directory / "fifo.mp3"
        os.mkfifo(fifo)
        self.assert_run(tagwriter("set", "-t", "title=T", fifo), 1,
                        f"{fifo}: not a regular file\n")

    def test_takes_a_path_that_is_not_utf8(self):
        mp3 = os.fsencode(self.directory) + b"/caf\xe9.mp3"
        shutil.copy(DATA / "mp3_plain.mp3", mp3)
        run = tagwriter("set", "-t", "title=T", mp3)
        self.assert_run(run, 0)
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "T")

    def test_says_when_the_service_is_missing(self):
        alone = shutil.copy(BIN / "tagwriter", self.directory / "tagwriter")
        run = tagwriter("set", "-t", "title=T", self.copy("mp3_plain.mp3"), program=alone)
        self.assertEqual(run.returncode, 1)
        self.assertIn("tagwriterd", run.stderr)

    def test_says_when_the_service_dies_and_starts_it_again_for_the_next_file(self):
        shutil.copy(BIN / "tagwriter", self.directory / "tagwriter")
        worker = self.directory / "tagwriterd"
        worker.write_text(f"""#!/bin/sh
if mkdir {self.directory}/started 2>/dev/null; then exit 1; fi
exec {BIN}/tagwriterd "$@"
""")
        worker.chmod(0o755)
        first, second = self.copy("mp3_plain.mp3", "1.mp3"), self.copy("mp3_plain.mp3", "2.mp3")
        run = tagwriter("set", "-t", "title=T", first, second, program=self.directory / "tagwriter")
        self.assertEqual(run.returncode, 1)
        self.assertIn(f"{first}: the service cannot be started: ", run.stderr)
        self.assertNotIn("2.mp3", run.stderr)
        self.assertIsNone(mutagen.File(first).tags)
        self.assertEqual(str(mutagen.File(second).tags["TIT2"]), "T")


class ShowTest(CommandTest):
    def test_prints_what_is_in_each_file(self):
        mp3, plain = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        tagwriter("set", "-t", "title=T", "-t", "artist=A", mp3)
        run = tagwriter("show", mp3, plain)
        self.assert_run(run, 0)
        self.assertEqual(run.stdout, f"{mp3}\n  ARTIST: A\n  TITLE: T\n{plain}\n  (no tags)\n")

    def test_names_files_that_it_cannot_read(self):
        noise = self.directory / "noise.txt"
        noise.write_text("no audio")
        run = tagwriter("show", noise, self.directory / "missing", self.directory)
        self.assertEqual(run.returncode, 1)
        self.assertEqual(run.stderr, f"{self.directory}: is a directory; --recursive goes into it\n"
                                     f"{noise}: cannot be read as an audio file\n"
                                     f"{self.directory}/missing: No such file or directory\n")


if __name__ == "__main__":
    unittest.main()
