"""The host of the feed and its client, as a user starts them."""
import os
import signal
import subprocess

ENDED, CANNOT_SERVE, WRONG_USE, NO_ADAPTER, NO_PERMISSION = range(5)  # exit statuses of vantrel-feedd
NOT_SERVED = 4  # of vantrel-feed
OWN_NETWORKS = {"Vantrel Lab", "Vantrel Guest"}  # the strongest of the simulated neighbourhood
LIMIT = 40  # seconds, for whatever should not take one; a sweep takes three to five


class Host:
    """vantrel-feedd on the simulated radio, listening."""

    def __init__(self, program, environment=None):
        environment = {**(environment or os.environ), "VANTREL_RADIO_TRANSPORT": "stream"}
        self.process = subprocess.Popen([program, "--simulated"], env=environment, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
        self.said = self.process.stdout.readline()
        self.port = self.said.split()[-1] if self.said else ""

    def end(self, number=signal.SIGTERM):
        """Has it end; its exit status, and its log."""
        if self.process.stdout.closed:
            return None
        self.process.send_signal(number)
        rest, log = self.process.communicate(timeout=LIMIT)
        return self.process.returncode, rest, log


def run(*command, environment=None):
    return subprocess.run(command, capture_output=True, timeout=LIMIT, check=False, env=environment, text=True,
                          stdin=subprocess.DEVNULL)
