#!/usr/bin/env python3
"""What options.py finds missing on a page about a program of two verbs."""
import pathlib
import sys
import tempfile
import unittest

import options

LCMP = f"""#!{sys.executable}
import sys
text = {{
    "": "Usage: lcmp\\n\\nOptions:\\n  -h,--help  Help\\n\\nSubcommands:\\n  get    Reads\\n  model  Models\\n\\nExit status\\n",
    "get": "Options:\\n  -h,--help  Help\\n  -o,--output FORMAT  How\\n  --model FILE  Which\\n",
    "model": "Subcommands:\\n  lint  Says\\n",
    "model lint": "Options:\\n  --to DIR=.\\n",
}}
print(text[" ".join(sys.argv[1:-1])])
"""
PAGE = """# The command line

## For all verbs

`-o FORMAT` is `--output FORMAT`, and `--model FILE` is for all.

## get

Reads.

## model

`--to DIR` says where to.
"""


class Page(unittest.TestCase):
    def faults(self, page=PAGE, program=LCMP):
        with tempfile.TemporaryDirectory() as folder:
            lcmp = pathlib.Path(folder) / "lcmp"
            lcmp.write_text(program)
            lcmp.chmod(0o755)
            return options.faults_of(page, str(lcmp))

    def test_a_page_that_tells_all_has_none(self):
        self.assertEqual(self.faults(), [])

    def test_a_verb_without_a_section_is_found(self):
        self.assertEqual(self.faults(PAGE.replace("## get", "## Get")), ["has no section 'get'"])

    def test_an_option_that_is_not_told_of_is_found(self):
        self.assertEqual(self.faults(PAGE.replace("--output", "--output-file")), ["does not tell of get --output"])
        self.assertEqual(self.faults(PAGE.replace("--to ", "to ")), ["does not tell of model --to"])

    def test_an_option_that_is_told_of_at_another_verb_is_found(self):
        page = PAGE.replace("`--to DIR` says", "It says").replace("Reads.", "Reads `--to DIR`.")
        self.assertEqual(self.faults(page), ["does not tell of model --to"])

    def test_a_program_without_verbs_does_not_pass(self):
        self.assertEqual(self.faults(program=LCMP.replace("Subcommands", "Verbs")), ["the program has no verbs"])


if __name__ == "__main__":
    unittest.main()
