#!/usr/bin/env python3
"""What ribtool writes is never half, and never in place of what is good: real processes, signals, full disks, links.

    outputs_test.py --ribtool PROGRAM
"""

import argparse
import contextlib
import fcntl
import os
import pathlib
import re
import resource
import shutil
import signal
import stat
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

RIBTOOL = ""
SECONDS = 60  # far more than anything here takes
ENDING_SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
GOOD = b"what was there before\n"

ROWS = b"#prefix\tnext_hop\n10.0.0.0/8\t192.0.2.1\n10.1.0.0/16\t192.0.2.1\n10.2.0.0/16\t192.0.2.1\n"
LIMIT_BYTES = 8192  # a synth of ten thousand updates is longer

# A protocol update: four bytes that nobody reads, type code 47, length 2; 1 proto_id = 7.
PROTO_FRAME = bytes([0, 0, 0, 0, 0, 47, 0, 2, 0x08, 0x07])


def wait_for(condition):
    """Until the condition holds; a failure where it does not within a time that no machine needs."""
    end = time.monotonic() + SECONDS
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("waited in vain")
        time.sleep(0.001)


def process_field(process, name):
    for line in pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="ascii").splitlines():
        if line.startswith(name + ":"):
            return line.split()[1]
    raise AssertionError(f"no {name}")


def wait_until_caught(process, number):
    """Until a signal would no longer end the process at once."""
    wait_for(lambda: int(process_field(process, "SigCgt"), 16) >> (number - 1) & 1)


def unread_bytes(descriptor):
    return struct.unpack("i", fcntl.ioctl(descriptor, termios.FIONREAD, b"\0\0\0\0"))[0]


def wait_until_all_is_read(process, descriptor):
    """Until the process has taken everything out of the pipe and waits for more."""
    wait_for(lambda: unread_bytes(descriptor) == 0 and process_field(process, "State") == "S")


def without_override():
    """Words in front of a command that make permissions count for root, too."""
    if os.geteuid() != 0:
        return []
    words = ["setpriv", "--bounding-set", "-dac_override", "--inh-caps", "-dac_override"]
    if shutil.which("setpriv") is None or subprocess.run([*words, "true"], capture_output=True, check=False).returncode:
        raise unittest.SkipTest("root cannot be made to respect permissions here")
    return words


class OutputTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ribtool-outputs-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.out = self.folder / "out.pcap"

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())

    def write(self, name, contents):
        path = self.folder / name
        path.write_bytes(contents)
        return path

    def start(self, *arguments, before=(), **more):
        process = subprocess.Popen([*before, RIBTOOL, *map(str, arguments)], cwd=self.folder,
                                   stdin=more.pop("stdin", subprocess.DEVNULL),
                                   stdout=more.pop("stdout", subprocess.PIPE), stderr=subprocess.PIPE, **more)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.communicate()

    def finish(self, process):
        """The standard error, when the process has ended."""
        return process.communicate(timeout=SECONDS)[1].decode()

    def run_tool(self, *arguments, **more):
        process = self.start(*arguments, **more)
        return process, self.finish(process)

    @contextlib.contextmanager
    def reading(self, *arguments, contents=b"", **more):
        """A process that has read the contents of the pipe "in" and waits for more."""
        pipe = self.folder / "in"
        if not pipe.exists():
            os.mkfifo(pipe)
        process = self.start(*arguments, **more)
        descriptor = self.open_for(process, pipe)
        try:
            os.write(descriptor, contents)
            wait_until_all_is_read(process, descriptor)
            yield process, descriptor
        finally:
            with contextlib.suppress(OSError):
                os.close(descriptor)

    def open_for(self, process, pipe):
        """The pipe that the process reads; a failure where it has ended instead."""
        opened = []

        def open_it():
            if process.poll() is not None:
                raise AssertionError(self.finish(process))
            with contextlib.suppress(OSError):  # nobody reads it yet
                opened.append(os.open(pipe, os.O_WRONLY | os.O_NONBLOCK))
            return opened

        wait_for(open_it)
        return opened[0]

    def synth_into(self, path):
        process, text = self.run_tool("synth", "--profile", "mixed", "--updates", 5000, "-o", path)
        self.assertEqual(process.returncode, 0, text)

    def updates_in(self, path):
        process, text = self.run_tool("replay", path, "--no-json")
        self.assertEqual(process.returncode, 0, text)
        return int(re.search(r"(\d+) updates", text)[1])


