"""A player's developer builds the C++ player against the installed library."""

import os
import re
import shutil
import unittest

import mutagen
from staging import CXX_FLAGS, DATA, LIBDIR, VERSION, Session, StagingTest, run, spy_on

PLAYER = "share/doc/tagwriter/examples/player_cpp"
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", *CXX_FLAGS]

STATIC_PROJECT = """cmake_minimum_required(VERSION 3.25)
project(static_player LANGUAGES CXX)
find_package(tagwriter REQUIRED COMPONENTS static)
add_executable(player player.cpp)
target_link_libraries(player PRIVATE tagwriter::tagwriter_static)
"""

PUBLIC_NAMES = {"AudioFile", "Edit", "Outcome", "TagWriter", "detectImageType", "readField"}


def needed_libraries(program):
    """The names of the shared libraries that a program is linked with."""
    return set(re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-d", program)))


class LibraryTest(StagingTest):
    def setUp(self):
        super().setUp()
        self.project = self.directory / "project"
        shutil.copytree(self.prefix / PLAYER, self.project)

    def build_with_cmake(self):
        build = self.directory / "build"
        run("cmake", "-S", self.project, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            f"-DCMAKE_CXX_FLAGS={' '.join(STRICT)}")
        run("cmake", "--build", build)
        return build / "player"

    def pkg_config(self, *arguments):
        """Asks pkg-config, on a machine that has no other package's development files."""
        environment = {**os.environ, "PKG_CONFIG_PATH": "",
                       "PKG_CONFIG_LIBDIR": str(self.prefix / LIBDIR / "pkgconfig")}
        return run("pkg-config", "--print-errors", *arguments, "tagwriter", env=environment).split()

    def compile(self, *flags):
        program = self.directory / "player"
        compiler = os.environ.get("CXX", "c++")
        run(compiler, "-std=c++20", *STRICT, self.project / "player.cpp", *flags, "-o", program)
        return program

    def assert_writes(self, player, *options, **how):
        """The player writes a title and a cover into an MP3 and a FLAC file."""
        mp3, flac = self.copy("mp3_plain.mp3"), self.copy("flac_pictures.flac")
        cover = (DATA / "cover_red.png").read_bytes()
        said = run(player, *options, "Morgen früh", DATA / "cover_red.png", mp3, flac, **how)
        self.assertEqual(said, f"{mp3}: written\n{flac}: written\n")
        tags = mutagen.File(mp3).tags
        self.assertEqual(str(tags["TIT2"]), "Morgen früh")
        self.assertEqual([frame.data for frame in tags.getall("APIC")], [cover])
        file = mutagen.File(flac)
        self.assertEqual(file.tags["TITLE"], ["Morgen früh"])
        self.assertEqual([picture.data for picture in file.pictures], [cover])

    def test_the_shared_library_with_cmake(self):
        player = self.build_with_cmake()
        self.assertIn("libtagwriter.so.0", needed_libraries(player))
        self.assert_writes(player)

    def test_the_shared_library_with_pkg_config_over_the_bus(self):
        player = self.compile(*self.pkg_config("--cflags", "--libs"))
        self.assertIn("libtagwriter.so.0", needed_libraries(player))
        with Session(self.prefix) as session:
            environment = {**session.environment(), "LD_LIBRARY_PATH": str(self.prefix / LIBDIR)}
            self.assert_writes(player, "--bus", env=environment)

    def test_the_static_library_with_pkg_config(self):
        flags = self.pkg_config("--static", "--cflags", "--libs")
        self.assertIn("-ltagwriter", flags)
        player = self.compile(*["-l:libtagwriter.a" if flag == "-ltagwriter" else flag
                                for flag in flags])
        self.assertNotIn("libtagwriter.so.0", needed_libraries(player))
        # Nothing tells such a program where the library was: it is installed beside the service.
        self.assert_writes(shutil.copy(player, self.prefix / "bin"))

    def test_the_static_library_with_cmake(self):
        (self.project / "CMakeLists.txt").write_text(STATIC_PROJECT)
        player = self.build_with_cmake()
        self.assertNotIn("libtagwriter.so.0", needed_libraries(player))
        self.assert_writes(shutil.copy(player, self.prefix / "bin"))

    def test_the_library_finds_the_service_after_a_move(self):
        moved = self.directory / "moved"
        shutil.copytree(self.prefix, moved, symlinks=True)
        self.prefix = moved
        player = self.build_with_cmake()
        started = spy_on(moved / "libexec/tagwriter/tagwriterd")
        self.assert_writes(player)
        self.assertTrue(started.exists())

    def test_the_player_tells_what_failed_and_goes_on(self):
        player = self.build_with_cmake()
        text, mp3 = self.directory / "text.flac", self.copy("mp3_plain.mp3")
        text.write_text("no audio")
        with self.assertRaises(AssertionError) as failure:
            run(player, "T", DATA / "cover_red.png", text, mp3)
        self.assertIn("returned 1:", str(failure.exception))
        self.assertIn(f"{text}: ", str(failure.exception))
        self.assertEqual(str(mutagen.File(mp3).tags["TIT2"]), "T")
        self.assertEqual(text.read_text(), "no audio")

    def test_pkg_config_needs_no_other_package(self):
        self.assertEqual(self.pkg_config("--exists"), [])
        # The directories as they are, whatever dots are in the way to them.
        flags = [f"{flag[:2]}{os.path.realpath(flag[2:])}" if flag[:2] in ("-I", "-L") else flag
                 for flag in self.pkg_config("--cflags", "--libs")]
        self.assertEqual(flags, [f"-I{self.prefix}/include", f"-L{self.prefix / LIBDIR}",
                                 "-ltagwriter"])

    def test_pkg_config_tells_version_and_service(self):
        self.assertEqual(self.pkg_config("--modversion"), [VERSION])
        service, = self.pkg_config("--variable=tagwriterd")
        self.assertTrue(os.access(service, os.X_OK), service)

    def test_exports_the_public_names_and_nothing_else(self):
        library = self.prefix / LIBDIR / "libtagwriter.so"
        symbols = [line.split(" ", 2)[1:] for line in
                   run("nm", "-DC", "--defined-only", library).splitlines()]
        names = [name for kind, name in symbols if kind != "A"]  # A: the version itself
        for name in names:
            self.assertTrue(name.startswith("tagwriter::"), name)
            self.assertNotIn("TagWriter::Service::", name)
        self.assertEqual({re.match(r"tagwriter::(\w+)", name)[1] for name in names},
                         PUBLIC_NAMES - {"AudioFile"})  # which is inline


if __name__ == "__main__":
    unittest.main()
