#!/usr/bin/env python3
"""scripts/setup in a system of which the test decides what it has.

usage: setup_test.py SETUP_SCRIPT
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SETUP = ""
# Every command writes down how it was called; dpkg-query knows all packages but those in the file "missing".
DPKG_QUERY = 'grep -qx "$4" "$HOME/missing" && exit 1; printf installed'
APT_GET = 'printf "%s apt-get %s\\n" "$DEBIAN_FRONTEND" "$*" >>"$HOME/calls"; [ ! -e "$HOME/offline" ]'
SUDO = 'printf "sudo " >>"$HOME/calls"; exec "$@"'


class Setup(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        for tool in ["bash", "env", "grep"]:
            (self.home / tool).symlink_to(shutil.which(tool))
        self.lacks()
        self.has("id", "printf 0")
        self.has("apt-get", APT_GET)
        self.has("dpkg-query", DPKG_QUERY)

    def has(self, command, script):
        (self.home / command).write_text(f"#!{shutil.which('bash')}\n{script}\n")
        (self.home / command).chmod(0o755)

    def lacks(self, *packages):
        (self.home / "missing").write_text("".join(f"{package}\n" for package in packages))

    def run_setup(self, **environment):
        """(exit status, what it said, the calls of apt-get)"""
        done = subprocess.run([SETUP], env={"PATH": str(self.home), "HOME": str(self.home), **environment}, cwd="/",
                              capture_output=True, text=True, check=False)
        calls = self.home / "calls"
        return done.returncode, done.stdout + done.stderr, calls.read_text().splitlines() if calls.exists() else []

    def test_with_everything_there_it_does_and_says_nothing(self):
        self.assertEqual(self.run_setup(), (0, "", []))

    def test_what_is_missing_and_nothing_else_is_installed_without_a_question(self):
        self.lacks("ninja-build", "libgmock-dev")
        status, said, calls = self.run_setup()
        self.assertEqual(status, 0)
        self.assertEqual(said, "setup: installing ninja-build libgmock-dev\n")
        self.assertEqual(len(calls), 2)
        self.assertRegex(calls[0], r"^noninteractive apt-get .*\bupdate$")
        self.assertRegex(calls[1], r"^noninteractive apt-get .*-y .*\binstall ninja-build libgmock-dev$")

    def test_who_is_not_root_uses_sudo(self):
        self.lacks("cmake")
        self.has("id", "printf 1000")
        self.has("sudo", SUDO)
        status, _, calls = self.run_setup()
        self.assertEqual(status, 0)
        self.assertTrue(all(call.startswith("sudo noninteractive apt-get") for call in calls), calls)

    def test_without_root_and_sudo_it_fails_and_says_so(self):
        self.lacks("cmake")
        self.has("id", "printf 1000")
        status, said, calls = self.run_setup()
        self.assertEqual((status, calls), (1, []))
        self.assertIn("root is needed to install cmake", said)

    def test_an_apt_that_fails_is_a_failure(self):
        self.lacks("cmake")
        (self.home / "offline").touch()
        status, _, calls = self.run_setup()
        self.assertNotEqual(status, 0)
        self.assertEqual(len(calls), 1)

    def test_without_apt_it_lists_what_is_needed(self):
        (self.home / "apt-get").unlink()
        status, said, _ = self.run_setup()
        self.assertEqual(status, 1)
        self.assertIn("there is no apt-get here", said)
        needed = re.findall(r"^  (\S+)$", said, re.MULTILINE)
        self.assertTrue({"g++", "cmake", "libboost-dev", "libgtest-dev"} <= set(needed), needed)

    def test_it_can_be_told_to_skip(self):
        (self.home / "apt-get").unlink()
        self.assertEqual(self.run_setup(LCMP_SETUP="skip"), (0, "", []))


if __name__ == "__main__":
    SETUP = os.path.abspath(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
