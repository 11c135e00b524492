#!/usr/bin/python3
"""Measures Vantrel beside tcpdump and dumpcap, and writes the tables.

    bench/run.py --build BUILD --output FILE       everything, into a document
    bench/run.py --build BUILD --only SECTION      one section, printed: processing, steps, live, buffer,
                                                   responsiveness, startup, feed or profile
    --repetitions N                                how often each program runs; 5 when not given

BUILD holds the target `bench`. Times are compared within one run of this script only; nothing here passes or fails.
The live sections need the rights to make a TAP device, and are left out, with the reason, where there are none.
"""
import argparse
import json
import os
import pathlib
import platform
import shutil
import sys

import hotspots
import live
import make_frames
import responsiveness
import startup
from programs import Failed, commands, cost, median, output_of, table

FRAMES = 1_000_000
SECTIONS = ["processing", "steps", "live", "buffer", "responsiveness", "startup", "feed", "profile"]
NETWORKS, SWEEPS = 2000, 101  # of the feed
CORE = str(max(os.sched_getaffinity(0)))


def frames_file(build):
    path = build / "bench/frames.pcap"
    make_frames.make(path, FRAMES)
    return path


def processing_runs(build, frames):
    """Name, command and limit of each way through the frames; the first is what the limits are multiples of."""
    output = build / "bench/out.pcap"
    pinned = ["taskset", "-c", CORE]
    own = [*pinned, build / "bench/process_frames"]
    return output, {
        "tcpdump": ([*pinned, "tcpdump", "-Z", "root", "-r", frames, "-w", output], None),
        "cp": ([*pinned, "cp", frames, output], None),
        "Vantrel": ([*own, frames, output], 1.0),
        "Vantrel, slicing": ([*own, "--slicing", frames, output], 1.3),
        "Vantrel, packet queue": ([*own, "--queue", frames, output], None),
        "Vantrel, packet queue, slicing": ([*own, "--queue", "--slicing", frames, output], None),
    }


def timed(name, command):
    wall, cpu, said = cost(command)
    if name.startswith("Vantrel"):  # it times itself, once the frames are in memory
        words = said.split()
        if words[1] != str(FRAMES):
            raise Failed(f"{name} wrote {words[1]} frames")
        return float(words[3]), float(words[5])
    return wall, cpu


def processing(build, repetitions):
    output, runs = processing_runs(build, frames_file(build))
    times = {name: [] for name in runs}
    for _ in range(repetitions):
        for name, (command, _) in runs.items():
            output.unlink(missing_ok=True)
            times[name].append(timed(name, command))
    output.unlink(missing_ok=True)
    own = {name: [median(column) for column in zip(*pairs)] for name, pairs in times.items()}
    rows = [[name, f"{wall:.3f}", f"{cpu:.3f}", f"{wall / own['tcpdump'][0]:.2f}", f"{cpu / own['tcpdump'][1]:.2f}",
             f"{runs[name][1]:.1f}" if runs[name][1] else ""] for name, (wall, cpu) in own.items()]
    return [f"{FRAMES:,} frames of 200 bytes, QoS data with a right check sequence, on one core; medians of "
            f"{repetitions} runs in turn. tcpdump and cp are timed as processes, Vantrel from the first frame in memory "
            "to the closed file. Slicing checks and cuts each frame. The packet queue's rows add its thread, on the "
            "same core.", "",
            *commands(["bench/make_frames.py build/release/bench/frames.pcap"] +
                      [" ".join(str(word).replace(str(build), "build/release") for word in command)
                       for command, _ in runs.values()] + ["bench/run.py --build build/release --only processing"]),
            "", *table(["program", "wall s", "processor s", "wall, of tcpdump's", "processor, of tcpdump's", "limit"],
                       rows)]


def measure_steps(build):
    """Nanoseconds of each benchmark, medians as Google Benchmark takes them."""
    wanted = ["--benchmark_format=json", "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true",
              "--benchmark_min_time=0.1"]
    _, _, said = cost([build / "bench/processing_bench", *wanted])
    results = json.loads(said[said.index("{\n"):])["benchmarks"]
    return {result["run_name"]: result["cpu_time"] for result in results if result["aggregate_name"] == "median"}


def steps(times):
    reference = times["crc32OfZlib/187"]
    return ["What one frame of 200 bytes costs at each step, beside zlib's `crc32` over its 187 bytes under the check "
            "sequence; medians of 5.", "",
            *commands(["build/release/bench/processing_bench", "bench/run.py --build build/release --only steps"]), "",
            *table(["step", "ns", "of crc32"],
                   [[f"`{name}`", f"{time:.1f}", f"{time / reference:.2f}"] for name, time in times.items()])]


