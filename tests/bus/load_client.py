"""One of several players that write into the same files: load_client.py NUMBER FOLDER FILE...

Speaks to the front of the session bus, or with ALONE=1 to a worker of its own. Makes every second
value short again, so that the service asks for the file to be shortened, and prints one line of JSON:
the results, and when the file behind which path was being shortened, in seconds since the boot.
"""

import json
import os
import sys
import time
from pathlib import Path

from processes import DEADLINE, wait_for
from session import Caller, GLib

from player import Player, change, text
from truncation import TruncationEndpoint, shorten

FIELDS = ["title", "artist", "album", "composer"]
REQUESTS = 50
AT_ONCE = 5


def value(client, turn):
    return f"{client} {turn} " + ("long " * 500 if turn % 2 else "")


class Load:
    def __init__(self, client, directory, files):
        self.client, self.directory, self.files = client, Path(directory), files
        self.alone = "ALONE" in os.environ
        self.player = Player() if self.alone else Caller(os.environ["DBUS_SESSION_BUS_ADDRESS"])
        self.at_once = 1 if self.alone else AT_ONCE  # a Player's requests are in no order
        self.spans = []

    def run(self):
        # All begin together.
        (self.directory / f"ready {self.client}").touch()
        wait_for((self.directory / "go").exists, "the start")
        results = []
        for first in range(0, REQUESTS, self.at_once):
            results += self.send(range(first, first + self.at_once))
        print(json.dumps({"results": results, "spans": self.spans}))

    def send(self, turns):
        endpoints = [TruncationEndpoint(self.shorten_slowly) for _ in turns]
        futures = []
        for turn, endpoint in zip(turns, endpoints):
            path = self.files[turn // 2 % len(self.files)]
            request = change(FIELDS[self.client], text(value(self.client, turn)), path)
            request["truncateconnection"] = GLib.Variant("h", 1)
            with open(path, "rb+") as file:
                futures.append(self.player.write_later(request, [file, endpoint.theirs]))
        results = [future.result(DEADLINE).unpack()[0]["result"] for future in futures]
        for endpoint in endpoints:
            endpoint.__exit__()
        return results

    def shorten_slowly(self, call):
        start = time.monotonic()
        if self.alone and not self.spans:
            # Nothing but chance keeps this one and another apart, so wait for the other.
            (self.directory / f"inside {self.client}").touch()
            wait_for(lambda: len(list(self.directory.glob("inside *"))) > 1, "another one inside")
        else:
            time.sleep(0.005)  # a wide target for whoever does not wait for it
        answer = shorten(call)
        self.spans.append([start, time.monotonic()])
        return answer


if __name__ == "__main__":
    Load(int(sys.argv[1]), sys.argv[2], sys.argv[3:]).run()
