"""Runs the real tessel for a test and reads its events."""

import json
import os
import queue
import subprocess
import threading
import time


class Caster:
    """`tessel cast` with --json. Every wait is bounded."""

    def __init__(self, program, *arguments, env=None):
        self.events = []
        self.complaints = ""
        self._arrived = queue.Queue()
        self.process = subprocess.Popen(
            [program, "cast", "--json", *arguments], stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True, env=dict(os.environ, **(env or {})))
        self._readers = [threading.Thread(target=self._read_events, daemon=True),
                         threading.Thread(target=self._read_complaints, daemon=True)]
        for reader in self._readers:
            reader.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def _read_events(self):
        for line in self.process.stdout:
            self._arrived.put(json.loads(line))
        self._arrived.put(None)

    def _read_complaints(self):
        for line in self.process.stderr:
            self.complaints += line

    def wait_for(self, event, timeout=30, **fields):
        """The next event of this name that has these fields."""
        deadline = time.monotonic() + timeout
        while True:
            try:
                arrived = self._arrived.get(timeout=max(0.0, deadline - time.monotonic()))
            except queue.Empty:
                raise TimeoutError(f"no event {event} {fields} within {timeout} s; events: "
                                   f"{self.events}, complaints: {self.complaints}") from None
            if arrived is None:
                self._arrived.put(None)
                raise EOFError(f"tessel ended before {event} {fields}; events: {self.events}, "
                               f"complaints: {self.complaints}")
            self.events.append(arrived)
            if arrived["event"] == event and all(arrived.get(k) == v for k, v in fields.items()):
                return arrived

    def connected(self):
        self.wait_for("state", state=2)
        return self

    def exit_code(self, timeout=60):
        """Waits until it ends by itself."""
        code = self.process.wait(timeout)
        for reader in self._readers:
            reader.join(timeout)
        while (arrived := self._arrived.get(timeout=5)) is not None:
            self.events.append(arrived)
        self._arrived.put(None)
        return code

    def end(self, timeout=30):
        """Ends it as a user would; its exit code."""
        if self.process.poll() is None:
            self.process.terminate()
        try:
            self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise TimeoutError("tessel did not end when asked to") from None
        for reader in self._readers:
            reader.join(timeout)
        self.process.stdout.close()
        self.process.stderr.close()
        return self.process.returncode
