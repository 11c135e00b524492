"""What a client of the feed reads from the simulated radio: the framing, the frames, and when they come.

Usage: feed_records.py <feed_host program>.
"""
import os
import shutil
import struct
import subprocess
import tempfile
import unittest

from feed import Feed, main

NETWORKS = 21  # around the simulated adapter
BUSY = {1, 3, 6, 11, 36, 40, 44, 48, 52, 100, 149, 157, 161}  # the channels they are on
FIELDS = ("wlan.fc.type_subtype", "wlan.bssid", "wlan.fcs.status", "radiotap.dbm_antsignal", "radiotap.dbm_antnoise",
          "_ws.malformed")


def dissected(records):
    """What tshark makes of the records, as it finds them in a capture file."""
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "feed.pcap")
        with open(path, "wb") as out:
            out.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 127))
            for record in records:
                out.write(struct.pack("<IIII", 0, 0, len(record.data), len(record.data)) + record.data)
        command = ["tshark", "-n", "-r", path, "-o", "wlan.check_checksum:TRUE", "-T", "fields"]
        for field in FIELDS:
            command += ["-e", field]
        run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True, text=True,
                             env=dict(os.environ, HOME=folder))
    return [line.split("\t") for line in run.stdout.splitlines()]


class Records(Feed):
    transport = "tap"

    def test_sweeps_of_whole_frames_one_of_each_network(self):
        client = self.client()
        sweeps = [client.sweep() for _ in range(3)]
        self.assertEqual(client.bytes, b"", "bytes that are no whole record")
        for records in sweeps:
            self.assertTrue(all(record.is_sound() for record in records))
            bssids = [record.bssid for record in records]
            self.assertEqual(len(bssids), len(set(bssids)), "a network twice in a sweep")
        self.assertGreaterEqual(len(sweeps[1]), NETWORKS - 3)  # a beacon may be damaged, or just missed
        self.assertGreaterEqual(len({record.bssid for records in sweeps for record in records}), NETWORKS - 1)
        self.assertLess(sweeps[2][0].when - sweeps[1][0].when, sweeps[1][0].when, "sweeps get no shorter")

        everything = [record for records in sweeps for record in records]
        if not shutil.which("tshark"):
            self.skipTest("tshark is not installed")
        found = dissected(everything)
        self.assertEqual(len(found), len(everything))
        for record, (subtype, bssid, fcs, signal, noise, malformed) in zip(everything, found):
            self.assertIn(int(subtype, 0), (0x0008, 0x0005))
            self.assertEqual(bssid, record.bssid)
            self.assertEqual(fcs, "1", "tshark finds the check sequence wrong")
            self.assertLess(int(signal), 0)
            self.assertLess(int(noise), int(signal))
            self.assertEqual(malformed, "")

    def test_silent_channels_are_left_sooner(self):
        client = self.client()
        client.sweep()
        self.host.hops()  # the first sweep's
        client.sweep()
        client.sweep()
        hops = self.host.hops()
        dwells = [(channel, after - before) for (before, channel), (after, _) in zip(hops, hops[1:])]
        self.assertGreater(len(dwells), 36)
        channels = [channel for _, channel in hops[:36]]
        self.assertEqual(sorted(channels), sorted(set(channels)), "every channel once in a sweep")
        self.assertEqual(channels, sorted(channels[:channels.index(max(channels)) + 1])
                         + sorted(channels[channels.index(max(channels)) + 1:]), "by ascending number")
        right = sum(1 for channel, time in dwells
                    if (120 <= time < 160 if channel in BUSY else 40 <= time < 80))
        self.assertGreater(right, 0.85 * len(dwells), f"dwells in ms: {dwells}")

    def test_the_adapter_is_back_when_the_client_has_left(self):
        client = self.client()
        self.assertTrue(client.sweep())
        state = self.host.state()
        self.assertEqual((state["mode"], state["ssid"], state["connections"]), (4, "", 1))
        self.assertEqual((state["disabled"], state["enabled"]), (1, 0))
        client.close()
        self.expect_adapter_back()
        self.assertEqual(self.host.state()["enabled"], 1)

    def test_a_client_that_comes_back_at_once_is_served_and_the_adapter_is_back_afterwards(self):
        for _ in range(2):
            client = self.client()
            self.assertTrue(client.sweep(seconds=20))
            client.close()
            self.host.await_state(connections=0)
        self.expect_adapter_back()

    def test_no_byte_comes_while_nothing_can_be_heard(self):
        self.host.ask("power 0")
        client = self.client()
        self.assertIsNone(client.record(2))
        self.assertEqual(client.bytes, b"")
        self.assertFalse(client.ended)


class RecordsOfAStream(Feed):
    """The same where the machine permits no device of one's own."""
    transport = "stream"
    test_sweeps_of_whole_frames_one_of_each_network = Records.test_sweeps_of_whole_frames_one_of_each_network
    test_silent_channels_are_left_sooner = Records.test_silent_channels_are_left_sooner


if __name__ == "__main__":
    main()
