"""The Wi-Fi stack of the machine itself, before the product is in it."""
from air import ACCESS_POINTS, monitors
from scenario import scenario
from station import Traffic
from system import check


@scenario("a monitor hears both access points", 30)
def beacons(lab):
    for point in ACCESS_POINTS:
        line = lab.air.listen(point)
        check(f"{point.frequency} MHz" in line and f"({point.ssid})" in line, f"tcpdump heard {line!r}")
    check(monitors() == [], "there is a monitor on the adapter's side before any capture")


@scenario("the station is associated and its traffic passes", 40)
def association(lab):
    lab.note(f"associated after {lab.station.wait_until_associated():.1f} s")
    traffic = Traffic(lab.adapter)
    try:
        traffic.wait_for_answer()
    finally:
        traffic.stop()
