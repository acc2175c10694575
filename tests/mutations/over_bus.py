"""Damaged messages for the service on a private bus.

The bus disconnects a client whose message is malformed, so most of those with damaged bytes end
there. Every second message is well-formed and has odd contents instead: it reaches the front, and
through it the worker.
"""

import collections
import random
import shutil
import socket
import tempfile
from pathlib import Path

from damage import any_change, damaged_call
from growth import Growth
from player import Gio, GLib, text, write_call
from processes import children_of
from session import BUS_NAME, DAEMON, SessionBus
from support import DATA
from wire import HEADER_LENGTH, blob, receive_until, shake_hands

HELLO, DAMAGED, PROBE = 1, 2, 3  # serials
NO_REPLY = "org.freedesktop.DBus.Error.NoReply"


class BusClient:
    """A connection to the bus that sends any bytes."""

    def __init__(self, bus):
        self.address = str(bus.directory / "bus")
        self.connect()

    def connect(self):
        """Or connects again."""
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(self.address)
        shake_hands(self.socket)
        self.call(blob(Gio.DBusMessage.new_method_call(*DAEMON, "Hello"), HELLO), HELLO)

    def call(self, data, serial, fds=(), last=False):
        """Sends it, as the last data of the connection if so. Returns what was received up to the
        reply to `serial`, by the serials of the calls."""
        try:
            sent = socket.send_fds(self.socket, [data], fds)
            self.socket.sendall(data[sent:])
            if last:
                self.socket.shutdown(socket.SHUT_WR)
            return receive_until(self.socket, serial)
        except (BrokenPipeError, ConnectionResetError):
            return {}

    def reconnect(self):
        """Ends this connection, and starts another."""
        self.socket.close()
        self.connect()


class Served:
    """The front, which must stay the same, and its workers."""

    MAX_DESCRIPTORS = 40  # it has about 20

    def __init__(self, caller):
        caller.ping_front()
        self.caller, self.front = caller, caller.front()
        self.memory, self.failures = {}, []

    def check(self, seed):
        """The front has not exited, and nothing grows."""
        self.caller.ping_front()
        if self.front.ended():
            raise AssertionError(f"seed {seed}: the front has exited")
        for pid in (self.front.pid, *children_of(self.front.pid)):
            if grown := self.memory.setdefault(pid, Growth()).beyond_limit(pid):
                self.failures.append(f"seed {seed}: process {pid} has grown to {grown} bytes")
        if len(self.front.descriptors()) > self.MAX_DESCRIPTORS:
            self.failures.append(f"seed {seed}: the front has {self.front.descriptors()}")


def write_blob(request, serial, fds=()):
    """The bytes of a Write to the service."""
    call = write_call(request, fds)
    call.set_destination(BUS_NAME)
    return blob(call, serial)


def probe():
    """A request after which all before it have been processed: the front has one queue."""
    return write_blob({"path": text("p.mp3"), "clearartwork": GLib.Variant("b", True)}, PROBE)


def has_stated_length(data):
    """Whether the message is as long as its header says. Otherwise the bus would wait for more."""
    try:
        return (len(data) >= HEADER_LENGTH and
                Gio.DBusMessage.bytes_needed(data[:HEADER_LENGTH]) == len(data))
    except GLib.Error:
        return False


def outcome_of(replies):
    """What happened to the damaged message."""
    if PROBE not in replies:
        return "refused by the bus"
    if DAMAGED not in replies:
        return "without a reply"
    return replies[DAMAGED].get_error_name() or "answered"


def send_messages(directory, seeds):
    """Sends a damaged message for each seed. Prints what happened to them and returns what should
    not have happened."""
    path = shutil.copy(Path(DATA, "mp3_plain.mp3"), directory)
    outcomes = collections.Counter()
    with SessionBus(tempfile.mkdtemp(dir=directory)) as bus:
        served, client = Served(bus.caller()), BusClient(bus)
        for seed in seeds:
            generator = random.Random(f"bus {seed}")
            with open(path, "rb+") as file:
                data = damaged_call(generator, any_change(generator, path),
                                    lambda request: write_blob(request, DAMAGED, [file]))
                last = not has_stated_length(data)
                outcome = outcome_of(client.call(data + probe(), PROBE, [file.fileno()], last))
            outcomes[outcome] += 1
            if outcome == "refused by the bus":
                client.reconnect()
            if outcome == NO_REPLY:
                served.failures.append(f"seed {seed}: the worker has died")
            if seed % 100 == 0:
                served.check(seed)
        served.check("last")
    print(f"  {dict(outcomes)}; {len(served.memory) - 1} workers")
    return served.failures
