"""The program of a machine of the lab: makes the surroundings, carries out the machine's scenarios one by one, and
writes how they ended into the shared folder.

    run.py MACHINE TREE BUILD SHARE [--only WORD]
"""
import json
import os
import shutil
import signal
import sys
from pathlib import Path

import air
import desktop_menu
import ends
import feed
import installed
import joined
import product
import reading
import scenario
import stack
import tuning
from manager import Manager
from station import Supplicant
from system import attempt, check, processes, run, wait_for

# What each machine carries out, and who manages its adapter.
MACHINES = {"supplicant": (Supplicant, (stack, reading, joined, tuning, feed, ends)),
            "manager": (Manager, (stack, joined, ends, desktop_menu)),
            "package": (Supplicant, (installed,))}
ADAPTER, RADIO = "wlan2", 2
REST_SECONDS = 5.0


class Lab:
    """What the scenarios of one machine share."""

    def __init__(self, machine, tree, build, results):
        self.machine = machine
        self.tree = tree
        self.build = build
        self.adapter, self.radio = ADAPTER, RADIO
        self.note = results.note
        self.keep = results.keep
        self.air = None
        self.station = None

    def set_up(self):
        self.events = air.watch_events()
        self.air = air.Air()
        self.station = MACHINES[self.machine][0](self.adapter)

    def plug_in(self, radio):
        """A new radio becomes the adapter."""
        self.radio = radio
        self.adapter, = air.interfaces()
        self.use(Supplicant)

    def use(self, station, **options):
        """Has the adapter join its network in another way."""
        self.station.stop()
        self.station = station(self.adapter, **options)

    def recover(self):
        """After a failed scenario, brings about by force what at_rest() waits for, for the sake of the next."""
        for program in (product.DRIVER, product.HELPER, "vantrel", "vantrel-feedd", "vantrel-feed"):
            for process in processes(program):
                os.kill(process, signal.SIGKILL)
        for monitor in air.monitors():
            attempt("iw", "dev", monitor.name, "del")
        shutil.rmtree(product.HOME, ignore_errors=True)
        attempt("rfkill", "unblock", "all")
        attempt("ip", "link", "set", self.adapter, "up")
        self.station.recover()

    def at_rest(self):
        """Waits until no capture has left anything behind: what every scenario begins and ends with."""
        wait_for(lambda: not processes(product.HELPER), f"{product.HELPER} to end", REST_SECONDS)
        self.station.wait_until_associated()
        check(not air.monitors(), f"a monitor is left: {air.monitors()}")
        check(air.is_up(self.adapter), "the station is down")
        check(self.station.managed(), "nobody manages the station")
        check(not product.RECORD.exists(), "a note of what must be put back is left")


def mount(kept):
    """What a machine needs that nothing has mounted; the folders that are kept stay visible."""
    for place in ("/dev/pts", "/dev/shm"):
        Path(place).mkdir(exist_ok=True)
    run("mount", "-t", "devpts", "pts", "/dev/pts")
    run("mount", "-t", "tmpfs", "shm", "/dev/shm")
    run("mount", "-t", "tracefs", "trace", "/sys/kernel/tracing")
    if not any(path.is_relative_to("/tmp") for path in kept):
        run("mount", "-t", "tmpfs", "tmp", "/tmp")


def keep_counters(build, share):
    """What the programs have counted in a build that measures coverage: they write it into the build's own folder."""
    for path in build.rglob("*.gcda"):
        if path.stat().st_size == 0:
            continue  # never run
        kept = share / "counters" / path.relative_to(build)
        kept.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(path, kept)


def main():
    machine, tree, build, share = sys.argv[1], *map(Path, sys.argv[2:5])
    word = sys.argv[6] if sys.argv[5:6] == ["--only"] else ""
    print(f"lab: machine {machine}, {float(Path('/proc/uptime').read_text().split()[0]):.1f} s after its start",
          flush=True)
    mount((tree, build))
    results = scenario.Results(share)
    lab = Lab(machine, tree, build, results)
    set_up = scenario.Scenario(f"{machine}: the surroundings are set up", 60, Lab.set_up)
    planned = [wanted for module in MACHINES[machine][1] for wanted in scenario.gather(module)
               if word in wanted.name and machine in wanted.machines]
    (share / "planned.json").write_text(json.dumps([wanted.name for wanted in (set_up, *planned)]))
    if not results.carry_out(set_up, lab):
        return 1
    failed = 0
    for wanted in planned:
        if not results.carry_out(wanted, lab):
            failed += 1
            lab.recover()
    keep_counters(build, share)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
