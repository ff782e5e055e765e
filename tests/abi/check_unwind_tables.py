#!/usr/bin/env python3
"""Fails when a function of the library has no unwind table, unless it is a baseline copy of what is dispatched.

    check_unwind_tables.py LIBRARY
"""

import bisect
import re
import subprocess
import sys


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def table_ranges(library):
    frames = output_of("readelf", "--debug-dump=frames", library)
    return sorted((int(first, 16), int(last, 16)) for first, last in re.findall(r" FDE .*pc=(\w+)\.\.(\w+)", frames))


def functions(library):
    for line in output_of("nm", "-S", "-C", "--defined-only", library).splitlines():
        found = re.fullmatch(r"(\w+) (\w+) [tTwWi] (.+)", line)
        if found:
            yield int(found[1], 16), found[3]


def main():
    library = sys.argv[1]
    ranges = table_ranges(library)
    starts = [first for first, _ in ranges]
    seen = bare = 0
    wrong = []
    for address, name in functions(library):
        seen += 1
        place = bisect.bisect_right(starts, address) - 1
        if place >= 0 and address < ranges[place][1]:
            continue
        bare += 1
        if not re.search(r"_baseline\b|\bzidl::detail::baseline::", name):
            wrong.append(name)
    print(f"{seen} functions, {len(ranges)} tables, {bare} functions without one")
    print("\n".join(f"no unwind table: {name}" for name in wrong))
    return 1 if wrong or not ranges or not seen else 0


if __name__ == "__main__":
    sys.exit(main())
