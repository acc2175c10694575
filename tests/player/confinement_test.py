"""Service and reader have given up what they do not need, and still do what players may ask."""

import os
import resource
import signal
import socket
import sys
import time
import unittest
import zlib

from player import DEADLINE, PEER_INTERFACE, TAGREADERD, GLib, change, text
from support import DATA, PlayerTest, ScratchTest, contents
from wire import HANDSHAKE, ping_blob, receive_until, shake_hands

TRUNCATING_RECVMSG = sys.argv.pop(1)
GIB = 1 << 30


def synchsafe(number):
    """A number as in an ID3v2 header."""
    return bytes(number >> shift & 0x7f for shift in (21, 14, 7, 0))


def with_inflating_frame(size, audio):
    """An MP3 file whose tag has a compressed frame that becomes `size` bytes."""
    compressor = zlib.compressobj()
    block = bytes(1 << 20)
    first, *_, later = (compressor.compress(block) + compressor.flush(zlib.Z_FULL_FLUSH)
                        for _ in range(2))
    data = synchsafe(100) + first + later * (size // len(block))  # it claims to become 100 bytes
    frame = b"TXXX" + synchsafe(len(data)) + b"\0\x09" + data
    return b"ID3\4\0\0" + synchsafe(len(frame)) + frame + audio


def wait_until_idle(service):
    """Until it is confined and waits for the first byte."""
    end = time.monotonic() + DEADLINE
    while not {"State:\tS (sleeping)\n", "Seccomp:\t2\n"} <= set(status_lines(service.pid)):
        if time.monotonic() > end:
            raise AssertionError("the service does not wait for its player")
        time.sleep(0.01)


def status_lines(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        return file.readlines()


def seccomp_of(pid):
    return [line for line in status_lines(pid) if line.startswith("Seccomp:")]


class ConfinementTest(PlayerTest):

    def test_is_in_effect(self):
        self.assertLess({"NoNewPrivs:\t1\n", "Seccomp:\t2\n"}, set(status_lines(self.service.pid)))
        self.assertEqual(resource.prlimit(self.service.pid, resource.RLIMIT_AS), (2 * GIB, 2 * GIB))
        # A core of up to 1 byte is neither written nor piped to a program.
        self.assertIn(resource.prlimit(self.service.pid, resource.RLIMIT_CORE), ((0, 0), (1, 1)))

    @unittest.skipUnless(os.path.exists("/etc/machine-id") and os.path.getsize("/etc/machine-id"),
                         "this machine has no ID")
    def test_tells_the_machine(self):
        reply = self.player.call(PEER_INTERFACE, "GetMachineId", None)
        self.assertEqual(reply.unpack()[0], contents("/etc/machine-id").decode().strip())

    def test_a_file_that_inflates_without_end_is_refused(self):
        path = os.path.join(self.directory, "inflates.mp3")
        before = with_inflating_frame(3 * GIB, contents(os.path.join(DATA, "mp3_plain.mp3")))
        with open(path, "wb") as file:
            file.write(before)
        self.assertFalse(self.write_field("composer", GLib.Variant("s", "C"), path))
        self.assertEqual(contents(path) == before, True)
        self.assertIn("std::bad_alloc", self.service.log())
        self.assert_still_answers()


class ReaderConfinementTest(ConfinementTest):
    program = TAGREADERD
    test_a_file_that_inflates_without_end_is_refused = None


class ProcessTest(ScratchTest):
    exit_code_after_truncating = 0

    def test_can_do_only_what_it_needs(self):
        service = self.start_service(f"export LD_PRELOAD='{TRUNCATING_RECVMSG}'")
        wait_until_idle(service)
        service.socket.sendall(HANDSHAKE)
        service.socket.shutdown(socket.SHUT_WR)
        self.assertEqual(service.wait(), self.exit_code_after_truncating, service.log())

    def assert_works(self, player):
        path = self.copy("mp3_plain.mp3")
        with open(path, "rb+") as file:
            reply = player.write(change("title", text("T"), path), [file])
        self.assertTrue(reply["result"].get_boolean())

    def test_can_be_stopped_and_continued(self):
        service = self.start_service()
        wait_until_idle(service)
        os.kill(service.pid, signal.SIGSTOP)
        os.waitid(os.P_PID, service.pid, os.WSTOPPED)
        os.kill(service.pid, signal.SIGCONT)
        shake_hands(service.socket)
        service.socket.sendall(ping_blob(1))
        self.assertIn(1, receive_until(service.socket, 1))

    def test_unless_told_otherwise(self):
        player = self.start_player(options=["--unconfined"])
        self.assert_works(player)
        name = os.path.basename(self.program)
        self.assertEqual(player.service.log(),
                         f"{name}: --unconfined: this process keeps all rights of its user\n")
        self.assertEqual(seccomp_of(player.service.pid), seccomp_of("self"))


class ReaderProcessTest(ProcessTest):
    program = TAGREADERD
    exit_code_after_truncating = -signal.SIGSYS

    def assert_works(self, player):
        path = self.copy("mp3_plain.mp3")
        with open(path, "rb") as file:
            reply = player.read({"path": text(path), "fd": GLib.Variant("h", 0)}, [file])
        self.assertTrue(reply["readable"].get_boolean())


if __name__ == "__main__":
    unittest.main()
