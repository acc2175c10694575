"""Damaged files and messages for one program, over a socketpair."""

import collections
import os
import random
import shutil
import signal
import socket
from dataclasses import dataclass
from pathlib import Path
from typing import Callable

from damage import any_change, any_question, damaged_call, mutated
from growth import Growth
from player import TAGREADERD, TAGWRITERD, Service
from support import AUDIO_FILES, DATA, contents
from wire import ping_blob, read_blob, receive_until, shake_hands, write_blob


@dataclass
class Program:
    """What is sent damaged files and messages."""
    path: str
    any_request: Callable
    blob: Callable
    mode: str  # in which its files are opened


PROGRAMS = (Program(TAGWRITERD, any_change, write_blob, "rb+"),
            Program(TAGREADERD, any_question, read_blob, "rb"))


class PrivateProcess:
    """A process that is replaced when it is gone."""

    def __init__(self, program):
        self.program = program
        self.deaths, self.failures = collections.Counter(), []
        self.start()

    def start(self):
        self.service = Service(program=self.program.path)
        shake_hands(self.service.socket)
        self.descriptors, self.memory = sorted(self.service.descriptors()), Growth()

    def ask(self, data, fds, seed, request=True):
        """Sends it and a ping; whether both are answered. Otherwise starts another process."""
        ours = self.service.socket
        try:
            sent = socket.send_fds(ours, [data], fds)
            ours.sendall(data[sent:] + ping_blob(2))
            if not request:
                ours.shutdown(socket.SHUT_WR)  # it may claim to be longer than it is
            if 2 in receive_until(ours, 2) and request:
                return True
        except (BrokenPipeError, ConnectionResetError):
            pass
        except TimeoutError:
            self.failures.append(f"seed {seed}: no answer")
            os.kill(self.service.pid, signal.SIGKILL)
        self.end(seed)
        self.start()
        return False

    def end(self, seed):
        """Closes it, and notes how it ended."""
        self.service.socket.close()
        code = self.service.wait()
        if code not in (0, 1):
            self.deaths[signal.Signals(-code).name] += 1
            print(f"  seed {seed}: {signal.Signals(-code).name}", flush=True)
        if code == -signal.SIGSYS:
            self.failures.append(f"seed {seed}: a system call that the policy does not have")
        self.service.close()

    def finish(self):
        """Ends the last process. Returns the failures of all."""
        self.end("last")
        print(f"  ended by signals: {dict(self.deaths) or 'none'}", flush=True)
        return self.failures

    def check(self, seed):
        """No descriptor is kept, and memory does not grow."""
        if sorted(self.service.descriptors()) != self.descriptors:
            self.failures.append(f"seed {seed}: {self.service.descriptors()} are open")
            self.descriptors = sorted(self.service.descriptors())
        if grown := self.memory.beyond_limit(self.service.pid):
            self.failures.append(f"seed {seed}: it has grown to {grown} bytes")


def send_files(program, directory, seeds):
    """Sends a damaged file for each seed. Prints which signals ended the process, and returns what
    should not have happened."""
    process = PrivateProcess(program)
    originals = {name: contents(Path(DATA, name)) for name in AUDIO_FILES}
    for seed in seeds:
        generator = random.Random(f"file {seed}")
        name = generator.choice(AUDIO_FILES)
        path = Path(directory, name)
        path.write_bytes(mutated(originals[name], generator))
        with open(path, program.mode) as file:
            request = program.blob(program.any_request(generator, str(path)), 1, [file])
            if process.ask(request, [file.fileno()], seed):
                process.check(seed)
    return process.finish()


def send_messages(program, directory, seeds):
    """The same with a damaged message for each seed, which must not end the process by a signal."""
    process = PrivateProcess(program)
    path = shutil.copy(Path(DATA, "mp3_plain.mp3"), directory)
    for seed in seeds:
        generator = random.Random(f"message {seed}")
        with open(path, program.mode) as file:
            data = damaged_call(generator, program.any_request(generator, path),
                                lambda request: program.blob(request, 1, [file]))
            process.ask(data, [file.fileno()], seed, request=False)
    failures = process.finish()
    return failures + [f"{number} {name}" for name, number in process.deaths.items()]
