"""What the checks of documents have in common: marks, fenced blocks, headings.

A mark is a comment before a fenced block or a table: <!-- part of: FILE -->.
"""
import re

MARK = re.compile(r"<!-- ([a-z ]+): (\S+)(?: (\w+))? -->\n+")
FENCED = re.compile(r"^```(\w*)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)


class Block:
    """A fenced block of a document, and the mark before it, if there is one."""

    def __init__(self, fence, mark, line):
        self.language, self.text = fence.groups()
        self.line = line  # of its text, from 1
        self.kind, self.what, self.detail = mark.groups() if mark else (None, None, None)


def blocks_of(document):
    marks = {mark.end(): mark for mark in MARK.finditer(document)}
    return [Block(fence, marks.get(fence.start()), document.count("\n", 0, fence.start(2)) + 1)
            for fence in FENCED.finditer(document)]


def without_blocks(document):
    return FENCED.sub("", document)


def anchors_of(document):
    """The names by which the headings of a document can be linked to: the second "Files" is files-1."""
    anchors = []
    for title in HEADING.findall(without_blocks(document)):
        anchor = re.sub(r"[^\w -]", "", title.strip().lower()).replace(" ", "-")
        repeated = sum(1 for other in anchors if re.fullmatch(rf"{re.escape(anchor)}(-\d+)?", other))
        anchors.append(f"{anchor}-{repeated}" if anchor in anchors else anchor)
    return set(anchors)
