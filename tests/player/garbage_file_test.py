"""Garbage in the files that the real service gets.

Random bytes, random bytes behind a format's own first bytes, files cut off anywhere and files with
a few bytes changed: each request is answered, the service lives on, no sanitizer complains and no
descriptor stays open.
"""

import os
import random
import unittest

from player import change, text
from support import AUDIO_FILES, DATA, PlayerTest, contents

SEEDS = range(30)

# How files of each extension begin.
BEGINNINGS = {
    "mp3": b"ID3\x04\x00\x00\x00\x00\x02\x00TIT2",
    "flac": b"fLaC\x00\x00\x00\x22",
    "ogg": b"OggS\x00\x02" + bytes(20) + b"\x01\x1e\x01vorbis",
    "oga": b"OggS\x00\x02" + bytes(20) + b"\x01\x33\x7fFLAC\x01\x00",
    "opus": b"OggS\x00\x02" + bytes(20) + b"\x01\x13OpusHead\x01",
    "m4a": b"\x00\x00\x00\x14ftypM4A \x00\x00\x02\x00isom\x00\x00\x01\x00moov",
    "wma": bytes.fromhex("3026b2758e66cf11a6d900aa0062ce6c"),
    "aiff": b"FORM\x00\x00\x04\x00AIFFCOMM\x00\x00\x00\x12",
    "wav": b"RIFF\x00\x04\x00\x00WAVEfmt \x10\x00\x00\x00",
    "ape": b"MAC \x96\x0f\x00\x00\x34\x00\x00\x00",
    "wv": b"wvpk\x00\x04\x00\x00\x10\x04",
    "mpc": b"MPCKSH\x0f",
    "dsf": b"DSD \x1c\x00\x00\x00\x00\x00\x00\x00",
    "xyz": b"",
}


def random_bytes(seed):
    """The same bytes for the same seed, at most four kilobytes."""
    generator = random.Random(seed)
    return generator.randbytes(generator.randrange(4096))


def cut_points(size):
    """Lengths that are shorter than the file: densely at the start, rarely behind it, and the last
    bytes of all."""
    points = {0, 1, 3, 4, 7, 8, 10, 11, 16, 27, 28, 35, 42, 44, 64, 100, 128, 200, 400}
    points |= {size * part // 16 for part in range(1, 16)} | {size - 128, size - 32, size - 1}
    return sorted(point for point in points if 0 <= point < size)


class GarbageFiles(PlayerTest):

    def check(self, name, data):
        """A title request for a file with these contents is answered."""
        path = os.path.join(self.directory, name)
        with open(path, "wb") as file:
            file.write(data)
        try:
            reply = self.write(change("title", text("New"), path), path)
            self.result(reply)
            self.assertEqual(reply["path"].get_string(), path)
            self.player.ping()
            self.assertEqual(self.service.descriptors_of(path), 0)
            self.assertTrue(self.service.running())
            self.assert_clean(self.service)
        except Exception:
            self.start_over()
            raise

    def start_over(self):
        """Another service, so that one bad file does not fail the others."""
        self.player.close()
        self.player = self.start_player()
        self.service = self.player.service

    def tearDown(self):
        self.assert_still_answers()
        super().tearDown()

    def test_random_bytes(self):
        for extension in BEGINNINGS:
            for seed in SEEDS:
                with self.subTest(extension=extension, seed=seed):
                    self.check(f"a.{extension}", random_bytes(seed))

    def test_random_bytes_behind_a_good_beginning(self):
        for extension, beginning in BEGINNINGS.items():
            for seed in SEEDS:
                with self.subTest(extension=extension, seed=seed):
                    self.check(f"a.{extension}", beginning + random_bytes(seed))

    def test_files_cut_off(self):
        for name in AUDIO_FILES:
            data = contents(os.path.join(DATA, name))
            for length in cut_points(len(data)):
                with self.subTest(file=name, length=length):
                    self.check(name, data[:length])

    def test_files_with_a_few_bytes_changed(self):
        for name in AUDIO_FILES:
            data = contents(os.path.join(DATA, name))
            for seed in SEEDS:
                with self.subTest(file=name, seed=seed):
                    generator = random.Random(f"{name} {seed}")
                    changed = bytearray(data)
                    for _ in range(8):
                        # Mostly near the start, where the structure of most formats is.
                        index = min(int(generator.expovariate(1 / 200)), len(changed) - 1)
                        changed[index] = generator.randrange(256)
                    self.check(name, bytes(changed))


if __name__ == "__main__":
    unittest.main()
