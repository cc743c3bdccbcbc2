#!/usr/bin/env python3
"""Types the session of a document and compares what is printed with what the document says is printed.

usage: session.py DOCUMENT LCMP

Runs the ```console blocks of the section "A first session". Lines that begin with "$ " are typed; the others are
expected, on standard output and standard error together. `lcmp watch` and `lcmp card` run beside the rest, on
ports that are free here: the watcher first, so that it misses nothing, and until it has printed as many lines as
the document has. "| grep WORD" behind the watcher is done here. Times alone may differ.
"""
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys

SECTION = re.compile(r"^## A first session$(.*?)^## ", re.DOTALL | re.MULTILINE)
BLOCK = re.compile(r"^```console\n(.*?)^```$", re.DOTALL | re.MULTILINE)
BESIDE = re.compile(r"lcmp (watch|card)\b")
ADDRESS = re.compile(r"127\.0\.0\.1(?::(\d+))?")
TIME = re.compile(r"\b\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z")
CARD_PORT = "17470"
PATIENCE = 60  # seconds for everything


def steps_of(document):
    """[command, expected lines] in the order of the document."""
    section = SECTION.search(document)
    steps = []
    for block in BLOCK.findall(section[1] if section else ""):
        for line in block.splitlines():
            if line.startswith("$ "):
                steps.append([line[2:], []])
            else:
                steps[-1][1].append(TIME.sub("TIME", line))
    return steps


class Session:
    """The running programs, and the ports that stand for those of the document."""

    def __init__(self, lcmp):
        self.environment = {**os.environ, "PATH": f"{pathlib.Path(lcmp).resolve().parent}:{os.environ['PATH']}"}
        self.ports = {}
        self.running = []

    def typed(self, command):
        """The command with the ports that are in use here; 0, for a free one, where none is yet."""
        return ADDRESS.sub(lambda match: f"127.0.0.1:{self.ports.get(match[1] or CARD_PORT, 0)}", command)

    def printed(self, output):
        """The output with the ports of the document, and without times."""
        for documented, real in self.ports.items():
            output = output.replace(f":{real}", f":{documented}")
        return TIME.sub("TIME", output)

    def run(self, command):
        done = subprocess.run(["bash", "-c", self.typed(command)], env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        return self.printed(done.stdout).splitlines()

    def start(self, command):
        """Starts a program that prints where it listens, and returns it with that line."""
        if "--listen" not in command:
            command += f" --listen 127.0.0.1:{CARD_PORT}"
        documented = re.search(r"--listen 127\.0\.0\.1:(\d+)", command)[1]
        process = subprocess.Popen(shlex.split(self.typed(command)), env=self.environment, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, text=True)
        self.running.append(process)
        line = process.stdout.readline()
        listening = re.search(r":(\d+)$", line)
        if listening:
            self.ports[documented] = listening[1]
        return process, self.printed(line).splitlines()

    def watch(self, process, lines, expected, word):
        """Adds lines that match the word, until there are as many as expected."""
        while len(lines) < len(expected):
            line = process.stdout.readline()
            if not line:
                break
            if re.search(word, line):
                lines += self.printed(line).splitlines()
        return lines

    def end(self):
        for process in self.running:
            process.send_signal(signal.SIGINT)
            process.stdout.close()
        return [process.wait() for process in self.running]


def compare(command, printed, expected):
    return [] if printed == expected else [f"$ {command}", *printed]


def differences(steps, session):
    beside = {BESIDE.match(step[0])[1]: step for step in steps if BESIDE.match(step[0])}
    rest = [step for step in steps if not BESIDE.match(step[0])]
    if set(beside) != {"watch", "card"} or not rest:
        return ["the document has no session with a watcher, a card and something to ask"]
    (watch, watched), (card, served) = beside["watch"], beside["card"]
    watch, _, word = watch.partition(" | grep ")
    word = "".join(shlex.split(word))
    watcher, events = session.start(watch)
    _, started = session.start(card)
    faults = compare(card, started, served)
    for command, expected in rest:
        faults += compare(command, session.run(command), expected)
    faults += compare(beside["watch"][0], session.watch(watcher, events, watched, word), watched)
    return faults + [f"ended with status {status}" for status in session.end() if status != 0]


def out_of_patience(*_):
    raise TimeoutError(f"not over after {PATIENCE} seconds")


def main():
    session = Session(sys.argv[2])
    signal.signal(signal.SIGALRM, out_of_patience)
    signal.alarm(PATIENCE)
    try:
        faults = differences(steps_of(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")), session)
    finally:
        for process in session.running:
            process.kill()
    print("\n".join(["Not what the document says:", *faults]) if faults else "The session is as the document says")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
