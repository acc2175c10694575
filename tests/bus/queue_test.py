"""One request at a time, in the order of arrival, however many there are."""

import resource
import signal
import subprocess
import time
import unittest

import mutagen

from bus_support import BusTest, HeldRequest, TruncationEndpoint, change, result, text
from processes import DEADLINE, Process, children_of, wait_for
from session import FRONT, GLib
from truncation import shorten


class OrderTest(BusTest):

    def setUp(self):
        super().setUp()
        self.bus = self.start_bus((FRONT, "--idle", "1"))
        self.caller = self.bus.caller()

    def test_is_that_of_arrival_for_one_caller(self):
        held, path = self.copy("ape_tagged.ape"), self.copy("mp3_plain.mp3")
        answered = []
        with HeldRequest(self.caller, held) as first:
            futures = [self.set_later(self.caller, path, str(i)) for i in range(50)]
            for i, future in enumerate(futures):
                future.add_done_callback(lambda _, i=i: answered.append(i))
            self.caller.ping_front()  # all have arrived
            self.assertEqual(answered, [])
            self.assertTrue(first.finish())
        self.assertTrue(all(result(future.result(DEADLINE)) for future in futures))
        self.assertEqual(answered, list(range(50)))
        self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "49")

    def test_is_that_of_arrival_for_all_callers(self):
        callers = [self.bus.caller() for _ in range(4)]
        files = [self.copy("wavpack_tagged.wv", f"{i}.wv") for i in range(12)]
        worked, endpoints, futures = [], [], []

        def answer_as(i):
            def answer(call):
                worked.append(i)
                return shorten(call)
            return answer

        with HeldRequest(self.caller, self.copy("ape_tagged.ape")) as first:
            for i, path in enumerate(files):
                caller = callers[i * i % 4]
                endpoints.append(TruncationEndpoint(answer_as(i)))
                request = change("title", None, str(path))
                request["truncateconnection"] = GLib.Variant("h", 1)
                with open(path, "rb+") as file:
                    futures.append(caller.write_later(request, [file, endpoints[-1].theirs]))
                caller.ping_front()  # it has arrived
            self.assertEqual(worked, [])
            self.assertTrue(first.finish())
        self.assertTrue(all(result(future.result(DEADLINE)) for future in futures))
        for endpoint in endpoints:
            endpoint.__exit__()
        self.assertEqual(worked, list(range(12)))

    def test_goes_on_without_a_caller_that_has_left(self):
        leaving = self.bus.caller()
        held, path = self.copy("ape_tagged.ape"), self.copy("mp3_plain.mp3")
        with HeldRequest(leaving, held) as first:
            self.set_later(leaving, path, "Of the one who left")
            leaving.ping_front()
            leaving.close()
            later = self.set_later(self.caller, path, "Last")
            self.caller.ping_front()
            first.let_go.set()
            self.assertTrue(result(later.result(DEADLINE)))
        self.assertEqual(str(mutagen.File(path).tags["TIT2"]), "Last")
        self.assertNotIn("Title", mutagen.File(held).tags)

    def test_keeps_the_front_answering_while_the_worker_works(self):
        with HeldRequest(self.caller, self.copy("ape_tagged.ape")) as held:
            for _ in range(3):
                self.bus.caller().ping_front()
            self.assertFalse(held.future.done())
            self.assertTrue(held.finish())

    def test_a_long_request_is_no_idleness(self):
        owners = self.caller.watch_owners()
        with HeldRequest(self.caller, self.copy("ape_tagged.ape")) as held:
            front = self.caller.front()
            # Longer than the front stays when it has nothing to do.
            self.assertFalse(front.ended(within=2.5))
            self.assertTrue(held.finish())
        self.assertEqual(len(owners), 1)


