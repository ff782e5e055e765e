#!/usr/bin/env python3
"""Runs what README.md and docs/install.md show, against an installed copy: every program, and every line of every command block.

    shown_lines_test.py --prefix FOLDER --libdir lib --page PAGE... --scratch FOLDER [--cc CC] [--cxx CXX] [--sanitize LIST] [--no-tools]
    shown_lines_test.py --self-test

A fenced block is a file when its first line is a comment with a file name; one more of the same name is appended to it. An indented
block is commands, run by bash in one folder in their order; a page begins where the one before it ended. `# prints: TEXT` behind
a command is what it prints. `&` at its end leaves it running.
"""

import argparse
import gzip
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
SECONDS = 120

# What would build the library again, or needs root: done before, for the copy that is used here. In its place runs what stands behind.
REPLACED = {
    "script/demo": "true",
    "script/package": "true",
    "script/package && sudo apt install ./build/packages/*.deb": "true",
    "script/test": "true",
    "cmake -S . -B build/release -DRIB_BUILD_TESTS=OFF && cmake --build build/release": "true",
    "cmake -S . -B build/release -DRIB_BUILD_TESTS=OFF": "true",
    "cmake --build build/release": "true",
    "sudo cmake --install build/release": "true",
    "sudo ldconfig": "true",
    "sudo cmake --build build/release --target uninstall": "true",
    'cmake --install build/release --prefix "$HOME/rib"': 'ln -s "$INSTALLED" "$HOME/rib"',
    # The router's own libraries, for which ours stand in.
    "cc my_client.c $(pkg-config --cflags --libs rib-core) -lplatform_tlv -lplatform_strings":
        "cp bgp.c my_client.c && cc my_client.c $(pkg-config --cflags --libs rib-core) -lrib_tlv -lrib_strutil",
}
FINDS_SOMETHING = ("ribtool explain", "ribtool diff")  # and says so by exit code 1
STATIC = re.compile(r"-static\b|\w+_static\b")
TOOLS = re.compile(r"^ribtool |^cmake -S \. -B build &&|^build/")

FENCE = re.compile(r"^```(\w+)$")
FILE_NAME = re.compile(r"^(?://|#) ([\w.]+)$")
COMMENT = re.compile(r"\s+# (.*)$")
PRINTS = re.compile(r"prints: (.*)")


def read_page(text):
    """The files of a page, and the commands in their order: (line number, command, what it prints or None)."""
    files, commands, fenced = {}, [], None
    for number, line in enumerate(text.split("\n"), 1):
        if fenced is not None:
            if line == "```":
                name = FILE_NAME.match(fenced[0]) if fenced else None
                if name:
                    files[name[1]] = files.get(name[1], "") + "\n".join(fenced[1:]) + "\n"
                fenced = None
            else:
                fenced.append(line)
        elif FENCE.match(line):
            fenced = []
        elif line.startswith("    ") and line[4:5].strip():
            comment = COMMENT.search(line)
            prints = PRINTS.match(comment[1]) if comment else None
            commands.append((number, COMMENT.sub("", line).strip(), prints and prints[1]))
    return files, commands


def write_mrt(path):
    """A table of two prefixes, as a collector of routes writes it."""
    sys.path.insert(0, str(HERE.parent / "ribtool"))
    import mrt_writer as mrt
    peers = mrt.peer_table(1, mrt.peer("192.0.2.1", 65001))
    attributes = mrt.origin(mrt.IGP) + mrt.as_sequence(65001, 65002) + mrt.next_hop("192.0.2.1")
    routes = [mrt.rib(1, mrt.RIB_IPV4_UNICAST, index, mrt.prefix(prefix), mrt.entry(0, 1, attributes))
              for index, prefix in enumerate(["198.51.100.0/24", "203.0.113.0/24"])]
    path.write_bytes(gzip.compress(peers + b"".join(routes)))


