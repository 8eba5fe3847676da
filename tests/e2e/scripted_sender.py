"""A sender whose every byte the test decides."""

import re
import socket
import ssl
import struct
import subprocess
import urllib.error
import urllib.request

PIECE = 50000

DISPLAY_OPENING_OLD = bytes.fromhex("04000000")
DISPLAY_OPENING_NEW = bytes.fromhex("000000000100000000")
MOUSE_OPENING = bytes.fromhex("020000000100000000")
KEYBOARD_OPENING = bytes.fromhex("010000000100000000")
CURSOR_COMMAND = bytes.fromhex("02000000020000000101")
CURSOR_REPLY = bytes.fromhex("02000000020000000201")
CAPTURE_COMMAND = bytes.fromhex("02000000020000000301")
CAPTURE_REPLY = bytes.fromhex("02000000020000000401")

CONTEXT_RESPONSE = 0x81
FRAME_ACKNOWLEDGEMENT = 0x87


def context_request(width, height):
    guid_tail = bytes.fromhex("0000100080 0000aa00389b71".replace(" ", ""))
    message = bytearray(228)
    struct.pack_into("<HB", message, 0, 228, 0x02)
    struct.pack_into("<IHHIIIIIIIIII", message, 12, 0x01D88000, 0x10, 4, 12, 4, 1, 12, 2, 0, 24, 0,
                     3, width * height * 12)
    struct.pack_into("<II", message, 68, 72, 1)
    message[76:92] = b"vids" + guid_tail
    message[92:108] = b"H264" + guid_tail
    message[108:124] = bytes.fromhex("809f580556c3ce11bf0100aa0055595a")
    struct.pack_into("<III", message, 124, 88, 0, 1)
    struct.pack_into("<8i", message, 140, 0, 0, width, height, 0, 0, width, height)
    struct.pack_into("<IiiHH", message, 188, 40, width, height, 1, 12)
    return bytes(message)


def frame_messages(frame):
    """The messages that carry one frame."""
    first = frame[:PIECE]
    head = bytearray(56)
    struct.pack_into("<HBB", head, 0, 56 + len(first), 0x05, len(frame) > PIECE)
    struct.pack_into("<HB", head, 12, 12, 1)
    struct.pack_into("<I", head, 16, len(frame) + 40)
    struct.pack_into("<I", head, 52, len(frame))
    messages = bytes(head) + first
    for at in range(PIECE, len(frame), PIECE):
        piece = frame[at:at + PIECE]
        messages += struct.pack("<HBB", len(piece) + 4, 0x05, len(frame) - at > PIECE) + piece
    return messages


def mouse_report(x, y):
    return struct.pack("<BBHHBB", 8, 0x0D, x, y, 1, 0)


def test_stream(width, height, frames):
    """A moving test picture as H.264: a list of access units."""
    stream = subprocess.run(
        ["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=size={width}x{height}:rate=30",
         "-frames:v", str(frames), "-pix_fmt", "yuv420p", "-c:v", "libx264", "-preset", "ultrafast",
         "-tune", "zerolatency", "-bsf:v", "h264_metadata=aud=insert", "-f", "h264", "-"],
        check=True, capture_output=True, timeout=60).stdout
    return [b"\0\0\0\1\x09" + unit for unit in stream.split(b"\0\0\0\1\x09")[1:]]


class Sender:
    """Speaks to the hub at `address` the protocol of version `version`.

    `certificate`: a file with the hub's certificate, for TLS.
    """

    def __init__(self, address, version="1.6", certificate=None, source=None):
        self.address = address
        self.new_protocol = int(version.split(".")[1]) >= 4
        self.application = ("ReceiverAppV1" if not self.new_protocol
                            else "ReceiverAppV2" if version == "1.4" else "CasterApp")
        self.input_port = 1494 if self.new_protocol else 8500
        self._source = source
        self._tls = ssl.create_default_context(cafile=certificate) if certificate else None
        self.display = self.mouse = self.keyboard = None
        self._channels = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        for channel in self._channels:
            channel.close()

    def details(self):
        """The hub's application URL and its device details."""
        with urllib.request.urlopen(f"http://{self.address}:55555/device-details.xml",
                                    timeout=10) as answer:
            return answer.headers["Application-URL"], answer.read().decode()

    def request(self, method, url):
        """Status, headers and body of a request, whatever the status."""
        try:
            with urllib.request.urlopen(urllib.request.Request(url, method=method), timeout=10,
                                        context=self._tls) as answer:
                return answer.status, answer.headers, answer.read().decode()
        except urllib.error.HTTPError as error:
            with error:
                return error.code, error.headers, ""

    def launch(self):
        """Launches the receiver; the URL of its instance and the token."""
        url, _ = self.details()
        status, headers, body = self.request("POST", url + self.application)
        assert status == 201, status
        return headers["Location"], re.search("<token>(.*)</token>", body).group(1)

    def channel(self, port, opening):
        source = (self._source, 0) if self._source else None
        stream = socket.create_connection((self.address, port), timeout=10, source_address=source)
        if self._tls:
            stream = self._tls.wrap_socket(stream, server_hostname=self.address)
        self._channels.append(stream)
        stream.sendall(opening)
        return stream

    def open_display(self, width, height):
        self.display = self.channel(
            1494, DISPLAY_OPENING_NEW if self.new_protocol else DISPLAY_OPENING_OLD)
        self.display.sendall(context_request(width, height))
        assert self.next_command() == CONTEXT_RESPONSE

    def next_command(self):
        """Command of the hub's next message on the display channel."""
        length, command, _ = struct.unpack("<HBB", receive(self.display, 4))
        receive(self.display, length - 4)
        return command

    def send_frames(self, frames):
        """Sends frames, at most six of them unacknowledged; until the last one is."""
        credits = 6
        for frame in frames:
            if credits == 0:
                assert self.next_command() == FRAME_ACKNOWLEDGEMENT
                credits += 1
            self.display.sendall(frame_messages(frame))
            credits -= 1
        while credits < 6:
            assert self.next_command() == FRAME_ACKNOWLEDGEMENT
            credits += 1

    def open_mouse(self):
        self.mouse = self.channel(self.input_port, MOUSE_OPENING)
        self.mouse.sendall(CURSOR_COMMAND)
        assert receive(self.mouse, 10) == CURSOR_REPLY
        self.mouse.sendall(CAPTURE_COMMAND)
        assert receive(self.mouse, 10) == CAPTURE_REPLY

    def open_keyboard(self):
        self.keyboard = self.channel(self.input_port, KEYBOARD_OPENING)


def receive(stream, count):
    """Exactly so many bytes."""
    received = b""
    while len(received) < count:
        part = stream.recv(count - len(received))
        if not part:
            raise EOFError(f"the stream ended after {len(received)} of {count} bytes")
        received += part
    return received


def is_closed(stream):
    """Whether the hub closes the stream, within its time-out."""
    try:
        return stream.recv(1) == b""
    except ConnectionError:
        return True
    except TimeoutError:
        return False
