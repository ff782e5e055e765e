#!/usr/bin/env python3
"""What script/package says where it cannot build, with stand-ins for the programs that it calls."""

import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent.parent
OF_THE_SYSTEM = "bash dirname basename pwd sed sort realpath awk mktemp rm mkdir find mv tail cat grep touch".split()

BUILD = '''#!/bin/bash
echo "what the compiler says"
[ -z "$FAKE_BUILD" ] || exit 2
touch ../librib1_1.0-1_amd64.deb ../librib_1.0-1_amd64.changes
'''
STAND_INS = {
    # a clone with everything committed, and nothing in it but what is asked for
    "git": '#!/bin/bash\n[ "$1" != show ] || echo "librib (1.0-1) unstable; urgency=medium"\n',
    # what it would unpack
    "tar": '#!/bin/bash\nmkdir -p "${@: -1}/librib-1.0/debian"\n'
           'printf "Source: librib\\n\\nPackage: librib1\\n" >"${@: -1}/librib-1.0/debian/control"\n',
    "xz": "#!/bin/bash\ncat\n",
    "dh": "#!/bin/bash\n",
    "dpkg-buildpackage": BUILD,
    "dpkg-checkbuilddeps": '#!/bin/bash\n[ -z "$UNMET" ] || { echo "dpkg-checkbuilddeps: error: Unmet: $UNMET" >&2; exit 1; }\n',
    "lintian": '#!/bin/bash\n[ -z "$FAKE_LINT" ] || { echo "E: librib1: fault"; exit 2; }\n',
    "df": '#!/bin/bash\necho Filesystem Blocks Used Available\necho none 1 1 ${FREE_KB:-90000000}\n',
}


class Package(unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="package_test_"))
        self.addCleanup(shutil.rmtree, self.scratch)
        self.tree = self.scratch / "the tree"
        for name in "package", "steps.sh":
            (self.tree / "script").mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / "script" / name, self.tree / "script")
        (self.tree / "debian").mkdir()
        (self.tree / "debian/changelog").write_text("librib (1.1-1) UNRELEASED; urgency=medium\n") # not committed
        self.folder = self.scratch / "packages"
        self.programs = self.scratch / "bin"
        self.programs.mkdir()
        for name in OF_THE_SYSTEM:
            if shutil.which(name):
                (self.programs / name).symlink_to(shutil.which(name))
        for name, text in STAND_INS.items():
            (self.programs / name).write_text(text)
            (self.programs / name).chmod(0o755)

    def run_script(self, *arguments, **variables):
        environment = {"PATH": str(self.programs), "HOME": str(self.scratch)} | variables
        return subprocess.run(["bash", self.tree / "script/package", *arguments], env=environment, capture_output=True, text=True,
                              check=False)

    def refuses(self, pattern, *arguments, **variables):
        done = self.run_script(*arguments, **variables)
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        self.assertRegex(done.stderr, pattern)

    def left_in_folder(self):
        return sorted(path.name for path in self.folder.iterdir())

    def test_packages_are_handed_over_with_the_log(self):
        done = self.run_script(self.folder)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("librib1_1.0-1_amd64.deb", done.stdout)
        self.assertEqual([name for name in self.left_in_folder() if not re.match(r".*\.orig\.", name)],
                         ["build.log", "librib1_1.0-1_amd64.deb", "librib_1.0-1_amd64.changes"])

    def test_packages_of_another_version_go_and_what_is_of_others_stays(self):
        self.folder.mkdir()
        others = ["librib10_0.9-1_amd64.deb", "notes.txt"]
        for name in ["librib1_0.9-1_amd64.deb", "librib1-dbgsym_0.9-1_amd64.deb", "librib_0.9-1_amd64.changes", *others]:
            (self.folder / name).touch()
        self.assertEqual(self.run_script(self.folder).returncode, 0)
        self.assertEqual([name for name in self.left_in_folder() if "1.0" not in name], ["build.log", *others])

    def test_missing_programs_are_named_by_their_packages(self):
        for name in "dh", "lintian":
            (self.programs / name).unlink()
        self.refuses(r"missing: debhelper lintian\. Install them: sudo apt-get install debhelper lintian\n", self.folder)
        self.assertFalse(self.folder.exists())

    def test_lintian_is_not_missed_where_it_is_not_wanted(self):
        (self.programs / "lintian").unlink()
        self.assertEqual(self.run_script("--no-lint", self.folder).returncode, 0)

    def test_what_the_build_needs_is_named(self):
        self.refuses(r"Unmet: libfmt-dev\. Install them: sudo apt-get build-dep '.*the tree'", self.folder, UNMET="libfmt-dev")

    def test_a_folder_that_cannot_be_made_is_named(self):
        self.refuses(r"cannot write to .*changelog/below: name another folder", self.tree / "debian/changelog/below")

    def test_too_little_room_is_told_before_anything_is_built(self):
        self.refuses(r"packages has 9 MB left, and \d+ are needed: make room, or name another folder", self.folder, FREE_KB="10000")
        self.assertEqual(self.left_in_folder(), [])

    def test_a_folder_with_blanks_is_built_elsewhere_and_that_place_is_named(self):
        elsewhere = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, elsewhere)
        self.refuses(f"{elsewhere} has 9 MB left, .* make room, or set TMPDIR", self.scratch / "pack ages", FREE_KB="10000",
                     TMPDIR=elsewhere)
        self.refuses("cannot write to /proc/none: set TMPDIR", self.scratch / "pack ages", TMPDIR="/proc/none")

    def test_a_failed_build_shows_its_end_and_leaves_the_log_alone(self):
        done = self.run_script(self.folder, FAKE_BUILD="yes")
        self.assertEqual(done.returncode, 1)
        self.assertIn("what the compiler says\nscript/package: the build failed: ", done.stderr)
        self.assertEqual(self.left_in_folder(), ["build.log"])

    def test_what_lintian_finds_is_shown_and_no_package_handed_over(self):
        done = self.run_script(self.folder, FAKE_LINT="yes")
        self.assertEqual(done.returncode, 1)
        self.assertIn("E: librib1: fault", done.stdout)
        self.assertEqual(self.left_in_folder(), ["build.log"])


if __name__ == "__main__":
    unittest.main()
