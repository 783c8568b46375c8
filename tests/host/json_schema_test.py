#!/usr/bin/env python3
"""Every output of tarnisctl --json against the schema that ships with it, as it is and with every
object closed, so that a member that it does not describe is found.

json_schema_test.py TARNISCTL SCRIPTED_PLUGIN SAMPLE_MACHINE
"""

import json
import os
import subprocess
import sys
import tempfile
import unittest

try:
    from jsonschema import Draft202012Validator
except ImportError:
    sys.exit("the Python module jsonschema is missing; scripts/bootstrap --tests installs it")

TARNISCTL, SCRIPTED_PLUGIN, SAMPLE = sys.argv[1:4]
UNIQUE_ID, STATUS = 30137, 30017


def closed(schema):
    """The schema with all members refused that it does not describe."""
    if isinstance(schema, list):
        return [closed(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    result = {name: closed(part) for name, part in schema.items()}
    if result.get("type") == "object":
        result.setdefault("additionalProperties", False)
    return result


with open(os.path.join(os.path.dirname(TARNISCTL), "tarnisctl.schema.json"), encoding="utf-8") as shipped:
    SCHEMA = json.load(shipped)


def problems(document, kind):
    """What is wrong with a document of a kind: a name of the schema's definitions."""
    only = {"$schema": SCHEMA["$schema"], "$defs": SCHEMA["$defs"], "$ref": "#/$defs/" + kind}
    for schema in (SCHEMA, only, closed(only)):
        for error in Draft202012Validator(schema).iter_errors(document):
            yield f"{kind} at {list(error.path)}: {error.message[:300]}"


def disk(number, left=50, **members):
    """A solid-state drive with so many percent of its endurance left."""
    attributes = [(9, 100, 8000), (194, 77, 23), (232, 100, 0), (233, left, 0), (241, 100, 7000)]
    page = [{"id": i, "flags": 34, "value": v, "worst": v, "raw": r} for i, v, r in attributes]
    identity = {"model": "INTEL SSDSC2BB240G7", "serial": f"S{number}", "firmware": "F", "rotation": 1}
    whole = {"number": number, "bytes": 240057409536, "identify": identity, "smart": {"attributes": page}}
    return whole | members


def hostile_page():
    page = bytearray(b"\x40" + bytes(511))
    page[20:28] = b"\x1bS0]x;\x07 "
    page[54:66] = b"VELI\xff\x1b[D\x9b\xc2SK"
    return bytes(page)


class JsonSchema(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name
        self.write("tarnis.ini", b"PollInterval=2\n")
        self.write("hostile.bin", hostile_page())

    def write(self, name, content):
        path = os.path.join(self.folder, name)
        with open(path + ".new", "wb") as file:
            file.write(content)
        os.replace(path + ".new", path)
        return path

    def machine(self, *disks, name="machine.json"):
        nodes = [{"id": f"D{d['number']}", "service": "disk", "disks": [d["number"]]} for d in disks]
        controller = {"id": "C", "service": "storahci", "children": nodes}
        whole = {"version": 1, "modules": {}, "devices": [controller], "disks": disks}
        return self.write(name, json.dumps(whole).encode())

    def start(self, machine, *arguments):
        command = [TARNISCTL, "--json", "--machine", machine, "--config-dir", self.folder]
        command += ["--database", os.path.join(self.folder, "rows.db"), *arguments]
        return subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)

    def told(self, text, kind):
        self.assertTrue(text.isascii())
        document = json.loads(text)
        self.assertEqual(list(problems(document, kind)), [])
        return document

    def ask(self, kind, machine, *arguments, code=0):
        process = self.start(machine, *arguments)
        text = process.communicate(timeout=60)[0].decode()
        self.assertEqual(process.returncode, code, text)
        return self.told(text, kind)

    def check_null_rules(self, item):
        values = {}
        for one in item["properties"]:
            values[one["name"]] = one["value"]
            is_hidden = one["viewMask"] == 0 and one["id"] != UNIQUE_ID
            self.assertEqual(one["value"] is None, is_hidden or one["text"] in ("-", "unknown"), one)
            self.assertEqual("words" in one, one["id"] == STATUS)
            self.assertEqual("decimal" in one, one["name"].endswith("_SIZE") or one["name"] == "BYTES_WRITTEN")
            if one["value"] is None:
                self.assertIsNone(one.get("bytes"))
                self.assertIsNone(one.get("decimal"))
            elif one["unitName"] == "MEGABYTES" and one["bytes"] is not None:
                self.assertEqual(one["bytes"] >> 20, one["value"])
        if "drive" in item:
            readings = ("POWERON_HOURS", "powerOnHours"), ("REMAINING_RESERVE_SPACE", "reserveLeftPercent")
            for name, member in readings:
                self.assertEqual(values.get(name), item["drive"][member])

    def test_a_member_that_is_not_described_is_found(self):
        shown = self.ask("show", SAMPLE)
        shown["objects"][2]["drive"]["extra"] = 1
        self.assertEqual(len(list(problems(shown, "show"))), 1)
        del shown["objects"][2]["drive"]["standing"]
        self.assertGreater(len(list(problems(shown, "show"))), 2)

    def test_machines(self):
        attributes = [{"id": 194, "flags": 34, "value": 77, "worst": 77, "raw": 23}]
        odd = self.machine(
            disk(0, left=1), disk(1, faults=["identify"]), disk(2, smart={"attributes": attributes}),
            disk(3), disk(259), disk(4, identify="hostile.bin", faults=["smart_data"]), disk(5, bytes=0))
        none = self.machine(name="none.json")
        for machine in (SAMPLE,), (odd,), (none,), (none, "--plugin", SCRIPTED_PLUGIN):
            for all_of_it in (False, True):
                shown = self.ask("show", *machine, "show", *["--all"] * all_of_it)
                for item in shown["objects"]:
                    self.check_null_rules(item)
                    self.assertEqual("attributes" in item, all_of_it and "drive" in item)
        shown = self.ask("show", odd)
        verdict = {name: entries for name, entries in shown["verdict"].items() if isinstance(entries, list)}
        labels = {name: [entry["label"] for entry in entries] for name, entries in verdict.items()}
        self.assertEqual(labels["inTrouble"], ["disk0", "disk1"])
        self.assertEqual([entry["answers"] for entry in verdict["inTrouble"]], [True, False])
        self.assertEqual(labels["notJudged"], ["disk2", "disk4"])
        self.assertEqual([silent["label"] for silent in shown["silent"]], ["disk1"])
        shares = {item["label"]: item["drive"]["sharesPageWith"] for item in shown["objects"] if "drive" in item}
        self.assertEqual(shares["disk259"], "disk3")

    def test_answers_of_each_verb(self):
        machine = self.machine(disk(0), disk(1, faults=["identify"]))
        size = self.ask("propertyDocument", machine, "get", "disk0", "PHYSICAL_SIZE")
        self.assertEqual((size["value"], size["bytes"], size["decimal"]), (228936, 240057409536, "240 GB"))
        written, status = self.ask("propertyDocuments", machine, "get", "disk0", "BYTES_WRITTEN", "STATUS")
        self.assertEqual((written["bytes"], status["words"]), (7000 << 25, "free"))
        self.ask("propertyDocument", machine, "set", "plugin", "POLL_INTERVAL", "5")
        self.ask("explanation", machine, "explain", "20001")
        self.ask("explanation", machine, "explain", "--all")
        self.ask("explanation", machine, "explain", "197")
        kinds = SCHEMA["$defs"]["happening"]["properties"]["kind"]["enum"]
        for word in kinds + SCHEMA["$defs"]["standing"]["enum"] + [status["words"], "no answer"]:
            self.assertEqual(len(self.ask("explanation", machine, "explain", word)["words"]), 1, word)
        named = self.ask("show", machine, "show", "disk1", "S0")
        self.assertEqual([item["label"] for item in named["objects"]], ["disk0"])
        self.assertEqual([silent["label"] for silent in named["silent"]], ["disk1"])
        decides = {one["id"]: one["decides"] for one in named["objects"][0]["attributes"]}
        self.assertEqual((decides[233], decides[194]), (["enduranceUsed"], []))
        deciding = named["objects"][0]["drive"]["deciding"]
        self.assertEqual(deciding, {"hours": 9, "bytesWritten": 241, "enduranceUsed": 233, "reserveLeft": 232})

    def test_check(self):
        for disks, code, status in (([disk(0)], 0, "OK"), ([disk(0, left=1)], 2, "CRITICAL")):
            answer = self.ask("check", self.machine(*disks), "check", code=code)
            self.assertEqual((answer["status"], answer["exitCode"]), (status, code))
            self.assertTrue(answer["text"].startswith(f"TARNIS {status} - "))
        failed = self.ask("check", "gone.json", "check", code=3)
        self.assertIsNone(failed["verdict"])
        self.assertEqual(failed["findings"][0]["status"], "UNKNOWN")

    def test_watch(self):
        steps = [
            ([disk(6)], "added"),
            ([disk(6, faults=["identify"])], "trouble"),
            ([disk(6)], "recovered"),
            ([], "gone"),
        ]
        worn = disk(0, left=1)
        watch = self.start(self.machine(worn), "watch", "--for", "60")
        self.addCleanup(watch.wait)
        self.addCleanup(watch.stdout.close)
        self.addCleanup(watch.terminate)
        # What stands at the start is told, and by the plug-in as a reminder.
        start = self.told(watch.stdout.readline().decode(), "happening")
        self.assertEqual([one["label"] for one in start["verdict"]["inTrouble"]], ["disk0"])
        reminder = self.told(watch.stdout.readline().decode(), "happening")
        self.assertEqual((reminder["reminder"], reminder["kind"], reminder["trouble"]), (True, "reminder", True))
        for disks, kind in steps:
            self.machine(worn, *disks)
            told = {}
            while told.get("kind") != kind:
                told = self.told(watch.stdout.readline().decode(), "happening")
            self.assertEqual((told["disk"], told["device"], told["serial"]), ("disk6", None, "S6"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
