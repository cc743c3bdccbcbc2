"""The two readers of one wire, lcmp decode and tshark with the dissector, each giving frames of the same shape."""
import datetime
import json
import os
import pathlib
import re
import subprocess
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
DISSECTOR = ROOT / "tools" / "wireshark" / "lcmp.lua"
PROGRAM = os.environ.get("LCMP_PROGRAM", "lcmp")
TSHARK = os.environ.get("LCMP_TSHARK", "tshark")

EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
BEYOND_CALENDAR = 253402300800  # seconds: the year 10000


def decode(path, *options):
    """(exit status, frames) of lcmp decode."""
    ended = subprocess.run([PROGRAM, "decode", "--json", *options, path], capture_output=True, check=False, timeout=120)
    return ended.returncode, json.loads(ended.stdout)


def tshark_says(folder, *arguments):
    """Standard output of tshark with the dissector, without a person's settings; what it complains of is an error."""
    environment = {**os.environ, "HOME": str(folder), "XDG_CONFIG_HOME": str(folder), "LC_ALL": "C.UTF-8", "TZ": "UTC"}
    ended = subprocess.run([TSHARK, *arguments, "-X", f"lua_script:{DISSECTOR}"], capture_output=True,
                           env=environment, check=False, timeout=240)
    text = ended.stdout.decode("utf-8", "replace")
    complaints = ended.stderr.decode("utf-8", "replace")
    error = "-G" not in arguments and re.search(r".*(?:Lua Error|_ws\.lua\.(?!fake)).*", text)
    if ended.returncode != 0 or "lua" in complaints.lower() or error:
        raise AssertionError(f"tshark: status {ended.returncode}\n{complaints}\n{error[0] if error else ''}")
    return text


def tshark(path, folder, *options):
    """The same of a capture. Ports that tshark knows from elsewhere do not keep frames from being found."""
    return tshark_says(folder, "-r", path, "-o", "udp.try_heuristic_first:TRUE", *options)


def rfc3339(seconds, fraction=None):
    text = (EPOCH + datetime.timedelta(seconds=seconds)).strftime("%Y-%m-%dT%H:%M:%S")
    text = text.rjust(19, "0")  # years of fewer than four digits
    return text + (f".{fraction}" if fraction is not None else "") + "Z"


def capture_time(epoch):
    """1700000000.000001000 as decode writes it."""
    seconds, nanoseconds = epoch.split(".")
    return rfc3339(int(seconds), nanoseconds[:6] if nanoseconds.endswith("000") else nanoseconds)


def calendar_time(show):
    """Nov 14, 2023 22:13:20.999999000 UTC, as decode writes it."""
    day, nanoseconds = re.fullmatch(r"(.*)\.(\d{9}) UTC", show).groups()
    seconds = datetime.datetime.strptime(day, "%b %d, %Y %H:%M:%S").replace(tzinfo=datetime.timezone.utc)
    return int((seconds - EPOCH).total_seconds()), nanoseconds


class Fields:
    """The fields directly below a node, by name without "lcmp."; none twice, elements apart."""

    def __init__(self, node):
        self.start = int(node.get("pos"))
        self.elements = [child for child in node if child.get("name") == "lcmp.element"]
        self.by_name = {}
        for child in node:
            if child not in self.elements:
                self._add(child)

    def _add(self, node):
        name = node.get("name")
        if name.startswith("lcmp."):
            assert name[5:] not in self.by_name, f"{name} twice"
            self.by_name[name[5:]] = node
        for child in node:
            self._add(child)

    def __contains__(self, name):
        return name in self.by_name

    def show(self, name):
        return self.by_name[name].get("show")

    def raw(self, name):
        return self.by_name[name].get("value") or ""

    def word(self, name):
        """The name in "Action: write (2)"."""
        return re.fullmatch(r"[^:]*: (.*) \(\d+\)", self.by_name[name].get("showname"))[1]

    def take(self, frame, key, name, convert=int):
        if name in self:
            frame[key] = convert(self.show(name))


def value_of(fields):
    """The keys that tell an element's value; none where it has none."""
    (name,) = [name for name in fields.by_name
               if name.startswith("value.") and name not in ("value.fault", "value.time")] or [None]
    kind = name and name[6:]
    if kind is None:
        return {}
    if re.fullmatch(r"u?int\d+", kind):
        return {"value": int(fields.show(name))}
    if kind == "boolean":
        return {"value": fields.show(name) in ("1", "True")}
    if kind == "string":
        return text_of(bytes.fromhex(fields.raw(name)))
    if kind == "seconds":
        return time_of(fields)
    if kind == "bytes":
        return {"bytes" if "value.fault" in fields or is_fixed(fields) else "value": fields.raw(name)}
    return {"value": fields.show(name)}


def is_fixed(fields):
    return int(fields.show("type")) in (0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 13)


