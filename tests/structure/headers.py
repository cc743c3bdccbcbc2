#!/usr/bin/env python3
"""Compiles a public header by itself, the way somebody who includes nothing else before it would.

usage: headers.py HEADER... -- INCLUDE_FOLDERS COMPILER FLAG...

One header is compiled as the first and only include of a source, twice over, and afterwards no name that a
public enumeration needs and no macro of <syslog.h> may have become a macro. Several headers are compiled
together behind the system's own, in the order given and in the opposite one. A header defines no macro of
its own but such that begin with LCMP_. The flags make warnings errors; colons separate the folders.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.DOTALL)
ENUMERATION = re.compile(r"\benum\b[^;{]*\{([^}]*)\}")
DEFINE = re.compile(r"^\s*#\s*define\s+(\w+)", re.MULTILINE)
FOREIGN = ["LOG_ERR", "LOG_WARNING", "LOG_DEBUG", "LOG_INFO", "LOG_USER"]
SYSTEM = ["syslog.h", "arpa/inet.h", "netinet/in.h", "net/if.h", "sys/socket.h", "unistd.h", "cstdint", "ctime"]


def enumerators_of(text):
    """The names that the text's enumerations define."""
    bodies = ENUMERATION.findall(COMMENT.sub("", text))
    return [item.split("=")[0].strip() for body in bodies for item in body.split(",") if item.strip()]


def names_of_folder(header):
    """What must not be a macro: the enumerators of every header beside this one, and what syslog.h defines."""
    names = {name for path in sorted(header.parent.glob("*.h")) for name in enumerators_of(path.read_text())}
    return sorted(names) + FOREIGN


def alone(header):
    tests = [f"#ifdef {name}\n#error {name} is a macro\n#endif" for name in names_of_folder(header)]
    return "\n".join([f'#include "{header}"', f'#include "{header}"', *tests, "int main() { return 0; }\n"])


def behind_the_system(headers):
    includes = [f"#include <{name}>" for name in SYSTEM] + [f'#include "{header}"' for header in headers]
    return "\n".join([*includes, "int main() { return 0; }\n"])


def compiles(source, command):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "consumer.cpp"
        path.write_text(source)
        return subprocess.run([*command, "-fsyntax-only", str(path)], check=False).returncode == 0


def own_macros_are_ours(header):
    strangers = [name for name in DEFINE.findall(header.read_text()) if not name.startswith("LCMP_")]
    for name in strangers:
        print(f"{header.name} defines the macro {name}, which does not begin with LCMP_", file=sys.stderr)
    return not strangers


def check(headers, command):
    if len(headers) == 1:
        return own_macros_are_ours(headers[0]) and compiles(alone(headers[0]), command)
    return all(compiles(behind_the_system(order), command) for order in (headers, headers[::-1]))


def command_of(arguments):
    """The compiler's command line from INCLUDE_FOLDERS COMPILER FLAG..."""
    folders, *command = arguments
    return command + [f"-I{folder}" for folder in folders.split(":") if folder]


def main():
    arguments = sys.argv[1:]
    split = arguments.index("--") if "--" in arguments else 0
    headers, command = [pathlib.Path(name).resolve() for name in arguments[:split]], command_of(arguments[split + 1:])
    if not headers or not command:
        print(__doc__, file=sys.stderr)
        return 2
    return 0 if check(headers, command) else 1


if __name__ == "__main__":
    sys.exit(main())
