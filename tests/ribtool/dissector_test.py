#!/usr/bin/env python3
"""The dissector in tshark and under plain Lua against ribtool decode, and packet comments against ribtool explain.

    dissector_test.py --ribtool PROGRAM --dissector rib.lua --reasons reasons.def --reason-cases reason_cases.inc

tshark is started few times, each time for all cases. RIB_EXHAUSTIVE=1 takes twenty times as many damaged updates.
"""

import argparse
import base64
import collections
import json
import os
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

import dissector_cases as cases

HERE = pathlib.Path(__file__).resolve().parent
EXHAUSTIVE = os.environ.get("RIB_EXHAUSTIVE") == "1"
GENERATED = 4000 if EXHAUSTIVE else 200
MOST_LOSSES = 5
MOST_VALUE = 40
FILTERS = {46: "rib.grid", 47: "rib.proto", 49: "rib.nhid", 50: "rib.opaque", 51: "rib.route"}
OPTIONS = argparse.Namespace()


# ---- What is expected: the fields as ribtool decode has them ----

def types_of_fields():
    """Message and field to the field's type, from the proto files."""
    found = {}
    message = None
    for path in sorted((HERE / "../../proto").glob("*/*.proto")):
        for line in path.read_text(encoding="utf-8").splitlines():
            if opened := re.match(r"message (\w+) \{", line):
                message = opened[1]
            elif field := re.match(r"\s+(?:optional|repeated)\s+(\w+)\s+(\w+)\s+=", line):
                found[message, field[2]] = field[1]
    return found


def ipv4_text(number):
    return socket.inet_ntop(socket.AF_INET, struct.pack(">I", number))


def ipv6_text(message):
    halves = [int(message.get(name, "0")) for name in ("half0", "half1")]
    return socket.inet_ntop(socket.AF_INET6, struct.pack("<QQ", *halves)) if message else ""


def bytes_text(data):
    return socket.inet_ntop({4: socket.AF_INET, 16: socket.AF_INET6}[len(data)], data) if len(data) in (4, 16) else ""


def family_text(message):
    if message.get("family") == 1:
        return ipv4_text(message["ipv4"]) if "ipv4" in message else ""
    return ipv6_text(message.get("ipv6", {})) if message.get("family") == 2 else ""


def flat_text(message):
    data = base64.b64decode(message.get("ipv6", ""))
    if message.get("family") == 2 and "ipv4" in message:
        return ipv4_text(message["ipv4"])
    if message.get("family") == 10 and "ipv6" in message and len(data) <= 16:
        return bytes_text(data.ljust(16, b"\0"))
    return ""


def plain_text(message):
    return bytes_text(base64.b64decode(message.get("prefix", "")))


# What stands behind the name of a message; the others have nothing there.
ADDRESSES = {"rib_ipv6_address": ipv6_text, "rib_address": family_text,
             "rib_prefix": lambda message: family_text(message.get("address", {})),
             "rib_msg_prefix": flat_text, "srv6_prefix": plain_text, "ip_rib_srv6_prefix": plain_text}


def address_text(kind, message):
    text = ADDRESSES[kind](message) if kind in ADDRESSES else ""
    return f"{text}/{message['prefix_len']}" if text and "prefix_len" in message else text


def shown_text(text):
    return re.sub(r'[\x00-\x1f\x7f"\\]',
                  lambda found: {"\n": r"\n", "\r": r"\r", "\t": r"\t", '"': r'\"', "\\": r"\\"}.get(
                      found[0], f"\\x{ord(found[0]):02x}"), text)


def shown_value(kind, value):
    if kind == "bytes":
        return base64.b64decode(value).hex(":") if value else ""
    if kind == "string":
        return None if "\ufffd" in value else shown_text(value)  # that a byte was is no UTF-8 is all that JSON tells
    return str(int(value))


def add_fields(found, kind, name, message):
    for member, value in message.items():
        if member == "@partial":
            continue
        field_kind = OPTIONS.types[kind, member]
        own = f"{name}.{member}"
        for one in value if isinstance(value, list) else [value]:
            if isinstance(one, dict):
                found[own].append(address_text(field_kind, one))
                add_fields(found, field_kind, own, one)
            else:
                found[own].append(shown_value(field_kind, one))


def expected_items(code, message):
    found = collections.defaultdict(list)
    add_fields(found, cases.MESSAGES[code], FILTERS[code], message)
    partial = message.get("@partial", {})
    found["rib.status"].append(partial.get("status_name", "ZIDL_OK"))
    for name in ("reason", "path", "offset"):
        if name in partial:
            found[f"rib.{name}"].append(str(partial[name]))
    return dict(found)


# ---- What is found ----

