"""Processes that are not the test's own children, and waiting for what they do."""

import os
import select
import signal
import time
from pathlib import Path

# How long anything may take, in seconds. Far more than anything takes; only failures meet it.
DEADLINE = 60


def wait_for(condition, what):
    """Waits until `condition()` is true and returns what it returned."""
    end = time.monotonic() + DEADLINE
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain: {what}")
        time.sleep(0.002)
    return result


def children_of(parent):
    """The processes that `parent` has started and that have not ended, as {pid: program}."""
    found = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            stat = Path(f"/proc/{entry}/stat").read_text()
        except (FileNotFoundError, ProcessLookupError):
            continue
        program = stat[stat.index("(") + 1:stat.rindex(")")]
        state, parent_pid = stat[stat.rindex(")") + 2:].split()[:2]
        if int(parent_pid) == parent and state not in "ZX":
            found[int(entry)] = program
    return found


class Process:
    """Somebody else's child, held so that its number cannot come to mean another process."""

    def __init__(self, pid):
        self.pid = pid
        self._handle = os.pidfd_open(pid)

    def __del__(self):
        os.close(self._handle)

    def send(self, number):
        """Sends a signal; nothing when the process has ended."""
        try:
            signal.pidfd_send_signal(self._handle, number)
        except ProcessLookupError:
            pass

    def ended(self, within=0):
        """Whether the process ends within so many seconds."""
        return bool(select.select([self._handle], [], [], within)[0])

    def wait(self):
        """Waits for its end."""
        if not self.ended(DEADLINE):
            raise AssertionError(f"process {self.pid} does not end")

    def descriptors(self):
        """What its open descriptors point to, sorted; sockets and pipes without their numbers."""
        found = []
        for name in os.listdir(f"/proc/{self.pid}/fd"):
            try:
                found.append(os.readlink(f"/proc/{self.pid}/fd/{name}").split(":[")[0])
            except FileNotFoundError:
                pass
        return sorted(found)
