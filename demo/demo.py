"""Casts a screen to the bundled receiver and shows how it went.

usage: demo.py BUILD_FOLDER [--seconds N]

The receiver runs on loopback. A strip along the screen's upper edge shows the clock; the receiver
reads it back from the picture, which gives the delay from screen change to picture shown. In the end
the receiver's user types a line into an editor on the cast screen and double-clicks a word.
"""

import argparse
import json
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time

from desktop import Processes, start_virtual, usable_display

HUB = "127.0.0.2"
LINE = "Hello from the hub"
WORD = "Hello"


def say(text):
    print(text, flush=True)


class JsonLines:
    """Collects a program's JSON lines as they come."""

    def __init__(self, process):
        self.events = []
        self._changed = threading.Condition()
        self._ended = False
        threading.Thread(target=self._read, args=(process.stdout,), daemon=True).start()

    def _read(self, stream):
        for line in stream:
            with self._changed:
                self.events.append(json.loads(line))
                self._changed.notify_all()
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def wait(self, wanted, seconds):
        """The first event for which `wanted` holds; None when none comes in time."""
        deadline = time.monotonic() + seconds
        seen = 0
        with self._changed:
            while True:
                for event in self.events[seen:]:
                    if wanted(event):
                        return event
                seen = len(self.events)
                left = deadline - time.monotonic()
                if self._ended or left <= 0:
                    return None
                self._changed.wait(left)


def cpu_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def start_editor(processes, folder):
    """A small editor with a large font; returns its file and where its window is."""
    settings = folder / "home" / ".config" / "l3afpad"
    settings.mkdir(parents=True)
    (settings / "l3afpadrc").write_text("0.8.18.1.11\n760\n300\nMonospace 24\n0\n0\n0\n")
    document = folder / "hello.txt"
    document.write_text("")
    environment = dict(os.environ, HOME=str(folder / "home"), XDG_CONFIG_HOME=str(settings.parent),
                       GTK_OVERLAY_SCROLLING="0", NO_AT_BRIDGE="1")
    processes.start("l3afpad", str(document), env=environment, stderr=subprocess.DEVNULL)
    deadline = time.monotonic() + 60  # its first start on a busy machine takes long
    while time.monotonic() < deadline:
        found = subprocess.run(["xwininfo", "-name", document.name], capture_output=True, text=True,
                               timeout=10, check=False)
        if "IsViewable" in found.stdout:
            numbers = [int(re.search(label + r":\s+(-?\d+)", found.stdout).group(1)) for label in
                       ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]
            return document, numbers
        time.sleep(0.1)
    raise SystemExit("The editor showed no window within a minute. Try it by itself: l3afpad")


def write_script(path, window, screen, seconds):
    """What the hub's user does, in the hub's coordinates."""
    session = (1920, 1080) if screen[0] >= 1920 and screen[1] >= 1080 else screen

    def at(x, y):  # the computer scales a point by session size over screen size
        return (f"{round((window[0] + x) * screen[0] / session[0])} "
                f"{round((window[1] + y) * screen[1] / session[1])}")

    path.write_text(f"""# The hub's user types a line and double-clicks its first word.
sleep {seconds}
move {at(window[2] // 2, window[3] * 2 // 3)}
click left
sleep 0.5
text "{LINE}"
sleep 0.3
special 4 down
key s
special 4 up
sleep 0.7
move {at(40, 45)}
doubleclick left
sleep 1
""")


def primary_selection():
    """What is selected on the screen, as any program sees it."""
    code = ("import gi; gi.require_version('Gtk', '3.0'); from gi.repository import Gtk, Gdk; "
            "print(Gtk.Clipboard.get(Gdk.SELECTION_PRIMARY).wait_for_text() or '', end='')")
    result = subprocess.run(["/usr/bin/python3", "-W", "ignore", "-c", code], capture_output=True,
                            text=True, timeout=20, check=False)
    return result.stdout


def screen_size():
    text = subprocess.run(["xdpyinfo"], capture_output=True, text=True, timeout=10, check=True).stdout
    return tuple(int(n) for n in re.search(r"dimensions:\s+(\d+)x(\d+)", text).groups())


