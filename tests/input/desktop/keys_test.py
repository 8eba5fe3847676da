#!/usr/bin/python3
"""What a toolkit receives when the hub types."""
import os
import string
import unittest

from desktop import HEIGHT, WIDTH, Hub, XServer

CONTROL, SHIFT, NUM_LOCK = 4, 5, 37
ESCAPE, F12 = 0, 36
END = [(True, 9, "Escape"), (False, 9, "Escape"), (True, 96, "F12"), (False, 96, "F12")]
# Control characters that stand for a letter.
LETTERS = {ord(letter) - ord("a") + 1: letter for letter in "abcflsvxz"}

SPECIAL = {
    0: "Escape", 1: "BackSpace", 2: "Tab", 3: "Return", 4: "Control_L", 5: "Shift_L", 6: "Shift_R",
    7: "KP_Multiply", 8: "Alt_L", 10: "Caps_Lock", 11: "F1", 12: "F2", 13: "F3", 14: "F4", 15: "F5",
    16: "F6", 17: "F7", 18: "F8", 19: "F9", 20: "F10", 22: "Home", 23: "Up", 24: "Page_Up", 25: "Left",
    26: "KP_Begin", 27: "Right", 28: "End", 29: "Down", 30: "Page_Down", 32: "KP_Subtract",
    33: "KP_Add", 34: "Delete", 35: "F11", 36: "F12", 37: "Num_Lock", 50: "KP_Enter", 51: "Control_R",
    52: "KP_Divide", 53: "Alt_R", 55: "Home", 56: "Page_Up", 57: "Delete", 58: "End", 59: "Page_Down",
    60: "Up", 61: "Left", 62: "Down", 63: "Right", 64: "Super_L", 65: "Super_L",
}
LOCKS = {10, 37}
WITH_NUM_LOCK = {
    22: "KP_7", 23: "KP_8", 24: "KP_9", 25: "KP_4", 26: "KP_5", 27: "KP_6", 28: "KP_1", 29: "KP_2",
    30: "KP_3", 31: "KP_0", 34: "KP_Decimal", 55: "Home", 57: "Delete", 63: "Right",
}


def setUpModule():
    global server, hub, toolkit, Gdk, Gtk
    server = XServer()
    os.environ["DISPLAY"] = server.display
    import toolkit
    from toolkit import Gdk, Gtk
    hub = Hub(server.display)


def tearDownModule():
    hub.stop()
    server.stop()


