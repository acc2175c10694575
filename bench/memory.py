"""The service's peak memory, each time in a new process."""

import os
import shutil

import files
import large_files
from document import table
from measure import progress
from player import GLib, Player, change, number, raw_bytes, text

MiB = 1 << 20
COVER = 8 * MiB
COVER_FILES = {
    "MP3": "mp3_id3v23.mp3", "FLAC": "flac_comment.flac", "M4A": "m4a_tagged.m4a",
    "WAV": "wav_id3.wav", "AIFF": "aiff_id3.aif", "WavPack": "wavpack_plain.wv",
    "Musepack": "mpc_tagged.mpc", "Ogg Vorbis": "vorbis_plain.ogg", "Opus": "opus_plain.opus",
    "Ogg FLAC": "flac.oga", "WMA": "wma_plain.wma",
}


def peak(path, request):
    """The peak for one request, which must succeed and write to the file."""
    os.utime(path, (0, 0))
    with Player() as player:
        with open(path, "rb+") as file:
            reply = player.write(request, [file])
        if not reply["result"].get_boolean() or os.path.getmtime(path) == 0:
            raise RuntimeError(f"no edit of {path}")
        return player.service.peak_memory()


def field(path, name, value):
    """The peak for one text field; the file is deleted."""
    result = peak(path, change(name, text(value), path))
    os.remove(path)
    return result


def fields(directory):
    """Peaks for text fields, in Markdown."""
    progress("memory: text fields")
    rows = []
    for size in (10, 100, 1000):
        path = os.path.join(directory, "large.mp3")
        large_files.mp3(path, size * 1_000_000)
        rows.append([f"MP3 of {size} MB, all of it moved: title",
                     f"{field(path, 'title', 'Morgen') / MiB:.1f} MiB"])
    path = os.path.join(directory, "large.ogg")
    large_files.ogg(path, 100_000_000)
    peak_of_ogg = field(path, "comment", "long " * 20000)
    rows.append(["Ogg Vorbis of 100 MB, every page renumbered: comment of 100 KB",
                 f"{peak_of_ogg / MiB:.1f} MiB"])
    return table(["file and edit", "peak"], rows)


def covers(directory):
    """Peaks for a cover in short files, as multiples of its size, in Markdown."""
    image = files.image(COVER)
    rows = []
    for name, original in COVER_FILES.items():
        progress(f"memory: {name}, cover")
        path = os.path.join(directory, original)
        shutil.copyfile(os.path.join(files.DATA, original), path)
        with_title = peak(path, change("title", text("A title that is longer"), path))
        request = {**change("title", None, path), "artwork": raw_bytes(image),
                   "artworktype": number(2), "replaceartwork": GLib.Variant("b", True)}
        with_cover = peak(path, request)
        os.remove(path)
        rows.append([name, f"{with_cover / MiB:.0f} MiB",
                     f"{(with_cover - with_title) / COVER:.1f}"])
    return table(["format", "peak", "multiple of the cover's size"], rows)
