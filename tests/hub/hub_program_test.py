#!/usr/bin/python3
"""Talks to the real tessel-hub as a sender does, over loopback.

    hub_program_test.py TESSEL_HUB [unittest options]
"""

import itertools
import os
import pathlib
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import zlib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "e2e"))

from hub import Hub  # noqa: E402
from scripted_sender import (CAPTURE_REPLY, CONTEXT_RESPONSE, DISPLAY_OPENING_NEW,  # noqa: E402
                             DISPLAY_OPENING_OLD, FRAME_ACKNOWLEDGEMENT, KEYBOARD_OPENING,
                             MOUSE_OPENING, Sender, context_request, frame_messages, is_closed,
                             mouse_report, receive, test_stream)

PROGRAM = None
WIDTH, HEIGHT = 640, 360
# Each class of tests runs in a process of its own, side by side with the others.
ADDRESSES = (f"127.18.{zlib.crc32(sys.argv[-1].encode()) % 250 + 1}.{number}"
             for number in itertools.count(1))


class HubTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.frames = test_stream(WIDTH, HEIGHT, 20)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.address = next(ADDRESSES)

    def hub(self, *options, window=False, **environment):
        hub = Hub(PROGRAM, self.address, *options, *([] if window else ["--headless"]),
                  env={**os.environ, **environment})
        self.addCleanup(hub.stop)
        hub.wait_for("listening")
        return hub

    def sender(self, **options):
        sender = Sender(self.address, **options)
        self.addCleanup(sender.close)
        return sender


class CastTest(HubTest):
    """A whole cast, for each version, with and without TLS."""

    def cast(self, version, *options, certificate=None):
        recording, picture = self.folder / "cast.h264", self.folder / "cast.png"
        hub = self.hub("--version", version, "--record", str(recording), "--snapshot", str(picture),
                       "--frame-events", *options)
        sender = self.sender(version=version, certificate=certificate)
        location, token = sender.launch()
        self.assertEqual(len(token), 16)
        self.assertIn("<state>running</state>", sender.request("GET", location)[2])
        sender.open_display(WIDTH, HEIGHT)
        sender.open_mouse()
        sender.open_keyboard()
        hub.wait_for("session", state="input")
        sender.send_frames(self.frames)
        sender.close()
        ended = hub.wait_for("ended")
        self.assertEqual((ended["framesReceived"], ended["framesShown"]), (20, 20))
        self.assertIsNone(ended["problem"])
        self.assertIn("<state>stopped</state>", sender.request("GET", location)[2])
        self.assertEqual(hub.stop(), 0)
        self.assertEqual([e["number"] for e in hub.events if e["event"] == "frame"],
                         list(range(1, 21)))
        self.assertEqual(recording.read_bytes(), b"".join(self.frames))
        header = picture.read_bytes()[:24]
        self.assertEqual(struct.unpack(">II", header[16:]), (WIDTH, HEIGHT))
        return location

    def test_old_hub(self):
        self.assertEqual(self.cast("1.3"),
                         f"http://{self.address}:55555/apps/ReceiverAppV1/run")

    def test_new_hub(self):
        self.assertEqual(self.cast("1.4"),
                         f"http://{self.address}:55555/apps/ReceiverAppV2/run")

    def test_newer_hub(self):
        self.assertEqual(self.cast("1.5"), f"http://{self.address}:55555/apps/CasterApp/run")

    def test_multi_token_hub(self):
        self.assertRegex(self.cast("1.6"),
                         f"http://{self.address}:55555/apps/CasterApp/[0-9a-f]{{16}}$")

    def test_old_hub_with_tls(self):
        trusted = str(self.folder / "hub.pem")
        location = self.cast("1.3", "--tls", "9443", "--write-cert", trusted, certificate=trusted)
        self.assertEqual(location, f"https://{self.address}:9443/apps/ReceiverAppV1/run")

    def test_multi_token_hub_with_tls(self):
        trusted = str(self.folder / "hub.pem")
        location = self.cast("1.6", "--tls", "9443", "--write-cert", trusted, certificate=trusted)
        self.assertRegex(location, f"https://{self.address}:9443/apps/CasterApp/[0-9a-f]{{16}}$")

    def test_certificate_of_the_user(self):
        certificate, key = str(self.folder / "own.pem"), str(self.folder / "own.key")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                        "-keyout", key, "-out", certificate, "-subj", "/CN=own",
                        "-addext", f"subjectAltName=IP:{self.address}"],
                       check=True, capture_output=True, timeout=30)
        self.cast("1.6", "--tls", "9443", "--cert", certificate, "--key", key,
                  certificate=certificate)


