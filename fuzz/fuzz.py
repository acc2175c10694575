#!/usr/bin/python3
"""Runs the fuzz targets, and sorts what they find.

    fuzz/fuzz.py list
    fuzz/fuzz.py run BUILD SECONDS TARGET...
    fuzz/fuzz.py report BUILD

In BUILD: the programs, corpus/TARGET, which grows from run to run, findings/TARGET with the first
input of each kind of failure, and runs.jsonl with one line for each run, from which `report` makes
a table.

Several targets run side by side, as many as there are processors. Fails if a promise of ours is
broken, if our code crashes, and if TagLib crashes in a way that is not in known_faults. A run goes
on after each failure. Inputs that take too much time or memory are only counted: the service limits
both.
"""

import base64
import collections
import concurrent.futures
import gzip
import json
import os
import re
import shutil
import subprocess
import sys
import time
from pathlib import Path

from kinds import HANGS, count, kind_of, kinds_in, known_faults
from report import report

FUZZ = Path(__file__).resolve().parent
TARGETS = {
    "edit": "a file and a change, through the whole request handling",
    "message": "D-Bus messages: built from any types, and as bytes on the server's socket",
    "plan": "the plan of an edit and its commit, with system calls that fail",
    "read": "a file and a question, through the reader",
    "small": "number pairs, the codec of Ogg files, DSF files, images, texts",
}
QUICK = ("message", "plan")  # TagLib's parsers, which take long at some files, are not in these
HANGS_AFTER = 300  # seconds of real time; main.cpp limits the CPU time of an input
NEVER = 1_000_000  # seconds; an input is slow in real time if somebody pauses the process
MEGABYTES = 2048
# Short records of allocations, because they are half of the work.
ASAN_OPTIONS = "allocator_may_return_null=1:malloc_context_size=6:quarantine_size_mb=64"

EXECUTIONS = re.compile(r"^stat::number_of_executed_units: (\d+)", re.M)
EDGES = re.compile(r"^#\d+\s+\w+ +cov: (\d+)", re.M)
ALL_EDGES = re.compile(r"\((\d+) inline 8-bit counters\)")


class Target:
    """A fuzz target, and the directories in which it works."""

    def __init__(self, build, name):
        self.name = name
        self.cpu = 0.0  # seconds
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
        edges = set()
        while (left := seconds - (time.monotonic() - started)) >= 1:
            output = self.run(f"-max_total_time={int(left)}", f"-dict={FUZZ / 'tags.dict'}",
                              "-print_final_stats=1", self.corpus, self.seeds)
            made = EXECUTIONS.search(output)
            if not made or int(made[1]) == 0:
                raise RuntimeError(f"{output[-3000:]}\nfuzz: {self.name} does not run")
            executions += int(made[1])
            edges.update(int(number) for number in EDGES.findall(output))
            kinds.update(self.sort(path, output) for path in sorted(self.new.iterdir()))
        return {"target": self.name, "date": time.strftime("%Y-%m-%d"),
                "seconds": round(time.monotonic() - started), "cpu": round(self.cpu),
                "executions": executions, "edges": max(edges, default=0),
                "of": int(ALL_EDGES.search(output)[1]),
                "inputs": len(list(self.corpus.iterdir())), "findings": dict(kinds)}

    def run(self, *arguments):
        """Runs the program and returns what it prints."""
        environment = os.environ | {
            "ASAN_OPTIONS": ASAN_OPTIONS, "UBSAN_OPTIONS": "print_stacktrace=1",
            "TAGWRITER_FUZZ_EXAMPLES": str(self.findings)}
        with subprocess.Popen(
                [self.program, f"-artifact_prefix={self.new}/", f"-rss_limit_mb={MEGABYTES}",
                 f"-timeout={HANGS_AFTER}", f"-report_slow_units={NEVER}", "-entropic=0",
                 *arguments],
                env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT) as process:
            output = process.stdout.read().decode(errors="replace")
            _, process.returncode, usage = os.wait4(process.pid, 0)
        self.cpu += usage.ru_utime + usage.ru_stime
        return output

    def sort(self, path, output):
        """Keeps this input if it is the first of its kind. `output` is that of the run that made
        it. Returns the kind."""
        # It may be from an earlier run, and would end every later one.
        (self.corpus / path.name.rpartition("-")[2]).unlink(missing_ok=True)
        output = output[-100_000:]
        kind = HANGS if path.name.startswith("timeout") else kind_of(output)  # libFuzzer's timeout
        if kind.startswith("timeout-") and self.name in QUICK:
            kind = f"ours-{kind}"
        kept = self.findings / kind
        if not kept.exists():
            shutil.copy(path, kept)
            kept.with_name(kind + ".txt").write_text(output)
        path.unlink()
        return kind


def line_of(run):
    """A run in one line."""
    return (f"{run['target']}: {run['seconds']} s, {run['executions']} executions, "
            f"{run['edges']} of {run['of']} edges, {run['inputs']} inputs in the corpus, "
            f"{count(run['findings'], 'timeout-')} timeouts, "
            f"{count(run['findings'], 'oom-')} out of memory")


def run_one(build, name, seconds):
    """Runs one target and records the numbers."""
    run = Target(build, name).fuzz(seconds)
    with open(build / "runs.jsonl", "a", encoding="utf-8") as file:
        file.write(json.dumps(run) + "\n")
    return run


def shown(kind, build, target, is_known):
    """How to reproduce a failure, also where nothing but this text is left."""
    path = build / "findings" / target / kind
    if is_known:
        return f"  known: {kind}, {path}"
    packed = base64.b64encode(gzip.compress(path.read_bytes(), mtime=0)).decode()
    return (f"  NEW: {kind}\n    reproduce: {build}/bin/fuzz_{target} {path}\n"
            f"    its report: {path}.txt\n"
            f"    the input: base64 -d <<< {packed} | gunzip")


def run_all(build, seconds, names):
    """Runs the targets and says what they found. Returns the exit status."""
    known, new = known_faults(), []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for run in pool.map(lambda name: run_one(build, name, seconds), names):
            print(line_of(run), flush=True)
            for kind in kinds_in(run["findings"], ("ours-", "taglib-")):
                new += [kind] if kind not in known else []
                print(shown(kind, build, run["target"], kind in known), flush=True)
    if new:
        print("fuzz: a new failure; \"New failures\" in fuzz/README.md says what to do")
    return 1 if new else 0


def main():
    match sys.argv[1:]:
        case ["list"]:
            for name, purpose in TARGETS.items():
                print(f"  {name:8} {purpose}")
        case ["run", build, seconds, *names] if names and set(names) <= set(TARGETS):
            return run_all(Path(build).resolve(), int(seconds), names)
        case ["report", build]:
            print(report(build), end="")
        case _:
            print(__doc__)
            return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
