"""Files at which TagLib crashes or never ends: nothing is lost but the reply.

The files are in tests/data/library_faults, and docs/FAILURES.md describes them. What TagLib does
with them depends on its version, so the service may also refuse the edit, or make it.
"""

import os
import socket
import unittest

from player import change, text
from support import DATA, ScratchTest, contents
from wire import receive_until, shake_hands, write_blob

FAULTS = "library_faults"
FILES = sorted(os.listdir(os.path.join(DATA, FAULTS)))
# Two seconds of CPU time instead of the 30 that an edit may take.
LIMIT = "ulimit -t 2"


class LibraryFaults(ScratchTest):
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
        self.assertTrue(FILES)
        for name in FILES:
            with self.subTest(file=name):
                path = self.copy(os.path.join(FAULTS, name), name)
                before = contents(path)
                if not self.edit(path):
                    self.assertEqual(contents(path), before)
                self.assertTrue(self.edit(self.copy("mp3_plain.mp3")))


if __name__ == "__main__":
    unittest.main()
