#!/usr/bin/env python3
"""Holds the Wireshark dissector against lcmp decode: two readers of one wire.

usage: dissector_test.py [TESTS...], with LCMP_PROGRAM and LCMP_TSHARK in the environment
"""
import json
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import unittest

import capturing
import readers
from capturing import PORT

FRAMES = readers.ROOT / "tests" / "frames"
SERVED = FRAMES.parent / "regression" / "0005-served-called-refused" / "response.frame"
CONTROLLER = ("10.0.0.1", 40001)
CARD = ("10.0.0.2", PORT)
DECODE_AS = ("-d", f"udp.port=={PORT},lcmp")


def golden_frames():
    paths = sorted(FRAMES.glob("*.frame")) + sorted((FRAMES / "broken").glob("*.frame"))
    return [capturing.bytes_of_frame(path) for path in paths]


def ends_of(frame):
    """Requests go to the card, the rest comes from it."""
    return (CARD, CONTROLLER) if frame[5:6] in (b"\x03", b"\x04", b"\x05") else (CONTROLLER, CARD)


class Dissector(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)

    def expect_same(self, capture, by_port=True):
        """Both readers say the same of every frame of the capture; returns what they say."""
        path = capture.write(self.folder / "test.pcap")
        status, decoded = readers.decode(path, *(["--port", str(PORT)] if by_port else []))
        dissected = readers.dissect(path, self.folder, *(DECODE_AS if by_port else []))
        self.assertIn(status, (0, 6))
        self.assertEqual(len(dissected), len(decoded))
        for ours, theirs in zip(dissected, decoded):
            self.assertAlmostEqual(ours.get("roundTrip", 0), theirs.get("roundTrip", 0), delta=1.5e-9)
            ours.pop("roundTrip", None), theirs.pop("roundTrip", None)
            self.assertEqual(ours, readers.comparable(theirs))
        return decoded


class GoldenFrames(Dissector):
    def test_every_golden_and_broken_frame_reads_the_same(self):
        capture = capturing.Capture()
        for frame in golden_frames():
            if frame:
                capture.add(*ends_of(frame), frame)
        decoded = self.expect_same(capture)
        self.assertEqual(len(decoded), len(capture))
        self.assertGreater(len(decoded), 140)
        self.assertGreater(sum("request" in frame for frame in decoded), 30)

    def test_the_magic_is_found_on_any_port(self):
        capture = capturing.Capture()
        frames = [frame for frame in golden_frames() if frame.startswith(b"OTN1")]
        for number, frame in enumerate(frames):
            capture.add(("10.0.0.1", 1024 + 401 * number), ("10.0.0.2", 60000 - 307 * number), frame)
        capture.add(CONTROLLER, CARD, b"OTN")
        capture.add(CONTROLLER, CARD, b"another protocol")
        self.assertEqual(len(self.expect_same(capture, by_port=False)), len(frames))

    def test_an_empty_datagram_is_no_frame(self):
        capture = capturing.Capture()
        capture.add(CONTROLLER, CARD, b"")
        path = capture.write(self.folder / "test.pcap")
        self.assertNotIn("LCMP", readers.tshark(path, self.folder))


class ShortenedFrames(Dissector):
    def test_what_the_capture_did_not_keep_is_told(self):
        capture = capturing.Capture()
        for name in ("ami-many", "read-response-many", "write-many"):
            frame = capturing.bytes_of_frame(FRAMES / f"{name}.frame")
            for kept in range(1, len(frame)):
                capture.add(*ends_of(frame), frame, kept=28 + kept)
        decoded = self.expect_same(capture)
        self.assertEqual(len(decoded), len(capture))
        self.assertTrue(all("the capture kept" in frame["fault"]["reason"] for frame in decoded))


