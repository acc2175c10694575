"""The real service as a process: its command line, its exit codes and its end.

It ends with 0 when the player has hung up, 1 when the connection has failed and 2 when it cannot
use the command line.
"""

import socket
import subprocess
import unittest

from player import DEADLINE, TAGWRITERD, change, text
from support import SANITIZER_REPORTS, ScratchTest, contents
from wire import HANDSHAKE, ping_blob, shake_hands, write_blob

USAGE_ERROR = 2


class CommandLine(ScratchTest):

    def start(self, *arguments, fds=()):
        """Runs the service to its end. Returns the exit code and both outputs."""
        ended = subprocess.run([TAGWRITERD, *arguments], pass_fds=fds, stdin=subprocess.DEVNULL,
                               capture_output=True, text=True, timeout=DEADLINE, check=False)
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, ended.stderr)
        return ended.returncode, ended.stdout, ended.stderr

    def assert_usage_error(self, expected, *arguments, fds=()):
        """The service ends at once with the code for misuse and a text that says this."""
        code, output, errors = self.start(*arguments, fds=fds)
        self.assertEqual((code, output), (USAGE_ERROR, ""), errors)
        self.assertIn(expected, errors)

    def test_help(self):
        code, output, errors = self.start("--help")
        self.assertEqual((code, errors), (0, ""))
        self.assertIn("tagwriterd", output)
        self.assertIn("--fd", output)

    def test_without_descriptor(self):
        self.assert_usage_error("--fd is required")

    def test_what_is_no_number(self):
        for value in ("", "abc", "3x", "99999999999999999999"):
            with self.subTest(value=value):
                self.assert_usage_error("--fd", f"--fd={value}")

    def test_unknown_argument(self):
        ours, theirs = socket.socketpair()
        with ours, theirs:
            fd = theirs.fileno()
            self.assert_usage_error("--nonsense", f"--fd={fd}", "--nonsense", fds=[fd])
            self.assert_usage_error("song.mp3", f"--fd={fd}", "song.mp3", fds=[fd])

    def test_descriptor_that_is_closed(self):
        for value in ("-1", "999", "2147483647"):
            with self.subTest(value=value):
                self.assert_usage_error(f"--fd={value}: not an open local stream socket",
                                        f"--fd={value}")

    def test_descriptor_that_is_no_socket(self):
        with open(self.copy("au.au"), "rb+") as file:
            fd = file.fileno()
            self.assert_usage_error(f"--fd={fd}: not an open local stream socket",
                                    f"--fd={fd}", fds=[fd])

    def test_socket_of_another_kind(self):
        for family, kind in ((socket.AF_UNIX, socket.SOCK_DGRAM),
                             (socket.AF_INET, socket.SOCK_STREAM)):
            with self.subTest(family=family, kind=kind), socket.socket(family, kind) as other:
                fd = other.fileno()
                self.assert_usage_error(f"--fd={fd}: not an open local stream socket",
                                        f"--fd={fd}", fds=[fd])


class HangUp(ScratchTest):
    """Whenever the player hangs up, the service ends in silence."""

    def setUp(self):
        super().setUp()
        self.service = self.start_service()
        self.socket = self.service.socket

    def assert_silent_end(self):
        """Hangs up: exit code 0, and nothing on standard error."""
        self.socket.close()
        self.assertEqual((self.service.wait(), self.service.log()), (0, ""))

    def test_before_the_first_byte(self):
        self.assert_silent_end()

    def test_during_the_handshake(self):
        self.socket.sendall(HANDSHAKE[:10])
        self.assert_silent_end()

    def test_after_the_handshake(self):
        shake_hands(self.socket)
        self.assert_silent_end()

    def test_without_reading_the_handshake(self):
        self.socket.sendall(HANDSHAKE)
        self.assert_silent_end()

    def test_in_the_middle_of_a_message(self):
        shake_hands(self.socket)
        message = ping_blob(1)
        self.socket.sendall(message[:len(message) // 2])
        self.assert_silent_end()

    def test_without_reading_the_reply(self):
        shake_hands(self.socket)
        self.socket.sendall(b"".join(map(ping_blob, range(1, 100))))
        self.assert_silent_end()

    def test_work_that_was_asked_for_is_done(self):
        path = self.copy("flac_plain.flac")
        before = contents(path)
        shake_hands(self.socket)
        with open(path, "rb+") as file:
            request = write_blob(change("title", text("New"), path), fds=[file])
            socket.send_fds(self.socket, [request], [file.fileno()])
        self.assert_silent_end()
        self.assertNotEqual(contents(path), before)


if __name__ == "__main__":
    unittest.main()
