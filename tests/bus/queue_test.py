"""One request at a time, in order of arrival, however many there are, and nothing lost on exit."""

import resource
import signal
import unittest

from bus_support import BusTest, HeldRequest, TruncationEndpoint, change, result, text
from player import GLib
from processes import DEADLINE, Process, children_of, wait_for
from session import BUS_NAME, FRONT
from truncation import shorten

HANDLE = GLib.Variant("h", 1)


class QueueTest(BusTest):

    def setUp(self):
        super().setUp()
        self.path, self.ape = self.copy("mp3_plain.mp3"), self.copy("ape_tagged.ape")

    def start(self, *front, environment=None):
        self.bus = self.start_bus(front or (FRONT,), environment)
        self.caller, self.other = self.bus.caller(), self.bus.caller()
        self.owners = self.caller.watch_owners()

    def assert_true(self, futures):
        results = [result(future.result(DEADLINE)) for future in futures]
        self.assertEqual(results, [True] * len(futures))


class OrderTest(QueueTest):

    def test_is_that_of_arrival(self):
        self.start(FRONT, "--idle", "1")
        processed, endpoints, futures = [], [], []

        def record(i):
            return lambda call: processed.append(i) or shorten(call)

        with HeldRequest(self.caller, self.ape) as held:
            front = self.caller.front()
            for i in range(12):
                caller = (self.caller, self.other)[i * i % 3]
                path = self.copy("wavpack_tagged.wv", f"{i}.wv")
                endpoints.append(TruncationEndpoint(record(i)))
                request = change("title", None, str(path)) | {"truncateconnection": HANDLE}
                with open(path, "rb+") as file:
                    futures.append(caller.write_later(request, [file, endpoints[-1].theirs]))
                caller.ping_front()  # it has arrived; the front replies while the worker is busy
            leaving = self.bus.caller()
            self.set_later(leaving, self.path, "By a caller that has left")
            leaving.ping_front()
            leaving.disconnect()
            futures.append(self.set_later(self.caller, self.path, "Last"))
            # Longer than the front waits when it is idle, and it has been pinged meanwhile.
            self.assertFalse(front.ended(within=2.5))
            self.assertEqual(processed, [])
            self.assertTrue(held.finish())
        self.assert_true(futures)
        for endpoint in endpoints:
            endpoint.__exit__()
        self.assertEqual((processed, self.title(self.path)), (list(range(12)), "Last"))
        self.assertEqual(len(self.owners), 1)

    def test_leaves_no_descriptors(self):
        self.start()

        def one_round(i):
            self.assertTrue(self.set(self.caller, self.path, str(i)))
            self.assertFalse(self.set(self.caller, self.path, "refused", field="cueSheet"))
            self.assertTrue(self.set(self.caller, self.ape, str(i)))
            with HeldRequest(self.caller, self.ape) as held:
                self.assertTrue(held.finish())

        def open_descriptors():
            self.caller.ping_front()
            front = self.caller.front()
            processes = [front, *map(Process, children_of(front.pid))]
            return [process.descriptors() for process in processes]

        one_round(0)
        before = open_descriptors()
        for i in range(1, 10):
            one_round(i)
        # The last request's descriptors may still be being closed.
        wait_for(lambda: open_descriptors() == before, "as many descriptors are open as at first")


