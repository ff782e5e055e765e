#!/usr/bin/env python3
"""What can be chosen when building: listed in CONTRIBUTING.md, and done as chosen."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
DECLARED = re.compile(r"""(?mx)^\s* (?: (?:cmake_dependent_)?option\((RIB_\w+)
                                      | set\((RIB_\w+)\s[^)]*\bCACHE\b
                                      | find_program\((RIB_CCACHE) )""")


def declared_options():
    texts = [path.read_text() for path in [ROOT / "CMakeLists.txt", *sorted((ROOT / "cmake").glob("*.cmake"))]]
    return sorted({name for text in texts for names in DECLARED.findall(text) for name in names if name})


class Lists(unittest.TestCase):
    def test_every_option_is_listed_in_contributing_and_no_other(self):
        rows = re.findall(r"(?m)^\| `(RIB_\w+)` \|", (ROOT / "CONTRIBUTING.md").read_text())
        self.assertIn("RIB_WERROR", declared_options())
        self.assertEqual(sorted(rows), declared_options())

    def test_warnings_are_errors_in_the_presets_alone(self):
        self.assertRegex((ROOT / "cmake" / "options.cmake").read_text(), r"option\(RIB_WERROR [^)]* OFF\)")
        base = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"][0]
        self.assertEqual((base["name"], base["cacheVariables"]["RIB_WERROR"]), ("base", "ON"))


PROJECT = """cmake_minimum_required(VERSION 3.25)
project(trial LANGUAGES CXX)
include("{root}/cmake/compiler_cache.cmake")
file(WRITE "${{CMAKE_BINARY_DIR}}/launcher" "${{CMAKE_CXX_COMPILER_LAUNCHER}}")
"""


class CompilerCache(unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="options test "))
        self.addCleanup(shutil.rmtree, self.scratch)
        (self.scratch / "CMakeLists.txt").write_text(PROJECT.format(root=ROOT))

    def ccache(self, text):
        path = self.scratch / "ccache"
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)
        return path

    def configure(self, *options):
        """What cmake says, and the launcher that C++ gets."""
        kept = {key: value for key, value in os.environ.items() if not key.startswith("CMAKE_")}
        done = subprocess.run(["cmake", "-G", "Ninja", "-S", self.scratch, "-B", self.scratch / "build", *options],
                              capture_output=True, text=True, env=kept, check=True)
        return done.stdout, (self.scratch / "build" / "launcher").read_text()

    def test_one_that_compiles_is_used_and_one_that_does_not_is_left_out_with_its_reason(self):
        works = self.ccache('exec "$@"')
        said, launcher = self.configure(f"-DRIB_CCACHE={works}")
        self.assertNotIn("without ccache", said)
        self.assertTrue(launcher.endswith(str(works)), launcher)

        self.ccache('echo "ccache: error: no room" >&2; exit 1')
        said, launcher = self.configure()
        self.assertIn("-- Compiling without ccache, which does not work here: ccache: error: no room\n", said)
        self.assertEqual(launcher, "")

        said, launcher = self.configure("-DCMAKE_CXX_COMPILER_LAUNCHER=theirs")
        self.assertNotIn("ccache:", said)
        self.assertEqual(launcher, "theirs")


class Missing(unittest.TestCase):
    def test_what_the_tools_need_and_is_not_here_is_named_with_two_ways_out(self):
        scratch = pathlib.Path(tempfile.mkdtemp(prefix="options test "))
        self.addCleanup(shutil.rmtree, scratch)
        for name, options, variables in (("CLI11", ["-DRIB_ZIDLC_ALONE=ON", "-DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON"], {}),
                                         ("libpcap", ["-DRIB_BUILD_TESTS=OFF"], {"PKG_CONFIG_LIBDIR": str(scratch)})):
            done = subprocess.run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", scratch / name, "-DRIB_CCACHE=OFF", *options],
                                  capture_output=True, text=True, env=os.environ | variables)
            self.assertEqual(done.returncode, 1)
            self.assertIn(f"\n    The tools need {name}, which is not here. Install it: script/bootstrap build. "
                          "Or leave the tools out: -DRIB_BUILD_TOOLS=OFF\n", done.stderr)
            self.assertEqual(done.stderr.count("CMake Error"), 1, done.stderr)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
