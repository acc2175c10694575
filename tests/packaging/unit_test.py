"""systemd accepts the user unit, and no edit loses a setting. packaging/try_unit runs it."""

import os
import unittest

from staging import StagingTest, run

# The result of "systemd-analyze security --offline=true" for the unit, times ten. It counts every
# option that only a system service can use; see packaging/tagwriter.service.in.
EXPOSURE = 59

# What the analysis does not cover, or not exactly.
SETTINGS = {
    "Type=dbus", "KillMode=mixed", "TimeoutStopSec=5min", "SystemCallErrorNumber=EPERM",
    "RestrictAddressFamilies=AF_UNIX", "UMask=0777", "LimitCORE=0", "TasksMax=32",
    "SystemCallFilter=@system-service",
    "SystemCallFilter=~@chown @clock @keyring @memlock @privileged @resources @setuid",
}


class UnitTest(StagingTest):
    def test_systemd_accepts_every_line_and_the_exposure_does_not_grow(self):
        def analyze(*arguments):
            return run("systemd-analyze", "--user", "--no-pager", *arguments, unit,
                       env={**os.environ, "XDG_RUNTIME_DIR": str(self.directory)})

        unit = self.prefix / "lib/systemd/user/tagwriter.service"
        self.assertEqual(analyze("--man=no", "verify"), "")
        analysis = analyze("security", "--offline=true", f"--threshold={EXPOSURE}")
        self.assertIn(f"Overall exposure level for tagwriter.service: {EXPOSURE / 10}", analysis)
        self.assertEqual(SETTINGS - set(unit.read_text().splitlines()), set())


if __name__ == "__main__":
    unittest.main()
