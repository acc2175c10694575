"""The service truncates files: through the player's truncation endpoint, or by itself.

A file is truncated once, at the end of the edit. When the endpoint fails, one line is logged; the
file keeps its length, the player still gets its reply, and the service goes on.
"""

import os
import re
import socket
import unittest

from player import DEADLINE, GLib, change, dictionary, number, raw_bytes, text
from support import PlayerTest, contents
from truncation import Refusal, TruncationEndpoint, hang_up, keep_silent, refuse, shorten

# Files that become shorter when a long title is cleared, of every tag family. TagLib truncates the
# last two twice.
SHRINKING = ["ape_tagged.ape", "flac_comment.flac", "mp3_id3v23.mp3", "opus_tagged.opus",
             "vorbis_tagged.ogg", "wav_plain.wav", "wma_tagged.wma", "flac_id3.flac",
             "wav_info.wav"]

ERROR_LINE = re.compile(r"FDFileStream::truncate\(\) -- xpc error: (.+)\.\n")


class TruncationTest(PlayerTest):

    def copy_with_long_title(self, name="vorbis_tagged.ogg", new_name=None):
        path = self.copy(name, new_name)
        self.assertTrue(self.write_field("title", text("long " * 2000), path))
        return path

    def clear_title(self, path, endpoint=None, fds=()):
        """Clears the title; `endpoint` is the value of "truncateconnection". Returns the future of
        the reply."""
        request = change("title", None, path)
        if endpoint is not None:
            request["truncateconnection"] = endpoint
        with open(path, "rb+") as file:
            return self.player.write_later(request, [file, *fds])

    def assert_true(self, future, path, **more):
        self.assertEqual(future.result(DEADLINE).unpack(),
                         ({"path": path, "result": True, **more},))

    def cleared_by_the_service(self, name):
        """The contents of a copy after the service cleared its title and truncated it."""
        path = self.copy_with_long_title(name, "twin-" + name)
        size = os.path.getsize(path)
        self.assert_true(self.clear_title(path), path)
        self.assertLess(os.path.getsize(path), size - 5000)
        return contents(path)


class Succeeds(TruncationTest):

    def check(self, name, answer=shorten):
        """Clears the title through an endpoint; the file is as if the service had truncated it."""
        path, expected = self.copy_with_long_title(name), self.cleared_by_the_service(name)
        with TruncationEndpoint(answer) as endpoint:
            self.assert_true(self.clear_title(path, GLib.Variant("h", 1), [endpoint.theirs]), path)
            self.assertEqual((len(endpoint.calls), endpoint.handshakes), (1, 1))
            endpoint.theirs.close()
            self.assertTrue(endpoint.closed.wait(DEADLINE), "the service keeps the connection")
        for call in endpoint.calls:
            self.assertEqual(call.types, {"fd": "h", "truncatesize": "t"})
            self.assertTrue(os.path.samestat(call.file, os.stat(path)))
        self.assertEqual((contents(path), self.service.log()), (expected, ""))

    def test_in_every_tag_family(self):
        for name in SHRINKING:
            with self.subTest(file=name):
                self.check(name)

    def test_whatever_the_reply_contains(self):
        everything = {"result": GLib.Variant("b", False), "error": text("it failed"),
                      "nested": dictionary({"a": number(-1)}), "bytes": raw_bytes(b"\xff")}
        self.check("vorbis_tagged.ogg", lambda call: shorten(call) and dictionary(everything))

    def test_and_leaves_no_descriptor(self):
        self.player.ping()
        before = sorted(self.service.descriptors())
        for _ in range(3):
            self.check("vorbis_tagged.ogg")
        self.player.ping()
        self.assertEqual(sorted(self.service.descriptors()), before)

    def test_by_the_service_itself_without_a_usable_endpoint(self):
        expected = self.cleared_by_the_service("vorbis_tagged.ogg")
        handle = GLib.Variant("h", 1)
        datagrams, read_end, write_end = socket.socketpair(type=socket.SOCK_DGRAM), *os.pipe()
        with TruncationEndpoint() as endpoint, open(self.copy("au.au"), "rb+") as other, \
                datagrams[0], datagrams[1], open(read_end), open(write_end, "wb"):
            for value, fd in [(handle, other), (handle, write_end), (handle, datagrams[0]), *(
                    (value, endpoint.theirs) for value in (
                        text("1"), number(1), GLib.Variant("u", 1), dictionary({"fd": handle}),
                        GLib.Variant("ah", [1]), GLib.Variant("v", handle)))]:
                with self.subTest(type=value.get_type_string()):
                    path = self.copy_with_long_title()
                    self.assert_true(self.clear_title(path, value, [fd]), path)
                    self.assertEqual((contents(path), self.service.log()), (expected, ""))
        self.assertEqual(endpoint.handshakes, 0)