class MutatedFrames(Dissector):
    def test_nothing_upsets_the_dissector(self):
        chance = random.Random(1)
        frames = [frame for frame in golden_frames() if len(frame) > 8]
        capture = capturing.Capture()
        for _ in range(3000):
            frame = self.mutated(chance, frames)
            capture.add(*ends_of(frame), frame)
        decoded = self.expect_same(capture)
        self.assertEqual(len(decoded), len(capture))
        self.assertGreater(sum("fault" in frame for frame in decoded), 500)
        self.assertGreater(sum("fault" not in frame for frame in decoded), 500)

    @staticmethod
    def mutated(chance, frames):
        """Changed bytes, mostly behind the magic; sometimes cut, sometimes with another frame's end."""
        frame = bytearray(chance.choice(frames))
        for _ in range(chance.randrange(4)):
            frame[chance.randrange(0 if chance.random() < 0.05 else 4, len(frame))] = chance.randrange(256)
        if chance.random() < 0.2:
            other = chance.choice(frames)
            frame += other[chance.randrange(8, len(other)):]
        if chance.random() < 0.2:
            del frame[chance.randrange(1, len(frame)):]
        return bytes(frame)


class RealExchange(Dissector):
    """A card and those who ask it, recorded between them."""

    def run_lcmp(self, *arguments):
        return subprocess.run([readers.PROGRAM, *arguments], capture_output=True, text=True, check=False,
                              timeout=60).returncode

    def record(self):
        """The capture of a read, a write, a refused write and an event; and the exit statuses of the first three."""
        with capturing.Relay(None) as relay:
            events = "%s:%d" % relay.events.getsockname()
            with subprocess.Popen([readers.PROGRAM, "card", "--listen", "127.0.0.1:0", "--period", "50", "--events-to",
                                   events], stdout=subprocess.PIPE, text=True) as card:
                try:
                    host, port = card.stdout.readline().split()[-1].split(":")
                    relay.card = (host, int(port))
                    target = "%s:%d" % relay.address
                    statuses = [self.run_lcmp(verb, target, "--timeout", "5s", *names) for verb, *names in (
                        ("get", "identity.cardType", "temperature[0].value", "temperature[1].name", "control.utcTime"),
                        ("set", "control.bpClkRef=3", "download.filename=load.bin"),
                        ("set", "download.setCommitTimer=7", "control.bpClkRef=4"))]
                    self.assertTrue(relay.event_seen.wait(30), "no event came")
                finally:
                    card.kill()
        return relay.capture, statuses

    def test_both_readers_see_what_happened(self):
        capture, statuses = self.record()
        self.assertEqual(statuses, [0, 0, 4])
        decoded = self.expect_same(capture, by_port=False)
        self.assertEqual(len(decoded), len(capture))
        answers = [frame for frame in decoded if frame["action"] in (3, 4)]
        self.assertEqual(len(answers), 3)
        self.assertTrue({frame["result"] for frame in answers[:2]} <= {0, 2, 3})  # each process numbers for itself
        self.assertEqual(answers[2]["result"], 9)
        self.assertTrue(all("request" in frame for frame in answers))
        self.assertEqual(answers[2]["errorName"], "control.bpClkRef")
        self.assertTrue(any(frame["action"] == 5 and frame["elements"] for frame in decoded))

        refusal = readers.tshark(self.folder / "test.pcap", self.folder, "-Y", "lcmp.result == 9")
        self.assertEqual(refusal.count("\n"), 1, refusal)
        self.assertIn("RESULT WRONG VALUE (9) at element 1, control.bpClkRef", refusal)


