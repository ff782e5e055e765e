#!/usr/bin/env python3
"""ribtool serve, record and replay --connect with real processes and sockets.

    streams_test.py --ribtool PROGRAM [unittest's arguments]

RIB_EXHAUSTIVE=1 connects a thousand times where a sample does else.
"""

import argparse
import os
import pathlib
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

RIBTOOL = ""
SECONDS = 120  # for what should take far less, also on a busy machine and under sanitizers
EXHAUSTIVE = os.environ.get("RIB_EXHAUSTIVE") == "1"

PROTO = bytes([
    0, 0, 0, 0,              # not read
    0, 47,                   # type code
    0, 7,                    # length of the payload
    0x08, 0x07,              # 1 proto_id = 7
    0x22, 3, 98, 103, 112,   # 4 proto_name = "bgp"
])
DELIMITER = bytes(8)
UNKNOWN = bytes([
    0, 0, 0, 0,  # not read
    0, 48,       # a code that nobody knows
    0, 2,        # length of the payload
    1, 2,
])


def descriptors(process):
    return len(os.listdir(f"/proc/{process.pid}/fd"))


def resident(process):
    """VmRSS in KiB."""
    for line in pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="ascii").splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1])
    raise AssertionError("no VmRSS")


def read_all(peer):
    whole = bytearray()
    while piece := peer.recv(1 << 16):
        whole += piece
    return bytes(whole)


def read_exactly(peer, size):
    whole = bytearray()
    while len(whole) < size:
        piece = peer.recv(size - len(whole))
        if not piece:
            break
        whole += piece
    return bytes(whole)


def reset(peer):
    """Ends a connection as a process that crashes does."""
    peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    peer.close()


class StreamTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="rib-streams-")
        self.addCleanup(self.folder.cleanup)

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, name, contents):
        pathlib.Path(self.path(name)).write_bytes(contents)
        return self.path(name)

    def read(self, name):
        return pathlib.Path(self.path(name)).read_bytes()

    def start(self, *arguments, **options):
        options.setdefault("stderr", subprocess.PIPE)
        process = subprocess.Popen([RIBTOOL, *arguments], stdout=subprocess.PIPE, **options)

        def end():
            if process.poll() is None:
                process.kill()
            process.communicate()

        self.addCleanup(end)
        return process

    def end(self, process, expected=0, ending=None):
        """Waits for the end, after a signal if one is given; the standard output and error."""
        if ending is not None:
            process.send_signal(ending)
        out, err = process.communicate(timeout=SECONDS)
        self.assertEqual(process.returncode, expected, err.decode())
        return out.decode(), err.decode()

    def run_tool(self, *arguments, expected=0, **options):
        done = subprocess.run([RIBTOOL, *arguments], capture_output=True, timeout=SECONDS, check=False, **options)
        self.assertEqual(done.returncode, expected, done.stderr.decode())
        return done.stdout.decode(), done.stderr.decode()

    def synth(self, name, updates, *arguments):
        self.run_tool("synth", "--updates", str(updates), "--format", "raw", "-o", self.path(name), *arguments)
        return self.read(name)

    def serve(self, *arguments, at="127.0.0.1:0", **options):
        """The process and the address that it says."""
        process = self.start("serve", *arguments, "--listen", at, **options)
        line = process.stdout.readline().decode()
        self.assertTrue(line.startswith("listening on "), line)
        return process, line.split()[2]

    def connect(self, address, receive_buffer=None):
        kind, _, rest = address.partition(":")
        peer = socket.socket(socket.AF_UNIX if kind == "unix" else socket.AF_INET)
        self.addCleanup(peer.close)
        peer.settimeout(SECONDS)
        if receive_buffer:
            peer.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        if kind == "unix":
            peer.connect(rest)
        else:
            host, _, port = rest.rpartition(":")
            peer.connect((host, int(port)))
        return peer

    def receive(self, address):
        """All that a client gets, which closes its side then."""
        with self.connect(address) as peer:
            return read_all(peer)

    def listen(self, kind=socket.AF_UNIX):
        """A listening socket and its address."""
        listener = socket.socket(kind)
        self.addCleanup(listener.close)
        listener.settimeout(SECONDS)
        if kind == socket.AF_UNIX:
            listener.bind(self.path("peer"))
            address = "unix:" + self.path("peer")
        else:
            listener.bind(("127.0.0.1", 0))
            address = "127.0.0.1:%d" % listener.getsockname()[1]
        listener.listen()
        return listener, address

    def accept(self, listener):
        peer, _ = listener.accept()
        self.addCleanup(peer.close)
        peer.settimeout(SECONDS)
        return peer


