#!/usr/bin/env python3
"""Runs the examples of a Markdown document, in their order, in one shell and in the folder it is started in.

    run_document.py [--record] DOCUMENT

What a fenced block is tells the word behind its fence:

    sh        commands, all of which must succeed
    console   commands behind "$ ", each followed by what it prints; that must be what it prints now, times and process
              ids aside. With --record the document gets what is printed now.
    cpp       a program with its file name in the first line, which is written to the folder for commands that follow,
              or part of a function, which must compile
    toml      a file with its name in the first line, written likewise

Blocks without such a word, and indented ones, are not run. What a command behind "&" prints first is waited for."""

import os
import pathlib
import re
import select
import signal
import subprocess
import sys
import time

PATIENCE = 30
END = "== end of the command"
VARYING = [(re.compile(r"\b\d+(\.\d+)? ms\b"), "? ms"), (re.compile(r"(process +)\d+"), r"\1?")]
FENCE = re.compile(r"```(\w*)$")
FILE_NAME = re.compile(r"(?://|#) ([\w-]+\.\w+)$")

# What a part of a function may use.
FRAGMENT = """
#include <deviceid/client.h>
#include <deviceid/info.h>
#include <deviceid/service_factory.h>
#include <deviceid/vel_conversion.h>
#include <logger/configuration.h>
#include <iostream>
using namespace Tolvek::Orvan;
using Utils::BusConnection::Dbus::BusType;
void fragment(DeviceId::ServiceContributorIfc& contributor, DeviceId::Client& client)
{
%s
    (void)contributor;
    (void)client;
}
"""


class Shell:
    def __init__(self):
        self.process = subprocess.Popen(["bash", "--norc"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, start_new_session=True)

    def run(self, command, must_succeed):
        """What the command prints. The shell ends with a command that must succeed and does not."""
        lines = [f"eval {quoted(command)} </dev/null"]
        if must_succeed:
            lines = ["set -e", *lines, "set +e"]
        self.process.stdin.write("\n".join([*lines, f"printf '%s\\n' '{END}'", ""]).encode())
        self.process.stdin.flush()
        return self._printed(command, must_speak=command.rstrip().endswith("&"))

    def end(self):
        """Ends what runs in the background, too, and waits for it."""
        os.killpg(self.process.pid, signal.SIGTERM)
        self.process.stdout.read()
        self.process.wait()

    def _printed(self, command, must_speak):
        printed = b""
        end = END.encode() + b"\n"
        deadline = time.monotonic() + PATIENCE
        while end not in printed or (must_speak and printed == end):
            ready = select.select([self.process.stdout], [], [], max(0, deadline - time.monotonic()))[0]
            if not ready:
                raise Failure(f"takes more than {PATIENCE} s", command, printed.decode())
            chunk = self.process.stdout.read1()
            if not chunk:
                raise Failure("fails", command, printed.decode())
            printed += chunk
        return printed.replace(end, b"").decode()


class Failure(Exception):
    def __init__(self, what, command, printed):
        super().__init__(f"{what}:\n{command}\n--\n{printed}")


def quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


def normalised(text):
    for pattern, replacement in VARYING:
        text = pattern.sub(replacement, text)
    return "\n".join(line.rstrip() for line in text.splitlines())


def commands_of(block):
    """Pairs of a command, which "\\" continues on the next line, and what it prints."""
    pairs = []
    lines = iter(block)
    for line in lines:
        if line.startswith("$ "):
            command = [line[2:]]
            while command[-1].endswith("\\"):
                command.append(next(lines))
            pairs.append(("\n".join(command), []))
        else:
            pairs[-1][1].append(line)
    return pairs


def run_console(shell, block, record):
    """The block as it should be in the document."""
    recorded = []
    for command, expected in commands_of(block):
        printed = shell.run(command, must_succeed=False).splitlines()
        same = normalised("\n".join(printed)) == normalised("\n".join(expected))
        if not same and not record:
            raise Failure("prints something else", command, "\n".join(printed))
        recorded += ["$ " + command, *(expected if same else printed)]
    return recorded


def compile_fragment(block):
    subprocess.run(["g++", "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-x", "c++", "-",
                    *subprocess.check_output(["pkg-config", "--cflags", "tolvekcppdeviceid"], text=True).split()],
                   input=FRAGMENT % "\n".join(block), text=True, check=True)


def run_block(shell, kind, block, record):
    if kind == "console":
        return run_console(shell, block, record)
    name = FILE_NAME.match(block[0])
    if kind == "sh":
        shell.run("\n".join(block), must_succeed=True)
    elif kind in ("cpp", "toml") and name:
        pathlib.Path(name[1]).write_text("\n".join(block) + "\n", encoding="utf-8")
    elif kind == "cpp" and not any(line.startswith("#include") for line in block):
        compile_fragment(block)
    else:
        raise Failure("has no file name", "\n".join(block), "")
    return block


def run_document(document, record):
    shell = Shell()
    done, block, kind, ran = [], [], None, 0
    try:
        for line in document.read_text(encoding="utf-8").splitlines():
            fence = FENCE.match(line)
            if kind is None and fence:
                kind, block = fence[1], []
            elif kind is not None and fence:
                if kind in ("sh", "console", "cpp", "toml"):
                    block = run_block(shell, kind, block, record)
                    ran += 1
                done += block
                kind = None
            elif kind is not None:
                block.append(line)
                continue
            done.append(line)
    finally:
        shell.end()
    if kind is not None:
        raise Failure("has no end", "\n".join(block), "")
    if record:
        document.write_text("\n".join(done) + "\n", encoding="utf-8")
    return ran


def main():
    arguments = sys.argv[1:]
    record = arguments[0] == "--record"
    document = pathlib.Path(arguments[-1])
    try:
        ran = run_document(document, record)
    except (Failure, subprocess.CalledProcessError) as failure:
        sys.exit(f"{document}: {failure}")
    print(f"{document.name}: {ran} examples")


if __name__ == "__main__":
    main()