class Fails(TruncationTest):

    def setUp(self):
        super().setUp()
        self.path = self.copy_with_long_title()

    def start(self, theirs):
        """Asks for the title to be cleared. Returns the future of the reply."""
        self.size = os.path.getsize(self.path)
        self.log_before = self.service.log()
        with theirs:
            return self.clear_title(self.path, GLib.Variant("h", 1), [theirs])

    def assert_failed(self, future):
        """The file keeps its length, the player is told, and one line is logged. Returns the error
        in it."""
        self.assert_true(future, self.path, incomplete=True)
        self.assertEqual(os.path.getsize(self.path), self.size)
        log = self.service.log().removeprefix(self.log_before)
        line = ERROR_LINE.fullmatch(log)
        self.assertTrue(line, log)
        self.assert_still_answers()
        self.assertEqual(self.service.descriptors_of(self.path), 0)
        return line[1]

    def check(self, answer, reply_type="a{sv}"):
        """Clears a title through an endpoint that fails. Returns the logged error."""
        with TruncationEndpoint(answer, reply_type) as endpoint:
            error = self.assert_failed(self.start(endpoint.theirs))
        self.assertEqual((endpoint.handshakes, len(endpoint.calls)), (1, 1))
        return error

    def test_with_an_error(self):
        self.assertEqual(self.check(refuse), "the player says no")

    def test_with_an_error_that_is_named_like_a_timeout(self):
        for name in ("Timeout", "NoReply"):
            def refuse_as(_call, name=name):
                raise Refusal("disk full", f"org.freedesktop.DBus.Error.{name}")
            self.path = self.copy_with_long_title()
            self.assertEqual(self.check(refuse_as), "disk full")

    def test_with_a_reply_that_is_no_dictionary(self):
        for reply in (text("done"), GLib.Variant("b", True), GLib.Variant("a{ss}", {"a": "b"}),
                      GLib.Variant("v", dictionary({}))):
            self.path = self.copy_with_long_title()
            self.check(lambda _call, reply=reply: reply, reply.get_type_string())

    def test_when_the_player_hangs_up_at_the_call(self):
        self.check(hang_up)

    def test_when_the_player_does_not_reply_to_the_call(self):
        self.check(keep_silent)

    def test_when_the_player_does_not_reply_to_the_handshake(self):
        ours, theirs = socket.socketpair()
        with ours:
            self.assert_failed(self.start(theirs))

    def test_when_the_player_hangs_up_or_sends_garbage(self):
        accepted = b"DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n"
        for steps in [  # (what to wait for, what to send then)
                [], [(b"\0", b"")], [(b"AUTH", b"DATA\r\nOK 0123")],
                [(b"AUTH", b"REJECTED KERBEROS_V4\r\n" * 3)],
                [(b"\0", b"\xff\xfe this is no D-Bus\r\n" * 100)],
                [(b"BEGIN\r\n", accepted), (b"Ping", b"")],
                [(b"BEGIN\r\n", accepted), (b"Ping", bytes(range(256)) * 64)]]:
            with self.subTest(steps=steps):
                self.path = self.copy_with_long_title()
                ours, theirs = socket.socketpair()
                ours.settimeout(DEADLINE)
                if not steps:
                    ours.close()  # before the service connects
                future = self.start(theirs)
                received = b""
                for awaited, sent in steps:
                    while awaited not in received:
                        received += ours.recv(4096) or self.fail(f"hung up after {received}")
                    self.assertNotIn(b"Truncate", received, "sent before the reply to Ping")
                    ours.sendall(sent)
                ours.close()
                self.assert_failed(future)


if __name__ == "__main__":
    unittest.main()
