"""Measures speed and memory, and compares with other programs.

Files are made in a temporary directory, in $TMPDIR or /tmp, which needs 4 GB.
"""

import argparse
import datetime
import os
import platform
import subprocess
import sys
import tempfile

SOURCES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
DOCUMENT = os.path.join(SOURCES, "docs", "PERFORMANCE.md")
START, END = "<!-- results: written by `./run bench --write` -->\n", "<!-- end of results -->\n"

sys.path.append(os.path.join(SOURCES, "tests", "player"))
import confinement  # noqa: E402
import jobs  # noqa: E402
import large  # noqa: E402
import memory  # noqa: E402
import short  # noqa: E402

SECTIONS = [
    ("Edits that move the audio", large.section),
    ("Short edits", short.songs),
    ("Fresh FLAC files", short.fresh_flacs),
    ("Workers side by side", jobs.section),
    ("Confinement", confinement.section),
    ("Memory for text fields", memory.fields),
    ("Memory for covers", memory.covers),
]


def machine(directory):
    """The date and the kind of machine, without its name."""
    with open("/proc/cpuinfo") as file:
        model = next(line.split(":")[1].strip() for line in file if line.startswith("model name"))
    memory_size = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / (1 << 30)
    kind = subprocess.check_output(["df", "--output=fstype", directory], text=True).split()[-1]
    return (f"{datetime.date.today()}, {os.cpu_count()} cores of {model}, {memory_size:.0f} GiB of "
            f"memory, {kind}, Linux {platform.release().split('-')[0]}.\n")


def write(results):
    """Puts the results between the marks of the document."""
    with open(DOCUMENT) as file:
        before, rest = file.read().split(START)
    after = rest.split(END)[1]
    with open(DOCUMENT, "w") as file:
        file.write(f"{before}{START}\n{results}\n{END}{after}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, prog="./run bench")
    parser.add_argument("--write", action="store_true",
                        help="put the results into docs/PERFORMANCE.md")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tagwriter-bench-") as directory:
        parts = [machine(directory)]
        parts += [f"### {title}\n\n{section(directory)}" for title, section in SECTIONS]
    results = "\n".join(parts)
    print(results)
    if arguments.write:
        write(results)


if __name__ == "__main__":
    main()
