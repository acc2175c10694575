"""--recursive: what is found below directories, what is passed over, and what cannot be read."""

import os
import shutil
import unittest
from pathlib import Path

import mutagen

from cli_support import DATA, TAGWRITER, CommandTest, tagwriter, without_privileges

IMAGE = DATA / "cover_red.png"
VERBS = {"set": ("set", "-t", "title=T"), "clear": ("clear", "-t", "title"),
         "cover": ("cover", "--replace", IMAGE), "no cover": ("cover", "--clear"),
         "show": ("show",)}


class DirectoriesTest(CommandTest):

    def make(self, *names):
        """Audio files with these names."""
        return [self.copy("mp3_plain.mp3", name) for name in names]

    def found(self, *paths, code=0, stderr="", program=TAGWRITER):
        """The files that the command finds, in its order, relative to the directory."""
        run = tagwriter("set", "-n", "-t", "title=T", "--recursive", *paths, program=program)
        self.assert_run(run, code, stderr)
        return [os.path.relpath(line.removesuffix(": title = T"), self.directory)
                for line in run.stdout.splitlines()]


class FindTest(DirectoriesTest):

    def test_finds_files_in_directories_of_directories_in_the_order_of_their_names(self):
        names = ["10.mp3", "2.mp3", "B.mp3", "a/1.mp3", "a/b/c/d/e/1.mp3", "a/b/c/d/e/2.mp3",
                 "a/z.mp3", "b.mp3", "directory.mp3/x.mp3", "z/z/z.mp3", "ä/1.mp3"]
        self.make(*reversed(names))
        self.assertEqual(self.found(self.directory), names)
        self.assertEqual(self.found(f"{self.directory}/"), names)

    def test_takes_files_and_directories_in_the_order_given(self):
        self.make("a/1.mp3", "b/1.mp3", "c.mp3", "d.mp3")
        given = [self.directory / name for name in ("d.mp3", "b", "c.mp3", "a")]
        self.assertEqual(self.found(*given), ["d.mp3", "b/1.mp3", "c.mp3", "a/1.mp3"])

    def test_names_files_as_the_directory_was_named(self):
        self.make("a/1.mp3")
        for given, name in ((".", "./a/1.mp3"), ("a", "a/1.mp3"), ("./a/../a", "./a/../a/1.mp3")):
            run = tagwriter("show", "-r", given, cwd=self.directory)
            self.assert_run(run, 0)
            self.assertEqual(run.stdout, f"{name}\n  (no tags)\n")

    def test_finds_every_kind_of_audio_file_by_its_name_in_any_case(self):
        names = [f"1.{kind}" for kind in (
            "MP3", "aif", "aiff", "ape", "dsf", "flac", "m4a", "m4b", "m4p", "m4v", "mP4", "mp3",
            "mpc", "oga", "ogg", "opus", "wav", "wma", "wv")]
        self.make(*names)
        self.assertEqual(self.found(self.directory), names)

    def test_passes_over_what_is_not_audio(self):
        names = ("notes.txt", "cover.jpg", "noext", "mp3", "song.mp3.part", "1.mp3~", "list.m3u",
                 ".directory", "1.ac3", "1.au", "1.vgm", "1.mp3.")
        others = self.make(*names)
        os.mkfifo(self.directory / "fifo.mp3")
        (self.directory / "broken.mp3").symlink_to("nowhere.mp3")
        (self.directory / "itself.mp3").symlink_to("itself.mp3")
        (self.directory / "device.mp3").symlink_to("/dev/null")
        song, = self.make("song.mp3")
        for verb in ("set", "cover"):
            self.assert_run(tagwriter(*VERBS[verb], "-r", self.directory), 0)
        self.assertEqual(str(mutagen.File(song).tags["TIT2"]), "T")
        for path in others:
            self.assert_as_it_was(path)

    def test_a_file_that_is_named_is_tried_whatever_it_is_called(self):
        song, = self.make("song.part")
        self.assert_run(tagwriter(*VERBS["set"], "-r", song), 0)
        self.assertEqual(str(mutagen.File(song).tags["TIT2"]), "T")

    def test_an_empty_directory_is_no_error(self):
        for verb, edit in VERBS.items():
            with self.subTest(verb):
                run = tagwriter(*edit, "-r", self.directory)
                self.assert_run(run, 0)
                self.assertEqual(run.stdout, "")

    def test_every_verb_goes_into_directories(self):
        tagged = "mp3_id3v23.mp3"
        for verb, edit in VERBS.items():
            with self.subTest(verb):
                paths = [self.copy(tagged, f"{verb}/a/1.mp3"), self.copy(tagged, f"{verb}/2.mp3")]
                run = tagwriter(*edit, "-r", self.directory / verb)
                self.assert_run(run, 0)
                if verb == "show":
                    shown = [line for line in run.stdout.splitlines() if line.startswith("/")]
                    self.assertEqual(shown, [str(paths[1]), str(paths[0])])
                else:
                    for path in paths:
                        self.assertNotEqual(path.read_bytes(), (DATA / tagged).read_bytes())


