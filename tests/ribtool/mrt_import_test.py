#!/usr/bin/env python3
"""What import makes of MRT files and of the lines of bgpdump, row for row what bgpdump -m says of the same files.

    mrt_import_test.py --ribtool PROGRAM
    mrt_import_test.py --seeds FOLDER       writes the files and lines for the fuzzers
"""

import argparse
import collections
import json
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

import mrt_writer as mrt

RIBTOOL = ""
TIME = 1700000000

ORIGINS = {"IGP": 0, "EGP": 1, "INCOMPLETE": 2}
NO_NEXT_HOP = "255.255.255.255"  # as bgpdump says that there is none
NAMED = {"no-export": "65535:65281", "no-advertise": "65535:65282", "local-AS": "65535:65283"}

# A path: what bgpdump and import both tell. A metric of 0 and none are the same there.
Row = collections.namedtuple("Row", "time kind peer prefix length first last origin next_hop pref med communities atomic")

PATH = mrt.origin(mrt.IGP) + mrt.as_sequence(64500, 64501) + mrt.next_hop("192.0.2.1")
PATH_2 = mrt.origin(mrt.IGP) + mrt.as_sequence(64500, 23456, 64503, size=2) + mrt.next_hop("192.0.2.1")
PATH_V6 = mrt.origin(mrt.EGP) + mrt.as_sequence(4200000001, 7)
PEERS = mrt.peer_table(TIME, mrt.peer("192.0.2.1", 64500), mrt.peer("2001:db8::1", 4200000001),
                       mrt.peer("192.0.2.3", 64502, is_as4=False))
PEER_NUMBERS = {"192.0.2.1": 0, "2001:db8::1": 1, "192.0.2.3": 2}


def rib4(prefix, *entries):
    return mrt.rib(TIME, mrt.RIB_IPV4_UNICAST, 0, mrt.prefix(prefix), *entries)


def rib6(prefix, *entries):
    return mrt.rib(TIME, mrt.RIB_IPV6_UNICAST, 0, mrt.prefix(prefix), *entries)


def update(subtype, withdrawn=b"", attributes=b"", announced=b"", **options):
    is_wide = mrt.size_of_as(subtype) == 4
    return mrt.bgp4mp(TIME + 1, subtype, 4200000001 if is_wide else 64500, "2001:db8::1" if is_wide else "192.0.2.1",
                      mrt.bgp_update(withdrawn, attributes, announced), **options)


def path_of(*segments):
    return mrt.origin(mrt.INCOMPLETE) + mrt.as_path(*segments) + mrt.next_hop("192.0.2.7")


