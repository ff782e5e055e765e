#!/usr/bin/env python3
"""Runs what a manual shows and compares the output that stands below it. README.md says how pages are written.

    manual_test.py --ribtool PROGRAM [--update] PAGE...
    manual_test.py --ribtool PROGRAM --self-test
"""

import argparse
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

INDENT = "    "
PROMPT = INDENT + "$ "
SECONDS = 120
MOST_SHOWN = 40  # lines of a difference

# The last column of a replay's table is a time: nanoseconds an update.
TIME = re.compile(r"^(  (?:un)?stripped .* )(\d+)$")


def masked(lines):
    return [re.sub(r" +#", " #", TIME.sub(r"\1#", line)) for line in lines]


class Command:
    """One line behind a prompt: where its output stands in the page."""

    def __init__(self, text, number):
        self.text = text
        self.number = number  # of the line in the page, from 1
        self.start = number  # index of the first line of the output
        self.end = number


def commands_of(lines):
    """The commands of the indented blocks that begin with a prompt, in the order of the page."""
    found = []
    is_in_block = False
    for index, line in enumerate(lines):
        if line.startswith(PROMPT):
            is_in_block = True
            found.append(Command(line[len(PROMPT):], index + 1))
        elif line.startswith(INDENT) and is_in_block:
            found[-1].end = index + 1  # blank lines in front of it are output, too
        elif line:
            is_in_block = False
    return found


def shown(lines, command):
    return [line[len(INDENT):] for line in lines[command.start:command.end]]


class Shell:
    """A folder in which the commands of a page run one after another, ribtool first in the path."""

    def __init__(self, ribtool, folder):
        self.folder = folder
        self.status = 0
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in ("NO_COLOR", "COLUMNS", "LSAN_OPTIONS")}
        self.environment.update(PATH=f"{pathlib.Path(ribtool).resolve().parent}:{os.environ['PATH']}",
                                TERM="dumb", LC_ALL="C.UTF-8", TZ="UTC", ASAN_OPTIONS="detect_leaks=0")

    def output(self, text):
        """What a terminal shows: the standard output, then the standard error, since the summaries come last."""
        done = subprocess.run(["bash", "-c", f"(exit {self.status}); {text}"], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=SECONDS, check=False)
        self.status = done.returncode
        text = (done.stdout + done.stderr).decode("utf-8", "backslashreplace")
        return [line.rstrip() for line in text.splitlines()]


def difference(before, real):
    """What the page shows and what the tool prints, the first lines of it."""
    lines = list(difflib.unified_diff(before, real, "the page", "the output", lineterm=""))
    left_out = [f"... and {len(lines) - MOST_SHOWN} lines more"] if len(lines) > MOST_SHOWN else []
    return "\n".join(INDENT + line for line in lines[:MOST_SHOWN] + left_out)


def run_page(ribtool, page):
    """The page's lines as they should be, and a report of each command whose output differs."""
    lines = page.read_text(encoding="utf-8").split("\n")
    commands = commands_of(lines)
    reports = []
    fresh = []
    written = 0  # lines of the page that are in `fresh`
    with tempfile.TemporaryDirectory(prefix="ribtool-manual-") as folder:
        shell = Shell(ribtool, folder)
        for command in commands:
            real = shell.output(command.text)
            before = shown(lines, command)
            if masked(real) == masked(before):
                real = before
            else:
                reports.append(f"{page}:{command.number}: $ {command.text}\n{difference(before, real)}")
            fresh += lines[written:command.start] + [(INDENT + line).rstrip() for line in real]
            written = command.end
    if not commands:
        reports.append(f"{page}: shows no command")
    return fresh + lines[written:], reports


def test(ribtool, pages, is_update):
    failed = False
    for page in pages:
        fresh, reports = run_page(ribtool, page)
        if is_update and reports:
            page.write_text("\n".join(fresh), encoding="utf-8")
            print(f"{page}: {len(reports)} outputs written anew")
        elif reports:
            failed = True
            print("\n".join(reports))
            print(f"{page}: {len(reports)} outputs differ: tests/ribtool/README.md says how to write them anew")
    return 1 if failed else 0


SELF_TEST_PAGE = """# A page

    ribtool is not run here

    $ ribtool synth --profile nhid --updates 2 -o two.pcap
    $ ribtool replay two.pcap --stripped --no-json 2>&1 | tail -1
    OUTPUT

Text.

    $ ribtool replay absent
    ribtool: absent: cannot open: No such file or directory
    $ echo $?
    3
"""


def self_test(ribtool):
    """A page that is right passes, a wrong or a forgotten line fails, and an update repairs both."""
    right = "  2 callbacks, 0 silent drops, 0 refused, 0 stopped by an assertion"
    with tempfile.TemporaryDirectory(prefix="ribtool-manual-") as folder:
        page = pathlib.Path(folder) / "page.md"

        def status(text, is_update=False):
            page.write_text(text, encoding="utf-8")
            return test(ribtool, [page], is_update)

        good = SELF_TEST_PAGE.replace("OUTPUT", right)
        assert status(good) == 0, "a right page fails"
        for bad in (good.replace("2 callbacks", "3 callbacks"), good.replace(INDENT + right + "\n", ""),
                    good.replace("    3\n", "    0\n")):
            assert bad != good
            assert status(bad) == 1, "a wrong page passes"
            assert status(bad, is_update=True) == 0 and page.read_text(encoding="utf-8") == good, "not repaired"
        assert status("no command\n") == 1, "a page without commands passes"
    assert masked(["  stripped     51  route       1000   4247"]) == masked(["  stripped     51  route       1000     17"])
    assert masked(["  stripped     51  route       1000   4247"]) != masked(["  stripped     51  route       1001   4247"])
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--ribtool", required=True)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("pages", nargs="*", type=pathlib.Path)
    chosen = parser.parse_args()
    if chosen.self_test:
        return self_test(chosen.ribtool)
    return test(chosen.ribtool, chosen.pages, chosen.update)


if __name__ == "__main__":
    sys.exit(main())