class Filters(Dissector):
    """Every field can be asked for, by the name that the documents use."""

    FRAMES = {
        "write": "4F544E31 01 02 0007 11800002 03 0001 04",
        "refusal": "4F544E31 01 04 0007 09 0000",
        "event": "4F544E31 01 05 0003 6553F100 000F423F 51404001 05 0004 00000032",
        "numbers": "4F544E31 01 02 0008 04800000 00 0008 FFFFFFFFFFFFFFFF 04800001 01 0004 00000005 04800002 02 0002 "
                   "0006 04800004 04 0008 FFFFFFFFFFFFFFFF 04800006 06 0002 FFFE 04800007 07 0001 FD",
        "others": "4F544E31 01 02 0009 04800008 08 0001 02 04800009 09 0002 6162 0480000A 0A 0004 C0000201 0480000B 0B "
                  "0008 000000006553F100 0480000C 0C 0002 00FF 0480000D 0D 0006 001B02030405",
        "broken": "4F544E31 01 02 000A 11800002 03 0005 04",
        "wrong": "4F544E31 01 02 000B 11800001 00 0002 0001",
        "gap": "4F544E31 01 04 000C 03 0000",
        "too many peers": capturing.bytes_of_frame(SERVED).hex(),
        "odd peer": "4F544E31 01 04 000E 11 0000",
    }

    MATCHES = {
        "lcmp.action == 2": ["write", "numbers", "others", "broken", "wrong"],
        "lcmp.message_id == 3": ["event"],
        "lcmp.result == 9": ["refusal"],
        "lcmp.error_index == 0": ["refusal", "gap", "too many peers", "odd peer"],
        'lcmp.error_name == "control.bpClkRef"': ["refusal"],
        "lcmp.error_oid == 0x11800002": ["refusal"],
        "lcmp.response_to == 1": ["refusal"],
        "lcmp.response_in == 2": ["write"],
        "lcmp.time > 0.001": ["refusal"],
        "lcmp.refused": ["refusal"],
        "lcmp.oid == 0x51404001": ["event"],
        "lcmp.common == 1 && lcmp.table == 5 && lcmp.column == 1 && lcmp.row == 1": ["event"],
        "lcmp.group == 3 && lcmp.variable == 2": ["write"],
        "lcmp.kind == 1": ["event"],
        'lcmp.name == "temperature[1].value"': ["event"],
        'lcmp.sent == "2023-11-14T22:13:20.999999Z"': ["event"],
        "lcmp.value.uint64 == 18446744073709551615": ["numbers"],
        "lcmp.value.uint32 == 5": ["numbers"],
        "lcmp.value.uint16 == 6": ["numbers"],
        "lcmp.value.uint8 == 4": ["write"],
        "lcmp.value.int64 == -1": ["numbers"],
        "lcmp.value.int32 == 50": ["event"],
        "lcmp.value.int16 == -2": ["numbers"],
        "lcmp.value.int8 == -3": ["numbers"],
        "lcmp.value.boolean == 1": ["others"],
        'lcmp.value.string == "ab"': ["others"],
        "lcmp.value.ipv4 == 192.0.2.0/24": ["others"],
        "lcmp.value.seconds == 1700000000": ["others"],
        'lcmp.value.time == "2023-11-14T22:13:20Z"': ["others"],
        "lcmp.value.mac == 00:1b:02:03:04:05": ["others"],
        "lcmp.value.bytes == 00:ff": ["others"],
        "lcmp.malformed": ["broken"],
        "lcmp.fault.offset == 8": ["broken"],
        "lcmp.malformed_value": ["wrong"],
    }

    def test_find_their_frames(self):
        capture = capturing.Capture()
        for text in self.FRAMES.values():
            frame = bytes.fromhex(text)
            capture.add(*ends_of(frame), frame)
        path = capture.write(self.folder / "test.pcap")
        names = list(self.FRAMES)
        for wanted, frames in self.MATCHES.items():
            with self.subTest(wanted):
                found = readers.tshark(path, self.folder, "-2", "-T", "fields", "-e", "frame.number", "-Y", wanted)
                self.assertEqual([names[int(number) - 1] for number in found.split()], frames)


class Fields(Dissector):
    def test_the_document_lists_every_field_and_no_other(self):
        registered = readers.tshark_says(self.folder, "-G", "fields")
        known = {line.split("\t")[2] for line in registered.splitlines() if "\tlcmp." in line}
        document = (readers.DISSECTOR.parent / "README.md").read_text(encoding="utf-8")
        listed = re.findall(r"^\| `(lcmp[.\w]+)` \|", document, re.MULTILINE)
        self.assertEqual(sorted(listed), sorted(known))


