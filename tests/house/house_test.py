#!/usr/bin/env python3
"""Tests of house.py, on small trees made here."""

import os
import tempfile
import unittest

import house


def tree(folder, files):
    for path, text in files.items():
        path = os.path.join(folder, path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)


class House(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = scratch.name

    def test_arrows(self):
        targets = ("base/A.h", "vocabulary/A.h", "contracts/A.h", "database/A.h", "platform/A.h", "host/A.h",
                   "libraries/A.h", "libraries/zelKit/A.h", "libraries/zelPlug/A.h",
                   "tarnis/Src/A.h", "tests/A.h")
        tree(self.root, {path: "" for path in targets})
        cases = {
            "base/X.h": {"base/A.h"},
            "vocabulary/x.inc": {"base/A.h", "vocabulary/A.h"},
            "contracts/zelKit/X.h": {"base/A.h", "vocabulary/A.h", "contracts/A.h"},
            "database/X.cpp": {"base/A.h", "contracts/A.h", "database/A.h"},
            "platform/linux/X.cpp": {"base/A.h", "vocabulary/A.h", "contracts/A.h", "platform/A.h"},
            "tarnis/Src/tarnis/X.cpp": {"base/A.h", "vocabulary/A.h", "contracts/A.h", "database/A.h",
                                        "platform/A.h", "tarnis/Src/A.h"},
            "libraries/zelKit/X.cpp": {"base/A.h", "vocabulary/A.h", "contracts/A.h", "database/A.h",
                                       "platform/A.h", "libraries/A.h", "libraries/zelKit/A.h"},
            "host/X.cpp": {"base/A.h", "vocabulary/A.h", "contracts/A.h", "host/A.h"},
            "tests/host/X.cpp": set(targets),
        }
        for path, allowed in cases.items():
            for target in targets:
                for form in (f'#include "{target}"', f"  # include <{target}>"):
                    with self.subTest(path=path, form=form):
                        tree(self.root, {path: f"#pragma once\n{form}\n"})
                        told = list(house.check_includes(self.root))
                        refused = [f"{path}:2: {house.room_of(path)} must not include {target}"]
                        self.assertEqual(told, [] if target in allowed else refused)
            os.unlink(os.path.join(self.root, path))

    def test_a_neighbour_is_found_before_the_root_and_a_missing_file_is_told(self):
        tree(self.root, {"host/Names.h": "", "host/X.cpp": '#include "Names.h"\n#include "No.h"\n'
                         '#include "../platform/A.h"\n#include <vector>\n', "platform/A.h": ""})
        self.assertEqual(list(house.check_includes(self.root)), [
            "host/X.cpp:2: there is no No.h",
            "host/X.cpp:3: host must not include platform/A.h",
        ])

    def test_sources(self):
        tree(self.root, {
            "host/CMakeLists.txt": "add_executable(h A.cpp # C.cpp\n"
                                   "  ${PROJECT_SOURCE_DIR}/tests/support/B.cpp sub/D.cpp)\n",
            "host/README.md": "", "host/A.cpp": "", "host/C.cpp": "", "host/sub/D.cpp": "",
            "tests/support/README.md": "", "tests/support/B.cpp": "", "build/x/E.cpp": "",
        })
        self.assertEqual(list(house.check_sources(self.root)), [
            "host/C.cpp: no CMakeLists.txt names it",
            "host/sub: holds sources and has no README.md",
        ])


if __name__ == "__main__":
    unittest.main()
