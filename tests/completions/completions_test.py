#!/usr/bin/env python3
"""Types command lines into real shells, with the Tab key, and looks at what has become of them.

usage: completions_test.py bash|zsh|fish FOLDER_OF_LCMP SCRIPT FOLDER_OF_MODELS
"""
import os
import pathlib
import pty
import re
import select
import signal
import sys
import tempfile
import time
import unittest

SHELL = LCMP = SCRIPT = MODELS = ""
PATIENCE = 30  # seconds for a line

# In each shell, lcmp shows its arguments, so that a line that is sent off says what it was; how it may go on is the
# program's word.
FUNCTION = 'lcmp() { if [ "$1" = complete ]; then command lcmp "$@"; else printf "<%s>" "$@" END; echo; fi; }\n'
START = {
    "bash": (["bash", "--norc", "--noprofile", "-i"],
             FUNCTION + "bind 'set enable-bracketed-paste off'; PS1='> '\n"
             "source {script}\n"),
    "zsh": (["zsh", "-f", "-i"],
            FUNCTION + "PS1='> '; unset zle_bracketed_paste; fpath=({folder} $fpath); autoload -U compinit; compinit -u -D\n"),
    "fish": (["fish", "--no-config", "-i"],
             "function lcmp; if test \"$argv[1]\" = complete; command lcmp $argv; "
             "else; printf '<%s>' $argv END; echo; end; end\n"
             "function fish_prompt; echo '> '; end; source {script}\n"),
}
# What is typed, with \t for the Tab key, and the arguments that the program gets.
LINES = [
    ("wat\t--lis\t127.0.0.1", ["watch", "--listen", "127.0.0.1"]),
    ("mod\tsh\t--mod\t" "models/fan\t" "f\t", ["model", "show", "--model", "models/fantray.yaml", "fan"]),
    ("get h control.b\t", ["get", "h", "control.bpClkRef"]),
    ("get h control.g\t" "identity.cardT\t", ["get", "h", "control.guid", "identity.cardType"]),
    ("get h 'voltage[2].no\t", ["get", "h", "voltage[2].nominal"]),
    (r"get h voltage\[1\].no" "\t", ["get", "h", "voltage[1].nominal"]),
    ("set h control.bp\t3", ["set", "h", "control.bpClkRef=3"]),
    ("set h control.bpClkRef=1\t" "128", ["set", "h", "control.bpClkRef=1128"]),
    ("set h control.bpClkRef=12\t" "x", ["set", "h", "control.bpClkRef=128", "x"]),
    ("set h download.start=t\t", ["set", "h", "download.start=true"]),
    ("get h 0x50c10005:UN\t", ["get", "h", "0x50c10005:UNIX_TIME"]),
    ("get -o js\t", ["get", "-o", "json"]),
    ("get --output=c\t" "h", ["get", "--output=csv", "h"]),
    ("get --model=models/fan\t" "h cool\tm\t", ["get", "--model=models/fantray.yaml", "h", "cooling.mode"]),
    ("get --model 'my models/fan\t" "h cooling.m\t", ["get", "--model", "my models/fantray.yaml", "h", "cooling.mode"]),
    ("model generate --to mod\t" "x", ["model", "generate", "--to", "models/x"]),
    ("decode models/std\t", ["decode", "models/std"]),
    ("get nobody.b\t", ["get", "nobody.b"]),
]


class Terminal:
    """A shell behind a terminal."""

    def __init__(self, command, environment, folder):
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            try:
                os.chdir(folder)
                os.execvpe(command[0], command, environment)
            finally:
                os._exit(127)
        self.said = ""

    def type(self, text):
        os.write(self.terminal, text.encode())

    def wait_for(self, pattern):
        """The match, once it has been printed; what came before it is forgotten."""
        end = time.monotonic() + PATIENCE
        while True:
            found = re.search(pattern, self.said, re.DOTALL)
            if found:
                self.said = self.said[found.end():]
                return found
            if not select.select([self.terminal], [], [], max(0, end - time.monotonic()))[0]:
                raise TimeoutError(f"no {pattern!r} in {self.said!r}")
            self.said += os.read(self.terminal, 65536).decode(errors="replace")

    def close(self):
        os.kill(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)
        os.close(self.terminal)


def has_terminals():
    """Whether this machine has terminals to open; a container may have none."""
    try:
        for end in pty.openpty():
            os.close(end)
        return True
    except OSError:
        return False


@unittest.skipUnless(has_terminals(), "this machine has no terminals to open")
class Completions(unittest.TestCase):
    def setUp(self):
        home = tempfile.TemporaryDirectory()
        self.addCleanup(home.cleanup)
        for folder in ["models", "my models"]:
            (pathlib.Path(home.name) / folder).mkdir()
            model = pathlib.Path(home.name) / folder / "fantray.yaml"
            model.write_bytes((pathlib.Path(MODELS) / "fantray.yaml").read_bytes())
        environment = {key: value for key, value in os.environ.items() if not key.startswith("LCMP_")}
        environment |= {"PATH": f"{LCMP}:{os.environ['PATH']}", "HOME": home.name, "TERM": "xterm", "LC_ALL": "C.UTF-8",
                        "XDG_CONFIG_HOME": home.name, "XDG_DATA_HOME": home.name, "HISTFILE": ""}
        command, start = START[SHELL]
        self.shell = Terminal(command, environment, home.name)
        self.addCleanup(self.shell.close)
        self.shell.type(start.replace("{script}", SCRIPT).replace("{folder}", os.path.dirname(SCRIPT)) + "echo rea''dy\n")
        self.shell.wait_for(r"\bready\r?\n")

    def arguments_of(self, line):
        self.shell.type("lcmp " + line + "\n")
        shown = self.shell.wait_for(r"((?:<[^<>\x1b]*>)*)<END>")[1]
        return re.findall(r"<([^<>]*)>", shown)

    def test_lines_go_on_as_the_program_says(self):
        for line, arguments in LINES:
            self.assertEqual([argument.strip() for argument in self.arguments_of(line)], arguments, line)

    def test_what_there_is_is_shown(self):
        self.shell.type("lcmp get h \t\t")
        self.shell.wait_for(r"(?=.*temperature)(?=.*voltage)")


if __name__ == "__main__":
    SHELL, LCMP, SCRIPT, MODELS = sys.argv[1], *map(os.path.abspath, sys.argv[2:5])
    unittest.main(argv=sys.argv[:1])
