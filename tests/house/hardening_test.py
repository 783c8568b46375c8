#!/usr/bin/env python3
"""Takes each protection away from a small program and looks whether hardening.py misses it.

    hardening_test.py COMPILER
"""

import os
import platform
import subprocess
import sys
import tempfile
import unittest

import hardening

PROGRAM = """
#include <cstdio>
#include <vector>
template <int N> [[gnu::used, gnu::noinline]] int Place(int n)
{
    if constexpr (N > 0)
        return Place<N - 1>(n * N) + N;
    return n;
}
int main(int count, char** words)
{
    char text[8];
    std::printf("%s %d", words[0], Place<20>(count));
    std::snprintf(text, sizeof text, "%s", words[0]);
    std::vector<char> letters(text, text + 8);
    return letters[static_cast<unsigned>(count)];
}
"""
# Each protection, how it is taken away, and what is told then.
FLAGS = (
    ("-fstack-protector-strong", "-fno-stack-protector", "does not check its stack"),
    ("-D_GLIBCXX_ASSERTIONS", "-U_GLIBCXX_ASSERTIONS", "does not check its containers"),
    ("-D_FORTIFY_SOURCE=2", "-U_FORTIFY_SOURCE", "formats texts without checks"),
    ("-pie", "-no-pie", "is a program at a fixed address"),
    ("-Wl,-z,relro", "-Wl,-z,norelro", "has no GNU_RELRO"),
    ("-Wl,-z,now", "-Wl,-z,lazy", "does not bind at its start"),
    ("-Wl,-z,noexecstack", "-Wl,-z,execstack", "has a stack that can be run"),
    ("-Wl,-rpath,$ORIGIN", "-Wl,-rpath,$ORIGIN:/build", "looks for libraries in $ORIGIN:/build"),
)
if platform.machine() == "x86_64":
    FLAGS += (("-fcf-protection", "-fcf-protection=none", "has no marked places to jump to"),)


class Hardening(unittest.TestCase):
    def test_each_protection_is_missed(self):
        for gone in (None, *FLAGS):
            with self.subTest(gone=gone), tempfile.TemporaryDirectory() as folder:
                flags = [flag[1] if flag is gone else flag[0] for flag in FLAGS]
                subprocess.run([compiler, "-O2", "-fPIE", "-w", "-U_FORTIFY_SOURCE", *flags, "-x",
                                "c++", "-", "-o", f"{folder}/p"],
                               input=PROGRAM, text=True, check=True)
                told = list(hardening.check(folder, ["p"]))
                self.assertEqual(told, [f"p: {gone[2]}"] if gone else [])

    def test_a_missing_file_is_told(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(list(hardening.check(folder, ["p"])), ["p: is not there"])


if __name__ == "__main__":
    compiler = sys.argv.pop()
    unittest.main()
