#!/usr/bin/env python3
"""Compares readings and alarms of a fleet of real drives with what the drives' own logs say.

    compare_fleet.py TARNISCTL FOLDER

TARNIS_FLEET, when it is set, stands in for FOLDER, which holds fleet.tsv.xz: one drive a line with its
attributes and the figures of its own logs (tests/drives/README.md). Prints a line for each difference
and for each floor; exits with 0 when all floors hold, 1 when one does not, 77 when there is no such
table. Floors are set a little below what the families of zelPlug reach: raise them with the families.
"""

import collections
import json
import lzma
import os
import re
import subprocess
import sys
import tempfile

SKIPPED = 77
PHYSICAL_DRIVE, AVAILABLE_SMART, KILOBYTES = 19018, 40180, 21001
DRIVES_A_RUN = 250  # numbers that are 256 apart share a kept SMART page
ATTRIBUTES_A_PAGE = 30
# Temperatures say nothing of health, and 183 of some drives stands at its threshold when new.
NO_SIGN_OF_FAILURE = {183, 190, 194}
LOG_WRAP = 512 << 32  # the log of written sectors has 32 bits on some drives
# Own percentages that erase counts contradict, by model and firmware.
WRONG_PERCENTAGE = [
    re.compile(text)
    for text in (
        r"CT\d+BX500SSD1 M6CR013",
        r"VK0240GECQN ",
        r"(Crucial_)?CT\d+M5[05]0SSD|(Crucial_)?CT\d+MX100SSD",
        r".*M5[01]0DC",
        r"KINGSTON SA400\S* SBFKB1",
        r"KINGSTON SEDC\d+\S* SCEKJ2\.3",
        r"SATA SSD S9FM0",
    )
]
# Least share of the drives, percent; of false alarms the most drives.
FLOORS = {
    ("HDD", "hours told"): 99.9,
    ("HDD", "hours equal"): 99.95,
    ("HDD", "reserve told"): 99.9,
    ("HDD", "failing drives found"): 100,
    ("SSD", "hours told"): 99.8,
    ("SSD", "written told"): 92.4,
    ("SSD", "written equal"): 99.45,
    ("SSD", "used told"): 99.2,
    ("SSD", "used equal"): 98.1,
    ("SSD", "reserve told"): 95.5,
    ("SSD", "failing drives found"): 96,
    ("SSD", "worn drives found"): 99,
}
MOST_FALSE_ALARMS = {"HDD": 0, "SSD": 3}


def number(text):
    return int(text) if text else None


class Drive:
    """A line of the table. What its logs do not say, or say wrongly, is None."""

    def __init__(self, row):
        self.model, self.firmware, self.kind = row["model"], row["firmware"], row["kind"]
        self.bytes, self.rotation = int(row["bytes"]), int(row["rotation"])
        self.attributes = [[number(x) for x in a.split(":")] for a in row["attributes"].split()]
        self.hours = number(row["hours"])
        self.written, self.used = number(row["bytes_written"]), number(row["percent_used"])
        name = f"{self.model} {self.firmware}"
        if self.used == 255 or any(text.match(name) for text in WRONG_PERCENTAGE):
            self.used = None
        below = {int(x) for x in row["failing_now"].split(",") if x}
        self.fails = bool(below - NO_SIGN_OF_FAILURE) or (row["health"] == "FAILED" and not below)
        complaints = below or row["failed_past"] or row["health"] != "PASSED"
        complaints = complaints or row["self_test_failures"] != "0" or row["errors"] != "0"
        if self.kind == "HDD":
            self.is_worn = False
            self.is_well = not complaints and not any(
                raw & 0xFFFF for id, _, _, _, raw, _ in self.attributes if id in (5, 197, 198)
            )
        else:
            self.is_worn = self.used is not None and self.used >= 96
            self.is_well = not complaints and self.used is not None and self.used < 85

    def disk(self, number):
        keys = ("id", "flags", "value", "worst", "raw")
        page = [dict(zip(keys, a)) for a in self.attributes[:ATTRIBUTES_A_PAGE]]
        rotation = self.rotation if 1 <= self.rotation <= 65534 else 0
        return {
            "number": number,
            "bytes": self.bytes,
            "identify": {
                "model": self.model[:40],
                "serial": f"S{number}",
                "firmware": self.firmware[:8],
                "rotation": rotation,
            },
            "smart": {"attributes": page},
        }


def drives_of(table):
    with lzma.open(table, "rt", encoding="utf-8") as file:
        columns = file.readline().rstrip("\n").split("\t")
        return [Drive(dict(zip(columns, line.rstrip("\n").split("\t")))) for line in file]


