"""The programs that are compared, and how their commands are run."""

import dataclasses
import os
import signal
import subprocess

BIN = os.environ["TAGWRITER_BIN"]
OURS = "tagwriter"

# The Debian package of each.
PACKAGES = {
    "kid3-cli": "kid3-cli",
    "operon": "quodlibet",
    "eyeD3": "eyed3",
    "metaflac": "flac",
    "id3v2": "id3v2",
    "AtomicParsley": "atomicparsley",
}
ALL = [OURS, *PACKAGES]

# The kinds of songs that programs for one kind take, of those that most programs take.
COMMON = ["MP3", "FLAC", "M4A"]
TAKES = {"eyeD3": ["MP3"], "id3v2": ["MP3"], "metaflac": ["FLAC"], "AtomicParsley": ["M4A"]}

TIMEOUT = 20  # seconds, for one command


@dataclasses.dataclass
class Run:
    """How a command ended, and what it printed."""

    exit_code: int | None  # None: it did not end by itself
    output: str
    errors: str

    def end(self):
        """How it ended, in words."""
        return "does not end" if self.exit_code is None else f"exit code {self.exit_code}"


def versions():
    """The versions of all programs, in a line of Markdown."""
    ours = subprocess.check_output([os.path.join(BIN, "tagwriter"), "--version"], text=True)
    names = [f"{ours.strip()}"]
    for name, package in PACKAGES.items():
        version = subprocess.check_output(["dpkg-query", "-W", "-f", "${Version}", package],
                                          text=True)
        names.append(f"{name} {version}" + (f" ({package})" if package != name.lower() else ""))
    return ", ".join(names) + ".\n"


def environment(home):
    """An environment in which no settings of the user apply."""
    kept = {name: value for name, value in os.environ.items()
            if not name.startswith(("XDG_", "DBUS_", "DISPLAY", "WAYLAND"))}
    return {**kept, "PATH": BIN + os.pathsep + os.environ["PATH"], "HOME": os.fspath(home),
            "LC_ALL": "C.UTF-8"}


class Shell:
    """Runs commands as they are printed, in a directory."""

    def __init__(self, directory, home):
        self.directory, self.environment = directory, environment(home)

    def run(self, command, prefix=()):
        """Runs a command in a shell, which is started by the program `prefix` if there is one. It
        is ended after TIMEOUT seconds."""
        child = subprocess.Popen([*prefix, "sh", "-c", command], cwd=self.directory,
                                 env=self.environment, stdin=subprocess.DEVNULL,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                 start_new_session=True)
        exit_code = None
        try:
            printed = child.communicate(timeout=TIMEOUT)
            exit_code = child.returncode
        except subprocess.TimeoutExpired:
            os.killpg(child.pid, signal.SIGKILL)
            printed = child.communicate()
        return Run(exit_code, *(text.decode("utf-8", "replace") for text in printed))

    def words(self, command):
        """The words of a command, expanded by a shell, so that it can be timed without one."""
        printed = subprocess.run(["sh", "-c", f"printf '%s\\0' {command}"], cwd=self.directory,
                                 env=self.environment, check=True, capture_output=True).stdout
        return printed.decode().split("\0")[:-1]

    def execute(self, words):
        """Runs a program without a shell. It must succeed."""
        subprocess.run(words, cwd=self.directory, env=self.environment, check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=TIMEOUT)
