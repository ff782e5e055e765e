#!/usr/bin/env python3
"""Live streams for as long as wanted: resets at random, slow clients, restarts; then equal tables and flat memory.

    soak.py --programs FOLDER --ribtool PROGRAM [--seconds N] [--seed N]

Two scenes run beside each other, each with three clients of examples/live behind a relay that cuts connections anywhere; one
of the three is stopped most of the time.

    table    live_server, fed with changes and withdrawals without end, and killed now and then in the first half
    stream   ribtool serve on TCP, which sends the same stream to whoever connects

At the end nothing is cut any more: all tables of a scene must become equal to the server's. In the second half no process may
grow. Every program must end well, which it does not when a sanitizer has found something.
"""

import argparse
import pathlib
import random
import re
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

from live_support import Program, route, until

SLACK_KB = 8192  # by which memory may grow, and by a tenth


class Relay:
    """Passes bytes from a server on to clients, and cuts each connection after a while. Clients get UNIX sockets."""

    def __init__(self, path, connect, chance):
        self.connect = connect
        self.chance = chance
        self.is_calm = False
        self.cuts = 0
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(path))
        self.listener.listen(128)
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            client, _ = self.listener.accept()
            threading.Thread(target=self.pass_on, args=(client,), daemon=True).start()

    def pass_on(self, client):
        """Until a number of bytes, or a time, is over. A TCP server is told by a reset."""
        bytes_left = int(self.chance.expovariate(1 / 3_000_000))
        end = time.monotonic() + self.chance.expovariate(1 / 4)
        try:
            server = self.connect()
        except OSError:
            client.close()
            return
        server.settimeout(0.2)
        client.settimeout(0.2)
        is_cut = False
        try:
            while not is_cut and (self.is_calm or time.monotonic() < end):
                try:
                    data = server.recv(65536)
                except socket.timeout:
                    if not is_open(client):
                        break
                    continue
                if not data:
                    break
                is_cut = len(data) >= bytes_left and not self.is_calm
                self.send_all(client, data[:bytes_left] if is_cut else data)
                bytes_left -= len(data)
        except OSError:
            pass
        self.cuts += not self.is_calm
        if server.family == socket.AF_INET:
            server.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        server.close()
        client.close()

    @staticmethod
    def send_all(client, data):
        """To a client that may be stopped for long."""
        while data:
            try:
                data = data[client.send(data):]
            except socket.timeout:
                pass


def is_open(client):
    """Clients say nothing: what can be read is the end."""
    return not select.select([client], [], [], 0)[0]


class Memory:
    """The resident memory of processes, once a second."""

    def __init__(self, seconds):
        self.seconds = seconds
        self.start = time.monotonic()
        self.samples = {}

    def take(self, programs):
        now = time.monotonic() - self.start
        for program in programs:
            if program.process.poll() is None:
                key = (program.name, program.process.pid)
                self.samples.setdefault(key, []).append((now, program.status()[0]))

    def growths(self):
        """Of each process that lived through the second half: what it had at most in the third and in the last quarter."""
        found = {}
        for (name, _), samples in self.samples.items():
            third = [kb for at, kb in samples if self.seconds / 2 <= at < self.seconds * 3 / 4]
            last = [kb for at, kb in samples if self.seconds * 3 / 4 <= at < self.seconds]
            if samples[0][0] < self.seconds / 2 and third and last:
                found[name] = (max(third), max(last))
        return found


class Scene:
    """A server behind a relay, and three clients, the last of which is slow."""

    def __init__(self, name, soak):
        self.name = name
        self.soak = soak
        self.folder = soak.folder / name
        self.folder.mkdir()
        self.relay_path = self.folder / "relay"
        self.relay = Relay(self.relay_path, self.connect, random.Random(soak.chance.random()))
        self.server = self.start_server()
        self.clients = [soak.start(f"{name} client {number}", soak.programs / "live_client", "--dump",
                                   self.dump_path(number), self.relay_path) for number in (1, 2, 3)]
        for client in self.clients:
            client.expect("connected to|next try")

    def dump_path(self, number):
        return self.folder / f"client_{number}.txt"

    def all(self):
        return [self.server, *self.clients]

    def tables(self):
        """Of all clients, each as it is now."""
        for number, client in enumerate(self.clients, 1):
            self.dump_path(number).unlink(missing_ok=True)
            client.process.send_signal(signal.SIGUSR1)
        tables = []
        for number in (1, 2, 3):
            until(self.dump_path(number).exists, f"{self.name}: client {number} writes its table")
            tables.append(self.dump_path(number).read_text(encoding="utf-8"))
        return tables

    def settle(self):
        """Waits until all tables are equal to the expected one."""
        until(lambda: set(self.tables()) == {self.expected()}, f"{self.name}: equal tables")
        return self.expected().count("\n")


class TableScene(Scene):
    """live_server with changes without end. A new server knows only what it is fed with since."""

    def start_server(self):
        server = self.soak.start("table server", self.soak.programs / "live_server", "--dump",
                                 self.folder / "server.txt", self.folder / "socket", stdin=subprocess.PIPE)
        server.expect("listening")
        return server

    def connect(self):
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(str(self.folder / "socket"))
        return connection

    def feed(self):
        """A thousand changes of 20 000 routes, a third of them withdrawals, and a piece of a stream of all kinds."""
        chance = self.soak.chance
        routes = [route(chance.randrange(20_000), chance.choice((None, 1, chance.randrange(1 << 32))))
                  for _ in range(1000)]
        try:
            self.server.process.stdin.write(b"".join(routes) + chance.choice(self.soak.pieces))
            self.server.process.stdin.flush()
        except BrokenPipeError:
            pass  # killed just now

    def restart(self):
        self.server.kill()
        self.server = self.start_server()

    def expected(self):
        path = self.folder / "server.txt"
        path.unlink(missing_ok=True)
        self.server.process.send_signal(signal.SIGUSR1)
        until(path.exists, "the server writes its table")
        return path.read_text(encoding="utf-8")


