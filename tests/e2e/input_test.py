"""What the hub holds down on the desktop is released, however the cast ends."""

import pathlib
import signal
import sys
import unittest

from programs import ProgramTest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "input" / "desktop"))

from desktop import XServer, wait_until  # noqa: E402

SCRIPT = """\
move 100 100
down left
special 5 down
key a down
sleep 600
"""
# X key codes: Shift, a.
KEYS, BUTTONS = {50, 38}, {1}


class HeldInputTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.server = XServer()
        self.addCleanup(self.server.stop)

    def hold(self, address, *options):
        """Casts the desktop to a hub that holds a button and two keys."""
        script = self.folder / "held"
        script.write_text(SCRIPT)
        self.receiver = self.hub(address, "--script", script)
        self.caster = self.cast(address, *options, DISPLAY=self.server.display,
                                XDG_SESSION_TYPE="x11").connected()
        wait_until(lambda: self.server.held_keys() == KEYS, "the keys down")
        wait_until(lambda: self.server.held_buttons() == BUTTONS, "the button down")
        self.assertEqual(self.server.pointer(), (100, 100))

    def assert_ends(self, exit_code):
        """It ends with that code, and by then nothing is down."""
        code = self.caster.exit_code(timeout=100)
        self.assertEqual((self.server.held_keys(), self.server.held_buttons()), (set(), set()))
        self.assertEqual(code, exit_code, self.caster.complaints)

    def check_signal(self, address, number):
        self.hold(address)
        self.caster.process.send_signal(number)
        self.assert_ends(0)


class Ends(HeldInputTest):
    """The user ends it, or its time is up."""

    def test_interrupted(self):
        self.check_signal("127.0.4.1", signal.SIGINT)

    def test_terminated(self):
        self.check_signal("127.0.4.2", signal.SIGTERM)

    def test_hung_up(self):
        self.check_signal("127.0.4.3", signal.SIGHUP)

    def test_its_time_is_up(self):
        self.hold("127.0.4.4", "--duration", 10)
        self.assert_ends(0)


class Losses(HeldInputTest):
    """The hub is gone, or no longer answers."""

    def test_the_hub_is_killed(self):
        self.hold("127.0.4.10")
        self.receiver.signal(signal.SIGKILL)
        self.assert_ends(1)

    def test_the_hub_stops_answering(self):
        self.hold("127.0.4.11")
        self.addCleanup(self.receiver.signal, signal.SIGCONT)  # else it cannot end
        self.receiver.signal(signal.SIGSTOP)
        self.assert_ends(1)
        self.assertEqual(self.caster.events[-1]["code"], 3)


if __name__ == "__main__":
    unittest.main()
