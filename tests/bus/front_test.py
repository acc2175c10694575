"""The front as a player on the session bus finds it: there when it is needed, gone when it is not."""

import os
import signal
import subprocess
import unittest

import mutagen

from processes import DEADLINE, children_of, wait_for
from session import BUS_NAME, FRONT, Gio, GLib
from bus_support import BusTest, TruncationEndpoint, change, text
from player import INTERFACE, OBJECT, dictionary, number, raw_bytes, write_call

# Where a worker is that does not stand beside the front.
INSTALLED = ["/usr/libexec/tagwriter", "/usr/local/libexec/tagwriter"]

ERROR = "org.freedesktop.DBus.Error."


class ActivationTest(BusTest):

    def test_starts_at_the_first_call_and_stays(self):
        bus = self.start_bus()
        caller = bus.caller()
        owners = caller.watch_owners()
        self.assertIsNone(caller.owner())
        self.assertEqual(bus.started(), [])
        path = self.copy("mp3_plain.mp3")
        self.assertTrue(self.set(caller, path, "One"))
        self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "One")
        self.assertEqual(owners, [caller.owner()])
        front = caller.front()
        self.assertEqual(list(children_of(front.pid).values()), ["tagwriterd"])
        worker = list(children_of(front.pid))
        self.assertTrue(self.set(bus.caller(), path, "Two"))
        self.assertEqual(len(owners), 1)
        self.assertEqual(list(children_of(front.pid)), worker)

    def test_starts_the_worker_at_the_first_request_only(self):
        bus = self.start_bus()
        caller = bus.caller()
        caller.ping_front()
        self.assertEqual(children_of(caller.front().pid), {})

    def test_leaves_when_idle_and_comes_back(self):
        caller = self.start_bus((FRONT, "--idle", "1")).caller()
        owners = caller.watch_owners()
        path = self.copy("mp3_plain.mp3")
        self.assertTrue(self.set(caller, path, "One"))
        first = caller.front()
        worker = children_of(first.pid)
        wait_for(lambda: owners[-1] == "", "the name is released")
        first.wait()
        for pid in worker:
            wait_for(lambda: not os.path.exists(f"/proc/{pid}"), "the worker ends")
        self.assertTrue(self.set(caller, path, "Two"))
        self.assertNotEqual(caller.front().pid, first.pid)
        self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "Two")
        self.assertEqual(len(set(owners)), 3)


class CallTest(BusTest):
    """Calls that a front gets."""

    def setUp(self):
        super().setUp()
        self.bus = self.start_bus()
        self.caller = self.bus.caller()

    def test_results_and_paths_come_back(self):
        mp3, noise = self.copy("mp3_plain.mp3"), self.directory / "noise.flac"
        noise.write_bytes(b"no audio at all")
        for path, expected in [(mp3, True), (noise, False)]:
            with open(path, "rb+") as file:
                reply = self.caller.write(change("composer", text("C"), str(path)), [file])
            self.assertEqual(reply["result"].get_boolean(), expected)
            self.assertEqual(reply["path"].get_string(), str(path))

    def test_a_path_that_is_not_utf8_comes_back_as_it_was(self):
        name = os.fsencode(self.directory) + b"/caf\xe9.mp3"
        request = change("title", text("T")) | {"path": raw_bytes(name)}
        with open(self.copy("mp3_plain.mp3"), "rb+") as file:
            reply = self.caller.write(request, [file])
        self.assertTrue(reply["result"].get_boolean())
        self.assertEqual(bytes(reply["path"].get_data_as_bytes().get_data()), name)

    def test_truncation_reaches_the_player(self):
        path = self.copy("wavpack_tagged.wv")
        before = path.stat().st_size
        request = change("title", None, str(path)) | {"truncateconnection": GLib.Variant("h", 1)}
        with TruncationEndpoint() as endpoint, open(path, "rb+") as file:
            reply = self.caller.write(request, [file, endpoint.theirs])
            self.assertTrue(reply["result"].get_boolean())
            self.assertEqual([call.size for call in endpoint.calls], [path.stat().st_size])
        self.assertLess(path.stat().st_size, before)

    def test_other_bodies_are_invalid(self):
        for body in [None, GLib.Variant("(s)", ["x"]), GLib.Variant("(a{ss})", [{"path": "x"}]),
                     GLib.Variant("(a{sv}a{sv})", [{}, {}]), GLib.Variant("(v)", [text("x")])]:
            with self.subTest(body=str(body)):
                message = write_call({})
                message.set_destination(BUS_NAME)
                message.set_body(body or GLib.Variant("()", []))
                self.assert_error(ERROR + "InvalidArgs", self.caller.submit(message))
        self.assertFalse(self.caller.write({})["result"].get_boolean())

    def test_other_names_are_unknown(self):
        body = GLib.Variant.new_tuple(dictionary({}))
        for error, names in [
            ("UnknownObject", ("/org/tagwriter", INTERFACE, "Write")),
            ("UnknownObject", ("/org/tagwriter/TagWriter/1", INTERFACE, "Write")),
            ("UnknownMethod", (OBJECT, "org.tagwriter.TagWriter2", "Write")),
            ("UnknownMethod", (OBJECT, INTERFACE, "write")),
            ("UnknownMethod", (OBJECT, INTERFACE, "Read")),
        ]:
            with self.subTest(names=names):
                message = Gio.DBusMessage.new_method_call(BUS_NAME, *names)
                message.set_body(body)
                self.assert_error(ERROR + error, self.caller.submit(message))

    def test_introspection_names_what_there_is(self):
        xml = self.caller.call(BUS_NAME, OBJECT, "org.freedesktop.DBus.Introspectable", "Introspect")
        node = Gio.DBusNodeInfo.new_for_xml(xml.unpack()[0])
        ours = [i for i in node.interfaces if not i.name.startswith("org.freedesktop.DBus.")]
        self.assertEqual([i.name for i in ours], [INTERFACE])
        self.assertEqual((ours[0].properties, ours[0].signals), ([], []))
        self.assertEqual([method.name for method in ours[0].methods], ["Write"])
        method = ours[0].methods[0]
        self.assertEqual([(arg.name, arg.signature) for arg in method.in_args],
                         [("request", "a{sv}")])
        self.assertEqual([(arg.name, arg.signature) for arg in method.out_args],
                         [("reply", "a{sv}")])

    def test_a_request_that_wants_no_reply_gets_no_work(self):
        silent, asked = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        before = silent.read_bytes()
        with open(silent, "rb+") as file:
            message = write_call(change("title", text("T"), str(silent)), [file])
        message.set_destination(BUS_NAME)
        message.set_flags(Gio.DBusMessageFlags.NO_REPLY_EXPECTED)
        self.caller.connection.send_message(message, Gio.DBusSendMessageFlags.NONE)
        self.caller.ping_front()
        self.assertEqual(children_of(self.caller.front().pid), {})
        self.assertTrue(self.set(self.caller, asked, "T"))
        self.assertEqual(silent.read_bytes(), before)

    def test_values_of_every_type_reach_the_worker(self):
        path = self.copy("flac_plain.flac")
        for field, value, key, expected in [
            ("title", text("Süß"), "title", ["Süß"]), ("year", number(1918), "date", ["1918"]),
            ("rating", GLib.Variant("d", 3.5), "rating", ["70"]),
            ("compilation", GLib.Variant("b", True), "compilation", ["1"]),
        ]:
            with open(path, "rb+") as file:
                reply = self.caller.write(change(field, value, str(path)), [file])
            self.assertTrue(reply["result"].get_boolean())
            self.assertEqual(mutagen.File(path)[key], expected)
        image = (self.copy("cover_red.png")).read_bytes()
        request = {"fd": GLib.Variant("h", 0), "path": text(str(path)), "artwork": raw_bytes(image),
                   "artworktype": number(1)}
        with open(path, "rb+") as file:
            self.assertTrue(self.caller.write(request, [file])["result"].get_boolean())
        self.assertEqual([picture.data for picture in mutagen.File(path).pictures], [image])


