"""The reader process of the command: when it is started, and what happens when it dies."""

import shutil
import unittest

import mutagen
from mutagen.id3 import ID3, TIT2, USLT

from cli_support import BIN, DATA, TAGWRITER, CommandTest, objects, tagwriter, without_privileges


class ReaderTest(CommandTest):
    """With a reader that counts its starts and crashes at a file that begins with "crash"."""

    def setUp(self):
        super().setUp()
        self.program = shutil.copy(TAGWRITER, self.aside)
        self.count = self.aside / "starts"
        (self.aside / "tagwriterd").symlink_to(BIN / "tagwriterd")
        reader = self.aside / "tagreaderd"
        reader.write_text(f'#!/bin/sh\necho >> {self.count}\n'
                          f'exec {BIN}/client_stand_in_reader "$@"\n')
        reader.chmod(0o755)

    def starts(self, *arguments, code=0, **options):
        """Runs the command; returns how many readers it has started."""
        self.count.write_text("")
        run = tagwriter(*arguments, program=self.program, **options)
        self.assertEqual(run.returncode, code, run.stderr)
        return len(self.count.read_text().splitlines())

    def test_one_reads_all_files(self):
        names = ("mp3_id3v23.mp3", "flac_plain.flac", "ape_tagged.ape")
        paths = [self.copy(name) for name in names]
        self.assertEqual(self.starts("show", *paths), 1)
        self.assertEqual(self.starts("set", "--safe", "-t", "title=T", *paths), 1)
        self.assertEqual(self.starts("cover", DATA / "cover_red.png", *paths, code=1), 1)

    def test_none_is_started_for_what_needs_no_reading(self):
        flac = self.copy("flac_plain.flac")
        for edit in (["set", "-t", "title=T", "-t", "rating=3"], ["clear", "-t", "title"],
                     ["set", "-t", "disc=1", "-t", "totalNumberOfDiscs=2"],
                     ["cover", "--replace", DATA / "cover_red.png"], ["cover", "--clear"]):
            self.assertEqual(self.starts(*edit, flac), 0, edit)
        self.assertEqual(self.starts("show", self.directory / "missing.mp3", code=1), 0)

    def test_a_disc_number_keeps_the_total_in_the_file(self):
        flac = self.copy("flac_plain.flac")
        self.assertEqual(self.starts("set", "-t", "totalNumberOfDiscs=4", flac), 1)
        self.assertEqual(self.starts("set", "-t", "disc=3", flac), 1)
        self.assertEqual(mutagen.File(flac).tags["DISCNUMBER"], ["3/4"])

    def test_what_the_workers_report_is_printed_escaped(self):
        for name in ("tagwriterd", "tagreaderd"):
            program = self.aside / name
            program.unlink()
            program.write_text("#!/bin/sh\nprintf '\\033[31mR\\nS' >&2\n"
                               f'exec {BIN}/{name} "$@"\n')
            program.chmod(0o755)
        flac = self.copy("flac_pictures.flac")
        text = "".join(f"{flac}: log: {line}\n" for line in (r"\x1b[31mR", "S"))
        for arguments in (["set", "-t", "title=T"], ["show"], ["cover", "--extract"],
                          ["copy", "-t", "title", flac]):
            with self.subTest(arguments=arguments):
                run = tagwriter(*arguments, flac, program=self.program)
                self.assert_run(run, 0, text * (2 if arguments[0] == "copy" else 1))

    def test_one_that_dies_is_an_error_for_this_file_only(self):
        damaged, good = self.directory / "a.flac", self.copy("flac_comment.flac", "b.flac")
        damaged.write_bytes(b"crash" + good.read_bytes())
        contents = damaged.read_bytes()
        for arguments in (["show"], ["set", "-t", "disc=1"], ["set", "-n", "-t", "disc=1"],
                          ["set", "--safe", "-t", "disc=1"], ["cover", DATA / "cover_red.png"]):
            with self.subTest(arguments=arguments):
                self.count.write_text("")
                run = tagwriter(*arguments, "--json", damaged, good, program=self.program)
                self.assertEqual(run.returncode, 1)
                first, second = objects(run.stdout)
                self.assertEqual((first["file"], first["result"]), (str(damaged), "failed"))
                self.assertRegex(first["error"], r"\Acannot be read: the reader did not answer: .")
                self.assertEqual(run.stderr, f"{damaged}: {first['error']}\n")
                self.assertEqual((second["file"], "error" in second), (str(good), False))
                self.assertGreaterEqual(len(self.count.read_text().splitlines()), 2)
                self.assertEqual(damaged.read_bytes(), contents)

    def test_tags_too_large_for_a_message_are_reported(self):
        mp3 = self.copy("mp3_plain.mp3")
        tags = ID3()
        tags.add(TIT2(encoding=3, text="T"))
        tags.add(USLT(encoding=3, text="x" * (21 << 20)))
        tags.save(mp3)
        run = tagwriter("show", mp3, program=self.program)
        self.assert_run(run, 1, f"{mp3}: some of its tags are too large to be shown\n")
        self.assertEqual(run.stdout, f"{mp3}\n  title: T\n")
        # Whether it has a total is unknown.
        self.assert_run(tagwriter("set", "-t", "disc=1", mp3, program=self.program), 1,
                        f"{mp3}: cannot be read: its tags are too large\n")

    def test_one_that_is_missing_is_an_error(self):
        (self.aside / "tagreaderd").unlink()
        flac = self.copy("flac_plain.flac")
        expected = (f"{flac}: the service is not available: tagreaderd is neither next to this "
                    "program nor in its libexec directory\n")
        for arguments in (["show"], ["set", "-t", "disc=1"], ["set", "--safe", "-t", "title=T"]):
            self.assert_run(tagwriter(*arguments, flac, program=self.program), 1, expected)
        self.assert_as_it_was(flac, "flac_plain.flac")

    def test_reads_files_that_are_not_writable(self):
        flac = self.copy("flac_comment.flac")
        flac.chmod(0o444)
        run = tagwriter(TAGWRITER, "show", flac, program=[*without_privileges(), "env"])
        self.assert_run(run, 0)
        self.assertIn("  title: ", run.stdout)
        run = tagwriter(TAGWRITER, "set", "-t", "title=T", flac,
                        program=[*without_privileges(), "env"])
        self.assertIn("not writable", run.stderr)


if __name__ == "__main__":
    unittest.main()
