#!/usr/bin/env python3
"""Compares the manual pages with what they are about.

    man_test.py Library Form Fragments --cc COMPILER
    man_test.py Program --cc COMPILER --link LIBRARY...
    man_test.py Tools Examples --ribtool PROGRAM --zidlc PROGRAM
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = ROOT / "man"
chosen = None


def page(name):
    return (PAGES / name).read_text(encoding="ascii")


def plain(text):
    """A page's text without its macros: '\\-' is a dash, '\\&' is nothing."""
    return text.replace("\\-", "-").replace("\\&", "").replace("\\(aq", "'").replace("\\e", "\\")


def output(program, *arguments):
    return subprocess.run([program, *arguments], check=True, capture_output=True, text=True).stdout


def options_of_help(text):
    """The names in the column of options."""
    found = set()
    for line in text.partition("\nOptions:\n")[2].split("\n"):
        names = re.match(r"  (-[^ ]*)", line)
        if not names:
            if line and not line.startswith(" "):
                break
            continue
        found.update(names.group(1).split(","))
    return found


def options_of_page(text):
    """What stands behind .Fl anywhere in the page; in one line it may stand several times."""
    found = set()
    for line in plain(text).split("\n"):
        if line.startswith("."):
            found.update("-" + name for name in re.findall(r"\bFl ([A-Za-z0-9-]+)", line))
    return found - {"-Ns"}


def commands():
    table = (ROOT / "tools/ribtool/commands.def").read_text(encoding="ascii")
    return re.findall(r"^COMMAND\((\w+)\)", table, re.MULTILINE)


class Tools(unittest.TestCase):
    """Options and subcommands."""

    def test_a_page_has_exactly_the_options_of_the_help(self):
        for command in commands():
            with self.subTest(command):
                self.assertEqual(options_of_page(page(f"ribtool-{command}.1")),
                                 options_of_help(output(chosen.ribtool, command, "--help")))
        # Names that zidlc changes to --depfile and --depfile-target before it reads its options.
        self.assertEqual(options_of_page(page("zidlc.1")),
                         options_of_help(output(chosen.zidlc, "--help")) | {"-MD", "-MT"})

    def test_every_file_that_zidlc_writes_is_in_its_table(self):
        rows = [re.escape(row).replace("GROUP", "sample").replace("NAME", "proto").replace(r"\*", r"\w+")
                for row in re.findall(r"^\.It (\S+/\S+) Ta (?:\w+) Ta ", page("zidlc.1"), re.MULTILINE)]
        with tempfile.TemporaryDirectory(prefix="man-") as folder:
            schema = pathlib.Path(folder, "sample.zidl")
            schema.write_text("group sample;\nmessage sample_message {\n    1  value : u32;\n}\n", encoding="ascii")
            output(chosen.zidlc, "--protocol", "proto", "-o", folder + "/out", str(schema))
            written = {str(path.relative_to(folder + "/out")) for path in pathlib.Path(folder, "out").rglob("*")
                       if path.is_file()}
        self.assertGreater(len(written), 8)
        for row in rows:
            self.assertTrue([path for path in written if re.fullmatch(row, path)], row)
        self.assertEqual({path for path in written if not any(re.fullmatch(row, path) for row in rows)}, set())

    def test_ribtools_own_page_has_its_options_and_none_that_no_command_has(self):
        found = options_of_page(page("ribtool.1"))
        own = options_of_help(output(chosen.ribtool, "--help"))
        known = own.union(*(options_of_help(output(chosen.ribtool, command, "--help")) for command in commands()))
        self.assertLessEqual(own, found)
        self.assertLessEqual(found, known)

    def test_every_command_has_a_page_and_is_listed(self):
        listed = re.findall(r"^\.It Cm (\w+)\n(?:.*\n)+?\.Xr ribtool-(\w+) 1 \.$", page("ribtool.1"), re.MULTILINE)
        self.assertEqual(listed, [(command, command) for command in commands()])
        self.assertEqual({path.name for path in PAGES.glob("ribtool-*")}, {f"ribtool-{name}.1" for name in commands()})

    def test_every_choice_of_an_option_is_named(self):
        for command in commands():
            shown = plain(page(f"ribtool-{command}.1"))
            text = output(chosen.ribtool, command, "--help")
            for choices in re.findall(r"^  (?:-\w,)?--[a-z-]+ ([a-z|-]+\|[a-z|-]+)", text, re.MULTILINE):
                for choice in choices.split("|"):
                    self.assertRegex(shown, rf"\bCm {choice}\b", command)


