"""Casts with the real programs over loopback."""

import json
import os
import re
import signal
import socket
import subprocess
import unittest

from programs import BINARIES, ProgramTest
from screen import Screen
from silent_hub import SilentHub

PATTERN = ("--screen", "pattern:640x360")


def probe(recording):
    """ffprobe's view of a recorded stream: its video stream, and the errors."""
    result = subprocess.run(
        ["ffprobe", "-v", "error", "-f", "h264", "-count_frames", "-show_streams", "-of", "json",
         recording], capture_output=True, text=True, timeout=60, check=True)
    return json.loads(result.stdout)["streams"][0], result.stderr


def psnr(one, other):
    """Peak signal-to-noise ratio of two pictures in dB."""
    result = subprocess.run(["ffmpeg", "-hide_banner", "-i", one, "-i", other, "-lavfi", "psnr",
                             "-f", "null", "-"], capture_output=True, text=True, timeout=60,
                            check=True)
    found = re.search(r"average:(inf|[\d.]+)", result.stderr)
    return float(found.group(1))


class ProtocolVariants(ProgramTest):
    """Each variant brings the session up, shows frames, and lets it go again."""

    def check(self, address, version, *hub_options, **env):
        hub = self.hub(address, "--version", version, *hub_options)
        caster = self.cast(address, *PATTERN, **env).connected()
        hub.wait_for("session", state="connected", width=640, height=360)
        hub.wait_for("session", state="input")
        hub.wait_for("stats")
        self.assertEqual(caster.end(), 0, caster.complaints)
        ended = hub.wait_for("ended")
        self.assertGreater(ended["framesShown"], 0)
        self.assertEqual([e["state"] for e in caster.events if e["event"] == "state"][:2], [1, 2])

    def test_old_protocol(self):
        self.check("127.0.3.1", "1.3")

    def test_new_protocol(self):
        self.check("127.0.3.2", "1.4")

    def test_new_protocol_with_the_later_application(self):
        self.check("127.0.3.3", "1.5")

    def test_multi_token_protocol(self):
        self.check("127.0.3.4", "1.6")

    def check_tls(self, address, version):
        certificate = self.folder / "hub.pem"
        self.check(address, version, "--tls", "8443", "--write-cert", certificate,
                   SSL_CERT_FILE=str(certificate))

    def test_old_protocol_over_tls(self):
        self.check_tls("127.0.3.5", "1.3")

    def test_new_protocol_over_tls(self):
        self.check_tls("127.0.3.6", "1.4")

    def test_multi_token_protocol_over_tls(self):
        self.check_tls("127.0.3.7", "1.6")

    def test_a_hub_that_is_not_trusted_is_not_cast_to(self):
        self.hub("127.0.3.8", "--version", "1.4", "--tls", "8443")
        caster = self.cast("127.0.3.8", *PATTERN)
        self.assertEqual(caster.exit_code(), 1)
        self.assertEqual(caster.events[-1]["event"], "failed")
        self.assertRegex(caster.complaints, r"not trusted: set .*SSL_CERT_FILE")

    def test_a_certificate_file_that_is_missing_is_named(self):
        self.hub("127.0.3.9", "--version", "1.4", "--tls", "8443")
        caster = self.cast("127.0.3.9", *PATTERN, SSL_CERT_FILE="/nonexistent.pem")
        self.assertEqual(caster.exit_code(), 1)
        self.assertRegex(caster.complaints, r"/nonexistent\.pem.*: set .*SSL_CERT_FILE")


