#!/usr/bin/env python3
"""Holds what the documents quote against what they quote it from.

usage: docs.py ROOT

A comment before a fenced block or a table says where its text comes from:
  <!-- same as: FILE -->            the block is the file
  <!-- part of: FILE -->            the block is some lines of the file, one after the other
  <!-- bytes of: FILE -->           the hexadecimal bytes of the block, up to a '#', are those of the file
  <!-- values of: FILE ENUM -->     first column the value, second the name, of the enumeration's enumerators
  <!-- files of: FOLDER -->         the block names every header and source of the folder, and no others
Relative links lead to files that exist, and to headings that exist.
"""
import pathlib
import re
import sys

MARK = re.compile(r"<!-- (same as|part of|bytes of|values of|files of): (\S+)(?: (\w+))? -->\n+")
FENCED = re.compile(r"```\w*\n(.*?)^```$", re.DOTALL | re.MULTILINE)
TABLE = re.compile(r"(?:^\|.*\|\n)+", re.MULTILINE)
FILE = re.compile(r"\b\w+\.(?:h|cpp)\b")
LINK = re.compile(r"(?<!!)\[[^\]]*\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)
ENUMERATOR = re.compile(r"^\s*(\w+) = (\d+)\b", re.MULTILINE)


def bytes_in(text):
    """The hexadecimal digits of a text in which '#' begins a comment and blanks and '|' separate."""
    return "".join(re.sub(r"[\s|]", "", line.split("#")[0]) for line in text.splitlines()).upper()


def rows_of(table):
    """{value: name} of a table's rows."""
    cells = [[cell.strip(" `") for cell in line.strip("|").split("|")] for line in table.splitlines()]
    return {int(row[0]): row[1] for row in cells if row[0].isdigit()}


def values_of(text, enumeration):
    body = re.search(rf"^enum {enumeration}\b[^{{;]*\{{(.*?)^\}};", text, re.DOTALL | re.MULTILINE)
    return {int(value): name for name, value in ENUMERATOR.findall(body[1])} if body else {}


def is_quoted(kind, block, source, detail):
    if kind == "files of":
        return set(FILE.findall(block)) == {path.name for path in source.iterdir() if path.suffix in {".h", ".cpp"}}
    text = source.read_text(encoding="utf-8")
    if kind == "same as":
        return block == text
    if kind == "part of":
        return block.strip() != "" and "\n" + block in "\n" + text
    if kind == "bytes of":
        return bytes_in(block) == bytes_in(text) != ""
    return rows_of(block) == values_of(text, detail) != {}


def faults_of_quotes(root, text):
    for mark in MARK.finditer(text):
        kind, path, detail = mark.groups()
        block = (TABLE if kind == "values of" else FENCED).match(text, mark.end())
        source = root / path
        if not source.exists():
            yield f"quotes {path}, which does not exist"
        elif not block:
            yield f"has no block to hold against {path}"
        elif not is_quoted(kind, block[block.lastindex or 0], source, detail):
            yield f"does not agree with {path} ({kind}{' ' + detail if detail else ''})"


def anchors_of(text):
    """The names by which the headings of a text can be linked to."""
    return {re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in HEADING.findall(text)}


def faults_of_links(document, text):
    for link in LINK.findall(text):
        if re.match(r"\w+:", link):
            continue
        path, _, anchor = link.partition("#")
        target = document.parent / path if path else document
        if not target.exists():
            yield f"links to {link}, which does not exist"
        elif anchor and anchor not in anchors_of(target.read_text(encoding="utf-8")):
            yield f"links to {link}, and there is no such heading"


def faults_of(root):
    documents = [path for place in [root, root / "docs", root / "components", root / "tools", root / "examples"]
                 for path in (place.glob("*.md") if place == root else place.rglob("*.md"))]
    faults = []
    for document in sorted(documents):
        text = document.read_text(encoding="utf-8")
        for fault in [*faults_of_quotes(root, text), *faults_of_links(document, text)]:
            faults.append(f"{document.relative_to(root)}: {fault}")
    return faults, len(documents)


def main():
    faults, seen = faults_of(pathlib.Path(sys.argv[1]).resolve())
    print("\n".join(faults) if faults else f"{seen} documents quote what stands")
    return 1 if faults or seen == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
