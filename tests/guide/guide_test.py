#!/usr/bin/env python3
"""Compiles and runs the code that a page shows. README.md says how.

    guide_test.py --page PAGE [--cpp] --cc COMPILER [--flag FLAG]... --include FOLDER --scratch FOLDER LIBRARY...
    guide_test.py --self-test
"""

import argparse
import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
INDENT = "    "
MARK = re.compile(r"<!-- code: (\w+) -->")
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror"]
C = ["-std=c99", "-D_GNU_SOURCE"]
CPP = ["-std=c++17", "-fno-exceptions", "-fno-rtti", "-Wsign-conversion"]
SECONDS = 60

# Program, its file, what is defined, and the library of its event loop.
PROGRAMS = [
    ("read", "read.c", [], []),
    ("send", "send.c", [], []),
    ("epoll", "loops.c", ["-DLOOP_EPOLL"], []),
    ("poll", "loops.c", ["-DLOOP_POLL"], []),
    ("libevent", "loops.c", ["-DLOOP_LIBEVENT"], ["-levent_core"]),
    ("libev", "loops.c", ["-DLOOP_LIBEV", "-Wno-strict-aliasing"], ["-lev"]),
    ("libuv", "loops.c", ["-DLOOP_LIBUV"], ["-luv"]),
]
CPP_PROGRAMS = [("cpp_page", "cpp_page.cpp", [], [])]


def pieces_of(text):
    """The marked blocks of a page: {name: (line, code)}."""
    lines = text.split("\n")
    found = {}
    for index, line in enumerate(lines):
        marked = MARK.fullmatch(line)
        if not marked:
            continue
        start = index + 1
        while start < len(lines) and not lines[start]:
            start += 1
        end = start
        while end < len(lines) and (lines[end].startswith(INDENT) or not lines[end]):
            end += 1
        code = "\n".join(line[len(INDENT):] for line in lines[start:end]).rstrip()
        if not code or marked[1] in found:
            raise SystemExit(f"line {index + 1}: {marked[1]} has no block, or has two")
        found[marked[1]] = (start + 1, code)
    return found


def problems_of(arguments):
    scratch = pathlib.Path(arguments.scratch)
    scratch.mkdir(parents=True, exist_ok=True)
    for old in scratch.glob("*.inc"):
        old.unlink()
    pieces = pieces_of(pathlib.Path(arguments.page).read_text())
    for name, (line, code) in pieces.items():
        (scratch / f"{name}.inc").write_text(f'#line {line} "{arguments.page}"\n{code}\n')
    problems = []
    programs = "".join(path.read_text() for path in HERE.glob("*.cpp" if arguments.cpp else "*.[ch]"))
    standard = CPP if arguments.cpp else C
    problems += [f"{name}: in no program" for name in pieces if f'#include "{name}.inc"' not in programs]
    folders = {str(pathlib.Path(library).parent) for library in arguments.libraries}
    for name, file, defined, loop in CPP_PROGRAMS if arguments.cpp else PROGRAMS:
        program = scratch / name
        command = [arguments.cc, *standard, *WARNINGS, *arguments.flag, *defined, f"-I{scratch}", f"-I{HERE}", f"-I{arguments.include}",
                   str(HERE / file), "-o", str(program), *arguments.libraries, *loop,
                   *(f"-Wl,-rpath,{folder}" for folder in folders)]
        built = subprocess.run(command, capture_output=True, text=True, timeout=SECONDS)
        if built.returncode != 0:
            problems.append(f"{name} does not compile:\n{built.stderr}")
            continue
        ran = subprocess.run([str(program)], capture_output=True, text=True, timeout=SECONDS)
        if ran.returncode != 0:
            problems.append(f"{name} ends with {ran.returncode}:\n{ran.stderr}")
    return problems


class Pieces(unittest.TestCase):
    def test_block_below_its_mark_is_taken_without_its_indent(self):
        page = "text\n\n<!-- code: one -->\n\n    int a;\n\n        b\n\ntext\n\n    no code\n"
        self.assertEqual(pieces_of(page), {"one": (5, "int a;\n\n    b")})

    def test_mark_without_a_block_and_a_second_block_are_refused(self):
        for page in ("<!-- code: one -->\n\ntext\n", "<!-- code: one -->\n\n    a\n\n<!-- code: one -->\n\n    b\n"):
            with self.assertRaises(SystemExit):
                pieces_of(page)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--page")
    parser.add_argument("--cpp", action="store_true")
    parser.add_argument("--cc", default="cc")
    parser.add_argument("--flag", action="append", default=[])
    parser.add_argument("--include")
    parser.add_argument("--scratch")
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("libraries", nargs="*")
    arguments = parser.parse_args()
    if arguments.self_test:
        unittest.main(argv=sys.argv[:1])
    problems = problems_of(arguments)
    print("\n".join(problems) or "all that the page shows compiles and runs")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