class Picture(ProgramTest):
    """The receiver shows what the screen shows."""

    def test_the_recorded_stream_plays_and_looks_like_the_screen(self):
        recording, snapshot = self.folder / "cast.h264", self.folder / "hub.png"
        hub = self.hub("127.0.3.10", "--record", recording, "--snapshot", snapshot)
        with Screen("1280x720") as screen:
            screen.start("xmessage", "-geometry", "900x300+100+100",
                         "The quick brown fox jumps over the lazy dog 0123456789 " * 20)
            caster = self.cast("127.0.3.10", **screen.env).connected()
            hub.wait_for("session", state="connected", width=1280, height=720)
            hub.wait_for("stats")
            hub.wait_for("stats")
            screen.picture(self.folder / "screen.png")
            self.assertEqual(caster.end(), 0, caster.complaints)
            hub.wait_for("ended")
        hub.stop()
        stream, complaints = probe(recording)
        self.assertEqual(complaints, "")
        self.assertEqual((stream["codec_name"], stream["width"], stream["height"]),
                         ("h264", 1280, 720))
        self.assertEqual(stream["has_b_frames"], 0)
        self.assertGreater(psnr(snapshot, self.folder / "screen.png"), 36)

    def test_an_idle_screen_sends_one_frame_and_no_more(self):
        hub = self.hub("127.0.3.11")
        with Screen("1280x720") as screen:
            caster = self.cast("127.0.3.11", "--stats", **screen.env).connected()
            while (stats := caster.wait_for("stats"))["seconds"] < 5:
                pass
            self.assertEqual(stats["framesEncoded"], 1)
            self.assertEqual(caster.end(), 0, caster.complaints)
            self.assertEqual(hub.wait_for("ended")["framesShown"], 1)

    def test_a_wayland_desktop_is_declined_in_one_sentence(self):
        caster = self.cast("127.0.3.12", "--screen", "auto", WAYLAND_DISPLAY="wayland-0",
                           DISPLAY=":0")
        self.assertEqual(caster.exit_code(), 1)
        self.assertRegex(caster.complaints, r"^[^\n]*Wayland[^\n]*\.\n[^\n]*\(--screen pattern\)\.\n$")
        self.assertEqual([event["event"] for event in caster.events], ["failed"])
        self.assertIn("Wayland", caster.events[0]["description"])


class Ends(ProgramTest):
    """A cast ends in every case, with its reason."""

    def test_duration(self):
        self.hub("127.0.3.20")
        caster = self.cast("127.0.3.20", *PATTERN, "--duration", 1)
        self.assertEqual(caster.exit_code(), 0, caster.complaints)

    def test_interrupt_while_connecting(self):
        # A hub that takes the connection and never answers.
        with socket.create_server(("127.0.3.21", 55555)):
            caster = self.cast("127.0.3.21", *PATTERN)
            caster.wait_for("state", state=1)
            caster.process.send_signal(signal.SIGINT)
            self.assertEqual(caster.exit_code(), 0)

    def test_a_mouse_channel_that_does_not_open_is_reported_and_waited_for(self):
        with SilentHub("127.0.3.27"):
            caster = self.cast("127.0.3.27", *PATTERN)
            notice = caster.wait_for("notice", timeout=60)
            self.assertIn("the hub has not answered, or its answer was not understood",
                          notice["description"])
            self.assertEqual(caster.end(), 0, caster.complaints)

    def test_a_reader_of_the_events_that_goes_away(self):
        hub = self.hub("127.0.3.26")
        log = self.folder / "log"
        process = subprocess.Popen(
            [BINARIES / "tessel", "cast", "127.0.3.26", *PATTERN, "--json", "--stats", "--log", log],
            stdout=subprocess.PIPE, env=dict(os.environ, **self.env))
        self.addCleanup(process.kill)
        for line in process.stdout:
            if json.loads(line) == {"event": "state", "state": 2}:
                break
        process.stdout.close()
        self.assertEqual(process.wait(30), 0)
        self.assertIn("-[TSLSession disconnect]: EXIT", log.read_text())
        hub.wait_for("ended")

    def test_an_address_without_a_hub(self):
        caster = self.cast("127.0.3.22", *PATTERN)
        self.assertEqual(caster.exit_code(), 1)
        self.assertRegex(caster.complaints, r"127\.0\.3\.22 cannot be reached")
        self.assertEqual(caster.events[-1]["event"], "failed")

    def test_a_device_that_answers_with_too_much(self):
        with socket.create_server(("127.0.3.28", 55555)) as server:
            caster = self.cast("127.0.3.28", *PATTERN)
            stream, _ = server.accept()
            with stream:
                stream.settimeout(30)
                stream.recv(4096)
                stream.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 2000000\r\n\r\n")
                self.assertEqual(caster.exit_code(), 1)
        self.assertRegex(caster.complaints, r"answered with more than a hub does \(.*1 MiB\)")

    def test_a_busy_hub(self):
        self.hub("127.0.3.23")
        self.cast("127.0.3.23", *PATTERN).connected()
        second = self.cast("127.0.3.23", *PATTERN)
        self.assertEqual(second.exit_code(), 1)
        self.assertEqual(second.events[-1]["code"], 9)
        self.assertIn("Hub is busy and is not able to accept new casting sessions.",
                      second.complaints)

    def test_a_hub_that_vanishes(self):
        hub = self.hub("127.0.3.24")
        caster = self.cast("127.0.3.24", *PATTERN).connected()
        hub.signal(signal.SIGKILL)
        self.assertEqual(caster.exit_code(timeout=60), 1)
        self.assertEqual(caster.events[-1]["code"], 3)

    def test_the_hub_can_be_cast_to_again(self):
        hub = self.hub("127.0.3.25")
        for _ in range(2):
            caster = self.cast("127.0.3.25", *PATTERN).connected()
            self.assertEqual(caster.end(), 0, caster.complaints)
            hub.wait_for("ended")


