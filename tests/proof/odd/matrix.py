"""Each odd file times each edit, in place and safe: what became of it, explained by the rules."""

from collections import Counter, defaultdict
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field

from expectations import family_of
from mutagen import MutagenError

from .changes import Change, differences
from .edits import EDITS
from .inventory import inventory
from .replies import expected_reply
from .rules import explain
from .trial import Editor
from .values import contained, problem

BATCH = 24  # files that one command edits in safe mode
THREADS = 2

# The reasons of the command, by field. Some files TagLib can edit, but not read.
OF_ANY_FIELD = ["copy is unreadable", "a RIFX file"]
OWN_REFUSALS = defaultdict(lambda: OF_ANY_FIELD, {
    "cover": ["already has a picture", *OF_ANY_FIELD],
    "totalNumberOfTracks": ["only beside a track number", *OF_ANY_FIELD]})


@dataclass
class Report:
    """What was found. `uses` has, by sentence and file, how many edits it explains, and the names
    of what they changed."""

    counts: Counter = field(default_factory=Counter)
    problems: list = field(default_factory=list)
    not_decoded: list = field(default_factory=list)
    uses: dict = field(default_factory=lambda: defaultdict(dict))

    def add(self, other):
        """Takes over what another report found."""
        self.counts += other.counts
        self.problems += other.problems
        self.not_decoded += other.not_decoded
        for sentence, files in other.uses.items():
            self.uses[sentence].update(files)


def change_of(name, result, inventories):
    """The change that a result is, with "reply" and "value" among the differences if they are not
    as they must be."""
    for data in (result.before, result.after):
        if data not in inventories:
            inventories[data] = inventory(name, data)
    before, after = inventories[result.before], inventories[result.after]
    diff = {}
    wanted = expected_reply(name, result.edit, before)
    if result.accepted != wanted:
        diff["reply"] = (wanted, result.accepted)
    if result.accepted:
        diff |= differences(name, result.edit.field, before, after)
        try:
            values = problem(name, result.edit, result.before, before, result.after)
        except MutagenError as error:
            values = None if contained(name, result.edit, after) else ("the text", str(error))
        if values:
            diff["value"] = values
    elif result.before != result.after:
        diff["bytes of a refused file"] = ("old", "new")
    return Change(name, result.edit, before, after, diff)


def results_of(editor, name, data):
    """The results of all edits in place. What follows a refused edit is left out."""
    found = {}
    for edit in EDITS:
        before = found[edit.after] if edit.after else None
        if not before or before.accepted:
            found[edit.name] = editor.in_place(edit, name, before.after if before else data)
    return found


def compare_audio(editor, name, data, results, changes, report):
    """Adds "decoded audio" to the differences where it is another one."""
    distinct = list(dict.fromkeys([data, *(result.after for result in results.values())]))
    audio = dict(zip(distinct, editor.decoded(name, distinct)))
    # ffmpeg also decodes the tags of a Musepack file that ends with an ID3v1 tag.
    if audio[data] is None or name.endswith("id3v1.mpc"):
        report.not_decoded.append(name)
        return
    report.counts["decoded"] += len(distinct)
    for key, result in results.items():
        if audio[result.after] != audio[result.before]:
            changes[key].diff["decoded audio"] = audio[result.before], audio[result.after]


def examine(editor, name, data, report):
    """Tries all edits of a file in place. Returns the results by edit."""
    results = results_of(editor, name, data)
    inventories = {}
    changes = {key: change_of(name, result, inventories)
               for key, result in results.items()}
    compare_audio(editor, name, data, results, changes, report)
    used = defaultdict(list)
    for key, change in changes.items():
        for sentence, names in explain(change):
            used[sentence].append(names)
        report.problems += [f"{name}: {key}: {what}: {old!r:.200} -> {new!r:.200}"
                            for what, (old, new) in change.diff.items()]
    for sentence, names in used.items():
        words = f"{len(names)} edit{'s' * (len(names) > 1)}: "
        report.uses[sentence][name] = words + ", ".join(sorted(set().union(*names)))
    report.counts.update(edits=len(results),
                         accepted=sum(bool(result.accepted) for result in results.values()))
    return results


def is_own_refusal(line, result):
    """Whether the command refuses by itself what the service would do, or only save again."""
    return any(reason in line.get("error", "") for reason in OWN_REFUSALS[result.edit.field])


def writes_number_again(name, edit):
    """Whether the command does more than the service: the track number shares a text with the
    number of tracks, which is cleared."""
    is_cleared = (edit.field, edit.step) == ("totalNumberOfTracks", "clear")
    return is_cleared and family_of(name) in ("id3v2", "ape")


def compare_safe(editor, results, report):
    """Makes the same edits with the command in safe mode: each file must become the same."""
    for edit in EDITS:
        in_place = {name: found[edit.name] for name, found in results.items() if edit.name in found}
        safe = editor.safe(edit, {name: result.before for name, result in in_place.items()})
        for name, result in in_place.items():
            line, after = safe[name]
            report.counts["safe"] += 1
            if is_own_refusal(line, result) and after == result.before:
                report.counts["refused by the command"] += 1
            elif (line["result"] == "written", after) != (result.accepted, result.after):
                if line["result"] != "written" or not writes_number_again(name, edit):
                    report.problems.append(f"{name}: {edit.name}: safe: {line}, or another file")


def examine_batch(paths):
    """Tries all edits of some files. Returns a report."""
    report = Report()
    with Editor() as editor:
        results = {path.name: examine(editor, path.name, path.read_bytes(), report)
                   for path in paths}
        compare_safe(editor, results, report)
    return report


def examine_all(paths):
    """The same in several threads."""
    size = min(BATCH, -(-len(paths) // THREADS))
    report = Report()
    with ThreadPoolExecutor(THREADS) as pool:
        for part in pool.map(examine_batch, (paths[at:at + size]
                                             for at in range(0, len(paths), size))):
            report.add(part)
    return report
