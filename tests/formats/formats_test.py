"""A title and a composer into every format with `tagwriter set`, read back with other software.

The title goes through the tag library's generic tag, the composer through the service's own choice
of one tag a format: two roads into the same file. The readers are mutagen, ffprobe, metaflac, flac
and vorbiscomment; the decoded audio has to stay the same to the bit.
"""

import json
import os
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), os.pardir, "player"))

import mutagen  # noqa: E402
import mutagen.apev2  # noqa: E402
import mutagen.asf  # noqa: E402
import mutagen.id3  # noqa: E402
import mutagen.mp4  # noqa: E402

from support import (  # noqa: E402
    AUDIO_FILES, DATA, SANITIZER_REPORTS, ScratchTest, contents, run, samples)

TAGWRITER = os.path.join(os.environ["TAGWRITER_BIN"], "tagwriter")

TITLE = "Straße nach Ōsaka 🎵"
COMPOSER = "Žluťoučký kůň / 大阪"

# What the service does not take, by road.
NO_TITLE = ["ac3.ac3", "au.au", "vgm.vgm"]
NO_COMPOSER = NO_TITLE + ["opus.oga", "speex.oga", "oggflac_named.ogg"]
# DSF files whose metadata pointer leads nowhere: reported as written, but there is no place.
NO_PLACE = ["dsf_pointer_at_end.dsf", "dsf_pointer_beyond_end.dsf"]
WRITTEN = [name for name in AUDIO_FILES if name not in NO_COMPOSER + NO_PLACE]

# Where the two fields are, by the kind of tag.
ID3_KEYS = ("TIT2", "TCOM")
MP4_KEYS = ("\xa9nam", "\xa9wrt")
ASF_KEYS = ("Title", "WM/Composer")
APE_KEYS = ("Title", "Composer")
XIPH_KEYS = ("TITLE", "COMPOSER")

# One file of each container.
ONE_OF_EACH = ["mp3_plain.mp3", "m4a_plain.m4a", "flac_plain.flac", "vorbis_plain.ogg",
               "vorbis.oga", "flac.oga", "opus_plain.opus", "wma_plain.wma", "aiff_plain.aiff",
               "aiff_id3.aif", "wav_plain.wav", "ape_plain.ape", "wavpack_plain.wv",
               "mpc_plain.mpc", "dsf_plain.dsf"]

# What the tag library adds to a file in passing, as mutagen shows it. An MP3 with an ID3v1 tag gets
# that tag's values in the ID3v2 fields that are empty; one without gets an ID3v1 tag from the title
# (the composer makes none); a rating without a counter gets one of 0; and a WMA file always gets
# the five texts of its content description.
ADDED = {
    "mp3_id3v1.mp3": {"COMM::XXX": "a comment of 28 characters.."},
    "mp3_id3v24_id3v1.mp3": {"COMM::XXX": "a comment of 28 characters.."},
    "mp3_id3v22.mp3": {"COMM:ID3V1 COMMENT:ENG": "a comment"},
    "mp3_id3v23.mp3": {
        "COMM:ID3V1 COMMENT:ENG": "a comment",
        "POPM:ONE@EXAMPLE.ORG": "POPM(email='one@example.org', rating=196, count=0)",
        "POPM:TWO@EXAMPLE.ORG": "POPM(email='two@example.org', rating=64, count=0)",
    },
    "wma_plain.wma": dict.fromkeys(("AUTHOR", "COPYRIGHT", "DESCRIPTION", "RATING"), [""]),
    "wma_tagged.wma": dict.fromkeys(("AUTHOR", "COPYRIGHT", "DESCRIPTION", "RATING"), [""]),
}

# What ffprobe finds where it does not look at the tag that is written: it sees no APE tag in front
# of an ID3v1 tag, and in a WAV file it prefers the INFO list, which keeps its old title.
FFPROBE_FINDS = {
    "ape_id3v1.ape": (None, None),
    "wav_info.wav": ("Rising Tone", None),
    "wav_info_id3.wav": ("Rising Tone", None),
}


