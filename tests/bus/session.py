"""A private session bus: a real dbus-daemon that activates the front from the build tree.

    with SessionBus(directory) as bus:
        caller = bus.caller()
        reply = caller.write(change("title", text("Word"), path), [file])

Nothing waits for longer than DEADLINE seconds. Closing the bus waits for all processes that it has
started, and kills those that do not exit.
"""

import os
import signal
import subprocess
import sys
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parent.parent / "player"))

from player import OBJECT, PEER_INTERFACE, Connection, Gio, GLib  # noqa: E402
from processes import DEADLINE, Process  # noqa: E402

BIN = Path(os.environ["TAGWRITER_BIN"])
FRONT = BIN / "tagwriter-bus"
WORKER = BIN / "tagwriterd"
BUS_NAME = "org.tagwriter.TagWriter"

DAEMON = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={directory}/bus</listen>
  <servicedir>{directory}/services</servicedir>
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
  <!-- As on every session bus. -->
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_incoming_unix_fds">250000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_outgoing_unix_fds">250000000</limit>
  <limit name="max_message_size">1000000000</limit>
  <limit name="max_pending_service_starts">10000</limit>
  <limit name="max_replies_per_connection">50000</limit>
</busconfig>
"""

MARK = "SESSION_BUS_OF_TEST"


class Caller(Connection):
    """A player on the bus."""

    destination = BUS_NAME

    def __init__(self, address):
        flags = Gio.DBusConnectionFlags
        super().__init__(Gio.DBusConnection.new_for_address_sync(
            address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None))
        self.connection.set_exit_on_close(False)

    def call(self, destination, object_path, interface, method, body=None):
        """Makes any call and returns the body of the reply."""
        message = Gio.DBusMessage.new_method_call(destination, object_path, interface, method)
        if body is not None:
            message.set_body(body)
        return self.submit(message).result(DEADLINE)

    def ask_daemon(self, method, body=None):
        """Calls the bus itself and returns the one value of the reply."""
        return self.call(*DAEMON, method, body).unpack()[0]

    def ping_front(self, destination=BUS_NAME):
        """A round trip, after which the front has received all that this caller sent before."""
        self.call(destination, OBJECT, PEER_INTERFACE, "Ping")

    def owner(self):
        """The unique name of the front's connection, or None while nobody owns the name."""
        name = GLib.Variant("(s)", [BUS_NAME])
        owned = self.ask_daemon("NameHasOwner", name)
        return self.ask_daemon("GetNameOwner", name) if owned else None

    def front(self):
        """The process that owns the name."""
        name = GLib.Variant("(s)", [BUS_NAME])
        return Process(self.ask_daemon("GetConnectionUnixProcessID", name))

    def watch_owners(self):
        """Returns a list to which each new owner of the front's name is added, '' for none."""
        owners = []
        self.connection.signal_subscribe(
            DAEMON[0], DAEMON[2], "NameOwnerChanged", DAEMON[1], BUS_NAME,
            Gio.DBusSignalFlags.NONE, lambda *arguments: owners.append(arguments[5].unpack()[2]))
        self.ask_daemon("GetId")  # the match is in place
        return owners


class SessionBus:
    """A dbus-daemon. `front` is the command that it starts for the front's name, if any;
    `environment` is added to its environment."""

    def __init__(self, directory, front=(FRONT,), environment=None):
        self.directory = Path(directory)
        (self.directory / "services").mkdir()
        if front:
            command = " ".join(f'"{part}"' for part in front)
            (self.directory / "services" / f"{BUS_NAME}.service").write_text(
                f"[D-BUS Service]\nName={BUS_NAME}\nExec={command}\n")
        (self.directory / "bus.conf").write_text(CONFIGURATION.format(directory=self.directory))
        self._callers = []
        # Marks the processes that the daemon has started, directly or not.
        self._mark = f"{MARK}={directory}"
        self._environment = {**os.environ, **(environment or {}), MARK: str(directory)}
        self._start_daemon()

    def _start_daemon(self):
        with open(self.directory / "log", "a") as log:
            self.daemon = subprocess.Popen(
                ["dbus-daemon", "--nofork", "--nosyslog", "--print-address",
                 f"--config-file={self.directory}/bus.conf"],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log, env=self._environment)
        # Without the daemon's GUID, so that the address is valid for its successor too.
        self.address = self.daemon.stdout.readline().decode().strip().partition(",guid=")[0]
        if not self.address:
            raise AssertionError(f"dbus-daemon does not start: {self.log()}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def environment(self, **more):
        """The environment of a program on this bus."""
        return {**os.environ, "DBUS_SESSION_BUS_ADDRESS": self.address, **more}

    def caller(self):
        """A new connection, closed with the bus."""
        self._callers.append(Caller(self.address))
        return self._callers[-1]

    def log(self):
        """What the daemon and the processes that it has started have written to standard error."""
        return (self.directory / "log").read_text(errors="backslashreplace")

    def started(self):
        """The running processes that the daemon has started, directly or not."""
        found = []
        for entry in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{entry}/environ", "rb") as file:
                    environment = os.fsdecode(file.read()).split("\0")
                if self._mark in environment and int(entry) != self.daemon.pid:
                    found.append(Process(int(entry)))
            except (FileNotFoundError, ProcessLookupError, PermissionError):
                pass  # has exited, or is another user's
        return found

    def pause(self):
        """Stops the daemon: what is sent to it from now on waits in its sockets."""
        self.daemon.send_signal(signal.SIGSTOP)

    def resume(self):
        """Continues the daemon."""
        self.daemon.send_signal(signal.SIGCONT)

    def restart(self):
        """Ends the daemon and all that it has started, and restarts it at the same address."""
        self.close()
        self._callers = []
        self._start_daemon()

    def close(self):
        """Ends the daemon and waits for the processes that it has started to exit."""
        if self.daemon.poll() is None:
            started = self.started()
            for caller in self._callers:
                caller.disconnect()
            self.daemon.terminate()
            self.daemon.wait(DEADLINE)
            try:
                for process in started:
                    process.wait()
            finally:
                for process in started:
                    process.send(signal.SIGKILL)
        self.daemon.stdout.close()
