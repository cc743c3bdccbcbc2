#!/usr/bin/env python3
"""Builds and runs the fuzz targets; see scripts/fuzz --help."""
import concurrent.futures
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys

import planting

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "fuzz"
CORPUS = ROOT / "fuzz" / "corpus"
FINDINGS = BUILD / "findings"
WORK = BUILD / "work"  # what the runs on this machine have found out, beside the committed inputs
SEEDS = BUILD / "seeds"
TARGETS = sorted(path.stem for path in (ROOT / "fuzz" / "targets").glob("*.cpp"))
JOBS = int(os.environ.get("JOBS", "2"))
BUILD_JOBS = ["--parallel", str(JOBS)] if "JOBS" in os.environ else []

LARGEST_INPUT = 4096  # bytes
COVERAGE_WANTED = 95.0  # per cent of lines
PLANTED_SECONDS = 60  # of the processor: other work on the machine takes nothing from a target

SANITIZERS = "-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer"
OPTIMISED = "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1"
TOOLCHAIN = ROOT / "cmake" / "powerpc-linux-gnu.cmake"
YAML_CPP = ROOT / "build" / "sources" / "yaml-cpp"
CONFIGURATIONS = {
    "engine": ["-DCMAKE_CXX_COMPILER=clang++", OPTIMISED, "-DLCMP_FUZZ_ENGINE=ON",
               f"-DCMAKE_CXX_FLAGS={SANITIZERS} -fsanitize=fuzzer-no-link"],
    "native": ["-DCMAKE_CXX_COMPILER=g++", OPTIMISED, f"-DCMAKE_CXX_FLAGS={SANITIZERS}"],
    "powerpc": [f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}", f"-DLCMP_YAML_CPP_SOURCE_DIR={YAML_CPP}"],
    "coverage": ["-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O0 -g1",
                 "-DCMAKE_CXX_FLAGS=-fprofile-instr-generate -fcoverage-mapping"],
}
QEMU = ["qemu-ppc", "-L", "/usr/powerpc-linux-gnu"]

# Whose lines the committed inputs have to cover: codec, framing, serving, and how a property judges an element.
COVERED_FILES = ["lcmpTlv.cpp", "lcmpTlvText.cpp", "lcmpmsg.cpp", "lcmpServing.cpp", "detail/bytes.h",
                 "detail/tlvHeader.h", "detail/tlvWalk.h"]
COVERED_FUNCTIONS = {"lcmpPropertyBase.cpp": ["checkBuffer", "hasOid", "hasSize", "readWidth"]}

SANITIZER_OPTIONS = {
    "ASAN_OPTIONS": "detect_leaks=1:strict_string_checks=1:check_initialization_order=1",
    "UBSAN_OPTIONS": "halt_on_error=1:print_stacktrace=1",
}


def fail(text):
    sys.exit(f"fuzz: {text}")


def say(text):
    print(text, file=sys.stderr, flush=True)


def shown(path):
    return os.path.relpath(path, ROOT)


def check_invariants():
    """The numbers and names that the targets cite are those of the documents."""
    def listed(path, pattern):
        text = path.read_text(encoding="utf-8")
        return {(number, name.lower()) for number, name in re.findall(pattern, text, re.MULTILINE)}

    cited = listed(ROOT / "fuzz" / "support" / "invariants.h", r'Invariant \w+\{(\d+), "([^"]*)"\}')
    for path in [ROOT / "fuzz" / "README.md", ROOT / "docs" / "security.md"]:
        missing = cited - listed(path, r"^(\d+)\. \*\*([^*]*)\.\*\*") if path.exists() else set()
        if missing:
            fail(f"{shown(path)} lacks '{'. '.join(min(missing))}', which fuzz/support/invariants.h cites")


# ---------------------------------------------------------------- building

