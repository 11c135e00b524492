"""What the tests of faults share: the application on a desktop of its own, in a mount namespace of this process, so that
small and read-only file systems are nobody else's; and what must hold after every fault."""
import ctypes
import os
import random
import resource
import struct
import subprocess
import sys
from pathlib import Path

for folder in ("desktop", "delivery"):
    sys.path.insert(0, str(Path(__file__).resolve().parent.parent / folder))
import application  # noqa: E402
from application import POLL_MS  # noqa: E402
from bus import wait_for  # noqa: E402
from delivery_test import DeliveryTest  # noqa: E402

CLONE_NEWNS = 0x00020000
REPETITIONS = int(os.environ.get("VANTREL_FAULT_REPETITIONS", "0"))  # 0: as few as each test finds enough
SEED = int(os.environ.get("VANTREL_FAULT_SEED", random.SystemRandom().randrange(1 << 32)))
RADIOTAP = 127
FILE_HEADER, RECORD_HEADER = 24, 16
OFFERED = ".offered"  # the list of the captures that were offered once
WRITE_FAILED = "The capture was stopped because its file cannot be written."
SAVE_FAILED = "Failed to save capture file."


def enter_mount_namespace():
    """Whether this process may mount file systems that only it and its children see."""
    if ctypes.CDLL(None).unshare(CLONE_NEWNS) != 0:
        return False
    return subprocess.run(["mount", "--make-rprivate", "/"], capture_output=True, check=False).returncode == 0


MAY_MOUNT = enter_mount_namespace()  # before there is any thread


def whole_records(path, torn_permitted=False):
    """How many frames a capture file holds; fails when anything but, if permitted, its last record is not whole."""
    content, at, count = path.read_bytes(), FILE_HEADER, 0
    if len(content) < FILE_HEADER:
        assert torn_permitted, f"{path} ends inside its header"
        return 0
    magic, major, minor, _zone, _figures, snapshot, link = struct.unpack_from("<IHHiIII", content)
    assert (magic, major, minor, link) == (0xa1b2c3d4, 2, 4, RADIOTAP), f"{path} does not begin as a capture file does"
    while at < len(content):
        captured = struct.unpack_from("<I", content, at + 8)[0] if at + RECORD_HEADER <= len(content) else None
        if captured is None or at + RECORD_HEADER + captured > len(content):
            assert torn_permitted, f"{path} ends inside a record"
            break
        version, _pad, length = struct.unpack_from("<BBH", content, at + RECORD_HEADER)
        assert captured <= snapshot and version == 0 and 8 <= length <= captured, f"{path}: no frame at byte {at}"
        at += RECORD_HEADER + captured
        count += 1
    return count


def tap_of(process):
    """The network device of the simulated radio that the process holds, with the number that no later one will have;
    None when it holds none. The kernel tells it of each descriptor of /dev/net/tun."""
    for entry in Path(f"/proc/{process.pid}/fdinfo").iterdir():
        try:
            lines = entry.read_text().splitlines()
        except OSError:  # closed meanwhile
            continue
        name = next((line.split()[1] for line in lines if line.startswith("iff:") and len(line.split()) > 1), None)
        if name and (number := index_of(name)) is not None:
            return name, number
    return None


def index_of(device):
    try:
        return int(Path(f"/sys/class/net/{device}/ifindex").read_text())
    except OSError:
        return None


class FaultTest(DeliveryTest):
    """One class of tests of faults; each test is a row of the table in docs/testing.md."""

    shims = None  # the folder of the libraries that are loaded before all others

    def setUp(self):
        super().setUp()
        self.random = random.Random(f"{SEED} {self.id()}")
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    def shim(self, name, **settings):
        """The environment in which a program has this library of faults before all others."""
        library = self.shims / f"lib{name}.so"
        self.assertTrue(library.exists(), f"{library} is not built")
        return {"LD_PRELOAD": str(library)} | {f"VANTREL_FAULT_{key}": str(value) for key, value in settings.items()}

    # Places

    def small_file_system(self, folder, size):
        """A file system of so many bytes there, for this test."""
        if not MAY_MOUNT:
            self.skipTest("mounting a small file system needs CAP_SYS_ADMIN")
        folder.mkdir(mode=0o700, parents=True, exist_ok=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size},mode=0700", "tmpfs", folder], check=True)
        self.addCleanup(subprocess.run, ["umount", "-l", folder], check=True)
        return folder

    @staticmethod
    def remount(folder, how):
        """how: "ro" or "rw". What is open for writing keeps the kernel from it, so the mount alone is changed."""
        subprocess.run(["mount", "-o", f"remount,bind,{how}", folder], check=True)

    @staticmethod
    def fill(folder):
        """Takes all space that is left there; the file that takes it."""
        filler = folder / "filler"
        with open(filler, "wb", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(4096))
            except OSError:
                return filler

    # Steps

    def fresh_capture(self):
        """Waits for the first capture file, however small."""
        return wait_for(lambda: next(iter(self.files()), None), "a capture file", poll_ms=POLL_MS)

    # What must hold

    def assert_at_rest(self, item):
        """The adapter is as it was: in its network, on its channel, and no monitor is left."""
        item.wait_for_tool_tip(application.IDLE)
        item.wait_for_entry(application.DISCONNECT)

    def assert_nothing_but(self, *names):
        """The folder of unfinished captures holds these files and no others."""
        found = {path.name for path in self.captures.iterdir()} if self.captures.exists() else set()
        self.assertEqual(found - {OFFERED}, set(names))

    def assert_offered(self, left):
        """A new start offered exactly these captures, and removed what held no frame."""
        offered = [path for path in left if path.exists()]
        if not offered:
            self.assertEqual(self.notifications(), [])
            return
        self.wait_for_notification()
        (summary, body), = self.notifications()
        if len(offered) == 1:
            self.assertEqual((summary, body.split("\n")[0]), ("A capture was not saved", offered[0].name))
        else:
            self.assertEqual(summary, "Captures were not saved")
            self.assertIn(f"{len(offered)} files left over", body)

    def assert_works_again(self, program, item):
        """A capture from the menu to its folder."""
        path = self.capture(item)
        self.stop(program, item)
        self.assertGreater(whole_records(self.saved(path)), 0)
        self.assert_at_rest(item)

    def assert_next_start(self, *left):
        """The next start offers what is left, and captures as ever."""
        self.log_name += "-next"
        self.dunstctl("close-all")
        self.shown_before = {shown["id"]["data"] for shown in self.history()}
        program, item = self.start_idle()
        self.assert_offered(left)
        self.assert_works_again(program, item)
        self.quit(program, item)


def main(cases):
    """Runs the classes of the calling program: its arguments are the application and the folder of the libraries."""
    FaultTest.shims = Path(sys.argv.pop(2)).resolve()
    print(f"seed {SEED}", flush=True)
    return application.main(cases)
