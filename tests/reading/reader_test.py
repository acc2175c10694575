"""The reader as a player in another language sees it. What it finds is compared with mutagen."""

import os
import sys
import unittest
from pathlib import Path

import mutagen
from mutagen.id3 import APIC, ID3, TIT2, TPE1, USLT

sys.path.append(str(Path(__file__).resolve().parent.parent / "player"))
from player import TAGREADERD, GLib, Player, change, dictionary, number, text  # noqa: E402
from support import AUDIO_FILES, PlayerTest, contents  # noqa: E402

MIB = 1 << 20
PIECE = 16 * MIB  # the most that comes in one reply
NOTHING = {"readable": False, "audio": False, "tagged": False, "tags": [], "track": {},
           "pictures": []}
# Ogg files with a codec that the service does not write under this name.
OTHER_OGG = ("oggflac_named.ogg", "opus.oga", "speex.oga")


def bytes_of(value):
    """The bytes in a variant."""
    return value.get_data_as_bytes().get_data() or b""


class ReaderTest(PlayerTest):
    program = TAGREADERD

    def read(self, path, fd=None, **options):
        """The reply for the file at `path`, which is opened for reading."""
        request = {"path": text(path), "fd": GLib.Variant("h", 0), **options}
        if fd is not None:
            return self.player.read(request, [fd])
        with open(path, "rb") as file:
            return self.player.read(request, [file])

    def unpacked(self, path, **options):
        """The same in Python's types."""
        return {key: value.unpack() for key, value in self.read(path, **options).items()}

    def image(self, path, index, expected_size):
        """The bytes of a picture, put together from its pieces."""
        found = b""
        while len(found) < expected_size:
            reply = self.read(path, picture=GLib.Variant("t", index),
                              offset=GLib.Variant("t", len(found)))
            self.assertEqual(reply["size"].unpack(), expected_size)
            piece = bytes_of(reply["data"])
            self.assertEqual(len(piece), min(PIECE, expected_size - len(found)))
            found += piece
        return found


class Everything(ReaderTest):

    def test_each_field_has_its_type(self):
        values = {"title": text("Mörgen"), "lyrics": text("a\nb"), "rating": GLib.Variant("d", 4.5),
                  "compilation": GLib.Variant("b", True), "year": number(1894),
                  "trackNumber": number(3), "totalNumberOfTracks": number(12)}
        disc = {"disc": number(1), "totalNumberOfDiscs": number(2)}
        for name in ("mp3_plain.mp3", "m4a_plain.m4a", "flac_plain.flac", "ape_plain.ape"):
            path = self.copy(name)
            with Player() as writer, open(path, "rb+") as file:
                for key, value in values.items():
                    self.assertTrue(writer.write(change(key, value, path), [file])["result"])
                request = change("disc", None, path) | {"track": dictionary(disc)}
                self.assertTrue(writer.write(request, [file])["result"])
            reply = self.read(path)
            self.assertEqual(set(reply),
                             {"readable", "audio", "tagged", "tags", "track", "pictures"})
            track = reply["track"]
            for key, value in (values | disc).items():
                found = track.lookup_value(key, value.get_type())
                self.assertIsNotNone(found, (name, key))
                self.assertEqual(found.unpack(), value.unpack(), (name, key))
                alone = self.read(path, field=text(key))["track"].unpack()
                self.assertEqual(alone[key], value.unpack(), (name, key))
                self.assertLessEqual(set(alone), set(disc) if key in disc else {key})
            self.assertEqual(self.unpacked(path, field=text("titel"))["track"], {})

    def test_says_whether_a_file_is_audio_of_the_type_of_its_name(self):
        for name in AUDIO_FILES:
            is_known = name.split(".")[1] not in ("ac3", "au", "vgm")
            is_of_its_name = is_known and name not in OTHER_OGG
            reply = self.unpacked(self.copy(name))
            self.assertEqual((reply["readable"], reply["audio"]), (is_known, is_of_its_name), name)
            if name.endswith((".flac", ".m4a", ".wma", ".ogg")):
                wav, noise = self.copy("wav_plain.wav", name), self.directory + "/noise_" + name
                with open(noise, "wb") as file:
                    file.write(b"no audio" * 100)
                self.assertEqual(self.unpacked(wav), NOTHING | {"readable": True}, name)
                self.assertEqual(self.unpacked(noise), NOTHING, name)

    def test_tags_are_those_that_mutagen_finds(self):
        for name in ("flac_comment.flac", "vorbis_tagged.ogg", "opus_tagged.opus"):
            path = self.copy(name)
            expected = sorted((key.upper(), value) for key, value in mutagen.File(path).tags
                              if key.upper() != "METADATA_BLOCK_PICTURE")
            found = [(tag["name"], tag["value"]) for tag in self.unpacked(path)["tags"]]
            self.assertEqual(sorted(found), expected, name)

    def test_pictures_are_those_that_mutagen_finds(self):
        for name, pictures in {
                "flac_pictures.flac": lambda file: file.pictures,
                "mp3_id3v23.mp3": lambda file: file.tags.getall("APIC")}.items():
            path = self.copy(name)
            expected = pictures(mutagen.File(path))
            found = self.unpacked(path)["pictures"]
            self.assertGreater(len(found), 1)
            formats = {"image/png": 1, "image/jpeg": 2}
            by_type = sorted(expected, key=lambda picture: picture.type)
            order = sorted(range(len(found)), key=lambda index: found[index]["type"])
            self.assertEqual(
                [{key: value for key, value in found[index].items() if key != "role"}
                 for index in order],
                [{"type": int(picture.type), "mimetype": picture.mime, "size": len(picture.data),
                  "artworktype": formats[picture.mime], "width": 8, "height": 8,
                  **({"description": picture.desc} if picture.desc else {})}
                 for picture in by_type])
            self.assertEqual([self.image(path, index, found[index]["size"]) for index in order],
                             [picture.data for picture in by_type])
        ape, = self.unpacked(self.copy("ape_tagged.ape"))["pictures"]
        self.assertEqual((ape["type"], ape["role"]), (3, "Front Cover"))
        m4a = self.unpacked(self.copy("m4a_tagged.m4a"))["pictures"]
        self.assertEqual([sorted(picture) for picture in m4a],
                         [["artworktype", "height", "mimetype", "size", "width"]] * 2)

    def test_text_that_is_no_string_comes_as_bytes(self):
        path = self.copy("flac_plain.flac")
        file = mutagen.File(path)
        file["TITLE"] = "no character: \ufffe"
        file.save()
        value = self.read(path)["track"].lookup_value("title", GLib.VariantType("ay"))
        self.assertEqual(bytes_of(value), file["TITLE"][0].encode())


