"""What passes over a bus, as its daemon sees it."""

import subprocess
from collections import Counter
from pathlib import Path

from player import PEER_INTERFACE
from processes import wait_for
from session import BUS_NAME, DAEMON

END = "/end/of/the/record"


class Monitor:
    """Records the calls and replies on a bus until it ends."""

    def __init__(self, bus):
        self._record = Path(bus.directory, f"record of {bus.daemon.pid}")
        with open(self._record, "w", encoding="ascii") as record:
            self._process = subprocess.Popen(
                ["dbus-monitor", "--address", bus.address, "--profile"], stdout=record)
        wait_for(lambda: "NameLost" in self._record.read_text(), "dbus-monitor is a monitor")

    def _replies(self):
        """How many there are to each request to write."""
        rows = [line.split("\t") for line in self._record.read_text().splitlines()]
        replies = Counter((destination, to) for kind, _, _, _, destination, to, *_ in
                          filter(lambda row: row[0] in ("mr", "err"), rows))
        return [replies[sender, serial] for kind, _, serial, sender, destination, *_, member in
                filter(lambda row: row[0] == "mc", rows)
                if (destination, member) == (BUS_NAME, "Write")]

    def require_one_reply_each(self, caller):
        """Raises AssertionError if a request has another number of replies. Returns how many
        requests there are. Nobody may wait for a reply."""
        caller.call(DAEMON[0], END, PEER_INTERFACE, "Ping")
        wait_for(lambda: END in self._record.read_text(), "the monitor has seen everything")
        counts = self._replies()
        if set(counts) != {1}:
            raise AssertionError(f"replies to a request: {Counter(counts)}")
        return len(counts)

    def require_one_reply_at_most(self):
        """The same for a bus that has ended, on which replies may be missing."""
        self._process.wait(60)
        counts = self._replies()
        if not counts or max(counts) > 1:
            raise AssertionError(f"replies to a request: {Counter(counts)}")
        return len(counts)
