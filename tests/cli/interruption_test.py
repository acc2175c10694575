"""Ctrl-C: the file in hand is finished and no other is begun; a second one ends the command."""

import ctypes
import fcntl
import os
import signal
import struct
import subprocess
import termios
import unittest
from pathlib import Path

import mutagen

from cli_support import (DATA, DEADLINE, TAGWRITER, CommandTest, HeldService, Terminal, end,
                         interruptible, objects, titled)
from processes import Process, children_of, wait_for
from support import samples

PLAIN = "mp3_plain.mp3"
PR_SET_CHILD_SUBREAPER = 36


def status_of(pid):
    """What the kernel says about a thread or a process."""
    lines = Path(f"/proc/{pid}/status").read_text().splitlines()
    return {name: value.strip() for name, _, value in (line.partition(":") for line in lines)}


def has_taken_interrupt(pid):
    """Whether the process, which has been sent a signal while it waits for its service, has done
    with it: the signal is on its way no more, and every thread has gone back to sleep."""
    return int(status_of(pid)["ShdPnd"], 16) == 0 and all(
        status_of(f"{pid}/task/{thread}")["State"][0] == "S"
        for thread in os.listdir(f"/proc/{pid}/task"))


class InterruptionTest(CommandTest):

    def start(self, program, *arguments, first=interruptible):
        """Starts the command as a shell starts a job: in a process group of its own."""
        process = subprocess.Popen(
            [program, *map(os.fspath, arguments)], stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0, process_group=0,
            preexec_fn=first)
        self.addCleanup(end, process)
        return process

    def interrupt(self, process, number=signal.SIGINT):
        """Sends a signal to the group, as a terminal does, and waits until it has been taken."""
        os.killpg(process.pid, number)
        wait_for(lambda: has_taken_interrupt(process.pid), "the interrupt is taken")

    def press(self, terminal):
        """Presses Ctrl-C and waits until the signal has been taken."""
        terminal.type(b"\x03")
        wait_for(lambda: b"^C" in terminal.output, "the terminal echoes it and has sent the signal")
        wait_for(lambda: has_taken_interrupt(terminal.process.pid), "the interrupt is taken")

    def interrupt_again(self, process):
        """Sends it once more, which must end the process with nothing else happening."""
        os.killpg(process.pid, signal.SIGINT)
        self.assertEqual(process.wait(DEADLINE), -signal.SIGINT)

    def finish(self, process):
        """Waits for the end; returns the exit code and what was printed."""
        output, errors = process.communicate(timeout=DEADLINE)
        return process.returncode, output.decode(), errors.decode()

    def assert_interrupted(self, finished, done, files):
        code, _, errors = finished
        self.assertEqual((code, errors),
                         (1, f"tagwriter: interrupted after {done} of {files} files\n"))

    def assert_done_up_to(self, done, paths):
        """The first files are written, whole and with their audio; the others are untouched."""
        expected = titled((DATA / PLAIN).read_bytes(), self.aside)
        for path in paths[:done]:
            self.assertEqual(path.read_bytes(), expected)
        for path in paths[done:]:
            self.assert_as_it_was(path)
        self.assertEqual(str(mutagen.File(paths[done - 1]).tags["TIT2"]), "T")
        self.assertEqual(samples(paths[done - 1]), samples(DATA / PLAIN))


