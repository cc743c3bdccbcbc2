#!/usr/bin/env python3
"""What session.py makes of documents that are right and wrong about a program of three verbs."""
import pathlib
import sys
import tempfile
import unittest

import session

LCMP = f"""#!{sys.executable}
import signal, sys, time
verb, port = sys.argv[1], {{"watch": 4001, "card": 4000}}.get(sys.argv[1])
if port:
    signal.signal(signal.SIGINT, lambda *_: (print("the last word " * 9999, flush=True), sys.exit(0)))
    print("listening on " + sys.argv[sys.argv.index("--listen") + 1], flush=True)
    for event in ["noise 1", "alarm true"] if verb == "watch" else []:
        print("2020-01-02T03:04:05.678901Z 127.0.0.1:4000", event, flush=True)
    time.sleep(60)
print("asked", sys.argv[2])
sys.exit(4)
"""
DOCUMENT = """# Of a program

## A first session

```console
$ lcmp card --events-to 127.0.0.1:17471
listening on 127.0.0.1:17470
```

```console
$ lcmp get 127.0.0.1; echo $?
asked 127.0.0.1
4
$ lcmp watch --listen 127.0.0.1:17471 | grep 'alar.'
listening on 127.0.0.1:17471
2026-11-21T07:03:19.560686Z 127.0.0.1:4000 alarm true
```

## A second one

<!-- file: lamp.yaml -->

```yaml
card: lamp
```

```sh
## no heading
mkdir lamps && cd lamps
export LAMP=../lamp.yaml
```

```console
$ printf '%s\\n' 1 2 3 4; cat "$LAMP"
1
...
4
card: lamp
```

## Nothing

```
$ false
```
"""


class Sessions(unittest.TestCase):
    def differences(self, document=DOCUMENT, program=LCMP, root=None):
        with tempfile.TemporaryDirectory() as folder:
            lcmp = pathlib.Path(folder) / "lcmp"
            lcmp.write_text(program)
            lcmp.chmod(0o755)
            return session.differences(document, [str(lcmp)], root)

    def test_true_sessions_have_no_differences(self):
        self.assertEqual(self.differences(), [])

    def test_other_output_and_other_statuses_are_differences(self):
        for right, wrong in [("asked 127.0.0.1", "asked 127.0.0.2"), ("\n4\n$", "\n0\n$"), ("\n4\n$", "\n$")]:
            with self.subTest(wrong):
                self.assertEqual(self.differences(DOCUMENT.replace(right, wrong)),
                                 ["$ lcmp get 127.0.0.1; echo $?", "asked 127.0.0.1", "4"])

    def test_another_event_is_a_difference(self):
        self.assertEqual(self.differences(DOCUMENT.replace("alarm true", "alarm false"))[-1],
                         "TIME 127.0.0.1:4000 alarm true")

    def test_a_program_that_listens_elsewhere_or_ends_badly_is_a_difference(self):
        self.assertEqual(self.differences(DOCUMENT.replace("on 127.0.0.1:17470", "on 127.0.0.1:17472"))[0],
                         "$ lcmp card --events-to 127.0.0.1:17471")
        self.assertIn("ended with status 1", self.differences(program=LCMP.replace("sys.exit(0)", "sys.exit(1)")))

    def test_a_program_that_ctrl_c_ends_has_ended_well(self):
        self.assertEqual(self.differences(program=LCMP.replace("signal.SIGINT, lambda", "signal.SIGUSR1, lambda").replace(
            "import signal", "import signal; signal.signal(signal.SIGINT, signal.SIG_DFL); import signal")), [])

    def test_dots_stand_for_lines_in_between_and_for_no_others(self):
        for right, wrong in [("...\n4\n", "...\n5\n"), ("1\n...", "2\n..."), ("...\n4", "3\n4"),
                             ("card: lamp\n```\n\n## N", "card: lamp\n...\n5\n```\n\n## N")]:
            with self.subTest(wrong):
                self.assertEqual(self.differences(DOCUMENT.replace(right, wrong))[-5:], ["1", "2", "3", "4", "card: lamp"])

    def test_a_block_that_fails_is_a_difference(self):
        self.assertEqual(self.differences("```sh\necho gone\nfalse\n```\n"),
                         ["$ echo gone\nfalse", "gone", "ended with status 1"])

    def test_a_document_without_a_session_does_not_pass(self):
        self.assertEqual(self.differences("# Of a program\n\n```\n$ lcmp get\n```\n"), ["the document has no session"])

    def test_what_stands_in_the_tree_is_at_hand(self):
        with tempfile.TemporaryDirectory() as root:
            (pathlib.Path(root) / "models").mkdir()
            document = "```console\n$ ls\nmodels\n```\n"
            self.assertEqual(self.differences(document, root=root), [])
            self.assertEqual(self.differences(document), ["$ ls"])


if __name__ == "__main__":
    unittest.main()
