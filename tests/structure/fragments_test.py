#!/usr/bin/env python3
"""What fragments.py makes of blocks that compile and of such that do not.

usage: fragments_test.py INCLUDE_FOLDERS COMPILER FLAG...
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

import fragments

ARGUMENTS = sys.argv[1:]
DOCUMENT = """# Of a library

<!-- compiles: statements -->

```cpp
const int handled = endpoint.poll(std::chrono::milliseconds(0));
std::cout << handled << object.getName() << property.getOid();
```

<!-- compiles: declarations -->

```cpp
class Card : public LcmpUdpEndpoint {};
```

```cpp
this is not looked at
```
"""


class Fragments(unittest.TestCase):
    def run_on(self, text):
        with tempfile.TemporaryDirectory() as folder:
            document = pathlib.Path(folder) / "page.md"
            document.write_text(text)
            program = pathlib.Path(fragments.__file__)
            return subprocess.run([sys.executable, str(program), str(document), "--", *ARGUMENTS],
                                  capture_output=True, text=True, check=False)

    def test_blocks_that_compile_are_counted(self):
        done = self.run_on(DOCUMENT)
        self.assertEqual((done.returncode, done.stdout), (0, "2 fragments of documents\n"), done.stderr)

    def test_a_fault_is_found_at_its_line(self):
        for right, wrong, line in [("object.getName()", "object.name()", 7), ("LcmpUdpEndpoint {}", "LcmpEndpoint {}", 13),
                                   ("std::cout <<", "const int unused = 1;\nstd::cout <<", 7)]:
            with self.subTest(wrong):
                done = self.run_on(DOCUMENT.replace(right, wrong))
                self.assertEqual(done.returncode, 1)
                self.assertIn(f"page.md:{line}:", done.stderr)

    def test_documents_without_fragments_do_not_pass(self):
        self.assertEqual(self.run_on(DOCUMENT.replace("compiles:", "contains:")).returncode, 1)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
