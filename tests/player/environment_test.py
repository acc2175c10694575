"""The service in a poor environment: no standard streams, a limit on the size of files."""

import unittest

from player import GLib, change, raw_bytes, text
from support import ScratchTest, contents


class EnvironmentTest(ScratchTest):

    def test_without_standard_streams_nothing_is_printed_into_the_music(self):
        player = self.start_player("exec <&- >&- 2>&-")
        noise = self.directory + "/noise.flac"
        with open(noise, "wb") as file:
            file.write(b"noise " * 1000)
        before = contents(noise)
        with open(noise, "rb+") as file:
            # Three descriptors arrive, so one of them could become standard error.
            for position in range(3):
                request = change("title", text("Title"), noise)
                request["fd"] = GLib.Variant("h", position)
                self.assertFalse(player.write(request, [file, file, file])["result"].unpack())
        self.assertEqual(contents(noise), before)
        self.assertEqual(player.hang_up(), 0)

    def test_lost_bytes_are_told(self):
        player = self.start_player("ulimit -f 64")
        path = self.copy("mp3_plain.mp3")

        def store(size):
            request = {"path": text(path), "fd": GLib.Variant("h", 0),
                       "artwork": raw_bytes(b"i" * size), "replaceartwork": GLib.Variant("b", True)}
            with open(path, "rb+") as file:
                return {key: value.unpack() for key, value in player.write(request, [file]).items()}

        self.assertEqual(store(1000), {"path": path, "result": True})
        reply = store(300_000)
        self.assertEqual((reply["path"], reply["incomplete"]), (path, True))


if __name__ == "__main__":
    unittest.main()
