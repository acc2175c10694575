"""The front on the session bus: activation, calls, exit codes, and workers that fail."""

import ctypes
import os
import shutil
import signal
import subprocess
import unittest
from pathlib import Path

from processes import DEADLINE, Process, children_of, wait_for
from session import BUS_NAME, DAEMON, FRONT, Gio, GLib
from bus_support import (
    NO_REPLY, STAND_IN, BusTest, HeldRequest, RemoteError, change, result, text)
from player import raw_bytes, write_call

LANDLOCK_CREATE_RULESET = 444  # the number of the system call
VICTIM = "org.tagwriter.Victim"


class ActivationTest(BusTest):

    def test_starts_with_the_first_call_stays_and_returns_after_it_was_idle(self):
        bus = self.start_bus((FRONT, "--idle", "1"))
        caller, path = bus.caller(), self.copy("mp3_plain.mp3")
        owners = caller.watch_owners()
        self.assertEqual(bus.started(), [])
        caller.ping_front()
        front = caller.front()
        self.assertEqual(children_of(front.pid), {}, "the worker waits for a request")
        self.assertTrue(self.set(caller, path, "One"))
        worker = children_of(front.pid)
        self.assertEqual(list(worker.values()), ["tagwriterd"])
        self.assertTrue(self.set(bus.caller(), path, "Two"))
        self.assertEqual((children_of(front.pid), len(owners)), (worker, 1))
        front.wait()
        wait_for(lambda: not os.path.exists(f"/proc/{list(worker)[0]}"), "the worker exits")
        self.assertTrue(self.set(caller, path, "Three"))
        self.assertEqual((self.title(path), owners[1], len(set(owners))), ("Three", "", 3))


class CallTest(BusTest):

    def setUp(self):
        super().setUp()
        self.caller = self.start_bus().caller()

    def test_results_and_paths_are_returned(self):
        noise = self.directory / "noise.flac"
        noise.write_bytes(b"no audio at all")
        for file, expected in [(self.copy("mp3_plain.mp3"), True), (noise, False)]:
            for path in (text(str(file)), raw_bytes(b"caf\xe9" + file.suffix.encode())):
                with open(file, "rb+") as opened:
                    request = change("composer", text("C")) | {"path": path}
                    reply = self.caller.write(request, [opened])
                self.assertEqual(reply["result"].get_boolean(), expected)
                self.assertTrue(reply["path"].equal(path))

    def test_malformed_calls_get_an_error(self):
        for error, method, body in [
                ("InvalidArgs", "Write", GLib.Variant("()", [])),
                ("InvalidArgs", "Write", GLib.Variant("(a{ss})", [{"path": "x"}])),
                ("InvalidArgs", "Write", GLib.Variant("(a{sv}a{sv})", [{}, {}])),
                # From the worker: the descriptor was not sent.
                ("InvalidArgs", "Write", GLib.Variant("(a{sv})", [{"fd": GLib.Variant("h", 0)}])),
                ("UnknownMethod", "Read", GLib.Variant("(a{sv})", [{}]))]:
            message = write_call({})
            message.set_destination(BUS_NAME)
            message.set_member(method)
            message.set_body(body)
            self.assert_error(f"org.freedesktop.DBus.Error.{error}", self.caller.submit(message))

    def test_a_call_that_expects_no_reply_is_ignored(self):
        message = write_call({})
        message.set_destination(BUS_NAME)
        message.set_flags(Gio.DBusMessageFlags.NO_REPLY_EXPECTED)
        self.caller.connection.send_message(message, Gio.DBusSendMessageFlags.NONE)
        self.caller.ping_front()
        self.assertEqual(children_of(self.caller.front().pid), {})


class ExitTest(BusTest):
    """Exit codes of a front that was started by hand."""

    def start(self, *arguments, address="nonsense", program=FRONT, **options):
        process = subprocess.Popen(
            [program, *arguments], env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": address},
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            **options)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def assert_exit(self, code, process, expected=""):
        """This exit code, and this on standard error, or nothing if the code is 0."""
        _, errors = process.communicate(timeout=DEADLINE)
        self.assertEqual(process.returncode, code, errors)
        self.assertIn(expected, errors)
        self.assertEqual(errors != "", code != 0, errors)

    def started(self, bus, *arguments):
        """A front that owns its name and has a worker."""
        process = self.start(*arguments, address=bus.address)
        wait_for(bus.caller().owner, "the front owns its name")
        self.assertTrue(self.set(bus.caller(), self.copy("mp3_plain.mp3"), "T"))
        return process

    def test_0_on_signals_and_when_idle(self):
        bus = self.start_bus(front=None)
        for number in (signal.SIGTERM, signal.SIGINT):
            process = self.started(bus, "--idle=999")
            process.send_signal(number)
            self.assert_exit(0, process)
        self.assert_exit(0, self.started(bus, "--idle=1"))

    def test_1_without_a_bus_or_the_name(self):
        for address in (f"unix:path={self.directory}/nowhere", "nonsense"):
            self.assert_exit(1, self.start(address=address), "tagwriter-bus: ")
        bus = self.start_bus(front=None)
        owner = self.started(bus)
        self.assert_exit(1, self.start(address=bus.address), "tagwriter-bus: File exists")
        bus.close()
        self.assert_exit(1, owner, "tagwriter-bus: ")

    def test_1_without_a_worker_whatever_the_current_directory_holds(self):
        for directory in ("/usr/libexec/tagwriter", "/usr/local/libexec/tagwriter"):
            if os.path.exists(directory):
                self.skipTest(f"the front finds a worker in {directory}")
        front = self.front_with(None)
        current = self.directory / "a" / "b" / "c"
        # Any of these could be taken for the worker of a library in the current directory.
        for parent in (current, *current.parents[:2]):
            for place in (parent, parent / "libexec/tagwriter"):
                place.mkdir(parents=True, exist_ok=True)
                (place / "tagwriterd").symlink_to("/bin/true")
        (current / "lib/arch").mkdir(parents=True)
        (current / "lib/arch/front").touch()
        for name in ("front", "./front", "lib/arch/front"):  # argv[0]
            self.assert_exit(1, self.start(program=name, executable=front, cwd=current),
                             "tagwriterd is neither")

    def test_2_on_misuse_and_0_after_the_help(self):
        for expected, *arguments in (
                ["not '0'", "--idle", "0"], ["not '-1'", "--idle=-1"], ["not '1s'", "--idle", "1s"],
                ["--idle' requires an argument", "--idle"], ["--what", "--what"],
                ["unexpected argument 'now'", "now"]):
            self.assert_exit(2, self.start(*arguments), expected)
        process = self.start("--help")
        self.assertIn("--idle", process.communicate(timeout=DEADLINE)[0])
        self.assertEqual(process.returncode, 0)


