"""A player's side of the wire, in Python with GLib, sharing no code with the service.

    with Player() as player:
        with open("song.mp3", "rb+") as file:
            reply = player.write(change("title", text("Word"), "song.mp3"), [file])
    with Player(program=TAGREADERD) as player:
        with open("song.mp3", "rb") as file:
            reply = player.read({"path": text("song.mp3"), "fd": GLib.Variant("h", 0)}, [file])

Service starts tagwriterd, or tagreaderd, on one end of a socketpair. Player connects to the other
end and sends requests. Neither waits for anything longer than DEADLINE seconds.
"""

import concurrent.futures
import contextlib
import os
import socket
import subprocess
import sys
import tempfile
import threading

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

if "TAGWRITER_BIN" not in os.environ:
    sys.exit("Set TAGWRITER_BIN to the directory that holds tagwriterd")
TAGWRITERD = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriterd")
TAGREADERD = os.path.join(os.environ["TAGWRITER_BIN"], "tagreaderd")

OBJECT = "/org/tagwriter/TagWriter"
INTERFACE = "org.tagwriter.TagWriter1"
READER_OBJECT = "/org/tagwriter/TagReader"
READER_INTERFACE = "org.tagwriter.TagReader1"
PEER_INTERFACE = "org.freedesktop.DBus.Peer"

# How long anything may take, in seconds: far more than it takes, so that only failures reach it.
DEADLINE = 60
NO_TIME_LIMIT = GLib.MAXINT


class RemoteError(Exception):
    """A reply that is a D-Bus error."""

    def __init__(self, reply):
        body = reply.get_body()
        super().__init__(f"{reply.get_error_name()}: {body.unpack() if body else ''}")
        self.name = reply.get_error_name()


def text(value):
    """A string on the wire."""
    return GLib.Variant("s", value)


def number(value):
    """A signed integer on the wire."""
    return GLib.Variant("x", value)


def raw_bytes(value):
    """Bytes on the wire, without the NUL that GLib may append."""
    return GLib.Variant.new_from_bytes(GLib.VariantType("ay"), GLib.Bytes(value), True)


def dictionary(values):
    """A dictionary on the wire."""
    return GLib.Variant("a{sv}", values)


def dictionary_of_pairs(pairs):
    """The same from (key, value) pairs, which may contain duplicate keys."""
    builder = GLib.VariantBuilder(GLib.VariantType("a{sv}"))
    for key, value in pairs:
        entry = GLib.Variant.new_dict_entry(text(key), GLib.Variant.new_variant(value))
        builder.add_value(entry)
    return builder.end()


def change(field, value, path=None):
    """A request that changes one field; a value of None clears it. The file is descriptor 0."""
    request = {
        "fd": GLib.Variant("h", 0),
        "changedtag": text(field),
        "track": dictionary({} if value is None else {field: value}),
    }
    if path is not None:
        request["path"] = text(path)
    return request


def write_call(request, fds=()):
    """The message that carries a request to write, a dict or a variant."""
    return request_call((OBJECT, INTERFACE, "Write"), request, fds)


def read_call(request, fds=()):
    """The message that carries a request to read."""
    return request_call((READER_OBJECT, READER_INTERFACE, "Read"), request, fds)


def request_call(method, request, fds):
    """The message that carries a request for a method."""
    body = dictionary(request) if isinstance(request, dict) else request
    message = Gio.DBusMessage.new_method_call(None, *method)
    message.set_body(GLib.Variant.new_tuple(body))
    message.set_unix_fd_list(fd_list(fds))
    return message


def fd_list(fds):
    """Duplicates of descriptors or open files, for a message."""
    result = Gio.UnixFDList.new()
    for fd in fds:
        result.append(fd if isinstance(fd, int) else fd.fileno())
    return result


def reply_values(body):
    """The values in the one dictionary of a reply, as a dict of variants."""
    if body.get_type_string() != "(a{sv})":
        raise AssertionError(f"a reply of the type {body.get_type_string()}")
    found = body.get_child_value(0)
    result = {}
    for entry in map(found.get_child_value, range(found.n_children())):
        key = entry.get_child_value(0).get_string()
        if key in result:
            raise AssertionError(f"a reply in which {key} comes twice")
        result[key] = entry.get_child_value(1).get_variant()
    return result


