"""Players that are killed in the middle of a request.

Each function returns a sentence on what it did. It raises AssertionError if something is damaged.
"""

import os
import re
import socket
import subprocess
import tempfile
from pathlib import Path

from player import GLib, Service, change, text
from processes import wait_for
from session import SessionBus
from songs import (Song, any_text, check, generator_for, make_songs, opened, require)
from support import samples
from truncation import TruncationEndpoint, hang_up
from wire import HANDSHAKE, shake_hands, write_blob

TAGWRITER = Path(os.environ["TAGWRITER_BIN"], "tagwriter")


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


def of_players(rounds, seed=0):
    """Players that die at each step of a request to their own worker. The request is carried out if
    all of it was sent."""
    generator = generator_for("deaths", seed)
    with tempfile.TemporaryDirectory(prefix="tagwriter-deaths-") as directory:
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
    return (f"{4 * rounds:,} players hung up at 4 steps; the {rounds} requests that were sent as a "
            f"whole were carried out, the halves were not, and {rounds} files that they did not "
            "truncate kept their audio")


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


class Command:
    """`tagwriter set` with some options, killed at one of its system calls."""

    def __init__(self, directory, options, bus=None):
        self.song = Song(directory, "mp3_plain.mp3", "-".join(["killed", *options]))
        self._options, self._trace = options, Path(directory, "trace")
        self._bus, self._caller = bus, bus and bus.caller()
        # A sanitizer cannot look for leaks in a traced process.
        leaks = ":".join([os.environ.get("ASAN_OPTIONS", ""), "detect_leaks=0"])
        self._environment = (bus.environment() if bus else os.environ) | {"ASAN_OPTIONS": leaks}
        self._later = Song(directory, "flac_plain.flac", "-".join(["later", *options]))

    def run(self, title, *injection):
        """Its exit code, when the service has finished, too: a private one has the same standard
        output, and the one on the bus works on one file at a time."""
        done = subprocess.run(
            ["strace", "-qq", "-o", self._trace, *injection, TAGWRITER, "set", "-t",
             f"title={title}", *self._options, self.song.path],
            env=self._environment, capture_output=True, check=False)
        if self._bus:
            with opened(self._later) as fds:
                self._caller.write(change("title", text(title), self._later.path), fds)
        return done.returncode

    def calls(self):
        """The names of the system calls of a run, in order."""
        require(self.run("first") == 0, "the command fails")
        self.song.expected = {**self.song.expected, "title": ["first"]}
        return re.findall(r"^(\w+)\(", self._trace.read_text(), flags=re.M)

    def kill_at(self, name, count):
        """Kills it at that call of this name. Returns whether it came so far, and whether the file
        has been edited."""
        title = f"{name} {count}"
        code = self.run(title, "-e", f"inject={name}:signal=KILL:when={count}")
        is_edited = self.song.settle({**self.song.expected, "title": [title]})
        check([self.song])
        require(code in (0, -9), f"exit code {code}")
        require(is_edited or code != 0, f"{title}: not edited")
        return code == -9, is_edited

    def remove_leftovers(self):
        """Returns how many copies there are, of a command that was killed in safe mode."""
        copies = list(Path(self.song.path).parent.glob(".*.tagwriter-*"))
        for copy in copies:
            copy.unlink()
        return len(copies)


def of_command(command, step=1, has_unnamed_files=True):
    """Kills it at each system call, or at the last and each `step`th before. What happened, in
    words. The copy has a name for a moment only where the file system has unnamed files."""
    calls = command.calls()
    kills = edits = leftovers = 0
    for number in range(len(calls) - 1, -1, -step):
        name = calls[number]
        was_killed, is_edited = command.kill_at(name, calls[:number + 1].count(name))
        kills += was_killed
        edits += was_killed and is_edited
        leftovers += command.remove_leftovers()
    require(kills > 0 and 0 < edits < kills, f"{kills} were killed, {edits} have edited the file")
    require(leftovers <= (1 if has_unnamed_files else kills), f"{leftovers} copies left behind")
    left = f"; {leftovers} left a copy behind" if leftovers else ""
    return f"killed {kills} times, file edited {edits} times, else as before{left}"


def of_commands(directory, step=1):
    """`tagwriter` killed at each system call."""
    lines = []
    with SessionBus(tempfile.mkdtemp(dir=directory)) as bus:
        for options in ([], ["--safe"], ["--bus"], ["--bus", "--safe"]):
            command = Command(directory, options, bus if "--bus" in options else None)
            name = " ".join(["tagwriter set", *options])
            lines.append(f"`{name}`, at each of its system calls: {of_command(command, step)}")
    return lines