class Interruption(OutputTest):
    def test_a_signal_leaves_what_was_there(self):
        for number in ENDING_SIGNALS:
            self.out.write_bytes(GOOD)
            with self.reading("import", "in", "-o", "out.pcap", contents=ROWS) as (process, _):
                process.send_signal(number)
                text = self.finish(process)
            self.assertEqual(process.returncode, -number)
            # More rows of the third prefix might have come.
            self.assertIn("ribtool: interrupted after 2 updates: out.pcap is not written\n", text)
            self.assertEqual(self.out.read_bytes(), GOOD)
            self.assertEqual(self.names(), ["in", "out.pcap"])

    def test_a_signal_leaves_no_file_where_none_was(self):
        with self.reading("import", "in", "-o", "out.pcap", contents=ROWS) as (process, _):
            self.assertEqual(len(self.names()), 2)  # the pipe and what is being written
            process.send_signal(signal.SIGTERM)
            self.finish(process)
        self.assertEqual(self.names(), ["in"])

    def test_what_is_kept_is_whole(self):
        half_a_row = b"10.3.0.0/16\t192.0"
        with self.reading("import", "in", "-o", "out.pcap", "--partial", contents=ROWS + half_a_row) as (process, _):
            process.send_signal(signal.SIGINT)
            text = self.finish(process)
        self.assertEqual(process.returncode, -signal.SIGINT)
        self.assertIn("ribtool: interrupted after 2 updates, which out.pcap holds\n", text)
        self.assertEqual(self.updates_in("out.pcap"), 2)
        self.assertEqual(self.names(), ["in", "out.pcap"])

    def test_every_command_that_writes_keeps_to_it(self):
        frames = PROTO_FRAME * 3
        commands = {
            ("decode", "ip_rib_proto_update", "in", "--code", "47", "-o", "out.pcap"): (frames, "3 messages"),
            ("encode", "ip_rib_proto_update", "in", "--code", "47", "-o", "out.pcap"):
                (b'{"proto_id":7}\n' * 2, "2 messages"),
            ("replay", "in", "--json", "out.pcap"): (frames, "3 updates"),
            ("filter", "in", "-o", "out.pcap"): (frames, "3 "),
        }
        for command, (contents, done) in commands.items():
            for partial in ([], ["--partial"]):
                with self.subTest(command=command, partial=partial):
                    with self.reading(*command, *partial, contents=contents) as (process, _):
                        process.send_signal(signal.SIGTERM)
                        text = self.finish(process)
                    self.assertEqual(process.returncode, -signal.SIGTERM, text)
                    self.assertIn(f"interrupted after {done}", text)
                    self.assertEqual(self.names(), ["in", "out.pcap"] if partial else ["in"])
                self.out.unlink(missing_ok=True)

    def test_what_has_no_end_ends_in_the_middle(self):
        (self.folder / "in").write_bytes(b"10.0.0.0/8\n")
        for command in (["synth", "--profile", "full-table", "--updates", 10**9],
                        ["import", "in", "--updates-per-route", 2**64 - 1]):
            with self.subTest(command=command):
                process = self.start(*command, "-o", "out.pcap", "--partial")
                unfinished = self.folder / f".ribtool-{process.pid}-0"
                wait_for(lambda: unfinished.exists() and unfinished.stat().st_size > 100000)
                process.send_signal(signal.SIGTERM)
                text = self.finish(process)
                self.assertEqual(process.returncode, -signal.SIGTERM)
                done = int(re.search(r"interrupted after (\d+) updates, which out.pcap holds", text)[1])
                self.assertEqual(self.updates_in("out.pcap"), done)

    def test_commands_that_read_print_their_summaries(self):
        summaries = {"replay": "3 callbacks", "show": "3 frames read", "explain": "3 delivered", "stats": ""}
        for command, summary in summaries.items():
            with self.subTest(command=command):
                with self.reading(command, "in", contents=PROTO_FRAME * 3) as (process, _):
                    process.send_signal(signal.SIGINT)
                    out, text = (part.decode() for part in process.communicate(timeout=SECONDS))
                self.assertEqual(process.returncode, -signal.SIGINT)
                self.assertRegex(text, "interrupted after 3 (frames|updates)")
                self.assertIn(summary, text)
                self.assertIn("47", out)

    def test_a_pipe_that_nobody_has_opened_keeps_nobody(self):
        os.mkfifo(self.folder / "in")
        os.mkfifo(self.folder / "out")
        for command in (("import", "in", "-o", "out.pcap"), ("replay", "in")):
            process = self.start(*command)
            wait_until_caught(process, signal.SIGTERM)
            process.send_signal(signal.SIGTERM)
            self.assertIn("in: interrupted", self.finish(process))
            self.assertEqual(process.returncode, -signal.SIGTERM)

    def test_a_reader_that_takes_nothing_keeps_nobody(self):
        updates = self.folder / "updates.pcap"
        self.synth_into(updates)
        # Lines and packets longer than a pipe takes at once: a signal that comes then leaves a part of them.
        for command in (["synth", "--updates", 10**9, "-o", "-"], ["replay", updates], ["filter", updates, "-o", "-"]):
            with self.subTest(command=command):
                reading, writing = os.pipe()
                self.addCleanup(os.close, reading)
                process = self.start(*command, stdout=writing)
                os.close(writing)
                wait_for(lambda at=reading, who=process:
                         unread_bytes(at) > 48000 and process_field(who, "State") == "S")
                process.send_signal(signal.SIGTERM)
                self.assertIn("interrupted", self.finish(process))
                self.assertEqual(process.returncode, -signal.SIGTERM)

    def test_a_second_signal_ends_at_once_and_leaves_nothing(self):
        # The standard error is full, so that the first signal ends in a message that nobody reads.
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        os.set_blocking(writing, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(writing, b"." * 4096)
        os.set_blocking(writing, True)
        os.mkfifo(self.folder / "in")
        process = subprocess.Popen([RIBTOOL, "replay", "in", "--json", "out.pcap"], cwd=self.folder, stderr=writing)
        self.addCleanup(self.end, process)
        os.close(writing)
        descriptor = self.open_for(process, self.folder / "in")
        self.addCleanup(os.close, descriptor)
        os.write(descriptor, PROTO_FRAME)
        wait_until_all_is_read(process, descriptor)
        self.assertEqual(len(self.names()), 2)
        while process.poll() is None:
            process.send_signal(signal.SIGTERM)
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(0.01)
        self.assertEqual(process.returncode, -signal.SIGTERM)
        self.assertEqual(self.names(), ["in"])

    def test_a_signal_that_is_ignored_stays_so(self):
        def as_nohup():
            signal.signal(signal.SIGHUP, signal.SIG_IGN)

        with self.reading("import", "in", "-o", "out.pcap", contents=ROWS, preexec_fn=as_nohup) as (process, pipe):
            process.send_signal(signal.SIGHUP)
            os.close(pipe)
            self.finish(process)
        self.assertEqual(process.returncode, 0)
        self.assertEqual(self.updates_in("out.pcap"), 3)


class Failures(OutputTest):
    def test_an_import_that_fails_leaves_what_was_there(self):
        self.out.write_bytes(GOOD)
        table = self.write("table.tsv", ROWS + b"10.3.0.0/16\t192.0.2\n")
        process, text = self.run_tool("import", table, "-o", "out.pcap")
        self.assertEqual(process.returncode, 4, text)
        self.assertEqual(self.out.read_bytes(), GOOD)
        self.assertEqual(self.names(), ["out.pcap", "table.tsv"])

    def test_what_came_before_the_damage_is_kept_where_that_is_wanted(self):
        table = self.write("table.tsv", ROWS + b"10.3.0.0/16\t192.0.2\n")
        process, text = self.run_tool("import", table, "-o", "out.pcap", "--partial")
        self.assertEqual(process.returncode, 4)
        self.assertRegex(text, r"ribtool: out.pcap holds the 2 updates before this:\n.*bad next_hop")
        self.assertEqual(self.updates_in("out.pcap"), 2)

    def test_a_full_disk_leaves_what_was_there(self):
        def with_limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (LIMIT_BYTES, LIMIT_BYTES))

        for partial in ([], ["--partial"]):  # there is nothing whole to keep
            self.out.write_bytes(GOOD)
            process, text = self.run_tool("synth", "--updates", 10000, "-o", "out.pcap", *partial,
                                          preexec_fn=with_limit)
            self.assertEqual(process.returncode, 3)
            self.assertEqual(text, "ribtool: out.pcap: cannot write: File too large\n")
            self.assertEqual(self.out.read_bytes(), GOOD)
            self.assertEqual(self.names(), ["out.pcap"])

    def test_a_full_device_is_a_failure_and_stays_a_device(self):
        process, text = self.run_tool("synth", "--updates", 10, "-o", "/dev/full")
        self.assertEqual((process.returncode, text), (3, "ribtool: /dev/full: cannot write: No space left on device\n"))
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))

    def test_a_folder_that_cannot_be_written_to_is_named(self):
        before = without_override()
        self.out.write_bytes(GOOD)
        self.folder.chmod(0o555)
        self.addCleanup(self.folder.chmod, 0o755)
        for name, reason in (("new.pcap", "cannot create"), ("out.pcap", "cannot create a file beside it")):
            process, text = self.run_tool("synth", "--updates", 10, "-o", name, before=before)
            self.assertEqual((process.returncode, text), (3, f"ribtool: {name}: {reason}: Permission denied\n"))
        self.assertEqual(self.out.read_bytes(), GOOD)

    def test_a_file_that_may_not_be_written_to_is_not_replaced(self):
        before = without_override()
        self.out.write_bytes(GOOD)
        self.out.chmod(0o444)
        process, text = self.run_tool("synth", "--updates", 10, "-o", "out.pcap", before=before)
        self.assertEqual((process.returncode, text), (3, "ribtool: out.pcap: cannot create: Permission denied\n"))
        self.assertEqual(self.out.read_bytes(), GOOD)
        self.assertEqual(self.names(), ["out.pcap"])

    def test_no_folder_is_a_failure_from_the_start(self):
        for name in ("absent/out.pcap", "", "."):
            process, text = self.run_tool("synth", "--updates", 10**9, "-o", name)
            self.assertEqual(process.returncode, 3, name)
            self.assertIn("cannot create", text)
        self.assertEqual(self.names(), [])