class Library(unittest.TestCase):
    """Functions, reasons, schema language."""

    def test_every_exported_function_has_its_place(self):
        text = plain(page("librib.3"))
        exports = re.findall(r"^(\w+)$", (ROOT / "tests/abi/exports.txt").read_text(encoding="ascii"), re.MULTILINE)
        families = {name.rsplit("_", 2)[-2] + "_ext" if name.endswith("_ext") else "duplicate"
                    for name in exports if re.search(r"^zidl_.*_(encode_ext|decode_ext|duplicate|free_ext)$", name)}
        self.assertEqual(families, {"encode_ext", "decode_ext", "duplicate", "free_ext"})
        for family in families:
            self.assertRegex(text, rf"\.Fo zidl_TYPE_{family}\n")
        others = [name for name in exports if not re.search(r"_(encode_ext|decode_ext|duplicate|free_ext)$", name)]
        self.assertGreater(len(others), 10)
        self.assert_declared(others, "librib.3")

    def declared_on(self, name):
        """By .Fo, or, where that makes lines that are too long, as it stands."""
        return set(re.findall(r"^(?:\.Fo (?=\w+$)|(?=\w+\($))(\w+)", page(name), re.MULTILINE))

    def assert_declared(self, names, on):
        self.assertLessEqual(set(names), self.declared_on(on), f"not declared on {on}")

    def test_every_function_of_the_headers_has_its_place(self):
        frames = (ROOT / "rib_frames.h").read_text(encoding="ascii")
        inspector = (ROOT / "inspect/rib_inspect.h").read_text(encoding="ascii")
        in_frames = re.findall(r"^static inline .*?(\w+)\(", frames, re.MULTILINE)
        in_inspector = re.findall(r"^ZIDL_API .*?(\w+)\(", inspector, re.MULTILINE)
        self.assertGreater(len(in_frames), 10)
        self.assertGreater(len(in_inspector), 8)
        self.assert_declared(in_frames, "rib_frames.3")
        self.assert_declared(in_inspector, "rib_inspect.3")

    def test_a_function_is_found_under_its_own_name(self):
        aliases = dict(re.findall(r"^(\w+)\.3 (\w+)\.3$", (PAGES / "aliases.txt").read_text(encoding="ascii"),
                                  re.MULTILINE))
        for name in ("librib", "rib_frames", "rib_inspect"):
            declared = {function for function in self.declared_on(f"{name}.3") if "TYPE" not in function}
            self.assertEqual(declared - {name}, {alias for alias, on in aliases.items() if on == name}, name)

    def test_every_reason_is_listed_with_its_meaning(self):
        table = (ROOT / "inspect/reasons.def").read_text(encoding="ascii")
        reasons = re.findall(r'^REASON\((\w+), "(.*)"\)', table, re.MULTILINE)
        self.assertGreater(len(reasons), 50)
        listed = re.findall(r"^\.It Li (\w+)\n((?:[^.].*\n)+)", page("rib_inspect.3"), re.MULTILINE)
        self.assertEqual([(name, " ".join(text.split())) for name, text in listed], reasons)

    def test_the_grammar_is_that_of_the_schema_language(self):
        manual = (ROOT / "docs/schema-language.md").read_text(encoding="utf-8")
        grammar = re.search(r"^## Grammar\n\n((?:    .*\n)+)", manual, re.MULTILINE).group(1)
        self.assertIn("message    =", grammar)
        words = " ".join(grammar.split())
        shown = " ".join(plain(page("zidl.5")).split())
        self.assertIn(words, shown)


