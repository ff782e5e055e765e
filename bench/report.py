#!/usr/bin/env python3
"""Turns what the benchmarks write into tables: lower quartiles over repetitions, and ratios to the best peer.

Arguments are the JSON files of Google Benchmark and, for instruction counts, callgrind's dumps.
"""

import argparse
import json
import pathlib
import re
import statistics
import subprocess
import sys

COMPARED = ["mixed", "full", "wide", "grid", "srv6", "opaque", "proto", "cold", "real"]
WORKLOADS = COMPARED + ["learnt"]
UPDATES = ["sparse_1", "sparse_4", "sparse_64", "rich_1", "rich_4", "rich_64", "table", "route", "service", "grid", "nhid",
           "opaque", "proto", "old_route", "old_opaque", "old_proto"]
OPERATIONS = {
    "decode": "Decode and release",
    "encode": "Encode",
    "encode_sized": "Measure, then encode into the exact size",
    "size": "Measure",
    "duplicate": "Duplicate and release",
}
MAX_PATHS = 1024  # that the client library converts
PEERS = ["protobuf", "protobuf-c", "nanopb", "protozero"]
LIBRARIES = ["malloc_and_free_alone"] + PEERS  # behind our own builds

# Rows of the ratio table: title, operation, our memory and the peers that compete.
# An encoder that measures first encodes too, so peers may use either way; a string has the exact size, too.
RATIOS = [
    ("decode + release, malloc; peers that own heap blocks", "decode", "heap", [("decode", {"heap"})]),
    ("decode + release, bump allocator; any mode of any peer", "decode", "bump",
     [("decode", {"heap", "arena", "bump", "reused"})]),
    ("zero-copy decode, malloc; any mode but a bump allocator", "decode", "heap_zero_copy",
     [("decode", {"heap", "arena", "reused"})]),
    ("zero-copy decode, bump allocator; any mode of any peer", "decode", "bump_zero_copy", [("decode", None)]),
    ("encode", "encode", "buffer", [("encode", None), ("encode_sized", None)]),
    ("measure", "size", "buffer", [("size", None)]),
    ("measure, then encode into the exact size", "encode_sized", "buffer",
     [("encode_sized", None), ("encode", {"string"})]),
    ("duplicate + release, malloc; peers that own heap blocks", "duplicate", "heap", [("duplicate", {"heap"})]),
    ("duplicate, bump allocator; any mode of any peer", "duplicate", "bump", [("duplicate", None)]),
]


