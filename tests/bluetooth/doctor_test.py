"""What `tessel doctor` says of a Bluetooth that the test plays."""
import json
import unittest

from bluez import BlueZTest, Program

NEEDS_NONE = ' Casting to the address of a hub needs no Bluetooth.'


class DoctorTest(BlueZTest):
    def finding(self):
        program = Program('bin/tessel', 'doctor', '--json')
        self.addCleanup(program.finish)
        return json.loads(program.expect('"bluetooth"'))

    def test_without_an_adapter_one_is_to_be_plugged_in(self):
        self.assertEqual(self.finding(), {
            'event': 'finding', 'area': 'bluetooth', 'usable': False,
            'description': 'Your hardware does not support Bluetooth Low Energy',
            'advice': 'Plug in a Bluetooth adapter of version 4.0 or newer; if there is one, check '
                      'that the Bluetooth service runs: systemctl status bluetooth.' + NEEDS_NONE})

    def test_an_adapter_that_is_off_is_to_be_turned_on(self):
        self.bluez.plug(powered=False)
        finding = self.finding()
        self.assertFalse(finding['usable'])
        self.assertEqual(finding['description'], 'Bluetooth is powered off')
        # What keeps it off is this machine's own; see BluetoothAdviceTest.
        self.assertIn(finding['advice'].removesuffix(NEEDS_NONE), (
            "Turn Bluetooth on in the desktop's settings, or run: bluetoothctl power on.",
            'Turn airplane mode off, or run: rfkill unblock bluetooth.',
            'A switch or key of this computer keeps Bluetooth off: flip it.'))

    def test_an_adapter_that_is_on_needs_no_advice(self):
        self.bluez.plug()
        self.assertEqual(self.finding(), {
            'event': 'finding', 'area': 'bluetooth', 'usable': True,
            'description': 'Bluetooth is on and available', 'advice': ''})

    def test_a_person_reads_a_line_and_the_advice_below_it(self):
        program = Program('bin/tessel', 'doctor')
        self.addCleanup(program.finish)
        self.assertEqual(program.expect('bluetooth'), 'NO    bluetooth      '
                         'Your hardware does not support Bluetooth Low Energy')
        self.assertTrue(program.expect('').startswith(' ' * 21 + 'Plug in a Bluetooth adapter'))


if __name__ == '__main__':
    unittest.main()
