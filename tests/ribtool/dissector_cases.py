"""What the tests of the dissector share: captures, tshark, and the updates that it is compared on. Those are the cases of
the reasons, bytes of odd forms, damaged ones and large ones."""

import json
import pathlib
import random
import re
import struct
import subprocess

MESSAGES = {46: "rib_grid_sync_list", 47: "ip_rib_proto_update", 49: "rib_nhid_update", 50: "ip_rib_opaque", 51: "rib_route"}
USER0 = 147
ETHERNET = 1
CODES = {"OLD_ROUTE": 3, "OLD_OPAQUE": 37, "OLD_PROTO": 38, "GRID": 46, "PROTO": 47, "NHID": 49, "OPAQUE": 50, "ROUTE": 51}

# A case of the inspector's own tests: code, bytes as hexadecimal numbers and characters, what is told of them.
REASON_CASE = re.compile(r"\{RIB_TLV_(\w+),\s*\{([^{}]*)\},\s*\"")

# Hexadecimal, a field a line.
ODD_FORMS = [
    (51, "10 81 80 80 80 80 80 80 80 80 80 80 80 01"),  # 2 route_value_2 = 1, in 13 bytes
    (51, "10 ff ff ff ff ff ff ff ff ff 01"),  # 2 route_value_2 = 2^64 - 1: the low 32 bits are kept
    (51, "c0 02 ff ff ff ff ff ff ff ff ff 01"),  # 40 route_value_40 = 2^64 - 1
    (51, "c8 02 80 80 80 80 80 80 80 80 80 01"),  # 41 route_value_41 = 2^63
    (51, "c0 02 81 80 80 80 80 80 80 10"),  # 40 route_value_40 = 2^53 + 1
    (51, "c0 02 ff ff ff ff ff ff ff ff ff 7f"),  # 40, the tenth byte with bits that nothing keeps
    (51, "90 80 80 80 80 80 80 80 80 80 80 01 05"),  # a tag of 12 bytes: 2 route_value_2 = 5
    (51, "90 80 80 80 f0 ff 01 05"),  # a tag with bits beyond 32, and of the fifth byte four: 2 route_value_2, shortened
    (51, "10 05 10 06"),  # 2 route_value_2 = 5, replaced by 6
    (51, "0a 04 0a 02 08 01  0a 02 10 18"),  # 1 route_prefix with an address, replaced by one with a length alone
    (51, "98 06 05  9a 06 02 61 62  99 06 00 00 00 00 00 00 00 00  9d 06 00 00 00 00"),  # 99, of each wire type
    (51, "9a 06 7f 61"),  # 99 reaches past the end, which ends the message
    (51, "9d 06 00 00"),  # likewise, fixed32
    (51, "99 06 00"),  # likewise, fixed64
    (51, "0a 05 0a 03 9a 06 7f  10 05"),  # likewise, inside: what follows the address is read
    (51, "00 05  04"),  # number 0, and then a group's end
    (51, "9e 06"),  # wire type 6
    (51, "d2 01 80 80 00  d2 01 00"),  # 26 paths, the length of the first in three bytes
    (51, "d2 01 02 5a 00  d0 01 02 08 07"),  # 26 paths: the second has another wire type, which nobody looks at
    (51, "d2 01 00  d2 01 05 08"),  # 26 paths[1] is cut off: the run is counted before any is read
    (51, "d2 01 02 08 80  d2 01 05 08"),  # the same, though paths[0] cannot be read either
    (51, "d2 01 0a d2 01 07 10 01 10 02 18 03 ff"),  # 26 paths[0]: 26 of it, ecomm, broken inside
    (51, "d2 01 09 d2 01 06 10 01 18 05 10 02"),  # a second run of ecomm values
    (51, "12 00"),  # 2 route_value_2 with the wire type of a message
    (51, "d0 01 00"),  # 26 paths with the wire type of a number
    (51, "d2 01 00 d0 01"),  # a run whose second element has no length
    (51, "80"),  # a tag that is cut off
    (51, "0a 80"),  # a length that is cut off
    (51, "0a ff ff ff ff 8f 01"),  # a length with bits beyond 32
    (51, "0a 80 80 80 80 10"),  # a length of 2^32, of which 0 is kept
    (51, "0a 14 0a 10 08 02 1a 0c 08 b9 dc 83 b0 01 10 80 80 80 08 ff  10 40"),  # an IPv6 address, broken
    (51, ""),
    (46, "20 02"),  # 4 multi_key = 2: true
    (46, "20 80 80 80 80 80 80 80 80 80 02"),  # 4 multi_key: 0 in the 64 bits that count
    (46, "20 80 80 80 80 80 80 01"),  # 4 multi_key: true by a high bit
    (46, "0a 0b 08 ff ff ff ff ff ff ff ff ff 01"),  # 1 encap_ids[0].encap_id = 2^64 - 1
    (47, "08 01 22 00 2a 03 61 00 62"),  # 4 proto_name empty, 5 with a NUL inside
    (47, "08 01 22 04 c3 a4 22 5c"),  # 4 proto_name with two bytes for a character, a quote and a backslash
    (47, "08 01 22 02 c3 28"),  # 4 proto_name is no UTF-8
    (47, "08 01 22 03 0a 1b 7f"),  # 4 proto_name of characters that terminals obey
    (47, "22 01 61 22 01 62"),  # 4 proto_name, twice
    (49, "18 ff ff ff ff ff ff ff ff ff 01 12 06 12 04 08 01 10 05"),  # 3 nhid = 2^64 - 1; 2 its key: 0.0.0.5
    (50, "2a 00 32 03 01 02 03"),  # 5 first_block empty, 6 second_block
    (50, "2a 05 00"),  # 5 first_block reaches past the end
    (0, ""), (0, "0102"), (4711, "0102"), (3, "01"), (37, "01"), (38, "01"),
]


