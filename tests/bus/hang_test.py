"""Workers that hang are replaced, busy ones are not, and nobody waits long for a silent player."""

import signal
import time
import unittest

from bus_support import NO_REPLY, STAND_IN, BusTest, HeldRequest, TruncationEndpoint, change
from player import GLib
from processes import DEADLINE, Process, children_of, wait_for
from session import FRONT
from truncation import keep_silent

EXIT_LIMIT = 6  # seconds from SIGTERM


class HangTest(BusTest):

    def start(self, *options, worker=None, **environment):
        """A bus; the worker may be a stand-in, with this environment."""
        front = self.front_with(STAND_IN) if worker else FRONT
        bus = self.start_bus((front, *options), {"STAND_IN": worker or "", **environment})
        self.caller, self.other = bus.caller(), bus.caller()
        self.path, self.ape = self.copy("mp3_plain.mp3"), self.copy("ape_tagged.ape")

    def worker(self):
        """The one worker of the front."""
        pid, = children_of(self.caller.front().pid)
        return Process(pid)


class WatchdogTest(HangTest):

    def test_a_stopped_worker_is_killed_and_only_its_caller_gets_an_error(self):
        self.start("--worker-timeout=1")
        with HeldRequest(self.caller, self.ape) as held:
            worker = self.worker()
            worker.send(signal.SIGSTOP)
            waiting = [self.set_later(self.other, self.path, str(i)) for i in range(3)]
            self.other.ping_front()
            self.assert_error(NO_REPLY, held.future)
            for future in waiting:
                self.assertTrue(future.result(DEADLINE).unpack()[0]["result"])
        self.assertTrue(worker.ended())
        self.assertEqual(self.title(self.path), "2")

    def test_a_worker_that_stops_between_two_requests_is_killed_in_the_second(self):
        self.start("--worker-timeout=1")
        self.assertTrue(self.set(self.caller, self.path, "One"))
        self.worker().send(signal.SIGSTOP)
        self.assert_error(NO_REPLY, self.set_later(self.caller, self.path, "Two"))
        self.assertTrue(self.set(self.caller, self.path, "Three"))

    def test_a_worker_that_never_becomes_ready_is_killed(self):
        self.start("--worker-timeout=1", worker="mute")
        self.assert_error(NO_REPLY, self.caller.write_later({}))
        self.assertEqual(children_of(self.caller.front().pid), {})

    def test_a_worker_that_makes_slow_progress_is_left_alone(self):
        self.start("--worker-timeout=1", worker="toils", SECONDS="3")
        futures = [self.caller.write_later({}) for _ in range(2)]
        self.caller.ping_front()
        worker = self.worker()
        for future in futures:
            self.assertTrue(future.result(DEADLINE).unpack()[0]["result"])
        self.assertEqual(self.worker().pid, worker.pid)

    def test_a_worker_that_leaves_after_a_reply_costs_no_request(self):
        self.start(worker="leaves")
        for future in [self.caller.write_later({}) for _ in range(10)]:
            self.assertTrue(future.result(DEADLINE).unpack()[0]["result"])


class ExitTest(HangTest):
    """SIGTERM ends the front soon, whatever its worker does."""

    def assert_exits(self, front):
        front.send(signal.SIGTERM)
        self.assertTrue(front.ended(within=EXIT_LIMIT))

    def test_with_a_stopped_worker_that_has_a_request(self):
        self.start()
        with HeldRequest(self.caller, self.ape) as held:
            front, worker = self.caller.front(), self.worker()
            worker.send(signal.SIGSTOP)
            waiting = self.set_later(self.other, self.path, "Waiting")
            self.other.ping_front()
            self.assert_exits(front)
            self.assert_error(NO_REPLY, held.future)
        self.assertTrue(waiting.result(DEADLINE).unpack()[0]["result"])
        self.assertTrue(worker.ended())
        self.assertEqual(self.title(self.path), "Waiting")

    def test_with_a_stopped_worker_that_has_none(self):
        self.start()
        self.assertTrue(self.set(self.caller, self.path, "T"))
        worker = self.worker()
        worker.send(signal.SIGSTOP)
        self.assert_exits(self.caller.front())
        self.assertTrue(worker.ended())

    def test_with_a_worker_that_does_not_start(self):
        self.start(worker="mute")
        future = self.caller.write_later({})
        self.caller.ping_front()  # it does not wait for the worker
        self.assertFalse(future.done())
        self.assert_exits(self.caller.front())
        self.assert_error(NO_REPLY, future)

    def test_at_once_when_a_second_worker_hangs(self):
        self.start(worker="mute")
        futures = [self.caller.write_later({}) for _ in range(20)]
        self.caller.ping_front()
        front = self.caller.front()
        front.send(signal.SIGTERM)
        front.wait()  # it would take 80 s to kill a worker for each request
        for future in futures:
            self.assert_error(NO_REPLY, future)


class SilentPlayerTest(HangTest):

    def clear_title(self, caller, endpoint):
        """Clears the long title of a copy, which takes a truncation. Returns the reply and the time
        that it took."""
        path = self.copy("ape_tagged.ape")
        self.assertTrue(self.set(self.other, path, "long " * 1000))
        request = change("title", None, str(path))
        request["truncateconnection"] = GLib.Variant("h", 1)
        start = time.monotonic()
        with open(path, "rb+") as file:
            reply = caller.write_later(request, [file, endpoint.theirs]).result(DEADLINE)
        return reply.unpack()[0], time.monotonic() - start

    def test_is_given_the_full_time_once(self):
        self.start()
        incomplete = {"path": str(self.ape), "result": True, "incomplete": True}
        with TruncationEndpoint(keep_silent) as first, TruncationEndpoint(keep_silent) as second, \
                TruncationEndpoint() as third:
            reply, full_time = self.clear_title(self.caller, first)
            self.assertEqual(reply, incomplete)
            worker = self.worker()
            reply, short_time = self.clear_title(self.caller, second)
            self.assertEqual(reply, incomplete)
            self.assertLess(short_time, full_time / 2)
            reply, _ = self.clear_title(self.caller, third)
            self.assertEqual(reply, {"path": str(self.ape), "result": True})
            self.assertEqual(self.worker().pid, worker.pid)


if __name__ == "__main__":
    unittest.main()
