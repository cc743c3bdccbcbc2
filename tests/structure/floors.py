#!/usr/bin/env python3
"""Holds every #include of the project against the floors of the house.

usage: floors.py [ROOT]

A file may include what stands on a floor below its own, and the other files of its room. Two sources look up;
they are listed, and no header does. Prints one line a fault, and exits 1 if there is one.
"""
import fnmatch
import pathlib
import re
import sys

# From the ground up. A floor is a list of rooms, a room a list of files. Rooms of one floor do not know each other.
LCMP = "components/lcmp/"
FLOORS = [
    [["components/platform/*"], [LCMP + "lcmpExport.h"]],
    [[LCMP + "detail/*"]],
    [[LCMP + "lcmpTlv.*"], [LCMP + "lcmpResult.*"]],
    [[LCMP + "lcmpTlvText.cpp"]],
    [[LCMP + "lcmpObjectId.*"]],
    [[LCMP + "lcmpPropertyBase.*"]],
    [[LCMP + "lcmpNumericProperty.*"], [LCMP + "lcmpTextProperty.*"], [LCMP + "lcmpAddressProperty.*"],
     [LCMP + "lcmpOldStyleProperty.*"]],
    [[LCMP + "lcmpProperty.h"]],
    [[LCMP + "lcmpObjects.*"]],
    [[LCMP + "lcmpmsg.*"], [LCMP + "lcmpObjectIndex.cpp"]],
    [[LCMP + "lcmpEventValueTable.*"], [LCMP + "lcmpCardVariables.*"]],
    [[LCMP + "lcmpProtocolBase.*"]],
    [[LCMP + "lcmpServing.cpp"], [LCMP + "lcmpRequesting.cpp"], [LCMP + "lcmpReporting.cpp"]],
    [["components/lcmpudp/*"], ["components/lcmpmodel/*"]],
    [["tools/*"], ["examples/*"]],
    [["tests/*", "fuzz/*", "bench/*"]],
]

# A property asks its owner for the OID; a message asks the endpoint about elements that no object owns.
LOOKS_UP = {
    LCMP + "lcmpPropertyBase.cpp": LCMP + "lcmpObjects.h",
    LCMP + "lcmpmsg.cpp": LCMP + "lcmpProtocolBase.h",
}

# The library does no I/O and starts no threads.
NOT_IN_CORE = ["thread", "mutex", "shared_mutex", "condition_variable", "future", "pthread.h", "fstream",
               "filesystem", "fcntl.h", "unistd.h", "poll.h", "netdb.h", "netinet/*", "sys/socket.h", "sys/select.h",
               "sys/epoll.h"]

SEARCHED = ["components/platform", "components/lcmp", "components/lcmpudp", "components/lcmpmodel", "tools/lcmp",
            "tests/support"]
PLACES = ["components", "tools", "examples", "tests", "fuzz", "bench"]
SUFFIXES = {".h", ".hpp", ".cpp", ".cc", ".inc"}
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"(?P<quoted>[^"]+)"|<(?P<angled>[^>]+)>|(?P<other>\S.*))')


def place_of(path):
    """(floor, room) of a file, or None."""
    for floor, rooms in enumerate(FLOORS):
        for room, patterns in enumerate(rooms):
            if any(fnmatch.fnmatchcase(path, pattern) for pattern in patterns):
                return floor, room
    return None


def files_of(root):
    for place in PLACES:
        for path in sorted((root / place).rglob("*")):
            if path.suffix in SUFFIXES and path.is_file():
                yield path.relative_to(root).as_posix()


def includes_of(text):
    """(line number, name, quoted) of each #include; the name is None where it cannot be read."""
    for number, line in enumerate(text.splitlines(), start=1):
        match = INCLUDE.match(line)
        if match:
            yield number, match["quoted"] or match["angled"], match["quoted"] is not None


def resolve(root, includer, name):
    """The file of the project that is meant, or None."""
    for folder in [(root / includer).parent, *(root / place for place in SEARCHED)]:
        candidate = (folder / name).resolve()
        if candidate.is_file() and root in candidate.parents:
            return candidate.relative_to(root).as_posix()
    return None


def fault_of_system_header(includer, name):
    if includer.startswith(LCMP) and any(fnmatch.fnmatchcase(name, pattern) for pattern in NOT_IN_CORE):
        return f"includes <{name}>: the library does no I/O and starts no threads"
    return None


def fault_of_detail(includer, included):
    library, detail, _ = included.partition("/detail/")
    if not detail or includer.startswith(library + detail):
        return None
    if not includer.startswith(library + "/"):
        return f"includes {included}, which only the library's own sources see"
    if includer.endswith(".h"):
        return f"includes {included}, which is not installed, from a public header"
    return None


def fault_of_floors(includer, included):
    own, other = place_of(includer), place_of(included)
    if other is None:
        return f"includes {included}, which has no floor"
    if other[0] < own[0] or other == own or LOOKS_UP.get(includer) == included:
        return None
    where = "in another room of the same floor" if other[0] == own[0] else "above it"
    return f"includes {included}, which stands {where}"


def fault_of_include(root, includer, name, quoted):
    if name is None:
        return "includes by a macro, which cannot be held against the floors"
    included = resolve(root, includer, name)
    if included is None:
        tested = place_of(includer)[0] == len(FLOORS) - 1
        if quoted and not tested:
            return f'includes "{name}", which is no file of the project: write it with <>'
        return fault_of_system_header(includer, name)
    return fault_of_detail(includer, included) or fault_of_floors(includer, included)


def faults_of(root):
    faults, seen, looked_up = [], 0, set()
    for includer in files_of(root):
        seen += 1
        if place_of(includer) is None:
            faults.append(f"{includer}: has no floor; give it one in {pathlib.Path(__file__).name}")
            continue
        for number, name, quoted in includes_of((root / includer).read_text(encoding="utf-8")):
            fault = fault_of_include(root, includer, name, quoted)
            if fault:
                faults.append(f"{includer}:{number}: {fault}")
            elif name and resolve(root, includer, name) == LOOKS_UP.get(includer):
                looked_up.add(includer)
    faults += [f"{source}: no longer looks up to {LOOKS_UP[source]}: strike it from the exceptions"
               for source in sorted(set(LOOKS_UP) - looked_up)]
    return faults, seen


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parents[2]).resolve()
    faults, seen = faults_of(root)
    print("\n".join(faults) if faults else f"{seen} files keep to the floors")
    return 1 if faults or seen == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
