"""cover --extract: pictures into files of their own."""

import os
import signal
import unittest
from pathlib import Path

import mutagen
from mutagen.id3 import APIC, ID3

from cli_support import DATA, TAGWRITER, CommandTest, objects, tagwriter

IMAGES = {path.suffix: path.read_bytes() for path in DATA.glob("cover*")}


class ExtractTest(CommandTest):

    def mp3(self, name, *pictures):
        """A file with pictures, each (type, MIME type, bytes)."""
        path = self.copy("mp3_plain.mp3", name)
        tags = ID3()
        for number, (kind, mime, data) in enumerate(pictures):
            tags.add(APIC(type=kind, mime=mime, desc=str(number), data=data))
        tags.save(path)
        return path

    def files(self, directory):
        return {path.name: path.read_bytes() for path in Path(directory).iterdir()
                if path.suffix != ".mp3"}

    def test_names_files_by_role_and_format_beside_the_audio(self):
        pictures = [(3, "image/png", IMAGES[".png"]), (3, "?", IMAGES[".png"] + b"2"),
                    (4, "", IMAGES[".jpg"]), (0, "image/x", IMAGES[".gif"]),
                    (5, "-->", IMAGES[".bmp"]), (6, "image/png", IMAGES[".tiff"]),
                    (7, "image/x-Odd/../type", b"?"), (8, "text/plain", b"?" * (17 << 20))]
        path = self.mp3("a/song.mp3", *pictures)
        run = tagwriter("cover", "--extract", path)
        self.assert_run(run, 0)
        found = self.files(path.parent)
        # In the order of the file.
        fronts = sorted((found["front-cover.png"], found["front-cover-2.png"]))
        self.assertEqual(fronts, [pictures[0][2], pictures[1][2]])
        self.assertTrue(found == {
            **{name: found[name] for name in ("front-cover.png", "front-cover-2.png")},
            "back-cover.jpg": pictures[2][2], "other.gif": pictures[3][2],
            "leaflet-page.bmp": pictures[4][2], "media.tiff": pictures[5][2],
            "lead-artist.x-odd-type": b"?", "artist.bin": pictures[7][2]}, sorted(found))
        self.assertEqual(sorted(run.stdout.splitlines()),
                         sorted(f"{path.parent}/{name}" for name in found))
        umask = os.umask(0)
        os.umask(umask)
        self.assertEqual((path.parent / "other.gif").stat().st_mode & 0o777, 0o666 & ~umask)
        m4a, ape = self.copy("m4a_tagged.m4a"), self.copy("ape_tagged.ape")
        tagwriter("cover", "--extract=" + str(self.aside / "new/b"), m4a, ape)
        covers = [bytes(cover) for cover in mutagen.File(m4a).tags["covr"]]
        self.assertEqual(self.files(self.aside / "new/b"), {
            "cover.png": covers[0], "cover.jpg": covers[1], "front-cover.png": IMAGES[".png"]})

    def test_an_existing_file_is_kept_unless_told_to_replace_it(self):
        first = self.mp3("1.mp3", (3, "", IMAGES[".png"]))
        same = self.mp3("2.mp3", (3, "", IMAGES[".png"]))
        other = self.mp3("3.mp3", (3, "", IMAGES[".png"] + b"other"))
        target = self.directory / "front-cover.png"
        target.write_bytes(b"mine")
        error = "exists and has another content (use --replace, or --extract=DIRECTORY)"
        run = tagwriter("cover", "--extract", "--json", first)
        self.assert_run(run, 1, f"{first}: {target}: {error}\n")
        self.assertEqual(self.files(self.directory), {target.name: b"mine"})
        # One run does not replace its own files.
        run = tagwriter("cover", "--extract", "--replace", "--json", first, same, other)
        self.assert_run(run, 1, f"{other}: {target}: another file has another picture for it "
                                "(use --extract=DIRECTORY)\n")
        self.assertEqual([line["result"] for line in objects(run.stdout)],
                         ["extracted", "extracted", "failed"])
        self.assertEqual(self.files(self.directory), {target.name: IMAGES[".png"]})

    def test_leaves_nothing_when_it_is_killed(self):
        mp3 = self.mp3("a.mp3", (3, "image/png", IMAGES[".png"] + bytes(1 << 20)))
        (self.directory / "front-cover.png").write_bytes(b"mine")
        limit = ["prlimit", f"--fsize={1 << 19}"]  # the kernel ends who exceeds it
        run = tagwriter("cover", "--extract", "--replace", mp3, program=[*limit, TAGWRITER])
        self.assertEqual(run.returncode, -signal.SIGXFSZ)
        self.assertEqual(self.files(self.directory), {"front-cover.png": b"mine"})

    def test_failures_are_reported_and_leave_nothing(self):
        plain, mp3 = self.copy("mp3_plain.mp3"), self.mp3("a.mp3", (3, "", IMAGES[".png"]))
        run = tagwriter("cover", "--extract", "-q", plain, mp3)
        self.assert_run(run, 1, f"{plain}: has no picture to extract\n")
        self.assertEqual(run.stdout, "")
        run = tagwriter("cover", "--extract=/dev/null/x", mp3)
        self.assert_run(run, 1, "/dev/null/x: cannot be created: Not a directory\n")
        run = tagwriter("cover", "--extract=/proc/self", mp3)
        self.assertEqual(run.returncode, 1)
        self.assertIn("/proc/self/front-cover.png: ", run.stderr)
        for option in ("--safe", "--keep-times", "--bus", "-n"):
            run = tagwriter("cover", "--extract", option, mp3)
            self.assertEqual(run.returncode, 2)
            self.assertIn("--extract changes no audio file", run.stderr)


if __name__ == "__main__":
    unittest.main()