class DescriptorTest(BusTest):

    def test_do_not_pile_up(self):
        bus = self.start_bus()
        caller = bus.caller()
        path, ape = self.copy("mp3_plain.mp3"), self.copy("ape_tagged.ape")

        def one_round(i):
            self.assertTrue(self.set(caller, path, str(i)))
            self.assertFalse(self.set(caller, path, "refused", field="cueSheet"))
            self.assertTrue(self.set(caller, ape, str(i)))
            request = change("title", None, str(ape))
            request["truncateconnection"] = GLib.Variant("h", 1)
            with TruncationEndpoint() as endpoint, open(ape, "rb+") as file:
                reply = caller.write(request, [file, endpoint.theirs])
                self.assertTrue(reply["result"].get_boolean())
                self.assertEqual(len(endpoint.calls), 1)
            self.assertFalse(caller.write({})["result"].get_boolean())

        def open_descriptors():
            caller.ping_front()
            front = caller.front()
            workers = [Process(pid) for pid in children_of(front.pid)]
            return front.descriptors(), [worker.descriptors() for worker in workers]

        one_round(0)
        before = open_descriptors()
        for i in range(1, 25):
            one_round(i)
        # The last request's own may be on their way out when its answer is here.
        wait_for(lambda: open_descriptors() == before, "as many open descriptors as at first")


