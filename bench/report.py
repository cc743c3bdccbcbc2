#!/usr/bin/env python3
"""Measures everything and prints it as tables. Called by scripts/bench, which builds what is measured.

usage: report.py BUILD_FOLDER [--quick] [--only PART]... [--core N] [--record]
"""
import argparse
import datetime
import os
import pathlib
import platform
import re
import subprocess
import sys

from measure import Programs

COUNTS = (1, 16, 100)
IN_TURN, IN_FLIGHT = 1, 32
MODES = {IN_TURN: "in turn", IN_FLIGHT: "32 in flight"}

# must reach, aim; for 1, 16 and 100 variables
GOALS = {
    ("echo", "fixed", IN_TURN): [(.93, .98), (.92, .97), (.85, .92)],
    ("echo", "fixed", IN_FLIGHT): [(.95, .99), (.92, .98), (.78, .86)],
    ("echo", "varied", IN_TURN): [(.92, .98), (.90, .97), (.82, .94)],
    ("echo", "varied", IN_FLIGHT): [(.93, .98), (.88, .96), (.60, .90)],
    ("net-snmp", "fixed", IN_TURN): [(1.45, 1.53), (2.1, 2.25), (5.5, 6.2)],
}


def short(number, digits=2):
    """A ratio as the tables write it: .93, 1.45, 14.2"""
    if number == int(number):
        return str(int(number))
    if abs(number) >= 10:
        digits = 1
    return re.sub(r"^0\.", ".", f"{number:.{digits}f}")


def grouped(number):
    return f"{number:,.0f}"


def time_text(nanoseconds):
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return ["| " + " | ".join(line) + " |" for line in lines] + [""]


