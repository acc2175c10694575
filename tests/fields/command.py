"""The command line, as the tests of the fields use it."""

import os
import subprocess
import tempfile

import reading  # noqa: F401, which finds the player's directory
from support import SANITIZER_REPORTS, ScratchTest, contents, run

TAGWRITER = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter")


def all_samples(paths):
    """A digest of the decoded audio of each of the files `paths`, a dict: one ffmpeg for all."""
    with tempfile.TemporaryDirectory() as directory:
        digests = {name: os.path.join(directory, str(i)) for i, name in enumerate(paths)}
        inputs = [flag for path in paths.values() for flag in ("-i", path)]
        outputs = [flag for i, digest in enumerate(digests.values())
                   for flag in ("-map", f"{i}:a", "-f", "md5", digest)]
        run("ffmpeg", "-v", "error", *inputs, *outputs)
        result = {name: contents(digest) for name, digest in digests.items()}
    if b"MD5=d41d8cd98f00b204e9800998ecf8427e\n" in result.values():
        raise AssertionError("a file without audio")
    return result


class CommandTest(ScratchTest):

    def tagwriter(self, *arguments):
        """Runs the command; no sanitizer may complain."""
        done = subprocess.run([TAGWRITER, *arguments], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=120, check=False)
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, done.stderr)
        return done

    def set_and_expect(self, assignments, paths, refused=()):
        """Sets fields in the files `paths`, a dict; exactly the files `refused` fail."""
        flags = [flag for assignment in assignments for flag in ("-t", assignment)]
        self._expect(self.tagwriter("set", *flags, *paths.values()), refused)

    def clear_and_expect(self, keys, paths, refused=()):
        """Clears fields in the files `paths`, a dict; exactly the files `refused` fail."""
        flags = [flag for key in keys for flag in ("-t", key)]
        self._expect(self.tagwriter("clear", *flags, *paths.values()), refused)

    def _expect(self, done, refused):
        named = [line.split(": ")[0] for line in done.stderr.splitlines()]
        self.assertEqual(named, list(refused), done.stderr)
        self.assertEqual(done.returncode, 1 if refused else 0, done.stderr)
