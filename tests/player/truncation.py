"""The player's truncation endpoint, served with GLib on a separate thread.

    with TruncationEndpoint() as endpoint:
        request["truncateconnection"] = GLib.Variant("h", 1)
        player.write(request, [file, endpoint.theirs])
    assert endpoint.calls[0].size == 1776

The endpoint replies what the function that it is given returns.
"""

import dataclasses
import os
import socket
import threading

from player import DEADLINE, Gio, GLib, dictionary

OBJECT = "/org/tagwriter/Truncation"
INTERFACE_NAME = "org.tagwriter.Truncation1"
INTERFACE_XML = """<node><interface name="%s"><method name="Truncate">
  <arg name="request" type="a{sv}" direction="in"/>
  <arg name="reply" type="%s" direction="out"/>
</method></interface></node>"""


@dataclasses.dataclass
class TruncateCall:
    """A call of Truncate. `fd` is open only until the reply is sent."""
    endpoint: "TruncationEndpoint"
    types: dict  # the type of each value of the request
    fd: int
    file: os.stat_result  # of the file behind `fd`, when the call came
    size: int


class Refusal(Exception):
    """Raised by such a function to reply with a D-Bus error of this name."""

    def __init__(self, text, name="org.tagwriter.Test.Refused"):
        super().__init__(text)
        self.name = name


def shorten(call):
    """Replies as a player does: truncates the file and returns an empty dictionary."""
    os.ftruncate(call.fd, call.size)
    return dictionary({})


def refuse(_call):
    """Replies with a D-Bus error and does not truncate the file."""
    raise Refusal("the player says no")


def keep_silent(_call):
    """Never replies."""
    return None


def hang_up(call):
    """Hangs up instead of replying."""
    call.endpoint.hang_up()
    return None


class TruncationEndpoint:
    """An endpoint. `theirs` is the end of its socketpair that goes into a request."""

    def __init__(self, answer=shorten, reply_type="a{sv}"):
        self.calls = []
        self.handshakes = 0
        self.closed = threading.Event()  # set when a connected service hangs up
        self._answer = answer
        self._problems = []
        self._interface = Gio.DBusNodeInfo.new_for_xml(
            INTERFACE_XML % (INTERFACE_NAME, reply_type)).interfaces[0]
        ours, self.theirs = socket.socketpair()
        self._ours = ours.dup()
        self._thread = threading.Thread(target=self._serve, args=[ours.detach()], daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.theirs.close()
        self.hang_up()
        self._thread.join(DEADLINE)
        if self._thread.is_alive():
            raise AssertionError("the truncation endpoint does not exit")
        self._ours.close()
        if self._problems:
            raise self._problems[0]

    def hang_up(self):
        """Closes the connection at once."""
        try:
            self._ours.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # the service was faster

    def _serve(self, fd):
        context = GLib.MainContext.new()
        context.push_thread_default()
        try:
            self._serve_in(context, fd)
        except GLib.Error:
            pass  # no handshake before the other side hung up
        finally:
            context.pop_thread_default()

    def _serve_in(self, context, fd):
        flags = Gio.DBusConnectionFlags
        # Without the delay the first call could arrive before the object is there.
        connection = Gio.DBusConnection.new_sync(
            Gio.Socket.new_from_fd(fd).connection_factory_create_connection(),
            Gio.dbus_generate_guid(),
            flags.AUTHENTICATION_SERVER | flags.AUTHENTICATION_ALLOW_ANONYMOUS
            | flags.DELAY_MESSAGE_PROCESSING, None, None)
        self.handshakes += 1
        loop = GLib.MainLoop.new(context, False)
        connection.connect("closed", lambda *_: loop.quit())
        connection.register_object(OBJECT, self._interface, self._on_call, None, None)
        connection.start_message_processing()
        loop.run()
        self.closed.set()

    def _on_call(self, _connection, _sender, _path, _interface, _method, arguments, invocation):
        try:
            answer = self._answer_to(arguments.get_child_value(0), invocation.get_message())
        except Refusal as refusal:
            invocation.return_dbus_error(refusal.name, str(refusal))
        except Exception as problem:  # GLib would only print it
            self._problems.append(problem)
            self.hang_up()
        else:
            if answer is not None:
                invocation.return_value(GLib.Variant.new_tuple(answer))

    def _answer_to(self, request, message):
        values = {key: request.lookup_value(key, None) for key in request.keys()}
        fd = message.get_unix_fd_list().get(values["fd"].get_handle())
        try:
            types = {key: value.get_type_string() for key, value in values.items()}
            call = TruncateCall(self, types, fd, os.fstat(fd),
                                values["truncatesize"].get_uint64())
            self.calls.append(call)
            return self._answer(call)
        finally:
            os.close(fd)