def text_of(raw):
    try:
        return {"value": raw.decode("utf-8")}
    except UnicodeDecodeError:
        return {"bytes": raw.hex()}


def time_of(fields):
    seconds = int(fields.show("value.seconds"))
    if abs(seconds) >= BEYOND_CALENDAR or seconds < -62135596800:  # the year 1, where Python's calendar begins
        return {}
    if abs(seconds) < 2**31:
        assert calendar_time(fields.show("value.time")) == (seconds, "0" * 9), fields.show("value.time")
    return {"value": rfc3339(seconds)}


def check_oid(fields):
    """The parts of the OID against its bits."""
    oid = int(fields.show("oid"), 16)
    parts = {name: fields.show(name) for name in ("kind", "common", "table", "column", "row", "group", "variable")
             if name in fields}
    expected = {}
    if oid >> 30 == 0:
        expected = {"group": str(oid >> 23 & 31), "variable": str(oid & 0x7FFFFF)}
    elif oid >> 30 == 1:
        expected = {"table": str(oid >> 22 & 63), "column": str(oid >> 14 & 255), "row": str(oid & 0x3FFF)}
    if expected:
        expected.update(kind=str(oid >> 30), common=str(oid >> 28 & 1))
        parts["common"] = {"True": "1", "False": "0"}.get(parts["common"], parts["common"])
    assert parts == expected, f"{oid:#010x}: {parts}, not {expected}"


def element_of(node, start):
    fields = Fields(node)
    check_oid(fields)
    element = {"offset": fields.start - start, "oid": fields.show("oid")}
    fields.take(element, "name", "name", str)
    code = int(fields.show("type"))
    element.update(type="unknown" if code > 13 else fields.word("type"), typeCode=code,
                   length=int(fields.show("length")))
    element.update(value_of(fields))
    fields.take(element, "word", "word", str)
    fields.take(element, "unit", "unit", str)
    fields.take(element, "fault", "value.fault", str)
    return element


def add_header(frame, fields):
    fields.take(frame, "version", "version")
    fields.take(frame, "action", "action")
    if "action" in fields:
        frame["actionName"] = fields.word("action") if 1 <= frame["action"] <= 5 else ""
    fields.take(frame, "messageId", "message_id")
    fields.take(frame, "result", "result")
    if "result" in fields:
        frame["resultName"] = fields.word("result") if frame["result"] < 16 else f"RESULT {frame['result']}"
    fields.take(frame, "errorIndex", "error_index")
    fields.take(frame, "errorOid", "error_oid", str)
    fields.take(frame, "errorName", "error_name", str)
    fields.take(frame, "seconds", "seconds")
    fields.take(frame, "microseconds", "microseconds")
    if "sent" in fields:
        seconds, nanoseconds = calendar_time(fields.show("sent"))
        assert nanoseconds.endswith("000")
        frame["sent"] = rfc3339(seconds, nanoseconds[:6])


def frame_of(packet):
    """A packet of the PDML in the shape of decode's JSON; None where it is no LCMP."""
    shown = {field.get("name"): field.get("show") for field in packet.iter("field")}
    nodes = [proto for proto in packet.iter("proto") if proto.get("name") == "lcmp"]
    if not nodes:
        return None
    (node,) = nodes
    fields = Fields(node)
    frame = {"frame": int(shown["frame.number"]), "time": capture_time(shown["frame.time_epoch"]),
             "source": f"{shown['ip.src']}:{shown['udp.srcport']}",
             "destination": f"{shown['ip.dst']}:{shown['udp.dstport']}", "size": int(shown["udp.length"]) - 8}
    add_header(frame, fields)
    fields.take(frame, "repeats", "repeats")
    fields.take(frame, "response", "response_in")
    fields.take(frame, "request", "response_to")
    fields.take(frame, "roundTrip", "time", float)
    frame["elements"] = [element_of(element, fields.start) for element in fields.elements]
    if "fault" in fields:
        frame["fault"] = {"offset": int(fields.show("fault.offset")), "reason": fields.show("fault")}
    flagged = "lcmp.malformed" in shown or "lcmp.malformed_value" in shown
    assert flagged == ("fault" in frame or any("fault" in element for element in frame["elements"])), frame
    return frame


def dissect(path, folder, *options):
    """The frames that tshark shows; two passes, so that requests know their responses."""
    pdml = xml.etree.ElementTree.fromstring(tshark(path, folder, "-2", "-T", "pdml", *options))
    return [frame for frame in map(frame_of, pdml.iter("packet")) if frame is not None]


def comparable(frame):
    """A frame of decode without what PDML cannot say: texts that are none, and years beyond the calendar."""
    for element in frame["elements"]:
        if element["type"] == "STRING" and "bytes" in element:
            del element["value"]
        if element["type"] == "UNIX_TIME" and not re.match(r"(?!0000)\d{4}-", element.get("value", "")):
            element.pop("value", None)
    return frame
