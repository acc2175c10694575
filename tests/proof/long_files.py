"""Files of several gigabytes, most of it holes: edited, or refused with a reason, never damaged."""

import hashlib
import os
import shutil
import struct
import subprocess
import tempfile
from pathlib import Path

import mutagen
from mutagen.id3 import ID3

from support import DATA, contents, samples

TAGWRITER = Path(os.environ["TAGWRITER_BIN"], "tagwriter")
GB = 1_000_000_000
BLOCK = 1 << 24


def digest(path, start=0, end=None):
    """Of the bytes from `start` to `end`."""
    result = hashlib.blake2b()
    with open(path, "rb") as file:
        left = (end or os.path.getsize(path)) - start
        file.seek(start)
        while left > 0:
            block = file.read(min(BLOCK, left))
            result.update(block)
            left -= len(block)
    return result.hexdigest()


def extend(path, size):
    """Makes the file `size` bytes long and ends it with what it begins with."""
    data = contents(path)[:100_000]
    with open(path, "rb+") as file:
        file.seek(size - len(data))
        file.write(data)


# The files. Each function makes one and returns a function that digests its audio.

def mp3(path, size):
    """Frames at both ends, and no tag."""
    shutil.copy(Path(DATA, "mp3_plain.mp3"), path)
    extend(path, size)

    def audio():
        """Without the tags: before an edit there is none, and then also one of 128 bytes behind."""
        try:
            start = ID3(path).size
        except mutagen.MutagenError:
            start = 0
        return digest(path, start, start + size)
    return audio


def wav(path, size):
    """From a recorder that went on past 4 GiB: its headers have the largest possible sizes."""
    shutil.copy(Path(DATA, "wav_plain.wav"), path)
    extend(path, size)
    with open(path, "rb+") as file:
        header = file.read(1000)
        data = header.index(b"data")
        for offset in (4, data + 4):
            file.seek(offset)
            file.write(struct.pack("<I", 0xffffffff if size > 0xffffffff else size - offset - 4))
    return lambda: digest(path, data + 8, size)


def boxes(data, start, end):
    """The boxes of an MP4 file (ISO/IEC 14496-12, 4.2): the type, where it begins and ends."""
    while start < end:
        size, = struct.unpack_from(">I", data, start)
        yield data[start + 4:start + 8], start, start + size
        start += size


def with_long_offsets(box, shift):
    """A box with chunk offsets of 64 bits, all larger by `shift`."""
    kind, inside = box[4:8], box[8:]
    if kind == b"stco":
        count, = struct.unpack_from(">I", inside, 4)
        offsets = struct.unpack_from(f">{count}I", inside, 8)
        kind = b"co64"
        inside = inside[:8] + struct.pack(f">{count}Q", *(offset + shift for offset in offsets))
    elif kind in (b"moov", b"trak", b"mdia", b"minf", b"stbl"):
        inside = b"".join(with_long_offsets(inside[start:end], shift)
                          for _, start, end in boxes(inside, 0, len(inside)))
    return struct.pack(">I", len(inside) + 8) + kind + inside


def m4a(path, size, moov_first):
    """A box of media data with a size of 64 bits, the samples at its end."""
    data = contents(Path(DATA, "m4a_plain.m4a"))
    found = {kind: (start, end) for kind, start, end in boxes(data, 0, len(data))}
    ftyp, moov, mdat = (data[slice(*found[kind])] for kind in (b"ftyp", b"moov", b"mdat"))
    samples_in_file = mdat[8:]
    moov_size = len(with_long_offsets(moov, 0))
    mdat_start = len(ftyp) + (moov_size if moov_first else 0)
    samples_start = mdat_start + size - len(samples_in_file)
    moov = with_long_offsets(moov, samples_start - found[b"mdat"][0] - 8)
    with open(path, "wb") as file:
        file.write(ftyp + (moov if moov_first else b""))
        file.write(struct.pack(">I4sQ", 1, b"mdat", size))
        file.seek(samples_start)
        file.write(samples_in_file + (b"" if moov_first else moov))
    return lambda: samples(path)


def ogg(path, size):
    """A song over and over again."""
    with tempfile.NamedTemporaryFile(suffix=".ogg") as song:
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi",
                        "-i", "anoisesrc=r=48000:d=120", "-ac", "2", "-c:a", "libvorbis",
                        "-q:a", "10", song.name], check=True)
        times = size // os.path.getsize(song.name)
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-stream_loop", str(times), "-i", song.name,
                        "-c", "copy", path], check=True)
    return lambda: subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-map", "0:a", "-c", "copy",
                                   "-f", "md5", "-"], check=True, capture_output=True).stdout


FILES = [
    ("WAV of 4.5 GB", "long.wav", lambda path: wav(path, 4_500_000_000)),
    ("MP3 of 8 GB", "long.mp3", lambda path: mp3(path, 8 * GB)),
    ("M4A of 8 GB, 64-bit offsets, moov last", "last.m4a", lambda path: m4a(path, 8 * GB, False)),
    ("M4A of 8 GB, 64-bit offsets, moov first", "first.m4a", lambda path: m4a(path, 8 * GB, True)),
    ("Ogg Vorbis of 1 GB", "long.ogg", lambda path: ogg(path, GB)),
]


def title(path):
    """The title, if there is one."""
    return list(mutagen.File(path, easy=True).get("title", []))


def edit(path, audio, *options):
    """Sets a title. Returns what happened, in words; raises AssertionError on damage."""
    before, size, wanted = audio(), os.path.getsize(path), " ".join(["Long", *options])
    done = subprocess.run([TAGWRITER, "set", "-t", f"title={wanted}", *options, path],
                          capture_output=True, text=True, check=False)
    if audio() != before:
        raise AssertionError(f"{path}: the audio has changed: {done.stdout}{done.stderr}")
    if done.returncode == 0:
        if title(path) != [wanted]:
            raise AssertionError(f"{path}: the title is {title(path)}")
        return "edited"
    if os.path.getsize(path) != size:
        raise AssertionError(f"{path}: refused, and of another size")
    return f"refused: {done.stderr.strip().removeprefix('tagwriter: ').removeprefix(path + ': ')}"


def edit_all(directory):
    """A row for each file: in place, then with --safe."""
    rows = []
    for what, name, make in FILES:
        path = os.path.join(directory, name)
        audio = make(path)
        rows.append([what, edit(path, audio), edit(path, audio, "--safe")])
        os.unlink(path)
    return rows
