#!/usr/bin/env python3
"""Checks the cross-built files, and that tarnisctl.exe under Wine does what it does on Linux.

    check.py WINDOWS_BIN LINUX_BIN SAMPLE_MACHINE
"""

import glob
import os
import re
import shutil
import sqlite3
import struct
import subprocess
import sys
import tempfile

OURS = {"tarnis.dll", "zelPlug.dll", "zelKit.dll", "zelKitEx.dll", "zelStore.dll"}
COMPILERS = {"libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll"}
WINDOWS = {"KERNEL32.dll", "msvcrt.dll", "ADVAPI32.dll", "SETUPAPI.dll", "CFGMGR32.dll",
           "VERSION.dll", "SHELL32.dll"}
VERSION = {"FileDescription": "Plugin for AHCI", "FileVersion": "7.8.1", "InternalName": "tarnis",
           "ProductVersion": "7.8.1"}
RESOURCES, EXPORTS, IMPORTS = 2, 0, 1  # directories of the optional header
failures = []


def expect(what, is_so, told=""):
    if not is_so:
        failures.append(what)
        print(f"FAILED: {what}{': ' if told else ''}{told}")


class Image:
    """A 64-bit image of Windows, read as its format has it."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        header = self.number(0x3C, "I")
        expect(f"{path} is an image for x86-64", self.data[header : header + 6] == b"PE\0\0\x64\x86")
        count, size = self.number(header + 6, "H"), self.number(header + 20, "H")
        self.directories = header + 24 + 112
        at = header + 24 + size
        # Virtual address, size in the file, place in the file.
        self.sections = [struct.unpack_from("<III", self.data, at + 40 * i + 12) for i in range(count)]

    def number(self, at, form):
        return struct.unpack_from("<" + form, self.data, at)[0]

    def directory(self, index):
        return self.number(self.directories + 8 * index, "I")

    def place(self, address):
        for start, size, place in self.sections:
            if start <= address < start + size:
                return address - start + place
        raise ValueError(f"address {address:#x} lies in no section")

    def text(self, address):
        at = self.place(address)
        return self.data[at : self.data.index(b"\0", at)].decode("ascii")

    def exports(self):
        if not self.directory(EXPORTS):
            return []
        at = self.place(self.directory(EXPORTS))
        names = self.place(self.number(at + 32, "I"))
        return [self.text(self.number(names + 4 * i, "I")) for i in range(self.number(at + 24, "I"))]

    def imports(self):
        at = self.place(self.directory(IMPORTS))
        while self.number(at + 12, "I"):
            yield self.text(self.number(at + 12, "I"))
            at += 20

    def resource(self, kind):
        """The only resource of a kind: kinds, names and languages are directories in each other."""
        base = at = self.place(self.directory(RESOURCES))
        for wanted in (kind, None, None):
            named, numbered = struct.unpack_from("<HH", self.data, at + 12)
            entries = struct.iter_unpack("<II", self.data[at + 16 : at + 16 + 8 * (named + numbered)])
            at = base + (next(e for e in entries if wanted in (None, e[0]))[1] & 0x7FFFFFFF)
        address, size = struct.unpack_from("<II", self.data, at)
        return self.data[self.place(address) :][:size]


def version_texts(resource):
    """Names and values of the string table, which lie in 16-bit units, each padded to 32 bits."""
    found = {}
    for name in VERSION:
        at = resource.find((name + "\0").encode("utf-16-le"))
        units = struct.unpack_from("<H", resource, at - 4)[0] if at >= 0 else 0
        at = (at + 2 * len(name) + 2 + 3) // 4 * 4
        found[name] = resource[at : at + 2 * units].decode("utf-16-le").rstrip("\0")
    return found


def check_files(folder):
    for path in sorted(glob.glob(f"{folder}/*.dll") + glob.glob(f"{folder}/tarnisctl.exe")):
        if os.path.basename(path) not in COMPILERS:
            foreign = set(Image(path).imports()) - OURS - COMPILERS - WINDOWS
            expect(f"{path} needs only Windows, its own and the compiler's", not foreign, foreign)
    missing = (OURS | COMPILERS) - set(os.listdir(folder))
    expect("all libraries are there", not missing, missing)
    plugin = Image(f"{folder}/tarnis.dll")
    expect("the plug-in's exports", plugin.exports() == ["createIf", "releaseIf"], plugin.exports())
    version = plugin.resource(16)
    fixed = struct.unpack_from("<6I", version, version.index(struct.pack("<I", 0xFEEF04BD)))[2:]
    expect("version numbers", fixed == (0x70008, 0x10000) * 2, fixed)
    expect("version texts", version_texts(version) == VERSION, version_texts(version))


def run(command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=120,
                          stderr=subprocess.PIPE, env={**os.environ, "TZ": "UTC"})
    return done.returncode, done.stdout, done.stderr.decode("utf-8", "replace")


def rows(path):
    """All rows but for what names the moment, the host and the files."""
    with sqlite3.connect(path) as database:
        return [row for row in database.iterdump() if row.startswith("INSERT")]


def check_program(windows, linux, sample, folder):
    programs = {"windows": ["wine", f"{windows}/tarnisctl.exe"], "linux": [f"{linux}/tarnisctl"]}
    verbs = (["show"], ["show", "--json"], ["explain", "--all", "--json"], ["get", "disk0", "NAME"],
             ["get", "disk99", "NAME"], ["set", "plugin", "POLL_INTERVAL", "77"],
             ["get", "plugin", "POLL_INTERVAL"], ["watch", "--for", "2", "--json"], ["--nonsense"],
             ["--machine", f"{sample}.missing", "show"])
    told = {system: [] for system in programs}
    for system, program in programs.items():
        # A folder whose name no single code page of Windows can say.
        own = os.path.join(folder, "Lüfter Ω 磁盘 " + system)
        os.mkdir(own)
        for verb in verbs:
            machine = [] if "--machine" in verb else ["--machine", sample]
            code, out, err = run(program + machine + ["--config-dir", own, "--database",
                                                      own + "/rows.db"] + verb)
            # Events carry the moment at which they came.
            told[system].append((code, re.sub(rb'"time":\d+', b"", out),
                                 [line for line in err.splitlines() if line.startswith("tarnisctl")]))
        with open(own + "/tarnis.ini", "rb") as settings:
            told[system].append((0, settings.read(), rows(own + "/rows.db")))
    for verb, ours, theirs in zip(list(verbs) + [["files"]], told["windows"], told["linux"]):
        expect(f"{' '.join(verb)}: as on Linux", ours == theirs, f"\n  {ours}\n  {theirs}")

    # Without a machine file: this computer, which is Wine's. Its folders are Windows' own.
    code, out, err = run(programs["windows"])
    expect("no hardware", (code, out) == (2, b"") and "NO_SUPPORTED_HARDWARE (20001)" in err and
           "tarnis:  Initialize:  adapter count is 0" in err, (code, out, err))
    local = glob.glob(f"{os.environ['WINEPREFIX']}/drive_c/users/*/AppData/Local")[0] + "/tarnis"
    shutil.rmtree(local, ignore_errors=True)
    run(programs["windows"] + ["--machine", sample, "set", "plugin", "POLL_INTERVAL", "50"])
    files = glob.glob(f"{local}/*")
    expect("the user's own files", {f"{local}/tarnis.ini", f"{local}/tarnis.db"} <= set(files), files)


def main(windows, linux, sample):
    check_files(windows)
    with tempfile.TemporaryDirectory() as folder:
        check_program(windows, linux, sample, folder)
    print(f"windows: files and program checked, {len(failures)} wrong")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]) if len(sys.argv) == 4 else __doc__)
