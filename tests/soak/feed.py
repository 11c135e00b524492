"""vantrel-feedd on a simulated radio of its own and vantrel-feed as its client, beside the application."""
import json
import re

from bus import wait_for

POLL_MS = 100  # for what they write to their logs
HOST_LOG, CLIENT_LOG = "feedd", "feed"


class Feed:
    def __init__(self, desktop, programs):
        self._desktop = desktop
        self.host = desktop.start([str(programs / "vantrel-feedd"), "--simulated"], log=HOST_LOG,
                                  VANTREL_RADIO_LOAD="0")
        port = wait_for(lambda: re.search(r"^port (\d+)$", desktop.log(HOST_LOG), re.MULTILINE), "the feed's port",
                        poll_ms=POLL_MS).group(1)
        self.client = desktop.start([str(programs / "vantrel-feed"), "--port", port, "--json"], log=CLIENT_LOG)

    def wait_for_record(self):
        wait_for(lambda: '"bssid"' in self._desktop.log(CLIENT_LOG), "the first record of the feed", 30, POLL_MS)

    def end(self):
        """Ends both in order; their exit statuses, client first."""
        self.client.terminate()
        client = self.client.wait(20)
        self.host.terminate()
        return client, self.host.wait(20)

    def sweeps(self):
        return count_sweeps(self._desktop.log(CLIENT_LOG))


def count_sweeps(text):
    """Sweeps and records in what the client printed, and what is wrong with them."""
    faults, last, records, heard = [], 0, 0, set()
    for line in text.splitlines():
        if not line.startswith("{"):
            if line.strip():
                faults.append(f"the client says: {line}")
            continue
        try:
            record = json.loads(line)
        except ValueError:
            continue  # the line that was being written when the client ended
        records += 1
        if record["sweep"] != last:
            if record["sweep"] != last + 1:
                faults.append(f"sweep {record['sweep']} after {last}")
            last, heard = record["sweep"], set()
        if record["bssid"] in heard:
            faults.append(f"{record['bssid']} comes twice in sweep {last}")
        heard.add(record["bssid"])
    return last, records, faults