def machine(build):
    with open("/proc/cpuinfo") as file:
        model = next((line.split(":")[1].strip() for line in file if line.startswith("model name")), platform.machine())
    with open("/proc/meminfo") as file:
        memory = int(file.readline().split()[1]) / 1024 / 1024
    filesystem = output_of("stat", "-f", "-c", "%T", build).strip()
    versions = output_of("tcpdump", "--version").splitlines()
    rows = [["processor", f"{model}, {len(os.sched_getaffinity(0))} cores"], ["memory", f"{memory:.0f} GiB"],
            ["kernel", platform.release()], ["files", filesystem],
            ["peers", f"{versions[0]}, {output_of('dumpcap', '--version').splitlines()[0].rstrip('.')}"],
            ["libpcap", versions[1]], ["compiler", output_of("c++", "--version").splitlines()[0]],
            ["load before the run", f"{os.getloadavg()[0]:.1f}"]]
    return table(["", ""], rows)


def live_sections(build, repetitions, crc):
    reason = live.unavailable(build) if shutil.which("capinfos") else "capinfos is not installed"
    if reason:
        return {name: [f"Not measured: no live device here ({reason})."] for name in ("live", "buffer")}
    return {"live": live.live_section(build, repetitions, crc), "buffer": live.buffer_section(build, repetitions)}


def measured(section, *arguments):
    """A section of the document, or why there is none."""
    try:
        return section(*arguments)
    except (Failed, ImportError, SystemExit) as reason:
        return [f"Not measured: {reason}"]


def feed(build):
    _, _, said = cost([build / "bench/feed_bench", str(NETWORKS), str(SWEEPS)])
    times = json.loads(said[said.index("{"):])
    limit = times["plain"]

    def row(what, time):
        return [what, f"{time * 1000:.2f}", f"{NETWORKS / time:,.0f}", f"{time / limit:.1f}"]
    return [f"One connection, {NETWORKS:,} networks in a sweep, {times['bytes']:,} bytes; medians of {SWEEPS - 1} sweeps. "
            "The limit is the same bytes, written to a loopback socket in one piece.", "",
            *commands([f"build/release/bench/feed_bench {NETWORKS} {SWEEPS}",
                       "bench/run.py --build build/release --only feed"]), "",
            *table(["", "ms", "records a second", "of the limit"],
                   [row("a loopback socket alone", limit),
                    row("from the end of a sweep to the last byte at the client", times["delivery"]),
                    row("the same, with the filing of the sweep's frames", times["whole"])]),
            "", f"The capture callback takes {times['callback'] * 1e9:.0f} ns a frame."]


BUFFER_REASON = """\
The engine asks for 8 MiB. libpcap's own 2 MiB hold no more than a few milliseconds of frames at full speed, and a
busy machine may keep the capture thread waiting longer; above 8 MiB the memory grows and the losses do not shrink."""


def document(build, repetitions):
    described = machine(build)
    times = measure_steps(build)
    sections = {"processing": processing(build, repetitions)}
    sections["startup"] = measured(startup.section, build, repetitions)
    sections["responsiveness"] = measured(responsiveness.section, build)
    sections |= live_sections(build, repetitions, times["crc32OfZlib/287"] / 1000)
    return "\n".join([
        "# Performance", "",
        "Written by `./dev bench`, which builds the release preset and runs",
        "`bench/run.py --build build/release --output docs/performance.md`. Each table stands under the commands that",
        "print its numbers. Seconds are of this machine and this run; what counts are the ratios between the programs.",
        "", "## The machine", "", *commands(["bench/run.py --build build/release --output FILE"]), "", *described,
        "", "## Processing", "", *sections["processing"], "", "## Steps of a frame", "", *steps(times),
        "", "## Live captures", "", *sections["live"],
        "", "## Where the time goes", "", *measured(hotspots.section, build),
        "", "## Start and memory", "", *sections["startup"],
        "", "## Answers during a capture", "", *sections["responsiveness"],
        "", "## The loopback feed", "", *measured(feed, build),
        "", "## Kernel buffer size", "", *sections["buffer"], "", BUFFER_REASON, ""])


def one_section(build, repetitions, wanted):
    if wanted == "processing":
        return processing(build, repetitions)
    if wanted == "startup":
        return measured(startup.section, build, repetitions)
    of_one_run = {"responsiveness": responsiveness.section, "feed": feed, "profile": hotspots.section}
    if wanted in of_one_run:
        return measured(of_one_run[wanted], build)
    times = measure_steps(build)
    if wanted == "steps":
        return steps(times)
    if reason := live.unavailable(build):
        return [f"Not measured: {reason}"]
    if wanted == "live":
        return live.live_section(build, repetitions, times["crc32OfZlib/287"] / 1000)
    return live.buffer_section(build, repetitions)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--output", type=pathlib.Path)
    parser.add_argument("--only", choices=SECTIONS)
    parser.add_argument("--repetitions", type=int, default=5)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    try:
        if arguments.only:
            print("\n".join(one_section(build, arguments.repetitions, arguments.only)))
        else:
            text = document(build, arguments.repetitions)
            if arguments.output:
                arguments.output.write_text(text)
            print(text)
    except Failed as failure:
        sys.exit(f"bench/run.py: {failure}")


if __name__ == "__main__":
    main()
