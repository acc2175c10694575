"""The line that shows on a terminal how far the command has come."""

import os
import re
import subprocess
import unittest

from cli_support import DATA, TAGWRITER, CommandTest, Terminal, objects, tagwriter

COVER = DATA / "cover_red.png"
CLEAR_LINE = "\r\x1b[K"
BAR = re.compile(r"\[(#*)(-*)\] (\d+)/(\d+)(  \d+\.\d files/s  \d+:\d\d left)?")


class ProgressTest(CommandTest):

    def on_terminal(self, *arguments, **streams):
        """Runs the command on a terminal of its own; returns the terminal and the exit code."""
        terminal = Terminal(self, TAGWRITER, *arguments, **streams)
        return terminal, terminal.wait()

    def frames(self, terminal):
        """Each state of the line, as the matches of BAR."""
        found = list(BAR.finditer(terminal.output.decode()))
        for frame in found:
            self.assertEqual(len(frame[1] + frame[2]), 30)
        return found

    def assert_full_progress(self, terminal, files):
        frames = self.frames(terminal)
        self.assertEqual([(int(frame[3]), int(frame[4])) for frame in frames],
                         [(done, files) for done in range(files)])
        # Nothing is known about the speed before the first file is done.
        self.assertEqual([bool(frame[5]) for frame in frames], [done > 0 for done in range(files)])
        self.assertEqual([len(frame[1]) for frame in frames],
                         [30 * done // files for done in range(files)])


class BarTest(ProgressTest):

    def test_counts_the_files_and_is_gone_at_the_end(self):
        for arguments in (["set", "-t", "title=T", "-t", "year=1"], ["clear", "-t", "title"],
                          ["cover", "--replace", COVER], ["cover", "--clear"],
                          ["set", "-t", "title=U", "--safe", "--keep-times"]):
            with self.subTest(arguments=arguments):
                terminal, code = self.on_terminal(*arguments, *self.copies(8, "mp3_id3v23.mp3"))
                self.assertEqual(code, 0)
                self.assert_full_progress(terminal, 8)
                # Nothing but states of the line, each over the one before.
                self.assertEqual(BAR.sub("", terminal.output.decode()),
                                 8 * (CLEAR_LINE + "\r") + CLEAR_LINE)
                self.assertEqual(terminal.screen(), [""])

    def test_counts_what_is_found_in_directories(self):
        self.copies(7)
        terminal, code = self.on_terminal("set", "-t", "title=T", "-r", self.directory)
        self.assertEqual(code, 0)
        self.assert_full_progress(terminal, 7)

    def test_is_on_standard_error_and_needs_no_other_terminal(self):
        terminal, code = self.on_terminal("set", "--json", "-t", "title=T", *self.copies(8),
                                          stdout=subprocess.PIPE)
        self.assertEqual(code, 0)
        self.assert_full_progress(terminal, 8)
        self.assertEqual(terminal.screen(), [""])
        self.assertEqual(len(objects(terminal.process.stdout.read().decode())), 8)


class OtherOutputTest(ProgressTest):

    def test_errors_do_not_mix_with_it(self):
        paths = self.copies(8)
        missing = [self.directory / name for name in ("x.mp3", "y.mp3", "z.mp3")]
        directory_error = f"{self.directory}: is a directory; --recursive goes into it"
        files = [missing[0], *paths[:4], missing[1], *paths[4:], missing[2]]
        terminal, code = self.on_terminal("set", "-t", "title=T", "-t", "cueSheet=C",
                                          *files, self.directory)
        self.assertEqual(code, 1)
        self.assert_full_progress(terminal, 11)
        *lines, last = terminal.screen()
        self.assertEqual(last, "")
        self.assertEqual(lines[0], directory_error)
        self.assertEqual([line.split(": ")[:-1][:2] for line in lines[1:]],
                         [[str(path), "cueSheet" if path in paths else "cannot be opened"]
                          for path in files])

    def test_a_line_of_the_service_does_not_mix_with_it(self):
        noise = self.directory / "noise.flac"
        noise.write_text("no audio")
        paths = self.copies(8)
        terminal, code = self.on_terminal("set", "-t", "title=T", *paths[:4], noise, *paths[4:])
        self.assertEqual(code, 1)
        self.assert_full_progress(terminal, 9)
        *lines, last = terminal.screen()
        self.assertEqual(last, "")
        self.assertTrue(any(line.startswith(f"{noise}: title: not written") for line in lines))
        for line in lines:
            self.assertRegex(line, r"\A[^][#]*\Z")

    def test_results_do_not_mix_with_it(self):
        paths = self.copies(8)
        terminal, code = self.on_terminal("set", "--json", "-t", "title=T", *paths)
        self.assertEqual(code, 0)
        self.assert_full_progress(terminal, 8)
        self.assertEqual([line["file"] for line in objects("\n".join(terminal.screen()))],
                         list(map(str, paths)))


class NoBarTest(ProgressTest):

    def assert_no_bar(self, *arguments, screen=("",), code=0):
        terminal, ended = self.on_terminal(*arguments)
        self.assertEqual(ended, code)
        self.assertEqual(terminal.output.decode().split("\r\n"), list(screen))

    def test_there_is_none_for_a_few_files(self):
        self.assert_no_bar("set", "-t", "title=T", *self.copies(5))
        terminal, _ = self.on_terminal("set", "-t", "title=T", *self.copies(6))
        self.assert_full_progress(terminal, 6)

    def test_there_is_none_with_quiet(self):
        missing = self.directory / "missing"
        for option in ("-q", "--quiet"):
            self.assert_no_bar(
                "set", "-t", "title=T", option, *self.copies(8), missing, code=1,
                screen=[f"{missing}: cannot be opened: No such file or directory", ""])

    def test_there_is_none_when_nothing_is_written(self):
        paths = self.copies(8)
        self.assert_no_bar("set", "-t", "title=T", "-n", *paths,
                           screen=[*(f"{path}: title = T" for path in paths), ""])
        self.assert_no_bar("show", *paths, screen=[
            *(line for path in paths for line in (str(path), "  (no tags)")), ""])

    def test_there_is_none_in_a_pipe_or_a_file(self):
        paths = self.copies(8)
        self.assert_run(tagwriter("set", "-t", "title=T", *paths), 0)
        terminal, code = self.on_terminal("set", "--json", "-t", "title=U", *paths,
                                          stderr=subprocess.PIPE)
        self.assertEqual((code, terminal.process.stderr.read()), (0, b""))
        self.assertEqual(len(objects(terminal.output.decode().replace("\r", ""))), 8)
        with open(self.aside / "errors", "wb") as file:
            terminal, code = self.on_terminal("set", "-t", "title=V", *paths, stderr=file)
        self.assertEqual((code, terminal.output), (0, b""))
        self.assertEqual(os.path.getsize(self.aside / "errors"), 0)


if __name__ == "__main__":
    unittest.main()
