#!/usr/bin/env python3
"""Fails when work through the C++ layer takes over 1 % more instructions than through the C functions, counted by callgrind.

    check_instructions.py PROGRAM SCRATCH      PROGRAM is count_instructions
    check_instructions.py --self-test
"""

import pathlib
import re
import subprocess
import sys
import unittest

SLACK = 0.01
FEWEST_PAIRS = 8


def counts_of(annotated):
    """Inclusive instructions of each c_ and cpp_ function, as callgrind_annotate lists them: {name: count}."""
    found = {}
    for line in annotated.splitlines():
        listed = re.match(r"\s*([\d,]+)\s.*[ :]((?:c|cpp)_\w+)(?:'\d+)?(?:\s|$)", line)
        if listed:
            found.setdefault(listed[2], int(listed[1].replace(",", "")))
    return found


def problems_of(counts):
    works = sorted(name[2:] for name in counts if name.startswith("c_"))
    problems = [f"{work}: only in C" for work in works if f"cpp_{work}" not in counts]
    if len(works) < FEWEST_PAIRS:
        problems.append(f"callgrind counted {len(works)} kinds of work, of {FEWEST_PAIRS}")
    for work in works:
        in_c, in_cpp = counts[f"c_{work}"], counts.get(f"cpp_{work}", 0)
        print(f"{work:<20} C {in_c:>9}   C++ {in_cpp:>9}   {in_cpp / in_c - 1:+.2%}")
        if in_cpp > in_c * (1 + SLACK):
            problems.append(f"{work}: over {SLACK:.0%} more in C++")
    return problems


def counted(program, scratch):
    dump = pathlib.Path(scratch) / "callgrind.out"
    subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={dump}", program], check=True, capture_output=True)
    return subprocess.run(["callgrind_annotate", "--inclusive=yes", "--threshold=100", str(dump)], check=True,
                          capture_output=True, text=True).stdout


class Counts(unittest.TestCase):
    def test_inclusive_counts_are_found_by_name(self):
        self.assertEqual(counts_of(" 1,200 (10.00%)  a.cpp:c_work [/tmp/p]\n 90  ???:cpp_work [/tmp/p]\n 7  ???:main [/p]\n"),
                         {"c_work": 1200, "cpp_work": 90})

    def test_one_percent_more_is_a_problem(self):
        counts = {f"{way}_{i}": 1000 for i in range(FEWEST_PAIRS) for way in ("c", "cpp")}
        self.assertEqual(problems_of(counts), [])
        self.assertEqual(problems_of({**counts, "cpp_3": 1010}), [])
        self.assertEqual(problems_of({**counts, "cpp_3": 1011}), ["3: over 1% more in C++"])

    def test_work_that_was_not_counted_is_a_problem(self):
        self.assertEqual(len(problems_of({})), 1)


if __name__ == "__main__":
    if sys.argv[1:] == ["--self-test"]:
        unittest.main(argv=sys.argv[:1])
    found = problems_of(counts_of(counted(*sys.argv[1:])))
    print("\n".join(found))
    sys.exit(1 if found else 0)
