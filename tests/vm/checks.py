"""What came out of the guest, against what other tools said there and what its disks hold."""

import glob
import json
import os
import sqlite3
import subprocess
import tempfile

PHYSICAL_DRIVE, OPERATIONAL, AVAILABLE, HDD, SSD = 19018, 40093, 40099, 40292, 40293
CAME_OR_WENT = 10920
ROUNDS, GROUP = 10, 5


def text(share, name):
    with open(f"{share}/{name}", encoding="utf-8", errors="replace") as file:
        return file.read()


def number_of(name):
    return ord(name[2]) - ord("a")


class Findings:
    """The files of the share, and what is wrong in them."""

    def __init__(self, share, disks, contents):
        self.share, self.disks, self.contents = share, disks, contents
        self.problems = []
        self.count = 0

    def same(self, what, came, expected):
        self.count += 1
        if came != expected:
            self.problems.append(f"{what}: expected {expected!r}, came {came!r}")

    def ended(self, name, code):
        self.same(f"{name}: exit code ({self.complaint(name)})", int(text(self.share, f"{name}.code")), code)

    def complaint(self, name):
        """Standard error without the line that the plug-in prints at each start."""
        lines = text(self.share, f"{name}.err").splitlines()
        return "\n".join(line for line in lines if not line.startswith("tarnis:"))

    def drives(self, name):
        """{disk number: {property: value}} of a show --json."""
        objects = json.loads(text(self.share, f"{name}.out") or '{"objects": []}')["objects"]
        drives = [{p["name"]: p["value"] for p in o["properties"]} for o in objects if o["type"] == PHYSICAL_DRIVE]
        return {drive["DEVICE_NUMBER"]: drive for drive in drives}

    def serials(self, when):
        """{sd name: serial number} as the kernel tells them."""
        return dict(line.split(" ", 1) for line in text(self.share, f"disks-{when}").splitlines())

    def rows(self, file, query):
        with sqlite3.connect(f"{self.share}/{file}") as database:
            return [tuple("" if cell is None else cell for cell in row) for row in database.execute(query)]


def check_identity(found):
    found.ended("show", 0)
    shown = found.drives("show")
    serials = found.serials("before")
    found.same("serial numbers", sorted(serials.values()), sorted(disk.serial for disk in found.disks))
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
            "STATUS": OPERATIONAL if found.contents[serial] else AVAILABLE,
            "OS_DEVICE": f"Disk {number_of(name)}",
        }
        found.same(name, {key: drive.get(key) for key in expected}, expected)
        model = f"{drive.get('VENDOR')} {drive.get('PRODUCT')}"
        found.same(f"{name}: model", model, said["model_name"])
        found.same(f"{name}: hours", drive.get("POWERON_HOURS"), said["power_on_time"]["hours"])
    found.ended("people", 0)
    people = text(found.share, "people.out")
    missing = [disk.model for disk in found.disks if disk.model not in people]
    found.same("models that show for people leaves out", missing, [])


def check_rows(found, when, file):
    """The rows of partitions, against lsblk and what was made on the disks."""
    listed = json.loads(text(found.share, f"lsblk-{when}.json"))["blockdevices"]
    expected = []
    for name, serial in found.serials(when).items():
        disk = next(item for item in listed if item["name"] == name)
        blocks = {block["name"]: block for block in [disk, *disk.get("children", [])]}
        for index, *content in found.contents[serial]:
            block = blocks.pop(name + str(index or ""), {})
            mounts = zip(block["mountpoints"], block["fsroots"])
            mount = [place for place, root in mounts if place and root in ("/", None)]
            start = (block["start"] or 0) * 512
            row = (block["name"], index, mount[-1] if mount else "", start, block["size"], *content, "")
            expected.append((serial, *row))
        found.same(f"{name}: partitions that only lsblk knows", [b for b in blocks if b != name], [])
    query = """select serial, p.name, number, mounted_at, start_bytes, p.size_bytes, type, uuid, file_system, label,
        state from partitions p left join drives on unique_id = drive_unique_id"""
    came = found.rows(file, query)
    for row in expected:
        found.same(f"row of {row[1]} {when}", next((r for r in came if r[1] == row[1]), None), row)
    found.same(f"rows of partitions {when}", sorted(r[1] for r in came), sorted(r[1] for r in expected))
    drives = found.rows(file, "select disk, serial from drives")
    serials = found.serials(when).items()
    found.same(f"rows of drives {when}", sorted(drives), sorted((number_of(n), s) for n, s in serials))


