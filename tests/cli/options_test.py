"""--safe, --keep-times, --dry-run and --quiet, as the user finds the files afterwards."""

import os
import unittest

import mutagen

from cli_support import DATA, CommandTest, HeldService, tagwriter

COVER = DATA / "cover_red.png"

# Of each verb that writes: what comes before and what comes behind its options.
EDITS = {
    "set": ("set", "-t", "title=T"),
    "clear": ("clear", "-t", "comment"),
    "cover": ("cover", "--replace", COVER),
    "no cover": ("cover", "--clear"),
}
TAGGED = "mp3_id3v23.mp3"  # with something for each of these to change


class SafeTest(CommandTest):

    def test_gives_the_file_a_new_inode_and_leaves_hard_links_alone(self):
        for name, edit in EDITS.items():
            with self.subTest(name):
                path, link = self.copy(TAGGED), self.directory / "link.mp3"
                os.link(path, link)
                inode = path.stat().st_ino
                self.assert_run(tagwriter(*edit, "--safe", path), 0)
                self.assertNotEqual(path.stat().st_ino, inode)
                self.assertNotEqual(path.read_bytes(), link.read_bytes())
                self.assertEqual(link.stat().st_ino, inode)
                self.assert_as_it_was(link, TAGGED)
                self.assertEqual(sorted(os.listdir(self.directory)), ["link.mp3", TAGGED])
                link.unlink()

    def test_without_it_the_file_keeps_its_inode_and_its_hard_links(self):
        for name, edit in EDITS.items():
            with self.subTest(name):
                path, link = self.copy(TAGGED), self.directory / "link.mp3"
                os.link(path, link)
                inode = path.stat().st_ino
                self.assert_run(tagwriter(*edit, path), 0)
                self.assertEqual((path.stat().st_ino, link.stat().st_ino), (inode, inode))
                self.assertNotEqual(link.read_bytes(), (DATA / TAGGED).read_bytes())
                link.unlink()

    def test_keeps_the_mode(self):
        for option in (["--safe"], []):
            for mode in (0o600, 0o640, 0o755):
                with self.subTest(option=option, mode=oct(mode)):
                    path = self.copy("mp3_plain.mp3")
                    path.chmod(mode)
                    self.assert_run(tagwriter("set", "-t", "title=T", *option, path), 0)
                    self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "T")
                    self.assertEqual(path.stat().st_mode & 0o7777, mode)

    def test_goes_through_a_symbolic_link(self):
        path, link = self.copy("mp3_plain.mp3"), self.directory / "link.mp3"
        link.symlink_to(path.name)
        self.assert_run(tagwriter("set", "-t", "title=T", "--safe", link), 0)
        self.assertEqual(os.readlink(link), path.name)
        self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "T")

    def test_makes_all_edits_of_a_file_or_none(self):
        edit = ["set", "-t", "title=T", "-t", "cueSheet=not in an MP3", "-t", "artist=A"]
        safe, in_place = self.copy("mp3_plain.mp3", "1.mp3"), self.copy("mp3_plain.mp3", "2.mp3")
        inode = safe.stat().st_ino
        run = tagwriter(*edit, "--safe", safe)
        self.assertEqual(run.returncode, 1)
        self.assertTrue(run.stderr.startswith(f"{safe}: cueSheet: not written"), run.stderr)
        self.assertEqual(len(run.stderr.splitlines()), 1, run.stderr)
        self.assert_as_it_was(safe)
        self.assertEqual(safe.stat().st_ino, inode)
        self.assertEqual(tagwriter(*edit, in_place).returncode, 1)
        self.assertEqual(str(mutagen.File(in_place).tags["TIT2"]), "T")
        self.assertEqual(str(mutagen.File(in_place).tags["TPE1"]), "A")


class KeepTimesTest(CommandTest):

    MODIFIED = 1234567890_123456789

    def old_copy(self, name=TAGGED):
        path = self.copy(name)
        os.utime(path, ns=(987654321_987654321, self.MODIFIED))
        return path

    def test_keeps_the_modification_time_to_the_nanosecond(self):
        for name, edit in EDITS.items():
            for option in ([], ["--safe"]):
                with self.subTest(name, option=option):
                    path = self.old_copy()
                    self.assert_run(tagwriter(*edit, "--keep-times", *option, path), 0)
                    self.assertNotEqual(path.read_bytes(), (DATA / TAGGED).read_bytes())
                    self.assertEqual(path.stat().st_mtime_ns, self.MODIFIED)

    def test_without_it_the_modification_time_changes(self):
        for name, edit in EDITS.items():
            for option in ([], ["--safe"]):
                with self.subTest(name, option=option):
                    path = self.old_copy()
                    self.assert_run(tagwriter(*edit, *option, path), 0)
                    self.assertGreater(path.stat().st_mtime_ns, self.MODIFIED)

    def test_keeps_it_through_several_requests_and_a_file_that_gets_shorter(self):
        path = self.old_copy("ape_tagged.ape")
        size = path.stat().st_size
        many = [word for key in ("title", "artist", "album", "genre") for word in ("-t", key)]
        self.assert_run(tagwriter("clear", *many, "--keep-times", path), 0)
        self.assertLess(path.stat().st_size, size)
        self.assertEqual(path.stat().st_mtime_ns, self.MODIFIED)


