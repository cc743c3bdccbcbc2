#!/usr/bin/env python3
"""Holds the manual pages against the program.

usage: manuals.py FOLDER_OF_THE_PAGES LCMP MODELS

Options: a page of a verb describes every option that the verb's help shows, as a line that begins with *-, and no
other, and names every environment variable of the help; lcmp(1) names every verb.

Examples: in literal blocks, lines that begin with "$ " are typed, and the others are expected, on standard output and
standard error together. Each page has a card of its own that stands still, at 127.0.0.1, and a folder that holds the
models; `lcmp card` in a page runs beside the rest. Times of the day may differ, message ids, and what took so and so many milliseconds.
"""
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

import session

BLOCK = re.compile(r"^\t?```\n(.*?)^\t?```$", re.DOTALL | re.MULTILINE)
OPTION_LINE = re.compile(r"^\*-.*$", re.MULTILINE)
OPTION = re.compile(r"(?<![\w-])(--?[a-z][a-z-]*|-[A-Z])\b", re.ASCII)
HELP_OPTION = re.compile(r"^  (-\S+)", re.MULTILINE)
ENVIRONMENT = re.compile(r"\bLCMP_[A-Z]+\b")
CHANCE = re.compile(r"\bid \d+\b|\b[\d./]+ ms\b")
VERB = re.compile(r"^  ([a-z]+)  ", re.MULTILINE)
PATIENCE = 60  # seconds for a page


def help_of(lcmp, *verb):
    return subprocess.run([lcmp, *verb, "--help"], capture_output=True, text=True, check=True,
                          env={key: value for key, value in os.environ.items() if not key.startswith("LCMP_")}).stdout


def verbs_in(help_text):
    listed = re.search(r"^Subcommands:\n(.*?)^$", help_text, re.DOTALL | re.MULTILINE)
    return VERB.findall(listed[1]) if listed else []


def helps_of(lcmp, verb):
    """The help of a verb, with that of its own verbs; of the program without, for its verbs have pages."""
    text = help_of(lcmp, *verb)
    return text + "".join(help_of(lcmp, *verb, further) for further in verbs_in(text)) if verb else text


def option_faults(page, help_text):
    documented = {name for line in OPTION_LINE.findall(page) for name in OPTION.findall(line)}
    there = {name for names in HELP_OPTION.findall(help_text) for name in names.split(",")}
    yield from (f"does not describe {name}" for name in sorted(there - documented))
    yield from (f"describes {name}, which there is not" for name in sorted(documented - there))
    unnamed = set(ENVIRONMENT.findall(help_text)) - set(ENVIRONMENT.findall(page))
    yield from (f"does not name {name}" for name in sorted(unnamed))


def verb_faults(page, help_text):
    return [f"does not name lcmp-{verb}(1)" for verb in verbs_in(help_text) if f"*lcmp-{verb}*(1)" not in page]


def steps_of(page):
    """[command, expected lines] of all literal blocks, in their order."""
    steps = []
    for block in BLOCK.findall(page):
        for line in block.splitlines():
            line = line.removeprefix("\t")
            if line.startswith("$ "):
                steps.append([line[2:], []])
            elif steps and not steps[-1][0].startswith("\0"):
                steps[-1][1].append(line)
        steps.append(["\0", []])
    return [step for step in steps if step[0] != "\0"]


def alike(lines):
    return [CHANCE.sub("N", session.TIME.sub("TIME", line)).rstrip() for line in lines]


def example_faults(page, lcmp, models):
    steps = steps_of(page)
    if not steps:
        return
    running = session.Session(lcmp)
    with tempfile.TemporaryDirectory() as folder:
        shutil.copytree(models, folder, dirs_exist_ok=True)
        here = os.getcwd()
        os.chdir(folder)
        try:
            if not steps[0][0].startswith("lcmp card"):
                running.start("lcmp card --period 0")
            for command, expected in steps:
                if command.startswith("lcmp card"):
                    printed = running.start(command)[1]
                else:
                    printed = running.run(command)
                if alike(printed) != alike(expected):
                    yield "\n".join([f"$ {command}", *printed])
            running.end()
        finally:
            os.chdir(here)
            for process in running.running:
                process.kill()


def faults_of(page_file, lcmp, models):
    page = page_file.read_text(encoding="utf-8")
    name, section = page_file.name.removesuffix(".scd").rsplit(".", 1)
    if section == "1":
        verb = name.split("-")[1:]
        help_text = helps_of(lcmp, verb)
        yield from option_faults(page, help_text)
        if not verb:
            yield from verb_faults(page, help_text)
    signal.alarm(PATIENCE)
    yield from example_faults(page, lcmp, models)
    signal.alarm(0)


def main():
    folder, lcmp, models = [pathlib.Path(argument).resolve() for argument in sys.argv[1:4]]
    signal.signal(signal.SIGALRM, session.out_of_patience)
    pages = sorted(folder.glob("*.scd"))
    faults = [f"{page.name}: {fault}" for page in pages for fault in faults_of(page, str(lcmp), models)]
    examples = sum(len(steps_of(page.read_text(encoding="utf-8"))) for page in pages)
    print("\n".join(faults) if faults else f"{len(pages)} pages and {examples} examples are true")
    return 1 if faults or not examples else 0


if __name__ == "__main__":
    sys.exit(main())
