"""A GTK window that records what it receives. Import it once DISPLAY names the server."""
import os

os.environ.update(GDK_BACKEND="x11", GTK_IM_MODULE="gtk-im-context-simple", NO_AT_BRIDGE="1")

import gi  # noqa: E402

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402

from desktop import wait_until  # noqa: E402


def pump():
    """Handles what has come, or waits a moment for something to come."""
    GLib.timeout_add(5, lambda: False)
    Gtk.main_iteration_do(True)


def until(condition, what):
    wait_until(condition, what, pump)


class Window:
    """Shows one widget over the whole screen and has the focus."""

    def __init__(self, widget, width, height):
        self.events = []
        self.window = Gtk.Window()
        self.window.set_decorated(False)
        self.window.add(widget)
        self.window.resize(width, height)
        self.window.move(0, 0)
        mapped = []
        self.window.connect("map-event", lambda *_: mapped.append(True) and False)
        self.window.show_all()
        widget.grab_focus()
        until(lambda: mapped, "the window is there")
        # There is no window manager here to give it the focus.
        focused = []
        self.window.connect("focus-in-event", lambda *_: focused.append(True) and False)
        self.window.get_window().focus(Gdk.CURRENT_TIME)
        until(lambda: focused or self.window.has_toplevel_focus(), "the window has the focus")

    def close(self):
        self.window.destroy()
        for _ in range(5):
            pump()


class EventWindow(Window):
    """Records keys as (press, key code, name), clicks as (type, button), turns as directions."""

    def __init__(self, width, height):
        box = Gtk.EventBox()
        box.set_can_focus(True)
        box.add_events(Gdk.EventMask.BUTTON_PRESS_MASK | Gdk.EventMask.BUTTON_RELEASE_MASK |
                       Gdk.EventMask.SCROLL_MASK | Gdk.EventMask.POINTER_MOTION_MASK)
        self.keys, self.clicks, self.click_times, self.turns, self.counts = [], [], [], [], []
        box.connect("button-press-event", self._click)
        box.connect("button-release-event", self._click)
        box.connect("scroll-event", self._turn)
        self.gesture = Gtk.GestureMultiPress.new(box)
        self.gesture.set_button(0)
        self.gesture.connect("pressed", lambda _, count, x, y: self.counts.append(count))
        super().__init__(box, width, height)
        self.window.connect("key-press-event", self._key)
        self.window.connect("key-release-event", self._key)

    def press_times(self):
        """The server's times of the presses of buttons."""
        return [time for (kind, _), time in zip(self.clicks, self.click_times) if kind == "button-press"]

    def _key(self, _, event):
        self.keys.append((event.type == Gdk.EventType.KEY_PRESS, event.hardware_keycode,
                          Gdk.keyval_name(event.keyval)))
        return True

    def _click(self, _, event):
        self.clicks.append((event.type.value_nick, event.button))
        self.click_times.append(event.time)
        return False

    def _turn(self, _, event):
        self.turns.append(event.direction.value_nick)
        return True

    def clear(self):
        for each in (self.keys, self.clicks, self.click_times, self.turns, self.counts):
            each.clear()
