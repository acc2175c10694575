"""One request at a time, in the order of arrival."""

import unittest

import mutagen

from bus_support import BusTest, HeldRequest, TruncationEndpoint, change, result
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


if __name__ == "__main__":
    unittest.main()
