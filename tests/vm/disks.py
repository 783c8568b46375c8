# The disks of the guest: what each one is and holds, and its image.

import json
import os
import subprocess
from typing import NamedTuple

MIB = 1 << 20
MADE_BY = {"ext4": ["mkfs.ext4", "-q", "-F", "-L"], "vfat": ["mkfs.vfat", "-n"], "swap": ["mkswap", "-q", "-L"]}
ESP = "C12A7328-F81F-11D2-BA4B-00C04FD430C8"


class Part(NamedTuple):
    line: str  # for sfdisk
    file_system: str = ""
    label: str = ""


class Disk(NamedTuple):
    serial: str
    model: str
    size: int
    rotation: int = 0  # 1: no moving parts, 0: not told
    table: str = ""  # gpt, dos or none; without one, a single part is the whole disk
    parts: tuple = ()


DISKS = [
    Disk("PHDV7241014X240AGN-1", "INTEL SSDSC2BB240G7", 240057409536, 1, "gpt", (
        Part(f"size=64M, type={ESP}", "vfat", "BOOT"),
        Part("size=64M", "ext4", "root"),
        Part("size=32M, type=S", "swap", "pages"),
    )),
    # Above 2 TiB, with a partition that starts there.
    Disk("WD-WCC 7K4 HE", "WDC WD40EFRX-68N32N0", 4000787030016, 5400, "gpt", (
        Part("size=64M", "ext4", "Größe Ü 2"),
        Part("start=5000000000, size=64M", "ext4", "far"),
    )),
    Disk("ZA10ABCD", "SEAGATE ST8000NM000A", 123456789 * 512, 7200, "dos", (
        Part("size=64M, type=83", "ext4", "first"),
        Part("size=300M, type=5"),
        Part("disk5 : size=64M, type=83", "ext4", "logical"),
        Part("disk6 : size=32M, type=82", "swap", "old pages"),
    )),
    Disk("S45NNA0M803162", "SAMSUNG MZ7LH960HAJR-00005", 960197124096, 1),
    Disk("WHOLE-DISK-SERIAL-20", "TOSHIBA MG08ADA800E", 200 * MIB, 7200, "", (Part("", "ext4", "whole"),)),
    Disk("1", "HGST HUS726T4TALE6L4", 300 * MIB, 7200),
    Disk("PHYF002104TK480BGN", "INTEL SSDSC2KB480G8", 480103981056, 1, "gpt", (Part("size=40M"),)),
    Disk("K2HABC01", "HGST HUS728T8TALE6L4", 301 * MIB, 0, "dos", (Part("type=c", "vfat", "STICK"),)),
    Disk("EMPTY-TABLE", "WDC WD10EZEX-00BN5A0", 302 * MIB, 7200, "gpt"),
    Disk("BTWL3450073R240NGN", "INTEL SSDSC2BB240G4", 303 * MIB, 1),
    Disk("WHOLE-SWAP", "TOSHIBA DT01ACA100", 304 * MIB, 7200, "", (Part("", "swap"),)),
    Disk("SLEEPER", "SEAGATE ST1000DM003", 305 * MIB, 7200),
]  # fmt: skip
# On another controller.
FOREIGN = Disk("FOREIGN", "", 64 * MIB, 0, "dos", (Part("type=83", "ext4", "foreign"),))


def output_of(*command, **more):
    return subprocess.run(command, stdout=subprocess.PIPE, text=True, check=True, **more).stdout


# Makes it in a file of its own, and copies what is not zero into its place.
def make_file_system(part, image, start, size):
    scratch = image + ".part"
    with open(scratch, "wb") as file:
        file.truncate(min(size, 64 * MIB))
    output_of(*MADE_BY[part.file_system], part.label, scratch)
    with open(scratch, "rb") as source, open(image, "r+b") as target:
        for place in range(0, os.path.getsize(scratch), 65536):
            block = source.read(65536)
            if block.strip(b"\0"):
                target.seek(start + place)
                target.write(block)


# Returns (index, type, UUID, file system, label) of what is a partition to the system.
def make_image(disk, image):
    with open(image, "wb") as file:
        file.truncate(disk.size)
    table = {"partitions": [{"node": image, "start": 0, "size": disk.size // 512}]}
    if disk.table:
        lines = [f"label: {disk.table}", *(part.line for part in disk.parts)]
        output_of("sfdisk", "-q", image, input="\n".join(lines))
        table = json.loads(output_of("sfdisk", "-J", image))["partitiontable"]
    contents = []
    for part, entry in zip(disk.parts, table.get("partitions", [])):
        index = int(entry["node"][len(image) :] or 0)
        kind, uuid = entry.get("type", ""), entry.get("uuid", "")
        if disk.table == "dos":
            kind, uuid = "0x" + kind, f"{int(table['id'], 16):08x}-{index:02x}"
        contents.append((index, kind.lower(), uuid.lower(), part.file_system, part.label))
        if part.file_system:
            make_file_system(part, image, entry["start"] * 512, entry["size"] * 512)
    return contents
