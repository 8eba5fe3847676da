"""The receiver's advertisement on a BlueZ that the test plays."""
import unittest

import dbus

from bluez import HUB, BlueZTest, Program

ADVERTISED, NOT = 'Advertised over Bluetooth', 'Not advertised over Bluetooth'


class AdvertiserTest(BlueZTest):
    addresses = ['10.77.1.5']
    environment = {}

    def setUp(self):
        super().setUp()
        self.prepare()
        self.probe = Program('bin/advertiser_probe', *self.addresses, env=self.environment)
        self.addCleanup(self.end)

    def prepare(self):
        self.bluez.plug()

    def end(self):
        self.assertEqual(self.probe.finish(), 0)

    def advertised(self):
        """The properties of the advertisement, as BlueZ reads them."""
        for name in self.bluez.bus.list_names():
            if not name.startswith(':'):
                continue
            try:
                thing = self.bluez.bus.get_object(name, '/org/tessel/advertisement',
                                                  introspect=False)
                return thing.GetAll('org.bluez.LEAdvertisement1',
                                    dbus_interface=dbus.PROPERTIES_IFACE, timeout=5)
            except dbus.DBusException:
                pass
        return None

    def beacon(self):
        data = self.advertised()['ManufacturerData']
        self.assertEqual(list(data), [0x004C])
        return bytes(data[0x004C]).hex().upper()


class OnAnAdapter(AdvertiserTest):
    def test_the_beacon_carries_the_address(self):
        self.probe.expect(ADVERTISED)
        self.assertEqual(self.advertised()['Type'], 'broadcast')
        self.assertEqual(self.beacon(), '0215' + HUB + '0A4D' + '0105' + 'C5')

    def test_power_off_and_on(self):
        self.probe.expect(ADVERTISED)
        self.bluez.power(False)
        self.assertIn('powered off', self.probe.expect(NOT))
        self.bluez.power(True)
        self.probe.expect(ADVERTISED)
        self.bluez.wait_for_call('RegisterAdvertisement', 2)

    def test_a_restart_of_bluetoothd(self):
        self.probe.expect(ADVERTISED)
        self.bluez.stop()
        self.probe.expect(NOT)
        self.bluez.start()
        self.bluez.plug()
        self.probe.expect(ADVERTISED)

    def test_a_released_advertisement_is_registered_again(self):
        self.probe.expect(ADVERTISED)
        for name in self.bluez.bus.list_names():
            if name.startswith(':'):
                thing = self.bluez.bus.get_object(name, '/org/tessel/advertisement',
                                                  introspect=False)
                thing.Release(dbus_interface='org.bluez.LEAdvertisement1', ignore_reply=True)
        self.bluez.wait_for_call('RegisterAdvertisement', 2)

    def test_unplugged(self):
        self.probe.expect(ADVERTISED)
        self.bluez.unplug()
        self.assertIn('no Bluetooth adapter', self.probe.expect(NOT))


class OnAnAdapterThatCannotAdvertise(AdvertiserTest):
    def prepare(self):
        self.bluez.plug()
        self.bluez.let_advertise(False)

    def test_it_says_so_until_the_adapter_can(self):
        self.assertIn('cannot advertise', self.probe.expect(NOT))
        self.bluez.power(False)
        self.assertIn('powered off', self.probe.expect(NOT))
        self.bluez.power(True)
        self.assertIn('cannot advertise', self.probe.expect(NOT))
        self.bluez.let_advertise(True)
        self.probe.expect(ADVERTISED)
        self.bluez.let_advertise(False)
        self.assertIn('cannot advertise', self.probe.expect(NOT))
        self.bluez.let_advertise(True)
        self.probe.expect(ADVERTISED)
        self.assertEqual([method for method, _ in self.bluez.calls()],
                         ['RegisterAdvertisement'] * 2)


class OnAnAdapterThatIsFull(AdvertiserTest):
    def prepare(self):
        self.bluez.plug()
        self.bluez.fail('RegisterAdvertisement', 'org.bluez.Error.NotPermitted')

    def test_it_says_so_and_tries_again(self):
        self.assertIn('org.bluez.Error.NotPermitted', self.probe.expect(NOT))
        self.probe.expect(ADVERTISED)


class WithoutAnAdapter(AdvertiserTest):
    def prepare(self):
        pass

    def test_it_says_so_in_one_line(self):
        self.assertIn('no Bluetooth adapter', self.probe.expect(NOT))
        self.assertEqual(len(self.probe.lines), 1)

    def test_one_that_is_plugged_in_is_used(self):
        self.assertIn('no Bluetooth adapter', self.probe.expect(NOT))
        self.bluez.plug()
        self.assertTrue(self.probe.expect('').startswith(ADVERTISED))


class OnAChosenAdapter(AdvertiserTest):
    environment = {'TESSEL_ADAPTER': 'hci1'}

    def prepare(self):
        self.bluez.plug()
        self.bluez.plug('hci1')

    def test_no_other_is_used(self):
        self.probe.expect(ADVERTISED)
        self.bluez.wait_for_call('RegisterAdvertisement', name='hci1')
        self.assertEqual(self.bluez.calls('hci0'), [])


class WithAnEmptyChoice(AdvertiserTest):
    environment = {'TESSEL_ADAPTER': ''}

    def test_the_first_one_is_used(self):
        self.probe.expect(ADVERTISED)
        self.bluez.wait_for_call('RegisterAdvertisement', name='hci0')


class AtAddressesThatNoBeaconCanCarry(AdvertiserTest):
    addresses = ['127.0.0.2', 'fe80::1']

    def test_the_first_one_is_named(self):
        self.assertIn('cannot carry the address 127.0.0.2', self.probe.expect(NOT))


class AtSeveralAddresses(AdvertiserTest):
    addresses = ['10.0.0.5', 'fe80::1', '10.77.1.5', '10.77.1.6']

    def test_the_first_one_that_a_beacon_can_carry_is_advertised(self):
        self.probe.expect(ADVERTISED)
        self.assertEqual(self.beacon(), '0215' + HUB + '0A4D' + '0105' + 'C5')


class AtNoAddress(AdvertiserTest):
    addresses = []

    def test_there_is_no_network(self):
        self.assertIn('no network address', self.probe.expect(NOT))


if __name__ == '__main__':
    unittest.main()
