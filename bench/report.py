#!/usr/bin/env python3
"""Turns the JSON that the benchmarks write into tables: medians over repetitions, and ratios to the best peer."""

import argparse
import json
import statistics
import sys

WORKLOADS = ["mixed", "full", "wide", "grid", "srv6", "opaque", "proto", "real"]

# Rows of the ratio table: title, our contender, which peers compete.
# An encoder that measures first encodes too: peers may use either way.
RATIOS = [
    ("decode + release, malloc, against peers that own heap blocks", "decode", "heap", [("decode", {"heap"})]),
    ("decode + release, bump allocator, against any mode", "decode", "bump", [("decode", None)]),
    ("zero-copy decode + release, malloc, against any mode", "decode", "heap_zero_copy", [("decode", None)]),
    ("zero-copy decode, bump allocator, against any mode", "decode", "bump_zero_copy", [("decode", None)]),
    ("encode", "encode", "buffer", [("encode", None), ("encode_sized", None)]),
    ("size + encode", "encode_sized", "buffer", [("encode_sized", None), ("encode", {"string"})]),
    ("size", "size", "buffer", [("size", None)]),
    ("duplicate + release", "duplicate", "heap", [("duplicate", None)]),
]

TARGETS = {  # mixed, full, wide, grid, srv6, opaque, proto
    ("decode", "heap"): [2.0, 1.7, 3.0, 2.1, 1.7, 1.6, 1.4],
    ("decode", "bump"): [1.8, 1.5, 2.2, 2.0, 1.8, 2.0, 2.5],
    ("encode", "buffer"): [1.6, 1.7, 2.4, 1.7, 1.9, 1.6, 1.2],
    ("duplicate", "heap"): [1.9] * 7,
    ("size", "buffer"): [1.0] * 7,
}


def medians(runs):
    """{(operation, workload, library, memory): (ns per message, MB/s)}"""
    times, sizes = {}, {}
    for run in runs:
        if run.get("run_type") != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        operation, workload, contender = run["name"].split("/")[:3]
        library, memory = contender.split(":")
        key = operation, workload, library, memory
        times.setdefault(key, []).append(run["cpu_time"] / run["messages"])
        sizes[key] = run["bytes"] / run["messages"]
    result = {}
    for key, samples in times.items():
        ns = statistics.median(samples)
        result[key] = ns, sizes[key] / ns * 1000
    return result


def table(rows):
    """Rows of cells as a markdown table; the first row is the head."""
    rows = [[str(cell) for cell in row] for row in rows]
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |" for row in rows]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def number(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def time_table(found, operation):
    workloads = [w for w in WORKLOADS if any(k[0] == operation and k[1] == w for k in found)]
    contenders = list(dict.fromkeys(k[2:] for k in found if k[0] == operation))
    rows = [["ns per message (MB/s)", "owns"] + workloads]
    for library, memory in contenders:
        row = [library, memory.replace("_", " ")]
        for workload in workloads:
            cell = found.get((operation, workload, library, memory))
            row.append(f"{number(cell[0])} ({cell[1]:.0f})" if cell else "")
        rows.append(row)
    return table(rows)


def best_peer(found, workload, rivals):
    best = None
    for (operation, where, library, memory), (ns, _) in found.items():
        if where != workload or library == "librib":
            continue
        if not any(operation == op and (kinds is None or memory in kinds) for op, kinds in rivals):
            continue
        if best is None or ns < best[0]:
            best = ns, f"{library} {memory}"
    return best


def ratio_table(found):
    workloads = [w for w in WORKLOADS if any(k[1] == w for k in found)]
    rows = [["best peer's time / ours"] + workloads]
    for title, operation, memory, rivals in RATIOS:
        row = [title]
        for i, workload in enumerate(workloads):
            ours = found.get((operation, workload, "librib", memory))
            peer = best_peer(found, workload, rivals)
            if ours is None or peer is None:
                row.append("")
                continue
            ratio = peer[0] / ours[0]
            goals = TARGETS.get((operation, memory))
            short = goals and i < len(goals) and ratio < goals[i]
            row.append(f"{ratio:.2f}" + (f" (goal {goals[i]})" if short else ""))
        if any(row[1:]):
            rows.append(row)
    return table(rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("json", nargs="+")
    found = {}
    for path in parser.parse_args().json:
        with open(path) as file:
            found.update(medians(json.load(file)["benchmarks"]))
    print(ratio_table(found))
    for operation in dict.fromkeys(key[0] for key in found):
        print(f"\n{operation}\n")
        print(time_table(found, operation))


if __name__ == "__main__":
    main()