class CrowdTest(QueueTest):
    """More requests than the front may have descriptors for: the rest waits in the bus daemon."""

    SIZE = 900
    # Enough for the requests on their way to the front, but not for all of them.
    FRONT = ("/usr/bin/prlimit", "--nofile=1024:1024", FRONT)

    def send_crowd(self):
        """Sends SIZE requests with two descriptors each; their titles are their numbers."""
        self.replied, self.futures = [], []
        with open(self.path, "rb+") as file:
            for i in range(self.SIZE):
                request = change("title", text(str(i)), str(self.path))
                request["truncateconnection"] = HANDLE
                self.futures.append(self.caller.write_later(request, [file, file]))
                self.futures[-1].add_done_callback(lambda _, i=i: self.replied.append(i))
                if i % 50 == 0:
                    self.caller.connection.flush_sync(None)  # our descriptors are limited too

    def wait_until_full(self, front):
        wait_for(lambda: front.descriptors().count(str(self.path)) >= 128, "the queue is full")

    def assert_all_written(self):
        self.assert_true(self.futures)
        self.assertEqual(self.replied, list(range(self.SIZE)))
        self.assertEqual(self.title(self.path), str(self.SIZE - 1))

    def test_behind_a_held_request_and_on_exit(self):
        self.start(*self.FRONT)
        with HeldRequest(self.other, self.ape) as held:
            front = self.caller.front()
            worker = children_of(front.pid)
            self.send_crowd()
            self.wait_until_full(front)
            front.send(signal.SIGTERM)
            front.send(signal.SIGTERM)
            self.assertTrue(held.finish())
            wait_for(self.futures[-1].done, "the last reply")
            self.assertLessEqual(children_of(front.pid).keys(), worker.keys())
        self.assert_all_written()
        front.wait()
        wait_for(lambda: len(self.owners) == 2, "the name is released")
        self.assertEqual(self.owners[1], "")

    def test_before_the_front_has_started(self):
        start = self.directory / "start"
        self.start("/bin/sh", "-c", f"while [ ! -e {start} ]; do sleep 0.01; done;"
                   f" exec {' '.join(map(str, self.FRONT))}")
        self.send_crowd()
        self.caller.ask_daemon("GetId")
        start.touch()
        self.assert_all_written()
        self.assertEqual(len(self.owners), 1)

    def test_in_its_socket_when_it_is_asked_to_exit(self):
        self.start(*self.FRONT)
        self.caller.ping_front()
        front = self.caller.front()
        front.send(signal.SIGSTOP)
        self.send_crowd()
        self.caller.ask_daemon("GetId")
        front.send(signal.SIGTERM)
        front.send(signal.SIGCONT)
        self.assert_all_written()
        front.wait()

    def test_when_the_bus_disconnects(self):
        self.start(*self.FRONT)
        before = self.path.read_bytes()
        with HeldRequest(self.other, self.ape) as held:
            self.send_crowd()
            front = self.caller.front()
            self.wait_until_full(front)
            self.bus.daemon.terminate()
            self.bus.daemon.wait(DEADLINE)
            held.released.set()
            front.wait()
        self.assertIn("tagwriter-bus: the bus closed the connection\n", self.bus.log())
        # The callers that wait know of the failure, so nothing more is done for them.
        self.assertEqual(self.path.read_bytes(), before)

    def test_has_all_the_descriptors_that_the_system_allows(self):
        self.start("/usr/bin/prlimit", "--nofile=256:1024", FRONT)
        self.assertTrue(self.set(self.caller, self.path, "One"))
        front = self.caller.front()
        for pid in [front.pid, *children_of(front.pid)]:
            self.assertEqual(resource.prlimit(pid, resource.RLIMIT_NOFILE), (1024, 1024))


class NameTest(QueueTest):
    """A front that releases its name must not write beside its successor."""

    def test_a_request_for_the_same_file_waits_for_the_one_that_is_processed(self):
        self.start()
        with HeldRequest(self.caller, self.ape) as held:
            front = self.caller.front()
            front.send(signal.SIGTERM)
            second = self.set_later(self.other, self.ape, "Second", field="composer")
            self.other.ping_front()
            self.assertFalse(second.done())
            self.assertTrue(held.finish())
            self.assert_true([second])
        front.wait()
        self.assertTrue(self.set(self.caller, self.path, "By a successor"))
        self.assertNotEqual(self.caller.front().pid, front.pid)

    def test_requests_that_come_after_the_release_wait_until_it_owns_the_name_again(self):
        self.start()
        self.caller.ping_front()
        front, unique = self.caller.front(), self.caller.owner()
        self.bus.pause()
        try:
            front.send(signal.SIGTERM)
            wait_for(lambda: front.is_idle_after(signal.SIGTERM), "the front waits for its release")
            front.send(signal.SIGSTOP)
        finally:
            self.bus.resume()
        # We succeed it. The requests arrive before it reads that it no longer owns the name.
        name = GLib.Variant("(su)", (BUS_NAME, 0))
        self.assertEqual(self.other.ask_daemon("RequestName", name), 1)
        futures = []
        for i in range(100):  # more than its queue holds
            with open(self.path, "rb+") as file:
                request = change("title", text(str(i)), str(self.path))
                futures.append(self.caller.write_later(request, [file], destination=unique))
        self.caller.ask_daemon("GetId")
        front.send(signal.SIGCONT)
        self.caller.ping_front(unique)
        self.assertEqual(children_of(front.pid), {}, "it forwards a request without the name")
        self.other.ask_daemon("ReleaseName", GLib.Variant("(s)", (BUS_NAME,)))
        self.assert_true(futures)
        self.assertEqual(self.title(self.path), "99")
        front.wait()


if __name__ == "__main__":
    unittest.main()
