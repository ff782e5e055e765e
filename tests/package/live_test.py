#!/usr/bin/env python3
"""The server and the client of examples/live, as processes that talk over UNIX sockets.

    live_test.py --programs FOLDER --ribtool PROGRAM [--wrapper "valgrind ..."] [unittest arguments]

Whoever checks memory (sanitizers, valgrind) says what it found by the status of the programs, which every test asks for.
With RIB_EXHAUSTIVE=1 the numbers are those of a long run: 1000 reconnects, millions of updates.
"""

import argparse
import collections
import os
import pathlib
import shlex
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

from live_support import (DELIMITER, GRID, NHID, OLD_OPAQUE, OLD_PROTO, OLD_ROUTE, OPAQUE, PATIENCE, PROTO, ROUTE,
                          Program, frame, line_of, nested, number, route, until)

IS_LONG = os.environ.get("RIB_EXHAUSTIVE") == "1"
chosen = None


class LiveTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="live-")
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        self.socket_path = self.folder / "socket"

    def start(self, name, *arguments, **others):
        command = shlex.split(chosen.wrapper) + [chosen.programs / name, *arguments]
        program = Program(name, command, **others)
        self.addCleanup(program.kill)
        return program

    def server(self, *arguments, feed=None):
        """A server with the bytes `feed` in its table, or fed through its stdin when there are none."""
        if feed is None:
            server = self.start("live_server", *arguments, "--dump", self.folder / "server.txt", self.socket_path,
                                stdin=subprocess.PIPE)
            server.expect("listening")
            return server
        (self.folder / "feed.raw").write_bytes(feed)
        with open(self.folder / "feed.raw", "rb") as stdin:
            server = self.start("live_server", *arguments, "--dump", self.folder / "server.txt", self.socket_path,
                                stdin=stdin)
        server.expect("the input has ended")
        return server

    def client(self, *arguments, name="client"):
        client = self.start("live_client", "--dump", self.folder / f"{name}.txt", *arguments, self.socket_path)
        client.expect("connected to|next try")  # signals have their meaning from then on
        return client

    def listener(self):
        """In the place of a server."""
        listener = socket.socket(socket.AF_UNIX)
        self.addCleanup(listener.close)
        listener.bind(str(self.socket_path))
        listener.listen()
        listener.settimeout(PATIENCE)
        return listener

    def accept(self, listener):
        connection, _ = listener.accept()
        self.addCleanup(connection.close)
        connection.settimeout(PATIENCE)
        return connection

    def connect(self):
        """In the place of a client."""
        connection = socket.socket(socket.AF_UNIX)
        self.addCleanup(connection.close)
        connection.settimeout(PATIENCE)
        connection.connect(str(self.socket_path))
        return connection

    def table(self, name="client"):
        return (self.folder / f"{name}.txt").read_text(encoding="utf-8").splitlines()

    def current_table(self, program, name):
        """What the running program has, which it writes on demand."""
        path = self.folder / f"{name}.txt"
        path.unlink(missing_ok=True)
        program.process.send_signal(signal.SIGUSR1)
        until(path.exists, f"{name} writes its table")
        return self.table(name)

    def feed(self, server, data):
        server.process.stdin.write(data)
        server.process.stdin.flush()


# ---- The tests ----

