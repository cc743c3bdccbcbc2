#!/usr/bin/env python3
"""scripts/batched with a test program that does what each test says.

usage: batched_test.py ROOT
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path()
# Five tests, of which the first and the last share a process. What the last does is the word in $BEHAVES: it "fails", it
# "sulks" and fails in company alone, it "leaks" and the process ends with the status of a report, it "reports" into the
# folder for that and the process ends well. With "dies" no process gets to its end.
PROGRAM = """
case "$1" in --gtest_list_tests) printf 'Card.\\n  Serves\\n  Reads\\n  Writes\\n  Waits\\n  Odd\\n'; exit ;; esac
filter=${1#--gtest_filter=} result=${2#--gtest_output=json:}
echo "$filter" >>"$CALLS"
cases= status=0
for name in ${filter//:/ }; do
    bad=
    case "$name $BEHAVES $filter" in
        *dies*) exit 139 ;;
        "Card.Odd fails"* | "Card.Odd sulks"*:*) bad='"failures": [{}],' ;;
        "Card.Odd leaks"*) echo "definitely lost"; status=99 ;;
        "Card.Odd reports"*) echo "ERROR: heap-use-after-free" >"${ASAN_OPTIONS##*log_path=}.77" ;;
    esac
    cases="$cases${cases:+, }{$bad \\"name\\": \\"${name#Card.}\\"}"
done
echo "{\\"testsuites\\": [{\\"name\\": \\"Card\\", \\"testsuite\\": [$cases]}]}" >"$result"
exit "$status"
"""
CTEST = """while [ "$1" != --output-junit ]; do shift; done
printf '<testsuite name="x"\\n\\ttests="5"\\n>\\n' >"$2"
exit "$STATUS"
"""


class Batched(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        (self.tree / "scripts").mkdir()
        shutil.copy(ROOT / "scripts" / "batched", self.tree / "scripts")
        self.has("bin/cmake", 'exit "$BUILD"')
        self.has("bin/ctest", CTEST)
        self.has("build/asan/tests/lcmp/lcmp_card_tests", PROGRAM)

    def has(self, path, script):
        (self.tree / path).parent.mkdir(exist_ok=True, parents=True)
        (self.tree / path).write_text("#!/usr/bin/env bash\n" + script + "\n")
        (self.tree / path).chmod(0o755)

    def run_batched(self, behaves="", **environment):
        """(exit status, what it printed, the filters of each call of the program)"""
        calls = self.tree / "calls"
        done = subprocess.run(
            [self.tree / "scripts" / "batched", "--under", "sanitizers", "asan"], capture_output=True, text=True, check=False,
            env={**os.environ, "PATH": f"{self.tree}/bin:{os.environ['PATH']}", "CALLS": str(calls), "BEHAVES": behaves,
                 "STATUS": "0", "BUILD": "0", **environment})
        return done.returncode, done.stdout, calls.read_text().split("\n")[:-1] if calls.exists() else []

    def test_counts_the_tests_and_those_that_are_no_programs(self):
        status, printed, _ = self.run_batched()
        self.assertEqual((status, printed), (0, "count: 10 tests\n"))

    def test_one_that_fails_alone_too_fails_the_run(self):
        status, printed, calls = self.run_batched("fails")
        self.assertEqual(status, 1)
        self.assertIn("\nFAILED Card.Odd\n", printed)
        self.assertEqual([call for call in calls if "Odd" in call], ["Card.Serves:Card.Odd", "Card.Odd"])

    def test_one_that_fails_in_company_alone_passes(self):
        status, printed, calls = self.run_batched("sulks")
        self.assertEqual((status, printed), (0, "count: 10 tests\n"))
        self.assertEqual([call for call in calls if "Odd" in call], ["Card.Serves:Card.Odd", "Card.Odd"])

    def test_a_report_fails_the_run_and_is_shown(self):
        status, printed, _ = self.run_batched("reports")
        self.assertEqual(status, 1)
        self.assertIn("heap-use-after-free", printed)

    def test_what_is_lost_fails_the_run_by_the_name_of_its_test(self):
        status, printed, _ = self.run_batched("leaks")
        self.assertEqual(status, 1)
        self.assertIn("\nFAILED Card.Odd\n", printed)
        self.assertIn("definitely lost", printed)
        self.assertNotIn("FAILED Card.Serves", printed)

    def test_a_process_that_dies_fails_each_of_its_tests(self):
        status, printed, _ = self.run_batched("dies")
        self.assertEqual(status, 1)
        for name in ["Serves", "Waits", "Odd"]:
            self.assertIn(f"\nFAILED Card.{name}\n", printed)

    def test_one_of_the_others_that_fails_fails_the_run(self):
        status, _, _ = self.run_batched(STATUS="8")
        self.assertEqual(status, 1)

    def test_a_build_that_fails_is_not_tested(self):
        status, _, calls = self.run_batched(BUILD="2")
        self.assertNotEqual(status, 0)
        self.assertEqual(calls, [])


if __name__ == "__main__":
    ROOT = pathlib.Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
