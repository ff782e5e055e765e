#!/usr/bin/env python3
"""ribtool stats: what it counts is what explain says, its OpenMetrics is read by others, and it watches a live stream.

    stats_test.py --ribtool PROGRAM
"""

import argparse
import collections
import contextlib
import json
import os
import pathlib
import pty
import random
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest

from prometheus_client.openmetrics.parser import text_string_to_metric_families

RIBTOOL = ""
SECONDS = 60  # far more than anything here takes
CUT_TAG = b"\x80"  # a tag that goes on behind the end
ROUTE, OLD_ROUTE, OLD_PROTO, GRID, PROTO, NHID, UNKNOWN = 51, 3, 38, 46, 47, 49, 48

ROUTES = (b"#prefix\tnext_hop\n10.0.0.0/8\t192.0.2.1\n10.0.0.0/8\t192.0.2.2\n10.1.0.0/16\t192.0.2.1\n"
          b"2001:db8::/32\t2001:db8::1\n")


def frame(code, payload):
    return struct.pack(">IHH", 0, code, len(payload)) + payload


PROTO_FRAME = frame(PROTO, b"\x08\x07" b"\x22\x03bgp")  # proto_id = 7, proto_name = "bgp"
NAMELESS_FRAME = frame(PROTO, b"\x22\x03bgp")           # without proto_id, which stops the process
NHID_FRAME = frame(NHID, b"\x10\x07" b"\x18\x00")       # nhid = 7 and nhid_update_value_1 = 0
DELIMITER = frame(0, b"")


def frames_in(stream):
    at = 0
    while at < len(stream):
        _, code, length = struct.unpack_from(">IHH", stream, at)
        yield code, stream[at + 8:at + 8 + length]
        at += 8 + length


class StatsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ribtool-stats-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        # What an assertion stops in the middle keeps its memory.
        self.environment = {**os.environ, "ASAN_OPTIONS": "detect_leaks=0", "TERM": "xterm"}

    def run_tool(self, *arguments, stdin=b"", expected=0):
        done = subprocess.run([RIBTOOL, *map(str, arguments)], cwd=self.folder, env=self.environment, input=stdin,
                              capture_output=True, timeout=SECONDS, check=False)
        self.assertEqual(done.returncode, expected, done.stderr)
        return done.stdout

    def stats(self, stream, expected=0):
        return json.loads(self.run_tool("stats", "-", "--json", stdin=stream, expected=expected))

    def row(self, stream, expected=0):
        """The only one."""
        rows = self.stats(stream, expected)["rows"]
        self.assertEqual(len(rows), 1)
        return rows[0]


