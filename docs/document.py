"""Puts tables and other results of a program into a document, between two marks."""

import datetime
import os
import platform
import re
import subprocess

END = "<!-- end of results -->\n"


def start(command):
    """The line before the results that `command` writes."""
    return f"<!-- results: written by `{command}` -->\n"


def table(head, rows):
    """A table in Markdown."""
    lines = [head, ["---"] * len(head), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines) + "\n"


def machine(directory):
    """The date and the kind of machine, without its name."""
    with open("/proc/cpuinfo") as file:
        model = next(line.split(":")[1].strip() for line in file if line.startswith("model name"))
    memory_size = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / (1 << 30)
    kind = subprocess.check_output(["df", "--output=fstype", directory], text=True).split()[-1]
    return (f"{datetime.date.today()}, {os.cpu_count()} cores of {model}, {memory_size:.0f} GiB of "
            f"memory, {kind}, Linux {platform.release().split('-')[0]}.\n")


def write(document, command, results):
    """Puts the results of `command` between the marks of the document."""
    before, _, after = parts(document, command)
    with open(document, "w") as file:
        file.write(f"{before}{start(command)}\n{results}\n{END}{after}")


def write_section(document, command, heading, body, order):
    """Replaces a section among the results of `command`, or adds it. The headings are sorted by
    order(heading)."""
    _, results, _ = parts(document, command)
    found = re.split(r"^### (.+)\n\n", results, flags=re.M)[1:]
    sections = dict(zip(found[::2], found[1::2])) | {heading: f"{body}\n"}
    text = "".join(f"### {name}\n\n{sections[name]}" for name in sorted(sections, key=order))
    write(document, command, text.removesuffix("\n"))


def parts(document, command):
    """What is before the results of `command`, the results, and what is after them."""
    with open(document) as file:
        before, rest = file.read().split(start(command))
    return before, *rest.split(END)
