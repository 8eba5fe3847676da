"""A BlueZ for python3-dbusmock: adapters and devices that the test makes and changes.

dbusmock's own BlueZ has no power states, and its devices have manufacturer data of the wrong
type. Here the test gives every property with its type, right or wrong.
"""
import dbus

from dbusmock import mockobject

BUS_NAME = 'org.bluez'
MAIN_OBJ = '/'
SYSTEM_BUS = True
IS_OBJECT_MANAGER = True

TEST = 'org.tessel.Test'
ADAPTER = 'org.bluez.Adapter1'
ADVERTISING = 'org.bluez.LEAdvertisingManager1'
OBJECT_MANAGER = 'org.freedesktop.DBus.ObjectManager'

# A failure that the test has ordered comes first; then BlueZ's own rule.
FAIL = '''
errors = self.failures.get('%s', [])
if errors:
    raise dbus.exceptions.DBusException('ordered by the test', name=errors.pop(0))
'''
SET_DISCOVERING = '''
self.props['%s']['Discovering'] = dbus.Boolean(%s, variant_level=1)
self.EmitSignal('org.freedesktop.DBus.Properties', 'PropertiesChanged', 'sa{sv}as',
                ['%s', {'Discovering': dbus.Boolean(%s)}, []])
'''
START = FAIL % 'StartDiscovery' + '''
if not self.props['%s']['Powered']:
    raise dbus.exceptions.DBusException('Resource Not Ready', name='org.bluez.Error.NotReady')
''' % ADAPTER + SET_DISCOVERING % (ADAPTER, True, ADAPTER, True)
STOP = SET_DISCOVERING % (ADAPTER, False, ADAPTER, False)
# The path and its owner are kept, for the test to read what is advertised.
REGISTER = FAIL % 'RegisterAdvertisement' + 'self.advertised.append(args[0])'
UNREGISTER = 'self.advertised.remove(args[0])'


def load(mock, _parameters):
    pass


def added(manager, path, interfaces):
    manager.EmitSignal(OBJECT_MANAGER, 'InterfacesAdded', 'oa{sa{sv}}',
                       [dbus.ObjectPath(path), interfaces])


def removed(manager, path, interfaces):
    manager.EmitSignal(OBJECT_MANAGER, 'InterfacesRemoved', 'oas',
                       [dbus.ObjectPath(path), interfaces])


@dbus.service.method(TEST, in_signature='ssa{sv}', out_signature='')
def Add(manager, path, interface, properties):
    """An object with one interface; an adapter can discover and advertise as well."""
    manager.AddObject(path, interface, properties, dbus.Array([], signature='(ssss)'))
    thing = mockobject.objects[path]
    if interface == ADAPTER:
        thing.failures = {}
        thing.advertised = []
        thing.AddMethods(ADAPTER, [('SetDiscoveryFilter', 'a{sv}', '', FAIL % 'SetDiscoveryFilter'),
                                   ('StartDiscovery', '', '', START),
                                   ('StopDiscovery', '', '', STOP)])
        thing.AddMethods(ADVERTISING, [('RegisterAdvertisement', 'oa{sv}', '', REGISTER),
                                       ('UnregisterAdvertisement', 'o', '', UNREGISTER)])
        thing.props[ADVERTISING] = {}
    added(manager, path, thing.props)


@dbus.service.method(TEST, in_signature='s', out_signature='')
def Remove(manager, path):
    interfaces = list(mockobject.objects[path].props)
    manager.RemoveObject(path)
    removed(manager, path, interfaces)


@dbus.service.method(TEST, in_signature='sb', out_signature='')
def LetAdvertise(manager, path, may):
    """Whether an adapter has the interface to advertise."""
    thing = mockobject.objects[path]
    if may:
        thing.props[ADVERTISING] = {}
        added(manager, path, {ADVERTISING: {}})
    else:
        del thing.props[ADVERTISING]
        removed(manager, path, [ADVERTISING])


@dbus.service.method(TEST, in_signature='ssa{sv}as', out_signature='')
def Change(manager, path, interface, changed, invalidated):
    thing = mockobject.objects[path]
    thing.props[interface].update(changed)
    for name in invalidated:
        thing.props[interface].pop(name, None)
    thing.EmitSignal('org.freedesktop.DBus.Properties', 'PropertiesChanged', 'sa{sv}as',
                     [interface, changed, invalidated])


@dbus.service.method(TEST, in_signature='ssas', out_signature='')
def Fail(_manager, path, method, errors):
    """The next calls of this method fail with these errors."""
    mockobject.objects[path].failures[method] = [str(error) for error in errors]
