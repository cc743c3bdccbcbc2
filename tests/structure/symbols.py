#!/usr/bin/env python3
"""Holds the dynamic symbols of a library against its public headers.

usage: symbols.py LIBRARY SONAME HEADER...

Exported is what the headers mark with LCMP_API, all of it and nothing else: no name of the standard library,
none of Boost's, none of detail/. The soname is the one given.
"""
import pathlib
import re
import subprocess
import sys

DECLARED_CLASS = re.compile(r"^(?:class|struct) LCMP_API (\w+)", re.MULTILINE)
DECLARED_FUNCTION = re.compile(r"^LCMP_API [^;(]*?(\w+)\(", re.MULTILINE)
SPECIAL = re.compile(r"^(?:vtable|typeinfo|typeinfo name|VTT|guard variable) for |^(?:non-virtual|virtual) thunk to ")
HEAD = re.compile(r"^[\w~]+")


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


def exported_by(library):
    """The demangled names of the defined dynamic symbols, without the names of the versions."""
    lines = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, capture_output=True,
                           text=True).stdout.splitlines()
    symbols = (line.split(maxsplit=2)[1:] for line in lines)
    return [re.sub(r"@@?\w+$", "", name) for kind, name in symbols if kind != "A"]


def soname_of(library):
    dynamic = subprocess.run(["objdump", "-p", library], check=True, capture_output=True, text=True).stdout
    match = re.search(r"^\s*SONAME\s+(\S+)", dynamic, re.MULTILINE)
    return match[1] if match else "none"


def main():
    library, soname, headers = sys.argv[1], sys.argv[2], sys.argv[3:]
    declared = set().union(*(declared_in(pathlib.Path(header).read_text()) for header in headers))
    symbols = exported_by(library)
    faults = faults_of(symbols, declared)
    if soname_of(library) != soname:
        faults.append(f"the soname is {soname_of(library)}, not {soname}")
    print("\n".join(faults) if faults else f"{len(symbols)} symbols of {len(declared)} declarations")
    return 1 if faults or not symbols else 0


if __name__ == "__main__":
    sys.exit(main())
