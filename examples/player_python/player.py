#!/usr/bin/python3
"""A minimal player: writes a title to files through the session bus, which starts the service.

    player.py TITLE FILE...

Needs GLib for Python (Debian: python3-gi).
"""

import os
import socket
import sys
import threading

from gi.repository import Gio, GLib

TRUNCATION = Gio.DBusNodeInfo.new_for_xml("""
<node><interface name="org.tagwriter.Truncation1"><method name="Truncate">
  <arg name="request" type="a{sv}" direction="in"/>
  <arg name="reply" type="a{sv}" direction="out"/>
</method></interface></node>""").interfaces[0]


def on_truncate(_connection, _sender, _path, _interface, _method, arguments, invocation):
    request = arguments.unpack()[0]
    fds = invocation.get_message().get_unix_fd_list()
    file = fds.get(request["fd"])  # a duplicate, ours to close
    try:
        os.ftruncate(file, request["truncatesize"])
        print(f"truncated to {request['truncatesize']} bytes")
        invocation.return_value(GLib.Variant("(a{sv})", ({},)))
    except OSError as error:
        invocation.return_dbus_error("org.freedesktop.DBus.Error.Failed", str(error))
    finally:
        os.close(file)


def serve_truncation(fd):
    """Serves Truncate on our end of a socketpair until the service hangs up."""
    context = GLib.MainContext.new()
    context.push_thread_default()
    stream = Gio.Socket.new_from_fd(fd).connection_factory_create_connection()
    flags = (Gio.DBusConnectionFlags.AUTHENTICATION_SERVER |
             Gio.DBusConnectionFlags.DELAY_MESSAGE_PROCESSING)  # until the object is registered
    guid = Gio.dbus_generate_guid()
    try:
        connection = Gio.DBusConnection.new_sync(stream, guid, flags, None, None)
    except GLib.Error:
        return  # the service did not connect: nothing had to be truncated
    loop = GLib.MainLoop.new(context, False)
    connection.connect("closed", lambda *_: loop.quit())
    connection.register_object("/org/tagwriter/Truncation", TRUNCATION, on_truncate, None, None)
    connection.start_message_processing()
    loop.run()


def write_title(bus, path, title):
    """Returns whether the service wrote the title."""
    ours, theirs = socket.socketpair()
    # This thread waits for Write, so another one must serve Truncate. It ends when the other end of
    # the socketpair is closed, both here and in the service.
    threading.Thread(target=serve_truncation, args=[ours.detach()], daemon=True).start()

    fds = Gio.UnixFDList.new()
    with theirs, open(path, "rb+") as file:
        request = {
            "fd": GLib.Variant("h", fds.append(file.fileno())),
            # As bytes, because a path may not be UTF-8.
            "path": GLib.Variant.new_from_bytes(
                GLib.VariantType("ay"), GLib.Bytes(os.fsencode(path)), True),
            "changedtag": GLib.Variant("s", "title"),
            "track": GLib.Variant("a{sv}", {"title": GLib.Variant("s", title)}),
            "truncateconnection": GLib.Variant("h", fds.append(theirs.fileno())),
        }
        # Without a timeout: writing a large file to a slow disk may take minutes.
        reply, _ = bus.call_with_unix_fd_list_sync(
            "org.tagwriter.TagWriter", "/org/tagwriter/TagWriter", "org.tagwriter.TagWriter1",
            "Write", GLib.Variant("(a{sv})", (request,)), GLib.VariantType("(a{sv})"),
            Gio.DBusCallFlags.NONE, GLib.MAXINT, fds, None)
    return reply.unpack()[0]["result"]


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    failed = False
    for path in sys.argv[2:]:
        try:
            written = write_title(bus, path, sys.argv[1])
            print(f"{path}: {'written' if written else 'not written'}")
        except (OSError, GLib.Error) as error:
            written = False
            print(f"{path}: {error}", file=sys.stderr)
        failed = failed or not written
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