class Report:
    def __init__(self, programs, quick):
        self.programs = programs
        self.effort = {"pairs": 5, "seconds": 2} if quick else {"pairs": 31, "seconds": 10}
        self.seconds_per_case, self.codec_seconds, self.repetitions = (.15, .02, 5) if quick else (.8, .1, 11)
        self.rates = {}  # (server, mode): [requests per second for each count]

    def ratios(self, a, b, requests, in_flight):
        measured = [self.programs.ratio(a, b, count, requests, in_flight, **self.effort) for count in COUNTS]
        if requests == "fixed":
            self.rates[a, in_flight] = [ratio.rate_a for ratio in measured]
            self.rates[b, in_flight] = [ratio.rate_b for ratio in measured]
        return measured

    def row(self, label, a, requests, in_flight, b="card"):
        measured = [f"{short(ratio.median)} ±{short(ratio.spread)}" for ratio in self.ratios(a, b, requests, in_flight)]
        goals = None if "by hand" in b else GOALS.get((a, requests, in_flight))
        if not goals:
            return [f"{label}: measured", *measured]
        cells = [f"{cell} ({short(must)} / {short(aim)})" for cell, (must, aim) in zip(measured, goals)]
        return [f"{label}: measured (must reach / aim)", *cells]

    def served(self):
        """The card against a bare echo of datagrams of the same sizes"""
        head = ["served reads, ratio to echo", *(f"N={count}" for count in COUNTS)]
        rows = [self.row("in turn", "echo", "fixed", IN_TURN),
                self.row("32 in flight", "echo", "fixed", IN_FLIGHT),
                self.row("varied variables, in turn", "echo", "varied", IN_TURN, "card of 2,048"),
                self.row("varied variables, 32 in flight", "echo", "varied", IN_FLIGHT, "card of 2,048"),
                self.row("192 objects, in turn", "echo", "fixed", IN_TURN, "card of 192 objects"),
                self.row("192 objects, 32 in flight", "echo", "fixed", IN_FLIGHT, "card of 192 objects"),
                *(self.row(f"**by hand**, {label}{MODES[mode]}", "echo", requests, mode, server)
                  for requests, label, server in (("fixed", "", "by hand"), ("varied", "varied variables, ", "2,048 by hand"))
                  for mode in MODES)]
        return table(head, rows)

    def peers(self):
        """The card against its peers, the same client for all"""
        head = ["served reads", *(f"N={count}" for count in COUNTS)]
        rows = []
        for peer, name in (("net-snmp", "the net-snmp agent"), ("libcoap", "the libcoap server")):
            for mode, mode_name in MODES.items():
                rows.append(self.row(f"ratio to {name}, {mode_name}", peer, "fixed", mode))
        return table(head, rows)

    def rate_table(self):
        rows = [[f"{server}, {MODES[mode]}", *(grouped(rate) for rate in rates)]
                for (server, mode), rates in sorted(self.rates.items())]
        return table(["requests per second, one core for both sides", *(f"N={count}" for count in COUNTS)], rows)

    def codec(self):
        """The codec alone, 100 elements with 32-bit values"""
        times = self.programs.codec(self.codec_seconds, self.repetitions)
        contenders = [("by hand", "ByHand"), ("`LCMPTlv`", "Tlv"), ("`TypeProperty`", "Property"),
                      ("`TypeProperty` with `checkBuffer`", "CheckedProperty"), ("protobuf", "Protobuf"),
                      ("protobuf, message filled before", "FilledProtobuf"), ("nanopb", "Nanopb")]
        lines = []
        for way, factor in (("encode", 2.5), ("decode", 2)):
            rows = []
            for label, name in contenders:
                nanoseconds = times.get(way + name)
                if nanoseconds is None:
                    continue
                ours = name in ("Tlv", "Property")
                rows.append([label, f"{nanoseconds:.2f}",
                             short(nanoseconds / times[way + "ByHand"]) + (f" (at most {factor})" if ours else ""),
                             short(times[way + "Protobuf"] / nanoseconds) + (" (at least 6)" if ours else "")])
            lines += table([f"{way}, per TLV", "ns", "times the hand-written loop", "times faster than protobuf"], rows)
        return lines

    def instructions(self):
        """Instructions of a whole read inside the process, counted by callgrind"""
        labels = {"read": ("read of 100", "160", "100"),
                  "varied": ("read of 100 out of 2,048, varied", "", ""),
                  "objects": ("read of 100, 192 objects", "", ""), "write": ("write of 100", "", "")}
        rows, functions = [], {}
        for kind, (label, most, aim) in labels.items():
            count, by_function = self.programs.instructions(kind)
            rows.append([label, grouped(count), most, aim])
            functions = functions or by_function
        top = list(functions.items())[:10]
        return (table(["instructions per TLV", "measured", "at most", "aim"], rows) +
                table(["read of 100, where they go", "instructions per TLV"],
                      [[f"`{name.split('(')[0]}`", f"{count:.1f}"] for name, count in top]))

    def allocations(self):
        """Calls of the allocator and of the system for one served request, endpoint and socket included"""
        labels = {"read": "read, integers", "read-texts": "read, integers and texts", "write": "write, integers"}
        rows = [[labels[kind], str(variables), short(count), "0"]
                for kind, variables, count in self.programs.allocations()]
        return table(["allocations per request", "variables", "measured", "must reach"], rows)

    def system_calls(self):
        """System calls of the server for one served request, when requests are waiting"""
        try:
            calls = self.programs.system_calls(IN_FLIGHT)
        except (OSError, RuntimeError) as reason:
            return [f"They were not counted: {reason}", ""]
        which = ", ".join(f"{call} {short(count)}" for call, count in sorted(calls.items()))
        return table(["system calls per request", "must reach", "which"], [[short(sum(calls.values())), "2", which]])

    def growth(self):
        """How cost grows with what there is, processor time inside the process"""
        groups = self.programs.growth(self.seconds_per_case)
        lines = self.growth_table("read of 100, registered objects", groups["objects"], last="at most 1.2")
        lines += self.growth_table("read of 100, rows, always the same", groups["rows-fixed"])
        lines += self.growth_table("read of 100, rows, varied", groups["rows-varied"])
        elements = groups["elements"]
        lines += table(["read, TLVs", *elements],
                       [["time of a read", *(time_text(time) for time in elements.values())],
                        ["time per TLV", *(time_text(time / int(case)) for case, time in elements.items())]])
        sizes = ["100", "10000", "1000000"]
        rows = [[label, *(time_text(groups["changes"][f"{kind}/{size}"]) for size in sizes)]
                for kind, label in (("unchanged", "nothing changed"), ("one", "one changed"))]
        return lines + table(["`eventHandler`, properties", *(grouped(int(size)) for size in sizes)], rows)

    @staticmethod
    def growth_table(label, cases, last=""):
        times = list(cases.values())
        ratios = [short(time / times[0]) for time in times]
        if last:
            ratios[-1] += f" ({last})"
        return table([label, *(grouped(int(case)) for case in cases)],
                     [["time", *(time_text(time) for time in times)], ["times the first", *ratios]])


