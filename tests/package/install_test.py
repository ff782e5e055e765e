#!/usr/bin/env python3
"""What installing does besides copying: it refuses what it could not complete, and leaves a linker and a folder as they should be.

    install_test.py --build FOLDER --sources FOLDER --libdir lib --scratch FOLDER
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

CHOSEN = argparse.Namespace()
LIBRARIES = ("librib", "librib_tlv", "librib_strutil", "librib_inspect")
COMPONENTS = LIBRARIES + ("development", "tools", "documentation")


class Installation(unittest.TestCase):
    def setUp(self):
        self.folder = CHOSEN.scratch / self.id().rsplit(".", 1)[1]
        shutil.rmtree(self.folder, ignore_errors=True)
        self.prefix = self.folder / "pre fix"
        self.programs = self.folder / "programs"
        self.programs.mkdir(parents=True)
        # The rules themselves, without the list of files that the whole build folder keeps of its last installation.
        self.rules = CHOSEN.build / "packaging" / "cmake_install.cmake"
        self.environment = dict(os.environ, PATH=f"{self.programs}:{os.environ['PATH']}")
        self.environment.pop("DESTDIR", None)

    def program(self, name, text):
        path = self.programs / name
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)

    def run_cmake(self, *arguments, **environment):
        return subprocess.run(["cmake", *arguments], env=dict(self.environment, **environment), capture_output=True, text=True,
                              check=False)

    def install(self, *options, rules=None, **environment):
        return self.run_cmake(f"-DCMAKE_INSTALL_PREFIX={self.prefix}", *options, "-P", rules or self.rules, **environment)

    def refusal(self, done):
        """The one line, when nothing has been installed."""
        self.assertNotEqual(done.returncode, 0)
        lines = [line.strip() for line in done.stderr.split("\n") if "Nothing has been installed" in line]
        self.assertEqual(len(lines), 1, done.stderr)
        self.assertNotIn("-- Installing", done.stdout)
        return lines[0]

    def files(self, root=None):
        root = root or self.prefix
        return sorted(str(path.relative_to(root)) for path in root.rglob("*") if path.is_symlink() or not path.is_dir())


class Refusals(Installation):
    def test_what_is_not_built_is_named_with_the_command_that_builds_it(self):
        text = self.rules.read_text()
        for name in ("librib.a", "librib_inspect.so", "documents/README.md"):
            with self.subTest(name):
                rules = self.folder / "rules.cmake"
                rules.write_text(text.replace(name, "absent/" + name))
                self.assertNotEqual(rules.read_text(), text)
                line = self.refusal(self.install(rules=rules))
                self.assertIn("absent/" + name, line)
                self.assertIn(f"is not built. First: cmake --build '{CHOSEN.build}' --target rib_installable", line)
                self.assertFalse(self.prefix.exists())

    def test_component_does_not_need_what_others_have_not_built(self):
        rules = self.folder / "rules.cmake"
        rules.write_text(self.rules.read_text().replace("librib.a", "absent/librib.a"))
        done = self.install("-DCMAKE_INSTALL_COMPONENT=librib_tlv", rules=rules)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_folder_that_cannot_be_written_to_is_named(self):
        self.prefix.mkdir()
        (self.prefix / "include").write_text("")  # also root cannot make folders in it
        self.assertIn(f"{self.prefix}/include is no folder that you may write to. Choose another with --prefix",
                      self.refusal(self.install()))
        self.assertEqual(self.files(), ["include"])

    def test_full_disk_is_told_before_it_is_full(self):
        self.program("df", 'printf "Filesystem 1024-blocks Used Available Capacity Mounted on\\n/dev/x 9999 9799 200 98%% /\\n"')
        line = self.refusal(self.install())
        self.assertRegex(line, re.escape(f"{self.folder} has 200 KiB of room, and ") + r"\d{4,} are needed")
        self.assertFalse(self.prefix.exists())

    def test_destdir_is_where_it_is_looked(self):
        stage = self.folder / "stage"
        stage.write_text("")
        self.assertIn(f"{stage} is no folder", self.refusal(self.install(DESTDIR=str(stage))))

    def test_destdir_may_be_relative_and_absent(self):
        done = subprocess.run(["cmake", "-DCMAKE_INSTALL_PREFIX=/usr", "-DCMAKE_INSTALL_COMPONENT=librib_tlv", "-P", self.rules],
                              cwd=self.folder, env=dict(self.environment, DESTDIR="sta ge"), capture_output=True, text=True,
                              check=False, timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(f"usr/{CHOSEN.libdir}/librib_tlv.so.1", self.files(self.folder / "sta ge"))


class Linker(Installation):
    def setUp(self):
        super().setUp()
        self.ran = self.folder / "ran"

    def fake(self, user, searched):
        """An ldconfig that searches a folder, and notes when it runs and whether the library was there by then."""
        library = self.prefix / CHOSEN.libdir / "librib.so.1"
        self.program("id", f"echo {user}")
        self.program("ldconfig", f'if [ "$1" = -N ]; then echo "/lib: (x)"; echo "{searched}: (from conf)"; exit; fi\n'
                                 f'[ -e "{library}" ] && echo "$#" >> "{self.ran}"')

    def update(self, *options, user, searched=True, **environment):
        folder = self.prefix / CHOSEN.libdir
        self.fake(user, folder if searched else "/somewhere")
        done = self.run_cmake(f"-DCMAKE_INSTALL_PREFIX={self.prefix}", f"-Drib_library_folder={CHOSEN.libdir}", *options,
                              "-P", CHOSEN.sources / "packaging" / "update_linker_cache.cmake", **environment)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def test_root_runs_ldconfig_once_behind_an_installation_into_a_folder_that_is_searched(self):
        self.fake(0, self.prefix / CHOSEN.libdir)
        done = self.install()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.ran.read_text(), "0\n")

    def test_ldconfig_does_not_run_otherwise(self):
        self.assertIn("when root has run ldconfig", self.update(user=1000))
        self.assertIn(f"link programs with -Wl,-rpath,{self.prefix}", self.update(user=0, searched=False))
        self.assertEqual(self.update(user=0, DESTDIR=str(self.folder)), "")
        self.assertEqual(self.update("-DCMAKE_INSTALL_COMPONENT=documentation", user=0), "")
        self.assertFalse(self.ran.exists())


class Parts(Installation):
    def test_components_together_are_the_whole_and_share_no_file(self):
        self.assertEqual(self.install().returncode, 0)
        whole = self.files()
        parts = []
        for component in COMPONENTS:
            stage = self.folder / component
            done = self.install(f"-DCMAKE_INSTALL_COMPONENT={component}", DESTDIR=str(stage))
            self.assertEqual(done.returncode, 0, done.stderr)
            root = stage / str(self.prefix).lstrip("/")
            files = self.files(root) if root.exists() else []
            if component in LIBRARIES:
                self.assertEqual({re.sub(r"[.]so[.]1.*", ".so.1", name) for name in files}, {f"{CHOSEN.libdir}/{component}.so.1"})
            parts += files
        self.assertEqual(sorted(parts), sorted(whole))

    def test_the_page_lists_every_folder_with_its_component(self):
        page = (CHOSEN.sources / "docs/install.md").read_text().split("\n## What is where\n")[1].split("\n## ")[0]
        rows = [[re.findall("`([^`]+)`", cell) for cell in line.split("|")[1:3]] for line in re.findall(r"(?m)^\| `.*", page)]
        self.assertGreater(len(rows), 5)
        for component in COMPONENTS:
            shutil.rmtree(self.prefix, ignore_errors=True)
            self.assertEqual(self.install(f"-DCMAKE_INSTALL_COMPONENT={component}").returncode, 0)
            listed = [re.sub("^lib(?=/|$)", CHOSEN.libdir, folder) for folders, components in rows if component in components
                      for folder in folders]
            self.assertEqual([file for file in self.files() if not file.startswith(tuple(f"{folder}/" for folder in listed))], [])

    def test_uninstall_leaves_what_others_brought(self):
        self.check_uninstall("pre fix")

    def test_uninstall_leaves_what_others_brought_where_a_path_looks_like_a_pattern(self):
        self.check_uninstall("pre*[f]ix?")

    def check_uninstall(self, name):
        self.folder = self.folder / name
        self.folder.mkdir()
        self.prefix = self.folder / name
        self.assertEqual(self.install().returncode, 0)
        (self.prefix / "bin").mkdir(exist_ok=True)
        (self.prefix / "bin" / "theirs").write_text("")
        (self.prefix / "include" / "rib" / "mine.h").write_text("")
        listed = [self.prefix / name for name in self.files() if not name.endswith(("theirs", "mine.h"))]
        (self.folder / "install_manifest.txt").write_text("\n".join(map(str, listed)))
        uninstall = [f"-DBUILD={self.folder}", "-P", CHOSEN.sources / "packaging" / "uninstall.cmake"]
        done = self.run_cmake(*uninstall)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.files(), ["bin/theirs", "include/rib/mine.h"])
        self.assertFalse((self.prefix / "share" / "rib").exists())
        self.assertIn("Nothing has been installed", self.run_cmake(*uninstall).stderr)

    def test_links_of_installed_pages_lead_somewhere(self):
        self.assertEqual(self.install().returncode, 0)
        pages = [path for path in self.prefix.rglob("*.md")]
        self.assertIn("client-guide.md", {page.name for page in pages})
        dead, alive = [], 0
        for page in pages:
            for link in re.findall(r"\]\(([^)#: ]+)(?:#[^)]*)?\)", page.read_text()):
                alive += 1
                if not (page.parent / link).exists():
                    dead.append(f"{page.relative_to(self.prefix)}: {link}")
        self.assertEqual(dead, [])
        self.assertGreater(alive, 100)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("build", "sources", "scratch"):
        parser.add_argument(f"--{name}", type=pathlib.Path, required=True)
    parser.add_argument("--libdir", required=True)
    _, rest = parser.parse_known_args(namespace=CHOSEN)
    unittest.main(argv=sys.argv[:1] + rest)


if __name__ == "__main__":
    main()
