"""200 requests from four processes at once, for the same few files."""

import json
import os
import subprocess
import sys
import unittest
from pathlib import Path

import mutagen

from bus_support import BusTest
from load_client import REQUESTS, value
from processes import DEADLINE, children_of, wait_for

CLIENTS = 4
# Every second value makes them shorter.
FILES = ["ape_tagged.ape", "wavpack_tagged.wv", "mpc_tagged.mpc"]
NAMES = ["Title", "Artist", "Album", "Composer"]


class LoadTest(BusTest):

    def start(self, environment, files_of):
        """Starts the clients, lets them go together, and returns what they print."""
        environment = {**environment, "PYTHONDONTWRITEBYTECODE": "1"}
        script = Path(__file__).resolve().parent / "load_client.py"
        clients = []
        for i in range(CLIENTS):
            clients.append(subprocess.Popen(
                [sys.executable, script, str(i), self.directory, *map(str, files_of(i))],
                env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE))
            self.addCleanup(self.end, clients[-1])
        wait_for(lambda: len(list(self.directory.glob("ready *"))) == CLIENTS, "all clients are ready")
        (self.directory / "go").touch()
        return clients

    @staticmethod
    def end(client):
        if client.poll() is None:
            client.kill()
        client.communicate()

    def reports(self, clients):
        reports = []
        for client in clients:
            output, _ = client.communicate(timeout=2 * DEADLINE)
            self.assertEqual(client.returncode, 0)
            reports.append(json.loads(output))
        return reports

    @staticmethod
    def overlaps(reports):
        """How many files began to be shortened while another one was, and how many there were."""
        spans = sorted(span for report in reports for span in report["spans"])
        return sum(b[0] < a[1] for a, b in zip(spans, spans[1:])), len(spans)

    def assert_done(self, reports, files_of):
        for client, report in enumerate(reports):
            self.assertEqual(report["results"], [True] * REQUESTS)
            files = files_of(client)
            last = {files[turn // 2 % len(files)]: value(client, turn) for turn in range(REQUESTS)}
            for path, expected in last.items():
                self.assertEqual(str(mutagen.File(path).tags[NAMES[client]]), expected)

    def test_writes_one_file_at_a_time(self):
        bus = self.start_bus()
        caller = bus.caller()
        caller.ping_front()
        front = caller.front()
        files = [self.copy(name) for name in FILES]
        clients = self.start(bus.environment(), lambda _: files)
        workers = set()
        while any(client.poll() is None for client in clients):
            now = children_of(front.pid)
            self.assertLessEqual(len(now), 1)
            workers |= now.keys()
            select_any(clients)
        reports = self.reports(clients)
        self.assert_done(reports, lambda _: files)
        overlaps, spans = self.overlaps(reports)
        self.assertGreater(spans, CLIENTS * REQUESTS // 3, "too few files were shortened to tell")
        self.assertEqual(overlaps, 0)
        self.assertEqual(len(workers), 1)
        self.assertEqual(caller.front().pid, front.pid)

    def test_would_see_two_at_a_time(self):
        """The same load on a worker for each client."""
        files = [[self.copy(name, f"{i} {name}") for name in FILES] for i in range(CLIENTS)]
        clients = self.start({**os.environ, "ALONE": "1"}, files.__getitem__)
        reports = self.reports(clients)
        self.assert_done(reports, files.__getitem__)
        overlaps, spans = self.overlaps(reports)
        self.assertGreater(spans, CLIENTS * REQUESTS // 3)
        self.assertGreater(overlaps, 0)


def select_any(clients):
    """Waits a moment for one of the clients to end."""
    for client in clients:
        if client.poll() is None:
            try:
                client.wait(0.05)
            except subprocess.TimeoutExpired:
                pass
            return


if __name__ == "__main__":
    unittest.main()
