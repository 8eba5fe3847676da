"""The scanner and the host program on one scripted controller."""
import json
import time
import unittest

from bluez import Program, wait_until
from lab import beacon, bluetoothd, event, power, radio, radio_log

ON, OFF = 'state BVGBluetoothStatePoweredOn', 'state  BVGBluetoothStatePoweredOff'
RESETTING, UNSUPPORTED = 'state BVGBluetoothStateResetting', 'state BVGBluetoothStateUnsupported'
HEARD = 'beacon 49320 356 -59'
ADDRESS = '192.168.1.100'


class RadioTest(unittest.TestCase):
    def setUp(self):
        # The scene that every test begins with: one hub, heard ten times a second.
        radio('del b1', beacon('b1', 0x0164), 'dup rssi', 'fail 200c off')

    def start(self, *command):
        program = Program(*command)
        self.addCleanup(self.end, program)
        return program

    def end(self, program):
        self.assertEqual(program.finish(), 0)

    def discover(self, seconds):
        """Runs `tessel discover` to its end; returns its events."""
        program = self.start('bin/tessel', 'discover', '--json', '--timeout', str(seconds))
        program.process.wait()
        program.reader.join()
        return [json.loads(line) for line in program.lines]


class TheScanner(RadioTest):
    def setUp(self):
        super().setUp()
        self.probe = self.start('bin/radio_probe')
        self.probe.expect(ON)
        self.probe.expect(HEARD)

    def heard_again(self):
        self.probe.skip()
        self.probe.expect(HEARD)

    def test_the_strength_of_every_advertisement(self):
        radio('set b1 rssi=-60,-61,-63,-62,-90')
        for strength in (-60, -61, -63, -62, -90):
            self.probe.expect('%s %d' % (HEARD, strength))

    def test_power_off_and_on(self):
        power(False)
        self.probe.expect(OFF)
        power(True)
        self.probe.expect(ON)
        self.probe.expect(HEARD)

    def test_unplugged_and_plugged_in_again(self):
        radio('detach')
        self.probe.expect(UNSUPPORTED)
        radio('attach')
        self.probe.expect(ON)
        self.probe.expect(HEARD)

    def test_a_restart_of_bluetoothd(self):
        bluetoothd.stop()
        self.probe.expect(RESETTING)
        bluetoothd.start()
        self.probe.expect(ON)
        self.probe.expect(HEARD)

    def test_a_fault_of_the_controller(self):
        radio('hwerr')
        time.sleep(1)  # lets what was under way arrive; what comes after is after the fault
        self.heard_again()

    def test_a_controller_that_does_not_start_to_scan_at_once(self):
        # The controller is asked to stop by the same command as to start, and a kernel whose
        # controller refused to stop does not ask it again: the stop has to be over.
        before = radio_log()
        self.probe.tell('stop')
        wait_until(lambda: 'scan off' in radio_log()[len(before):], 'the end of the scan')
        radio('fail 200c 0c 2', 'mark faulty')
        wait_until(lambda: 'faulty' in radio_log()[len(before):], 'the fault')
        self.probe.skip()
        self.probe.tell('start')
        self.probe.expect(HEARD)
        self.assertEqual(radio_log()[len(before):].count('fail op=200c'), 2)

    def test_a_controller_that_did_not_stop_scans_again_after_its_power_was_off(self):
        # The kernel then holds every further scan back, and BlueZ does not even answer.
        radio('fail 200c 0c 1', 'mark refusing')
        wait_until(lambda: 'refusing' in radio_log(), 'the fault')
        self.probe.tell('stop')
        wait_until(lambda: 'fail op=200c' in radio_log().split('refusing')[-1], 'the refusal')
        self.probe.tell('start')
        power(False)
        self.probe.expect(OFF)
        power(True)
        self.probe.expect(ON)
        self.probe.expect(HEARD)

    def test_the_version_comes_from_the_kernel(self):
        self.probe.tell('version')
        self.assertEqual(self.probe.expect('version'), 'version 8')


class TheListOfHubs(RadioTest):
    def test_a_hub_that_falls_silent_goes_within_seventeen_seconds(self):
        program = self.start('bin/tessel', 'discover', '--json', '--timeout', '60')
        event(program, 'hub', address=ADDRESS)
        radio('set b1 on=0')
        silent = time.monotonic()
        _, gone = event(program, 'gone', address=ADDRESS)
        self.assertGreater(gone - silent, 13)
        self.assertLess(gone - silent, 17.5)
        self.assertEqual(program.interrupt(), 0)

    def test_a_hub_heard_once_a_scan_stays(self):
        radio('dup strict')
        events = self.discover(40)
        self.assertIn(ADDRESS, [e.get('address') for e in events])
        self.assertNotIn('gone', [e['event'] for e in events])

    def test_a_hub_mostly_lost_stays(self):
        radio('set b1 loss=90')
        events = self.discover(30)
        self.assertIn(ADDRESS, [e.get('address') for e in events])
        self.assertNotIn('gone', [e['event'] for e in events])

    def test_sixty_hubs(self):
        names = ['m%d' % i for i in range(60)]
        radio(*(beacon(name, 0x0201 + i, addr='C0:1E:AC:5B:01:%02X' % i, every=500)
                for i, name in enumerate(names)))
        self.addCleanup(radio, *('del ' + name for name in names))
        events = self.discover(20)
        addresses = {e['address'] for e in events if e['event'] == 'hub'}
        self.assertLessEqual({'192.168.2.%d' % (i + 1) for i in range(60)}, addresses)


if __name__ == '__main__':
    unittest.main()
