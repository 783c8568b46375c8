# What came out of the guest, against what other tools said there and what its disks hold.

import glob
import json
import os
import sqlite3
import subprocess

PHYSICAL_DRIVE, OPERATIONAL, AVAILABLE, HDD, SSD = 19018, 40093, 40099, 40292, 40293
CAME_OR_WENT, ROUNDS, GROUP = 10920, 10, 5


def text(share, name):
    with open(f"{share}/{name}", encoding="utf-8", errors="replace") as file:
        return file.read()


def number_of(name):
    return ord(name[2]) - ord("a")


# The files of the share, and what is wrong in them.
class Findings:
    def __init__(self, share, contents):
        self.share, self.contents, self.problems, self.count = share, contents, [], 0

    def same(self, what, came, expected):
        self.count += 1
        if came != expected:
            self.problems.append(f"{what}: expected {expected!r}, came {came!r}")

    # Exit code, and standard error without the line that the plug-in prints at each start.
    def ended(self, name, code):
        lines = text(self.share, f"{name}.err").splitlines()
        complaint = [line for line in lines if not line.startswith("tarnis:")]
        self.same(f"{name}: exit code {complaint}", int(text(self.share, f"{name}.code")), code)
        return complaint

    # {disk number: {property: value}} of a show --json.
    def drives(self, name):
        objects = json.loads(text(self.share, f"{name}.out") or '{"objects": []}')["objects"]
        drives = [o["properties"] for o in objects if o["type"] == PHYSICAL_DRIVE]
        drives = [{p["name"]: p["value"] for p in properties} for properties in drives]
        return {drive["DEVICE_NUMBER"]: drive for drive in drives}

    # {sd name: serial number} as the kernel tells them.
    def serials(self, when):
        return dict(line.split(" ", 1) for line in text(self.share, f"disks-{when}").splitlines())

    def rows(self, file, query):
        with sqlite3.connect(f"{self.share}/{file}") as database:
            return [tuple("" if cell is None else cell for cell in row) for row in database.execute(query)]


def check_identity(found):
    found.ended("show", 0)
    found.ended("people", 0)
    people = text(found.share, "people.out")
    shown = found.drives("show")
    serials = found.serials("before")
    found.same("serial numbers", sorted(serials.values()), sorted(found.contents))
    found.same("disk numbers", sorted(shown), sorted(map(number_of, serials)))
    for name, serial in serials.items():
        said = json.loads(text(found.share, f"smart-{name}.json"))
        drive = shown.get(number_of(name), {})
        expected = {
            "SERIAL_NUMBER": said["serial_number"],
            "FIRMWARE_VERSION": said["firmware_version"],
            "PHYSICAL_SIZE": said["user_capacity"]["bytes"] >> 20,
            "MEDIA_TYPE": SSD if said.get("rotation_rate") == 0 else HDD,
            "TEMPERATURE": said["temperature"]["current"],
            "POWERON_HOURS": said["power_on_time"]["hours"],
            "STATUS": OPERATIONAL if found.contents[serial] else AVAILABLE,
            "OS_DEVICE": f"Disk {number_of(name)}",
        }
        found.same(name, {key: drive.get(key) for key in expected}, expected)
        model = f"{drive.get('VENDOR')} {drive.get('PRODUCT')}"
        found.same(f"{name}: model", model, said["model_name"])
        found.same(f"{name}: {model} shown for people", model in people and serial in people, True)


# The rows, against lsblk and what was made on the disks.
def check_rows(found, when, file):
    listed = json.loads(text(found.share, f"lsblk-{when}.json"))["blockdevices"]
    serials = found.serials(when)
    expected = {}
    for disk in listed:
        contents = found.contents.get(serials.get(disk["name"]), ())
        blocks = {block["name"]: block for block in [disk, *disk.get("children", [])]}
        for index, *content in contents:
            block = blocks[disk["name"] + str(index or "")]
            mounts = zip(block["mountpoints"], block["fsroots"])
            mount = ["", *(place for place, root in mounts if place and root in ("/", None))][-1]
            place = (block["name"], index, (block["start"] or 0) * 512, block["size"])
            expected[block["name"]] = (serials[disk["name"]], *place, *content, mount, "")
    query = """select p.name, serial, p.name, number, start_bytes, p.size_bytes, type, uuid, file_system, label,
        mounted_at, state from partitions p left join drives on unique_id = drive_unique_id"""
    came = {name: tuple(row) for name, *row in found.rows(file, query)}
    for name in sorted({*came, *expected}):
        found.same(f"row of {name}", came.get(name), expected.get(name))
    drives = found.rows(file, "select disk, serial from drives")
    found.same("drives", sorted(drives), sorted((number_of(n), s) for n, s in serials.items()))


