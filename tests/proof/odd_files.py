#!/usr/bin/python3
"""Hundreds of odd but valid files, and every edit of each, in place and safe.

    export TAGWRITER_BIN=build/release/bin TAGWRITER_DATA=tests/data TAGWRITER_TAGLIB_SERIES=1
    tests/proof/odd_files.py [PATTERN]

After `./run test-taglib2`, series 2 is in build/taglib2/project/bin.
"""

import os
import sys
from pathlib import Path

TESTS = Path(__file__).resolve().parents[1]
sys.path += [str(TESTS / name) for name in ("player", "expectations")]

from odd import published  # noqa: E402
from odd.files import make  # noqa: E402
from odd.matrix import examine_all  # noqa: E402
from odd.trial import scratch_directory  # noqa: E402


def edit_all(pattern="*", step=1):
    """Tries all edits of every `step`th file whose name matches. Returns a report, the names of the
    files, and how the list of what TagLib changes differs from what is recorded."""
    with scratch_directory() as directory:
        make(os.environ["TAGWRITER_DATA"], directory)
        paths = sorted(Path(directory).glob(pattern))[::step]
        names = [path.name for path in paths]
        report = examine_all(paths)
    return report, names, list(published.mismatches(report.uses, names))


def summary(pattern="*"):
    """Tries everything, and writes the list. Returns sentences on it. Raises AssertionError if
    anything is not explained, or if the list was another one before."""
    report, names, mismatches = edit_all(pattern)
    published.write(report.uses, pattern)
    if report.problems + mismatches:
        raise AssertionError("\n".join(report.problems + mismatches))
    counts = report.counts
    not_decoded = ", ".join(f"`{name}`" for name in sorted(report.not_decoded))
    return (f"{len(names)} files. {counts['edits']:,} edits in place: {counts['accepted']:,} were "
            f"made, {counts['edits'] - counts['accepted']:,} refused, each as expected; the same "
            f"in safe mode: {counts['safe']:,}, of which the command refused "
            f"{counts['refused by the command']:,} by itself (there is a picture, no track number "
            f"for a number of tracks, or TagLib cannot read the file). ffmpeg decoded "
            f"{counts['decoded']:,} different files; it cannot decode the audio of these, of which "
            f"only the stored bytes were compared: {not_decoded}.\n")


if __name__ == "__main__":
    print(summary(*sys.argv[1:]), end="")
