"""How the feed is announced by a real avahi-daemon, in a network, with a system bus and in a /run of its own.

Usage: feed_announced.py <feed_host program>. Starts itself again in namespaces of its own: the daemon is never seen by
the machine's networks, and everything in there ends with this program.
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from feed import Client, Host

STRANGE_AVAHI = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support", "strange_avahi.py")
BUS_ADDRESS = "unix:path=/run/feed-bus"
BUS = f"""<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>{BUS_ADDRESS}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/> <allow own="*"/> <allow send_type="method_call"/> <allow send_requested_reply="true"/>
    <allow receive_type="method_call"/> <allow send_type="signal"/> <allow receive_type="signal"/>
    <allow send_destination="*"/> <allow receive_sender="*"/>
  </policy>
</busconfig>
"""
AVAHI = """[server]
host-name=feedtest
use-ipv4=yes
use-ipv6=no
allow-interfaces=lo,%s
ratelimit-interval-usec=1000000
ratelimit-burst=1000
[publish]
publish-workstation=no
publish-hinfo=no
"""
OTHER_LINK = "feedlink0"
ENVIRONMENT = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=BUS_ADDRESS, LC_ALL="C.UTF-8")


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          env=ENVIRONMENT).stdout


def enter_namespaces():
    """Never returns: the same program goes on inside."""
    os.execvp("unshare", ["unshare", "--net", "--mount", "--pid", "--ipc", "--fork", "--kill-child", "--mount-proc",
                          sys.executable, *sys.argv, "inside"])


def prepare():
    run("mount", "-t", "tmpfs", "none", "/run")
    run("ip", "link", "set", "lo", "up")
    # A second link, on which multicast works as on any network's.
    run("ip", "tuntap", "add", OTHER_LINK, "mode", "tap")
    run("ip", "address", "add", "192.0.2.1/24", "dev", OTHER_LINK)
    run("ip", "link", "set", OTHER_LINK, "up", "multicast", "on")


class Announced(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        config = os.path.join(self.folder, "bus.conf")
        with open(config, "w", encoding="ascii") as file:
            file.write(BUS)
        self.bus = subprocess.Popen(["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile",
                                     "--print-address"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.bus.stdout.readline()  # it listens
        self.addCleanup(self.end, self.bus)

    def end(self, process):
        if process.poll() is None:
            process.terminate()
        process.wait()
        for pipe in (process.stdin, process.stdout):
            if pipe:
                pipe.close()

    def daemon(self):
        config = os.path.join(self.folder, "avahi.conf")
        with open(config, "w", encoding="ascii") as file:
            file.write(AVAHI % OTHER_LINK)
        daemon = subprocess.Popen(["avahi-daemon", "--no-drop-root", "--no-chroot", "--no-rlimits", "-f", config],
                                  env=ENVIRONMENT, stderr=subprocess.DEVNULL)
        self.addCleanup(self.end, daemon)
        self.until(lambda: self.is_running(), "the daemon runs")
        return daemon

    @staticmethod
    def is_running():
        command = ["dbus-send", "--system", "--print-reply=literal", "--dest=org.freedesktop.Avahi", "/",
                   "org.freedesktop.Avahi.Server.GetState"]
        return subprocess.run(command, env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              check=False).stdout.split()[-1:] == ["2"]

    def feed_host(self):
        host = Host("--announce", environment=ENVIRONMENT, log=self.log())
        self.addCleanup(host.end)
        return host

    def log(self):
        self.log_path = os.path.join(self.folder, "log")
        file = open(self.log_path, "w", encoding="utf-8")  # the host's for good
        self.addCleanup(file.close)
        return file

    def logged(self):
        with open(self.log_path, encoding="utf-8") as file:
            return file.read()

    def until(self, condition, what, seconds=20):
        deadline = time.monotonic() + seconds
        while not (answer := condition()):
            self.assertLess(time.monotonic(), deadline, f"{what}: not in time")
            time.sleep(0.1)  # between questions to the daemon
        return answer

    @staticmethod
    def found():
        """(interface, name, address, port) of every feed that avahi-browse resolves."""
        lines = run("avahi-browse", "--resolve", "--terminate", "--parsable", "--no-db-lookup", "_vantrel._tcp")
        rows = [line.split(";") for line in lines.splitlines() if line.startswith("=")]
        return {(row[1], row[3], row[7], int(row[8])) for row in rows}

    def await_feed(self, host, name="feedtest"):
        wanted = {("lo", name, "127.0.0.1", host.port)}
        self.until(lambda: self.found() >= wanted, f"{wanted} announced")
        return wanted

    def test_found_on_the_loopback_interface_alone(self):
        self.daemon()
        host = self.feed_host()
        wanted = self.await_feed(host)
        self.assertEqual(self.found(), wanted)
        # Anything that is announced everywhere is seen on the other link too, so that the test could tell.
        everywhere = subprocess.Popen(["avahi-publish", "-s", "everywhere", "_vantrel._tcp", "9"], env=ENVIRONMENT,
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(self.end, everywhere)
        self.until(lambda: OTHER_LINK in {row[0] for row in self.found()}, "the other link is looked at")
        self.assertEqual({row for row in self.found() if row[1] == "feedtest"}, wanted)
        client = Client(host)
        self.addCleanup(client.close)
        self.assertTrue(client.sweep())

    def test_found_once_the_daemon_runs_and_again_when_it_was_started_again(self):
        host = self.feed_host()
        self.until(lambda: "until avahi-daemon runs" in self.logged(), "its absence is logged")
        daemon = self.daemon()
        self.await_feed(host)
        daemon.terminate()
        daemon.wait()
        self.until(lambda: "avahi-daemon has ended" in self.logged(), "its end is noticed")
        daemon = self.daemon()
        self.await_feed(host)
        daemon.kill()
        daemon.wait()
        self.daemon()
        self.await_feed(host)

    def test_a_name_that_is_taken_gets_a_number(self):
        self.daemon()
        taken = subprocess.Popen(["avahi-publish", "-s", "feedtest", "_vantrel._tcp", "9"], env=ENVIRONMENT,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(self.end, taken)
        self.until(lambda: any(row[1] == "feedtest" for row in self.found()), "the name is taken")
        first = self.feed_host()
        self.await_feed(first, r"feedtest\032\0352")
        second = self.feed_host()
        self.await_feed(second, r"feedtest\032\0353")

    def test_a_machine_that_changes_its_name(self):
        self.daemon()
        host = self.feed_host()
        self.await_feed(host)
        run("avahi-set-host-name", "renamed")
        self.await_feed(host, "renamed")
        self.until(lambda: len(self.found()) == 1, "the former name is gone")

    def test_stopped_it_is_withdrawn_and_started_announced_with_the_new_port(self):
        self.daemon()
        host = self.feed_host()
        self.await_feed(host)
        host.ask("stop")
        self.until(lambda: not self.found(), "withdrawn")
        host.port = int(host.ask("start").split()[1])
        self.await_feed(host)
        for _ in range(20):
            host.ask("stop")
            host.port = int(host.ask("start").split()[1])
        self.await_feed(host)
        self.until(lambda: len(self.found()) == 1, "only the last is announced")

    def test_without_a_bus_the_port_serves(self):
        self.end(self.bus)
        host = self.feed_host()
        self.assertIn("no system bus", self.logged())
        client = Client(host)
        self.addCleanup(client.close)
        self.assertTrue(client.sweep())

    def test_a_daemon_that_ends_with_its_bus_leaves_the_port_serving(self):
        self.daemon()
        host = self.feed_host()
        self.await_feed(host)
        self.end(self.bus)
        client = Client(host)
        self.addCleanup(client.close)
        self.assertTrue(client.sweep())
        host.ask("stop")

    def strange_daemon(self, **answers):
        daemon = subprocess.Popen([sys.executable, STRANGE_AVAHI, json.dumps(answers)], stdout=subprocess.PIPE,
                                  env=ENVIRONMENT)
        self.addCleanup(self.end, daemon)
        daemon.stdout.readline()

    def test_a_daemon_that_answers_something_else_leaves_the_port_serving(self):
        self.strange_daemon(GetState=["i", [2]], GetHostName=["u", [7]])
        host = self.feed_host()
        self.until(lambda: "GetHostName failed: the answer is no name" in self.logged(), "the answer is refused")
        client = Client(host)
        self.addCleanup(client.close)
        self.assertTrue(client.sweep())

    def test_a_state_that_is_no_number_is_none(self):
        self.strange_daemon(GetState=["s", ["2"], ["/", "Server", "StateChanged", "s", ["2"]],
                                      ["/", "Server", "StateChanged", "is", [2, ""]]],
                            GetHostName=["s", [""]])
        self.feed_host()
        self.until(lambda: "the answer is no name" in self.logged(), "the last signal begins the announcing")
        self.assertEqual(self.logged().count("the answer is no name"), 1)


if __name__ == "__main__":
    if "inside" not in sys.argv:
        missing = [tool for tool in ("unshare", "ip", "dbus-daemon", "dbus-send", "avahi-daemon", "avahi-browse",
                                     "avahi-publish", "avahi-set-host-name") if not shutil.which(tool)]
        if missing or os.geteuid() != 0:
            print("needs to be root" if not missing else f"not installed: {', '.join(missing)}")
            sys.exit(77)
        enter_namespaces()
    prepare()
    unittest.main(argv=sys.argv[:1], verbosity=2)
