"""Every bad end of a capture: the adapter comes back, and so does what was captured."""
import os
import signal

from air import LOWER, UPPER, interfaces, is_up, monitors, switch_of
from hwsim import add_radio, remove_radio
from product import HELPER, RECORD, Driver, beacons, make_places, whole
from scenario import scenario
from system import check, processes, run, wait_for

PUT_BACK_SECONDS = 5.0
NOBODY = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all", "--bounding-set=-all")
NO_PERMISSION = "You don't have permission to capture on this device."


def hopping(lab, driver):
    """Begins to hop, and waits until the adapter is really in use for it; the ids of vantrel-radio."""
    driver.start("all")
    driver.hear(lambda line: line.startswith("tuned 3 "), "that it hops")
    check(monitors() and not is_up(lab.adapter), "the adapter is not in use")
    check(RECORD.exists(), "nothing notes what must be put back")
    return processes(HELPER)


def put_back(lab, since):
    """The adapter is as it was before the capture."""
    wait_for(lambda: not monitors() and is_up(lab.adapter) and lab.station.managed(),
             lambda: f"the adapter to be put back: {interfaces()}, up: {is_up(lab.adapter)}, "
                     f"managed: {lab.station.managed()}", PUT_BACK_SECONDS)
    lab.note(f"{since}: associated again after {lab.station.wait_until_associated():.1f} s")
    wait_for(lambda: not RECORD.exists(), "the note of what must be put back to go", PUT_BACK_SECONDS)


@scenario("the application is killed while it hops", 90)
def kill_application(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        hopping(lab, driver)
        driver.wait_for_beacons([LOWER])
        driver.kill()
        put_back(lab, "the application killed")
        wait_for(lambda: not processes(HELPER), f"{HELPER} to end", PUT_BACK_SECONDS)
        check(sum(sum(heard.values()) for heard in beacons(driver.files()).values()) > 0, "the frames are lost")
    lab.at_rest()


@scenario("vantrel-radio is killed while it hops", 90)
def kill_helper(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        helper, = hopping(lab, driver)
        driver.wait_for_beacons([LOWER])
        os.kill(helper, signal.SIGKILL)
        frames = driver.finish()
        file, = driver.files()
        check(frames > 0 and whole(file) == frames, f"the file holds {whole(file)} frames, not {frames}")
        put_back(lab, "vantrel-radio killed")
        driver.state(lambda state: state.ssid == LOWER.ssid, "that the adapter is in its network again")
        check(processes(HELPER) not in ([], [helper]), f"no new {HELPER} runs")
        driver.start("capture")  # all works again
        driver.wait_for_beacons([LOWER])
        driver.stop_capture()
        driver.quit()
    lab.at_rest()


@scenario("both are killed while they hop, and a new start puts the adapter back", 90)
def kill_both(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        helper, = hopping(lab, driver)
        driver.process.send_signal(signal.SIGSTOP)  # so that it cannot start another
        os.kill(helper, signal.SIGKILL)
        driver.kill()
    wait_for(lambda: not monitors(), "the kernel to remove the monitor", PUT_BACK_SECONDS)
    check(not is_up(lab.adapter) and RECORD.exists(), "there is nothing left to put back")
    with Driver(lab) as driver:
        put_back(lab, "a new start")
        driver.quit()
    lab.at_rest()


@scenario("NetworkManager is restarted while the application hops", 150, ("manager",))
def restart_manager(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        hopping(lab, driver)
        driver.wait_for_beacons([LOWER])
        lab.station.restart()
        heard = max(sum(counts.values()) for counts in beacons(driver.files()).values())
        driver.wait_for_beacons([LOWER, UPPER], heard + 5, 60.0)  # it hops on, whatever the new one did to the adapter
        frames = driver.stop_capture()
        file, = driver.files()
        check(frames > 0 and whole(file) == frames, f"the file holds {whole(file)} frames, not {frames}")
        put_back(lab, "NetworkManager restarted")
        driver.quit()
    lab.at_rest()


@scenario("the adapter is switched off during a capture", 90, ("supplicant",))
def rfkill(lab):
    lab.at_rest()
    switch = switch_of(interfaces()[lab.adapter].wiphy)
    with Driver(lab) as driver:
        hopping(lab, driver)
        driver.wait_for_beacons([LOWER])
        run("rfkill", "block", switch)
        try:
            frames = driver.finish()
            file, = driver.files()
            check(frames > 0 and whole(file) == frames, f"the file holds {whole(file)} frames, not {frames}")
            driver.state(lambda state: state.name and not state.on, "that the adapter is off")
        finally:
            run("rfkill", "unblock", switch)
        driver.state(lambda state: state.on, "that the adapter is on")
        put_back(lab, "unblocked")
        driver.quit()
    lab.at_rest()


@scenario("the adapter is unplugged during a capture and plugged in again", 120, ("supplicant",))
def unplug(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        hopping(lab, driver)
        driver.wait_for_beacons([LOWER])
        lab.station.stop()
        remove_radio(lab.radio)
        frames = driver.finish()
        file, = driver.files()
        check(frames > 0 and whole(file) == frames, f"the file holds {whole(file)} frames, not {frames}")
        driver.state(lambda state: not state.name and not state.on, "that there is no adapter")
        lab.plug_in(add_radio())
        state = driver.state(lambda state: state.name == lab.adapter, "that there is an adapter again")
        lab.station.wait_until_associated()
        driver.start("other 36 20")
        driver.wait_for_beacons([UPPER])
        driver.stop_capture()
        driver.quit()
    lab.at_rest()


@scenario("without any right a capture is refused and nothing is changed", 60, ("supplicant",))
def unprivileged(lab):
    lab.at_rest()
    make_places()
    run("chown", "-R", "65534:65534", "/tmp/product")
    before = (interfaces(), lab.events.text())
    try:
        with Driver(lab, name="driver-nobody", prefix=NOBODY) as driver:
            driver.tell("capture")
            driver.hear(lambda line: line.startswith(f"alert {NO_PERMISSION} |"), "that it has no permission")
            driver.hear(lambda line: line == "failed", "that the capture has failed")
            check(driver.files() == [], f"there are files: {driver.files()}")
            driver.quit()
    finally:
        run("chown", "-R", "0:0", "/tmp/product")
    check((interfaces(), lab.events.text()) == before, "something was changed")
    lab.at_rest()
