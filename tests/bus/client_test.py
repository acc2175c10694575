"""The client library on the session bus, through bus_edit."""

import os
import queue
import shutil
import signal
import subprocess
import threading
import unittest

import mutagen

from bus_support import STAND_IN, BusTest
from processes import DEADLINE
from session import BIN, WORKER

LIMIT = 64 << 20
# A sanitizer copies all that has arrived of a message with each piece of it.
EDIT_DEADLINE = 4 * DEADLINE


class ClientTest(BusTest):

    def setUp(self):
        super().setUp()
        self.path = self.copy("flac_plain.flac")

    def start_editor(self, bus=None, **environment):
        """bus_edit, on this bus if any."""
        environment = bus.environment() if bus else {**os.environ, **environment}
        self.editor = subprocess.Popen([BIN / "bus_edit"], env=environment, text=True,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(self.editor.wait, DEADLINE)
        self.addCleanup(self.editor.stdout.close)
        self.addCleanup(self.editor.stdin.close)
        self.results = queue.Queue()
        threading.Thread(target=lambda: list(map(self.results.put, self.editor.stdout)),
                         daemon=True).start()

    def edit(self, *words):
        """Makes an edit and returns its status."""
        print(*words, file=self.editor.stdin, flush=True)
        status, self.message = self.results.get(timeout=EDIT_DEADLINE).rstrip("\n").split(" ", 1)
        return status

    def set_title(self, title, command="set"):
        return self.edit(command, self.path, "title", title)

    def title(self):
        return mutagen.File(self.path)["title"]

    def test_writes_in_place_safely_and_shorter_and_outlives_fronts_and_the_bus(self):
        bus = self.start_bus()
        self.start_editor(bus)
        inode = self.path.stat().st_ino
        for title, command, replaced in (("In place", "set", False),
                                         ("Safely", "set-safely", True)):
            self.assertEqual(self.set_title(title, command), "written", self.message)
            self.assertEqual((self.title(), self.path.stat().st_ino != inode), ([title], replaced))
        ape = self.copy("ape_tagged.ape")
        for title in ("long " * 1000, "short"):
            size = ape.stat().st_size
            self.assertEqual(self.edit("set", ape, "title", title), "written")
        self.assertLess(ape.stat().st_size, size - 4000)
        self.assertEqual(self.edit("set", self.copy("speex.oga"), "composer", "C"), "not-this-type")
        self.assertEqual(len(bus.started()), 2)  # a front and its worker
        front = bus.caller().front()
        front.send(signal.SIGTERM)
        front.wait()
        self.assertEqual(self.set_title("With a new front"), "written", self.message)
        bus.restart()
        self.assertEqual(self.set_title("On a new bus"), "written", self.message)
        self.assertEqual(self.title(), ["On a new bus"])

    def test_reports_a_worker_that_dies_and_goes_on(self):
        front = self.front_with("/bin/false")
        self.start_editor(self.start_bus((front,)))
        before = self.path.read_bytes()
        self.assertEqual(self.set_title("One"), "no-answer")
        shutil.copy(WORKER, front.with_name("tagwriterd.new"))
        front.with_name("tagwriterd.new").rename(front.with_name("tagwriterd"))
        self.assertEqual(self.path.read_bytes(), before)
        self.assertEqual(self.set_title("Two"), "written")
        self.assertEqual(self.title(), ["Two"])

    def test_does_not_wait_longer_than_the_deadline(self):
        front, slow = self.front_with(STAND_IN), {"STAND_IN": "toils", "SECONDS": "5"}
        self.start_editor(self.start_bus((front,), slow))
        self.assertEqual(self.set_title("T", "set-soon"), "timed-out")
        self.assertIn("at work", self.message)

    def test_reports_when_no_service_can_be_started(self):
        before = self.path.read_bytes()
        for start in (
                lambda: self.start_editor(DBUS_SESSION_BUS_ADDRESS="unix:path=/nowhere"),
                lambda: self.start_editor(self.start_bus(front=None)),
                lambda: self.start_editor(self.start_bus((self.directory / "missing",))),
                lambda: self.start_editor(self.start_bus(("/bin/false",)))):
            start()
            for _ in range(2):
                self.assertEqual(self.set_title("T"), "unavailable", self.message)
                self.assertIn(": ", self.message)
        self.assertEqual(self.path.read_bytes(), before)

    def test_sends_the_largest_request_and_refuses_a_larger_one(self):
        bus = self.start_bus()
        self.start_editor(bus)
        path, size = self.copy("mp3_plain.mp3"), LIMIT - 4096
        self.assertEqual(self.edit("cover", path, LIMIT), "too-large")
        self.assertEqual(bus.started(), [])
        self.assertEqual(self.edit("cover", path, size), "written", self.message)
        picture = mutagen.File(path).tags.getall("APIC")[0].data
        self.assertEqual((len(picture), picture[-1:]), (size, b"L"))


if __name__ == "__main__":
    unittest.main()