class Names(OutputTest):
    def synth(self, name, **more):
        process, text = self.run_tool("synth", "--updates", 10, "-o", name, **more)
        self.assertEqual(process.returncode, 0, text)

    def permissions(self, name):
        return stat.S_IMODE((self.folder / name).stat().st_mode)

    def test_a_new_file_has_the_permissions_of_any_new_one(self):
        self.synth("out.pcap", umask=0o027)
        self.assertEqual(self.permissions("out.pcap"), 0o640)

    def test_a_file_that_takes_the_place_of_another_has_its_permissions(self):
        for permissions in (0o600, 0o664, 0o755):
            self.out.write_bytes(GOOD)
            self.out.chmod(permissions)
            self.synth("out.pcap", umask=0o077)
            self.assertEqual(self.permissions("out.pcap"), permissions)
            self.assertEqual(self.updates_in("out.pcap"), 10)

    def test_links_are_followed(self):
        (self.folder / "store").mkdir()
        (self.folder / "links").mkdir()
        self.write("store/old.pcap", GOOD)
        for name in ("old.pcap", "new.pcap"):  # the latter's link leads to nothing yet
            (self.folder / "links" / name).symlink_to(f"../store/{name}")
            (self.folder / f"to-{name}").symlink_to(f"links/{name}")
            self.synth(f"to-{name}")
            self.assertTrue((self.folder / f"to-{name}").is_symlink())
            self.assertTrue((self.folder / "links" / name).is_symlink())
            self.assertEqual(self.updates_in(f"store/{name}"), 10)
        self.assertEqual(sorted(os.listdir(self.folder / "store")), ["new.pcap", "old.pcap"])

    def test_links_in_a_circle_are_a_failure(self):
        (self.folder / "a").symlink_to("b")
        (self.folder / "b").symlink_to("a")
        process, text = self.run_tool("synth", "--updates", 10, "-o", "a")
        self.assertEqual((process.returncode, text),
                         (3, "ribtool: a: cannot create: Too many levels of symbolic links\n"))

    def test_another_name_of_the_file_keeps_what_it_had(self):
        self.out.write_bytes(GOOD)
        os.link(self.out, self.folder / "other")
        self.synth("out.pcap")
        self.assertEqual((self.folder / "other").read_bytes(), GOOD)

    def test_the_longest_name_has_room(self):
        name = "n" * 255
        self.synth(name)
        self.assertEqual(self.names(), [name])

    def test_a_pipe_is_written_as_it_is(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        process = self.start("synth", "--updates", 10, "-o", "pipe")
        got = pipe.read_bytes()
        self.finish(process)
        self.synth("out.pcap")
        self.assertEqual(got, self.out.read_bytes())
        self.assertTrue(pipe.is_fifo())

    def test_the_standard_output_is_never_replaced(self):
        self.synth("expected")
        for name in ("-", "/dev/stdout", "/proc/self/fd/1"):
            with open(self.out, "wb") as file:
                self.synth(name, stdout=file)
                self.assertEqual(os.fstat(file.fileno()).st_ino, self.out.stat().st_ino, name)
            self.assertEqual(self.out.read_bytes(), (self.folder / "expected").read_bytes(), name)
        self.assertEqual(self.names(), ["expected", "out.pcap"])


class Inputs(OutputTest):
    def refuses(self, *arguments, **more):
        process, text = self.run_tool(*arguments, **more)
        self.assertEqual(process.returncode, 2, text)
        self.assertIn("is the input and ", text)

    def test_no_command_overwrites_its_input(self):
        commands = {
            ("import", "FILE", "-o", "OUT"): ROWS,
            ("replay", "FILE", "--json", "OUT"): PROTO_FRAME,
            ("decode", "ip_rib_proto_update", "FILE", "--code", "47", "-o", "OUT"): PROTO_FRAME,
            ("encode", "ip_rib_proto_update", "FILE", "-o", "OUT"): b'{"proto_id":7}\n',
            ("filter", "FILE", "-o", "OUT"): PROTO_FRAME,
            ("stats", "FILE", "-o", "OUT"): PROTO_FRAME,
        }
        (self.folder / "link").symlink_to("file")
        for command, contents in commands.items():
            self.write("file", contents)
            with contextlib.suppress(FileNotFoundError):
                (self.folder / "hard").unlink()
            os.link(self.folder / "file", self.folder / "hard")
            for out in ("file", "./file", "link", "hard", self.folder / "file"):
                with self.subTest(command=command, out=out):
                    words = [{"FILE": "file", "OUT": out}.get(word, word) for word in command]
                    self.refuses(*words)
                    with open(self.folder / "file", "rb") as file:
                        self.refuses(*["-" if word == "file" and at < 3 else word for at, word in enumerate(words)],
                                     stdin=file)
            self.assertEqual((self.folder / "file").read_bytes(), contents)
            self.assertEqual(self.names(), ["file", "hard", "link"])

    def test_no_command_prints_behind_its_input(self):
        for command in (("show", "file"), ("replay", "file"), ("explain", "file"), ("annotate", "file"),
                        ("stats", "file"), ("decode", "ip_rib_proto_update", "file", "--code", "47")):
            path = self.write("file", PROTO_FRAME)
            with open(path, "ab") as file:
                self.refuses(*command, stdout=file)
            self.assertEqual(path.read_bytes(), PROTO_FRAME)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--ribtool", required=True)
    arguments, rest = parser.parse_known_args()
    global RIBTOOL
    RIBTOOL = str(pathlib.Path(arguments.ribtool).resolve())
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
