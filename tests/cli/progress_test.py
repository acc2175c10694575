"""The progress bar on a terminal."""

import os
import re
import subprocess
import unittest

from cli_support import DATA, TAGWRITER, CommandTest, Terminal, objects

CLEAR_LINE = "\r\x1b[K"
BAR = re.compile(r"\[(#*)(-*)\] (\d+)/(\d+)(  \d+\.\d files/s  \d+:\d\d left)?")


class ProgressTest(CommandTest):

    def on_terminal(self, *arguments, code=0, **streams):
        """Runs the command on a terminal, in the directory of the files."""
        terminal = Terminal(self, TAGWRITER, *arguments, cwd=self.directory, **streams)
        self.assertEqual(terminal.wait(), code)
        return terminal

    def names(self, count):
        """Short names, so that messages are shorter than the bar."""
        return [path.name for path in self.copies(count)]

    def assert_full_progress(self, terminal, files):
        frames = list(BAR.finditer(terminal.output.decode()))
        self.assertEqual([(int(frame[3]), int(frame[4])) for frame in frames],
                         [(done, files) for done in range(files)])
        # The speed is unknown before the first file is done.
        self.assertEqual([bool(frame[5]) for frame in frames], [done > 0 for done in range(files)])
        self.assertEqual([(len(frame[1]), len(frame[2])) for frame in frames],
                         [(30 * done // files, 30 - 30 * done // files) for done in range(files)])

    def test_counts_the_files_and_disappears(self):
        names = self.names(8)
        for edit in (["set", "-t", "title=T", "-t", "year=1"],
                     ["cover", "--replace", DATA / "cover_red.png"],
                     ["set", "-t", "title=U", "--safe", "-r", "."]):
            terminal = self.on_terminal(*edit, *(names if edit[-1] != "." else []))
            self.assert_full_progress(terminal, 8)
            self.assertEqual(BAR.sub("", terminal.output.decode()),
                             8 * (CLEAR_LINE + "\r") + CLEAR_LINE)

    def test_messages_do_not_mix_with_it(self):
        names = self.names(8)
        (self.directory / "noise.flac").write_bytes(b"\0noise")  # the service logs a line
        files = ["x", *names[:4], "y", *names[4:], "noise.flac"]
        terminal = self.on_terminal("set", "-t", "title=T", "-t", "cueSheet=C", *files, ".", code=1)
        self.assert_full_progress(terminal, 11)
        *lines, last = terminal.screen()
        self.assertEqual(last, "")
        self.assertEqual(lines[0], ".: is a directory (use --recursive)")
        for line in lines:
            self.assertRegex(line, r"\A[^][#]*[a-z.)]\Z")
        self.assertEqual([line.split(":")[0] for line in lines[1:10]],
                         ["x", *names[:4], "y", *names[4:7]])
        self.assertEqual(lines[1], "x: cannot be opened: No such file or directory")
        self.assertTrue(any(line.startswith("noise.flac: title: not written") for line in lines))

    def test_results_do_not_mix_with_it(self):
        names = self.names(8)
        terminal = self.on_terminal("set", "--json", "-t", "title=T", *names)
        self.assert_full_progress(terminal, 8)
        self.assertEqual([line["file"] for line in objects("\n".join(terminal.screen()))], names)

    def test_is_not_shown_for_a_few_files_with_quiet_or_in_a_dry_run(self):
        names = self.names(8)
        set_title = ("set", "-t", "title=T")
        self.assertEqual(self.on_terminal(*set_title, *names[:5]).output, b"")
        self.assert_full_progress(self.on_terminal(*set_title, *names[:6]), 6)
        self.assertEqual(self.on_terminal(*set_title, "-q", *names).output, b"")
        self.assertEqual(self.on_terminal(*set_title, "-n", *names).screen(),
                         [*(f"{name}: title = T (was: T)" for name in names), ""])

    def test_depends_on_standard_error_only(self):
        names = self.names(8)
        terminal = self.on_terminal("set", "--json", "-t", "title=U", *names,
                                    stdout=subprocess.PIPE)
        self.assert_full_progress(terminal, 8)
        self.assertEqual(len(objects(terminal.process.stdout.read().decode())), 8)
        with open(self.aside / "errors", "wb") as file:
            terminal = self.on_terminal("set", "-t", "title=V", *names, stderr=file)
        self.assertEqual((terminal.output, os.path.getsize(self.aside / "errors")), (b"", 0))


if __name__ == "__main__":
    unittest.main()
