#!/usr/bin/env python3
"""Types the session of a document and compares what is printed with what the document says is printed.

usage: session.py DOCUMENT LCMP

Runs the ```console blocks of the section "A first session". Lines that begin with "$ " are typed, the others are
expected on standard output and standard error together. `lcmp watch` and `lcmp card` run beside the rest: the
watcher is started first, then the card, both on free ports, and what they print is compared at the end. Numbers
and times that differ from run to run are compared by their form alone, in the lines of the watcher.
"""
import os
import pathlib
import re
import signal
import subprocess
import sys

SECTION = re.compile(r"^## A first session$(.*?)^## ", re.DOTALL | re.MULTILINE)
BLOCK = re.compile(r"^```console\n(.*?)^```$", re.DOTALL | re.MULTILINE)
LISTENING = re.compile(r"listening on 127\.0\.0\.1:(\d+)")
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
                steps[-1][1].append(line)
    return steps


def form_of(line):
    """A line with every number, word of truth and time replaced by what it is."""
    line = re.sub(r"\d{4}-\d\d-\d\dT[\d:.]+Z", "TIME", line)
    return re.sub(r"-?\b\d+\b", "N", re.sub(r"\btrue\b|\bfalse\b", "BOOL", line))


class Session:
    """The ports of the document and those of the running programs; what is still running."""

    def __init__(self, lcmp):
        self.environment = {**os.environ, "PATH": f"{pathlib.Path(lcmp).resolve().parent}:{os.environ['PATH']}"}
        self.ports = {}
        self.running = []

    def translate(self, command):
        """The command with the ports that are free here; those not yet known become 0."""
        return re.sub(r"(127\.0\.0\.1):(\d+)", lambda m: f"{m[1]}:{self.ports.get(m[2], 0)}", command)

    def translate_back(self, output):
        for documented, real in self.ports.items():
            output = output.replace(f":{real}", f":{documented}")
        return output.splitlines()

    def start(self, command, documented_port):
        process = subprocess.Popen(self.translate(command).split(), env=self.environment, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, text=True)
        self.running.append(process)
        first = process.stdout.readline()
        self.ports[documented_port] = LISTENING.search(first)[1]
        return process, first

    def run(self, command):
        done = subprocess.run(["bash", "-c", self.translate(command)], env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False, timeout=PATIENCE)
        return self.translate_back(done.stdout)

    def end(self):
        for process in self.running:
            process.kill()
            process.wait()


def differences(steps, session):
    beside = {verb: step for step in steps for verb in ["watch", "card"] if step[0].startswith(f"lcmp {verb} ")}
    if set(beside) != {"watch", "card"} or len(steps) < 4:
        return ["the document has no session with a watcher, a card and two commands"]
    faults, started = [], {}
    for verb, step in [("watch", beside["watch"]), ("card", beside["card"])]:
        port = re.search(r"--listen 127\.0\.0\.1:(\d+)", step[0])[1]
        started[verb] = session.start(step[0], port)
    for command, expected in (step for step in steps if step not in beside.values()):
        printed = session.run(command)
        if printed != expected:
            faults.append(f"$ {command}\n" + "\n".join(printed))
    for verb, form in [("watch", form_of), ("card", str)]:
        process, first = started[verb]
        if verb == "card":
            process.send_signal(signal.SIGTERM)
        printed = session.translate_back(first + process.communicate(timeout=PATIENCE)[0])
        if [form(line) for line in printed] != [form(line) for line in beside[verb][1]]:
            faults.append(f"$ {beside[verb][0]}\n" + "\n".join(printed))
    return faults


def main():
    session = Session(sys.argv[2])
    signal.alarm(PATIENCE)
    try:
        faults = differences(steps_of(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")), session)
    finally:
        session.end()
    print("Differs from the document:\n" + "\n".join(faults) if faults else "The session is as the document says")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
