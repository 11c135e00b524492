#!/usr/bin/python3
"""The package in a clean Debian root, whose process this is (roots.py): installed, used by a member of the group and by
somebody else, upgraded, removed, purged. The tests build on each other and run in the order of their names.

    inside.py    /test/new.deb is the package
"""
import grp
import json
import os
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
PACKAGE = "/test/new.deb"
FOLDER = Path("/usr/libexec/vantrel")
COMMAND, PROGRAM = Path("/usr/bin/vantrel"), FOLDER / "vantrel"
LAUNCHER, RADIO = FOLDER / "vantrel-launch", FOLDER / "vantrel-radio"
FEEDD, FEED_LAUNCHER = FOLDER / "vantrel-feedd", FOLDER / "vantrel-feedd-launch"
TRUSTED = (LAUNCHER, FEED_LAUNCHER, RADIO)
COMMANDS = {"vantrel": 1, "vantrel-feed": 1, "vantrel-feedd": 8}  # and the section of its manual page
NO_PERMISSION = 4  # of vantrel-feedd
GROUP = "access_bpf"
OLD_VERSION = "0.0.1"
NET_ADMIN, NET_RAW = 1 << 12, 1 << 13
NONE = {"Inh": 0, "Prm": 0, "Eff": 0, "Amb": 0}
CAPTURING_THREAD, KEEPER = "vantrel-pcap", "vantrel-keeper"
MESSAGE = "You don't have permission to capture on this device."
INFORMATIVE = ("Go to System Preferences > Users & Groups and make sure you are a member of the group 'access_bpf'. You "
               "will need to log out and then log back in after making any changes.")
SESSION_SECONDS = 150
# What belongs to the package system and to the triggers of other packages.
NOT_OURS = ("/var/lib/dpkg", "/var/cache", "/var/log", "/proc", "/sys", "/dev", "/run", "/tmp", "/test", "/home", "/var/tmp",
            "/var/lib/apt")


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=SESSION_SECONDS,
                          check=False, stdin=subprocess.DEVNULL, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))} ended with status {done.returncode}:\n{done.stdout}\n"
                             f"{done.stderr}")
    return done.stdout


def session(user, *words):
    """What tests/package/session.py saw as this user."""
    return json.loads(run("setpriv", f"--reuid={user}", f"--regid={user}", "--init-groups", "--reset-env",
                          "/usr/bin/python3", HERE / "session.py", *words).splitlines()[-1])


def trusted(path):
    """Owner, group, mode and capability of a file."""
    status = path.stat()
    return (status.st_uid, grp.getgrgid(status.st_gid).gr_name, oct(stat.S_IMODE(status.st_mode)),
            run("getcap", path).strip().removeprefix(f"{path} "))


TRUSTED_LAUNCHER = (0, GROUP, "0o750", "cap_net_raw=p")
TRUSTED_RADIO = (0, GROUP, "0o750", "cap_net_admin=ep")


def tree():
    found = set()
    for folder, folders, files in os.walk("/"):
        folders[:] = [name for name in folders if os.path.join(folder, name) not in NOT_OURS]
        found |= {os.path.join(folder, name) for name in folders + files}
    return found


def older_package():
    """The package as an older version."""
    with tempfile.TemporaryDirectory() as place:
        unpacked = Path(place) / "unpacked"
        run("dpkg-deb", "--raw-extract", PACKAGE, unpacked)
        control = unpacked / "DEBIAN/control"
        lines = control.read_text().splitlines()
        control.write_text("".join(f"Version: {OLD_VERSION}\n" if line.startswith("Version:") else f"{line}\n"
                                   for line in lines))
        run("dpkg-deb", "--build", "--root-owner-group", unpacked, "/test/old.deb")
    return "/test/old.deb"


def version():
    return run("dpkg-query", "--show", "--showformat=${Version}", "vantrel")


