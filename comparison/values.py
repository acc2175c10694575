"""What users write besides titles: ratings, lyrics, covers, and the tags of another file."""

import os

import mutagen

import files
import songs
from programs import OURS
from report import common

RATING = {
    OURS: "tagwriter set -t rating=4 FILE",
    "kid3-cli": "kid3-cli -c 'set rating 4' FILE",
    "operon": "operon set rating 4 FILE",
    "eyeD3": "eyeD3 --add-popularity me@example.com:196 FILE",
    "metaflac": "metaflac --remove-tag=RATING --set-tag=RATING=80 FILE",
    "id3v2": "id3v2 --POPM me@example.com:196:0 FILE",
}
RATING_TEXT = """\
Four stars of five. tagwriter takes stars; the others take the number that the file stores, which
the user has to know. The table shows the new rating in the file, as mutagen prints it: in an MP3,
the play count, and the rating out of 255. Players show 196 there as four stars, and 4 as one. In
the other formats they do not agree; some read 4 as four stars, some 80."""

LYRICS = {
    OURS: "tagwriter set -t lyrics=@lyrics.txt FILE",
    "kid3-cli": "kid3-cli -c \"set lyrics \\\"$(cat lyrics.txt)\\\"\" FILE",
    "operon": "operon set lyrics \"$(cat lyrics.txt)\" FILE",
    "eyeD3": "eyeD3 --add-lyrics=lyrics.txt FILE",
    "metaflac": "metaflac --remove-tag=LYRICS --set-tag-from-file=LYRICS=lyrics.txt FILE",
    "id3v2": "id3v2 --USLT \"$(cat lyrics.txt)\" FILE",
    "AtomicParsley": "AtomicParsley FILE --lyricsFile lyrics.txt --overWrite",
}
LYRICS_TEXT = """\
Three lines, with umlauts. "Yes" means that the file has the text as it is in `lyrics.txt`, except
for the line break at its end."""
WORDS = "Schöner Morgen,\nmüde Füße,\nstumm wird über uns des Glückes Schweigen sinken\n"

COVER_IN = {
    OURS: "tagwriter cover --replace cover.png FILE",
    "kid3-cli": "kid3-cli -c 'set picture:cover.png front' FILE",
    "operon": "operon image-set cover.png FILE",
    "eyeD3": "eyeD3 --remove-all-images --add-image=cover.png:FRONT_COVER FILE",
    "metaflac": "metaflac --remove --block-type=PICTURE FILE && "
                "metaflac --import-picture-from=cover.png FILE",
    "AtomicParsley": "AtomicParsley FILE --artwork REMOVE_ALL --artwork cover.png --overWrite",
}
COVER_IN_TEXT = "The file has a picture already, which the cover replaces."

COVER_OUT = {
    OURS: "tagwriter cover --extract FILE",
    "kid3-cli": "kid3-cli -c 'get picture:out.jpg' FILE",
    "operon": "operon image-extract FILE",
    "eyeD3": "eyeD3 --write-images=. FILE",
    "metaflac": "metaflac --export-picture-to=out.jpg FILE",
    "AtomicParsley": "AtomicParsley FILE --extractPix",
}
COVER_OUT_TEXT = "The picture in the file, as a file of its own."

COPY = {
    OURS: "tagwriter copy --replace other.flac FILE",
    "kid3-cli": "kid3-cli -c 'select other.flac' -c copy -c 'select FILE' -c paste -c save .",
    "operon": "operon copy other.flac FILE",
    "metaflac": "metaflac --export-tags-to=- other.flac | "
                "metaflac --remove-all-tags --import-tags-from=- FILE",
}
COPY_TEXT = """\
The other file is a FLAC with the title "Other", the artists "Three" and "Four", and a field of
another program, `MOOD`, which is "wild". The table shows what the target has of these afterwards;
it had the title "Title", the artists "One" and "Two" and the mood "calm". Done means that it has
the title and the two artists, and no others."""


