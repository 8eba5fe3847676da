"""Runs the real tessel-hub for a test and reads its events."""

import json
import queue
import subprocess
import threading
import time


class Hub:
    """A tessel-hub of its own, on a loopback address of its own.

    Every wait is bounded: it raises TimeoutError, with the events so far, when its time is up.
    """

    def __init__(self, program, address, *options, env=None):
        self.address = address
        self.events = []
        self._arrived = queue.Queue()
        self._process = subprocess.Popen(
            [program, "--bind", address, "--json", "--no-advertise", *options],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=env)
        self._readers = [threading.Thread(target=self._read_events, daemon=True),
                         threading.Thread(target=self._read_complaints, daemon=True)]
        self.complaints = []
        for reader in self._readers:
            reader.start()

    def __enter__(self):
        self.listening = self.wait_for("listening")
        return self

    def __exit__(self, *_):
        self.stop()

    def _read_events(self):
        for line in self._process.stdout:
            self._arrived.put(json.loads(line))
        self._arrived.put(None)

    def _read_complaints(self):
        for line in self._process.stderr:
            self.complaints.append(line)

    def wait_for(self, event, timeout=15, **fields):
        """The next event of this name that has these fields."""
        deadline = time.monotonic() + timeout
        while True:
            try:
                arrived = self._arrived.get(timeout=max(0.0, deadline - time.monotonic()))
            except queue.Empty:
                raise TimeoutError(
                    f"no event {event} {fields} within {timeout} s; events: {self.events[-20:]}, "
                    f"complaints: {self.complaints}") from None
            if arrived is None:
                self._arrived.put(None)
                raise EOFError(f"tessel-hub ended before {event} {fields}; events: "
                               f"{self.events[-20:]}, complaints: {self.complaints}")
            self.events.append(arrived)
            if arrived["event"] == event and all(arrived.get(k) == v for k, v in fields.items()):
                return arrived

    def signal(self, number):
        self._process.send_signal(number)

    def stop(self):
        """Ends it as a user would; its exit code."""
        if self._process.poll() is None:
            self._process.terminate()
        return self.exit_code()

    def exit_code(self, timeout=15):
        """Of a hub that ends by itself or after a signal. (A second signal could kill it, once it no
        longer handles signals.)"""
        try:
            self._process.wait(timeout)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
            raise TimeoutError("tessel-hub did not end") from None
        for reader in self._readers:
            reader.join(timeout)
        self._process.stdout.close()
        self._process.stderr.close()
        return self._process.returncode

    def remaining_events(self):
        """After the end: all events, also those not waited for."""
        while True:
            arrived = self._arrived.get(timeout=5)
            if arrived is None:
                return self.events
            self.events.append(arrived)