class Form(unittest.TestCase):
    """How pages are written."""

    def test_sections_stand_in_their_order_and_none_is_missing(self):
        order = ["NAME", "LIBRARY", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "RETURN VALUES", "ENVIRONMENT", "FILES",
                 "EXIT STATUS", "EXAMPLES", "DIAGNOSTICS", "ERRORS", "SEE ALSO"]
        needed = {"1": {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "EXAMPLES", "SEE ALSO"},
                  "3": {"NAME", "SYNOPSIS", "DESCRIPTION", "RETURN VALUES", "EXAMPLES", "SEE ALSO"},
                  "5": {"NAME", "DESCRIPTION", "EXAMPLES", "SEE ALSO"}}
        for path in sorted(PAGES.glob("*.[135]")):
            sections = re.findall(r"^\.Sh (.*)$", path.read_text(encoding="ascii"), re.MULTILINE)
            standard = [each for each in sections if each in order]
            self.assertEqual(standard, sorted(standard, key=order.index), path.name)
            self.assertLessEqual(needed[path.suffix[1]], set(sections), path.name)

    def test_a_page_that_is_referred_to_exists(self):
        own = {path.name for path in PAGES.glob("*.[135]")}
        for path in PAGES.glob("*.[135]"):
            for name, section in re.findall(r"^\.Xr (\S+) (\d)", path.read_text(encoding="ascii"), re.MULTILINE):
                if re.match(r"rib|zidl|librib", name):
                    self.assertIn(f"{name}.{section}", own, path.name)

    def test_literal_lines_fit_a_terminal(self):
        # Indented by 5 columns as the section's text, and 6 as -offset indent.
        for path in PAGES.glob("*.[135]"):
            text = path.read_text(encoding="ascii")
            for block in re.findall(r"^\.Bd -literal.*\n((?:.*\n)*?)\.Ed", text, re.MULTILINE):
                for line in plain(block).split("\n"):
                    self.assertLessEqual(len(line), 80 - 11, f"{path.name}: {line}")

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_mandoc_has_no_complaint(self):
        pages = sorted(str(path) for path in PAGES.glob("*.[135]"))
        done = subprocess.run(["mandoc", "-Tlint", "-Wwarning", *pages], capture_output=True, text=True, check=False)
        self.assertEqual(done.stdout, "")
        self.assertEqual(done.returncode, 0)

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_no_line_is_longer_than_a_terminal(self):
        for path in sorted(PAGES.glob("*.[135]")):
            shown = subprocess.run(["mandoc", "-Tascii", "-Owidth=80", str(path)], capture_output=True, text=True,
                                   check=True).stdout
            for line in re.sub(".\b", "", shown).split("\n"):
                self.assertLessEqual(len(line), 80, f"{path.name}: {line}")


class Examples(unittest.TestCase):
    """The lines of the EXAMPLES sections run, each page's in a folder of its own."""

    def test_examples_of_the_tools_run(self):
        for path in sorted(PAGES.glob("*.1")):
            with self.subTest(path.name), tempfile.TemporaryDirectory(prefix="man-") as folder:
                section = path.read_text(encoding="ascii").partition("\n.Sh EXAMPLES\n")[2].partition("\n.Sh ")[0]
                blocks = re.findall(r"^\.Bd -literal -offset indent\n((?:.*\n)*?)\.Ed", section, re.MULTILINE)
                self.assertTrue(blocks)
                # What this machine's kernel has, or lets be read, is another test's business.
                self.run_blocks([plain(block) for block in blocks if "--kernel" not in plain(block)], folder)

    def test_messages_as_text_are_read_as_they_stand(self):
        whole, skipped, broken = blocks_of("rib_text.5")
        for text, kind, expected in ((whole, "rib_prefix", "0a07080110858080501018"),
                                     (skipped, "rib_address", "88008100389601"),
                                     (broken, "rib_prefix", "10180a0908011085")):
            done = subprocess.run([chosen.ribtool, "encode", kind, "-", "--from", "text", "--to", "hex"], input=text,
                                  capture_output=True, text=True, check=True)
            self.assertEqual(done.stdout, expected + "\n")

    # 0 and 1 are answers. 127, a program that is missing, 2 to 4, an error of the tools, and a signal are none.
    def run_blocks(self, blocks, folder):
        tools = f"{pathlib.Path(chosen.ribtool).resolve().parent}:{pathlib.Path(chosen.zidlc).resolve().parent}"
        trap = "set -o pipefail; trap 'status=$?; [ $status -le 1 ] || exit $status' ERR\n"
        done = subprocess.run(["bash", "-c", trap + "".join(blocks)], cwd=folder, capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, check=False, timeout=120,
                              env={"PATH": f"{tools}:{os.environ['PATH']}", "HOME": folder, "LC_ALL": "C.UTF-8",
                                   "ASAN_OPTIONS": "detect_leaks=0"})
        self.assertLessEqual(done.returncode, 1, done.stderr)
        self.assertNotRegex(done.stderr, "(?i)not found|usage|ribtool: .*: cannot")


