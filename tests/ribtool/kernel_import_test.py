#!/usr/bin/env python3
"""Routes of a real kernel, in a network namespace of their own: imported, replayed and set up again they are the same.

    kernel_import_test.py --ribtool PROGRAM

Where namespaces are refused the program says so and ends with 77, which ctest reports as skipped.
"""

import argparse
import ipaddress
import itertools
import json
import lzma
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SKIPPED = 77
INSIDE = "RIBTOOL_TEST_NAMESPACE"  # set for the program that runs in the namespace
RIBTOOL = ""

# pe_value_28, as the kernel numbers them.
TYPES = {1: "unicast", 6: "blackhole", 7: "unreachable", 8: "prohibit", 9: "throw"}
BOOT = 3  # the protocol of routes that people add: `ip route` shows it only when asked for details
ON_LINK = 4

INTERFACES = """
link set lo up
link add d0 type {device}
link add d1 type {device}
link set d0 up
link set d1 up
addr add 192.0.2.1/24 dev d0
addr add 198.51.100.1/24 dev d1
-6 addr add 2001:db8::1/64 dev d0 nodad
"""

ROUTES = """
route add default via 192.0.2.2
route add 10.0.0.0/8 via 192.0.2.2 metric 5
route add 10.0.0.0/8 via 192.0.2.3 metric 6
route add blackhole 10.0.0.0/8 metric 4294967295
route add 10.1.0.0/16 nexthop via 192.0.2.3 weight 2 nexthop via 198.51.100.7 nexthop dev d1 weight 256
route add 10.1.0.0/16 metric 9 proto static nexthop via 192.0.2.3 dev d0 nexthop via 192.0.2.4 dev d0
route add blackhole 10.2.0.0/16
route add unreachable 10.2.1.0/24
route add prohibit 10.2.2.0/24
route add throw 10.2.3.0/24
route add 10.3.0.0/16 via inet6 2001:db8::7 dev d0
route add 10.4.0.1 dev d1
route add 10.5.0.0/17 via 203.0.113.1 dev d0 onlink proto 201 src 192.0.2.1
-6 route add default via 2001:db8::3
-6 route add 2001:db8:1::/48 nexthop via 2001:db8::2 weight 7 nexthop via 2001:db8::3 dev d0
-6 route add 2001:db8:2::/48 via 2001:db8::2 metric 5
-6 route add 2001:db8:2::/48 via 2001:db8::3 metric 7 proto 201
-6 route add 2001:db8:2:8000::/49 via 2001:db8::3 src 2001:db8::1
-6 route add blackhole 2001:db8:3::/48
-6 route add unreachable 2001:db8:4::/48 metric 3
-6 route add prohibit 2001:db8:5::/48
-6 route add 2001:db8:6::1 dev d1
"""

# What import has no place for, in a table of its own.
PECULIAR_TABLE = "77"
PECULIAR_ROUTES = """
nexthop add id 1 via 192.0.2.9 dev d0
nexthop add id 2 via 192.0.2.10 dev d0
nexthop add id 3 group 1,5/2
nexthop add id 4 blackhole
route add 10.1.0.0/16 nhid 3 table 77
route add 10.2.0.0/16 nhid 4 table 77
route add 10.3.0.0/16 tos 8 via 192.0.2.2 table 77
route add 10.4.0.0/16 via 192.0.2.2 mtu 1400 table 77
route add local 10.5.0.0/16 dev lo table 77
-6 route add 2001:db8:6::/48 from 2001:db8:7::/64 via 2001:db8::3 table 77
-6 route add default via 2001:db8::3 pref high table 77
"""


def run(*command, stdin=b"", expected=0):
    done = subprocess.run(command, input=stdin, capture_output=True, timeout=300, check=False)
    if done.returncode != expected:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stderr.decode()}")
    return done


def ip(*arguments):
    return run("ip", *arguments).stdout


def ip_batch(lines, family="-4"):
    run("ip", family, "-batch", "-", stdin="\n".join(lines).encode() + b"\n")


def add(text):
    """Sets up line by line, since those of both families are mixed."""
    for line in text.strip().splitlines():
        ip(*line.split())


def namespace_command():
    """What runs a program in a network namespace of its own, or why none does."""
    if shutil.which("unshare") is None or shutil.which("ip") is None:
        return None, "needs util-linux and iproute2"
    for command in (["unshare", "-n"], ["unshare", "-rn"]):
        done = subprocess.run([*command, "ip", "link", "set", "lo", "up"], capture_output=True, check=False)
        if done.returncode == 0:
            return command, ""
    return None, "network namespaces are refused: " + done.stderr.decode().strip()


def add_interfaces():
    """Two interfaces that need no hardware: dummies, or the ends of a cable where the kernel has no dummies."""
    for device in ("dummy", "veth peer name d1"):
        lines = INTERFACES.format(device=device)
        if "peer" in device:
            lines = lines.replace("link add d1 type veth peer name d1\n", "")
        try:
            add(lines)
            return
        except AssertionError as refused:
            reason = refused
            subprocess.run(["ip", "link", "del", "d0"], capture_output=True, check=False)
    print(f"skipped: no interfaces: {reason}")
    sys.exit(SKIPPED)


