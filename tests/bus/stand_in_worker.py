#!/usr/bin/python3
"""A misbehaving worker, installed in place of tagwriterd. It speaks D-Bus by hand. STAND_IN selects
what it does on a request:

  babbles  sends garbage instead of the handshake, and does not exit
  mute     sends nothing at all, and does not exit
  calls    replies with a method call to the bus daemon that starts the service VICTIM, and exits
  leaves   receives nothing further, replies, and exits
  strays   replies with what it can do to the file PRIVATE, the process PROCESS and the network
  toils    replies after so many SECONDS of work that is mostly waiting, as for a slow disk
"""

import os
import signal
import socket
import sys
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

CAPABILITIES = Gio.DBusCapabilityFlags.UNIX_FD_PASSING
connection = socket.socket(fileno=int(sys.argv[1].removeprefix("--fd=")))
received = b""


def receive():
    global received
    piece = connection.recv(65536)
    received += piece or sys.exit(0)


def next_message():
    global received
    while len(received) < 16 or len(received) < Gio.DBusMessage.bytes_needed(received):
        receive()
    length = Gio.DBusMessage.bytes_needed(received)
    message = Gio.DBusMessage.new_from_blob(received[:length], CAPABILITIES)
    received = received[length:]
    return message


def send(message):
    message.set_serial(1000)
    connection.sendall(bytes(message.to_blob(CAPABILITIES)))


def reply(call, **values):
    message = Gio.DBusMessage.new_method_reply(call)
    values = {key: GLib.Variant("b", value) for key, value in values.items()}
    message.set_body(GLib.Variant("(a{sv})", (values or {"result": GLib.Variant("b", True)},)))
    message.set_destination(call.get_sender())
    send(message)


def leave(call):
    connection.shutdown(socket.SHUT_RD)
    reply(call)
    sys.exit(0)


def is_permitted(function, *arguments):
    try:
        function(*arguments)
    except PermissionError:
        return False
    except ConnectionRefusedError:
        pass
    return True


def stray(call):
    private, process = os.environ["PRIVATE"], int(os.environ["PROCESS"])
    reply(call, read=is_permitted(open, private), write=is_permitted(open, private, "a"),
          create=is_permitted(open, private + ".new", "w"),
          execute=is_permitted(os.posix_spawn, private, ["private"], {}),
          list=is_permitted(os.listdir, os.path.dirname(private)),
          signal=is_permitted(os.kill, process, 0),
          connect=is_permitted(socket.create_connection, ("127.0.0.1", 1)),
          read_system_files=is_permitted(os.listdir, "/usr/bin"))


def toil(call):
    end = time.monotonic() + float(os.environ["SECONDS"])
    while time.monotonic() < end:
        time.sleep(0.05)
    reply(call)


def call_the_bus(call):
    message = Gio.DBusMessage.new_method_call(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "StartServiceByName")
    message.set_body(GLib.Variant("(su)", (os.environ["VICTIM"], 0)))
    message.set_reply_serial(call.get_serial())
    send(message)
    message.set_header(Gio.DBusMessageHeaderField.REPLY_SERIAL, None)
    send(message)
    sys.exit(0)


how = os.environ["STAND_IN"]
if how in ("babbles", "mute"):
    connection.sendall(b"ready\r\n" * 100 if how == "babbles" else b"")
    while True:
        signal.pause()
while b"BEGIN\r\n" not in received:
    receive()
received = received.split(b"BEGIN\r\n", 1)[1]
connection.sendall(b"DATA\r\nOK " + b"0" * 32 + b"\r\nAGREE_UNIX_FD\r\n")
while True:
    call = next_message()
    if call.get_member() == "Write":
        {"calls": call_the_bus, "leaves": leave, "strays": stray,
         "toils": toil}[how](call)
    else:
        send(Gio.DBusMessage.new_method_reply(call))
