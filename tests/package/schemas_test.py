"""Projects with schemas of their own, on an installed librib: what "Using it in another project" in docs/schema-language.md shows,
run from the page's own text, and what its words promise.

The environment says what package_schemas.sh was told: PREFIX, LIBDIR, BINDIR, SCRATCH, CC, CXX.
"""

import os
import pathlib
import platform
import re
import shutil
import subprocess
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
PAGE = (ROOT / "docs/schema-language.md").read_text(encoding="utf-8")
PREFIX = pathlib.Path(os.environ["PREFIX"])
LIBDIR = PREFIX / os.environ["LIBDIR"]
ZIDLC = PREFIX / os.environ["BINDIR"] / "zidlc"
SCRATCH = pathlib.Path(os.environ["SCRATCH"])
ENVIRONMENT = {**os.environ, "PKG_CONFIG_PATH": str(LIBDIR / "pkgconfig"), "LD_LIBRARY_PATH": str(LIBDIR)}


def blocks(text, language):
    return re.findall(rf"\n```{language}\n(.*?)```\n", text, re.DOTALL)


SECTION = PAGE.split("\n## Using it in another project\n")[1].split("\n## ")[0]
SCHEMA = blocks(PAGE, "zidl")[0]
PROGRAM, TWO_PROGRAM = blocks(SECTION, "c")
CMAKE, TWO_CMAKE = blocks(SECTION, "cmake")
(MAKEFILE,) = blocks(SECTION, "make")


class Project(unittest.TestCase):
    """A fresh folder with the files of one project."""

    def setUp(self):
        self.folder = SCRATCH / self.id().rsplit(".", 1)[1]
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)

    def write(self, path, text):
        path = self.folder / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def run_here(self, *command, **environment):
        return subprocess.run([str(word) for word in command], cwd=self.folder, env={**ENVIRONMENT, **environment}, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)

    def output(self, *command, **environment):
        result = self.run_here(*command, **environment)
        self.assertEqual(result.returncode, 0, f"{command}:\n{result.stdout}")
        return result.stdout

    def configure(self, generator="Ninja", *options):
        return self.output("cmake", "-G", generator, "-S", ".", "-B", "build", f"-DCMAKE_PREFIX_PATH={PREFIX}", *options)

    def build(self):
        return self.output("cmake", "--build", "build")

    def widen_rooms(self, path):
        """A room takes four bytes instead of one then. The time of the file is one that no build can miss."""
        text = (self.folder / path).read_text(encoding="utf-8")
        self.assertIn("1  room  : u32;", text)
        time.sleep(1.1)
        self.write(path, text.replace("1  room  : u32;", "1  room  : fixed32;"))


class ThePage(Project):
    def write_station(self):
        self.write("schema/sensors.zidl", SCHEMA)
        self.write("main.c", PROGRAM)

    def check_cmake(self, generator):
        self.write_station()
        self.write("CMakeLists.txt", CMAKE)
        self.configure(generator)
        built = self.build()
        self.assertEqual(self.output("build/station"), "7 bytes\n")  # 08 ac 02, 12 02 08 07
        self.assertNotIn("Building", self.build())
        self.assertNotIn("Compiling", self.build())
        self.assertNotIn("libstdc++", self.output("ldd", "build/station"))
        self.assertIn("Linking C executable", built)
        self.widen_rooms("schema/sensors.zidl")
        self.build()
        self.assertEqual(self.output("build/station"), "10 bytes\n")  # 08 ac 02, 12 05 0d 07 00 00 00

    def test_cmake_builds_it_with_ninja_and_again_when_a_schema_changes(self):
        self.check_cmake("Ninja")

    def test_cmake_builds_it_with_make_and_again_when_a_schema_changes(self):
        self.check_cmake("Unix Makefiles")

    def test_make_builds_it_and_again_when_a_schema_changes(self):
        self.write_station()
        self.write("Makefile", MAKEFILE)
        command = ["make", f"CC={os.environ['CC']}", f"CXX={os.environ['CXX']}"]
        self.output(*command)
        self.assertEqual(self.output("./station"), "7 bytes\n")
        self.assertIn("up to date", self.output(*command))
        self.widen_rooms("schema/sensors.zidl")
        self.output(*command)
        self.assertEqual(self.output("./station"), "10 bytes\n")
        self.assertIn("up to date", self.output(*command))

    def test_two_projects_go_into_one_program(self):
        self.write("north/sensors.zidl", SCHEMA)
        self.write("south/sensors.zidl", SCHEMA.replace("1  sensor  : u64;", "1  sensor  : fixed32;"))
        self.write("main.c", TWO_PROGRAM)
        self.write("CMakeLists.txt", TWO_CMAKE)
        self.configure()
        self.build()
        self.assertEqual(self.output("build/stations"), "3 and 5 bytes\n")  # 08 ac 02, and 0d 01 00 00 00

    def test_pkg_config_tells_where_schemas_and_proto_files_lie(self):
        folder = {name: pathlib.Path(self.output("pkg-config", f"--variable={name}", module).strip())
                  for module in ("rib", "rib-core") for name in ("schemadir", "protodir")}
        self.assertTrue((folder["schemadir"] / "rib_common.zidl").is_file())
        proto = (folder["protodir"] / "rib/rib_encap.proto").read_text(encoding="utf-8")
        self.assertIn('import "rib/rib_common.proto";', proto)


