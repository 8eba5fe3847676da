"""A virtual X screen for a test, with something on it."""

import os
import select
import subprocess


class Screen:
    """Xvfb for as long as the block lasts; `env` makes programs use it."""

    def __init__(self, size="1280x720", depth=24):
        read_end, write_end = os.pipe()
        self._server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{size}x{depth}", "-nolisten",
             "tcp", "-noreset"], pass_fds=[write_end], stdin=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(write_end)
        ready, _, _ = select.select([read_end], [], [], 30)
        with os.fdopen(read_end) as answer:  # the server ends when it cannot write the whole line
            number = answer.readline().strip() if ready else ""
        if not number:
            self._server.kill()
            self._server.wait()
            raise TimeoutError("Xvfb did not start")
        self.env = {"DISPLAY": ":" + number, "WAYLAND_DISPLAY": "", "XDG_SESSION_TYPE": "x11"}
        self._clients = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for client in self._clients:
            client.terminate()
            client.wait(10)
        self._server.terminate()
        self._server.wait(10)

    def start(self, *command):
        """A client that runs until the screen goes."""
        self._clients.append(subprocess.Popen(
            command, env=dict(os.environ, **self.env), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))

    def picture(self, path):
        """Writes what the screen shows now as PNG."""
        subprocess.run(["ffmpeg", "-y", "-loglevel", "error", "-f", "x11grab", "-draw_mouse", "0",
                        "-i", self.env["DISPLAY"], "-frames:v", "1", path], check=True, timeout=60)
