"""The files that the benchmarks edit, made from those in tests/data."""

import os
import random
import shutil
import struct
import subprocess

import mutagen

DATA = os.environ["TAGWRITER_DATA"]
LARGE = 100_000_000  # bytes


def read(name):
    """The bytes of a file of the test data."""
    with open(os.path.join(DATA, name), "rb") as file:
        return file.read()


def image(size):
    """What passes for a JPEG of that size; the same on every call."""
    return b"\xff\xd8\xff\xe0" + random.Random(size).randbytes(size - 4)


def write(path, head, audio, size):
    """A file of about `size` bytes: `head`, then `audio` again and again."""
    with open(path, "wb") as file:
        file.write(head)
        file.write(audio * ((size - len(head)) // len(audio)))


def large_mp3(path, size=LARGE):
    """An MP3 without a tag. Returns the offset of the audio, as the next two do."""
    write(path, b"", read("mp3_plain.mp3"), size)
    return 0


def large_flac(path, size=LARGE):
    """A FLAC file without padding, with no metadata but the stream's header."""
    data = read("flac_plain.flac")
    audio = 4 + 4 + 34  # "fLaC", the header of STREAMINFO and the block itself
    write(path, data[:audio], data[audio:], size)
    return audio


def large_m4a(path, size=LARGE):
    """An M4A without a tag, in which the audio comes last."""
    data = read("m4a_plain.m4a")
    mdat = data.index(b"mdat") - 4
    write(path, data[:mdat], data[mdat:], size)
    with open(path, "rb+") as file:
        length = file.seek(0, os.SEEK_END)
        file.seek(mdat)
        file.write(struct.pack(">I", length - mdat))
    return mdat


# What most songs have, under ffmpeg's names.
TAGS = {"title": "Title", "artist": "Artist", "album": "Album", "album_artist": "Artist",
        "genre": "Genre", "date": "1999", "track": "1/10", "comment": "Comment"}


def song(path, *options, seconds=60):
    """Noise with tags, encoded by ffmpeg in the format for the path's extension."""
    words = [word for key, value in TAGS.items() for word in ("-metadata", f"{key}={value}")]
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                    f"anoisesrc=r=48000:d={seconds}:seed=1", "-ac", "2", *options, *words, path],
                   check=True)


def musepack(path):
    """A short file with tags: ffmpeg cannot write the format, and the length does not matter."""
    shutil.copyfile(os.path.join(DATA, "mpc_plain.mpc"), path)
    file = mutagen.File(path)
    file.add_tags()
    file.tags.update(TAGS)
    file.save()


def fresh_flac(path, seconds, *options):
    """A FLAC file as the encoder writes it, with 8 KiB of padding and no tag. Noise, so that it is
    as large as the samples."""
    raw = random.Random(1).randbytes(2 * 44100 * seconds)
    subprocess.run(["flac", "--silent", "--force", "--force-raw-format", "--endian=little",
                    "--sign=signed", "--channels=1", "--bps=16", "--sample-rate=44100",
                    "--output-name", path, *options, "-"], input=raw, check=True)


def audio_size(path):
    """How many bytes of a FLAC file are behind its metadata."""
    with open(path, "rb") as file:
        data = file.read()
    offset, last = 4, 0
    while not last:
        last = data[offset] & 0x80
        offset += 4 + int.from_bytes(data[offset + 1:offset + 4], "big")
    return len(data) - offset