class CrowdTest(BusTest):
    """More requests than the front may have descriptors for: it reads on when there is room."""

    SIZE = 900
    # Enough for all that is on its way to the front, but not for a whole crowd.
    POOR_FRONT = ("/usr/bin/prlimit", "--nofile=1024:1024", FRONT)

    def setUp(self):
        super().setUp()
        self.path = self.copy("mp3_plain.mp3")
        self.answered = []

    def send_crowd(self, caller):
        """Sends SIZE requests with two descriptors each; returns their futures. The titles are their
        numbers."""
        futures = []
        with open(self.path, "rb+") as file:
            for i in range(self.SIZE):
                request = change("title", text(str(i)), str(self.path))
                request["truncateconnection"] = GLib.Variant("h", 1)
                futures.append(caller.write_later(request, [file, file]))
                futures[-1].add_done_callback(lambda _, i=i: self.answered.append(i))
                if i % 50 == 0:
                    caller.connection.flush_sync(None)  # we have a limit too
        return futures

    def assert_all_written(self, futures):
        """All are answered with true, in order."""
        self.assertEqual([result(future.result(DEADLINE)) for future in futures],
                         [True] * len(futures))
        self.assertEqual(self.answered, list(range(self.SIZE)))
        self.assertEqual(str(mutagen.File(self.path).tags["TIT2"]), str(self.SIZE - 1))

    def wait_until_full(self, front):
        """Waits until the front has at least 64 requests of a crowd."""
        wait_for(lambda: front.descriptors().count(str(self.path)) >= 128, "the front takes requests")

    def test_behind_a_held_request(self):
        bus = self.start_bus(self.POOR_FRONT)
        caller, other = bus.caller(), bus.caller()
        owners, workers = caller.watch_owners(), set()
        with HeldRequest(other, self.copy("ape_tagged.ape")) as held:
            front = caller.front()
            futures = self.send_crowd(caller)
            caller.ask_daemon("GetId")  # the daemon has them all
            self.wait_until_full(front)
            self.assertEqual(self.answered, [])
            self.assertTrue(held.finish())

            def all_done():
                workers.update(children_of(front.pid))
                return all(future.done() for future in futures)

            wait_for(all_done, "all answers")
        self.assert_all_written(futures)
        self.assertEqual((len(owners), len(workers)), (1, 1))
        self.assertEqual(caller.front().pid, front.pid)

    def test_before_the_front_has_started(self):
        start = self.directory / "start"
        bus = self.start_bus(("/bin/sh", "-c", f"while [ ! -e {start} ]; do sleep 0.01; done;"
                              f" exec {' '.join(map(str, self.POOR_FRONT))}"))
        caller = bus.caller()
        owners = caller.watch_owners()
        futures = self.send_crowd(caller)
        caller.ask_daemon("GetId")
        start.touch()
        self.assert_all_written(futures)
        self.assertEqual(len(owners), 1)

    def test_while_it_is_asked_to_leave(self):
        bus = self.start_bus(self.POOR_FRONT)
        caller, other = bus.caller(), bus.caller()
        owners = caller.watch_owners()
        with HeldRequest(other, self.copy("ape_tagged.ape")) as held:
            front = caller.front()
            futures = self.send_crowd(caller)
            self.wait_until_full(front)
            front.send(signal.SIGTERM)
            self.assertTrue(held.finish())
        self.assert_all_written(futures)
        front.wait()
        wait_for(lambda: len(owners) == 2, "the name is released")
        self.assertEqual(owners[1], "")

    def test_that_lies_in_wait_when_it_is_asked_to_leave(self):
        bus = self.start_bus(self.POOR_FRONT)
        caller = bus.caller()
        owners = caller.watch_owners()
        caller.ping_front()
        front = caller.front()
        front.send(signal.SIGSTOP)
        futures = self.send_crowd(caller)
        caller.ask_daemon("GetId")
        front.send(signal.SIGTERM)
        front.send(signal.SIGCONT)
        self.assert_all_written(futures)
        front.wait()
        wait_for(lambda: len(owners) == 2, "the name is released")

    def test_that_comes_while_the_name_is_given_up(self):
        first, start = self.directory / "first", self.directory / "start"
        # The first front starts at once, its successor later.
        bus = self.start_bus(("/bin/sh", "-c", f"if ! mkdir {first}; then"
                              f" while [ ! -e {start} ]; do sleep 0.01; done; fi;"
                              f" exec {' '.join(map(str, self.POOR_FRONT))}"))
        caller, others = bus.caller(), [bus.caller() for _ in range(14)]
        owners = caller.watch_owners()
        caller.ping_front()
        front = caller.front()
        early_path = self.copy("mp3_plain.mp3", "early.mp3")
        bus.pause()
        try:
            # More than the front lets wait, and it has to read on to hear that the name is gone.
            early = [self.set_later(other, early_path, "Early") for other in others * 6]
            for other in others:
                other.connection.flush_sync(None)
            front.send(signal.SIGTERM)
            time.sleep(1)  # it has long since asked the bus to release the name
            front.send(signal.SIGSTOP)
        finally:
            bus.resume()
        for other in others:
            other.ask_daemon("GetId")
        # These wait for the successor, and come to this front when it has the name again first.
        futures = self.send_crowd(caller)
        caller.ask_daemon("GetId")
        front.send(signal.SIGCONT)
        wait_for(lambda: front.ended() or all(future.done() for future in futures), "all answers")
        self.assertEqual(set(owners) - {""}, {owners[0]})
        start.touch()
        self.assertTrue(all(result(future.result(DEADLINE)) for future in early))
        self.assert_all_written(futures)

    def test_when_the_bus_goes_away(self):
        bus = self.start_bus(front=None)
        process = subprocess.Popen(self.POOR_FRONT, env=bus.environment(),
                                   stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        self.addCleanup(self.end, process)
        caller, other = bus.caller(), bus.caller()
        wait_for(caller.owner, "the front owns its name")
        before = self.path.read_bytes()
        with HeldRequest(other, self.copy("ape_tagged.ape")) as held:
            self.send_crowd(caller)
            self.wait_until_full(caller.front())
            bus.close()
            held.let_go.set()
            _, errors = process.communicate(timeout=DEADLINE)
        self.assertEqual(process.returncode, 1, errors)
        # Nothing is done any more for those who wait: they know of the failure.
        self.assertEqual(self.path.read_bytes(), before)

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.communicate()

    def test_is_met_with_all_the_descriptors_that_the_system_allows(self):
        caller = self.start_bus(("/usr/bin/prlimit", "--nofile=256:1024", FRONT)).caller()
        self.assertTrue(self.set(caller, self.path, "One"))
        front = caller.front()
        for pid in [front.pid, *children_of(front.pid)]:
            self.assertEqual(resource.prlimit(pid, resource.RLIMIT_NOFILE), (1024, 1024))


if __name__ == "__main__":
    unittest.main()