class Serve(StreamTest):
    def test_each_client_gets_the_capture_byte_for_byte(self):
        stream = self.synth("stream.raw", 2000)
        for at in ("127.0.0.1:0", "unix:" + self.path("socket")):
            server, address = self.serve(self.path("stream.raw"), "--clients", "3", at=at)
            for _ in range(3):
                self.assertEqual(self.receive(address), stream)
            _, err = self.end(server)
            self.assertEqual(err.count(f"2000 frames, {len(stream)} bytes"), 3, err)
            self.assertIn(f"3 clients, 3 had everything; 6000 frames, {3 * len(stream)} bytes sent", err)

    def test_a_table_is_served_as_import_writes_it(self):
        table = self.write("table.tsv", b"#prefix\tnext_hop\n10.0.0.0/8\t192.0.2.1\n10.1.0.0/16\t192.0.2.1\n")
        self.run_tool("import", table, "--format", "raw", "-o", self.path("table.raw"))
        server, address = self.serve(table, "--clients", "1", "--delimiter")
        self.assertEqual(self.receive(address), self.read("table.raw") + DELIMITER)
        self.end(server)

    def test_a_generated_stream_is_what_synth_writes(self):
        stream = self.synth("stream.raw", 50, "--profile", "nhid", "--seed", "7")
        server, address = self.serve("--profile", "nhid", "--updates", "50", "--seed", "7", "--clients", "1")
        self.assertEqual(self.receive(address), stream)
        self.end(server)

    def test_sources_follow_each_other(self):
        first = self.write("first.raw", PROTO * 2)
        second = self.write("second.raw", UNKNOWN)
        server, address = self.serve(first, second, first, "--from", "capture", "--clients", "1")
        self.assertEqual(self.receive(address), PROTO * 2 + UNKNOWN + PROTO * 2)
        self.end(server)

    def test_what_a_pipe_brings_is_passed_on_at_once(self):
        server = self.start("serve", "-", "--listen", "127.0.0.1:0", "--clients", "1", stdin=subprocess.PIPE)
        server.stdin.write(PROTO)
        server.stdin.flush()
        peer = self.connect(server.stdout.readline().decode().split()[2])
        self.assertEqual(read_exactly(peer, len(PROTO)), PROTO)
        server.stdin.write(DELIMITER)
        server.stdin.flush()
        self.assertEqual(read_exactly(peer, len(DELIMITER)), DELIMITER)
        server.stdin.close()
        server.stdin = None
        self.assertEqual(read_all(peer), b"")
        peer.close()
        self.end(server)

    def test_a_loop_begins_again_behind_the_last_frame(self):
        file = self.write("stream.raw", PROTO + DELIMITER)
        server, address = self.serve(file, "--loop")
        peer = self.connect(address)
        self.assertEqual(read_exactly(peer, 5 * len(PROTO + DELIMITER)), 5 * (PROTO + DELIMITER))
        self.end(server, ending=signal.SIGTERM)

    def test_a_connection_stays_open_where_that_is_wanted(self):
        server, address = self.serve(self.write("stream.raw", PROTO), "--keep-open", "--clients", "1")
        peer = self.connect(address)
        self.assertEqual(read_exactly(peer, len(PROTO)), PROTO)
        peer.settimeout(0.2)
        with self.assertRaises(TimeoutError):
            peer.recv(1)
        peer.close()
        self.end(server)

    def test_frames_are_not_sent_before_they_are_due(self):
        file = self.write("stream.raw", PROTO * 1000)
        server, address = self.serve(file, "--rate", "0.001")
        peer = self.connect(address)
        self.assertEqual(read_exactly(peer, len(PROTO)), PROTO)  # the first is due at once
        peer.settimeout(0.3)
        with self.assertRaises(TimeoutError):
            peer.recv(1)
        _, err = self.end(server, ending=signal.SIGINT)
        self.assertIn(f"client 1: 1 frames, {len(PROTO)} bytes", err)
        self.assertIn("was not at the end", err)

    def test_a_multiplier_follows_the_times_of_the_capture(self):
        self.run_tool("synth", "--updates", "300", "-o", self.path("stream.pcap"))  # 3 ms long
        server, address = self.serve(self.path("stream.pcap"), "--multiplier", "0.00001")
        peer = self.connect(address)
        self.assertNotEqual(read_exactly(peer, 8), b"")
        _, err = self.end(server, ending=signal.SIGINT)
        self.assertIn("client 1: 1 frames", err)
        server, address = self.serve(self.path("stream.pcap"), "--multiplier", "2", "--clients", "1")
        self.assertEqual(self.receive(address), self.synth("stream.raw", 300))
        self.end(server)

    def test_a_frame_that_is_due_after_all_times_is_not_sent(self):
        self.run_tool("synth", "--updates", "3", "-o", self.path("stream.pcap"))
        for pace in ("--rate", "--multiplier"):
            server, address = self.serve(self.path("stream.pcap"), pace, "1e-300")
            self.assertNotEqual(read_exactly(self.connect(address), 8), b"")
            _, err = self.end(server, ending=signal.SIGINT)
            self.assertIn("client 1: 1 frames", err)

    def test_a_pace_is_a_number_above_zero(self):
        file = self.write("stream.raw", PROTO)
        for text in ("0", "-1", "nan", "inf", "1e999", "fast"):
            _, err = self.run_tool("serve", file, "--rate", text, "--listen", "127.0.0.1:0", expected=2)
            self.assertIn(f'--rate: "{text}" is not a number above 0', err)

    def test_a_silent_source_does_not_keep_the_end_waiting(self):
        servers = [self.start("serve", "-", "--listen", "127.0.0.1:0", "--clients", "0", stdin=subprocess.PIPE)
                   for _ in range(10)]  # some of them end before they wait for the source
        for server in servers:
            server.stdin.write(PROTO)
            server.stdin.flush()
        for server in servers:
            self.assertEqual(server.wait(timeout=SECONDS), 0)

    def test_who_has_had_everything_is_counted_also_when_a_signal_comes(self):
        server, address = self.serve(self.write("stream.raw", PROTO), "--keep-open")
        peer = self.connect(address)
        self.assertEqual(read_exactly(peer, len(PROTO)), PROTO)
        _, err = self.end(server, ending=signal.SIGTERM)
        self.assertIn("1 client, 1 had everything", err)

    def test_a_stuck_client_costs_nothing_and_holds_up_nobody(self):
        stream = PROTO * 400000  # 6 MB, far more than sockets hold
        server, address = self.serve(self.write("stream.raw", stream), at="unix:" + self.path("socket"))
        self.assertEqual(self.receive(address), stream)
        before = resident(server)
        stuck = [self.connect(address) for _ in range(20)]
        for _ in range(3):
            self.assertEqual(self.receive(address), stream)
        self.assertLess(resident(server) - before, 4096)  # KiB; what they have not taken is 120 MB
        for peer in stuck:
            peer.close()
        _, err = self.end(server, ending=signal.SIGTERM)
        self.assertIn("4 had everything", err)

    def test_a_client_that_takes_nothing_for_too_long_is_dropped(self):
        server, address = self.serve(self.write("stream.raw", PROTO * 400000), "--stall-timeout", "1")
        self.connect(address, receive_buffer=4096)
        self.assertIn("dropped: took nothing for 1 s", server.stderr.readline().decode())
        self.end(server, ending=signal.SIGTERM)

    def test_a_client_that_takes_little_by_little_is_not_dropped(self):
        stream = PROTO * 400000  # 6 MB: in the time below the socket gets no room again
        server, address = self.serve(self.write("stream.raw", stream), "--stall-timeout", "2", "--clients", "1")
        peer = self.connect(address, receive_buffer=16384)
        end = time.monotonic() + 3.5
        while time.monotonic() < end:
            self.assertEqual(len(read_exactly(peer, 3000)), 3000)
            time.sleep(0.05)
        self.assertIsNone(server.poll())
        peer.close()
        _, err = self.end(server, ending=signal.SIGTERM)
        self.assertNotIn("dropped", err)

    def test_a_slow_client_gets_everything(self):
        stream = self.synth("stream.raw", 300)
        server, address = self.serve(self.path("stream.raw"), "--clients", "1")
        peer = self.connect(address, receive_buffer=2048)
        whole = bytearray()
        while piece := peer.recv(97):
            whole += piece
        self.assertEqual(bytes(whole), stream)
        peer.close()
        self.end(server)

    def test_a_peer_that_closed_its_side_gets_everything(self):
        stream = self.synth("stream.raw", 2000)
        server, address = self.serve(self.path("stream.raw"), "--clients", "1")
        peer = self.connect(address)
        peer.sendall(b"nobody reads this")
        peer.shutdown(socket.SHUT_WR)
        self.assertEqual(read_all(peer), stream)
        self.end(server)

    def test_clients_that_come_and_go_leave_nothing(self):
        stream = PROTO * 100000
        server, address = self.serve(self.write("stream.raw", stream), stderr=subprocess.DEVNULL)  # a pipe would fill
        self.assertEqual(self.receive(address), stream)
        at_rest, memory = descriptors(server), resident(server)
        for round_ in range(1000 if EXHAUSTIVE else 50):
            peer = self.connect(address)
            peer.recv(1 + round_)
            if round_ % 2:
                reset(peer)
            peer.close()
        self.assertEqual(self.receive(address), stream)
        deadline = time.monotonic() + SECONDS
        while descriptors(server) > at_rest:  # the last ones may not be noticed yet
            self.assertLess(time.monotonic(), deadline)
        self.assertLess(resident(server) - memory, 4096)
        server.send_signal(signal.SIGTERM)
        self.assertEqual(server.wait(SECONDS), 0)

    def test_a_damaged_source_is_served_up_to_there(self):
        server, address = self.serve(self.write("cut.raw", PROTO + PROTO[:-1]))
        self.assertEqual(self.receive(address), PROTO)
        _, err = self.end(server, ending=signal.SIGTERM, expected=4)
        self.assertIn("cut.raw: frame 2 at byte 15: truncated: its header promises 7 bytes of payload, 6 are left", err)

    def test_a_socket_that_nobody_listens_at_is_replaced_and_no_other_file(self):
        path = self.path("socket")
        left = socket.socket(socket.AF_UNIX)
        left.bind(path)
        left.close()
        file = self.write("stream.raw", PROTO)
        server, address = self.serve(file, at=path)
        self.assertEqual(address, "unix:" + path)
        _, err = self.run_tool("serve", file, "--listen", path, expected=3)
        self.assertIn("another process listens there", err)
        self.end(server, ending=signal.SIGTERM)
        self.assertFalse(os.path.exists(path))
        _, err = self.run_tool("serve", file, "--listen", file, expected=3)
        self.assertIn("there is a file that is no socket", err)
        self.assertEqual(self.read("stream.raw"), PROTO)

    def test_addresses_that_are_not_loopback_are_refused(self):
        file = self.write("stream.raw", PROTO)
        _, err = self.run_tool("serve", file, "--listen", "0.0.0.0:0", expected=2)
        self.assertIn("0.0.0.0 is not this machine's loopback; --allow-remote takes it", err)
        server, _ = self.serve(file, "--allow-remote", at="0.0.0.0:0")
        self.end(server, ending=signal.SIGTERM)
        _, err = self.run_tool("replay", "--connect", "192.0.2.1:7", expected=2)
        self.assertIn("192.0.2.1 is not this machine's loopback", err)

    def test_wrong_endpoints_are_named(self):
        for text, problem in (("::1:80", "an IPv6 address stands in brackets"), ("host", "expected unix:PATH"),
                              ("host:99999", "is not a port from 0 to 65535"), ("unix:", "expected the path"),
                              ("/" + 108 * "x", "has at most 107 bytes")):
            _, err = self.run_tool("replay", "--connect", text, expected=2)
            self.assertIn(problem, err)

    def test_raw_frames_have_no_times_to_multiply(self):
        _, err = self.run_tool("serve", self.write("stream.raw", PROTO), "--multiplier", "1", "--listen", "127.0.0.1:0",
                               expected=2)
        self.assertIn("raw frames have no times", err)


