"""What the tests of vantrel-feed play against it: records of beacons, and a server on the loopback address."""
import binascii
import contextlib
import socket
import struct
import subprocess
import threading

# Exit statuses of vantrel-feed.
ENDED, FAILED, WRONG_USE, NO_SERVICE, NOT_SERVED = range(5)
LIMIT = 30  # seconds, for whatever should not take one


def radiotap(frequency=2437, signal=-50, noise=-95):
    return struct.pack("<BBHIHHbb", 0, 0, 14, 1 << 3 | 1 << 5 | 1 << 6, frequency, 0x00A0, signal, noise)


def element(number, data):
    return bytes([number, len(data)]) + data


def with_check_sequence(header, frame):
    return header + frame + struct.pack("<I", binascii.crc32(frame))


def bssid(number):
    return b"\x02\x00" + struct.pack(">I", number)


def beacon(number, ssid=b"Lab", extra=b"", capability=0x0001, kind=0x80, **heard):
    frame = struct.pack("<BBH", kind, 0, 0) + b"\xff" * 6 + bssid(number) + bssid(number) + b"\0\0"
    frame += struct.pack("<QHH", 1, 100, capability) + element(0, ssid) + element(3, b"\x06") + extra
    return with_check_sequence(radiotap(**heard), frame)


def record(data):
    return struct.pack(">I", len(data)) + data


class Server:
    """Serves one client by the function given, which gets the connected socket; then closes it."""

    def __init__(self, serve):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.serve = serve
        self.failure = None
        self.client_gone = threading.Event()
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        try:
            client, _ = self.listener.accept()
        except OSError:
            return  # nobody came before close()
        with client:
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            try:
                self.serve(client)
            except (BrokenPipeError, ConnectionResetError):
                pass  # the client has seen enough
            except Exception as failure:  # told by close()
                self.failure = failure
        self.client_gone.set()

    def close(self):
        with contextlib.suppress(OSError):
            self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        self.thread.join(LIMIT)
        assert not self.thread.is_alive(), "the server still serves"
        if self.failure:
            raise self.failure


def until_closed(client):
    """Waits until the client closes its side."""
    client.settimeout(LIMIT)
    with contextlib.suppress(ConnectionResetError):
        while client.recv(4096):
            pass


def sending(*pieces, stay=True):
    """What serves the pieces, and then waits for the client to leave, or leaves itself."""
    def serve(client):
        for piece in pieces:
            client.sendall(piece)
        if stay:
            until_closed(client)
    return serve


@contextlib.contextmanager
def serving(serve):
    server = Server(serve)
    try:
        yield server
    finally:
        server.close()


def run(program, *arguments, environment=None):
    return subprocess.run([program, *arguments], capture_output=True, timeout=LIMIT, env=environment, check=False,
                          stdin=subprocess.DEVNULL)
