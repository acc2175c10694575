"""A temporary installation, and programs on a session bus that can start only its service."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ["TAGWRITER_SOURCE"])
BUILD = Path(os.environ["TAGWRITER_BUILD"])
DATA = Path(os.environ["TAGWRITER_DATA"])
LIBDIR = os.environ["TAGWRITER_LIBDIR"]
VERSION = os.environ["TAGWRITER_VERSION"]
CXX_FLAGS = os.environ["TAGWRITER_CXX_FLAGS"].split()

# How long anything may take, in seconds: far more than it takes, so that only failures reach it.
DEADLINE = 120


def run(*command, **options):
    """Runs a command that must succeed. Returns its output, with standard error."""
    done = subprocess.run([os.fspath(part) for part in command], text=True, timeout=DEADLINE,
                          stdout=subprocess.PIPE, **{"stderr": subprocess.STDOUT, **options})
    if done.returncode != 0:
        raise AssertionError(f"{command} returned {done.returncode}:\n{done.stdout}")
    return done.stdout


def run_on_bus(prefix, *command):
    """Runs a command on a new session bus that can start only what is installed below `prefix`."""
    with tempfile.TemporaryDirectory(prefix="tagwriter-session-") as home:
        environment = {**os.environ, "HOME": home, "XDG_RUNTIME_DIR": home, "XDG_DATA_HOME": home,
                       "XDG_DATA_DIRS": f"{prefix}/share",
                       "LD_LIBRARY_PATH": ":".join(filter(None, (
                           str(prefix / LIBDIR), os.environ.get("LD_LIBRARY_PATH")))),
                       "PYTHONDONTWRITEBYTECODE": "1"}
        # What the bus and the front print goes to the test's standard error.
        return run("dbus-run-session", "--", "sh", "-c", '"$@" 2>&1', "sh", *command,
                   env=environment, stderr=None)


def install(prefix, destdir=None, **options):
    """Installs the build tree to `prefix`, below `destdir` if any."""
    environment = {name: value for name, value in os.environ.items() if name != "DESTDIR"}
    if destdir is not None:
        environment["DESTDIR"] = os.fspath(destdir)
    run("cmake", "--install", BUILD, "--prefix", prefix, env=environment, **options)


def files_below(directory):
    """The paths of all files and links below a directory, relative to it."""
    return sorted(str(path.relative_to(directory)) for path in Path(directory).rglob("*")
                  if path.is_symlink() or not path.is_dir())


def installed_files():
    """The files of an installation. CONFIG stands for the build configuration."""
    cmake, documents = f"{LIBDIR}/cmake/tagwriter", "share/doc/tagwriter"
    player_cpp = f"{documents}/examples/player_cpp"
    player_xpc = f"{documents}/examples/player_xpc"
    player_glib = f"{documents}/examples/player_glib"
    player_qt = f"{documents}/examples/player_qt"
    files = f"""
        bin/tagwriter include/tagwriter/edit.h include/tagwriter/export.h include/tagwriter/fields.h
        include/tagwriter/outcome.h include/tagwriter/tag_writer.h include/tagwriter/text.h
        include/tagwriter/version.h
        libexec/tagwriter/tagwriter-bus libexec/tagwriter/tagwriterd
        libexec/tagwriter/tagreaderd
        {LIBDIR}/libtagwriter.a {LIBDIR}/libtagwriter.so {LIBDIR}/libtagwriter.so.0
        {LIBDIR}/libtagwriter.so.{VERSION} {LIBDIR}/pkgconfig/tagwriter.pc
        {cmake}/tagwriterConfig.cmake {cmake}/tagwriterConfigVersion.cmake
        {cmake}/tagwriterTargets.cmake {cmake}/tagwriterTargets-CONFIG.cmake
        {cmake}/tagwriterStaticTargets.cmake {cmake}/tagwriterStaticTargets-CONFIG.cmake
        lib/systemd/user/tagwriter.service lib/systemd/user-generators/tagwriter-namespaces
        share/dbus-1/services/org.tagwriter.TagWriter.service
        share/dbus-1/interfaces/org.tagwriter.TagWriter1.xml
        share/dbus-1/interfaces/org.tagwriter.TagReader1.xml
        share/dbus-1/interfaces/org.tagwriter.Truncation1.xml
        share/bash-completion/completions/tagwriter share/zsh/site-functions/_tagwriter
        share/fish/vendor_completions.d/tagwriter.fish
        share/man/man1/tagwriter.1 share/man/man3/tagwriter.3
        share/man/man8/tagwriter-bus.8 share/man/man8/tagwriterd.8 share/man/man8/tagreaderd.8
        {documents}/README.md {documents}/examples/player_python/player.py
        {player_cpp}/CMakeLists.txt {player_cpp}/player.cpp
        {player_glib}/CMakeLists.txt {player_glib}/player.cpp
        {player_qt}/CMakeLists.txt {player_qt}/player.cpp
        {player_xpc}/CMakeLists.txt {player_xpc}/player.cpp""".split()
    files += [f"{documents}/{page.relative_to(SOURCE)}" for pattern in ("*.md", "images/*.svg")
              for page in (SOURCE / "docs").glob(pattern)]
    return sorted(files)


def without_configuration(files):
    """The same list with the build configuration replaced by CONFIG."""
    return sorted(re.sub(r"Targets-\w+\.cmake$", "Targets-CONFIG.cmake", file) for file in files)


def spy_on(program):
    """Replaces a program with a script that creates a file and runs it. Returns the file's path."""
    real, mark = program.with_name(program.name + ".real"), program.with_name("was-started")
    program.rename(real)
    program.write_text(f'#!/bin/sh\n: > "{mark}"\nexec "{real}" "$@"\n')
    program.chmod(0o755)
    return mark


def taglib_of(program):
    """The series and the path of each TagLib that a program loads."""
    return re.findall(r"libtag\.so\.(\d+) => (\S+)", run("ldd", program))


def uses_taglib(program):
    """Whether a symbol of TagLib is in the program, or TagLib itself among the libraries that it
    loads. A program without symbols shows only those that it takes from a shared library."""
    symbols = run("nm", "-C", program) + run("nm", "-CD", program)
    loaded = "" if program.suffix == ".a" else run("ldd", program)
    return "TagLib::" in symbols or "libtag." in loaded


class StagingTest(unittest.TestCase):
    """A test with its own directory, and an installation that its class shares."""

    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory(prefix="tagwriter-install-")
        cls.addClassCleanup(directory.cleanup)
        cls.prefix = Path(directory.name).resolve() / "prefix"
        install(cls.prefix)

    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="tagwriter-packaging-")
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name).resolve()

    def copy(self, name, as_name=None):
        """A copy of a file of tests/data."""
        copied = Path(shutil.copy(DATA / name, self.directory / (as_name or name)))
        copied.chmod(0o644)
        return copied
