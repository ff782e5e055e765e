"""Frames, and programs that run: what the test and the soak of the live example share."""

import os
import pathlib
import re
import signal
import struct
import subprocess
import threading
import time

PATIENCE = float(os.environ.get("RIB_PATIENCE", "60"))  # seconds until what is waited for counts as never coming

OLD_ROUTE, OLD_OPAQUE, OLD_PROTO, GRID, PROTO, NHID, OPAQUE, ROUTE = 3, 37, 38, 46, 47, 49, 50, 51
DELIMITER = bytes(8)


# ---- Frames and messages ----

def frame(code, payload=b""):
    return struct.pack(">IHH", 0, code, len(payload)) + payload


def varint(value):
    out = bytearray()
    while value > 127:
        out.append(value & 127 | 128)
        value >>= 7
    return bytes(out) + bytes([value])


def nested(field, payload):
    return varint(field << 3 | 2) + varint(len(payload)) + payload


def number(field, value):
    return varint(field << 3) + varint(value)


def route(address, path_value=None):
    """A route to the /32 of the number `address`, with one path of this path_value_8; without one it withdraws."""
    prefix = nested(1, number(1, 1) + number(2, address)) + number(2, 32)
    paths = b"" if path_value is None else nested(26, number(8, path_value))
    return frame(ROUTE, nested(1, prefix) + paths)


def line_of(address, path_value):
    text = ".".join(str(address >> shift & 255) for shift in (24, 16, 8, 0))
    return f"route {text}/32 | via none values 0 {path_value} 0 0 0"


# ---- Processes ----

class Program:
    """A running program; its standard error is read as it comes."""

    def __init__(self, name, command, **others):
        self.name = name
        self.lines = []
        self.changed = threading.Condition()
        others.setdefault("stdin", subprocess.DEVNULL)
        self.process = subprocess.Popen([str(word) for word in command], stderr=subprocess.PIPE, **others)
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stderr:
            with self.changed:
                self.lines.append(line.decode("utf-8", "backslashreplace").rstrip())
                self.changed.notify_all()
        with self.changed:
            self.lines.append(None)
            self.changed.notify_all()

    def text(self):
        return "\n".join(line for line in self.lines if line is not None)

    def expect(self, pattern, times=1):
        """Waits until so many lines match, and returns the last of the matches."""
        matches = []

        def have_come():
            matches[:] = [match for line in self.lines if line and (match := re.search(pattern, line))]
            return len(matches) >= times or None in self.lines

        with self.changed:
            self.changed.wait_for(have_come, PATIENCE)
        if len(matches) < times:
            raise AssertionError(f"{self.name} says {len(matches)} times, not {times}: {pattern}\n{self.text()}")
        return matches[times - 1]

    def status(self):
        """What the /proc file system says of its memory (kB) and descriptors. Of a wrapper it is the wrapper's."""
        folder = pathlib.Path(f"/proc/{self.process.pid}")
        resident = int(re.search(r"VmRSS:\s+(\d+)", (folder / "status").read_text()).group(1))
        return resident, len(list((folder / "fd").iterdir()))

    def finish(self):
        """Waits for its end, which must be a good one."""
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.kill()
            raise AssertionError(f"{self.name} does not end\n{self.text()}") from None
        self.reader.join(PATIENCE)
        if status != 0:
            raise AssertionError(f"{self.name} ends with status {status}\n{self.text()}")
        return self.text()

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        return self.finish()

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.reader.join()
        self.process.stderr.close()
        if self.process.stdin is not None:
            self.process.stdin.close()


def until(holds, what):
    deadline = time.monotonic() + PATIENCE
    while not holds():
        if time.monotonic() > deadline:
            raise AssertionError(f"it never came to this: {what}")
        time.sleep(0.01)
