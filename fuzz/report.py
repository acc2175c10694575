"""The numbers of all fuzz runs so far, in Markdown."""

import collections
import datetime
import json
from pathlib import Path

from kinds import count, kinds_in, known_faults

HEAD = """\
| target | CPU time | executions | edges reached | corpus | faults | timeouts | out of memory |
|---|---|---|---|---|---|---|---|
"""


def findings_in(runs):
    """How many inputs have failed, by kind."""
    return sum((collections.Counter(run["findings"]) for run in runs), collections.Counter())


def cpu_time(runs):
    """As hours, minutes and seconds."""
    return str(datetime.timedelta(seconds=sum(run["cpu"] for run in runs)))


def faults(findings):
    """How many kinds of faults there are, and whose."""
    numbers = {whose: len(kinds_in(findings, prefix))
               for whose, prefix in (("ours", "ours-"), ("TagLib's", "taglib-"))}
    return ", ".join(f"{number} {whose}" for whose, number in numbers.items() if number) or "0"


def row(name, runs):
    """A row of the table, over all runs of a target."""
    last, findings = runs[-1], findings_in(runs)
    # A run on a busy machine may not get through the corpus.
    widest = max(runs, key=lambda run: run["edges"])
    return (f"| `{name}` | {cpu_time(runs)} | {sum(run['executions'] for run in runs):,} | "
            f"{widest['edges']:,} of {widest['of']:,} | {last['inputs']:,} inputs | "
            f"{faults(findings)} | {count(findings, 'timeout-')} | {count(findings, 'oom-')} |\n")


def rows_of_kinds(findings):
    """A row for each kind of failure, with the file that shows it if it is listed."""
    known = known_faults()
    for kind, number in sorted(findings.items()):
        file = f"`{known[kind]}`" if kind in known else ""
        yield f"| `{kind}` | {number} | {file} |\n"


def report(build):
    """A table of the targets, and one of the failures. Empty if nothing has been run."""
    record = Path(build) / "runs.jsonl"
    if not record.exists():
        return ""
    runs = [json.loads(line) for line in record.read_text(encoding="utf-8").splitlines()]
    by_target = collections.defaultdict(list)
    for run in runs:
        by_target[run["target"]].append(run)
    dates = sorted({run["date"] for run in runs})
    text = (f"{len(runs)} runs, {' to '.join(dict.fromkeys((dates[0], dates[-1])))}: "
            f"{cpu_time(runs)} of CPU time (h:mm:ss), {sum(run['executions'] for run in runs):,} "
            f"executions.\n\n{HEAD}")
    text += "".join(row(name, by_target[name]) for name in sorted(by_target))
    if findings := findings_in(runs):
        text += "\n| failure | inputs | file |\n|---|---|---|\n"
        text += "".join(rows_of_kinds(findings))
    return text