class Replay(StreamTest):
    def test_the_lines_do_not_depend_on_how_the_stream_is_cut(self):
        stream = self.synth("stream.raw", 100)
        expected, _ = self.run_tool("replay", self.path("stream.raw"))
        listener, address = self.listen()
        for size in (1, 7, 4096, 1000000):
            replay = self.start("replay", "--connect", address)

            def send(peer=self.accept(listener), step=size):
                with peer:
                    for at in range(0, len(stream), step):
                        peer.sendall(stream[at:at + step])

            sender = threading.Thread(target=send)
            sender.start()
            out, err = self.end(replay)
            sender.join()
            self.assertEqual(out, expected)
            self.assertIn(": live, 100 updates", err)

    def test_a_line_comes_before_the_next_update_does(self):
        listener, address = self.listen(socket.AF_INET)
        replay = self.start("replay", "--connect", address)
        peer = self.accept(listener)
        for _ in range(2):
            peer.sendall(PROTO + DELIMITER)
            self.assertIn(b'"proto_name":"bgp"', replay.stdout.readline())
        peer.close()
        _, err = self.end(replay)
        self.assertIn("2 updates, 2 delimiters skipped", err)

    def test_what_a_pipe_brings_is_shown_before_more_comes(self):
        for command in (["show", "-"], ["explain", "-"], ["annotate", "-"],
                        ["filter", "-", "--format", "raw", "-o", "-"]):
            with self.subTest(command=command[0]):
                process = self.start(*command, stdin=subprocess.PIPE)
                process.stdin.write(PROTO)
                process.stdin.flush()
                ready, _, _ = select.select([process.stdout], [], [], SECONDS)
                self.assertTrue(ready, "nothing is shown while the pipe is open")
                self.end(process)

    def test_a_stream_that_ends_in_a_frame_is_damaged(self):
        listener, address = self.listen()
        replay = self.start("replay", "--connect", address)
        with self.accept(listener) as peer:
            peer.sendall(PROTO + PROTO[:-1])
        out, err = self.end(replay, expected=4)
        self.assertEqual(out.count("\n"), 1)
        self.assertIn("frame 2 at byte 15: truncated: its header promises 7 bytes of payload, 6 are left", err)

    def test_a_reset_is_told_and_what_came_before_stands(self):
        listener, address = self.listen(socket.AF_INET)
        replay = self.start("replay", "--connect", address)
        peer = self.accept(listener)
        peer.sendall(PROTO)
        out = replay.stdout.readline()
        reset(peer)
        rest, err = self.end(replay, expected=3)
        self.assertEqual((out.count(b"\n"), rest), (1, ""))
        self.assertIn("frame 2 at byte 15: the connection is lost: Connection reset by peer", err)

    def test_an_unknown_code_ends_the_stream_unless_it_is_resynchronised(self):
        listener, address = self.listen()
        stream = PROTO + UNKNOWN + PROTO * 2
        replay = self.start("replay", "--connect", address)
        with self.accept(listener) as peer:
            peer.sendall(stream)
            out, err = self.end(replay, expected=4)
        self.assertEqual(out.count("\n"), 1)
        self.assertIn("frame 2 at byte 15: unknown type code 48", err)
        replay = self.start("replay", "--connect", address, "--resync")
        with self.accept(listener) as peer:
            peer.sendall(stream)
        _, err = replay.communicate(timeout=SECONDS)
        self.assertIn(b"10 bytes skipped at byte 15: unknown type code 48", err)
        self.assertIn(b"live, 3 updates", err)

    def test_nobody_there_is_a_failure(self):
        _, err = self.run_tool("replay", "--connect", self.path("nobody"), expected=3)
        self.assertIn("cannot connect: No such file or directory", err)