def settings_of(user):
    """A home with settings of one's own; the folder that captures go to."""
    home = Path(f"/home/{user}")
    captures = home / "Captures"
    file = home / ".config/vantrel/settings.json"
    file.parent.mkdir(parents=True)
    captures.mkdir()
    file.write_text(json.dumps({"FirstTimeCapture": 0, "CaptureFilesLocation": str(captures), "DoNothing": 0,
                                "OpenInApplication": 1, "OpenInApplicationPath": f"{home}/opener.desktop",
                                "MaxCaptureFiles": 1}))
    run("chown", "-R", f"{user}:{user}", home)
    file.chmod(0o600)
    return file, captures


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.before = tree()
        cls.contents = {line.split()[5] for line in run("dpkg-deb", "--contents", PACKAGE).splitlines()}
        run("dpkg", "--install", older_package())
        for user in ("member", "outsider"):
            run("useradd", "--create-home", "--user-group", user)
        run("adduser", "--quiet", "member", GROUP)
        cls.settings, cls.captures = settings_of("member")
        cls.stored = cls.settings.read_bytes()
        _, cls.others_captures = settings_of("outsider")

    def test_01_an_older_version_is_there(self):
        self.assertEqual(version(), OLD_VERSION)
        self.assertEqual(trusted(LAUNCHER), TRUSTED_LAUNCHER)

    def test_02_an_upgrade_keeps_settings_membership_and_trust(self):
        run("dpkg", "--install", PACKAGE)
        self.assertNotEqual(version(), OLD_VERSION)
        self.assertEqual(self.settings.read_bytes(), self.stored)
        self.assertEqual(grp.getgrnam(GROUP).gr_mem, ["member"])
        self.assertEqual(trusted(LAUNCHER), TRUSTED_LAUNCHER)
        self.assertEqual(trusted(FEED_LAUNCHER), TRUSTED_LAUNCHER)
        self.assertEqual(trusted(RADIO), TRUSTED_RADIO)

    def test_03_nothing_else_of_it_is_trusted(self):
        files = [Path(line) for line in run("dpkg", "--listfiles", "vantrel").splitlines()]
        for path in files:
            if path.is_file() and path not in TRUSTED:
                status = path.lstat()
                self.assertEqual((status.st_uid, status.st_gid), (0, 0), path)
                self.assertEqual(status.st_mode & 0o7022, 0, path)
        self.assertEqual({line.split()[0] for line in run("getcap", "-r", "/usr").splitlines()
                          if "vantrel" in line}, {str(path) for path in TRUSTED})
        self.assertEqual(run("dpkg", "--verify", "vantrel"), "")

    def test_03_each_command_has_its_page_and_its_completion(self):
        for command, section in COMMANDS.items():
            self.assertEqual(run(f"/usr/bin/{command}", "--version").split()[0], command)
            # A root without manuals, as containers have it, may have been told to leave the pages out.
            self.assertIn(f"./usr/share/man/man{section}/{command}.{section}.gz", self.contents)
            run("bash", "--norc", "-c", '. "$0" && complete -p "${0##*/}"',
                f"/usr/share/bash-completion/completions/{command}")
        for size in (16, 22, 24, 32, 48, 64, 128, 256):
            self.assertIn(f"./usr/share/icons/hicolor/{size}x{size}/apps/vantrel.png", self.contents)
        self.assertIn("./usr/share/icons/hicolor/scalable/apps/vantrel.svg", self.contents)

    def test_04_somebody_else_can_execute_none(self):
        for path in TRUSTED:
            # Not by setpriv itself, which still holds root's capabilities when it executes a program.
            done = subprocess.run(["setpriv", "--reuid=outsider", "--regid=outsider", "--init-groups", "/bin/sh", "-c",
                                   'exec "$0"', path], capture_output=True, check=False)
            self.assertNotEqual(done.returncode, 0)
            self.assertIn(b"Permission denied", done.stderr)

    def test_05_of_a_members_program_the_threads_that_run_libpcap_hold_the_capability(self):
        for kind in ("stream", "namespace"):
            with self.subTest(kind):
                seen = session("member", "captures", kind)
                # In a network namespace of its own the simulated radio makes the device, and that is all it is for.
                kept = NET_RAW | NET_ADMIN if kind == "namespace" else NET_RAW
                self.assertEqual(seen["program"], str(PROGRAM))
                self.assert_threads(seen["idle"], {KEEPER: NONE | {"Prm": kept}})
                self.assert_threads(seen["capturing"], {KEEPER: NONE | {"Prm": kept},
                                                        CAPTURING_THREAD: NONE | {"Prm": kept, "Eff": kept}})
                self.assertEqual(seen["opener"], NONE)
                self.assertEqual(seen["child"], NONE)
                self.assertEqual(seen["status"], 0, seen["log"])
                self.assertEqual(set(seen["environment"]) & {"QT_PLUGIN_PATH", "GIO_EXTRA_MODULES", "TMPDIR",
                                                             "LIBGL_DRIVERS_PATH", "LD_LIBRARY_PATH"}, set())
                self.assertIn("DBUS_SESSION_BUS_ADDRESS", seen["environment"])
                self.assertIn(f'Exec="{COMMAND}"', seen["autostart"].splitlines())
        self.assertEqual(len(list(self.captures.glob("*.pcap"))), 2)
        self.assertEqual(json.loads(self.settings.read_text())["CaptureFilesLocation"], str(self.captures))

    def test_06_somebody_elses_program_holds_nothing_and_says_so_at_the_first_capture(self):
        # An adapter that the machine may not have; nobody who is not permitted gets as far as to use it.
        run("mount", "-t", "tmpfs", "tmpfs", "/sys/class/net")
        self.addCleanup(run, "umount", "/sys/class/net")
        Path("/sys/class/net/wlan0/phy80211").mkdir(parents=True)
        seen = session("outsider", "alert")
        self.assert_threads(seen["idle"], {})
        self.assertIn(MESSAGE, seen["alert"])
        self.assertIn(INFORMATIVE, seen["alert"])
        self.assertEqual(seen["status"], 0, seen["log"])

    def test_07_somebody_else_may_use_the_simulated_radio(self):
        seen = session("outsider", "captures", "stream")
        self.assert_threads(seen["capturing"], {})
        self.assertEqual(seen["status"], 0, seen["log"])
        self.assertEqual(len(list(self.others_captures.glob("*.pcap"))), 1)

    def test_07_the_feeds_host_holds_the_capability_only_until_its_device_is_open(self):
        seen = session("member", "feed", "simulated")
        self.assertEqual(seen["status"], 0, seen["log"])
        self.assertEqual(seen["program"], str(FEEDD))
        self.assert_threads(seen["idle"], {KEEPER: NONE | {"Prm": NET_RAW}})
        self.assert_threads(seen["capturing"], {KEEPER: NONE | {"Prm": NET_RAW}})
        self.assertIn([CAPTURING_THREAD, NONE], seen["capturing"])

    def test_07_somebody_elses_feed_refuses_the_adapter_and_serves_the_simulated_radio(self):
        seen = session("outsider", "feed", "adapter")
        self.assertEqual(seen["status"], NO_PERMISSION, seen["log"])
        self.assertIn(GROUP, seen["log"])
        seen = session("outsider", "feed", "simulated")
        self.assertEqual(seen["status"], 0, seen["log"])
        self.assert_threads(seen["capturing"], {})

    def test_08_what_the_administrator_decided_on_stays(self):
        run("dpkg-statoverride", "--update", "--add", "root", "member", "0710", LAUNCHER)
        run("dpkg-statoverride", "--update", "--add", "root", "root", "0755", RADIO)
        run("dpkg", "--install", PACKAGE)
        self.assertEqual(trusted(LAUNCHER), (0, "member", "0o710", "cap_net_raw=p"))
        self.assertEqual(trusted(RADIO), (0, "root", "0o755", ""))
        for path in (LAUNCHER, RADIO):
            run("dpkg-statoverride", "--remove", path)
        run("dpkg", "--install", PACKAGE)
        self.assertEqual(trusted(LAUNCHER), TRUSTED_LAUNCHER)
        self.assertEqual(trusted(RADIO), TRUSTED_RADIO)

    def test_09_removed_and_purged_it_leaves_only_what_is_the_users(self):
        run("dpkg", "--remove", "vantrel")
        self.assertFalse(COMMAND.exists())
        self.assertFalse(FOLDER.exists())
        self.assertEqual(grp.getgrnam(GROUP).gr_mem, ["member"])
        run("dpkg", "--purge", "vantrel")
        with self.assertRaises(KeyError):
            grp.getgrnam(GROUP)
        left = tree() - self.before
        for user in ("member", "outsider"):
            left.discard(f"/var/mail/{user}")
        self.assertEqual({path for path in left if not path.endswith("-")}, set())  # passwd- and others are backups
        self.assertFalse(list(Path("/var/lib/dpkg/info").glob("vantrel*")))
        self.assertTrue(self.settings.exists())

    def test_10_a_group_that_was_there_before_stays(self):
        run("addgroup", "--quiet", "--system", GROUP)
        run("dpkg", "--install", PACKAGE)
        run("dpkg", "--purge", "vantrel")
        self.assertTrue(grp.getgrnam(GROUP))

    def assert_threads(self, seen, holding):
        """Of these threads only one of each of these names holds anything."""
        self.assertGreater(len(seen), 1)
        self.assertEqual(sorted((name, list(sets.items())) for name, sets in seen if sets != NONE),
                         sorted((name, list(sets.items())) for name, sets in holding.items()))


if __name__ == "__main__":
    unittest.main(verbosity=2)
