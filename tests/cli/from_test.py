"""set --from: what `show --json` prints can be written again, into the same files or others."""

import json
import os
import shutil
import unittest

import mutagen

from cli_support import DATA, FIELDS, CommandTest, objects, tagwriter

NUMBERS = {"rating": "3.5", "compilation": "yes", "year": "1894", "bpm": "96", "trackNumber": "3",
           "totalNumberOfTracks": "12", "disc": "1", "totalNumberOfDiscs": "2"}
PAIRS = {"trackNumber": "totalNumberOfTracks", "disc": "totalNumberOfDiscs"}


class FromTest(CommandTest):

    def write(self, *values):
        """A file with JSON values, one after the other."""
        path = self.aside / f"input{len(os.listdir(self.aside))}.json"
        path.write_text("\n".join(json.dumps(value, indent=1) for value in values))
        return path

    def test_gives_another_file_the_same_fields(self):
        for name in ("mp3_plain.mp3", "m4a_plain.m4a", "flac_plain.flac", "wma_plain.wma",
                     "ape_plain.ape", "wav_plain.wav"):
            with self.subTest(name):
                source, target = self.copy(name, "a/" + name), self.copy(name, "b/" + name)
                # Every field that the format has; the command says which it has not.
                values = [f"{key}={NUMBERS.get(key, 'a «text»')}" for key in FIELDS]
                tagwriter("set", *(word for value in values for word in ("-t", value)), source)
                shown = tagwriter("show", "--json", source).stdout
                self.assertGreater(len(objects(shown)[0]["fields"]), 20)
                run = tagwriter("set", "--from", "-", target, stdin=None, input=shown)
                self.assert_run(run, 0)
                expected, found = mutagen.File(source).tags, mutagen.File(target).tags
                self.assertEqual(dict(found), dict(expected))
                # In other formats too, as far as they have the field.
                other = self.copy("opus_plain.opus")
                tagwriter("set", "--from", "-", other, stdin=None, input=shown)
                again = objects(tagwriter("show", "--json", other).stdout)[0]["fields"]
                self.assertEqual(again, objects(shown)[0]["fields"])

    def test_a_number_without_a_total_is_not_lost(self):
        m4a, mp3 = self.copy("m4a_plain.m4a"), self.copy("mp3_plain.mp3")
        tagwriter("set", *(word for key in PAIRS for word in ("-t", f"{key}=3")), m4a)
        shown = tagwriter("show", "--json", m4a).stdout
        self.assertEqual(objects(shown)[0]["fields"], {key: 3 for key in PAIRS})
        self.assert_run(tagwriter("set", "--from", "-", mp3, stdin=None, input=shown), 0)
        self.assertEqual([str(frame) for name, frame in sorted(mutagen.File(mp3).tags.items())],
                         ["3", "3"])

    def test_without_files_each_object_names_its_file_in_any_encoding(self):
        names = [b"caf\xe9 \xff.mp3", "Süß \ufffd.mp3".encode(), b"line\n.mp3", b"\xed\xa0\x80.mp3"]
        paths = [os.fsencode(self.directory) + b"/" + name for name in names]
        for path in paths:
            shutil.copy(DATA / "mp3_plain.mp3", path)
        shown = tagwriter("show", "--json", *paths).stdout
        lines = objects(shown)
        for line in lines:
            line["fields"]["title"] = line["file"]
        run = tagwriter("set", "--json", "--from", self.write(*lines))
        self.assert_run(run, 0)
        for path, line, result in zip(paths, lines, objects(run.stdout)):
            name = path.decode(errors="replace")
            self.assertEqual((self.title(path), line["file"]), (name, name))
            self.assertEqual("fileBase64" in line, b"\xe9" in path or b"\xed" in path)
            self.assertEqual(result.get("fileBase64"), line.get("fileBase64"))

    def test_null_clears_and_a_file_without_fields_fails_alone(self):
        first, second, missing = *self.copies(2), self.directory / "missing.mp3"
        tagwriter("set", "-t", "title=T", "-t", "artist=A", first)
        shown = objects(tagwriter("show", "--json", missing, second).stdout)
        input_file = self.write({"file": str(first), "fields": {"title": None}}, shown[0],
                                shown[1] | {"fields": {"title": "U", "rating": 4}})
        for options, written in (["-n"], ""), ([], "tagwriter: 2 of 3 files written\n"):
            run = tagwriter("set", *options, "--from", input_file)
            self.assert_run(run, 1, f"{missing}: the input has no \"fields\" for it\n{written}")
        self.assertEqual((sorted(mutagen.File(first).tags), self.title(second)), (["TPE1"], "U"))

    def test_wrong_input_is_wrong_usage_and_changes_nothing(self):
        mp3, = self.copies(1)
        good = {"file": str(mp3), "fields": {"title": "T"}}
        for value, text, files in (
                ({"fields": {"titel": "T"}}, "titel: no such field", [mp3]),
                ({"fields": {"year": 1, "Date": 2}}, "year: is given twice", [mp3]),
                ({"fields": {"year": "1894"}}, "year: must be an integer, or null", [mp3]),
                ({"fields": {"year": 2**63}}, "year: must be an integer", [mp3]),
                ({"fields": {"title": ["T"]}}, "title: must be a string", [mp3]),
                ({"fields": {"compilation": 1}}, "compilation: must be true or false", [mp3]),
                ({"fields": {"rating": "4"}}, "rating: must be a number", [mp3]),
                ({"fields": []}, '"fields" must be an object', [mp3]),
                ({"title": "T"}, 'has no "fields"', [mp3]),
                ([good], "must be an object", [mp3]),
                ({"fields": {}}, 'names no "file"', []),
                ({"file": 1, "fields": {}}, '"file" must be a string, not 1', []),
                ({"fileBase64": "a", "fields": {}}, '"fileBase64" is not base64', [])):
            for values in ([value], [good, value]) if not files else [[value]]:
                with self.subTest(values=values):
                    path = self.write(*values)
                    run = tagwriter("set", "--from", path, *files)
                    self.assertEqual((run.returncode, run.stdout), (2, ""))
                    self.assertIn(f"tagwriter: --from {path}: ", run.stderr)
                    self.assertIn(text, run.stderr)
        for arguments, text in (
                (["--from", self.write(good, good), mp3], "has 2 objects; with FILE"),
                (["--from", self.write()], "is empty"),
                (["--from", self.directory], "Is a directory"),
                (["--from", self.aside / "none.json"], "No such file"),
                (["--from", self.write(good), "-t", "title=U"], "--tag")):
            run = tagwriter("set", *arguments)
            self.assertEqual(run.returncode, 2)
            self.assertIn(text, run.stderr)
        broken = self.aside / "broken.json"
        broken.write_text(json.dumps(good) + '\n{"file"')
        self.assertIn("object 2: parse error", tagwriter("set", "--from", broken).stderr)
        self.assert_as_it_was(mp3)


if __name__ == "__main__":
    unittest.main()