class KeysTest(unittest.TestCase):
    def setUp(self):
        self.window = toolkit.EventWindow(WIDTH, HEIGHT)
        self.addCleanup(self.window.close)

    def taps(self, send):
        """What the window receives of `send`; two keys after it mark its end."""
        self.window.clear()
        send()
        hub.tap_special(ESCAPE)
        hub.tap_special(F12)
        toolkit.until(lambda: self.window.keys[-4:] == END, "the keys that mark the end")
        return self.window.keys[:-4]

    def key_code(self, name):
        """Where the server's own layout has that key, unshifted."""
        found, entries = Gdk.Keymap.get_for_display(Gdk.Display.get_default()).get_entries_for_keyval(
            Gdk.keyval_from_name(name))
        self.assertTrue(found, name)
        return [entry.keycode for entry in entries]

    def test_every_normal_code_is_the_key_that_types_it(self):
        for code in range(128):
            with self.subTest(code=code):
                keys = self.taps(lambda: hub.tap(code))
                if code in (0, 127) or code in LETTERS or 32 <= code < 127:
                    character = {0: " ", 127: "a"}.get(code) or LETTERS.get(code) or chr(code)
                    self.assertEqual([True, False], [press for press, _, _ in keys])
                    codes = self.key_code(Gdk.keyval_name(Gdk.unicode_to_keyval(ord(character))))
                    self.assertIn(keys[0][1], codes)
                    self.assertEqual(keys[0][1:], keys[1][1:])
                else:
                    self.assertEqual([], keys)

    def test_every_special_code_is_its_key(self):
        for code in range(-1, 82):
            with self.subTest(code=code):
                keys = self.taps(lambda: hub.tap_special(code))
                if code in LOCKS:  # off again
                    self.assertEqual(keys, self.taps(lambda: hub.tap_special(code)))
                if code not in SPECIAL:
                    self.assertEqual([], keys)
                    continue
                self.assertEqual([(True, SPECIAL[code]), (False, SPECIAL[code])],
                                 [(press, name) for press, _, name in keys])
                self.assertEqual(1, len({key_code for _, key_code, _ in keys}))

    def test_left_right_and_keypad_are_kept_apart(self):
        places = {}
        for code in SPECIAL:
            places[code] = self.taps(lambda: hub.tap_special(code))[0][1]
            if code in LOCKS:
                self.taps(lambda: hub.tap_special(code))
        for one, other in ((4, 51), (5, 6), (8, 53), (3, 50)):
            self.assertNotEqual(places[one], places[other])
        for one, other in ((22, 55), (34, 57), (23, 60), (64, 65)):
            self.assertEqual(places[one], places[other])
        normal = self.taps(lambda: hub.tap(ord("/")))[0][1]
        self.assertNotEqual(normal, places[52])

    def test_num_lock_held_makes_the_arrow_block_the_keypad(self):
        def under_num_lock(code):
            hub.key(Hub.SPECIAL_DOWN, NUM_LOCK)
            hub.tap_special(code)
            hub.key(Hub.SPECIAL_UP, NUM_LOCK)

        self.assertEqual(0, len(WITH_NUM_LOCK) % 2)  # so that the lock is off in the end
        for code, name in WITH_NUM_LOCK.items():
            with self.subTest(code=code):
                keys = self.taps(lambda: under_num_lock(code))
                keys = [(press, key) for press, _, key in keys if key != "Num_Lock"]
                self.assertEqual([(True, name), (False, name)], keys)
        self.assertEqual([], self.taps(lambda: hub.tap_special(31)))

    def test_a_key_held_over_num_lock_does_not_stay_down(self):
        def hold_over():
            hub.key(Hub.SPECIAL_DOWN, NUM_LOCK)
            hub.key(Hub.SPECIAL_DOWN, 22)
            hub.key(Hub.SPECIAL_DOWN, 31)
            hub.key(Hub.SPECIAL_UP, NUM_LOCK)
            hub.key(Hub.SPECIAL_UP, 22)
            hub.key(Hub.SPECIAL_UP, 31)
            hub.tap_special(NUM_LOCK)  # off again
        self.taps(hold_over)
        self.assertEqual(set(), server.held_keys())

    def test_a_repeated_press_is_one_press(self):
        def press_again():
            for _ in range(5):
                hub.key(Hub.KEY_DOWN, ord("g"))
            hub.key(Hub.KEY_UP, ord("g"))
            hub.key(Hub.KEY_UP, ord("g"))
        self.assertEqual([(True, "g"), (False, "g")],
                         [(press, name) for press, _, name in self.taps(press_again)])

    def test_a_held_modifier_acts_and_is_up_afterwards(self):
        hub.key(Hub.SPECIAL_DOWN, SHIFT)
        self.assertEqual([(True, "A"), (False, "A")],
                         [(press, name) for press, _, name in self.taps(lambda: hub.tap(ord("a")))
                          if name != "Shift_L"])
        hub.key(Hub.SPECIAL_UP, SHIFT)
        self.assertEqual([(True, "a"), (False, "a")],
                         [(press, name) for press, _, name in self.taps(lambda: hub.tap(ord("a")))
                          if name != "Shift_L"])
        self.assertEqual(set(), server.held_keys())


class TextTest(unittest.TestCase):
    SHIFTED = set(string.ascii_uppercase + '~!@#$%^&*()_+{}|:"<>?')

    def setUp(self):
        self.entry = Gtk.Entry()
        self.window = toolkit.Window(self.entry, WIDTH, 60)
        self.addCleanup(self.window.close)
        self.entry.grab_focus()

    def type(self, text):
        for character in text:
            if character in self.SHIFTED:
                hub.key(Hub.SPECIAL_DOWN, SHIFT)
            hub.tap(ord(character))
            if character in self.SHIFTED:
                hub.key(Hub.SPECIAL_UP, SHIFT)

    def test_a_text_field_receives_exactly_the_characters_typed(self):
        text = "".join(map(chr, range(32, 127)))
        self.type(text)
        toolkit.until(lambda: len(self.entry.get_text()) >= len(text), "the whole text")
        self.assertEqual(text, self.entry.get_text())

    def test_control_a_selects_and_the_next_letter_replaces(self):
        self.type("hello there")
        hub.key(Hub.SPECIAL_DOWN, CONTROL)
        hub.tap(ord("a"))
        hub.key(Hub.SPECIAL_UP, CONTROL)
        self.type("b!")
        toolkit.until(lambda: "!" in self.entry.get_text(), "the last letter")
        self.assertEqual("b!", self.entry.get_text())

    def test_backspace_and_arrows_edit(self):
        self.type("abd")
        hub.tap_special(25)  # left
        self.type("xc")
        hub.tap_special(25)
        hub.tap_special(1)  # backspace
        hub.tap_special(28)  # end
        self.type(".")
        toolkit.until(lambda: "." in self.entry.get_text(), "the full stop")
        self.assertEqual("abcd.", self.entry.get_text())


if __name__ == "__main__":
    unittest.main()