def blocks_of(name):
    section = page(name).partition("\n.Sh EXAMPLES\n")[2].partition("\n.Sh ")[0]
    return [plain(block) for block in re.findall(r"^\.Bd -literal.*\n((?:.*\n)*?)\.Ed", section, re.MULTILINE)]


def compiled(source, *arguments):
    command = [chosen.cc, "-std=c99", "-Wall", "-Wextra", "-Werror", "-D_GNU_SOURCE", f"-I{ROOT}", "-x", "c", "-"]
    done = subprocess.run(command + list(arguments), input=source, capture_output=True, text=True, check=False)
    return done.stderr if done.returncode else ""


class Fragments(unittest.TestCase):
    """C that stands in the pages compiles, in a function that has what it speaks of."""

    HEADERS = "".join(f"#include <{name}>\n" for name in (
        "rib.h", "rib_frames.h", "inspect/rib_inspect.h", "stdio.h", "string.h", "sys/socket.h", "unistd.h"))

    def test_readers_and_writers_of_frames(self):
        reader, writer = blocks_of("rib_frames.3")
        given = ("void take(const rib_frame *frame);\nvoid run(int fd, zidl_rib_nhid_update update);\n"
                 "void run(int fd, zidl_rib_nhid_update update)\n{\n")
        self.assertEqual(compiled(f"{self.HEADERS}{given}{{ {reader} }} {{ {writer} }} }}", "-fsyntax-only"), "")

    def test_questions_to_the_inspector(self):
        explain, show = blocks_of("rib_inspect.3")
        given = ("void run(bool was_delivered, updatetype_local update, const uint8_t *payload, size_t len);\n"
                 "void run(bool was_delivered, updatetype_local update, const uint8_t *payload, size_t len)\n{\n")
        self.assertEqual(compiled(f"{self.HEADERS}{given}{{ {explain} }} {{ {show} }} }}", "-fsyntax-only"), "")

    def test_a_client_of_routes(self):
        callback, call = blocks_of("librib.3")[2].split("\n\n")
        given = "void run(rib_frame frame);\nvoid run(rib_frame frame)\n{\n"
        self.assertEqual(compiled(f"{self.HEADERS}{callback}\n{given}{call} }}", "-fsyntax-only"), "")


class Program(unittest.TestCase):
    def test_the_first_program_of_the_library_runs(self):
        source = blocks_of("librib.3")[0]
        with tempfile.TemporaryDirectory(prefix="man-") as folder:
            folders = sorted({f"-Wl,-rpath,{pathlib.Path(library).parent}" for library in chosen.link})
            self.assertEqual(compiled(source, "-o", f"{folder}/one", "-x", "none", *chosen.link, *folders), "")
            self.assertEqual(output(f"{folder}/one"), "protocol 20 is bgp\n")


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--ribtool")
    parser.add_argument("--zidlc")
    parser.add_argument("--cc")
    parser.add_argument("--link", nargs="+", default=[])
    chosen, rest = parser.parse_known_args()
    unittest.main(argv=sys.argv[:1] + rest)