def table_cases():
    """Records that bgpdump prints, too."""
    entry = mrt.entry
    full = (PATH + mrt.med(5) + mrt.local_pref(200) + mrt.communities("1:2", *NAMED.values()) + mrt.atomic_aggregate() +
            mrt.aggregator(70000, "192.0.2.9"))
    yield rib4("10.0.0.0/8", entry(0, TIME - 100, full), entry(2, TIME - 7, PATH))
    yield rib4("10.1.0.0/17", entry(0, TIME, path_of(("confed_sequence", [65001, 65002]), ("confed_set", [65003]),
                                                     ("sequence", [1, 2]), ("set", [3, 4]))))
    yield rib4("10.1.128.0/17", entry(0, TIME, path_of(("set", [5, 6]), ("sequence", [1]))))
    yield rib4("10.2.0.0/16", entry(0, TIME, path_of(("sequence", [1]), ("set", [9]))))
    yield rib4("10.3.0.0/16", entry(0, TIME, path_of(("sequence", list(range(1, 256))), ("sequence", [7, 8]))))
    yield rib4("0.0.0.0/0", entry(0, TIME, path_of()))
    yield rib4("203.0.113.9/32", entry(0, TIME, PATH + mrt.large_communities("1:2:3")))
    yield rib4("10.4.0.0/16", entry(0, TIME, PATH)) + rib4("10.4.0.0/16", entry(2, TIME, PATH + mrt.med(1)))
    yield rib6("2001:db8::/32", entry(1, TIME - 9, PATH_V6 + mrt.mp_reach_of_entry("2001:db8::1")))
    yield rib6("2001:db8:1::/48", entry(1, TIME, PATH_V6 + mrt.mp_reach_of_entry("2001:db8::2", "fe80::2")))
    yield rib6("2001:db8:2::/48", entry(1, TIME, PATH_V6 + mrt.mp_reach(["2001:db8::3", "fe80::3"])))
    yield rib6("::/0", entry(1, TIME, PATH_V6 + mrt.mp_reach(["2001:db8::4"])))
    yield rib6("2001:db8:4::/48", entry(1, TIME, PATH))
    yield rib6("2001:db8:5::/48", entry(1, TIME, PATH_V6))
    yield rib4("10.5.0.0/16", entry(0, TIME, PATH + mrt.mp_reach_of_entry("2001:db8::1")))
    yield rib4("10.6.0.0/16", entry(0, TIME, PATH + mrt.mp_reach(["2001:db8::1"], afi=1)))
    yield mrt.rib(TIME, mrt.RIB_IPV4_UNICAST_ADDPATH, 0, mrt.prefix("10.10.0.0/16"), entry(0, TIME, PATH, 1),
                  entry(0, TIME, PATH + mrt.med(8), 2))
    yield mrt.rib(TIME, mrt.RIB_IPV6_UNICAST_ADDPATH, 0, mrt.prefix("2001:db8:3::/48"),
                  entry(1, TIME, PATH_V6 + mrt.mp_reach_of_entry("2001:db8::1"), 1))


def update_cases():
    prefix = mrt.prefix
    wide = PATH_V6 + mrt.next_hop("192.0.2.1")
    yield update(mrt.MESSAGE, prefix("10.0.0.0/8"), PATH_2, prefix("10.1.0.0/16") + prefix("10.2.0.0/16"))
    yield update(mrt.MESSAGE, b"", PATH_2 + mrt.as4_path(("sequence", [70000, 64503])), prefix("10.3.0.0/16"))
    yield update(mrt.MESSAGE, b"", PATH_2 + mrt.as4_path(("sequence", [7, 70000, 64503])), prefix("10.4.0.0/16"))
    yield update(mrt.MESSAGE, b"", PATH_2 + mrt.as4_path(("sequence", [1, 2, 3, 4])), prefix("10.5.0.0/16"))
    for aggregating_as, text in (64500, "10.6.0.0/16"), (23456, "10.7.0.0/16"):
        yield update(mrt.MESSAGE, b"", PATH_2 + mrt.as4_path(("sequence", [70000, 70001])) +
                     mrt.aggregator(aggregating_as, "192.0.2.8", size=2) +
                     mrt.aggregator(70000, "192.0.2.8", kind=18), prefix(text))
    yield update(mrt.MESSAGE_AS4, prefix("10.8.0.0/16"),
                 wide + mrt.mp_reach(["2001:db8::9", "fe80::9"], prefix("2001:db8:5::/48") + prefix("::/0")) +
                 mrt.mp_unreach(prefix("2001:db8:6::/48")), prefix("10.9.0.0/16"))
    yield update(mrt.MESSAGE_AS4, b"", PATH_V6 + mrt.mp_reach(["2001:db8::7"], prefix("10.10.0.0/16"), afi=1))
    yield update(mrt.MESSAGE_AS4, b"", wide + mrt.mp_reach(["2001:db8::7"], prefix("10.18.0.0/16"), afi=1))
    yield update(mrt.MESSAGE_AS4, b"", PATH_V6 + mrt.mp_reach(["2001:db8::7"], prefix("2001:db8:8::/48")),
                 prefix("10.19.0.0/16"))
    yield update(mrt.MESSAGE_AS4, b"", mrt.mp_unreach())
    yield update(mrt.MESSAGE_LOCAL, b"", PATH_2, prefix("10.11.0.0/16"))
    yield update(mrt.MESSAGE_AS4_LOCAL, b"", wide, prefix("10.12.0.0/16"))
    yield update(mrt.MESSAGE_AS4, prefix("10.13.0.0/16"), wide, prefix("10.14.0.0/16"), microseconds=123456)
    for subtype, attributes in (mrt.MESSAGE_ADDPATH, PATH_2), (mrt.MESSAGE_AS4_ADDPATH, wide):
        yield update(subtype, mrt.with_path_id(1, prefix("10.15.0.0/16")), attributes +
                     mrt.mp_reach(["2001:db8::9"], mrt.with_path_id(9, prefix("2001:db8:7::/48"))),
                     mrt.with_path_id(2, prefix("10.16.0.0/16")))
        yield update(subtype, b"", attributes, mrt.with_path_id(2, prefix("10.17.0.0/16")), microseconds=7)


