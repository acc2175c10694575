"""Edits that move little or nothing: of songs, and of many files fresh from an encoder."""

import os
import shutil
import subprocess

import edits
import files
from document import table
from edits import Text
from measure import interleaved, median, progress, ratio

ROUNDS = 9
LAST_COMMENT = Text("comment", "Second")

# The format, the extension and what ffmpeg needs for it.
IN_PLACE = [("MP3", "mp3"), ("FLAC", "flac"), ("M4A", "m4a"), ("WAV", "wav", "-write_id3v2", "1"),
            ("AIFF", "aiff", "-write_id3v2", "1"), ("WavPack", "wv"), ("Musepack", "mpc")]
MOVING = [("Ogg Vorbis", "ogg", "-c:a", "libvorbis"), ("Opus", "opus"), ("WMA", "wma"),
          ("Ogg FLAC", "oga")]
BATCH = 1000
MOVING_BATCH = 20  # for TagLib, which moves the audio each time

FLACS = 500
FLAC_ROUNDS = 5
FLAC_SECONDS = 7


def make(path, extension, options):
    """A song of that format."""
    if extension == "mpc":
        files.musepack(path)
    elif extension == "oga":  # TagLib can edit ffmpeg's only once, see io/save.h
        files.fresh_flac(path, 60, "--ogg")
    else:
        files.song(path, *options)


def comments(program, way, count):
    """Comments, alternately two. Returns the seconds of CPU time."""
    program = os.path.join(os.path.dirname(os.environ["TAGWRITER_BENCH"]), program)
    return lambda path: float(subprocess.run([program, way, path, str(count)], check=True,
                                             capture_output=True).stdout)


def songs(directory, rounds=ROUNDS):
    """Edits per second of CPU, in Markdown."""
    lines = []
    for name, extension, *options in IN_PLACE + MOVING:
        progress(f"{name}: short edits")
        count = BATCH if (name, extension, *options) in IN_PLACE else MOVING_BATCH
        counts = {"service": BATCH, "library": count, "library, same allocator": count}
        original = os.path.join(directory, f"original.{extension}")
        make(original, extension, options)

        def prepare():
            return shutil.copyfile(original, os.path.join(directory, f"song.{extension}"))

        def check(way, path):
            if not LAST_COMMENT.is_in(path):
                raise RuntimeError(f"{name}: {way} had no effect")

        ways = {"service": comments("short_edits_as_tagwriterd", "service", BATCH),
                "library": comments("short_edits", "library", count),
                "library, same allocator": comments("short_edits_as_tagwriterd", "library", count)}
        seconds = interleaved(ways, rounds, prepare, check)
        rates = {way: [counts[way] / value for value in seconds[way]] for way in ways}
        lines.append([name, median(rates["service"], 1), median(rates["library"], 1)]
                     + [ratio(rates["service"], rates[way]) for way in ways if way != "service"])
    return table(["format", "tagwriter", "TagLib", "tagwriter / TagLib",
                  "tagwriter / TagLib with mimalloc"], lines)


def each(edit):
    """The edit made to all files of a directory."""
    def edit_all(directory):
        for path in paths(directory):
            edit(path)
    return edit_all


def paths(directory):
    return [os.path.join(directory, f"{number}.flac") for number in range(FLACS)]


def metaflac(directory):
    edits.program("metaflac", "--set-tag=TITLE=Morgen", *paths(directory))(None)


def fresh_flacs(directory, rounds=FLAC_ROUNDS):
    """The time for one title each in many files, in Markdown."""
    progress(f"{FLACS} fresh FLAC files")
    title = Text("title", "Morgen")
    original = os.path.join(directory, "fresh.flac")
    files.fresh_flac(original, FLAC_SECONDS)
    work = os.path.join(directory, "fresh")
    edited = original + ".flac"
    shutil.copyfile(original, edited)
    title.by("service")(edited)
    start = os.path.getsize(original) - files.audio_size(original)
    move = edits.move(start, os.path.getsize(edited) - files.audio_size(original))

    def prepare():
        shutil.rmtree(work, ignore_errors=True)
        os.mkdir(work)
        for path in paths(work):
            shutil.copyfile(original, path)
        return work

    def check(name, _):
        if name != "floor" and not all(map(title.is_in, paths(work))):
            raise RuntimeError(f"fresh FLAC files: {name} had no effect")

    seconds = interleaved({
        "service": each(title.by("service")),
        "floor": each(move),
        "library": each(title.by("library")),
        "mutagen": each(title.mutagen),
        "metaflac": metaflac,
    }, rounds, prepare, check)
    shutil.rmtree(work)
    ours = seconds["service"]
    return table(
        [f"{FLACS} files", "tagwriter", "/ plain move", "/ TagLib", "/ mutagen", "/ `metaflac`"],
        [[f"{os.path.getsize(original) // 1000} KB each", median(ours, 1) + " s"]
         + [ratio(ours, seconds[name]) for name in ("floor", "library", "mutagen", "metaflac")]])
