"""The checked-in interfaces are the ones that the programs serve."""

import os
import re
import shutil
import sys
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import gi
from staging import BUS_NAME, DEADLINE, OBJECT, SOURCE, Session, StagingTest, run

sys.path.insert(0, str(SOURCE / "tests" / "player"))
from player import Player  # noqa: E402

gi.require_version("Gio", "2.0")
from gi.repository import Gio  # noqa: E402

INTROSPECTABLE = "org.freedesktop.DBus.Introspectable"
BIN = Path(os.environ["TAGWRITER_BIN"])

# Stands in for tagwriterd: says what the player serves for truncation, and that all went well.
STAND_IN = r'''#!/usr/bin/python3
import sys
import gi
gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib

def connect(fd, guid, flags):
    stream = Gio.Socket.new_from_fd(fd).connection_factory_create_connection()
    return Gio.DBusConnection.new_sync(stream, guid, flags, None, None)

def on_write(connection, sender, path, interface, method, arguments, invocation):
    request, = arguments.unpack()
    endpoint = invocation.get_message().get_unix_fd_list().get(request["truncateconnection"])
    player = connect(endpoint, None, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT)
    reply = player.call_sync(None, "/org/tagwriter/Truncation", "org.freedesktop.DBus.Introspectable",
                             "Introspect", None, None, Gio.DBusCallFlags.NONE, 60000, None)
    with open(__file__ + ".introspection", "w") as file:
        file.write(reply.unpack()[0])
    player.close_sync(None)
    invocation.return_value(GLib.Variant("(a{sv})", ({"result": GLib.Variant("b", True)},)))

interface = Gio.DBusNodeInfo.new_for_xml(open("@XML@").read()).interfaces[0]
flags = Gio.DBusConnectionFlags
connection = connect(int(sys.argv[1].split("=")[1]), Gio.dbus_generate_guid(),
                     flags.AUTHENTICATION_SERVER | flags.DELAY_MESSAGE_PROCESSING)
loop = GLib.MainLoop()
connection.connect("closed", lambda *_: loop.quit())
connection.register_object("/org/tagwriter/TagWriter", interface, on_write, None, None)
connection.start_message_processing()
loop.run()
'''


def interfaces(text):
    """The interfaces of a node, as {name: all that they declare}."""
    def content(element):
        return (element.tag, sorted(element.attrib.items()), [content(child) for child in element])

    return {interface.get("name"): content(interface)
            for interface in ElementTree.fromstring(text).findall("interface")}


class InterfaceTest(StagingTest):
    def file(self, name):
        return self.prefix / "share/dbus-1/interfaces" / f"{name}.xml"

    def assert_served(self, introspection, name):
        """The installed file declares this interface, and it is what a program introspects."""
        installed = interfaces(self.file(name).read_text())
        self.assertEqual(list(installed), [name])
        served = {interface: content for interface, content in interfaces(introspection).items()
                  if not interface.startswith("org.freedesktop.DBus.")}
        self.assertEqual(served, installed)

    def test_what_the_front_serves_on_the_bus(self):
        with Session(self.prefix) as session:
            flags = Gio.DBusConnectionFlags
            bus = Gio.DBusConnection.new_for_address_sync(
                session.address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION,
                None, None)
            bus.set_exit_on_close(False)
            reply = bus.call_sync(BUS_NAME, OBJECT, INTROSPECTABLE, "Introspect", None, None,
                                  Gio.DBusCallFlags.NONE, DEADLINE * 1000, None)
            bus.close_sync(None)
        self.assert_served(reply.unpack()[0], "org.tagwriter.TagWriter1")

    def test_what_the_service_serves_to_its_player(self):
        with Player() as player:
            reply = player.call(INTROSPECTABLE, "Introspect", None)
        self.assert_served(reply.unpack()[0], "org.tagwriter.TagWriter1")

    def test_what_the_library_serves_for_truncation(self):
        shutil.copy(BIN / "tagwriter", self.directory)
        service = self.directory / "tagwriterd"
        service.write_text(
            STAND_IN.replace("@XML@", str(self.file("org.tagwriter.TagWriter1"))))
        service.chmod(0o755)
        run(self.directory / "tagwriter", "set", "-t", "title=T", self.copy("mp3_plain.mp3"))
        introspection = (self.directory / "tagwriterd.introspection").read_text()
        self.assert_served(introspection, "org.tagwriter.Truncation1")

    def test_what_the_python_player_serves_for_truncation(self):
        example = (SOURCE / "examples/player_python/player.py").read_text()
        node = re.search(r"<node>.*</node>", example, re.DOTALL).group()
        self.assert_served(node, "org.tagwriter.Truncation1")


if __name__ == "__main__":
    unittest.main()
