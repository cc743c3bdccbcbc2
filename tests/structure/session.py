#!/usr/bin/env python3
"""Types the sessions of documents and compares what is printed with what they say is printed.

usage: session.py [--root FOLDER] [--home FOLDER] DOCUMENT PROGRAM...

Every section ("## ...") with ```console or ```sh blocks is a session. Of a ```console block the lines that begin with
"$ " are typed; the others are expected, on standard output and standard error together. "..." alone on a line stands
for any lines. A ```sh block is typed as a whole, and has to end with status 0, whatever it prints. All of a document
is typed to one shell, in an empty folder: the marked files of the document (<!-- file: NAME -->) and links to what
is in --root are there.

A command whose first expected line tells where it listens runs beside the rest of its section: `lcmp watch` from the
section's first such block on, so that it misses nothing, the others from where they stand. They are asked to end, as by
Ctrl-C, when the section is over and they have printed as many lines as the document has. "| grep WORD" behind them is
done here. Times alone may differ. For 127.0.0.1 an address of the loopback network is typed that is this
process's own.
"""
import argparse
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys
import tempfile

from pages import FENCED, blocks_of

SECTION = re.compile(r"^## ", re.MULTILINE)
READY = re.compile(r"listening on [\d.]+:\d+$")
TIME = re.compile(r"\b\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z")
DOCUMENTED, PORT = "127.0.0.1", "17470"
PATIENCE = 240  # seconds for everything


class Step:
    """One command. `expected` is None where any output will do."""

    def __init__(self, command, expected):
        self.command, self.expected = command, expected

    def runs_beside(self):
        return bool(self.expected) and READY.match(self.expected[0]) is not None


def steps_of(section):
    steps = []
    for fence in FENCED.finditer(section):
        language, text = fence.groups()
        if language == "sh":
            steps.append(Step(text.rstrip("\n"), None))
        elif language == "console":
            for line in text.splitlines():
                if line.startswith("$ "):
                    steps.append(Step(line[2:], []))
                else:
                    steps[-1].expected.append(TIME.sub("TIME", line))
    return steps


def sessions_of(document):
    """The steps of each section that has any. The text is cut where a heading stands outside of blocks."""
    covered = FENCED.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), document)
    cuts = [0, *(match.start() for match in SECTION.finditer(covered)), len(document)]
    sections = [document[begin:end] for begin, end in zip(cuts, cuts[1:])]
    return [steps for steps in map(steps_of, sections) if steps]


def agree(printed, expected):
    """Whether the lines are those expected, of which "..." stands for any number."""
    if not expected:
        return not printed
    if expected[0] == "...":
        return any(agree(printed[start:], expected[1:]) for start in range(len(printed) + 1))
    return bool(printed) and printed[0] == expected[0] and agree(printed[1:], expected[1:])