class WorkerTest(BusTest):
    """Workers that die or misbehave: one caller gets an error, the others are served."""

    def test_killed_during_a_request_and_between_two(self):
        caller, other = (bus := self.start_bus()).caller(), bus.caller()
        path = self.copy("mp3_plain.mp3")
        with HeldRequest(caller, self.copy("ape_tagged.ape")) as held:
            front = caller.front()
            worker, = children_of(front.pid)
            waiting = [self.set_later(other, path, str(i)) for i in range(6)]
            other.ping_front()
            os.kill(worker, signal.SIGKILL)
            self.assert_error(NO_REPLY, held.future)
            self.assertTrue(all(result(future.result(DEADLINE)) for future in waiting))
        self.assertEqual(self.title(path), "5")
        for i in range(3):
            worker, = map(Process, children_of(front.pid))
            front.send(signal.SIGSTOP)  # it learns of the death and of the request at once
            worker.send(signal.SIGKILL)
            worker.wait()
            future = self.set_later(caller, path, f"After {i}")
            caller.ask_daemon("GetId")
            front.send(signal.SIGCONT)
            self.assertTrue(result(future.result(DEADLINE)))
        self.assertEqual((self.title(path), caller.front().pid), ("After 2", front.pid))

    def test_that_takes_no_further_request_is_replaced_and_none_is_lost(self):
        front = self.front_with(Path(FRONT).parent / "client_stand_in_worker")
        caller = self.start_bus((front,), {"DAMAGE": "leave"}).caller()
        futures = [caller.write_later({}) for _ in range(200)]
        self.assertTrue(all(result(future.result(DEADLINE)) for future in futures))

    def start(self, how, **environment):
        environment |= {"STAND_IN": how, "VICTIM": VICTIM}
        self.bus = self.start_bus((self.front_with(STAND_IN),), environment)
        self.caller = self.bus.caller()

    def test_that_does_not_speak_or_exit_or_cannot_be_started(self):
        self.start("babbles")
        for _ in range(2):
            self.assert_error(NO_REPLY, self.caller.write_later({}))
            self.assertEqual(children_of(self.caller.front().pid), {})
            (self.directory / "programs" / "tagwriterd").write_text("no program")

    def test_that_calls_the_bus(self):
        self.start("calls")
        started = self.directory / "started"
        (self.bus.directory / f"services/{VICTIM}.service").write_text(
            f"[D-BUS Service]\nName={VICTIM}\nExec=/bin/sh -c 'touch {started}; exit 1'\n")
        self.caller.call(*DAEMON, "ReloadConfig")
        self.assert_error(NO_REPLY, self.caller.write_later({}))
        self.caller.ping_front()  # the bus has whatever the front has sent
        self.assertNotIn(VICTIM, self.bus.log())
        self.assertFalse(started.exists())
        with self.assertRaises(RemoteError):  # the bus would have started it
            self.caller.ask_daemon("StartServiceByName", GLib.Variant("(su)", (VICTIM, 0)))
        self.assertTrue(started.exists())

    def test_inherits_the_confinement_of_the_front(self):
        version = ctypes.CDLL(None).syscall(LANDLOCK_CREATE_RULESET, None, 0, 1)
        if version < 6:  # the first with all that is tested here
            self.skipTest(f"this kernel has version {version} of Landlock")
        private = Path(shutil.copy("/bin/true", self.directory / "private"))
        self.start("strays", PRIVATE=str(private), PROCESS=str(os.getpid()))
        reply = self.caller.write_later({}).result(DEADLINE).unpack()[0]
        self.assertEqual([what for what, permitted in reply.items() if permitted],
                         ["read_system_files"])
        status = Path(f"/proc/{self.caller.front().pid}/status").read_text()
        self.assertIn("NoNewPrivs:\t1", status)


if __name__ == "__main__":
    unittest.main()
