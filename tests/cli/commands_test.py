"""`set` as a user sees it: output, errors, exit codes and files."""

import fcntl
import os
import shutil
import unittest

import mutagen

from cli_support import BIN, TAGWRITER, CommandTest, tagwriter
from expectations import FIELDS


class SetTest(CommandTest):

    def test_writes_several_fields_in_order_into_several_files(self):
        mp3, flac = self.copy("mp3_plain.mp3"), self.copy("flac_plain.flac")
        run = tagwriter("set", "-t", "title=Süß = gut", "--tag", "date=1918",
                        mp3, flac)
        self.assert_run(run, 0)
        self.assertEqual(run.stdout, "")
        tags = mutagen.File(mp3).tags
        self.assertEqual((str(tags["TIT2"]), str(tags["TDRC"])), ("Süß = gut", "1918"))
        tags = mutagen.File(flac).tags
        self.assertEqual((tags["TITLE"], tags["DATE"]), (["Süß = gut"], ["1918"]))

    def test_takes_texts_from_files_and_standard_input(self):
        mp3, lyrics = self.copy("mp3_plain.mp3"), self.directory / "lyrics.txt"
        lyrics.write_bytes("\ufeffZöe\r\nla\r\n\r\n".encode())
        run = tagwriter("set", "-t", f"lyrics=@{lyrics}", "-t", "year=@-", mp3, stdin=None,
                        input="1918\n")
        self.assert_run(run, 0)
        tags = mutagen.File(mp3).tags
        self.assertEqual((tags.getall("USLT")[0].text, str(tags["TDRC"])),
                         ("Zöe\r\nla\r\n", "1918"))
        before = mp3.read_bytes()
        lyrics.write_bytes(b"caf\xe9")
        for value, text in ((f"@{lyrics}", "lyrics: must be text in UTF-8"),
                            ("@missing", "lyrics=@missing: missing: cannot be read: No such file "
                             "or directory (@@ stands for a leading @)"),
                            ("@", "lyrics=@: a file is required after @"),
                            ("@-", "standard input is already the value of another field")):
            run = tagwriter("set", "-t", "title=@-", "-t", f"lyrics={value}", mp3)
            self.assertEqual(run.returncode, 2)
            self.assertIn(text, run.stderr)
        self.assertEqual(mp3.read_bytes(), before)

    def test_writes_the_number_of_tracks_last(self):
        mp3 = self.copy("mp3_plain.mp3")
        self.assert_run(tagwriter("set", "-t", "totalNumberOfTracks=12", "-t", "track=3", mp3), 0)
        self.assertEqual(str(mutagen.File(mp3).tags["TRCK"]), "3/12")

    def test_notes_what_the_info_list_of_a_wav_still_has(self):
        wav = self.copy("wav_info.wav")
        for arguments, notes in (
                (["set", "-t", "title=T", "-t", "genre=G"], {"title": "Rising Tone"}),
                (["clear", "-t", "comment", "--safe"], {"comment": "a comment"}),
                (["set", "-t", "title=T", "-q"], {}), (["set", "-t", "comment=U", "-n"], {}),
                (["set", "-t", "title=Rising Tone", "-t", "disc=1"], {})):
            run = tagwriter(*arguments, wav)
            self.assert_run(run, 0, "".join(
                f"{wav}: {key}: the INFO list of the file still has '{value}', which some players "
                "show\n" for key, value in notes.items() if not FIELDS[key].get("info")))

    def test_reports_a_service_that_cannot_be_started_and_tries_again_for_the_next_file(self):
        program = shutil.copy(TAGWRITER, self.aside)
        worker = self.aside / "tagwriterd"
        worker.write_text(f"""#!/bin/sh
if mkdir {self.aside}/started 2>/dev/null; then exit 1; fi
exec {BIN}/tagwriterd "$@"
""")
        worker.chmod(0o755)
        first, second = self.copies(2)
        run = tagwriter("set", "-t", "title=T", first, second, program=program)
        self.assertEqual(run.returncode, 1)
        self.assertRegex(run.stderr, rf"\A{first}: the service is not available: .+\n"
                         r"tagwriter: 1 of 2 files written\n\Z")
        self.assert_as_it_was(first)
        self.assertEqual(self.title(second), "T")
        worker.unlink()
        self.assertIn("tagwriterd is neither", tagwriter("set", "-t", "title=T", first,
                                                         program=program).stderr)

    def test_makes_no_further_edit_after_an_incomplete_one(self):
        mp3 = self.copy("mp3_plain.mp3")
        tagwriter("set", "-t", "lyrics=" + 100_000 * "x", mp3)
        fd = os.memfd_create("song", os.MFD_ALLOW_SEALING)  # a file that cannot become shorter
        self.addCleanup(os.close, fd)
        os.write(fd, mp3.read_bytes())
        fcntl.fcntl(fd, fcntl.F_ADD_SEALS, fcntl.F_SEAL_SHRINK)
        mp3.unlink()
        mp3.symlink_to(f"/proc/{os.getpid()}/fd/{fd}")
        run = tagwriter("set", "-t", "lyrics=", "-t", "title=T", mp3)
        self.assert_run(run, 1, f"{mp3}: log: FDFileStream::truncate() -- xpc error: "
                                "Operation not permitted.\n"
                                f"{mp3}: not written completely: the file could not be truncated\n")
        self.assertNotIn(b"TIT2", mp3.read_bytes())


if __name__ == "__main__":
    unittest.main()