class Reader:
    """Somebody who types what a page shows. The system's folders are those of the installed copy."""

    def __init__(self, chosen, scratch):
        self.folder = scratch / "work"
        home, tools = scratch / "home", scratch / "tools"
        for folder in (self.folder, home, tools):
            folder.mkdir(parents=True)
        for name, compiler in (("cc", chosen.cc), ("c++", chosen.cxx)):
            flags = f" -fsanitize={chosen.sanitize}" if chosen.sanitize else ""
            if flags and "clang" in compiler:
                flags += " -fno-sanitize=function"  # its runtime is C++, and C programs link what is compiled here
            # By its path: this is what the name leads to from here on.
            (tools / name).write_text(f'#!/bin/sh\nexec "{shutil.which(compiler) or compiler}"{flags} "$@"\n')
            (tools / name).chmod(0o755)
        prefix = pathlib.Path(chosen.prefix).resolve()
        # A name without blanks, which shells do not split: as /usr has none.
        (self.folder / "usr").symlink_to(prefix)
        # Of this folder: its own path may have blanks.
        self.environment = dict(
            os.environ, HOME=str(home), INSTALLED=str(prefix), LC_ALL="C.UTF-8", TERM="dumb", ASAN_OPTIONS="detect_leaks=0",
            PATH=f"{tools}:{prefix}/bin:{os.environ['PATH']}", LD_LIBRARY_PATH=f"{prefix}/{chosen.libdir}",
            PKG_CONFIG_PATH=f"usr/{chosen.libdir}/pkgconfig", CMAKE_PREFIX_PATH=str(prefix),
            CC=str(tools / "cc"), CXX=str(tools / "c++"), CMAKE_GENERATOR="Ninja")
        self.exported = ""
        self.running = []
        self.sanitize = chosen.sanitize
        write_mrt(self.folder / "rib.mrt.gz")

    def run(self, command):
        """None when it went well, else what is to be said; and what it prints."""
        if command.startswith("export "):
            self.exported += command + "\n"
            return None, ""
        text = self.exported + REPLACED.get(command, command)
        if command.endswith("&"):
            self.running.append(subprocess.Popen(["bash", "-c", text.replace("ribtool", "exec ribtool", 1).rstrip("& ")],
                                                 cwd=self.folder, env=self.environment, stdout=subprocess.DEVNULL))
            return (None if self.waited_for("rib.sock") else "does not listen"), ""
        done = subprocess.run(["bash", "-c", text], cwd=self.folder, env=self.environment, capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=SECONDS, check=False)
        fine = (0, 1) if command.startswith(FINDS_SOMETHING) else (0,)
        return (None if done.returncode in fine else f"exit code {done.returncode}\n{done.stdout}{done.stderr}"), done.stdout

    def waited_for(self, name):
        for _ in range(SECONDS * 10):
            if (self.folder / name).exists():
                return True
            time.sleep(0.1)
        return False

    def leave(self):
        for process in self.running:
            process.send_signal(signal.SIGTERM)
            process.wait(SECONDS)


def problems_of(reader, page, has_tools):
    files, commands = read_page(page.read_text(encoding="utf-8"))
    problems = [] if commands else [f"{page}: shows no command"]
    for name, text in files.items():
        (reader.folder / name).write_text(text)
    for number, command, prints in commands:
        # A static program has no room for a sanitizer: it is neither made nor run.
        if TOOLS.match(command) and not has_tools or STATIC.search(command) and reader.sanitize:
            continue
        problem, printed = reader.run(command)
        if problem is None and prints is not None and printed.strip() != prints:
            problem = f"prints {printed.strip()!r}, not {prints!r}"
        if problem is not None:
            problems.append(f"{page}:{number}: {command}\n{problem}")
    return problems


def test_pages(chosen):
    shutil.rmtree(chosen.scratch, ignore_errors=True)
    reader = Reader(chosen, pathlib.Path(chosen.scratch))
    problems = []
    try:
        for page in map(pathlib.Path, chosen.page):
            problems += problems_of(reader, page, not chosen.no_tools)
    finally:
        reader.leave()
    shown = {command for page in chosen.page for _, command, _ in read_page(pathlib.Path(page).read_text())[1]}
    problems += [f"no page shows what is replaced: {command}" for command in REPLACED if command not in shown]
    print("\n".join(problems) or f"{len(shown)} lines run as they stand")
    return 1 if problems else 0


class Pages(unittest.TestCase):
    PAGE = """# A page

```c
// one.c
int one;
```

```c
int not_a_file;
```

    true && echo here       # prints: here
    false                   # text

```c
// one.c
int two;
```
"""

    def test_files_and_commands_are_found(self):
        files, commands = read_page(self.PAGE)
        self.assertEqual(files, {"one.c": "int one;\nint two;\n"})
        self.assertEqual(commands, [(12, "true && echo here", "here"), (13, "false", None)])

    def test_failing_line_and_wrong_print_are_reported(self):
        with tempfile.TemporaryDirectory() as folder:
            scratch = pathlib.Path(folder)
            chosen = argparse.Namespace(cc="cc", cxx="c++", sanitize="", prefix=folder, libdir="lib")
            page = scratch / "page.md"
            page.write_text(self.PAGE.replace("prints: here", "prints: there"))
            problems = problems_of(Reader(chosen, scratch), page, True)
        self.assertEqual([problem.split("\n")[0].split(":", 1)[1] for problem in problems], ["12: true && echo here", "13: false"])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("--no-tools", action="store_true")
    parser.add_argument("--page", action="append", default=[])
    for name, default in (("prefix", ""), ("libdir", "lib"), ("scratch", ""), ("cc", "cc"), ("cxx", "c++"), ("sanitize", "")):
        parser.add_argument(f"--{name}", default=default)
    chosen = parser.parse_args()
    if chosen.self_test:
        unittest.main(argv=sys.argv[:1])
    return test_pages(chosen)


if __name__ == "__main__":
    sys.exit(main())
