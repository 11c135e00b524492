"""What becomes of captures on a real desktop: files in their folder, notifications that are clicked, uploads to a peer on
the loopback device with their percentages, panels and alerts, and scripts."""
import json
import os
import re
import signal
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "delivery"))
import application  # noqa: E402
from application import CAPTURE, IDLE, POLL_MS, AppTest, packets  # noqa: E402
from bus import wait_for  # noqa: E402
from file_manager import FileManager  # noqa: E402

SERVER = Path(__file__).resolve().parent.parent / "delivery/upload_server.py"
SOME_FRAMES = 40
MEGABYTE = 1 << 20


def reply(status, content):
    """An answer of the peer."""
    body = json.dumps(content)
    return f"HTTP/1.1 {status}\r\nContent-Length: {len(body)}\r\nConnection: close\r\n\r\n{body}"


REPLY = reply("200 OK", {"id": "7f", "filename": "a.pcap"})


class DeliveryTest(AppTest):
    def notifications(self):
        """What dunst has shown in this test, oldest first: summary and body."""
        self.dunstctl("close-all")
        return [(shown["summary"]["data"], shown["body"]["data"]) for shown in reversed(self.history())
                if shown["id"]["data"] not in self.shown_before]

    def history(self):
        return json.loads(self.dunstctl("history"))["data"][0]

    def dunstctl(self, *arguments):
        return subprocess.run(["dunstctl", *arguments], env=self.desktop.env, capture_output=True, text=True, check=True,
                              timeout=20).stdout.strip()

    def setUp(self):
        super().setUp()
        if self.desktop.bus.has_owner("org.freedesktop.Notifications"):
            self.dunstctl("close-all")
            self.shown_before = {shown["id"]["data"] for shown in self.history()}

    def wait_for_notification(self):
        wait_for(lambda: int(self.dunstctl("count", "displayed")) > 0, "a notification", poll_ms=POLL_MS)

    def serve(self, *scripts):
        """A peer that runs one script a connection, the last one again for all further; its address."""
        peer = subprocess.Popen([sys.executable, SERVER, json.dumps(scripts)], stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, text=True)
        self.addCleanup(peer.stdout.close)
        self.addCleanup(peer.wait, 20)
        self.addCleanup(peer.stdin.close)
        self.peer = peer
        return f"http://127.0.0.1:{self.heard('port')}"

    def heard(self, key):
        """The next event of this kind that the peer tells."""
        while True:
            event = json.loads(self.peer.stdout.readline())
            if key in event:
                return event[key]

    def choose_file(self, program, title, path, accept="Return"):
        """Types a path into a file panel and accepts it."""
        self.desktop.window(program, title)
        self.desktop.type_at_window(program, "ctrl+a")
        self.desktop.xdotool("type", "--delay", "5", str(path))
        self.desktop.xdotool("key", accept)

    def wait_for_percentage(self, item):
        """The number in the tool tip, once there is one."""
        def shown():
            found = re.search(r"(\d+)%", item.tool_tip)
            return found and int(found.group(1))
        return wait_for(shown, "a percentage in the tray", poll_ms=20)