def shown_by(tarnisctl, drives):
    """{index: {property name: value}} as tarnisctl shows the drives; what is not known is absent."""
    nodes = [{"id": f"D{n}", "service": "disk", "disks": [n]} for n in range(len(drives))]
    machine = {
        "version": 1,
        "modules": {},
        "devices": [{"id": "C", "service": "storahci", "children": nodes}],
        "disks": [drive.disk(n) for n, drive in enumerate(drives)],
    }
    with tempfile.TemporaryDirectory() as scratch:
        path = os.path.join(scratch, "machine.json")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(machine, file)
        command = [tarnisctl, "--machine", path, "--config-dir", scratch, "--database", ":memory:"]
        output = subprocess.run([*command, "show", "--json"], check=True, stdout=subprocess.PIPE)
    shown = {}
    for item in json.loads(output.stdout)["objects"]:
        if item["type"] != PHYSICAL_DRIVE:
            continue
        values = {}
        for one in item["properties"]:
            if one["viewMask"] and one["value"] is not None:
                scale = 1024 ** (one["unit"] - KILOBYTES + 1) if one["name"] == "BYTES_WRITTEN" else 1
                values[one["name"]] = one["value"] * scale if scale > 1 else one["value"]
        shown[values["DEVICE_NUMBER"]] = values
    return shown


def written_agrees(model, ours, log):
    if re.match(r"CT\d+(MX|BX)", model) and abs(ours - log) > log / 50:
        log += LOG_WRAP * max(0, round((ours - log) / LOG_WRAP))
    return abs(ours - log) <= max(log / 50, 12 << 30)


def used_agrees(_, ours, log):
    return abs(ours - log) <= 1 or (ours >= 99 and log >= 99)


READINGS = {
    "hours": ("POWERON_HOURS", "hours", lambda _, ours, log: ours == log),
    "written": ("BYTES_WRITTEN", "written", written_agrees),
    "used": ("RATED_ENDURANCE_PERCENT", "used", used_agrees),
    "reserve": ("REMAINING_RESERVE_SPACE", None, None),
}


class Report:
    def __init__(self):
        self.count = collections.Counter()
        self.total = collections.Counter()
        self.false_alarms = collections.Counter()

    def add(self, drive, what, holds, detail=""):
        self.total[drive.kind, what] += 1
        self.count[drive.kind, what] += holds
        if not holds and not what.endswith("told"):
            print(f"{drive.kind}: not {what}: {drive.model}, firmware {drive.firmware}{detail}")

    def compare(self, drive, values):
        for name, (shown, log, agrees) in READINGS.items():
            ours, own = values.get(shown), getattr(drive, log) if log else None
            self.add(drive, f"{name} told", ours is not None)
            if ours is not None and own is not None:
                detail = f": {ours:.0f}, its own log says {own}"
                self.add(drive, f"{name} equal", agrees(drive.model, ours, own), detail)
        alarm = values.get("STATUS") == AVAILABLE_SMART
        if drive.fails:
            self.add(drive, "failing drives found", alarm)
        if drive.is_worn:
            self.add(drive, "worn drives found", alarm)
        if drive.is_well and alarm:
            self.false_alarms[drive.kind] += 1
            print(f"{drive.kind}: alarm of a drive that is well: {drive.model}, {drive.firmware}")

    def is_good(self):
        good = True
        for (kind, what), floor in FLOORS.items():
            count, total = self.count[kind, what], self.total[kind, what]
            holds = total > 0 and 100 * count >= floor * total
            share = f"{100 * count / max(1, total):.2f} percent, at least {floor}"
            print(f"{'ok' if holds else 'BELOW'}: {kind} {what}: {count} of {total}, {share}")
            good = good and holds
        for kind, most in MOST_FALSE_ALARMS.items():
            holds = self.false_alarms[kind] <= most
            text = f"{kind} alarms of drives that are well: {self.false_alarms[kind]}, at most {most}"
            print(f"{'ok' if holds else 'ABOVE'}: {text}")
            good = good and holds
        return good


def main(tarnisctl, folder):
    table = os.path.join(folder, "fleet.tsv.xz")
    if not os.path.isfile(table):
        place = os.path.normpath(folder)
        print(f"skipped: no fleet.tsv.xz in {place}; set TARNIS_FLEET to a folder that has one")
        return SKIPPED
    drives, report = drives_of(table), Report()
    for begin in range(0, len(drives), DRIVES_A_RUN):
        some = drives[begin : begin + DRIVES_A_RUN]
        shown = shown_by(tarnisctl, some)
        for index, drive in enumerate(some):
            report.compare(drive, shown[index])
    return 0 if report.is_good() else 1


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], os.environ.get("TARNIS_FLEET") or sys.argv[2]))
