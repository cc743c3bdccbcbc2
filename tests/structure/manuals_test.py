#!/usr/bin/env python3
"""What manuals.py makes of pages that are right and wrong about a program of two verbs."""
import pathlib
import sys
import tempfile
import unittest

import manuals

LCMP = f"""#!{sys.executable}
import signal, sys, time
HELP = {{
    (): "Subcommands:\\n  card    serves\\n  ask     asks\\n\\n",
    ("ask",): "  -o,--output FORMAT\\n     How\\n  --model FILE (Env:LCMP_MODEL)\\n\\nSubcommands:\\n  again   asks\\n\\n",
    ("ask", "again"): "  --twice   Two\\n",
}}
words = tuple(sys.argv[1:])
if "--help" in words:
    print("Options:\\n  -h,--help\\n\\n" + HELP[words[:-1]])
elif words[0] == "card":
    signal.signal(signal.SIGINT, lambda *_: sys.exit(0))
    print("listening on 127.0.0.1:4000", flush=True)
    time.sleep(60)
else:
    print("asked", words[1], "in 0.25 ms, id 7, at 2020-01-02T03:04:05.678901Z")
"""
PROGRAM = """# OPTIONS

*-h*, *--help*
	What there is.

*lcmp-card*(1), *lcmp-ask*(1)
"""
ASK = """# OPTIONS

*-h*, *--help*
	What there is.

*-o*, *--output* _FORMAT_
	Unless given, text; not with *--other*.

*--model* _FILE_
	Or *LCMP_MODEL*.

*--twice*
	Two.

# EXAMPLES

```
$ lcmp ask 127.0.0.1
asked 127.0.0.1 in 3 ms, id 88, at 2026-11-21T07:03:19.560686Z
```

```
no example: this
```
"""


class Manuals(unittest.TestCase):
    def faults(self, name, page):
        with tempfile.TemporaryDirectory() as folder:
            lcmp = pathlib.Path(folder) / "lcmp"
            lcmp.write_text(LCMP)
            lcmp.chmod(0o755)
            file = pathlib.Path(folder) / name
            file.write_text(page)
            (pathlib.Path(folder) / "models").mkdir()
            return list(manuals.faults_of(file, str(lcmp), pathlib.Path(folder) / "models"))

    def test_true_pages_have_no_faults(self):
        self.assertEqual(self.faults("lcmp.1.scd", PROGRAM), [])
        self.assertEqual(self.faults("lcmp-ask.1.scd", ASK), [])

    def test_options_that_are_missing_and_invented_are_faults(self):
        for right, wrong, fault in [
                ("*-o*, *--output*", "*-o*", "does not describe --output"), ("*--twice*", "*--thrice*", "does not describe --twice"),
                ("*--twice*", "*--thrice*", "describes --thrice, which there is not"), ("*-h*, ", "*-H*, ", "describes -H, which there is not"),
                ("*LCMP_MODEL*", "the environment", "does not name LCMP_MODEL")]:
            with self.subTest(wrong):
                self.assertIn(fault, self.faults("lcmp-ask.1.scd", ASK.replace(right, wrong)))

    def test_a_verb_without_its_page_is_a_fault(self):
        self.assertEqual(self.faults("lcmp.1.scd", PROGRAM.replace("ask", "oid")), ["does not name lcmp-ask(1)"])

    def test_another_output_is_a_fault_that_shows_it(self):
        for right, wrong in [("asked 127.0.0.1", "asked 127.0.0.2"), (", id", ", ids"), ("3 ms", "3 s"), (" at 2026", " 2026")]:
            with self.subTest(wrong):
                faults = self.faults("lcmp-ask.1.scd", ASK.replace(right, wrong))
                self.assertEqual(len(faults), 1)
                self.assertRegex(faults[0], r"^\$ lcmp ask 127.0.0.1\nasked 127.0.0.1 in 0.25 ms, id 7, at TIME$")

    def test_pages_of_files_are_not_compared_with_verbs(self):
        self.assertEqual(self.faults("lcmp-model.5.scd", "# NAME\n"), [])


if __name__ == "__main__":
    unittest.main()
