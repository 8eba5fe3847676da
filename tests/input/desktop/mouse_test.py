#!/usr/bin/python3
"""What a toolkit receives when the hub moves, clicks, drags and turns its mouse."""
import os
import subprocess
import time
import unittest

from desktop import HEIGHT, WIDTH, Hub, XServer, wait_until

# Milliseconds: from here on the desktop counts two presses as two clicks.
DOUBLE_CLICK_TIME = 400
# To a clock that is this much slower any two presses of a test are within the hub's half second.
SLOWNESS = 20


def setUpModule():
    global server, hub, toolkit, Gtk
    server = XServer()
    os.environ["DISPLAY"] = server.display
    import toolkit
    from toolkit import Gtk
    hub = Hub(server.display)


def tearDownModule():
    hub.stop()
    server.stop()


def pause(milliseconds):
    """The hub's user takes this time; the toolkit's main loop runs meanwhile."""
    end = time.monotonic() + milliseconds / 1000
    while time.monotonic() < end:
        toolkit.pump()


def rest():
    """Long enough that the next click begins a new row of clicks."""
    pause(1100)


def double_click(hub, down, up, gap):
    """As a hub sends it: press to press in `gap` milliseconds at least."""
    hub.send(down)
    pause(gap / 2)
    hub.send(up)
    pause(gap / 2)
    hub.send(down)
    pause(30)
    hub.send(up)


class PointerTest(unittest.TestCase):
    def test_the_pointer_follows_and_is_reported_back(self):
        for place in ((0, 0), (1, 2), (400, 300), (799, 599)):
            hub.send(Hub.MOVE, *place)
            wait_until(lambda: server.pointer() == place, f"the pointer at {place}")
            wait_until(lambda: hub.reports and hub.reports[-1] == (8, 13, *place, 1, 0),
                       f"a report of {place}")

    def test_the_greatest_coordinates_stay_on_the_screen(self):
        hub.send(Hub.MOVE, 5, 5)
        hub.send(Hub.MOVE, 65535, 65535)
        wait_until(lambda: server.pointer() == (WIDTH - 1, HEIGHT - 1), "the pointer in the corner")


def slow_hub(test):
    """A hub of the test's own, on a computer by whose clock its presses follow each other quickly."""
    slow = Hub(server.display, 3, SLOWNESS)
    test.addCleanup(slow.stop)
    return slow


class ButtonTest(unittest.TestCase):
    """A hub's pointer over a window that records what it receives."""

    def set_up(self, hub):
        self.hub = hub
        self.window = toolkit.EventWindow(WIDTH, HEIGHT)
        self.addCleanup(self.window.close)
        hub.send(Hub.MOVE, 200, 200)
        rest()
        self.window.clear()

    def finish(self):
        """All that was sent before has come when this turn of the wheel has."""
        self.window.turns.clear()
        self.hub.send(Hub.WHEEL_UP, wheel=1)
        toolkit.until(lambda: self.window.turns, "the turn that marks the end")


class ClickTest(ButtonTest):
    def setUp(self):
        self.set_up(hub)

    def test_a_click_is_a_click(self):
        for button, down, up in ((1, Hub.LEFT_DOWN, Hub.LEFT_UP), (3, Hub.RIGHT_DOWN, Hub.RIGHT_UP)):
            self.window.clear()
            hub.send(down)
            wait_until(lambda: server.held_buttons() == {button}, "the button down")
            hub.send(up)
            self.finish()
            self.assertEqual([("button-press", button), ("button-release", button)], self.window.clicks)
            rest()

    def test_slow_presses_are_single_clicks(self):
        double_click(hub, Hub.LEFT_DOWN, Hub.LEFT_UP, 700)
        self.finish()
        self.assertEqual([1, 1], self.window.counts)
        self.assertNotIn(("2button-press", 1), self.window.clicks)

    def test_a_client_that_grabs_the_server_at_a_press_sees_its_release(self):
        hub.send(Hub.LEFT_DOWN)
        toolkit.until(lambda: self.window.clicks, "the press")
        server.xlib.XGrabServer(server.connection)  # the toolkit's own requests wait from here on
        server.sync()
        try:
            hub.send(Hub.LEFT_UP)
            wait_until(lambda: not server.held_buttons(), "the button up")
        finally:
            server.xlib.XUngrabServer(server.connection)
            server.sync()


