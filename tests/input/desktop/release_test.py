#!/usr/bin/python3
"""What stays held down, and what the driver does without a display."""
import signal
import socket
import struct
import time
import unittest

from desktop import Hub, XServer, wait_until

SHIFT, CONTROL, F12 = 5, 4, 36
CAPS_LOCK, NUM_LOCK = 10, 37
# X key codes: Shift, Control, a.
HELD = {50, 37, 38}


class ReleaseTest(unittest.TestCase):
    def setUp(self):
        self.server = XServer()
        self.addCleanup(self.server.stop)
        self.hub = Hub(self.server.display)
        self.addCleanup(self.hub.stop)

    def hold(self):
        self.hub.key(Hub.SPECIAL_DOWN, SHIFT)
        self.hub.key(Hub.SPECIAL_DOWN, CONTROL)
        self.hub.key(Hub.KEY_DOWN, ord("a"))
        self.hub.send(Hub.LEFT_DOWN, 10, 10)
        self.hub.send(Hub.RIGHT_DOWN)
        wait_until(lambda: self.server.held_keys() == HELD, "the keys down")
        wait_until(lambda: self.server.held_buttons() == {1, 3}, "the buttons down")

    def assert_released(self):
        wait_until(lambda: not self.server.held_keys(), "the keys up")
        wait_until(lambda: not self.server.held_buttons(), "the buttons up")

    def test_nothing_stays_down_when_the_hub_closes_its_channels(self):
        self.hold()
        self.hub.close_channels()
        self.assert_released()
        self.assertIsNone(self.hub.driver.poll())

    def test_nothing_stays_down_when_the_hub_is_reset(self):
        self.hold()
        for channel in (self.hub.mouse, self.hub.keyboard):
            channel.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.hub.close_channels()
        self.assert_released()

    def test_nothing_stays_down_when_the_program_is_terminated(self):
        self.hold()
        self.assertEqual(0, self.hub.terminate())
        self.assert_released()

    def test_a_server_that_does_not_answer_delays_no_stop_and_loses_no_release(self):
        self.hold()
        self.server.freeze()
        start = time.monotonic()
        self.hub.driver.send_signal(signal.SIGTERM)
        wait_until(lambda: "stopped" in self.hub.lines, "both channels stopped")
        # The posters give the server three seconds.
        self.assertLess(time.monotonic() - start, 1.5)
        self.server.resume()
        self.assertEqual(0, self.hub.driver.wait(20))
        self.assert_released()

    def test_a_server_that_is_started_anew_takes_input_again(self):
        self.hold()
        self.server.crash()
        self.server = XServer(display=self.server.display)
        self.addCleanup(self.server.stop)
        # The driver looks for it now and then.
        wait_until(lambda: self.server.held_keys() == {38}, "the key down",
                   lambda: (self.hub.key(Hub.KEY_DOWN, ord("a")), time.sleep(0.02)))
        wait_until(lambda: self.server.pointer() == (30, 40), "the pointer there",
                   lambda: (self.hub.send(Hub.MOVE, 30, 40), time.sleep(0.02)))
        self.hub.send(Hub.RIGHT_DOWN)
        wait_until(lambda: self.server.held_buttons() == {3}, "the button down")
        self.hub.close_channels()
        self.assert_released()

    def test_only_the_keys_are_released_when_the_keyboard_channel_ends(self):
        self.hold()
        self.hub.keyboard.close()
        wait_until(lambda: not self.server.held_keys(), "the keys up")
        self.assertEqual({1, 3}, self.server.held_buttons())

    def test_only_the_buttons_are_released_when_the_mouse_channel_ends(self):
        self.hold()
        self.hub.mouse.shutdown(socket.SHUT_RDWR)
        wait_until(lambda: not self.server.held_buttons(), "the buttons up")
        self.assertEqual(HELD, self.server.held_keys())

    def check_locks_after(self, end):
        self.hub.tap_special(CAPS_LOCK)
        self.hub.key(Hub.SPECIAL_DOWN, NUM_LOCK)
        wait_until(lambda: self.server.locks() == {"caps", "num"}, "the locks on")
        end()
        wait_until(lambda: not self.server.locks(), "the locks off")
        self.assertFalse(self.server.held_keys())

    def test_a_lock_that_the_hub_has_turned_is_turned_back_when_it_closes_its_channels(self):
        self.check_locks_after(self.hub.close_channels)

    def test_a_lock_that_the_hub_has_turned_is_turned_back_when_the_program_is_terminated(self):
        self.check_locks_after(self.hub.terminate)

    def test_a_lock_that_was_on_is_on_again(self):
        user = Hub(self.server.display, 2)
        self.addCleanup(user.stop)
        user.tap_special(CAPS_LOCK)
        wait_until(lambda: self.server.locks() == {"caps"}, "the lock on")
        self.hub.tap_special(CAPS_LOCK)
        wait_until(lambda: not self.server.locks(), "the lock off")
        self.hub.terminate()
        self.assertEqual({"caps"}, self.server.locks())

    def test_a_lock_that_has_been_turned_back_since_stays_so(self):
        user = Hub(self.server.display, 2)
        self.addCleanup(user.stop)
        self.hub.tap_special(CAPS_LOCK)
        wait_until(lambda: self.server.locks() == {"caps"}, "the lock on")
        user.tap_special(CAPS_LOCK)
        wait_until(lambda: not self.server.locks(), "the lock off")
        self.hub.terminate()
        self.assertEqual(set(), self.server.locks())

    def test_what_another_user_holds_is_left_alone(self):
        other = Hub(self.server.display, 2)
        self.addCleanup(other.stop)
        other.key(Hub.SPECIAL_DOWN, SHIFT)
        other.send(Hub.LEFT_DOWN, 10, 10)
        wait_until(lambda: self.server.held_keys() == {50}, "the key down")
        wait_until(lambda: self.server.held_buttons() == {1}, "the button down")
        self.hub.key(Hub.SPECIAL_UP, SHIFT)
        self.hub.tap_special(F12)
        self.hub.send(Hub.LEFT_UP)
        self.hub.send(Hub.MOVE, 20, 20)
        wait_until(lambda: self.server.pointer() == (20, 20), "the last packet")
        self.hub.terminate()
        self.assertEqual({50}, self.server.held_keys())
        self.assertEqual({1}, self.server.held_buttons())


