"""Sections of the document: the commands, a table of what happened, and rows of the summary."""

import dataclasses
import os
import re
import shutil
import tempfile

from document import table
from measure import progress
from programs import COMMON, Shell, TAKES

NOT_FOR_IT = "–"
LONGEST = 100  # characters of a message


@dataclasses.dataclass
class Section:
    """A job. Each row of `summary` is a text, and a word or two for each program."""

    title: str
    text: str
    commands: list
    table: str
    summary: list

    def markdown(self):
        commands = "".join(f"{command}\n" for command in self.commands)
        block = f"```sh\n{commands}```\n\n" if commands else ""
        return f"### {self.title}\n\n{self.text}\n\n{block}{self.table}"

    def link(self, text):
        """The text as a link to the section."""
        return f"[{text}](#{re.sub('[^a-z0-9 -]', '', self.title.lower()).replace(' ', '-')})"


class Workshop:
    """A fresh directory for every run, below one directory that is removed at the end."""

    def __init__(self, root, songs):
        self.songs = songs
        self._root = os.path.join(root, "work")
        self._homes = os.path.join(root, "homes")
        os.mkdir(self._root)
        os.mkdir(self._homes)

    def shell(self, below=None):
        """A shell in a new directory, for a user without settings."""
        return Shell(tempfile.mkdtemp(dir=below or self._root), tempfile.mkdtemp(dir=self._homes))

    @staticmethod
    def leave(shell):
        shutil.rmtree(shell.directory)


def try_kind(workshop, kind, command, observe, prepare=None, below=None):
    """What observe(run, path, original) returns after a command, in which FILE stands for a song.

    prepare(directory) makes other files; the directory is in `below`, if given.
    """
    progress(f"{kind}: {command}")
    shell = workshop.shell(below)
    path = workshop.songs.copy(kind, shell.directory)
    if prepare:
        prepare(shell.directory)
    run = shell.run(command.replace("FILE", os.path.basename(path)))
    seen = observe(run, path, workshop.songs.path(kind))
    workshop.leave(shell)
    return seen


def matrix(title, text, kinds, commands, seen):
    """A section with a table of kinds of songs by programs.

    `seen` has, by kind and program, whether the job was done, and the text of the cell.
    """
    rows = [[kind, *(seen.get((kind, program), (False, NOT_FOR_IT))[1] for program in commands)]
            for kind in kinds]
    done = {program: score(done for (_, name), (done, _) in seen.items() if name == program)
            for program in commands}
    return Section(title, text, list(commands.values()), table(["", *commands], rows),
                   [(title, done)])


def common(workshop, title, text, commands, observe, prepare=None, below=None):
    """A section with a table of common kinds by programs; each program gets the kinds it takes."""
    seen = {(kind, program): try_kind(workshop, kind, command, observe, prepare, below)
            for kind in COMMON for program, command in commands.items()
            if kind in TAKES.get(program, COMMON)}
    return matrix(title, text, COMMON, commands, seen)


def score(successes):
    """How many of them are true, in words."""
    successes = list(successes)
    return f"{sum(successes)} of {len(successes)}"


def behaviour(workshop, title, text, commands, columns, prepare, observe, **options):
    """A section with a table of programs by what they did, returned and said.

    prepare(directory) makes the files; observe(run, directory) returns a word for the summary and
    the cells below `columns`. `options` are those of Shell.run.
    """
    rows, words = [], {}
    for program, command in commands.items():
        progress(command)
        shell = workshop.shell()
        prepare(shell.directory)
        run = shell.run(command, **options)
        words[program], *cells = observe(run, shell.directory)
        rows.append([program, *cells, run.end(), says(run, shell.directory)])
        workshop.leave(shell)
    return Section(title, text, list(commands.values()),
                   table(["", *columns, "end", "message"], rows), [(title, words)])


ERROR = re.compile(r"error|fail|invalid|unrecogni|cannot|not |no such", re.IGNORECASE)


def says(run, directory):
    """The message that a user would look for: an error, if there is one."""
    errors, output = lines_of(run.errors), lines_of(run.output)
    if not errors and not any(map(ERROR.search, output)):
        return f"no error, {count(len(output), 'line')} of output" if output else "nothing"
    lines = errors or output
    line = next(filter(ERROR.search, lines), lines[0])
    line = line.replace(os.path.realpath(directory) + "/", "").replace("|", "\\|")
    line = re.sub(r"\x1b\[[0-9;]*m|[\x00-\x1f`\ufeff]", "", line)
    if len(line) > LONGEST:
        line = line[:LONGEST - 1] + "…"
    return f"`{line}`" + (f" and {count(len(lines) - 1, 'more line')}" if len(lines) > 1 else "")


def lines_of(text):
    return [line.strip() for line in re.split(r"[\r\n]+", text) if re.search(r"\w", line)]


def count(number, noun):
    return f"{number} {noun}" + ("s" if number != 1 else "")
