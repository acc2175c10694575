"""An installation in a directory of a test's own, and a session bus that knows it.

    install(directory / "prefix")
    with Session(directory / "prefix") as session:
        subprocess.run([player, ...], env=session.environment())
"""

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

BUS_NAME = "org.tagwriter.TagWriter"
OBJECT = "/org/tagwriter/TagWriter"

# How long anything may take, in seconds. Far more than anything takes; only failures meet it.
DEADLINE = 120


def run(*command, **options):
    """Runs a command, whose failure fails the test with all that it said. Returns its output."""
    done = subprocess.run([os.fspath(part) for part in command], text=True, timeout=DEADLINE,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command} returned {done.returncode}:\n{done.stdout}")
    return done.stdout


def install(prefix, destdir=None, **options):
    """Installs the build tree below `prefix`, and that below `destdir`."""
    environment = {name: value for name, value in os.environ.items() if name != "DESTDIR"}
    if destdir is not None:
        environment["DESTDIR"] = os.fspath(destdir)
    run("cmake", "--install", BUILD, "--prefix", prefix, env=environment, **options)


def files_below(directory):
    """The paths of all files and links below a directory, relative to it."""
    return sorted(str(path.relative_to(directory)) for path in Path(directory).rglob("*")
                  if path.is_symlink() or not path.is_dir())


def installed_files():
    """What belongs into a prefix. CONFIG stands for the name of the build's configuration."""
    cmake, documents = f"{LIBDIR}/cmake/tagwriter", "share/doc/tagwriter"
    files = [
        "bin/tagwriter",
        "include/tagwriter/fields.h",
        "include/tagwriter/tag_writer.h",
        f"{LIBDIR}/libtagwriter.a",
        f"{LIBDIR}/libtagwriter.so",
        f"{LIBDIR}/libtagwriter.so.0",
        f"{LIBDIR}/libtagwriter.so.{VERSION}",
        f"{LIBDIR}/pkgconfig/tagwriter.pc",
        f"{cmake}/tagwriterConfig.cmake",
        f"{cmake}/tagwriterConfigVersion.cmake",
        f"{cmake}/tagwriterStaticTargets.cmake",
        f"{cmake}/tagwriterStaticTargets-CONFIG.cmake",
        f"{cmake}/tagwriterTargets.cmake",
        f"{cmake}/tagwriterTargets-CONFIG.cmake",
        "lib/systemd/user/tagwriter.service",
        "libexec/tagwriter/tagwriter-bus",
        "libexec/tagwriter/tagwriterd",
        "share/bash-completion/completions/tagwriter",
        "share/dbus-1/interfaces/org.tagwriter.TagWriter1.xml",
        "share/dbus-1/interfaces/org.tagwriter.Truncation1.xml",
        "share/dbus-1/services/org.tagwriter.TagWriter.service",
        f"{documents}/README.md",
        f"{documents}/examples/player_cpp/CMakeLists.txt",
        f"{documents}/examples/player_cpp/player.cpp",
        f"{documents}/examples/player_python/player.py",
        "share/fish/vendor_completions.d/tagwriter.fish",
        "share/man/man1/tagwriter.1",
        "share/man/man3/tagwriter.3",
        "share/man/man8/tagwriter-bus.8",
        "share/man/man8/tagwriterd.8",
        "share/zsh/site-functions/_tagwriter",
    ]
    files += [f"{documents}/docs/{page.name}" for page in (SOURCE / "docs").glob("*.md")]
    return sorted(files)


def without_configuration(files):
    """The same list with the name of the build's configuration replaced by CONFIG."""
    return sorted(re.sub(r"Targets-\w+\.cmake$", "Targets-CONFIG.cmake", file) for file in files)


def spy_on(program):
    """Puts a script into a program's place that leaves a mark and then runs it. Returns the mark."""
    real, mark = program.with_name(program.name + ".real"), program.with_name("was-started")
    program.rename(real)
    program.write_text(f'#!/bin/sh\n: > "{mark}"\nexec "{real}" "$@"\n')
    program.chmod(0o755)
    return mark


class StagingTest(unittest.TestCase):
    """A test with a directory of its own, and an installation that its class shares."""

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


class Session:
    """A dbus-daemon with the standard configuration of a session, which looks for what it can start
    in the installation and nowhere else."""

    def __init__(self, prefix):
        self._home = tempfile.TemporaryDirectory(prefix="tagwriter-session-")
        self._environment = {
            **os.environ, "HOME": self._home.name, "XDG_RUNTIME_DIR": self._home.name,
            "XDG_DATA_HOME": self._home.name, "XDG_DATA_DIRS": f"{prefix}/share"}
        self._log = open(Path(self._home.name) / "log", "w+")
        self._daemon = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self._log, text=True,
            env=self._environment)
        self.address = self._daemon.stdout.readline().strip()
        if not self.address:
            raise AssertionError(f"dbus-daemon does not start: {self.log()}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        """Ends the daemon; what it has started follows by itself."""
        self._daemon.terminate()
        self._daemon.wait(DEADLINE)
        self._daemon.stdout.close()
        self._log.close()
        self._home.cleanup()

    def environment(self):
        """The environment of a program in this session."""
        return {**self._environment, "DBUS_SESSION_BUS_ADDRESS": self.address}

    def log(self):
        """What the daemon and all that it has started have written to standard error."""
        return (Path(self._home.name) / "log").read_text(errors="backslashreplace")
