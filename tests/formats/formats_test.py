"""Which file is written as what, which is refused and left alone, and that other software reads
what is written."""

import ctypes
import json
import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "expectations"))

import mutagen  # noqa: E402

from edits import (  # noqa: E402
    EditTest, GLib, change, contents, data, dictionary, raw_bytes, run, tag_contents, text)
from expectations import CONTAINERS, FIELDS  # noqa: E402

FILES = [container["file"] for container in CONTAINERS["containers"]]
FAMILY = {container["file"]: container["family"] for container in CONTAINERS["containers"]}
TITLE = "Straße nach Ōsaka 🎵"
COMPOSER = "Žluťoučký kůň / 大阪"
CORE = {"title": TITLE, "artist": TITLE, "album": TITLE, "genre": TITLE, "year": 2024}
IMAGE = b"an image"


class Names(EditTest):

    def edits(self, path, name=None):
        """Every way to edit a file except the core fields."""
        return (lambda: self.edit("composer", COMPOSER, path, name),
                lambda: self.edit("cueSheet", "S", path, name),
                lambda: self.write_cover(path, IMAGE, 1, True),
                lambda: self.write_cover(path, IMAGE, 1, False),
                lambda: self.clear_covers(path))

    def test_the_extension_in_any_case_decides(self):
        for file in FILES:
            others = CONTAINERS["other names"].get(file, [])
            expected = self.file(file)
            self.assert_edited("composer", COMPOSER, expected)
            self.assertTrue(self.write_cover(expected, IMAGE, 1))
            for name in [file.upper(), *others]:
                with self.subTest(file=file, name=name):
                    path = self.file(file, name)
                    self.assert_edited("composer", COMPOSER, path)
                    self.assertTrue(self.write_cover(path, IMAGE, 1))
                    self.assertEqual(contents(path) == contents(expected), True)

    def test_a_file_without_a_path_is_an_mp3(self):
        path = self.file("mp3_id3v23.mp3")
        change = {"changedtag": text("composer"), "track": dictionary({"composer": text("C")})}
        for request in (change, {"clearartwork": GLib.Variant("b", True)}):
            self.assertTrue(self.send({"fd": GLib.Variant("h", 0), **request}, path))
        found = tag_contents(path)
        self.assertEqual(found["ID3v2 TCOM"], [(3, "C")])
        self.assertNotIn("ID3v2 APIC", found)

    def test_types_without_a_writer_are_refused_whatever_is_inside(self):
        for name in CONTAINERS["refused names"]:
            for file in ("mp3_id3v23.mp3", "flac_comment.flac", "vgm.vgm"):
                path = self.file(file, name)
                for index, call in enumerate(self.edits(path)):
                    with self.subTest(name=name, file=file, edit=index):
                        self.assert_untouched(path, contents(data(file)), call)

    def test_streams_that_are_not_what_the_name_promises_are_refused(self):
        for file in CONTAINERS["refused files"]:
            path = self.file(file)
            for index, call in enumerate(self.edits(path)):
                with self.subTest(file=file, edit=index):
                    self.assert_untouched(path, contents(data(file)), call)

    def test_core_fields_go_by_what_taglib_finds_inside(self):
        for file, name in (("mp3_id3v23.mp3", "a.shn"), ("mp3_id3v23.mp3", "a"),
                           ("opus.oga", None), ("speex.oga", None), ("oggflac_named.ogg", None)):
            path = self.file(file, name)
            self.assert_edited("title", TITLE, path)
            self.assertEqual(str(mutagen.File(path)["TIT2" if name else "TITLE"][0]), TITLE)

    def test_core_fields_say_what_taglib_cannot_read(self):
        for file in CONTAINERS["unreadable files"]:
            path = self.file(file)
            for field, value in CORE.items():
                self.assert_untouched(path, contents(data(file)),
                                      lambda: self.edit(field, value, path))
                self.assertEqual(self.said(), f"Failed to write {field} tag to file. "
                                              f"TagLib could not read the file at {path}\n")

    def test_a_dsf_file_whose_pointer_leads_nowhere_has_no_place_for_a_tag(self):
        for file in ("dsf_pointer_at_end.dsf", "dsf_pointer_beyond_end.dsf"):
            path = self.file(file)
            for field, value in {**CORE, "composer": COMPOSER}.items():
                self.assert_edited(field, value, path)
            self.assertEqual(contents(path), contents(data(file)))