class DoubleClickTest(ButtonTest):
    """What the hub takes for a double click is one, whatever the desktop takes for one."""

    def setUp(self):
        self.set_up(slow_hub(self))

    def check_double_click(self, button, down, up, gap):
        self.window.clear()
        double_click(self.hub, down, up, gap)
        self.finish()
        first, second = self.window.press_times()[:2]
        click = ["button-press", "button-release"]
        last = ["button-press", "2button-press", "button-release"]
        row = click + last if second - first < DOUBLE_CLICK_TIME else click + click + last
        self.assertEqual([(kind, button) for kind in row], self.window.clicks, f"gap {gap}")
        self.assertEqual(set(), server.held_buttons())
        rest()

    def test_a_left_double_click_is_one_double_click(self):
        for gap in (100, 200, 300, 450, 900):
            self.check_double_click(1, Hub.LEFT_DOWN, Hub.LEFT_UP, gap)

    def test_a_right_double_click_is_one_double_click(self):
        for gap in (100, 450):
            self.check_double_click(3, Hub.RIGHT_DOWN, Hub.RIGHT_UP, gap)

    def test_a_gesture_counts_two(self):
        for gap, counts in ((100, [1, 2]), (900, [1, 1, 2])):
            self.window.clear()
            double_click(self.hub, Hub.LEFT_DOWN, Hub.LEFT_UP, gap)
            self.finish()
            self.assertEqual(counts, self.window.counts)
            rest()

    def test_a_right_double_click_leaves_a_held_left_button_alone(self):
        self.hub.send(Hub.LEFT_DOWN)
        double_click(self.hub, Hub.RIGHT_DOWN, Hub.RIGHT_UP, 100)
        self.finish()
        self.assertEqual({1}, server.held_buttons())
        self.hub.send(Hub.LEFT_UP)
        self.finish()
        self.assertEqual(set(), server.held_buttons())

    def test_the_second_press_is_over_at_once_and_its_release_disturbs_nothing(self):
        self.hub.send(Hub.LEFT_DOWN)
        self.hub.send(Hub.LEFT_UP)
        pause(100)
        self.hub.send(Hub.LEFT_DOWN)
        self.finish()
        self.assertEqual(set(), server.held_buttons())
        clicks = list(self.window.clicks)
        self.assertIn(("2button-press", 1), clicks)
        self.hub.send(Hub.LEFT_UP)
        self.finish()
        self.assertEqual(clicks, self.window.clicks)


class WheelTest(unittest.TestCase):
    def setUp(self):
        self.window = toolkit.EventWindow(WIDTH, HEIGHT)
        self.addCleanup(self.window.close)
        hub.send(Hub.MOVE, 300, 300)
        wait_until(lambda: server.pointer() == (300, 300), "the pointer over the window")

    def test_the_wheel_turns_by_the_lines_sent(self):
        for command, direction in ((Hub.WHEEL_DOWN, "down"), (Hub.WHEEL_UP, "up")):
            for lines in (1, 3, 255, 0):
                self.window.clear()
                hub.send(command, wheel=lines)
                hub.send(Hub.WHEEL_UP if direction == "down" else Hub.WHEEL_DOWN, wheel=1)
                toolkit.until(lambda: self.window.turns and self.window.turns[-1] != direction,
                              "the turn that marks the end")
                self.assertEqual([direction] * lines, self.window.turns[:-1])


