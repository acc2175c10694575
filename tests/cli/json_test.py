"""--json: one object a line, whatever happens and whatever the files are called."""

import os
import shutil
import unittest

import mutagen

from cli_support import DATA, CommandTest, objects, tagwriter

COVER = DATA / "cover_red.png"


class JsonTest(CommandTest):

    def tell(self, *arguments):
        """Runs the command; returns the exit code and the objects. Whatever failed is named on
        standard error too, in the same words and the same order."""
        run = tagwriter(*arguments)
        found = objects(run.stdout)
        errors = [": ".join(line[key] for key in ("file", "edit", "error") if key in line)
                  for line in found if "error" in line]
        self.assertEqual(run.stderr, "".join(error.replace("\n", r"\x0a") + "\n" for error in errors))
        return run.returncode, found


class EditTest(JsonTest):

    def test_every_edit_is_a_line(self):
        mp3, flac = self.copy("mp3_id3v23.mp3"), self.copy("flac_plain.flac")

        def written(*edits):
            return [{"file": str(path), "edit": edit, "result": "written"}
                    for path in (mp3, flac) for edit in edits]

        self.assertEqual(
            self.tell("set", "--json", "-t", "title=T", "-t", "disc=1", mp3, flac),
            (0, written("title", "disc")))
        self.assertEqual(self.tell("clear", "--json", "-t", "title", mp3, flac),
                         (0, written("title")))
        self.assertEqual(self.tell("cover", "--json", "--replace", COVER, mp3, flac),
                         (0, written("cover")))
        self.assertEqual(self.tell("cover", "--json", "--clear", mp3, flac),
                         (0, written("cover")))

    def test_plans_are_told_as_such(self):
        mp3 = self.copy("mp3_plain.mp3")
        code, found = self.tell("set", "--json", "-n", "-t", "title=a\n\"b\"", "-t", "year=1", mp3)
        self.assertEqual(code, 0)
        self.assertEqual(found, [
            {"file": str(mp3), "edit": "title", "result": "planned", "what": 'title = a\n"b"'},
            {"file": str(mp3), "edit": "year", "result": "planned", "what": "year = 1"}])

    def test_an_edit_that_fails_is_a_line_with_the_reason(self):
        mp3 = self.copy("mp3_plain.mp3")
        for arguments, edit in ((["set", "-t", "cueSheet=C"], "cueSheet"),
                                (["cover", "--clear"], "cover")):
            code, found = self.tell(*arguments, "--json", mp3)
            self.assertEqual((code, len(found)), (1, 1))
            error = found[0].pop("error")
            self.assertEqual(found, [{"file": str(mp3), "edit": edit, "result": "failed"}])
            self.assertTrue(error.startswith("not written: "), error)

    def test_a_file_that_fails_is_one_line_whatever_was_to_be_done(self):
        missing, fifo = self.directory / "missing.mp3", self.directory / "fifo.mp3"
        os.mkfifo(fifo)
        mp3 = self.copy("mp3_plain.mp3")
        failures = [
            {"file": str(self.directory), "error": "is a directory; --recursive goes into it"},
            {"file": str(missing), "error": "cannot be opened: No such file or directory"},
            {"file": str(fifo), "error": "not a regular file"}]
        for failure in failures:
            failure["result"] = "failed"
        for options in ([], ["--safe"], ["--dry-run"], ["--quiet"]):
            for edit in (["set", "-t", "title=T", "-t", "artist=A"], ["clear", "-t", "title"],
                         ["cover", "--replace", COVER]):
                with self.subTest(edit=edit, options=options):
                    code, found = self.tell(*edit, "--json", *options, missing, mp3, fifo,
                                            self.directory)
                    self.assertEqual(code, 1)
                    done = [line for line in found if line["file"] == str(mp3)]
                    self.assertTrue(done)
                    self.assertTrue(all(line["result"] != "failed" for line in done), done)
                    self.assertEqual([line for line in found if line not in done], failures)


