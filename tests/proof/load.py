"""Many requests, and players, buses and workers that end in the middle of them.

Each function returns a sentence on what it did. It raises AssertionError if something was lost,
answered twice or wrongly, or not answered.
"""

import contextlib
import os
import signal
import socket
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor

from player import GLib, Player, RemoteError, Service, change, reply_values, text
from processes import DEADLINE, children_of, wait_for
from session import SessionBus
from songs import Song, any_text, generator_for, make_songs, opened, two_sources
from support import samples
from truncation import TruncationEndpoint, hang_up
from wire import HANDSHAKE, shake_hands, write_blob

CLIENTS = 8
MAX_GROWTH = 32 << 20
WARM_UP = 0.1  # of the requests
INVALID_ARGS = "org.freedesktop.DBus.Error.InvalidArgs"


def require(condition, message):
    """Raises AssertionError."""
    if not condition:
        raise AssertionError(message)


def check(songs):
    """The songs are as expected."""
    problems = [problem for song in songs for problem in song.problems()]
    require(not problems, "\n".join(problems))


def resident_bytes(pid):
    """The memory of a process."""
    with open(f"/proc/{pid}/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


class Flatness:
    """That processes stop growing once they are warm, and keep no descriptors."""

    def __init__(self):
        self._first = {}
        self._lock = threading.Lock()

    def look_at(self, pid):
        """Compares with the first time."""
        now = (resident_bytes(pid), len(os.listdir(f"/proc/{pid}/fd")))
        with self._lock:
            memory, descriptors = self._first.setdefault(pid, now)
        require(now[0] <= memory + MAX_GROWTH, f"process {pid} has grown from {memory} to {now[0]}")
        # A request brings a few, and those of the last one may still be being closed.
        require(now[1] <= descriptors + 2 * CLIENTS, f"process {pid} has {now[1]} descriptors")

    def growth(self):
        """Of all that still run, in bytes."""
        return sum(resident_bytes(pid) - memory for pid, (memory, _) in self._first.items()
                   if os.path.exists(f"/proc/{pid}"))


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


def one_worker(count, seed=0):
    """Requests to one private worker, which must stay the same and flat."""
    generator, flatness = generator_for("one worker", seed), Flatness()
    with tempfile.TemporaryDirectory(prefix="tagwriter-load-") as directory, Player() as player:
        songs = make_songs(directory, "songs")
        for number in range(count):
            send(player, generator.choice(songs), generator)
            if number >= count * WARM_UP and number % 100 == 0:
                flatness.look_at(player.service.pid)
        growth = flatness.growth()
        check(songs)
        require(player.hang_up() == 0, "the worker did not exit normally")
    return f"{count} requests to one worker, which grew by {growth >> 10} KiB after the first 10 %"


def one_bus(count, directory, seed=0):
    """Requests over a bus, by several clients at the same time."""
    flatness = Flatness()
    with SessionBus(tempfile.mkdtemp(dir=directory)) as bus:
        callers = [bus.caller() for _ in range(CLIENTS)]
        callers[0].ping_front()
        front = callers[0].front()

        def run(client):
            songs = make_songs(directory, f"client {client}", two_sources(client))
            generator = generator_for(client, seed)
            for number in range(count // CLIENTS):
                send(callers[client], generator.choice(songs), generator)
                if number >= count // CLIENTS * WARM_UP and number % 100 == 0:
                    for pid in (front.pid, *children_of(front.pid)):
                        flatness.look_at(pid)
            check(songs)

        with ThreadPoolExecutor(CLIENTS) as pool:
            list(pool.map(run, range(CLIENTS)))
        growth = flatness.growth()
        require(not front.ended(), "the front has exited")
    return (f"{count} requests by {CLIENTS} clients over a bus; front and worker grew by "
            f"{growth >> 10} KiB after the first 10 %")


def die_connecting(ours, _message, _fds):
    """What a player has sent that is killed while it connects. The kernel closes its socket."""
    ours.sendall(HANDSHAKE[:len(HANDSHAKE) // 2])


def die_in_message(ours, message, fds):
    """With half of a request sent."""
    shake_hands(ours)
    socket.send_fds(ours, [message[:len(message) // 2]], fds)


def die_waiting(ours, message, fds):
    """Before the reply."""
    shake_hands(ours)
    socket.send_fds(ours, [message], fds)


def deaths_of_players(rounds, seed=0):
    """Players that are killed at each step of a request to their own worker. The request is carried
    out if all of it was sent."""
    generator = generator_for("deaths", seed)
    with tempfile.TemporaryDirectory(prefix="tagwriter-load-") as directory:
        songs = make_songs(directory, "songs")
        for number in range(rounds):
            for die in (die_connecting, die_in_message, die_waiting):
                song, title = generator.choice(songs), f"{number} {any_text(generator)}"
                request = change("title", text(title), song.path)
                with Service() as service, opened(song) as fds:
                    die(service.socket, write_blob(request, 1, fds), [fds[0].fileno()])
                    service.socket.close()
                    require(service.wait() in (0, 1), f"{die.__name__}: {service.log()}")
                is_written = song.settle({**song.expected, "title": [title]})
                require(is_written == (die is die_waiting), f"{die.__name__}: {song.path}")
            die_truncating(directory)
        check(songs)
    return (f"{4 * rounds} players killed at 4 steps; the {rounds} requests that were sent as a "
            "whole were carried out, the halves were not")


def die_truncating(directory):
    """When the worker asks for a truncation. The file keeps its length, and its audio."""
    song = Song(directory, "wavpack_tagged.wv", "truncated")
    request = change("title", None, song.path)
    request["truncateconnection"] = GLib.Variant("h", 1)
    with Service() as service, TruncationEndpoint(hang_up) as endpoint, opened(song) as fds:
        ours = service.socket
        die_waiting(ours, write_blob(request, 1, [*fds, endpoint.theirs]),
                    [fds[0].fileno(), endpoint.theirs.fileno()])
        wait_for(lambda: endpoint.calls or not service.running(), "the truncation")
        require(endpoint.calls, "nothing was to be truncated")
        ours.close()
        require(service.wait() in (0, 1), service.log())
    require(samples(song.path) == song.audio, "the audio is another")


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
        return f"{self.answered} requests were answered, {self.failed} failed with an error"


def deaths_of_workers(seconds, directory, seed=0):
    """A worker that is killed every second, or more often if the time is short."""
    clients = Interrupted(directory, "killed")
    pause, kills = min(1, seconds / 5), 0
    end = time.monotonic() + seconds
    with clients.bus as bus:
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
    return f"{kills} workers killed in {seconds} s; {clients.summary()}"


def restarts_of_the_bus(rounds, directory, seed=0):
    """A bus that is ended in the middle of requests, and started again."""
    clients = Interrupted(directory, "restarted")
    with clients.bus as bus:
        for number in range(rounds):
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
                stop.set()
                for settle in [future.result(DEADLINE) for future in running]:
                    if settle:
                        settle()
    return f"{rounds} restarts of the bus; {clients.summary()}"
