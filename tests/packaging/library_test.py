"""The C++ player, built against the installed library as the developer of a player does."""

import os
import re
import shutil
import unittest

import mutagen

from staging import (
    CXX_FLAGS, DATA, LIBDIR, VERSION, StagingTest, run, run_on_bus, spy_on, uses_taglib)

PLAYER = "share/doc/tagwriter/examples/player_cpp"
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", *CXX_FLAGS]
COVER = DATA / "cover_red.png"

STATIC_PROJECT = """cmake_minimum_required(VERSION 3.25)
project(static_player LANGUAGES CXX)
find_package(tagwriter REQUIRED COMPONENTS static)
add_executable(player player.cpp)
target_link_libraries(player PRIVATE tagwriter::tagwriter_static)
"""


class LibraryTest(StagingTest):
    def setUp(self):
        super().setUp()
        self.project = self.directory / "project"

    def build_with_cmake(self, project=None):
        shutil.copytree(self.prefix / PLAYER, self.project)
        if project:
            (self.project / "CMakeLists.txt").write_text(project)
        build = self.directory / "build"
        run("cmake", "-S", self.project, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            f"-DCMAKE_CXX_FLAGS={' '.join(STRICT)}")
        run("cmake", "--build", build)
        return build / "player"

    def pkg_config(self, *arguments):
        """Runs pkg-config as if no other package's development files were installed."""
        environment = {**os.environ, "PKG_CONFIG_PATH": "",
                       "PKG_CONFIG_LIBDIR": str(self.prefix / LIBDIR / "pkgconfig")}
        return run("pkg-config", "--print-errors", *arguments, "tagwriter", env=environment).split()

    def compile(self, *flags):
        program = self.directory / "player"
        run(os.environ.get("CXX", "c++"), "-std=c++20", *STRICT,
            self.prefix / PLAYER / "player.cpp", *flags, "-o", program)
        return program

    def assert_linked(self, player, shared):
        """The player needs the shared library, or does not and is installed beside the service."""
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-d", player))
        self.assertEqual("libtagwriter.so.0" in needed, shared)
        return player if shared else shutil.copy(player, self.prefix / "bin")

    def assert_writes(self, *player, run=run):
        """The player writes a title and a cover to an MP3 and a FLAC file."""
        mp3, flac = self.copy("mp3_plain.mp3"), self.copy("flac_pictures.flac")
        output = run(*player, "Morgen früh", COVER, mp3, flac)
        self.assertEqual(output, f"{mp3}: written\n{flac}: written\n")
        tags, file = mutagen.File(mp3).tags, mutagen.File(flac)
        self.assertEqual([str(tags["TIT2"]), *file.tags["TITLE"]], ["Morgen früh"] * 2)
        self.assertEqual([picture.data for picture in (*tags.getall("APIC"), *file.pictures)],
                         [COVER.read_bytes()] * 2)

    def test_the_shared_library_with_cmake_after_a_move(self):
        moved = self.directory / "moved"
        shutil.copytree(self.prefix, moved, symlinks=True)
        self.prefix = moved
        player = self.assert_linked(self.build_with_cmake(), shared=True)
        started = spy_on(moved / "libexec/tagwriter/tagwriterd")
        self.assert_writes(player)
        self.assertTrue(started.exists())
        text, mp3 = self.directory / "text.flac", self.copy("mp3_plain.mp3")
        text.write_text("no audio")
        with self.assertRaisesRegex(AssertionError, f"(?s)returned 1:.*{text}: "):
            run(player, "T", COVER, text, mp3)
        self.assertEqual((str(mutagen.File(mp3).tags["TIT2"]), text.read_text()), ("T", "no audio"))

    def test_the_shared_library_with_pkg_config_over_the_bus(self):
        self.assertEqual(self.pkg_config("--modversion"), [VERSION])
        for program in ("tagwriterd", "tagreaderd"):
            self.assertTrue(os.access(self.pkg_config(f"--variable={program}")[0], os.X_OK))
        flags = self.pkg_config("--cflags", "--libs")
        self.assertEqual([flag[:2] + os.path.realpath(flag[2:]) for flag in flags[:2]] + flags[2:],
                         [f"-I{self.prefix}/include", f"-L{self.prefix / LIBDIR}", "-ltagwriter"])
        player = self.assert_linked(self.compile(*flags), shared=True)
        self.assert_writes(player, "--bus", run=lambda *command: run_on_bus(self.prefix, *command))

    def test_the_static_library_with_pkg_config(self):
        flags = " ".join(self.pkg_config("--static", "--cflags", "--libs"))
        static = flags.replace("-ltagwriter", "-l:libtagwriter.a").split()
        self.assert_writes(self.assert_linked(self.compile(*static), shared=False))

    def test_the_static_library_with_cmake(self):
        self.assert_writes(self.assert_linked(self.build_with_cmake(STATIC_PROJECT), shared=False))

    def test_neither_library_nor_command_contains_taglib(self):
        for file in ("libtagwriter.so", "libtagwriter.a"):
            self.assertFalse(uses_taglib(self.prefix / LIBDIR / file), file)
        for file in ("bin/tagwriter", "libexec/tagwriter/tagwriter-bus"):
            self.assertFalse(uses_taglib(self.prefix / file), file)
        for program in ("tagwriterd", "tagreaderd"):  # the test would notice
            self.assertTrue(uses_taglib(self.prefix / "libexec/tagwriter" / program))

    def test_exports_the_public_names_only(self):
        symbols = run("nm", "-DC", "--defined-only", self.prefix / LIBDIR / "libtagwriter.so")
        names = {name for kind, name in (line.split(" ", 2)[1:] for line in symbols.splitlines())
                 if kind != "A"}  # A: the version itself
        # None of a class inside a public one.
        self.assertEqual([name for name in names if re.match(r"(\w+::){3}\w+\(", name)], [])
        self.assertEqual({re.sub(r"^tagwriter::(\w+).*", r"\1", name) for name in names},
                         {"Edit", "Outcome", "TagReader", "TagWriter", "detectImageType",
                          "readField", "version"})


if __name__ == "__main__":
    unittest.main()
