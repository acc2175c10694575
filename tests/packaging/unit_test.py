"""systemd accepts the user unit, and no edit loses a setting. packaging/try_unit runs it."""

import os
import shutil
import unittest
from pathlib import Path

from staging import StagingTest, files_below, run

# The results of "systemd-analyze security --offline=true", times ten: for the unit, and with the
# namespaces that the generator adds. They count every option that only a system service can use;
# see packaging/tagwriter.service.in.
EXPOSURE, EXPOSURE_WITH_NAMESPACES = 59, 9

# What the analysis does not cover, or not exactly.
SETTINGS = {
    "Type=dbus", "KillMode=mixed", "TimeoutStopSec=5min", "SystemCallErrorNumber=EPERM",
    "RestrictAddressFamilies=AF_UNIX", "UMask=0777", "LimitCORE=0", "TasksMax=32",
    "SystemCallFilter=@system-service",
    "SystemCallFilter=~@chown @clock @keyring @memlock @privileged @resources @setuid",
    "SystemCallFilter=landlock_create_ruleset landlock_add_rule landlock_restrict_self seccomp",
}


class UnitTest(StagingTest):
    def setUp(self):
        super().setUp()
        installed = self.prefix / "lib/systemd/user/tagwriter.service"
        self.unit = Path(shutil.copy(installed, self.directory))

    def assert_accepted(self, exposure):
        """systemd accepts every line of the unit, and the exposure is this."""
        def analyze(*arguments):
            return run("systemd-analyze", "--user", "--no-pager", *arguments, self.unit,
                       env={**os.environ, "XDG_RUNTIME_DIR": str(self.directory)})

        self.assertEqual(analyze("--man=no", "verify"), "")
        analysis = analyze("security", "--offline=true", f"--threshold={exposure}")
        self.assertIn(f"Overall exposure level for tagwriter.service: {exposure / 10}", analysis)

    def generate(self, unshare):
        """Runs the generator, with another program in place of unshare."""
        (self.directory / "unshare").unlink(missing_ok=True)
        (self.directory / "unshare").symlink_to(unshare)
        generator = self.prefix / "lib/systemd/user-generators/tagwriter-namespaces"
        path = f"{self.directory}:{os.environ['PATH']}"
        run(generator, self.directory, env={**os.environ, "PATH": path})
        return files_below(self.directory / "tagwriter.service.d")

    def test_the_unit_is_accepted_and_the_exposure_does_not_grow(self):
        self.assert_accepted(EXPOSURE)
        self.assertEqual(SETTINGS - set(self.unit.read_text().splitlines()), set())

    def test_namespaces_are_added_where_users_may_create_them(self):
        self.assertEqual(self.generate("/bin/false"), [])
        self.assert_accepted(EXPOSURE)
        self.assertEqual(self.generate("/bin/true"), ["namespaces.conf"])
        self.assert_accepted(EXPOSURE_WITH_NAMESPACES)


if __name__ == "__main__":
    unittest.main()
