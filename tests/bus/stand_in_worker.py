#!/usr/bin/python3
"""A misbehaving worker, installed in place of tagwriterd. It speaks D-Bus by hand. STAND_IN selects
what it does on a request:

  babbles  sends garbage instead of the handshake, and does not exit
  calls    replies with a method call to the bus daemon that starts the service VICTIM, and exits
"""

import os
import signal
import socket
import sys

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


def respond(call):
    message = Gio.DBusMessage.new_method_call(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "StartServiceByName")
    message.set_body(GLib.Variant("(su)", (os.environ["VICTIM"], 0)))
    message.set_reply_serial(call.get_serial())
    send(message)
    message.set_header(Gio.DBusMessageHeaderField.REPLY_SERIAL, None)
    send(message)
    sys.exit(0)


if os.environ["STAND_IN"] == "babbles":
    connection.sendall(b"ready\r\n" * 100)
    while True:
        signal.pause()
while b"BEGIN\r\n" not in received:
    receive()
received = received.split(b"BEGIN\r\n", 1)[1]
connection.sendall(b"DATA\r\nOK " + b"0" * 32 + b"\r\nAGREE_UNIX_FD\r\n")
while True:
    call = next_message()
    if call.get_member() == "Write":
        respond(call)
    else:
        send(Gio.DBusMessage.new_method_reply(call))
