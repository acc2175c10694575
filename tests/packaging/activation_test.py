"""A real dbus-daemon starts the installed front when the first request comes."""

import os
import select
import unittest

import gi
import mutagen
from staging import BUS_NAME, DEADLINE, Session, StagingTest, run

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

PLAYER = "share/doc/tagwriter/examples/player_python/player.py"
DAEMON = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")


class Watcher:
    """A connection to the bus that asks the daemon about the front and starts nothing."""

    def __init__(self, session):
        flags = Gio.DBusConnectionFlags
        self._bus = Gio.DBusConnection.new_for_address_sync(
            session.address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
        self._bus.set_exit_on_close(False)

    def ask(self, method):
        reply = self._bus.call_sync(*DAEMON, method, GLib.Variant("(s)", [BUS_NAME]), None,
                                    Gio.DBusCallFlags.NONE, DEADLINE * 1000, None)
        return reply.unpack()[0]

    def activatable(self):
        reply = self._bus.call_sync(*DAEMON, "ListActivatableNames", None, None,
                                    Gio.DBusCallFlags.NONE, DEADLINE * 1000, None)
        return BUS_NAME in reply.unpack()[0]


class ActivationTest(StagingTest):
    def play(self, session, *arguments):
        return run("/usr/bin/python3", "-B", self.prefix / PLAYER, *arguments,
                   env=session.environment())

    def test_the_python_player_writes_through_the_front_that_the_bus_starts(self):
        mp3, flac = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        with Session(self.prefix) as session:
            watcher = Watcher(session)
            self.assertTrue(watcher.activatable(), session.log())
            self.assertFalse(watcher.ask("NameHasOwner"))
            said = self.play(session, "Morgen früh", mp3, flac)
            self.assertEqual(said, f"{mp3}: written\n{flac}: written\n")
            front = watcher.ask("GetConnectionUnixProcessID")
            self.assertEqual(os.readlink(f"/proc/{front}/exe"),
                             f"{self.prefix}/libexec/tagwriter/tagwriter-bus")
            handle = os.pidfd_open(front)
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "Morgen früh")
        self.assertEqual(mutagen.File(flac).tags["TITLE"], ["Morgen früh"])
        # Without a bus the front leaves.
        self.assertTrue(select.select([handle], [], [], DEADLINE)[0])
        os.close(handle)

    def test_the_python_player_truncates_when_it_is_asked_to(self):
        ogg = self.copy("vorbis_tagged.ogg")
        with Session(self.prefix) as session:
            self.play(session, "long " * 100, ogg)
            long_size = ogg.stat().st_size
            said = self.play(session, "short", ogg)
        size = ogg.stat().st_size
        self.assertLess(size, long_size)
        self.assertEqual(said, f"truncated to {size} bytes\n{ogg}: written\n")
        self.assertEqual(mutagen.File(ogg).tags["TITLE"], ["short"])

    def test_the_python_player_tells_what_is_not_written(self):
        text, missing = self.directory / "text.flac", self.directory / "missing.mp3"
        text.write_text("no audio")
        with Session(self.prefix) as session, self.assertRaises(AssertionError) as failure:
            self.play(session, "Title", text, missing)
        said = str(failure.exception)
        self.assertIn("returned 1:", said)
        self.assertIn(f"{text}: not written\n", said)
        self.assertIn(f"No such file or directory: '{missing}'", said)
        self.assertEqual(text.read_text(), "no audio")

    def test_the_command_writes_through_the_bus(self):
        mp3 = self.copy("mp3_plain.mp3")
        with Session(self.prefix) as session:
            run(self.prefix / "bin/tagwriter", "set", "--bus", "-t", "artist=Clara Vogel", mp3,
                env=session.environment())
            self.assertTrue(Watcher(session).ask("NameHasOwner"))
        self.assertEqual(str(mutagen.File(mp3).tags["TPE1"]), "Clara Vogel")


if __name__ == "__main__":
    unittest.main()
