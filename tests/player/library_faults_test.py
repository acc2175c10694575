"""Files at which TagLib crashes or never ends: nothing is lost but the reply.

The files are in tests/data/library_faults, or made here if they are large. docs/FAILURES.md
describes them. What TagLib does with them depends on its version, so the service may also refuse
the edit, or make it.
"""

import os
import socket
import unittest

from player import change, text
from support import DATA, ScratchTest, contents
from wire import receive_until, shake_hands, write_blob

FAULTS = "library_faults"
# Two seconds of CPU time instead of the 30 that an edit may take.
LIMIT = "ulimit -t 2"


def nested_atoms():
    """Atoms in atoms; a size of 0 means that an atom extends to the end of the file."""
    return b"\0\0\0\x10ftypM4A \0\0\0\0" + b"\0\0\0\0moov" + b"\0\0\0\0udta" * 150_000


def synchsafe(number):
    return bytes(number >> shift & 0x7f for shift in (21, 14, 7, 0))


def nested_chapters():
    """An ID3v2 tag with a chapter in a chapter, and so on."""
    times = b"\0" * 17  # an empty name, and four numbers
    frames, length = [], 0
    for _ in range(40_000):
        frames.append(b"CHAP" + synchsafe(len(times) + length) + b"\0\0" + times)
        length += len(frames[-1])
    return b"ID3\4\0\0" + synchsafe(length) + b"".join(reversed(frames))


MADE = {"nested_atoms.m4a": nested_atoms, "nested_chapters.mp3": nested_chapters}


class LibraryFaults(ScratchTest):
    def files(self):
        """The paths of scratch copies."""
        names = sorted(os.listdir(os.path.join(DATA, FAULTS)))
        self.assertTrue(names)
        yield from (self.copy(os.path.join(FAULTS, name), name) for name in names)
        for name, make in MADE.items():
            path = os.path.join(self.directory, name)
            with open(path, "wb") as file:
                file.write(make())
            yield path

    def edit(self, path):
        """Sets a title. Returns the result, or None if the service has died."""
        service = self.start_service(LIMIT)
        shake_hands(service.socket)
        with open(path, "rb+") as file:
            request = write_blob(change("title", text("x" * 3000), path), 1, [file])
            socket.send_fds(service.socket, [request], [file.fileno()])
        reply = receive_until(service.socket, 1).get(1)
        service.socket.close()
        code = service.wait()
        self.assertEqual(reply is None, code != 0, service.log())
        return reply and reply.get_body().unpack()[0]["result"]

    def test_the_file_stays_as_it_was_and_the_next_request_works(self):
        for path in self.files():
            with self.subTest(file=os.path.basename(path)):
                before = contents(path)
                if not self.edit(path):
                    self.assertTrue(contents(path) == before)
                self.assertTrue(self.edit(self.copy("mp3_plain.mp3")))


if __name__ == "__main__":
    unittest.main()
