"""Workers and buses that end while players wait for them.

Each function returns a sentence on what it did. It raises AssertionError if something was lost,
answered more than once, or not answered.
"""

import contextlib
import os
import signal
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor

from load import CLIENTS
from monitor import Monitor
from player import GLib, RemoteError, change, reply_values, text
from processes import DEADLINE, children_of, wait_for
from session import SessionBus
from songs import (any_text, check, generator_for, make_songs, opened, require, two_sources)


class Interrupted:
    """Clients that send requests over a bus, while something ends now and then that they need."""

    def __init__(self, directory, name):
        self.bus = SessionBus(tempfile.mkdtemp(dir=directory))
        self.songs = [make_songs(directory, f"{name} {client}", two_sources(client))
                      for client in range(CLIENTS)]
        self.answered = self.failed = 0
        self.lock = threading.Lock()

    def run(self, client, generator, caller):
        """One request; it is answered, or fails with a reason. Returns None, or a function to call
        when nobody can carry it out any more."""
        song = generator.choice(self.songs[client])
        title = any_text(generator)
        after = {**song.expected, "title": [title]}
        with opened(song) as fds:
            future = caller.write_later(change("title", text(title), song.path), fds)
        try:
            reply = reply_values(future.result(DEADLINE))
        except (RemoteError, GLib.Error):
            with self.lock:
                self.failed += 1
            return lambda: song.settle(after)
        require(reply["result"].get_boolean(), f"{song.path}: false")
        song.expected = after
        with self.lock:
            self.answered += 1
        return None

    def summary(self):
        """Checks all songs."""
        check([song for songs in self.songs for song in songs])
        return f"{self.answered:,} requests were answered, {self.failed:,} failed with an error"


def of_workers(seconds, directory, seed=0):
    """A worker that is killed every second, or more often if the time is short."""
    clients = Interrupted(directory, "killed")
    pause, kills = min(1, seconds / 5), 0
    end = time.monotonic() + seconds
    with clients.bus as bus:
        monitor = Monitor(bus)
        callers = [bus.caller() for _ in range(CLIENTS)]
        callers[0].ping_front()
        front = callers[0].front()

        def run(client):
            generator = generator_for("killed", client, seed)
            while time.monotonic() < end:
                if settle := clients.run(client, generator, callers[client]):
                    settle()

        with ThreadPoolExecutor(CLIENTS) as pool:
            running = [pool.submit(run, client) for client in range(CLIENTS)]
            while time.monotonic() < end:
                time.sleep(pause)
                for pid in children_of(front.pid):
                    with contextlib.suppress(ProcessLookupError):
                        os.kill(pid, signal.SIGKILL)
                        kills += 1
            for future in running:
                future.result(DEADLINE)
        require(not front.ended(), "the front has exited")
        monitor.require_one_reply_each(callers[0])
    return (f"{kills} workers killed in {seconds} s; {clients.summary()}, and none got a second "
            "reply")


def of_the_bus(rounds, directory, seed=0):
    """A bus that is ended in the middle of requests, and started again."""
    clients = Interrupted(directory, "restarted")
    with clients.bus as bus:
        for number in range(rounds):
            monitor = Monitor(bus)
            callers = [bus.caller() for _ in range(CLIENTS)]
            stop = threading.Event()

            def run(client, callers=callers, stop=stop, number=number):
                generator = generator_for("restarted", client, number, seed)
                settle = None
                while not settle and not stop.is_set():
                    settle = clients.run(client, generator, callers[client])
                return settle

            with ThreadPoolExecutor(CLIENTS) as pool:
                running = [pool.submit(run, client) for client in range(CLIENTS)]
                before = clients.answered
                wait_for(lambda: clients.answered > before + CLIENTS, "the clients are served")
                bus.restart()
                monitor.require_one_reply_at_most()
                stop.set()
                for settle in [future.result(DEADLINE) for future in running]:
                    if settle:
                        settle()
    return (f"{rounds} restarts of the bus; {clients.summary()}, and none got a second reply")
