"""What some programs can do and others cannot, tried."""

import json
import os
import shutil

from mutagen.flac import FLAC
from mutagen.id3 import ID3

import songs
from document import table
from measure import progress
from programs import ALL, COMMON, OURS
from report import NOT_FOR_IT, Section

TEXT = """\
What tagwriter cannot do, and JSON, which it can. Each command was run, and its effect checked. A
dash means that we found no option for it."""


def of_flac(directory):
    """The tags of the FLAC, with keys in lower case."""
    found = songs.tags(os.path.join(directory, "song.flac"))
    return {key.lower(): text for key, text in found.items()}


def any_tag(word):
    """A check for a text in the tags of any song."""
    def check(directory, _):
        return any(word in str(songs.tags_or_none(entry.path)) for entry in os.scandir(directory)
                   if entry.name.startswith("song."))
    return check


def two_artists(directory, _):
    return of_flac(directory)["artist"] == "A + B"


def version_3(directory, _):
    return songs.id3_version(os.path.join(directory, "song.mp3")) == "2.3"


def back_cover(directory, _):
    found = [*ID3(os.path.join(directory, "song.mp3")).getall("APIC"),
             *FLAC(os.path.join(directory, "song.flac")).pictures]
    return sorted(picture.type for picture in found) == [3, 3, 4]


def no_title(directory, _):
    return any(songs.title(entry.path) is None for entry in os.scandir(directory)
               if entry.name.startswith("song."))


def renamed(directory, _):
    return any("Title" in name for name in os.listdir(directory))


def from_name(directory, _):
    return songs.title(os.path.join(directory, "A - B.mp3")) == "B"


def gain(directory, _):
    return "replaygain_track_gain" in of_flac(directory)


def as_json(_, run):
    try:
        return "Title" in json.dumps(json.loads(run.output))
    except ValueError:
        return False


ABILITIES = [
    ("several values for a field", two_artists, {
        OURS: "tagwriter set -t artist=A -t artist=B song.flac",
        "kid3-cli": "kid3-cli -c 'set artist A' -c 'set artist[1] B' song.flac",
        "operon": "operon set artist A song.flac && operon add artist B song.flac",
        "metaflac": "metaflac --remove-tag=ARTIST --set-tag=ARTIST=A --set-tag=ARTIST=B song.flac",
    }),
    ("a field with any name", any_tag("blue"), {
        OURS: "tagwriter set -t colour=blue song.flac",
        "kid3-cli": "kid3-cli -c 'set colour blue' song.flac",
        "operon": "operon set colour blue song.flac",
        "eyeD3": "eyeD3 --user-text-frame=colour:blue song.mp3",
        "metaflac": "metaflac --set-tag=COLOUR=blue song.flac",
        "id3v2": "id3v2 --TXXX colour:blue song.mp3",
        "AtomicParsley": "AtomicParsley song.m4a --rDNSatom blue name=colour domain=com.example "
                         "--overWrite",
    }),
    ("a back cover beside the front cover", back_cover, {
        "kid3-cli": "kid3-cli -c 'set picture[1]:cover.jpg back' "
                    "-c 'set \"picture[1].picturetype\" 4' song.flac",
        "eyeD3": "eyeD3 --add-image=cover.jpg:BACK_COVER:back song.mp3",
        "metaflac": "metaflac --import-picture-from='4||||cover.jpg' song.flac",
    }),
    ("ID3v2.4 to ID3v2.3", version_3, {
        "kid3-cli": "kid3-cli -c to23 song.mp3",
        "eyeD3": "eyeD3 --to-v2.3 song.mp3",
        "id3v2": "id3v2 --song Title song.mp3",
    }),
    ("all tags removed at once", no_title, {
        "kid3-cli": "kid3-cli -c remove song.flac",
        "operon": "operon clear --all song.flac",
        "eyeD3": "eyeD3 --remove-all song.mp3",
        "metaflac": "metaflac --remove-all-tags song.flac",
        "id3v2": "id3v2 --delete-all song.mp3",
        "AtomicParsley": "AtomicParsley song.m4a --metaEnema --overWrite",
    }),
    ("the file named after its tags", renamed, {
        "kid3-cli": "kid3-cli -c 'fromtag \"%{title}\" 2' song.mp3",
        "eyeD3": "eyeD3 --rename '$title' song.mp3",
    }),
    ("tags from the file's name", from_name, {
        "kid3-cli": "kid3-cli -c 'totag \"%{artist} - %{title}\" 2' 'A - B.mp3'",
        "operon": "operon fill '<artist> - <title>' 'A - B.mp3'",
    }),
    ("ReplayGain computed", gain, {
        "metaflac": "metaflac --add-replay-gain song.flac",
    }),
    ("tags as JSON", as_json, {
        OURS: "tagwriter show --json song.mp3",
        "kid3-cli": "kid3-cli -c '{\"method\":\"get\"}' song.mp3",
        "eyeD3": "eyeD3 -P json song.mp3",
    }),
]


def prepare(workshop, directory):
    for kind in COMMON:
        workshop.songs.copy(kind, directory)
    workshop.songs.copy("MP3", directory, "A - B")
    shutil.copy(workshop.songs.large_cover, directory)


def attempt(workshop, command, check):
    """Whether the command has the effect, in a cell."""
    progress(command)
    shell = workshop.shell()
    prepare(workshop, shell.directory)
    run = shell.run(command)
    found = check(shell.directory, run)
    workshop.leave(shell)
    return "yes" if found else "no"


def section(workshop):
    rows = [[name, *(attempt(workshop, commands[program], check) if program in commands
                     else NOT_FOR_IT for program in ALL)]
            for name, check, commands in ABILITIES]
    commands = [command for _, _, commands in ABILITIES for command in commands.values()]
    return Section("What others can do", TEXT, commands, table(["", *ALL], rows), [])
