"""All rules, in the order in which they are asked about what those before have left."""

from . import id3_rules, other_rules  # noqa: F401  # register their rules
from .changes import RULES


def explain(change):
    """Takes what the rules explain out of the differences. Returns the (sentence, names) used."""
    used = []
    for _, sentence, function in RULES:
        names = set(function(change)) & set(change.diff)
        if names:
            used.append((sentence, names))
            for name in names:
                del change.diff[name]
    return used
