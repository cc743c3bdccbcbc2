#!/usr/bin/env python3
"""What the reference's filter makes of a header's comments.

usage: reference_test.py ROOT
"""
import importlib.util
import pathlib
import sys
import unittest

HEADER = """// A lamp, and what it
//    is     made of.
#pragma once

class Lamp;

// Reads and writes.
//
// Once for all.
void read(int count,
          int at);
void write();
/// Tells for itself.
void close();

void open();

// ---------------------------------------------------------------- sizes

constexpr int small = 1;   // bytes
constexpr int large = 2;

class Lamp {
public:
    // What it was made with.
    Lamp(const Lamp&) = delete;
    int size() const { return 1; }
    const char* url() const { return "http://none"; }

private:
    int m_size;  // in bytes
};
"""


class Filter(unittest.TestCase):
    def setUp(self):
        self.lines = FILTER.filtered(HEADER).splitlines()

    def line_with(self, text):
        return next(line for line in self.lines if text in line)

    def test_lines_keep_their_numbers(self):
        self.assertEqual(len(self.lines), len(HEADER.splitlines()))
        self.assertEqual(self.lines.index("void open();"), HEADER.splitlines().index("void open();"))

    def test_the_first_comment_is_about_the_file_and_drawings_stay(self):
        self.assertEqual(self.lines[:3], ["/// A lamp, and what it", "///        is     made of.", "/// @file"])

    def test_a_comment_is_said_of_all_up_to_the_next_empty_line(self):
        said = "/** Reads and writes.  Once for all. */ "
        self.assertEqual(self.line_with("read("), said + "void read(int count,")
        self.assertEqual(self.line_with("int at"), "          int at);")
        self.assertEqual(self.line_with("write("), said + "void write();")

    def test_it_is_not_said_of_others(self):
        for text in ["void close();", "void open();", "constexpr int large = 2;", "class Lamp {", "class Lamp;",
                     "private:"]:
            self.assertEqual(self.line_with(text), text)

    def test_a_comment_behind_a_declaration_is_the_declarations(self):
        self.assertEqual(self.line_with("small"), "constexpr int small = 1; ///< bytes")
        self.assertEqual(self.line_with("m_size;"), "    int m_size; ///< in bytes")

    def test_deleted_functions_are_left_out(self):
        self.assertNotIn("delete", "".join(self.lines))
        self.assertEqual(self.line_with("size()"), "    /** What it was made with. */ int size() const { return 1; }")

    def test_two_slashes_of_a_text_are_no_comment(self):
        self.assertIn('"http://none"', self.line_with("url()"))


if __name__ == "__main__":
    SPEC = importlib.util.spec_from_file_location("filter", pathlib.Path(sys.argv[1]) / "docs/reference/filter.py")
    FILTER = importlib.util.module_from_spec(SPEC)
    SPEC.loader.exec_module(FILTER)
    unittest.main(argv=sys.argv[:1])