class Service:
    """A private tagwriterd, or another `program`. `socket` is the player's end of its socketpair.
    `prepare` is a shell command that runs in its process before it starts, with these options."""

    def __init__(self, prepare="", options=(), program=TAGWRITERD):
        self.socket, theirs = socket.socketpair()
        self._log = tempfile.TemporaryFile()
        with theirs:
            self._process = subprocess.Popen(
                ["sh", "-c", f'{prepare}\nexec "$@"', "sh", program, f"--fd={theirs.fileno()}",
                 *options],
                pass_fds=[theirs.fileno()],
                stdin=subprocess.DEVNULL, stderr=self._log)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    @property
    def pid(self):
        """Of the process."""
        return self._process.pid

    def log(self):
        """The service's standard error so far."""
        size = os.fstat(self._log.fileno()).st_size
        return os.pread(self._log.fileno(), size, 0).decode(errors="backslashreplace")

    def descriptors(self):
        """The numbers of the service's open descriptors."""
        return [int(name) for name in os.listdir(f"/proc/{self._process.pid}/fd")]

    def descriptors_of(self, path):
        """How many of them are open on the file at `path`."""
        file, count = os.stat(path), 0
        for fd in self.descriptors():
            with contextlib.suppress(FileNotFoundError):  # closed meanwhile
                count += os.path.samestat(os.stat(f"/proc/{self._process.pid}/fd/{fd}"), file)
        return count

    def peak_memory(self):
        """The most memory that it had at a time, in bytes."""
        with open(f"/proc/{self._process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) << 10 for line in status if line.startswith("VmHWM:"))

    def running(self):
        """Whether the process has not exited."""
        return self._process.poll() is None

    def wait(self):
        """Waits for the process to exit; returns its exit code, -N after signal N."""
        return self._process.wait(DEADLINE)

    def close(self):
        """Hangs up, kills the process if it has not exited, and discards the log."""
        self.socket.close()
        if self.running():
            self._process.kill()
            self._process.wait()
        self._log.close()


class Connection:
    """A GLib connection to the service. A main loop on its own thread delivers replies."""

    destination = None  # a bus name, or None on a peer-to-peer connection
    _main_loop = None

    def __init__(self, connection):
        if not Connection._main_loop:
            Connection._main_loop = GLib.MainLoop()
            threading.Thread(target=Connection._main_loop.run, daemon=True).start()
        self.connection = connection

    def write(self, request, fds=()):
        """Sends a request, a dict or a variant, and returns the reply as a dict of variants."""
        return reply_values(self.write_later(request, fds).result(DEADLINE))

    def read(self, request, fds=()):
        """The same for a request to read."""
        return reply_values(self.submit(read_call(request, fds)).result(DEADLINE))

    def write_later(self, request, fds=(), destination=None):
        """Sends a request. Returns the future of the reply's body."""
        message = write_call(request, fds)
        message.set_destination(destination or self.destination)
        return self.submit(message)

    def submit(self, message):
        """Sends a call, without a timeout. Returns the future of the reply's body."""
        future = concurrent.futures.Future()
        self.connection.send_message_with_reply(
            message, Gio.DBusSendMessageFlags.NONE, NO_TIME_LIMIT, None, self._take_reply, future)
        return future

    @staticmethod
    def _take_reply(connection, result, future):
        try:
            reply = connection.send_message_with_reply_finish(result)
            if reply.get_message_type() == Gio.DBusMessageType.ERROR:
                raise RemoteError(reply)
        except (GLib.Error, RemoteError) as problem:
            future.set_exception(problem)
        else:
            future.set_result(reply.get_body())

    def send(self, message):
        """Sends a message without waiting for a reply."""
        self.connection.send_message(message, Gio.DBusSendMessageFlags.NONE)
        self.connection.flush_sync(None)

    def disconnect(self):
        """Closes the connection, which the service may do at the same time."""
        try:
            self.connection.close_sync(None)
        except GLib.Error as problem:
            if not problem.matches(Gio.io_error_quark(), Gio.IOErrorEnum.CLOSED):
                raise


class Player(Connection):
    """A service with a connection to it."""

    def __init__(self, prepare="", options=(), program=TAGWRITERD):
        self.service = Service(prepare, options, program)
        ours = Gio.Socket.new_from_fd(self.service.socket.detach())
        super().__init__(Gio.DBusConnection.new_sync(
            ours.connection_factory_create_connection(), None,
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT, None, None))
        self.ping()  # the first message must not carry a descriptor

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def ping(self):
        """A round trip, after which the service has finished all earlier requests."""
        self.call(PEER_INTERFACE, "Ping", None)

    def call(self, interface, method, body, object_path=OBJECT):
        """Makes any call and returns the body of the reply."""
        message = Gio.DBusMessage.new_method_call(None, object_path, interface, method)
        if body is not None:
            message.set_body(body)
        return self.submit(message).result(DEADLINE)

    def hang_up(self):
        """Closes the connection and waits for the service to exit. Returns its exit code."""
        self.disconnect()
        return self.service.wait()

    def close(self):
        """Ends connection and service, whatever their state."""
        self.service.close()
        self.disconnect()
