"""Edits odd files, in place and safe, and decodes what became of them."""

import contextlib
import json
import os
import subprocess
import tempfile
from dataclasses import dataclass

from player import Player

from .edits import Edit

TAGWRITER = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter")
NOTHING = "MD5=d41d8cd98f00b204e9800998ecf8427e"


def scratch_directory():
    """A temporary directory, in memory if possible."""
    memory = "/dev/shm" if os.path.ismount("/dev/shm") else None
    return tempfile.TemporaryDirectory(prefix="tagwriter-odd-", dir=memory)


@dataclass
class Result:
    """What an edit did to a file. A reply with "incomplete" is neither True nor False."""

    edit: Edit
    accepted: object
    before: bytes
    after: bytes


class Editor(contextlib.ExitStack):
    """A worker that edits files in a directory of its own."""

    def __init__(self):
        super().__init__()
        self._directory = self.enter_context(scratch_directory())
        self._player = self.enter_context(Player())

    def _write(self, name, data):
        path = os.path.join(self._directory, name)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def in_place(self, edit, name, data):
        """The result of an edit of a file with these bytes."""
        path = self._write(name, data)
        with open(path, "rb+") as file:
            reply = self._player.write(edit.request(path), [file])
            after = file.seek(0) or file.read()
        os.remove(path)
        accepted = "incomplete" if "incomplete" in reply else reply["result"].get_boolean()
        return Result(edit, accepted, data, after)

    def safe(self, edit, files):
        """What the command says about each file, by name, and what is in it then. `files` has
        their bytes before."""
        paths = [self._write(name, data) for name, data in files.items()]
        run = subprocess.run([TAGWRITER, *edit.arguments(), "--safe", "--json", *paths],
                             check=False, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL)
        lines = {line["file"]: line for line in map(json.loads, run.stdout.splitlines())}
        found = {}
        for path in paths:
            with open(path, "rb") as file:
                found[os.path.basename(path)] = lines.get(path, {"result": "none"}), file.read()
            os.remove(path)
        if os.listdir(self._directory):
            raise AssertionError(f"{edit.name}: {os.listdir(self._directory)} was left behind")
        return found

    def decoded(self, name, contents):
        """What ffmpeg makes of the audio of files with these contents: of each, a digest of each
        stream; None if it cannot decode it, or finds nothing."""
        paths = [self._write(f"{index}-{name}", data) for index, data in enumerate(contents)]
        try:
            return _decoded(paths)
        finally:
            for path in paths:
                os.remove(path)


def _decoded(paths):
    inputs = [word for path in paths for word in ("-threads", "1", "-i", path)]
    streams = [word for index in range(len(paths)) for word in ("-map", f"{index}:a")]
    run = subprocess.run(["ffmpeg", "-v", "quiet", *inputs, *streams, "-c:a", "pcm_f32le", "-f",
                          "streamhash", "-hash", "md5", "-"], check=False, text=True,
                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    lines = [line.partition("a,")[2] for line in run.stdout.splitlines()]
    if len(paths) > 1 and (run.returncode or len(lines) % len(paths)):
        return [_decoded([path])[0] for path in paths]
    if run.returncode or NOTHING in lines:
        return [None] * len(paths)
    count = len(lines) // len(paths)
    return [lines[at:at + count] for at in range(0, len(lines), count)]