def reason_cases(path):
    found = []
    for code, content in REASON_CASE.findall(pathlib.Path(path).read_text(encoding="utf-8")):
        items = [item.strip() for item in content.split(",") if item.strip()]
        if all(re.fullmatch(r"0[xX][0-9a-fA-F]{1,2}|'.'", item) for item in items):
            found.append((CODES[code], bytes(ord(item[1]) if item[0] == "'" else int(item, 16) for item in items)))
    return found


def large_cases():
    return [
        (51, bytes.fromhex("d20100") * 21845),  # empty paths
        (51, bytes.fromhex("d201f9ff03 d201f4ff03") + bytes.fromhex("1001") * 32762),  # ecomm values
        (51, bytes.fromhex("1001") * 32767),  # one value, replaced again and again
        (51, bytes.fromhex("980601") * 21845),  # unknown fields
    ]


def damaged(payload, source):
    """The payload with one to three faults that a stream or a sender may put into it."""
    data = bytearray(payload)
    for _ in range(source.randint(1, 3)):
        place = source.randrange(len(data)) if data else 0
        fault = source.randrange(6)
        if fault == 0 and data:
            data[place] ^= 1 << source.randrange(8)
        elif fault == 1 and data:
            data[place] = source.choice((0, 1, 0x7f, 0x80, 0xff))
        elif fault == 2:
            del data[place:]
        elif fault == 3:
            data[place:place] = bytes(source.randrange(256) for _ in range(source.randint(1, 3)))
        elif fault == 4:
            data += data[place:place + 40]
        elif data:
            del data[place]
    return bytes(data[:65535])


def read_pcap(data):
    """Frames of a capture whose numbers have the least significant byte first."""
    place = 24
    while place < len(data):
        length = struct.unpack_from("<I", data, place + 8)[0]
        yield data[place + 16:place + 16 + length]
        place += 16 + length


def generated_cases(ribtool, folder, count, seed):
    """Updates as synth writes them, and each damaged."""
    capture = folder / "mixed.pcap"
    subprocess.run([ribtool, "synth", "--profile", "mixed", "--updates", str(count), "-o", capture], check=True,
                   capture_output=True)
    source = random.Random(seed)
    for frame in read_pcap(capture.read_bytes()):
        code, payload = struct.unpack(">H", frame[4:6])[0], frame[8:]
        yield code, payload
        yield code, damaged(payload, source)


def all_cases(ribtool, folder, reasons, count, seed):
    return (reason_cases(reasons) + [(code, bytes.fromhex(text)) for code, text in ODD_FORMS] + large_cases() +
            list(generated_cases(ribtool, folder, count, seed)))


def frame(code, payload):
    return struct.pack(">IHH", 0xa1a2a3a4, code, len(payload)) + payload


def decoded(ribtool, capture, code):
    """What ribtool decode says of all updates of a code, in the order of the capture."""
    done = subprocess.run([ribtool, "decode", MESSAGES[code], capture, "--code", str(code), "--replace"], check=False,
                          capture_output=True)
    return [json.loads(line) for line in done.stdout.decode().splitlines()]


def pcap(frames, link_type=USER0):
    """A capture of these packets, a microsecond apart."""
    packets = (struct.pack("<IIII", 1700000000, index, len(each), len(each)) + each for index, each in enumerate(frames))
    return struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, 262144, link_type) + b"".join(packets)


def tshark(dissector, *arguments):
    """What tshark prints, none of whose packets may be too much for the dissector."""
    done = subprocess.run(["tshark", "-n", "-X", f"lua_script:{dissector}", *arguments], check=False,
                          capture_output=True)
    wrong = re.findall(rb"Lua Error.*|.*infinite loop.*", done.stdout + done.stderr)
    if wrong or done.returncode != 0:
        raise AssertionError(f"tshark ends with {done.returncode}: {wrong[:3]} {done.stderr[-1000:]}")
    return done.stdout
