"""A Debian 12 of its own for the package: a small root made by debootstrap from the mirror that this machine uses, with
what the package depends on and a desktop, kept from one run to the next; and a copy of it for each run, in a mount,
process and network namespace, where what is written goes into memory.

    roots.py PACKAGE -- COMMAND…    runs the command in such a copy, as root; its status is this program's
"""
import ctypes
import hashlib
import os
import shutil
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
TREE = HERE.parent.parent
CODENAME = "bookworm"
CACHE = Path(os.environ.get("XDG_CACHE_HOME", Path.home() / ".cache")) / "vantrel/package"
KEPT = 2  # roots in the cache
# Beside the package's own dependencies: what the desktop of tests/desktop/ runs.
WORDS = ("run",)
NOT_NEEDED = {"wireshark-common", "dbus-x11"}
INSIDE = Path("/test")  # where a copy finds the tree's tests, and the package
SKIPPED = 77
MAKE_SECONDS = 1200

CLONE_NEWNS, CLONE_NEWNET, CLONE_NEWPID, CLONE_NEWIPC = 0x00020000, 0x40000000, 0x20000000, 0x08000000
MS_REC, MS_PRIVATE, MS_BIND, MNT_DETACH = 16384, 1 << 18, 4096, 2
SYS_PIVOT_ROOT = {"x86_64": 155, "aarch64": 41}
LIBC = ctypes.CDLL(None, use_errno=True)


class Unavailable(Exception):
    """This machine cannot make such a root; the text says why."""


def kept_root(package):
    """The folder of the root with what this package depends on, made first where it is not there."""
    missing = [tool for tool in ("debootstrap", "dpkg-deb") if shutil.which(tool) is None]
    if os.getuid() != 0:
        raise Unavailable("only root can make a root folder and the namespaces")
    if missing:
        raise Unavailable(f"not installed: {' '.join(missing)}")
    # Nothing but what the package itself asks for, so that a dependency it forgets is missed.
    depends = dpkg_field(package, "Depends")
    wanted = sorted(desktop_packages())
    key = hashlib.sha256(repr((CODENAME, depends, wanted)).encode()).hexdigest()[:16]
    root = CACHE / key
    if not (root / "complete").exists():
        make(root, depends, wanted)
    os.utime(root)
    for old in sorted(CACHE.iterdir(), key=lambda folder: folder.stat().st_mtime)[:-KEPT]:
        shutil.rmtree(old)
    return root / "root"


def make(root, depends, wanted):
    shutil.rmtree(root, ignore_errors=True)
    root.mkdir(parents=True)
    tree = root / "root"
    print(f"making a clean Debian root in {root}; this takes some minutes, once", flush=True)
    log = root / "log"
    run(["debootstrap", "--variant=minbase", CODENAME, tree, mirror()], log)
    (tree / "etc/dpkg/dpkg.cfg.d/quick").write_text("force-unsafe-io\n")
    (tree / "usr/sbin/policy-rc.d").write_text("#!/bin/sh\nexit 101\n")  # nothing is started in there
    (tree / "usr/sbin/policy-rc.d").chmod(0o755)
    shutil.copy("/etc/resolv.conf", tree / "etc/resolv.conf")
    environment = {"DEBIAN_FRONTEND": "noninteractive", "LC_ALL": "C.UTF-8", "PATH": "/usr/sbin:/usr/bin:/sbin:/bin"}
    environment |= {name: value for name, value in os.environ.items() if name.lower().endswith("_proxy")}
    for command in (["install", *wanted], ["satisfy", depends], ["clean"]):
        run(["unshare", "--mount", "sh", "-c", 'mount -t proc proc "$0/proc" && exec chroot "$0" "$@"', tree, "apt-get",
             "--quiet", "--yes", "--no-install-recommends", *command], log, env=environment)
    (root / "complete").touch()


def run(command, log, **options):
    with open(log, "ab") as output:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=output, stderr=output, timeout=MAKE_SECONDS,
                              check=False, **options)
    if done.returncode != 0:
        raise Unavailable(f"{command[0]} ended with status {done.returncode}:\n{log.read_text(errors='replace')[-2000:]}")