class LinksTest(DirectoriesTest):

    def test_does_not_follow_links_to_directories(self):
        outside = Path(shutil.copy(DATA / "mp3_plain.mp3", self.aside))
        self.make("a/1.mp3", "b/2.mp3")
        (self.directory / "a" / "up").symlink_to("..")
        (self.directory / "a" / "itself").symlink_to(".")
        (self.directory / "b" / "outside").symlink_to(self.aside)
        (self.directory / "b" / "other").symlink_to("../a")
        self.assertEqual(self.found(self.directory), ["a/1.mp3", "b/2.mp3"])
        self.assert_run(tagwriter(*VERBS["set"], "-r", self.directory), 0)
        self.assert_as_it_was(outside)

    def test_follows_a_link_that_is_named(self):
        self.make("a/1.mp3")
        (self.directory / "link").symlink_to("a")
        self.assertEqual(self.found(self.directory / "link"), ["link/1.mp3"])

    def test_follows_links_to_files(self):
        outside = Path(shutil.copy(DATA / "mp3_plain.mp3", self.aside))
        (self.directory / "link.mp3").symlink_to(outside)
        self.assert_run(tagwriter(*VERBS["set"], "-r", self.directory), 0)
        self.assertEqual(str(mutagen.File(outside).tags["TIT2"]), "T")


class FailureTest(DirectoriesTest):

    def test_a_directory_needs_the_option(self):
        song, = self.make("a/song.mp3")
        for verb, edit in VERBS.items():
            with self.subTest(verb):
                run = tagwriter(*edit, self.directory, self.directory / "a")
                self.assert_run(run, 1, f"{self.directory}: is a directory; --recursive goes into it\n"
                                        f"{self.directory}/a: is a directory; --recursive goes into it\n")
                self.assertEqual(run.stdout, "")
        self.assert_as_it_was(song)

    def test_a_missing_directory_is_an_error(self):
        song, = self.make("song.mp3")
        missing = self.directory / "missing"
        run = tagwriter(*VERBS["set"], "-r", missing, song)
        self.assert_run(run, 1, f"{missing}: cannot be opened: No such file or directory\n")
        self.assertEqual(str(mutagen.File(song).tags["TIT2"]), "T")

    def test_goes_on_behind_a_directory_that_cannot_be_read(self):
        before, hidden, behind = self.make("a.mp3", "b/c/hidden.mp3", "d.mp3")
        closed = self.directory / "b" / "c"
        closed.chmod(0)
        self.addCleanup(closed.chmod, 0o755)
        program = [*without_privileges(), TAGWRITER]
        error = f"{closed}: Permission denied\n"
        for options in ([], ["--safe"]):
            run = tagwriter(*VERBS["set"], *options, "-r", self.directory, program=program)
            self.assert_run(run, 1, error)
        run = tagwriter("show", "-r", self.directory, program=program)
        self.assert_run(run, 1, error)
        self.assertEqual(run.stdout, f"{before}\n  TITLE: T\n{behind}\n  TITLE: T\n")
        closed.chmod(0o755)
        self.assert_as_it_was(hidden)

    def test_goes_on_behind_a_file_that_cannot_be_opened(self):
        for mode, shown in ((0, False), (0o444, True)):
            with self.subTest(mode=oct(mode)):
                before, closed, behind = paths = self.make("a.mp3", "b.mp3", "c.mp3")
                closed.chmod(mode)
                program = [*without_privileges(), TAGWRITER]
                for edit in (VERBS["set"], (*VERBS["set"], "--safe"), (*VERBS["set"], "-n"),
                             VERBS["cover"], VERBS["clear"]):
                    run = tagwriter(*edit, "-r", self.directory, program=program)
                    self.assert_run(run, 1, f"{closed}: not writable: Permission denied\n")
                for path in (before, behind):
                    self.assertIsNotNone(mutagen.File(path).tags)
                run = tagwriter("show", "-r", self.directory, program=program)
                self.assertEqual(run.stderr, "" if shown else f"{closed}: Permission denied\n")
                self.assertEqual([line for line in run.stdout.splitlines() if line[0] == "/"],
                                 [str(path) for path in paths if shown or path != closed])
                self.assertEqual(run.returncode, 0 if shown else 1)
                closed.chmod(0o644)
                self.assert_as_it_was(closed)

    def test_a_directory_that_takes_no_new_file_is_no_place_for_safe_edits(self):
        song, other = self.make("closed/song.mp3", "other.mp3")
        song.parent.chmod(0o555)
        self.addCleanup(song.parent.chmod, 0o755)
        run = tagwriter(*VERBS["set"], "--safe", "-r", self.directory,
                        program=[*without_privileges(), TAGWRITER])
        self.assertEqual(run.returncode, 1)
        self.assertRegex(run.stderr, rf"\A{song}: no faithful copy.*Permission denied\n\Z")
        self.assert_as_it_was(song)
        self.assertEqual(os.listdir(song.parent), ["song.mp3"])
        self.assertEqual(str(mutagen.File(other).tags["TIT2"]), "T")


if __name__ == "__main__":
    unittest.main()
