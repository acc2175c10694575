#!/usr/bin/python3
"""Runs the fuzz targets, and sorts what they find.

    fuzz/fuzz.py list
    fuzz/fuzz.py run BUILD SECONDS TARGET...
    fuzz/fuzz.py report BUILD

In BUILD: the programs, corpus/TARGET, which grows from run to run, findings/TARGET with the first
input of each kind of failure, and runs.jsonl with one line for each run, from which `report` makes
a table.

Several targets run side by side, as many as there are processors. Fails if a promise of ours is
broken or our code crashes. A crash of TagLib at a damaged file is reported, and does not fail: the
process of the service dies there, and the file is as it was. Inputs that take too much time or
memory are counted: the service limits both.
"""

import collections
import concurrent.futures
import json
import os
import re
import shutil
import subprocess
import sys
import time
from pathlib import Path

FUZZ = Path(__file__).resolve().parent
TARGETS = {
    "edit": "a file and a change, through the whole request handling",
    "message": "D-Bus messages: built from any types, and as bytes on the server's socket",
    "plan": "the plan of an edit and its commit, with system calls that fail",
    "read": "a file and a question, through the reader",
    "small": "number pairs, the codec of Ogg files, DSF files, images, texts",
}
# The service allows an edit 30 s of CPU time. The sanitizers take several times as long.
SECONDS_PER_INPUT = 10
MEGABYTES = 2048
# Short records of allocations, because they are half of the work.
ASAN_OPTIONS = "allocator_may_return_null=1:malloc_context_size=6:quarantine_size_mb=64"
EXHAUSTED = ("timeout", "oom", "slow")  # kinds of inputs that are only counted
OUT_OF_MEMORY = ("out-of-memory", "allocation-size-too-big", "calloc-overflow")
UNREADABLE = "unreadable-"  # what edit.cpp keeps as an example

EXECUTIONS = re.compile(r"^stat::number_of_executed_units: (\d+)", re.M)
COVERED = re.compile(r"\((\d+) inline 8-bit counters\)[\s\S]* cov: (\d+)")
FRAME = re.compile(r"^ +#\d+ 0x[0-9a-f]+ in (.+) (/\S+)", re.M)
PROMISE = re.compile(r"^fuzz: promise broken: (.+)$", re.M)
ERROR = re.compile(r"(?:AddressSanitizer|LeakSanitizer|libFuzzer): ([\w-]+)|runtime error: (.+)")


class Target:
    """A fuzz target, and the directories in which it works."""

    def __init__(self, build, name):
        self.name = name
        self.program = build / "bin" / f"fuzz_{name}"
        self.corpus = build / "corpus" / name
        self.findings = build / "findings" / name
        self.new = build / "new" / name
        self.seeds = build / "seeds" / name
        for directory in (self.corpus, self.findings, self.new):
            directory.mkdir(parents=True, exist_ok=True)
        subprocess.run([FUZZ / "seeds", name, self.seeds], check=True)

    def fuzz(self, seconds):
        """Fuzzes for that long, and starts again after each finding. Returns the numbers."""
        started, executions, kinds = time.monotonic(), 0, collections.Counter()
        while (left := seconds - (time.monotonic() - started)) >= 1:
            output = self.run(f"-max_total_time={int(left)}", f"-dict={FUZZ / 'tags.dict'}",
                              "-print_final_stats=1", self.corpus, self.seeds)
            made = EXECUTIONS.search(output)
            if not made or int(made[1]) == 0:
                raise RuntimeError(f"{output[-3000:]}\nfuzz: {self.name} does not run")
            executions += int(made[1])
            kinds.update(self.sort(path) for path in self.new.iterdir())
        covered = COVERED.search(self.run("-runs=0", self.corpus, self.seeds))
        return {"target": self.name, "date": time.strftime("%Y-%m-%d"),
                "seconds": round(time.monotonic() - started), "executions": executions,
                "edges": int(covered[2]), "of": int(covered[1]),
                "inputs": len(list(self.corpus.iterdir())), "findings": dict(kinds)}

    def run(self, *arguments):
        """Runs the program and returns what it prints."""
        environment = os.environ | {
            "ASAN_OPTIONS": ASAN_OPTIONS, "UBSAN_OPTIONS": "print_stacktrace=1",
            "TAGWRITER_FUZZ_EXAMPLES": str(self.findings)}
        result = subprocess.run(
            [self.program, f"-timeout={SECONDS_PER_INPUT}", f"-rss_limit_mb={MEGABYTES}",
             f"-artifact_prefix={self.new}/", "-entropic=0", *arguments],
            env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, check=False)
        return result.stdout.decode(errors="replace")

    def sort(self, path):
        """Keeps this input if it is the first of its kind. Returns the kind."""
        kind, output = path.name.split("-")[0], ""
        if kind not in EXHAUSTED:
            output = self.run(path)
            kind = kind_of(output)
        kept = self.findings / kind
        if not kept.exists():
            shutil.copy(path, kept)
            kept.with_name(kind + ".txt").write_text(output)
        path.unlink(missing_ok=True)
        return kind


