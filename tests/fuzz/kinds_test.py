"""Whose fault the sanitizers report, and which faults are listed."""

import os
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "fuzz"))

from kinds import kind_of, known_faults  # noqa: E402

TOOLKIT = ("TagLib::ByteVector::operator[](int)", "build/taglib/taglib/toolkit/tbytevector.cpp")
TAG = ("TagLib::MP4::Tag::save()", "build/taglib/taglib/mp4/mp4tag.cpp")
ATOM = ("TagLib::MP4::Atom::Atom(TagLib::File*)", "build/taglib/taglib/mp4/mp4atom.cpp")
STREAM = ("TagLib::StagedStream::read(long)", "build/fuzz/../../io/staged_stream.cpp")
HIDDEN = ("tagwriter::(anonymous namespace)::open<int>(int)", "io/audio_file.h")
TARGET = ("tagwriter::fuzz::run(tagwriter::fuzz::Input)", "build/fuzz/../../fuzz/edit.cpp")
OVERFLOW = "==7==ERROR: AddressSanitizer: heap-buffer-overflow on address 0x60"
ABORT = "==7==ERROR: libFuzzer: deadly signal"


def output(message, *frames):
    """What a target prints, with the innermost function first."""
    lines = [f"    #{i} 0x55{i:010} in {function} {ROOT}/{source}:{i}:3"
             for i, (function, source) in enumerate(frames, 1)]
    return "\n".join([message, "    #0 0x55 in memcpy (/bin/fuzz+0x2) (BuildId: 3)", *lines])


class Kinds(unittest.TestCase):
    def test_the_innermost_function_says_whose_it_is(self):
        for kind, *printed in (
                ("taglib-heap-buffer-overflow-MP4::Atom::Atom", OVERFLOW, TOOLKIT, ATOM, HIDDEN),
                ("ours-heap-buffer-overflow-StagedStream::read", OVERFLOW, STREAM, ATOM, HIDDEN),
                ("ours-heap-buffer-overflow-tagwriter::open", OVERFLOW, HIDDEN, TARGET),
                ("ours-division-by-zero", "number_pair.cpp:1:2: runtime error: division by zero"),
                ("ours-all-is-well", f"fuzz: promise broken: all is well\n{ABORT}", ATOM),
                ("ours-LeakSanitizer", "==7==ERROR: LeakSanitizer: detected memory leaks"),
                ("timeout-MP4::Tag::save", f"fuzz: out of time\n{ABORT}", TARGET, ATOM, TAG, HIDDEN),
                ("timeout-StagedStream::read", f"fuzz: out of time\n{ABORT}", STREAM, HIDDEN, TARGET),
                ("oom-MP4::Atom::Atom", "==7== ERROR: libFuzzer: out-of-memory", TOOLKIT, ATOM)):
            with self.subTest(kind=kind):
                self.assertEqual(kind_of(output(*printed)), kind)

    def test_every_file_of_a_known_fault_is_there_and_described(self):
        files = set(os.listdir(ROOT / "tests" / "data" / "library_faults"))
        self.assertEqual(set(known_faults().values()) - files, set())
        document = (ROOT / "docs" / "FAILURES.md").read_text(encoding="utf-8")
        self.assertEqual({name for name in files if f"| `{name}` |" not in document}, set())


if __name__ == "__main__":
    unittest.main()
