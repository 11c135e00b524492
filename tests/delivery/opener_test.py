"""Opening and revealing on a bus of the test's own: with a file manager that keeps count, and with applications that
report how they were started."""
import os
import select
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from probe import PATIENCE, Probe, Recorder
from bus import wait_for  # found through probe
from file_manager import FileManager

PROGRAM = None  # the path of notification_probe
SKIPPED = 77
# No folder of services: what is not started here does not exist.
BUS_CONFIG = """<busconfig>
  <type>session</type>
  <listen>unix:path={path}</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""
NAME = "a b&c's \"d\" #1%?.pcap"
NAME_IN_URI = "a%20b&c's%20%22d%22%20%231%25%3F.pcap"


class OpenerTest(unittest.TestCase):
    environment = {}

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="vantrel-opener-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.env = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"} | self.environment
        self.env |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        for name in ("HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "TMPDIR"):
            path = self.folder / name.lower()
            path.mkdir(mode=0o700)
            self.env[name] = str(path)
        self.env["XDG_DATA_DIRS"] = str(self.folder / "none")
        self.env["XDG_CONFIG_DIRS"] = str(self.folder / "none")
        self.recorder = Recorder(self.env["XDG_DATA_HOME"])
        self.addCleanup(self.recorder.close)
        self.start_bus()
        self.captures = self.folder / "captures"
        self.captures.mkdir()
        self.file = self.captures / NAME
        self.file.write_bytes(b"")
        self.uri = f"file://{self.captures}/{NAME_IN_URI}"

    def start_bus(self):
        config = self.folder / "bus.conf"
        config.write_text(BUS_CONFIG.format(path=self.folder / "bus"))
        self.daemon = subprocess.Popen(["dbus-daemon", f"--config-file={config}", "--nofork", "--print-address"],
                                       stdout=subprocess.PIPE, env=self.env)
        self.addCleanup(self.stop, self.daemon)
        ready, _, _ = select.select([self.daemon.stdout], [], [], PATIENCE)
        self.assertTrue(ready, "dbus-daemon does not start")
        self.address = self.daemon.stdout.readline().decode().strip()
        self.env["DBUS_SESSION_BUS_ADDRESS"] = self.address

    def start_probe(self, pass_fds=()):
        output = self.folder / "output"
        with open(output, "wb") as file:
            process = subprocess.Popen([PROGRAM], stdin=subprocess.PIPE, stdout=file, env=self.env, pass_fds=pass_fds)
        self.addCleanup(self.end, process)
        self.probe = Probe(process, lambda: output.read_text())
        self.probe.wait_for("ready")
        return self.probe

    def start_manager(self):
        manager = FileManager(self.address)
        self.addCleanup(manager.close)
        return manager

    def stop(self, process):
        process.kill()
        process.wait()
        for pipe in (process.stdin, process.stdout):
            if pipe is not None:
                pipe.close()

    def end(self, process):
        """Lets the probe end by itself, so that it can tell of what it has lost."""
        process.stdin.close()
        try:
            self.assertEqual(process.wait(PATIENCE), 0)
        finally:
            process.kill()
            process.wait()

    def assert_failed(self, message, information):
        self.assertEqual(self.probe.wait_for("failed"), ["failed", message, information])
        self.assertTrue(self.recorder.is_silent())


class WithFileManager(OpenerTest):
    def test_a_file_is_shown_in_it(self):
        manager = self.start_manager()
        self.start_probe()
        self.probe.order("token", "click_TIME7")
        self.probe.order("reveal", str(self.file))
        self.probe.order("reveal", str(self.file))  # the token was good for one
        wait_for(lambda: len(manager.calls) == 2, "the file manager to be called")
        self.assertEqual(manager.calls, [("ShowItems", [self.uri], "click_TIME7"), ("ShowItems", [self.uri], "")])

    def test_a_folder_is_shown_in_it(self):
        manager = self.start_manager()
        self.start_probe()
        self.probe.order("token", "click_TIME7")
        self.probe.order("folder", str(self.captures))
        wait_for(lambda: manager.calls, "the file manager to be called")
        self.assertEqual(manager.calls, [("ShowFolders", [f"file://{self.captures}"], "click_TIME7")])

    def test_one_that_refuses_is_replaced(self):
        self.recorder.add("viewer", "inode/directory;")
        manager = self.start_manager()
        manager.refuses = True
        self.start_probe()
        self.probe.order("reveal", str(self.file))
        wait_for(lambda: manager.calls, "the file manager to be called")
        self.assertEqual(self.recorder.report()["arguments"], [str(self.captures)])

    def test_what_is_gone_is_not_asked_for(self):
        self.recorder.add("viewer", "inode/directory;")
        manager = self.start_manager()
        self.start_probe()
        self.probe.order("reveal", f"{self.captures}/gone.pcap")
        self.assert_failed("Failed to show capture file.", f'The file "{self.captures}/gone.pcap" no longer exists.')
        self.probe.order("folder", f"{self.folder}/gone")
        self.probe.wait_for("failed", count=2)
        self.assert_failed("Failed to open folder.", f'The folder "{self.folder}/gone" no longer exists.')
        self.probe.order("folder", str(self.file))
        self.probe.wait_for("failed", count=3)
        self.assert_failed("Failed to open folder.", f'"{self.file}" is not a folder.')
        ring = self.folder / "ring"
        ring.symlink_to(ring)
        self.probe.order("folder", str(ring))
        self.probe.wait_for("failed", count=4)
        self.assert_failed("Failed to open folder.",
                           f'The folder "{ring}" cannot be reached: Too many levels of symbolic links.')
        self.probe.order("folder", str(self.captures))
        wait_for(lambda: manager.calls, "the file manager to be called")
        self.assertEqual([call[0] for call in manager.calls], ["ShowFolders"])


class WithoutFileManager(OpenerTest):
    def test_the_folder_of_a_file_opens_in_the_registered_application(self):
        self.recorder.add("viewer", "inode/directory;")
        self.start_probe()
        self.probe.order("token", "click_TIME7")
        self.probe.order("reveal", str(self.file))
        report = self.recorder.report()
        self.assertEqual((report["name"], report["arguments"]), ("viewer", [str(self.captures)]))
        self.assertEqual(report["environment"]["XDG_ACTIVATION_TOKEN"], "click_TIME7")
        self.probe.order("folder", str(self.captures))
        report = self.recorder.report()
        self.assertEqual((report["name"], report["arguments"]), ("viewer", [str(self.captures)]))
        self.assertNotIn("XDG_ACTIVATION_TOKEN", report["environment"])

    def test_without_an_application_the_user_is_told(self):
        self.start_probe()
        self.probe.order("reveal", str(self.file))
        self.assert_failed("Failed to show capture file.",
                           f'No application is installed that shows "{self.file}".')
        self.probe.order("folder", str(self.captures))
        self.probe.wait_for("failed", count=2)
        self.assert_failed("Failed to open folder.",
                           f'No application is installed that shows "{self.captures}".')


class WithApplications(OpenerTest):
    def test_a_file_opens_in_the_application_of_an_entry(self):
        entry = self.recorder.add("analyzer", field="%f")
        self.recorder.add("other", "application/vnd.tcpdump.pcap;", field="%f")
        self.start_probe()
        self.probe.order("token", "click_TIME7")
        self.probe.order("file", str(self.file), entry)
        report = self.recorder.report()
        self.assertEqual((report["name"], report["arguments"]), ("analyzer", [str(self.file)]))
        self.assertEqual(report["environment"]["XDG_ACTIVATION_TOKEN"], "click_TIME7")
        self.assertEqual(report["environment"]["DESKTOP_STARTUP_ID"], "click_TIME7")
        self.probe.order("file", str(self.file), entry)
        report = self.recorder.report()
        self.assertNotIn("XDG_ACTIVATION_TOKEN", report["environment"])
        self.assertNotIn("DESKTOP_STARTUP_ID", report["environment"])

    def test_an_application_that_names_no_file_is_given_it(self):
        entry = self.recorder.add("analyzer", field="")
        self.start_probe()
        self.probe.order("file", str(self.file), entry)
        self.assertEqual(self.recorder.report()["arguments"], [str(self.file)])

    def test_it_inherits_no_descriptor_and_no_blocked_signal(self):
        entry = self.recorder.add("analyzer")
        read, write = os.pipe()
        self.addCleanup(os.close, read)
        self.addCleanup(os.close, write)
        process = self.start_probe(pass_fds=(read, write)).process
        held = {os.readlink(f"/proc/{process.pid}/fd/{number}") for number in (read, write)}
        self.assertEqual(len(held), 1, "the probe itself holds both ends of the pipe")
        self.probe.order("file", str(self.file), entry)
        report = self.recorder.report()
        descriptors = report["descriptors"]
        recorder = {name for name, target in descriptors.items() if target.endswith("/fd")}
        self.assertEqual(set(descriptors) - recorder, {"0", "1", "2"}, descriptors)
        self.assertFalse(held & set(descriptors.values()), descriptors)
        self.assertEqual(int(report["blocked"], 16), 0)

    def test_an_address_reaches_the_browser_as_it_stands(self):
        self.recorder.add("browser", "x-scheme-handler/https;")
        self.start_probe()
        address = "https://mojopackets.example/site/login?email=a b'c\"d@e&ticket=%20$(x)`y`;\\&trace_id=é%%u"
        self.probe.order("token", "click_TIME7")
        self.probe.order("url", address)
        report = self.recorder.report()
        self.assertEqual((report["name"], report["arguments"]), ("browser", [address]))
        self.assertEqual(report["environment"]["XDG_ACTIVATION_TOKEN"], "click_TIME7")

    def test_what_cannot_be_opened_is_told(self):
        entry = self.recorder.add("analyzer")
        missing = self.recorder.add("missing", program="/nonexistent/program")
        self.start_probe()
        message = "Failed to open capture file."
        cases = [
            (("file", f"{self.captures}/gone.pcap", entry), message,
             f'The file "{self.captures}/gone.pcap" no longer exists.'),
            (("file", str(self.file), f"{self.folder}/gone.desktop"), message,
             f'The application "{self.folder}/gone.desktop" no longer exists.'),
            (("file", str(self.file), missing), message,
             f'"{self.file}" cannot be opened with "{missing}", which describes no application whose program is '
             "installed."),
            (("url", "https://shark.example/captures/7"), "Failed to open web page.",
             'No application is installed that opens the address "https://shark.example/captures/7".'),
            (("url", "shark.example/captures/7"), "Failed to open web page.",
             'No application is installed that opens the address "shark.example/captures/7".'),
        ]
        for number, (order, failure, information) in enumerate(cases, 1):
            self.probe.order(*order)
            self.probe.wait_for("failed", count=number)
            self.assert_failed(failure, information)

    def test_a_program_that_does_not_start_is_told(self):
        entry = self.recorder.add("analyzer")
        with open(entry, "a") as description:
            description.write("Path=/nonexistent/folder\n")
        self.start_probe()
        self.probe.order("file", str(self.file), entry)
        self.probe.wait_for("failed")
        self.assert_failed("Failed to open capture file.",
                           f'"{self.file}" could not be opened with analyzer: Failed to change to directory '
                           "“/nonexistent/folder” (No such file or directory)")

    def test_the_end_of_the_bus_does_not_end_us(self):
        entry = self.recorder.add("analyzer")
        self.recorder.add("viewer", "inode/directory;")
        self.start_probe()
        self.probe.order("file", str(self.file), entry)
        self.recorder.report()
        self.daemon.kill()
        self.daemon.wait()
        self.probe.order("file", str(self.file), entry)  # and what needs no bus works on
        self.assertEqual(self.recorder.report()["arguments"], [str(self.file)])
        self.probe.order("reveal", str(self.file))
        self.assertEqual(self.recorder.report()["arguments"], [str(self.captures)])
        self.probe.order("echo", "alive")
        self.probe.wait_for("echo", "alive")


class OverTheBus(OpenerTest):
    """Applications that are called over the bus instead of being started."""

    def setUp(self):
        super().setUp()
        self.entry = self.recorder.add("org.example.Viewer")
        with open(self.entry, "a") as description:
            description.write("DBusActivatable=true\n")

    def test_one_that_is_not_there_is_told(self):
        self.start_probe()
        self.probe.order("file", str(self.file), self.entry)
        self.probe.wait_for("failed")
        self.assert_failed("Failed to open capture file.",
                           f'"{self.file}" could not be opened with org.example.Viewer: The name org.example.Viewer '
                           "was not provided by any .service files")


class WithoutBus(WithApplications):
    def start_bus(self):
        super().start_bus()
        self.env["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent/bus"

    def test_a_notification_is_handed_back(self):
        self.start_probe()
        self.probe.order("deliver", "a.pcap", "2 frames")
        self.assertEqual(self.probe.wait_for("undelivered"), ["undelivered", "a.pcap"])


class WithAnotherLoop(WithApplications):
    """GLib's loop does not run when Qt is told to do without it."""
    environment = {"QT_NO_GLIB": "1"}


def main():
    global PROGRAM
    PROGRAM = sys.argv.pop(1)
    if shutil.which("dbus-daemon") is None:
        print("skipped: not installed: dbus-daemon (package dbus)")
        return SKIPPED
    unittest.main(verbosity=2)


if __name__ == "__main__":
    sys.exit(main())
