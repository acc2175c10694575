"""The service as a process: its command line, its environment, its exit codes and its end."""

import os
import signal
import socket
import subprocess
import unittest

from player import DEADLINE, TAGREADERD, GLib, change, raw_bytes, text
from support import SANITIZER_REPORTS, ScratchTest, contents
from wire import HANDSHAKE, ping_blob, read_blob, receive_until, shake_hands, write_blob


class CommandLine(ScratchTest):

    def assert_ends(self, code, expected, *arguments, fds=()):
        """The service exits with this code and prints this, as an error unless the code is 0."""
        ended = subprocess.run([self.program, *arguments], pass_fds=fds, stdin=subprocess.DEVNULL,
                               capture_output=True, text=True, timeout=DEADLINE, check=False)
        self.assertEqual(ended.returncode, code, ended.stderr)
        outputs = [ended.stdout, ended.stderr]
        self.assertIn(expected, outputs.pop(code != 0))
        self.assertEqual(outputs, [""])
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, ended.stderr)

    def test_help(self):
        for option in ("--help", "-h"):
            self.assert_ends(0, "--fd=N", option)

    def test_misuse(self):
        ours, theirs = socket.socketpair()
        with ours, theirs:
            good = f"--fd={theirs.fileno()}"
            for expected, *arguments in (
                    ["--fd is required"], ["--fd' requires an argument", "--fd"],
                    ["--fd needs a descriptor number, not ''", "--fd="],
                    ["not '3x'", "--fd", "3x"], ["not 'abc'", "--fd=abc"],
                    ["not '9999999999'", "--fd=9999999999"],
                    ["--nonsense", good, "--nonsense"], ["song.mp3", good, "song.mp3"]):
                with self.subTest(arguments=arguments):
                    self.assert_ends(2, expected, *arguments, fds=[theirs.fileno()])

    def test_descriptor_that_is_no_local_stream_socket(self):
        with open(self.copy("au.au"), "rb+") as file, \
                socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as datagram, \
                socket.socket(socket.AF_INET, socket.SOCK_STREAM) as inet:
            open_fds = [file.fileno(), datagram.fileno(), inet.fileno()]
            for fd in [*open_fds, -1, 999, 2147483647]:
                with self.subTest(fd=fd):
                    self.assert_ends(2, f"--fd={fd}: not an open local stream socket", f"--fd={fd}",
                                     fds=open_fds)


class ReaderCommandLine(CommandLine):
    program = TAGREADERD


class Environment(ScratchTest):

    def test_without_standard_streams_nothing_is_printed_into_the_music(self):
        player = self.start_player("exec <&- >&- 2>&-")
        path = self.directory + "/noise.flac"
        with open(path, "wb") as file:
            file.write(b"noise " * 1000)
        before = contents(path)
        with open(path, "rb+") as file:
            # Three descriptors arrive, so one of them could become standard error.
            for position in range(3):
                request = change("title", text("Title"), path)
                request["fd"] = GLib.Variant("h", position)
                self.assertFalse(player.write(request, [file, file, file])["result"].unpack())
        self.assertEqual(contents(path), before)
        self.assertEqual(player.hang_up(), 0)

    def test_without_room_the_file_stays_as_it_was(self):
        player = self.start_player("ulimit -f 64")
        path = self.copy("mp3_plain.mp3")

        def embed(size):
            request = {"path": text(path), "fd": GLib.Variant("h", 0),
                       "artwork": raw_bytes(b"i" * size), "replaceartwork": GLib.Variant("b", True)}
            with open(path, "rb+") as file:
                return {key: value.unpack() for key, value in player.write(request, [file]).items()}

        self.assertEqual(embed(1000), {"path": path, "result": True})
        before = contents(path)
        self.assertEqual(embed(300_000), {"path": path, "result": False})
        self.assertEqual(contents(path) == before, True)


class HangUp(ScratchTest):
    """Whenever the player hangs up, the service exits with 0 and prints nothing."""

    def after(self, data, handshake=True, fds=()):
        service = self.start_service()
        if handshake:
            shake_hands(service.socket)
        socket.send_fds(service.socket, [data], fds)
        service.socket.close()
        self.assertEqual((service.wait(), service.log()), (0, ""))

    def test_at_any_time(self):
        pings = b"".join(map(ping_blob, range(1, 100)))
        for data in (b"", HANDSHAKE[:10], HANDSHAKE):
            with self.subTest(handshake=data):
                self.after(data, handshake=False)
        for data in (b"", pings[:20], pings):  # an incomplete message; replies that nobody reads
            with self.subTest(messages=data[:20]):
                self.after(data)

    def test_finishes_the_current_request(self):
        path = self.copy("flac_plain.flac")
        before = contents(path)
        with open(path, "rb+") as file:
            request = write_blob(change("title", text("New"), path), fds=[file])
            self.after(request, fds=[file.fileno()])
        self.assertNotEqual(contents(path), before)


class ReaderHangUp(HangUp):
    program = TAGREADERD
    test_finishes_the_current_request = None


class FewDescriptors(ScratchTest):
    """Each of these requests leaves a descriptor open, until fewer than 64 are left."""

    def start(self, limit=80):
        self.service = self.start_service(f"ulimit -n {limit}")
        shake_hands(self.service.socket)
        self.file = open(self.copy("mp3_plain.mp3"), "rb+")
        self.addCleanup(self.file.close)

    def send(self, serial):
        request = write_blob({"fd": GLib.Variant("h", 0)}, serial, [self.file])
        socket.send_fds(self.service.socket, [request], [self.file.fileno()])

    def test_the_last_reply_is_sent_and_the_next_request_is_not_taken(self):
        self.start()
        for serial in range(1, 80):
            try:
                self.send(serial)
            except BrokenPipeError:
                break
            reply, = receive_until(self.service.socket, serial).values()
            self.assertEqual(reply.get_body().unpack(), ({"result": False},))
        self.assertGreater(serial, 2)
        self.assertLess(serial, 80 - 64)
        self.assertEqual((self.service.wait(), self.service.log()), (0, ""))

    def test_a_long_last_reply_is_sent_as_a_whole(self):
        self.start(limit=66)
        path = "x" * (20 << 20)
        self.service.socket.sendall(write_blob({"path": text(path)}))
        reply = receive_until(self.service.socket, 1)[1]
        self.assertEqual(len(reply.get_body().unpack()[0]["path"]), len(path))
        self.assertEqual((self.service.wait(), self.service.log()), (0, ""))

    def test_what_was_sent_before_is_answered(self):
        self.start()
        os.kill(self.service.pid, signal.SIGSTOP)
        for serial in range(1, 31):
            self.send(serial)
        os.kill(self.service.pid, signal.SIGCONT)
        replies = receive_until(self.service.socket, 31)
        self.assertEqual({serial: reply.get_body().unpack() for serial, reply in replies.items()},
                         {serial: ({"result": False},) for serial in range(1, 31)})
        self.assertEqual((self.service.wait(), self.service.log()), (0, ""))


class ReaderFewDescriptors(ScratchTest):
    program = TAGREADERD

    def test_the_last_reply_is_sent(self):
        service = self.start_service("ulimit -n 66")
        shake_hands(service.socket)
        service.socket.sendall(read_blob({}))
        self.assertIn(1, receive_until(service.socket, 1))
        self.assertEqual((service.wait(), service.log()), (0, ""))


if __name__ == "__main__":
    unittest.main()
