"""Shared by the tests of this directory: a bus for each test, and requests that can be held."""

import os
import shutil
import sys
import tempfile
import threading
import unittest
from pathlib import Path

import mutagen

from processes import DEADLINE
from session import FRONT, SessionBus

from player import GLib, RemoteError, change, text
from truncation import TruncationEndpoint, shorten

if "TAGWRITER_DATA" not in os.environ:
    sys.exit("Set TAGWRITER_DATA to the directory tests/data")
DATA = Path(os.environ["TAGWRITER_DATA"])
STAND_IN = Path(__file__).resolve().parent / "stand_in_worker.py"

NO_REPLY = "org.freedesktop.DBus.Error.NoReply"
SANITIZER_REPORTS = ("AddressSanitizer", "LeakSanitizer", "runtime error:")


def result(body):
    """The result in the body of a reply."""
    return body.unpack()[0]["result"]


class HeldRequest:
    """A request that makes its file shorter, held in the middle: the player does not reply to
    Truncate until finish(). It is sent at once; `with` waits until it is held."""

    def __init__(self, caller, path, field="title"):
        self.released = threading.Event()
        self.is_held = threading.Event()
        self._endpoint = TruncationEndpoint(self._answer)
        request = change(field, None, str(path))
        request["truncateconnection"] = GLib.Variant("h", 1)
        with open(path, "rb+") as file:
            self.future = caller.write_later(request, [file, self._endpoint.theirs])

    def __enter__(self):
        if not self.is_held.wait(DEADLINE):
            raise AssertionError("the request does not reach its truncation")
        return self

    def __exit__(self, *_):
        self.released.set()
        self._endpoint.__exit__()

    def _answer(self, call):
        self.is_held.set()
        # The service times out after 10 seconds, and then the test fails.
        self.released.wait(DEADLINE)
        return shorten(call)

    def finish(self):
        """Releases it and returns its result."""
        self.released.set()
        return result(self.future.result(DEADLINE))


class BusTest(unittest.TestCase):
    """A test with a directory."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="tagwriter-bus-")
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)

    def start_bus(self, front=(FRONT,), environment=None):
        """A bus, closed at the end of the test; no sanitizer may have complained by then."""
        directory = Path(tempfile.mkdtemp(prefix="bus-", dir=self.directory))
        bus = SessionBus(directory, front, environment)
        self.addCleanup(self._check_log, bus)
        self.addCleanup(bus.close)
        return bus

    def _check_log(self, bus):
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, bus.log())

    def front_with(self, worker):
        """A copy of the front with another worker beside it, or with none."""
        directory = self.directory / "programs"
        directory.mkdir()
        if worker:
            shutil.copy(worker, directory / "tagwriterd")
            (directory / "tagwriterd").chmod(0o755)
        return Path(shutil.copy(FRONT, directory))

    def copy(self, name, new_name=None):
        """A scratch copy of a file of the test data."""
        return Path(shutil.copy(DATA / name, self.directory / (new_name or name)))

    def set_later(self, caller, path, value, field="title"):
        """Sends a change of a text field; returns the future of the reply's body."""
        with open(path, "rb+") as file:
            return caller.write_later(change(field, text(value), str(path)), [file])

    def title(self, path):
        """The title of an MP3 file."""
        return str(mutagen.File(path).tags["TIT2"])

    def set(self, caller, path, value, field="title"):
        """Changes a text field and returns the result."""
        return result(self.set_later(caller, path, value, field).result(DEADLINE))

    def assert_error(self, name, future):
        with self.assertRaises(RemoteError) as raised:
            future.result(DEADLINE)
        self.assertEqual(raised.exception.name, name)
