"""Clients of the feed that mean no good, or have no luck: whoever is served sees nothing of it.

Usage: feed_clients.py <feed_host program>.
"""
import os
import signal
import socket
import subprocess
import sys
import threading
import time
import unittest

from feed import Client, Feed, main

PACED = 5  # seconds
LONGEST_GAP = 1.2  # between sweeps that take 0.5 s; the rest is for a busy machine


def paced(client, seconds):
    """The times at which sweeps began to arrive."""
    end = time.monotonic() + seconds
    times = []
    while time.monotonic() < end:
        records = client.sweep()
        if not records:
            break
        times.append(records[0].when)
    return times


class Clients(Feed):
    arguments = ("--few",)

    def expect_no_gap(self, times):
        gaps = [after - before for before, after in zip(times, times[1:])]
        self.assertGreaterEqual(len(gaps), PACED / LONGEST_GAP)
        self.assertLess(max(gaps), LONGEST_GAP, f"between sweeps: {gaps}")

    def test_a_second_client_is_closed_without_a_byte(self):
        first = self.client()
        self.host.await_state(connections=1)
        second = self.client()
        self.assertTrue(second.is_closed())
        self.assertEqual(second.bytes, b"")
        self.assertTrue(first.sweep())

    def test_nobody_is_served_during_the_users_own_capture(self):
        self.host.ask("capturing 1")
        client = self.client()
        self.assertTrue(client.is_closed())
        self.assertEqual(client.bytes, b"")
        self.assertEqual(self.host.state()["disabled"], 0)
        self.host.ask("capturing 0")
        self.assertTrue(self.client().sweep())

    def test_a_hundred_clients_a_second(self):
        first = self.client()
        first.sweep()
        refused = []
        over = threading.Event()

        def crowd():
            while not over.wait(0.01):
                client = Client(self.host)
                refused.append(client.is_closed() and client.bytes == b"")
                client.close()

        thread = threading.Thread(target=crowd)
        thread.start()
        try:
            times = paced(first, PACED)
        finally:
            over.set()
            thread.join()
        self.expect_no_gap(times)
        self.assertGreater(len(refused), 300)
        self.assertTrue(all(refused))

    def test_a_flood_of_bytes(self):
        client = self.client()
        client.sweep()
        over = threading.Event()
        sent = []

        def flood():
            while not over.is_set():
                sent.append(client.socket.send(bytes(65536)))

        thread = threading.Thread(target=flood)
        before = self.host.processor_seconds()
        begun = time.monotonic()
        thread.start()
        try:
            times = paced(client, PACED)
        finally:
            over.set()
            thread.join()
        share = (self.host.processor_seconds() - before) / (time.monotonic() - begun)
        self.expect_no_gap(times)
        self.assertGreater(sum(sent), 10_000_000)
        self.assertLess(share, 0.3, "of a processor for bytes that are thrown away")

    def test_a_client_that_stops_writing_has_left(self):
        client = self.client()
        client.sweep()
        client.socket.shutdown(socket.SHUT_WR)
        self.assertTrue(client.is_closed())
        self.expect_adapter_back()

    def test_a_client_that_never_says_or_reads_anything_leaves_the_next_nothing_to_complain_of(self):
        idle = self.client(buffer=2048)
        self.host.await_state(disabled=1)
        time.sleep(0.5)
        idle.close()
        self.expect_adapter_back()  # before that the next one comes too early, and is closed
        self.assertTrue(self.client().sweep(seconds=20))

    def test_resets_whenever(self):
        for pause in (0, 0.05, 0.3, 0.55, 1):
            client = self.client()
            time.sleep(pause)
            client.reset()
            self.host.await_state(connections=0)
        self.assertTrue(self.client().sweep(seconds=20))

    def test_a_client_that_is_killed(self):
        program = "import socket, sys, time; s = socket.create_connection(('127.0.0.1', int(sys.argv[1]))); time.sleep(99)"
        killed = subprocess.Popen([sys.executable, "-c", program, str(self.host.port)])
        self.host.await_state(disabled=1)
        os.kill(killed.pid, signal.SIGKILL)
        killed.wait()
        self.expect_adapter_back()

    def test_connections_that_come_and_go_at_once(self):
        for _ in range(100):
            Client(self.host).close()
        self.host.await_state(connections=0)
        self.assertTrue(self.client().sweep(seconds=20))

    def test_the_server_stops_under_a_client(self):
        client = self.client()
        client.sweep()
        self.host.ask("stop")
        self.assertTrue(client.is_closed())
        with self.assertRaises(ConnectionRefusedError):
            Client(self.host)
        self.expect_adapter_back()
        self.host.port = int(self.host.ask("start").split()[1])
        self.assertTrue(self.client().sweep(seconds=20))

    def test_the_program_ends_under_a_client(self):
        client = self.client()
        client.sweep()
        self.assertEqual(self.host.end(), "ended not yet associated on channel 36")
        self.assertTrue(client.is_closed())


if __name__ == "__main__":
    main()