# Of the frame, or of what the decoder does not keep.
OTHER_FILTERS = {"rib.header", "rib.code", "rib.length", "rib.unread", "rib.unknown", "rib.replaced"}


def items_of_tshark(layer):
    """The items of a packet's layer, whose names repeat: pairs at each depth."""
    found = collections.defaultdict(list)

    def add(pairs):
        for name, value in pairs:
            if name.startswith("rib."):
                plain = name[:-len("_tree")] if name.endswith("_tree") else name
                if isinstance(value, tuple):
                    if plain == name:
                        found[plain].append("")
                    add(value)
                else:
                    found[plain].append(value)

    add(layer)
    return found


def items_of_interface(output):
    """The lines of wireshark_interface.lua, by the frame's number."""
    frames = collections.defaultdict(lambda: collections.defaultdict(list))
    for line in output.decode("utf-8", "surrogateescape").split("\n"):
        if line:
            number, name, value = line.split("\t", 2)
            frames[int(number)][name].append(str(int(value, 16)) if value.startswith("0x") else value)
    return frames


def kept_items(found):
    return {name: values for name, values in found.items()
            if name not in OTHER_FILTERS and name not in FILTERS.values()}


def expected_comment(explanation):
    """As explain --json has it; nothing of what is delivered whole."""
    def value(text):
        return "empty" if text == "" else text if len(text) <= MOST_VALUE else text[:MOST_VALUE] + "..."

    losses = explanation.get("losses", [])
    text = explanation["outcome"]
    if "reason" in explanation:
        path = f" at {explanation['path']}" if "path" in explanation else ""
        text += f": {explanation['reason']}{path}"
        text += f"{',' if path else ' at'} byte {explanation['offset']}" if "offset" in explanation else ""
    elif text == "delivered" and not losses:
        return None
    if losses:
        text += f"{',' if 'reason' in explanation else ''} with {len(losses)} loss{'es' if len(losses) > 1 else ''}: "
        text += "; ".join(f"{loss['reason']} at {loss['path']}: {value(loss['value'])}" +
                          (f" kept as {value(loss['kept'])}" if "kept" in loss else "") for loss in losses[:MOST_LOSSES])
        if len(losses) > MOST_LOSSES:
            text += f"; and {len(losses) - MOST_LOSSES} more"
    return text


# ---- Programs ----

def packets_of(capture):
    """The layers of each packet, as pairs."""
    return [dict(dict(packet)["_source"])["layers"]
            for packet in json.loads(cases.tshark(OPTIONS.dissector, "-r", capture, "-T", "json"), object_pairs_hook=tuple)]


def as_json_has_it(expected, found):
    """The value of the dissector as far as JSON shows it: nothing of bytes that are no UTF-8, and no NUL."""
    if expected is None:
        return None
    return expected if found is not None and found.startswith(expected + r"\x00") else found