def keys_of(tags):
    """The title's key and the composer's."""
    if isinstance(tags, mutagen.id3.ID3Tags):
        return ID3_KEYS
    if isinstance(tags, mutagen.mp4.MP4Tags):
        return MP4_KEYS
    if isinstance(tags, mutagen.asf.ASFTags):
        return ASF_KEYS
    if isinstance(tags, mutagen.apev2.APEv2):
        return APE_KEYS
    return XIPH_KEYS


def values(tag):
    """A tag's value as a list of texts."""
    if isinstance(tag, mutagen.id3.Frame):
        return [str(text) for text in tag.text]
    return [str(value) for value in (tag if isinstance(tag, list) else [tag])]


def mutagen_values(path):
    """(title, composer), each a list of texts, empty when there is none."""
    tags = mutagen.File(path).tags
    return tuple(values(tags[key]) if tags is not None and key in tags else []
                 for key in keys_of(tags))


def other_tags(path):
    """All tags but the title and the composer."""
    tags = mutagen.File(path).tags
    if tags is None:
        return {}
    known = [key.upper() for key in keys_of(tags)]
    text = values if isinstance(tags, mutagen.asf.ASFTags) else str
    return {key.upper(): text(tags[key]) for key in tags.keys() if key.upper() not in known}


def ffprobe_values(path):
    """(title, composer) as ffprobe finds them, in the file or in its audio stream."""
    found = json.loads(run("ffprobe", "-v", "error", "-of", "json", "-show_entries",
                           "format_tags:stream_tags", "-select_streams", "a", path))
    tags = {}
    for part in found["streams"] + [found["format"]]:
        tags.update({key.lower(): value for key, value in part.get("tags", {}).items()})
    return tags.get("title"), tags.get("composer")


def lines_of_fields(lines):
    """(title, composer) among lines of the form NAME=value."""
    found = {}
    for line in lines.splitlines():
        name, _, value = line.partition("=")
        found.setdefault(name.upper(), []).append(value)
    return found.get("TITLE", []), found.get("COMPOSER", [])


def metaflac_values(path):
    return lines_of_fields(run("metaflac", "--no-utf8-convert", "--export-tags-to=-", path))


def vorbiscomment_values(path):
    return lines_of_fields(run("vorbiscomment", "--list", "--raw", path))


class FormatTest(ScratchTest):

    def set(self, path, *fields):
        """Runs `tagwriter set` with fields of the form key=value. Returns its exit code and what it
        printed on standard error."""
        options = [word for field in fields for word in ("-t", field)]
        done = subprocess.run([TAGWRITER, "set", *options, path], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=120)
        for report in SANITIZER_REPORTS:
            self.assertNotIn(report, done.stderr)
        self.assertEqual(done.stdout, "")
        return done.returncode, done.stderr

    def set_both(self, path):
        """Sets title and composer, which must work."""
        self.assertEqual(self.set(path, f"title={TITLE}", f"composer={COMPOSER}"), (0, ""))

    def assert_refuses(self, path, field, value):
        """The field is not written, the command says so, and no byte changes."""
        before = contents(path)
        code, said = self.set(path, f"{field}={value}")
        self.assertEqual(code, 1)
        self.assertIn(path, said)
        self.assertIn(field, said)
        self.assertEqual(contents(path), before)

    def check_both(self, name, new_name=None):
        """Sets both fields in a copy and reads them back."""
        path = self.copy(name, new_name)
        audio = samples(path)
        self.assertNotEqual(mutagen_values(path), ([TITLE], [COMPOSER]))
        self.set_both(path)
        self.assertEqual(mutagen_values(path), ([TITLE], [COMPOSER]))
        self.assertEqual(samples(path), audio)
        return path


