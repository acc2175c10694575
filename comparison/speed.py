"""How long commands take."""

import os
import shutil
import statistics

import songs
from document import table
from formats import TITLE
from failures import ADD_COVER
from measure import interleaved, median, progress
from programs import ALL, COMMON, OURS, TAKES
from report import NOT_FOR_IT, Section

ROUNDS = 9
FIFTY = 50
COVER = 200_000  # bytes that it has at least

TEXT = f"""\
Wall time of whole processes, without the shell: the medians of {ROUNDS} rounds. In each round every
program does the job once on a fresh copy, in an order that changes. For the others, the table shows
how many times as long as tagwriter they took in the same round, again as a median. After each run,
mutagen checks that the file has the title, or the cover. The commands are those for
[a title](#a-title-in-each-format) and for
[a cover](#a-full-disk-does-no-harm-and-is-reported)."""

MANY = {program: command.replace("FILE", "*.mp3") for program, command in TITLE.items()
        if "MP3" in TAKES.get(program, COMMON)}


class Race:
    """The same job for all programs that can do it."""

    def __init__(self, workshop, commands, names, kind):
        self._workshop = workshop
        self._shell = workshop.shell()
        self._original = workshop.songs.path(kind)
        self._names = names
        self.prepare()
        self._words = {program: self._shell.words(command)
                       for program, command in commands.items()
                       if kind in TAKES.get(program, COMMON)}

    def prepare(self):
        """Fresh files, in the same directory."""
        directory = self._shell.directory
        shutil.rmtree(directory)
        os.mkdir(directory)
        for name in self._names:
            shutil.copyfile(self._original, os.path.join(directory, name))
        shutil.copy(self._workshop.songs.large_cover, directory)
        return directory

    def run(self, is_done):
        """The seconds that each program took in each round."""
        def check(program, directory):
            if not all(is_done(os.path.join(directory, name)) for name in self._names):
                raise RuntimeError(f"{program} had no effect")
        contestants = {program: lambda _, words=words: self._shell.execute(words)
                       for program, words in self._words.items()}
        seconds = interleaved(contestants, ROUNDS, self.prepare, check)
        self._workshop.leave(self._shell)
        return seconds


def has_title(path):
    return songs.title(path) == "Morgen"


def has_cover(path):
    return any(len(repr(text)) > COVER for text in songs.tags(path).values())


def row(name, seconds):
    """A line of the table."""
    ours = seconds[OURS]
    ratios = {program: f"{statistics.median(b / a for a, b in zip(ours, theirs)):.1f}"
              for program, theirs in seconds.items()}
    return [name, f"{median(ours, 1e3)} ms",
            *(ratios.get(program, NOT_FOR_IT) for program in ALL if program != OURS)]


def jobs():
    """The text, the commands, the names of the songs, their kind and the check of each job."""
    for kind in COMMON:
        name = f"song.{kind.lower()}"
        commands = {program: command.replace("FILE", name) for program, command in TITLE.items()}
        yield f"a title, {kind}", commands, [name], kind, has_title
    yield ("a title, fifty MP3s in one call", MANY,
           [f"{number}.mp3" for number in range(FIFTY)], "MP3", has_title)
    covers = {program: command.replace("FILE", "song.mp3")
              for program, command in ADD_COVER.items()}
    yield "a cover of 300 KB, MP3", covers, ["song.mp3"], "MP3", has_cover


def section(workshop):
    rows = []
    for name, commands, names, kind, is_done in jobs():
        progress(f"time: {name}")
        rows.append(row(name, Race(workshop, commands, names, kind).run(is_done)))
    head = ["", OURS, *(f"{program} / {OURS}" for program in ALL if program != OURS)]
    fifty = next(line for line in rows if "fifty" in line[0])[2:]
    summary = {program: f"{ratio} ×" for program, ratio in zip(ALL[1:], fifty)
               if ratio != NOT_FOR_IT}
    return Section("Time", TEXT, [], table(head, rows),
                   [("Time for fifty MP3s", {OURS: "1", **summary})])
