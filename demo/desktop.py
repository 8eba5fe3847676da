"""A screen to cast: this machine's, or a virtual one where there is none."""

import os
import select
import shutil
import subprocess


class Processes:
    """Child processes that end, newest first, when the block does."""

    def __init__(self):
        self._running = []

    def start(self, *command, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        process = subprocess.Popen(command, **options)
        self._running.append(process)
        return process

    def stop(self, process, patience=5):
        if process.poll() is None:
            process.terminate()
            try:
                process.wait(patience)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        if process in self._running:
            self._running.remove(process)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(list(self._running)):
            self.stop(process)


def usable_display():
    """Whether DISPLAY names an X screen whose picture is the desktop's."""
    if os.environ.get("WAYLAND_DISPLAY") or os.environ.get("XDG_SESSION_TYPE") == "wayland":
        return False
    if not os.environ.get("DISPLAY"):
        return False
    return subprocess.run(["xdpyinfo"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          timeout=10, check=False).returncode == 0


def start_virtual(processes, size="1920x1080"):
    """Starts Xvfb with a window manager and points DISPLAY at it."""
    read_end, write_end = os.pipe()
    processes.start("Xvfb", "-displayfd", str(write_end), "-screen", "0", size + "x24",
                    "-nolisten", "tcp", "-noreset", pass_fds=[write_end], stderr=subprocess.DEVNULL)
    os.close(write_end)
    ready, _, _ = select.select([read_end], [], [], 20)
    with os.fdopen(read_end) as answer:  # the server ends when it cannot write the whole line
        number = answer.readline().strip() if ready else ""
    if not number:
        raise SystemExit("The virtual screen (Xvfb) did not start.")
    os.environ["DISPLAY"] = ":" + number
    for name in ("WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "XAUTHORITY"):
        os.environ.pop(name, None)
    subprocess.run(["xsetroot", "-solid", "#28465a"], check=False)
    if shutil.which("openbox"):
        processes.start("openbox", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
