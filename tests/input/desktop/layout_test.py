#!/usr/bin/python3
"""What a toolkit receives when the hub types on a desktop with another layout, whose keys repeat."""
import os
import subprocess
import unittest

from desktop import HEIGHT, WIDTH, Hub, XServer

F12 = 36
# Rows of a US keyboard, each with the X key code of its first key, and what the same keys type on
# a German one.
US = {10: "1234567890-=", 24: "qwertyuiop[]", 38: "asdfghjkl;'", 52: "zxcvbnm,./"}
GERMAN = {10: "1234567890\u00df\u00b4", 24: "qwertzuiop\u00fc+", 38: "asdfghjkl\u00f6\u00e4", 52: "yxcvbnm,.-"}
DEAD = {"dead_acute": "\u00b4"}


def setUpModule():
    global server, hub, toolkit, Gdk
    server = XServer(repeat=True)
    environment = dict(os.environ, DISPLAY=server.display)
    for command in (["setxkbmap", "-layout", "de"], ["xset", "r", "rate", "150", "50"]):
        subprocess.run(command, env=environment, check=True, stdout=subprocess.DEVNULL)
    os.environ["DISPLAY"] = server.display
    import toolkit
    from toolkit import Gdk
    hub = Hub(server.display)


def tearDownModule():
    hub.stop()
    server.stop()


def character(name):
    return DEAD.get(name) or chr(Gdk.keyval_to_unicode(Gdk.keyval_from_name(name)))


class LayoutTest(unittest.TestCase):
    def setUp(self):
        self.window = toolkit.EventWindow(WIDTH, HEIGHT)
        self.addCleanup(self.window.close)

    def finish(self):
        """What has come since the last clear; another key marks the end."""
        hub.tap_special(F12)
        toolkit.until(lambda: self.window.keys and self.window.keys[-1] == (False, 96, "F12"),
                      "the key that marks the end")
        return [key for key in self.window.keys if key[2] != "F12"]

    def test_the_key_at_the_same_place_arrives(self):
        for first, row in US.items():
            for offset, (sent, typed) in enumerate(zip(row, GERMAN[first], strict=True)):
                with self.subTest(sent=sent):
                    self.window.clear()
                    hub.tap(ord(sent))
                    keys = self.finish()
                    # A key may repeat before its release comes.
                    self.assertEqual([True] * (len(keys) - 1) + [False], [press for press, _, _ in keys])
                    self.assertEqual({(first + offset, typed)},
                                     {(code, character(name)) for _, code, name in keys})

    def test_a_held_key_repeats_until_it_is_released(self):
        self.window.clear()
        hub.key(Hub.KEY_DOWN, ord("z"))
        toolkit.until(lambda: len(self.window.keys) >= 4, "the repeated presses")
        hub.key(Hub.KEY_UP, ord("z"))
        keys = self.finish()
        self.assertEqual({(52, "y")}, {(code, name) for _, code, name in keys})
        self.assertEqual([True] * (len(keys) - 1) + [False], [press for press, _, _ in keys])
        self.assertEqual(set(), server.held_keys())


if __name__ == "__main__":
    unittest.main()