class OtherContent(EditTest):
    """Files whose content does not match their name: the name determines the format."""

    CONTENTS = ["mp3_plain.mp3", "m4a_tagged.m4a", "flac_plain.flac", "vorbis_tagged.ogg",
                "flac.oga", "opus_tagged.opus", "speex.oga", "wma_tagged.wma", "aiff_plain.aiff",
                "wav_info.wav", "ape_plain.ape", "wavpack_plain.wv", "mpc_plain.mpc",
                "dsf_plain.dsf", "ac3.ac3", "au.au", "vgm.vgm", b"no audio at all", b""]
    # The indexes of the CONTENTS for which the extension is correct.
    OWN = {"m4a": [1], "m4p": [1], "flac": [2], "ogg": [3], "oga": [3, 4], "opus": [5], "wma": [7],
           "aiff": [8], "aif": [8], "wav": [9], "dsf": [13]}

    def others(self, extension):
        for index, inside in enumerate(self.CONTENTS):
            if index in self.OWN.get(extension, []):
                continue
            before = contents(data(inside)) if isinstance(inside, str) else inside
            with self.subTest(extension=extension, inside=inside):
                yield self.file("a." + extension, data=before), before

    def edits(self, path):
        return (lambda: self.edit("composer", COMPOSER, path),
                lambda: self.write_cover(path, IMAGE, 1, True))

    def test_no_tag_to_edit(self):
        for extension in ("m4a", "m4p", "flac", "ogg", "oga", "opus", "wma", "dsf"):
            for path, before in self.others(extension):
                for call in (*self.edits(path), lambda: self.clear_covers(path)):
                    self.assert_untouched(path, before, call)

    def test_taglib_reports_a_save_of_an_aiff_or_wav_and_writes_nothing(self):
        for extension in ("aiff", "aif", "wav"):
            for path, before in self.others(extension):
                for call in (*self.edits(path), lambda: self.clear_covers(path)):
                    self.assertTrue(call())
                    self.assertEqual(contents(path), before)

    def test_an_ape_tag_at_the_end_of_anything(self):
        for extension in ("ape", "wv", "mpc"):
            for path, before in self.others(extension):
                for call in self.edits(path):
                    self.file("a." + extension, data=before)
                    self.assertTrue(call())
                    self.assertTrue(contents(path).startswith(before + b"APETAGEX"))

    def test_an_id3v2_tag_at_the_start_of_anything(self):
        for extension in ("mp3", "xyz", ""):
            for path, before in self.others(extension):
                for call in self.edits(path):
                    self.file("a." + extension, data=before)
                    self.assertTrue(call())
                    self.assertTrue(contents(path).startswith(b"ID3\4"))
                    self.assertTrue(contents(path).endswith(before))


class Descriptors(EditTest):

    def all_edits(self, path, file, **how):
        """Every way to edit a container."""
        fields = {**CORE, "composer": COMPOSER}
        if any(container["file"] == file and container["cueSheet"] == "taken"
               for container in CONTAINERS["containers"]):
            fields["cueSheet"] = "S"
        edits = [lambda field=field, value=value: self.edit(field, value, path, **how)
                 for field, value in fields.items()]
        return [*edits, lambda: self.write_cover(path, IMAGE, 1, True, **how),
                lambda: self.clear_covers(path, **how)]

    def test_a_descriptor_for_reading_only(self):
        for file in FILES:
            path = self.file(file)
            for index, call in enumerate(self.all_edits(path, file, mode="rb")):
                with self.subTest(file=file, edit=index):
                    self.assert_untouched(path, contents(data(file)), call)

    def test_a_descriptor_for_writing_only_is_closed_like_any_other(self):
        path = self.file("ape_tagged.ape")
        fd = os.open(path, os.O_WRONLY | os.O_CLOEXEC)
        self.addCleanup(os.close, fd)
        image = {"artwork": raw_bytes(IMAGE)}
        clear = {"clearartwork": GLib.Variant("b", True)}
        for request in (*(change(field, text("x")) for field in ("title", "composer", "cueSheet")),
                        image, clear):
            request |= {"fd": GLib.Variant("h", 0), "path": text(path)}
            self.assertFalse(self.player.write(request, [fd])["result"].get_boolean())
            self.assertIn(f"Could not open file {path}", self.said())
        self.assertEqual(contents(path), contents(data("ape_tagged.ape")))

    def test_where_the_descriptor_stands_does_not_matter(self):
        for file in FILES:
            at_start, elsewhere = self.file(file, "1" + file), self.file(file, "2" + file)
            for call, moved in zip(self.all_edits(at_start, file),
                                   self.all_edits(elsewhere, file, offset=1000)):
                self.assertTrue(call() and moved())
                self.assertEqual(contents(at_start) == contents(elsewhere), True)