PARTS = ["served", "peers", "codec", "instructions", "growth", "allocations", "system_calls"]


def package_version(package):
    try:
        version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True,
                                 check=True).stdout
    except (OSError, subprocess.CalledProcessError):
        return "?"
    return re.sub(r"^\d+:|[+-].*$", "", version)


def machine(build):
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"))
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    compiler = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", cache, re.MULTILINE)[1]
    version = subprocess.run([compiler, "-dumpfullversion", "-dumpversion"], capture_output=True, text=True, check=True)
    kernel = ".".join(platform.release().split(".")[:2])
    peers = [("net-snmp", "libsnmp-dev"), ("libcoap", "libcoap3-dev"), ("protobuf", "libprotobuf-dev"),
             ("nanopb", "libnanopb-dev")]
    return (f"{cpu[1].strip() if cpu else platform.machine()}, {os.cpu_count()} processors, Linux {kernel}, "
            f"{pathlib.Path(compiler).name} {version.stdout.strip()}, "
            + ", ".join(f"{name} {package_version(package)}" for name, package in peers))


def record(lines):
    readme = pathlib.Path(__file__).with_name("README.md")
    begin, end = "<!-- written by scripts/bench --record -->\n", "<!-- end of what is written -->\n"
    before, rest = readme.read_text(encoding="utf-8").split(begin)
    after = rest.split(end)[1]
    readme.write_text(before + begin + "\n" + "\n".join(lines).rstrip() + "\n\n" + end + after, encoding="utf-8")


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description="Measures everything; seven minutes.")
    parser.add_argument("build", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true", help="two minutes, noisier")
    parser.add_argument("--only", action="append", choices=PARTS, help="this part only; may be repeated")
    parser.add_argument("--core", type=int, default=max(os.sched_getaffinity(0)), help="the processor to run on")
    parser.add_argument("--record", action="store_true", help="put the result into bench/README.md, too")
    given = parser.parse_args()
    if given.record and (given.quick or given.only):
        parser.error("only a whole run is recorded")
    return given


def main():
    given = arguments()
    os.sched_setaffinity(0, {given.core})  # whoever is started from here inherits it
    if os.getloadavg()[0] > 0.5:
        print("bench: other programs are at work; the figures will be noisy", file=sys.stderr)
    report = Report(Programs(given.build / "bench"), given.quick)
    today = datetime.date.today().isoformat()
    lines = [f"{today}: {machine(given.build)}.", ""]
    print("\n".join(lines), flush=True)
    for part in given.only or PARTS:
        measure = getattr(report, part)
        section = [f"### {measure.__doc__}", "", *measure()]
        if part == "peers":
            section += report.rate_table()
        print("\n".join(section), flush=True)
        lines += section
    if given.record:
        record(lines)


if __name__ == "__main__":
    main()
