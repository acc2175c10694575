"""Shared by these tests: scratch copies of real files, and a player for each test."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from player import TAGWRITERD, GLib, Player, Service, change

if "TAGWRITER_DATA" not in os.environ:
    sys.exit("Set TAGWRITER_DATA to the directory tests/data")
DATA = os.environ["TAGWRITER_DATA"]

SANITIZER_REPORTS = ("AddressSanitizer", "LeakSanitizer", "runtime error:")

# The audio files of the test data, by name.
AUDIO_FILES = sorted(
    name for name in os.listdir(DATA)
    if "." in name and not name.endswith(".md") and not name.startswith("cover"))


def run(*command):
    """Runs a program that must succeed, and returns its output."""
    return subprocess.run(command, check=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE).stdout.decode()


def samples(path):
    """A digest of the decoded audio. What ffmpeg has skipped does not matter."""
    done = subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-map", "0:a", "-f", "md5", "-"],
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{path}: {done.stderr}")
    return done.stdout


def contents(path):
    """The bytes of the file."""
    with open(path, "rb") as file:
        return file.read()


class ScratchTest(unittest.TestCase):
    """A test with its own directory. `program` is what it starts as a service."""

    program = TAGWRITERD

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="tagwriter-player-")
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def copy(self, name, new_name=None):
        """A scratch copy of a file of the test data; returns its path."""
        path = os.path.join(self.directory, new_name or name)
        shutil.copyfile(os.path.join(DATA, name), path)
        return path

    def assert_clean(self, service):
        """No sanitizer has complained."""
        log = service.log()
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, log)

    def start_service(self, prepare=""):
        """A service without a connection, closed at the end of the test."""
        service = Service(prepare, program=self.program)
        self.addCleanup(service.close)
        return service

    def start_player(self, prepare="", options=()):
        """A service with a connection, closed at the end of the test."""
        player = Player(prepare, options, self.program)
        self.addCleanup(player.close)
        return player


class PlayerTest(ScratchTest):
    """A test with a player, whose service must exit normally at the end."""

    def setUp(self):
        super().setUp()
        self.player = self.start_player()
        self.service = self.player.service
        self.addCleanup(self._assert_normal_exit)

    def _assert_normal_exit(self):
        code = self.player.hang_up()
        self.assert_clean(self.service)
        self.assertEqual(code, 0, self.service.log())

    def write(self, request, path):
        """Sends a request with the file at `path` as descriptor 0. Returns the reply's values."""
        with open(path, "rb+") as file:
            return self.player.write(request, [file])

    def write_field(self, field, value, path):
        """Changes one field of the file at `path` and returns the result."""
        return self.result(self.write(change(field, value, path), path))

    def result(self, reply):
        """The reply's result, which must be there and be a boolean."""
        self.assertIn("result", reply)
        self.assertEqual(reply["result"].get_type_string(), "b")
        return reply["result"].get_boolean()

    def assert_still_answers(self):
        """The service processes another request."""
        path = self.copy("mp3_plain.mp3", "next.mp3")
        before = contents(path)
        self.assertTrue(self.write_field("title", GLib.Variant("s", "Next"), path))
        self.assertNotEqual(contents(path), before)