def kind_of(output):
    """A name for a failure, as a file name: whose code it is in, what happens and where."""
    if any(text in output for text in OUT_OF_MEMORY):
        return "oom"
    if promise := PROMISE.search(output):
        return "ours-" + as_name(promise[1])
    error = ERROR.search(output)
    what = as_name(error[1] or error[2]) if error else "no-error-when-repeated"
    for function, source in FRAME.findall(output):
        if "/build/taglib/" in source or source.startswith(f"{FUZZ.parent}/"):
            whose = "taglib" if "/build/taglib/" in source else "ours"
            return f"{whose}-{what}-{as_name(re.sub(r'[(<].*', '', function))}"
    return f"ours-{what}"


def as_name(text):
    return re.sub(r"\W+", "-", text).strip("-")[:80]


def kinds_in(run, whose):
    """The kinds of failures in "ours", our code, or in "taglib"."""
    return sorted(kind for kind in run["findings"] if kind.startswith(f"{whose}-"))


def line_of(run):
    """A run in one line."""
    return (f"{run['target']}: {run['seconds']} s, {run['executions']} executions, "
            f"{run['edges']} of {run['of']} edges, {run['inputs']} inputs in the corpus, "
            f"{run['findings'].get('timeout', 0)} timeouts, "
            f"{run['findings'].get('oom', 0)} out of memory, findings: "
            f"{len(kinds_in(run, 'ours'))} ours, {len(kinds_in(run, 'taglib'))} of TagLib")


def run_one(build, name, seconds):
    """Runs one target and records the numbers."""
    run = Target(build, name).fuzz(seconds)
    with open(build / "runs.jsonl", "a", encoding="utf-8") as file:
        file.write(json.dumps(run) + "\n")
    return run


def run_all(build, seconds, names):
    """Runs the targets and says what they found. Returns the exit status."""
    failed = False
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for run in pool.map(lambda name: run_one(build, name, seconds), names):
            print(line_of(run), flush=True)
            for kind in kinds_in(run, "ours") + kinds_in(run, "taglib"):
                path = build / "findings" / run["target"] / kind
                print(f"  FOUND {kind}\n    reproduce: {build}/bin/fuzz_{run['target']} {path}\n"
                      f"    its report: {path}.txt", flush=True)
            failed = failed or bool(kinds_in(run, "ours"))
    return 1 if failed else 0


def row(name, runs):
    """A row of the report, over all runs of a target."""
    def kinds(whose):
        return len({kind for run in runs for kind in kinds_in(run, whose)})

    def inputs(kind):
        return sum(run["findings"].get(kind, 0) for run in runs)

    last = runs[-1]
    return (f"| {name} | {sum(run['seconds'] for run in runs) / 3600:.2f} h | "
            f"{sum(run['executions'] for run in runs):,} | {last['edges']:,} of {last['of']:,} | "
            f"{last['inputs']:,} | {inputs('timeout')} | {inputs('oom')} | {kinds('ours')} | "
            f"{kinds('taglib')} |")


def report(build):
    """A table over all runs so far, in Markdown."""
    with open(build / "runs.jsonl", encoding="utf-8") as file:
        runs = [json.loads(line) for line in file]
    print("| target | time | executions | edges | corpus | timeouts | out of memory | our faults | "
          "TagLib's |\n|---|---|---|---|---|---|---|---|---|")
    for name in TARGETS:
        if mine := [run for run in runs if run["target"] == name]:
            print(row(name, mine))


def main():
    match sys.argv[1:]:
        case ["list"]:
            for name, purpose in TARGETS.items():
                print(f"  {name:8} {purpose}")
        case ["run", build, seconds, *names] if names and set(names) <= set(TARGETS):
            return run_all(Path(build).resolve(), int(seconds), names)
        case ["report", build]:
            report(Path(build))
        case _:
            print(__doc__)
            return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