# Messages of one name, with members of their own, and everything that two projects could both define.
TWO_IN_CPP = r"""
#include "north/messages/descriptors.hpp"
#include "north/messages/sensors.h"
#include "north/messages/sensors.message.hpp"
#include "rib.h"
#include "south/messages/descriptors.hpp"
#include "south/messages/sensors.h"
#include "south/messages/sensors.message.hpp"

#include <cassert>
#include <cstdlib>
#include <cstring>

static void *take(size_t size, void *) { return malloc(size); }
static void give(void *block, void *) { free(block); }

int main()
{
    static_assert(sizeof(north_sensor_reading) != sizeof(south_sensor_reading), "they are to differ");
    assert(north::find_message("sensor_reading")->size == sizeof(north_sensor_reading));
    assert(south::find_message("sensor_reading")->size == sizeof(south_sensor_reading));
    assert(north::message_count == 2 && south::message_count == 2);

    char note[] = "ok";
    north_sensor_reading north = {};
    north_sensor_reading_set_sensor(&north, 300);
    north.note = note;
    north_sensor_reading_mark_note(&north);
    uint8_t buf[64];
    const size_t len = north_sensor_reading_encode_ext(&north, buf, sizeof buf, nullptr, nullptr, 0);
    const uint8_t expected[] = {0x08, 0xac, 0x02, 0x4a, 0x02, 'o', 'k'}; // sensor, note
    assert(len == sizeof expected && memcmp(buf, expected, len) == 0);

    // What the other one does not know it skips; here that is the note.
    south_sensor_reading south;
    memset(&south, 0xa5, sizeof south);
    assert(south_sensor_reading_decode_ext(&south, buf, len, take, nullptr, 0) == ZIDL_OK);
    assert(south.sensor == 300 && !south_sensor_reading_has_place(&south));
    south_sensor_reading_free_ext(&south, give, nullptr, 0);

    north_sensor_reading back;
    assert(north_sensor_reading_decode_ext(&back, buf, len, take, nullptr, 0) == ZIDL_OK);
    assert(strcmp(back.note, "ok") == 0);
    north_sensor_reading copy;
    assert(north_sensor_reading_duplicate(&copy, &back, take, nullptr) == ZIDL_OK);
    north_sensor_reading_free_ext(&back, give, nullptr, 0);
    assert(strcmp(copy.note, "ok") == 0);
    north_sensor_reading_free_ext(&copy, give, nullptr, 0);

    // And a message of librib's.
    zidl_rib_prefix prefix = {};
    zidl_rib_prefix_set_prefix_len(&prefix, 24);
    assert(zidl_rib_prefix_encode_ext(&prefix, buf, sizeof buf, nullptr, nullptr, 0) == 2);
}
"""
DISPATCHED = SCHEMA.replace("message sensor_reading {\n", "message sensor_reading {\n    dispatch;\n")
OTHER = """group sensors;
message sensor_place { 1 room : u32; }
message sensor_reading { dispatch; 1 sensor : u64; 2 place : sensor_place; 3 trace : repeated bytes; }
"""


