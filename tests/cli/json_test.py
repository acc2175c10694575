"""--json: one object per line, whatever happens and whatever the files are called."""

import base64
import os
import re
import shutil
import unittest

import mutagen

from cli_support import DATA, CommandTest, objects, tagwriter

COVER = DATA / "cover_red.png"


class JsonTest(CommandTest):

    def lines(self, *arguments):
        """Runs the command; returns the exit code and the objects. Failures must also be on
        standard error, in the same words and order."""
        run = tagwriter(*arguments, "--json")
        found = objects(run.stdout)
        errors = [": ".join(line[key] for key in ("file", "edit", "error") if key in line)
                  for line in found if "error" in line]
        escaped = [re.sub(r"[\0-\x08\n-\x1f]", lambda c: f"\\x{ord(c[0]):02x}", error)
                   for error in errors]
        self.assertEqual(run.stderr, "".join(error + "\n" for error in escaped))
        return run.returncode, found

    def test_each_edit_is_a_line(self):
        paths = [self.copy("mp3_id3v23.mp3"), self.copy("flac_plain.flac")]
        for names, arguments in ((["title", "disc"], ["set", "-t", "title=T", "-t", "disc=1"]),
                                 (["title"], ["clear", "-t", "title"]),
                                 (["cover"], ["cover", "--replace", COVER]),
                                 (["cover"], ["cover", "--clear"])):
            self.assertEqual(self.lines(*arguments, *paths),
                             (0, [{"file": str(path), "edit": name, "result": "written"}
                                  for path in paths for name in names]))

    def test_each_plan_is_a_line(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.assertEqual(self.lines("set", "-n", "-t", "title=a\n\"b\"", "-t", "year=1", mp3), (0, [
            {"file": str(mp3), "edit": "title", "result": "planned", "what": 'title = a\n"b"',
             "was": None},
            {"file": str(mp3), "edit": "year", "result": "planned", "what": "year = 1",
             "was": None}]))

    def test_a_failed_edit_is_a_line_with_the_reason(self):
        mp3 = self.copy("mp3_plain.mp3")
        for arguments, edit, error in (
                (["set", "-t", "cueSheet=C"], "cueSheet",
                 "files of this type do not store this field"),
                (["cover", "--clear"], "cover", "there is no picture to remove")):
            code, (line,) = self.lines(*arguments, mp3)
            self.assertEqual(code, 1)
            self.assertEqual(line, {"file": str(mp3), "edit": edit, "result": "failed",
                                    "error": error})

    def test_a_failed_file_is_one_line(self):
        missing, mp3 = self.directory / "missing.mp3", self.copy("mp3_plain.mp3")
        failures = [
            {"file": str(self.directory), "result": "failed",
             "error": "is a directory (use --recursive)"},
            {"file": str(missing), "result": "failed",
             "error": "cannot be opened: No such file or directory"}]
        for options in ([], ["--safe"], ["--dry-run"], ["--quiet"]):
            with self.subTest(options=options):
                code, found = self.lines("set", "-t", "title=T", "-t", "artist=A", *options,
                                         missing, mp3, self.directory)
                self.assertEqual((code, found[:2]), (1, failures))
                self.assertEqual([(line["file"], line["edit"]) for line in found[2:]],
                                 [(str(mp3), "title"), (str(mp3), "artist")])

    def test_show_prints_everything_in_a_file(self):
        plain, flac, m4a = (DATA / name for name in
                            ("flac_plain.flac", "flac_comment.flac", "m4a_tagged.m4a"))
        noise = self.directory / "noise.xyz"
        noise.write_text("no audio")
        code, (first, second, third, fourth) = self.lines("show", "--all", plain, flac, noise, m4a)
        self.assertEqual(code, 1)
        self.assertEqual(first, {"file": str(plain), "fields": {}, "tags": {}, "pictures": []})
        tags = mutagen.File(flac).tags
        self.assertGreater(len(tags["artist"]), 1)
        self.assertEqual(second["tags"]["ARTIST"], tags["artist"])
        self.assertIn("\n", tags["cuesheet"][0])
        self.assertEqual(second["tags"]["CUESHEET"], tags["cuesheet"])
        self.assertEqual(third, {"file": str(noise), "result": "failed",
                                 "error": "cannot be read as an audio file"})
        self.assertEqual(fourth["pictures"], [
            {"role": "", "mimeType": "image/png", "width": 8, "height": 8, "size": 96},
            {"role": "", "mimeType": "image/jpeg", "width": 8, "height": 8, "size": 207}])

    def test_any_text_may_be_a_name_or_a_value(self):
        for text in ('a "quoted" one', "back\\slash", "two\nlines\n", "tab\tand\rreturn",
                     "Süß 漢 𝄞", "\x01\x1b[31m", " ", "'"):
            path = self.copy("mp3_plain.mp3", text + ".mp3")
            for arguments in (["set", "-t", f"title={text}"], ["set", "-n", "-t", "title=T"],
                              ["cover", COVER], ["show"]):
                with self.subTest(text=text, arguments=arguments):
                    code, (line,) = self.lines(*arguments, path)
                    self.assertEqual((code, line["file"]), (0, str(path)))
            self.assertEqual(line["fields"], {"title": text})
            path.unlink()
            self.assertEqual(self.lines("show", path)[1][0]["file"], str(path))

    def test_a_name_that_is_not_utf8_comes_in_base64_too(self):
        for name in (b"caf\xe9 \xff\xfe.mp3", b"\xe9.mp3", b"\xe9__.mp3"):  # all paddings
            path = os.fsencode(self.directory) + b"/" + name
            shutil.copy(DATA / "mp3_plain.mp3", path)
            for arguments in (["set", "-n", "-t", "title=T"], ["set", "-t", "title=T"], ["show"],
                              ["cover", COVER], ["cover", COVER]):
                run = tagwriter(*arguments, "--json", path)
                line, = objects(run.stdout)
                self.assertEqual(line["file"], path.decode(errors="replace"))
                self.assertEqual(base64.b64decode(line["fileBase64"], validate=True), path)


if __name__ == "__main__":
    unittest.main()
