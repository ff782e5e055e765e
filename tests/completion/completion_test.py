#!/usr/bin/env python3
"""Completes command lines in shells that really run: bash always, zsh and fish where they are installed.

    completion_test.py --ribtool PROGRAM --zidlc PROGRAM [unittest's options]
"""

import argparse
import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

chosen = None
BASH = shutil.which("bash")

BASH_BREAKS = "\"'><=;|&(:"  # besides blanks; COMP_WORDBREAKS as bash sets it


def script(tool, shell):
    arguments = ["completion", shell] if tool == "ribtool" else ["--completion", shell]
    return subprocess.run([getattr(chosen, tool)] + arguments, check=True, capture_output=True, text=True).stdout


def help_of(*line):
    return subprocess.run([*line, "--help"], check=True, capture_output=True, text=True).stdout


def commands():
    return re.findall(r"^  ([a-z]+) ", help_of(chosen.ribtool).partition("Subcommands:\n")[2], re.MULTILINE)


def options_of(text):
    found = re.findall(r"^  (-\S*)", text.partition("\nOptions:\n")[2], re.MULTILINE)
    return sorted(name for names in found for name in names.split(","))


def bash_words(line):
    """The words that readline makes of a line without quotes: runs of breaking characters are words of their own."""
    words = re.findall(f"[{re.escape(BASH_BREAKS)}]+|[^\\s{re.escape(BASH_BREAKS)}]+", line)
    return words + [""] if line.endswith(" ") else words


def bash_replies(tool, lines, breaks=None):
    """What the function offers for each line, the cursor at its end. One shell for all."""
    commands = [script(tool, "bash")]
    if breaks is not None:
        commands.append(f"COMP_WORDBREAKS={breaks}")
    for line in lines:
        words = bash_words(line) if breaks is None else line.split() + ([""] if line.endswith(" ") else [])
        quoted = " ".join("'" + word.replace("'", "'\\''") + "'" for word in words)
        commands.append(f"COMP_WORDS=({quoted}) COMP_CWORD={len(words) - 1} COMP_LINE='{line}' COMP_POINT={len(line)}\n"
                        f"_{tool}; echo \"${{COMPREPLY[*]}}\"")
    done = subprocess.run([BASH, "--norc", "--noprofile"], input="\n".join(commands), capture_output=True, text=True,
                          check=True, env={"PATH": "/nonexistent"})
    if done.stderr:
        raise AssertionError(done.stderr)
    return [reply.split() for reply in done.stdout.split("\n")[:-1]]