def delays(frames):
    """Milliseconds from the clock in a picture to the moment it was shown."""
    found = []
    previous = None
    for frame in frames:
        counter = frame.get("counter")
        if counter is None or counter == previous:
            continue
        previous = counter
        delay = (frame["time"] * 1000 - counter) % 2**32
        if delay < 10_000:
            found.append(delay)
    return sorted(found)


def report(frames, seconds, cpu):
    say("")
    say(f"  frames shown     {len(frames)}")
    say(f"  frame rate       {len(frames) / seconds:.1f} a second")
    found = delays(frames)
    if found:
        say(f"  delay            {statistics.median(found):.0f} ms median, "
            f"{found[int(len(found) * 0.95)]:.0f} ms 95th percentile, screen change to picture shown")
    for name, used in cpu.items():
        say(f"  CPU of {name:<11}{100 * used / seconds:.0f}% of one core")
    return bool(found)


def main():
    parser = argparse.ArgumentParser(prog="./dev demo", description=__doc__.split("\n")[0])
    parser.add_argument("build", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--seconds", type=float, default=8, help="how long to measure (default 8)")
    options = parser.parse_args()
    binaries = options.build / "bin"
    output = options.build.parent / "demo"
    output.mkdir(exist_ok=True)
    snapshot = (output / "snapshot.png").resolve()
    snapshot.unlink(missing_ok=True)

    with Processes() as processes, tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        virtual = not usable_display()
        if virtual:
            say("No display to cast: starting a virtual one.")
            start_virtual(processes)
        document, window = start_editor(processes, folder)
        processes.start(binaries / "pattern_window", "--strip")
        if virtual:
            processes.start(binaries / "pattern_window", "--geometry", "1100x340+410+715")
        script = folder / "script"
        write_script(script, window, screen_size(), options.seconds + 1)

        hub = processes.start(
            binaries / "tessel-hub", "--bind", HUB, "--name", "Demo", "--headless", "--json",
            "--frame-events", "--no-advertise", "--snapshot", snapshot, "--script", script,
            stdout=subprocess.PIPE, text=True)
        hub_events = JsonLines(hub)
        if not hub_events.wait(lambda e: e["event"] == "listening", 10):
            raise SystemExit("The receiver did not start: is another one running?")
        say(f"The receiver listens at {HUB}; casting the screen to it.")
        log = (output / "tessel.log").resolve()
        cast = processes.start(binaries / "tessel", "cast", HUB, "--json", "--log", log,
                               stdout=subprocess.PIPE, text=True)
        cast_events = JsonLines(cast)
        if not cast_events.wait(lambda e: e.get("state") == 2, 30):
            raise SystemExit(f"The screen could not be cast; {log} tells more.")

        say(f"Casting. Measuring for {options.seconds:.0f} s ...")
        time.sleep(0.5)  # start-up
        pids = {"tessel": cast.pid, "tessel-hub": hub.pid}
        before = {name: cpu_seconds(pid) for name, pid in pids.items()}
        first, began = len(hub_events.events), time.monotonic()
        time.sleep(options.seconds)
        last, lasted = len(hub_events.events), time.monotonic() - began
        cpu = {name: cpu_seconds(pid) - before[name] for name, pid in pids.items()}
        frames = [e for e in hub_events.events[first:last] if e["event"] == "frame" and e["shown"]]

        say("The hub's user types a line and double-clicks a word ...")
        played = hub_events.wait(lambda e: e["event"] == "script" and e["state"] == "finished", 30)
        selected = primary_selection()
        processes.stop(cast)
        processes.stop(hub)

        measured = report(frames, lasted, cpu)
        typed = document.read_text().strip()
        say(f"  typed            {'arrived' if typed == LINE else 'DID NOT ARRIVE'}: \"{typed}\"")
        say(f"  double click     {'selected' if selected == WORD else 'DID NOT SELECT'}: \"{selected}\"")
        say(f"  snapshot         {os.path.relpath(snapshot)}")
        fine = measured and played and typed == LINE and selected == WORD and snapshot.exists()
        return 0 if fine else 1


if __name__ == "__main__":
    sys.exit(main())
