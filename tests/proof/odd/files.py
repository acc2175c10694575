"""The odd files: each is valid, and its name says what is odd about it.

    PYTHONPATH=tests/proof:tests/expectations python3 -m odd.files tests/data DIRECTORY
"""

import sys
from pathlib import Path

from . import ape, asf, flac, mp3, mp4, ogg, riff
from .encoders import Encoders


def make(test_data, directory):
    """Makes all files."""
    Path(directory).mkdir(exist_ok=True)
    with Encoders(test_data) as encoders:
        for module in (mp3, mp4, flac, ogg, riff, asf, ape):
            for name, data in module.files(encoders):
                with open(Path(directory, name), "xb") as file:  # no name twice
                    file.write(data)


if __name__ == "__main__":
    make(*sys.argv[1:])
