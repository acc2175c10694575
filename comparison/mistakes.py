"""Mistakes of users: files that are not songs, fields that do not exist, values of another kind."""

import os
import shutil
import subprocess

import songs
from programs import COMMON, OURS, TAKES
from report import behaviour

SONGS = ["song.mp3", "song.flac", "song.m4a"]
FOREIGN = ["cover.jpg", "album.cue", "list.m3u", "video.mkv", "program", "empty.mp3"]

EVERYTHING = {
    OURS: "tagwriter set -t albumArtist=Strauss *",
    "kid3-cli": "kid3-cli -c 'set albumartist Strauss' *",
    "operon": "operon set albumartist Strauss *",
    "eyeD3": "eyeD3 --album-artist Strauss *",
    "metaflac": "metaflac --remove-tag=ALBUMARTIST --set-tag=ALBUMARTIST=Strauss *",
    "id3v2": "id3v2 --TPE2 Strauss *",
    "AtomicParsley": "for file in *; do AtomicParsley \"$file\" --albumArtist Strauss "
                     "--overWrite; done",
}
EVERYTHING_TEXT = f"""\
A directory with `{'`, `'.join(SONGS)}`, and with
`{'`, `'.join(FOREIGN)}`; the last of
these is empty. "Damaged" are songs that do not play as before, and other files that have changed.
AtomicParsley takes one file at a time."""

MISSPELT = {
    OURS: "tagwriter set -t titel=Morgen song.SUFFIX",
    "kid3-cli": "kid3-cli -c 'set titel Morgen' song.SUFFIX",
    "operon": "operon set titel Morgen song.SUFFIX",
    "eyeD3": "eyeD3 --titel Morgen song.SUFFIX",
    "metaflac": "metaflac --set-tag=TITEL=Morgen song.SUFFIX",
    "id3v2": "id3v2 --titel Morgen song.SUFFIX",
    "AtomicParsley": "AtomicParsley song.SUFFIX --titel Morgen --overWrite",
}
MISSPELT_TEXT = """\
`titel` for `title`. Programs that take any name for a field cannot know that this is a mistake."""

WRONG = {
    OURS: "tagwriter set -t trackNumber=four song.SUFFIX",
    "kid3-cli": "kid3-cli -c 'set track four' song.SUFFIX",
    "operon": "operon set tracknumber four song.SUFFIX",
    "eyeD3": "eyeD3 --track four song.SUFFIX",
    "metaflac": "metaflac --remove-tag=TRACKNUMBER --set-tag=TRACKNUMBER=four song.SUFFIX",
    "id3v2": "id3v2 --track four song.SUFFIX",
    "AtomicParsley": "AtomicParsley song.SUFFIX --tracknum four --overWrite",
}
WRONG_TEXT = "A word for the number of the track, in a song that has the number 1 of 10."

def with_suffix(commands):
    """Each command with a song that the program takes."""
    return {program: command.replace("SUFFIX", TAKES.get(program, COMMON)[0].lower())
            for program, command in commands.items()}


def copy_songs(workshop, directory):
    for kind in COMMON:
        workshop.songs.copy(kind, directory)


class Album:
    """A directory as people have it."""

    def __init__(self, workshop, directory):
        self._workshop = workshop
        self._model = os.path.join(directory, "album")
        os.mkdir(self._model)
        copy_songs(workshop, self._model)
        self._write("cover.jpg", workshop.songs.cover)
        self._write("album.cue", b'FILE "song.flac" FLAC\n  TRACK 01 AUDIO\n'
                                 b"    INDEX 01 00:00:00\n")
        self._write("list.m3u", b"#EXTM3U\nsong.mp3\nsong.flac\nsong.m4a\n")
        self._write("empty.mp3", b"")
        shutil.copy("/usr/bin/true", os.path.join(self._model, "program"))
        subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-f", "lavfi", "-i",
                        "testsrc=d=1:s=64x64", os.path.join(self._model, "video.mkv")], check=True)

    def _write(self, name, content):
        with open(os.path.join(self._model, name), "wb") as file:
            file.write(content)

    def prepare(self, directory):
        shutil.copytree(self._model, directory, dirs_exist_ok=True)

    def _changed(self, names, directory):
        return [name for name in names if songs.contents(os.path.join(directory, name))
                != songs.contents(os.path.join(self._model, name))]

    def observe(self, _, directory):
        """How many songs were done, which other files are not as they were."""
        done = [name for name in SONGS
                if "Strauss" in str(songs.tags_or_none(os.path.join(directory, name)))]
        broken = [name for name in SONGS if songs.audio(os.path.join(directory, name))
                  != songs.audio(os.path.join(self._model, name))]
        damaged = broken + self._changed(FOREIGN, directory)
        left = set(os.listdir(directory)) - set(os.listdir(self._model))
        cell = ", ".join(f"**`{name}`**" for name in damaged) or "none"
        if left:
            cell += "; new: " + ", ".join(f"`{name}`" for name in sorted(left))
        share = f"{len(done)} of {len(SONGS)}"
        return f"{share}, {len(damaged)} damaged", share, cell


def everything(workshop, directory):
    album = Album(workshop, directory)
    return behaviour(workshop, "`*` in an album's directory", EVERYTHING_TEXT, EVERYTHING,
                     ["songs done", "damaged"], album.prepare, album.observe)


def observe_refusal(workshop):
    """A function that returns what is new in the songs."""
    def observe(_, directory):
        for name, kind in zip(SONGS, COMMON):
            path, original = os.path.join(directory, name), workshop.songs.path(kind)
            if songs.contents(path) != songs.contents(original):
                new = [f"`{key}={text}`" for key, text in songs.news(path, original).items()]
                return "accepted", ", ".join(new) or "changed"
        return "refused", "as it was"
    return observe


def refusal(workshop, title, text, commands):
    return behaviour(workshop, title, text, with_suffix(commands), ["the file afterwards"],
                     lambda directory: copy_songs(workshop, directory), observe_refusal(workshop))


def sections(workshop, directory):
    return [everything(workshop, directory),
            refusal(workshop, "A misspelt field", MISSPELT_TEXT, MISSPELT),
            refusal(workshop, "A value of another kind", WRONG_TEXT, WRONG)]