class BashOffers(unittest.TestCase):
    def check(self, tool, expected):
        replies = bash_replies(tool, [line for line, _ in expected])
        self.assertEqual(len(replies), len(expected))
        for (line, words), reply in zip(expected, replies):
            self.assertEqual(reply, words.split(), line)

    def test_commands_are_offered_where_there_is_none_yet(self):
        self.check("ribtool", [
            ("ribtool re", "replay record"),
            ("ribtool --color always an", "annotate"),
            ("ribtool --color=never comp", "completion"),
            ("ribtool show re", ""),
        ])

    def test_every_command_is_offered(self):
        self.assertGreater(len(commands()), 12)
        self.check("ribtool", [("ribtool ", " ".join(commands()))])

    def test_every_option_of_the_help_is_offered(self):
        replies = bash_replies("ribtool", [f"ribtool {command} -" for command in commands()])
        for command, reply in zip(commands(), replies):
            self.assertEqual(sorted(reply), options_of(help_of(chosen.ribtool, command)), command)
        self.assertEqual(sorted(bash_replies("zidlc", ["zidlc -"])[0]), options_of(help_of(chosen.zidlc)))

    def test_options_are_those_of_the_command(self):
        self.check("ribtool", [
            ("ribtool --v", "--version"),
            ("ribtool explain --p", "--pcapng --partial"),
            ("ribtool show --p", "--prefix"),
            ("ribtool import -4 --ip", ""),
            ("ribtool diff -", "-h --help --json -q --brief --limit --color"),
        ])

    def test_options_that_are_given_or_excluded_are_not_offered_again(self):
        self.check("ribtool", [
            ("ribtool replay --stripped a.pcap --", "--help --connect --allow-remote --resync --frame --limit --sample "
             "--json --no-json --compact --fields --partial --color"),
            ("ribtool synth --profile=grid --pro", ""),
            ("ribtool synth -o x --out", ""),
            ("ribtool explain --json -", "-h --help --only --partial --frame --resync --limit --code --from --color"),
            ("ribtool filter --code 51 --co", "--connect --code --color"),
        ])

    def test_values_are_those_of_the_option(self):
        self.check("ribtool", [
            ("ribtool synth --profile f", "full-table"),
            ("ribtool decode --from ", "bin hex text json"),
            ("ribtool annotate --message rib_neigh", ""),
            ("ribtool annotate --message rib_msg", "rib_msg_prefix"),
            ("ribtool explain --code 3", "3 37 38"),
            ("ribtool show --limit ", ""),
            ("ribtool show --frame 3 --color a", "auto always"),
            ("ribtool import --table l", "local"),
            ("ribtool completion ", "bash zsh fish"),
        ])

    def test_values_behind_an_equals_sign_are_completed(self):
        self.check("ribtool", [
            ("ribtool synth --profile=w", "worst-case"),
            ("ribtool show --color=", "auto always never"),
            ("ribtool show --resync=", ""),
        ])
        self.assertEqual(bash_replies("ribtool", ["ribtool synth --profile=w"], breaks="' '"),
                         [["--profile=worst-case"]])

    def test_lists_are_completed_value_by_value(self):
        self.check("ribtool", [
            ("ribtool explain --only ", "dropped losses stopped refused"),
            ("ribtool explain --only dropped,", "dropped,losses dropped,stopped dropped,refused"),
            ("ribtool filter --reason=too_many_pa", "too_many_paths"),
            ("ribtool filter --reason none,too_many_pa", "none,too_many_paths"),
            ("ribtool replay --fields rt_dest,pe_addr_5_", "rt_dest,pe_addr_5_family"),
        ])

    def test_places_come_in_order(self):
        self.check("ribtool", [
            ("ribtool decode rib_grid_s", "rib_grid_sync_list"),
            ("ribtool decode --to json rib_grid_s", "rib_grid_sync_list"),
            ("ribtool decode rib_grid_sync_list rib_grid_s", ""),
            ("ribtool decode -- rib_grid_s", "rib_grid_sync_list"),
            ("ribtool decode --indent rib_grid_s", "rib_grid_sync_list"),
        ])

    def test_endpoints_begin_with_what_they_are(self):
        self.check("ribtool", [
            ("ribtool record u", "unix:"),
            ("ribtool record unix:", ""),
            ("ribtool replay --connect ", "unix: tcp: localhost:"),
        ])

    def test_every_message_type_is_offered(self):
        replies = bash_replies("ribtool", ["ribtool encode "])
        self.assertEqual(len(replies[0]), 76)

    def test_zidlc_is_completed_too(self):
        self.check("zidlc", [
            ("zidlc --only header,de", "header,descriptors"),
            ("zidlc --only=pr", "proto"),
            ("zidlc a.zidl --che", "--check"),
            ("zidlc --completion ", "bash zsh fish"),
        ])