class DryRunTest(CommandTest):

    def assert_planned(self, lines, *arguments):
        for option in ("--dry-run", "-n"):
            run = tagwriter(*arguments, option)
            self.assert_run(run, 0)
            self.assertEqual(run.stdout.splitlines(), lines)

    def test_says_for_each_file_what_would_be_written_and_writes_nothing(self):
        mp3, flac = self.copy(TAGGED), self.copy("flac_pictures.flac")
        before = [path.stat() for path in (mp3, flac)]
        self.assert_planned(
            [f"{mp3}: title = a = b", f"{mp3}: rating = 3.5", f"{mp3}: compilation = no",
             f"{mp3}: year = 1894", f"{flac}: title = a = b", f"{flac}: rating = 3.5",
             f"{flac}: compilation = no", f"{flac}: year = 1894"],
            "set", "-t", "title=a = b", "-t", "rating=3.5", "-t", "compilation=no",
            "-t", "year=1894", mp3, flac)
        self.assert_planned([f"{mp3}: no comment", f"{mp3}: no year"],
                            "clear", "-t", "comment", "-t", "year", mp3)
        self.assert_planned([f"{flac}: cover = {COVER}", f"{mp3}: cover = {COVER}"],
                            "cover", "--replace", COVER, flac, mp3)
        self.assert_planned([f"{mp3}: no pictures"], "cover", "--clear", mp3)
        for path, old in zip((mp3, flac), before):
            self.assert_as_it_was(path, path.name)
            now = path.stat()
            self.assertEqual((now.st_ino, now.st_mtime_ns, now.st_ctime_ns),
                             (old.st_ino, old.st_mtime_ns, old.st_ctime_ns))

    def test_tells_the_number_that_goes_with_the_one_that_is_named(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_run(tagwriter("set", "-t", "disc=1", "-t", "totalNumberOfDiscs=3", mp3), 0)
        self.assert_planned([f"{mp3}: disc = 2 of 3"], "set", "-t", "disc=2", mp3)
        self.assert_planned([f"{mp3}: disc = 1 of 4"], "set", "-t", "totalNumberOfDiscs=4", mp3)

    def test_needs_no_service(self):
        held = HeldService(self)
        paths = self.copies(3)
        for arguments in (EDITS["set"], EDITS["clear"], EDITS["no cover"], EDITS["cover"]):
            run = tagwriter(*arguments, "-n", *paths, program=held.program)
            self.assert_run(run, 0)
            self.assertEqual(len(run.stdout.splitlines()), 3)
        self.assertFalse(held.was_started())
        (held.program.parent / "tagwriterd").unlink()
        self.assert_run(tagwriter("set", "-nt", "title=T", *paths, program=held.program), 0)

    def test_needs_no_bus(self):
        nowhere = {**os.environ, "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.aside}/none"}
        run = tagwriter("set", "-t", "title=T", "--bus", "-n", *self.copies(1), env=nowhere)
        self.assert_run(run, 0)
        self.assertEqual(len(run.stdout.splitlines()), 1)

    def test_names_files_that_cannot_be_written(self):
        missing, fifo = self.directory / "missing.mp3", self.directory / "fifo.mp3"
        os.mkfifo(fifo)
        mp3 = self.copy("mp3_plain.mp3")
        run = tagwriter("set", "-n", "-t", "title=T", missing, mp3, fifo, self.directory)
        self.assert_run(run, 1, f"{self.directory}: is a directory; --recursive goes into it\n"
                                f"{missing}: cannot be opened: No such file or directory\n"
                                f"{fifo}: not a regular file\n")
        self.assertEqual(run.stdout, f"{mp3}: title = T\n")

    def test_reads_the_image(self):
        missing, text = self.directory / "missing.png", self.directory / "text.png"
        text.write_text("no image")
        for image in (missing, text):
            run = tagwriter("cover", "-n", image, self.copy("mp3_plain.mp3"))
            self.assertEqual((run.returncode, run.stdout), (1, ""))
            self.assertTrue(run.stderr.startswith(f"{image}: "), run.stderr)


class QuietTest(CommandTest):

    def test_leaves_nothing_but_errors(self):
        missing = self.directory / "missing.mp3"
        error = f"{missing}: cannot be opened: No such file or directory\n"
        for option in ("-q", "--quiet"):
            for edit in EDITS.values():
                for more in ([], ["--dry-run"]):
                    with self.subTest(option=option, edit=edit, more=more):
                        run = tagwriter(*edit, option, *more, missing, self.copy(TAGGED))
                        self.assert_run(run, 1, error)
                        self.assertEqual(run.stdout, "")

    def test_writes_all_the_same(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_run(tagwriter("set", "-qt", "title=T", mp3), 0)
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "T")


if __name__ == "__main__":
    unittest.main()