def source_address(path, is_ipv6):
    """A member that has its bytes only: IPv4 as a number in the first four."""
    data = bytes.fromhex(path["pe_addr_4"])
    return str(ipaddress.IPv6Address(data) if is_ipv6 else ipaddress.IPv4Address(data[3::-1]))


def hop_words(path, names, is_ipv6):
    words = []
    if path["pe_addr_5_family"] != 0:
        is_ipv6_hop = path["pe_addr_5_family"] == 2
        words += ["via"] + (["inet6"] if is_ipv6_hop and not is_ipv6 else []) + [path["pe_addr_5"]]
    if path["pe_value_22"] != 0:
        words += ["dev", names[path["pe_value_22"]]]
    if path["pe_value_3"] & ON_LINK:
        words += ["onlink"]
    return words


def entries(record):
    """The kernel's entries that a route's paths come from: those with a weight share one."""
    def key(path):
        number = next(singles) if path["pe_value_25"] == 0 else None
        return path["pe_value_10"], path["pe_value_28"], path["pe_value_31"], number
    singles = itertools.count()
    return [list(paths) for _, paths in itertools.groupby(record["paths"], key)]


def batch_line(record, paths, names, table):
    """One line of `ip -batch` that sets up an entry."""
    is_ipv6 = record["rt_family"] == 2
    first = paths[0]
    words = ["route", "append", TYPES[first["pe_value_28"]], f"{record['rt_dest']}/{record['rt_prefix_len']}"]
    words += ["table", table, "proto", str(first["pe_value_31"] or BOOT)]
    if first["pe_value_10"] != 0:
        words += ["metric", str(first["pe_value_10"])]
    if first["pe_addr_4"].strip("0"):
        words += ["src", source_address(first, is_ipv6)]
    if first["pe_value_25"] == 0:
        return words + hop_words(first, names, is_ipv6)
    for path in paths:
        words += ["nexthop", *hop_words(path, names, is_ipv6), "weight", str(path["pe_value_25"])]
    return words


def batch_lines(records, table):
    """What the client library gave, as lines for IPv4 and for IPv6."""
    names = {link["ifindex"]: link["ifname"] for link in json.loads(ip("-j", "link"))}
    lines = {1: [], 2: []}
    for record in records:
        for paths in entries(record):
            lines[record["rt_family"]].append(" ".join(batch_line(record, paths, names, table)))
    return lines[1], lines[2]


class KernelTest(unittest.TestCase):
    tables = itertools.count(200)  # empty ones

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ribtool-kernel-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def path(self, name):
        return str(self.folder / name)

    def records(self, *arguments, stdin=b""):
        """What the client library makes of what import makes of its input, and the summary of the import."""
        summary = run(RIBTOOL, "import", *arguments, "-o", self.path("capture"), stdin=stdin).stderr.decode()
        lines = run(RIBTOOL, "replay", "--stripped", self.path("capture")).stdout.decode().splitlines()
        return [json.loads(line)["record"] for line in lines], summary

    def assert_same_listings(self, records):
        table = str(next(self.tables))
        for family, lines in zip(("-4", "-6"), batch_lines(records, table)):
            before = ip("-d", family, "route", "show", "table", "main").decode()
            ip_batch(lines, family)
            self.assertEqual(ip("-d", family, "route", "show", "table", table).decode(), before, "\n".join(lines))
            self.assertGreater(len(before.splitlines()), 8)


class RoutesComeBack(KernelTest):
    def test_from_the_kernel_itself(self):
        records, summary = self.records("--kernel")
        self.assert_same_listings(records)
        self.assertNotIn("left out", summary)

    def test_from_ip_route_save(self):
        saved = ip("-4", "route", "save") + ip("-6", "route", "save")
        records, summary = self.records("-", stdin=saved)
        self.assert_same_listings(records)
        self.assertRegex(summary, r"^standard input: route-save, \d+ routes with \d+ paths, \d+ updates\n$")

    def test_from_ip_j_route(self):
        for details in ([], ["-d"], ["-d", "-p"], ["-N"]):  # what is shown of each, pretty or not, numbers for names
            with self.subTest(details=details):
                printed = ip("-j", "link") + ip("-j", *details, "route") + ip("-j", *details, "-6", "route")
                records, summary = self.records("-", stdin=printed)
                self.assert_same_listings(records)
                self.assertRegex(summary, r"^standard input: route-json, \d+ routes with \d+ paths, \d+ updates\n$")

    def test_the_same_in_all_three_ways(self):
        saved = ip("-4", "route", "save") + ip("-6", "route", "save")
        printed = ip("-j", "link") + ip("-j", "-d", "route") + ip("-j", "-d", "-6", "route")
        from_kernel, _ = self.records("--kernel")
        self.assertEqual(self.records("-", stdin=saved)[0], from_kernel)
        for each in from_kernel:
            self.assertEqual(each["rt_value_15"], 254)
            each["rt_value_15"] = 0  # ip does not print a table that it was asked for
        self.assertEqual(self.records("-", stdin=printed)[0], from_kernel)

    def test_packed_files_are_read(self):
        for contents in (ip("route", "save"), ip("-j", "route")):
            self.assertEqual(self.records("-", stdin=lzma.compress(contents))[0], self.records("-", stdin=contents)[0])


