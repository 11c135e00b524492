"""Captures of a station that is a member of a network, whoever manages it."""
from air import ACCESS_POINTS, LOWER, UPPER, bssid_of, monitors
from product import Driver, frequencies, whole
from scenario import scenario
from station import Traffic
from system import check, wait_for


@scenario("capture on the current channel keeps the link and its traffic", 60)
def current_channel(lab):
    lab.at_rest()
    traffic = Traffic(lab.adapter)
    try:
        traffic.wait_for_answer()
        with Driver(lab) as driver:
            state = driver.state(lambda state: state.ssid != "")
            check((state.channel, state.mode, state.on) == (LOWER.channel, 1, True), f"the adapter is {vars(state)}")
            events = lab.events.text()
            sent, answered = traffic.sent, traffic.answered
            driver.start("capture")
            driver.wait_for_beacons([LOWER], 30)
            check(bssid_of(lab.adapter) == LOWER.bssid, "the station has left its network")
            wait_for(lambda: traffic.sent - sent >= 40, "forty packets to be sent")
            frames = driver.stop_capture()
            sent, answered = traffic.sent - sent, traffic.answered - answered
            told = lab.events.text()[len(events):]
            check("disconnected" not in told and "deauth" not in told, f"the station left its network: {told}")
            file, = driver.files()
            check(whole(file) == frames, f"the file holds {whole(file)} frames, not {frames}")
            check(frequencies([file]) == {LOWER.frequency}, f"frames were heard on {frequencies([file])}")
            lab.keep(file, {LOWER.bssid: [LOWER.frequency]})
            lab.note(f"{answered} of {sent} packets answered during the capture")
            check(answered >= 0.9 * sent, f"only {answered} of {sent} packets were answered during the capture")
            wait_for(lambda: not monitors(), "the monitor to go")
            traffic.wait_for_answer()
            driver.quit()
    finally:
        traffic.stop()
    lab.at_rest()


@scenario("capture all hears both access points and rejoins the network", 120)
def all_channels(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        driver.start("all")
        wait_for(lambda: bssid_of(lab.adapter) == "", "the station to leave its network", 5.0)
        driver.wait_for_beacons(ACCESS_POINTS, 2)
        frames = driver.stop_capture()
        file, = driver.files()
        check(whole(file) == frames, f"the file holds {whole(file)} frames, not {frames}")
        lab.keep(file, {point.bssid: [point.frequency] for point in (LOWER, UPPER)})
        lab.note(f"associated again {lab.station.wait_until_associated():.1f} s after the capture")
        check(not monitors(), f"there is still {monitors()}")
        driver.state(lambda state: state.ssid == LOWER.ssid, "that the adapter is in its network again")
        driver.quit()
    lab.at_rest()


@scenario("the user leaves the network and joins it again", 120)
def leave_and_rejoin(lab):
    lab.at_rest()
    with Driver(lab) as driver:
        driver.tell("disassociate")
        driver.state(lambda state: state.ssid == "" and state.on, "that the adapter has left its network")
        check(bssid_of(lab.adapter) == "", "the station is still in its network")
        driver.start("capture")
        driver.wait_for_beacons([LOWER])
        driver.stop_capture()
        check(bssid_of(lab.adapter) == "", "the capture has rejoined a network that the user left")
        driver.tell("power off")
        driver.state(lambda state: not state.on, "that the adapter is off")
        driver.tell("power on")
        driver.state(lambda state: state.on, "that the adapter is on")
        lab.note(f"associated again {lab.station.wait_until_associated():.1f} s after the power came back")
        driver.quit()
    lab.at_rest()
