"""`tessel discover` against a BlueZ that the test plays."""
import json
import socket
import subprocess
import unittest

import dbus

from bluez import BUILD, PATIENCE, BlueZ, Bus, Program, beacon

DEVICE = 'C0_1E_AC_5B_00_01'


class DiscoverTest(unittest.TestCase):
    def setUp(self):
        self.bus = Bus()
        self.addCleanup(self.bus.close)
        self.bluez = BlueZ()
        self.addCleanup(self.bluez.stop)
        self.bus.start()
        self.bluez.start()
        self.bluez.plug()

    def start(self, *arguments):
        program = Program('bin/tessel', 'discover', *arguments)
        self.addCleanup(program.interrupt)
        return program

    def appear(self, rssi=-52, **identity):
        self.bluez.wait_for_call('StartDiscovery')
        self.bluez.appear(DEVICE, {'RSSI': dbus.Int16(rssi),
                                   'ManufacturerData': beacon(**identity)})

    def test_json_tells_of_a_hub_and_of_its_end(self):
        program = self.start('--json')
        self.appear()
        self.assertEqual(json.loads(program.expect('"hub"')),
                         {'event': 'hub', 'address': '192.168.1.100', 'name': None, 'rssi': -52})
        self.assertEqual(json.loads(program.expect('"gone"')),
                         {'event': 'gone', 'address': '192.168.1.100', 'name': None})
        self.assertEqual(program.interrupt(), 0)

    def test_a_person_reads_lines(self):
        program = self.start()
        self.appear()
        line = program.expect('found')
        self.assertIn('192.168.1.100', line)
        self.assertIn('-52 dBm', line)

    def test_an_unknown_strength_is_null(self):
        program = self.start('--json')
        self.appear(127)
        self.assertIsNone(json.loads(program.expect('"hub"'))['rssi'])

    def test_the_name_is_read_from_the_hub(self):
        hub = Program('bin/tessel-hub', '--bind', '127.1.2.3', '--name', 'Room "1" & 2',
                      '--headless', '--no-advertise', '--json')
        self.addCleanup(hub.interrupt)
        hub.expect('"listening"')
        program = self.start('--json')
        self.appear(major=0x7F01, minor=0x0203)
        self.assertEqual(json.loads(program.expect('"name":"')),
                         {'event': 'hub', 'address': '127.1.2.3', 'name': 'Room "1" & 2',
                          'rssi': -52})

    def test_a_cast_to_the_first_hub_listens_no_longer_once_it_has_found_one(self):
        # A hub that takes the connection and never answers.
        with socket.create_server(('127.5.3.1', 55555)):
            program = Program('bin/tessel', 'cast', '--first', '--screen', 'pattern', '--json')
            self.addCleanup(program.interrupt)
            self.bluez.wait_for_call('StartDiscovery')
            self.bluez.appear(DEVICE, {'RSSI': dbus.Int16(-52),
                                       'ManufacturerData': beacon(major=0x7F05, minor=0x0301)})
            program.expect('"state"')
            self.bluez.wait_for_call('StopDiscovery')

    def test_a_cast_to_a_hub_by_name_tells_what_it_hears_meanwhile(self):
        program = Program('bin/tessel', 'cast', '--name', 'Room 1', errors=subprocess.STDOUT)
        self.addCleanup(program.interrupt)
        self.assertEqual(program.expect(''),
                         'Listening for the hub "Room 1" ... (Ctrl-C to stop)')
        self.appear()
        self.assertEqual(program.expect('so far'), 'Heard so far: a hub without a name at '
                         '192.168.1.100. Still listening for the hub "Room 1".')
        self.assertEqual(program.interrupt(), 0)

    def test_a_cast_to_the_first_hub_tells_that_none_is_heard(self):
        program = Program('bin/tessel', 'cast', '--first', errors=subprocess.STDOUT)
        self.addCleanup(program.interrupt)
        program.expect('Listening for a hub')
        program.expect('No hub has been heard so far. Still listening for a hub.')

    def test_a_reader_that_goes_away_ends_it(self):
        process = subprocess.Popen([BUILD / 'bin/tessel', 'discover', '--json'],
                                   stdout=subprocess.PIPE)
        self.addCleanup(process.kill)
        self.appear()
        self.assertTrue(any(b'"hub"' in line for line in process.stdout))
        process.stdout.close()
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-70)})  # told of at the latest as gone
        self.assertEqual(process.wait(PATIENCE), 0)

    def test_the_time_is_up(self):
        self.assertEqual(self.wait(self.start('--json', '--timeout', '2')), 0)

    def test_bluetooth_that_is_off_is_told_and_fails_in_the_end(self):
        self.bluez.power(False)
        program = self.start('--timeout', '2')
        self.assertIn('tessel doctor', program.expect('.'))
        self.assertEqual(self.wait(program), 1)

    def wait(self, program):
        program.process.wait(PATIENCE)
        return program.finish()


if __name__ == '__main__':
    unittest.main()