def dpkg_field(package, field):
    return subprocess.run(["dpkg-deb", "--field", package, field], check=True, capture_output=True,
                          text=True).stdout.strip()


def desktop_packages():
    lines = [line.split() for line in (TREE / "scripts/packages.txt").read_text().splitlines()]
    return {line[1] for line in lines if len(line) == 2 and line[0] in WORDS} - NOT_NEEDED | {"python3"}


def mirror():
    """Where this machine has its own Debian packages from."""
    listed = subprocess.run(["apt-get", "indextargets", "--format", "$(ORIGIN) $(CODENAME) $(COMPONENT) $(REPO_URI)",
                             "Created-By: Packages"], check=True, capture_output=True, text=True).stdout
    for line in listed.splitlines():
        origin, codename, component, address = line.split(maxsplit=3)
        if (origin, codename, component) == ("Debian", CODENAME, "main"):
            return address
    raise Unavailable(f"apt has no source for {CODENAME}")


def enter(root, package):
    """Makes this process one in a copy of the root, with a process of number 1 of its own above it, which is waited
    for: it returns in the copy only. The network there is a loopback."""
    unshare(CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWIPC)
    first = os.fork()
    if first != 0:
        sys.exit(os.waitstatus_to_exitcode(os.waitpid(first, 0)[1]))
    LIBC.prctl(1, 9)  # PR_SET_PDEATHSIG: and with number 1 all the others end
    mount("none", "/", None, MS_REC | MS_PRIVATE)
    place = Path("/mnt")  # is there on every machine, and covered in this namespace only
    mount("tmpfs", place, "tmpfs", options="mode=0755")
    for folder in ("upper", "work", "root"):
        (place / folder).mkdir()
    new = place / "root"
    mount("overlay", new, "overlay", options=f"lowerdir={root},upperdir={place}/upper,workdir={place}/work")
    mount("proc", new / "proc", "proc")
    mount("/sys", new / "sys", None, MS_BIND | MS_REC)
    mount("/dev", new / "dev", None, MS_BIND | MS_REC)
    mount("tmpfs", new / "tmp", "tmpfs", options="mode=1777")
    mount("tmpfs", new / "run", "tmpfs", options="mode=0755")
    tests = new / INSIDE.name
    (tests / "tests").mkdir(parents=True)
    mount(TREE / "tests", tests / "tests", None, MS_BIND)
    shutil.copy(package, tests / "new.deb")
    pivot(new)
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)


def pivot(new):
    os.chdir(new)
    # The old root is stacked on the new one and taken away: pivot_root(2), "." as both.
    if LIBC.syscall(SYS_PIVOT_ROOT[os.uname().machine], b".", b".") != 0:
        fail("pivot_root")
    if LIBC.umount2(b".", MNT_DETACH) != 0:
        fail("umount2")
    os.chdir("/")


def unshare(flags):
    if LIBC.unshare(flags) != 0:
        fail("unshare")


def mount(source, target, kind, flags=0, options=None):
    if LIBC.mount(str(source).encode(), str(target).encode(), kind.encode() if kind else None,
                  ctypes.c_ulong(flags), options.encode() if options else None) != 0:
        fail(f"mount {target}")


def fail(what):
    raise Unavailable(f"{what}: {os.strerror(ctypes.get_errno())}")


def main():
    if len(sys.argv) < 4 or sys.argv[2] != "--":
        print(__doc__, file=sys.stderr)
        return 2
    package = Path(sys.argv[1]).resolve()
    try:
        root = kept_root(package)
        enter(root, package)
    except Unavailable as reason:
        print(f"skipped: no Debian root can be had here: {reason}")
        return SKIPPED
    environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": "/root", "LC_ALL": "C.UTF-8",
                   "DEBIAN_FRONTEND": "noninteractive", "PYTHONDONTWRITEBYTECODE": "1"}
    # A child: number 1 only waits, and what it leaves behind ends with it.
    return subprocess.run(sys.argv[3:], env=environment, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
