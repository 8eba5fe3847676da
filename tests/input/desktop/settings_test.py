#!/usr/bin/python3
"""A double click is one by the limit that the desktop's settings daemon sets."""
import ctypes
import os
import struct
import time
import unittest

from desktop import HEIGHT, WIDTH, Hub, XServer

# Milliseconds, far from each other, so that no gap comes near a limit that is not meant. All are
# within the hub's half second by a clock this much slower.
SHORT_LIMIT, SHORT_GAP, LONG_LIMIT, LONG_GAP = 300, 900, 2500, 4500
SLOWNESS = 50


class SettingsDaemon:
    """Owns the settings of the server's first screen: the limit of double clicks alone."""

    def __init__(self, server):
        self.server = server
        xlib = server.xlib
        xlib.XInternAtom.restype = xlib.XCreateSimpleWindow.restype = ctypes.c_ulong
        self.selection, self.property = (
            ctypes.c_ulong(xlib.XInternAtom(server.connection, name, 0))
            for name in (b"_XSETTINGS_S0", b"_XSETTINGS_SETTINGS"))
        self.window = ctypes.c_ulong(xlib.XCreateSimpleWindow(server.connection, server.root, 0, 0, 1, 1, 0,
                                                              ctypes.c_ulong(0), ctypes.c_ulong(0)))
        self.serial = 0

    def set_limit(self, milliseconds):
        self.serial += 1
        name = b"Net/DoubleClickTime"
        value = struct.pack("<B3xIIBxH", 0, self.serial, 1, 0, len(name)) + name + bytes(1)
        value += struct.pack("<Ii", self.serial, milliseconds)
        xlib, connection = self.server.xlib, self.server.connection
        xlib.XChangeProperty(connection, self.window, self.property, self.property, 8, 0, value, len(value))
        xlib.XSetSelectionOwner(connection, self.selection, self.window, ctypes.c_ulong(0))
        self.server.sync()


def setUpModule():
    global server, daemon, hub, toolkit, Gtk
    server = XServer()
    daemon = SettingsDaemon(server)
    daemon.set_limit(LONG_LIMIT)
    os.environ["DISPLAY"] = server.display
    import toolkit
    from toolkit import Gtk
    hub = Hub(server.display, slowness=SLOWNESS)


def tearDownModule():
    hub.stop()
    server.stop()


def pause(milliseconds):
    end = time.monotonic() + milliseconds / 1000
    while time.monotonic() < end:
        toolkit.pump()


class SettingsTest(unittest.TestCase):
    def setUp(self):
        self.window = toolkit.EventWindow(WIDTH, HEIGHT)
        self.addCleanup(self.window.close)
        hub.send(Hub.MOVE, 200, 200)

    def set_limit(self, milliseconds):
        daemon.set_limit(milliseconds)
        settings = Gtk.Settings.get_default()
        toolkit.until(lambda: settings.get_property("gtk-double-click-time") == milliseconds,
                      "the toolkit knows the limit")
        # The driver looks at it once a second; nor does any click from before count.
        pause(max(1100, milliseconds + 100))
        self.window.clear()

    def check_double_click(self, gap, limit):
        for _ in range(2):
            hub.send(Hub.LEFT_DOWN)
            hub.send(Hub.LEFT_UP)
            pause(gap)
        hub.send(Hub.WHEEL_UP, wheel=1)
        toolkit.until(lambda: self.window.turns, "the turn that marks the end")
        first, second = self.window.press_times()[:2]
        click = ["button-press", "button-release"]
        last = ["button-press", "2button-press", "button-release"]
        row = click + last if second - first < limit else click + click + last
        self.assertEqual(row, [kind for kind, _ in self.window.clicks])
        return len(self.window.press_times())

    def test_presses_within_a_long_limit_are_counted_by_the_desktop(self):
        self.set_limit(LONG_LIMIT)
        self.assertEqual(2, self.check_double_click(SHORT_GAP, LONG_LIMIT))

    def test_presses_beyond_a_long_limit_are_one_more(self):
        self.set_limit(LONG_LIMIT)
        self.assertEqual(3, self.check_double_click(LONG_GAP, LONG_LIMIT))

    def test_presses_beyond_a_short_limit_are_one_more(self):
        self.set_limit(SHORT_LIMIT)
        self.assertEqual(3, self.check_double_click(SHORT_GAP, SHORT_LIMIT))


if __name__ == "__main__":
    unittest.main()
