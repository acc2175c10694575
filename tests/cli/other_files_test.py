"""A directory in which not everything is audio: what is not stays as it is, and is reported."""

import shutil
import subprocess
import unittest
import zipfile

from cli_support import BIN, DATA, CommandTest, tagwriter

COVER = DATA / "cover_red.png"
EDITS = (("set", "-t", "albumArtist=X", "-t", "title=T"), ("clear", "-t", "comment", "-t", "title"),
         ("cover", "--replace", COVER), ("cover", COVER), ("cover", "--clear"))

NO_TYPE = "not a supported type of audio file"
OTHER = "not what its name says: "
EXPECTED = {
    "album.cue": NO_TYPE,
    "archive.m4a": OTHER + "a ZIP archive",
    "cover.jpg": NO_TYPE,
    "empty.mp3": "an empty file",
    "flac.mp3": OTHER + "a FLAC file",
    "front.mp3": OTHER + "a JPEG image",
    "list.m3u": NO_TYPE,
    "noext": NO_TYPE,
    "notes.mp3": OTHER + "plain text",
    "picture.flac": OTHER + "a PNG image",
    "player": NO_TYPE,
    "player.ogg": OTHER + "a program",
    "script.wma": OTHER + "a script",
    "video.mkv": NO_TYPE,
    "video.mp4": OTHER + "a Matroska or WebM file",
}


class AlbumTest(CommandTest):

    def setUp(self):
        super().setUp()
        directory = self.directory
        (directory / "album.cue").write_text('FILE "song.flac" WAVE\n  TRACK 01 AUDIO\n')
        (directory / "list.m3u").write_text("#EXTM3U\nsong.flac\n")
        (directory / "notes.mp3").write_text("Recorded in a church.\n" * 1000)
        (directory / "empty.mp3").touch()
        (directory / "script.wma").write_bytes(b"#!/bin/sh\ntail -n +3 $0 | gunzip\n\x1f\x8b\x08")
        for name, source in (("cover.jpg", "cover_blue.jpg"), ("front.mp3", "cover_blue.jpg"),
                             ("picture.flac", "cover_red.png"), ("flac.mp3", "flac_plain.flac"),
                             ("noext", "mp3_id3v23.mp3")):
            shutil.copy(DATA / source, directory / name)
        with zipfile.ZipFile(directory / "archive.m4a", "w") as archive:
            archive.writestr("song.m4a", b"song")
        for name in ("player", "player.ogg"):
            shutil.copy(BIN / "tagreaderd", directory / name)
        for name in ("video.mkv", "video.mp4"):
            subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "sine=d=1", "-f",
                            "matroska", directory / name], check=True)
        self.others = {path: self.state(path) for path in sorted(directory.iterdir())}
        self.songs = [self.copy("mp3_id3v23.mp3"), self.copy("flac_pictures.flac")]

    @staticmethod
    def state(path):
        status = path.stat()
        return status.st_ino, status.st_mtime_ns, status.st_ctime_ns, path.read_bytes()

    def assert_others_reported(self, run, names, writes=True):
        errors = "".join(f"{path}: {EXPECTED[path.name]}\n" for path in self.others
                         if path.name in names)
        if writes:
            errors += f"tagwriter: 2 of {len(names) + 2} files written\n"
        self.assert_run(run, 1, errors)
        self.assertEqual({path: self.state(path) for path in self.others}, self.others)

    def test_what_is_not_audio_is_reported_and_stays_as_it_is(self):
        self.assertEqual({path.name for path in self.others}, set(EXPECTED))
        files = [*self.others, *self.songs]
        for edit in EDITS[:3]:
            for options in ([], ["--safe"]):
                with self.subTest(edit, options=options):
                    songs = [self.copy(song.name) for song in self.songs]
                    self.assert_others_reported(tagwriter(*edit, *options, *files), EXPECTED)
                    for song in songs:
                        self.assertNotEqual(song.read_bytes(), (DATA / song.name).read_bytes())

    def test_a_dry_run_reports_the_same_and_plans_the_rest(self):
        for edit in (EDITS[0], EDITS[2], EDITS[4]):
            run = tagwriter(*edit, "-n", *self.others, *self.songs)
            self.assert_others_reported(run, EXPECTED, writes=False)
            self.assertEqual({line.partition(":")[0] for line in run.stdout.splitlines()},
                             set(map(str, self.songs)))

    def test_a_directory_is_searched_for_audio_by_name(self):
        taken = {name for name, reason in EXPECTED.items() if reason != NO_TYPE}
        run = tagwriter("set", "-t", "title=T", "-r", self.directory)
        self.assert_others_reported(run, taken)
        for song in self.songs:
            self.assertNotEqual(song.read_bytes(), (DATA / song.name).read_bytes())

    def test_force_insists(self):
        noext, empty = self.directory / "noext", self.directory / "empty.mp3"
        for edit in EDITS[:4]:
            before = noext.read_bytes()
            self.assert_run(tagwriter(*edit, "--force", noext), int(edit == EDITS[3]),
                            f"{noext}: cover: already has a picture (use --replace)\n"
                            if edit == EDITS[3] else "")
            self.assertEqual(noext.read_bytes() == before, edit == EDITS[3])
        self.assert_run(tagwriter("set", "-t", "composer=C", "--force", empty), 0)
        self.assertTrue(empty.read_bytes().startswith(b"ID3"))


if __name__ == "__main__":
    unittest.main()
