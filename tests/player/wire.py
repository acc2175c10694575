"""A player that speaks D-Bus by hand, to send what no library would.

    with Service() as service:
        shake_hands(service.socket)
        service.socket.sendall(blob(write_call(request)))
        replies = receive_until(service.socket, 1)
"""

from player import DEADLINE, Gio, PEER_INTERFACE, read_call, write_call

HANDSHAKE = b"\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n"
ANSWER_LINES = 3  # DATA, OK, AGREE_UNIX_FD

HEADER_LENGTH = 16
CAPABILITIES = Gio.DBusCapabilityFlags.UNIX_FD_PASSING


def shake_hands(ours):
    """Connects to the service as a D-Bus client."""
    ours.settimeout(DEADLINE)
    ours.sendall(HANDSHAKE)
    answer = b""
    while answer.count(b"\r\n") < ANSWER_LINES:
        piece = ours.recv(4096)
        if not piece:
            raise AssertionError(f"the service hung up after {answer}")
        answer += piece


def blob(message, serial=1):
    """The bytes of a message."""
    message.set_serial(serial)
    return bytes(message.to_blob(CAPABILITIES))


def ping_blob(serial):
    """The bytes of a ping."""
    return blob(Gio.DBusMessage.new_method_call(None, "/", PEER_INTERFACE, "Ping"), serial)


def write_blob(request, serial=1, fds=()):
    """The bytes of a Write, without the descriptors themselves."""
    return blob(write_call(request, fds), serial)


def read_blob(request, serial=1, fds=()):
    """The bytes of a Read, without the descriptors themselves."""
    return blob(read_call(request, fds), serial)


def split(message):
    """The bytes of a message in two: the header and the body."""
    body_length = int.from_bytes(message[4:8], "little")
    return message[:len(message) - body_length], message[len(message) - body_length:]


def receive_until(ours, serial):
    """Reads messages until the reply to the call with this serial, or until the service hangs up.
    Returns them all, by the serials of their calls."""
    ours.settimeout(DEADLINE)
    replies = {}
    buffer = b""
    while serial not in replies:
        try:
            piece = ours.recv(65536)
        except ConnectionResetError:
            piece = b""
        if not piece:
            break
        buffer += piece
        while len(buffer) >= HEADER_LENGTH:
            needed = Gio.DBusMessage.bytes_needed(buffer)
            if needed > len(buffer):
                break
            reply = Gio.DBusMessage.new_from_blob(buffer[:needed], CAPABILITIES)
            replies[reply.get_reply_serial()] = reply
            buffer = buffer[needed:]
    return replies
