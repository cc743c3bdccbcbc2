#!/usr/bin/env python3
"""What docs.py finds wrong with a document, one fault at a time."""
import pathlib
import tempfile
import unittest

import docs

PROGRAM = "int main() {}\n"
WHOLE = "int f();\n\nint g();\nint h();\n"
FRAME = "# a read\n4F54 4E31 01   # magic, version\n01 0007\n"
HEADER = "enum Level : unsigned {\n    LEVEL_LOW = 0,   ///< = 5 below\n    LEVEL_HIGH = 10\n};\n"
README = """# Title of it

<!-- same as: program.cpp -->

```cpp
int main() {}
```

<!-- part of: whole.cpp -->

```cpp
int g();
int h();
```

<!-- bytes of: read.frame -->

```
4F 54 4E 31 | 01 | 01 | 00 07   # OTN1, version 1, read, message 7
```

<!-- values of: level.h Level -->

| code | name |
|---|---|
| 0 | `LEVEL_LOW` |
| 10 | `LEVEL_HIGH` |

<!-- files of: src -->

```
one.h  two.cpp
```

See [the program](program.cpp), [above](#title-of-it), [there](docs/more.md#2-rows-and-columns) and
[outside](https://example.org/none), or [below].

[below]: docs/more.md#files-1
"""
GUIDE = """# Overview

[More](more.md)

<!-- compiles: statements -->

```cpp
int number = 1;
```

<!-- file: lamp.yaml -->

```yaml
# Not a heading
```
"""


class Documents(unittest.TestCase):
    def faults(self, readme=README, others=None):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder).resolve()
            files = {"README.md": readme, "program.cpp": PROGRAM, "whole.cpp": WHOLE, "read.frame": FRAME,
                     "level.h": HEADER, "src/one.h": "", "src/two.cpp": "",
                     "docs/overview.md": GUIDE,
                     "docs/more.md": "## 2. Rows, and `columns`\n## Files\n## Files\n", **(others or {})}
            for name, text in files.items():
                (root / name).parent.mkdir(exist_ok=True)
                (root / name).write_text(text, encoding="utf-8")
            return docs.faults_of(root)[0]

    def expect(self, fault, readme=README, files=None):
        self.assertEqual(self.faults(readme, files), [f"README.md: {fault}"])

    def test_a_document_that_quotes_what_stands_has_none(self):
        self.assertEqual(self.faults(), [])

    def test_a_program_that_has_moved_on_is_found(self):
        self.expect("does not agree with program.cpp (same as)", files={"program.cpp": PROGRAM + "\n"})

    def test_a_part_that_is_none_is_found(self):
        for text in [WHOLE.replace("g();\n", "g();\n\n"), WHOLE.replace("h", "i"), WHOLE.replace("int g", " int g")]:
            self.expect("does not agree with whole.cpp (part of)", files={"whole.cpp": text})

    def test_other_bytes_are_found(self):
        self.expect("does not agree with read.frame (bytes of)", README.replace("00 07 ", "00 08 "))

    def test_an_enumerator_that_differs_or_is_missing_is_found(self):
        for readme in [README.replace("| 10 |", "| 11 |"), README.replace("`LEVEL_LOW`", "`LEVEL_LO`"),
                       README.replace("| 10 | `LEVEL_HIGH` |\n", "")]:
            self.expect("does not agree with level.h (values of Level)", readme)

    def test_a_file_that_is_not_named_or_no_longer_there_is_found(self):
        self.expect("does not agree with src (files of)", files={"src/three.h": ""})
        self.expect("does not agree with src (files of)", README.replace("two.cpp", "two.cpp three.cpp"))

    def test_a_quote_of_nothing_is_found(self):
        self.expect("quotes gone.cpp, which does not exist", README.replace("as: program.cpp", "as: gone.cpp"))
        self.expect("has no block to hold against read.frame", README.replace("```\n4F", "4F"))

    def test_a_link_that_leads_nowhere_is_found(self):
        self.expect("links to gone.cpp, which does not exist", README.replace("(program.cpp)", "(gone.cpp)"))
        self.expect("links to #top, and there is no such heading", README.replace("(#title-of-it)", "(#top)"))
        self.expect("links to docs/more.md#files-2, and there is no such heading", README.replace("files-1", "files-2"))
        self.expect("links to gone.md#files-1, which does not exist", README.replace("]: docs/more.md", "]: gone.md"))

    def test_a_comment_of_a_block_is_no_heading(self):
        guide = GUIDE.replace("(more.md)", "(more.md), [here](#not-a-heading)")
        self.assertEqual(self.faults(others={"docs/overview.md": guide}),
                         ["docs/overview.md: links to #not-a-heading, and there is no such heading"])

    def test_a_mark_without_meaning_or_block_is_found(self):
        for fault, guide in [("has a mark that means nothing, 'compiled'", GUIDE.replace("compiles:", "compiled:")),
                             ("has a block to compile as 'lines'", GUIDE.replace(": statements", ": lines")),
                             ("has no block behind 'file: lamp.yaml'", GUIDE.replace("```yaml\n# Not", "Not"))]:
            with self.subTest(fault):
                self.assertIn(f"docs/overview.md: {fault}", self.faults(others={"docs/overview.md": guide}))

    def test_a_block_of_a_guide_that_nothing_is_held_against_is_found(self):
        guide = GUIDE.replace("<!-- compiles: statements -->\n\n", "")
        fault = "has a block of cpp that nothing is held against: int number = 1;"
        self.assertEqual(self.faults(others={"docs/overview.md": guide}), [f"docs/overview.md: {fault}"])
        self.assertEqual(self.faults(README + "\n```cpp\nint i;\n```\n"), [])

    def test_a_guide_to_which_nothing_leads_is_found(self):
        self.assertEqual(self.faults(others={"docs/lost.md": "# Lost\n"}), ["docs/overview.md: does not lead to lost.md"])


if __name__ == "__main__":
    unittest.main()
