"""Many requests.

Each function returns a sentence on what it did. It raises AssertionError if something was lost,
answered wrongly or more than once, or not answered.
"""

import os
import tempfile
import threading
from concurrent.futures import ThreadPoolExecutor

from monitor import Monitor
from player import GLib, Player, RemoteError
from processes import children_of, wait_for
from session import SessionBus
from songs import check, generator_for, make_songs, opened, require, two_sources

CLIENTS = 8
MAX_GROWTH = 32 << 20
WARM_UP = 0.1  # of the requests
CHECK_EVERY = 500  # requests
INVALID_ARGS = "org.freedesktop.DBus.Error.InvalidArgs"


def resident_bytes(pid):
    """The memory of a process."""
    with open(f"/proc/{pid}/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def descriptors(pid):
    """How many it has."""
    return len(os.listdir(f"/proc/{pid}/fd"))


class Flatness:
    """That idle processes stop growing once they are warm, and keep no descriptors."""

    def __init__(self, pids):
        self.at_rest = {pid: descriptors(pid) for pid in pids}
        self._warm = {}
        self._lock = threading.Lock()

    def look(self):
        """Compares the memory with that at the first look."""
        for pid in self.at_rest:
            now = resident_bytes(pid)
            with self._lock:
                warm = self._warm.setdefault(pid, now)
            require(now <= warm + MAX_GROWTH, f"process {pid} has grown from {warm} to {now}")

    def summary(self):
        """Compares once more, when the processes are idle again. What they had and have."""
        self.look()
        for pid, count in self.at_rest.items():
            wait_for(lambda pid=pid, count=count: descriptors(pid) == count,
                     f"process {pid} has {count} descriptors again")
        growth = sum(resident_bytes(pid) - warm for pid, warm in self._warm.items())
        counts = " and ".join(map(str, self.at_rest.values()))
        return (f"grew by {growth >> 10} KiB after the first 10 %, with {counts} descriptors "
                "before and after")


def send(connection, song, generator):
    """Sends a request and checks its result; every 50th is malformed."""
    if generator.randrange(50) == 0:
        try:
            connection.write(GLib.Variant("s", "no dictionary"))
        except RemoteError as error:
            require(error.name in (INVALID_ARGS, "org.freedesktop.DBus.Error.UnknownMethod"), error)
            return
        raise AssertionError("a malformed request was answered")
    request, result, after = song.any_request(generator)
    with opened(song) as fds:
        reply = connection.write(request, fds if "fd" in request else ())
    require(result in (None, reply["result"].get_boolean()), f"{song.path}: {request}")
    song.expected = after


def send_all(count, connection, songs, generator, flatness):
    """Sends requests, and checks memory and songs now and then."""
    for number in range(1, count + 1):
        send(connection, generator.choice(songs), generator)
        if number >= count * WARM_UP and number % 100 == 0:
            flatness.look()
        if number % CHECK_EVERY == 0 or number == count:
            check(songs)


def one_worker(count, seed=0):
    """Requests to one private worker, which must stay the same and flat."""
    generator = generator_for("one worker", seed)
    with tempfile.TemporaryDirectory(prefix="tagwriter-load-") as directory, Player() as player:
        flatness = Flatness([player.service.pid])
        send_all(count, player, make_songs(directory, "songs"), generator, flatness)
        summary = flatness.summary()
        require(player.hang_up() == 0, "the worker did not exit normally")
    return f"{count:,} requests to one worker, which {summary}"


def one_bus(count, directory, seed=0):
    """Requests over a bus, by several clients at the same time."""
    with SessionBus(tempfile.mkdtemp(dir=directory)) as bus:
        monitor = Monitor(bus)
        callers = [bus.caller() for _ in range(CLIENTS)]
        send(callers[0], make_songs(directory, "first")[0], generator_for("first"))
        front = callers[0].front()
        flatness = Flatness([front.pid, *children_of(front.pid)])

        def run(client):
            send_all(count // CLIENTS, callers[client],
                     make_songs(directory, f"client {client}", two_sources(client)),
                     generator_for(client, seed), flatness)

        with ThreadPoolExecutor(CLIENTS) as pool:
            list(pool.map(run, range(CLIENTS)))
        summary = flatness.summary()
        answers = monitor.require_one_reply_each(callers[0])
    return (f"{answers:,} requests by {CLIENTS} clients over a bus, which saw one reply to each; "
            f"front and worker {summary}")
