"""The real service shortens files: through a player that does it for it, or by itself.

Whatever the way, the file must come out as the same edit makes it without a truncation endpoint.
"""

import os
import socket
import unittest

from player import DEADLINE, GLib, change, dictionary, number, raw_bytes, text
from support import PlayerTest, contents, samples
from truncation import TruncationEndpoint, shorten

# Files that get shorter when their title is cleared, of every tag family.
SHRINKING = ["vorbis_tagged.ogg", "opus_tagged.opus", "ape_tagged.ape", "wavpack_tagged.wv",
             "mpc_tagged.mpc", "wma_tagged.wma"]
# Files that get shorter when a long title is cleared.
SHRINKING_FROM_LONG = ["mp3_id3v23.mp3", "flac_comment.flac", "aiff_plain.aiff", "wav_plain.wav"]
# The same, but the library shortens them in two steps.
SHRINKING_TWICE = ["flac_id3.flac", "wav_info.wav"]


class TruncationTest(PlayerTest):

    def copy_with_long_title(self, name):
        """A copy whose title is far longer than any padding."""
        path = self.copy(name)
        self.assertTrue(self.write_field("title", text("long " * 2000), path))
        return path

    def clear_title(self, path, endpoint=None, fds=()):
        """Clears the title, with this value as the truncation endpoint; returns the result."""
        request = change("title", None, path)
        if endpoint is not None:
            request["truncateconnection"] = endpoint
        with open(path, "rb+") as file:
            return self.result(self.player.write(request, [file, *fds]))

    def cleared_without_endpoint(self, path):
        """What the file becomes when the service shortens it by itself."""
        twin = os.path.join(self.directory, "twin-" + os.path.basename(path))
        with open(twin, "wb") as file:
            file.write(contents(path))
        self.assertTrue(self.clear_title(twin))
        self.assertLess(os.path.getsize(twin), os.path.getsize(path))
        return contents(twin)


class PlayerShortens(TruncationTest):

    def check(self, path, answer=shorten, calls=1):
        """Clears the title through an endpoint that answers like this. Returns the endpoint."""
        expected = self.cleared_without_endpoint(path)
        file, audio = os.stat(path), samples(path)
        with TruncationEndpoint(answer) as endpoint:
            self.assertTrue(self.clear_title(path, GLib.Variant("h", 1), [endpoint.theirs]))
            self.assertEqual(len(endpoint.calls), calls)
            endpoint.theirs.close()
            self.assertTrue(endpoint.closed.wait(DEADLINE), "the service keeps the connection")
        for call in endpoint.calls:
            self.assertEqual(call.types, {"fd": "h", "truncatesize": "t"})
            self.assertTrue(os.path.samestat(call.file, file))
            self.assertLess(call.size, call.file.st_size)
        self.assertEqual(contents(path), expected)
        self.assertEqual(samples(path), audio)
        self.assertEqual(self.service.log(), "")
        return endpoint

    def test_once(self):
        for name in SHRINKING:
            with self.subTest(file=name):
                path = self.copy(name)
                endpoint = self.check(path)
                self.assertEqual(endpoint.calls[0].size, os.path.getsize(path))

    def test_once_after_a_long_title(self):
        for name in SHRINKING_FROM_LONG:
            with self.subTest(file=name):
                self.check(self.copy_with_long_title(name))

    def test_twice_over_one_connection(self):
        for name in SHRINKING_TWICE:
            with self.subTest(file=name):
                endpoint = self.check(self.copy_with_long_title(name), calls=2)
                self.assertEqual(endpoint.handshakes, 1)

    def test_anything_in_the_answer_counts_as_done(self):
        everything = {"result": GLib.Variant("b", False), "error": text("it failed"),
                      "nested": dictionary({"a": number(-1)}), "bytes": raw_bytes(b"\xff")}

        def shorten_and_talk(call):
            shorten(call)
            return dictionary(everything)

        self.check(self.copy("vorbis_tagged.ogg"), shorten_and_talk)

    def test_is_not_asked_without_need(self):
        path = self.copy("vorbis_tagged.ogg")
        with TruncationEndpoint() as endpoint, open(path, "rb+") as file:
            request = change("title", text("a much longer title than before"), path)
            request["truncateconnection"] = GLib.Variant("h", 1)
            self.assertTrue(self.result(self.player.write(request, [file, endpoint.theirs])))
        self.assertEqual((endpoint.handshakes, endpoint.calls), (0, []))

    def test_leaves_no_descriptor(self):
        path = self.copy("vorbis_tagged.ogg")
        self.player.ping()
        before = sorted(self.service.descriptors())
        for _ in range(5):
            self.check(self.copy("vorbis_tagged.ogg"))
        self.player.ping()
        self.assertEqual(self.service.descriptors_of(path), 0)
        self.assertEqual(sorted(self.service.descriptors()), before)

    def test_one_endpoint_for_each_of_many_requests_at_once(self):
        paths = [self.copy("vorbis_tagged.ogg", f"{index}.ogg") for index in range(6)]
        expected = self.cleared_without_endpoint(self.copy("vorbis_tagged.ogg"))
        endpoints = [TruncationEndpoint() for _ in paths]
        futures = []
        for path, endpoint in zip(paths, endpoints):
            request = change("title", None, path)
            request["truncateconnection"] = GLib.Variant("h", 1)
            with open(path, "rb+") as file:
                futures.append(self.player.write_later(request, [file, endpoint.theirs]))
        for path, endpoint, future in zip(paths, endpoints, futures):
            with endpoint:
                self.assertEqual(future.result(DEADLINE).unpack(),
                                 ({"path": path, "result": True},))
                self.assertEqual(contents(path), expected)
                self.assertTrue(os.path.samestat(endpoint.calls[0].file, os.stat(path)))


class ServiceShortens(TruncationTest):
    """When no connection can be made from the value, the service shortens the file by itself."""

    def check(self, endpoint, fds=()):
        """Clears the title with this value as the endpoint."""
        path = self.copy("vorbis_tagged.ogg")
        expected = self.cleared_without_endpoint(path)
        self.assertTrue(self.clear_title(path, endpoint, fds))
        self.assertEqual(contents(path), expected)
        self.assertEqual(self.service.log(), "")

    def test_descriptor_of_a_file(self):
        with open(self.copy("au.au"), "rb+") as other:
            before = contents(other.name)
            self.check(GLib.Variant("h", 1), [other])
            self.assertEqual(contents(other.name), before)

    def test_descriptor_of_a_pipe(self):
        read_end, write_end = os.pipe()
        self.addCleanup(os.close, read_end)
        self.addCleanup(os.close, write_end)
        self.check(GLib.Variant("h", 1), [write_end])

    def test_descriptor_of_a_datagram_socket(self):
        ours, theirs = socket.socketpair(type=socket.SOCK_DGRAM)
        with ours, theirs:
            self.check(GLib.Variant("h", 1), [theirs])

    def test_wrong_type(self):
        with TruncationEndpoint() as endpoint:
            for value in (text("1"), number(1), GLib.Variant("u", 1), GLib.Variant("b", True),
                          raw_bytes(b"1"), dictionary({"fd": GLib.Variant("h", 1)}),
                          GLib.Variant("ah", [1]), GLib.Variant("v", GLib.Variant("h", 1))):
                with self.subTest(type=value.get_type_string()):
                    self.check(value, [endpoint.theirs])
        self.assertEqual((endpoint.handshakes, endpoint.calls), (0, []))


if __name__ == "__main__":
    unittest.main()
