"""What the tests stand on: a private system bus, a BlueZ on it, and programs that use them."""
import fcntl
import os
import re
import select
import struct
import subprocess
import tempfile
import termios
import threading
import time
import unittest
from pathlib import Path

import dbus
import dbusmock

HERE = Path(__file__).resolve().parent
BUILD = Path(os.environ['TESSEL_BUILD'])
ADAPTER, DEVICE = 'org.bluez.Adapter1', 'org.bluez.Device1'
HUB = '7D1E4B9A2C634F08A5B791E0C4D2F86B'
# Generous: it bounds a wait for an event, and the machine may be busy.
PATIENCE = int(os.environ.get('TESSEL_PATIENCE', '30'))

BUS = '''<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <keep_umask/>
  <listen>unix:path=%s</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
    %s
  </policy>
</busconfig>
'''


def wait_until(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError('not in time: ' + what)
        time.sleep(0.02)


def manufacturer_data(data, company=76):
    """a{qv} with bytes inside."""
    return dbus.Dictionary({dbus.UInt16(company): dbus.Array(data, signature='y', variant_level=1)},
                           signature='qv', variant_level=1)


def beacon(major=0xC0A8, minor=0x0164, uuid=HUB, power=-59):
    return manufacturer_data(bytes.fromhex('0215' + uuid) + major.to_bytes(2, 'big') +
                             minor.to_bytes(2, 'big') + (power & 0xFF).to_bytes(1, 'big'))


class Bus:
    """A private system bus at an address that outlives it."""

    def __init__(self, policy=''):
        self.folder = tempfile.TemporaryDirectory(prefix='bus')
        self.policy = policy
        self.address = 'unix:path=%s/socket' % self.folder.name
        os.environ['DBUS_SYSTEM_BUS_ADDRESS'] = self.address
        self.daemon = None

    def start(self):
        config = Path(self.folder.name, 'config')
        config.write_text(BUS % (self.folder.name + '/socket', self.policy))
        self.daemon = subprocess.Popen(
            ['dbus-daemon', '--nofork', '--nopidfile', '--print-address', '--config-file', config],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.daemon.stdout.readline()

    def stop(self):
        if self.daemon:
            self.daemon.kill()
            self.daemon.wait()
            self.daemon.stdout.close()
            Path(self.folder.name, 'socket').unlink(missing_ok=True)
        self.daemon = None

    def close(self):
        self.stop()
        self.folder.cleanup()


class BlueZ:
    """A bluetoothd that does what the test says."""

    def __init__(self):
        self.server = None

    def start(self):
        self.server, _ = dbusmock.DBusTestCase.spawn_server_template(
            str(HERE / 'bluez_template.py'), stdout=subprocess.DEVNULL)
        self.bus = dbusmock.DBusTestCase.get_dbus(True)
        self.test = dbus.Interface(self.bus.get_object('org.bluez', '/'), 'org.tessel.Test')

    def stop(self):
        if self.server:
            self.server.kill()
            self.server.wait()
            self.bus.close()
        self.server = None

    def plug(self, name='hci0', powered=True, **more):
        properties = dict({'Powered': dbus.Boolean(powered), 'Discovering': dbus.Boolean(False),
                           'Version': dbus.Byte(9),
                           'Roles': dbus.Array(['central', 'peripheral'], signature='s')}, **more)
        self.test.Add('/org/bluez/' + name, ADAPTER, dbus.Dictionary(properties, signature='sv'))

    def unplug(self, name='hci0'):
        self.test.Remove('/org/bluez/' + name)

    def let_advertise(self, may, name='hci0'):
        self.test.LetAdvertise('/org/bluez/' + name, may)

    def change(self, name='hci0', **changed):
        self.test.Change('/org/bluez/' + name, ADAPTER, dbus.Dictionary(changed, signature='sv'),
                         dbus.Array([], signature='s'))

    def power(self, on, name='hci0'):
        """As BlueZ signals it: a discovery ends with the power."""
        if on:
            self.change(name, Powered=dbus.Boolean(True))
        else:
            self.change(name, Powered=dbus.Boolean(False), Discovering=dbus.Boolean(False))

    def appear(self, device, properties, name='hci0'):
        self.test.Add('/org/bluez/%s/dev_%s' % (name, device), DEVICE,
                      dbus.Dictionary(properties, signature='sv'))

    def hear(self, device, changed=(), invalidated=(), name='hci0'):
        self.test.Change('/org/bluez/%s/dev_%s' % (name, device), DEVICE,
                         dbus.Dictionary(changed, signature='sv'),
                         dbus.Array(invalidated, signature='s'))

    def vanish(self, device, name='hci0'):
        self.test.Remove('/org/bluez/%s/dev_%s' % (name, device))

    def fail(self, method, *errors, name='hci0'):
        self.test.Fail('/org/bluez/' + name, method, dbus.Array(errors, signature='s'))

    def calls(self, name='hci0'):
        """The methods called so far, in order."""
        mock = dbus.Interface(self.bus.get_object('org.bluez', '/org/bluez/' + name),
                              dbusmock.MOCK_IFACE)
        return [(str(method), args) for _, method, args in mock.GetCalls()]

    def wait_for_call(self, method, count=1, name='hci0'):
        wait_until(lambda: sum(m == method for m, _ in self.calls(name)) >= count,
                   '%d calls of %s' % (count, method))


class BlueZTest(unittest.TestCase):
    """Each test with a BlueZ of its own, without an adapter, on a bus of its own."""
    policy = ''  # of the bus
    with_bus = True
    with_service = True

    def setUp(self):
        self.bus = Bus(self.policy)
        self.addCleanup(self.bus.close)
        self.bluez = BlueZ()
        self.addCleanup(self.bluez.stop)
        if self.with_bus:
            self.bus.start()
        if self.with_bus and self.with_service:
            self.bluez.start()


class Program:
    """A program of the build whose lines the test waits for."""

    def __init__(self, *command, env=None, errors=None):
        """`errors`: where standard error goes; subprocess.STDOUT for lines as well."""
        self.lines = []
        self.read = 0
        self.changed = threading.Condition()
        self.ended = False
        self.process = subprocess.Popen(
            [str(BUILD / command[0]), *command[1:]], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=errors, text=True, env=dict(os.environ, **(env or {})))
        self.reader = threading.Thread(target=self.collect)
        self.reader.start()

    def collect(self):
        for line in self.process.stdout:
            with self.changed:
                self.lines.append(line.rstrip('\n'))
                self.changed.notify_all()
        with self.changed:
            self.ended = True
            self.changed.notify_all()

    def expect(self, text):
        """Waits for a line with this text after those read before; returns it."""
        with self.changed:
            end = time.monotonic() + PATIENCE
            while True:
                while self.read < len(self.lines):
                    self.read += 1
                    if text in self.lines[self.read - 1]:
                        return self.lines[self.read - 1]
                left = end - time.monotonic()
                if left <= 0 or self.ended:
                    raise AssertionError('no line with "%s" in %s' % (text, self.lines))
                self.changed.wait(left)

    def skip(self):
        """Takes all lines so far as read."""
        with self.changed:
            self.read = len(self.lines)

    def tell(self, line):
        self.process.stdin.write(line + '\n')
        self.process.stdin.flush()

    def interrupt(self):
        self.process.send_signal(2)
        return self.finish()

    def finish(self):
        """Ends the input and waits for the end; returns the exit status."""
        if not self.process.stdin.closed:
            self.process.stdin.close()
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            status = self.process.wait()
        self.reader.join()
        self.process.stdout.close()
        return status


class Terminal:
    """A program of the build that draws its table on a terminal."""

    def __init__(self, rows, columns, *command):
        self.drawn = ''
        self.terminal, program_side = os.openpty()
        self.resize(rows, columns)
        self.process = subprocess.Popen([str(BUILD / command[0]), *command[1:]],
                                        stdin=program_side, stdout=program_side,
                                        stderr=program_side)
        os.close(program_side)

    def resize(self, rows, columns):
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack('4H', rows, columns, 0, 0))

    def expect(self, *texts):
        """Waits for a table with these texts that is drawn from now on; returns its lines."""
        end = time.monotonic() + PATIENCE
        self.drawn = ''
        while True:
            for table in re.findall(r'\x1b\[\?7l(.*?)\x1b\[\?7h', self.drawn, re.DOTALL):
                if all(text in table for text in texts):
                    return table.replace('\x1b[K', '').splitlines()
            left = max(0, end - time.monotonic())
            if not select.select([self.terminal], [], [], left)[0]:
                raise AssertionError('no table with %s in %s' % (texts, self.drawn))
            self.drawn += os.read(self.terminal, 65536).decode(errors='replace')

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self.terminal)