class Written(FormatTest):

    def test_every_audio_file_is_in_a_list(self):
        self.assertEqual(len(set(WRITTEN)), len(AUDIO_FILES) - 8)
        self.assertLessEqual({*NO_COMPOSER, *NO_PLACE}, set(AUDIO_FILES))

    def test_title_and_composer_and_nothing_else_in_every_file(self):
        for name in WRITTEN:
            with self.subTest(file=name):
                before = other_tags(os.path.join(DATA, name))
                path = self.check_both(name)
                self.assertEqual(other_tags(path), {**before, **ADDED.get(name, {})})
                self.assertEqual(ffprobe_values(path), FFPROBE_FINDS.get(name, (TITLE, COMPOSER)))

    def test_what_metaflac_and_flac_say(self):
        for name in ("flac_plain.flac", "flac_comment.flac", "flac_pictures.flac", "flac_id3.flac"):
            with self.subTest(file=name):
                path = self.check_both(name)
                self.assertEqual(metaflac_values(path), ([TITLE], [COMPOSER]))
                if name != "flac_id3.flac":  # which flac does not take, with or without an edit
                    run("flac", "--silent", "--test", path)

    def test_what_flac_says_about_ogg_flac(self):
        run("flac", "--silent", "--test", self.check_both("flac.oga"))

    def test_what_vorbiscomment_says(self):
        for name in ("vorbis_plain.ogg", "vorbis_tagged.ogg", "vorbis.oga"):
            with self.subTest(file=name):
                self.assertEqual(vorbiscomment_values(self.check_both(name)), ([TITLE], [COMPOSER]))

    def test_the_other_names_of_mp4(self):
        for extension in ("mp4", "m4b", "m4v", "m4p"):
            with self.subTest(extension=extension):
                self.check_both("m4a_tagged.m4a", f"song.{extension}")

    def test_capital_letters(self):
        for name in ONE_OF_EACH:
            with self.subTest(file=name.upper()):
                self.check_both(name, name.upper())

    def test_an_mp3_under_an_unknown_name(self):
        for name in ("song.xyz", "song", ".hidden"):
            with self.subTest(name=name):
                self.check_both("mp3_id3v23.mp3", name)

    def test_again_with_shorter_and_longer_values(self):
        for name in ONE_OF_EACH:
            with self.subTest(file=name):
                path = self.copy(name)
                audio = samples(path)
                for value in ("x" * 20000, "y", "z" * 500):
                    self.assertEqual(self.set(path, f"title={value}", f"composer={value}"), (0, ""))
                    self.assertEqual(mutagen_values(path), ([value], [value]))
                self.assertEqual(samples(path), audio)


class Refused(FormatTest):

    def test_files_that_take_no_title(self):
        for name in NO_TITLE:
            with self.subTest(file=name):
                self.assert_refuses(self.copy(name), "title", TITLE)

    def test_files_that_take_no_composer(self):
        for name in NO_COMPOSER:
            with self.subTest(file=name):
                self.assert_refuses(self.copy(name), "composer", COMPOSER)

    def test_names_that_take_no_composer(self):
        for extension in ("ac3", "au", "shn", "ay", "gbs", "gym", "hes", "kss", "nsf", "nsfe",
                          "sap", "spc", "vgm", "vgz", "VGZ"):
            with self.subTest(extension=extension):
                path = self.copy("mp3_id3v23.mp3", f"song.{extension}")
                self.assert_refuses(path, "composer", COMPOSER)

    def test_a_title_is_written_by_content_all_the_same(self):
        for name in ("opus.oga", "speex.oga", "oggflac_named.ogg"):
            with self.subTest(file=name):
                path = self.copy(name)
                audio, others = samples(path), other_tags(path)
                self.assertEqual(self.set(path, f"title={TITLE}"), (0, ""))
                self.assertEqual(mutagen_values(path), ([TITLE], []))
                self.assertEqual((samples(path), other_tags(path)), (audio, others))

    def test_no_place_in_a_dsf_file_whose_pointer_leads_nowhere(self):
        for name in NO_PLACE:
            with self.subTest(file=name):
                path = self.copy(name)
                before = contents(path)
                self.set_both(path)
                self.assertEqual(contents(path), before)


if __name__ == "__main__":
    unittest.main()