class ItsPromises(Project):
    def compilers(self):
        return [name for name in ("g++", "clang++") if shutil.which(name)]

    def check_one_program(self, compiler):
        """North becomes a shared library that exports whatever it has, south a part of the program that shows nothing."""
        includes = ["-I.", *self.output("pkg-config", "--cflags", "rib").split()]
        base = [compiler, "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fPIC", *includes]
        inside = [*base, "-fno-exceptions", "-fno-rtti"]
        objects = {}
        for name, flags in (("north", []), ("south", ["-fvisibility=hidden"])):
            objects[name] = []
            builds = [("once", [])]
            if platform.machine() == "x86_64":
                builds = [("once", ["-DZIDL_DISPATCH"]), ("bmi2", ["-DZIDL_DISPATCH", "-mbmi", "-mbmi2"])]
            for build, more in builds:
                objects[name].append(f"{name}_{build}.o")
                self.output(*inside, *flags, *more, "-c", f"{name}/messages/sensors.cpp", "-o", objects[name][-1])
            objects[name].append(f"{name}_tables.o")
            self.output(*base, *flags, "-c", f"{name}/messages/descriptors.cpp", "-o", objects[name][-1])
        self.output(compiler, "-shared", *objects["north"], "-o", "libnorth.so")
        self.output(*base, "-UNDEBUG", "main.cpp", *objects["south"], "-o", "both", "-L.", "-lnorth",
                    *self.output("pkg-config", "--libs", "rib").split())
        self.output("./both", LD_LIBRARY_PATH=f"{self.folder}:{LIBDIR}")

    def test_two_projects_with_the_same_names_link_and_work_with_every_compiler(self):
        self.assertIn("dispatch;", DISPATCHED)
        for name, schema in (("north", DISPATCHED), ("south", OTHER)):
            self.write(f"{name}/sensors.zidl", schema)
            self.output(ZIDLC, "--prefix", name, "--folder", f"{name}/messages", f"{name}/sensors.zidl")
        self.write("main.cpp", TWO_IN_CPP)
        for compiler in self.compilers():
            with self.subTest(compiler=compiler):
                self.check_one_program(compiler)

    def test_librib_in_a_folder_of_the_project_does_the_same_and_what_is_only_used_counts(self):
        place, rest = DISPATCHED.split("# One reading of one sensor.")
        self.write("imported/places.zidl", place.replace("group sensors;", "group places;"))
        self.write("sensors.zidl", "group sensors;\nuse places;\n" + rest)
        self.write("main.c", PROGRAM.replace("messages/", "station/"))
        self.write("other.c", "int other = 1;\n")
        self.write("CMakeLists.txt", f"""
            cmake_minimum_required(VERSION 3.25)
            project(station LANGUAGES C CXX)
            add_subdirectory({ROOT} rib EXCLUDE_FROM_ALL)
            add_executable(station main.c)
            zidl_generate(places imported/places.zidl FOLDER station PROTO)
            add_library(readings SHARED other.c)
            zidl_generate(readings sensors.zidl FOLDER station IMPORT imported PROTO_FOLDER weather PROTO DESCRIPTORS DISPATCH)
            target_link_libraries(readings PUBLIC places)
            target_link_libraries(station PRIVATE readings)""")
        self.configure("Ninja", f"-DRIB_ZIDLC={ZIDLC}")
        self.build()
        self.assertEqual(self.output("build/station"), "7 bytes\n")
        self.assertTrue((self.folder / "build/places_zidl/proto/zidl/places.proto").is_file())
        self.assertIn('import "weather/places.proto";',
                      (self.folder / "build/readings_zidl/proto/weather/sensors.proto").read_text(encoding="utf-8"))
        tables = self.folder / "build/readings_zidl/station/descriptors.cpp"
        self.assertIn('"room", 1, kind::u32', tables.read_text(encoding="utf-8"))
        self.widen_rooms("imported/places.zidl")
        self.build()
        self.assertIn('"room", 1, kind::fixed32', tables.read_text(encoding="utf-8"))
        self.assertEqual(self.output("build/station"), "10 bytes\n")

    def configured(self, call, *options, languages="CXX", prefix=PREFIX):
        self.write("a.zidl", "group a;\nmessage m { 1 x : u32; }\n")
        self.write("CMakeLists.txt", f"""
            cmake_minimum_required(VERSION 3.25)
            project(station LANGUAGES {languages})
            find_package(rib REQUIRED)
            {call}""")
        return self.run_here("cmake", "-S", ".", "-B", "build", f"-DCMAKE_PREFIX_PATH={prefix}", *options)

    def refusal(self, *arguments, **more):
        result = self.configured(*arguments, **more)
        self.assertNotEqual(result.returncode, 0, result.stdout)
        return " ".join(result.stdout.split())

    def prefix_without_tools(self):
        prefix = self.folder / "without_tools"
        libraries = prefix / os.environ["LIBDIR"]
        libraries.parent.mkdir(parents=True)
        libraries.symlink_to(LIBDIR)
        return prefix

    def test_a_project_of_cpp_alone_needs_no_c(self):
        result = self.configured("zidl_generate(messages a.zidl)")
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_a_program_may_be_linked_by_either_signature_of_cmake(self):
        self.write("main.cpp", "int main() {}\n")
        for keyword in "", "PRIVATE":
            result = self.configured(f"""
                add_executable(messages main.cpp)
                target_link_libraries(messages {keyword} rib::rib)
                zidl_generate(messages a.zidl)
                target_link_libraries(messages {keyword} m)""")
            self.assertEqual(result.returncode, 0, result.stdout)

    def test_what_cannot_be_is_refused_with_what_to_do(self):
        good = "zidl_generate(messages a.zidl)"
        self.assertIn("zidl_generate(messages): name a schema, GROUP.zidl", self.refusal("zidl_generate(messages)"))
        self.assertIn("b.zidl is neither a file GROUP.zidl nor an option", self.refusal("zidl_generate(messages b.zidl)"))
        self.assertIn("say a value after PREFIX", self.refusal("zidl_generate(messages a.zidl PREFIX)"))
        self.assertIn("the target has messages already: name all schemas in one call", self.refusal(good + "\n" + good))
        self.assertIn("give the messages a target of their own, and link it",
                      self.refusal("add_library(messages INTERFACE)\n" + good))
        self.assertIn("RIB_ZIDLC is /nowhere/zidlc, which does not exist: say where zidlc is",
                      self.refusal(good, "-DRIB_ZIDLC=/nowhere/zidlc"))
        self.assertIn("RIB_ZIDLC is /usr, which is a folder: name the program in it", self.refusal(good, "-DRIB_ZIDLC=/usr"))
        self.assertIn("there is no zidlc: install librib's tools (package ribtool), build librib with -DRIB_BUILD_TOOLS=ON, or say "
                      "where it is with -DRIB_ZIDLC=/path/to/zidlc",
                      self.refusal(good, "-URIB_ZIDLC", "-Urib_DIR", "-DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF",
                                   "-DCMAKE_FIND_USE_SYSTEM_ENVIRONMENT_PATH=OFF", prefix=self.prefix_without_tools()))
        shutil.rmtree(self.folder / "build")
        self.assertIn("say LANGUAGES C CXX in project()", self.refusal(good, languages="C"))

    def test_a_cross_build_takes_no_zidlc_of_the_other_machine(self):
        crossing = ["-DCMAKE_SYSTEM_NAME=Linux", f"-DCMAKE_SYSTEM_PROCESSOR={platform.machine()}"]
        self.configured("", *crossing)
        cache = (self.folder / "build/CMakeCache.txt").read_text(encoding="utf-8")
        self.assertIn("RIB_ZIDLC:", cache)
        self.assertNotIn(str(ZIDLC), cache)
        result = self.configured("zidl_generate(messages a.zidl)", f"-DRIB_ZIDLC={ZIDLC}")
        self.assertEqual(result.returncode, 0, result.stdout)


if __name__ == "__main__":
    unittest.main()
