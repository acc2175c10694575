"""Players that fail the real service when it asks them to shorten a file.

Each failure is one line on standard error for each truncation. The file keeps its length, the
player still gets its reply, and the service goes on.
"""

import os
import re
import socket
import unittest

from player import DEADLINE, GLib, change, text
from support import PlayerTest
from truncation import Refusal, TruncationEndpoint, hang_up, keep_silent, refuse

ERROR_LINE = re.compile(r"FDFileStream::truncate\(\) -- xpc error: (.+)\.")

# Gets shorter when its title is cleared.
SHRINKING = "vorbis_tagged.ogg"
# Gets shorter in two steps when a long title is cleared.
SHRINKING_TWICE = "flac_id3.flac"


class FailureTest(PlayerTest):

    def setUp(self):
        super().setUp()
        self.path = self.copy(SHRINKING)

    def clear_title(self, theirs):
        """Asks for the title to be cleared. Returns the future of the reply."""
        request = change("title", None, self.path)
        request["truncateconnection"] = GLib.Variant("h", 1)
        self.size = os.path.getsize(self.path)
        self.log_before = self.service.log()
        with open(self.path, "rb+") as file:
            future = self.player.write_later(request, [file, theirs])
        theirs.close()
        return future

    def assert_failed(self, future, lines=1):
        """The reply comes, the file keeps its length, and the log has so many error lines and
        nothing else. Returns what they say."""
        reply = future.result(DEADLINE)
        self.assertEqual(reply.unpack(), ({"path": self.path, "result": True},))
        self.assertEqual(os.path.getsize(self.path), self.size)
        log = self.service.log().removeprefix(self.log_before)
        self.assertTrue(log.endswith("\n"), log)
        matches = [ERROR_LINE.fullmatch(line) for line in log.splitlines()]
        self.assertTrue(all(matches), log)
        self.assertEqual(len(matches), lines, log)
        self.assert_still_answers()
        self.player.ping()
        self.assertEqual(self.service.descriptors_of(self.path), 0)
        return [match.group(1) for match in matches]

    def check_endpoint(self, *arguments):
        """Clears the title through a GLib endpoint. Returns what the error line says."""
        with TruncationEndpoint(*arguments) as endpoint:
            description, = self.assert_failed(self.clear_title(endpoint.theirs))
        self.assertEqual(endpoint.handshakes, 1)
        self.assertEqual(len(endpoint.calls), 1)
        return description

    def check_two_calls(self, answer):
        """Clears a title for which the file has to be shortened twice. Returns the endpoint."""
        self.path = self.copy(SHRINKING_TWICE)
        self.assertTrue(self.write_field("title", text("long " * 2000), self.path))
        with TruncationEndpoint(answer) as endpoint:
            self.assert_failed(self.clear_title(endpoint.theirs), lines=2)
        self.assertEqual(endpoint.handshakes, 1)
        return endpoint


class Answers(FailureTest):

    def test_error(self):
        self.assertEqual(self.check_endpoint(refuse), "the player says no")

    def test_error_twice(self):
        endpoint = self.check_two_calls(refuse)
        self.assertEqual(len(endpoint.calls), 2)

    def test_error_called_a_timeout(self):
        for name in ("org.freedesktop.DBus.Error.Timeout", "org.freedesktop.DBus.Error.NoReply",
                     "System.Error.ETIMEDOUT"):
            def refuse_as(_call, name=name):
                raise Refusal("the player's disk says no", name)
            with self.subTest(name=name):
                self.assertEqual(len(self.check_two_calls(refuse_as).calls), 2)

    def test_no_dictionary(self):
        for answer in (text("done"), GLib.Variant("b", True), GLib.Variant("a{ss}", {"a": "b"}),
                       GLib.Variant("v", GLib.Variant("a{sv}", {}))):
            with self.subTest(type=answer.get_type_string()):
                self.path = self.copy(SHRINKING)
                self.check_endpoint(lambda _call, answer=answer: answer, answer.get_type_string())


class HangsUp(FailureTest):

    def setUp(self):
        super().setUp()
        self.ours, self.theirs = socket.socketpair()
        self.ours.settimeout(DEADLINE)
        self.addCleanup(self.ours.close)
        self.addCleanup(self.theirs.close)

    def test_before_the_handshake(self):
        self.ours.close()
        self.assert_failed(self.clear_title(self.theirs))

    def test_for_writing_only(self):
        self.ours.shutdown(socket.SHUT_WR)
        self.assert_failed(self.clear_title(self.theirs))

    def test_during_the_handshake(self):
        future = self.clear_title(self.theirs)
        self.assertNotEqual(self.ours.recv(8), b"")
        self.ours.close()
        self.assert_failed(future)

    def test_after_half_an_answer_to_the_handshake(self):
        future = self.clear_title(self.theirs)
        self.assertNotEqual(self.ours.recv(4096), b"")
        self.ours.sendall(b"DATA\r\nOK 0123")
        self.ours.close()
        self.assert_failed(future)

    def test_after_the_handshake(self):
        future = self.clear_title(self.theirs)
        self.accept_handshake()
        self.ours.close()
        self.assert_failed(future)

    def test_when_called(self):
        self.check_endpoint(hang_up)

    def test_when_called_the_first_of_two_times(self):
        endpoint = self.check_two_calls(hang_up)
        self.assertEqual(len(endpoint.calls), 1)

    def test_refuses_the_handshake(self):
        future = self.clear_title(self.theirs)
        self.assertNotEqual(self.ours.recv(4096), b"")
        self.ours.sendall(b"REJECTED KERBEROS_V4\r\n" * 3)
        self.assert_failed(future)

    def test_talks_garbage_in_the_handshake(self):
        future = self.clear_title(self.theirs)
        self.ours.sendall(b"\xff\xfe this is no D-Bus\r\n" * 100)
        self.assert_failed(future)

    def test_talks_garbage_after_the_handshake(self):
        future = self.clear_title(self.theirs)
        self.accept_handshake()
        self.ours.sendall(bytes(range(256)) * 64)
        self.assert_failed(future)

    def accept_handshake(self):
        """Says yes to whatever the service says, as a server with descriptors does."""
        received = b""
        while b"BEGIN\r\n" not in received:
            received += self.ours.recv(4096)
        self.ours.sendall(b"DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n")


class NeverAnswers(FailureTest):
    """The service gives up by itself; the player's deadline is far behind that."""

    def test_the_handshake(self):
        ours, theirs = socket.socketpair()
        with ours:
            self.assert_failed(self.clear_title(theirs))

    def test_the_call(self):
        endpoint = self.check_two_calls(keep_silent)
        self.assertEqual(len(endpoint.calls), 1)


if __name__ == "__main__":
    unittest.main()
