#!/usr/bin/env python3
"""Compiles what the documents show of C++ without quoting it from a file.

usage: fragments.py DOCUMENT... -- INCLUDE_FOLDERS COMPILER FLAG...

The blocks marked <!-- compiles: statements --> are put into functions, those marked <!-- compiles: declarations -->
into namespaces, one of each for a block, behind every public header. Statements have an LcmpUdpEndpoint `endpoint`,
an LcmpObject `object` and an LcmpProperty `property` at hand. A fault is reported with the document's line. The
flags make warnings errors; colons separate the folders.
"""
import pathlib
import subprocess
import sys
import tempfile

from headers import command_of
from pages import blocks_of

HANDS = "[[maybe_unused]] LcmpUdpEndpoint& endpoint, [[maybe_unused]] LcmpObject& object, " \
        "[[maybe_unused]] LcmpProperty& property"
OPENINGS = {"statements": "void statements{number}(" + HANDS + ") {{",
            "declarations": "namespace declarations{number} {{"}


def fragments_of(document):
    return [block for block in blocks_of(document) if block.kind == "compiles"]


def source_of(path, fragments, headers):
    lines = [f"#include <{name}>" for name in ["chrono", "iostream", "string", "vector", *headers]]
    for number, fragment in enumerate(fragments):
        lines += [OPENINGS[fragment.what].format(number=number), f'#line {fragment.line} "{path}"', fragment.text, "}"]
    return "\n".join([*lines, ""])


def public_headers(folders):
    """Those that a user of the libraries may include, in the folders that the user gets: Boost's are among them."""
    own = (path.name for folder in folders.split(":") for path in pathlib.Path(folder).glob("lcmp*.h"))
    return [*sorted(own), "traceObject.h", "util.h"]


def compiles(source, command):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "fragments.cpp"
        path.write_text(source, encoding="utf-8")
        return subprocess.run([*command, "-fsyntax-only", str(path)], check=False).returncode == 0


def main():
    split = sys.argv.index("--")
    documents, arguments = sys.argv[1:split], sys.argv[split + 1:]
    headers, command, count, status = public_headers(arguments[0]), command_of(arguments), 0, 0
    for path in documents:
        fragments = fragments_of(pathlib.Path(path).read_text(encoding="utf-8"))
        count += len(fragments)
        if fragments and not compiles(source_of(path, fragments, headers), command):
            status = 1
    print(f"{count} fragments of documents")
    return status if count else 1


if __name__ == "__main__":
    sys.exit(main())
