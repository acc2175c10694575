"""Ctrl-C finishes the current file and starts no other; a second one ends the command at once."""

import os
import signal
import subprocess
import unittest
from pathlib import Path

import mutagen

from cli_support import (DATA, DEADLINE, CommandTest, HeldService, Terminal, end, interruptible,
                         objects, wait_for)
from support import samples


def has_taken_interrupt(pid):
    """Whether a process that waits for its service has handled a signal: it is no longer pending,
    and every thread sleeps again."""
    def status(thread):
        lines = Path(f"/proc/{pid}/task/{thread}/status").read_text().splitlines()
        return {name: value.strip() for name, _, value in (line.partition(":") for line in lines)}

    return int(status(pid)["ShdPnd"], 16) == 0 and all(
        status(thread)["State"][0] == "S" for thread in os.listdir(f"/proc/{pid}/task"))


class InterruptionTest(CommandTest):
    """With a service that waits before the first file."""

    def start(self, *arguments, first=interruptible):
        """Starts the command as a shell starts a job, in a process group of its own."""
        service = HeldService(self)
        process = subprocess.Popen(
            [service.program, *map(os.fspath, arguments)], stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, process_group=0, preexec_fn=first)
        self.addCleanup(end, process)
        service.wait_until_started()
        return service, process

    def interrupt(self, process, number=signal.SIGINT):
        """Sends a signal to the group, as a terminal does, and waits until it is handled."""
        os.killpg(process.pid, number)
        wait_for(lambda: has_taken_interrupt(process.pid), "the signal is handled")

    def finish(self, service, process):
        """Lets the service work; returns the exit code and what was printed."""
        service.let_go()
        output, errors = process.communicate(timeout=DEADLINE)
        service.wait_for_its_end()
        return process.returncode, output.decode(), errors.decode()

    def assert_untouched(self, paths):
        for path in paths:
            self.assert_as_it_was(path)

    def test_finishes_all_edits_of_the_current_file(self):
        for number, option in ((signal.SIGINT, ["--json"]), (signal.SIGINT, ["--safe"]),
                               (signal.SIGTERM, ["--quiet"]), (signal.SIGHUP, [])):
            with self.subTest(number=number, option=option):
                first, *others = paths = self.copies(8)
                service, process = self.start("set", "-t", "title=T", "-t", "artist=A", *option,
                                              *paths)
                self.interrupt(process, number)
                code, output, errors = self.finish(service, process)
                self.assertEqual((code, errors),
                                 (1, "tagwriter: interrupted after 1 of 8 files\n"))
                self.assertEqual([line["edit"] for line in objects(output)],
                                 ["title", "artist"] if option == ["--json"] else [])
                tags = mutagen.File(first).tags
                self.assertEqual((str(tags["TIT2"]), str(tags["TPE1"])), ("T", "A"))
                self.assertEqual(samples(first), samples(DATA / "mp3_plain.mp3"))
                self.assert_untouched(others)

    def test_during_the_last_file_it_changes_nothing(self):
        mp3, = self.copies(1)
        service, process = self.start("set", "-t", "title=T", mp3)
        self.interrupt(process)
        self.assertEqual(self.finish(service, process), (0, "", ""))
        self.assertEqual(self.title(mp3), "T")

    def test_a_second_one_ends_the_command_at_once(self):
        for option in ([], ["--safe"]):
            paths = self.copies(3)
            service, process = self.start("set", "-t", "title=T", *option, *paths)
            self.interrupt(process)
            os.killpg(process.pid, signal.SIGINT)
            self.assertEqual(process.wait(DEADLINE), -signal.SIGINT)
            service.let_go()
            service.wait_for_its_end()
            self.assert_untouched(paths)
            self.assertEqual(len(os.listdir(self.directory)), 3)

    def test_stays_ignored_if_it_was_ignored_at_start(self):
        def ignoring():
            signal.signal(signal.SIGINT, signal.SIG_IGN)

        paths = self.copies(3)
        service, process = self.start("set", "-t", "title=T", *paths, first=ignoring)
        os.killpg(process.pid, signal.SIGINT)
        self.assertEqual(self.finish(service, process), (0, "", ""))
        self.assertEqual([self.title(path) for path in paths], 3 * ["T"])

    def test_works_with_the_key_on_a_terminal(self):
        paths, service = self.copies(8), HeldService(self)
        terminal = Terminal(self, service.program, "set", "-t", "title=T", *paths)
        service.wait_until_started()
        wait_for(lambda: b"0/8" in terminal.output, "the bar is shown")
        terminal.type(b"\x03")
        wait_for(lambda: b"^C" in terminal.output, "the terminal echoes the key")
        wait_for(lambda: has_taken_interrupt(terminal.process.pid), "the signal is handled")
        service.let_go()
        self.assertEqual(terminal.wait(), 1)
        self.assertEqual(terminal.screen(), ["tagwriter: interrupted after 1 of 8 files", ""])
        self.assert_untouched(paths[1:])


if __name__ == "__main__":
    unittest.main()
