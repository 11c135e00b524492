"""Where the adapter listens, seen from outside, and how exactly it keeps to the plan."""
import re
import statistics

from air import LOWER, UPPER, monitors
from product import Driver
from scenario import scenario
from station import Supplicant
from system import check, run, wait_for
from kernel_trace import tunings

# The channels of the regulatory domain, without those of UNII-2 and UNII-2e, which are switched off by default.
LIST_2_4 = list(range(1, 12))
LIST_5 = [36, 40, 44, 48, 149, 153, 157, 161, 165]
DWELL = 0.25
WRAP_PAUSE = 0.1
TOLERANCE = 0.005
ROUNDS = 2
OWN_MEASURE = r"median error (-?[\d.]+) ms; \d+ tunings of ([\d.]+) ms"  # as the hop loop logs it


@scenario("one channel at 20, 40, 80 and 160 MHz", 90)
def widths(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        for channel, width, heard in ((36, 20, True), (36, 40, True), (36, 80, True), (100, 160, False)):
            # On its way back into its network the adapter could be tuned by nobody.
            driver.state(lambda state: state.ssid == LOWER.ssid, "that the adapter is in its network")
            driver.start(f"other {channel} {width}")
            monitor, = wait_for(monitors, "a monitor interface", 5.0)
            check((monitor.channel, monitor.width) == (channel, width), f"iw says {monitor} of {channel} ({width} MHz)")
            if heard:
                driver.wait_for_beacons([UPPER], 3)
                driver.stop_capture()
                file, = driver.files()
                lab.keep(file, {UPPER.bssid: [UPPER.frequency], LOWER.bssid: []})
            else:
                driver.tell("stop")
                driver.hear(lambda line: line.startswith("alert No frames were captured. |"), "that nothing was heard")
        driver.quit()
    lab.at_rest()


@scenario("the hop order is the plan's, and each dwell as long as wished", 90)
def order(lab):
    lab.at_rest()
    for command, plan in (("all24", LIST_2_4), ("all", LIST_2_4 + LIST_5)):
        with Driver(lab, DwellTime=int(DWELL * 1000)) as driver, tunings() as found:
            driver.start(command)
            driver.hear(lambda line: line.startswith(f"tuned {ROUNDS * (len(plan) + 1) + 2} "), "that it has hopped",
                        ROUNDS * (len(plan) + 2) * DWELL * 2)
            driver.stop_capture()
            driver.quit()
        begin = check_order(found, plan)
        measure(lab, driver, found[begin:begin + ROUNDS * (len(plan) + 1) + 1])
    lab.at_rest()


@scenario("a supplicant's P2P device does not make a capture deaf", 90)
def peers(lab):
    lab.at_rest()
    lab.use(Supplicant, with_peers=True)
    wait_for(lambda: "P2P-device" in run("iw", "dev"), "the supplicant's P2P device")
    lab.at_rest()
    try:
        with Driver(lab) as driver:
            driver.start("all24")
            driver.wait_for_beacons([LOWER], 2)
            driver.stop_capture()
            driver.quit()
        lab.at_rest()
        check("P2P-device" in run("iw", "dev"), "the P2P device is gone")
    finally:
        lab.use(Supplicant)
    lab.at_rest()


def check_order(found, plan):
    """Where the first round begins."""
    tuned = [(tuning.channel, tuning.width) for tuning in found]
    one_round = [(channel, 20) for channel in (plan[0], *plan)]
    # Before the first round the monitor is set to the channel on which the adapter rested.
    begin = next((at for at in range(3) if tuned[at:at + len(one_round)] == one_round), None)
    check(begin is not None, f"the first round is {tuned[:len(one_round) + 3]}")
    expected = one_round * (ROUNDS + 1)
    seen = tuned[begin:begin + ROUNDS * len(one_round) + 1]
    check(seen == expected[:ROUNDS * len(one_round) + 1], f"the rounds are {seen}")
    return begin


def measure(lab, driver, found):
    """The dwell, from the end of a tuning to the beginning of the next, and what tuning takes of the time.

    To listen is to wait, and to tune is to ask another process. What that asking takes depends on the machine, which is
    emulated here and may share its processors, so it is measured by the product and allowed for.
    """
    pairs = [(this, following) for this, following in zip(found, found[1:])
             if following.start - this.start > WRAP_PAUSE * 1.5]  # not the pause at the wrap
    off = [abs(following.start - this.end - DWELL) for this, following in pairs]
    tuned = [this.end - this.start for this, _ in pairs]
    periods = [following.start - this.start for this, following in pairs]
    lost = 1 - DWELL * len(periods) / sum(periods)
    own, asking = (float(text) / 1000 for text in re.findall(OWN_MEASURE, driver.text())[-1])
    lab.note(f"{len(off)} dwells on {len({tuning.channel for tuning in found})} channels: seen in the kernel off by "
             f"{milliseconds(statistics.median(off))} at the median and {milliseconds(max(off))} at most, in the "
             f"application by {milliseconds(own)} at the median")
    lab.note(f"tuning takes {milliseconds(statistics.median(tuned))} in the kernel and {milliseconds(asking)} for the "
             f"application; {100 * lost:.1f} % of the time is lost to it")
    check(abs(own) <= TOLERANCE, f"the application's own dwell is off by {milliseconds(own)} at the median")
    check(statistics.median(off) <= TOLERANCE + asking,
          f"the dwell is off by {milliseconds(statistics.median(off))} at the median")


def milliseconds(seconds):
    return f"{seconds * 1000:.1f} ms"