class NoDisplayTest(unittest.TestCase):
    def check_events_fail(self, hub):
        hub.send(Hub.RIGHT_DOWN, 10, 10)
        hub.send(Hub.WHEEL_UP, wheel=2)
        hub.key(Hub.KEY_DOWN, ord("a"))
        for line in ("-[TSLMouseSimulator rightClickDown]: CGEventCreateMouseEvent failed",
                     "-[TSLMouseSimulator scrollUp]: CGEventCreateMouseEvent failed"):
            wait_until(lambda: line in hub.lines, line)
        wait_until(lambda: any("CGEventCreateKeyboardEvent failed." in line for line in hub.lines),
                   "the keyboard's line")
        self.assertEqual(0, hub.terminate())

    def test_without_a_display_no_event_can_be_made(self):
        hub = Hub(None)
        self.addCleanup(hub.stop)
        self.check_events_fail(hub)

    def test_without_xtest_no_event_can_be_made(self):
        server = XServer("-extension", "XTEST")
        self.addCleanup(server.stop)
        hub = Hub(server.display)
        self.addCleanup(hub.stop)
        self.check_events_fail(hub)

    def test_a_server_that_goes_away_takes_nothing_with_it(self):
        server = XServer()
        self.addCleanup(server.stop)
        hub = Hub(server.display)
        self.addCleanup(hub.stop)
        hub.send(Hub.LEFT_DOWN, 10, 10)
        hub.key(Hub.SPECIAL_DOWN, SHIFT)
        wait_until(lambda: server.held_buttons() == {1}, "the button down")
        wait_until(lambda: server.held_keys() == {50}, "the key down")
        server.crash()
        for _ in range(50):
            hub.send(Hub.MOVE, 11, 11)
            hub.tap(ord("a"))
        self.check_events_fail(hub)


if __name__ == "__main__":
    unittest.main()