class FirstFileTest(InterruptionTest):
    """With a service that has not begun yet."""

    def held(self, *arguments, **options):
        service = HeldService(self)
        process = self.start(service.program, *arguments, **options)
        service.wait_until_started()
        return service, process

    def test_finishes_the_file_in_hand_and_begins_no_other(self):
        for option in ([], ["--safe"], ["--quiet"], ["--json"]):
            with self.subTest(option=option):
                paths = self.copies(8)
                service, process = self.held("set", "-t", "title=T", *option, *paths)
                self.interrupt(process)
                service.let_go()
                finished = self.finish(process)
                self.assert_interrupted(finished, 1, 8)
                self.assertEqual(objects(finished[1]), [
                    {"file": str(paths[0]), "edit": "title", "result": "written"}
                ] if option == ["--json"] else [])
                self.assert_done_up_to(1, paths)
                service.wait_for_its_end()

    def test_finishes_it_also_when_the_command_is_ended_or_its_terminal_closes(self):
        for number in (signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                paths = self.copies(8)
                service, process = self.held("set", "-t", "title=T", *paths)
                self.interrupt(process, number)
                service.let_go()
                self.assert_interrupted(self.finish(process), 1, 8)
                self.assert_done_up_to(1, paths)
                service.wait_for_its_end()

    def test_makes_all_edits_of_the_file_in_hand(self):
        paths = self.copies(3)
        service, process = self.held("set", "-t", "title=T", "-t", "artist=A", *paths)
        self.interrupt(process)
        service.let_go()
        self.assert_interrupted(self.finish(process), 1, 3)
        tags = mutagen.File(paths[0]).tags
        self.assertEqual((str(tags["TIT2"]), str(tags["TPE1"])), ("T", "A"))
        self.assert_as_it_was(paths[1])

    def test_finishes_a_cover(self):
        paths = self.copies(3)
        service, process = self.held("cover", DATA / "cover_red.png", *paths)
        self.interrupt(process)
        service.let_go()
        self.assert_interrupted(self.finish(process), 1, 3)
        self.assertEqual(mutagen.File(paths[0]).tags["APIC:"].data,
                         (DATA / "cover_red.png").read_bytes())
        self.assert_as_it_was(paths[1])

    def test_the_last_file_leaves_nothing_to_interrupt(self):
        paths = self.copies(1)
        service, process = self.held("set", "-t", "title=T", *paths)
        self.interrupt(process)
        service.let_go()
        self.assertEqual(self.finish(process), (0, "", ""))
        self.assert_done_up_to(1, paths)

    def test_a_second_one_ends_it_at_once(self):
        for option in ([], ["--safe"]):
            with self.subTest(option=option):
                paths = self.copies(8)
                service, process = self.held("set", "-t", "title=T", *option, *paths)
                self.interrupt(process)
                self.interrupt_again(process)
                # Nobody asks the service for anything any more.
                service.let_go()
                service.wait_for_its_end()
                for path in paths:
                    self.assert_as_it_was(path)
                self.assertEqual(len(os.listdir(self.directory)), 8)

    def test_is_ignored_where_it_was_ignored_before(self):
        def ignoring():
            signal.signal(signal.SIGINT, signal.SIG_IGN)

        paths = self.copies(8)
        service, process = self.held("set", "-t", "title=T", *paths, first=ignoring)
        os.killpg(process.pid, signal.SIGINT)
        service.let_go()
        self.assertEqual(self.finish(process), (0, "", ""))
        self.assert_done_up_to(8, paths)

    def test_the_key_on_a_terminal_does_it(self):
        paths, service = self.copies(8), HeldService(self)
        terminal = Terminal(self, service.program, "set", "-t", "title=T", *paths)
        service.wait_until_started()
        wait_for(lambda: b"0/8" in terminal.output, "the bar is there")
        self.press(terminal)
        service.let_go()
        self.assertEqual(terminal.wait(), 1)
        self.assertEqual(terminal.screen(), ["tagwriter: interrupted after 1 of 8 files", ""])
        self.assert_done_up_to(1, paths)

    def test_the_key_pressed_twice_ends_it_at_once(self):
        paths, service = self.copies(8), HeldService(self)
        terminal = Terminal(self, service.program, "set", "-t", "title=T", *paths)
        service.wait_until_started()
        self.press(terminal)
        terminal.type(b"\x03")
        self.assertEqual(terminal.process.wait(DEADLINE), -signal.SIGINT)
        service.let_go()
        service.wait_for_its_end()
        for path in paths:
            self.assert_as_it_was(path)


class ManyFilesTest(InterruptionTest):
    """With the service stopped somewhere among many files, one of which is in its hands."""

    FILES = 100

    @classmethod
    def setUpClass(cls):
        # The kernel ends processes that stand still and that nobody looks after any more.
        ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1)

    def setUp(self):
        super().setUp()
        # The results of all files do not fit into the pipe, so that the command cannot get to its
        # end while nobody reads them.
        self.directory = self.directory / ("long" * 50)
        self.directory.mkdir()
        self.paths = self.copies(self.FILES)

    def start_and_stop(self):
        """Starts the command and stops its service; returns both and the results so far, behind
        which another file is in hand."""
        process = self.start(TAGWRITER, "set", "--json", "-t", "title=T", *self.paths)
        fcntl.fcntl(process.stdout, fcntl.F_SETPIPE_SZ, 4096)
        results = process.stdout.read(1)
        service, = map(Process, children_of(process.pid))
        self.addCleanup(service.send, signal.SIGCONT)
        service.send(signal.SIGSTOP)
        wait_for(lambda: status_of(service.pid)["State"][0] == "T", "the service stands still")

        def read_and_see():
            """Whether the command sleeps although nobody keeps it from printing."""
            nonlocal results
            waiting, = struct.unpack("i", fcntl.ioctl(process.stdout, termios.FIONREAD, b"\0" * 4))
            results += process.stdout.read(waiting) if waiting else b""
            return not waiting and status_of(process.pid)["State"][0] == "S"

        wait_for(read_and_see, "the command waits for its service")
        return process, service, results.decode()

    def test_finishes_the_file_in_hand_and_begins_no_other(self):
        process, service, results = self.start_and_stop()
        self.interrupt(process)
        service.send(signal.SIGCONT)
        code, more, errors = self.finish(process)
        done = [line["file"] for line in objects(results + more)]
        self.assertEqual(len(done), len(objects(results)) + 1)
        self.assertEqual(done, list(map(str, self.paths[:len(done)])))
        self.assertLess(len(done), self.FILES)
        self.assert_interrupted((code, more, errors), len(done), self.FILES)
        self.assert_done_up_to(len(done), self.paths)
        service.wait()

    def test_after_a_second_one_the_service_still_finishes_the_file_in_hand(self):
        process, service, results = self.start_and_stop()
        self.interrupt(process)
        self.interrupt_again(process)
        service.send(signal.SIGCONT)
        service.wait()
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(service.pid, 0)[1]), 0)
        self.assert_done_up_to(len(objects(results)) + 1, self.paths)


if __name__ == "__main__":
    unittest.main()
