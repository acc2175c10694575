"""The songs that the programs edit, and what is in them, as mutagen and ffmpeg read it."""

import base64
import os
import shutil
import subprocess

import mutagen
from mutagen.apev2 import APEv2File
from mutagen.asf import ASF
from mutagen.flac import FLAC, Picture
from mutagen.id3 import APIC, Frame, ID3, POPM, TPE1, TXXX, UFID, USLT
from mutagen.mp4 import MP4, MP4Cover, MP4FreeForm

import files

SECONDS = 20

# Each kind of file, its extension, and what ffmpeg needs to make it. Those without options, which
# ffmpeg cannot make, come from the test data.
MADE = {
    "MP3": ("mp3", "-id3v2_version", "4", "-b:a", "192k"),
    "MP3, ID3v2.3": ("mp3", "-id3v2_version", "3", "-b:a", "192k"),
    "FLAC": ("flac", "-c:a", "flac"),
    "M4A": ("m4a", "-c:a", "aac"),
    "Ogg Vorbis": ("ogg", "-c:a", "libvorbis"),
    "Opus": ("opus", "-c:a", "libopus"),
    "Ogg FLAC": ("oga", "-c:a", "flac"),
    "WMA": ("wma", "-c:a", "wmav2"),
    "AIFF": ("aiff", "-write_id3v2", "1"),
    "WAV": ("wav", "-write_id3v2", "1"),
    "WavPack": ("wv", "-c:a", "wavpack"),
}
SAMPLES = {"Monkey's Audio": ("ape", "ape_tagged.ape"), "Musepack": ("mpc", "mpc_tagged.mpc"),
           "DSF": ("dsf", "dsf_tagged.dsf")}
KINDS = [*MADE, *SAMPLES]

LYRICS = "Und morgen wird die Sonne wieder scheinen\n\nund auf dem Wege, den ich gehen werde"


class Songs:
    """One song of each kind, made once. They have what a program could lose: two artists, a rating,
    lyrics, a picture, a tag of another program."""

    def __init__(self, directory):
        self.directory = os.path.join(directory, "songs")
        os.mkdir(self.directory)
        self.cover = files.read("cover_blue.jpg")
        self.large_cover = os.path.join(self.directory, "cover.jpg")
        large_cover(self.large_cover)

    def path(self, kind):
        """The song of that kind, which is made if there is none."""
        extension = (MADE.get(kind) or SAMPLES[kind])[0]
        path = os.path.join(self.directory, f"{kind}.{extension}")
        if not os.path.exists(path):
            self._make(kind, path)
        return path

    def copy(self, kind, directory, name="song"):
        """A copy of it in a directory. Returns its path."""
        extension = os.path.splitext(self.path(kind))[1]
        return shutil.copyfile(self.path(kind), os.path.join(directory, name + extension))

    def _make(self, kind, path):
        if kind in SAMPLES:
            shutil.copyfile(os.path.join(files.DATA, SAMPLES[kind][1]), path)
        else:
            files.song(path, *MADE[kind][1:], seconds=SECONDS)
        self._enrich(path, version=3 if kind.endswith("v2.3") else 4)

    def _enrich(self, path, version):
        file = mutagen.File(path)
        if file.tags is None:
            file.add_tags()
        if isinstance(file.tags, ID3):
            picture = APIC(encoding=0, mime="image/jpeg", type=3, desc="", data=self.cover)
            for frame in (TPE1(encoding=3, text=["One", "Two"]), picture,
                          POPM(email="me@example.com", rating=128, count=7),
                          TXXX(encoding=3, desc="Mood", text=["calm"]),
                          UFID(owner="https://example.com", data=b"17"),
                          USLT(encoding=3, lang="eng", desc="", text=LYRICS)):
                file.tags.add(frame)
            if version == 3:
                file.tags.update_to_v23()
                return file.save(v2_version=3, v23_sep="/")
        elif isinstance(file, MP4):
            file.tags["©ART"] = ["One", "Two"]
            file.tags["----:com.example:Mood"] = [b"calm"]
            file.tags["covr"] = [MP4Cover(self.cover)]
        elif isinstance(file, ASF):
            del file.tags["title"]  # ffmpeg writes it twice, once as "Title"
            file.tags["Author"] = ["One", "Two"]
            file.tags["Mood"] = ["calm"]
        elif isinstance(file, APEv2File):
            file.tags["Artist"] = ["One", "Two"]
            file.tags["Mood"] = ["calm"]
        else:
            file.tags["artist"] = ["One", "Two"]
            file.tags["mood"] = ["calm"]
            file.tags["rating"] = ["40"]
            picture = Picture()
            picture.data, picture.mime, picture.type = self.cover, "image/jpeg", 3
            if isinstance(file, FLAC):
                file.add_picture(picture)
            else:
                block = base64.b64encode(picture.write()).decode()
                file.tags["metadata_block_picture"] = [block]
        return file.save()


TITLE_KEYS = ("TIT2", "TITLE", "©NAM")


def large_cover(path):
    """A JPEG of noise, of about 300 KB."""
    noise = "nullsrc=s=480x480,geq=random(1)*255:random(2)*255:random(3)*255"
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-f", "lavfi", "-i", noise,
                    "-frames:v", "1", "-q:v", "2", path], check=True)


def words(key, value):
    """What is in a tag, as a text. For ID3v2 only the content counts, not its encoding."""
    if isinstance(value, Frame):
        text = value.pprint().partition("=")[2].removeprefix(key.partition(":")[2] + "=")
        return text + repr(value.data) if hasattr(value, "data") else text
    parts = value if isinstance(value, list) else [value]
    return " + ".join(part.decode() if isinstance(part, MP4FreeForm) else str(part)
                      for part in parts)


def tags(path):
    """All tags of a file as mutagen sees them, each as a text. A frame of ID3v2.3 has the name that
    it has in ID3v2.4."""
    file = mutagen.File(path)
    found = {key: words(key, value) for key, value in (file.tags or {}).items()}
    found |= {f"picture {number}": repr(picture.data)
              for number, picture in enumerate(getattr(file, "pictures", []))}
    return found


def tags_or_none(path):
    """The same, or None if mutagen cannot read the file."""
    try:
        return tags(path)
    except mutagen.MutagenError:
        return None


def news(path, before):
    """The tags of a file that an original does not have, or has with another value."""
    old = tags(before)
    return {key: text for key, text in (tags_or_none(path) or {}).items() if old.get(key) != text}


def title(path):
    """The title in a file, or None, also if mutagen cannot read the file."""
    try:
        found = mutagen.File(path).tags or {}
    except mutagen.MutagenError:
        return None
    for key, value in found.items():
        if key.upper() in TITLE_KEYS:
            value = getattr(value, "text", value)
            return value if isinstance(value, str) else str(value[0])
    return None


def id3_version(path):
    """The version of the ID3v2 tag of an MP3, as in "2.4"."""
    return ".".join(map(str, ID3(path, translate=False).version[:2]))


def audio(path):
    """A hash of the decoded audio, or None if it cannot be decoded."""
    done = subprocess.run(["ffmpeg", "-v", "error", "-xerror", "-i", path, "-map", "0:a",
                           "-f", "hash", "-hash", "md5", "-"], stdin=subprocess.DEVNULL,
                          capture_output=True)
    return None if done.returncode else done.stdout


def contents(path):
    with open(path, "rb") as file:
        return file.read()
