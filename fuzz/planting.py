"""Faults that are planted on purpose, to see that the targets find them.

A file fuzz/planted/NAME.fault:

  # What is wrong, in a sentence.
  target serving
  file components/lcmp/detail/tlvWalk.h
  -    if (header.length > space)
  +    if (header.length > space + 1)

The lines behind '-' stand in the file exactly once, one after the other, however they are indented; those behind '+'
take their place. There may be several such blocks, and several files. A text that is not there is an error: the fault
has to be planted anew.
"""
import contextlib
import dataclasses
import pathlib
import shutil
import sys

COPIED = ["CMakeLists.txt", "cmake", "components", "fuzz", "models", "tests/support", "tests/frames", "tools"]


@dataclasses.dataclass
class Change:
    file: str
    old: list
    new: list


@dataclasses.dataclass
class Fault:
    name: str
    target: str
    changes: list


def read_fault(path):
    fault = Fault(path.stem, "", [])
    file = ""
    change = None
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("-"):
            if change is None or change.new:
                change = Change(file, [], [])
                fault.changes.append(change)
            change.old.append(line[1:])
        elif line.startswith("+") and change is not None:
            change.new.append(line[1:])
        elif line.startswith("target "):
            fault.target = line[len("target "):]
        elif line.startswith("file "):
            file, change = line[len("file "):], None
        elif not line:
            change = None
        elif not line.startswith("#"):
            sys.exit(f"{path}:{number}: neither a comment nor target, file, - or +")
    if not fault.target or not fault.changes or not all(change.file for change in fault.changes):
        sys.exit(f"{path}: a fault has a target, a file and a change")
    return fault


def faults(folder):
    return [read_fault(path) for path in sorted(pathlib.Path(folder).glob("*.fault"))]


def replaced(text, change, where):
    lines = text.split("\n")
    wanted = [line.strip() for line in change.old]
    bare = [line.strip() for line in lines]
    places = [i for i in range(len(lines)) if bare[i:i + len(wanted)] == wanted]
    if len(places) != 1:
        sys.exit(f"{where}: its text stands {len(places)} times in {change.file}, not once:\n" + "\n".join(change.old))
    lines[places[0]:places[0] + len(wanted)] = change.new
    return "\n".join(lines)


@contextlib.contextmanager
def planted(fault, tree):
    """The tree with the fault in it."""
    before = {}
    try:
        for change in fault.changes:
            path = tree / change.file
            text = path.read_text(encoding="utf-8")
            before.setdefault(path, text)
            path.write_text(replaced(text, change, f"fuzz/planted/{fault.name}.fault"), encoding="utf-8")
        yield
    finally:
        for path, text in before.items():
            path.write_text(text, encoding="utf-8")


def copy_of(root, tree):
    """A copy of the sources; files that are the same already stay, and so do what was built of them."""
    def copy(source, destination):
        old = pathlib.Path(destination)
        if not old.exists() or old.read_bytes() != pathlib.Path(source).read_bytes():
            shutil.copyfile(source, destination)
        return destination

    for name in COPIED:
        source, destination = root / name, tree / name
        destination.parent.mkdir(parents=True, exist_ok=True)
        if source.is_dir():
            shutil.copytree(source, destination, copy_function=copy, dirs_exist_ok=True,
                            ignore=shutil.ignore_patterns("corpus", "__pycache__"))
        else:
            copy(source, destination)
    return tree