class Session:
    """One shell, from its first command on in the folder that is current then: what is exported stays, and so does the
    folder. And the programs that run beside it."""

    END = "-- that was it --"

    def __init__(self, *programs, home=None):
        paths = ":".join(str(pathlib.Path(program).resolve().parent) for program in programs)
        self.environment = {**os.environ, "PATH": f"{paths}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8",
                            **({"HOME": home} if home else {})}
        number = os.getpid()
        self.address = f"127.{64 + (number >> 16 & 63)}.{number >> 8 & 255}.{number & 255}"
        self.shell = None
        self.status = 0  # of the last command
        self.running = []

    def typed(self, command):
        return command.replace(DOCUMENTED, self.address)

    def printed(self, output):
        return TIME.sub("TIME", output.replace(self.address, DOCUMENTED)).splitlines()

    def run(self, command):
        """The lines that a command prints; its status is left in `status`."""
        if self.shell is None:
            self.shell = subprocess.Popen(["bash", "--noprofile", "--norc"], env=self.environment, text=True,
                                          stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.shell.stdin.write(f"{{ {self.typed(command)}\n}} </dev/null\nprintf '\\n{self.END} %d\\n' $?\n")
        self.shell.stdin.flush()
        output = ""
        for line in self.shell.stdout:
            if line.startswith(self.END):
                self.status = int(line.split()[-1])
                return self.printed(output[:-1])
            output += line
        self.status = 1
        return [*self.printed(output), "the shell is gone"]

    def start(self, command):
        """Starts a program that runs beside the others, and returns it with its first line, which tells that it is
        ready."""
        command, _, word = command.partition(" | grep ")
        if re.match(r"lcmp card\b", command) and "--listen" not in command:
            command += f" --listen {DOCUMENTED}:{PORT}"
        environment = self.run('export -p; printf "cd %q\\n" "$PWD"')
        script = "\n".join([*environment, f"exec {command}"])
        program = Beside(subprocess.Popen(["bash", "-c", self.typed(script)], text=True, stdout=subprocess.PIPE,
                                          stderr=subprocess.STDOUT), "".join(shlex.split(word)), self.printed)
        self.running.append(program)
        return program, program.lines

    def end(self):
        """Ends what runs beside the shell, as Ctrl-C does, and returns the statuses."""
        statuses = [program.end() for program in self.running]
        self.running = []
        return statuses

    def kill(self):
        for process in [*self.running, *([self.shell] if self.shell else [])]:
            process.kill()
            process.communicate()
        self.running, self.shell = [], None


class Beside:
    """A program that runs beside the others, and the lines that it has printed."""

    def __init__(self, process, word, printed):
        self.process, self.word, self.printed = process, word, printed
        self.lines = printed(process.stdout.readline())

    def wait_for(self, count):
        """Until there are as many lines that match the word, or no more come."""
        while len(self.lines) < count:
            line = self.process.stdout.readline()
            if not line:
                break
            if re.search(self.word, line):
                self.lines += self.printed(line)
        return self.lines

    def kill(self):
        self.process.kill()

    def communicate(self):
        return self.process.communicate()

    def end(self):
        self.process.send_signal(signal.SIGINT)
        self.communicate()  # until it has printed its last: who listens no more would end it otherwise
        return self.process.returncode


def difference(step, printed):
    return [] if agree(printed, step.expected) else [f"$ {step.command}", *printed]


def of_section(steps, session):
    beside = [step for step in steps if step.runs_beside()]
    first = [step for step in beside if step.command.startswith("lcmp watch")]
    programs, faults = {}, []
    for step in steps:
        if step.expected is not None and not programs:
            programs.update({watcher: session.start(watcher.command)[0] for watcher in first})
        if step in first:
            continue
        if step in beside:
            programs[step] = session.start(step.command)[0]
            continue
        printed = session.run(step.command)
        if step.expected is not None:
            faults += difference(step, printed)
        elif session.status != 0:
            faults += [f"$ {step.command}", *printed, f"ended with status {session.status}"]
    for step, program in programs.items():
        faults += difference(step, program.wait_for(len(step.expected)))
    return faults + [f"ended with status {status}" for status in session.end() if status not in (0, -signal.SIGINT)]


def lay_out(document, root):
    """The files of the document, and links to what is in the root, in the current folder."""
    for entry in pathlib.Path(root).resolve().iterdir() if root else []:
        if entry.name != "build":  # the session's own, if it builds
            pathlib.Path(entry.name).symlink_to(entry)
    for block in blocks_of(document):
        if block.kind == "file":
            file = pathlib.Path(block.what)
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(block.text, encoding="utf-8")


def differences(document, programs, root=None, home=None):
    sections = sessions_of(document)
    if not sections:
        return ["the document has no session"]
    root = pathlib.Path(root).resolve() if root else None
    session, here = Session(*programs, home=home), os.getcwd()
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        try:
            lay_out(document, root)
            return [fault for steps in sections for fault in of_section(steps, session)]
        finally:
            os.chdir(here)
            session.kill()


def out_of_patience(*_):
    raise TimeoutError(f"not over after {PATIENCE} seconds")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--root")
    parser.add_argument("--home")
    parser.add_argument("document")
    parser.add_argument("programs", nargs="+")
    options = parser.parse_args()
    signal.signal(signal.SIGALRM, out_of_patience)
    signal.alarm(PATIENCE)
    faults = differences(pathlib.Path(options.document).read_text(encoding="utf-8"), options.programs, options.root,
                         options.home)
    print("\n".join(["Not what the document says:", *faults]) if faults else "The sessions are as the document says")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
