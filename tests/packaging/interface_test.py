"""The installed interface files match what the programs serve, and every key is documented."""

import json
import re
import sys
import unittest
import xml.etree.ElementTree as ElementTree

from staging import SOURCE, VERSION, StagingTest, run_on_bus

sys.path.insert(0, str(SOURCE / "tests" / "player"))
from player import READER_OBJECT, TAGREADERD, GLib, Player  # noqa: E402


def interface(text, name):
    """The declaration of an interface, without spacing and comments."""
    found, = (element for element in ElementTree.fromstring(text).findall("interface")
              if not element.get("name").startswith("org.freedesktop.DBus."))
    assert found.get("name") == name
    return ElementTree.canonicalize(ElementTree.tostring(found), strip_text=True)


class InterfaceTest(StagingTest):
    def declared(self, name):
        text = (self.prefix / f"share/dbus-1/interfaces/{name}.xml").read_text()
        return interface(text, name)

    def test_write_is_what_service_and_front_serve(self):
        name = "org.tagwriter.TagWriter1"
        with Player() as player:
            reply = player.call("org.freedesktop.DBus.Introspectable", "Introspect", None)
        self.assertEqual(interface(reply.unpack()[0], name), self.declared(name))
        served = run_on_bus(self.prefix, "busctl", "--user", "--xml-interface", "introspect",
                            "org.tagwriter.TagWriter", "/org/tagwriter/TagWriter")
        self.assertEqual(interface(served, name), self.declared(name))

    def test_properties_are_the_same_in_service_and_front(self):
        name = "org.tagwriter.TagWriter1"
        with Player() as player:
            values, = player.call("org.freedesktop.DBus.Properties", "GetAll",
                                  GLib.Variant("(s)", (name,))).unpack()
        self.assertEqual(values["Version"], VERSION)
        table = json.loads((SOURCE / "tests/expectations/fields.json").read_text())["fields"]
        # Written only together with "disc".
        self.assertEqual(set(values["Fields"]),
                         {field["key"] for field in table} | {"totalNumberOfDiscs"})
        self.assertLess({("title", "s"), ("year", "x"), ("rating", "d"), ("compilation", "b")},
                        set(values["Fields"].items()))
        served = run_on_bus(self.prefix, "busctl", "--user", "--json=short", "get-property",
                            "org.tagwriter.TagWriter", "/org/tagwriter/TagWriter", name,
                            *values)
        self.assertEqual([json.loads(line)["data"] for line in served.splitlines()],
                         list(values.values()))

    def test_read_is_what_the_reader_serves(self):
        name = "org.tagwriter.TagReader1"
        with Player(program=TAGREADERD) as player:
            reply = player.call("org.freedesktop.DBus.Introspectable", "Introspect", None,
                                READER_OBJECT)
        self.assertEqual(interface(reply.unpack()[0], name), self.declared(name))

    def test_truncation_is_what_the_python_player_serves(self):
        example = (SOURCE / "examples/player_python/player.py").read_text()
        served = re.search(r"<node>.*</node>", example, re.DOTALL).group()
        name = "org.tagwriter.Truncation1"
        self.assertEqual(interface(served, name), self.declared(name))

    def test_every_key_is_in_the_interface_files_and_in_the_document(self):
        keys = re.findall(r'char k\w+\[\] = "(\w+)"', (SOURCE / "protocol/keys.h").read_text())
        self.assertIn("incomplete", keys)
        directory = self.prefix / "share/dbus-1/interfaces"
        xml = "".join(file.read_text() for file in directory.iterdir())
        document = (SOURCE / "docs/WIRE.md").read_text()
        for key in keys:
            self.assertIn(f'"{key}"', xml)
            self.assertRegex(document, f'`{key}` \\||"{key}":')


if __name__ == "__main__":
    unittest.main()
