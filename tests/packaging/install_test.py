"""What "cmake --install" puts where, and that it works from there, also after a move."""

import os
import unittest

import mutagen

from staging import (
    BUILD, SOURCE, StagingTest, files_below, install, installed_files, run, spy_on,
    without_configuration)

ACTIVATION = "share/dbus-1/services/org.tagwriter.TagWriter.service"
UNIT = "lib/systemd/user/tagwriter.service"


def setting(path, key):
    """The one value of a key in an INI file."""
    value, = (line.split("=", 1)[1] for line in path.read_text().splitlines()
              if line.startswith(key + "="))
    return value


class InstallTest(StagingTest):
    def assert_starts_the_front(self, root, prefix):
        """Bus and systemd start the front of this prefix, installed below `root`."""
        front = f"{prefix}/libexec/tagwriter/tagwriter-bus"
        self.assertEqual(setting(root / ACTIVATION, "Exec"), front)
        self.assertEqual(setting(root / UNIT, "ExecStart"), front)
        self.assertTrue(os.access(root / "libexec/tagwriter/tagwriter-bus", os.X_OK))
        self.assertEqual(setting(root / ACTIVATION, "SystemdService"), os.path.basename(UNIT))
        self.assertEqual(setting(root / ACTIVATION, "Name"), setting(root / UNIT, "BusName"))

    def test_to_a_prefix(self):
        self.assertEqual(without_configuration(files_below(self.prefix)), installed_files())
        self.assert_starts_the_front(self.prefix, self.prefix)
        for path in map(self.prefix.joinpath, files_below(self.prefix)):
            content = path.read_bytes()
            if content.startswith((b"\x7fELF", b"!<arch>")):
                continue  # a debug build contains the path of its sources; see package_test.py
            for directory in (SOURCE, BUILD):
                self.assertNotIn(os.fsencode(directory), content, path)

    def test_below_destdir(self):
        install("/opt/tagwriter", destdir=self.directory)
        root = self.directory / "opt/tagwriter"
        self.assertEqual(without_configuration(files_below(root)), installed_files())
        self.assert_starts_the_front(root, "/opt/tagwriter")
        for path in map(root.joinpath, files_below(root)):
            self.assertNotIn(os.fsencode(self.directory), path.read_bytes(), path)

    def test_to_a_relative_prefix_which_is_then_moved(self):
        install("before", cwd=self.directory)
        before = self.directory / "before"
        self.assert_starts_the_front(before, before)
        moved = before.rename(self.directory / "after")
        started, mp3 = spy_on(moved / "libexec/tagwriter/tagwriterd"), self.copy("mp3_plain.mp3")
        run(moved / "bin/tagwriter", "set", "-t", "title=Moved", mp3)
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "Moved")
        self.assertTrue(started.exists())


if __name__ == "__main__":
    unittest.main()
