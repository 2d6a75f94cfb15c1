#!/usr/bin/python3
"""Servers for the internet and mail client tests, on ephemeral loopback ports.

    inet_servers.py http STATE_DIR [CERT KEY]   HTTP, or HTTPS with CERT and KEY
    inet_servers.py silent                      accepts, never answers
    inet_servers.py ftp ROOT [nomlsd]           FTP for user "user", password "secret",
                                                without the machine listing if asked
    inet_servers.py smtp STATE_DIR [REFUSED]    SMTP sink; REFUSED is a sender it refuses

Each prints "PORT <n>" on its first line once it listens, and ends when its
standard input closes, so that it never outlives the test that started it.
"""

import base64
import email
import email.policy
import json
import os
import socket
import sys
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

USER, PASSWORD = "user", "secret"
BIG_SIZE = 10 * 1024 * 1024


def announce(port):
    print(f"PORT {port}", flush=True)


def wait_for_parent():
    """Blocks until the test closes our standard input."""
    sys.stdin.read()


def big_body(size):
    pattern = bytes(range(1, 256))  # no NUL: the client's text stops at one
    return (pattern * (size // len(pattern) + 1))[:size]


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    state_dir = "."

    def log_message(self, *args):
        pass

    def reply(self, status, body=b"", headers=()):
        self.send_response(status)
        for name, value in headers:
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def stream(self, size):
        """A long answer sent a mebibyte at a time, for the benchmark."""
        self.send_response(200)
        self.send_header("Content-Length", str(size))
        self.end_headers()
        chunk = big_body(1 << 20)
        while size > 0:
            n = min(size, len(chunk))
            self.wfile.write(chunk[:n])
            size -= n

    def authorised(self):
        expected = "Basic " + base64.b64encode(f"{USER}:{PASSWORD}".encode()).decode()
        return self.headers.get("Authorization") == expected

    def record(self, name, data):
        with open(os.path.join(self.state_dir, name), "wb") as out:
            out.write(data)

    def do_GET(self):
        self.record("last-get.json", json.dumps({
            "path": self.path,
            "agent": self.headers.get("User-Agent"),
            "cache": self.headers.get("Cache-Control"),
        }).encode())
        if self.path.startswith("/auth/"):
            if not self.authorised():
                self.reply(401, b"who are you?", [("WWW-Authenticate", 'Basic realm="tests"')])
            elif self.path == "/auth/big":
                self.reply(200, big_body(BIG_SIZE))
            elif self.path == "/auth/nul":
                self.reply(200, b"before\0after")
            elif self.path == "/auth/bench":
                self.stream(int(os.environ.get("BENCH_SIZE", "0")))
            else:
                self.reply(200, b"welcome " + USER.encode())
        elif self.path == "/open":
            self.reply(200, b"no challenge here")
        elif self.path.startswith("/redirect?"):
            self.reply(302, b"moved", [("Location", self.path.split("?", 1)[1])])
        elif self.path == "/cut":
            # Promises more than it sends, then hangs up.
            self.send_response(200)
            self.send_header("Content-Length", "1000")
            self.end_headers()
            self.wfile.write(b"x" * 100)
            self.wfile.flush()
            self.connection.shutdown(socket.SHUT_RDWR)
            self.close_connection = True
        else:
            self.reply(404, b"not here")

    def do_POST(self):
        body = self.rfile.read(int(self.headers.get("Content-Length", "0")))
        self.record("last-post.bin", body)
        self.record("last-post.json", json.dumps({
            "path": self.path,
            "agent": self.headers.get("User-Agent"),
            "cache": self.headers.get("Cache-Control"),
        }).encode())
        if self.path.startswith("/redirect?"):
            self.reply(302, b"moved", [("Location", self.path.split("?", 1)[1])])
        elif self.path == "/check":
            # The body must be the expected file's bytes, byte for byte.
            with open(os.path.join(self.state_dir, "expected-post.bin"), "rb") as f:
                expected = f.read()
            self.reply(201 if body == expected else 422, b"checked")
        else:
            self.reply(200, b"posted")


def serve_http(state_dir, cert=None, key=None):
    Handler.state_dir = state_dir
    server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.daemon_threads = True
    if cert:
        import ssl
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(cert, key)
        server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    announce(server.server_address[1])
    wait_for_parent()


def serve_silent():
    listener = socket.socket()
    listener.bind(("127.0.0.1", 0))
    listener.listen(8)
    held = []

    def accept():
        while True:
            held.append(listener.accept()[0])

    threading.Thread(target=accept, daemon=True).start()
    announce(listener.getsockname()[1])
    wait_for_parent()


def serve_ftp(root, variant=None):
    import logging
    from pyftpdlib.authorizers import DummyAuthorizer
    from pyftpdlib.handlers import FTPHandler
    from pyftpdlib.servers import FTPServer

    logging.basicConfig(level=logging.ERROR)
    authorizer = DummyAuthorizer()
    authorizer.add_user(USER, PASSWORD, root, perm="elradfmwMT")
    handler = FTPHandler
    handler.authorizer = authorizer
    handler.auth_failed_timeout = 0
    if variant == "nomlsd":
        handler.proto_cmds = {k: v for k, v in FTPHandler.proto_cmds.items() if k != "MLSD"}
    server = FTPServer(("127.0.0.1", 0), handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    announce(server.address[1])
    wait_for_parent()
    server.close_all()


def summarise(envelope):
    """What the tests check of a mail: envelope, subject, text, attachments."""
    message = email.message_from_bytes(envelope.content, policy=email.policy.default)
    text, attachments = None, {}
    for part in message.walk():
        if part.is_multipart():
            continue
        name = part.get_filename()
        if name:
            attachments[name] = part.get_payload(decode=True).hex()
        elif text is None:
            text = part.get_payload(decode=True).decode("latin-1")
    return {
        "from": envelope.mail_from,
        "rcpt": envelope.rcpt_tos,
        "subject": message["Subject"],
        "to": message["To"],
        "text": text,
        "attachments": attachments,
    }


def serve_smtp(state_dir, refused=None):
    import asyncio
    from aiosmtpd.smtp import SMTP

    class Sink:
        count = 0

        async def handle_MAIL(self, server, session, envelope, address, options):
            if address == refused:
                return "550 sender refused"
            envelope.mail_from = address
            return "250 OK"

        async def handle_DATA(self, server, session, envelope):
            Sink.count += 1
            with open(os.path.join(state_dir, f"mail-{Sink.count}.json"), "w") as out:
                json.dump(summarise(envelope), out)
            return "250 taken"

    loop = asyncio.new_event_loop()
    server = loop.run_until_complete(
        loop.create_server(lambda: SMTP(Sink()), "127.0.0.1", 0))
    announce(server.sockets[0].getsockname()[1])

    async def until_parent_leaves():
        await loop.run_in_executor(None, wait_for_parent)

    loop.run_until_complete(until_parent_leaves())
    server.close()


def main():
    kind, args = sys.argv[1], sys.argv[2:]
    if kind == "http":
        serve_http(*args)
    elif kind == "silent":
        serve_silent()
    elif kind == "ftp":
        serve_ftp(*args)
    elif kind == "smtp":
        serve_smtp(*args)
    else:
        sys.exit(f"unknown server {kind}")


if __name__ == "__main__":
    main()
