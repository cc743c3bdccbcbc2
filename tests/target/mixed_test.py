#!/usr/bin/env python3
"""Card and controller on different machines: one side emulated, the other native, datagrams on loopback between them.

usage: mixed_test.py CARD_LCMP EVERY_TYPE_CARD CONTROLLER_LCMP
"""
import json
import pathlib
import subprocess
import sys
import unittest

PATIENCE = 60  # seconds
CARD, EVERY_TYPE_CARD, CONTROLLER = "", "", ""
# TYPE: code, then values that would show a swapped, lost or widened byte, as they are typed and as JSON prints them
VALUES = {
    "UINT64": (0, [(0x0102030405060708, None), (2**64 - 1, None)]),
    "UINT32": (1, [(0x01020304, None), (2**32 - 1, None)]),
    "UINT16": (2, [(0x0102, None), (2**16 - 1, None)]),
    "UINT8": (3, [(1, None), (255, None)]),
    "INT64": (4, [(0x0102030405060708, None), (-2**63, None), (-2, None)]),
    "INT32": (5, [(0x01020304, None), (-2**31, None), (-2, None)]),
    "INT16": (6, [(0x0102, None), (-2**15, None), (-2, None)]),
    "INT8": (7, [(1, None), (-2**7, None), (-2, None)]),
    "BOOLEAN": (8, [("true", True), ("false", False)]),
    "STRING": (9, [("a text with °", None), ("", None)]),
    "IPv4ADDRESS": (10, [("192.0.2.1", None)]),
    "UNIX_TIME": (11, [("2024-05-01T12:00:00Z", None), ("2106-02-07T06:28:16Z", None)]),
    "BYTE_ARRAY": (12, [("00ff80017f", None)]),
    "MAC_ADDRESS": (13, [("00:80:ff:01:02:03", None)]),
}


def oid_of(code):
    return f"0x{20 << 23 | code:08x}"


class Running:
    """A program that says where it listens; killed at the end of the test."""

    def __init__(self, test, *command):
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        test.addCleanup(self.end)
        self.address = self.line().removeprefix("listening on ")

    def line(self):
        return self.process.stdout.readline().rstrip("\n")

    def end(self):
        self.process.kill()
        self.process.wait(PATIENCE)
        self.process.stdout.close()


class Mixed(unittest.TestCase):
    def ask(self, *words):
        """What `lcmp VERB WORD...` of the controller prints"""
        done = subprocess.run([CONTROLLER, *words, "--timeout", "10s"], capture_output=True, text=True, check=False,
                              timeout=PATIENCE)
        self.assertEqual((done.returncode, done.stderr), (0, ""), words)
        return done.stdout

    def watch(self):
        return Running(self, CONTROLLER, "watch", "--listen", "127.0.0.1:0", "-o", "jsonl")

    def test_one_of_them_is_emulated_and_the_other_is_not(self):
        native = [pathlib.Path(program).read_bytes()[:4] == b"\x7fELF" for program in [CARD, CONTROLLER]]
        self.assertEqual(sorted(native), [False, True])

    def test_values_of_every_type_are_written_read_back_and_reported(self):
        events = self.watch()
        card = Running(self, EVERY_TYPE_CARD, events.address.split(":")[1])
        # Together, one of each type at a time: starting a program under emulation takes long.
        for turn in range(max(len(values) for _, values in VALUES.values())):
            turns = {name: (code, values[turn]) for name, (code, values) in VALUES.items() if turn < len(values)}
            expected = {oid_of(code): (name, typed if printed is None else printed)
                        for name, (code, (typed, printed)) in turns.items()}
            self.ask("set", card.address,
                     *[f"{oid_of(code)}:{name}={typed}" for name, (code, (typed, _)) in turns.items()])
            read = self.ask("get", card.address, *expected, "-o", "jsonl").splitlines()
            for lines in [read, [events.line() for _ in expected]]:
                told = [json.loads(line) for line in lines]
                self.assertEqual({each["oid"]: (each["type"], each["value"]) for each in told}, expected, lines)

    def test_the_standard_card_is_read_written_and_watched(self):
        events = self.watch()
        card = Running(self, CARD, "card", "--listen", "127.0.0.1:0", "--period", "50ms", "--events-to", events.address)
        self.assertEqual(self.ask("get", card.address, "identity.cardType", "control.bpClkRef", "-o", "value"),
                         "xxx\n128\n")
        self.assertEqual(self.ask("set", card.address, "control.bpClkRef=3"), "control.bpClkRef = 3\n")
        self.assertEqual(self.ask("get", card.address, "control.bpClkRef"), "control.bpClkRef = 3\n")
        told = json.loads(events.line())
        self.assertEqual(told["card"], card.address)
        self.assertIn("value", told)

    def test_a_refusal_names_the_variable(self):
        card = Running(self, CARD, "card", "--listen", "127.0.0.1:0")
        done = subprocess.run([CONTROLLER, "set", card.address, "control.bpClkRef=4", "--timeout", "10s"],
                              capture_output=True, text=True, check=False, timeout=PATIENCE)
        self.assertEqual(done.returncode, 4)
        self.assertIn("refused control.bpClkRef: RESULT WRONG VALUE", done.stderr)


if __name__ == "__main__":
    CARD, EVERY_TYPE_CARD, CONTROLLER = sys.argv[1:4]
    unittest.main(argv=sys.argv[:1])