class ShowTest(JsonTest):

    def test_each_file_is_a_line_with_all_that_is_in_it(self):
        flac, m4a, missing = DATA / "flac_comment.flac", DATA / "m4a_tagged.m4a", DATA / "missing"
        noise = self.directory / "noise.xyz"
        noise.write_text("no audio")
        code, found = self.tell("show", "--json", flac, missing, noise, m4a, self.directory)
        self.assertEqual(code, 1)
        directory, first, second, third, fourth = found
        self.assertEqual(first["file"], str(flac))
        tags = mutagen.File(flac).tags
        self.assertGreater(len(tags["artist"]), 1)
        self.assertEqual(first["tags"]["ARTIST"], tags["artist"])
        self.assertIn("\n", tags["cuesheet"][0])
        self.assertEqual(first["tags"]["CUESHEET"], tags["cuesheet"])
        self.assertEqual(first["pictures"], [])
        self.assertEqual([second, third, directory], [
            {"file": str(missing), "result": "failed", "error": "No such file or directory"},
            {"file": str(noise), "result": "failed", "error": "cannot be read as an audio file"},
            {"file": str(self.directory), "result": "failed",
             "error": "is a directory; --recursive goes into it"}])
        self.assertEqual((fourth["file"], fourth["pictures"]), (str(m4a), [
            {"role": "", "mimeType": "image/png", "width": 8, "height": 8, "size": 96},
            {"role": "", "mimeType": "image/jpeg", "width": 8, "height": 8, "size": 207}]))

    def test_a_file_without_tags_is_a_line_too(self):
        plain = DATA / "flac_plain.flac"
        self.assertEqual(self.tell("show", "--json", plain),
                         (0, [{"file": str(plain), "tags": {}, "pictures": []}]))

    def test_values_come_back_as_they_were(self):
        mp3 = self.copy("mp3_plain.mp3")
        for value in ('a "quoted" one', "back\\slash", "two\nlines", "tab\tand\rreturn", "Süß 漢 𝄞",
                      "\x01\x1b[31m", "{}", "</script>"):
            self.assert_run(tagwriter("set", "-t", f"title={value}", mp3), 0)
            self.assertEqual(self.tell("show", "--json", mp3)[1][0]["tags"], {"TITLE": [value]})


class NamesTest(JsonTest):

    def edits(self, path):
        """Every verb with this file: the exit code and the file's name in each line."""
        for arguments in (["show"], ["set", "-t", "title=T"], ["set", "-n", "-t", "title=T"],
                          ["clear", "-t", "title"], ["cover", COVER], ["cover", "--clear"]):
            code, found = self.tell(*arguments, "--json", path)
            yield arguments, code, [line["file"] for line in found]

    def test_any_text_may_be_a_name(self):
        for name in ('a "quoted" one.mp3', "back\\slash.mp3", "two\nlines\n.mp3", "tab\t.mp3",
                     "Süß 漢 𝄞.mp3", "\x01\x1b[31m.mp3", " ", "'"):
            path = self.copy("mp3_plain.mp3", name)
            for arguments, code, names in self.edits(path):
                with self.subTest(name=name, arguments=arguments):
                    self.assertEqual((code, names), (0, [str(path)]))
            path.unlink()

    def test_a_missing_file_may_have_any_name_too(self):
        path = self.directory / 'a "quoted"\nname'
        for arguments, code, names in self.edits(path):
            with self.subTest(arguments=arguments):
                self.assertEqual((code, names), (1, [str(path)]))

    def test_bytes_that_are_no_text_come_out_replaced(self):
        directory = os.fsencode(self.directory)
        path = directory + b"/caf\xe9 \xff\xfe.mp3"
        for present in (True, False):
            if present:
                shutil.copy(DATA / "mp3_plain.mp3", path)
            for arguments in (["show"], ["set", "-t", "title=T"], ["cover", "--replace", COVER]):
                with self.subTest(arguments=arguments, present=present):
                    run = tagwriter(*arguments, "--json", path)
                    self.assertEqual(run.returncode, 0 if present else 1)
                    names = [line["file"] for line in objects(run.stdout)]
                    self.assertEqual(names, [f"{self.directory}/caf\ufffd \ufffd\ufffd.mp3"])
            if present:
                self.assertIsNotNone(mutagen.File(path).tags)
                os.unlink(path)


if __name__ == "__main__":
    unittest.main()
