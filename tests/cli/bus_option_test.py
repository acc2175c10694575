"""--bus: the service on the session bus writes, not one started by the command."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

import mutagen

from cli_support import BIN, DATA, SANITIZER_REPORTS, TAGWRITER, CommandTest, tagwriter
from session import FRONT, SessionBus

COVER = DATA / "cover_red.png"


class BusTest(CommandTest):

    def setUp(self):
        super().setUp()
        # No service is next to this program, so only the one on the bus can write.
        self.program = Path(shutil.copy(TAGWRITER, self.aside))
        (self.aside / "tagreaderd").symlink_to(BIN / "tagreaderd")

    def start_bus(self, front=(FRONT,)):
        bus = SessionBus(tempfile.mkdtemp(prefix="bus-", dir=self.aside), front)
        self.addCleanup(self.check_log, bus)
        self.addCleanup(bus.close)
        return bus

    def check_log(self, bus):
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, bus.log())

    def test_every_command_starts_and_uses_the_service_on_the_bus(self):
        bus, flac = self.start_bus(), self.copy("flac_pictures.flac")
        self.assertIsNone(bus.caller().owner())
        for arguments in (["cover", "--replace", COVER],
                          ["set", "-t", "title=T", "-t", "year=1894"],
                          ["clear", "-t", "year", "--safe"]):
            run = tagwriter(*arguments, "--bus", flac, program=self.program, env=bus.environment())
            self.assert_run(run, 0)
        self.assertEqual(len(bus.started()), 2)  # the front and its worker
        written = mutagen.File(flac)
        self.assertEqual([picture.data for picture in written.pictures], [COVER.read_bytes()])
        self.assertEqual((written.tags["title"], "date" in written.tags), (["T"], False))

    def test_truncates_files_and_reports_what_the_service_refuses(self):
        bus, ape = self.start_bus(), self.copy("ape_tagged.ape")
        size = ape.stat().st_size
        for title in (5000 * "x", "short"):
            run = tagwriter("set", "--bus", "-t", f"title={title}", ape, program=self.program,
                            env=bus.environment())
            self.assert_run(run, 0)
        self.assertLess(ape.stat().st_size, size + 1000)
        mp3 = self.copy("mp3_plain.mp3")
        run = tagwriter("set", "--bus", "-t", "cueSheet=C", "-t", "title=T", mp3,
                        program=self.program, env=bus.environment())
        self.assert_run(run, 1, f"{mp3}: cueSheet: files of this type do not store this field\n")
        self.assertEqual(self.title(mp3), "T")

    def test_without_it_the_bus_is_not_used(self):
        bus = self.start_bus()
        run = tagwriter("set", "-t", "title=T", *self.copies(1), env=bus.environment())
        self.assert_run(run, 0)
        self.assertEqual(bus.started(), [])

    def test_without_a_service_on_a_bus_each_file_fails_once(self):
        nothing = {name: value for name, value in os.environ.items()
                   if name not in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")}
        missing = {**os.environ, "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.aside}/nowhere"}
        for environment, reason in (
                (nothing, "session bus: DBUS_SESSION_BUS_ADDRESS is not set"),
                (missing, "session bus: No such file or directory"),
                (self.start_bus(front=()).environment(), ""),
                (self.start_bus(front=("/bin/false",)).environment(), "")):
            for option in ([], ["--safe"]):
                paths = self.copies(2)
                # The service next to this program must not be used instead.
                run = tagwriter("set", "--bus", "-t", "title=T", "-t", "artist=A", *option, *paths,
                                env=environment)
                self.assertEqual(run.returncode, 1)
                lines = run.stderr.splitlines()
                self.assertEqual(lines[2:], ["tagwriter: 0 of 2 files written"])
                for line, path in zip(lines, paths):
                    self.assertRegex(line, rf"\A{path}: the service is not available: (?=\S){reason}")
                    self.assert_as_it_was(path)


if __name__ == "__main__":
    unittest.main()
