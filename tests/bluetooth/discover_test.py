"""`tessel discover` against a BlueZ that the test plays."""
import json
import socket
import subprocess
import unittest

import dbus

from bluez import BUILD, PATIENCE, BlueZTest, Program, Terminal, beacon

DEVICE = 'C0_1E_AC_5B_00_01'


class DiscoverTest(BlueZTest):
    def setUp(self):
        super().setUp()
        self.bluez.plug()

    def start(self, *arguments):
        program = Program('bin/tessel', 'discover', *arguments)
        self.addCleanup(program.interrupt)
        return program

    def appear(self, rssi=-52, **identity):
        self.bluez.wait_for_call('StartDiscovery')
        self.bluez.appear(DEVICE, {'RSSI': dbus.Int16(rssi),
                                   'ManufacturerData': beacon(**identity)})

    def test_json_reports_a_hub_and_its_end(self):
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

    def hub(self, address, name):
        hub = Program('bin/tessel-hub', '--bind', address, '--name', name, '--headless',
                      '--no-advertise', '--json')
        self.addCleanup(hub.interrupt)
        hub.expect('"listening"')
        return hub

    def test_the_name_is_read_from_the_hub(self):
        self.hub('127.1.2.3', 'Room "1" & 2')
        program = self.start('--json')
        self.appear(major=0x7F01, minor=0x0203)
        self.assertEqual(json.loads(program.expect('"name":"')),
                         {'event': 'hub', 'address': '127.1.2.3', 'name': 'Room "1" & 2',
                          'rssi': -52})

    def test_the_last_signal_is_reported_although_nothing_follows(self):
        program = self.start('--json')
        self.appear(major=0x7F01, minor=0x0206)
        program.expect('"rssi":-52')
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-80)})
        program.expect('"rssi":-80')

    def test_the_table_follows_the_size_of_the_terminal(self):
        terminal = Terminal(24, 80, 'bin/tessel', 'discover')
        self.addCleanup(terminal.close)
        self.bluez.wait_for_call('StartDiscovery')
        for i in range(1, 13):
            self.bluez.appear('C0_1E_AC_5B_00_%02X' % i, {
                'RSSI': dbus.Int16(-52),
                'ManufacturerData': beacon(major=0x7F01, minor=0x0300 + i)})
        self.assertEqual(len(terminal.expect('127.1.3.12 ')), 13)
        terminal.resize(8, 60)
        lines = terminal.expect('... and 7 more')
        self.assertEqual(lines[0], 'NAME                ADDRESS          SIGNAL         HEARD')
        self.assertEqual(len(lines), 7)

    def test_a_hostile_name_leaves_the_table_as_it_is(self):
        self.hub('127.1.2.4', '\u202e\x9b2J' + '\u4e2d' * 300)
        terminal = Terminal(24, 80, 'bin/tessel', 'discover')
        self.addCleanup(terminal.close)
        self.appear(major=0x7F01, minor=0x0204)
        row = terminal.expect('\u4e2d')[1]
        name, rest = row.split('127.1.2.4')
        self.assertEqual(name.rstrip(), '\\u{202e}\\x9b2J' + '\u4e2d' * 9 + '...')
        self.assertEqual(len(name) + name.count('\u4e2d'), 36)
        self.assertRegex(rest, r'^ +\|{4} -52 dBm   \d+ s ago$')

    def test_a_hostile_name_is_plain_ascii_in_json(self):
        self.hub('127.1.2.5', '\u202e\x9b2J' + '\u4e2d' * 300)
        program = self.start('--json')
        self.appear(major=0x7F01, minor=0x0205)
        line = program.expect('"name":"')
        self.assertTrue(line.isascii() and line.isprintable(), line)
        self.assertEqual(json.loads(line)['name'], '\u202e\x9b2J' + '\u4e2d' * 252 + '...')

    def test_a_cast_by_name_goes_to_the_hub_of_that_name(self):
        others, wanted = self.hub('127.1.4.1', 'Room 1'), self.hub('127.1.4.2', 'Room 2')
        program = Program('bin/tessel', 'cast', '--name', 'Room 2', '--screen', 'pattern:320x240',
                          '--json')
        self.addCleanup(program.interrupt)
        self.bluez.wait_for_call('StartDiscovery')
        for number, rssi in ((1, -40), (2, -70)):
            self.bluez.appear('C0_1E_AC_5B_00_0%d' % number, {
                'RSSI': dbus.Int16(rssi),
                'ManufacturerData': beacon(major=0x7F01, minor=0x0400 + number)})
        program.expect('"state":2')
        wanted.expect('"session"')
        self.assertEqual(program.interrupt(), 0)
        others.interrupt()
        self.assertFalse([line for line in others.lines if '"session"' in line])

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

    def test_a_cast_to_a_hub_by_name_reports_the_hubs_found_meanwhile(self):
        program = Program('bin/tessel', 'cast', '--name', 'Room 1', errors=subprocess.STDOUT)
        self.addCleanup(program.interrupt)
        self.assertEqual(program.expect(''),
                         'Listening for the hub "Room 1" ... (Ctrl-C to stop)')
        self.appear()
        self.assertEqual(program.expect('so far'), 'Heard so far: a hub without a name at '
                         '192.168.1.100. Still listening for the hub "Room 1".')
        self.assertEqual(program.interrupt(), 0)

    def test_a_cast_to_the_first_hub_reports_that_there_is_none(self):
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
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-70)})  # reported at the latest as gone
        self.assertEqual(process.wait(PATIENCE), 0)

    def test_the_time_is_up(self):
        self.assertEqual(self.wait(self.start('--json', '--timeout', '5')), 0)

    def test_bluetooth_that_is_off_is_reported_and_fails_in_the_end(self):
        self.bluez.power(False)
        program = self.start('--timeout', '5')
        self.assertIn('tessel doctor', program.expect('.'))
        self.assertEqual(self.wait(program), 1)

    def wait(self, program):
        program.process.wait(PATIENCE)
        return program.finish()


if __name__ == '__main__':
    unittest.main()
