"""copy: fields and the cover from one file into others."""

import unittest

import mutagen

from cli_support import CommandTest, objects, tagwriter


class CopyTest(CommandTest):

    def fields(self, path):
        return objects(tagwriter("show", "--json", path).stdout)[0]["fields"]

    def test_copies_all_fields_and_the_front_cover(self):
        source = self.copy("mp3_id3v23.mp3")  # its back cover is first
        targets = [self.copy(name) for name in ("flac_plain.flac", "m4a_plain.m4a")]
        tagwriter("set", "-t", "composer=old", "-t", "genre=kept", *targets)
        for options in ([], ["--safe", "--replace"]):
            self.assert_run(tagwriter("copy", source, *options, *targets), 0)
            expected = self.fields(source)
            self.assertGreater(len(expected), 10)
            for target in targets:
                self.assertEqual(self.fields(target), expected | {"genre": "kept"})
            front, = [frame.data for frame in mutagen.File(source).tags.getall("APIC")
                      if frame.type == 3]
            self.assertEqual([picture.data for picture in mutagen.File(targets[0]).pictures],
                             [front])
            self.assertEqual([bytes(cover) for cover in mutagen.File(targets[1]).tags["covr"]],
                             [front])
        run = tagwriter("copy", source, targets[0])
        self.assert_run(run, 1, f"{targets[0]}: cover: already has a picture (use --replace)\n")

    def test_copies_single_fields(self):
        source, target = self.copy("mp3_id3v23.mp3"), self.copy("mp3_plain.mp3")
        self.assert_run(tagwriter("copy", "-t", "Title", source, target, "-t", "rating"), 0)
        wanted = {key: self.fields(source)[key] for key in ("title", "rating")}
        self.assertEqual(self.fields(target), wanted)
        self.assertNotIn("APIC", str(mutagen.File(target).tags.keys()))

    def test_reports_what_it_cannot_copy_and_changes_nothing(self):
        source, target = self.copy("mp3_id3v23.mp3"), self.copy("mp3_plain.mp3")
        empty, noise = self.copy("flac_plain.flac"), self.directory / "noise.txt"
        noise.write_text("no audio")
        odd = self.copy("flac_plain.flac", "odd.flac")
        file = mutagen.File(odd)
        picture = mutagen.flac.Picture()
        picture.type, picture.data = 3, b"?"
        file.add_picture(picture)
        file.save()
        for arguments, error in (
                (["-t", "title", "-t", "bpm", source], "has no bpm to copy"),
                ([empty], "has nothing to copy"),
                ([noise], "cannot be read as an audio file"),
                ([odd], "its cover is not a PNG, JPEG, TIFF, GIF or BMP image"),
                ([self.directory / "missing"], "No such file or directory")):
            run = tagwriter("copy", *arguments, target)
            self.assertEqual((run.returncode, run.stdout), (1, ""))
            self.assertTrue(run.stderr.startswith(f"{arguments[-1]}: {error}"), run.stderr)
        self.assertIn("FROM and at least one TO are required", tagwriter("copy", source).stderr)
        self.assert_as_it_was(target)


if __name__ == "__main__":
    unittest.main()
