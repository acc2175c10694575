"""A title for one file of each format: is it there, and is everything else as it was?"""

import songs
from programs import OURS
from report import matrix, score, try_kind
from songs import KINDS

# Also the title in the jobs that need just any edit.
TITLE = {
    OURS: "tagwriter set -t title=Morgen FILE",
    "kid3-cli": "kid3-cli -c 'set title Morgen' FILE",
    "operon": "operon set title Morgen FILE",
    "eyeD3": "eyeD3 --title Morgen FILE",
    "metaflac": "metaflac --remove-tag=TITLE --set-tag=TITLE=Morgen FILE",
    "id3v2": "id3v2 --song Morgen FILE",
    "AtomicParsley": "AtomicParsley FILE --title Morgen --overWrite",
}

TEXT = """\
The files have other tags, too: two artists, a rating, lyrics, a picture, and a field of another
program. "Yes" means that mutagen reads the new title and everything else as before, and that ffmpeg
decodes the same audio. The encoder's name and padding do not count."""

IGNORED = (*songs.TITLE_KEYS, "TSSE", "ENCODER")


def differences(path, before):
    """What else mutagen reads differently, in words."""
    old, new = songs.tags(before), songs.tags(path)
    keys = sorted(key for key in {*old, *new} if key.upper() not in IGNORED)
    by_word = {"lost": [key for key in keys if key not in new],
               "added": [key for key in keys if key not in old],
               "changed": [key for key in keys if key in old and key in new
                           and old[key] != new[key]]}
    return [f"{word} {', '.join(f'`{key}`' for key in found)}"
            for word, found in by_word.items() if found]


def observe(run, path, before):
    """Whether the title is there, and what else is new."""
    if songs.contents(path) == songs.contents(before):
        return False, "no" if run.exit_code else "no, exit code 0"
    heard = songs.audio(path) == songs.audio(before)
    if songs.title(path) != "Morgen":
        return False, "**no, but changed**" if heard else "**no, and it does not play**"
    notes = differences(path, before) + ([] if heard else ["**audio differs**"])
    version = ""
    if path.endswith(".mp3") and songs.id3_version(path) != songs.id3_version(before):
        version = f", as ID3v{songs.id3_version(path)}"
    return True, "; ".join(["yes" + version, *notes])


def section(workshop):
    seen = {(kind, program): try_kind(workshop, kind, command, observe)
            for kind in KINDS for program, command in TITLE.items()}
    done = matrix("A title in each format", TEXT, KINDS, TITLE, seen)
    whole = {program: score(done and ";" not in cell
                            for (_, name), (done, cell) in seen.items() if name == program)
             for program in TITLE}
    done.summary.append(("… with all else as before", whole))
    return done
