"""An HTTP peer that does to a client whatever a test wants, and tells every byte that the client sent.

    upload_server.py SCRIPTS [CERTIFICATE KEY]

SCRIPTS is a JSON list of scripts: the first for the first connection, and so on; the last serves all further ones. It
listens on a port of 127.0.0.1 of the system's choice, with TLS when there is a certificate, and ends with its standard
input. A script is a list of steps:

    "head"            receive a request up to the empty line
    "request"         the same, and its body by its Content-Length; a body that breaks off is told of too
    {"receive": N}    N bytes of the body, after "head"
    {"send": TEXT}
    {"pause": S}      in seconds
    "wait"            until the client closes
    "reset"           ends the connection with a reset; it is closed after the last step otherwise

Every line of standard output is a JSON object: {"port": N} first; {"connection": N} as each is accepted; after "head"
and "request" {"request": {...}} with the connection's number, the request line and the headers as they came, the body's
length and SHA-256, and the body itself, in base64, up to 1 MiB; {"answers": N, "at": T} before it sends anything, by
the steady clock in seconds; and {"closed": N} when a connection is done with.
"""
import base64
import contextlib
import hashlib
import json
import os
import socket
import ssl
import struct
import sys
import threading
import time

LARGEST_SHOWN = 1 << 20
output = threading.Lock()


def tell(event):
    with output, contextlib.suppress(BrokenPipeError):  # the test has ended
        print(json.dumps(event), flush=True)


class Connection:
    def __init__(self, number, peer):
        self.number = number
        self.peer = peer
        self.pending = b""  # received, and not yet looked at

    def read(self, most):
        if not self.pending:
            return self.peer.recv(most)
        data, self.pending = self.pending[:most], self.pending[most:]
        return data

    def head(self):
        received = b""
        while b"\r\n\r\n" not in received:
            data = self.peer.recv(65536)
            if not data:
                raise EOFError
            received += data
        head, self.pending = received.split(b"\r\n\r\n", 1)
        line, *headers = head.decode("latin-1").split("\r\n")
        return {"connection": self.number, "line": line, "headers": [header.split(": ", 1) for header in headers]}

    def receive(self, length, shown, digest):
        count = 0
        while count < length:
            data = self.read(min(length - count, 65536))
            if not data:
                break
            count += len(data)
            digest.update(data)
            if len(shown) < LARGEST_SHOWN:
                shown.extend(data)
        return count

    def request(self):
        request = self.head()
        headers = {name.lower(): value for name, value in request["headers"]}
        if headers.get("expect") == "100-continue":
            self.peer.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
        shown, digest = bytearray(), hashlib.sha256()
        try:
            request["length"] = self.receive(int(headers.get("content-length", "0")), shown, digest)
        finally:
            request["sha256"] = digest.hexdigest()
            request["body"] = base64.b64encode(bytes(shown[:LARGEST_SHOWN])).decode()
            tell({"request": request})

    def run(self, script):
        for step in script:
            if step == "head":
                tell({"request": self.head()})
            elif step == "request":
                self.request()
            elif step == "wait":
                while self.read(65536):
                    pass
            elif step == "reset":
                self.peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            elif "receive" in step:
                self.receive(step["receive"], bytearray(), hashlib.sha256())
            elif "send" in step:
                tell({"answers": self.number, "at": time.monotonic()})
                self.peer.sendall(step["send"].encode())
            elif "pause" in step:
                time.sleep(step["pause"])
            else:
                raise ValueError(step)


def serve(number, peer, context, script):
    try:
        if context:
            peer = context.wrap_socket(peer, server_side=True)
        Connection(number, peer).run(script)
    except (EOFError, OSError):
        pass  # the client left
    finally:
        peer.close()
        tell({"closed": number})


def accept(listener, context, scripts):
    number = 0
    while True:
        peer, _ = listener.accept()
        tell({"connection": number})
        script = scripts[min(number, len(scripts) - 1)]
        threading.Thread(target=serve, args=(number, peer, context, script), daemon=True).start()
        number += 1


def main():
    context = None
    if len(sys.argv) > 2:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(sys.argv[2], sys.argv[3])
    listener = socket.create_server(("127.0.0.1", 0))
    tell({"port": listener.getsockname()[1]})
    threading.Thread(target=accept, args=(listener, context, json.loads(sys.argv[1])), daemon=True).start()
    sys.stdin.read()
    sys.stdout.flush()
    os._exit(0)  # whatever the connections still wait for


if __name__ == "__main__":
    main()
