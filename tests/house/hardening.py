#!/usr/bin/env python3
"""Checks that the built files have the protections of cmake/hardening.cmake.

    hardening.py BIN OWN...       every program and library in BIN; those named OWN in full

What only optimised code has is asked of the OWN files, whose code is ours alone: the test programs
hold a foreign library and are not optimised.
"""

import os
import re
import subprocess
import sys

# Each of these becomes __..._chk where copies are checked.
UNCHECKED = {"printf", "fprintf", "vprintf", "vfprintf"}
ENDBR64 = b"\xf3\x0f\x1e\xfa"  # a place that may be jumped to
FOREIGN_PLACES = 20  # at most, in what the system links into each file


def readelf(path, *options):
    command = ["readelf", "-W", *options, path]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def is_elf(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


class Built:
    """What readelf tells of one file."""

    def __init__(self, path):
        self.header = readelf(path, "-h")
        self.segments = readelf(path, "-l")
        self.dynamic = readelf(path, "-d")
        self.symbols = readelf(path, "--dyn-syms")
        self.wanted = {name.partition("@")[0] for name in re.findall(r" UND (\S+)", self.symbols)}
        with open(path, "rb") as file:
            self.code = file.read()

    def has_flag(self, kind, flag):
        return re.search(rf"\({kind}\).*\b{flag}\b", self.dynamic) is not None


def faults_of_layout(built):
    if re.search(r"\bINTERP\b", built.segments) and not built.has_flag("FLAGS_1", "PIE"):
        yield "is a program at a fixed address"
    if not re.search(r"^\s*GNU_RELRO\b", built.segments, re.MULTILINE):
        yield "has no GNU_RELRO"
    if not (built.has_flag("FLAGS", "BIND_NOW") and built.has_flag("FLAGS_1", "NOW")):
        yield "does not bind at its start"
    if not re.search(r"^\s*GNU_STACK\s.*\sRW\s", built.segments, re.MULTILINE):
        yield "has a stack that can be run"
    for path in re.findall(r"\((?:RPATH|RUNPATH)\).*\[(.*)\]", built.dynamic):
        if path != "$ORIGIN":
            yield f"looks for libraries in {path}"


def faults_of_code(built):
    for symbol, what in (("__stack_chk_fail", "stack"),
                         ("_ZSt21__glibcxx_assert_failPKciS0_S0_", "containers")):
        if symbol not in built.wanted:
            yield f"does not check its {what}"
    if built.wanted & UNCHECKED:
        yield "formats texts without checks"
    if re.search(r" UNIQUE +\w+ +\d+ ", built.symbols):
        yield "cannot be unloaded"
    if "X86-64" in built.header and built.code.count(ENDBR64) <= FOREIGN_PLACES:
        yield "has no marked places to jump to"


def check(folder, own):
    files = [name for name in sorted(os.listdir(folder)) if is_elf(os.path.join(folder, name))]
    for name in set(own) - set(files):
        yield f"{name}: is not there"
    for name in files:
        built = Built(os.path.join(folder, name))
        faults = [*faults_of_layout(built), *(faults_of_code(built) if name in own else [])]
        yield from (f"{name}: {fault}" for fault in faults)


def main(arguments):
    if len(arguments) < 2:
        sys.exit(__doc__)
    wrong = list(check(arguments[0], arguments[1:]))
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
