"""Documents with results of a program between two marks."""

import datetime
import os
import platform
import subprocess

END = "<!-- end of results -->\n"


def start(command):
    """The line before the results that `command` writes."""
    return f"<!-- results: written by `{command}` -->\n"


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
    with open(document) as file:
        before, rest = file.read().split(start(command))
    after = rest.split(END)[1]
    with open(document, "w") as file:
        file.write(f"{before}{start(command)}\n{results}\n{END}{after}")
