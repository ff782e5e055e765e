#!/usr/bin/env python3
"""What the scripts of script/ say and do, with stand-ins for the programs that they call: cmake, ctest, apt's and others."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SCRIPTS = ("bench", "bootstrap", "demo", "fuzz", "generate", "nightly", "package", "soak", "test")

# Notes how it was called. Building takes eighty files; ribtool comes of it.
CMAKE = r'''#!/bin/bash
echo "cmake $*" >>"$CALLS"
case $1 in
--preset)
    if [ "$3" = -N ]; then
        [ "$2" != asan ] || printf '  CMAKE_CXX_COMPILER="clang++"\n  RIB_WERROR="ON"\n'
        exit
    fi
    mkdir -p "$4"
    echo "RIB_BUILD_TESTS:BOOL=${FAKE_TESTS:-OFF}" >"$4/CMakeCache.txt"
    echo "-- Compiling without ccache, which does not work here: no room"
    exit ${FAKE_CONFIGURE:-0} ;;
--build)
    mkdir -p "$2/tools/ribtool"
    printf '#!/bin/sh\necho ribtool "$1"\n' >"$2/tools/ribtool/ribtool"
    chmod +x "$2/tools/ribtool/ribtool"
    for ((i = 1; i <= 80; i++)); do echo "[$i/80] Building CXX object number$i.o"; done
    [ -z "$FAKE_BUILD" ] || echo "source.cpp:1: error: what the compiler says"
    exit ${FAKE_BUILD:-0} ;;
esac
'''
CTEST = r'''#!/bin/bash
echo "ctest $*" >>"$CALLS"
mkdir -p "$2/Testing/Temporary"
for name in room_test differential_test; do
    printf '1/2 Testing: %s\nDirectory: here\nOutput:\n-----\n%s compared 5 messages\n<end of output>\nTest Passed.\n' $name $name
done >"$2/Testing/Temporary/LastTest.log"
echo "Test project somewhere"
for ((i = 1; i <= 100; i++)); do
    echo "        Start $i: case$i"
    outcome="   Passed  "
    [ $i != 7 ] || outcome="***Skipped "
    [ $i != 50 ] || [ -z "$FAKE_FAILURE" ] || outcome="***Failed  "
    echo "  $i/100 Test   #$i: case$i ................${outcome}  0.01 sec"
done
if [ -n "$FAKE_FAILURE" ]; then
    printf '\n99%% tests passed, 1 tests failed out of 100\n\nTotal Test time (real) =   2.00 sec\n'
    printf '\nThe following tests did not run:\n\t  7 - case7 (Skipped)\n'
    printf '\nThe following tests FAILED:\n\t 50 - case50 (Failed)\nErrors while running CTest\n'
    exit 8
fi
printf '\n100%% tests passed, 0 tests failed out of 100\n\nTotal Test time (real) =   2.00 sec\n'
printf '\nThe following tests did not run:\n\t  7 - case7 (Skipped)\n'
'''
DPKG_QUERY = r'''#!/bin/bash
for package; do :; done
[[ " $MISSING " == *" $package "* ]] && exit 1
printf installed
'''
DF = r'''#!/bin/bash
echo Filesystem 1024-blocks Used Available Capacity Mounted
echo none 1 1 ${FAKE_FREE_KB:-90000000} 1% /
'''


class Scripts(unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="scripts test "))
        self.addCleanup(shutil.rmtree, self.scratch)
        self.tree = self.scratch / "the tree"
        shutil.copytree(ROOT / "script", self.tree / "script")
        shutil.copy(ROOT / "CMakePresets.json", self.tree)
        self.calls = self.scratch / "calls"
        self.programs = self.scratch / "bin"
        self.programs.mkdir()
        for name, text in (("cmake", CMAKE), ("ctest", CTEST), ("dpkg-query", DPKG_QUERY), ("df", DF),
                           ("sudo", "#!/bin/sh\nexit 1\n"), ("id", "#!/bin/sh\necho 1000\n")):
            (self.programs / name).write_text(text)
            (self.programs / name).chmod(0o755)

    def run_script(self, name, *arguments, **variables):
        return self.run_at(None, self.tree / "script" / name, arguments, variables)

    def run_from(self, folder, name, *arguments, **variables):
        """By a relative path, as somebody who stands in that folder calls it."""
        script = os.path.join(".", os.path.relpath(self.tree / "script" / name, folder))
        return self.run_at(folder, script, arguments, variables)

    def run_at(self, folder, script, arguments, variables):
        kept = {key: value for key, value in os.environ.items() if key not in ("CC", "CXX", "RIB_BUILD_DIR")}
        environment = kept | {"PATH": f"{self.programs}:{os.environ['PATH']}", "CALLS": str(self.calls)} | variables
        return subprocess.run([script, *arguments], cwd=folder, env=environment, capture_output=True, text=True)

    def called(self):
        return self.calls.read_text() if self.calls.exists() else ""

    def packages(self, group):
        return self.run_script("bootstrap", "--list", group).stdout.split()

    def test_every_script_answers_help_and_does_nothing_else(self):
        for name in SCRIPTS:
            done = self.run_script(name, "--help", MISSING="cmake")
            self.assertEqual(done.returncode, 0, name)
            self.assertGreater(len(done.stdout.splitlines()), 3, name)
            self.assertIn(f"script/{name}", done.stdout)
            self.assertNotIn("set -", done.stdout)
        self.assertEqual(self.called(), "")

    def test_help_is_the_same_from_any_folder_by_a_relative_path(self):
        for name in SCRIPTS:
            done = self.run_script(name, "--help", MISSING="cmake")
            for folder in self.tree / "script", self.scratch:
                self.assertEqual(self.run_from(folder, name, "--help").stdout, done.stdout)
        self.assertEqual(self.called(), "")

    def test_folders_that_are_named_begin_where_the_caller_stands(self):
        for arguments, variables in (["--build-dir", "mine"], {}), ([], {"RIB_BUILD_DIR": "mine"}):
            done = self.run_from(self.scratch, "demo", *arguments, **variables)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertIn(f"-B {self.scratch}/mine/release", self.called())
            self.calls.unlink()
        self.assertFalse((self.tree / "mine").exists())

    def test_an_option_without_its_value_is_one_line_and_2(self):
        for name, option in (("bench", "--filter"), ("bench", "--library"), ("demo", "--build-dir"), ("fuzz", "--build-dir"),
                             ("generate", "--only"), ("test", "--build-dir"), ("test", "--jobs")):
            done = self.run_script(name, option)
            self.assertEqual(done.returncode, 2, (name, option))
            self.assertRegex(done.stderr, rf"\Ascript/{name}: [^\n]* needs [^\n]*; see --help\n\Z")
        self.assertEqual(self.called(), "")

    def test_an_unknown_argument_is_one_line_and_2(self):
        for name in SCRIPTS:
            done = self.run_script(name, "--unheard-of", MISSING="cmake")
            self.assertEqual((done.returncode, done.stdout), (2, ""), name)
            self.assertRegex(done.stderr, rf"\Ascript/{name}: [^\n]*\n\Z")
        self.assertEqual(self.called(), "")

    def test_a_preset_that_is_none_is_named(self):
        done = self.run_script("test", "releese")
        self.assertEqual(done.returncode, 2)
        self.assertIn("releese", done.stderr)

    def test_steps_are_lines_with_the_time_in_a_pipe(self):
        done = self.run_script("test", "release", "asan")
        self.assertEqual(done.returncode, 0, done.stderr)
        for preset in "release", "asan":
            for what in "configuring", "building", "tests":
                self.assertRegex(done.stdout, rf"(?m)^\[ *\d+:\d\d\] {preset}: {what}$")

    def test_what_the_random_comparisons_covered_is_shown(self):
        lines = self.run_script("test", "release").stdout.splitlines()
        self.assertEqual([line for line in lines if "compared" in line], ["differential_test compared 5 messages"])

    def test_no_line_of_progress_reaches_a_pipe(self):
        output = self.run_script("test", "release").stdout
        self.assertNotIn("\r", output)
        self.assertNotIn("[40/80]", output)
        self.assertNotIn("case40", output)
        self.assertEqual(re.findall(r"\d+ of \d+ \w+", output),
                         ["20 of 80 files", "40 of 80 files", "60 of 80 files",
                          "25 of 100 tests", "50 of 100 tests", "75 of 100 tests"])

    def test_ctests_own_lines_are_the_last_ones_and_the_table_stands_before_them(self):
        output = self.run_script("test", "release", "asan").stdout
        table = output.index("release             99 passed    0 failed    1 skipped")
        self.assertLess(output.index("(Skipped)"), table)  # of the first build
        self.assertRegex(output[table:], r"\Arelease +99 .*\nasan +99 passed    0 failed    1 skipped +\d+ s to build +\d+ s to run\n"
                                         r"\d+ s in all\n"
                                         r"100% tests passed, 0 tests failed out of 100\n\n"
                                         r"Total Test time \(real\) =   2.00 sec\n\n"
                                         r"The following tests did not run:\n\t  7 - case7 \(Skipped\)\n\Z")

    def test_a_failed_test_is_shown_and_ends_the_run_with_ctests_status(self):
        done = self.run_script("test", "release", "asan", FAKE_FAILURE="1")
        self.assertEqual(done.returncode, 8)
        self.assertIn(" 50/100 Test   #50: case50", done.stdout)
        self.assertIn("release             98 passed    1 failed", done.stdout)
        self.assertNotIn("asan: building", done.stdout)
        self.assertTrue(done.stdout.endswith("\t 50 - case50 (Failed)\nErrors while running CTest\n"), done.stdout)

    def test_a_failed_build_shows_what_the_compiler_says_and_then_one_line(self):
        done = self.run_script("test", "release", FAKE_BUILD="1")
        self.assertEqual(done.returncode, 1)
        self.assertIn("source.cpp:1: error: what the compiler says\n", done.stdout)
        self.assertRegex(done.stderr, r"\Ascript/test: building .* failed\n\Z")
        self.assertNotIn("ctest", self.called())

    def test_a_failed_configuration_shows_what_cmake_says_and_then_one_line(self):
        done = self.run_script("demo", FAKE_CONFIGURE="1")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"no room\nscript/demo: cmake could not configure .*\n\Z")

    def test_a_full_disk_is_one_line(self):
        done = self.run_script("demo", FAKE_FREE_KB="1000")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\Ascript/demo: .* has 0 MB left.*--build-dir or RIB_BUILD_DIR\n\Z")
        self.assertEqual(self.called(), "")

    def test_a_folder_that_cannot_be_written_is_one_line(self):
        done = self.run_script("demo", "--build-dir", "/proc/none")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\Ascript/demo: cannot write to /proc/none: .* with --build-dir or RIB_BUILD_DIR\n\Z")
        done = self.run_script("generate", RIB_BUILD_DIR="/proc/none")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\Ascript/generate: cannot write to /proc/none: .* another folder with RIB_BUILD_DIR\n\Z")

    def test_builds_stay_below_the_folder_that_was_named(self):
        before = sorted(self.tree.rglob("*"))
        elsewhere = self.scratch / "else where"
        for name, arguments, variables in (("demo", ["--build-dir", str(elsewhere)], {}),
                                           ("test", ["release"], {"RIB_BUILD_DIR": str(elsewhere)})):
            done = self.run_script(name, *arguments, **variables)
            self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(f"-B {elsewhere}/release", self.called())
        self.assertTrue((elsewhere / "release").is_dir())
        self.assertEqual(sorted(self.tree.rglob("*")), before)

    def test_the_demo_needs_the_first_group_alone_and_the_tests_not_the_third(self):
        groups = [self.packages(group) for group in ("build", "test", "nightly")]
        self.assertLess(set(groups[0]), set(groups[1]))
        self.assertLess(set(groups[1]), set(groups[2]))
        more_than = [" ".join(set(groups[2]) - set(group)) for group in groups]
        self.assertEqual(self.run_script("demo", MISSING=more_than[0]).returncode, 0)
        self.assertEqual(self.run_script("test", "release", MISSING=more_than[1]).returncode, 0)
        self.assertEqual(self.run_script("test", "release", MISSING=more_than[0]).returncode, 1)

    def test_missing_packages_are_named_with_the_command_that_installs_them(self):
        done = self.run_script("demo", MISSING="cmake libfmt-dev")
        self.assertEqual(done.returncode, 1)
        self.assertTrue(done.stdout.endswith("--no-install-recommends cmake libfmt-dev\n"), done.stdout)
        self.assertEqual(self.called(), "")

    def test_the_demo_builds_all_that_is_installed_and_no_tests(self):
        self.run_script("demo")
        self.assertIn("-DRIB_BUILD_TESTS=OFF", self.called())
        self.assertIn("--target rib_installable\n", self.called())

    def test_the_demo_leaves_the_tests_to_a_folder_that_has_them(self):
        self.run_script("test", "release", FAKE_TESTS="ON")
        self.assertIn("-DRIB_BUILD_TESTS=ON", self.called())
        self.calls.unlink()
        self.run_script("demo")
        self.assertNotIn("RIB_BUILD_TESTS", self.called())

    def test_a_folder_is_made_anew_for_other_compilers_and_kept_for_the_same(self):
        self.run_script("demo")
        self.assertNotIn("--fresh", self.called())
        self.run_script("demo", CC="clang-19", CXX="clang++-19")
        self.assertIn("--fresh", self.called())
        self.calls.unlink()
        self.run_script("demo", CC="clang-19", CXX="clang++-19")
        self.assertNotIn("--fresh", self.called())
        self.run_script("demo")
        self.assertIn("--fresh", self.called())
        self.calls.unlink()
        self.run_script("demo")
        self.assertNotIn("--fresh", self.called())

    def test_a_preset_that_names_its_compilers_keeps_its_folder_whatever_the_environment_says(self):
        self.run_script("test", "asan")
        self.run_script("test", "asan", CC="clang-19", CXX="clang++-19")
        self.run_script("test", "asan")
        self.assertNotIn("--fresh", self.called())

    def test_a_script_in_another_folder_names_itself(self):
        folder = self.tree / "tests" / "script"
        folder.mkdir(parents=True)
        shutil.copy(ROOT / "tests/script/foreign.sh", folder)
        for variables in {"RIB_BUILD_DIR": "/proc/none"}, {"FAKE_FREE_KB": "1000"}:
            done = self.run_at(None, folder / "foreign.sh", [], variables)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr, r"\Atests/script/foreign.sh: .* another folder with RIB_BUILD_DIR\n\Z")

    def test_newer_compilers_are_asked_for_where_the_archive_has_them(self):
        newer = ("clang-19", "clang-22")
        self.assertLess(set(newer), set(self.packages("nightly")))
        for known, missing in (True, newer), (False, ()):
            (self.programs / "apt-cache").write_text(f"#!/bin/sh\nexit {0 if known else 100}\n")
            (self.programs / "apt-cache").chmod(0o755)
            done = self.run_script("bootstrap", "nightly", MISSING=" ".join(newer))
            self.assertEqual(done.returncode, 1 if missing else 0, done.stderr)
            self.assertEqual([name for name in newer if name in done.stdout], list(missing))

    def test_a_cache_that_does_not_work_is_mentioned(self):
        self.assertIn("Compiling without ccache", self.run_script("demo").stdout)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