class Terminal:
    """An interactive shell, in which the tool is a function that prints its arguments: <one><by one>."""

    def __init__(self, folder, arguments, prepare):
        environment = {"PATH": os.environ["PATH"], "HOME": folder, "TERM": "dumb", "PS1": "READY ", "LC_ALL": "C.UTF-8",
                       "ZDOTDIR": folder}
        self.child, self.terminal = pty.fork()
        if self.child == 0:
            os.chdir(folder)
            os.execvpe(arguments[0], arguments, environment)
        self.type(prepare + "; echo PRE''PARED\n")
        self.read_until("PREPARED\r\n")

    def type(self, text):
        os.write(self.terminal, text.encode())

    def read_until(self, end):
        text = ""
        deadline = time.monotonic() + 60
        while end not in text:
            ready, _, _ = select.select([self.terminal], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise AssertionError(f"no {end!r} in {text!r}")
            text += os.read(self.terminal, 4096).decode("utf-8", "replace")
        return text

    def arguments_of(self, keys):
        """What the tool gets when these keys are typed, and return."""
        self.type(keys + "\n")
        return re.search(r"ARGUMENTS(<.*>)END", self.read_until(">END")).group(1)

    def close(self):
        self.type("\x15exit\n")
        try:
            while os.read(self.terminal, 4096):
                pass
        except OSError:
            pass  # the shell has gone
        os.waitpid(self.child, 0)
        os.close(self.terminal)


class TypedInto(unittest.TestCase):
    """The same keys in bash and zsh. Names of files have blanks."""

    CASES = [
        ("ribtool sho\tmy\\ cap\t", "<show><my capture.pcap>"),
        ("ribtool replay --json=my\\ cap\t", "<replay><--json=my capture.pcap>"),
        ("ribtool show my\\ cap\t--resy\t", "<show><my capture.pcap><--resync>"),
        ("ribtool decode rib_grid_s\tmy\\ ca\t --from he\t",
         "<decode><rib_grid_sync_list><my capture.pcap><--from><hex>"),
        ("ribtool synth --profile=wor\t-o new.pcap", "<synth><--profile=worst-case><-o><new.pcap>"),
        ("ribtool record unix:my\\ so\t", "<record><unix:my socket>"),
        ("ribtool replay --connect unix:my\\ so\t", "<replay><--connect><unix:my socket>"),
        ("ribtool explain --only losses,sto\t my\\ ca\t", "<explain><--only><losses,stopped><my capture.pcap>"),
        ("zidlc -I my\\ fol\t --only header,des\t my\\ ca\t",
         "<-I><my folder><--only><header,descriptors><my capture.pcap>"),
    ]

    def check(self, arguments, shell, prepare):
        with tempfile.TemporaryDirectory(prefix="completion-") as folder:
            pathlib.Path(folder, "my folder").mkdir()
            for name in ("my capture.pcap", "my socket"):
                pathlib.Path(folder, name).touch()
            for tool in ("ribtool", "zidlc"):
                pathlib.Path(folder, "_" + tool).write_text(script(tool, shell), encoding="ascii")
            print_arguments = "{ printf ARGUMENTS; printf '<%s>' \"$@\"; echo END; }"
            terminal = Terminal(folder, arguments,
                                f"{prepare}; ribtool() {print_arguments}; zidlc() {print_arguments}")
            try:
                for keys, expected in self.CASES:
                    found = terminal.arguments_of(keys).replace("/>", ">")  # zsh takes the slash away again
                    self.assertEqual(found, expected, keys)
            finally:
                terminal.close()

    def test_bash(self):
        self.check(["bash", "--norc", "--noprofile", "-i"], "bash",
                   "bind 'set enable-bracketed-paste off'; . ./_ribtool; . ./_zidlc")

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh(self):
        self.check(["zsh", "-f", "-i"], "zsh",
                   "fpath=($PWD $fpath); autoload -Uz compinit; compinit -u -D; unset zle_bracketed_paste")


@unittest.skipUnless(shutil.which("fish"), "fish is not installed")
class FishOffers(unittest.TestCase):
    CASES = [
        ("ribtool re", "record replay"),
        ("ribtool --color always an", "annotate"),
        ("ribtool explain --p", "--partial --pcapng"),
        ("ribtool synth --profile full", "full-table"),
        ("ribtool synth --profile=full", "--profile=full-table"),
        ("ribtool synth --profile=grid --pro", ""),
        ("ribtool explain --json --q", ""),
        ("ribtool explain --q", "--quiet"),
        ("ribtool explain --only dropped,st", "dropped,stopped"),
        ("ribtool explain --only dropped,dr", ""),
        ("ribtool decode rib_grid_s", "rib_grid_sync_list"),
        ("ribtool decode --to json rib_grid_s", "rib_grid_sync_list"),
        ("ribtool decode rib_grid_sync_list rib_grid_s", ""),
        ("ribtool show my", "my capture.pcap"),
        ("ribtool replay --connect un", "unix:"),
        ("ribtool completion f", "fish"),
    ]

    def test_fish(self):
        with tempfile.TemporaryDirectory(prefix="completion-") as folder:
            pathlib.Path(folder, "my capture.pcap").touch()
            commands = script("ribtool", "fish") + "function ribtool; end\n"
            commands += "\n".join(f"complete -C '{line}'; echo END" for line, _ in self.CASES)
            done = subprocess.run(["fish", "--no-config"], input=commands, capture_output=True, text=True, cwd=folder,
                                  env={**os.environ, "HOME": folder, "TERM": "dumb"}, check=True)
            self.assertEqual(done.stderr, "")
            replies = done.stdout.split("END\n")
            for (line, expected), reply in zip(self.CASES, replies):
                words = [each.split("\t")[0].replace("\\", "") for each in reply.splitlines()]
                self.assertEqual(" ".join(sorted(words)), expected, line)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--ribtool", required=True)
    parser.add_argument("--zidlc", required=True)
    chosen, rest = parser.parse_known_args()
    unittest.main(argv=sys.argv[:1] + rest)
