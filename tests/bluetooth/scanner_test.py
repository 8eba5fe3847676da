"""The scanner against a BlueZ that the test plays."""
import time
import unittest

import dbus

from bluez import BlueZTest, Program, beacon, manufacturer_data

HERE = 'dev_C0_1E_AC_5B_00_01'[4:]
ON, OFF = 'state BVGBluetoothStatePoweredOn', 'state  BVGBluetoothStatePoweredOff'
RESETTING, UNSUPPORTED = 'state BVGBluetoothStateResetting', 'state BVGBluetoothStateUnsupported'
UNAUTHORIZED = 'state BVGBluetoothStateUnauthorized'


class ScannerTest(BlueZTest):
    def setUp(self):
        super().setUp()
        self.prepare()
        self.probe = Program('bin/radio_probe')
        self.addCleanup(self.end)

    def prepare(self):
        pass

    def end(self):
        self.assertEqual(self.probe.finish(), 0)

    def states(self):
        return [line for line in self.probe.lines if line.startswith('state')]

    def listed(self, device=HERE, rssi=-60, **more):
        """A device that was just heard."""
        self.bluez.appear(device, dict({'RSSI': dbus.Int16(rssi), 'ManufacturerData': beacon()},
                                       **more))


class WithAnAdapter(ScannerTest):
    def prepare(self):
        self.bluez.plug()

    def scanning(self):
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery')

    def test_scans_for_low_energy_with_duplicates(self):
        self.scanning()
        (first, arguments), (second, _) = self.bluez.calls()[:2]
        self.assertEqual((first, second), ('SetDiscoveryFilter', 'StartDiscovery'))
        self.assertEqual(arguments[0], {'Transport': 'le', 'DuplicateData': True})

    def test_every_signal_of_a_device_is_an_advertisement(self):
        self.scanning()
        self.listed(rssi=-60)
        self.probe.expect('beacon 49320 356 -59 -60')
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-61), 'ManufacturerData': beacon()})
        self.probe.expect('beacon 49320 356 -59 -61')
        # BlueZ leaves out what has not changed.
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-62)})
        self.probe.expect('beacon 49320 356 -59 -62')
        self.bluez.hear(HERE, {'ManufacturerData': beacon(minor=0x0165)})
        self.probe.expect('beacon 49320 357 -59 -62')

    def test_a_strength_that_is_not_told_is_127(self):
        self.scanning()
        self.listed()
        self.bluez.hear(HERE, {}, ['RSSI'])
        self.bluez.hear(HERE, {'ManufacturerData': beacon()})
        self.probe.expect('beacon 49320 356 -59 127')

    def test_other_companies_and_other_properties_are_no_beacons(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        self.bluez.hear(HERE, {'TxPower': dbus.Int16(4), 'Alias': 'x'})
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-50),
                               'ManufacturerData': manufacturer_data(b'\x02\x15' + bytes(21), 117)})
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-51)})
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-52), 'ManufacturerData': beacon()})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -52')

    def test_a_device_that_has_gone_is_forgotten_and_may_come_again(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        self.bluez.vanish(HERE)
        self.listed(rssi=-70)
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -70')

    def test_power_off_and_on(self):
        self.scanning()
        self.bluez.power(False)
        self.probe.expect(OFF)
        self.bluez.power(True)
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery', 2)

    def test_the_version_is_told(self):
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

    def test_a_discovery_that_bluez_ends_is_begun_again(self):
        self.scanning()
        self.bluez.change(Discovering=dbus.Boolean(False))
        self.bluez.wait_for_call('StartDiscovery', 2)
        self.assertEqual(self.states(), [ON])

    def test_stopping_and_starting(self):
        self.scanning()
        self.probe.tell('stop')
        self.bluez.wait_for_call('StopDiscovery')
        self.listed()
        self.probe.tell('start')
        self.bluez.wait_for_call('StartDiscovery', 2)
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-62)})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -62')

    def test_the_devices_of_a_second_adapter_are_not_heard(self):
        self.scanning()
        self.bluez.plug('hci1')
        self.bluez.appear(HERE, {'RSSI': dbus.Int16(-40), 'ManufacturerData': beacon()}, 'hci1')
        self.listed(rssi=-60)
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -60')

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
        self.bluez.appear(HERE, {'RSSI': dbus.Int16(-40), 'ManufacturerData': beacon()}, 'hci10')
        self.probe.expect('beacon 49320 356 -59 -40')
        self.assertEqual(self.states(), [ON])
        self.assertEqual(self.bluez.calls('hci0'), [])

    def test_signals_of_strangers_are_not_believed(self):
        self.scanning()
        self.listed()
        self.probe.expect('beacon')
        stranger = dbus.bus.BusConnection(self.bus.address)
        self.addCleanup(stranger.close)
        for name in stranger.list_names():
            if not name.startswith(':'):
                continue
            signal = dbus.lowlevel.SignalMessage('/org/bluez/hci0/dev_' + HERE,
                                                 'org.freedesktop.DBus.Properties',
                                                 'PropertiesChanged')
            signal.append('org.bluez.Device1', {'RSSI': dbus.Int16(-1)}, [], signature='sa{sv}as')
            signal.set_destination(name)
            stranger.send_message(signal)
        stranger.flush()
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-62)})
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
                self.bluez.hear(HERE, {name: value})
        for value in ['yes', dbus.Int32(0), nested]:
            self.bluez.change(Powered=value, Discovering=value, Roles=value)
        self.bluez.hear(HERE, {'ManufacturerData': beacon(), 'RSSI': dbus.Int16(-62),
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
            self.bluez.hear(HERE, {'RSSI': value})
        for value in [dbus.Int16(-127), dbus.Int16(20), dbus.Int16(127)]:
            self.bluez.hear(HERE, {'RSSI': value})
            self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 %d' % value)

    def test_a_busy_bluez_is_asked_again(self):
        self.bluez.fail('StartDiscovery', 'org.bluez.Error.InProgress', 'org.bluez.Error.Failed')
        self.bluez.power(False)
        self.bluez.power(True)
        self.bluez.wait_for_call('StartDiscovery', 3)
        self.listed()
        self.probe.expect('beacon')

    def test_discoveries_that_end_at_once_are_kept_apart(self):
        before = time.monotonic()
        self.probe.expect(ON)
        for count in 1, 2:
            self.bluez.wait_for_call('StartDiscovery', count)
            self.bluez.change(Discovering=dbus.Boolean(False))
        self.bluez.wait_for_call('StartDiscovery', 3)
        self.assertGreaterEqual(time.monotonic() - before, 2)
        self.assertEqual(self.states(), [ON])

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


class WithARememberedDevice(ScannerTest):
    def prepare(self):
        self.bluez.plug()
        self.listed()

    def test_it_counts_once_it_is_heard(self):
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery')
        self.bluez.hear(HERE, {'RSSI': dbus.Int16(-62)})
        self.assertEqual(self.probe.expect('beacon'), 'beacon 49320 356 -59 -62')


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
