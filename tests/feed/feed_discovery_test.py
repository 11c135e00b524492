"""vantrel-feed finds the service over DNS-SD, asking a real avahi-daemon in a network namespace of its own.

    feed_discovery_test.py PATH_OF_VANTREL_FEED [unittest arguments]

The daemon and its bus never see a network but the loopback interface that the namespace has, nor the machine's /run.
Exit status 77, for skipped, where no namespace can be made or there is no daemon.
"""
import json
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest

from feed_server import ENDED, LIMIT, NO_SERVICE, NOT_SERVED, beacon, record, run, sending, serving

SKIPPED = 77
STRANGE_AVAHI = pathlib.Path(__file__).resolve().parent.parent / "support" / "strange_avahi.py"
INSIDE = "VANTREL_FEED_TEST_NAMESPACE"
FEED = ""
FOLDER = None  # of the bus and the daemon
PUBLISHER = None

BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path={folder}/bus</listen>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_type="method_call"/>
<allow send_requested_reply="true" send_type="method_return"/><allow send_requested_reply="true" send_type="error"/>
<allow receive_type="method_call"/><allow receive_type="method_return"/><allow receive_type="error"/>
<allow receive_type="signal"/><allow send_type="signal"/></policy></busconfig>"""
AVAHI = """[server]
host-name=vantrel-test
allow-interfaces=lo
use-ipv6=no
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
"""


def enter_namespace():
    """Runs this program anew, with network, /run and processes of its own."""
    command = ["unshare", "--net", "--mount", "--pid", "--fork", "--mount-proc", "--kill-child"]
    if os.geteuid() != 0:
        command[1:1] = ["--user", "--map-root-user"]
    if not shutil.which("avahi-daemon", path="/usr/sbin:/usr/bin") or \
            subprocess.run([*command, "true"], capture_output=True, check=False).returncode != 0:
        print("no avahi-daemon, or no namespaces", file=sys.stderr)
        sys.exit(SKIPPED)
    script = 'mount -t tmpfs none /run && ip link set lo up && exec "$@"'
    os.execvpe(command[0], [*command, "/bin/sh", "-c", script, "sh", sys.executable, *sys.argv],
               {**os.environ, INSIDE: "1"})


def setUpModule():
    global FOLDER, PUBLISHER
    assert [name for _, name in socket.if_nameindex()] == ["lo"], "this is no namespace of its own"
    FOLDER = tempfile.TemporaryDirectory()
    folder = pathlib.Path(FOLDER.name)
    (folder / "bus.conf").write_text(BUS.format(folder=folder), encoding="ascii")
    (folder / "avahi.conf").write_text(AVAHI, encoding="ascii")
    os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={folder}/bus"
    bus = subprocess.Popen(["dbus-daemon", "--nofork", "--print-address", f"--config-file={folder}/bus.conf"],
                           stdout=subprocess.PIPE)
    bus.stdout.readline()  # it listens now
    unittest.addModuleCleanup(end, bus)


def tearDownModule():
    FOLDER.cleanup()


def end(process):
    process.terminate()
    process.wait(LIMIT)
    if process.stdout:
        process.stdout.close()


class Avahi:
    """The daemon, and the services published through it as long as this lives."""

    def __init__(self):
        import dbus  # only here: it needs the bus
        os.makedirs("/run/avahi-daemon", exist_ok=True)
        self.process = subprocess.Popen(["avahi-daemon", "--no-drop-root", "--no-chroot", "--no-rlimits",
                                         "--file", f"{FOLDER.name}/avahi.conf"], stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT)
        for line in self.process.stdout:
            if b"Server startup complete" in line:
                break
        self.bus = dbus.bus.BusConnection(os.environ["DBUS_SYSTEM_BUS_ADDRESS"])
        self.dbus = dbus
        server = self.bus.get_object("org.freedesktop.Avahi", "/")
        self.server = dbus.Interface(server, "org.freedesktop.Avahi.Server")

    def publish(self, name, port, kind="_vantrel._tcp"):
        group = self.dbus.Interface(self.bus.get_object("org.freedesktop.Avahi", self.server.EntryGroupNew()),
                                    "org.freedesktop.Avahi.EntryGroup")
        group.AddService(socket.if_nametoindex("lo"), -1, self.dbus.UInt32(0), name, kind, "local", "",
                         self.dbus.UInt16(port), self.dbus.Array([], signature="ay"))
        group.Commit()
        # Whoever browses sees it as soon as it is established.
        for _ in range(LIMIT * 10):
            if group.GetState() == 2:
                return
            time.sleep(0.1)
        raise AssertionError("the service was not established")

    def close(self):
        self.bus.close()
        end(self.process)


class WithoutDaemon(unittest.TestCase):
    def test_no_bus(self):
        done = run(FEED, environment={**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nowhere"})
        self.assertEqual(done.returncode, NO_SERVICE)
        self.assertRegex(done.stderr.decode(), r"\Avantrel-feed: cannot look for the service, as there is no system bus "
                                               r"\(.+\); give the port with --port\n\Z")

    def test_no_daemon(self):
        done = run(FEED)
        self.assertEqual(done.returncode, NO_SERVICE)
        self.assertRegex(done.stderr.decode(), r"\Avantrel-feed: cannot look for the service, as there is no Avahi "
                                               r"daemon \(.+\); start it, or give the port with --port\n\Z")

    def test_a_daemon_is_not_needed_with_the_port(self):
        with serving(sending(record(beacon(1)))) as server:
            self.assertEqual(run(FEED, "--once", "--port", str(server.port)).returncode, ENDED)


class WithStrangeDaemon(unittest.TestCase):
    """What calls itself the daemon need not answer as it does."""

    ITEM = ["iisssu", [1, 0, "feed", "_vantrel._tcp", "local", 0]]

    def look(self, **answers):
        """What vantrel-feed says when these are the answers."""
        daemon = subprocess.Popen([sys.executable, STRANGE_AVAHI, json.dumps(answers)], stdout=subprocess.PIPE)
        daemon.stdout.readline()
        try:
            done = run(FEED, environment={**os.environ, "LC_ALL": "C.UTF-8"})
        finally:
            end(daemon)
        self.assertEqual(done.returncode, NO_SERVICE)
        return done.stderr.decode()

    @staticmethod
    def browser(*signals):
        return ["o", ["/browser"], *(["/browser", "ServiceBrowser", *signal] for signal in signals)]

    def test_a_browser_that_is_no_object(self):
        self.assertIn("cannot look for the service", self.look(ServiceBrowserNew=["s", ["/browser"]]))

    def test_items_of_another_signature_are_left_out(self):
        said = self.look(ServiceBrowserNew=self.browser(
            ["ItemNew", "", []], ["ItemNew", "s", ["feed"]], ["ItemNew", "uusssu", self.ITEM[1]],
            ["ItemNew", "iiasssu", [1, 0, ["feed"], "_vantrel._tcp", "local", 0]], ["AllForNow", "", []]))
        self.assertIn("ItemNew of the signature s was left out", said)
        self.assertIn("ItemNew of the signature iiasssu was left out", said)
        self.assertTrue(said.endswith("vantrel-feed: no capture service is published on this computer\n"), said)

    def test_a_failure_without_a_text(self):
        self.assertIn("Avahi cannot look for the service: \n",
                      self.look(ServiceBrowserNew=self.browser(["Failure", "ai", [[1]]])))

    def test_a_port_that_is_none(self):
        place = [1, 0, "feed", "_vantrel._tcp", "local", "host.local", 0, "127.0.0.1"]
        for kinds, values in (("", []), ("iissssis", place), ("iissssiss", [*place, "80"]), ("iissssisi", [*place, 80]),
                              ("iissssisq", [*place, 0]), ("q", [80])):
            said = self.look(ServiceBrowserNew=self.browser(["ItemNew", *self.ITEM]), ResolveService=[kinds, values])
            self.assertEqual(said, "vantrel-feed: the service \"feed\" cannot be resolved: it has no port\n", kinds)


class WithDaemon(unittest.TestCase):
    def setUp(self):
        self.avahi = Avahi()
        self.addCleanup(self.avahi.close)

    def test_no_service(self):
        self.avahi.publish("another kind", 1, "_http._tcp")
        done = run(FEED)
        self.assertEqual((done.returncode, done.stderr),
                         (NO_SERVICE, b"vantrel-feed: no capture service is published on this computer\n"))

    def test_the_service_is_found(self):
        with serving(sending(record(beacon(1, b"found")))) as server:
            self.avahi.publish("vantrel-test", server.port)
            done = run(FEED, "--json", "--once")
        self.assertEqual((done.returncode, done.stderr), (ENDED, b""))
        self.assertIn(b'"ssid":"found"', done.stdout)

    def test_of_several_the_one_of_the_name(self):
        with serving(sending(record(beacon(1, b"first")))) as first, \
                serving(sending(record(beacon(2, b"second")))) as second:
            self.avahi.publish("Vantrel \u2019 first", first.port)
            self.avahi.publish("second", second.port)
            done = run(FEED, "--json", "--once", "--name", "second")
            self.assertIn(b'"ssid":"second"', done.stdout)
            done = run(FEED, "--json", "--once", "--name", "Vantrel \u2019 first",
                       environment={**os.environ, "LC_ALL": "C.UTF-8"})
            self.assertIn(b'"ssid":"first"', done.stdout)

    def test_of_several_any_when_none_is_named(self):
        with serving(sending(record(beacon(1, b"either")))) as server:
            self.avahi.publish("first", server.port)
            self.avahi.publish("second", server.port)
            self.assertIn(b'"ssid":"either"', run(FEED, "--json", "--once").stdout)

    def test_no_service_of_the_name(self):
        self.avahi.publish("lab \x1b[2J", 1)
        done = run(FEED, "--name", "other")
        self.assertEqual((done.returncode, done.stderr),
                         (NO_SERVICE, b"vantrel-feed: no capture service of the name \"other\" is published on this "
                                      b"computer, only \"lab \\x1b[2J\"\n"))

    def test_a_service_that_nobody_serves(self):
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        self.avahi.publish("gone", port)
        done = run(FEED)
        self.assertEqual((done.returncode, done.stderr.decode()),
                         (NOT_SERVED, f"vantrel-feed: nobody listens on port {port}\n"))


if __name__ == "__main__":
    if INSIDE not in os.environ:
        enter_namespace()
    FEED = os.path.abspath(sys.argv.pop(1))
    unittest.main()