class Example(ProgramTest):
    """The README's host."""

    def test_it_casts_until_it_is_interrupted(self):
        for address, number in (("127.0.3.40", signal.SIGINT), ("127.0.3.41", signal.SIGTERM)):
            with self.subTest(signal=number), Screen("640x360") as screen:
                hub = self.hub(address)
                process = subprocess.Popen([BINARIES / "example_cast", address],
                                           env={**os.environ, **self.env, **screen.env})
                self.addCleanup(process.kill)
                hub.wait_for("session", state="input", timeout=60)
                process.send_signal(number)
                self.assertEqual(process.wait(30), 0)
                hub.wait_for("ended")


class Files(ProgramTest):
    """The log, and a damaged configuration."""

    def test_the_log_file_holds_the_sessions_lines(self):
        self.hub("127.0.3.30")
        log = self.folder / "log"
        caster = self.cast("127.0.3.30", *PATTERN, "--log", log).connected()
        self.assertEqual(caster.end(), 0)
        lines = log.read_text().splitlines()
        self.assertNotIn("", lines)
        wanted = ["Application Name:CasterApp",
                  "-[TSLSession disconnect]: ENTER, Session State: 2",
                  "-[TSLSession disconnect]: Closing Display Connection",
                  "-[TSLSession disconnect]: EXIT"]
        self.assertEqual([line for line in lines if line in wanted][:len(wanted)], wanted)

    def test_a_damaged_configuration_file_leaves_the_defaults(self):
        self.hub("127.0.3.31")
        folder = self.folder / "shared" / "Lumisk"
        folder.mkdir(parents=True)
        (folder / "VexCfg.plist").write_bytes(b"\x00\xffnot a property list")
        caster = self.cast("127.0.3.31", *PATTERN).connected()
        self.assertEqual(caster.end(), 0)

    def test_a_folder_that_cannot_be_made_is_logged_and_leaves_the_defaults(self):
        self.hub("127.0.3.32")
        (self.folder / "shared").write_text("a file where a folder should be")
        log = self.folder / "log"
        caster = self.cast("127.0.3.32", *PATTERN, "--log", log).connected()
        self.assertEqual(caster.end(), 0)
        self.assertIn(f"Failed to create '{self.folder}/shared/Lumisk'", log.read_text())

    def test_a_log_that_cannot_be_written_is_reported(self):
        caster = self.cast("127.0.3.33", "--log", self.folder / "missing" / "log")
        self.assertEqual(caster.exit_code(), 1)
        self.assertIn("cannot be written", caster.complaints)


