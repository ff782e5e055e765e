#!/usr/bin/env python3
"""The dissector on TCP: frames that lie anywhere in segments, and a stream of ribtool serve as it flows.

    dissector_stream_test.py --ribtool PROGRAM --dissector rib.lua [--live]

With --live tshark listens on the loopback interface. Where that is refused the program says so and ends with 77, which ctest
reports as skipped.
"""

import argparse
import collections
import pathlib
import queue
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import dissector_cases as cases

SKIPPED = 77
PORT = 4711
SECONDS = 120
ROUTE = bytes.fromhex("10 05")  # 2 route_value_2 = 5
BROKEN = bytes.fromhex("10 80")  # 2 route_value_2, cut off
OPTIONS = argparse.Namespace()


def segment(place, data, port=PORT):
    """An Ethernet packet with a TCP segment from the port, whose data stand at `place` of the stream."""
    tcp = struct.pack(">HHIIBBHHH", port, 50000, 1 + place, 1, 0x50, 0x18, 65535, 0, 0) + data
    address = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(tcp), place & 0xffff, 0x4000, 64, 6, 0)
    return bytes(12) + b"\x08\x00" + address + bytes([127, 0, 0, 1] * 2) + tcp


def stream(data, sizes, port=PORT):
    """The stream in segments of these sizes, over and over."""
    packets, place = [], 0
    while place < len(data):
        size = sizes[len(packets) % len(sizes)]
        packets.append(segment(place, data[place:place + size], port))
        place += size
    return packets