class Names(Dissector):
    NAMES = """return {card = "mine", variables = {
        [0x40C10000] = {object = "lamp", name = "state", unit = "lx", words = {[2] = "dim", [-1] = "off"}},
        [0x00000001] = {object = "fan", name = "on", words = {[1] = "runs"}}}}"""

    def dissected_with(self, names):
        file = self.folder / "names.lua"
        file.write_text(names, encoding="utf-8")
        capture = capturing.Capture()
        capture.add(CONTROLLER, CARD, bytes.fromhex(  # the first two with bit 29 set
            "4F544E31 01 02 0007 60C10005 03 0001 02 60C13FFF 06 0002 FFFF 40C10006 09 0001 32 00000001 08 0001 05"))
        path = capture.write(self.folder / "test.pcap")
        return readers.dissect(path, self.folder, "-o", f"lcmp.names:{file}")[0]["elements"]

    def test_come_from_the_file_that_the_preference_names(self):
        found = [(element["name"], element.get("word"), element.get("unit")) for element in
                 self.dissected_with(self.NAMES)]
        self.assertEqual(found, [("lamp[5].state", "dim", "lx"), ("lamp[16383].state", "off", "lx"),
                                 ("lamp[6].state", None, "lx"), ("fan.on", "runs", None)])

    def test_of_a_model_are_those_that_decode_says(self):
        for model in ("linecard48", "fantray"):
            with self.subTest(model):
                self.expect_names_of(readers.ROOT / "models" / f"{model}.yaml")

    def expect_names_of(self, model):
        """Every variable of the model in a frame, with a number that has a word where there is one."""
        def lcmp(*arguments):
            return subprocess.run([readers.PROGRAM, "model", *arguments, "--model", model], capture_output=True,
                                  check=True, timeout=60).stdout.decode()
        names = lcmp("generate", "--wireshark", "--name", "mine", "--to", self.folder).strip()
        capture = capturing.Capture()
        shown = json.loads(lcmp("show", "--json"))
        for number, variable in enumerate(shown):
            value = max(map(int, variable.get("names", {"5": ""})))
            capture.add(CARD, CONTROLLER, bytes.fromhex("4F544E31 01 05") + number.to_bytes(2, "big") + bytes(8) +
                        bytes.fromhex(variable["oid"][2:]) + b"\x03\x00\x01" + value.to_bytes(1, "big"))
        path = capture.write(self.folder / "test.pcap")
        status, decoded = readers.decode(path, "--model", model)
        self.assertEqual(status, 0)
        dissected = readers.dissect(path, self.folder, "-o", f"lcmp.names:{names}")
        self.assertEqual(dissected, [readers.comparable(frame) for frame in decoded])
        self.assertEqual([frame["elements"][0]["name"].replace("[0]", "[row]") for frame in decoded],
                         [variable["name"] for variable in shown])
        self.assertEqual(any("word" in frame["elements"][0] for frame in decoded),
                         any("names" in variable for variable in shown))

    def test_a_file_without_names_is_told_and_does_no_harm(self):
        for text in ("", "nonsense (", "return 7", "return {}", 'os.execute("true")'):
            with self.subTest(text), self.assertRaisesRegex(AssertionError, "names.lua holds no names"):
                self.dissected_with(text)


class Harness(Dissector):
    def test_an_error_in_a_script_is_found(self):
        script = self.folder / "broken.lua"
        script.write_text('local p = Proto("broken", "Broken")\n'
                          'function p.dissector(tvb) return tvb(0, 1000) end\n'
                          'DissectorTable.get("udp.port"):add(%d, p)\n' % PORT, encoding="utf-8")
        capture = capturing.Capture()
        capture.add(CONTROLLER, CARD, b"something else")
        path = capture.write(self.folder / "test.pcap")
        with self.assertRaisesRegex(AssertionError, "Lua Error"):
            readers.dissect(path, self.folder, "-X", f"lua_script:{script}")


if __name__ == "__main__":
    unittest.main(argv=sys.argv, verbosity=1)
