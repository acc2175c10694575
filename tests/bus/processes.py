"""Processes that are not children of the test, and waiting for conditions."""

import os
import select
import signal
import time
from pathlib import Path

# How long anything may take, in seconds: far more than it takes, so that only failures reach it.
DEADLINE = 60


def wait_for(condition, what):
    """Waits until `condition()` is true and returns what it returned."""
    end = time.monotonic() + DEADLINE
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"timed out waiting until {what}")
        time.sleep(0.002)
    return result


def children_of(parent):
    """The running child processes of `parent`, as {pid: program}."""
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
    """A process, held by a pidfd so that its ID cannot be reused."""

    def __init__(self, pid):
        self.pid = pid
        self._handle = os.pidfd_open(pid)

    def __del__(self):
        os.close(self._handle)

    def send(self, number):
        """Sends a signal, unless the process has exited."""
        try:
            signal.pidfd_send_signal(self._handle, number)
        except ProcessLookupError:
            pass

    def ended(self, within=0):
        """Whether the process exits within so many seconds."""
        poll = select.poll()
        poll.register(self._handle, select.POLLIN)
        return bool(poll.poll(within * 1000))

    def wait(self):
        """Waits for it to exit."""
        if not self.ended(DEADLINE):
            raise AssertionError(f"process {self.pid} does not exit")

    def is_idle_after(self, number):
        """Whether it sleeps and has received the signal that it was sent."""
        status = Path(f"/proc/{self.pid}/status").read_text()
        pending = int(status.split("ShdPnd:")[1].split()[0], 16)
        return "State:\tS" in status and not pending & 1 << number - 1

    def descriptors(self):
        """What its open descriptors point to, sorted; sockets and pipes without their numbers."""
        found = []
        for name in os.listdir(f"/proc/{self.pid}/fd"):
            try:
                found.append(os.readlink(f"/proc/{self.pid}/fd/{name}").split(":[")[0])
            except FileNotFoundError:
                pass
        return sorted(found)
