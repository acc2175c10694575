"""Garbage on the sockets of service and reader and in the files that they are sent.

Whatever the bytes on the socket, each of them either continues or exits with 0 or 1, never by a
signal. Whatever the bytes in a file, the request is answered and no descriptor stays open. No
sanitizer complains. Random bytes come from a seed, which is part of the subtest's name.
"""

import os
import random
import socket
import unittest

from player import DEADLINE, TAGREADERD, GLib, change, text
from support import AUDIO_FILES, DATA, PlayerTest, ScratchTest, contents
from wire import (
    HANDSHAKE, ping_blob, read_blob, receive_until, shake_hands, split, write_blob)

SEEDS = range(30)


def garbage(seed, length=4000):
    return random.Random(seed).randbytes(length)


class Socket(ScratchTest):
    PATH = "/some/where/abcdef.flac"
    call_blob = staticmethod(write_blob)

    def start(self, data=b""):
        """A new service that is sent these bytes, all of them unless it hangs up."""
        self.service = self.start_service()
        self.socket = self.service.socket
        self.socket.settimeout(DEADLINE)
        self.send(data)

    def start_after_handshake(self, data=b""):
        self.start()
        shake_hands(self.socket)
        self.send(data)

    def send(self, data):
        try:
            self.socket.sendall(data)
        except (BrokenPipeError, ConnectionResetError):
            pass

    def assert_clean_end(self):
        """Hangs up; the service exits by itself, if it has not done so before."""
        self.socket.close()
        code = self.service.wait()
        self.assert_clean(self.service)
        log = self.service.log()
        self.service.close()
        self.assertIn(code, (0, 1), log)
        name = os.path.basename(self.program)
        self.assertRegex(log, rf"\A{name}: the connection failed: .+\n\Z" if code else r"\A\Z")

    def test_before_and_in_the_handshake(self):
        cuts = [HANDSHAKE.index(word) for word in (b"EXTERNAL", b"DATA", b"NEGOTIATE", b"BEGIN")]
        for data in [b"garbage\r\n" * 100, b"\0" * 1000, b"\xff" * 100_000, b"\0" + b"\r\n" * 1000,
                     b"\0" + b"A" * 100_000, b"\0AUTH EXTERNAL zz\r\n", b"\0BEGIN\r\n",
                     b"\0AUTH EXTERNAL " + b"30" * 20_000 + b"\r\n",
                     *(HANDSHAKE[:cut] + garbage(cut) for cut in cuts), *map(garbage, range(5)),
                     *(b"\0" + garbage(seed) for seed in range(5))]:
            with self.subTest(data=data[:40]):
                self.start(data)
                self.assert_clean_end()

    def test_after_the_handshake(self):
        with open(self.copy("au.au"), "rb") as file:
            self.start()
            socket.send_fds(self.socket, [b"\0"], [file.fileno()] * 200)
            self.assert_clean_end()
        for seed in range(10):
            with self.subTest(seed=seed):
                self.start(HANDSHAKE + garbage(seed))
                self.assert_clean_end()
                self.start_after_handshake(garbage(seed))
                self.assert_clean_end()

    def test_malformed_bodies_get_an_error(self):
        good = self.call_blob({"path": text(self.PATH)})
        header, body = split(good)
        length = len(self.PATH).to_bytes(4, "little") + b"/some"
        bad = [good.replace(b"abcdef", b"ab\xff\xfeef"), good.replace(b"path", b"p\xc0th"),
               good.replace(b"abcdef", b"abc\0ef"), good.replace(length, b"\xff\xff\xff\x00/some"),
               header + body.replace(b"\x01s\0", b"\x01!\0"), header + b"\xff" * len(body),
               *(header + garbage(seed, len(body)) for seed in range(50))]
        self.start_after_handshake()
        for index, message in enumerate([good, *bad]):
            with self.subTest(index=index):
                self.send(message + ping_blob(2))
                replies = receive_until(self.socket, 2)
                self.assertIn(2, replies)
                self.assertEqual(replies[1].get_error_name(),
                                 "org.freedesktop.DBus.Error.InvalidArgs" if index else None)
        self.assert_clean_end()

    def test_every_byte_of_a_message_changed(self):
        """The service may ignore, refuse or answer such a message, or hang up."""
        request = change("title", text("New"), self.PATH)
        del request["fd"]
        good = self.call_blob(request)
        served = 0
        for index in range(len(good)):
            bad = bytearray(good)
            bad[index] ^= 1 << index % 8
            with self.subTest(index=index):
                self.start_after_handshake(bytes(bad) + ping_blob(2))
                # A message that claims to be longer than it is would wait for the rest.
                self.socket.shutdown(socket.SHUT_WR)
                served += 2 in receive_until(self.socket, 2)
                self.assert_clean_end()
        self.assertGreater(served, len(good) // 2)


class ReaderSocket(Socket):
    program = TAGREADERD
    call_blob = staticmethod(read_blob)


class Files(PlayerTest):

    def request(self, path):
        """A title request is answered."""
        reply = self.write(change("title", text("New"), path), path)
        self.assertEqual(set(reply), {"path", "result"})

    def check(self, name, data, **parameters):
        """A request for a file with these contents is answered."""
        path = os.path.join(self.directory, name)
        with self.subTest(name=name, **parameters):
            with open(path, "wb") as file:
                file.write(data)
            self.request(path)
            self.player.ping()
            self.assertEqual(self.service.descriptors_of(path), 0)
            self.assert_clean(self.service)

    def test_random_bytes_alone_and_after_a_good_beginning(self):
        for name in {os.path.splitext(name)[1]: name for name in AUDIO_FILES}.values():
            beginning = contents(os.path.join(DATA, name))[:40]
            for seed in SEEDS:
                data = garbage(seed, random.Random(seed).randrange(4096))
                self.check(name, data, seed=seed)
                self.check(name, beginning + data, seed=seed, beginning=beginning)
        self.assert_still_answers()

    def test_files_truncated_and_with_a_few_bytes_changed(self):
        for name in AUDIO_FILES:
            data = contents(os.path.join(DATA, name))
            # Densely at the start, rarely after it, and the last bytes.
            lengths = {0, 1, 3, 4, 7, 8, 10, 11, 16, 27, 28, 35, 42, 44, 64, 100, 128, 200, 400}
            lengths |= {len(data) * part // 16 for part in range(1, 16)}
            for length in lengths | {len(data) - 128, len(data) - 32, len(data) - 1}:
                if 0 <= length < len(data):
                    self.check(name, data[:length], length=length)
            for seed in SEEDS:
                generator = random.Random(f"{name} {seed}")
                changed = bytearray(data)
                for _ in range(8):
                    # Mostly near the start, where most formats have their structure.
                    index = min(int(generator.expovariate(1 / 200)), len(changed) - 1)
                    changed[index] = generator.randrange(256)
                self.check(name, bytes(changed), seed=seed)
        self.assert_still_answers()


class ReaderFiles(Files):
    program = TAGREADERD

    def request(self, path):
        before = contents(path)
        with open(path, "rb") as file:
            reply = self.player.read({"path": text(path), "fd": GLib.Variant("h", 0)}, [file])
        self.assertEqual(set(reply) - {"info"},
                         {"readable", "audio", "tagged", "tags", "track", "pictures"})
        self.assertEqual(contents(path), before)

    def assert_still_answers(self):
        self.request(self.copy("mp3_plain.mp3", "next.mp3"))


if __name__ == "__main__":
    unittest.main()