class Path(EditTest):
    """The path is only a name and is never opened."""

    def test_the_file_at_the_path_is_never_opened(self):
        libc = ctypes.CDLL(None, use_errno=True)
        watch = libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
        self.addCleanup(os.close, watch)

        def seen():
            try:
                return len(os.read(watch, 4096)) > 0
            except BlockingIOError:
                return False

        for file in FILES + ["dsf_tagged.dsf"]:
            other = self.file(file, "other-" + file)
            expected = self.file(file)
            actual = self.file(file, "actual-" + file)
            self.assertGreaterEqual(libc.inotify_add_watch(watch, other.encode(), 0xfff), 0)
            for field, value in (("title", TITLE), ("composer", COMPOSER), ("year", 7)):
                self.assert_edited(field, value, expected)
                for name in (other, "/no such directory/a." + file.rpartition(".")[2]):
                    self.assertTrue(self.edit(field, value, actual, name))
                self.assertEqual(contents(actual), contents(expected), file)
            self.assertFalse(seen(), file)
            contents(other)
            self.assertTrue(seen())


class OtherReaders(EditTest):
    """Title and composer as other programs find them."""

    def written(self, name):
        path = self.file(name)
        self.assert_edited("title", TITLE, path)
        self.assert_edited("composer", COMPOSER, path)
        return path

    def test_mutagen_and_ffprobe(self):
        keys = {"id3v2": ("TIT2", "TCOM"), "mp4": ("©nam", "©wrt"), "xiph": ("TITLE", "COMPOSER"),
                "asf": ("Title", "WM/Composer"), "ape": ("TITLE", "Composer")}
        for name in FILES:
            with self.subTest(file=name):
                path = self.written(name)
                tags = mutagen.File(path).tags
                found = [tags[key] for key in keys[FAMILY[name]]]
                self.assertEqual([str(value if FAMILY[name] == "ape" else value[0])
                                  for value in found], [TITLE, COMPOSER])
                shown = json.loads(run("ffprobe", "-v", "error", "-of", "json", "-show_entries",
                                       "format_tags:stream_tags", path))
                tags = {key.lower(): value for part in [*shown["streams"], shown["format"]]
                        for key, value in part.get("tags", {}).items()}
                # ffprobe shows nothing of the ID3v2 tag of a WAV file that has an INFO list.
                is_hidden = name.endswith(".wav") and FIELDS["title"]["info"]
                self.assertEqual((tags["title"], tags.get("composer")),
                                 (TITLE, None if is_hidden else COMPOSER))

    def test_the_tools_of_flac_and_vorbis(self):
        expected = {"COMPOSER=" + COMPOSER, "TITLE=" + TITLE}
        for name in ("flac_plain.flac", "flac_comment.flac", "flac_pictures.flac", "flac.oga"):
            path = self.written(name)
            run("flac", "--silent", "--test", path)
            if name.endswith(".flac"):
                lines = run("metaflac", "--no-utf8-convert", "--export-tags-to=-", path)
                self.assertLessEqual(expected, set(lines.splitlines()))
        for name in ("vorbis_plain.ogg", "vorbis_tagged.ogg", "vorbis.oga"):
            lines = run("vorbiscomment", "--raw", "--list", self.written(name))
            self.assertLessEqual(expected, set(lines.splitlines()))


if __name__ == "__main__":
    unittest.main()
