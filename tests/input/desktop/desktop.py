"""A private X server, seen by another client, and the hub that drives it through the driver."""
import ctypes
import os
import select
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time

PATIENCE = 20.0  # seconds for what should come at once
WIDTH, HEIGHT = 800, 600


class XServer:
    """An Xvfb of its own, and what is held down there. It ends when its last client has gone."""

    def __init__(self, *options, display=None, repeat=False):
        """On a free display, or on that of a server that has ended; keys repeat if asked for."""
        read, write = os.pipe()
        self.process = subprocess.Popen(
            ["Xvfb", *([display] if display else []), "-displayfd", str(write), "-screen", "0", f"{WIDTH}x{HEIGHT}x24", "-nolisten", "tcp",
             "-terminate", *options], pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        if not select.select([read], [], [], PATIENCE)[0]:
            self.process.kill()
            raise TimeoutError("Xvfb does not start")
        with os.fdopen(read) as number:
            self.display = ":" + number.readline().strip()
        self.xlib = ctypes.CDLL("libX11.so.6")
        self.xlib.XOpenDisplay.restype = ctypes.c_void_p
        self.xlib.XDefaultRootWindow.restype = ctypes.c_ulong
        self.connection = ctypes.c_void_p(self.xlib.XOpenDisplay(self.display.encode()))
        self.root = ctypes.c_ulong(self.xlib.XDefaultRootWindow(self.connection))
        if not repeat:  # repeats would depend on how fast this machine is
            self.xlib.XAutoRepeatOff(self.connection)
        self.sync()

    def sync(self):
        """Waits until the server has done all that this client has asked for."""
        self.xlib.XSync(self.connection, 0)

    def held_keys(self):
        keymap = ctypes.create_string_buffer(32)
        self.xlib.XQueryKeymap(self.connection, keymap)
        return {8 * byte + bit for byte, value in enumerate(keymap.raw) for bit in range(8) if value >> bit & 1}

    def _pointer(self):
        window, child = ctypes.c_ulong(), ctypes.c_ulong()
        values = [ctypes.c_int() for _ in range(4)]
        mask = ctypes.c_uint()
        self.xlib.XQueryPointer(self.connection, self.root, ctypes.byref(window), ctypes.byref(child),
                                *map(ctypes.byref, values), ctypes.byref(mask))
        return (values[0].value, values[1].value), mask.value

    def pointer(self):
        return self._pointer()[0]

    def held_buttons(self):
        mask = self._pointer()[1]
        return {button for button in range(1, 6) if mask >> (7 + button) & 1}

    def locks(self):
        """The names of the locks that are on."""
        mask = self._pointer()[1]
        return {name for name, bit in (("caps", 1), ("num", 4)) if mask >> bit & 1}

    def stop(self):
        if self.process.poll() is None:
            self.resume()
            if self.connection:
                self.xlib.XCloseDisplay(self.connection)
            self.process.terminate()
            self.process.wait(PATIENCE)
        self.connection = None

    def freeze(self):
        """It answers nothing until it is resumed."""
        self.process.send_signal(signal.SIGSTOP)
        state = f"/proc/{self.process.pid}/stat"
        wait_until(lambda: open(state).read().rsplit(")")[-1].split()[0] == "T", "the server stopped")

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    def crash(self):
        """Ends at once; nothing of it may be asked afterwards."""
        self.process.kill()
        self.process.wait(PATIENCE)


def wait_until(condition, what, step=lambda: time.sleep(0.005)):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("waited in vain: " + what)
        step()


class Hub:
    """The hub's side of both channels, and the driver at the other end."""

    KEY_DOWN, KEY_UP, SPECIAL_DOWN, SPECIAL_UP = range(4)
    MOVE, LEFT_DOWN, LEFT_UP, RIGHT_DOWN, RIGHT_UP, WHEEL_DOWN, WHEEL_UP = (1 << bit for bit in range(7))

    def __init__(self, display, number=1, slowness=1):
        pid = os.getpid()
        self.address = f"127.{100 + number}.{pid & 0xFF}.{(pid >> 8) % 254 + 1}"
        self.folder = tempfile.mkdtemp()
        self.lines = []
        self.reports = []
        self.position = (0, 0)
        environment = dict(os.environ, TESSEL_SHARED_FOLDER=self.folder, HOME=self.folder)
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE"):
            environment.pop(name, None)
        if display:
            environment["DISPLAY"] = display
        with socket.create_server((self.address, 1494)) as listener:
            listener.settimeout(PATIENCE)
            self.driver = subprocess.Popen([os.environ["TESSEL_INPUT_DRIVER"], self.address, str(slowness)],
                                           stdout=subprocess.PIPE, text=True, env=environment)
            self._start(self._read_log)
            self.mouse = listener.accept()[0]
            self._shake_hands()
            self._start(self._read_reports)
            self.keyboard = listener.accept()[0]
            self.keyboard.settimeout(PATIENCE)
            opening = self._receive(self.keyboard, 9)
            assert opening == bytes([1, 0, 0, 0, 1, 0, 0, 0, 0]), opening
        wait_until(lambda: "ready" in self.lines, "the driver is ready")

    def _start(self, work):
        threading.Thread(target=work, daemon=True).start()

    def _read_log(self):
        for line in self.driver.stdout:
            self.lines.append(line.rstrip("\n"))

    @staticmethod
    def _receive(channel, length):
        data = b""
        while len(data) < length:
            more = channel.recv(length - len(data))
            if not more:
                raise EOFError
            data += more
        return data

    def _next_message(self):
        """The next handshake message; cursor reports may come at any time between."""
        while True:
            start = self._receive(self.mouse, 8)
            if start[0] == 2:
                return start + self._receive(self.mouse, start[4])
            self.reports.append(struct.unpack("<BBHHBB", start))

    def _shake_hands(self):
        self.mouse.settimeout(PATIENCE)
        assert self._next_message() == bytes([2, 0, 0, 0, 1, 0, 0, 0, 0])
        assert self._next_message() == bytes([2, 0, 0, 0, 2, 0, 0, 0, 1, 1])
        self.mouse.sendall(bytes([2, 0, 0, 0, 2, 0, 0, 0, 2, 1]))
        assert self._next_message() == bytes([2, 0, 0, 0, 2, 0, 0, 0, 3, 1])
        self.mouse.sendall(bytes([2, 0, 0, 0, 2, 0, 0, 0, 4, 1]))
        self.mouse.settimeout(None)

    def _read_reports(self):
        try:
            while True:
                self.reports.append(struct.unpack("<BBHHBB", self._receive(self.mouse, 8)))
        except (OSError, EOFError):
            pass

    def send(self, command, x=None, y=None, wheel=0):
        """A mouse packet; without a place it is where the last one was."""
        if x is not None:
            self.position = (x, y)
        self.mouse.sendall(struct.pack("<BBHHBB", 8, 0x0D, *self.position, command, wheel))

    def key(self, flag, code):
        self.keyboard.sendall(struct.pack("<IBBh", 8, 0, flag, code))

    def tap(self, code):
        self.key(self.KEY_DOWN, code)
        self.key(self.KEY_UP, code)

    def tap_special(self, code):
        self.key(self.SPECIAL_DOWN, code)
        self.key(self.SPECIAL_UP, code)

    def close_channels(self):
        for channel in (self.mouse, self.keyboard):
            try:
                channel.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            channel.close()

    def terminate(self):
        """Ends the driver as a user would; returns its exit status."""
        self.driver.send_signal(signal.SIGTERM)
        return self.driver.wait(PATIENCE)

    def stop(self):
        if self.driver.poll() is None:
            self.terminate()
        self.driver.stdout.close()
        self.close_channels()
        shutil.rmtree(self.folder, ignore_errors=True)
