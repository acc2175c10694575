"""Files that may not be written, or only in part: sealed ones, and those beyond a size limit. Also
a damaged file that makes TagLib write millions of entries."""

import fcntl
import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "player"))

from player import GLib, change, text  # noqa: E402
from support import DATA, PlayerTest, contents  # noqa: E402

FILES = ["mp3_id3v24_id3v1.mp3", "mp3_id3v2_ape.mp3", "m4a_tagged.m4a", "flac_pictures.flac",
         "vorbis_tagged.ogg", "opus_tagged.opus", "flac.oga", "wma_tagged.wma", "aiff_id3.aif",
         "wav_info_id3.wav", "ape_tagged.ape", "wavpack_tagged.wv", "mpc_tagged.mpc",
         "dsf_tagged.dsf"]
EDITS = {"short": change("title", text("New")), "growing": change("comment", text("c" * 2048)),
         "clear": {"fd": GLib.Variant("h", 0), "clearartwork": GLib.Variant("b", True)}}
SEALS = {"write": fcntl.F_SEAL_WRITE, "grow": fcntl.F_SEAL_GROW, "shrink": fcntl.F_SEAL_SHRINK}


class Limits(PlayerTest):

    def edit(self, player, name, edit, seals=0):
        """Edits a copy in memory. Returns result, incomplete, and what is in the file then."""
        with os.fdopen(os.memfd_create(name, os.MFD_ALLOW_SEALING), "rb+") as file:
            file.write(contents(os.path.join(DATA, name)))
            file.flush()
            fcntl.fcntl(file, fcntl.F_ADD_SEALS, seals)
            reply = player.write({**EDITS[edit], "path": text(name)}, [file])
            file.seek(0)
            return reply["result"].unpack(), "incomplete" in reply, file.read()

    def check(self, player, seals=0, may_lose=False):
        """Each file is as planned, or as before and the result is false. Returns the results."""
        results = []
        for name in FILES:
            for edit in EDITS:
                with self.subTest(file=name, edit=edit):
                    result, incomplete, data = self.edit(player, name, edit, seals)
                    results.append(result)
                    planned = self.edit(self.player, name, edit)
                    self.assertTrue(planned[0])
                    before = contents(os.path.join(DATA, name))
                    if incomplete:
                        self.assertTrue(may_lose)
                        self.assertTrue(data.startswith(planned[2]), "not only the truncation")
                    else:
                        self.assertTrue(data == (planned[2] if result else before), result)
        return results

    def test_sealed_files(self):
        for names in (["write"], ["grow"], ["shrink"], list(SEALS)):
            with self.subTest(seals=names):
                seals = sum(SEALS[name] for name in names)
                results = self.check(self.player, seals, may_lose=names == ["shrink"])
                self.assertEqual(any(results), "write" not in names)

    def test_size_limits_within_and_beyond_the_files(self):
        for blocks in (0, 2, 4, 6, 8, 16):
            with self.subTest(limit=512 * blocks):
                results = self.check(self.start_player(f"ulimit -f {blocks}"))
                self.assertFalse(all(results))

    def test_table_of_millions_of_chunks_in_a_small_file(self):
        data = bytearray(contents(os.path.join(DATA, "m4a_tagged.m4a")))
        count = data.index(b"stco") + 8
        data[count:count + 4] = (5_000_000).to_bytes(4, "big")
        path = os.path.join(self.directory, "damaged.m4a")
        with open(path, "wb") as file:
            file.write(data)
        player = self.start_player("export ASAN_OPTIONS=quarantine_size_mb=1:$ASAN_OPTIONS")
        with open(path, "rb+") as file:
            reply = player.write(change("comment", text("c" * 2048), path), [file])
        self.assertFalse(self.result(reply))
        self.assertTrue(contents(path) == data)
        self.assertLess(player.service.peak_memory(), 256 << 20)


if __name__ == "__main__":
    unittest.main()