class Large(ReaderTest):
    """Files with more than fits into a message, which is 64 MiB."""

    def test_pictures_come_in_pieces(self):
        path = self.copy("mp3_plain.mp3")
        images = [bytes([i]) * size for i, size in enumerate((20 * MIB, 2 * PIECE, 30 * MIB, 0))]
        tags = ID3()
        for i, image in enumerate(images):
            tags.add(APIC(mime="image/png", type=3 + i, desc=str(i), data=image))
        tags.save(path)
        found = self.unpacked(path)["pictures"]
        self.assertEqual({picture["type"]: picture["size"] for picture in found},
                         {3 + i: len(image) for i, image in enumerate(images)})
        for index, picture in enumerate(found):
            image = self.image(path, index, picture["size"])
            self.assertTrue(image == images[picture["type"] - 3])
        for options in ({"picture": GLib.Variant("t", 0), "offset": GLib.Variant("t", 2**63)},
                        {"picture": GLib.Variant("t", 0), "offset": GLib.Variant("t", 30 * MIB)}):
            self.assertEqual(self.unpacked(path, **options)["data"], [])
        self.assertEqual(self.unpacked(path, picture=GLib.Variant("t", len(images))),
                         {"readable": True, "audio": True, "tagged": True})

    def test_what_does_not_fit_is_left_out(self):
        path = self.copy("mp3_plain.mp3")
        lyrics = "x" * 50 * MIB
        tags = ID3()
        tags.add(USLT(encoding=3, lang="eng", text=lyrics))
        tags.add(TIT2(encoding=3, text="T"))
        tags.add(TPE1(encoding=3, text=["A"] * 50_000))
        tags.add(APIC(mime="image/png", type=3, desc="d" * 30 * MIB, data=b"i"))
        tags.save(path)
        reply = self.read(path)
        self.assertTrue(reply["incomplete"].unpack())
        self.assertEqual(reply["pictures"].unpack(), [])
        names = [tag["name"] for tag in reply["tags"].unpack()]
        self.assertNotIn("LYRICS", names)
        self.assertGreater(names.count("ARTIST"), 1000)
        track = reply["track"].unpack()
        self.assertEqual(track["title"], "T")
        self.assertNotIn("lyrics", track)
        self.assertTrue(self.unpacked(path, field=text("lyrics"))["track"] == {"lyrics": lyrics})
        self.assert_clean(self.service)

    def test_a_field_that_fits_into_no_message_is_left_out(self):
        path = self.copy("mp3_plain.mp3")
        for size, fits in ((64 * MIB - 2048, True), (64 * MIB, False)):
            tags = ID3()
            tags.add(USLT(encoding=3, lang="eng", text="x" * size))
            tags.save(path)
            reply = self.read(path, field=text("lyrics"))
            self.assertEqual("incomplete" in reply, not fits)
            self.assertEqual(len(reply["track"].lookup_value("lyrics", None).get_string())
                             if fits else reply["track"].n_children(), size if fits else 0)


class Descriptors(ReaderTest):

    def test_are_read_from_the_start_and_closed(self):
        path = self.copy("vorbis_tagged.ogg")
        expected, before = self.unpacked(path), contents(path)
        self.assertTrue(expected["pictures"])
        open_before = len(self.service.descriptors())
        with open(path, "rb") as file:
            for _ in range(50):
                file.seek(0, os.SEEK_END)
                reply = self.read("/nowhere/at.all/song.OGG", file)
                self.assertEqual({key: value.unpack() for key, value in reply.items()}, expected)
            self.player.ping()
            self.assertEqual(self.service.descriptors_of(path), 0)
        self.assertLessEqual(len(self.service.descriptors()), open_before)
        self.assertEqual(contents(path), before)

    def test_of_anything_but_a_readable_file_are_no_audio(self):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        os.write(writing, b"ID3")
        device = os.open("/dev/zero", os.O_RDONLY)
        self.addCleanup(os.close, device)
        directory = os.open(self.directory, os.O_RDONLY)
        self.addCleanup(os.close, directory)
        handle = os.open(self.copy("mp3_id3v23.mp3"), os.O_PATH)
        self.addCleanup(os.close, handle)
        write_only = os.open(self.copy("mp3_id3v23.mp3"), os.O_WRONLY)
        self.addCleanup(os.close, write_only)
        for fd in (reading, device, directory, handle, write_only):
            reply = self.read("song.mp3", fd)
            self.assertEqual({key: value.unpack() for key, value in reply.items()}, NOTHING)
        self.assertEqual(os.read(reading, 100), b"ID3")
        self.assertFalse(self.player.read({"path": text("song.mp3")})["audio"].unpack())


if __name__ == "__main__":
    unittest.main()