class Folder(DeliveryTest):
    def test_a_click_on_the_notification_shows_the_file(self):
        manager = FileManager(self.desktop.env["DBUS_SESSION_BUS_ADDRESS"])
        self.addCleanup(manager.close)
        program, item = self.start_idle()
        path = self.capture(item)
        self.stop(program, item)
        path = self.saved(path)
        self.wait_for_notification()
        self.picture("notification")
        self.dunstctl("action", "0")
        wait_for(lambda: manager.calls, "the file manager to be asked")
        self.assertEqual(manager.calls[0][:2], ("ShowItems", [path.as_uri()]))
        (summary, body), = self.notifications()
        self.assertEqual(summary, "Capture completed")
        self.assertRegex(body, rf"^{re.escape(path.name)}\n{packets(path)} frames \(\d+ KB\)$")
        self.quit(program, item)

    def several(self, rotating):
        self.store(LimitCaptureFile=1, LimitCaptureFileUnits=4, LimitCaptureFileValue=SOME_FRAMES, MaxCaptureFiles=3,
                   RotateCaptureFiles=rotating)
        program, item = self.start_idle()
        item.click(CAPTURE)

        def gathered():
            return sorted(self.saved_captures.rglob("*.pcap"))
        return program, item, gathered

    def assert_three_files(self, files):
        prefix = files[0].parent.name
        self.assertRegex(prefix, r"^vantrel_\d{4}-\d\d-\d\d_\d\d\.\d\d\.\d\d\.[AP]M$")
        self.assertEqual([path.name for path in files], [f"{prefix}.{number:03}.pcap" for number in (1, 2, 3)])
        self.wait_for_notification()
        (summary, body), = self.notifications()
        self.assertEqual(summary, "Capture completed")
        total = sum(packets(path) for path in files)
        self.assertRegex(body, rf"^{re.escape(prefix)}\n3 files, {total} frames \(\d+ KB\)$")

    def test_several_files_end_by_themselves(self):
        program, item, gathered = self.several(rotating=0)
        self.desktop.wait_for_no_window(program, "Capturing")
        item.wait_for_entry("Quit")
        wait_for(lambda: len(gathered()) == 3, "three files", poll_ms=POLL_MS)
        self.assert_three_files(gathered())
        self.assertEqual([packets(path) for path in gathered()], 3 * [SOME_FRAMES])
        self.quit(program, item)

    def test_several_files_rotate_until_stopped(self):
        program, item, gathered = self.several(rotating=1)
        oldest = []

        def replaced():
            oldest.extend(path.stat().st_ino for path in gathered() if path.name.endswith(".003.pcap"))
            return len(set(oldest)) > 1
        wait_for(replaced, "the oldest file to be replaced", poll_ms=POLL_MS)
        self.stop(program, item)
        wait_for(lambda: not list(self.captures.glob("*.pcap")), "the last file to be delivered", poll_ms=POLL_MS)
        self.assert_three_files(gathered())
        self.quit(program, item)

    def test_a_panel_asks_for_each_capture(self):
        self.store(CaptureFilesLocation="AskForEachCapture")
        program, item = self.start_idle()
        self.capture(item)
        self.desktop.press_in_panel(program, "Stop")
        self.desktop.window(program, "Save")
        self.picture("save-panel")
        chosen = self.desktop.folder / "home/chosen.pcap"
        self.choose_file(program, "Save", chosen)
        wait_for(chosen.exists, "the file where the user wants it", poll_ms=POLL_MS)
        self.assertGreater(packets(chosen), 10)
        self.assertEqual(self.files(), [])
        self.quit(program, item)

    def test_a_folder_that_is_gone_is_told_and_the_file_is_offered_at_the_next_start(self):
        place = self.desktop.folder / "home/captures"
        place.mkdir(exist_ok=True)
        self.store(CaptureFilesLocation=str(place))
        program, item = self.start_idle()
        path = self.capture(item)
        place.rmdir()
        self.desktop.press_in_panel(program, "Stop")
        self.assertEqual(self.desktop.alert(program),
                         ["Failed to save capture file.",
                          f"{place / path.name}: No such file or directory. The capture file is kept as {path}"])
        self.picture("save-failed")
        self.desktop.press(program, "OK")
        self.quit(program, item)
        self.assertEqual(self.files(), [path])

        program, item = self.start_idle()
        self.wait_for_notification()
        self.assertEqual(self.notifications()[0][0], "A capture was not saved")
        self.quit(program, item)

    def test_a_killed_program_offers_its_capture_at_the_next_start(self):
        program, item = self.start_idle()
        path = self.capture(item)
        program.kill()
        program.wait()
        self.assertGreater(packets(path), 10)
        program, item = self.start_idle()
        self.wait_for_notification()
        (summary, body), = self.notifications()
        self.assertEqual(summary, "A capture was not saved")
        self.assertRegex(body, rf"^{re.escape(path.name)}\nLeft over from an earlier run \(\d+ (KB|bytes)\)$")
        self.quit(program, item)


