"""--safe, --keep-times, --dry-run and --quiet."""

import os
import unittest

import mutagen

from cli_support import DATA, CommandTest, HeldService, tagwriter

COVER = DATA / "cover_red.png"

# Each command that writes, with a change to the file below.
EDITS = {
    "set": ("set", "-t", "title=T"),
    "clear": ("clear", "-t", "comment"),
    "cover": ("cover", "--replace", COVER),
    "no cover": ("cover", "--clear"),
}
TAGGED = "mp3_id3v23.mp3"
MODIFIED = 1234567890_123456789


class WriteTest(CommandTest):

    def test_safe_and_keep_times_apply_to_every_command(self):
        for name, edit in EDITS.items():
            for safe in (False, True):
                for keep in (False, True):
                    with self.subTest(name, safe=safe, keep=keep):
                        path, link = self.copy(TAGGED), self.directory / "link.mp3"
                        os.link(path, link)
                        os.utime(path, ns=(MODIFIED, MODIFIED))
                        options = safe * ["--safe"] + keep * ["--keep-times"]
                        self.assert_run(tagwriter(*edit, *options, path), 0)
                        self.assertNotEqual(path.read_bytes(), (DATA / TAGGED).read_bytes())
                        self.assertEqual(path.stat().st_mtime_ns == MODIFIED, keep)
                        # A new inode, and nothing else in the directory.
                        self.assertEqual(path.stat().st_ino == link.stat().st_ino, not safe)
                        self.assertEqual(sorted(os.listdir(self.directory)), ["link.mp3", TAGGED])
                        path.unlink()
                        link.unlink()

    def test_safe_makes_all_edits_of_a_file_or_none(self):
        edit = ["set", "-t", "title=T", "-t", "cueSheet=not in an MP3", "-t", "artist=A"]
        safe, in_place = self.copies(2)
        for path, options in ((safe, ["--safe"]), (in_place, [])):
            run = tagwriter(*edit, *options, path)
            self.assert_run(run, 1, f"{path}: cueSheet: files of this type do not store this field\n")
        self.assert_as_it_was(safe)
        self.assertEqual(self.title(in_place), "T")
        self.assertEqual(str(mutagen.File(in_place).tags["TPE1"]), "A")

    def test_a_picture_is_kept_without_replace(self):
        flac = self.copy("flac_pictures.flac")
        self.assert_run(tagwriter("cover", COVER, flac), 1,
                        f"{flac}: cover: already has a picture (use --replace)\n")

    def test_quiet_leaves_only_errors(self):
        missing, mp3 = self.directory / "missing.mp3", self.copy(TAGGED)
        for options in (["-q", "-n"], ["--quiet"]):
            run = tagwriter(*EDITS["set"], *options, missing, mp3)
            self.assert_run(run, 1, f"{missing}: cannot be opened: No such file or directory\n")
            self.assertEqual(run.stdout, "")
        self.assertEqual(self.title(mp3), "T")


class DryRunTest(CommandTest):

    def assert_planned(self, lines, *arguments):
        for options in (["--dry-run"], ["-n", "--safe"]):
            run = tagwriter(*arguments, *options)
            self.assert_run(run, 0)
            self.assertEqual(run.stdout.splitlines(), lines)

    def test_prints_what_would_be_written_and_writes_nothing(self):
        mp3, flac = self.copy(TAGGED), self.copy("flac_pictures.flac")
        before = [path.stat() for path in (mp3, flac)]
        self.assert_planned(
            [f"{path}: {plan}" for path, title, rating, year in
             ((mp3, "was: Rising Tone", "was: 4", "was: 1999"),
              (flac, "was: Rising Tone", *2 * ("was not set",)))
             for plan in (f"title = a = b ({title})", f"rating = 3.5 ({rating})",
                          "compilation = no (was not set)", f"year = 1894 ({year})")],
            "set", "-t", "title=a = b", "-t", "rating=3.5", "-t", "compilation=no",
            "-t", "year=1894", mp3, flac)
        self.assert_planned([f"{mp3}: clear comment (was: a comment)",
                             f"{mp3}: clear year (was: 1999)"],
                            "clear", "-t", "comment", "-t", "year", mp3)
        self.assert_planned([f"{flac}: cover = {COVER} (was: 2 pictures)",
                             f"{mp3}: cover = {COVER} (was: 2 pictures)"],
                            "cover", "--replace", COVER, flac, mp3)
        self.assert_planned([f"{mp3}: clear pictures (was: 2 pictures)"], "cover", "--clear", mp3)
        for path, old in zip((mp3, flac), before):
            self.assert_as_it_was(path, path.name)
            now = path.stat()
            self.assertEqual((now.st_ino, now.st_ctime_ns), (old.st_ino, old.st_ctime_ns))

    def test_a_disc_and_the_number_of_discs_are_one_edit(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_planned([f"{mp3}: disc = 1 of 3 (was not set)"],
                            "set", "-t", "disc=1", "-t", "totalNumberOfDiscs=3", mp3)
        tagwriter("set", "-t", "disc=1", "-t", "totalNumberOfDiscs=3", mp3)
        self.assert_planned([f"{mp3}: disc = 2 of 3 (was: 1 of 3)"], "set", "-t", "disc=2", mp3)
        self.assert_planned([f"{mp3}: disc = 1 of 4 (was: 1 of 3)"],
                            "set", "-t", "totalNumberOfDiscs=4", mp3)

    def test_fails_like_the_run(self):
        edit = ("set", "-t", "title=T", "-t", "cueSheet=C", "-t", "totalNumberOfTracks=12")
        for options, planned in (["--safe"], 0), ([], 1):
            mp3 = self.copy("mp3_plain.mp3")
            dry = tagwriter(*edit, "-n", *options, mp3)
            self.assertEqual(dry.stdout, planned * f"{mp3}: title = T (was not set)\n")
            run = tagwriter(*edit, *options, mp3)
            self.assertEqual((dry.returncode, dry.stderr), (run.returncode, run.stderr))
            self.assertEqual(run.returncode, 1)

    def test_needs_neither_service_nor_bus(self):
        held = HeldService(self)
        paths = self.copies(3, TAGGED)
        nowhere = {**os.environ, "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.aside}/none"}
        for edit in EDITS.values():
            for options in ([], ["--safe"], ["--bus"]):
                run = tagwriter(*edit, "-n", *options, *paths, program=held.program, env=nowhere)
                self.assert_run(run, 0)
                self.assertEqual(len(run.stdout.splitlines()), 3)
        self.assertFalse(held.was_started())

    def test_reports_files_that_cannot_be_written(self):
        missing, fifo = self.directory / "missing.mp3", self.directory / "fifo.mp3"
        os.mkfifo(fifo)
        mp3 = self.copy("mp3_plain.mp3")
        run = tagwriter("set", "-n", "-t", "title=T", missing, mp3, fifo, self.directory)
        self.assert_run(run, 1, f"{self.directory}: is a directory (use --recursive)\n"
                                f"{missing}: cannot be opened: No such file or directory\n"
                                f"{fifo}: not a regular file\n")
        self.assertEqual(run.stdout, f"{mp3}: title = T (was not set)\n")


if __name__ == "__main__":
    unittest.main()
