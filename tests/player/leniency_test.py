"""What the real service passes over in a request, and what it answers with a D-Bus error.

Unknown keys and types, any nesting that D-Bus allows and keys that come twice are no reason to
fail. A message that is not a request gets an error, and the service goes on.
"""

import unittest

import mutagen.flac

from player import (DEADLINE, INTERFACE, OBJECT, PEER_INTERFACE, Gio, GLib, RemoteError, change,
                    dictionary, dictionary_of_pairs, number, raw_bytes, text, write_call)
from support import PlayerTest, contents

# Arrays, structures and variants that D-Bus allows inside each other.
MAX_ARRAYS = MAX_STRUCTURES = 32
MAX_CONTAINERS = 64
# Of those, the message itself takes a few.
OWN_CONTAINERS = 8

UNKNOWN_VALUES = [GLib.Variant(*pair) for pair in (
    ("y", 1), ("n", -1), ("q", 1), ("i", -1), ("u", 1), ("o", "/a"), ("g", "a{sv}"), ("as", []),
    ("as", ["a", "b"]), ("a{ss}", {"a": "b"}), ("a{us}", {1: "b"}), ("(isd)", (1, "a", 2.0)),
    ("a(yv)", [(1, text("a"))]), ("aay", [b"a"]), ("v", text("a")), ("av", [number(1), text("a")]),
    ("a{sa{sv}}", {"a": {"b": text("c")}}), ("ah", [0, 0]), ("a" * MAX_ARRAYS + "y", []))]


def structures_in_structures(depth):
    """A byte in so many structures."""
    value = GLib.Variant("y", 1)
    for _ in range(depth):
        value = GLib.Variant.new_tuple(value)
    return value


def variants_in_variants(depth):
    """A string in so many variants."""
    value = text("deep")
    for _ in range(depth):
        value = GLib.Variant.new_variant(value)
    return value


def dictionaries_in_dictionaries(depth):
    """A string in so many dictionaries."""
    value = text("deep")
    for _ in range(depth):
        value = dictionary({"title": value})
    return value


class LeniencyTest(PlayerTest):

    def setUp(self):
        super().setUp()
        self.path = self.copy("flac_comment.flac")
        self.before = contents(self.path)
        self.request = change("title", text("New"), self.path)

    def title(self):
        """The file's title, read back."""
        return mutagen.flac.FLAC(self.path)["TITLE"]


