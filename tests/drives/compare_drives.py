#!/usr/bin/env python3
"""Compares what tarnisctl shows of real drives with what other tools told of the same drives.

    compare_drives.py TARNISCTL MACHINE_FROM_DRIVES FOLDER

TARNIS_DRIVES, when it is set, stands in for FOLDER. The folder has the format that
scripts/machine-from-drives reads. A column that is missing or empty is not compared. Every
difference is printed; exits with 0 for none, 1 for some, 77 when there is no such folder.
"""

import json
import os
import re
import subprocess
import sys
import tempfile

SKIPPED = 77
PHYSICAL_DRIVE, HDD, SSD, AVAILABLE_SMART = 19018, 40292, 40293, 40180
# Vendors that a drive may get by its model, whatever its first word is.
VENDORS_BY_MODEL = {
    "CRUCIAL", "HGST", "INNODISK", "INTEL", "MICRON", "SAMSUNG", "SANDISK", "SEAGATE", "TOSHIBA",
    "TRANSCEND", "VIRTIUM", "WDC",
}  # fmt: skip
# Drives that are to be replaced, and why. Every other drive is healthy.
WORN = {
    "samsung-ssd-850-pro-256gb": "99 percent of its rated erase cycles used",
    "hitachi-hds721050dle630": "spare sectors used up: attribute 5 at 1, its threshold is 5",
}


def rows_of(folder):
    with open(os.path.join(folder, "drives.tsv"), encoding="utf-8-sig", newline="") as file:
        lines = [line.rstrip("\r\n") for line in file if line.strip()]
    header = lines[0].split("\t")
    return [dict(zip(header, line.split("\t"))) for line in lines[1:]]


def shown_by(tarnisctl, machine_from_drives, folder):
    """{disk number: {property name: value}} as tarnisctl shows them."""
    with tempfile.TemporaryDirectory() as scratch:
        machine = os.path.join(scratch, "machine.json")
        subprocess.run([machine_from_drives, folder, machine], check=True)
        command = [tarnisctl, "--machine", machine, "--config-dir", scratch]
        command += ["--database", os.path.join(scratch, "rows.db"), "show", "--json"]
        output = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    drives = {}
    for item in json.loads(output)["objects"]:
        if item["type"] == PHYSICAL_DRIVE:
            values = {p["name"]: p["value"] for p in item["properties"]}
            drives[values["DEVICE_NUMBER"]] = values
    return drives


def expected_of(row):
    """{property name: value} that the row lets us expect; None: the property is absent."""
    expected = {}
    for column, name in (("serial", "SERIAL_NUMBER"), ("firmware", "FIRMWARE_VERSION")):
        if row.get(column):
            expected[name] = row[column]
    if row.get("bytes"):
        expected["PHYSICAL_SIZE"] = expected["CONFIGURABLE_SIZE"] = int(row["bytes"]) >> 20
    if row.get("rotation"):
        solid = row["rotation"] == "1" or row.get("model", "").startswith("INTEL SSD")
        expected["MEDIA_TYPE"] = SSD if solid else HDD
    if row.get("rule_temperature"):
        expected["TEMPERATURE"] = float(row["rule_temperature"]) or None
    return expected


def words_of(text):
    """The words of a model text: blanks and underscores part them, a lone dash is none."""
    return [word for word in re.split(r"[\s_]+", text.lower()) if word not in ("", "-")]


def compare_model(model, values, notes):
    """Differences of vendor and product, which together have the words of the model."""
    words, vendor, product = words_of(model), values["VENDOR"], words_of(values["PRODUCT"])
    front = words[: len(words) - len(product)]
    if not product or front + product != words:
        yield f"PRODUCT is {values['PRODUCT']!r}, the model is {model!r}"
    if words_of(vendor) != front:
        told = f"VENDOR is {vendor!r}, the model is {model!r}"
        if vendor in VENDORS_BY_MODEL and front in ([], ["m.2"]):
            notes.append(told)
        else:
            yield told


def compare_status(slug, values):
    shown = values["STATUS"] == AVAILABLE_SMART
    if shown != (slug in WORN):
        why = f"replace it: {WORN[slug]}" if slug in WORN else "it is healthy"
        yield f"STATUS is {values['STATUS']}, but {why}"


def main(tarnisctl, machine_from_drives, folder):
    if not os.path.isfile(os.path.join(folder, "drives.tsv")):
        place = os.path.normpath(folder)
        print(f"skipped: no drives.tsv in {place}; set TARNIS_DRIVES to a folder that has one")
        return SKIPPED
    rows = rows_of(folder)
    drives = shown_by(tarnisctl, machine_from_drives, folder)
    differences, notes = [], []
    if sorted(drives) != list(range(len(rows))):
        differences.append(f"{len(rows)} drives expected, disk numbers shown: {sorted(drives)}")
    for number, row in enumerate(rows):
        values, found = drives.get(number), []
        if values is None:
            continue
        for name, want in expected_of(row).items():
            if values.get(name) != want:
                found.append(f"{name} is {values.get(name)!r}, expected {want!r}")
        told = []
        if row.get("model"):
            found += compare_model(row["model"], values, told)
        found += compare_status(row["slug"], values)
        plain, rule = row.get("expected_temperature"), row.get("rule_temperature")
        if plain and rule and plain != rule:
            told.append(f"another tool told {plain} degrees, the rule gives {rule}")
        differences += [f"{row['slug']}: {text}" for text in found]
        notes += [f"{row['slug']}: {text}" for text in told]
    for text in notes:
        print("note:", text)
    for text in differences:
        print("DIFFERENT:", text)
    print(f"{len(rows)} drives compared, {len(differences)} differences")
    return 1 if differences else 0


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:3], os.environ.get("TARNIS_DRIVES") or sys.argv[3]))
