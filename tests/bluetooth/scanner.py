"""What the scanner's tests stand on: the scanner as a program, on a BlueZ that the test plays."""
import dbus

from bluez import BlueZTest, Program, beacon

DEVICE = 'C0_1E_AC_5B_00_01'
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

    def listed(self, device=DEVICE, rssi=-60, **more):
        """A device that has just advertised."""
        self.bluez.appear(device, dict({'RSSI': dbus.Int16(rssi), 'ManufacturerData': beacon()},
                                       **more))


class ScanningTest(ScannerTest):
    """With one adapter, which is on."""

    def prepare(self):
        self.bluez.plug()

    def scanning(self):
        self.probe.expect(ON)
        self.bluez.wait_for_call('StartDiscovery')