class Counts(StatsTest):
    def damaged_stream(self):
        """Updates of all types, half of them with a byte changed or cut off, some grid lists with a tail."""
        numbers = random.Random(1)
        stream = b""
        for code, payload in frames_in(self.run_tool("synth", "--updates", 3000, "--format", "raw", "-o", "-")):
            if code == OLD_ROUTE:
                continue  # ribtool converts its own layout; explain does not know it
            chance = numbers.random()
            if code == GRID and chance < 0.4:
                payload += CUT_TAG
            elif payload and chance < 0.4:
                at = numbers.randrange(len(payload))
                payload = payload[:at] + bytes([numbers.randrange(256)]) + payload[at + 1:]
            elif payload and chance < 0.5:
                payload = payload[:numbers.randrange(len(payload))]
            stream += frame(code, payload)
        return stream + frame(UNKNOWN, b"x") * 3

    def test_they_are_what_explain_says(self):
        stream = self.damaged_stream()
        expected = collections.Counter()
        size = collections.Counter()
        lines = self.run_tool("explain", "-", "--json", stdin=stream, expected=1).splitlines()
        for line, (code, payload) in zip(lines, frames_in(stream), strict=True):
            explained = json.loads(line)
            key = (code, explained["outcome"], explained.get("reason") or "none")
            expected[key] += 1
            size[key] += 8 + len(payload)
        found = self.stats(stream, expected=1)
        keys = {(row["type"], row["outcome"], row["reason"]): row for row in found["rows"]}
        self.assertEqual({key: row["updates"] for key, row in keys.items()}, expected)
        self.assertEqual({key: row["bytes"] for key, row in keys.items()}, size)
        self.assertEqual((found["updates"], found["bytes"]), (sum(expected.values()), len(stream)))
        # The stream has what is to be told apart.
        self.assertIn((GRID, "delivered", "lenient_end"), expected)
        self.assertIn((GRID, "delivered", "none"), expected)
        self.assertEqual({outcome for _, outcome, _ in expected}, {"delivered", "dropped", "stopped", "refused"})

    def test_memory_is_what_the_library_asks_for_and_the_client_gets(self):
        row = self.row(PROTO_FRAME * 5)
        # The name, with its end, once an update; a record of four numbers and two names of 41 and 43 characters.
        self.assertEqual((row["allocations"], row["allocated_bytes"], row["record_bytes"]), (5, 5 * 4, 5 * 92))
        row = self.row(NHID_FRAME * 5)
        self.assertEqual((row["allocations"], row["allocated_bytes"]), (0, 0))

    def test_times_are_of_every_update_that_was_handed_over(self):
        times = self.row(PROTO_FRAME * 100)["ns"]
        self.assertGreater(times["p50"], 0)
        self.assertLessEqual(times["p50"], times["p99"])
        self.assertLessEqual(times["p99"], times["max"])
        self.assertGreaterEqual(times["total"], times["max"])
        refused = self.row(frame(UNKNOWN, b""), expected=1)
        self.assertEqual(refused["outcome"], "refused")
        self.assertEqual(refused["ns"], {"total": 0, "p50": 0, "p99": 0, "max": 0})

    def test_routes_are_counted_by_length_and_by_paths(self):
        stream = self.run_tool("import", "-", "--format", "raw", "-o", "-", stdin=ROUTES)
        found = self.stats(DELIMITER + stream + DELIMITER)
        self.assertEqual(found["prefix_lengths"], {"ipv4": {"8": 1, "16": 1}, "ipv6": {"32": 1}, "without": 0})
        self.assertEqual(found["path_counts"], {"1": 2, "2": 1})
        self.assertEqual(found["delimiters"], 2)

    def test_each_column_of_the_table_is_one_below_the_other(self):
        stream = PROTO_FRAME + frame(OLD_PROTO, bytes(100)) + frame(UNKNOWN, b"") + frame(NHID, b"\x08")
        lines = self.run_tool("stats", "-", stdin=stream, expected=1).decode().splitlines()
        header = lines[1]
        for line, row in zip(lines[2:6], (("protocol, older form", "delivered", ""), ("protocol", "delivered", ""),
                                          ("unknown", "refused", "not_tried_unknown_code"),
                                          ("next-hop ID", "dropped", "cut_off")), strict=True):
            for name, text in zip(("update", "outcome", "reason"), row):
                self.assertTrue(line[header.index(name):].startswith(text + " "), line)
        self.assertEqual({len(line) for line in lines[1:7]}, {len(header)})

    def test_routes_of_the_text_add_up(self):
        # A route without anything in it, and one of 10.0.0.0 without a length.
        stream = frame(ROUTE, b"") + frame(ROUTE, b"\x0a\x09" b"\x0a\x07\x08\x01" b"\x10\x80\x80\x80\x50")
        text = self.run_tool("stats", "-", stdin=stream).decode()
        self.assertIn("\n  IPv4 prefixes    no length: 1\n  other routes     no prefix: 1\n"
                      "  routes by paths  0: 2\n", text)

    def test_what_stops_the_process_does_not_stop_the_counting(self):
        found = self.stats(PROTO_FRAME + NAMELESS_FRAME + frame(UNKNOWN, b"") + PROTO_FRAME, expected=1)
        self.assertEqual([(row["type"], row["outcome"], row["updates"]) for row in found["rows"]],
                         [(PROTO, "delivered", 2), (PROTO, "stopped", 1), (UNKNOWN, "refused", 1)])

    def test_a_damaged_stream_is_counted_up_to_there(self):
        self.assertEqual(self.row(PROTO_FRAME * 3 + PROTO_FRAME[:-1], expected=4)["updates"], 3)


