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
    signal.signal(signal.SIGINT, lambda *_: sys.exit(0))
    print(f"listening on 127.0.0.1:{{port}}", flush=True)
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
asked 127.0.0.1:17470
4
$ lcmp watch --listen 127.0.0.1:17471 | grep 'alar.'
listening on 127.0.0.1:17471
2026-11-21T07:03:19.560686Z 127.0.0.1:17470 alarm true
```

## More
"""


class Sessions(unittest.TestCase):
    def differences(self, document=DOCUMENT, program=LCMP):
        with tempfile.TemporaryDirectory() as folder:
            lcmp = pathlib.Path(folder) / "lcmp"
            lcmp.write_text(program)
            lcmp.chmod(0o755)
            return session.differences(session.steps_of(document), session.Session(str(lcmp)))

    def test_a_true_session_has_no_differences(self):
        self.assertEqual(self.differences(), [])

    def test_other_output_and_other_statuses_are_differences(self):
        for right, wrong in [("asked 127.0.0.1:17470", "asked 127.0.0.1"), ("\n4\n", "\n0\n"), ("\n4\n", "\n")]:
            with self.subTest(wrong):
                self.assertEqual(self.differences(DOCUMENT.replace(right, wrong)),
                                 ["$ lcmp get 127.0.0.1; echo $?", "asked 127.0.0.1:17470", "4"])

    def test_another_event_is_a_difference(self):
        self.assertEqual(self.differences(DOCUMENT.replace("alarm true", "alarm false"))[-1],
                         "TIME 127.0.0.1:17470 alarm true")

    def test_a_program_that_listens_elsewhere_or_ends_badly_is_a_difference(self):
        self.assertEqual(self.differences(DOCUMENT.replace("on 127.0.0.1:17470", "on 127.0.0.1:17472"))[0],
                         "$ lcmp card --events-to 127.0.0.1:17471")
        self.assertIn("ended with status 1", self.differences(program=LCMP.replace("sys.exit(0)", "sys.exit(1)")))

    def test_a_document_without_a_session_does_not_pass(self):
        self.assertEqual(len(self.differences(DOCUMENT.replace("first", "last"))), 1)


if __name__ == "__main__":
    unittest.main()
