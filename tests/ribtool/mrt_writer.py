"""Writes MRT files (RFC 6396, RFC 8050) for tests: each function gives the bytes of one piece."""

import ipaddress
import struct

IGP, EGP, INCOMPLETE = 0, 1, 2

# Segments of an AS path: ("sequence", [1, 2]).
SEGMENT_TYPES = {"set": 1, "sequence": 2, "confed_sequence": 3, "confed_set": 4}

# TABLE_DUMP_V2
PEER_INDEX_TABLE = 1
RIB_IPV4_UNICAST, RIB_IPV4_MULTICAST, RIB_IPV6_UNICAST, RIB_IPV6_MULTICAST, RIB_GENERIC, GEO_PEER_TABLE = range(2, 8)
RIB_IPV4_UNICAST_ADDPATH, RIB_IPV4_MULTICAST_ADDPATH, RIB_IPV6_UNICAST_ADDPATH = range(8, 11)
RIB_IPV6_MULTICAST_ADDPATH, RIB_GENERIC_ADDPATH = range(11, 13)

# BGP4MP
STATE_CHANGE, MESSAGE, MESSAGE_AS4, STATE_CHANGE_AS4, MESSAGE_LOCAL, MESSAGE_AS4_LOCAL = 0, 1, 4, 5, 6, 7
MESSAGE_ADDPATH, MESSAGE_AS4_ADDPATH, MESSAGE_LOCAL_ADDPATH, MESSAGE_AS4_LOCAL_ADDPATH = range(8, 12)


def record(time, kind, subtype, body):
    return struct.pack(">IHHI", time, kind, subtype, len(body)) + body


def table_record(time, subtype, body):
    return record(time, 13, subtype, body)


def address(text):
    return ipaddress.ip_address(text).packed


def prefix(text):
    """The length in bits and the bytes that it needs. Bits behind the length may be set: "10.1.2.3/17"."""
    number, length = text.split("/")
    return bytes([int(length)]) + address(number)[:(int(length) + 7) // 8]


# ---- Path attributes ----

def attribute(kind, value, flags=0x40):
    if len(value) > 255:
        return struct.pack(">BBH", flags | 0x10, kind, len(value)) + value
    return struct.pack(">BBB", flags, kind, len(value)) + value


def origin(value):
    return attribute(1, bytes([value]))


def as_path(*segments, size=4, kind=2):
    value = b""
    for name, numbers in segments:
        value += bytes([SEGMENT_TYPES[name], len(numbers)])
        value += b"".join(number.to_bytes(size, "big") for number in numbers)
    return attribute(kind, value)


def as_sequence(*numbers, size=4):
    return as_path(("sequence", numbers), size=size)


def as4_path(*segments):
    return as_path(*segments, kind=17)


def next_hop(text):
    return attribute(3, address(text))


def med(value):
    return attribute(4, struct.pack(">I", value), 0x80)


def local_pref(value):
    return attribute(5, struct.pack(">I", value))


def atomic_aggregate():
    return attribute(6, b"")


def aggregator(number, text, size=4, kind=7):
    return attribute(kind, number.to_bytes(size, "big") + address(text), 0xc0)


def communities(*texts):
    return attribute(8, b"".join(struct.pack(">HH", *map(int, text.split(":"))) for text in texts), 0xc0)


def extended_communities(*digits):
    return attribute(16, b"".join(map(bytes.fromhex, digits)), 0xc0)


def large_communities(*texts):
    return attribute(32, b"".join(struct.pack(">III", *map(int, text.split(":"))) for text in texts), 0xc0)


def mp_reach(next_hops, prefixes=b"", afi=2, safi=1):
    """As an update has it. Several next hops: the one of the link behind the global one."""
    hops = b"".join(map(address, next_hops))
    return attribute(14, struct.pack(">HBB", afi, safi, len(hops)) + hops + b"\0" + prefixes, 0x80)


def mp_reach_of_entry(*next_hops):
    """As entries of tables have it: nothing but the next hop."""
    hops = b"".join(map(address, next_hops))
    return attribute(14, bytes([len(hops)]) + hops, 0x80)


def mp_unreach(prefixes=b"", afi=2, safi=1):
    return attribute(15, struct.pack(">HB", afi, safi) + prefixes, 0x80)


# ---- TABLE_DUMP_V2 ----

def peer(text, number, is_as4=True):
    is_ipv6 = ":" in text
    return (bytes([is_ipv6 | is_as4 << 1]) + address("192.0.2.255") + address(text) +
            number.to_bytes(4 if is_as4 else 2, "big"))


def peer_table(time, *peers, view=b"view"):
    body = address("198.51.100.1") + struct.pack(">H", len(view)) + view + struct.pack(">H", len(peers))
    return table_record(time, PEER_INDEX_TABLE, body + b"".join(peers))


def entry(peer_index, originated, attributes, path_id=None):
    identifier = b"" if path_id is None else struct.pack(">I", path_id)
    return struct.pack(">HI", peer_index, originated) + identifier + struct.pack(">H", len(attributes)) + attributes


def rib(time, subtype, sequence, prefix_bytes, *entries):
    return table_record(time, subtype, struct.pack(">I", sequence) + prefix_bytes + struct.pack(">H", len(entries)) +
                        b"".join(entries))


def rib_generic(time, sequence, afi, safi, prefix_bytes, *entries, subtype=RIB_GENERIC):
    return rib(time, subtype, sequence, struct.pack(">HB", afi, safi) + prefix_bytes, *entries)


# ---- BGP4MP ----

def bgp_message(kind, body):
    return b"\xff" * 16 + struct.pack(">HB", 19 + len(body), kind) + body


def bgp_update(withdrawn=b"", attributes=b"", announced=b""):
    return bgp_message(2, struct.pack(">H", len(withdrawn)) + withdrawn + struct.pack(">H", len(attributes)) +
                       attributes + announced)


def with_path_id(identifier, prefix_bytes):
    return struct.pack(">I", identifier) + prefix_bytes


def peers_of_message(peer_as, peer_address, size):
    local = "2001:db8::ff" if ":" in peer_address else "192.0.2.255"
    return (peer_as.to_bytes(size, "big") + (64999).to_bytes(size, "big") + b"\0\7" +
            struct.pack(">H", 2 if ":" in peer_address else 1) + address(peer_address) + address(local))


def size_of_as(subtype):
    return 4 if subtype in (MESSAGE_AS4, STATE_CHANGE_AS4, MESSAGE_AS4_LOCAL, MESSAGE_AS4_ADDPATH,
                            MESSAGE_AS4_LOCAL_ADDPATH) else 2


def bgp4mp(time, subtype, peer_as, peer_address, message, microseconds=None):
    body = peers_of_message(peer_as, peer_address, size_of_as(subtype)) + message
    if microseconds is None:
        return record(time, 16, subtype, body)
    return record(time, 17, subtype, struct.pack(">I", microseconds) + body)


def state_change(time, subtype, peer_as, peer_address, old, new):
    return record(time, 16, subtype, peers_of_message(peer_as, peer_address, size_of_as(subtype)) +
                  struct.pack(">HH", old, new))
