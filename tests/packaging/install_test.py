"""Where "cmake --install" puts what, and that it works from there, wherever "there" is."""

import os
import unittest

import mutagen
from staging import (
    BUILD, SOURCE, StagingTest, files_below, install, installed_files, run, spy_on,
    without_configuration)

FRONT_STARTERS = {
    "share/dbus-1/services/org.tagwriter.TagWriter.service": "Exec",
    "lib/systemd/user/tagwriter.service": "ExecStart",
}


def setting(path, key):
    """The one value of a key in a desktop-style file."""
    values = [line.split("=", 1)[1] for line in path.read_text().splitlines()
              if line.startswith(key + "=")]
    if len(values) != 1:
        raise AssertionError(f"{key} stands {len(values)} times in {path}")
    return values[0]


class InstallTest(StagingTest):
    def test_installs_what_belongs_there_and_nothing_else(self):
        self.assertEqual(without_configuration(files_below(self.prefix)), installed_files())

    def test_the_bus_and_systemd_start_the_same_installed_front(self):
        for file, key in FRONT_STARTERS.items():
            front = setting(self.prefix / file, key)
            self.assertEqual(front, f"{self.prefix}/libexec/tagwriter/tagwriter-bus", file)
            self.assertTrue(os.access(front, os.X_OK), file)

    def test_the_bus_names_the_unit_and_the_unit_the_bus_name(self):
        activation = self.prefix / "share/dbus-1/services/org.tagwriter.TagWriter.service"
        unit = self.prefix / "lib/systemd/user" / setting(activation, "SystemdService")
        self.assertEqual(setting(unit, "BusName"), setting(activation, "Name"))
        self.assertEqual(setting(activation, "Name") + ".service", activation.name)

    def test_destdir_stands_in_front_and_is_named_nowhere(self):
        install("/opt/tagwriter", destdir=self.directory)
        self.assertEqual(without_configuration(files_below(self.directory)),
                         sorted("opt/tagwriter/" + file for file in installed_files()))
        for file, key in FRONT_STARTERS.items():
            self.assertEqual(setting(self.directory / "opt/tagwriter" / file, key),
                             "/opt/tagwriter/libexec/tagwriter/tagwriter-bus", file)
        for path in map(self.directory.joinpath, files_below(self.directory)):
            self.assertNotIn(os.fsencode(self.directory), path.read_bytes(), path)

    def test_text_files_name_neither_the_sources_nor_the_build(self):
        for path in map(self.prefix.joinpath, files_below(self.prefix)):
            content = path.read_bytes()
            if content.startswith((b"\x7fELF", b"!<arch>")):
                continue  # a debug build says where its sources are; see package_test.py
            for directory in (SOURCE, BUILD):
                self.assertNotIn(os.fsencode(directory), content, path)

    def test_a_relative_prefix(self):
        install("here", cwd=self.directory)
        self.assertEqual(
            setting(self.directory / "here" / "lib/systemd/user/tagwriter.service", "ExecStart"),
            f"{self.directory}/here/libexec/tagwriter/tagwriter-bus")

    def test_the_command_finds_the_service_after_a_move(self):
        install(self.directory / "before")
        moved = (self.directory / "before").rename(self.directory / "after")
        started = spy_on(moved / "libexec/tagwriter/tagwriterd")
        mp3 = self.copy("mp3_plain.mp3")
        run(moved / "bin/tagwriter", "set", "-t", "title=Moved", mp3)
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "Moved")
        self.assertTrue(started.exists())

    def test_completions_are_those_of_the_command(self):
        for shell, file in {"bash": "bash-completion/completions/tagwriter",
                            "zsh": "zsh/site-functions/_tagwriter",
                            "fish": "fish/vendor_completions.d/tagwriter.fish"}.items():
            printed = run(self.prefix / "bin/tagwriter", "completion", shell)
            self.assertEqual((self.prefix / "share" / file).read_text(), printed, shell)
            self.assertIn("albumArtist", printed, shell)


if __name__ == "__main__":
    unittest.main()
