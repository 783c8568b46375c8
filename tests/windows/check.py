#!/usr/bin/env python3
"""Checks the cross-built files, and that tarnisctl.exe under Wine does what it does on Linux.

    check.py WINDOWS_BIN LINUX_BIN SAMPLE_MACHINE
"""

import glob
import json
import os
import re
import shutil
import sqlite3
import struct
import subprocess
import sys
import tempfile

SHIPPED = {"tarnis.dll", "zelPlug.dll", "zelKit.dll", "zelKitEx.dll", "zelStore.dll",
           "libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll", "libssp-0.dll"}
WINDOWS = {"KERNEL32.dll", "msvcrt.dll", "ADVAPI32.dll", "SETUPAPI.dll", "CFGMGR32.dll",
           "VERSION.dll", "SHELL32.dll"}
VERSION = {"FileDescription": "Plugin for AHCI", "FileVersion": "7.8.1", "InternalName": "tarnis",
           "ProductVersion": "7.8.1"}
PROTECTIONS = 0x0160  # addresses of 64 bits that differ from start to start, data that cannot run
EXPORTS, IMPORTS, RESOURCES = 0, 1, 2  # directories of an image
VERSION_RESOURCE = 16
VERBS = (["show"], ["show", "--json"], ["explain", "--all", "--json"], ["get", "disk0", "NAME"],
         ["get", "disk99", "NAME"], ["set", "plugin", "POLL_INTERVAL", "77"],
         ["get", "plugin", "POLL_INTERVAL"], ["watch", "--for", "2", "--json"], ["--nonsense"],
         ["--machine", "missing.json", "show"])
wrong = []


def expect(what, found, expected):
    if found != expected:
        wrong.append(what)
        print(f"FAILED: {what}\n  {found}\n  expected: {expected}")