def check_events(found):
    """Each round: five went, five came; an id is never used again."""
    events = [json.loads(line) for line in text(found.share, "events").splitlines()]
    moved = text(found.share, "moved").splitlines()
    found.same("number of events", len(events), 2 * ROUNDS * GROUP)
    found.same("other events", [e for e in events if e["event"] != CAME_OR_WENT], [])
    ids, used = {}, set()
    for step in range(2 * ROUNDS):
        group = moved[step // 2 * GROUP :][:GROUP]
        these = events[step * GROUP :][:GROUP]
        found.same(f"step {step}: drives", sorted(e["placeHolders"][3] for e in these), sorted(group))
        found.same(f"step {step}: present", {e["present"] for e in these}, {step % 2 == 1})
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
    found.ended("watch", 0)


def check_rights(found):
    everything = sorted(map(number_of, found.serials("before")))
    readable = [number_of(n) for n, serial in found.serials("before").items() if serial == "EMPTY-TABLE"]
    for name, code, shown, word in (
        ("allowed", 0, everything, ""),
        ("incapable", 4, [], "CAP_SYS_RAWIO"),
        ("unreadable", 4, readable, "read"),
    ):
        found.ended(name, code)
        found.same(f"{name}: drives shown", sorted(found.drives(name)), shown)
        complaint = found.complaint(name)
        found.same(f"{name}: lines of complaint: {complaint!r}", len(complaint.splitlines()), int(bool(word)))
        found.same(f"{name}: '{word}' in {complaint!r}", word in complaint, True)


def check_sleep(found):
    found.ended("asleep", 0)
    found.same("the sleeping disk afterwards", text(found.share, "asleep.status").strip(), "suspended")
    shown = sorted(drive["SERIAL_NUMBER"] for drive in found.drives("asleep").values())
    found.same("drives shown while one sleeps", shown, sorted(disk.serial for disk in found.disks))


def check_no_controller(found, binaries):
    """On the host itself, which mostly has none."""
    if glob.glob("/sys/bus/pci/drivers/ahci/*:*"):
        print("vm: no controller: not run, this computer has an AHCI controller")
        return
    with tempfile.TemporaryDirectory() as scratch:
        environment = {**os.environ, "TARNIS_MACHINE": "", "TARNIS_CONFIG_DIR": scratch}
        command = [f"{binaries}/tarnisctl", "--database", ":memory:", "show"]
        result = subprocess.run(command, env=environment, capture_output=True, text=True, check=False)
    found.same("no controller: exit code", result.returncode, 2)
    lines = [line for line in result.stderr.splitlines() if not line.startswith("tarnis:")]
    found.same(f"no controller: lines of complaint {lines}", len(lines), 1)
    found.same("no controller: told", "20001" in result.stderr, True)


def report(share, disks, contents, binaries):
    """Prints what is wrong. Returns the exit code."""
    failed = 0
    for title, check in (
        ("identity", check_identity),
        ("rows at the start", lambda found: check_rows(found, "before", "show.db")),
        ("events", check_events),
        ("rows at the end", lambda found: check_rows(found, "after", "after.db")),
        ("rights", check_rights),
        ("a sleeping disk", check_sleep),
        ("no controller", lambda found: check_no_controller(found, binaries)),
    ):
        found = Findings(share, disks, contents)
        try:
            check(found)
        except (OSError, ValueError, KeyError, StopIteration, sqlite3.Error) as error:
            found.problems.append(f"not to be read: {error!r}")
        for problem in found.problems:
            print(f"vm: {title}: {problem}")
        print(f"vm: {title}: {found.count} checks, {len(found.problems) or 'none'} failed")
        failed += len(found.problems)
    return min(failed, 1)