# ---- What bgpdump says ----

def as_path_facts(text):
    """Length, first and last AS, from the text: sets count once, confederations not at all."""
    text = re.sub(r"\(.*?\)|\[.*?\]", "", text)
    hops = text.split()
    facts = [int(hop.strip("{}")) if "," not in hop else 0 for hop in hops]
    return len(hops), facts[0] if hops else 0, facts[-1] if hops else 0


def bgpdump_row(line, peers):
    fields = line.split("|")
    if fields[0].endswith("_AP"):
        del fields[6]
    seconds, _, fraction = fields[1].partition(".")
    peer = peers.setdefault(fields[3], len(peers))
    head = [int(seconds) * 1000000 + int(fraction or 0), "W" if fields[2] == "W" else "A", peer, fields[5]]
    if fields[2] == "W":
        return Row(*head[:2], None, head[3], *[None] * 9)
    numbers = []
    for name in fields[11].split():
        owner, value = map(int, NAMED.get(name, name).split(":"))
        numbers.append(owner << 16 | value)
    next_hop = None if fields[8] == NO_NEXT_HOP else fields[8]
    return Row(*head, *as_path_facts(fields[6]), ORIGINS[fields[7]], next_hop, int(fields[9]), int(fields[10]), numbers,
               (fields[12] == "AG") + 2 * (fields[13] != ""))


# ---- What import makes ----

def capture_times(path):
    data = path.read_bytes()
    order = "<" if data[:4] == b"\xd4\xc3\xb2\xa1" else ">"
    times, at = [], 24
    while at < len(data):
        seconds, microseconds, length, _ = struct.unpack_from(order + "IIII", data, at)
        times.append(seconds * 1000000 + microseconds)
        at += 16 + length
    return times


def imported_row(time, record, path):
    return Row(time, "A", path.get("pe_value_1", 0), f"{record['rt_dest']}/{record.get('rt_prefix_len', 0)}",
               path.get("pe_value_12", 0), path.get("pe_value_8", 0), path.get("pe_value_16", 0),
               path.get("pe_value_13", 0), path.get("pe_addr_5"), path.get("pe_value_11", 0), path.get("pe_value_10", 0),
               [int(value) for value in path.get("pe_ecomm_values", [])], path.get("pe_value_3", 0))


def rows_of(times, records):
    for time, record in zip(times, records, strict=True):
        prefix = f"{record['rt_dest']}/{record.get('rt_prefix_len', 0)}"
        if not record.get("paths"):
            yield Row(time, "W", None, prefix, *[None] * 9)
        for path in record.get("paths", []):
            yield imported_row(time, record, path)


class ImportTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ribtool-mrt-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_import(self, data, *options, expected=0):
        """Imports; gives what was said behind the file's name."""
        source, capture = self.folder / "in", self.folder / "out.pcap"
        source.write_bytes(data)
        done = subprocess.run([RIBTOOL, "import", source, "-o", capture, *options], capture_output=True, text=True,
                              timeout=300, check=False)
        self.assertEqual(done.returncode, expected, done.stderr)
        self.assertEqual(capture.exists(), expected == 0)
        return done.stderr.replace("ribtool: ", "", 1).replace(f"{source}: ", "", 1)

    def records(self):
        done = subprocess.run([RIBTOOL, "replay", self.folder / "out.pcap", "--compact"], capture_output=True, text=True,
                              timeout=300, check=True)
        records = [json.loads(line)["record"] for line in done.stdout.splitlines()]
        for record in records:
            record.setdefault("rt_dest", "0.0.0.0" if record["rt_family"] == 1 else "::")
        return records

    def imported(self, data):
        self.run_import(data)
        return list(rows_of(capture_times(self.folder / "out.pcap"), self.records()))

    def bgpdump(self, data, *options):
        (self.folder / "in.mrt").write_bytes(data)
        return subprocess.run(["bgpdump", "-q", "-m", *options, self.folder / "in.mrt"], capture_output=True, text=True,
                              timeout=300, check=True).stdout

    def test_a_table_gives_the_rows_that_bgpdump_prints(self):
        for case in table_cases():
            lines = self.bgpdump(PEERS + case).splitlines()
            self.assertTrue(lines)
            self.assertEqual(self.imported(PEERS + case), [bgpdump_row(line, PEER_NUMBERS) for line in lines], lines)

    def test_messages_give_the_updates_that_bgpdump_prints(self):
        data = b"".join(update_cases())
        peers = {}
        rows = [bgpdump_row(line, peers) for line in self.bgpdump(data).splitlines()]
        self.assertEqual(len(rows), 29)
        self.assertEqual(self.imported(data), rows)

    def test_the_lines_of_bgpdump_give_the_same_rows_as_the_file_itself(self):
        for data in PEERS + b"".join(table_cases()), b"".join(update_cases()):
            rows = self.imported(data)
            numbers = {None: None}  # of peers: a table has its own, lines are numbered as they come
            rows = [row._replace(peer=numbers.setdefault(row.peer, len(numbers) - 1)) for row in rows]
            self.assertTrue(rows)
            for option in [], ["-l"]:
                self.assertEqual(self.imported(self.bgpdump(data, *option).encode()), rows)

    def test_consecutive_records_of_one_prefix_are_one_route(self):
        entry = mrt.entry(0, TIME, PATH)
        said = self.run_import(PEERS + rib4("10.0.0.0/8", entry, entry) + rib4("10.0.0.0/8", entry) +
                               rib4("10.0.0.0/9", entry))
        self.assertEqual(said, "mrt, 2 routes with 4 paths, 2 updates\n")

    def test_a_path_is_as_old_as_it_is_at_the_time_of_the_table(self):
        self.run_import(PEERS + rib4("10.0.0.0/8", mrt.entry(0, TIME - 100, PATH), mrt.entry(0, TIME + 1, PATH)))
        self.assertEqual([path.get("pe_value_2", 0) for path in self.records()[0]["paths"]], [100, 0])

    def test_a_generic_record_is_a_route_where_its_family_is_one_of_routes(self):
        entry = mrt.entry(0, TIME, PATH)
        said = self.run_import(PEERS + mrt.rib_generic(TIME, 0, 1, 1, mrt.prefix("10.9.0.0/16"), entry) +
                               mrt.rib_generic(TIME, 0, 1, 128, mrt.prefix("10.9.0.0/16"), entry) +
                               mrt.rib_generic(TIME, 0, 2, 1, mrt.prefix("2001:db8::/32"),
                                               mrt.entry(1, TIME, PATH_V6 + mrt.mp_reach(["2001:db8::1"]), 7),
                                               subtype=mrt.RIB_GENERIC_ADDPATH))
        self.assertEqual([record["rt_dest"] for record in self.records()], ["10.9.0.0", "2001:db8::"])
        self.assertEqual(said, "mrt, 2 routes with 2 paths, 2 updates\n"
                               "  left out: 1 path identifiers\n"
                               "  left out: 1 records of RIB_GENERIC with IPv4 VPN\n")

    def test_extended_communities_come_before_others(self):
        self.run_import(PEERS + rib4("10.0.0.0/8", mrt.entry(
            0, TIME, PATH + mrt.communities("1:2") + mrt.extended_communities("0002fde900000007"))))
        path = self.records()[0]["paths"][0]
        self.assertEqual((path["pe_ecomm_value_1"], path["pe_ecomm_values"]), (2, [str(0x0002fde900000007)]))

    def test_bits_behind_the_length_of_a_prefix_mean_nothing(self):
        data = PEERS + rib4("10.1.255.0/17", mrt.entry(0, TIME, PATH))
        self.assertIn("10.1.255.0/17", self.bgpdump(data))
        for form in data, self.bgpdump(data).encode():
            self.assertEqual(self.imported(form)[0].prefix, "10.1.128.0/17")

    def test_what_is_left_out_is_counted_and_named(self):
        entry = mrt.entry(0, TIME, PATH)
        said = self.run_import(
            PEERS + mrt.rib(TIME, mrt.RIB_IPV4_MULTICAST, 0, mrt.prefix("10.0.0.0/8"), entry) +
            mrt.rib(TIME, mrt.RIB_IPV6_MULTICAST_ADDPATH, 0, b"", entry) + mrt.record(TIME, 99, 3, b"any") +
            mrt.table_record(TIME, 55, b"") + mrt.record(TIME, 11, 0, b"ospf") + rib4("10.0.0.0/8") +
            rib4("10.0.0.0/8", mrt.entry(0, TIME, PATH + mrt.large_communities("1:2:3") + mrt.attribute(200, b"x") +
                                         mrt.communities("1:2") + mrt.extended_communities("00" * 8) + mrt.med(1) * 2)) +
            mrt.state_change(TIME, mrt.STATE_CHANGE, 1, "192.0.2.1", 6, 1) +
            mrt.state_change(TIME, mrt.STATE_CHANGE_AS4, 1, "192.0.2.1", 6, 1) +
            mrt.bgp4mp(TIME, mrt.MESSAGE, 1, "192.0.2.1", mrt.bgp_message(4, b"")) +
            rib6("2001:db8::/32", mrt.entry(1, TIME, PATH_V6 + mrt.mp_reach(["2001:db8::1"], safi=2))) +
            update(mrt.MESSAGE_AS4) + update(mrt.MESSAGE_AS4, b"", mrt.mp_unreach()) +
            update(mrt.MESSAGE_AS4, b"", mrt.mp_reach(["192.0.2.1"], b"any", 1, 2) + mrt.mp_unreach(b"any", 25, 65)))
        self.assertEqual(said, """mrt, 2 routes with 2 paths, 2 updates
  left out: 1 BGP messages KEEPALIVE
  left out: 2 BGP messages UPDATE without a prefix
  left out: 1 attributes COMMUNITIES beside EXTENDED_COMMUNITIES
  left out: 1 attributes LARGE_COMMUNITY
  left out: 1 attributes MP_REACH_NLRI of IPv4 multicast
  left out: 1 attributes MP_REACH_NLRI of IPv6 multicast
  left out: 1 attributes MP_UNREACH_NLRI of AFI 25 SAFI 65
  left out: 1 attributes of type 200
  left out: 1 attributes that are repeated
  left out: 1 prefixes without an entry
  left out: 1 records of BGP4MP_STATE_CHANGE
  left out: 1 records of BGP4MP_STATE_CHANGE_AS4
  left out: 1 records of OSPFv2
  left out: 1 records of RIB_IPV4_MULTICAST
  left out: 1 records of RIB_IPV6_MULTICAST_ADDPATH
  left out: 1 records of type 13 subtype 55
  left out: 1 records of type 99 subtype 3
""")

    def test_lengths_that_lie_end_the_import_with_their_place(self):
        start = len(PEERS)
        place = f"record 2 at byte {start}: "
        entry = mrt.entry(0, TIME, PATH)
        good = rib4("10.0.0.0/8", entry)

        def complaint(data):
            return self.run_import(data, "--from", "mrt", expected=4)

        def entry_with(attributes):
            return complaint(PEERS + rib4("10.0.0.0/8", mrt.entry(0, TIME, attributes)))

        behind = start + 12 + 4 + 2 + 2  # header, sequence number, prefix, number of entries
        self.assertEqual(complaint(PEERS + good[:-1]),
                         place + f"truncated: the record takes {len(good)} bytes, {len(good) - 1} left\n")
        self.assertEqual(complaint(PEERS + good[:7]), place + "truncated: a header takes 12 bytes, 7 left\n")
        self.assertEqual(complaint(PEERS + struct.pack(">IHHI", TIME, 13, 2, 0xffffffff)),
                         place + "a length of 4294967295, at most 16777216 is read\n")
        self.assertEqual(complaint(PEERS + mrt.rib(TIME, 2, 0, b"\x21" + bytes(5), entry)),
                         place + f"a prefix of length 33, IPv4 has at most 32 (byte {start + 16})\n")
        self.assertEqual(complaint(PEERS + mrt.rib(TIME, 4, 0, b"\x81" + bytes(17), entry)),
                         place + f"a prefix of length 129, IPv6 has at most 128 (byte {start + 16})\n")
        self.assertEqual(complaint(PEERS + rib4("10.0.0.0/8", mrt.entry(3, TIME, PATH))),
                         place + f"peer 3 of 3 (byte {behind})\n")
        self.assertEqual(complaint(good), "record 1 at byte 0: no PEER_INDEX_TABLE in front of it (byte 18)\n")
        self.assertEqual(complaint(PEERS + mrt.rib(TIME, 2, 0, mrt.prefix("10.0.0.0/8"), entry + b"xyz")),
                         place + f"3 bytes behind the last of 1 entries (byte {behind + len(entry)})\n")
        self.assertEqual(entry_with(b"\x40\x01\x05\x00"),
                         place + f"ORIGIN: 5 bytes, 1 left (byte {behind + 11})\n")
        self.assertEqual(entry_with(b"\x40\x01\x01\x03"), place + f"bad ORIGIN (byte {behind + 11})\n")
        self.assertEqual(entry_with(b"\x40\x02\x02\x02\x01"),
                         place + f"AS_PATH: 4 bytes needed, 0 left (byte {behind + 13})\n")
        self.assertEqual(entry_with(b"\x40\x02\x02\x05\x00"),
                         place + f"AS_PATH: segment of unknown type 5 (byte {behind + 11})\n")
        self.assertEqual(entry_with(mrt.attribute(3, b"123")), place + f"NEXT_HOP: 3 bytes instead of 4 (byte {behind + 11})\n")
        self.assertEqual(entry_with(mrt.attribute(14, b"\x05" + bytes(5))),
                         place + f"MP_REACH_NLRI: a next hop of 5 bytes (byte {behind + 12})\n")
        self.assertEqual(entry_with(mrt.attribute(8, b"12345")),
                         place + f"COMMUNITIES: 5 bytes, of 4 each (byte {behind + 11})\n")
        message = mrt.bgp_update(b"", PATH, mrt.prefix("10.0.0.0/8"))
        self.assertIn("a BGP message of 19 bytes", complaint(
            mrt.bgp4mp(TIME, mrt.MESSAGE_AS4, 1, "192.0.2.1", message[:16] + b"\0\x13" + message[18:])))
        self.assertIn("its marker is not all ones", complaint(
            mrt.bgp4mp(TIME, mrt.MESSAGE_AS4, 1, "192.0.2.1", b"\0" + message[1:])))
        self.assertIn("peers of unknown AFI 9 (byte 22)", complaint(
            mrt.record(TIME, 16, mrt.MESSAGE_AS4, bytes(10) + b"\0\x09" + bytes(99))))
        self.assertIn("no microseconds behind the header", complaint(mrt.record(TIME, 17, 1, b"\xff" * 40)))

    def test_a_file_cut_anywhere_leaves_no_capture_or_a_whole_one(self):
        data = PEERS + b"".join(list(table_cases())[:2])
        ends = {0, len(PEERS), len(PEERS) + len(next(table_cases())), len(data)}
        for length in range(1, len(data), 7):
            self.run_import(data[:length], "--from", "mrt", expected=0 if length in ends else 4)
            (self.folder / "out.pcap").unlink(missing_ok=True)

    def test_what_bgpdump_prints_otherwise_is_named(self):
        data = PEERS + next(table_cases())
        said = self.run_import(self.bgpdump(data).encode().replace(str(TIME).encode(), b"11/14/23 22:13:20"), expected=4)
        self.assertTrue(said.endswith(":1: a line of bgpdump -M, of which import reads what bgpdump -m prints\n"), said)
        line = self.bgpdump(data).splitlines()[0]
        for old, new, text in [("|10.0.0.0/8|", "|10.0.0.0|", 'bad prefix "10.0.0.0"'),
                               ("|64500 64501|", "|64500 {64501|", 'bad AS path "64500 {64501"'),
                               ("|IGP|", "|BGP|", 'bad origin "BGP"'), ("|1:2 ", "|1:x ", 'bad community "1:x"'),
                               ("|B|", "|A|", 'bad operation "A"'), ("|AG|", "|x|y|", 'bad aggregation "x"'),
                               (line[60:], "", "ends after 7 fields, in front of the origin")]:
            self.assertIn(old, line)
            said = self.run_import((line + "\n" + line.replace(old, new)).encode(), expected=4)
            self.assertTrue(said.endswith(f":2: {text}\n"), said)

    def test_pipes_and_archives_are_told_apart_by_their_first_bytes_too(self):
        data = PEERS + b"".join(table_cases())
        self.imported(data)
        expected = (self.folder / "out.pcap").read_bytes()
        packed = subprocess.run(["gzip", "-c"], input=data, capture_output=True, check=True).stdout
        for piece in data, packed:
            done = subprocess.run([RIBTOOL, "import", "-", "-o", "-"], input=piece, capture_output=True, check=True)
            self.assertEqual(done.stdout, expected)
            self.assertTrue(done.stderr.startswith(b"standard input: mrt, "))


