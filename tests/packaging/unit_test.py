"""systemd takes the user unit as it is, and its hardening is not lost by an edit."""

import os
import unittest

from staging import StagingTest, run

# What "systemd-analyze security --offline=true" gave for the unit, times ten. It counts every
# option that only a system service can use; packaging/tagwriter.service.in says which and why.
EXPOSURE = 59

HARDENING = {
    "NoNewPrivileges=yes", "SystemCallArchitectures=native", "SystemCallFilter=@system-service",
    "RestrictAddressFamilies=AF_UNIX", "RestrictNamespaces=yes", "RestrictRealtime=yes",
    "RestrictSUIDSGID=yes", "LockPersonality=yes", "MemoryDenyWriteExecute=yes",
    "KillMode=mixed",
}


class UnitTest(StagingTest):
    def analyze(self, *arguments):
        unit = self.prefix / "lib/systemd/user/tagwriter.service"
        return run("systemd-analyze", "--user", "--no-pager", *arguments, unit,
                   env={**os.environ, "XDG_RUNTIME_DIR": str(self.directory)})

    def test_systemd_understands_every_line(self):
        self.assertEqual(self.analyze("--man=no", "verify"), "")

    def test_the_exposure_does_not_grow(self):
        said = self.analyze("security", "--offline=true", f"--threshold={EXPOSURE}")
        self.assertIn(f"Overall exposure level for tagwriter.service: {EXPOSURE / 10}", said)

    def test_the_hardening_is_there(self):
        lines = (self.prefix / "lib/systemd/user/tagwriter.service").read_text().splitlines()
        self.assertEqual(HARDENING - set(lines), set())


if __name__ == "__main__":
    unittest.main()
