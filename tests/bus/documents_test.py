"""The Python programs in the documents, run as they stand."""

import re
import subprocess
import unittest
from pathlib import Path

import mutagen

from bus_support import BusTest
from processes import DEADLINE

SOURCE = Path(__file__).resolve().parents[2]


class DocumentsTest(BusTest):

    def test_python_programs_write_the_title(self):
        bus = self.start_bus()
        for document in ("README.md", "docs/WIRE.md"):
            program, = re.findall(r"```python\n(.*?)```", (SOURCE / document).read_text(), re.DOTALL)
            with self.subTest(document=document):
                song = self.copy("flac_plain.flac", "song.flac")
                done = subprocess.run(["/usr/bin/python3", "-c", program], cwd=self.directory,
                                      env=bus.environment(), timeout=DEADLINE, text=True,
                                      stdout=subprocess.PIPE, check=True)
                self.assertEqual((done.stdout, mutagen.File(song)["title"]), ("True\n", ["Morgen"]))


if __name__ == "__main__":
    unittest.main()
