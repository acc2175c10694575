"""What an edit changed beside what it was to change, and a register of rules that explain it."""

import re
from dataclasses import dataclass

from expectations import FIELDS, edited_names, family_of, is_core

COVER_NAMES = {"id3v2": ("ID3v2 APIC",), "mp4": ("MP4 covr",), "asf": ("ASF WM/Picture",),
               "xiph": ("Xiph METADATA_BLOCK_PICTURE", "Xiph COVERART", "FLAC block 6"),
               "ape": ("APE Cover Art (Front)",)}
# Older frames of the same date.
DATE_NAMES = ("ID3v2 TYER", "ID3v2 TDAT", "ID3v2 TIME")


def own_names(file, field):
    """The names, in capitals, under which an edit is meant to change the file."""
    if field == "cover":
        return {name.upper() for name in COVER_NAMES[family_of(file)]}
    info = FIELDS[field].get("info") if file.endswith(".wav") else None
    return (edited_names(file, field) | set(DATE_NAMES if field == "year" else ())
            | ({"INFO", f"INFO {info}"} if info else set()))


def differences(file, field, before, after):
    """By name, what was there and what is there now: each a list, or None."""
    own = own_names(file, field)
    return {name: (before.get(name), after.get(name)) for name in {*before, *after}
            if before.get(name) != after.get(name) and name.upper() not in own}


@dataclass
class Change:
    """An edit and what it changed: `diff` has pairs of old and new values by name. There are more
    names: "reply", "value" (what mutagen shows) and "decoded audio", with what was expected."""

    file: str
    edit: object
    before: dict
    after: dict
    diff: dict

    def is_core(self):
        """Whether TagLib's generic tag makes the edit."""
        return self.edit.field != "cover" and is_core(self.edit.field)

    def names(self, pattern):
        """The names that match as a whole."""
        return {name for name in self.diff if re.fullmatch(pattern, name)}

    def lost(self, pattern):
        """Those of them that have no value any more."""
        return {name for name in self.names(pattern) if self.diff[name][1] is None}

    def where(self, pattern, test):
        """Those whose old and new values, neither of them None, pass the test."""
        return {name for name in self.names(pattern)
                if None not in self.diff[name] and test(*self.diff[name])}


MISSED, LOST, REWRITTEN, NOT_EDITED = "missed", "lost", "rewritten", "not edited"
# What TagLib does on its own: (kind, sentence, a function that returns the names that it explains).
# The sentences are published, so each is about what a user can see.
RULES = []


def rule(kind, sentence):
    """Registers a rule."""
    def register(function):
        RULES.append((kind, sentence, function))
        return function
    return register
