#!/usr/bin/env python3
"""Makes the inputs that the fuzz targets begin with: every model of the lifetime table, and the
pages of real drives in DIR, if they are there; a kernel with one fault, of every kind; and some
sequences of commands.

seeds.py DIR ROWS OUT     ROWS is SataLifeTime.inc; OUT gets a folder for each target
"""

import glob
import itertools
import os
import random
import re
import sys

# All attributes that tell something of some drive.
IDS = (9, 167, 169, 170, 173, 175, 177, 179, 180, 190, 194, 202, 225, 231, 232, 233, 241, 245, 246)

TARGETS = ("smart_page", "identify_page", "settings", "machine_file", "statement", "row", "command",
           "system_tree")

# Every member of a machine file, in few bytes.
MACHINES = (
    '{"version": 1, "modules": {"storahci": "1"}, "devices": [{"id": "A", "service": "storahci",'
    ' "children": [{"id": "B", "service": "disk", "disks": [0, 1], "children": [{"id": "C"}]},'
    ' {"id": "D"}]}], "disks": [{"number": 0}]}',
    '{"version": 1, "devices": [{"id": "A", "disks": [7]}], "disks": [{"number": 7, "bytes": 512,'
    ' "identify": {"model": "M", "serial": "S", "firmware": "F", "rotation": 1, "fixed": true,'
    ' "swapped": false}, "smart": {"attributes": [{"id": 9, "flags": 0, "value": 1, "worst": 1,'
    ' "raw": [1, 2]}]}, "faults": ["identify"], "partitions": [{"name": "P", "start": 1,'
    ' "bytes": 1, "index": 1, "mount": "/", "type": "t", "uuid": "u"}]}]}',
    '{"version": 1, "disks": [{"number": 1, "identify": "a.bin", "smart": "b.bin"}]}',
)


def pages_of_table(rows):
    """Both pages of a drive of each model of the table, 100 in every attribute."""
    with open(rows, encoding="utf-8") as file:
        models = re.findall(r'^LIFETIME_ROW\("([^"]*)", "([^"]*)"', file.read(), re.MULTILINE)
    smart = b"\x10\x00" + b"".join(bytes([i, 0, 0, 100, 100, 100, 0, 0, 0, 0, 0, 0]) for i in IDS)
    for number, texts in enumerate(models):
        model = " ".join(texts).encode().ljust(40)[:40]
        swapped = bytes(model[i ^ 1] for i in range(40))
        yield f"row{number}", (bytes(54) + swapped).ljust(512, b"\0"), smart.ljust(512, b"\0")


def pages_of_drives(folder):
    for path in sorted(glob.glob(os.path.join(glob.escape(folder), "*.identify.bin"))):
        slug = path[: -len(".identify.bin")]
        with open(path, "rb") as identify, open(slug + ".smart.bin", "rb") as smart:
            yield os.path.basename(slug), identify.read(), smart.read()


def main(folder, rows, out):
    drives = list(pages_of_drives(folder))
    if not drives:
        print(f"fuzz: no pages of drives in {os.path.normpath(folder)}, so none among the seeds")
    for target in TARGETS:
        os.makedirs(os.path.join(out, target), exist_ok=True)
    for number, text in enumerate(MACHINES):
        with open(os.path.join(out, "machine_file", f"machine{number}"), "w", encoding="utf-8") as file:
            file.write(text)
    for number in range(4):
        with open(os.path.join(out, "command", f"sequence{number}"), "wb") as file:
            file.write(random.Random(number).randbytes(500))
    for place, kind in itertools.product(range(25), range(8)):
        with open(os.path.join(out, "system_tree", f"fault{place}-{kind}"), "wb") as file:
            file.write(bytes([1, place, place + 1, kind, 0]) + bytes(range(200)))
    for name, identify, smart in [*pages_of_table(rows), *drives]:
        model = bytes(identify[i ^ 1] for i in range(54, 94)).rstrip()
        with open(os.path.join(out, "smart_page", name), "wb") as file:
            file.write(bytes([len(model)]) + model + smart)
        with open(os.path.join(out, "identify_page", name), "wb") as file:
            file.write(identify)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
