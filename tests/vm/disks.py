"""The disks of the guest: what each one is and holds, and its image."""

import json
import os
import subprocess
from dataclasses import dataclass, field

MIB = 1 << 20
MADE_BY = {"ext4": ["mkfs.ext4", "-q", "-F", "-L"], "vfat": ["mkfs.vfat", "-n"], "swap": ["mkswap", "-q", "-L"]}
ESP = "C12A7328-F81F-11D2-BA4B-00C04FD430C8"


@dataclass
class Part:
    """A partition: a line for sfdisk, and what is made in it."""

    line: str
    file_system: str = ""
    label: str = ""


@dataclass
class Disk:
    serial: str
    model: str
    size: int
    rotation: int = 0  # 1: no moving parts, 0: not told
    table: str = ""  # gpt, dos or none; without one, a single part is the whole disk
    parts: list = field(default_factory=list)


DISKS = [
    Disk("PHDV7241014X240AGN-1", "INTEL SSDSC2BB240G7", 240057409536, 1, "gpt", [
        Part(f"size=64M, type={ESP}", "vfat", "BOOT"),
        Part("size=64M", "ext4", "root"),
        Part("size=32M, type=S", "swap", "pages"),
    ]),
    # Above 2 TiB, with a partition that starts there.
    Disk("WD-WCC 7K4 HE", "WDC WD40EFRX-68N32N0", 4000787030016, 5400, "gpt", [
        Part("size=64M", "ext4", "Größe Ü 2"),
        Part("start=5000000000, size=64M", "ext4", "far"),
    ]),
    Disk("ZA10ABCD", "SEAGATE ST8000NM000A", 123456789 * 512, 7200, "dos", [
        Part("size=64M, type=83", "ext4", "first"),
        Part("size=300M, type=5"),
        Part("disk5 : size=64M, type=83", "ext4", "logical"),
        Part("disk6 : size=32M, type=82", "swap", "old pages"),
    ]),
    Disk("S45NNA0M803162", "SAMSUNG MZ7LH960HAJR-00005", 960197124096, 1),
    Disk("WHOLE-DISK-SERIAL-20", "TOSHIBA MG08ADA800E", 200 * MIB, 7200, "", [Part("", "ext4", "whole")]),
    Disk("1", "HGST HUS726T4TALE6L4", 300 * MIB, 7200),
    Disk("PHYF002104TK480BGN", "INTEL SSDSC2KB480G8", 480103981056, 1, "gpt", [Part("size=40M")]),
    Disk("K2HABC01", "HGST HUS728T8TALE6L4", 301 * MIB, 0, "dos", [Part("type=c", "vfat", "STICK")]),
    Disk("EMPTY-TABLE", "WDC WD10EZEX-00BN5A0", 302 * MIB, 7200, "gpt"),
    Disk("BTWL3450073R240NGN", "INTEL SSDSC2BB240G4", 303 * MIB, 1),
    Disk("WHOLE-SWAP", "TOSHIBA DT01ACA100", 304 * MIB, 7200, "", [Part("", "swap", "")]),
    Disk("SLEEPER", "SEAGATE ST1000DM003", 305 * MIB, 7200),
]  # fmt: skip
FOREIGN = Disk("FOREIGN", "", 64 * MIB, 0, "dos", [Part("type=83", "ext4", "foreign")])


def make_file_system(image, start, size, part, scratch):
    """Makes it in a file of its own, and copies what is not zero into its place."""
    with open(scratch, "wb") as file:
        file.truncate(min(size, 64 * MIB))
    made_by = MADE_BY[part.file_system]
    subprocess.run([*made_by, part.label, scratch], check=True, stdout=subprocess.DEVNULL)
    with open(scratch, "rb") as source, open(image, "r+b") as target:
        for place in range(0, os.path.getsize(scratch), 65536):
            block = source.read(65536)
            if block.strip(b"\0"):
                target.seek(start + place)
                target.write(block)


def make_image(disk, image):
    """Returns (index, type, UUID, file system, label) of what is a partition to the system."""
    with open(image, "wb") as file:
        file.truncate(disk.size)
    if not disk.table:
        for part in disk.parts:
            make_file_system(image, 0, disk.size, part, image + ".part")
        return [(0, "", "", part.file_system, part.label) for part in disk.parts]
    script = "\n".join([f"label: {disk.table}", *(part.line for part in disk.parts)])
    subprocess.run(["sfdisk", "-q", image], input=script, text=True, check=True)
    told = subprocess.run(["sfdisk", "-J", image], stdout=subprocess.PIPE, text=True, check=True)
    table = json.loads(told.stdout)["partitiontable"]
    contents = []
    for part, entry in zip(disk.parts, table.get("partitions", []), strict=True):
        index = int(entry["node"][len(image) :])
        if disk.table == "gpt":
            kind, uuid = entry["type"].lower(), entry["uuid"].lower()
        else:
            kind, uuid = "0x" + entry["type"], f"{int(table['id'], 16):08x}-{index:02x}"
        contents.append((index, kind, uuid, part.file_system, part.label))
        if part.file_system:
            make_file_system(image, entry["start"] * 512, entry["size"] * 512, part, image + ".part")
    return contents
