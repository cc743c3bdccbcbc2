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
APT_GET = """printf "%s apt-get %s\\n" "$DEBIAN_FRONTEND" "$*" >>"$HOME/calls"
[ ! -e "$HOME/offline" ] || exit 100
case "$*" in *" source "*) : >"${!#}_1.dsc" ;; esac
"""
# dpkg-source leaves what it was told to unpack.
DPKG_SOURCE = 'mkdir "${@: -1}"; printf "%s" "$3" >"${@: -1}/CMakeLists.txt"'
SUDO = 'printf "sudo " >>"$HOME/calls"; exec "$@"'


class Setup(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        for tool in ["bash", "dirname", "env", "grep", "mkdir", "mv", "readlink", "rm", "sed"]:
            (self.home / tool).symlink_to(shutil.which(tool))
        self.tree = self.home / "a tree"
        (self.tree / "scripts").mkdir(parents=True)
        self.script = shutil.copy(SETUP, self.tree / "scripts")
        self.lacks()
        self.has("id", "printf 0")
        self.has("apt-get", APT_GET)
        self.has("dpkg-query", DPKG_QUERY)
        self.has("dpkg-source", DPKG_SOURCE)

    def has(self, command, script):
        (self.home / command).write_text(f"#!{shutil.which('bash')}\n{script}\n")
        (self.home / command).chmod(0o755)

    def lacks(self, *packages):
        (self.home / "missing").write_text("".join(f"{package}\n" for package in packages))

    def run_setup(self, *arguments, **environment):
        """(exit status, what it said, the calls of apt-get)"""
        done = subprocess.run([self.script, *arguments], env={"PATH": str(self.home), "HOME": str(self.home), **environment}, cwd="/",
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
        self.assertFalse({"qemu-user", "tshark", "libsnmp-dev"} & set(needed), needed)

    def test_more_is_installed_only_on_demand(self):
        self.lacks("qemu-user", "libsnmp-dev")
        for arguments, said in [([], ""), (["--all"], "qemu-user"), (["--bench"], "libsnmp-dev"),
                                (["--bench", "--all"], "libsnmp-dev qemu-user")]:
            self.assertEqual(self.run_setup(*arguments)[1].splitlines()[:1], [f"setup: installing {said}"] if said else [])

    def test_sources_are_fetched_once_and_by_an_apt_of_their_own(self):
        status, said, calls = self.run_setup("--all")
        self.assertEqual((status, said), (0, "setup: fetching the sources of yaml-cpp\n"))
        unpacked = self.tree / "build/sources/yaml-cpp/CMakeLists.txt"
        self.assertRegex(unpacked.read_text(), r"/yaml-cpp_1\.dsc$")
        self.assertEqual([call.split()[-1] for call in calls], ["update", "yaml-cpp"])
        for call in calls:
            self.assertIn(f"Dir::State::lists={self.tree}/build/sources/", call)
        self.assertEqual(self.run_setup("--all"), (0, "", calls))

    def test_sources_that_cannot_be_had_are_a_failure_that_says_where_they_belong(self):
        (self.home / "offline").touch()
        status, said, _ = self.run_setup("--all")
        self.assertEqual(status, 1)
        self.assertIn("the source package yaml-cpp cannot be had", said)
        self.assertIn(f"{self.tree}/build/sources/yaml-cpp", said)
        self.assertFalse((self.tree / "build/sources/yaml-cpp").exists())

    def test_an_unknown_argument_is_refused(self):
        status, said, calls = self.run_setup("--al")
        self.assertEqual((status, calls), (2, []))
        self.assertIn("unknown argument --al", said)

    def test_it_can_be_told_to_skip(self):
        (self.home / "apt-get").unlink()
        self.assertEqual(self.run_setup(LCMP_SETUP="skip"), (0, "", []))


if __name__ == "__main__":
    SETUP = os.path.abspath(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
