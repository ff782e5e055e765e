#!/usr/bin/env python3
"""What debian/ says, held against the installed copy and the tree: without building a package.

Reads the environment: ROOT (the sources), PREFIX, LIBDIR, DOCDIR (the installed copy), VERSION (the project's), NM.
"""

import fnmatch
import os
import pathlib
import re
import subprocess
import unittest

ROOT = pathlib.Path(os.environ["ROOT"])
DEBIAN = ROOT / "debian"
PREFIX = pathlib.Path(os.environ["PREFIX"])
BEFORE_THE_DIVISION = "librib (<< 1.1.0~)"
LIBRARIES = {
    "librib1": "librib.so.1",
    "librib-tlv1": "librib_tlv.so.1",
    "librib-strutil1": "librib_strutil.so.1",
    "librib-inspect1": "librib_inspect.so.1",
}


def in_a_package(path):
    """Where debhelper finds what CMake has put at PATH: its folders of libraries and documentation are Debian's."""
    for folder, debian in ((os.environ["LIBDIR"], "lib/x86_64-linux-gnu"), (os.environ["DOCDIR"], "share/doc/librib-doc")):
        if path.startswith(folder + "/"):
            path = debian + path[len(folder):]
    return "usr/" + path


def installed_files():
    files = [path for path in PREFIX.rglob("*") if path.is_symlink() or path.is_file()]
    return sorted(in_a_package(str(path.relative_to(PREFIX))) for path in files)


def claims():
    """(package, pattern) of all that the .install files name."""
    found = []
    for file in sorted(DEBIAN.glob("*.install")):
        found += [(file.stem, line.split()[0]) for line in file.read_text().splitlines() if line.strip()]
    return found


def is_claimed(file, pattern):
    """debhelper's * stays within one folder."""
    parts, wanted = file.split("/"), pattern.split("/")
    return len(wanted) <= len(parts) and all(map(fnmatch.fnmatchcase, parts, wanted))


def paragraphs(text):
    """The fields of each paragraph of a control file, on one line each."""
    found = []
    for paragraph in re.split(r"\n\n+", text.strip()):
        fields = re.findall(r"^([\w-]+):(.*(?:\n[ \t].*)*)", paragraph, re.MULTILINE)
        found.append({name: re.sub(r"\s+", " ", value).strip(" ,") for name, value in fields})
    return found


def packages():
    return {fields["Package"]: fields for fields in paragraphs((DEBIAN / "control").read_text()) if "Package" in fields}


def relations(package, field):
    return {name.strip() for name in packages()[package].get(field, "").split(",") if name.strip()}


class Files(unittest.TestCase):
    def test_every_installed_file_is_in_exactly_one_package(self):
        files = installed_files()
        self.assertGreater(len(files), 100)
        for file in files:
            owners = {package for package, pattern in claims() if is_claimed(file, pattern)}
            self.assertEqual(len(owners), 1, f"{file} is in {sorted(owners) or 'no package'}")

    def test_every_pattern_names_an_installed_file(self):
        files = installed_files()
        for package, pattern in claims():
            self.assertTrue(any(is_claimed(file, pattern) for file in files), f"debian/{package}.install: {pattern}")

    def test_every_pattern_is_of_a_package_that_exists(self):
        self.assertLessEqual({package for package, _ in claims()}, set(packages()))


class Symbols(unittest.TestCase):
    def test_symbols_files_list_what_the_libraries_export(self):
        for package, library in LIBRARIES.items():
            lines = (DEBIAN / f"{package}.symbols").read_text().splitlines()
            self.assertEqual(lines[0], f"{library} {package} #MINVER#")
            command = [os.environ["NM"], "--dynamic", "--defined-only", "--format=posix", PREFIX / os.environ["LIBDIR"] / library]
            output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
            exported = {line.split()[0].replace("@@", "@") for line in output.splitlines()}
            # A symbol of no version is of the base version; a version's own symbol has its name twice.
            exported = {name if "@" in name else f"{name}@Base" for name in exported}
            exported = {name.replace("@Base", f"@{name.split('@')[0]}") if name.startswith("LIBRIB_") else name for name in exported}
            self.assertEqual(sorted({line.split()[0] for line in lines[1:]}), sorted(exported), f"debian/{package}.symbols")

    def test_no_symbol_is_said_to_be_younger_than_the_project(self):
        project = tuple(map(int, os.environ["VERSION"].split(".")))
        for package in LIBRARIES:
            for line in (DEBIAN / f"{package}.symbols").read_text().splitlines()[1:]:
                since = tuple(map(int, line.split()[1].split(".")))
                self.assertLessEqual(since, project, f"debian/{package}.symbols: {line}")


class Control(unittest.TestCase):
    def test_the_librarys_dependencies_are_those_that_are_read_off_its_symbols(self):
        self.assertEqual(relations("librib1", "Depends"), {"${misc:Depends}", "${shlibs:Depends}"})
        self.assertEqual(relations("librib1", "Recommends"), {"librib-tlv1", "librib-strutil1"})

    def test_packages_take_over_from_the_one_that_had_everything(self):
        for package in sorted(set(packages()) - {"librib-inspect1"}): # which has no file that the old one had
            for field in ("Conflicts", "Replaces"):
                self.assertIn(BEFORE_THE_DIVISION, relations(package, field), f"{package}: {field}")

    def test_packages_of_one_build_that_belong_together_say_so(self):
        for package in LIBRARIES:
            self.assertIn(f"{package} (= ${{binary:Version}})", relations("librib-dev", "Depends"))
        self.assertIn("ribtool (= ${binary:Version})", relations("librib-dev", "Recommends"))

    def test_libraries_of_several_architectures_go_together(self):
        same = {name for name, fields in packages().items() if fields.get("Multi-Arch") == "same"}
        self.assertEqual(same, set(LIBRARIES) | {"librib-dev"})


class Copyright(unittest.TestCase):
    def test_the_copyright_file_grants_nothing_while_no_licence_is_in_the_tree(self):
        licences = list(ROOT.glob("LICEN[CS]E*")) + list(ROOT.glob("COPYING*"))
        words = " ".join((DEBIAN / "copyright").read_text().split())
        self.assertEqual("No licence has been chosen" in words, not licences)


if __name__ == "__main__":
    unittest.main()
