#!/usr/bin/env python3
"""scripts/abi on a copy of the tree, with changes planted that break programs, and one that breaks none.

usage: abi_test.py ROOT
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path()
ENDPOINT = "components/lcmpudp/lcmpUdpEndpoint.h"
SCRIPT = "components/lcmpudp/lcmpudp.map"


class Abi(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.tree = pathlib.Path(folder.name) / "a tree"
        for place in ["CMakeLists.txt", "cmake", "components", "docs", "examples", "models", "scripts/abi",
                      "tests/abi", "tests/structure/symbols.py", "tools/wireshark"]:
            (cls.tree / place).parent.mkdir(parents=True, exist_ok=True)
            (shutil.copytree if (ROOT / place).is_dir() else shutil.copy)(ROOT / place, cls.tree / place)

    def abi(self, *arguments):
        """(exit status, what it printed); with the compiler's cache, which would know the tree by its path"""
        done = subprocess.run(
            [self.tree / "scripts/abi", "--machine", "amd64", *arguments],
            capture_output=True, text=True, check=False,
            env={**os.environ, "CCACHE_BASEDIR": str(self.tree), "CCACHE_NOHASHDIR": "1"})
        return done.returncode, done.stdout + done.stderr

    def plant(self, file, text, replacement):
        path = self.tree / file
        was = path.read_text()
        self.assertIn(text, was)
        path.write_text(was.replace(text, replacement, 1))
        self.addCleanup(path.write_text, was)

    def test_what_stands_passes(self):
        status, printed = self.abi()
        self.assertEqual(status, 0, printed)
        self.assertRegex(printed, r"\ncount: 3 libraries\n$")

    def test_another_virtual_operation_breaks_programs(self):
        self.plant(ENDPOINT, "    virtual void frameReceived",
                   "    virtual void planted() {}\n    virtual void frameReceived")
        status, printed = self.abi()
        self.assertEqual(status, 1, printed)
        self.assertRegex(printed, r"insertion|vtable")
        self.assertRegex(printed, "may break.*scripts/abi --renew, raise the SOVERSION")

    def test_a_name_that_is_gone_breaks_programs(self):
        self.plant(SCRIPT, "lcmpUdp*;", "lcmpUdpParseHost*;")
        status, printed = self.abi()
        self.assertEqual(status, 1, printed)
        self.assertRegex(printed, r"\[D\] .*lcmpUdp")
        self.assertRegex(printed, "may break.*scripts/abi --renew, raise the SOVERSION")

    def test_another_field_of_a_model_breaks_programs(self):
        self.plant("components/lcmpmodel/lcmpModel.h", "    std::string unit;",
                   "    int planted = 0;\n    std::string unit;")
        status, printed = self.abi()
        self.assertEqual(status, 1, printed)
        self.assertRegex(printed, "amd64 of liblcmpmodel differs(?s:.)*LcmpModelVariable(?s:.)*may break")

    def test_another_function_breaks_none_and_is_described_anew(self):
        self.plant("components/lcmpudp/lcmpUdpAddress.h", "LCMP_API bool lcmpUdpParseHost",
                   "LCMP_API bool lcmpUdpPlanted();\nLCMP_API bool lcmpUdpParseHost")
        self.plant("components/lcmpudp/lcmpUdpAddress.cpp", "\nbool lcmpUdpParseHost",
                   "\nbool lcmpUdpPlanted() { return true; }\n\nbool lcmpUdpParseHost")
        status, printed = self.abi()
        self.assertEqual(status, 1, printed)
        self.assertIn("go on working", printed)
        described = self.tree / "tests/abi/amd64"
        shutil.copytree(described, self.tree / "was")
        self.addCleanup(lambda: (shutil.rmtree(described), shutil.move(self.tree / "was", described)))
        self.assertEqual(self.abi("--renew")[0], 0)
        self.assertEqual(self.abi()[0], 0)


if __name__ == "__main__":
    ROOT = pathlib.Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
