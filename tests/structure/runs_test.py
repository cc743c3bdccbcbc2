#!/usr/bin/env python3
"""scripts/test and .ci/run with a cmake and a ctest that do what each test says.

usage: runs_test.py ROOT
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path()
# Both write down how they were called. ctest leaves its count where it was told to, as it really does.
CMAKE = 'echo "cmake $*" >>"$CALLS"; case "$*" in *$BROKEN_BUILD*) exit 2;; esac'
CTEST = """echo "ctest $*" >>"$CALLS"
while [ "$1" != --output-junit ]; do shift; done
mkdir -p "$(dirname "$2")"; printf '<testsuite name="x"\\n\\ttests="12"\\n\\tfailures="0"\\n>\\n' >"$2"
printf '  Start 1: Good\\n1/2 Test #1: Good ....   Passed    0.01 sec\\n2/2 Test #2: Odd ....***Failed    0.01 sec\\n'
exit "$STATUS"
"""

BUILDS = ["dev"]
# Stage, and how it calls which script.
COMMANDS = {
    "clang": "batched --under nothing clang",
    "asan": "batched --under sanitizers asan",
    "powerpc": "batched --under emulator powerpc",
    "powerpc-asan": "batched --under emulator powerpc-asan",
    "valgrind": "batched --under valgrind dev",
    "lint": "lint ",
    "abi": "abi ",
    "corpus": "fuzz --replay",
    "corpus-powerpc": "fuzz --replay --on powerpc",
    "fuzz": "fuzz 20",
    "soak": "soak --short",
    "packages": "package --check --all",
    "reference": "reference ",
}


def rows(stages, count, outcome):
    """Those of the table at the end."""
    return "".join(rf"{stage} +{count} +\d+ s +{outcome}\n" for stage in stages)


class Runs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name) / "a tree"
        for place in ["scripts", ".ci"]:
            shutil.copytree(ROOT / place, self.tree / place)
        self.has("scripts/setup", 'echo "setup $*" >>"$CALLS"; exit "${SETUP:-0}"')
        for command in {called.split()[0] for called in COMMANDS.values()}:
            self.has(f"scripts/{command}",
                     f'echo "{command} $*" >>"$CALLS"; printf "looking\\n$SAID\\n"; exit "$COMMAND"')
        self.has("bin/cmake", CMAKE)
        self.has("bin/ctest", CTEST)

    def has(self, path, script):
        (self.tree / path).parent.mkdir(exist_ok=True)
        (self.tree / path).write_text("#!/usr/bin/env bash\n" + script + "\n")
        (self.tree / path).chmod(0o755)

    def run_script(self, *command, **environment):
        """(exit status, what it printed, the calls); from a folder that has nothing to do with the tree"""
        calls = self.tree / "calls"
        done = subprocess.run(
            [self.tree / command[0], *command[1:]], cwd="/", capture_output=True, text=True, check=False,
            env={**os.environ, "PATH": f"{self.tree}/bin:{os.environ['PATH']}", "CALLS": str(calls), "STATUS": "0",
                 "SAID": "count: 34 tests", "COMMAND": "0", "BROKEN_BUILD": "none", "JOBS": "7", **environment})
        return done.returncode, done.stdout, calls.read_text() if calls.exists() else ""

    def test_one_stage_is_built_and_tested(self):
        status, printed, calls = self.run_script("scripts/test")
        self.assertEqual(status, 0)
        self.assertRegex(printed, r"\ndev +12 tests +\d+ s +passed\n$")
        self.assertRegex(calls, r"^setup \ncmake --preset dev .*\ncmake --build --preset dev --parallel 7\nctest --preset dev ")
        self.assertNotIn("clang", calls)

    def test_all_are_all_stages_for_ci_too(self):
        for command in [["scripts/test", "--all"], [".ci/run"]]:
            status, printed, calls = self.run_script(*command)
            self.assertEqual(status, 0)
            self.assertRegex(printed, "\n" + rows(BUILDS, "12 tests", "passed") +
                             rows(COMMANDS, "34 tests", "passed") + "$")
            self.assertTrue(calls.startswith("setup --all\n"), calls)
            for called in COMMANDS.values():
                self.assertIn(f"\n{called}\n", calls)

    def test_arguments_reach_ctest(self):
        _, _, calls = self.run_script("scripts/test", "-R", "One or two")
        self.assertRegex(calls, r"\nctest --preset dev --parallel 7 .* -R One or two\n$")

    def test_with_arguments_only_ctest_runs(self):
        status, printed, calls = self.run_script("scripts/test", "--all", "-R", "One")
        self.assertEqual(status, 0)
        self.assertRegex(calls, r"\nctest --preset dev .* -R One\n$")
        for stage in COMMANDS:
            self.assertNotIn(stage, printed)

    def test_a_test_that_fails_fails_the_run_and_the_others_run(self):
        status, printed, _ = self.run_script("scripts/test", "--all", STATUS="8")
        self.assertEqual(status, 1)
        self.assertRegex(printed, r"\ndev +12 tests +\d+ s +FAILED\n")
        self.assertRegex(printed, rows(COMMANDS, "34 tests", "passed") + "$")

    def test_a_command_that_fails_fails_the_run(self):
        status, printed, _ = self.run_script("scripts/test", "--all", COMMAND="1")
        self.assertEqual(status, 1)
        self.assertRegex(printed, rows(COMMANDS, "34 tests", "FAILED") + "$")

    def test_a_command_that_counted_nothing_has_not_passed(self):
        for said in ["", "all is well", "count: 0 tests", "count: 34 tests\\nand more"]:
            status, printed, _ = self.run_script("scripts/test", "--all", SAID=said)
            self.assertEqual(status, 1, said)
            self.assertRegex(printed, rows(COMMANDS, "0( tests)?", "FAILED") + "$")

    def test_of_the_tests_those_that_fail_are_shown(self):
        _, printed, _ = self.run_script("scripts/test", STATUS="8")
        self.assertIn("Odd", printed)
        self.assertNotIn("Good", printed)

    def test_a_build_that_fails_is_not_tested(self):
        for broken in ["--preset dev", "--build --preset dev"]:
            status, printed, calls = self.run_script("scripts/test", BROKEN_BUILD=broken)
            self.assertEqual(status, 1)
            self.assertRegex(printed, r"\ndev +0 tests +\d+ s +FAILED\n$")
            self.assertNotIn("ctest", calls)

    def test_without_its_packages_nothing_is_built(self):
        status, _, calls = self.run_script("scripts/test", SETUP="1")
        self.assertEqual((status, calls), (1, "setup \n"))


if __name__ == "__main__":
    ROOT = pathlib.Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
