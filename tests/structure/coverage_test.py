#!/usr/bin/env python3
"""How scripts/coverage judges what was measured.

usage: coverage_test.py ROOT
"""
import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import sys
import unittest


def script(root):
    loader = importlib.machinery.SourceFileLoader("coverage_script", str(root / "scripts/coverage"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("coverage_script", loader))
    loader.exec_module(module)
    return module


def measured(name, lines, branches):
    """A file of 100 lines and 100 branches, and how many of them were reached"""
    return {"filename": name, "line_covered": lines, "line_total": 100, "branch_covered": branches,
            "branch_total": 100}


class Coverage(unittest.TestCase):
    def faults(self, library=(95, 90), codec=(100, 90), transport=(95, 90)):
        files = [measured("components/lcmp/lcmpObjects.cpp", *library),
                 measured("components/lcmp/lcmpTlv.cpp", *codec),
                 measured("components/lcmpudp/lcmpUdpEndpoint.cpp", *transport)]
        with contextlib.redirect_stdout(io.StringIO()):
            return coverage.faults_of(files, coverage.GROUPS)

    def test_what_is_asked_for_suffices(self):
        self.assertEqual(self.faults(), [])

    def test_one_line_or_branch_too_few_is_found(self):
        self.assertIn("library: 94.50 % of the lines", self.faults(library=(89, 90))[0])
        self.assertIn("library: 89.50 % of the branches", self.faults(library=(95, 89))[0])
        self.assertIn("transport: 94.00 % of the lines", self.faults(transport=(94, 90))[0])
        self.assertEqual(len(self.faults(codec=(99, 90))), 1)

    def test_of_the_codec_every_line_is_asked_for(self):
        self.assertIn("codec and framing: 99.00 % of the lines, and 100 %", self.faults(codec=(99, 90))[0])

    def test_where_nothing_was_measured_nothing_passes(self):
        with contextlib.redirect_stdout(io.StringIO()):
            self.assertEqual(len(coverage.faults_of([], coverage.GROUPS)), len(coverage.GROUPS))


if __name__ == "__main__":
    coverage = script(pathlib.Path(sys.argv[1]))
    unittest.main(argv=sys.argv[:1])
