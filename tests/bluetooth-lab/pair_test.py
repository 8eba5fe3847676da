"""Two controllers that hear each other: a hub advertises on one, the host program lists it."""
import subprocess
import time
import unittest

from bluez import Program
from lab import bluetoothd, event

ADDRESS, NAME = '10.77.1.5', 'Room 7'


class PairTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # No number of the address may be 0, as those of the loopback addresses are.
        subprocess.run(['busybox', 'ifconfig', 'lo:1', ADDRESS, 'up'], check=True)

    def setUp(self):
        self.hub = Program('bin/tessel-hub', '--bind', ADDRESS, '--name', NAME, '--headless',
                           env={'TESSEL_ADAPTER': 'hci1'})
        self.addCleanup(self.hub.interrupt)
        self.hub.expect('Advertised over Bluetooth')

    def discover(self):
        program = Program('bin/tessel', 'discover', '--json', env={'TESSEL_ADAPTER': 'hci0'})
        self.addCleanup(program.interrupt)
        return program

    def test_a_hub_is_listed_and_goes_when_it_ends(self):
        program = self.discover()
        _, listening = event(program, 'bluetooth', description='Bluetooth is on and available')
        _, found = event(program, 'hub', address=ADDRESS, name=NAME)
        self.assertLess(found - listening, 3)
        self.hub.interrupt()
        ended = time.monotonic()
        _, gone = event(program, 'gone', address=ADDRESS, name=NAME)
        self.assertLess(gone - ended, 17)

    def test_both_go_on_after_a_restart_of_bluetoothd(self):
        program = self.discover()
        event(program, 'hub', address=ADDRESS, name=NAME)
        bluetoothd.stop()
        self.hub.expect('Not advertised')
        event(program, 'bluetooth', description='Bluetooth is resetting.')
        event(program, 'gone', address=ADDRESS)
        bluetoothd.start()
        self.hub.expect('Advertised over Bluetooth')
        event(program, 'bluetooth', description='Bluetooth is on and available')
        event(program, 'hub', address=ADDRESS, name=NAME)


if __name__ == '__main__':
    unittest.main()