class compared_on_all_cases(unittest.TestCase):
    """All cases in one capture, and what ribtool and tshark make of it."""

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="ribtool-dissector-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        updates = cases.all_cases(OPTIONS.ribtool, cls.folder, OPTIONS.reason_cases, GENERATED, 1)
        cls.frames = [cases.frame(*update) for update in updates]
        cls.codes = [code for code, _ in updates]
        cls.capture = cls.folder / "cases.pcap"
        cls.capture.write_bytes(cases.pcap(cls.frames))
        cls.commented = cls.folder / "commented.pcapng"
        subprocess.run([OPTIONS.ribtool, "explain", "-q", "--pcapng", cls.commented, cls.capture], check=False)
        cls.packets = packets_of(cls.commented)
        messages = {code: iter(cases.decoded(OPTIONS.ribtool, cls.capture, code)) for code in cases.MESSAGES}
        cls.expected = [expected_items(code, next(messages[code])) if code in messages else None for code in cls.codes]

    def compare(self, items):
        """`items` of each frame with those expected: those of messages, all of them and nothing else."""
        for number, (expected, found) in enumerate(zip(self.expected, items, strict=True), 1):
            if expected is None:
                continue
            found = kept_items(found)
            for name, values in expected.items():
                others = found.get(name, [])
                found[name] = list(map(as_json_has_it, values, others)) + others[len(values):]
            self.assertEqual(expected, found, f"frame {number}: {self.frames[number - 1][:200].hex()}")

    def test_the_cases_reach_every_reason_for_which_decoding_fails_and_every_kind_of_update(self):
        reasons = collections.Counter(found["rib.reason"][0] for found in self.expected if found and "rib.reason" in found)
        self.assertEqual(set(reasons), {"cut_off", "past_the_end", "second_run", "second_value", "wrong_wire_type",
                                        "unknown_wire_type"})
        self.assertGreater(sum(found is not None and found["rib.status"] == ["ZIDL_OK"] for found in self.expected), 200)
        self.assertLessEqual(set(cases.CODES.values()), set(self.codes))

    def test_tshark_shows_what_the_decoder_keeps_and_its_verdict(self):
        self.compare([items_of_tshark(dict(layers)["rib"]) for layers in self.packets])

    def test_every_lua_shows_the_same_without_wireshark(self):
        frames = self.folder / "frames"
        frames.write_bytes(b"".join(struct.pack(">I", len(each)) + each for each in self.frames))
        found = []
        for lua in ("lua5.4", "lua5.2", "lua5.3"):
            if shutil.which(lua):
                done = subprocess.run([lua, HERE / "wireshark_interface.lua", OPTIONS.dissector, frames], check=False,
                                      capture_output=True)
                self.assertEqual((done.returncode, done.stderr), (0, b""), lua)
                items = items_of_interface(done.stdout)
                with self.subTest(lua=lua):
                    self.compare([items[number] for number in range(1, len(self.frames) + 1)])
                found.append(lua)
        self.assertIn("lua5.4", found, "script/bootstrap installs it")

    def test_frames_have_their_code_and_length_and_those_without_a_message_say_why(self):
        reasons = {3: ["not_tried_converter"], 4711: ["not_tried_unknown_code"], 0: None}
        for code, frame, layers in zip(self.codes, self.frames, self.packets, strict=True):
            found = items_of_tshark(dict(layers)["rib"])
            self.assertEqual(found["rib.code"], [str(code)])
            self.assertEqual(found["rib.length"], [str(len(frame) - 8)])
            self.assertEqual(found["rib.header"], ["a1:a2:a3:a4"])
            if code in reasons:
                self.assertEqual(found.get("rib.reason"), reasons[code], frame.hex())

    def test_of_the_older_forms_it_gives_the_reasons_of_explain(self):
        done = subprocess.run([OPTIONS.ribtool, "explain", "--json", self.capture], check=False, capture_output=True)
        told = {one["frame"]: one for one in map(json.loads, done.stdout.splitlines())}
        checked = set()
        for number, (code, layers) in enumerate(zip(self.codes, self.packets, strict=True), 1):
            if code in (3, 37, 38, 4711):
                reason = told[number].get("reason")
                checked.add(reason)
                self.assertEqual(items_of_tshark(dict(layers)["rib"]).get("rib.reason"), [reason] if reason else None)
        self.assertLessEqual({None, "too_short", "blocks_do_not_fit", "not_tried_too_short", "not_tried_converter"}, checked)

    def test_a_packet_comment_says_what_explain_does(self):
        done = subprocess.run([OPTIONS.ribtool, "explain", "--json", self.capture], check=False, capture_output=True)
        told = {one["frame"]: expected_comment(one) for one in map(json.loads, done.stdout.splitlines())}
        self.assertGreater(len({text.split()[0] for text in told.values() if text}), 3)
        for number, layers in enumerate(self.packets, 1):
            comment = dict(dict(layers).get("pkt_comment", ())).get("frame.comment")
            # Of a loss the objects have no place.
            head, losses, tail = (comment or "").partition(" loss")
            self.assertEqual(head + losses + re.sub(r", byte \d+: ", ": ", tail), told.get(number) or "",
                             f"frame {number}")

    def test_a_commented_copy_has_the_times_and_bytes_of_its_original(self):
        again = self.folder / "again.pcap"
        subprocess.run([OPTIONS.ribtool, "filter", self.commented, "-o", again], check=True, capture_output=True)
        self.assertEqual(again.read_bytes(), self.capture.read_bytes())

    def test_the_texts_of_reasons_are_those_of_the_inspector(self):
        told = dict(re.findall(r'REASON\((\w+), "([^"]*)"\)', pathlib.Path(OPTIONS.reasons).read_text(encoding="utf-8")))
        text = pathlib.Path(OPTIONS.dissector).read_text(encoding="utf-8")
        found = re.findall(r'(\w+) = \{ status = "\w+", text = "([^"]*)"', text)
        found += re.findall(r'reason = "(\w+)",[^"}]*\btext = "([^"]*)"', text)
        self.assertEqual(len(found), 11)
        for reason, words in found:
            self.assertEqual(words, told[reason])


def main():
    parser = argparse.ArgumentParser()
    for name in ("--ribtool", "--dissector", "--reasons", "--reason-cases"):
        parser.add_argument(name, required=True)
    parser.parse_known_args(namespace=OPTIONS)
    OPTIONS.types = types_of_fields()
    unittest.main(argv=sys.argv[:1], verbosity=2)


if __name__ == "__main__":
    main()
