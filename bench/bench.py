"""Measures speed and memory, and compares with other programs.

Files are made in a temporary directory, in $TMPDIR or /tmp, which needs 4 GB.
"""

import argparse
import os
import sys
import tempfile

SOURCES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
DOCUMENT = os.path.join(SOURCES, "docs", "PERFORMANCE.md")

sys.path += [os.path.join(SOURCES, "tests", "player"), os.path.join(SOURCES, "docs")]
import confinement  # noqa: E402
import document  # noqa: E402
import jobs  # noqa: E402
import large  # noqa: E402
import library  # noqa: E402
import memory  # noqa: E402
import short  # noqa: E402

SECTIONS = [
    ("Edits that move the audio", large.section),
    ("Short edits", short.songs),
    ("Fresh FLAC files", short.fresh_flacs),
    ("Workers side by side", jobs.section),
    ("Confinement", confinement.section),
    ("The library and the command", library.section),
    ("Memory for text fields", memory.fields),
    ("Memory for covers", memory.covers),
]


def main():
    titles = [title for title, _ in SECTIONS]
    parser = argparse.ArgumentParser(description=__doc__, prog="./run bench")
    parser.add_argument("--write", action="store_true",
                        help="put the results into docs/PERFORMANCE.md")
    parser.add_argument("sections", nargs="*", metavar="SECTION", help="only these headings")
    arguments = parser.parse_args()
    if unknown := set(arguments.sections) - set(titles):
        parser.error(f"no such section: {', '.join(unknown)}")
    with tempfile.TemporaryDirectory(prefix="tagwriter-bench-") as directory:
        for title, section in SECTIONS:
            if arguments.sections and title not in arguments.sections:
                continue
            body = f"{section(directory)}\n{document.machine(directory)}"
            print(f"### {title}\n\n{body}")
            if arguments.write:
                document.write_section(DOCUMENT, "./run bench --write", title, body, titles.index)


if __name__ == "__main__":
    main()
