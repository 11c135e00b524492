#!/usr/bin/python3
"""The lab: the product against a real Wi-Fi stack, in virtual machines with simulated radios. One machine after the
other boots with this machine's own files, carries out its scenarios (guest/), and reports each by name.

    lab.py --build build/dev --results build/results/lab.xml [--only WORD]

Everything a machine wrote stays in BUILD/lab/MACHINE. Exit status 1 when a scenario failed, or a machine did.
"""
import argparse
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass
from pathlib import Path

import kernel as kernels
from captures import heard_otherwise
from machine import QEMU, SHARE, Machine

HERE = Path(__file__).resolve().parent
TREE = HERE.parent.parent
PACKAGES = {QEMU: "qemu-system-x86", "busybox": "busybox-static", "cpio": "cpio", "iw": "iw", "hostapd": "hostapd",
            "wpa_supplicant": "wpasupplicant", "NetworkManager": "network-manager", "udevadm": "udev",
            "rfkill": "rfkill", "tcpdump": "tcpdump", "tshark": "tshark", "ip": "iproute2", "dbus-daemon": "dbus",
            "setpriv": "util-linux"}


@dataclass(frozen=True)
class Plan:
    """A machine of the lab; guest/run.py knows what it does."""
    name: str
    limit: float  # seconds from its start to its end
    memory_mb: int = 1024


# Far beyond what they need (about two minutes each): the scenarios have limits of their own.
PLANS = (Plan("supplicant", 600.0), Plan("manager", 600.0, memory_mb=2048),
         Plan("package", 600.0, memory_mb=2048))


@dataclass
class Result:
    name: str
    seconds: float
    why: str = ""  # empty: passed
    shown: str = ""  # what a reader of the failure wants to see


def carry_out(plan, kernel, options):
    """The results of one machine."""
    folder = options.build / "lab" / plan.name
    shutil.rmtree(folder, ignore_errors=True)
    machine = Machine(kernel, folder, plan.memory_mb)
    command = ["/usr/bin/python3", str(HERE / "guest/run.py"), plan.name, str(TREE), str(options.build), SHARE]
    if options.only:
        command += ["--only", options.only]
    start = time.monotonic()
    try:
        reason = machine.run(command, plan.limit, show)
    except (OSError, subprocess.SubprocessError) as error:
        reason = f"it does not start: {error}"
    whole = Result(f"machine {plan.name}", time.monotonic() - start, reason or "", tail(machine.console))
    reported = machine.share / "results.jsonl"
    results = [result_of(json.loads(line), machine.share) for line in
               (reported.read_text().splitlines() if reported.exists() else [])]
    planned = machine.share / "planned.json"
    names = json.loads(planned.read_text()) if planned.exists() else []
    if not names and not whole.why:
        whole.why = "it never came as far as its scenarios"
    missing = set(names) - {result.name for result in results}
    results += [Result(name, 0.0, "it was not carried out to its end") for name in names if name in missing]
    return [whole, *results]


def show(line):
    if line.startswith("lab: "):
        print(line, flush=True)


def result_of(reported, share):
    result = Result(reported["name"], reported["seconds"], reported["why"])
    if not result.why:
        for capture in reported["captures"]:
            result.why = result.why or heard_otherwise(share / "captures" / capture["file"], capture["beacons"])
    parts = [f"  measured: {note}" for note in reported["notes"]]
    parts += [f"--- {name}\n{text.rstrip()}" for name, text in reported["logs"].items() if text.strip()]
    result.shown = "\n".join(parts)
    return result


def tail(path, characters=4000):
    return printable(path.read_text(errors="replace"))[-characters:] if path.exists() else ""


def write(results, path):
    suite = ElementTree.Element("testsuite", name="lab", tests=str(len(results)),
                                failures=str(sum(1 for result in results if result.why)))
    for result in results:
        case = ElementTree.SubElement(suite, "testcase", name=result.name, classname="lab",
                                      time=f"{result.seconds:.1f}", status="fail" if result.why else "run")
        if result.why:
            ElementTree.SubElement(case, "failure", message=printable(result.why))
        ElementTree.SubElement(case, "system-out").text = printable(result.shown)
    path.parent.mkdir(parents=True, exist_ok=True)
    ElementTree.ElementTree(suite).write(path, encoding="utf-8", xml_declaration=True)


def printable(text):
    """Without what a console is full of: XML has no place for most control characters."""
    text = re.sub(r"\x1b(\[[0-9;?]*[A-Za-z]|c)", "", text)
    return "".join(character for character in text if character.isprintable() or character in "\n\t")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--build", type=lambda path: Path(path).resolve(), required=True, help="the build to try")
    parser.add_argument("--results", type=Path, required=True, help="JUnit file to write")
    parser.add_argument("--only", help="machines and scenarios whose name holds this word")
    return parser.parse_args()


def main():
    options = arguments()
    os.environ["PATH"] += ":/usr/sbin:/sbin"  # which many users do not have there
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that a machine ends with us
    start = time.monotonic()
    # Should this program itself come to a bad end, that is a failure too.
    write([Result("the lab", 0.0, "it was ended before its end")], options.results)
    results = []
    try:
        missing = sorted({package for tool, package in PACKAGES.items() if shutil.which(tool) is None})
        if missing:
            raise kernels.Unavailable(f"not installed: {', '.join(missing)}")
        kernel = kernels.kernel()
        results.append(Result("a kernel is here", time.monotonic() - start))
        chosen = [plan for plan in PLANS if options.only == plan.name] or PLANS
        options.only = None if len(chosen) < len(PLANS) else options.only
        for plan in chosen:
            results += carry_out(plan, kernel, options)
    except kernels.Unavailable as reason:
        results.append(Result("a kernel is here", time.monotonic() - start, str(reason)))
    write(results, options.results)
    failed = [result for result in results if result.why]
    for result in failed:
        print(f"\nFAILED {result.name}: {result.why}\n{result.shown}")
    print(f"lab: {len(results) - len(failed)} passed, {len(failed)} failed, {time.monotonic() - start:.0f} s")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
