"""What the tests of the command share: running it, a terminal for it, and a service that waits."""

import fcntl
import json
import os
import pty
import shutil
import signal
import subprocess
import sys
import tempfile
import termios
import threading
import unittest
from pathlib import Path

import mutagen

HERE = Path(__file__).resolve().parent
sys.path += [str(HERE.parent / name) for name in ("player", "bus", "expectations")]

from processes import DEADLINE, Process, wait_for  # noqa: E402

BIN = Path(os.environ["TAGWRITER_BIN"])
DATA = Path(os.environ["TAGWRITER_DATA"])
TAGWRITER = BIN / "tagwriter"

COMMANDS = ["set", "clear", "cover", "copy", "show"]
FIELDS = """title artist album genre composer comment lyrics albumArtist grouping encoder publisher
description catalogNumber conductor discSubtitle cueSheet rating compilation year bpm trackNumber
totalNumberOfTracks disc totalNumberOfDiscs""".split()

SANITIZER_REPORTS = ("AddressSanitizer", "LeakSanitizer", "runtime error:")


def tagwriter(*arguments, program=TAGWRITER, **options):
    """Runs the command. Invalid UTF-8 in its output is kept with surrogates, as in file names."""
    streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE,
               "encoding": "utf-8", "errors": "surrogateescape", "timeout": 2 * DEADLINE}
    program = program if isinstance(program, list) else [program]
    run = subprocess.run([*program, *map(os.fspath, arguments)], check=False,
                         **{**streams, **options})
    for report in SANITIZER_REPORTS:
        if report in (run.stderr or ""):
            raise AssertionError(run.stderr)
    return run


def without_privileges():
    """A prefix for commands, so that file modes apply to root, too."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", "--bounding-set=-dac_override,-dac_read_search,-fowner"]


def objects(output):
    """The JSON objects in the command's output, one per line."""
    if output and not output.endswith("\n"):
        raise AssertionError("the last line is incomplete")
    return [json.loads(line) for line in output.split("\n")[:-1]]


def titled(contents, directory, title="T"):
    """The contents of a file after its title was set."""
    path = Path(directory) / "titled.mp3"
    path.write_bytes(contents)
    run = tagwriter("set", "-t", f"title={title}", path)
    if run.returncode != 0 or path.read_bytes() == contents:
        raise AssertionError(run.stderr)
    return path.read_bytes()


class CommandTest(unittest.TestCase):
    """A test with a directory for audio files and one for everything else."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="tagwriter-cli-")
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name) / "music"
        self.aside = Path(directory.name) / "aside"
        self.directory.mkdir()
        self.aside.mkdir()

    def copy(self, name, as_name=None):
        path = self.directory / (as_name or name)
        path.parent.mkdir(parents=True, exist_ok=True)
        return Path(shutil.copy(DATA / name, path))

    def copies(self, count, name="mp3_plain.mp3"):
        """Numbered copies, in order."""
        return [self.copy(name, f"{i:04}{Path(name).suffix}") for i in range(count)]

    def assert_run(self, run, code, stderr=""):
        self.assertEqual((run.returncode, run.stderr), (code, stderr))

    def title(self, mp3):
        return str(mutagen.File(mp3).tags["TIT2"])

    def assert_as_it_was(self, path, name="mp3_plain.mp3"):
        self.assertEqual(path.read_bytes(), (DATA / name).read_bytes(), path)


class HeldService:
    """A copy of the command, `program`, with the reader and a service that waits until it is let
    go: the command waits at its first file."""

    def __init__(self, test):
        directory = Path(tempfile.mkdtemp(prefix="held-", dir=test.aside))
        self.program = Path(shutil.copy(TAGWRITER, directory))
        self._mark = directory / "started"
        self._process = None
        os.mkfifo(directory / "gate")
        # Open at both ends, so that opening it never blocks.
        self._gate = os.open(directory / "gate", os.O_RDWR)
        (directory / "tagreaderd").symlink_to(BIN / "tagreaderd")
        service = directory / "tagwriterd"
        service.write_text(f"""#!/bin/sh
exec 9< {directory}/gate
echo $$ > {directory}/number && mv {directory}/number {directory}/started
read -r line <&9
exec 9<&-
exec {BIN}/tagwriterd "$@"
""")
        service.chmod(0o755)
        test.addCleanup(self._close)

    def was_started(self):
        return self._mark.exists()

    def wait_until_started(self):
        wait_for(self.was_started, "the service is started")
        self._process = Process(int(self._mark.read_text()))

    def let_go(self):
        os.write(self._gate, b"\n")

    def wait_for_its_end(self):
        self._process.wait()

    def _close(self):
        self.let_go()
        if self._process:
            self._process.wait()
        os.close(self._gate)


class Terminal:
    """A program in the foreground of its own terminal. Its `stdout` or `stderr` may be a pipe or a
    file instead."""

    def __init__(self, test, *command, stdout=None, stderr=None, **options):
        self._master, slave = pty.openpty()
        termios.tcsetwinsize(slave, (24, 200))
        self._output = bytearray()
        self.process = subprocess.Popen(
            list(map(os.fspath, command)), stdin=slave, stdout=stdout or slave,
            stderr=stderr or slave, start_new_session=True, preexec_fn=self._take, **options)
        os.close(slave)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        test.addCleanup(end, self.process)

    @staticmethod
    def _take():
        fcntl.ioctl(0, termios.TIOCSCTTY, 0)
        interruptible()

    def _read(self):
        try:
            while piece := os.read(self._master, 1 << 16):
                self._output += piece
        except OSError:
            pass  # the other end is closed
        os.close(self._master)

    @property
    def output(self):
        return bytes(self._output)

    def type(self, keys):
        os.write(self._master, keys)

    def wait(self):
        """Waits until the program and the terminal are closed; returns the exit code."""
        code = self.process.wait(DEADLINE)
        self._reader.join(DEADLINE)
        if self._reader.is_alive():
            raise AssertionError("the terminal is still open")
        return code

    def screen(self):
        """The visible lines. Knows only the control characters that the command uses."""
        lines, column = [""], 0
        for part in self.output.decode().replace("\x1b[K", "\v"):
            if part == "\n":
                lines.append("")
            elif part == "\r":
                column = 0
            elif part == "\v":
                lines[-1] = lines[-1][:column]
            else:
                lines[-1] = lines[-1][:column] + part + lines[-1][column + 1:]
                column += 1
        return lines


def end(process):
    """Kills a process if it is still running, and closes its pipes."""
    if process.poll() is None:
        process.kill()
        process.wait()
    for stream in (process.stdin, process.stdout, process.stderr):
        if stream:
            stream.close()


def interruptible():
    """In a new process: restores the default effect of Ctrl-C, which the tests may ignore."""
    signal.signal(signal.SIGINT, signal.SIG_DFL)
