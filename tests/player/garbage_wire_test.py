"""Garbage on the socket of the real service.

Whatever the bytes, the service either goes on or ends by itself with exit code 0 or 1: never by a
signal, never with a complaint of a sanitizer. The next service works as if nothing had happened.
"""

import random
import socket
import unittest

from player import DEADLINE, change, text
from support import ScratchTest, contents
from wire import HANDSHAKE, ping_blob, receive_until, shake_hands, split, write_blob

INVALID_ARGS = "org.freedesktop.DBus.Error.InvalidArgs"


def garbage(seed, length=4000):
    """The same random bytes for the same seed."""
    return random.Random(seed).randbytes(length)


class GarbageTest(ScratchTest):

    def setUp(self):
        super().setUp()
        self.start_over()

    def start_over(self):
        """Another service."""
        self.service = self.start_service()
        self.socket = self.service.socket
        self.socket.settimeout(DEADLINE)

    def send(self, data):
        """Sends bytes, all of them unless the service hangs up."""
        try:
            self.socket.sendall(data)
        except (BrokenPipeError, ConnectionResetError):
            pass

    def assert_clean_end(self):
        """Hangs up; the service ends by itself, if it has not done so before."""
        self.socket.close()
        code = self.service.wait()
        self.assert_clean(self.service)
        log = self.service.log()
        self.service.close()
        self.assertIn(code, (0, 1), log)
        self.assertRegex(log, r"\Atagwriterd: the connection failed: .+\n\Z" if code else r"\A\Z")

    def assert_fresh_service_works(self):
        """Another service does a request."""
        path = self.copy("flac_plain.flac")
        before = contents(path)
        player = self.start_player()
        with open(path, "rb+") as file:
            reply = player.write(change("title", text("New"), path), [file])
        self.assertTrue(reply["result"].get_boolean())
        self.assertNotEqual(contents(path), before)
        self.assertEqual(player.hang_up(), 0)

    def check_pieces(self, pieces):
        """One service for each piece of bytes."""
        for index, piece in enumerate(pieces):
            with self.subTest(index=index, piece=piece[:40]):
                self.start_over()
                self.send(piece)
                self.assert_clean_end()
        self.assert_fresh_service_works()


class BeforeAndInTheHandshake(GarbageTest):

    def test_instead_of_the_handshake(self):
        self.check_pieces([b"garbage\r\n" * 100, b"GET / HTTP/1.1\r\n\r\n", b"\0" * 1000,
                           b"\xff" * 100_000, *map(garbage, range(10))])

    def test_after_the_first_byte(self):
        self.check_pieces([b"\0" + piece for piece in (
            b"\r\n" * 1000, b"A" * 100_000, b"AUTH\r\n" * 100, b"AUTH EXTERNAL zz\r\n",
            b"AUTH EXTERNAL " + b"30" * 20_000 + b"\r\n", b"BEGIN\r\n",
            *map(garbage, range(10, 20)))])

    def test_in_the_middle_of_the_handshake(self):
        cuts = [HANDSHAKE.index(word) for word in (b"EXTERNAL", b"DATA", b"NEGOTIATE", b"BEGIN")]
        self.check_pieces([HANDSHAKE[:cut] + garbage(cut) for cut in cuts])

    def test_behind_the_handshake_at_once(self):
        self.check_pieces([HANDSHAKE + garbage(seed) for seed in range(20, 30)])

    def test_nothing_but_descriptors(self):
        with open(self.copy("au.au"), "rb") as file:
            socket.send_fds(self.socket, [b"\0"], [file.fileno()] * 200)
            self.assert_clean_end()
        self.assert_fresh_service_works()


class AfterTheHandshake(GarbageTest):

    def setUp(self):
        super().setUp()
        self.path = "/some/where/abcdef.flac"
        self.good = write_blob({"path": text(self.path)})

    def start_over(self):
        """Another service, behind its handshake."""
        super().start_over()
        shake_hands(self.socket)

    def replies_to(self, *messages):
        """Sends messages and a ping; returns what comes back, by the number of the message."""
        last = len(messages) + 1
        self.send(b"".join(messages) + ping_blob(last))
        return receive_until(self.socket, last)

    def test_the_good_message(self):
        """What the others here are made from is a request that works."""
        replies = self.replies_to(self.good)
        self.assertEqual(replies[1].get_body().unpack(), ({"path": self.path, "result": False},))
        self.assertIn(2, replies)
        self.assert_clean_end()

    def assert_refused(self, bad):
        """The message is answered with InvalidArgs, and the service goes on."""
        self.assertNotEqual(bad, self.good)
        self.assertEqual(len(bad), len(self.good))
        replies = self.replies_to(bad)
        self.assertEqual(replies[1].get_error_name(), INVALID_ARGS)
        self.assertIn(2, replies)
        self.assert_clean_end()

    def test_string_that_is_not_utf8(self):
        self.assert_refused(self.good.replace(b"abcdef", b"ab\xff\xfeef"))

    def test_key_that_is_not_utf8(self):
        self.assert_refused(self.good.replace(b"path", b"p\xc0th"))

    def test_string_with_a_nul(self):
        self.assert_refused(self.good.replace(b"abcdef", b"abc\0ef"))

    def test_string_longer_than_the_message(self):
        length = len(self.path).to_bytes(4, "little")
        self.assert_refused(self.good.replace(length + b"/some", b"\xff\xff\xff\x00/some"))

    def test_type_that_does_not_exist(self):
        header, body = split(self.good)
        self.assert_refused(header + body.replace(b"\x01s\0", b"\x01!\0"))

    def test_body_of_ones(self):
        header, body = split(self.good)
        self.assert_refused(header + b"\xff" * len(body))

    def test_body_of_garbage(self):
        header, body = split(self.good)
        for seed in range(50):
            with self.subTest(seed=seed):
                replies = self.replies_to(header + garbage(seed, len(body)))
                self.assertEqual(replies[1].get_error_name(), INVALID_ARGS)
                self.assertIn(2, replies)
        self.assert_clean_end()

    def test_every_byte_of_a_message_changed(self):
        """The service may ignore, refuse or answer such a message, or hang up."""
        request = change("title", text("New"), self.path)
        del request["fd"]
        good = write_blob(request)
        served = 0
        for index in range(len(good)):
            bad = bytearray(good)
            bad[index] ^= 1 << index % 8
            with self.subTest(index=index):
                self.send(bytes(bad) + ping_blob(2))
                # A message that claims to be longer than it is would wait for the rest.
                self.socket.shutdown(socket.SHUT_WR)
                served += 2 in receive_until(self.socket, 2)
                self.assert_clean_end()
            self.start_over()
        self.assertGreater(served, len(good) // 2)
        self.assert_clean_end()

    def test_random_bytes(self):
        for seed in range(30, 40):
            with self.subTest(seed=seed):
                self.send(garbage(seed))
                self.assert_clean_end()
            self.start_over()
        self.assert_clean_end()
        self.assert_fresh_service_works()


if __name__ == "__main__":
    unittest.main()