class Tables(LiveTest):
    def mixed(self, updates):
        return subprocess.run([chosen.ribtool, "synth", "--profile", "mixed", "--updates", str(updates), "--format",
                               "raw", "-o", "-"], stdout=subprocess.PIPE, check=True).stdout

    def test_the_table_does_not_depend_on_where_reads_end(self):
        server = self.server(feed=self.mixed(2000 if IS_LONG else 300))
        names = []
        for chunk in (1, 7, 4096, 1_000_000):
            names.append(f"chunks_of_{chunk}")
            self.client("--once", "--chunk", chunk, name=names[-1]).finish()
        server.end()
        expected = self.table("server")
        kinds = collections.Counter(line.split()[0] for line in expected)
        self.assertEqual(set(kinds), {"route", "proto", "opaque", "grid", "nhid"})
        for name in names:
            self.assertEqual(self.table(name), expected, name)

    def test_the_table_does_not_depend_on_where_writes_end(self):
        feed = self.mixed(2000 if IS_LONG else 300)
        tables = []
        for chunk in (1, 7, 4096, 1_000_000):
            server = self.server("--chunk", chunk, feed=feed)
            self.client("--once").finish()
            server.end()
            tables.append(self.table())
            self.assertEqual(tables[-1], self.table("server"))
        self.assertEqual([table for table in tables if table != tables[0]], [])

    def test_a_client_follows_changes_and_withdrawals(self):
        server = self.server()
        client = self.client()
        self.feed(server, b"".join(route(address, 1) for address in range(100)))
        until(lambda: len(self.current_table(client, "client")) == 100, "100 routes")
        self.feed(server, route(7, 2) + route(8))
        expected = sorted([line_of(address, 1) for address in range(100) if address not in (7, 8)] + [line_of(7, 2)])
        until(lambda: self.current_table(client, "client") == expected, "one changed, one withdrawn")
        self.assertEqual(self.current_table(server, "server"), expected)
        client.end()
        server.end()

    def test_every_kind_has_its_own_key(self):
        nhid = number(1, 5) + nested(2, nested(2, number(1, 1) + number(2, 0xC0000201))) + number(3, 900)
        updates = [frame(PROTO, number(1, 7) + number(2, 2)), frame(PROTO, number(1, 7) + number(2, 3)),
                   frame(OPAQUE, number(2, 100) + number(3, 3)), frame(OPAQUE, number(2, 100) + number(3, 4)),
                   frame(NHID, nhid), frame(OLD_PROTO, bytes([0, 7, 0, 2, 0, 0, 0, 9]) + bytes(84)),
                   frame(OLD_OPAQUE, bytes([0, 1, 0, 0, 0, 0, 0, 100, 0, 1, 0, 3]) + bytes(12) + b"\xfe")]
        self.server(feed=b"".join(updates)).end()
        self.assertEqual([line.split(" ", 2)[:2] for line in self.table("server")],
                         [["nhid", "900"], ["opaque", "100.3"], ["opaque", "100.4"], ["proto", "7.2"],
                          ["proto", "7.3"]])
        self.assertIn("proto 7.2 value 9 name '' ''", self.table("server"))
        self.assertIn("opaque 100.3 type 1 value 0 blocks fe.", self.table("server"))


