#!/usr/bin/env python3
"""What symbols.py takes for exported by right, and what not."""
import unittest

import symbols

HEADER = """
class LCMP_API Shelf : public Base {
    class LCMP_API Check { };
};
template <typename T>
class LCMP_API Slot {
};
LCMP_API const char* slotName(unsigned int slot);
void notExported();
"""
EXPORTED = ["Shelf::Shelf(unsigned int)", "vtable for Shelf", "typeinfo name for Shelf::Check",
            "Slot<bool>::get(bool*)", "typeinfo for Slot<bool>::Check", "slotName(unsigned int)", "non-virtual thunk to Shelf::~Shelf()"]
SCRIPT = """
# What it offers.
SHELF_0 {
  global:
    extern "C++" {
      Shelf::*; Slot*::*;  # all of them
      slotName*;
      "non-virtual thunk to Shelf::~Shelf()"; vtable?for?Shelf; typeinfo?*;
    };
  local: *;
};
"""


class Symbols(unittest.TestCase):
    def setUp(self):
        self.declared = symbols.declared_in(HEADER)

    def test_what_the_header_marks_is_declared(self):
        self.assertEqual(self.declared, {"Shelf", "Slot", "slotName"})

    def test_members_and_tables_of_marked_classes_may_be_exported(self):
        self.assertEqual(symbols.faults_of(EXPORTED, self.declared), [])

    def test_anything_else_may_not(self):
        for stranger in ["std::vector<int, std::allocator<int> >::~vector()", "lcmpdetail::writeLog(char const*)",
                         "typeinfo for boost::any", "vtable for Shelves", "notExported()", "g_state",
                         "(anonymous namespace)::table", "void std::swap<Shelf>(Shelf&, Shelf&)"]:
            with self.subTest(stranger):
                self.assertEqual(len(symbols.faults_of(EXPORTED + [stranger], self.declared)), 1)

    def test_a_marked_name_that_is_not_exported_is_found(self):
        self.assertEqual(symbols.faults_of(EXPORTED[:-2], self.declared),
                         ["marked LCMP_API, but not exported: slotName"])

    def test_the_version_script_names_what_is_exported(self):
        self.assertEqual(symbols.faults_of_script(EXPORTED, {"SHELF_0"}, symbols.script_of(SCRIPT)), [])

    def test_what_it_does_not_name_is_found(self):
        script = symbols.script_of(SCRIPT.replace("slotName*;", ""))
        self.assertEqual(symbols.faults_of_script(EXPORTED, {"SHELF_0"}, script),
                         ["exported, but not named in the version script: slotName(unsigned int)"])

    def test_what_it_names_in_vain_is_found(self):
        script = symbols.script_of(SCRIPT.replace("local", "Rack::*; local"))
        self.assertEqual(symbols.faults_of_script(EXPORTED, {"SHELF_0"}, script),
                         ["named in the version script, but nothing of it is exported: Rack::*"])

    def test_another_version_and_none_are_found(self):
        faults = symbols.faults_of_script(EXPORTED, {"SHELF_0", "SHELF_1", ""}, symbols.script_of(SCRIPT))
        self.assertEqual(faults, ["exported with version none, not SHELF_0", "exported with version SHELF_1, not SHELF_0"])


if __name__ == "__main__":
    unittest.main()