class OpenMetrics(StatsTest):
    def families(self, stream, expected=0):
        text = self.run_tool("stats", "-", "--openmetrics", stdin=stream, expected=expected).decode()
        self.assertTrue(text.endswith("\n# EOF\n"))
        return {family.name: family for family in text_string_to_metric_families(text)}

    def test_the_parser_of_others_reads_it(self):
        stream = self.run_tool("synth", "--updates", 1000, "--format", "raw", "-o", "-")
        stream += DELIMITER + NAMELESS_FRAME + frame(UNKNOWN, b"") + frame(UNKNOWN + 4, b"")
        families = self.families(stream, expected=1)
        found = self.stats(stream, expected=1)
        expected = collections.Counter()
        for row in found["rows"]:
            expected[row["name"], row["outcome"], row["reason"]] += row["updates"]
        self.assertEqual(expected["unknown", "refused", "not_tried_unknown_code"], 2)
        updates = families["rib_updates"]
        self.assertEqual(updates.type, "counter")
        self.assertEqual({(sample.labels["type"], sample.labels["outcome"], sample.labels["reason"]): sample.value
                          for sample in updates.samples}, expected)
        self.assertEqual(sum(sample.value for sample in families["rib_update_bytes"].samples), found["bytes"])
        self.assertEqual(families["rib_update_library_seconds"].unit, "seconds")
        self.assertEqual(families["rib_delimiters"].samples[0].value, 1)

    def test_histograms_are_cumulative(self):
        stream = self.run_tool("import", "-", "--format", "raw", "-o", "-", stdin=ROUTES)
        families = self.families(stream)
        paths = {sample.labels.get("le", sample.name): sample.value for sample in families["rib_route_paths"].samples}
        self.assertEqual((paths["0.0"], paths["1.0"], paths["2.0"], paths["+Inf"]), (0, 2, 3, 3))
        self.assertEqual((paths["rib_route_paths_count"], paths["rib_route_paths_sum"]), (3, 4))

    def test_nothing_at_all_is_read_too(self):
        self.assertEqual(self.families(DELIMITER)["rib_updates"].samples, [])


class Watching(StatsTest):
    @contextlib.contextmanager
    def connected(self, *arguments, **more):
        """A process that reads our socket, and our end of it."""
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(str(self.folder / "socket"))
        listener.listen()
        listener.settimeout(SECONDS)
        process = subprocess.Popen([RIBTOOL, "stats", "--connect", "./socket", *arguments], cwd=self.folder,
                                   env=self.environment, **more)
        connection, _ = listener.accept()
        try:
            yield process, connection
        finally:
            for each in (connection, listener):
                each.close()
            if process.poll() is None:
                process.kill()
            process.communicate()

    def test_reports_come_while_the_stream_waits(self):
        with self.connected("--json", "--watch", "0.02", stdout=subprocess.PIPE) as (process, connection):
            for sent in (3, 5):
                connection.sendall(PROTO_FRAME * (2 if sent == 5 else 3))
                while (report := json.loads(process.stdout.readline()))["updates"] < sent:
                    pass
                self.assertEqual(report["updates"], sent)
                self.assertIn("updates_per_second", report)
            connection.close()
            rest = process.communicate(timeout=SECONDS)[0].splitlines()
            self.assertEqual(process.returncode, 0)
            self.assertEqual(json.loads(rest[-1])["updates"], 5)

    def test_a_file_always_holds_a_whole_report(self):
        out = self.folder / "rib.prom"
        with self.connected("--openmetrics", "--watch", "0.01", "-o", "rib.prom",
                            stderr=subprocess.PIPE) as (process, connection):
            counted = 0
            end = time.monotonic() + SECONDS
            while counted < 200:
                self.assertLess(time.monotonic(), end)
                connection.sendall(PROTO_FRAME)
                if out.exists():
                    families = list(text_string_to_metric_families(out.read_text(encoding="utf-8")))
                    counted = sum(sample.value for sample in families[0].samples)
            process.send_signal(signal.SIGTERM)
            process.communicate(timeout=SECONDS)
        self.assertEqual(process.returncode, -signal.SIGTERM)
        self.assertEqual(sorted(os.listdir(self.folder)), ["rib.prom", "socket"])

    def test_a_terminal_shows_one_table_drawn_again(self):
        controller, terminal = pty.openpty()
        with self.connected("--watch", "0.02", stdout=terminal, stdin=terminal) as (process, connection):
            os.close(terminal)
            connection.sendall(PROTO_FRAME * 3)
            shown = b""
            while b"3 updates" not in shown or shown.count(b"\x1b[J") < 3:
                shown += os.read(controller, 4096)
            process.send_signal(signal.SIGTERM)
            with contextlib.suppress(OSError):
                while part := os.read(controller, 4096):
                    shown += part
        os.close(controller)
        self.assertTrue(shown.startswith(b"\x1b[H"))
        self.assertEqual(shown.count(b"\x1b[H"), shown.count(b"\x1b[J"))
        lines = shown[:shown.index(b"\x1b[J")].split(b"\r\n")
        self.assertTrue(all(line.endswith(b"\x1b[K") for line in lines[:-1]))

    def test_a_time_that_is_none_is_wrong_usage(self):
        for seconds in ("0", "-1", "soon", "1s", "nan"):
            self.run_tool("stats", "-", "--watch", seconds, expected=2)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--ribtool", required=True)
    arguments, rest = parser.parse_known_args()
    global RIBTOOL
    RIBTOOL = str(pathlib.Path(arguments.ribtool).resolve())
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
