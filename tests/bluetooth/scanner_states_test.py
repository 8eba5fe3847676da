"""Which adapter the scanner uses, and the state of Bluetooth that it publishes."""
import unittest

import dbus

from bluez import beacon
from scanner import (DEVICE, OFF, ON, RESETTING, UNAUTHORIZED, UNSUPPORTED, ScannerTest,
                     ScanningTest)


class WithAnAdapter(ScanningTest):
    def test_power_off_and_on(self):
        self.scanning()
        self.bluez.power(False)
        self.probe.expect(OFF)
        self.bluez.power(True)
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery', 2)

    def test_the_version_is_reported(self):
        self.scanning()
        self.probe.tell('version')
        # 9 is what the adapter says; a controller of this machine's own comes first.
        self.assertGreaterEqual(int(self.probe.expect('version').split()[1]), 6)

    def test_unplugged_and_plugged_in_again(self):
        self.scanning()
        self.bluez.unplug()
        self.probe.expect(UNSUPPORTED)
        self.bluez.plug()
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery')

    def test_a_restart_of_bluetoothd_is_a_reset(self):
        self.scanning()
        self.bluez.stop()
        self.probe.expect(RESETTING)
        self.bluez.start()
        self.bluez.plug(powered=False)
        self.bluez.power(True)
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery')
        self.assertNotIn(UNSUPPORTED, self.states())

    def test_a_bluetoothd_that_stays_away_leaves_nothing_to_use(self):
        self.scanning()
        self.bluez.stop()
        self.probe.expect(RESETTING)
        self.probe.expect(UNSUPPORTED)

    def test_a_restart_of_the_bus_is_a_reset(self):
        self.scanning()
        self.bluez.stop()
        self.bus.stop()
        self.probe.expect(RESETTING)
        self.bus.start()
        self.bluez.start()
        self.bluez.plug()
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery')

    def test_another_adapter_takes_over(self):
        self.scanning()
        self.bluez.plug('hci10')
        self.bluez.plug('hci2')
        self.bluez.unplug()
        self.bluez.wait_for_call('StartDiscovery', name='hci2')
        self.bluez.power(False, 'hci2')
        self.bluez.wait_for_call('StartDiscovery', name='hci10')
        # One that comes back does not take over from one that works.
        self.bluez.power(True, 'hci2')
        self.bluez.plug()
        self.bluez.appear(DEVICE, {'RSSI': dbus.Int16(-40), 'ManufacturerData': beacon()}, 'hci10')
        self.probe.expect('beacon 49320 356 -59 -40')
        self.assertEqual(self.states(), [ON])
        self.assertEqual(self.bluez.calls('hci0'), [])


class WithTwoAdapters(ScannerTest):
    def prepare(self):
        self.bluez.plug('hci0', powered=False)
        self.bluez.plug('hci10')
        self.bluez.plug('hci2')

    def test_the_first_powered_one_is_used(self):
        self.assertEqual(self.probe.expect('state'), ON)
        self.bluez.wait_for_call('StartDiscovery', name='hci2')
        self.assertEqual(self.bluez.calls('hci10') + self.bluez.calls('hci0'), [])


class WithAnAdapterThatIsOff(ScannerTest):
    def prepare(self):
        self.bluez.plug(powered=False)

    def test_it_is_powered_off(self):
        self.probe.expect(OFF)
        self.assertEqual(self.bluez.calls(), [])


class WithABlockedAdapter(ScannerTest):
    def prepare(self):
        self.bluez.plug(powered=False, PowerState='off-blocked')

    def test_it_is_powered_off_until_it_is_let_go(self):
        self.assertEqual(self.probe.expect('state'), OFF)
        self.bluez.change(PowerState='off')
        self.bluez.change(PowerState='off-enabling')
        self.bluez.change(PowerState='on', Powered=dbus.Boolean(True))
        self.assertEqual(self.probe.expect('state'), ON)


class WithAnAdapterWithoutLowEnergy(ScannerTest):
    def prepare(self):
        self.bluez.plug(Roles=dbus.Array([], signature='s'))

    def test_it_is_unsupported(self):
        self.probe.expect(UNSUPPORTED)
        self.assertEqual(self.bluez.calls(), [])

    def test_one_with_low_energy_takes_over(self):
        self.probe.expect(UNSUPPORTED)
        self.bluez.plug('hci1', powered=False)
        self.probe.expect(OFF)
        self.bluez.power(True, 'hci1')
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery', name='hci1')
        self.bluez.power(False, 'hci1')
        self.probe.expect(OFF)
        self.assertEqual(self.bluez.calls(), [])


class WithASecondAdapterThatHasLowEnergy(ScannerTest):
    def prepare(self):
        self.bluez.plug(Roles=dbus.Array([], signature='s'))
        self.bluez.plug('hci1')

    def test_the_second_is_used(self):
        self.assertEqual(self.probe.expect('state'), ON)
        self.bluez.wait_for_call('StartDiscovery', name='hci1')
        self.assertEqual(self.bluez.calls(), [])


class WithoutAnAdapter(ScannerTest):
    def test_it_is_unsupported_until_one_is_plugged_in(self):
        self.probe.expect(UNSUPPORTED)
        self.bluez.plug()
        self.probe.expect(ON)


class WithoutBluetoothd(ScannerTest):
    with_service = False

    def test_it_is_unsupported_until_bluetoothd_starts(self):
        self.probe.expect(UNSUPPORTED)
        self.bluez.start()
        self.bluez.plug()
        self.probe.expect(ON)


class WithoutABus(ScannerTest):
    with_bus = False

    def test_it_is_unsupported_until_there_is_a_bus(self):
        self.probe.expect(UNSUPPORTED)
        self.bus.start()
        self.bluez.start()
        self.bluez.plug()
        self.probe.expect(ON)


class RefusedByTheBus(ScannerTest):
    # The test itself may speak to BlueZ; what asks for its objects by their manager may not.
    policy = ('<deny send_destination="org.bluez" '
              'send_interface="org.freedesktop.DBus.ObjectManager"/>')

    def test_it_is_unauthorized(self):
        self.probe.expect(UNAUTHORIZED)


if __name__ == '__main__':
    unittest.main()