class CommandLines(unittest.TestCase):
    """Wrong usage: one plain sentence, exit code 2."""

    def run_tessel(self, *arguments):
        return subprocess.run([BINARIES / "tessel", *arguments], capture_output=True, text=True,
                              timeout=30, check=False)

    def test_wrong_usage(self):
        seconds = "takes a number of seconds above 0 and at most 31536000 (a year), not"
        one_hub = "cast takes one of the address of a hub, --name and --first"
        no_hub = "cast needs the address of a hub, --name or --first"
        screen = "--screen takes auto, x11, pattern or pattern:WIDTHxHEIGHT, not"
        size = "--screen pattern:WIDTHxHEIGHT takes a size between 64x64 and 7680x4320, not"
        mode = "--display-mode takes a whole number that 64 bits can hold, not"
        swallowed = "behind it looks like an option (a value like that is joined with =)"
        mistakes = {
            (): "A command is missing: discover, cast or doctor",
            ("fly",): 'There is no command "fly", only discover, cast and doctor',
            ("help",): 'There is no command "help", only discover, cast and doctor',
            ("--bogus",): 'There is no option "--bogus"',
            ("discover", "x"): '"x" is one word too many',
            ("discover", "--timeout", "0"): f'--timeout {seconds} "0"',
            ("discover", "--timeout", "1e10"): f'--timeout {seconds} "1e10"',
            ("discover", "--timeout", "1e300"): f'--timeout {seconds} "1e300"',
            ("discover", "--timeout", "nan"): f'--timeout {seconds} "nan"',
            ("cast",): no_hub,
            ("cast", ""): "HOST needs a value, not an empty one",
            ("cast", "a", "c", "b"): '"c" is one word too many',
            ("cast", "a", "--first"): one_hub,
            ("cast", "a", "--name", "b"): one_hub,
            ("cast", "--name", "a", "--first"): one_hub,
            ("cast", "--name", ""): "--name needs a value, not an empty one",
            ("cast", "--name", "--json"): f'--name needs a value, and "--json" {swallowed}',
            ("cast", "a", "--log", "--stats"): f'--log needs a value, and "--stats" {swallowed}',
            ("cast", "a", "--log", ""): "--log needs a value, not an empty one",
            ("cast", "a", "--unknown\x1b[31m"): r'There is no option "--unknown\x1b[31m"',
            ("cast", "a", "--json=maybe"): "--json takes no value",
            ("cast", "a", "--duration"): "--duration needs a value",
            ("cast", "a", "--duration", "1", "--duration", "2"): "--duration is given twice",
            ("cast", "a", "--duration", "x\ny"): rf'--duration {seconds} "x\x0ay"',
            ("cast", "a", "--duration", "-1"): f'--duration {seconds} "-1"',
            ("cast", "a", "--duration", "inf"): f'--duration {seconds} "inf"',
            ("cast", "a", "--duration", "0x10"): f'--duration {seconds} "0x10"',
            ("cast", "a", "--display-mode", ""): "--display-mode needs a value, not an empty one",
            ("cast", "a", "--display-mode", "x"): f'{mode} "x"',
            ("cast", "a", "--display-mode", "1.5"): f'{mode} "1.5"',
            ("cast", "a", "--display-mode", "0x1F"): f'{mode} "0x1F"',
            ("cast", "a", "--display-mode", "9" * 20): f'{mode} "{"9" * 20}"',
            ("cast", "a", "--screen", "tv"): f'{screen} "tv"',
            ("cast", "a", "--screen", "x11:640x360"): f'{screen} "x11:640x360"',
            ("cast", "a", "--screen", "pattern:"): f'{size} ""',
            ("cast", "a", "--screen", "pattern:1x1"): f'{size} "1x1"',
            ("cast", "a", "--screen", "pattern:7681x360"): f'{size} "7681x360"',
            ("cast", "a", "--screen", "pattern:640x4321"): f'{size} "640x4321"',
            ("cast", "a", "--screen", "pattern: 640x360"): f'{size} " 640x360"',
            ("cast", "a", "--screen", "pattern:640x 360"): f'{size} "640x 360"',
            ("cast", "a", "--screen", "pattern:+640x+360"): f'{size} "+640x+360"',
            ("cast", "a", "--screen", "pattern:640x360x"): f'{size} "640x360x"',
        }
        for arguments, sentence in mistakes.items():
            with self.subTest(arguments=arguments):
                command = arguments[0] if arguments[:1] in (("cast",), ("discover",)) else ""
                of = f"tessel {command}".strip()
                result = self.run_tessel(*arguments)
                self.assertEqual(result.stderr, f"{sentence}. See {of} --help.\n")
                self.assertEqual(result.returncode, 2)
                self.assertEqual(result.stdout, "")

    def test_a_display_mode_is_any_whole_number(self):
        for mode in ("0", "010", "-1", "9223372036854775807"):
            result = self.run_tessel("cast", "127.0.3.34", "--display-mode", mode,
                                     "--log", "/nonexistent/log")
            self.assertIn("/nonexistent/log cannot be written", result.stderr)
            self.assertEqual(result.returncode, 1)

    def test_help_and_version(self):
        self.assertIn("cast", self.run_tessel("--help").stdout)
        of_cast = self.run_tessel("cast", "--help").stdout
        self.assertIn("--screen", of_cast)
        self.assertRegex(of_cast, "--display-mode N .*changes nothing of the cast")
        self.assertEqual(self.run_tessel("--version").stdout, "tessel 1.0\n")


if __name__ == "__main__":
    unittest.main()
