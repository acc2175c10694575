"""--bus: the service on the session bus writes, not one started by the command."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

import mutagen

from cli_support import DATA, SANITIZER_REPORTS, TAGWRITER, CommandTest, objects, tagwriter
from session import FRONT, SessionBus

COVER = DATA / "cover_red.png"


class BusTest(CommandTest):

    def setUp(self):
        super().setUp()
        # Without a service beside it, nothing but the bus can have written.
        self.program = Path(shutil.copy(TAGWRITER, self.aside))

    def start_bus(self, front=(FRONT,)):
        """A bus, closed at the end of the test."""
        bus = SessionBus(tempfile.mkdtemp(prefix="bus-", dir=self.aside), front)
        self.addCleanup(self.check_log, bus)
        self.addCleanup(bus.close)
        return bus

    def check_log(self, bus):
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, bus.log())

    def run_on(self, bus, verb, *arguments):
        return tagwriter(verb, "--bus", *arguments, program=self.program, env=bus.environment())


class OnBusTest(BusTest):

    def test_starts_the_service_on_the_bus_and_writes(self):
        bus, mp3 = self.start_bus(), self.copy("mp3_plain.mp3")
        caller = bus.caller()
        self.assertIsNone(caller.owner())
        run = self.run_on(bus, "set", "-t", "title=T", "-t", "year=1894", mp3)
        self.assert_run(run, 0)
        self.assertEqual(run.stdout, "")
        self.assertIsNotNone(caller.owner())
        self.assertEqual(len(bus.started()), 2)  # the front and its worker
        tags = mutagen.File(mp3).tags
        self.assertEqual((str(tags["TIT2"]), str(tags["TDRC"])), ("T", "1894"))

    def test_every_verb_that_writes_takes_it(self):
        bus, flac = self.start_bus(), self.copy("flac_pictures.flac")
        self.assert_run(self.run_on(bus, "cover", "--replace", COVER, flac), 0)
        self.assertEqual([picture.data for picture in mutagen.File(flac).pictures],
                         [COVER.read_bytes()])
        self.assert_run(self.run_on(bus, "cover", "--clear", flac), 0)
        self.assertEqual(mutagen.File(flac).pictures, [])
        self.assert_run(self.run_on(bus, "set", "-t", "title=T", flac), 0)
        self.assert_run(self.run_on(bus, "clear", "-t", "title", flac), 0)
        self.assertNotIn("title", mutagen.File(flac).tags)

    def test_goes_together_with_the_other_options(self):
        bus = self.start_bus()
        paths = [*self.copies(7), self.copy("mp3_plain.mp3", "8/9.mp3")]
        for number, path in enumerate(paths):
            os.link(path, self.aside / str(number))
            os.utime(path, ns=(0, 1_000_000_001))
        missing = self.directory / "missing"
        run = self.run_on(bus, "set", "-t", "title=T", "--safe", "--keep-times", "--json", "-r",
                          missing, self.directory)
        self.assert_run(run, 1, f"{missing}: cannot be opened: No such file or directory\n")
        self.assertEqual([(line["file"], line["result"]) for line in objects(run.stdout)],
                         [(str(missing), "failed")] + [(str(path), "written") for path in paths])
        for number, path in enumerate(paths):
            self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "T")
            self.assertEqual(path.stat().st_mtime_ns, 1_000_000_001)
            self.assert_as_it_was(self.aside / str(number))

    def test_makes_files_shorter(self):
        bus, ape = self.start_bus(), self.copy("ape_tagged.ape")
        self.assert_run(self.run_on(bus, "set", "-t", "title=" + 1000 * "long ", ape), 0)
        size = ape.stat().st_size
        self.assert_run(self.run_on(bus, "set", "-t", "title=short", ape), 0)
        self.assertLess(ape.stat().st_size, size - 4000)

    def test_names_what_the_service_refuses_and_goes_on(self):
        bus, (first, second) = self.start_bus(), self.copies(2)
        run = self.run_on(bus, "set", "-t", "cueSheet=C", "-t", "title=T", first, second)
        self.assertEqual(run.returncode, 1)
        self.assertEqual([line.rsplit(": not written", 1)[0] for line in run.stderr.splitlines()],
                         [f"{first}: cueSheet", f"{second}: cueSheet"])
        for path in (first, second):
            self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "T")

    def test_without_it_the_bus_is_left_alone(self):
        bus, mp3 = self.start_bus(), self.copy("mp3_plain.mp3")
        self.assert_run(tagwriter("set", "-t", "title=T", mp3, env=bus.environment()), 0)
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "T")
        self.assertIsNone(bus.caller().owner())
        self.assertEqual(bus.started(), [])


class WithoutBusTest(BusTest):

    def assert_fails(self, environment):
        """Nothing is written, each file is named once, and no other service is taken instead."""
        for program in (self.program, TAGWRITER):
            for options in ([], ["--safe"], ["--json"]):
                with self.subTest(program=program, options=options):
                    paths = self.copies(2)
                    run = tagwriter("set", "--bus", "-t", "title=T", "-t", "artist=A", *options,
                                    *paths, program=program, env=environment)
                    self.assertEqual(run.returncode, 1)
                    lines = run.stderr.splitlines()
                    self.assertEqual(len(lines), 2, run.stderr)
                    for line, path in zip(lines, paths):
                        self.assertRegex(line, rf"\A{path}: the service cannot be started: \S")
                        self.assert_as_it_was(path)
                    self.assertEqual([(line["file"], line["result"])
                                      for line in objects(run.stdout)],
                                     [(str(path), "failed") for path in paths if options == ["--json"]])

    def test_no_bus_is_known(self):
        self.assert_fails({name: value for name, value in os.environ.items()
                           if name not in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")})

    def test_the_bus_is_not_there(self):
        self.assert_fails({**os.environ,
                           "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.aside}/nowhere"})

    def test_the_bus_does_not_know_the_service(self):
        self.assert_fails(self.start_bus(front=()).environment())

    def test_the_service_does_not_start(self):
        self.assert_fails(self.start_bus(front=("/bin/false",)).environment())


if __name__ == "__main__":
    unittest.main()
