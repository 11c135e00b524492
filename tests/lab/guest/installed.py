"""The installed package: a member of its group captures with the adapter, which is given back; somebody else is told."""
import json
from pathlib import Path

from air import ACCESS_POINTS, LOWER, UPPER, bssid_of, monitors
from feed import Checked
from product import beacons, whole
from scenario import scenario
from system import Dialogue, check, run, wait_for

MACHINE = ("package",)
PACKAGE = "build/package/vantrel.deb"
TESTS = Path("/mnt")  # where every user can read the tests, wherever the tree stands
SECONDS = 180.0  # the machine is slow, and a desktop is large
NET_ADMIN, NET_RAW = 1 << 12, 1 << 13
NONE = {"Inh": 0, "Prm": 0, "Eff": 0, "Amb": 0}
CONNECTED = f"Do you want to disconnect from {LOWER.ssid}? Vantrel will attempt to reconnect after the capture is done."
MESSAGE = "You don't have permission to capture on this device."


@scenario("the package is installed", 90, MACHINE)
def install(lab):
    package = lab.tree / PACKAGE
    check(package.exists(), "there is no package: ./dev package makes it")
    # As dpkg does it, but without its database: that is the host's, and takes minutes to be read from here.
    run("dpkg-deb", "--extract", str(package), "/")
    run("dpkg-deb", "--control", str(package), "/run/control")
    run("/run/control/postinst", "configure")
    for user in ("member", "outsider"):
        run("useradd", "--create-home", "--user-group", user)
        settings = Path(f"/home/{user}/.config/vantrel/settings.json")
        settings.parent.mkdir(parents=True)
        settings.write_text(json.dumps({"FirstTimeCapture": 0, "DwellTime": 100, "DoNothing": 1}))
        run("chown", "-R", f"{user}:{user}", f"/home/{user}")
    run("adduser", "--quiet", "member", "access_bpf")
    run("mount", "--bind", str(lab.tree / "tests"), str(TESTS))
    run("chmod", "0664", "/dev/rfkill")  # as Debian's udev has it
    check("cap_net_raw=p" in run("getcap", "/usr/libexec/vantrel/vantrel-launch"), "the launcher has no capability")


@scenario("a member captures on both bands, and the network is there again", 240, MACHINE)
def member(lab):
    lab.at_rest()
    seen = session("member", "adapter", "Capture All Channels", *(point.bssid for point in ACCESS_POINTS))
    check(CONNECTED in seen["question"], f"the question was {seen['question']}")
    held = sorted((name, sets["Prm"], sets["Eff"]) for name, sets in seen["capturing"] if sets != NONE)
    check(held == [("vantrel-keeper", NET_RAW, 0), ("vantrel-pcap", NET_RAW, NET_RAW)], f"the threads hold {held}")
    children = dict(seen["children"])
    check(children == {"vantrel-radio": NONE | {"Prm": NET_ADMIN, "Eff": NET_ADMIN}}, f"the children hold {children}")
    check(seen["status"] == 0, seen["log"])
    file, = map(Path, seen["files"])
    check(whole(file) > 0, "the file is empty")
    check(all(point.bssid in beacons([file]) for point in ACCESS_POINTS), f"heard were {beacons([file])}")
    lab.keep(file, {point.bssid: [point.frequency] for point in (LOWER, UPPER)})
    lab.note(f"associated again {lab.station.wait_until_associated():.1f} s after the program's end")
    lab.at_rest()


@scenario("a member's feed hears both bands, and the network is there again", 240, MACHINE)
def members_feed(lab):
    lab.at_rest()
    talk = Dialogue("members-feed", *as_user("member"), "feed", "adapter", *(point.bssid for point in ACCESS_POINTS))
    wait_for(monitors, "a monitor interface", SECONDS)
    senders = [Checked(point) for point in ACCESS_POINTS]
    try:
        talk.hear(lambda line: line == "heard", "that it heard both", SECONDS)
    finally:
        for sender in senders:
            sender.stop()
    talk.end_of_input()
    seen = json.loads(talk.hear(lambda line: line.startswith("{"), "what it saw", SECONDS))
    check(seen["status"] == 0 and not seen["missing"], seen["log"])
    for when in ("idle", "capturing"):
        held = [(name, sets["Prm"], sets["Eff"]) for name, sets in seen[when] if sets != NONE]
        check(held == [("vantrel-keeper", NET_RAW, 0)], f"{when}: the threads hold {held}")
    children = dict(seen["children"])
    check(children == {"vantrel-radio": NONE | {"Prm": NET_ADMIN, "Eff": NET_ADMIN}}, f"the children hold {children}")
    lab.note(f"associated again {lab.station.wait_until_associated():.1f} s after the host's end")
    lab.at_rest()


@scenario("somebody else is told what is missing, and the network is left alone", 180, MACHINE)
def outsider(lab):
    lab.at_rest()
    seen = session("outsider", "alert")
    check(MESSAGE in seen["alert"], f"the alert says {seen['alert']}")
    check(all(sets == NONE for _, sets in seen["idle"]), f"the threads hold {seen['idle']}")
    check(bssid_of(lab.adapter) == LOWER.bssid and not monitors(), "the adapter is not as it was")
    check(seen["status"] == 0, seen["log"])


def session(user, *words):
    """What tests/package/session.py saw as this user."""
    return json.loads(run(*as_user(user), *words, timeout=SECONDS).splitlines()[-1])


def as_user(user):
    return ("setpriv", f"--reuid={user}", f"--regid={user}", "--init-groups", "--reset-env", "/usr/bin/python3",
            str(TESTS / "package/session.py"))
