"""A worker that dies: one caller hears of it, nobody else."""

import os
import signal
import unittest

import mutagen

from bus_support import NO_REPLY, STAND_IN, BusTest, HeldRequest, RemoteError, result
from processes import DEADLINE, Process, children_of, wait_for
from session import GLib

VICTIM = "org.tagwriter.Victim"


class KilledTest(BusTest):

    def setUp(self):
        super().setUp()
        self.bus = self.start_bus()
        self.caller = self.bus.caller()

    def worker(self):
        """The one worker of the front."""
        workers = children_of(self.caller.front().pid)
        self.assertEqual(list(workers.values()), ["tagwriterd"])
        return Process(list(workers)[0])

    def test_in_the_middle_of_a_request(self):
        others = [self.bus.caller() for _ in range(3)]
        files = [self.copy("mp3_plain.mp3", f"{i}.mp3") for i in range(6)]
        owners = self.caller.watch_owners()
        with HeldRequest(self.caller, self.copy("ape_tagged.ape")) as held:
            front, worker = self.caller.front(), self.worker()
            waiting = [self.set_later(others[i % 3], path, str(i)) for i, path in enumerate(files)]
            for other in others:
                other.ping_front()
            worker.send(signal.SIGKILL)
            self.assert_error(NO_REPLY, held.future)
            self.assertTrue(all(result(future.result(DEADLINE)) for future in waiting))
        for i, path in enumerate(files):
            self.assertEqual(str(mutagen.File(path).tags["TIT2"]), str(i))
        self.assertEqual(self.caller.front().pid, front.pid)
        self.assertEqual(len(owners), 1)
        self.assertNotEqual(self.worker().pid, worker.pid)

    def test_again_and_again(self):
        path = self.copy("ape_tagged.ape")
        for i in range(5):
            self.assertTrue(self.set(self.caller, path, f"{i}" * 100))
            with HeldRequest(self.caller, path) as held:
                self.worker().send(signal.SIGKILL)
                self.assert_error(NO_REPLY, held.future)
            path = self.copy("ape_tagged.ape")
        self.assertTrue(self.set(self.caller, path, "Last"))

    def test_between_two_requests(self):
        path = self.copy("mp3_plain.mp3")
        for i in range(5):
            self.assertTrue(self.set(self.caller, path, f"{i}"))
            worker = self.worker()
            worker.send(signal.SIGKILL)
            worker.wait()
            # The front has waited for it, so it knows.
            wait_for(lambda: not os.path.exists(f"/proc/{worker.pid}"), "the front notices")
        self.assertTrue(self.set(self.caller, path, "Last"))
        self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "Last")


class StandInTest(BusTest):
    """Workers that misbehave in ways that the real one hardly can."""

    def start(self, how, target="", services=()):
        environment = {"STAND_IN": how, "STAND_IN_TARGET": target}
        self.bus = self.start_bus((self.front_with(STAND_IN),), services, environment)
        self.caller = self.bus.caller()

    def answers(self, futures):
        """The result or the error's name of each."""
        found = []
        for future in futures:
            try:
                found.append(result(future.result(DEADLINE)))
            except RemoteError as error:
                found.append(error.name)
        return found

    def test_that_die_at_each_request(self):
        self.start("dies")
        futures = [self.caller.write_later({}) for _ in range(5)]
        self.assertEqual(self.answers(futures), [NO_REPLY] * 5)

    def test_that_die_after_each_answer(self):
        self.start("answers-once")
        for _ in range(5):
            self.assertEqual(self.answers([self.caller.write_later({})]), [True])
            wait_for(lambda: not children_of(self.caller.front().pid), "the worker's end")

    def test_that_answer_with_an_error(self):
        self.start("refuses")
        futures = [self.caller.write_later({}) for _ in range(2)]
        self.assertEqual(self.answers(futures), ["org.tagwriter.Test.Refused"] * 2)

    def test_that_want_to_reach_the_bus(self):
        # What a front must never do: pass a worker's call on.
        started = self.directory / "started"
        self.start("calls", VICTIM, [(VICTIM, f'/bin/sh -c "touch {started}; exit 1"')])
        self.assertEqual(self.answers([self.caller.write_later({})]), [NO_REPLY])
        self.caller.ping_front()  # whatever the front has sent has reached the bus
        self.assertFalse(started.exists())
        self.assertNotIn(VICTIM, self.bus.log())
        # It could have been started.
        with self.assertRaises(RemoteError):
            self.caller.ask_daemon("StartServiceByName", GLib.Variant("(su)", (VICTIM, 0)))
        self.assertTrue(started.exists())

    def test_that_do_not_speak_and_do_not_leave(self):
        self.start("babbles")
        futures = [self.caller.write_later({}) for _ in range(2)]
        self.assertEqual(self.answers(futures), [NO_REPLY] * 2)
        self.assertEqual(children_of(self.caller.front().pid), {})

    def test_that_cannot_be_started(self):
        self.start("dies")
        (self.directory / "programs" / "tagwriterd").write_text("no program")
        path = self.copy("mp3_plain.mp3")
        self.assertEqual(self.answers([self.set_later(self.caller, path, "T")]), [NO_REPLY])
        self.caller.ping_front()


if __name__ == "__main__":
    unittest.main()
