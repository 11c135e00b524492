"""Sends beacons in the name of an access point, with a check sequence at their end: the simulated radios take that for
the last bytes of the frame, and hand it to a monitor as real adapters do. Their own beacons come without.

    checked.py MONITOR BSSID SSID CHANNEL
"""
import binascii
import socket
import struct
import sys
import time

PAUSE = 0.03  # seconds: three within the feed's dwell on a channel that has been silent
# Radiotap with TX flags alone: no acknowledgement, and the sequence number stays as it is (radiotap.org, "TX flags").
HEADER = struct.pack("<BBHIH", 0, 0, 10, 1 << 15, 0x0018)


def beacon(bssid, ssid, channel):
    frame = struct.pack("<HH", 0x80, 0) + b"\xff" * 6 + bssid + bssid + b"\0\0"
    frame += struct.pack("<QHH", 1, 100, 1) + bytes([0, len(ssid)]) + ssid + bytes([3, 1, channel])
    return frame + struct.pack("<I", binascii.crc32(frame))


def main():
    monitor, bssid, ssid, channel = sys.argv[1:]
    frame = HEADER + beacon(bytes.fromhex(bssid.replace(":", "")), ssid.encode(), int(channel))
    with socket.socket(socket.AF_PACKET, socket.SOCK_RAW) as air:
        air.bind((monitor, 0))
        while True:
            air.send(frame)
            time.sleep(PAUSE)


if __name__ == "__main__":
    main()
