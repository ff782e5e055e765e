#!/usr/bin/env python3
"""Copies of captures that ribtool explain --pcapng writes, byte by byte.

    packet_comments_test.py --ribtool PROGRAM
"""

import argparse
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

OPTIONS = argparse.Namespace()

DELIVERED = bytes.fromhex("00000000 0033 0002 1005")  # code 51, 2 bytes: 2 route_value_2 = 5
BROKEN = bytes.fromhex("00000000 0033 0002 1080")  # 2 route_value_2, cut off
UNKNOWN_FIELD = bytes.fromhex("00000000 0033 0003 980605")  # 99 = 5
UNKNOWN_CODE = bytes.fromhex("a1a2a3a4 1267 0001 ff")  # code 4711
DELIMITER = bytes(8)

NANOSECONDS = 0xa1b23c4d
MICROSECONDS = 0xa1b2c3d4

BEGINNING = bytes.fromhex(
    "0a0d0d0a 1c000000"  # section header, 28 bytes
    "4d3c2b1a 0100 0000"  # the order of bytes, version 1.0
    "ffffffffffffffff"  # length not said
    "1c000000"
    "01000000 20000000"  # interface, 32 bytes
    "9300 0000 00000000"  # link type 147, no limit of length
    "0900 0100 09000000"  # times in units of 10^-9 seconds
    "0000 0000"
    "20000000")


def pcap(magic, packets):
    """A capture of packets with their times, seconds and fractions."""
    return struct.pack("<IHHiIII", magic, 2, 4, 0, 0, 262144, 147) + b"".join(
        struct.pack("<IIII", *time, len(data), len(data)) + data for time, data in packets)


def packet(nanoseconds, data, comment=None):
    """An enhanced packet block."""
    body = struct.pack("<IIIII", 0, nanoseconds >> 32, nanoseconds & 0xffffffff, len(data), len(data))
    body += data + bytes(-len(data) % 4)
    if comment:
        text = comment.encode()
        body += struct.pack("<HH", 1, len(text)) + text + bytes(-len(text) % 4) + bytes(4)
    length = struct.pack("<I", 12 + len(body))
    return struct.pack("<I", 6) + length + body + length


class packet_comments(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ribtool-comments-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.input = self.folder / "in.pcap"
        self.output = self.folder / "out.pcapng"

    def explain(self, data, *options, status):
        self.input.write_bytes(data)
        done = subprocess.run([OPTIONS.ribtool, "explain", "--pcapng", self.output, self.input, *options], check=False,
                              capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stdout), (status, ""), done.stderr)
        return done.stderr

    def test_a_copy_has_every_packet_with_its_time_and_a_comment_where_not_all_is_delivered(self):
        self.explain(pcap(NANOSECONDS, [((2147483647, 999999999), DELIVERED), ((1, 0), BROKEN), ((1, 1), DELIMITER),
                                        ((1, 1001), UNKNOWN_FIELD), ((0, 0), UNKNOWN_CODE)]), status=1)
        self.assertEqual(self.output.read_bytes(), BEGINNING + packet(2147483647999999999, DELIVERED) +
                         packet(1000000000, BROKEN, "dropped: cut_off at route_value_2, byte 1") +
                         packet(1000000001, DELIMITER) +
                         packet(1000001001, UNKNOWN_FIELD, "delivered with 1 loss: unknown_field at 99, byte 2: 5") +
                         packet(0, UNKNOWN_CODE, "refused: not_tried_unknown_code"))

    def test_times_in_microseconds_are_the_same_times(self):
        self.explain(pcap(MICROSECONDS, [((1, 999999), DELIVERED)]), status=0)
        self.assertEqual(self.output.read_bytes(), BEGINNING + packet(1999999000, DELIVERED))

    def test_a_copy_is_a_capture_like_any_other(self):
        self.explain(pcap(MICROSECONDS, [((7, 8), BROKEN), ((7, 9), UNKNOWN_FIELD)]), status=1)
        first = self.output.read_bytes()
        self.input.rename(self.folder / "was.pcap")
        self.explain(first, status=1)
        self.assertEqual(self.output.read_bytes(), first)

    def test_only_says_which_packets_have_comments_and_all_are_copied(self):
        self.explain(pcap(MICROSECONDS, [((0, 1), BROKEN), ((0, 2), UNKNOWN_FIELD)]), "--only", "losses", status=1)
        self.assertEqual(self.output.read_bytes(), BEGINNING + packet(1000, BROKEN) +
                         packet(2000, UNKNOWN_FIELD, "delivered with 1 loss: unknown_field at 99, byte 2: 5"))

    def test_a_limit_counts_updates(self):
        self.explain(pcap(MICROSECONDS, [((0, 1), DELIMITER), ((0, 2), DELIVERED), ((0, 3), BROKEN)]), "--limit", "1",
                     status=0)
        self.assertEqual(self.output.read_bytes(), BEGINNING + packet(1000, DELIMITER) + packet(2000, DELIVERED))

    def test_of_a_damaged_capture_there_is_no_copy_but_with_partial_what_came_before(self):
        damaged = pcap(MICROSECONDS, [((0, 1), DELIVERED), ((0, 2), DELIVERED)])[:-1]
        self.output.write_bytes(b"before")
        self.explain(damaged, status=4)
        self.assertEqual(self.output.read_bytes(), b"before")
        self.assertIn("holds the 1 frames before this", self.explain(damaged, "--partial", status=4))
        self.assertEqual(self.output.read_bytes(), BEGINNING + packet(1000, DELIVERED))

    def test_a_capture_is_not_copied_onto_itself(self):
        self.output = self.input
        capture = pcap(MICROSECONDS, [((0, 1), DELIVERED)])
        self.explain(capture, status=2)
        self.assertEqual(self.input.read_bytes(), capture)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--ribtool", required=True)
    parser.parse_args(namespace=OPTIONS)
    unittest.main(argv=sys.argv[:1], verbosity=2)


if __name__ == "__main__":
    main()