class PassedOver(LeniencyTest):

    def check_passed_over(self, value):
        """A value under an unknown key, before and behind the others and inside "track", changes
        nothing."""
        path = self.copy("flac_comment.flac")
        request = {"aa": value, **self.request, "zz": value,
                   "track": dictionary({"aa": value, "title": text("New"), "zz": value})}
        reply = self.write(request, path)
        self.assertEqual(set(reply), {"path", "result"})
        self.assertTrue(self.result(reply))
        self.assertEqual(mutagen.flac.FLAC(path)["TITLE"], ["New"])

    def test_unknown_keys(self):
        for value in (text("a"), number(1), GLib.Variant("d", 1.5), GLib.Variant("b", True),
                      raw_bytes(b"a"), raw_bytes(b""), GLib.Variant("h", 0), dictionary({})):
            with self.subTest(type=value.get_type_string()):
                self.check_passed_over(value)

    def test_unknown_types(self):
        for value in UNKNOWN_VALUES:
            with self.subTest(type=value.get_type_string()):
                self.check_passed_over(value)

    def test_structures_in_structures(self):
        for depth in (1, 8, 9, MAX_STRUCTURES):
            with self.subTest(depth=depth):
                self.check_passed_over(structures_in_structures(depth))

    def test_variants_in_variants(self):
        for depth in (1, 8, 9, 32, MAX_CONTAINERS - OWN_CONTAINERS):
            with self.subTest(depth=depth):
                self.check_passed_over(variants_in_variants(depth))

    def test_dictionaries_in_dictionaries(self):
        # Each level is an array, an entry and a variant.
        for depth in (1, 5, 6, 7, 8, 9, (MAX_CONTAINERS - OWN_CONTAINERS) // 3):
            with self.subTest(depth=depth):
                self.check_passed_over(dictionaries_in_dictionaries(depth))

    def test_deeper_than_can_be_read(self):
        for value in (variants_in_variants(200), dictionaries_in_dictionaries(100)):
            with self.assertRaises(RemoteError) as caught:
                self.write({**self.request, "zz": value}, self.path)
            self.assertEqual(caught.exception.name, "org.freedesktop.DBus.Error.InvalidArgs")
            self.assertEqual(contents(self.path), self.before)
            self.assert_still_answers()

    def test_more_descriptors_than_asked_for(self):
        with open(self.path, "rb+") as file, open(self.copy("au.au"), "rb+") as other:
            self.request["zz"] = GLib.Variant("h", 1)
            reply = self.player.write(self.request, [file, other, other])
            self.assertTrue(self.result(reply))
            self.player.ping()
            self.assertEqual(self.service.descriptors_of(other.name), 0)
        self.assertEqual(self.title(), ["New"])


class KeysThatComeTwice(LeniencyTest):

    def result_of(self, *pairs):
        """The result of the request with more pairs in front of it or behind it."""
        reply = self.write(dictionary_of_pairs(pairs), self.path)
        return self.result(reply)

    def test_last_value_wins(self):
        pairs = self.request.items()
        self.assertTrue(self.result_of(("changedtag", text("nothing")), *pairs))
        self.assertEqual(self.title(), ["New"])
        self.assertFalse(self.result_of(*pairs, ("changedtag", text("nothing"))))

    def test_last_value_wins_inside_track(self):
        values = [("title", text("first")), ("title", text("second")), ("title", text("third"))]
        self.request["track"] = dictionary_of_pairs(values)
        self.assertTrue(self.result_of(*self.request.items()))
        self.assertEqual(self.title(), ["third"])

    def test_last_value_wins_though_its_type_is_unknown(self):
        self.assertFalse(self.result_of(*self.request.items(),
                                        ("changedtag", GLib.Variant("u", 1))))
        self.assertEqual(contents(self.path), self.before)

    def test_last_path_is_echoed(self):
        reply = self.write(dictionary_of_pairs([*self.request.items(), ("path", text("b.flac"))]),
                           self.path)
        self.assertEqual(reply["path"].get_string(), "b.flac")

    def test_last_descriptor_is_written(self):
        last = self.copy("flac_comment.flac", "last.flac")
        with open(self.path, "rb+") as first, open(last, "rb+") as second:
            reply = self.player.write(
                dictionary_of_pairs([*self.request.items(), ("fd", GLib.Variant("h", 1))]),
                [first, second])
            self.assertTrue(self.result(reply))
        self.assertEqual(contents(self.path), self.before)
        self.assertEqual(mutagen.flac.FLAC(last)["TITLE"], ["New"])
        self.player.ping()
        self.assertEqual(self.service.descriptors_of(self.path), 0)
        self.assertEqual(self.service.descriptors_of(last), 0)


class NoReplyExpected(LeniencyTest):

    def test_no_work_is_done(self):
        with open(self.path, "rb+") as file:
            silent = write_call(self.request, [file])
            silent.set_flags(Gio.DBusMessageFlags.NO_REPLY_EXPECTED)
            self.player.send(silent)
            self.player.ping()
            self.assertEqual(contents(self.path), self.before)
            self.assertEqual(self.service.descriptors_of(self.path), 0)
            self.assertEqual(self.service.log(), "")

            self.player.submit(write_call(self.request, [file])).result(DEADLINE)
        self.assertEqual(self.title(), ["New"])


class Errors(LeniencyTest):

    def assert_error(self, errors, interface, method, body, object_path=OBJECT):
        """The call is answered with one of these standard errors, and the service goes on."""
        with self.assertRaises(RemoteError) as caught:
            self.player.call(interface, method, body, object_path)
        self.assertIn(caught.exception.name, [f"org.freedesktop.DBus.Error.{name}"
                                              for name in errors])
        self.assert_still_answers()

    def test_body_that_is_no_dictionary(self):
        request = dictionary({"path": text("a")})
        for body in (None, GLib.Variant("(s)", ["a"]), GLib.Variant("(a{ss})", [{"a": "b"}]),
                     GLib.Variant("(v)", [request]), GLib.Variant("(ay)", [b"a"]),
                     GLib.Variant("(a(sv))", [[("a", text("b"))]]),
                     GLib.Variant("(a{sv}s)", [{"path": text("a")}, "a"])):
            with self.subTest(type=body.get_type_string() if body else None):
                self.assert_error(["InvalidArgs"], INTERFACE, "Write", body)

    def test_descriptor_that_did_not_come(self):
        for index in (0, 1, 2**31 - 1):
            with self.subTest(index=index):
                request = change("title", text("New"), self.path)
                request["fd"] = GLib.Variant("h", index)
                body = GLib.Variant.new_tuple(dictionary(request))
                self.assert_error(["InvalidArgs"], INTERFACE, "Write", body)

    def test_unknown_names(self):
        body = GLib.Variant.new_tuple(dictionary({}))
        self.assert_error(["UnknownMethod"], INTERFACE, "Read", body)
        self.assert_error(["UnknownMethod"], INTERFACE, "write", body)
        for interface in ("org.tagwriter.TagWriter2", "org.tagwriter.Truncation1"):
            self.assert_error(["UnknownInterface", "UnknownMethod"], interface, "Write", body)
        self.assert_error(["UnknownObject"], INTERFACE, "Write", body, "/org/tagwriter/Other")

    def test_standard_interfaces_are_served(self):
        self.player.call(PEER_INTERFACE, "Ping", None)
        reply = self.player.call("org.freedesktop.DBus.Introspectable", "Introspect", None)
        served = Gio.DBusNodeInfo.new_for_xml(reply.unpack()[0]).lookup_interface(INTERFACE)
        self.assertEqual([method.name for method in served.methods], ["Write"])
        for arguments in (served.methods[0].in_args, served.methods[0].out_args):
            self.assertEqual([argument.signature for argument in arguments], ["a{sv}"])
        self.assertEqual((served.signals, served.properties), ([], []))


if __name__ == "__main__":
    unittest.main()
