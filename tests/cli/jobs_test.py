"""-j: several workers, and what they do for the user is as with one."""

import os
import shutil
import signal
import subprocess
import unittest
from pathlib import Path

from cli_support import (BIN, DEADLINE, TAGWRITER, CommandTest, end, interruptible, objects,
                         tagwriter, wait_for)
from interruption_test import has_taken_interrupt


class JobsTest(CommandTest):

    def setUp(self):
        super().setUp()
        self.program = Path(shutil.copy(TAGWRITER, self.aside))
        self.started = self.aside / "started"
        self.started.mkdir()
        (self.aside / "tagreaderd").symlink_to(BIN / "tagreaderd")

    def make_service(self, condition):
        """A service that starts to work when the condition of the shell is true."""
        service = self.aside / "tagwriterd"
        service.write_text(f'#!/bin/sh\nmkdir {self.started}/$$\n'
                           f'until {condition}; do sleep 0.01; done\nexec {BIN}/tagwriterd "$@"\n')
        service.chmod(0o755)

    def test_files_are_processed_at_the_same_time(self):
        # No file is processed before there are three services.
        self.make_service(f'[ $(ls {self.started} | wc -l) -ge 3 ]')
        paths = self.copies(8)
        self.assert_run(tagwriter("set", "-j", "3", "-t", "title=T", *paths, program=self.program),
                        0)
        self.assertEqual([self.title(path) for path in paths], 8 * ["T"])
        self.assertEqual(len(os.listdir(self.started)), 3)

    def test_one_file_is_processed_by_one_worker(self):
        self.make_service("true")
        path, = self.copies(1)
        link, symlink = self.directory / "link.mp3", self.directory / "symlink.mp3"
        os.link(path, link)
        symlink.symlink_to(path)
        run = tagwriter("set", "-j", "4", "-t", "title=T", path, link, symlink, path,
                        program=self.program)
        self.assert_run(run, 0)
        self.assertEqual(len(os.listdir(self.started)), 1)

    def test_the_report_is_that_of_one_worker(self):
        names = 5 * ["mp3_plain.mp3", "flac_plain.flac", "wav_plain.wav"]
        for options in ([], ["--json"], ["--safe", "--json"], ["-n"]):
            runs = []
            for jobs in ("1", "4"):
                paths = [self.copy(name, f"{number}{Path(name).suffix}")
                         for number, name in enumerate(names)]
                paths[7:7] = [self.directory / "missing.mp3"] + 2 * paths[3:5]
                runs.append(tagwriter("set", "--jobs", jobs, "-t", "cueSheet=C", "-t", "title=T",
                                      *options, *paths))
            one, four = runs
            self.assertEqual((four.returncode, four.stdout), (1, one.stdout))
            self.assertEqual(four.stderr, one.stderr)
            if "--json" in options:
                self.assertEqual(list(dict.fromkeys(line["file"] for line in objects(four.stdout))),
                                 list(dict.fromkeys(map(str, paths))))

    def test_ctrl_c_finishes_the_current_files(self):
        go = self.aside / "go"
        self.make_service(f"[ -e {go} ]")
        paths = self.copies(8)
        process = subprocess.Popen(
            [self.program, "set", "-j2", "-t", "title=T", *paths], stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, process_group=0,
            preexec_fn=interruptible)
        self.addCleanup(end, process)
        self.addCleanup(go.touch)
        wait_for(lambda: len(os.listdir(self.started)) == 2, "both services are started")
        os.killpg(process.pid, signal.SIGINT)
        wait_for(lambda: has_taken_interrupt(process.pid), "the signal is handled")
        go.touch()
        output, errors = process.communicate(timeout=DEADLINE)
        self.assertEqual((process.returncode, output, errors),
                         (1, b"", b"tagwriter: interrupted after 2 of 8 files\n"))
        self.assertEqual([self.title(path) for path in paths[:2]], ["T", "T"])
        for path in paths[2:]:
            self.assert_as_it_was(path)


if __name__ == "__main__":
    unittest.main()
