"""A file that the command edits, and what must be as before then."""

import json
import os
import shutil
import stat
import subprocess
from pathlib import Path

import mutagen

from songs import audio_of
from support import DATA, contents, samples

TAGWRITER = Path(os.environ["TAGWRITER_BIN"], "tagwriter")
SOURCES = ["mp3_plain.mp3", "flac_plain.flac", "m4a_plain.m4a", "vorbis_plain.ogg",
           "opus_plain.opus", "wma_tagged.wma"]
MODES = {"in place": [], "safe": ["--safe"]}
COMMENT = "c" * 30_000  # longer than any padding
GROW = ["set", "-t", f"comment={COMMENT}"]
SHRINK = ["clear", "-t", "comment"]
OLD = (1_000_000_000, 1_234_567_890)  # times of access and modification, in seconds
TIME_UNIT = 2  # of FAT, in seconds
OWNER = 12345
ATTRIBUTE = "user.proof"


def write(directory, source):
    """A copy of a file of the test data; with a hard link, an attribute, an owner and a mode, where
    they can be had. Returns its path."""
    path = os.path.join(directory, source)
    shutil.copyfile(Path(DATA, source), path)
    for equip in (lambda: os.link(path, path + ".link"),
                  lambda: os.setxattr(path, ATTRIBUTE, b"kept"),
                  lambda: os.chown(path, OWNER, OWNER),
                  lambda: os.chmod(path, 0o640)):
        try:
            equip()
        except OSError:
            pass  # the file system does not have this
    os.utime(path, OLD)
    return path


class EditedFile:
    """Such a file, with its state before an edit."""

    def __init__(self, path):
        self.path = path
        self.before, self.audio = contents(path), audio_of(os.path.basename(path))
        self.surroundings = self._surroundings()

    def _surroundings(self):
        status = os.stat(self.path)
        link = self.path + ".link"
        try:
            attribute = os.getxattr(self.path, ATTRIBUTE)
        except OSError:
            attribute = None
        return {"time": int(status.st_mtime), "owner": (status.st_uid, status.st_gid),
                "mode": stat.S_IMODE(status.st_mode), "attribute": attribute,
                "inode": status.st_ino,
                "hard link": os.path.exists(link) and os.path.samefile(self.path, link)}

    def lacks(self):
        """What the file system could not give it."""
        found = self.surroundings
        return {what for what, has in (("hard links", found["hard link"]),
                                       ("attributes", found["attribute"]),
                                       ("owners", found["owner"] == (OWNER, OWNER)),
                                       ("modes", found["mode"] == 0o640)) if not has}

    def lost(self):
        """What of the surroundings is not as before."""
        now = self._surroundings()
        kept = {what for what in now if now[what] == self.surroundings[what]}
        if abs(now["time"] - OLD[1]) <= TIME_UNIT:
            kept.add("time")
        return set(now) - kept

    def edit(self, *arguments):
        """Returns "written"; "refused", which promises that nothing has changed; or "damaged", if
        the command says that it may be. And the message."""
        done = subprocess.run([TAGWRITER, *arguments, "--keep-times", "--json", self.path],
                              capture_output=True, text=True, check=False)
        if done.returncode == 0:
            return "written", ""
        message = json.loads(done.stdout.splitlines()[-1])["error"]
        damaged = message.startswith(("not written completely", "the service did not answer"))
        return "damaged" if damaged else "refused", message

    def is_unchanged(self):
        """It has the same bytes."""
        return contents(self.path) == self.before

    def has(self, edit):
        """The edit has been made, and the audio is the same."""
        has_comment = COMMENT in str(dict(mutagen.File(self.path).tags or {}))
        return has_comment == (edit is GROW) and samples(self.path) == self.audio
