"""A little of the load that `./run proof` makes."""

import sys
import unittest
from pathlib import Path

for directory in ("player", "bus"):
    sys.path.append(str(Path(__file__).resolve().parents[1] / directory))

import deaths  # noqa: E402
import ends  # noqa: E402
import load  # noqa: E402
from bus_support import BusTest  # noqa: E402


class LoadTest(BusTest):

    def test_one_worker(self):
        load.one_worker(300)

    def test_one_bus(self):
        load.one_bus(200, self.directory)

    def test_deaths_of_players(self):
        deaths.of_players(2)

    def test_deaths_of_commands(self):
        deaths.of_commands(self.directory, step=20)

    def test_deaths_of_workers(self):
        ends.of_workers(2, self.directory)

    def test_restarts_of_the_bus(self):
        ends.of_the_bus(2, self.directory)


if __name__ == "__main__":
    unittest.main()
