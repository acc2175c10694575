"""Standard streams that are full, closed or read by nobody: it is said, and files stay whole."""

import fcntl
import os
import signal
import subprocess
import unittest

from cli_support import (DATA, DEADLINE, TAGWRITER, CommandTest, end, objects, tagwriter, titled)
from processes import Process, children_of

ERROR = "tagwriter: standard output cannot be written\n"
PLAIN = (DATA / "mp3_plain.mp3").read_bytes()


class OutputTest(CommandTest):

    def setUp(self):
        super().setUp()
        self.titled = titled(PLAIN, self.aside)

    def assert_titled(self, paths):
        for path in paths:
            self.assertEqual(path.read_bytes(), self.titled)

    def assert_lost(self, run, code=1, stderr=ERROR):
        self.assert_run(run, code, stderr)


class FullTest(OutputTest):

    def run_full(self, *arguments):
        with open("/dev/full", "wb") as full:
            return tagwriter(*arguments, stdout=full)

    def test_whatever_cannot_be_printed_is_an_error(self):
        paths = self.copies(3)
        for arguments in (["--help"], ["set", "--help"], ["completion", "bash"], ["show", *paths],
                          ["show", "--json", *paths], ["set", "-n", "-t", "title=T", *paths],
                          ["set", "-n", "--json", "-t", "title=T", *paths]):
            with self.subTest(arguments=arguments):
                self.assert_lost(self.run_full(*arguments))
        for path in paths:
            self.assert_as_it_was(path)

    def test_results_that_cannot_be_printed_keep_no_file_from_being_written(self):
        paths = self.copies(3)
        self.assert_lost(self.run_full("set", "--json", "-t", "title=T", *paths))
        self.assert_titled(paths)

    def test_the_errors_of_files_come_first(self):
        missing = self.directory / "missing"
        error = f"{missing}: cannot be opened: No such file or directory\n"
        run = self.run_full("set", "--json", "-t", "title=T", missing)
        self.assert_lost(run, 1, error + ERROR)

    def test_wrong_usage_is_still_wrong_usage(self):
        self.assertEqual(self.run_full("set").returncode, 2)

    def test_nothing_is_said_when_nothing_was_to_be_printed(self):
        paths = self.copies(3)
        self.assert_run(self.run_full("set", "-t", "title=T", *paths), 0)
        self.assert_titled(paths)


class ClosedTest(OutputTest):

    CLOSED = {"<&-": [0], ">&-": [1], "2>&-": [2], "<&- >&-": [0, 1], ">&- 2>&-": [1, 2],
              "<&- >&- 2>&-": [0, 1, 2]}

    def run_closed(self, streams, *arguments):
        """Runs the command as a shell does behind which these streams are closed."""
        return tagwriter("-c", f'exec "$@" {streams}', "sh", TAGWRITER, *arguments,
                         program="/bin/sh", stdin=None)

    def test_no_file_gets_what_was_to_be_printed(self):
        for streams, numbers in self.CLOSED.items():
            for option in ([], ["--safe"]):
                with self.subTest(streams=streams, option=option):
                    paths = self.copies(3)
                    missing = self.directory / "missing.mp3"
                    run = self.run_closed(streams, "set", "--json", *option, "-t", "cueSheet=C",
                                          "-t", "title=T", paths[0], missing, *paths[1:])
                    self.assertEqual(run.returncode, 1)
                    for path in paths:
                        # Refused, the first edit takes the second with it in safe mode.
                        self.assertEqual(path.read_bytes(), PLAIN if option else self.titled)
                    self.assertEqual(len(objects(run.stdout)),
                                     0 if 1 in numbers else 4 if option else 7)
                    self.assertEqual(run.stderr.endswith(ERROR), numbers == [1] or
                                     numbers == [0, 1], run.stderr)

    def test_results_that_cannot_be_printed_are_an_error(self):
        paths = self.copies(3)
        self.assert_lost(self.run_closed(">&-", "set", "--json", "-t", "title=T", *paths))
        self.assert_titled(paths)
        for arguments in (["show", *paths], ["--help"], ["completion", "zsh"]):
            self.assert_lost(self.run_closed(">&-", *arguments))

    def test_nothing_is_said_when_nothing_was_to_be_printed(self):
        for streams in self.CLOSED:
            with self.subTest(streams=streams):
                paths = self.copies(3)
                self.assert_run(self.run_closed(streams, "set", "-t", "title=T", *paths), 0)
                self.assert_titled(paths)


class PipeTest(OutputTest):

    FILES = 100

    def test_a_reader_that_goes_away_leaves_every_file_whole(self):
        # The results of all files do not fit into the pipe.
        self.directory = self.directory / ("long" * 50)
        self.directory.mkdir()
        for option in ([], ["--safe"]):
            with self.subTest(option=option):
                paths = self.copies(self.FILES)
                process = subprocess.Popen(
                    [TAGWRITER, "set", "--json", *option, "-t", "title=T", *paths],
                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                    bufsize=0)
                self.addCleanup(end, process)
                fcntl.fcntl(process.stdout, fcntl.F_SETPIPE_SZ, 4096)
                first, = objects(process.stdout.readline().decode())
                self.assertEqual((first["file"], first["result"]), (str(paths[0]), "written"))
                service, = map(Process, children_of(process.pid))
                process.stdout.close()
                self.assertEqual(process.wait(DEADLINE), -signal.SIGPIPE)
                self.assertEqual(process.stderr.read(), b"")
                service.wait()
                contents = [path.read_bytes() for path in paths]
                written = contents.index(PLAIN)
                self.assertGreater(written, 0)
                self.assertEqual(set(contents[:written]), {self.titled})
                self.assertEqual(set(contents[written:]), {PLAIN})
                self.assertEqual(len(os.listdir(self.directory)), self.FILES)

    def test_where_broken_pipes_are_ignored_it_is_an_error(self):
        paths = self.copies(3)
        reading, writing = os.pipe()
        os.close(reading)
        try:
            run = tagwriter("set", "--json", "-t", "title=T", *paths, stdout=writing,
                            restore_signals=False)
        finally:
            os.close(writing)
        self.assert_lost(run)
        self.assert_titled(paths)


if __name__ == "__main__":
    unittest.main()
