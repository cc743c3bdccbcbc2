"""Runs the programs of this folder and returns what they measured."""
import collections
import contextlib
import json
import os
import pathlib
import re
import signal
import socket
import statistics
import subprocess
import tempfile

Ratio = collections.namedtuple("Ratio", "median spread rate_a rate_b")  # of B to A; requests per second

SERVERS = {
    "echo": ["bench_echo", "{port}", "3"],  # a read response is three bytes longer than its request
    "card": ["bench_card", "{port}", "scalar"],
    "card of 2,048": ["bench_card", "{port}", "table"],
    "card of 192 objects": ["bench_card", "{port}", "scalar", "192"],
    "by hand": ["bench_by_hand", "{port}", "scalar"],
    "2,048 by hand": ["bench_by_hand", "{port}", "table"],
    "net-snmp": ["bench_snmp_agent", "{port}"],
    "libcoap": ["bench_coap_server", "{port}"],
}
PROTOCOLS = {"bench_echo": "echo", "bench_card": "card", "bench_by_hand": "card", "bench_snmp_agent": "snmp",
             "bench_coap_server": "coap"}


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def end(server, traced):
    """A tracer is not to be ended by a signal: it follows the server that it has started."""
    children = pathlib.Path(f"/proc/{server.pid}/task/{server.pid}/children")
    for pid in children.read_text(encoding="ascii").split() if traced and children.exists() else [server.pid]:
        os.kill(int(pid), signal.SIGTERM)
    try:
        server.wait(10)
    except subprocess.TimeoutExpired:
        server.kill()


class Programs:
    def __init__(self, folder):
        self.folder = folder

    def output(self, program, *arguments):
        done = subprocess.run([self.folder / program, *map(str, arguments)], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise RuntimeError(f"{program} {' '.join(map(str, arguments))}: {done.stderr.strip()}")
        return done.stdout

    @contextlib.contextmanager
    def serving(self, name, wrapper=()):
        """Yields "PROTOCOL:PORT" of a server that listens."""
        program, *arguments = SERVERS[name]
        port = str(free_port())
        command = [*wrapper, self.folder / program, *(argument.format(port=port) for argument in arguments)]
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as server:
            try:
                if server.stdout.readline() != "listening\n":
                    raise RuntimeError(f"{name}: the server does not start")
                yield f"{PROTOCOLS[program]}:{port}"
            finally:
                end(server, bool(wrapper))

    def rates(self, a, b, variables, requests, in_flight, pairs, seconds):
        lines = self.output("bench_client", a, b, variables, requests, in_flight, pairs, seconds).splitlines()
        return [tuple(map(float, line.split())) for line in lines]

    def ratio(self, a, b, variables, requests="fixed", in_flight=1, pairs=5, seconds=1):
        """The servers and the client inherit the policy. In turn it is the usual one. With requests waiting it is that of
        batches, where a datagram that wakes one side does not stop the other in the middle of its turn: otherwise the
        moments at which the scheduler steps in are measured, and not the work."""
        os.sched_setscheduler(0, os.SCHED_BATCH if in_flight > 1 else os.SCHED_OTHER, os.sched_param(0))
        with self.serving(a) as address_a, self.serving(b) as address_b:
            rates = self.rates(address_a, address_b, variables, requests, in_flight, pairs, seconds)
        ratios = [rate_b / rate_a for rate_a, rate_b in rates]
        quartiles = statistics.quantiles(ratios)
        return Ratio(statistics.median(ratios), (quartiles[2] - quartiles[0]) / 2,
                     statistics.median(a for a, _ in rates), statistics.median(b for _, b in rates))

    def system_calls(self, in_flight):
        """{name: calls per served request}, from two runs of different length: what starting costs is in both."""
        few, many = (self._traced_calls(in_flight, seconds) for seconds in (1, 3))
        calls = many - few
        served = calls.pop("datagrams sent", 0)
        if served == 0:
            raise RuntimeError("strace saw no replies")
        return {name: count / served for name, count in calls.items() if count / served >= 0.005}

    def _traced_calls(self, in_flight, seconds):
        with tempfile.NamedTemporaryFile("r") as trace:
            with self.serving("card", ["strace", "-s", "0", "-e", "signal=none", "-o", trace.name]) as address:
                self.rates(address, address, 16, "fixed", in_flight, 1, seconds)
            calls = collections.Counter()
            for name, result in re.findall(r"^(\w+)\(.* = (-?\d+)", trace.read(), re.MULTILINE):
                calls[name] += 1
                if name.startswith("send") and int(result) > 0:
                    calls["datagrams sent"] += int(result) if name == "sendmmsg" else 1
            return calls

    def instructions(self, kind, elements=100):
        """(instructions per element, {function: instructions per element}) of serving one kind of request."""
        few, many = 20, 220
        with tempfile.TemporaryDirectory() as folder:
            counts = [self._callgrind(kind, repeats, f"{folder}/{repeats}") for repeats in (few, many)]
            functions = [self._by_function(f"{folder}/{repeats}") for repeats in (few, many)]
        per_element = 1 / (many - few) / elements
        functions[1].subtract(functions[0])
        return ((counts[1] - counts[0]) * per_element,
                {name: count * per_element for name, count in functions[1].most_common() if count > 0})

    def _callgrind(self, kind, repeats, file):
        command = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={file}"]
        done = subprocess.run([*command, self.folder / "bench_instructions", kind, str(repeats)],
                              capture_output=True, text=True, check=False)
        found = re.search(r"Collected : (\d+)", done.stderr)
        if done.returncode != 0 or not found:
            raise RuntimeError(f"bench_instructions {kind} under valgrind: {done.stderr.strip()[-200:]}")
        return int(found[1])

    @staticmethod
    def _by_function(file):
        text = subprocess.run(["callgrind_annotate", "--threshold=100", file], capture_output=True, text=True,
                              check=True).stdout
        functions = collections.Counter()
        for count, name in re.findall(r"^ *([\d,]+) \([ \d.]+%\)  \S*?:(\S.*?)(?: \[.*\])?$", text, re.MULTILINE):
            functions[name] += int(count.replace(",", ""))
        return functions

    def codec(self, seconds, repetitions):
        """{benchmark: nanoseconds of processor time per element}, medians."""
        text = self.output("bench_codec", f"--benchmark_min_time={seconds}", f"--benchmark_repetitions={repetitions}",
                           "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true",
                           "--benchmark_format=json")
        runs = json.loads(text)["benchmarks"]
        failed = [run["name"] for run in runs if run.get("error_occurred")]
        if failed:
            raise RuntimeError(f"bench_codec: {', '.join(failed)} failed")
        return {run["run_name"]: 1e9 / run["items_per_second"] for run in runs if run.get("aggregate_name") == "median"}

    def growth(self, seconds):
        """{group: {case: nanoseconds}}"""
        groups = collections.defaultdict(dict)
        for line in self.output("bench_growth", seconds).splitlines():
            group, case, nanoseconds = line.split()
            groups[group][case] = float(nanoseconds)
        return groups

    def allocations(self):
        """[(kind, variables, allocations per request)]"""
        rows = (line.split() for line in self.output("bench_allocations").splitlines())
        return [(kind, int(variables), float(allocations)) for kind, variables, allocations in rows]
