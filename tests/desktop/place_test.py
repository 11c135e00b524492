"""Where the application shows itself: a tray that is there, comes late, restarts, or never comes."""
import sys

import application
from application import CAPTURE, DISCONNECT, ENOUGH_BYTES, POLL_MS, AppTest, packets
from bus import wait_for

WINDOW_SECONDS = 25.0  # it comes 10 s after the launch


class Places(AppTest):
    def test_second_start_shows_the_menu_of_the_first(self):
        first, item = self.start_idle()
        second = self.start()
        self.assertEqual(second.wait(15), 0, self.log())
        self.desktop.wait_for_window(first)
        self.picture("second-start")
        self.desktop.close_menu(first)
        self.quit(first, item)

    def test_host_restarts(self):
        program, _item = self.start_idle()
        self.desktop.stop_panel()
        self.desktop.start_panel()
        item = self.desktop.wait_for_item(program)
        item.wait_for_entry(DISCONNECT)
        self.capture(item)
        self.stop(program, item)
        self.quit(program, item)

    def test_window_until_the_host_comes(self):
        self.desktop.stop_panel()
        program = self.start()
        # It is there all the same, as a second start shows, and can be used from its menu.
        self.assertEqual(self.second_start(program), 0)
        self.desktop.wait_for_window(program)
        self.desktop.type_at_menu("c", self.files, "a capture to start")
        path, = self.files()
        wait_for(lambda: path.stat().st_size >= ENOUGH_BYTES, "frames in the capture file", poll_ms=POLL_MS)
        self.desktop.press_in_panel(program, "Stop")
        self.assertGreater(packets(self.saved(path)), 10)

        window = self.desktop.windows.wait_for_window([program.pid], "Vantrel", WINDOW_SECONDS)
        self.assertEqual(self.desktop.windows.texts_in(window),
                         [application.IDLE, "This desktop shows no tray, so the menu is here."])
        self.assertEqual(self.desktop.nameless(program), [])
        self.picture("menu-window")
        self.desktop.windows.press_in(window, "Menu")
        self.desktop.wait_for_window(program, 2)
        self.picture("menu-window-open")
        known = set(self.files())
        self.desktop.type_at_menu("c", lambda: set(self.files()) - known, "a capture from the window")
        self.desktop.press_in_panel(program, "Cancel")

        self.desktop.start_panel()
        item = self.desktop.wait_for_item(program)
        self.desktop.wait_for_no_window(program, "Vantrel")
        item.wait_for_entry(CAPTURE)
        self.quit(program, item)

    def second_start(self, first):
        """Once the first holds the lock; its own item cannot be waited for here."""
        socket = self.desktop.folder / "run/vantrel/instance.socket"
        wait_for(lambda: socket.exists() or first.poll() is not None, "the first start", poll_ms=POLL_MS)
        return self.start().wait(15)


if __name__ == "__main__":
    sys.exit(application.main(sys.modules[__name__]))
