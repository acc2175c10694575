"""The memory of a process that runs for long."""

import os

MAX_GROWTH = 64 << 20


class Growth:
    """Compares with what the process had when it was first looked at."""

    def __init__(self):
        self._first = None

    def beyond_limit(self, pid):
        """What the process has now, in bytes, if it has grown too much since then; else 0."""
        with open(f"/proc/{pid}/statm", encoding="ascii") as file:
            memory = int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")
        self._first = self._first or memory
        if memory <= self._first + MAX_GROWTH:
            return 0
        self._first = memory  # one report for each step
        return memory
