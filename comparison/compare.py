"""Gives the same jobs to this command and to other programs, and says what happened."""

import argparse
import os
import sys
import tempfile

SOURCES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
DOCUMENT = os.path.join(SOURCES, "docs", "COMPARISON.md")

sys.path += [os.path.join(SOURCES, "bench"), os.path.join(SOURCES, "docs")]
import abilities  # noqa: E402
import document  # noqa: E402
import failures  # noqa: E402
import formats  # noqa: E402
import mistakes  # noqa: E402
import programs  # noqa: E402
import speed  # noqa: E402
import values  # noqa: E402
from report import NOT_FOR_IT, Workshop  # noqa: E402
from songs import Songs  # noqa: E402


def summary(sections):
    """A table of jobs by programs."""
    rows = [[section.link(job), *(words.get(program, NOT_FOR_IT) for program in programs.ALL)]
            for section in sections for job, words in section.summary]
    return document.table(["job", *programs.ALL], rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__, prog="./run compare")
    parser.add_argument("--write", action="store_true",
                        help="put the results into docs/COMPARISON.md")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tagwriter-compare-") as directory:
        workshop = Workshop(directory, Songs(directory))
        sections = [formats.section(workshop), *values.sections(workshop),
                    *mistakes.sections(workshop, directory), *failures.sections(workshop),
                    speed.section(workshop), abilities.section(workshop)]
        load = f"The load average was {os.getloadavg()[0]:.1f} at the end of the run.\n"
        parts = [document.machine(directory), programs.versions(), load]
    parts += ["### Summary\n\n" + summary(sections)]
    parts += [section.markdown() for section in sections]
    results = "\n".join(parts)
    print(results)
    if arguments.write:
        document.write(DOCUMENT, "./run compare --write", results)


if __name__ == "__main__":
    main()
