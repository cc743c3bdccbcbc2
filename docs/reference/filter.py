#!/usr/bin/env python3
"""Turns the comments of a public header into the reference's. Lines keep their numbers.

usage: filter.py HEADER

In the headers a comment of three slashes is about the declaration below it, and one of two, above declarations, is
said once for all of them up to the next empty line. Here
  the comment that a header begins with becomes the file's;
  a comment of two slashes becomes that of each declaration it is about, unless that has one of its own;
  one behind a declaration becomes that declaration's;
  what is indented, tables and drawings, stays as it is drawn;
  functions that nobody can call because they are deleted are left out.
"""
import re
import sys

DELETED = re.compile(r"^[^/]*= delete;$")
TRAILING = re.compile(r"^(\s*[^/\s][^\"]*?[;,)])  +// (.*)$")
DRAWN = re.compile(r"^(\s*///)(  +\S)")
NO_DECLARATION = re.compile(r"^(#|[}{]|(public|protected|private):|friend\b|namespace\b)")


def comment_of_file(lines):
    """The lines of the header's first comment, of which the last "//" or what follows says that it is the file's."""
    count = next((number for number, line in enumerate(lines) if not line.startswith("//")), len(lines))
    told = ["/" + line for line in lines[:count]]
    if count and lines[count:count + 1] == ["#pragma once"]:
        return told + ["/// @file"], lines[count + 1:]
    return [], lines


def is_comment(line):
    return line.startswith("//") and not line.startswith("///") and not re.match(r"// -{5,}", line)


def ends_declaration(line):
    return re.sub(r"\s*//.*", "", line).endswith((";", "{", "}", ":"))


def described(lines):
    """The lines, with the comment of a family at each of its members."""
    family, own, begins = [], False, True
    for number, line in enumerate(lines):
        bare = line.strip()
        if bare == "":
            family, own, begins = [], False, True
        elif is_comment(bare):
            family = (family if number and is_comment(lines[number - 1].strip()) else []) + [bare[2:].strip()]
            own = False
        elif bare.startswith("///"):
            own = True
        elif DELETED.match(line):
            line = ""
        else:
            if begins and family and not own and not NO_DECLARATION.match(bare):
                line = line[:len(line) - len(line.lstrip())] + f"/** {' '.join(family)} */ " + bare
            begins, own = ends_declaration(bare), False
        yield line


def filtered(text):
    head, rest = comment_of_file(text.splitlines())
    lines = [TRAILING.sub(r"\1 ///< \2", line) for line in [*head, *described(rest)]]
    return "\n".join(DRAWN.sub(r"\1    \2", line) for line in lines) + "\n"


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.write(filtered(header.read()))
