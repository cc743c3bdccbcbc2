#!/usr/bin/env python3
"""Holds what the documents quote against what they quote it from.

usage: docs.py ROOT

A comment before a fenced block or a table says where its text comes from:
  <!-- same as: FILE -->            the block is the file
  <!-- part of: FILE -->            the block is some lines of the file, one after the other
  <!-- bytes of: FILE -->           the hexadecimal bytes of the block, up to a '#', are those of the file
  <!-- values of: FILE ENUM -->     first column the value, second the name, of the enumeration's enumerators
  <!-- files of: FOLDER -->         the block names every header and source of the folder, and no others
  <!-- compiles: statements -->     fragments.py compiles the block; "declarations" outside of a function
  <!-- file: NAME -->               session.py has the block as a file of this name
In the guides, docs/, every block of C++, CMake and YAML has a mark, and the first page leads to all others.
Relative links lead to files that exist, and to headings that exist.
"""
import pathlib
import re
import sys

from pages import FENCED, MARK, anchors_of, blocks_of, without_blocks

QUOTES = {"same as", "part of", "bytes of", "values of", "files of"}
OTHERS = {"compiles", "file"}
WAYS_TO_COMPILE = {"statements", "declarations"}
TABLE = re.compile(r"(?:^\|.*\|\n)+", re.MULTILINE)
FILE = re.compile(r"\b\w+\.(?:h|cpp)\b")
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)|^\[[^\]]+\]: (\S+)", re.MULTILINE)
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
        if kind in OTHERS:
            if not block:
                yield f"has no block behind '{kind}: {path}'"
            elif kind == "compiles" and path not in WAYS_TO_COMPILE:
                yield f"has a block to compile as '{path}'"
        elif kind not in QUOTES:
            yield f"has a mark that means nothing, '{kind}'"
        elif not source.exists():
            yield f"quotes {path}, which does not exist"
        elif not block:
            yield f"has no block to hold against {path}"
        elif not is_quoted(kind, block[block.lastindex or 0], source, detail):
            yield f"does not agree with {path} ({kind}{' ' + detail if detail else ''})"


def faults_of_blocks(text):
    """Of a guide: whoever reads it copies what it shows."""
    for block in blocks_of(text):
        if block.language in {"cpp", "cmake", "yaml"} and block.kind is None:
            yield f"has a block of {block.language} that nothing is held against: {block.text.splitlines()[0]}"


def links_of(text):
    return [inline or reference for inline, reference in LINK.findall(without_blocks(text))]


def faults_of_links(document, text):
    for link in links_of(text):
        if re.match(r"\w+:", link):
            continue
        path, _, anchor = link.partition("#")
        target = document.parent / path if path else document
        if not target.exists():
            yield f"links to {link}, which does not exist"
        elif anchor and anchor not in anchors_of(target.read_text(encoding="utf-8")):
            yield f"links to {link}, and there is no such heading"


def faults_of_map(guides):
    """The first page of the guides names every other one."""
    first = guides / "overview.md"
    if not first.exists():
        return
    linked = {(guides / link.partition("#")[0]).resolve() for link in links_of(first.read_text(encoding="utf-8"))}
    for page in sorted(guides.glob("*.md")):
        if page != first and page.resolve() not in linked:
            yield f"does not lead to {page.name}"


def faults_of(root):
    documents = [*root.glob("*.md")]
    for place in ["docs", "components", "tools", "examples", "bench", "models"]:
        documents += (root / place).rglob("*.md")
    documents += (root / "fuzz").glob("*.md")
    faults = []
    for document in sorted(documents):
        text = document.read_text(encoding="utf-8")
        found = [*faults_of_quotes(root, text), *faults_of_links(document, text)]
        if document.parent == root / "docs":
            found += faults_of_blocks(text)
        faults += [f"{document.relative_to(root)}: {fault}" for fault in found]
    faults += [f"docs/overview.md: {fault}" for fault in faults_of_map(root / "docs")]
    return faults, len(documents)


def main():
    faults, seen = faults_of(pathlib.Path(sys.argv[1]).resolve())
    print("\n".join(faults) if faults else f"{seen} documents quote what stands")
    return 1 if faults or seen == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
