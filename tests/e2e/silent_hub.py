"""A hub that accepts all connections and never answers on its mouse channel."""

import http.server
import socket
import threading

from scripted_sender import CONTEXT_RESPONSE, DISPLAY_OPENING_OLD, context_request, receive


class SilentHub:
    """Speaks the old protocol at `address` for as long as the block lasts."""

    def __init__(self, address):
        class Service(http.server.BaseHTTPRequestHandler):
            def answer(self):
                body = b"<device><specVersion>1.3</specVersion></device>"
                self.send_response(200)
                self.send_header("Application-URL", f"http://{address}:55555/apps/")
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            do_GET = do_POST = answer

            def log_message(self, *_):
                pass

        self._service = http.server.ThreadingHTTPServer((address, 55555), Service)
        self._display = socket.create_server((address, 1494))
        self._mouse = socket.create_server((address, 8500))
        self._threads = [threading.Thread(target=run, daemon=True)
                         for run in (self._service.serve_forever, self._take_display)]

    def __enter__(self):
        for thread in self._threads:
            thread.start()
        return self

    def __exit__(self, *_):
        self._service.shutdown()
        self._service.server_close()
        for server in (self._display, self._mouse):
            server.shutdown(socket.SHUT_RDWR)
            server.close()
        for thread in self._threads:
            thread.join(10)

    def _take_display(self):
        try:
            channel, _ = self._display.accept()
            with channel:
                receive(channel, len(DISPLAY_OPENING_OLD) + len(context_request(0, 0)))
                channel.sendall(bytes([4, 0, CONTEXT_RESPONSE, 0]))
                while channel.recv(1 << 16):
                    pass
        except OSError:  # the end of the block, or of the sender
            pass
