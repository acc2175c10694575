"""The kinds of failures, from what a fuzz target prints.

- ours-...: a promise is broken, or the memory error is in our code
- taglib-...: the memory error is in TagLib's code
- timeout-..., oom-...: too much time or memory is taken, which the service limits
"""

import os
import re
from pathlib import Path

FUZZ = Path(__file__).resolve().parent
TAGLIB = f"{FUZZ.parent}/build/taglib/"
TOOLKIT = TAGLIB + "taglib/toolkit/"  # its strings and lists: they do not say where a fault is
OUT_OF_MEMORY = ("out-of-memory", "allocation-size-too-big", "calloc-overflow")
OUT_OF_TIME = "fuzz: out of time"  # printed by main.cpp
HANGS = "ours-hangs"

FRAME = re.compile(r"^ +#\d+ 0x[0-9a-f]+ in (.+) (/\S+)", re.M)
PROMISE = re.compile(r"^fuzz: promise broken: (.+)$", re.M)
# Where TagLib takes long, the innermost function is another one each time.
WORK = re.compile("::(File|Tag|Properties)::")
ERROR = re.compile(
    r"(?:AddressSanitizer|libFuzzer): ([\w-]+)|(LeakSanitizer)|runtime error: (.+)")


def as_name(text):
    """The text as a file name."""
    return re.sub(r"\W+", "-", text).strip("-")[:80]


def function_name(signature):
    """The name of a function without its parameters, and without TagLib's namespace."""
    name = re.sub(r"[(<].*", "", signature.replace("(anonymous namespace)::", ""))
    return name.removeprefix("TagLib::").replace(" ", "-")


def frames_in(output):
    """The functions and source files of the stack that are ours or TagLib's."""
    frames = [(function_name(signature), os.path.normpath(source))
              for signature, source in FRAME.findall(output)]
    return [(function, source) for function, source in frames
            if source.startswith(f"{FUZZ.parent}/") and not source.startswith(f"{FUZZ}/")]


def kind_of(output):
    """The kind of the failure that this output reports, as a file name."""
    if promise := PROMISE.search(output):
        return "ours-" + as_name(promise[1])
    frames = frames_in(output)
    in_taglib = [function for function, source in frames
                 if source.startswith(TAGLIB) and not source.startswith(TOOLKIT)]
    functions = [*in_taglib, *(function for function, _ in frames), "elsewhere"]
    work = next(filter(WORK.search, in_taglib), functions[0])
    if any(text in output for text in OUT_OF_MEMORY):
        return f"oom-{work}"
    if OUT_OF_TIME in output:
        return f"timeout-{work}"
    error = ERROR.search(output)
    what = as_name(error[error.lastindex]) if error else "no-error"
    if frames and frames[0][1].startswith(TAGLIB):
        return f"taglib-{what}-{functions[0]}"
    return "-".join(["ours", what, *(function for function, _ in frames[:1])])


def known_faults():
    """The listed faults of TagLib: the file of tests/data/library_faults that shows each kind."""
    lines = (FUZZ / "known_faults").read_text(encoding="utf-8").splitlines()
    return dict(line.split() for line in lines if line and not line.startswith("#"))


def count(findings, prefix):
    """How many inputs have failed in the kinds that begin so."""
    return sum(number for kind, number in findings.items() if kind.startswith(prefix))


def kinds_in(findings, prefix):
    """The kinds that begin so."""
    return sorted(kind for kind in findings if kind.startswith(prefix))
