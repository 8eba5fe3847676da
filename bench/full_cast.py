"""A whole cast at 1920x1080 of an X screen that changes all the time, receiver on the same machine.

usage: full_cast.py BUILD_FOLDER [SECONDS]

Prints the frames shown and missed, and the processor time of both programs; then the same for a
screen that stands still.
"""

import pathlib
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "demo"))
from demo import JsonLines, cpu_seconds  # noqa: E402
from desktop import Processes, start_virtual  # noqa: E402

HUB = "127.0.0.3"
START_UP = 2


def measure(binaries, seconds, moving):
    with Processes() as processes:
        start_virtual(processes)
        if moving:
            processes.start(binaries / "scrolling_page")
        hub = processes.start(binaries / "tessel-hub", "--bind", HUB, "--headless", "--json",
                              "--frame-events", "--no-advertise", stdout=subprocess.PIPE, text=True)
        received = JsonLines(hub)
        if not received.wait(lambda e: e["event"] == "listening", 10):
            raise SystemExit("The receiver did not start.")
        cast = processes.start(binaries / "tessel", "cast", HUB, "--json", "--stats",
                               stdout=subprocess.PIPE, text=True)
        sent = JsonLines(cast)
        if not sent.wait(lambda e: e.get("state") == 2, 30):
            raise SystemExit("The screen could not be cast.")
        time.sleep(START_UP)
        programs = {"tessel": cast.pid, "tessel-hub": hub.pid}
        before = {name: cpu_seconds(pid) for name, pid in programs.items()}
        first, began = len(received.events), time.monotonic()
        time.sleep(seconds)
        last, lasted = len(received.events), time.monotonic() - began
        used = {name: cpu_seconds(pid) - before[name] for name, pid in programs.items()}
        frames = sum(e["event"] == "frame" and e["shown"] for e in received.events[first:last])
        stats = [e for e in sent.events if e["event"] == "stats"]
    print("Screen that changes all the time:" if moving else "Screen that stands still:")
    print(f"  frames shown   {frames} in {lasted:.1f} s ({frames / lasted:.2f} a second)")
    if moving:
        dropped = stats[-1]["framesDropped"] - stats[0]["framesDropped"]
        print(f"  frames dropped {dropped} after start-up; fewest credits left "
              f"{min(e['credits'] for e in stats)}")
    for name, seconds_used in used.items():
        print(f"  CPU {name:<11}{100 * seconds_used / lasted:.1f}% of one core")


if __name__ == "__main__":
    folder = pathlib.Path(sys.argv[1]) / "bin"
    length = float(sys.argv[2]) if len(sys.argv) > 2 else 20
    measure(folder, length, moving=True)
    measure(folder, length, moving=False)