def lower_quartile(times):
    """What other processes do only makes a time longer, so the shorter half is the more reliable."""
    times = sorted(times)
    return times[len(times) // 4]


def read_runs(path):
    """{(subject, what, library, memory): {"ns", "bytes", "items_per_second", "peak_kib"}} of a benchmark.

    A benchmark that takes samples says what a message takes itself, otherwise its time is that of several messages.
    """
    samples = {}
    for run in json.loads(path.read_text())["benchmarks"]:
        if run.get("run_type") != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        subject, what, contender = run["run_name"].split("/")[:3]
        samples.setdefault((subject, what, *contender.split(":")), []).append(run)
    found = {}
    for key, runs in samples.items():
        found[key] = {
            "ns": lower_quartile(run.get("ns") or run["cpu_time"] / run["messages"] for run in runs),
            "bytes": runs[0]["bytes"] / runs[0].get("messages", 1),
            "items_per_second": statistics.median(run.get("items_per_second", 0) for run in runs),
            "peak_kib": runs[0].get("peak_kib"),
        }
    return found


def read_callgrind(path):
    """The same keys with the instructions per message, of one dump."""
    dump = path.read_text(errors="replace")
    named = re.search(r"^desc: Trigger: Client Request: (\S+)/(\S+)/(\S+):(\S+) (\d+)$", dump, re.MULTILINE)
    total = re.search(r"^(?:totals|summary): (\d+)", dump, re.MULTILINE)
    return {named.groups()[:4]: {"instructions": int(total[1]) / int(named[5])}} if named and total else {}


def table(rows):
    """Rows of cells as a markdown table; the first row is the head."""
    rows = [[str(cell) for cell in row] for row in rows]
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |" for row in rows]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def number(value):
    if value >= 1e6:
        return f"{value / 1e6:.2f}M"
    if value >= 1e4:
        return f"{value / 1e3:.1f}k"
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def in_order(found, subject):
    workloads = [w for w in WORKLOADS if any(k[:2] == (subject, w) for k in found)]
    contenders = sorted({k[2:] for k in found if k[0] == subject},
                        key=lambda k: (LIBRARIES.index(k[0]) if k[0] in LIBRARIES else -1, k))
    return workloads, contenders


def kinds_in_order(found, subject):
    return [kind for kind in UPDATES if any(key[:2] == (subject, kind) for key in found)]


def contender_table(found, operation, head, cell):
    workloads, contenders = in_order(found, operation)
    rows = [[head, "memory"] + workloads]
    for library, memory in contenders:
        entries = [found.get((operation, workload, library, memory)) for workload in workloads]
        names = [library.replace("_", " "), memory.replace("_", " ")]
        rows.append(names + [cell(entry) if entry else "" for entry in entries])
    return table(rows)


def best_peer(found, workload, rivals):
    best = None
    for (operation, where, library, memory), entry in found.items():
        if where != workload or library not in PEERS:
            continue
        if not any(operation == op and (kinds is None or memory in kinds) for op, kinds in rivals):
            continue
        if best is None or entry["ns"] < best[0]:
            best = entry["ns"], f"{library} {memory}"
    return best


def ratios(found, library="librib"):
    """Rows of (title, {workload: (ratio, best peer)}), of one of our builds."""
    rows = []
    for title, operation, memory, rivals in RATIOS:
        cells = {}
        for workload in COMPARED:
            ours = found.get((operation, workload, library, memory))
            peer = best_peer(found, workload, rivals)
            if ours and peer:
                cells[workload] = peer[0] / ours["ns"], peer[1]
        if cells:
            rows.append((title, cells))
    return rows


def cell_table(rows, head, cell):
    workloads = [w for w in COMPARED if any(w in cells for _, cells in rows)]
    return table([[head] + workloads] +
                 [[title] + [cell(cells[w]) if w in cells else "" for w in workloads] for title, cells in rows])


def other_builds(found):
    """Names of the builds of librib that took part besides the linked one."""
    return sorted({key[2] for key in found if key[2].startswith("librib_")})


def ratio_table(found, library="librib"):
    return cell_table(ratios(found, library), "best peer's time / ours", lambda cell: f"{cell[0]:.2f}")


def best_peer_table(found):
    return cell_table(ratios(found), "the peer that each ratio compares with", lambda cell: cell[1])


def overview_table(found):
    """For the front page: ratios of some rows and workloads, our nanoseconds behind them."""
    heads = {"mixed": "route, {} bytes", "wide": "route, {} KB, 64 paths", "grid": "grid list, {} KB, 1026 keys",
             "proto": "protocol update, {} bytes"}
    rows = [[""]]
    for workload, head in heads.items():
        size = found["encode", workload, "librib", "buffer"]["bytes"]
        rows[0].append(head.format(round(size / 1000 if size >= 1000 else size)))
    for (title, cells), (_, operation, memory, _) in zip(ratios(found), RATIOS):
        if not title.startswith("zero-copy"):
            rows.append([title] + [f"{cells[w][0]:.2f} ({number(found[operation, w, 'librib', memory]['ns'])})"
                                   for w in heads])
    return table(rows)


def conversion_table(found):
    rows = [["paths", "convert ns", "ns per path", "codec", "calloc + free", "both in one loop",
             "(convert - codec) / calloc", "(convert - both) / calloc + 1", "peak KiB"]]
    for paths in sorted({int(k[1]) for k in found if k[0] == "conversion"}):
        entries = [found["conversion", str(paths), "librib", what] for what in ("convert", "codec", "calloc", "both")]
        convert, codec, calloc, both = (entry["ns"] for entry in entries)
        # A record of more paths than are converted is never cleared: its memory comes straight from the system.
        ratios_of_it = ((convert - codec) / calloc, (convert - both) / calloc + 1) if paths <= MAX_PATHS else ()
        rows.append([paths, number(convert), number(convert / paths), number(codec), number(calloc), number(both),
                     *([f"{ratio:.2f}" for ratio in ratios_of_it] or ["", ""]), f"{entries[0]['peak_kib']:.0f}"])
    return table(rows)


def entry_table(found):
    """Nanoseconds an update on one thread, in either form, and what two threads take together; both builds."""
    rows = [["updates", "bytes each", "framed, ns", "stripped, ns", "two threads, updates/s",
             "RIB_CLIENT_ARENA: framed, ns", "stripped, ns", "two threads, updates/s"]]
    for kind in kinds_in_order(found, "entry"):
        row = []
        for build in ("", "_arena"):
            framed, stripped, both = (found.get(("entry", kind, "librib", f"{run}{build}"))
                                      for run in ("1", "1_stripped", "2"))
            row += [number(entry["ns"]) if entry else "" for entry in (framed, stripped)]
            row.append(number(both["items_per_second"]) if both else "")
        size = next(entry["bytes"] for key, entry in found.items() if key[:2] == ("entry", kind))
        rows.append([kind.replace("_", " "), f"{size:.0f}", *row])
    return table(rows)


def by_hand_table(found):
    """The entry points, framed, beside the same work on top of other libraries; nanoseconds an update."""
    others = sorted({key[2:] for key in found if key[0] == "by_hand" and key[2] in PEERS},
                    key=lambda other: (LIBRARIES.index(other[0]), other[1]))
    rows = [["ns an update", "librib", *(f"{library} {memory}" for library, memory in others), "best by hand / librib"]]
    for kind in kinds_in_order(found, "by_hand"):
        times = [found.get(("by_hand", kind, *other)) for other in (("librib", "entry"), *others)]
        ours, *theirs = (entry["ns"] if entry else None for entry in times)
        if ours is None or not any(theirs):
            continue
        best = min(ns for ns in theirs if ns is not None)
        rows.append([kind.replace("_", " "), *(number(ns) if ns else "" for ns in (ours, *theirs)), f"{best / ours:.2f}"])
    return table(rows)


def million_line(found):
    framed = found.get(("entry", "table", "librib", "1"))
    return f"A million routes like those of `mixed`, framed: {framed['ns'] / 1000:.2f} s of processor time." if framed else ""


def load_table(found):
    rows = [["library", "dlopen, µs", "first call, µs", "both"]]
    for build in ("dispatch", "baseline"):
        times = [found.get(("load", build, "librib", what)) for what in ("open", "call", "both")]
        if all(times):
            rows.append([build, *(f"{entry['ns'] / 1000:.0f}" for entry in times)])
    return table(rows)


def scaling_points(found, scale, operation):
    return sorted((int(k[1]), entry["ns"]) for k, entry in found.items()
                  if k[0] == f"scaling_{scale}" and k[3] == operation)


def scaling_table(found):
    rows = [["what grows", "size", "decode + release ns", "per element", "encode ns", "per element"]]
    for scale in ("paths", "keys", "depth"):
        encode = dict(scaling_points(found, scale, "encode"))
        for size, ns in scaling_points(found, scale, "decode"):
            rows.append([scale, size, number(ns), number(ns / size), number(encode[size]), number(encode[size] / size)])
    return table(rows)


def fill_page(page, tables, found):
    """Puts fresh tables between <!-- name --> and <!-- /name --> of a page; what was not measured stays as it was."""
    text = page.read_text()
    for name, make in tables.items():
        made = make(found) if f"<!-- {name} -->" in text else ""
        if not made or made.count("\n") == 1:  # the head of a table alone
            continue
        fresh = f"<!-- {name} -->\n{made}\n<!-- /{name} -->"
        text = re.sub(rf"<!-- {name} -->\n.*?<!-- /{name} -->", lambda _, fresh=fresh: fresh, text, flags=re.DOTALL)
    page.write_text(text)


def gnuplot(script):
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def plot_ratios(found, path):
    rows = ratios(found)
    workloads = [w for w in COMPARED if any(w in cells for _, cells in rows)]
    data = ["workload " + " ".join(f'"{title}"' for title, _ in rows)]
    for workload in workloads:
        data.append(workload + " " + " ".join(f"{cells[workload][0]:.3f}" if workload in cells else "NaN"
                                              for _, cells in rows))
    gnuplot(f'''
set terminal svg size 1200,460 background "white" font "sans,11"
set output "{path}"
set title "Best peer's time divided by librib's"
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.8 noborder
set grid ytics
set yrange [0:*]
set key outside below maxcols 2
set linetype 9 lc rgb "#999933"
set arrow from graph 0,first 1 to graph 1,first 1 nohead lw 2 front
$data << EOD
{chr(10).join(data)}
EOD
plot for [i=2:{len(rows) + 1}] $data using i:xtic(1) title columnhead(i)
''')


def plot_scaling(found, path):
    blocks, plots = [], []
    panels = {"paths": ("paths of a route", "milliseconds", 1e6), "keys": ("keys of a grid list", "microseconds", 1e3),
              "depth": ("depth of nesting", "nanoseconds", 1)}
    for scale, (label, unit, divisor) in panels.items():
        for operation in ("decode", "encode"):
            points = "\n".join(f"{size} {ns / divisor}" for size, ns in scaling_points(found, scale, operation))
            blocks.append(f"${scale}_{operation} << EOD\n{points}\nEOD")
        plots.append(f'set xlabel "{label}"\nset ylabel "{unit}"\n'
                     f'plot ${scale}_decode with linespoints pt 7 title "decode + release", '
                     f'${scale}_encode with linespoints pt 5 title "encode"')
    gnuplot(f'''
set terminal svg size 1100,380 background "white" font "sans,11"
set output "{path}"
{chr(10).join(blocks)}
set multiplot layout 1,3
set yrange [0:*]
set xrange [0:*]
set offsets graph 0, graph 0.05, graph 0.05, 0
set key top left
{chr(10).join(plots)}
''')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="+", type=pathlib.Path)
    parser.add_argument("--plots", type=pathlib.Path, metavar="DIR", help="write ratios.svg and scaling.svg there")
    parser.add_argument("--page", type=pathlib.Path, metavar="FILE", action="append", default=[],
                        help="put the short tables into that page")
    options = parser.parse_args()
    found = {}
    for path in options.files:
        found.update(read_runs(path) if path.suffix == ".json" else read_callgrind(path))
    subjects = {key[0] for key in found}
    counts = any("instructions" in entry for entry in found.values())

    if not counts and subjects & set(OPERATIONS):
        print("## Ratios\n\n" + ratio_table(found))
        for library in other_builds(found):
            print(f"\n## Ratios, {library.replace('_', ' ')}\n\n" + ratio_table(found, library))
        print("\n## The best peers\n\n" + best_peer_table(found))
    for operation, title in OPERATIONS.items():
        if operation not in subjects:
            continue
        if counts:
            print(f"\n## {title}\n\n" + contender_table(found, operation, "instructions per message",
                                                        lambda entry: number(entry["instructions"])))
        else:
            print(f"\n## {title}\n\n" + contender_table(
                found, operation, "ns per message (MB/s)",
                lambda entry: f"{number(entry['ns'])} ({entry['bytes'] / entry['ns'] * 1000:.0f})"))
    if "conversion" in subjects:
        print("\n## Conversion\n\n" + conversion_table(found))
    if "entry" in subjects:
        print("\n## Entry points\n\n" + entry_table(found))
    if "by_hand" in subjects:
        print("\n## Entry points beside a conversion by hand\n\n" + by_hand_table(found))
        print("\n" + million_line(found))
    if "load" in subjects:
        print("\n## Load\n\n" + load_table(found))
    if "scaling_paths" in subjects:
        print("\n## Growth\n\n" + scaling_table(found))
    for page in options.page:
        fill_page(page, {"ratios": ratio_table, "ratios_gxx": lambda all_found: ratio_table(all_found, "librib_g++"),
                         "overview": overview_table, "conversion": conversion_table, "entry": entry_table,
                         "by_hand": by_hand_table, "million": million_line, "load": load_table}, found)
    if options.plots and not counts and "decode" in subjects:
        plot_ratios(found, options.plots / "ratios.svg")
    if options.plots and {f"scaling_{scale}" for scale in ("paths", "keys", "depth")} <= subjects:
        plot_scaling(found, options.plots / "scaling.svg")


if __name__ == "__main__":
    main()
