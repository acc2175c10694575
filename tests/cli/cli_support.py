"""What the tests of this directory share: the command, a terminal for it, and a service that waits."""

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

HERE = Path(__file__).resolve().parent
sys.path += [str(HERE.parent / "player"), str(HERE.parent / "bus")]

from processes import DEADLINE, Process, wait_for  # noqa: E402

BIN = Path(os.environ["TAGWRITER_BIN"])
DATA = Path(os.environ["TAGWRITER_DATA"])
TAGWRITER = BIN / "tagwriter"

VERBS = ["set", "clear", "cover", "show", "completion"]
FIELDS = """title artist album genre composer comment lyrics albumArtist grouping encoder publisher
description catalogNumber conductor discSubtitle cueSheet rating compilation year bpm trackNumber
totalNumberOfTracks disc totalNumberOfDiscs""".split()

SANITIZER_REPORTS = ("AddressSanitizer", "LeakSanitizer", "runtime error:")


def tagwriter(*arguments, program=TAGWRITER, **options):
    """Runs the command to its end. What it prints is text in which bytes that are no UTF-8 are kept
    as Python keeps them in file names."""
    streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE,
               "encoding": "utf-8", "errors": "surrogateescape", "timeout": 2 * DEADLINE}
    run = subprocess.run([*words(program), *map(os.fspath, arguments)], check=False,
                         **{**streams, **options})
    for report in SANITIZER_REPORTS:
        if report in (run.stderr or ""):
            raise AssertionError(run.stderr)
    return run


def words(program):
    """A program with what stands before it on the command line."""
    return program if isinstance(program, list) else [program]


def without_privileges():
    """What to put before a command so that modes of files count, even for the superuser."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", "--bounding-set=-dac_override,-dac_read_search,-fowner"]


def objects(output):
    """The JSON objects in what the command has printed, one a line."""
    if output and not output.endswith("\n"):
        raise AssertionError("the last line has no end")
    return [json.loads(line) for line in output.split("\n")[:-1]]


def titled(contents, directory, title="T"):
    """What a file with these contents becomes when its title is set."""
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
        """As many copies, in the order of their names."""
        return [self.copy(name, f"{i:04}{Path(name).suffix}") for i in range(count)]

    def assert_run(self, run, code, stderr=""):
        self.assertEqual((run.returncode, run.stderr), (code, stderr))

    def assert_as_it_was(self, path, name="mp3_plain.mp3"):
        self.assertEqual(path.read_bytes(), (DATA / name).read_bytes(), path)


class HeldService:
    """The command with a service beside it that does nothing before it is let go: `program` stands
    still at its first file."""

    def __init__(self, test):
        directory = Path(tempfile.mkdtemp(prefix="held-", dir=test.aside))
        self.program = Path(shutil.copy(TAGWRITER, directory))
        self._mark = directory / "started"
        self._process = None
        os.mkfifo(directory / "gate")
        # Open all the time, so that nobody waits for the other end.
        self._gate = os.open(directory / "gate", os.O_RDWR)
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
    """A program on a terminal of its own, in the foreground. Its `stdout` and `stderr` may be pipes
    instead, which are read from `process`."""

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
            pass  # nobody has the other end any more
        os.close(self._master)

    @property
    def output(self):
        return bytes(self._output)

    def type(self, keys):
        os.write(self._master, keys)

    def wait(self):
        """Waits for the end of all that is on the terminal; returns the exit code."""
        code = self.process.wait(DEADLINE)
        self._reader.join(DEADLINE)
        if self._reader.is_alive():
            raise AssertionError("somebody holds the terminal")
        return code

    def screen(self):
        """The lines that are to be seen, as far as what the command does needs it."""
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
    """Ends a process, if it has not ended, and closes its pipes."""
    if process.poll() is None:
        process.kill()
        process.wait()
    for stream in (process.stdin, process.stdout, process.stderr):
        if stream:
            stream.close()


def interruptible():
    """In a new process: Ctrl-C has its usual effect, whatever the tests have been started with."""
    signal.signal(signal.SIGINT, signal.SIG_DFL)
