#!/usr/bin/python3
"""A worker that misbehaves, to be put in the place of tagwriterd. It speaks D-Bus by hand and does
what STAND_IN says:

  answers-once  answers the first request, hears nothing from then on, and ends
  babbles       speaks no D-Bus at all, hears nothing, and stays
  calls         answers with a call to the bus, to start whatever service STAND_IN_TARGET names
  dies          ends when a request comes
  refuses       answers with an error
"""

import os
import signal
import socket
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

CAPABILITIES = Gio.DBusCapabilityFlags.UNIX_FD_PASSING


class Worker:
    def __init__(self, fd):
        self._socket = socket.socket(fileno=fd)
        self._buffer = b""

    def _receive(self):
        piece = self._socket.recv(65536)
        if not piece:
            sys.exit(0)
        self._buffer += piece

    def babble(self):
        self._socket.sendall(b"ready\r\n" * 100)
        while True:
            signal.pause()

    def serve(self):
        if os.environ["STAND_IN"] == "babbles":
            self.babble()
        while b"BEGIN\r\n" not in self._buffer:
            self._receive()
        self._buffer = self._buffer.split(b"BEGIN\r\n", 1)[1]
        self._socket.sendall(b"DATA\r\nOK " + b"0" * 32 + b"\r\nAGREE_UNIX_FD\r\n")
        while True:
            call = self.next_message()
            if call.get_member() == "Write":
                self.answer(call)
            else:
                self.send(Gio.DBusMessage.new_method_reply(call))

    def next_message(self):
        while (len(self._buffer) < 16
               or len(self._buffer) < Gio.DBusMessage.bytes_needed(self._buffer)):
            self._receive()
        length = Gio.DBusMessage.bytes_needed(self._buffer)
        message = Gio.DBusMessage.new_from_blob(self._buffer[:length], CAPABILITIES)
        self._buffer = self._buffer[length:]
        return message

    def send(self, message):
        message.set_serial(1000)
        self._socket.sendall(bytes(message.to_blob(CAPABILITIES)))

    def answer(self, call):
        how = os.environ["STAND_IN"]
        if how == "answers-once":
            self._socket.shutdown(socket.SHUT_RD)
            reply = Gio.DBusMessage.new_method_reply(call)
            reply.set_body(GLib.Variant("(a{sv})", [{"result": GLib.Variant("b", True)}]))
            self.send(reply)
            sys.exit(0)
        if how == "refuses":
            self.send(Gio.DBusMessage.new_method_error_literal(
                call, "org.tagwriter.Test.Refused", "no"))
            return
        if how == "calls":
            message = Gio.DBusMessage.new_method_call(
                "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "StartServiceByName")
            message.set_body(GLib.Variant("(su)", (os.environ["STAND_IN_TARGET"], 0)))
            message.set_reply_serial(call.get_serial())
            self.send(message)
            # The same without what marks it as a reply.
            message.set_header(Gio.DBusMessageHeaderField.REPLY_SERIAL, None)
            self.send(message)
        sys.exit(0)


Worker(int(sys.argv[1].removeprefix("--fd="))).serve()
