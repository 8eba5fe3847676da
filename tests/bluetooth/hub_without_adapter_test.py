"""`tessel-hub` where there is no Bluetooth adapter."""
import http.client
import json
import unittest

from bluez import BlueZTest, Program

NONE = 'Not advertised over Bluetooth: there is no Bluetooth adapter.'


class HubWithoutAdapterTest(BlueZTest):
    def hub(self, address, *options):
        hub = Program('bin/tessel-hub', '--bind', address, '--headless', '--json', *options)
        self.addCleanup(hub.interrupt)
        hub.expect('"listening"')
        return hub

    def notices_at_the_end(self, hub):
        self.assertEqual(hub.interrupt(), 0)
        events = [json.loads(line) for line in hub.lines]
        return [event['text'] for event in events if event['event'] == 'notice']

    def test_it_says_so_once_and_serves(self):
        hub = self.hub('127.1.5.1')
        hub.expect(NONE)
        sender = http.client.HTTPConnection('127.1.5.1', 55555, timeout=30)
        self.addCleanup(sender.close)
        sender.request('GET', '/device-details.xml')
        self.assertIn(b'<friendlyName>', sender.getresponse().read())
        notices = self.notices_at_the_end(hub)
        self.assertEqual(len(notices), 1)
        self.assertTrue(notices[0].startswith(NONE))

    def test_it_says_nothing_where_it_is_not_to_advertise(self):
        silent = self.hub('127.1.5.2', '--no-advertise')
        # By the time a hub that began later has spoken, the silent one would have.
        self.hub('127.1.5.3').expect(NONE)
        self.assertEqual(self.notices_at_the_end(silent), [])


if __name__ == '__main__':
    unittest.main()