class SessionTest(HubTest):
    def test_a_busy_hub_refuses_the_second_sender_and_keeps_the_first(self):
        hub = self.hub()
        first, second = self.sender(), self.sender(source="127.0.0.77")
        url, details = first.details()
        self.assertIn("<busy>0</busy>", details)
        first.launch()
        self.assertIn("<busy>1</busy>", first.details()[1])
        first.open_display(WIDTH, HEIGHT)
        self.assertEqual(second.request("POST", url + "CasterApp")[0], 503)
        self.assertTrue(is_closed(second.channel(1494, DISPLAY_OPENING_NEW)))
        self.assertTrue(is_closed(second.channel(1494, MOUSE_OPENING)))
        first.send_frames(self.frames)
        first.close()
        self.assertEqual(hub.wait_for("ended")["framesShown"], 20)
        self.assertIn("<busy>0</busy>", first.details()[1])
        second.open_display(WIDTH, HEIGHT)

    def test_openings_of_the_other_protocol_are_refused(self):
        self.hub("--version", "1.3")
        sender = self.sender(version="1.3")
        self.assertTrue(is_closed(sender.channel(1494, DISPLAY_OPENING_NEW)))
        self.assertTrue(is_closed(sender.channel(8500, DISPLAY_OPENING_OLD)))

    def test_unknown_applications_are_not_launched(self):
        self.hub("--version", "1.4")
        sender = self.sender(version="1.4")
        url, _ = sender.details()
        self.assertEqual(sender.request("POST", url + "CasterApp")[0], 404)
        self.assertEqual(sender.request("POST", url + "ReceiverAppV2")[0], 201)

    def test_input_channels_without_a_cast_are_closed(self):
        self.hub()
        for opening in (MOUSE_OPENING, KEYBOARD_OPENING):
            self.assertTrue(is_closed(self.sender().channel(1494, opening)))

    def test_the_sender_may_stop_the_application(self):
        hub = self.hub()
        sender = self.sender()
        location, _ = sender.launch()
        sender.open_display(WIDTH, HEIGHT)
        self.assertEqual(sender.request("DELETE", location)[0], 200)
        hub.wait_for("ended")
        self.assertEqual(sender.request("DELETE", location)[0], 404)

    def test_noise_is_acknowledged_like_a_frame(self):
        hub = self.hub()
        sender = self.sender()
        sender.open_display(WIDTH, HEIGHT)
        sender.send_frames([os.urandom(70000) for _ in range(12)])
        sender.send_frames(self.frames)
        sender.close()
        ended = hub.wait_for("ended")
        self.assertEqual(ended["framesReceived"], 32)
        self.assertGreaterEqual(ended["framesShown"], 20)

    def test_a_sender_out_of_step_is_dropped_and_the_next_one_served(self):
        hub = self.hub()
        mistakes = {
            b"\x03\x00\x90\x00": "a message of 3 bytes",
            frame_messages(b"x"): "the sender sent a frame before it asked for a context",
            context_request(0, 0): "the context request asks for a picture of 0 by 0",
        }
        for message, problem in mistakes.items():
            with self.sender() as sender:
                stream = sender.channel(1494, DISPLAY_OPENING_NEW)
                stream.sendall(message)
                self.assertEqual(hub.wait_for("ended")["problem"], problem)
                self.assertTrue(is_closed(stream))
        self.sender().open_display(WIDTH, HEIGHT)

    def test_a_sender_that_never_reads_does_not_block_the_hub(self):
        hub = self.hub()
        sender = self.sender()
        sender.open_display(WIDTH, HEIGHT)
        for frame in self.frames * 20:
            sender.display.sendall(frame_messages(frame))
        sender.close()
        hub.wait_for("ended", timeout=30)

    def test_many_connections_without_an_opening_leave_room_for_a_cast_later(self):
        hub = self.hub()
        silent = [self.sender().channel(1494, b"") for _ in range(16)]
        self.assertTrue(is_closed(self.sender().channel(1494, b"")))
        for stream in silent:
            stream.close()
        with self.sender() as sender:
            deadline = time.monotonic() + 15
            while True:
                try:
                    sender.open_display(WIDTH, HEIGHT)
                    break
                except (EOFError, ConnectionError):
                    # The hub may still be noticing that the silent ones have gone.
                    self.assertLess(time.monotonic(), deadline, "no room after the silent ones have gone")
        hub.wait_for("ended")

    def test_a_snapshot_is_written_when_asked_for(self):
        picture = self.folder / "now.png"
        hub = self.hub("--snapshot", str(picture))
        hub.signal(signal.SIGUSR1)
        hub.wait_for("notice", text="There is no picture yet to take a snapshot of.")
        sender = self.sender()
        sender.open_display(WIDTH, HEIGHT)
        sender.send_frames(self.frames[:1])
        hub.signal(signal.SIGUSR1)
        self.assertEqual(hub.wait_for("snapshot")["path"], str(picture))
        self.assertTrue(picture.read_bytes().startswith(b"\x89PNG"))

    def test_a_signal_ends_the_session_and_the_hub_with_a_snapshot(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(signal=number):
                self.address = next(ADDRESSES)
                picture = self.folder / f"{number}.png"
                hub, sender = self.hub("--snapshot", str(picture)), self.sender()
                sender.open_display(WIDTH, HEIGHT)
                sender.send_frames(self.frames[:1])
                hub.signal(number)
                hub.wait_for("ended")
                hub.wait_for("snapshot", path=str(picture))
                self.assertEqual(hub.exit_code(), 0)
                self.assertTrue(is_closed(sender.display))

    def test_a_hub_that_is_to_outlive_its_terminal_does(self):
        nohup = self.folder / "nohup"
        nohup.write_text(f'#!/bin/sh\nexec nohup "{PROGRAM}" "$@"\n')
        nohup.chmod(0o700)
        hub = Hub(str(nohup), self.address, "--headless")
        self.addCleanup(hub.stop)
        hub.wait_for("listening")
        sender = self.sender()
        sender.open_display(WIDTH, HEIGHT)
        hub.signal(signal.SIGHUP)
        sender.send_frames(self.frames)
        sender.close()
        self.assertEqual(hub.wait_for("ended")["framesShown"], 20)


class InputTest(HubTest):
    def play(self, script):
        path = self.folder / "script"
        path.write_text(script)
        hub = self.hub("--script", str(path))
        sender = self.sender()
        sender.open_display(WIDTH, HEIGHT)
        sender.open_mouse()
        sender.open_keyboard()
        return hub, sender

    def test_a_script_reaches_the_sender(self):
        hub, sender = self.play('move 258 3\nclick right\nwheel -2\ntext "aB"\nspecial 3\n')
        hub.wait_for("script", state="finished")
        place = bytes.fromhex("02010300")
        self.assertEqual(receive(sender.mouse, 32), b"".join(
            b"\x08\x0d" + place + bytes(rest) for rest in ((1, 0), (8, 0), (16, 0), (32, 2))))
        expected = [(0, "a"), (1, "a"), (2, 5), (0, "B"), (1, "B"), (3, 5), (2, 3), (3, 3)]
        self.assertEqual(receive(sender.keyboard, 64), b"".join(
            struct.pack("<IBBh", 8, 0, flag, code if isinstance(code, int) else ord(code))
            for flag, code in expected))

    def test_a_script_waits_for_pictures_and_ends_the_hub(self):
        hub, sender = self.play("wait-frame 5\nquit\n")
        hub.wait_for("script", state="started")
        for frame in self.frames[:5]:
            sender.display.sendall(frame_messages(frame))
        hub.wait_for("script", state="finished")
        self.assertEqual(hub.wait_for("ended")["framesShown"], 5)
        self.assertEqual(hub.exit_code(), 0)

    def test_cursor_reports_may_stand_between_the_handshake(self):
        hub = self.hub()
        sender = self.sender()
        sender.open_display(WIDTH, HEIGHT)
        sender.mouse = sender.channel(1494, MOUSE_OPENING + mouse_report(1, 2))
        sender.mouse.sendall(bytes.fromhex("02000000020000000101") + mouse_report(3, 4)
                             + bytes.fromhex("02000000020000000301") + mouse_report(5, 6))
        self.assertEqual(receive(sender.mouse, 20)[10:], CAPTURE_REPLY)
        for x, y in ((1, 2), (3, 4), (5, 6)):
            hub.wait_for("cursor", x=x, y=y)


class WindowTest(HubTest):
    def test_pictures_are_shown_and_all_acknowledged(self):
        hub = self.hub(window=True, SDL_VIDEODRIVER="dummy")
        sender = self.sender()
        sender.open_display(WIDTH, HEIGHT)
        for frame in self.frames:
            sender.display.sendall(frame_messages(frame))
            self.assertEqual(sender.next_command(), FRAME_ACKNOWLEDGEMENT)
        sender.close()
        self.assertEqual(hub.wait_for("ended")["framesShown"], 20)
        self.assertEqual(hub.stop(), 0)

    def test_without_a_display_the_hub_gives_notice_and_goes_on(self):
        bare = {name: "" for name in ("DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR")}
        hub = Hub(PROGRAM, self.address, env={**os.environ, **bare, "SDL_VIDEODRIVER": "x11"})
        self.addCleanup(hub.stop)
        self.assertIn("without one, as with --headless", hub.wait_for("notice")["text"])
        hub.wait_for("listening")


class CommandLineTest(HubTest):
    def run_hub(self, *options):
        return subprocess.run([PROGRAM, *options], capture_output=True, text=True, timeout=30)

    def test_a_taken_port_is_reported_with_a_remedy(self):
        self.hub()
        result = self.run_hub("--bind", self.address, "--headless")
        self.assertEqual(result.returncode, 1)
        self.assertIn(f"Port 1494 of {self.address} cannot be had", result.stderr)
        self.assertIn("--bind", result.stderr)

    def test_a_faulty_script_is_reported_before_anything_starts(self):
        script = self.folder / "script"
        script.write_text("move 1 2\nfly\n")
        result = self.run_hub("--script", str(script), "--headless")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn('line 2: "fly" is not a word of the script language', result.stderr)

    def test_a_folder_is_no_script(self):
        folder = self.folder / "scripts\n"
        folder.mkdir()
        result = self.run_hub("--script", str(folder), "--headless")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertEqual(result.stderr,
                         f"tessel-hub: The script {self.folder}/scripts\\x0a cannot be read.\n")

    def test_files_that_cannot_be_written_are_reported(self):
        for option in ("--record", "--log", "--snapshot"):
            result = self.run_hub("--bind", self.address, "--headless", option, "/nonexistent/file")
            self.assertEqual(result.returncode, 1)
            self.assertIn("/nonexistent/file cannot be written", result.stderr)

    def test_a_file_without_a_certificate_is_reported(self):
        result = self.run_hub("--bind", self.address, "--headless", "--tls", "--cert", "/dev/null",
                              "--key", "/dev/null")
        self.assertEqual(result.returncode, 1)
        self.assertIn("/dev/null holds no certificate", result.stderr)


if __name__ == "__main__":
    PROGRAM = sys.argv.pop(1)
    unittest.main()
