"""One virtual machine of the lab: it boots the kernel with a small initramfs, sees the host's root read-only under an
overlay of its own, and runs one program there. What that program writes into the shared folder is what comes out."""
import ctypes
import gzip
import shlex
import shutil
import signal
import subprocess
import time
from pathlib import Path

import kernel as kernels

QEMU = "qemu-system-x86_64"
SHARE = "/run/lab"  # where the machine finds the shared folder
FIRMWARE = ("regulatory.db", "regulatory.db.p7s")
RADIOS = "radios=4 channels=2"  # with one channel, a monitor tuned to it also hears others

# Runs from the initramfs. The host's root becomes the machine's own, with everything written kept in memory.
INIT = f"""#!/bin/busybox sh
/bin/busybox mkdir -p /bin /proc /sys /dev /host /over /new
/bin/busybox --install -s /bin
export PATH=/bin
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
while read -r module parameters; do
    insmod "/modules/$module.ko" $parameters || echo "lab: cannot insert $module"
done </modules/order
files=trans=virtio,version=9p2000.L,msize=512000
mount -t 9p -o "ro,cache=loose,$files" host /host
mount -t tmpfs -o size=75% over /over
mkdir /over/upper /over/work
mount -t overlay -o lowerdir=/host,upperdir=/over/upper,workdir=/over/work over /new
for folder in /proc /sys /dev; do
    mount --move "$folder" "/new$folder"
done
mount -t tmpfs run /new/run
mkdir -p /new{SHARE}
mount -t 9p -o "$files" share /new{SHARE}
exec switch_root /new /bin/busybox sh {SHARE}/start
"""

# Process 1 of the machine: a shell, which collects orphans while it waits.
START = """export PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1
{command}
echo "lab: the program ended with status $?"
/bin/busybox sync
/bin/busybox poweroff -f
"""


class Machine:
    """Boots with run(). The folder receives the console and is shared with the machine."""

    def __init__(self, kernel, folder, memory_mb=1024):
        self._kernel = kernel
        self._memory_mb = memory_mb
        self.share = folder / "share"
        self.console = folder / "console.log"
        self._initramfs = folder / "initramfs.gz"
        self.share.mkdir(parents=True)

    def run(self, command, limit_seconds, on_line=lambda line: None):
        """Runs the command in the machine, handing on each line of the console. The reason why it did not end by
        itself, or None."""
        (self.share / "start").write_text(START.format(command=shlex.join(command)))
        _make_initramfs(self._kernel, self._initramfs)
        end = time.monotonic() + limit_seconds
        with open(self.console, "wb") as output:
            machine = subprocess.Popen(self._qemu(), stdin=subprocess.DEVNULL, stdout=output,
                                       stderr=subprocess.STDOUT, preexec_fn=_die_with_parent)
            try:
                with open(self.console, "rb") as written:
                    reason = self._follow(machine, written, end, limit_seconds, on_line)
            finally:
                if machine.poll() is None:
                    machine.kill()
                machine.wait()
        self._initramfs.unlink()
        return reason

    @staticmethod
    def _follow(machine, written, end, limit_seconds, on_line):
        rest = b""
        while True:
            ended = machine.poll() is not None  # before the last read, so that nothing is missed
            *lines, rest = (rest + written.read()).split(b"\n")
            for line in lines:
                on_line(line.decode(errors="replace").rstrip("\r"))
            if ended:
                return None if machine.returncode == 0 else f"{QEMU} ended with status {machine.returncode}"
            if time.monotonic() > end:
                return f"the machine still ran after {limit_seconds:g} s"
            try:
                machine.wait(0.1)
            except subprocess.TimeoutExpired:
                pass

    def _qemu(self):
        # The kernel's virtualisation is not asked for: where it is nested it may hang. No network card: nothing in the
        # machine can talk to anything outside.
        return [QEMU, "-accel", "tcg,thread=multi", "-cpu", "max", "-m", str(self._memory_mb), "-smp", "2",
                "-nographic", "-no-reboot", "-nic", "none", "-monitor", "none",
                "-kernel", str(self._kernel.image), "-initrd", str(self._initramfs),
                "-append", "console=ttyS0 quiet panic=-1",
                "-virtfs", "local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap",
                "-virtfs", f"local,path={str(self.share).replace(',', ',,')},mount_tag=share,security_model=none,"
                           "multidevs=remap"]


def _die_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG: no machine is left, should this process be killed


def _make_initramfs(kernel, path):
    tree = path.with_suffix(".tree")
    shutil.rmtree(tree, ignore_errors=True)
    for folder in ("bin", "lib/firmware", "modules"):
        (tree / folder).mkdir(parents=True)
    try:
        shutil.copy(shutil.which("busybox"), tree / "bin/busybox")
        for name in FIRMWARE:
            shutil.copy(Path("/lib/firmware") / name, tree / "lib/firmware" / name)  # follows the alternatives' links
        for file in kernel.modules.values():
            shutil.copy(file, tree / "modules" / file.name)
        order = [f"{name} {RADIOS}" if name == "mac80211_hwsim" else name for name in kernels.MODULES]
        (tree / "modules/order").write_text("\n".join(order) + "\n")
        (tree / "init").write_text(INIT)
        (tree / "init").chmod(0o755)
        names = "\0".join(str(entry.relative_to(tree)) for entry in sorted(tree.rglob("*"))) + "\0"
        packed = subprocess.run(["cpio", "--null", "--create", "--format=newc", "--quiet"], cwd=tree,
                                input=names.encode(), capture_output=True, check=True, timeout=60).stdout
        path.write_bytes(gzip.compress(packed, 1))
    finally:
        shutil.rmtree(tree)
