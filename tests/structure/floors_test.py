#!/usr/bin/env python3
"""Plants what floors.py is there to find, one violation at a time, in a small house that is otherwise in order."""
import pathlib
import tempfile
import unittest

import floors

HOUSE = {
    "components/platform/traceObject.h": "#pragma once\n",
    "components/lcmp/lcmpExport.h": "#pragma once\n",
    "components/lcmp/detail/log.h": "#include <syslog.h>\n#include \"traceObject.h\"\n",
    "components/lcmp/detail/bytes.h": "#include <cstdint>\n",
    "components/lcmp/detail/walk.h": "#include \"bytes.h\"\n",
    "components/lcmp/lcmpTlv.h": "#include <string>\n#include \"lcmpExport.h\"\n",
    "components/lcmp/lcmpTlv.cpp": "#include \"lcmpTlv.h\"\n#include \"detail/bytes.h\"\n#include \"detail/log.h\"\n",
    "components/lcmp/lcmpResult.h": "#include \"lcmpExport.h\"\n",
    "components/lcmp/lcmpPropertyBase.h": "#include \"lcmpTlv.h\"\nclass LcmpObject;\n",
    "components/lcmp/lcmpPropertyBase.cpp": "#include \"lcmpPropertyBase.h\"\n#include \"lcmpObjects.h\"\n",
    "components/lcmp/lcmpTextProperty.h": "#include \"lcmpPropertyBase.h\"\n",
    "components/lcmp/lcmpNumericProperty.h": "#include \"lcmpPropertyBase.h\"\n",
    "components/lcmp/lcmpProperty.h": "#include \"lcmpNumericProperty.h\"\n#include \"lcmpTextProperty.h\"\n",
    "components/lcmp/lcmpObjects.h": "class LcmpProperty;\n",
    "components/lcmp/lcmpmsg.h": "#include \"lcmpTlv.h\"\n#include \"lcmpResult.h\"\nclass LcmpProtocolBase;\n",
    "components/lcmp/lcmpmsg.cpp": "#include \"lcmpmsg.h\"\n#include \"lcmpProtocolBase.h\"\n",
    "components/lcmp/lcmpProtocolBase.h": "#include \"lcmpmsg.h\"\n#include \"lcmpObjects.h\"\n",
    "components/lcmp/lcmpServing.cpp": "#include \"lcmpProtocolBase.h\"\n#include \"detail/walk.h\"\n",
    "components/lcmpudp/lcmpUdpAddress.h": "#include \"lcmpExport.h\"\n",
    "components/lcmpudp/lcmpUdpEndpoint.h": "#include \"lcmpProtocolBase.h\"\n#include \"lcmpUdpAddress.h\"\n",
    "components/lcmpudp/lcmpUdpEndpoint.cpp": "#include \"lcmpUdpEndpoint.h\"\n#include <sys/socket.h>\n",
    "components/lcmpudp/detail/udpSocket.h": "#include <sys/socket.h>\n",
    "components/lcmpmodel/lcmpModel.h": "#include \"lcmpProperty.h\"\n",
    "tools/lcmp/main.cpp": "#include <CLI/CLI.hpp>\n#include \"lcmpUdpEndpoint.h\"\n#include \"lcmpModel.h\"\n",
    "examples/smallest_card.cpp": "#include \"lcmpProtocolBase.h\"\n",
    "tests/lcmp/tlvTest.cpp": "#include <gtest/gtest.h>\n#include \"lcmpTlv.h\"\n",
}

BESIDE = "which stands in another room of the same floor"