def write_seeds(folder):
    """fuzz_mrt reads two bytes of its own in front."""
    for name in "fuzz_mrt", "fuzz_table":
        (folder / name).mkdir(parents=True, exist_ok=True)
    for number, case in enumerate([*(PEERS + case for case in table_cases()), *update_cases()]):
        (folder / "fuzz_mrt" / str(number)).write_bytes(b"\0\x20" + case)
        (folder / "fuzz_table" / f"{number}.mrt").write_bytes(case)
        lines = subprocess.run(["bgpdump", "-q", "-m", folder / "fuzz_table" / f"{number}.mrt"], capture_output=True,
                               check=True).stdout
        (folder / "fuzz_table" / f"{number}.lines").write_bytes(lines)
    (folder / "fuzz_table" / "rows").write_bytes(
        b"#t_us\top\tprefix\tnext_hop\torigin\tmed\tflags\tcommunities\text_communities\tother\n"
        b"0\tA\t10.0.0.0/8\t192.0.2.1\tIGP\t5\tAG\t1:2 3:4\t0002fde900000007\tx\n7\tW\t2001:db8::/32\n")
    (folder / "fuzz_table" / "list").write_bytes(b"10.0.0.0/8\r\n\n# remark\n2001:db8::/32\n")


def main():
    global RIBTOOL
    parser = argparse.ArgumentParser()
    parser.add_argument("--ribtool")
    parser.add_argument("--seeds", type=pathlib.Path)
    chosen, rest = parser.parse_known_args()
    if chosen.seeds:
        write_seeds(chosen.seeds)
        return
    RIBTOOL = str(pathlib.Path(chosen.ribtool).resolve())
    if shutil.which("bgpdump") is None:
        sys.exit("needs bgpdump, which script/bootstrap installs")
    unittest.main(argv=sys.argv[:1] + rest)


if __name__ == "__main__":
    main()