# Each round: five went, five came; an id is never used again.
def check_events(found):
    start, *lines = [json.loads(line) for line in text(found.share, "events").splitlines()]
    found.same("how things stand at the start", start.get("kind"), "start")
    # A disk on its way out may be silent for a look. Its going is then a change of its own.
    events = [line for line in lines if "event" in line]
    alone = [line for line in lines if "event" not in line]
    found.same("other changes", [line for line in alone if line["kind"] != "gone"], [])
    moved = text(found.share, "moved").splitlines()
    found.same("number of events", len(events), 2 * ROUNDS * GROUP)
    found.same("other events", [e for e in events if e["event"] != CAME_OR_WENT], [])
    ids, used = {}, set()
    for step in range(2 * ROUNDS):
        group = moved[step // 2 * GROUP :][:GROUP]
        these = events[step * GROUP :][:GROUP]
        came = sorted((e["placeHolders"][3], e["present"]) for e in these)
        found.same(f"step {step}: drives", came, sorted((serial, step % 2 == 1) for serial in group))
        for event in these:
            serial, identity = event["placeHolders"][3], event["object"]
            if event["present"]:
                found.same(f"step {step}: {serial} came with a used id", identity in used, False)
                ids[serial] = identity
            else:
                found.same(f"step {step}: id of {serial}", identity, ids.get(serial, identity))
            used.add(identity)
    rows = dict(found.rows("after.db", "select serial, object_id from drives"))
    for serial, identity in ids.items():
        found.same(f"id in the row of {serial}", rows.get(serial), int(identity, 16))
    files = [text(found.share, f"files-{number}").split() for number in range(ROUNDS)]
    found.same("files open after the last round", files[-1], files[0])
    found.same("disks that stay open", [name for name in files[-1] if "/dev/sd" in name], [])
    found.same("generic devices that stay open", any("/dev/bsg/" in name for name in files[-1]), True)
    found.ended("watch", 0)


def check_rights(found):
    serials = found.serials("before").items()
    everything = sorted(number_of(name) for name, _ in serials)
    readable = [number_of(name) for name, serial in serials if serial == "EMPTY-TABLE"]
    for name, code, shown, words in (
        ("allowed", 0, everything, []),
        ("incapable", 4, [], ["CAP_SYS_RAWIO"]),
        ("unreadable", 4, readable, ["read access to /dev/sd"]),
    ):
        complaint = found.ended(name, code)
        found.same(f"{name}: drives shown", sorted(found.drives(name)), shown)
        found.same(f"{name}: {complaint}", [w for w, line in zip(words, complaint) if w in line], words)
        found.same(f"{name}: lines of complaint", len(complaint), len(words))


def check_sleep(found):
    found.ended("asleep", 0)
    found.same("the sleeping disk afterwards", text(found.share, "asleep.status").strip(), "suspended")
    shown = sorted(drive["SERIAL_NUMBER"] for drive in found.drives("asleep").values())
    found.same("drives shown while one sleeps", shown, sorted(found.contents))


# On the host itself, which mostly has none.
def check_no_controller(found, tarnisctl):
    if glob.glob("/sys/bus/pci/drivers/ahci/*:*"):
        print("vm: no controller: not run, this computer has an AHCI controller")
        return
    environment = {**os.environ, "TARNIS_MACHINE": "", "TARNIS_CONFIG_DIR": found.share}
    command = [tarnisctl, "--database", ":memory:", "show"]
    result = subprocess.run(command, env=environment, capture_output=True, text=True, check=False)
    told = [line for line in result.stderr.splitlines() if not line.startswith("tarnis:")]
    found.same(f"no controller: exit code {told}", result.returncode, 2)
    found.same(f"no controller: {told}", ["20001" in line for line in told], [True])


# Prints what is wrong. Returns the exit code.
# contents: by serial number, what disks.make_image tells of the disks that are to be seen
def report(share, contents, tarnisctl):
    failed = 0
    for title, check in (
        ("identity", check_identity),
        ("rows at the start", lambda found: check_rows(found, "before", "show.db")),
        ("events", check_events),
        ("rows at the end", lambda found: check_rows(found, "after", "after.db")),
        ("rights", check_rights),
        ("a sleeping disk", check_sleep),
        ("no controller", lambda found: check_no_controller(found, tarnisctl)),
    ):
        found = Findings(share, contents)
        try:
            check(found)
        except (OSError, ValueError, KeyError, StopIteration, sqlite3.Error) as error:
            found.problems.append(f"not to be read: {type(error).__name__} {error}")
        for problem in found.problems:
            print(f"vm: {title}: {problem}")
        print(f"vm: {title}: {found.count} checks, {len(found.problems) or 'none'} failed")
        failed += len(found.problems)
    return min(failed, 1)
