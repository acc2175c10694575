"""30 MiB of artwork over the wire. How much memory that takes is printed, and bounded only against
what would be absurd."""

import os
import sys
import unittest

from artwork_support import FORMATS, JPEG, ArtworkTest, contents


class Memory(ArtworkTest):

    SIZE = 30 << 20
    # Far more than it takes, and far less than a leak or a copy for each page would.
    BOUND = 2 << 30

    def peak(self):
        """The most memory that the service has had so far, in bytes."""
        with open(f"/proc/{self.service._process.pid}/status", encoding="ascii") as status:
            fields = dict(line.split(":", 1) for line in status)
        amount, unit = fields["VmHWM"].split()
        self.assertEqual(unit, "kB")
        return int(amount) * 1024

    def check(self, name, taken):
        """Writes the artwork into a copy of the file, and says what that took."""
        pictures, expected, _ = FORMATS[name]
        image = os.urandom(self.SIZE)
        path = self.copy(name)
        before = contents(path)
        idle = self.peak()
        self.assertEqual(self.write_artwork(path, image, JPEG), taken)
        peak = self.peak()
        print(f"{name}: {self.SIZE >> 20} MiB of artwork, peak memory of the service "
              f"{peak >> 20} MiB ({idle >> 20} MiB before)", file=sys.stderr)
        self.assertLess(peak, self.BOUND)
        self.assertEqual(pictures(path), [expected(JPEG, image)] if taken else [])
        if not taken:
            self.assertEqual(contents(path), before)
        self.player.ping()
        self.assertEqual(self.service.descriptors_of(path), 0)

    def test_mp3(self):
        self.check("mp3_plain.mp3", True)

    def test_m4a(self):
        self.check("m4a_plain.m4a", True)

    def test_vorbis(self):
        self.check("vorbis_plain.ogg", True)

    def test_flac_refuses_it(self):
        self.check("flac_plain.flac", False)


if __name__ == "__main__":
    unittest.main()