class TextTest(unittest.TestCase):
    TEXT = "one two three\nfour five six\nseven eight nine\n"

    def setUp(self):
        self.view = Gtk.TextView(monospace=True)
        self.buffer = self.view.get_buffer()
        self.buffer.set_text(self.TEXT)
        self.window = toolkit.Window(self.view, WIDTH, HEIGHT)
        self.addCleanup(self.window.close)
        rest()

    def place_of(self, offset):
        """The left edge of a character, in the middle of its line."""
        where = self.view.get_iter_location(self.buffer.get_iter_at_offset(offset))
        return where.x, where.y + where.height // 2

    def selected(self):
        bounds = self.buffer.get_selection_bounds()
        return self.buffer.get_text(*bounds, False) if bounds else ""

    def test_a_double_click_selects_the_word(self):
        slow = slow_hub(self)
        for gap, word in ((150, "five"), (600, "eight")):
            slow.send(Hub.MOVE, *self.place_of(self.TEXT.index(word) + 1))
            double_click(slow, Hub.LEFT_DOWN, Hub.LEFT_UP, gap)
            rest()  # a triple click would come within this time
            self.assertEqual(word, self.selected())

    def test_a_drag_selects(self):
        start = self.place_of(self.TEXT.index("two"))
        end = self.place_of(self.TEXT.index(" five"))
        hub.send(Hub.MOVE, *start)
        hub.send(Hub.LEFT_DOWN)
        for step in range(1, 11):
            hub.send(Hub.MOVE, *(round(a + (b - a) * step / 10) for a, b in zip(start, end)))
        hub.send(Hub.LEFT_UP)
        toolkit.until(lambda: self.selected() == "two three\nfour", "the selection")
        toolkit.until(lambda: not server.held_buttons(), "the button up")

    def test_the_wheel_scrolls_the_view(self):
        self.window.window.remove(self.view)
        scrolled = Gtk.ScrolledWindow()
        scrolled.add(self.view)
        self.window.window.add(scrolled)
        self.buffer.set_text("line\n" * 500)
        self.window.window.show_all()
        adjustment = scrolled.get_vadjustment()
        toolkit.until(lambda: adjustment.get_upper() > 2 * HEIGHT, "the long text")
        hub.send(Hub.MOVE, 200, 200)
        hub.send(Hub.WHEEL_DOWN, wheel=5)
        toolkit.until(lambda: adjustment.get_value() > 0, "the view further down")
        hub.send(Hub.WHEEL_UP, wheel=255)
        toolkit.until(lambda: adjustment.get_value() == 0, "the view at its top")


class MonitorsTest(unittest.TestCase):
    """The first screen is the primary one, wherever it stands."""

    def setUp(self):
        self.server = XServer()
        self.addCleanup(self.server.stop)
        self.xrandr("--setmonitor", "*primary", "500/100x400/100+300+150", "screen")
        self.xrandr("--setmonitor", "other", "300/100x600/100+0+0", "none")
        self.hub = Hub(self.server.display, 2)
        self.addCleanup(self.hub.stop)

    def xrandr(self, *arguments):
        subprocess.run(["xrandr", *arguments], env=dict(os.environ, DISPLAY=self.server.display),
                       check=True, stdout=subprocess.DEVNULL)

    def check_move(self, sent, seen, reported):
        self.hub.send(Hub.MOVE, *sent)
        wait_until(lambda: self.server.pointer() == seen, f"the pointer at {seen}")
        wait_until(lambda: self.hub.reports[-1:] == [(8, 13, *reported, 1, 0)],
                   f"a report of {reported}")

    def test_positions_count_from_the_primary_monitor_and_stay_on_it(self):
        for sent, seen in (((0, 0), (300, 150)), ((100, 50), (400, 200)), ((65535, 65535), (799, 549))):
            self.check_move(sent, seen, (seen[0] - 300, seen[1] - 150))

    def test_a_layout_that_changes_while_the_channel_is_open_counts(self):
        self.check_move((100, 50), (400, 200), (100, 50))
        self.xrandr("--delmonitor", "primary")
        self.xrandr("--setmonitor", "*primary", "250/100x200/100+400+300", "screen")
        # The server does not tell of it; it is asked within a second.
        wait_until(lambda: self.server.pointer() == (400, 300), "the pointer on the moved screen",
                   lambda: (self.hub.send(Hub.MOVE, 0, 0), time.sleep(0.02)))
        # The picture keeps its size of 500 by 400, twice that of the screen.
        self.check_move((0, 0), (400, 300), (0, 0))
        self.check_move((100, 50), (600, 400), (400, 200))
        self.check_move((500, 400), (649, 499), (498, 398))


if __name__ == "__main__":
    unittest.main()
