"""Interleaved measurements, and their medians and spreads."""

import statistics
import sys
import time


def interleaved(contestants, rounds, prepare, check):
    """The seconds that each contestant takes in each round, by name.

    In every round all of them make the same edit, one after the other, in an order that changes
    from round to round, each on a fresh file from prepare(). Only contestant(path) is timed, unless
    it returns the seconds itself; check(path) then raises an exception if it had no effect.
    """
    seconds = {name: [] for name in contestants}
    names = list(contestants)
    for number in range(rounds):
        for name in names[number % len(names):] + names[:number % len(names)]:
            path = prepare()
            started = time.perf_counter()
            measured = contestants[name](path)
            seconds[name].append(measured or time.perf_counter() - started)
            check(name, path)
    return seconds


def median(values, unit):
    """The median, as a number with three digits or so."""
    value = statistics.median(values) * unit
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


def ratio(ours, theirs):
    """The median of the ratios of the rounds, with the lower and the upper quartile."""
    low, middle, high = statistics.quantiles((a / b for a, b in zip(ours, theirs)), n=4,
                                             method="inclusive")
    return f"{middle:.2f} ({low:.2f}–{high:.2f})"


def progress(text):
    print(f"bench: {text}", file=sys.stderr, flush=True)