class ExitTest(BusTest):
    """How a front that was started by hand ends."""

    def start(self, *arguments, address):
        process = subprocess.Popen(
            [FRONT, *arguments], env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": address},
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.communicate()

    def assert_exit(self, code, process):
        """The exit code is this; standard error says something exactly when there is a failure."""
        _, errors = process.communicate(timeout=DEADLINE)
        self.assertEqual(process.returncode, code, errors)
        self.assertEqual(errors != "", code != 0, errors)
        return errors

    def started(self, bus, *arguments):
        caller = bus.caller()
        process = self.start(*arguments, address=bus.address)
        wait_for(caller.owner, "the front owns its name")
        return caller, process

    def test_with_0_when_asked_to_or_idle(self):
        bus = self.start_bus(front=None)
        for number_of_signal in [signal.SIGTERM, signal.SIGINT]:
            caller, process = self.started(bus)
            self.assertTrue(self.set(caller, self.copy("mp3_plain.mp3"), "T"))
            process.send_signal(number_of_signal)
            self.assert_exit(0, process)
        caller, process = self.started(bus, "--idle", "1")
        self.assert_exit(0, process)

    def test_with_1_without_a_bus(self):
        for address in [f"unix:path={self.directory}/nowhere", "nonsense", "unix:"]:
            errors = self.assert_exit(1, self.start(address=address))
            self.assertTrue(errors.startswith("tagwriter-bus: "), errors)

    def test_with_1_when_the_name_is_taken(self):
        bus = self.start_bus(front=None)
        caller, first = self.started(bus)
        self.assert_exit(1, self.start(address=bus.address))
        self.assertTrue(self.set(caller, self.copy("mp3_plain.mp3"), "T"))
        first.terminate()
        self.assert_exit(0, first)

    def test_with_1_when_the_bus_goes_away(self):
        bus = self.start_bus(front=None)
        caller, process = self.started(bus)
        self.assertTrue(self.set(caller, self.copy("mp3_plain.mp3"), "T"))
        bus.close()
        self.assert_exit(1, process)

    def test_with_1_without_a_worker(self):
        for directory in INSTALLED:
            if os.path.exists(directory):
                self.skipTest(f"the front finds a worker in {directory}")
        bus = self.start_bus(front=None)
        process = subprocess.run([self.front_with(None)], env=bus.environment(), text=True,
                                 stdin=subprocess.DEVNULL, capture_output=True, timeout=DEADLINE)
        self.assertEqual(process.returncode, 1)
        self.assertIn("tagwriterd", process.stderr)

    def test_with_2_when_called_in_the_wrong_way(self):
        for arguments in [["--idle", "0"], ["--idle", "-1"], ["--idle"], ["--idle", "x"], ["--what"]]:
            self.assert_exit(2, self.start(*arguments, address="nonsense"))

    def test_with_0_after_the_help(self):
        process = self.start("--help", address="nonsense")
        output, _ = process.communicate(timeout=DEADLINE)
        self.assertEqual(process.returncode, 0)
        self.assertIn("--idle", output)


if __name__ == "__main__":
    unittest.main()
