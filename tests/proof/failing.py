"""Edits on a file system that fails.

    failing.py

prints the rows as JSON. Needs root and FUSE.
"""

import functools
import json
import os
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path

TESTS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TESTS / "player"), str(TESTS / "bus")]

from edited_file import GROW, MODES, SHRINK, SOURCES, EditedFile, write  # noqa: E402
from processes import wait_for  # noqa: E402
from songs import require  # noqa: E402
from support import contents  # noqa: E402

FAILURES = [("read", "ESTALE"), ("write", "EIO"), ("write", "ENOSPC"), ("truncate", "EIO"),
            ("flush", "ENOSPC"), ("fsync", "EIO"), ("create", "EACCES"), ("rename", "EIO")]
# libfuse makes two renames of one over an open file, unless it is told not to.
TWO_RENAMES = [("rename", "EIO")]


@functools.cache
def grown(source):
    """What is in the file after the other edit."""
    with tempfile.TemporaryDirectory() as directory:
        path = write(directory, source)
        require(EditedFile(path).edit(*GROW) == ("written", ""), f"{path} does not grow")
        return contents(path)


class FailingFileSystem:
    """failing_fs.py, mounted. A failure is set by writing it into a file, which failing_fs.py
    removes when it has come."""

    def __init__(self, directory, *options):
        self.place = os.path.join(directory, "mounted")
        below = os.path.join(directory, "below")
        os.mkdir(below)
        os.mkdir(self.place)
        self._plan = Path(f"{self.place}.plan")
        self._server = subprocess.Popen([Path(__file__).parent / "failing_fs.py", below,
                                         self.place, *options])
        wait_for(lambda: os.path.ismount(self.place) or self._server.poll() is not None,
                 "the file system is mounted")
        require(self._server.poll() is None, "the file system cannot be mounted")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        subprocess.run(["umount", self.place], check=True)
        self._server.wait(60)

    def outcome(self, source, edit, options, failure):
        """Makes one edit during which one operation fails. Returns what happened; None if the
        operation did not come up so often."""
        path = write(self.place, source)
        if edit is SHRINK:
            Path(path).write_bytes(grown(source))
        file = EditedFile(path)
        self._plan.write_text(" ".join(map(str, failure)))
        status, message = file.edit(*edit, *options)
        came = not self._plan.exists()
        self._plan.unlink(missing_ok=True)
        require(came or status == "written", f"{path}: {message} without a failure")
        result = judge(file, edit, status, options, f"{path} {edit[0]} {options} {failure}")
        for name in os.listdir(self.place):
            os.unlink(os.path.join(self.place, name))
        return result if came else None


def judge(file, edit, status, options, what):
    """What has happened to a file, in words; raises AssertionError if it must not happen."""
    require(os.path.exists(file.path), f"{what}: the file is gone")
    if status == "written":
        require(file.has(edit), f"{what}: not as it must be")
        return "edited"
    if status == "refused":
        require(file.is_unchanged(), f"{what}: refused, and the file has changed")
        return "refused"
    require(not options or file.is_unchanged(), f"{what}: the file has changed in safe mode")
    return "refused" if options else "may be damaged"


def rows_of(file_system, failures):
    """A row for each failure."""
    rows = []
    for operation, error in failures:
        cells = []
        for options in MODES.values():
            counts = Counter(outcome for source in SOURCES for edit in (GROW, SHRINK)
                             for outcome in outcomes(file_system, source, edit, options,
                                                     (operation, error)))
            cells.append(", ".join(f"{count} × {what}" for what, count in sorted(counts.items())))
        require(any(cells), f"{operation} never failed")
        rows.append([f"{operation}: {error}", *(cell or "–" for cell in cells)])
    return rows


def outcomes(file_system, source, edit, options, failure):
    """The first such operation of an edit fails, then the second, to the last."""
    operation, error = failure
    step = 1
    while outcome := file_system.outcome(source, edit, options, (operation, step, error)):
        yield outcome
        step += 1


def main():
    with tempfile.TemporaryDirectory(prefix="tagwriter-failing-") as directory:
        with FailingFileSystem(directory, "--hard-remove") as file_system:
            rows = rows_of(file_system, FAILURES)
    with tempfile.TemporaryDirectory(prefix="tagwriter-failing-") as directory:
        with FailingFileSystem(directory) as file_system:
            rows += [[f"{name}, one of two", *cells]
                     for name, *cells in rows_of(file_system, TWO_RENAMES)]
    print(json.dumps(rows))


def rows():
    """The rows, made in a mount namespace that ends with them."""
    done = subprocess.run(["unshare", "--mount", sys.executable, "-B", __file__],
                          stdout=subprocess.PIPE, text=True, check=False)
    require(done.returncode == 0, "the failing file system: see above")
    return json.loads(done.stdout.splitlines()[-1])


if __name__ == "__main__":
    main()