class House(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        for path, text in HOUSE.items():
            self.write(path, text)

    def write(self, path, text):
        (self.root / path).parent.mkdir(parents=True, exist_ok=True)
        (self.root / path).write_text(text, encoding="utf-8")

    def plant(self, path, line):
        """Adds a line at the end of a file, which may be new, and returns the faults."""
        self.write(path, HOUSE.get(path, "") + line + "\n")
        return floors.faults_of(self.root)[0]

    def expect_found(self, path, line, fault):
        number = HOUSE.get(path, "").count("\n") + 1
        self.assertEqual(self.plant(path, line), [f"{path}:{number}: {fault}"])

    def test_a_house_in_order_has_no_faults(self):
        self.assertEqual(floors.faults_of(self.root), ([], len(HOUSE)))

    def test_a_header_that_looks_up_is_found(self):
        for path, line, included in [
            ("components/lcmp/lcmpTlv.h", '#include "lcmpmsg.h"', "components/lcmp/lcmpmsg.h"),
            ("components/lcmp/lcmpPropertyBase.h", '#include "lcmpObjects.h"', "components/lcmp/lcmpObjects.h"),
            ("components/lcmp/lcmpmsg.h", '#include "lcmpProtocolBase.h"', "components/lcmp/lcmpProtocolBase.h"),
            ("components/lcmp/detail/bytes.h", '#include "../lcmpTlv.h"', "components/lcmp/lcmpTlv.h"),
            ("components/platform/traceObject.h", '  #  include "lcmpTlv.h"', "components/lcmp/lcmpTlv.h"),
            ("components/lcmpudp/lcmpUdpEndpoint.h", '#include "../../tools/lcmp/main.cpp"', "tools/lcmp/main.cpp"),
        ]:
            with self.subTest(path=path):
                self.expect_found(path, line, f"includes {included}, which stands above it")
                self.write(path, HOUSE[path])

    def test_a_source_that_looks_up_without_being_an_exception_is_found(self):
        self.expect_found("components/lcmp/lcmpTlv.cpp", "#include <lcmpPropertyBase.h>",
                          "includes components/lcmp/lcmpPropertyBase.h, which stands above it")
        self.write("components/lcmp/lcmpTlv.cpp", HOUSE["components/lcmp/lcmpTlv.cpp"])
        self.expect_found("components/lcmp/lcmpPropertyBase.cpp", '#include "lcmpmsg.h"',
                          "includes components/lcmp/lcmpmsg.h, which stands above it")

    def test_an_exception_that_is_no_longer_used_is_found(self):
        self.write("components/lcmp/lcmpmsg.cpp", '#include "lcmpmsg.h"\n')
        self.assertIn("no longer looks up", floors.faults_of(self.root)[0][0])

    def test_neighbours_of_one_floor_do_not_include_each_other(self):
        self.expect_found("components/lcmp/lcmpTextProperty.h", '#include "lcmpNumericProperty.h"',
                          f"includes components/lcmp/lcmpNumericProperty.h, {BESIDE}")
        self.write("components/lcmp/lcmpTextProperty.h", HOUSE["components/lcmp/lcmpTextProperty.h"])
        self.expect_found("components/lcmpmodel/lcmpModel.h", '#include "lcmpUdpEndpoint.h"',
                          f"includes components/lcmpudp/lcmpUdpEndpoint.h, {BESIDE}")

    def test_detail_in_a_public_header_is_found(self):
        self.expect_found("components/lcmp/lcmpmsg.h", '#include "detail/bytes.h"',
                          "includes components/lcmp/detail/bytes.h, which is not installed, from a public header")

    def test_detail_outside_the_library_is_found(self):
        for path in ["components/lcmpudp/lcmpUdpEndpoint.cpp", "tools/lcmp/main.cpp", "tests/lcmp/tlvTest.cpp"]:
            with self.subTest(path=path):
                self.expect_found(path, '#include "detail/bytes.h"',
                                  "includes components/lcmp/detail/bytes.h, which only the library's own sources see")
                self.write(path, HOUSE[path])
        self.expect_found("tools/lcmp/main.cpp", '#include "../../components/lcmpudp/detail/udpSocket.h"',
                          "includes components/lcmpudp/detail/udpSocket.h, which only the library's own sources see")

    def test_input_output_and_threads_in_the_library_are_found(self):
        for header in ["thread", "sys/socket.h", "fstream", "netinet/in.h"]:
            with self.subTest(header=header):
                self.expect_found("components/lcmp/lcmpServing.cpp", f"#include <{header}>",
                                  f"includes <{header}>: the library does no I/O and starts no threads")

    def test_a_file_without_a_floor_is_found(self):
        faults = self.plant("components/lcmp/lcmpNewIdea.cpp", '#include "lcmpTlv.h"')
        self.assertEqual(len(faults), 1)
        self.assertIn("components/lcmp/lcmpNewIdea.cpp: has no floor", faults[0])

    def test_an_include_that_cannot_be_read_or_resolved_is_found(self):
        self.expect_found("examples/smallest_card.cpp", "#include WHAT",
                          "includes by a macro, which cannot be held against the floors")
        self.expect_found("examples/smallest_card.cpp", '#include "CLI/CLI.hpp"',
                          'includes "CLI/CLI.hpp", which is no file of the project: write it with <>')


if __name__ == "__main__":
    unittest.main()
