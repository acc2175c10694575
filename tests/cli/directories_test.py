"""--recursive: which files are found, and what is reported."""

import os
import shutil
import unittest
from pathlib import Path

from cli_support import DATA, TAGWRITER, CommandTest, objects, tagwriter, without_privileges

EDITS = {"set": ("set", "-t", "title=T"), "clear": ("clear", "-t", "title"),
         "cover": ("cover", "--replace", DATA / "cover_red.png"), "no cover": ("cover", "--clear"),
         "show": ("show",)}


class DirectoriesTest(CommandTest):

    def make(self, *names):
        return [self.copy("mp3_plain.mp3", name) for name in names]

    def found(self, *paths):
        """The files that the command finds, in its order."""
        run = tagwriter("set", "-n", "-t", "title=T", "--json", "-r", *paths, cwd=self.directory)
        return [line["file"] for line in objects(run.stdout)]


class FindTest(DirectoriesTest):

    def test_finds_files_below_directories_sorted_by_name(self):
        names = ["10.mp3", "2.mp3", "B.mp3", "a/1.mp3", "a/b/c/d/e/1.mp3", "a/b/c/d/e/2.mp3",
                 "a/z.mp3", "b.mp3", "directory.mp3/x.mp3", "z/z/z.mp3", "ä/1.mp3"]
        self.make(*reversed(names))
        self.assertEqual(self.found("."), [f"./{name}" for name in names])
        # In the order of the command line.
        self.assertEqual(self.found("b.mp3", "z/", "./a/../B.mp3", "directory.mp3"),
                         ["b.mp3", "z/z/z.mp3", "./a/../B.mp3", "directory.mp3/x.mp3"])

    def test_says_that_a_directory_has_no_audio(self):
        song, = self.make("a/1.mp3")
        (self.directory / "b/c").mkdir(parents=True)
        (self.directory / "b/cover.jpg").touch()
        run = tagwriter("set", "-t", "title=T", "-r", "b", "a", cwd=self.directory)
        self.assert_run(run, 1, "b: has no audio files\n")
        self.assertEqual(self.title(song), "T")

    def test_finds_audio_files_by_extension_and_skips_everything_else(self):
        names = [f"1.{kind}" for kind in (
            "MP3", "aif", "aiff", "ape", "dsf", "flac", "m4a", "m4b", "m4p", "m4v", "mP4", "mp3",
            "mpc", "oga", "ogg", "opus", "wav", "wma", "wv")]
        self.make(*names, "notes.txt", "cover.jpg", "noext", "mp3", "song.mp3.part", "1.mp3~",
                  "list.m3u", ".directory", "1.ac3", "1.au", "1.vgm", "1.mp3.")
        os.mkfifo(self.directory / "fifo.mp3")
        for link, target in (("broken", "nowhere.mp3"), ("itself", "itself.mp3"),
                             ("device", "/dev/null")):
            (self.directory / f"{link}.mp3").symlink_to(target)
        self.assertEqual(self.found("."), [f"./{name}" for name in names])
        # What is named is processed, whatever its name is.
        self.assertEqual(self.found("song.mp3.part"), ["song.mp3.part"])

    def test_follows_links_to_files_and_named_links_only(self):
        outside = Path(shutil.copy(DATA / "mp3_plain.mp3", self.aside))
        self.make("a/1.mp3", "b/2.mp3")
        for link, target in (("a/up", ".."), ("a/itself", "."), ("b/outside", self.aside),
                             ("b/other", "../a"), ("file.mp3", outside)):
            (self.directory / link).symlink_to(target)
        self.assertEqual(self.found("."), ["./a/1.mp3", "./b/2.mp3", "./file.mp3"])
        self.assertEqual(self.found("b/other"), ["b/other/1.mp3"])

    def test_works_with_every_command(self):
        tagged = "mp3_id3v23.mp3"
        for name, edit in EDITS.items():
            with self.subTest(name):
                paths = [self.copy(tagged, f"{name}/2.mp3"), self.copy(tagged, f"{name}/a/1.mp3")]
                empty = self.directory / name / "empty"
                empty.mkdir()
                run = tagwriter(*edit, "-r", self.directory / name)
                self.assert_run(run, 0)
                if name == "show":
                    shown = [line for line in run.stdout.splitlines() if line[0] == "/"]
                    self.assertEqual(shown, list(map(str, paths)))
                else:
                    for path in paths:
                        self.assertNotEqual(path.read_bytes(), (DATA / tagged).read_bytes())
                run = tagwriter(*edit, self.directory, empty)
                self.assert_run(run, 1, f"{self.directory}: is a directory (use --recursive)\n"
                                        f"{empty}: is a directory (use --recursive)\n")


class FailureTest(DirectoriesTest):

    def setUp(self):
        super().setUp()
        self.program = [*without_privileges(), TAGWRITER]

    def close(self, path, mode):
        path.chmod(mode)
        self.addCleanup(path.chmod, 0o755)

    def test_continues_after_a_directory_that_cannot_be_read(self):
        before, hidden, after = self.make("a.mp3", "b/c/hidden.mp3", "d.mp3")
        self.close(hidden.parent, 0)
        error = f"{hidden.parent}: Permission denied\n"
        for edit in (EDITS["set"], (*EDITS["set"], "--safe"), EDITS["show"]):
            run = tagwriter(*edit, "-r", self.directory, program=self.program)
            self.assert_run(run, 1, error)
        self.assertEqual(run.stdout, f"{before}\n  title: T\n{after}\n  title: T\n")

    def test_continues_after_a_file_that_cannot_be_opened(self):
        before, closed, after = self.make("a.mp3", "b.mp3", "c.mp3")
        for mode, shown in ((0, 1), (0o444, 0)):
            self.close(closed, mode)
            for options in ([], ["--safe"], ["-n"]):
                run = tagwriter(*EDITS["set"], *options, "-r", self.directory,
                                program=self.program)
                written = "" if "-n" in options else "tagwriter: 2 of 3 files written\n"
                self.assert_run(run, 1, f"{closed}: not writable: Permission denied\n{written}")
            self.assertEqual((self.title(before), self.title(after)), ("T", "T"))
            run = tagwriter("show", "-r", self.directory, program=self.program)
            self.assert_run(run, shown, shown * f"{closed}: Permission denied\n")
        closed.chmod(0o644)
        self.assert_as_it_was(closed)

    def test_a_directory_that_takes_no_new_file_takes_no_safe_edit(self):
        song, other = self.make("closed/song.mp3", "other.mp3")
        self.close(song.parent, 0o555)
        run = tagwriter(*EDITS["set"], "--safe", "-t", "artist=A", "-r", self.directory,
                        program=self.program)
        self.assertEqual(run.returncode, 1)
        self.assertRegex(run.stderr, rf"\A{song}: cannot make a complete copy: .*denied\n"
                         r"tagwriter: 1 of 2 files written\n\Z")
        self.assert_as_it_was(song)
        self.assertEqual(self.title(other), "T")


if __name__ == "__main__":
    unittest.main()
