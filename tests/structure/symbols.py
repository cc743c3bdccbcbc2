#!/usr/bin/env python3
"""Holds the dynamic symbols of a library against its version script and its public headers.

usage: symbols.py LIBRARY SONAME VERSION_SCRIPT HEADER...

Exported is what the headers mark with LCMP_API, all of it and nothing else: no name of the standard library,
none of Boost's, none of detail/. Every name carries the version script's version and is matched by one of its
patterns, and every pattern matches something. The soname is the one given. NM and OBJDUMP name the tools for
another machine's libraries.
"""
import fnmatch
import os
import pathlib
import re
import subprocess
import sys

DECLARED_CLASS = re.compile(r"^(?:class|struct) LCMP_API (\w+)", re.MULTILINE)
DECLARED_FUNCTION = re.compile(r"^LCMP_API [^;(]*?(\w+)\(", re.MULTILINE)
SPECIAL = re.compile(r"^(?:vtable|typeinfo|typeinfo name|VTT|guard variable) for |^(?:non-virtual|virtual) thunk to ")
HEAD = re.compile(r"^[\w~]+")
VERSION = re.compile(r"@@?(\w+)$")


def declared_in(text):
    return set(DECLARED_CLASS.findall(text)) | set(DECLARED_FUNCTION.findall(text))


def owner_of(symbol):
    """The class or function that a demangled symbol belongs to; the symbol itself where it has none."""
    head = HEAD.match(SPECIAL.sub("", symbol))
    return head[0] if head else symbol


def faults_of(symbols, declared):
    owners = {owner_of(symbol) for symbol in symbols}
    strangers = [f"exported, but not marked LCMP_API in a public header: {symbol}"
                 for symbol in symbols if owner_of(symbol) not in declared]
    missing = [f"marked LCMP_API, but not exported: {name}" for name in sorted(declared - owners)]
    return strangers + missing


def script_of(text):
    """(version, patterns) of a version script"""
    text = re.sub(r"#.*", "", text)
    names = text.partition("global:")[2].partition("local:")[0].replace('extern "C++"', "")
    patterns = [pattern.strip().strip('"') for pattern in re.split(r"[;{}]", names)]
    return re.match(r"\s*(\w+)", text)[1], [pattern for pattern in patterns if pattern]


def faults_of_script(symbols, versions, script):
    version, patterns = script
    faults = [f"exported, but not named in the version script: {symbol}" for symbol in symbols
              if not any(fnmatch.fnmatchcase(symbol, pattern) for pattern in patterns)]
    faults += [f"named in the version script, but nothing of it is exported: {pattern}" for pattern in patterns
               if not any(fnmatch.fnmatchcase(symbol, pattern) for symbol in symbols)]
    return faults + [f"exported with version {other or 'none'}, not {version}"
                     for other in sorted(versions - {version})]


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported_by(library):
    """The demangled names of the defined dynamic symbols, and the versions that they carry"""
    lines = output_of(os.environ.get("NM", "nm"), "-DC", "--defined-only", library).splitlines()
    names = [name for kind, name in (line.split(maxsplit=2)[1:] for line in lines) if kind != "A"]
    versions = {match[1] if match else "" for match in map(VERSION.search, names)}
    return [VERSION.sub("", name) for name in names], versions


def soname_of(library):
    dynamic = output_of(os.environ.get("OBJDUMP", "objdump"), "-p", library)
    match = re.search(r"^\s*SONAME\s+(\S+)", dynamic, re.MULTILINE)
    return match[1] if match else "none"


def main():
    library, soname, script, headers = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
    declared = set().union(*(declared_in(pathlib.Path(header).read_text()) for header in headers))
    symbols, versions = exported_by(library)
    faults = faults_of(symbols, declared)
    faults += faults_of_script(symbols, versions, script_of(pathlib.Path(script).read_text()))
    if soname_of(library) != soname:
        faults.append(f"the soname is {soname_of(library)}, not {soname}")
    print("\n".join(faults) if faults else f"{len(symbols)} symbols of {len(declared)} declarations")
    return 1 if faults or not symbols else 0


if __name__ == "__main__":
    sys.exit(main())
