"""Standard streams that are full, closed or read by nobody: an error, and files stay complete."""

import fcntl
import os
import signal
import subprocess
import unittest

from cli_support import (DATA, DEADLINE, TAGWRITER, CommandTest, end, objects, tagwriter, titled)
from processes import Process, children_of

ERROR = "tagwriter: cannot write to standard output\n"
PLAIN = (DATA / "mp3_plain.mp3").read_bytes()


class OutputTest(CommandTest):

    def setUp(self):
        super().setUp()
        self.titled = titled(PLAIN, self.aside)

    def assert_titled(self, paths):
        for path in paths:
            self.assertEqual(path.read_bytes(), self.titled)


class FullTest(OutputTest):

    def run_full(self, *arguments):
        with open("/dev/full", "wb") as full:
            return tagwriter(*arguments, stdout=full)

    def test_lost_output_is_an_error(self):
        paths = self.copies(3)
        for arguments in (["--help"], ["set", "--help"], ["show", *paths],
                          ["set", "-n", "-t", "title=T", *paths],
                          ["set", "--json", "-t", "title=T", *paths]):
            with self.subTest(arguments=arguments):
                self.assert_run(self.run_full(*arguments), 1, ERROR)
        # But it does not prevent any edit.
        self.assert_titled(paths)
        self.assertEqual(self.run_full("set").returncode, 2)

    def test_no_output_is_no_error(self):
        self.assert_run(self.run_full("set", "-t", "title=T", *self.copies(3)), 0)


class ClosedTest(OutputTest):

    CLOSED = {"<&-": [0], ">&-": [1], "2>&-": [2], "<&- >&-": [0, 1], ">&- 2>&-": [1, 2],
              "<&- >&- 2>&-": [0, 1, 2]}

    def test_no_output_goes_into_a_file(self):
        for streams, numbers in self.CLOSED.items():
            for option in ([], ["--safe"]):
                with self.subTest(streams=streams, option=option):
                    paths = self.copies(3)
                    missing = self.directory / "missing.mp3"
                    run = tagwriter("-c", f'exec "$@" {streams}', "sh", TAGWRITER, "set", "--json",
                                    *option, "-t", "cueSheet=C", "-t", "title=T", paths[0], missing,
                                    *paths[1:], program="/bin/sh", stdin=None)
                    self.assertEqual(run.returncode, 1)
                    for path in paths:
                        # In safe mode, the first edit is refused and the second is not made.
                        self.assertEqual(path.read_bytes(), PLAIN if option else self.titled)
                    self.assertEqual(len(objects(run.stdout)),
                                     0 if 1 in numbers else 4 if option else 7)
                    self.assertEqual(run.stderr.endswith(ERROR),
                                     1 in numbers and 2 not in numbers, run.stderr)


class PipeTest(OutputTest):

    def test_a_reader_that_exits_leaves_every_file_complete(self):
        # The results of all files do not fit into the pipe.
        self.directory = self.directory / ("long" * 50)
        self.directory.mkdir()
        for option in ([], ["--safe"]):
            with self.subTest(option=option):
                paths = self.copies(100)
                process = subprocess.Popen(
                    [TAGWRITER, "set", "--json", *option, "-t", "title=T", *paths],
                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                    bufsize=0)
                self.addCleanup(end, process)
                fcntl.fcntl(process.stdout, fcntl.F_SETPIPE_SZ, 4096)
                process.stdout.readline()
                services = [Process(pid) for pid in children_of(process.pid)]
                self.assertEqual(len(services), 2 if option else 1)  # safe mode reads, too
                process.stdout.close()
                self.assertEqual(process.wait(DEADLINE), -signal.SIGPIPE)
                for service in services:
                    service.wait()
                contents = [path.read_bytes() for path in paths]
                written = contents.index(PLAIN)
                self.assertEqual(set(contents[:written]), {self.titled})
                self.assertEqual(set(contents[written:]), {PLAIN})
                self.assertEqual(len(os.listdir(self.directory)), len(paths))

    def test_with_broken_pipes_ignored_it_is_an_error(self):
        paths = self.copies(3)
        reading, writing = os.pipe()
        os.close(reading)
        self.addCleanup(os.close, writing)
        run = tagwriter("set", "--json", "-t", "title=T", *paths, stdout=writing,
                        restore_signals=False)
        self.assert_run(run, 1, ERROR)
        self.assert_titled(paths)


if __name__ == "__main__":
    unittest.main()
