"""vantrel-feed finds vantrel-feedd by itself, with a real avahi-daemon in a network, with a bus and a /run of its own.

    feedd_found.py PATH_OF_VANTREL_FEEDD PATH_OF_VANTREL_FEED

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

from host import ENDED, LIMIT, OWN_NETWORKS, Host, run

INSIDE = "VANTREL_FEEDD_TEST_NAMESPACE"
NO_SERVICE = 3  # of vantrel-feed
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=/run/feed-bus</listen>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_type="method_call"/>
<allow send_requested_reply="true" send_type="method_return"/><allow send_requested_reply="true" send_type="error"/>
<allow receive_type="method_call"/><allow receive_type="method_return"/><allow receive_type="error"/>
<allow receive_type="signal"/><allow send_type="signal"/></policy></busconfig>"""
AVAHI = "[server]\nhost-name=feeddtest\nallow-interfaces=lo\nuse-ipv6=no\n[publish]\npublish-workstation=no\n"


def enter_namespace():
    """Runs this program anew, with network, /run and processes of its own."""
    tools = ("avahi-daemon", "dbus-daemon", "unshare", "ip")
    command = ["unshare", "--net", "--mount", "--pid", "--fork", "--mount-proc", "--kill-child"]
    if os.geteuid() != 0:
        command[1:1] = ["--user", "--map-root-user"]
    if not all(shutil.which(tool, path="/usr/sbin:/usr/bin:/sbin:/bin") for tool in tools) or \
            subprocess.run([*command, "true"], capture_output=True, check=False).returncode != 0:
        print("no avahi-daemon, or no namespaces", file=sys.stderr)
        sys.exit(77)
    script = 'mount -t tmpfs none /run && ip link set lo up && exec "$@"'
    os.execvpe(command[0], [*command, "/bin/sh", "-c", script, "sh", sys.executable, *sys.argv],
               {**os.environ, INSIDE: "1", "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/run/feed-bus"})


def end(process):
    process.terminate()
    process.wait(LIMIT)
    process.stdout.close()


class Found(unittest.TestCase):
    def setUp(self):
        self.assertEqual([name for _, name in socket.if_nameindex()], ["lo"], "this is no namespace of its own")
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "bus.conf").write_text(BUS, encoding="ascii")
        (folder / "avahi.conf").write_text(AVAHI, encoding="ascii")
        bus = subprocess.Popen(["dbus-daemon", "--nofork", "--nopidfile", "--print-address",
                                f"--config-file={folder}/bus.conf"], stdout=subprocess.PIPE)
        self.addCleanup(end, bus)
        bus.stdout.readline()  # it listens now
        daemon = subprocess.Popen(["avahi-daemon", "--no-drop-root", "--no-chroot", "--no-rlimits", "--file",
                                   f"{folder}/avahi.conf"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.addCleanup(end, daemon)
        for line in daemon.stdout:
            if b"Server startup complete" in line:
                break

    @staticmethod
    def answer(wanted):
        """What the client ends with, asked until its exit status is as wanted or time is up."""
        deadline = time.monotonic() + LIMIT
        while not wanted((done := run(FEED, "--json", "--once")).returncode) and time.monotonic() < deadline:
            time.sleep(0.1)  # between questions to the daemon
        return done

    def test_the_client_finds_the_host_without_a_port(self):
        host = Host(FEEDD)
        self.addCleanup(host.end)
        # Establishing the service takes the daemon a moment.
        done = self.answer(lambda status: status != NO_SERVICE)
        self.assertEqual((done.returncode, done.stderr), (ENDED, ""))
        self.assertLessEqual(OWN_NETWORKS, {json.loads(line)["ssid"] for line in done.stdout.splitlines()})
        status, _, log = host.end()
        self.assertEqual(status, ENDED)
        self.assertIn(f'the feed is announced as "feeddtest", port {host.port}', log)
        # Withdrawn with the host's end; the daemon forgets it a second later.
        self.assertEqual(self.answer(lambda status: status == NO_SERVICE).returncode, NO_SERVICE)


if __name__ == "__main__":
    if INSIDE not in os.environ:
        enter_namespace()
    FEEDD, FEED = (os.path.abspath(sys.argv.pop(1)) for _ in range(2))
    unittest.main(verbosity=2)
