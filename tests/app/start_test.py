"""The application does not start where it could not do its work: it says why, and its exit status tells. No window is
shown, so it needs no screen.

    start_test.py VANTREL
"""
import fcntl
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM = sys.argv.pop(1)
LIMIT = 60  # seconds, for whatever should take five


class Start(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.places = {name: self.folder / name.lower() for name in
                       ("HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR")}
        for place in self.places.values():
            place.mkdir(mode=0o700)
        self.instance = self.places["XDG_RUNTIME_DIR"] / "vantrel"
        self.instance.mkdir(mode=0o700)

    def assert_refused(self, *parts, **environment):
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "QT_QPA_PLATFORM": "offscreen",
                       "VANTREL_RADIO": "simulated", "VANTREL_RADIO_TRANSPORT": "stream",
                       "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/none",
                       **{name: str(place) for name, place in self.places.items()}, **environment}
        done = subprocess.run([PROGRAM], env=environment, capture_output=True, text=True, timeout=LIMIT, check=False,
                              stdin=subprocess.DEVNULL)
        self.assertEqual(done.returncode, 1, done.stderr)
        for part in parts:
            self.assertIn(part, done.stderr)

    def test_on_a_transport_that_there_is_not(self):
        self.assert_refused("VANTREL_RADIO_TRANSPORT=pigeon: it must be tap, namespace or stream",
                            VANTREL_RADIO_TRANSPORT="pigeon")

    def test_where_its_lock_cannot_be_made(self):
        (self.instance / "instance.lock").mkdir()
        self.assert_refused(f"open({self.instance}/instance.lock): Is a directory")

    def test_beside_another_that_does_not_answer(self):
        with open(self.instance / "instance.lock", "w") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assert_refused("another instance runs, but does not answer")

    def test_where_nobody_could_reach_it(self):
        socket = self.instance / "instance.socket"
        socket.mkdir()
        (socket / "file").touch()  # so that it cannot be removed either
        self.assert_refused(f"listen({socket}): ")


if __name__ == "__main__":
    unittest.main()