class StreamScene(Scene):
    """ribtool serve: everybody gets the whole stream, and a delimiter behind it."""

    def start_server(self):
        server = self.soak.start("stream server", self.soak.ribtool, "serve", self.soak.stream_path, "--listen",
                                 "tcp:127.0.0.1:0", "--delimiter", "--keep-open", "--stall-timeout", "0",
                                 stdout=subprocess.PIPE)
        line = server.process.stdout.readline().decode()
        self.port = int(re.search(r":(\d+)$", line.strip()).group(1))
        return server

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port))

    def expected(self):
        """What live_server makes of the same stream."""
        if not hasattr(self, "table"):
            path = self.folder / "expected.txt"
            with open(self.soak.stream_path, "rb") as stdin:
                server = self.soak.start("expected", self.soak.programs / "live_server", "--dump", path,
                                         self.folder / "expected.socket", stdin=stdin)
            server.expect("the input has ended")
            server.end()
            self.table = path.read_text(encoding="utf-8")
        return self.table


class Soak:
    def __init__(self, chosen, folder):
        self.programs = chosen.programs
        self.ribtool = chosen.ribtool
        self.seconds = chosen.seconds
        self.folder = folder
        self.chance = random.Random(chosen.seed)
        self.started = []
        self.pieces = [self.synth(2000, seed) for seed in range(1, 6)]
        self.stream_path = folder / "stream.raw"
        self.stream_path.write_bytes(self.synth(20_000, 6))

    def synth(self, updates, seed):
        return subprocess.run([self.ribtool, "synth", "--profile", "mixed", "--updates", str(updates), "--seed",
                               str(seed), "--format", "raw", "-o", "-"], stdout=subprocess.PIPE, check=True).stdout

    def start(self, name, *command, **others):
        program = Program(name, command, **others)
        self.started.append(program)
        return program

    def kill_all(self):
        for program in self.started:
            program.process.send_signal(signal.SIGCONT)
            program.kill()

    def check_alive(self, scenes):
        for scene in scenes:
            for program in scene.all():
                if program.process.poll() is not None:
                    raise AssertionError(f"{program.name} has ended with {program.process.returncode}\n{program.text()}")

    def drive(self, scenes, memory):
        """Feeds, stops and continues the slow clients, kills the table server, looks at the memory."""
        table = scenes[0]
        next_look = 0.0
        next_kill = self.chance.uniform(3, 15)
        is_stopped = False
        while (now := time.monotonic() - memory.start) < self.seconds:
            table.feed()
            if now > next_kill and now < self.seconds * 0.4:
                table.restart()
                next_kill = now + self.chance.uniform(3, 30)
            if self.chance.random() < 0.3:
                is_stopped = not is_stopped
                for scene in scenes:
                    scene.clients[2].process.send_signal(signal.SIGSTOP if is_stopped else signal.SIGCONT)
            if now > next_look:
                memory.take([program for scene in scenes for program in scene.all()])
                self.check_alive(scenes)
                next_look = now + 1
            time.sleep(0.05)

    def calm(self, scenes):
        for scene in scenes:
            scene.relay.is_calm = True
            scene.clients[2].process.send_signal(signal.SIGCONT)

    def run(self):
        scenes = [TableScene("table", self), StreamScene("stream", self)]
        memory = Memory(self.seconds)
        self.drive(scenes, memory)
        self.calm(scenes)
        for scene in scenes:
            entries = scene.settle()
            print(f"{scene.name}: {scene.relay.cuts} connections cut, 3 tables equal to the server's, {entries} entries")
        table_server_ends = scenes[0].server.end()
        for program in [client for scene in scenes for client in scene.clients] + [scenes[1].server]:
            program.end()
        print(table_server_ends.splitlines()[-1])
        return self.report(memory, scenes)

    def report(self, memory, scenes):
        failed = []
        for name, (before, after) in sorted(memory.growths().items()):
            has_grown = after > before * 1.1 + SLACK_KB
            print(f"  {name:20} {before / 1024:8.1f} MB, then {after / 1024:8.1f} MB{'  GROWS' if has_grown else ''}")
            failed += [f"{name} grows"] if has_grown else []
        if len(memory.growths()) != 8:
            failed.append("not every process was watched")
        for scene in scenes:
            if scene.relay.cuts < self.seconds / 10:
                failed.append(f"{scene.name}: hardly anything was cut")
        return failed


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--programs", required=True, type=pathlib.Path)
    parser.add_argument("--ribtool", required=True)
    parser.add_argument("--seconds", type=float, default=600)
    parser.add_argument("--seed", type=int, default=int(time.time()))
    chosen = parser.parse_args()
    print(f"{chosen.seconds:.0f} seconds, seed {chosen.seed}", flush=True)
    with tempfile.TemporaryDirectory(prefix="soak-") as folder:
        soak = Soak(chosen, pathlib.Path(folder))
        try:
            failed = soak.run()
        except AssertionError as error:
            failed = [str(error)]
        finally:
            soak.kill_all()
    print("\n".join(f"FAILED: {what}" for what in failed) or "passed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
