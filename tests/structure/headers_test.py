#!/usr/bin/env python3
"""Plants headers that headers.py is there to refuse.

usage: headers_test.py INCLUDE_FOLDERS COMPILER FLAG...
"""
import pathlib
import sys
import tempfile
import unittest

import headers

COMMAND = []
GOOD = ("#pragma once\n#include <string>\nenum Level { LOW = 1, HIGH };  // not RISING\n"
        "inline std::string f() { return {}; }\n")


class Header(unittest.TestCase):
    def check(self, *texts, beside=""):
        """Checks headers of these texts in a folder that also has a file beside.inc."""
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "beside.inc").write_text(beside)
            paths = [pathlib.Path(folder) / f"header{number}.h" for number in range(len(texts))]
            for path, text in zip(paths, texts):
                path.write_text(text)
            return headers.check(paths, COMMAND)

    def test_a_good_header_passes(self):
        self.assertTrue(self.check(GOOD))

    def test_one_that_needs_another_include_before_it_is_refused(self):
        self.assertFalse(self.check("#pragma once\ninline std::string f() { return {}; }\n"))

    def test_one_that_cannot_be_included_twice_is_refused(self):
        self.assertFalse(self.check("inline int f() { return 0; }\n"))

    def test_one_with_a_warning_is_refused(self):
        self.assertFalse(self.check("#pragma once\ninline char f(int value) { return value; }\n"))
        self.assertFalse(self.check("#pragma once\ninline void f(int unused) {}\n"))

    def test_one_that_lets_a_macro_of_syslog_out_is_refused(self):
        self.assertFalse(self.check("#pragma once\n#include <syslog.h>\n"))

    def test_one_whose_enumerator_is_a_macro_behind_it_is_refused(self):
        header = GOOD + '#include "beside.inc"\n'
        self.assertTrue(self.check(header, beside="#define RISING 1\n"))
        self.assertFalse(self.check(header, beside="#define HIGH 2\n"))

    def test_one_with_a_macro_of_a_common_name_is_refused(self):
        self.assertFalse(self.check(GOOD + "#define MAX_ROWS 7\n"))
        self.assertTrue(self.check(GOOD + "#define LCMP_MAX_ROWS 7\n"))

    def test_two_that_stand_each_other_in_the_way_are_refused(self):
        self.assertTrue(self.check(GOOD, "#pragma once\ninline int g() { return 0; }\n"))
        self.assertFalse(self.check(GOOD, "#pragma once\nenum Other { HIGH };\n"))


if __name__ == "__main__":
    COMMAND = headers.command_of(sys.argv[1:])
    unittest.main(argv=sys.argv[:1])