class Breaks(LiveTest):
    def test_after_a_restart_of_the_server_what_it_no_longer_has_is_swept(self):
        server = self.server(feed=route(1, 1) + route(2, 1) + route(3, 1))
        client = self.client()
        client.expect("the table is whole: 3 entries, 0 old ones swept")
        server.kill()
        client.expect("closed the connection|Connection refused")
        self.assertEqual(self.current_table(client, "client"), [line_of(address, 1) for address in (1, 2, 3)])
        server = self.server(feed=route(2, 2) + route(4, 1))
        client.expect("the table is whole: 2 entries, 2 old ones swept")
        client.end()
        server.end()
        self.assertEqual(self.table(), [line_of(2, 2), line_of(4, 1)])

    def test_what_a_broken_connection_left_of_a_frame_is_forgotten(self):
        listener = self.listener()
        client = self.client()
        stream = route(1, 1) + route(2, 1) + DELIMITER
        for cut in range(len(stream)):
            connection = self.accept(listener)
            connection.sendall(stream[:cut])
            connection.close()
        connection = self.accept(listener)
        connection.sendall(stream)
        client.expect("the table is whole: 2 entries, 0 old ones swept")
        client.end()
        self.assertEqual(self.table(), [line_of(1, 1), line_of(2, 1)])

    def test_reconnecting_leaks_nothing(self):
        listener = self.listener()
        client = self.client()
        stream = b"".join(route(address, 1) for address in range(1000)) + DELIMITER
        memory = []
        for turn in range(1000 if IS_LONG else 40):
            connection = self.accept(listener)
            connection.sendall(stream)
            client.expect("the table is whole: 1000 entries", times=turn + 1)
            memory.append(client.status())
            if turn % 2 == 0:
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            connection.close()
        descriptors = {count for _, count in memory}
        self.assertEqual(len(descriptors), 1, "descriptors")
        self.assertLess(memory[-1][0], memory[4][0] + 4096, "kB of memory")
        client.end()

    def test_clients_that_come_and_go_leave_nothing_in_the_server(self):
        server = self.server(feed=b"".join(route(address, 1) for address in range(1000)))
        memory = []
        for turn in range(1000 if IS_LONG else 40):
            connection = self.connect()
            received = b""
            while turn % 2 == 0 and not received.endswith(DELIMITER):
                received += connection.recv(65536)
            connection.close()
            if turn % 2 == 0:
                memory.append(server.status())
        until(lambda: server.status()[1] <= memory[0][1], "as many descriptors as at first")
        self.assertLess(memory[-1][0], memory[4][0] + 4096, "kB of memory")
        self.assertIn(" clients, 0 let go", server.end())

    def test_a_client_that_has_shut_down_its_sending_half_is_gone(self):
        server = self.server()
        connection = self.connect()
        connection.shutdown(socket.SHUT_WR)
        self.assertEqual(connection.recv(100, socket.MSG_WAITALL)[8:], b"")
        server.end()

    def test_a_client_that_sends_anything_is_gone(self):
        server = self.server()
        connection = self.connect()
        connection.sendall(b"x" * 1000)
        with self.assertRaises((ConnectionResetError, EOFError)):
            if connection.recv(100, socket.MSG_WAITALL)[8:] == b"":
                raise EOFError
        server.end()

    def test_a_silent_server_hangs_no_client(self):
        listener = self.listener()
        client = self.client()
        self.accept(listener)
        self.assertEqual(self.current_table(client, "client"), [])
        client.end()

    def test_a_client_follows_ribtool_serve_whose_delimiter_ends_the_table(self):
        (self.folder / "served.raw").write_bytes(route(1, 10) + route(2, 20))
        served = subprocess.Popen([chosen.ribtool, "serve", self.folder / "served.raw", "--listen", self.socket_path,
                                   "--delimiter", "--keep-open"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(served.stdout.close)
        self.addCleanup(served.wait)
        self.addCleanup(served.kill)
        self.assertIn(b"listening on", served.stdout.readline())
        self.client("--once").finish()
        self.assertEqual(self.table(), [line_of(1, 10), line_of(2, 20)])

    def test_help_names_the_program_and_its_options(self):
        for name, options in [("live_client", ["--chunk", "--memory", "--dump", "--once"]),
                              ("live_server", ["--chunk", "--dump"])]:
            with self.subTest(program=name):
                text = subprocess.run([chosen.programs / name, "--help"], stdout=subprocess.PIPE, check=True).stdout
                self.assertEqual(text.decode().split()[:2], ["Usage:", name])
                for option in options:
                    self.assertIn(f"  {option}", text.decode())

    def test_a_second_server_on_the_same_socket_is_refused(self):
        server = self.server()
        second = self.start("live_server", self.socket_path)
        self.assertEqual(second.process.wait(PATIENCE), 1)
        server.end()


class SlowClients(LiveTest):
    def test_a_stuck_client_costs_no_memory_and_gets_the_last_state(self):
        server = self.server()
        stuck = self.connect()
        follower = self.client()
        self.feed(server, b"".join(route(address, 1) for address in range(1000)))
        until(lambda: len(self.current_table(follower, "client")) == 1000, "1000 routes")
        before = server.status()[0]
        rounds = 1000 if IS_LONG else 50
        for turn in range(rounds):
            self.feed(server, b"".join(route(address, turn * 1000 + address) for address in range(1000)))
        expected = sorted(line_of(address, (rounds - 1) * 1000 + address) for address in range(1000))
        until(lambda: self.current_table(follower, "client") == expected, "the last of the changes")
        self.assertLess(server.status()[0], before + 8192, "kB of memory")

        received = b""
        while not received.endswith(route(999, (rounds - 1) * 1000 + 999)):
            received += stuck.recv(1 << 20)
        self.assertLess(len(received), 3_000_000, "bytes of old states")
        follower.end()
        server.end()

    def test_a_stuck_client_that_holds_up_withdrawn_routes_is_let_go(self):
        server = self.server()
        stuck = self.connect()
        follower = self.client()
        total = 200_000 if IS_LONG else 40_000
        for first in range(0, total, 1000):
            addresses = range(first, first + 1000)
            self.feed(server, b"".join(route(address, 1) for address in addresses) +
                      b"".join(route(address) for address in addresses))
        server.expect("a client is too slow and is let go")
        self.feed(server, route(1, 1))
        until(lambda: self.current_table(server, "server") == [line_of(1, 1)], "one route")
        until(lambda: self.current_table(follower, "client") == [line_of(1, 1)], "one route")
        while stuck.recv(1 << 20) != b"":
            pass
        follower.end()
        server.end()


# ---- What peers must not do ----

KEY = number(1, 1) + number(2, 0) + nested(3, number(1, 2) + number(2, 24)) + number(4, 0)  # but for its type, field 5
OLD_OPAQUE_HEAD = bytes([0, 1, 0, 0, 0, 0, 0, 1])

# What the guide says of what stops the process, and of what the library does not check. The reason is in the log.
HOSTILE = [
    (frame(GRID), "empty_payload|stopped"),
    (frame(GRID, nested(1, number(1, 1)) + nested(1, number(1, 2)) + nested(2, KEY + number(5, 3)) + number(4, 1)),
     "stopped"),  # two IDs, one key
    (frame(GRID, nested(1, number(1, 1)) + nested(2, KEY + number(5, 1)) + number(4, 1)), "stopped"),  # no second prefix
    (frame(GRID, b"\xff" * 40), "dropped"),
    (frame(PROTO, number(2, 7)), "stopped"),  # no proto_id
    (frame(PROTO), "stopped"),
    (frame(OLD_PROTO), "no whole record"),
    (frame(OLD_PROTO, bytes(91)), "no whole record"),
    (frame(OLD_PROTO, b"\x01" * 92), "no whole record"),  # names without their NULs
    (frame(OLD_OPAQUE, bytes(23)), "longer than the payload"),
    # first_len 65535 and second_len 2^32 - 65535: their sum wraps to 0
    (frame(OLD_OPAQUE, OLD_OPAQUE_HEAD + b"\xff\xff\0\1" + bytes(4) + b"\xff\xff\0\1" + bytes(4)),
     "longer than the payload"),
    (frame(OLD_OPAQUE, OLD_OPAQUE_HEAD + b"\0\1\0\1" + bytes(4) + bytes(4) + bytes(4)), "longer than the payload"),
    (frame(OLD_ROUTE, bytes(52)), "no_callback"),
    (frame(ROUTE, b"\xff"), "cut_off"),
    (frame(ROUTE, nested(1, nested(1, number(1, 7)))), "bad_family"),
    (frame(OPAQUE, b"\x0a"), "dropped"),
    (frame(NHID), "missing_field"),
]


class HostilePeers(LiveTest):
    def outlives(self, stream, reasons):
        """A client and a server that get the stream live on and take the route behind it. Returns what they log."""
        stream += route(1, 1)
        listener = self.listener()
        client = self.client("--once")
        connection = self.accept(listener)
        connection.sendall(stream + DELIMITER)
        logs = [client.finish()]
        listener.close()
        self.socket_path.unlink()
        self.assertIn(line_of(1, 1), self.table())
        server = self.server(feed=stream)
        logs.append(server.end())
        self.assertIn(line_of(1, 1), self.table("server"))
        for log in logs:
            for reason in reasons:
                self.assertRegex(log, reason)

    def test_updates_that_would_stop_the_process_are_dropped_with_their_reason(self):
        for half in (HOSTILE[:9], HOSTILE[9:]):  # a second has ten lines
            with self.subTest(half[0]):
                self.outlives(b"".join(hostile for hostile, _ in half), [reason for _, reason in half])
            self.socket_path.unlink(missing_ok=True)

    def test_every_code_is_safe_with_any_payload(self):
        payloads = [b"", b"\0", bytes(23), bytes(91), b"\xff" * 91, b"\xff" * 92, b"\x08\x96\x01", b"\x0a\x00\x12\x00\x20\x01"]
        codes = list(range(1, 300)) + [0x0300, 0x2500, 0x2E00, 0xFFFF]
        self.outlives(b"".join(frame(code, payload) for code in codes for payload in payloads), [])

    def test_a_client_has_a_limit_of_memory(self):
        block = bytes([0x2A, 0xE0, 0xD4, 0x03]) + bytes(60000)  # 5 first_block, 60000 bytes
        stream = b"".join(frame(OPAQUE, number(2, index) + block) for index in range(30))
        listener = self.listener()
        client = self.client("--once", "--memory", 1)
        self.accept(listener).sendall(stream + DELIMITER)
        self.assertRegex(client.finish(), "there is no room for it in the table")
        self.assertEqual(len(self.table()), 17)  # 1 MiB


def main():
    global chosen
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--programs", required=True, type=pathlib.Path)
    parser.add_argument("--ribtool", required=True)
    parser.add_argument("--wrapper", default="")
    chosen, others = parser.parse_known_args()
    # What was freed is soon used again: a long quarantine would look like growing memory.
    os.environ["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"
    os.environ.setdefault("UBSAN_OPTIONS", "halt_on_error=1:print_stacktrace=1")
    unittest.main(argv=[sys.argv[0], *others])


if __name__ == "__main__":
    main()