class frames_of_a_stream(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ribtool-stream-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def dissected(self, packets, *options):
        """Of each segment with frames: codes, lengths, reasons, a value, the column Info and the port."""
        capture = self.folder / "tcp.pcap"
        capture.write_bytes(cases.pcap(packets, cases.ETHERNET))
        fields = [argument for name in ("rib.code", "rib.length", "rib.reason", "rib.route.route_value_2", "_ws.col.Info",
                                "tcp.srcport")
                  for argument in ("-e", name)]
        output = cases.tshark(OPTIONS.dissector, *options, "-r", capture, "-Y", "rib", "-T", "fields", *fields).decode()
        return [tuple(line.split("\t")) for line in output.splitlines()]

    def test_frames_are_found_wherever_segments_end(self):
        frames = [cases.frame(51, ROUTE), cases.frame(0, b""), cases.frame(51, BROKEN), cases.frame(50, b""),
                  cases.frame(47, bytes.fromhex("08 07")), cases.frame(99, b"abc")]
        expected = [("51", "2", "", "5"), ("0", "0", "", ""), ("51", "2", "cut_off", ""), ("50", "0", "", ""),
                    ("47", "2", "", ""), ("99", "3", "not_tried_unknown_code", "")]
        data = b"".join(frames)
        sizes = {PORT + index: each for index, each in enumerate([(1,), (7,), (11, 3), (9,), (len(data),)])}
        packets = [packet for port, each in sizes.items() for packet in stream(data, each, port)]
        found = self.dissected(packets, "-o", f"rib.tcp_ports:{min(sizes)}-{max(sizes)}")
        wanted = [",".join(filter(None, (each[column] for each in expected))) for column in range(4)]
        for port in sizes:
            lines = [line for line in found if line[5] == str(port)]
            self.assertEqual([",".join(filter(None, (line[column] for line in lines))) for column in range(4)], wanted,
                             sizes[port])

    def test_a_segment_says_all_its_frames_in_one_line(self):
        data = cases.frame(51, ROUTE) + cases.frame(0, b"") + cases.frame(51, BROKEN)
        self.assertEqual(self.dissected(stream(data, (1000,)), "-d", f"tcp.port=={PORT},rib"),
                         [("51,0,51", "2,0,2", "cut_off", "5",
                           "route: no prefix, 0 paths | delimiter | route: cut_off at route_value_2", str(PORT))])

    def test_the_largest_frame_comes_in_many_segments(self):
        data = cases.frame(51, bytes.fromhex("d20100") * 21845) + cases.frame(51, ROUTE)
        found = self.dissected(stream(data, (1460,)), "-o", f"rib.tcp_ports:1-10,{PORT}")
        self.assertEqual([line[4] for line in found], ["route: no prefix, 21845 paths | route: no prefix, 0 paths"])

    def test_nobody_reads_updates_on_a_port_that_is_not_named(self):
        data = cases.frame(51, ROUTE)
        self.assertEqual(self.dissected(stream(data, (1000,))), [])
        self.assertEqual(self.dissected(stream(data, (1000,)), "-o", f"rib.tcp_ports:{PORT + 1}"), [])


class lines_of(threading.Thread):
    """Lines of a program's output, as they come."""

    def __init__(self, stream_):
        super().__init__(daemon=True)
        self.stream = stream_
        self.lines = queue.Queue()
        self.start()

    def run(self):
        for line in self.stream:
            self.lines.put(line.rstrip("\n"))
        self.lines.put(None)

    def next(self):
        """None at the end."""
        return self.lines.get(timeout=SECONDS)


class a_live_stream(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ribtool-live-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def start(self, *arguments):
        program = subprocess.Popen(arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

        def end():
            program.kill()
            program.wait()
            program.stdout.close()
            program.stderr.close()
        self.addCleanup(end)
        return program

    def listening_server(self):
        capture = self.folder / "updates.pcap"
        subprocess.run([OPTIONS.ribtool, "synth", "--updates", "300", "-o", capture], check=True, capture_output=True)
        server = self.start(OPTIONS.ribtool, "serve", capture, "--listen", "127.0.0.1:0", "--delimiter")
        line = lines_of(server.stdout).next()
        return [struct.unpack(">H", each[4:6])[0] for each in cases.read_pcap(capture.read_bytes())] + [0], line

    def listening_tshark(self, port):
        program = self.start("tshark", "-n", "-l", "-i", "lo", "-f", f"tcp port {port}", "-X",
                             f"lua_script:{OPTIONS.dissector}", "-o", f"rib.tcp_ports:{port}", "-Y", "rib", "-T", "fields",
                             "-e", "tcp.stream", "-e", "rib.code")
        errors = lines_of(program.stderr)
        while "Capturing on" not in (line := errors.next() or "ended"):
            if line == "ended" or "permission" in line.lower():
                print(f"skipped: tshark cannot listen on the loopback interface: {line}", file=sys.stderr)
                sys.stderr.flush()
                self.skipTest("no rights to capture")
        return lines_of(program.stdout)

    def test_what_serve_sends_is_dissected_as_it_flows(self):
        codes, line = self.listening_server()
        port = int(line.rsplit(":", 1)[1])
        output = self.listening_tshark(port)
        streams = collections.defaultdict(list)
        stop = threading.Event()

        def receive():  # again and again, since nobody says when tshark sees the first packet
            while not stop.is_set():
                with socket.create_connection(("127.0.0.1", port)) as connection:
                    while connection.recv(65536):
                        pass
                stop.wait(0.2)
        receiver = threading.Thread(target=receive)
        receiver.start()
        try:
            end = time.monotonic() + SECONDS
            while codes not in streams.values() and time.monotonic() < end:
                number, found = output.next().split("\t")
                streams[number] += map(int, found.split(","))
        finally:
            stop.set()
            receiver.join()
        self.assertIn(codes, streams.values())


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--ribtool", required=True)
    parser.add_argument("--dissector", required=True)
    parser.add_argument("--live", action="store_true")
    parser.parse_args(namespace=OPTIONS)
    wanted = a_live_stream if OPTIONS.live else frames_of_a_stream
    result = unittest.TextTestRunner(verbosity=2).run(unittest.defaultTestLoader.loadTestsFromTestCase(wanted))
    if not result.wasSuccessful():
        return 1
    return SKIPPED if result.skipped else 0


if __name__ == "__main__":
    sys.exit(main())
