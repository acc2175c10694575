"""A front that leaves, because it is idle or is asked to, and requests that come just then.

The moments come from a seed that is printed; LEAVING_SEED repeats a run.
"""

import concurrent.futures
import os
import random
import signal
import time
import unittest

import mutagen

from bus_support import BusTest, HeldRequest, result
from processes import DEADLINE, wait_for
from session import FRONT

IDLE_SECONDS = 1
LATENESS = 0.3  # by which a timer of the front may go off late, and a little more
ACTIVATIONS = 24
BUSES = 4


class LeavingTest(BusTest):

    def assert_not_beside(self, caller, held, path):
        """Another request for the file waits for the held one. If it did not, one of the two would
        read the file while the other one writes, and its change would be lost."""
        second = self.set_later(caller, path, "Second", field="composer")
        # Time to do wrong in; nothing is expected of it.
        concurrent.futures.wait([second], timeout=2)
        self.assertTrue(held.finish())
        self.assertTrue(result(second.result(DEADLINE)))
        tags = mutagen.File(path).tags
        self.assertNotIn("Title", tags)
        self.assertEqual(str(tags.get("Composer")), "Second")


class IdleTest(LeavingTest):
    """Bursts of requests about the moment at which an idle front leaves."""

    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("LEAVING_SEED", time.time_ns() % 1_000_000))
        print(f"LEAVING_SEED={self.seed}")

    def test_loses_nothing(self):
        runs = [Bursts(self, i, self.start_bus((FRONT, "--idle", str(IDLE_SECONDS))),
                       random.Random(f"{self.seed} {i}")) for i in range(BUSES)]

        def activations():
            return sum(run.activations() for run in runs)

        with concurrent.futures.ThreadPoolExecutor(BUSES) as pool:
            ends = [pool.submit(run.run, lambda: activations() >= ACTIVATIONS) for run in runs]
            for end in ends:
                end.result(2 * DEADLINE)
        print(f"{sum(run.requests for run in runs)} requests, {activations()} activations")

    def test_does_not_write_beside_its_successor(self):
        # The first request is on its way to the front when the front gives up its name.
        bus = self.start_bus((FRONT, "--idle", str(IDLE_SECONDS)))
        caller, other = bus.caller(), bus.caller()
        path = self.copy("ape_tagged.ape")
        caller.ping_front()
        bus.pause()
        try:
            held = HeldRequest(caller, path)
            caller.connection.flush_sync(None)
            time.sleep(IDLE_SECONDS + 2)  # it has long since asked the bus to release the name
        finally:
            bus.resume()
        with held:
            self.assert_not_beside(other, held, path)


class Bursts:
    """The bursts on one bus."""

    def __init__(self, test, index, bus, chance):
        self._test, self._bus, self._chance = test, bus, chance
        self._callers = [bus.caller() for _ in range(3)]
        self._owners = self._callers[0].watch_owners()
        self._files = [test.copy("mp3_plain.mp3", f"{index}-{i}.mp3") for i in range(3)]
        self.requests = 0
        self._last_answer = time.monotonic()

    def activations(self):
        return sum(owner != "" for owner in self._owners)

    def run(self, enough):
        end = time.monotonic() + DEADLINE
        self.send_burst()
        self.collect()
        burst = 0
        while not enough():
            self._test.assertLess(time.monotonic(), end, "too few activations")
            burst += 1
            if burst % 2:
                self.burst_about_the_moment()
            else:
                self.burst_on_its_way()

    def burst_about_the_moment(self):
        """Requests that come a little before or after the front's time is up."""
        self.wait_since_last_answer(IDLE_SECONDS + self._chance.uniform(-0.02, LATENESS))
        self.send_burst()
        self.collect()

    def burst_on_its_way(self):
        """Requests that the bus gets before it hears that the front leaves, and passes on to it."""
        self._bus.pause()
        try:
            self.send_burst()
            for caller in self._callers:
                caller.connection.flush_sync(None)
            self.wait_since_last_answer(IDLE_SECONDS + LATENESS)
        finally:
            self._bus.resume()
        self.collect()

    def wait_since_last_answer(self, seconds):
        left = self._last_answer + seconds - time.monotonic()
        if left > 0:
            time.sleep(left)

    def send_burst(self):
        self._expected = []
        for i in range(self._chance.randint(1, 6)):
            self.requests += 1
            path, title = self._files[i % 3], str(self.requests)
            future = self._test.set_later(self._chance.choice(self._callers), path, title)
            self._expected.append((path, title, future))

    def collect(self):
        for _, _, future in self._expected:
            self._test.assertTrue(result(future.result(DEADLINE)))
        self._last_answer = time.monotonic()
        titles = {}
        for path, title, _ in self._expected:
            titles.setdefault(path, set()).add(title)
        for path, possible in titles.items():  # callers have no order among each other
            self._test.assertIn(str(mutagen.File(path).tags["TIT2"]), possible)


class AskedTest(LeavingTest):
    """SIGTERM, which a front gets when it is stopped or updated."""

    def setUp(self):
        super().setUp()
        self.bus = self.start_bus()
        self.caller = self.bus.caller()
        self.other = self.bus.caller()

    def test_finishes_what_it_has(self):
        held, path = self.copy("ape_tagged.ape"), self.copy("mp3_plain.mp3")
        with HeldRequest(self.caller, held) as first:
            front = self.caller.front()
            waiting = [self.set_later(self.other, path, str(i)) for i in range(10)]
            self.other.ping_front()
            front.send(signal.SIGTERM)
            front.send(signal.SIGTERM)
            self.assertFalse(front.ended())
            self.assertTrue(first.finish())
            self.assertTrue(all(result(future.result(DEADLINE)) for future in waiting))
        front.wait()
        self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "9")

    def test_answers_requests_that_lie_in_wait(self):
        path = self.copy("mp3_plain.mp3")
        for i in range(10):
            self.assertTrue(self.set(self.caller, path, "before"))
            front = self.caller.front()
            front.send(signal.SIGSTOP)
            futures = [self.set_later(caller, path, f"{i}")
                       for caller in [self.caller, self.other, self.caller]]
            self.caller.ask_daemon("GetId")
            self.other.ask_daemon("GetId")
            front.send(signal.SIGTERM)
            front.send(signal.SIGCONT)
            self.assertTrue(all(result(future.result(DEADLINE)) for future in futures))
            front.wait()
            self.assertEqual(str(mutagen.File(path).tags["TIT2"]), f"{i}")

    def test_does_not_write_beside_its_successor(self):
        path = self.copy("ape_tagged.ape")
        with HeldRequest(self.caller, path) as first:
            front = self.caller.front()
            front.send(signal.SIGTERM)
            self.assert_not_beside(self.other, first, path)
        front.wait()

    def test_is_started_again_by_the_next_request(self):
        path = self.copy("mp3_plain.mp3")
        owners = self.caller.watch_owners()
        for i in range(3):
            self.assertTrue(self.set(self.caller, path, f"{i}"))
            front = self.caller.front()
            front.send(signal.SIGTERM)
            front.wait()
        wait_for(lambda: len(owners) == 6, "three come and go")


if __name__ == "__main__":
    unittest.main()
