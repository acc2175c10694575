"""The client library on the session bus, and the limit of the wire."""

import os
import queue
import signal
import socket
import subprocess
import threading
import unittest

import mutagen

from bus_support import BusTest
from processes import DEADLINE, children_of
from session import BIN, BUS_NAME, WORKER
from player import INTERFACE, OBJECT

LIMIT = 64 << 20
# Each piece of a message that arrives makes a sanitizer copy all that came before it.
EDIT_DEADLINE = 4 * DEADLINE


class Editor:
    """bus_edit, which makes the edits that it is told."""

    def __init__(self, environment):
        self._process = subprocess.Popen(
            [BIN / "bus_edit"], env=environment, text=True, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self._answers = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()
        self.said = ""  # behind the status

    def _read(self):
        for line in self._process.stdout:
            self._answers.put(line)

    def edit(self, *words):
        """Makes an edit and returns what came of it."""
        self._process.stdin.write(" ".join(map(str, words)) + "\n")
        self._process.stdin.flush()
        status, self.said = self._answers.get(timeout=EDIT_DEADLINE).rstrip("\n").split(" ", 1)
        return status

    def close(self):
        """Ends it and returns what it has written to standard error."""
        self._process.stdin.close()
        self._process.wait(DEADLINE)
        errors = self._process.stderr.read()
        self._process.stdout.close()
        self._process.stderr.close()
        return errors


class ClientTest(BusTest):

    def start_editor(self, bus=None, **environment):
        editor = Editor(bus.environment(**environment) if bus else {**os.environ, **environment})
        self.addCleanup(lambda: self.assertEqual(editor.close(), ""))
        return editor


class EditTest(ClientTest):

    def test_writes_in_place_and_safely(self):
        bus = self.start_bus()
        editor, path = self.start_editor(bus), self.copy("flac_plain.flac")
        inode = path.stat().st_ino
        self.assertEqual(editor.edit("set", path, "title", "In place"), "written")
        self.assertEqual(mutagen.File(path)["title"], ["In place"])
        self.assertEqual(path.stat().st_ino, inode)
        self.assertEqual(editor.edit("set-safely", path, "title", "Safely"), "written")
        self.assertEqual(mutagen.File(path)["title"], ["Safely"])
        self.assertNotEqual(path.stat().st_ino, inode)
        self.assertEqual(editor.edit("set", self.copy("mp3_plain.mp3"), "cueSheet", "C"), "refused")
        self.assertEqual(len(bus.started()), 2)  # a front and its worker

    def test_makes_files_shorter(self):
        editor, path = self.start_editor(self.start_bus()), self.copy("ape_tagged.ape")
        self.assertEqual(editor.edit("set", path, "title", "long " * 1000), "written")
        longer = path.stat().st_size
        self.assertEqual(editor.edit("set", path, "title", "short"), "written")
        self.assertLess(path.stat().st_size, longer - 4000)

    def test_hears_of_a_worker_that_dies_and_goes_on(self):
        bus = self.start_bus((self.front_with(self.dying_worker()),))
        editor, path = self.start_editor(bus), self.copy("flac_plain.flac")
        before = path.read_bytes()
        self.assertEqual(editor.edit("set", path, "title", "One"), "no-answer")
        self.assertEqual(path.read_bytes(), before)
        self.assertEqual(editor.edit("set", path, "title", "Two"), "written")
        self.assertEqual(mutagen.File(path)["title"], ["Two"])

    def dying_worker(self):
        """A worker that cannot be started the first time."""
        script = self.directory / "worker"
        script.write_text(f'#!/bin/sh\nmkdir {self.directory}/tried 2>/dev/null && exit 1\n'
                          f'exec {WORKER} "$@"\n')
        return script

    def test_outlives_fronts(self):
        bus = self.start_bus()
        caller, editor = bus.caller(), self.start_editor(bus)
        path = self.copy("flac_plain.flac")
        for i in range(3):
            self.assertEqual(editor.edit("set", path, "title", i), "written")
            front = caller.front()
            front.send(signal.SIGTERM)
            front.wait()

    def test_outlives_the_bus(self):
        bus = self.start_bus()
        editor, path = self.start_editor(bus), self.copy("flac_plain.flac")
        self.assertEqual(editor.edit("set", path, "title", "One"), "written")
        bus.restart()
        self.assertEqual(editor.edit("set", path, "title", "Two"), "written", editor.said)
        self.assertEqual(mutagen.File(path)["title"], ["Two"])


class UnavailableTest(ClientTest):
    """Nothing was sent to anybody who could have written."""

    def assert_unavailable(self, bus=None, **environment):
        path = self.copy("flac_plain.flac")
        before = path.read_bytes()
        editor = self.start_editor(bus, **environment)
        for _ in range(2):
            self.assertEqual(editor.edit("set", path, "title", "T"), "unavailable", editor.said)
            self.assertIn(": ", editor.said)
        self.assertEqual(path.read_bytes(), before)

    def test_without_a_bus(self):
        self.assert_unavailable(DBUS_SESSION_BUS_ADDRESS=f"unix:path={self.directory}/nowhere")

    def test_without_an_activation_file(self):
        self.assert_unavailable(self.start_bus(front=None))

    def test_when_the_front_cannot_be_started(self):
        self.assert_unavailable(self.start_bus((self.directory / "missing",)))

    def test_when_the_front_fails_to_start(self):
        self.assert_unavailable(self.start_bus(("/bin/false",)))


class LimitTest(ClientTest):

    def setUp(self):
        super().setUp()
        self.bus = self.start_bus()
        self.caller = self.bus.caller()
        self.path = self.copy("mp3_plain.mp3")

    def test_the_largest_request_passes_and_the_next_is_refused_before_it_is_sent(self):
        editor = self.start_editor(self.bus)
        # What is too large is refused at once, so look downwards for the first that is not.
        size = LIMIT
        while (status := editor.edit("cover", self.path, size)) == "too-large":
            self.assertIsNone(self.caller.owner())
            size -= 64
            self.assertGreater(size, LIMIT - 4096, "the guard refuses more than it has to")
        self.assertEqual(status, "written", editor.said)
        picture = mutagen.File(self.path).tags.getall("APIC")[0].data
        self.assertEqual((len(picture), picture[-1:]), (size, b"L"))
        # It is the guard that refuses, and the connection lives.
        self.assertEqual(editor.edit("cover", self.path, LIMIT), "too-large")
        self.assertEqual(editor.edit("set", self.path, "title", "T"), "written")

    def test_a_caller_without_a_guard_loses_its_own_connection_only(self):
        self.assertTrue(self.set(self.caller, self.path, "Before"))
        front = self.caller.front()
        worker = list(children_of(front.pid))
        with RawCaller(self.bus.directory / "bus") as raw:
            raw.send_write_with_array_of(LIMIT + 8)
            self.assertTrue(raw.is_hung_up_on())
        self.assertTrue(self.set(self.caller, self.path, "After"))
        self.assertEqual(self.caller.front().pid, front.pid)
        self.assertEqual(list(children_of(front.pid)), worker)


class RawCaller:
    """Speaks to the bus by hand, because no library sends what is too large."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(DEADLINE)
        self._socket.connect(str(path))
        self._socket.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
        if not self._socket.recv(4096).startswith(b"OK"):
            raise AssertionError("the bus does not let us in")
        self._socket.sendall(b"BEGIN\r\n")
        self._socket.sendall(message(1, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                     "org.freedesktop.DBus", "Hello", "", b""))
        self._socket.recv(65536)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._socket.close()

    def send_write_with_array_of(self, size):
        """A request with one entry, whose dictionary is `size` bytes long."""
        # Length of the dictionary; key; signature; length of the data; data.
        head = string("artwork") + b"\2ay\0"
        head += b"\0" * (-len(head) % 4)
        data = size - len(head) - 4
        body = size.to_bytes(4, "little") + b"\0" * 4 + head + data.to_bytes(4, "little")
        body += bytes(data)
        try:
            self._socket.sendall(message(2, BUS_NAME, OBJECT, INTERFACE, "Write", "a{sv}", body))
        except (BrokenPipeError, ConnectionResetError):
            pass  # the bus did not wait for the end

    def is_hung_up_on(self):
        """Reads what there is to read; whether it ends."""
        try:
            while self._socket.recv(65536):
                pass
        except ConnectionResetError:
            pass
        except TimeoutError:
            return False
        return True


def string(value):
    """A string as it travels."""
    return len(value).to_bytes(4, "little") + value.encode() + b"\0"


def message(serial, destination, path, interface, member, signature, body):
    """The bytes of a call (D-Bus specification, message format)."""
    fields = b""
    for code, kind, value in [(1, b"o", path), (2, b"s", interface), (3, b"s", member),
                              (6, b"s", destination)]:
        fields += b"\0" * (-len(fields) % 8) + bytes([code, 1]) + kind + b"\0" + string(value)
    if signature:
        fields += b"\0" * (-len(fields) % 8) + b"\x08\1g\0"
        fields += bytes([len(signature)]) + signature.encode() + b"\0"
    header = b"l\1\0\1" + len(body).to_bytes(4, "little") + serial.to_bytes(4, "little")
    header += len(fields).to_bytes(4, "little") + fields
    return header + b"\0" * (-len(header) % 8) + body


if __name__ == "__main__":
    unittest.main()
