"""How the scanner starts and stops the discovery of an adapter."""
import time
import unittest

import dbus

from scanner import DEVICE, OFF, ON, UNAUTHORIZED, UNSUPPORTED, ScanningTest


class Discovery(ScanningTest):
    def test_scans_for_low_energy_with_duplicates(self):
        self.scanning()
        (first, arguments), (second, _) = self.bluez.calls()[:2]
        self.assertEqual((first, second), ('SetDiscoveryFilter', 'StartDiscovery'))
        self.assertEqual(arguments[0], {'Transport': 'le', 'DuplicateData': True})

    def test_stopping_and_starting(self):
        self.scanning()
        self.probe.tell('stop')
        self.bluez.wait_for_call('StopDiscovery')
        self.listed()
        self.probe.tell('start')
        self.bluez.wait_for_call('StartDiscovery', 2)
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-62)})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -62')

    def test_a_discovery_that_bluez_ends_is_begun_again(self):
        self.scanning()
        self.bluez.change(Discovering=dbus.Boolean(False))
        self.bluez.wait_for_call('StartDiscovery', 2)
        self.assertEqual(self.states(), [ON])

    def test_discoveries_that_end_at_once_are_kept_apart(self):
        before = time.monotonic()
        self.probe.expect(ON)
        for count in 1, 2:
            self.bluez.wait_for_call('StartDiscovery', count)
            self.bluez.change(Discovering=dbus.Boolean(False))
        self.bluez.wait_for_call('StartDiscovery', 3)
        self.assertGreaterEqual(time.monotonic() - before, 2)
        self.assertEqual(self.states(), [ON])

    def test_a_busy_bluez_is_asked_again(self):
        self.bluez.fail('StartDiscovery', 'org.bluez.Error.InProgress', 'org.bluez.Error.Failed')
        self.bluez.power(False)
        self.bluez.power(True)
        self.bluez.wait_for_call('StartDiscovery', 3)
        self.listed()
        self.probe.expect('beacon')

    def held_up(self):
        """The next try would be made in 8 s."""
        self.scanning()
        self.bluez.fail('StartDiscovery', *['org.bluez.Error.InProgress'] * 4)
        self.bluez.power(False)
        self.probe.expect(OFF)
        self.bluez.power(True)
        self.bluez.wait_for_call('StartDiscovery', 5)
        return time.monotonic()

    def test_a_power_off_and_on_ends_the_pause(self):
        before = self.held_up()
        self.bluez.power(False)
        self.bluez.power(True)
        self.bluez.wait_for_call('StartDiscovery', 6)
        self.assertLess(time.monotonic() - before, 5)

    def test_what_holds_up_one_adapter_holds_up_no_other(self):
        before = self.held_up()
        self.bluez.plug('hci1')
        self.bluez.unplug()
        self.bluez.wait_for_call('StartDiscovery', name='hci1')
        self.assertLess(time.monotonic() - before, 5)

    def test_a_filter_that_bluez_does_not_take_is_done_without(self):
        self.bluez.fail('SetDiscoveryFilter', 'org.bluez.Error.NotSupported')
        self.scanning()
        self.listed()
        self.probe.expect('beacon')

    def refuse(self):
        self.bluez.power(False)
        self.bluez.fail('StartDiscovery', 'org.bluez.Error.NotAuthorized')
        self.bluez.power(True)
        self.probe.expect(UNAUTHORIZED)

    def test_a_refusal_of_bluez_is_no_authorization_until_the_power_changes(self):
        self.refuse()
        self.bluez.power(False)
        self.probe.expect(OFF)
        self.bluez.power(True)
        self.probe.expect(ON)
        self.listed()
        self.probe.expect('beacon')

    def test_a_refusal_goes_with_its_adapter(self):
        self.refuse()
        self.bluez.unplug()
        self.probe.expect(UNSUPPORTED)
        self.bluez.plug()
        self.probe.expect(ON)

    def test_a_refusal_holds_for_no_other_adapter(self):
        self.refuse()
        self.bluez.plug('hci1')
        self.bluez.unplug()
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery', name='hci1')


class WhileADiscoveryIsInProgress(ScanningTest):
    discovering = True  # what BlueZ signals of it

    def prepare(self):
        self.bluez.plug(Discovering=dbus.Boolean(self.discovering))
        self.bluez.fail('StartDiscovery', 'org.bluez.Error.InProgress')

    def scanning(self):
        super().scanning()
        # By the time this is received, the answer to the start was.
        self.listed()
        self.probe.expect('beacon')

    def test_it_is_the_scanners_own(self):
        self.scanning()
        self.probe.tell('stop')
        self.bluez.wait_for_call('StopDiscovery')
        self.assertEqual([method for method, _ in self.bluez.calls()],
                         ['SetDiscoveryFilter', 'StartDiscovery', 'StopDiscovery'])

    def test_another_one_is_begun_at_its_end(self):
        self.scanning()
        self.bluez.change(Discovering=dbus.Boolean(False))
        self.bluez.wait_for_call('StartDiscovery', 2)


class WhileADiscoveryIsBeingStarted(WhileADiscoveryIsInProgress):
    discovering = False

    def scanning(self):
        super().scanning()
        self.bluez.change(Discovering=dbus.Boolean(True))
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-61)})
        self.probe.expect('beacon')

    def test_it_is_the_scanners_own(self):
        self.scanning()
        self.probe.tell('stop')
        self.bluez.wait_for_call('StopDiscovery')


if __name__ == '__main__':
    unittest.main()