class TheKernelIsAsked(KernelTest):
    def prefixes(self, *arguments):
        return [f"{each['rt_dest']}/{each['rt_prefix_len']}" for each in self.records("--kernel", *arguments)[0]]

    def test_for_one_family(self):
        self.assertTrue(all("." in prefix for prefix in self.prefixes("-4")))
        self.assertTrue(all(":" in prefix for prefix in self.prefixes("-6")))
        self.assertEqual(self.prefixes("-4") + self.prefixes("-6"), self.prefixes())

    def test_for_one_table(self):
        records, _ = self.records("--kernel", "--table", PECULIAR_TABLE)
        self.assertEqual({each["rt_value_15"] for each in records}, {int(PECULIAR_TABLE)})

    def test_for_all_tables(self):
        records, summary = self.records("--kernel", "--table", "all")
        self.assertTrue({254, int(PECULIAR_TABLE)} <= {each["rt_value_15"] for each in records})
        self.assertRegex(summary, r"left out: \d+ entries for the host's own, broadcast and multicast addresses")

    def test_for_a_table_that_there_is_not(self):
        done = run(RIBTOOL, "import", "--kernel", "--table", "12345", "-o", self.path("capture"), expected=3)
        self.assertEqual(done.stderr.decode(), "ribtool: the kernel has no table 12345 of either family\n")
        self.assertFalse(os.path.exists(self.path("capture")))

    def test_not_for_what_is_no_table(self):
        for text in ("0", "nowhere", "-1", "4294967296"):
            done = run(RIBTOOL, "import", "--kernel", f"--table={text}", "-o", self.path("capture"), expected=2)
            self.assertEqual(done.stderr.decode(), f'ribtool: --table: "{text}" is no table (see ribtool import --help)\n')

    def test_for_a_table_that_one_family_has(self):
        done = run(RIBTOOL, "import", "--kernel", "--table", "78", "-o", self.path("capture"), expected=3)
        self.assertIn("no table 78", done.stderr.decode())
        add("route add 10.1.0.0/16 via 192.0.2.2 table 78")
        self.addCleanup(ip, "route", "flush", "table", "78")
        self.assertEqual(self.prefixes("--table", "78"), ["10.1.0.0/16"])


class WhatIsLostIsCounted(KernelTest):
    def test_alike_in_every_way(self):
        both = [ip("-4", "route", "save", "table", PECULIAR_TABLE) + ip("-6", "route", "save", "table", PECULIAR_TABLE),
                ip("-j", "link") + ip("-j", "route", "show", "table", PECULIAR_TABLE)
                + ip("-j", "-6", "route", "show", "table", PECULIAR_TABLE)]
        imports = [self.records("-", stdin=each) for each in both] + [self.records("--kernel", "--table", PECULIAR_TABLE)]
        for records, summary in imports:
            self.assertEqual(summary.splitlines()[1:], [
                "  left out: 1 entries for packets from one source only",
                "  left out: 1 entries for packets of one type of service only",
                "  left out: 1 entries for the host's own, broadcast and multicast addresses",
                "  left out: 1 router preferences",
                "  left out: 1 sets of metrics like mtu"])
            self.assertEqual([each["rt_dest"] for each in records], ["10.1.0.0", "10.2.0.0", "10.4.0.0", "::"])

    def test_but_hops_of_an_object_are_not(self):
        records, _ = self.records("--kernel", "--table", PECULIAR_TABLE)
        self.assertEqual([(path["pe_addr_5"], path["pe_value_25"]) for path in records[0]["paths"]],
                         [("192.0.2.9", 5), ("192.0.2.10", 1)])
        self.assertEqual([path["pe_value_28"] for path in records[1]["paths"]], [6])

    def test_names_of_interfaces_are_when_nothing_tells_their_indexes(self):
        _, summary = self.records("-", stdin=ip("-j", "route", "show", "192.0.2.0/24"))
        self.assertIn("left out: 1 names of interfaces whose index is not told\n", summary)


def main():
    global RIBTOOL
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--ribtool", required=True)
    chosen, rest = parser.parse_known_args()
    RIBTOOL = chosen.ribtool
    if INSIDE not in os.environ:
        command, reason = namespace_command()
        if command is None:
            print(f"skipped: {reason}")
            return SKIPPED
        os.execvpe(command[0], [*command, sys.executable, *sys.argv], {**os.environ, INSIDE: "1"})
    add_interfaces()
    add(ROUTES)
    add(PECULIAR_ROUTES)
    return 0 if unittest.main(argv=[sys.argv[0], *rest], exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
