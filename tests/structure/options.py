#!/usr/bin/env python3
"""Holds the page of the command line against the program: every verb has a section, and every option is told of.

usage: options.py PAGE LCMP

An option is told of in the section of its verb (## VERB) or, being one of many verbs, in "## For all verbs".
"""
import pathlib
import re
import subprocess
import sys

SECTION = re.compile(r"^## (.*?)\n(.*?)(?=^## |\Z)", re.DOTALL | re.MULTILINE)
SUBCOMMANDS = re.compile(r"^Subcommands:\n(.*?)(?=^\S|\Z)", re.DOTALL | re.MULTILINE)
OPTION = re.compile(r"^ +(?:-\w,)?(--[\w-]+)", re.MULTILINE)
COMMON = "For all verbs"


def help_of(lcmp, *verbs):
    return subprocess.run([lcmp, *verbs, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout


def verbs_of(text):
    listed = SUBCOMMANDS.search(text)
    return re.findall(r"^  (\w+)", listed[1], re.MULTILINE) if listed else []


def options_of(lcmp, verb):
    """Of the verb and of the verbs below it, but for those that only tell of them."""
    text = help_of(lcmp, *verb)
    options = {(verb[0], option) for option in OPTION.findall(text)} - {(verb[0], "--help")}
    return options.union(*(options_of(lcmp, [*verb, below]) for below in verbs_of(text)))


def faults_of(page, lcmp):
    sections = dict(SECTION.findall(page))
    verbs = verbs_of(help_of(lcmp))
    if not verbs:
        return ["the program has no verbs"]
    faults = [f"has no section '{verb}'" for verb in verbs if verb not in sections]
    for verb, option in sorted(set().union(*(options_of(lcmp, [verb]) for verb in verbs))):
        told = sections.get(COMMON, "") + sections.get(verb, "")
        if not re.search(re.escape(option) + r"(?![\w-])", told):
            faults.append(f"does not tell of {verb} {option}")
    return faults


def main():
    faults = faults_of(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"), sys.argv[2])
    print("\n".join(f"{sys.argv[1]}: {fault}" for fault in faults) or "every verb and option is told of")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
