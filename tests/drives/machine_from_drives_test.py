#!/usr/bin/env python3
"""Tests of scripts/machine-from-drives and of the comparison, on folders made here.

machine_from_drives_test.py TARNISCTL MACHINE_FROM_DRIVES
"""

import contextlib
import io
import json
import os
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

import compare_drives

TARNISCTL, MACHINE_FROM_DRIVES = sys.argv[1:3]
HEADER = "slug\tmodel\tserial\tfirmware\tbytes\trotation\trule_temperature"
ODD = 'odd\t2.5" SATA SSD "X"\tSN-1\tF1\t1000204886016\t1\t41'
OTHER = "other\tST4000DM004\tSN-2\tF2\t4000787030016\t5425\t33"


def identify_page(model, serial, firmware, sectors, rotation):
    page = bytearray(512)
    page[0] = 0x40
    for first, last, text in ((10, 19, serial), (23, 26, firmware), (27, 46, model)):
        field = text.ljust(2 * (last - first + 1)).encode()
        page[2 * first : 2 * last + 2] = bytes(field[i ^ 1] for i in range(len(field)))
    page[200:208] = sectors.to_bytes(8, "little")
    page[434:436] = rotation.to_bytes(2, "little")
    return bytes(page)


def smart_page(degrees):
    return b"\x10\x00" + bytes([194, 34, 0, 60, 50, degrees]) + bytes(504)


class MachineFromDrives(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="tarnis drives ")
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name
        self.out = os.path.join(self.folder, "machine.json")
        self.write("odd.identify.bin", identify_page('2.5" SATA SSD "X"', "SN-1", "F1", 0, 1))
        self.write("odd.smart.bin", smart_page(41))
        other = identify_page("ST4000DM004", "SN-2", "F2", 7814037168, 5425)
        self.write("other.identify.bin", other)
        self.write("other.smart.bin", smart_page(33))
        self.table(HEADER, ODD, OTHER)

    def write(self, name, content):
        with open(os.path.join(self.folder, name), "wb") as file:
            file.write(content)

    def table(self, *lines, end="\n"):
        self.write("drives.tsv", "".join(line + end for line in lines).encode())

    def run_script(self):
        return subprocess.run(
            [MACHINE_FROM_DRIVES, self.folder, self.out], stderr=subprocess.PIPE, text=True
        )

    def machine(self):
        result = self.run_script()
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        with open(self.out, encoding="utf-8") as file:
            return json.load(file)

    def test_refusals_are_one_line_and_leave_the_old_file(self):
        cases = {
            "no column named bytes": lambda: self.table("slug\tmodel", "odd\tx"),
            "no header line": lambda: self.table(),
            "drives.tsv:3: no slug": lambda: self.table(HEADER, ODD, "\tmodel"),
            "drives.tsv:2: 8 fields, but 7": lambda: self.table(HEADER, ODD + "\tmore"),
            "bytes is not a number of at most 18 digits: 12 GB": lambda: self.table("slug\tbytes", "odd\t12 GB"),
            "gone.identify.bin: No such file": lambda: self.table(HEADER, "gone"),
            "odd.smart.bin: 511 bytes": lambda: self.write("odd.smart.bin", bytes(511)),
        }
        before = self.machine()
        for expected, damage in cases.items():
            with self.subTest(expected):
                damage()
                result = self.run_script()
                self.assertEqual(result.returncode, 1)
                self.assertIn(expected, result.stderr)
                self.assertEqual(result.stderr.count("\n"), 1)
                self.table(HEADER, ODD, OTHER)
        with open(self.out, encoding="utf-8") as file:
            self.assertEqual(json.load(file), before)
        self.write("odd.smart.bin", bytes(512))
        self.out = "/dev/null"
        self.assertIn("no regular file", self.run_script().stderr)
        self.assertFalse([n for n in os.listdir(self.folder) if n.startswith(".machine-")])

    def test_missing_size_comes_from_the_identify_page(self):
        self.table("\ufeffslug\tbytes", "odd", "other\t", "", end="\r\n")
        disks = self.machine()["disks"]
        self.assertEqual([d.get("bytes") for d in disks], [None, 4000787030016])
        self.assertEqual(disks[0]["identify"], "odd.identify.bin")

    def test_every_drive_stands_once_below_a_controller(self):
        self.table(HEADER, *([ODD] * 131))
        controllers = self.machine()["devices"]
        self.assertLessEqual(max(len(c["children"]) for c in controllers), 32)
        numbers = [n for c in controllers for d in c["children"] for n in d["disks"]]
        self.assertEqual(numbers, list(range(131)))
        ids = [d["id"] for c in controllers for d in [c, *c["children"]]]
        self.assertEqual(len(ids), len(set(ids)))

    def test_the_comparison_sees_differences(self):
        def compare(folder=self.folder):
            with contextlib.redirect_stdout(io.StringIO()):
                return compare_drives.main(TARNISCTL, MACHINE_FROM_DRIVES, folder)

        self.assertEqual(compare(), 0)
        for column in ("X", "SN-1", "F1", "\t1\t", "41"):
            with self.subTest(column):
                wrong = column.replace("1", "7").replace("X", "Y")
                self.table(HEADER, ODD.replace(column, wrong), OTHER)
                self.assertEqual(compare(), 1)
        self.table(HEADER, ODD, OTHER)
        with unittest.mock.patch.dict(compare_drives.WORN, {"odd": "it is not"}):
            self.assertEqual(compare(), 1)
        self.assertEqual(compare("/nowhere"), compare_drives.SKIPPED)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