class Image:
    """A 64-bit image of Windows, read as its format has it."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        header = self.words(0x3C)[0]
        expect(f"{path}: an image for x86-64", self.data[header:][:6], b"PE\0\0\x64\x86")
        count, size = (struct.unpack_from("<H", self.data, header + at)[0] for at in (6, 20))
        self.protections = struct.unpack_from("<H", self.data, header + 24 + 70)[0]
        self.directories = self.words(header + 24 + 112, 6)[::2]
        # Of each section: address, size in the file, place in the file.
        self.sections = [self.words(header + 24 + size + 40 * i + 12, 3) for i in range(count)]

    def words(self, at, count=1):
        return struct.unpack_from(f"<{count}I", self.data, at)

    def place(self, address):
        return next(address - start + place for start, size, place in self.sections
                    if start <= address < start + size)

    def text(self, address):
        at = self.place(address)
        return self.data[at : self.data.index(b"\0", at)].decode("ascii")

    def exports(self):
        at = self.place(self.directories[EXPORTS])
        addresses, count, _, names = self.words(at + 20, 4)
        return addresses, [self.text(name) for name in self.words(self.place(names), count)]

    def imports(self):
        at = self.place(self.directories[IMPORTS])
        while name := self.words(at + 12)[0]:
            yield self.text(name)
            at += 20

    def resource(self, kind):
        """The first of its kind: kinds, names and languages are directories in each other."""
        base = at = self.place(self.directories[RESOURCES])
        for wanted in (kind, None, None):
            entries = sum(struct.unpack_from("<HH", self.data, at + 12))
            words = self.words(at + 16, 2 * entries)
            at = base + next(b & 0x7FFFFFFF for a, b in zip(words[::2], words[1::2])
                             if wanted in (None, a))
        address, size = self.words(at, 2)
        return self.data[self.place(address) :][:size]


def version_text(resource, name):
    """A value of the string table: 16-bit units, behind a name that is padded to 32 bits."""
    at = resource.index((name + "\0").encode("utf-16-le"))
    units = struct.unpack_from("<H", resource, at - 4)[0]
    at = (at + 2 * len(name) + 2 + 3) // 4 * 4
    return resource[at : at + 2 * units].decode("utf-16-le").rstrip("\0")


def check_files(folder):
    expect("what is shipped", SHIPPED - set(os.listdir(folder)), set())
    for name in [*SHIPPED, "tarnisctl.exe"]:
        image = Image(f"{folder}/{name}")
        imports = set(image.imports())
        expect(f"{name}: libraries that nobody gives", imports - SHIPPED - WINDOWS, set())
        if name.startswith(("tarnis", "zel")):
            expect(f"{name}: protections", image.protections & PROTECTIONS, PROTECTIONS)
            expect(f"{name}: checks its stack", "libssp-0.dll" in imports, True)
    plugin = Image(f"{folder}/tarnis.dll")
    expect("exports", plugin.exports(), (2, ["createIf", "releaseIf"]))
    version = plugin.resource(VERSION_RESOURCE)
    numbers = version.index(struct.pack("<I", 0xFEEF04BD)) + 8
    expect("version", struct.unpack_from("<8H", version, numbers), (8, 7, 0, 1) * 2)
    expect("texts", {name: version_text(version, name) for name in VERSION}, VERSION)


def run(command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                          env={**os.environ, "TZ": "UTC", "LC_ALL": "C.UTF-8"})
    told = [line for line in done.stderr.decode().splitlines() if line.startswith("tarnis")]
    # Moments and ages differ from run to run.
    moments = rb'"(time|timeIso|timeMs|readingsAgeMs)": ?("[^"]*"|\d+)'
    return done.returncode, re.sub(moments, b"", done.stdout), told


def session(program, sample, folder):
    """What all verbs tell, and the settings and rows that they leave."""
    os.mkdir(folder)
    with open(sample, encoding="utf-8") as file, open(f"{folder}/page.bin", "wb") as page:
        machine = json.load(file)
        machine["disks"][0]["smart"] = "page.bin"
        page.write(bytes(512))
    sample = f"{folder}/machine.json"
    with open(sample, "w", encoding="utf-8") as file:
        json.dump(machine, file)
    own = ["--machine", sample, "--config-dir", folder, "--database", f"{folder}/rows.db"]
    told = [run(program + (own[2:] if "--machine" in verb else own) + verb) for verb in VERBS]
    with open(f"{folder}/tarnis.ini", "rb") as file, sqlite3.connect(f"{folder}/rows.db") as rows:
        return told + [file.read(), list(rows.iterdump())]


def check_program(program, linux, sample, folder):
    # Names that no single code page of Windows can say.
    ours, theirs = (session(command, sample, f"{folder}/Lüfter Ω 磁盘 {len(command)}")
                    for command in (program, [linux]))
    for verb, here, there in zip([*VERBS, "settings", "rows"], ours, theirs):
        expect(f"{verb} as on Linux", here, there)

    # Without a machine file it is this computer, which is Wine's.
    plugin = shutil.copy(f"{os.path.dirname(program[-1])}/tarnis.dll", f"{folder}/Lüfter Ω 磁盘 2")
    code, out, told = run(program + ["--plugin", plugin])
    expect("no hardware", (code, out, len(told)), (2, b"", 1))
    expect("its name", "NO_SUPPORTED_HARDWARE (20001)" in "".join(told), True)
    # A command of the user's, and one that takes too long with what it starts.
    command = "cmd /c if %TARNIS_ALARM_DISK%==disk7 (exit 3) else ping -n 60 127.0.0.1"
    _, _, told = run(program + ["--machine", sample, "--config-dir", folder, "--database",
                                f"{folder}/alarms.db", "watch", "--for", "1", "--exec-timeout",
                                "3", "--exec", command])
    expect("commands of alarms", sorted(line for line in told if "--exec" in line),
           ["tarnisctl: --exec for disk13 (started): the command was killed after 3 s "
            "(--exec-timeout)",
            "tarnisctl: --exec for disk7 (started): the command ended with exit code 3"])
    local = glob.glob(f"{os.environ['WINEPREFIX']}/drive_c/users/*/AppData/Local")[0] + "/tarnis"
    shutil.rmtree(local, ignore_errors=True)
    run(program + ["--machine", sample, "set", "plugin", "POLL_INTERVAL", "50"])
    expect("the user's files", set(os.listdir(local)), {"tarnis.ini"})


def main(windows, linux, sample):
    check_files(windows)
    with tempfile.TemporaryDirectory() as folder:
        check_program(["wine", f"{windows}/tarnisctl.exe"], f"{linux}/tarnisctl", sample, folder)
    print(f"windows: files and program checked, {len(wrong)} wrong")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]) if len(sys.argv) == 4 else __doc__)
