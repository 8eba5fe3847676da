"""Which signals of BlueZ are beacons."""
import unittest

import dbus

from bluez import beacon, manufacturer_data
from scanner import DEVICE, ON, ScanningTest


class Advertisements(ScanningTest):
    def test_every_signal_of_a_device_is_an_advertisement(self):
        self.scanning()
        self.listed(rssi=-60)
        self.probe.expect('beacon 49320 356 -59 -60')
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-61), 'ManufacturerData': beacon()})
        self.probe.expect('beacon 49320 356 -59 -61')
        # BlueZ leaves out what has not changed.
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-62)})
        self.probe.expect('beacon 49320 356 -59 -62')
        self.bluez.hear(DEVICE, {'ManufacturerData': beacon(minor=0x0165)})
        self.probe.expect('beacon 49320 357 -59 -62')

    def test_a_strength_that_is_not_reported_is_127(self):
        self.scanning()
        self.listed()
        self.bluez.hear(DEVICE, {}, ['RSSI'])
        self.bluez.hear(DEVICE, {'ManufacturerData': beacon()})
        self.probe.expect('beacon 49320 356 -59 127')

    def test_other_companies_and_other_properties_are_no_beacons(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        self.bluez.hear(DEVICE, {'TxPower': dbus.Int16(4), 'Alias': 'x'})
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-50),
                               'ManufacturerData': manufacturer_data(b'\x02\x15' + bytes(21), 117)})
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-51)})
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-52), 'ManufacturerData': beacon()})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -52')

    def test_a_beacon_is_found_among_the_data_of_other_companies(self):
        self.scanning()
        data = beacon()
        data[dbus.UInt16(7)] = dbus.Array(b'\x02\x15' + bytes(21), signature='y', variant_level=1)
        data[dbus.UInt16(117)] = dbus.Array(b'', signature='y', variant_level=1)
        self.listed(ManufacturerData=data)
        self.probe.expect('beacon 49320 356 -59 -60')
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-61)})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -61')

    def test_a_device_that_has_gone_is_forgotten_and_may_come_again(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        self.bluez.vanish(DEVICE)
        self.listed(rssi=-70)
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -70')

    def test_the_devices_of_a_second_adapter_are_ignored(self):
        self.scanning()
        self.bluez.plug('hci1')
        self.bluez.appear(DEVICE, {'RSSI': dbus.Int16(-40), 'ManufacturerData': beacon()}, 'hci1')
        self.listed(rssi=-60)
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -60')

    def test_signals_of_other_senders_are_ignored(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        other = dbus.bus.BusConnection(self.bus.address)
        self.addCleanup(other.close)
        for name in other.list_names():
            if not name.startswith(':'):
                continue
            signal = dbus.lowlevel.SignalMessage('/org/bluez/hci0/dev_' + DEVICE,
                                                 'org.freedesktop.DBus.Properties',
                                                 'PropertiesChanged')
            signal.append('org.bluez.Device1', {'RSSI': dbus.Int16(-1)}, [], signature='sa{sv}as')
            signal.set_destination(name)
            other.send_message(signal)
        other.flush()
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-62)})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -62')

    def test_properties_of_hostile_types_are_ignored(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        nested = dbus.Dictionary({'a': dbus.Array([dbus.Dictionary({'b': 1}, signature='sv')],
                                                  signature='a{sv}')}, signature='sv')
        wrong = {
            'RSSI': ['-60', dbus.Double(-60), dbus.Boolean(True), nested, dbus.ObjectPath('/')],
            'ManufacturerData': [
                'text', dbus.Int32(1), dbus.Array([1, 2], signature='y'), nested,
                dbus.Dictionary({}, signature='qv'),
                dbus.Dictionary({'76': 'x'}, signature='sv'),
                dbus.Dictionary({dbus.UInt16(76): 'text'}, signature='qv'),
                dbus.Dictionary({dbus.UInt16(76): dbus.Array(['a'], signature='s')}, signature='qv'),
                manufacturer_data(b''), manufacturer_data(bytes(60000))],
        }
        for name, values in wrong.items():
            for value in values:
                self.bluez.hear(DEVICE, {name: value})
        for value in ['yes', dbus.Int32(0), nested]:
            self.bluez.change(Powered=value, Discovering=value, Roles=value)
        self.bluez.hear(DEVICE, {'ManufacturerData': beacon(), 'RSSI': dbus.Int16(-62),
                               'Other': nested})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -62')
        self.assertEqual(self.states(), [ON])

    def test_numbers_that_no_strength_can_be_are_ignored(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        for value in [dbus.Int16(-128), dbus.Int16(21), dbus.Int16(126), dbus.Int16(128),
                      dbus.Byte(200), dbus.UInt16(60000), dbus.Int32(2 ** 31 - 1),
                      dbus.Int32(-2 ** 31), dbus.UInt32(2 ** 32 - 60)]:
            self.bluez.hear(DEVICE, {'RSSI': value})
        for value in [dbus.Int16(-127), dbus.Int16(20), dbus.Int16(127)]:
            self.bluez.hear(DEVICE, {'RSSI': value})
            self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 %d' % value)


class WithARememberedDevice(ScanningTest):
    def prepare(self):
        super().prepare()
        self.listed()

    def test_it_counts_once_it_advertises(self):
        self.scanning()
        self.bluez.hear(DEVICE, {'RSSI': dbus.Int16(-62)})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -62')


if __name__ == '__main__':
    unittest.main()
