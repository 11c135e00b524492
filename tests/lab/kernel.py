"""The kernel that the machines of the lab run: Debian's own, fetched as a package and unpacked, never installed."""
import os
import re
import shutil
import subprocess
import tempfile
import time
from pathlib import Path

META_PACKAGE = "linux-image-amd64"  # depends on the current kernel with Wi-Fi; the one named "-cloud" has none
# In the order in which they are inserted. The first give the machine its host's files, the rest its radios.
MODULES = ("virtio_ring virtio virtio_pci_modern_dev virtio_pci_legacy_dev virtio_pci netfs fscache 9pnet 9pnet_virtio "
           "9p overlay libarc4 rfkill cfg80211 mac80211 gf128mul ghash-generic gcm ccm cmac ctr mac80211_hwsim").split()
FETCH_SECONDS = 300.0
ABANDONED_SECONDS = 3600.0  # nobody fetches for so long


class Unavailable(Exception):
    """There is no kernel to boot; the text says why."""


class Kernel:
    """The image, and the modules by name."""

    def __init__(self, folder):
        self.folder = folder
        self.image = folder / "vmlinuz"
        self.modules = {name: folder / "modules" / f"{name}.ko" for name in MODULES}


def cache_folder():
    return Path(os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache") / "vantrel/lab"


def kernel():
    """The kernel from the cache; what is missing there is fetched first. A cache without a network is enough."""
    cache = cache_folder()
    cache.mkdir(parents=True, exist_ok=True)
    for left in cache.glob("fetching-*"):
        if time.time() - left.stat().st_mtime > ABANDONED_SECONDS:
            shutil.rmtree(left, ignore_errors=True)
    try:
        package, version = _current()
    except Unavailable:
        kept = sorted(cache.glob("linux-image-*/complete"), key=lambda path: path.stat().st_mtime)
        if not kept:
            raise
        return Kernel(kept[-1].parent)
    folder = cache / f"{package}_{version.replace(':', '%3a')}"
    if not (folder / "complete").exists():
        _fetch(package, version, folder)
    return Kernel(folder)


def _current():
    """The package that the current kernel comes in, and its version."""
    for attempt in ("as known", "after an update"):
        if attempt != "as known":
            _run(["apt-get", "update", "-qq"], as_root=True)
        depends = re.search(r"^\s*\|?Depends: (linux-image-\S+)", _output(["apt-cache", "depends", META_PACKAGE]),
                            re.MULTILINE)
        if depends:
            shown = _output(["apt-cache", "show", "--no-all-versions", depends.group(1)])
            version = re.search(r"^Version: (\S+)", shown, re.MULTILINE)
            if version:
                return depends.group(1), version.group(1)
    raise Unavailable(f"apt knows no kernel package behind {META_PACKAGE}")


def _fetch(package, version, folder):
    """Into a folder of its own that gets its name when it is complete, so that a half-finished one is never used."""
    made = Path(tempfile.mkdtemp(prefix="fetching-", dir=folder.parent))
    made.chmod(0o755)
    try:
        wanted = f"{package}={version}"
        try:
            _run(["apt-get", "download", "-qq", wanted], cwd=made)
        except Unavailable:  # what apt knows may be older than what there is
            _run(["apt-get", "update", "-qq"], as_root=True)
            _run(["apt-get", "download", "-qq", wanted], cwd=made)
        archive = next(made.glob("*.deb"))
        unpacked = made / "unpacked"
        _run(["dpkg", "-x", str(archive), str(unpacked)])
        _take(unpacked, made)
        shutil.rmtree(unpacked)
        archive.unlink()
        (made / "complete").touch()
        shutil.rmtree(folder, ignore_errors=True)
        try:
            made.rename(folder)
        except OSError:  # another run of the lab was faster
            if not (folder / "complete").exists():
                raise
    finally:
        shutil.rmtree(made, ignore_errors=True)


def _take(unpacked, folder):
    image = next((unpacked / "boot").glob("vmlinuz-*"), None)
    if image is None:
        raise Unavailable("the kernel package holds no kernel")
    shutil.move(image, folder / "vmlinuz")
    (folder / "modules").mkdir()
    # A module's file may be named with - where its name has _.
    found = {path.name.removesuffix(".ko").replace("-", "_"): path for path in unpacked.rglob("*.ko")}
    for name in MODULES:
        path = found.get(name.replace("-", "_"))
        if path is None:
            raise Unavailable(f"the kernel package holds no module {name}")
        shutil.move(path, folder / "modules" / f"{name}.ko")


def _output(command):
    return subprocess.run(command, capture_output=True, text=True, timeout=60).stdout


def _run(command, as_root=False, **options):
    if as_root and os.geteuid() != 0:
        command = ["sudo", *command]
    try:
        done = subprocess.run(command, capture_output=True, text=True, timeout=FETCH_SECONDS, **options)
    except subprocess.TimeoutExpired:
        raise Unavailable(f"{' '.join(command)} took more than {FETCH_SECONDS:g} s") from None
    if done.returncode != 0:
        raise Unavailable(f"{' '.join(command)} ended with status {done.returncode}: {done.stderr.strip()}")