class Record(StreamTest):
    def test_a_stream_is_recorded_byte_for_byte(self):
        stream = self.synth("stream.raw", 500)
        _, address = self.serve(self.path("stream.raw"))
        self.run_tool("record", address, "--format", "raw", "-o", self.path("copy.raw"))
        self.assertEqual(self.read("copy.raw"), stream)
        with open(self.path("stream.raw"), "rb") as pipe:
            self.run_tool("record", "-", "--format", "raw", "-o", self.path("pipe.raw"), stdin=pipe)
        self.assertEqual(self.read("pipe.raw"), stream)
        _, err = self.run_tool("record", address, "--limit", "3", "-o", self.path("three.pcap"))
        self.assertIn(": 3 frames, ", err)

    def test_files_rotate_by_size_and_overwrite_none(self):
        file = self.write("stream.raw", PROTO * 100)
        _, address = self.serve(file)
        for _ in range(2):
            self.run_tool("record", address, "--format", "raw", "--rotate", "1K", "-o", self.path("part.raw"))
        names = sorted(name for name in os.listdir(self.folder.name) if name.startswith("part."))
        self.assertEqual(names, [f"part.{number:06}.raw" for number in (1, 2, 3, 4)])
        self.assertEqual([len(self.read(name)) for name in names], [68 * 15, 32 * 15] * 2)  # 69 would be 1035 bytes
        for text in ("1", "1X", "-5", "99999999999G"):
            _, err = self.run_tool("record", address, "--rotate", text, "-o", self.path("x"), expected=2)
            self.assertIn("is not a size from 1024 on", err)

    def test_only_files_rotate(self):
        for name in (self.folder.name, "/dev/null"):
            _, err = self.run_tool("record", "-", "--rotate", "1K", "-o", name, expected=3, input=PROTO)
            self.assertIn(f"{name}: cannot rotate what is no file", err)

    def test_a_signal_ends_a_recording_and_keeps_it(self):
        listener, address = self.listen()
        for number in (signal.SIGINT, signal.SIGTERM):
            record = self.start("record", address, "--format", "raw", "-o", self.path("copy.raw"))
            peer = self.accept(listener)
            peer.sendall(PROTO + PROTO[:3])
            while resident(record) and peer_has_unread(peer):
                pass
            _, err = self.end(record, ending=number)
            self.assertIn("1 frames, 15 bytes recorded in 1 file", err)
            self.assertEqual(self.read("copy.raw"), PROTO)

    def test_a_recorder_connects_again(self):
        listener, address = self.listen()
        record = self.start("record", address, "--reconnect", "--format", "raw", "--limit", "30", "-o",
                            self.path("copy.raw"))
        for _ in range(30):
            with self.accept(listener) as peer:
                peer.sendall(PROTO)
        _, err = self.end(record)
        self.assertEqual(self.read("copy.raw"), 30 * PROTO)
        self.assertEqual(err.count("connecting again"), 29)

    def test_rubbish_is_passed_over_and_counted_where_that_is_wanted(self):
        file = self.write("stream.raw", PROTO + bytes(range(200, 240)) + PROTO * 3)
        with open(file, "rb") as pipe:
            _, err = self.run_tool("record", "-", "--resync", "--format", "raw", "-o", self.path("copy.raw"), stdin=pipe,
                                   expected=4)
        self.assertEqual(self.read("copy.raw"), PROTO * 4)
        self.assertIn("40 bytes skipped at byte 15: unknown type code", err)

    def test_a_capture_is_not_recorded_again(self):
        self.run_tool("synth", "--updates", "100", "-o", self.path("stream.pcap"))
        with open(self.path("stream.pcap"), "rb") as pipe:
            _, err = self.run_tool("record", "-", "-o", self.path("copy.pcap"), stdin=pipe, expected=4)
        self.assertIn("a pcap capture, which is recorded already", err)
        self.assertFalse(os.path.exists(self.path("copy.pcap")))


def peer_has_unread(peer):
    """Whether the other side has not taken all that was sent to it."""
    import fcntl  # pylint: disable=import-outside-toplevel
    return struct.unpack("i", fcntl.ioctl(peer, 0x5411, bytes(4)))[0] != 0  # SIOCOUTQ


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--ribtool", required=True)
    chosen, rest = parser.parse_known_args()
    RIBTOOL = chosen.ribtool
    unittest.main(argv=[sys.argv[0], *rest])