def build(kind, programs, source=ROOT, folder=None):
    """Builds programs of one configuration and returns the folder that holds them."""
    folder = folder or BUILD / kind
    folder.mkdir(parents=True, exist_ok=True)
    environment = {**os.environ, "CCACHE_BASEDIR": str(source), "CCACHE_NOHASHDIR": "1"}
    launcher = shutil.which("ccache")
    configure = ["cmake", "-S", source, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                 # A planted fault may leave something unused; that is no fault that a target has to find.
                 f"-DLCMP_WERROR={'ON' if source == ROOT else 'OFF'}", "-DLCMP_BUILD_FUZZ=ON",
                 "-DLCMP_BUILD_TESTS=OFF", "-DLCMP_BUILD_EXAMPLES=OFF",
                 *([f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}"] if launcher else []), *CONFIGURATIONS[kind]]
    with open(folder / "build.log", "w", encoding="utf-8") as log:
        for command in [configure, ["cmake", "--build", folder, *BUILD_JOBS, "--target", *programs]]:
            if subprocess.run(command, env=environment, stdout=log, stderr=log, check=False).returncode != 0:
                say((folder / "build.log").read_text(encoding="utf-8", errors="replace")[-8000:])
                fail(f"the {kind} build failed; {shown(folder / 'build.log')} has all of it")
    return folder / "fuzz"


def programs_of(targets):
    return [f"fuzz_{target}" for target in targets]


def chosen(names):
    for name in names:
        if name not in TARGETS:
            fail(f"there is no target '{name}'; there are {', '.join(TARGETS)}")
    return names or TARGETS


def at_once(function, items):
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        return list(pool.map(function, items))


# ---------------------------------------------------------------- fuzzing

def engine_run(program, target, seconds, folders, artifacts, log, *more, prefix=()):
    """Runs a target under the engine; its exit status. What it says goes to `log`."""
    artifacts.mkdir(parents=True, exist_ok=True)
    command = [*prefix, program, f"-max_total_time={seconds}", f"-max_len={LARGEST_INPUT}", "-timeout=20",
               "-rss_limit_mb=1500", f"-dict={ROOT / 'fuzz' / 'lcmp.dict'}", f"-artifact_prefix={artifacts}/{target}-",
               "-print_final_stats=1", *more, *folders]
    with open(log, "wb") as out:
        return subprocess.run(command, stdout=out, stderr=out, env={**os.environ, **SANITIZER_OPTIONS},
                              check=False).returncode


def last(pattern, text, otherwise="-"):
    found = re.findall(pattern, text)
    return found[-1] if found else otherwise


def cause(log, otherwise="it ended without saying why"):
    """The line of a log that says what was wrong."""
    wrong = re.search(r"^.*(?:invariant \d+.*|runtime error: .*|ERROR: \w+Sanitizer: .*|ERROR: libFuzzer: .*)$", log,
                      re.MULTILINE)
    return wrong[0].strip()[:300] if wrong else otherwise


class Run:
    """What came of fuzzing one target."""

    def __init__(self, target, binaries, seconds):
        self.target = target
        work = WORK / target
        work.mkdir(parents=True, exist_ok=True)
        before = set(FINDINGS.glob(f"{target}-*"))
        log_path = BUILD / f"{target}.log"
        folders = [work, *(folder for folder in [CORPUS / target, SEEDS / target] if folder.is_dir())]
        self.status = engine_run(binaries / f"fuzz_{target}", target, seconds, folders, FINDINGS, log_path)
        self.log = log_path.read_text(encoding="utf-8", errors="replace")
        self.findings = sorted(set(FINDINGS.glob(f"{target}-*")) - before)
        self.failed = self.status != 0

    def row(self):
        return [self.target, last(r"stat::number_of_executed_units: (\d+)", self.log),
                last(r"stat::average_exec_per_sec: +(\d+)", self.log), last(r"\bcov: (\d+)", self.log),
                last(r"\bcorp: (\d+)", self.log), str(max(len(self.findings), int(self.failed)))]


def print_table(heading, rows):
    widths = [max(len(row[i]) for row in [heading, *rows]) for i in range(len(heading))]
    for row in [heading, *rows]:
        cells = [row[0].ljust(widths[0]), *(cell.rjust(width) for cell, width in zip(row[1:], widths[1:]))]
        print("  ".join(cells))


def make_seeds(binaries):
    shutil.rmtree(SEEDS, ignore_errors=True)
    subprocess.run([binaries / "fuzz_seeds", SEEDS], check=True)


def fuzz(arguments):
    seconds = int(arguments.pop(0)) if arguments and arguments[0].isdigit() else 60
    targets = chosen(arguments)
    binaries = build("engine", [*programs_of(targets), "fuzz_seeds"])
    make_seeds(binaries)
    runs = at_once(lambda target: Run(target, binaries, seconds), targets)
    print_table(["target", "executions", "exec/s", "coverage", "inputs", "findings"], [run.row() for run in runs])
    failed = [run for run in runs if run.failed]
    for run in failed:
        print(f"\n{run.target}: {cause(run.log)}\n  the whole report: {shown(BUILD / (run.target + '.log'))}")
        for finding in run.findings:
            print(f"  again: scripts/fuzz --replay {shown(finding)}")
    print(f"\ncount: {len(runs)} targets")
    return 1 if failed else 0


# ---------------------------------------------------------------- replaying

def replay_one(job):
    target, files, binaries, prefix = job
    program = binaries / f"fuzz_{target}"
    log = binaries / f"{target}.log"
    with open(log, "wb") as out:
        status = subprocess.run([*prefix, program, *files], stdout=out, stderr=out,
                                env={**os.environ, **SANITIZER_OPTIONS}, check=False).returncode
    text = log.read_text(encoding="utf-8", errors="replace")
    return target, status, int(last(r"replayed (\d+)", text, 0)), text, log


def files_by_target(arguments):
    """{target: files or folders to replay}"""
    files = {}
    for argument in arguments:
        path = pathlib.Path(argument)
        if argument in TARGETS:
            files.setdefault(argument, []).append(CORPUS / argument)
        elif path.exists():
            target = next((name for name in TARGETS if path.name.startswith(name + "-")), path.resolve().parent.name)
            files.setdefault(chosen([target])[0], []).append(path.resolve())
        else:
            fail(f"'{argument}' is no target and no file; targets are {', '.join(TARGETS)}")
    return files or {target: [CORPUS / target] for target in TARGETS}


def replay(arguments):
    machine = "native"
    if arguments[:1] == ["--on"]:
        machine = arguments[1] if len(arguments) > 1 else ""
        arguments = arguments[2:]
        if machine not in ("native", "powerpc"):
            fail(f"--on native or --on powerpc, not '{machine}'")
    files = files_by_target(arguments)
    binaries = build(machine, programs_of(files))
    prefix = QEMU if machine == "powerpc" else []
    done = at_once(replay_one, [(target, paths, binaries, prefix) for target, paths in files.items()])
    print_table(["target", "inputs", f"on {machine}"],
                [[target, str(count), "passed" if status == 0 else "FAILED"] for target, status, count, _, _ in done])
    failed = [result for result in done if result[1] != 0]
    for target, _, _, text, log in failed:
        stopped_at = last(r"\r([^\r\n]+?) (?=\r|\n|$)", text, "none")
        print(f"\n{target}: {cause(text)}\n  at the input {stopped_at}\n  the whole report: {shown(log)}")
    print(f"\ncount: {sum(result[2] for result in done)} inputs")
    return 1 if failed else 0


# ---------------------------------------------------------------- coverage

def llvm(tool):
    for name in [f"{tool}-14", tool]:
        if shutil.which(name):
            return name
    fail(f"{tool} is missing; it comes with llvm-14")


def traced_lines(binaries):
    """{file below components/lcmp: ({line: times run}, [(line, mangled name) of each function])}"""
    profiles = binaries / "profiles"
    shutil.rmtree(profiles, ignore_errors=True)
    for target in TARGETS:
        status = subprocess.run([binaries / f"fuzz_{target}", CORPUS / target], stdout=subprocess.DEVNULL,
                                env={**os.environ, "LLVM_PROFILE_FILE": f"{profiles}/{target}"},
                                check=False).returncode
        if status != 0:
            fail(f"{target} does not pass its own inputs; scripts/fuzz --replay {target} says why")
    merged = binaries / "merged.profdata"
    subprocess.run([llvm("llvm-profdata"), "merge", "-o", merged, *profiles.iterdir()], check=True)
    objects = [binaries / f"fuzz_{target}" for target in TARGETS]
    report = subprocess.run(
        [llvm("llvm-cov"), "export", "-format=lcov", f"-instr-profile={merged}", objects[0],
         *(argument for path in objects[1:] for argument in ["-object", path])],
        cwd=ROOT, capture_output=True, text=True, check=True).stdout
    files = {}
    for section in report.split("end_of_record\n"):
        name = re.search(r"SF:.*components/lcmp/(\S+)", section)
        if name:
            lines, functions = files.setdefault(name[1], ({}, []))
            for line, times in re.findall(r"^DA:(\d+),(\d+)", section, re.MULTILINE):
                lines[int(line)] = max(lines.get(int(line), 0), int(times))
            functions += [(int(line), mangled)
                          for line, mangled in re.findall(r"^FN:(\d+),(\S+)", section, re.MULTILINE)]
    return files


def lines_of_functions(lines, functions, wanted):
    """Those of the lines that belong to functions with one of the names."""
    starts = sorted(functions)
    kept = {}
    for line, times in lines.items():
        owner = [mangled for start, mangled in starts if start <= line]
        if owner and any(re.search(rf"\d{name}E", owner[-1]) for name in wanted):
            kept[line] = times
    return kept


def coverage(_arguments):
    files = traced_lines(build("coverage", programs_of(TARGETS)))
    parts = {name: files.get(name, ({}, []))[0] for name in COVERED_FILES}
    for name, wanted in COVERED_FUNCTIONS.items():
        parts[f"{name} ({', '.join(wanted)})"] = lines_of_functions(*files.get(name, ({}, [])), wanted)
    rows, covered, total = [], 0, 0
    for name, lines in parts.items():
        if not lines:
            fail(f"no line of {name} was found; fuzz/fuzz.py names a file or function that there is not")
        missed = sorted(line for line, times in lines.items() if times == 0)
        covered += len(lines) - len(missed)
        total += len(lines)
        rows.append([name, str(len(lines)), f"{100 * (len(lines) - len(missed)) / len(lines):.1f} %",
                     " ".join(map(str, missed[:12])) + (" ..." if len(missed) > 12 else "")])
    share = 100 * covered / total
    print_table(["file", "lines", "covered", "not covered"], rows)
    print(f"\n{share:.1f} % of the lines of codec, framing and serving; {COVERAGE_WANTED:.0f} % are wanted")
    print(f"count: {total} lines")
    return 0 if share >= COVERAGE_WANTED else 1


# ---------------------------------------------------------------- planted faults

def processor_seconds():
    """What the programs run so far have taken of it."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def find_planted(fault, tree):
    """(seconds, what was found or None)"""
    folder = tree / "build" / "fuzz" / "engine"
    with planting.planted(fault, tree):
        binaries = build("engine", programs_of([fault.target]), tree, folder)
    artifacts = BUILD / "planted" / "findings"
    found_out = BUILD / "planted" / "work" / fault.name  # the engine writes to the first of its folders
    shutil.rmtree(found_out, ignore_errors=True)
    found_out.mkdir(parents=True)
    log = BUILD / "planted" / f"{fault.name}.log"
    start = processor_seconds()
    engine_run(binaries / f"fuzz_{fault.target}", fault.target, 20 * PLANTED_SECONDS,
               [found_out, CORPUS / fault.target], artifacts, log, "-seed=1",
               prefix=["prlimit", f"--cpu={PLANTED_SECONDS}"])
    return processor_seconds() - start, cause(log.read_text(encoding="utf-8", errors="replace"), None)


def plant(arguments):
    faults = planting.faults(ROOT / "fuzz" / "planted")
    unknown = set(arguments) - {fault.name for fault in faults}
    if unknown:
        fail(f"there is no planted fault {', '.join(sorted(unknown))}")
    chosen_faults = [fault for fault in faults if not arguments or fault.name in arguments]
    for fault in chosen_faults:
        chosen([fault.target])
    tree = planting.copy_of(ROOT, BUILD / "planted" / "tree")
    rows, missed = [], 0
    for fault in chosen_faults:
        seconds, found = find_planted(fault, tree)
        missed += found is None
        rows.append([fault.name, fault.target, f"{seconds:.1f} s" if found else "NOT FOUND"])
        say(f"{fault.name}: {seconds:.1f} s, {found or 'not found'}")
    print_table(["planted fault", "target", "found after"], rows)
    print(f"\ncount: {len(rows)} faults")
    return 1 if missed else 0


# ---------------------------------------------------------------- the committed inputs

def kept(target):
    """The inputs that stay whatever they reach: what they show is an order of frames, a number at its limit or an
    earlier finding, which no line that is reached tells from another. They have names; the engine's have hashes."""
    named = [path for path in (CORPUS / target).glob("*") if not re.fullmatch("[0-9a-f]{40}", path.name)]
    return [*named, *(SEEDS / target).glob("session-*"), *(SEEDS / target).glob("limit-*")]


def minimise_one(job):
    target, binaries = job
    fresh = BUILD / "minimised" / target
    shutil.rmtree(fresh, ignore_errors=True)
    fresh.mkdir(parents=True)
    folders = [folder for folder in [CORPUS / target, WORK / target, SEEDS / target] if folder.is_dir()]
    log = BUILD / f"{target}-minimise.log"
    status = engine_run(binaries / f"fuzz_{target}", target, 0, [fresh, *folders], FINDINGS, log, "-merge=1",
                        "-use_counters=0")
    if status != 0:
        fail(f"{target} cannot be minimised; {shown(log)} says why")
    for path in kept(target):
        shutil.copy(path, fresh)
    shutil.rmtree(CORPUS / target, ignore_errors=True)
    shutil.copytree(fresh, CORPUS / target)
    sizes = [path.stat().st_size for path in fresh.iterdir()]
    return [target, str(len(sizes)), str(sum(sizes))]


def minimise(arguments):
    targets = chosen(arguments)
    binaries = build("engine", [*programs_of(targets), "fuzz_seeds"])
    make_seeds(binaries)
    rows = at_once(minimise_one, [(target, binaries) for target in targets])
    print_table(["target", "inputs", "bytes"], rows)
    print(f"\ncount: {sum(int(row[1]) for row in rows)} inputs")
    return 0


def main(arguments):
    modes = {"--replay": replay, "--coverage": coverage, "--planted": plant, "--minimise": minimise}
    first = arguments[0] if arguments else ""
    if first.startswith("-") and first not in modes:
        fail(f"'{first}' is no option; see scripts/fuzz --help")
    check_invariants()
    return modes[first](arguments[1:]) if first in modes else fuzz(arguments)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