def all_tags(path):
    """The tags of a file, or None if mutagen cannot read it."""
    try:
        return mutagen.File(path).tags
    except mutagen.MutagenError:
        return None


def values(found, *keys):
    """The values of all tags whose key starts with one of `keys`, each as a text."""
    texts = []
    for key, value in found.items():
        if key.upper().startswith(keys):
            value = getattr(value, "text", value)
            texts += [value] if isinstance(value, str) else [
                part.decode() if isinstance(part, bytes) else str(part) for part in value]
    return texts


def observe_rating(_, path, before):
    new = {key: text for key, text in songs.news(path, before).items() if key.upper().startswith(
        ("POPM", "RAT", "TXXX:QUODLIBET::RAT", "----:COM.APPLE.ITUNES:RAT"))}
    return bool(new), ", ".join(f"`{key}={text}`" for key, text in new.items()) or no(path, before)


def no(path, before):
    """A cell for a job that was not done."""
    return "no" if songs.contents(path) == songs.contents(before) else "**no, but changed**"


def observe_lyrics(_, path, before):
    found = all_tags(path) or {}
    texts = values(found, "USLT", "LYRICS", "UNSYNCEDLYRICS", "©LYR")
    lines = [text.replace("\r", "\n").rstrip("\n") for text in texts]
    if WORDS.rstrip("\n") in lines:
        return True, "yes" if len(texts) == 1 else "yes, beside the old lyrics"
    if set(WORDS.splitlines()) <= set(lines):
        return False, "a value for each line"
    return False, no(path, before)


def pictures(path):
    """The bytes of the pictures in a file."""
    found = all_tags(path)
    if found is None:
        return []
    file = mutagen.File(path)
    if hasattr(file, "pictures"):
        return [picture.data for picture in file.pictures]
    return ([frame.data for frame in found.getall("APIC")] if hasattr(found, "getall")
            else [bytes(cover) for cover in found.get("covr", [])])


def observe_cover_in(_, path, before):
    found = pictures(path)
    if files.read("cover_red.png") not in found:
        return False, no(path, before)
    return len(found) == 1, "yes" if len(found) == 1 else "beside the old picture"


def observe_cover_out(_, path, before):
    for entry in os.scandir(os.path.dirname(path)):
        if entry.path != path and songs.contents(entry.path) == pictures(before)[0]:
            return True, f"yes, `{entry.name}`"
    return False, "no"


def observe_copy(_, path, before):
    if songs.contents(path) == songs.contents(before):
        return False, "no"
    found = all_tags(path)
    titles = values(found, "TIT2", "TITLE", "©NAM")
    artists = values(found, "TPE1", "ARTIST", "©ART")
    mood = values(found, "MOOD", "TXXX:MOOD", "----:COM.APPLE.ITUNES:MOOD")
    cell = "; ".join(" + ".join(parts) or "none" for parts in (titles, artists, mood))
    return titles == ["Other"] and artists == ["Three", "Four"], cell


def prepare(directory):
    with open(os.path.join(directory, "lyrics.txt"), "w") as file:
        file.write(WORDS)
    with open(os.path.join(directory, "cover.png"), "wb") as file:
        file.write(files.read("cover_red.png"))


def copy_section(workshop):
    """One file's tags to another."""
    def prepare_other(directory):
        path = workshop.songs.copy("FLAC", directory, "other")
        file = mutagen.File(path)
        file.tags.update({"title": ["Other"], "artist": ["Three", "Four"], "mood": ["wild"]})
        file.save()
    return common(workshop, "The tags of another file", COPY_TEXT, COPY, observe_copy,
                  prepare_other)


JOBS = [
    ("A rating", RATING_TEXT, RATING, observe_rating),
    ("Lyrics from a file", LYRICS_TEXT, LYRICS, observe_lyrics),
    ("A cover in", COVER_IN_TEXT, COVER_IN, observe_cover_in),
    ("A cover out", COVER_OUT_TEXT, COVER_OUT, observe_cover_out),
]


def sections(workshop):
    return [common(workshop, *job, prepare) for job in JOBS] + [copy_section(workshop)]
