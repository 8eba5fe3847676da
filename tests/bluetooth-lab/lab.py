"""What the tests in the virtual machine stand on: its radio, its bluetoothd, its programs."""
import json
import subprocess
import time
from pathlib import Path

from bluez import HUB, PATIENCE, wait_until

LAB = Path('/run/ble-lab')


def radio(*lines):
    """Tells the scripted controller."""
    with open(LAB / 'ctl', 'w', encoding='ascii') as ctl:
        ctl.write('\n'.join(lines) + '\n')


def radio_log():
    """What the scripted controller has done so far."""
    return (LAB / 'vradio.log').read_text()


def beacon(name, minor, **keys):
    """The line that adds a hub's beacon at 192.168 and the two numbers of `minor`."""
    text = ' '.join('%s=%s' % item for item in dict({'every': 100, 'rssi': -60}, **keys).items())
    return 'add %s ibeacon=%s,0xC0A8,0x%04X,-59 %s' % (name, HUB, minor, text)


def power(on, adapter='hci0'):
    wait_until(lambda: subprocess.call(
        ['busctl', 'set-property', 'org.bluez', '/org/bluez/' + adapter, 'org.bluez.Adapter1',
         'Powered', 'b', 'true' if on else 'false'], stderr=subprocess.DEVNULL) == 0, 'power')


class Bluetoothd:
    """Stops and starts the service."""

    def __init__(self):
        self.pid = int((LAB / 'bluetoothd.pid').read_text())
        self.process = None

    def stop(self):
        if self.process:
            self.process.terminate()
            self.process.wait()
        else:
            subprocess.run(['kill', str(self.pid)], check=True)
            wait_until(lambda: not Path('/proc', str(self.pid), 'exe').exists(),
                       'the end of bluetoothd')

    def start(self):
        self.process = subprocess.Popen(['/usr/libexec/bluetooth/bluetoothd', '-n'],
                                        stderr=subprocess.DEVNULL)


bluetoothd = Bluetoothd()


def event(program, kind, **members):
    """Waits for the JSON line of this event with these members; returns it and when it came."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        line = json.loads(program.expect('"event":"%s"' % kind))
        if all(line.get(name) == value for name, value in members.items()):
            return line, time.monotonic()
    raise AssertionError('no %s with %s' % (kind, members))