class Uploads(DeliveryTest):
    """To the first service by the menu and as a destination; its peer's words are the tests' own."""

    def store_service(self, address, **settings):
        self.store(CloudSharkApplianceURL=address, CloudSharkApplianceAPIToken="token", **settings)

    def test_a_chosen_file_with_tags_shows_its_percentages(self):
        large = self.desktop.folder / "home/a b.pcap"
        large.write_bytes(bytes(24 * MEGABYTE))
        # The peer takes a piece and pauses, so that the percentage stands still for a moment.
        slow = ["head", *(step for _ in range(5) for step in ({"receive": 3 * MEGABYTE}, {"pause": 0.5})),
                {"receive": 9 * MEGABYTE}, {"send": REPLY}]
        self.store_service(self.serve(slow))
        program, item = self.start_idle()
        item.click("Upload Capture", "To CloudShark…")
        self.desktop.window(program, "Upload")
        self.picture("upload-panel")
        self.choose_file(program, "Upload", large)
        request = self.heard("request")
        self.assertEqual(request["line"],
                         "PUT /api/v1/token/upload?filename=a%20b.pcap;additional_tags=;comments= HTTP/1.1")
        self.assertLess(self.wait_for_percentage(item), 100)
        self.picture("upload-percentage")
        item.wait_for_tool_tip(IDLE)
        self.wait_for_notification()
        self.assertEqual([summary for summary, _body in self.notifications()],
                         ["Capture successfully uploaded to CloudShark"])
        self.assertTrue(large.exists())
        self.quit(program, item)

    def test_a_failure_is_tried_again_and_saved_elsewhere(self):
        refused = reply("401 Unauthorized", {"exceptions": ["Invalid token"]})
        self.store_service(self.serve(["request", {"send": refused}]), CaptureFilesLocation="CloudShark")
        program, item = self.start_idle()
        path = self.capture(item)
        self.stop(program, item)
        self.heard("request")  # before anything else: the peer waits until what it tells is read
        self.assertEqual(self.desktop.alert(program), ["Failed to upload capture to CloudShark.", "Invalid token."])
        self.picture("upload-failed")
        self.desktop.press(program, "Retry")
        self.heard("request")
        self.desktop.alert(program)
        self.desktop.windows.press_in(self.desktop.window(program, "Vantrel"), "Save As...")
        chosen = self.desktop.folder / "home/kept.pcap"
        self.choose_file(program, "Save", chosen)
        wait_for(chosen.exists, "the file where the user wants it", poll_ms=POLL_MS)
        self.assertGreater(packets(chosen), 10)
        self.assertFalse(path.exists())
        self.quit(program, item)

    def test_a_capture_that_was_uploaded_is_gone_from_here(self):
        self.store_service(self.serve(["request", {"send": REPLY}]), CaptureFilesLocation="CloudShark")
        program, item = self.start_idle()
        path = self.capture(item)
        self.stop(program, item)
        request = self.heard("request")
        self.assertIn(f"filename={path.name};", request["line"])
        self.wait_for_notification()
        self.assertEqual(self.files(), [])
        self.quit(program, item)


class Scripts(DeliveryTest):
    def test_from_choosing_a_script_to_its_output(self):
        script = self.desktop.folder / "home/size.py"
        script.write_text("import os, sys\nprint('size', os.path.getsize(sys.argv[1]))\n")
        self.store(DoNothing=0, RunScript=1, ScriptPanelAutoClose=0)
        program, item = self.start_idle()
        path = self.capture(item)
        self.stop(program, item)
        path = self.saved(path)
        self.desktop.window(program, f"Launch script for {path}")
        self.choose_file(program, "", script)
        output = Path(f"{path}.out")
        wait_for(output.exists, "the script's output", poll_ms=POLL_MS)
        self.assertEqual(output.read_text(), f"size {path.stat().st_size}\n")
        self.picture("script-panel")
        self.assertEqual(self.desktop.nameless(program), [])
        self.assertEqual(self.stored()["ScriptList"], [str(script)])
        self.assertEqual(self.stored()["LastUsedScript"], str(script))
        self.quit(program, item)


class WithoutNotifications(DeliveryTest):
    """Last, since it ends the desktop's notification server and keeps it from being started again."""

    def setUp(self):
        services = self.desktop.folder / "data/dbus-1/services"
        services.mkdir(parents=True, exist_ok=True)
        (services / "org.freedesktop.Notifications.service").write_text(
            "[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/bin/false\n")
        self.desktop.bus.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReloadConfig")
        if self.desktop.bus.has_owner("org.freedesktop.Notifications"):
            os.kill(self.desktop.bus.process_of("org.freedesktop.Notifications"), signal.SIGTERM)
        AppTest.setUp(self)

    def test_a_small_window_leads_to_the_file(self):
        manager = FileManager(self.desktop.env["DBUS_SESSION_BUS_ADDRESS"])
        self.addCleanup(manager.close)
        program, item = self.start_idle()
        path = self.capture(item)
        self.stop(program, item)
        path = self.saved(path)
        window = self.desktop.window(program, "Vantrel")
        texts = self.desktop.windows.texts_in(window)
        self.assertEqual(texts[:2], ["Capture completed", path.name])
        self.picture("notification-window")
        self.desktop.windows.press_in(window, "Show")
        wait_for(lambda: manager.calls, "the file manager to be asked")
        self.assertEqual(manager.calls[0][:2], ("ShowItems", [path.as_uri()]))
        self.quit(program, item)


if __name__ == "__main__":
    sys.exit(application.main(sys.modules[__name__]))
