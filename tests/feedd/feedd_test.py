"""vantrel-feedd on the simulated radio, with vantrel-feed as its client.

    feedd_test.py PATH_OF_VANTREL_FEEDD PATH_OF_VANTREL_FEED [unittest arguments]
"""
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import unittest

from host import CANNOT_SERVE, ENDED, LIMIT, NO_ADAPTER, NO_PERMISSION, NOT_SERVED, OWN_NETWORKS, WRONG_USE, Host, run

NOBODY = ["setpriv", "--reuid=65534", "--clear-groups", "--inh-caps=-all"]
# One port in the whole network, and that is taken.
NO_PORT = """ip link set lo up && echo 40000 40000 >/proc/sys/net/ipv4/ip_local_port_range && exec python3 -c '
import socket, subprocess, sys
with socket.create_server(("127.0.0.1", 40000)):
    sys.exit(subprocess.run([sys.argv[1], "--simulated"]).returncode)' "$1"
"""


class CommandLine(unittest.TestCase):
    def test_help_names_every_option(self):
        done = run(FEEDD, "--help")
        self.assertEqual((done.returncode, done.stderr), (ENDED, ""))
        for option in ("--simulated", "--help", "--version"):
            self.assertIn(f"  {option} ", done.stdout)

    def test_version(self):
        done = run(FEEDD, "--version")
        self.assertEqual((done.returncode, done.stderr), (ENDED, ""))
        self.assertRegex(done.stdout, r"\Avantrel-feedd \d+\.\d+\.\d+\n\Z")

    def test_wrong_use(self):
        for argument in ("--unknown", "further"):
            done = run(FEEDD, argument)
            self.assertEqual((done.returncode, done.stdout), (WRONG_USE, ""))
            self.assertIn("Try 'vantrel-feedd --help'.\n", done.stderr)


class WithoutService(unittest.TestCase):
    def test_a_network_of_its_own_would_hide_it(self):
        done = run(FEEDD, "--simulated", environment={**os.environ, "VANTREL_RADIO_TRANSPORT": "namespace"})
        self.assertEqual((done.returncode, done.stdout), (NO_ADAPTER, ""))
        self.assertIn("hide the program from its clients", done.stderr)

    @unittest.skipIf(os.geteuid() != 0, "only root can become somebody else")
    def test_no_permission(self):
        # Where nobody else may look into the build, it is not reached at all.
        if run(*NOBODY, FEEDD, "--version").returncode != 0:
            self.skipTest("nobody cannot start it here")
        done = run(*NOBODY, FEEDD)
        self.assertEqual((done.returncode, done.stdout), (NO_PERMISSION, ""))
        self.assertIn("vantrel-feedd: no permission to capture", done.stderr)

    @unittest.skipIf(os.geteuid() != 0, "needs a network namespace")
    def test_no_adapter(self):
        done = run("unshare", "--net", FEEDD)
        self.assertEqual((done.returncode, done.stdout), (NO_ADAPTER, ""))
        self.assertIn("vantrel-feedd: ", done.stderr)

    @unittest.skipIf(os.geteuid() != 0, "needs a network namespace")
    def test_no_port(self):
        done = run("unshare", "--net", "sh", "-c", NO_PORT, "sh", FEEDD,
                   environment={**os.environ, "VANTREL_RADIO_TRANSPORT": "stream"})
        self.assertEqual((done.returncode, done.stdout), (CANNOT_SERVE, ""))
        self.assertIn("vantrel-feedd: cannot listen on 127.0.0.1: Address already in use\n", done.stderr)


class Serving(unittest.TestCase):
    def setUp(self):
        self.host = Host(FEEDD)
        self.addCleanup(self.host.end)
        self.assertRegex(self.host.said, r"\Aport [1-9]\d*\n\Z")

    def feed(self, *arguments):
        return run(FEED, "--port", self.host.port, *arguments)

    def client(self):
        """One that is being served: its first record has arrived."""
        client = subprocess.Popen([FEED, "--port", self.host.port, "--json"], stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True)
        self.addCleanup(client.wait)
        self.addCleanup(client.stdout.close)
        self.addCleanup(client.stderr.close)
        self.addCleanup(client.kill)
        self.assertTrue(json.loads(client.stdout.readline())["bssid"])
        return client

    def test_table(self):
        done = self.feed("--once")
        self.assertEqual((done.returncode, done.stderr), (ENDED, ""))
        head, *rows = done.stdout.splitlines()
        self.assertIn("BSSID", head)
        for name in OWN_NETWORKS:
            self.assertTrue(any(name in row for row in rows), f"no {name} in {rows}")

    def test_json(self):
        done = self.feed("--json", "--once")
        self.assertEqual((done.returncode, done.stderr), (ENDED, ""))
        records = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertLessEqual(OWN_NETWORKS, {record["ssid"] for record in records})
        networks = [record["bssid"] for record in records]
        self.assertEqual(len(networks), len(set(networks)), "a network came twice in one sweep")

    @unittest.skipIf(shutil.which("tshark") is None, "tshark is not installed")
    def test_pcap_is_read_by_tshark(self):
        feed = subprocess.Popen([FEED, "--port", self.host.port, "--pcap", "--once"], stdout=subprocess.PIPE)
        read = subprocess.run(["tshark", "-r", "-", "-o", "wlan.check_checksum:TRUE", "-T", "fields", "-e",
                               "wlan.fc.type_subtype", "-e", "wlan.fcs.status", "-e", "wlan.bssid"],
                              stdin=feed.stdout, capture_output=True, timeout=LIMIT, check=True, text=True)
        feed.stdout.close()
        self.assertEqual(feed.wait(LIMIT), ENDED)
        rows = [line.split("\t") for line in read.stdout.splitlines()]
        self.assertGreater(len(rows), 10)
        for kind, sequence, bssid in rows:
            self.assertIn(int(kind, 0), (5, 8))
            self.assertEqual((sequence, len(bssid)), ("1", 17))

    def test_a_second_client_is_refused_and_the_first_goes_on(self):
        first = self.client()
        self.assertEqual(self.feed("--once").returncode, NOT_SERVED)
        sweep = json.loads(first.stdout.readline())["sweep"]
        while json.loads(first.stdout.readline())["sweep"] == sweep:
            pass

    def ends_in_order(self, number):
        client = self.client()
        status, rest, log = self.host.end(number)
        self.assertEqual((status, rest), (ENDED, ""))
        self.assertIn("the adapter is back", log)
        self.assertIn("frames come as a pcap stream", log)
        client.communicate(timeout=LIMIT)
        self.assertEqual(client.returncode, 1, "the client must learn of the end")
        with self.assertRaises(ConnectionRefusedError):
            socket.create_connection(("127.0.0.1", int(self.host.port))).close()

    def test_terminated_while_a_client_is_served(self):
        self.ends_in_order(signal.SIGTERM)

    def test_interrupted_while_a_client_is_served(self):
        self.ends_in_order(signal.SIGINT)

    def test_terminated_while_nobody_is_served(self):
        self.assertEqual(self.host.end()[0], ENDED)


if __name__ == "__main__":
    FEEDD, FEED = (os.path.abspath(sys.argv.pop(1)) for _ in range(2))
    unittest.main(verbosity=2)
