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


if __name__ == "__main__":
    unittest.main()
