"""Captures: frames in UDP packets, written as pcap; and a relay that records what it passes on."""
import socket
import struct
import threading
import time

RAW_IP = 101  # link type
PORT = 17470


def bytes_of_frame(path):
    """The bytes of a golden frame: hexadecimal text with comments behind '#'."""
    lines = (line.split("#")[0] for line in path.read_text(encoding="utf-8").splitlines())
    return bytes.fromhex("".join("".join(lines).split()))


def udp_packet(source, destination, payload):
    """An IPv4 packet; the ends are (host, port). Checksums are 0, which means that there are none."""
    udp = struct.pack(">HHHH", source[1], destination[1], 8 + len(payload), 0) + payload
    return struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + len(udp), 0, 0, 64, 17, 0, socket.inet_aton(source[0]),
                       socket.inet_aton(destination[0])) + udp


class Capture:
    """Packets of a pcap file with nanoseconds."""

    def __init__(self):
        self.records = []

    def __len__(self):
        return len(self.records)

    def add(self, source, destination, payload, nanoseconds=None, kept=None):
        """Adds a datagram; of its packet only `kept` bytes are captured, all unless that is given."""
        packet = udp_packet(source, destination, payload)
        when = 1700000000_000000000 + 1000003 * len(self.records) if nanoseconds is None else nanoseconds
        cut = packet[:kept]
        self.records.append(struct.pack(">IIII", when // 10**9, when % 10**9, len(cut), len(packet)) + cut)

    def write(self, path):
        header = struct.pack(">IHHiIII", 0xA1B23C4D, 2, 4, 0, 0, 65535, RAW_IP)
        path.write_bytes(header + b"".join(self.records))
        return path


class Relay:
    """Stands between those who ask and a card, and records both directions; and takes a card's events."""

    def __init__(self, card):
        self.card = card
        self.capture = Capture()
        self.asker = None
        self.front = self._socket()   # what the askers know
        self.back = self._socket()    # what the card knows
        self.events = self._socket()
        self.address = self.front.getsockname()
        self.event_seen = threading.Event()
        self.stopped = False
        self.thread = threading.Thread(target=self._pass_on, daemon=True)

    @staticmethod
    def _socket():
        bound = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        bound.bind(("127.0.0.1", 0))
        bound.settimeout(0.01)
        return bound

    def _pass_on(self):
        while not self.stopped:
            for receiving in (self.front, self.back, self.events):
                try:
                    payload, sender = receiving.recvfrom(65535)
                except socket.timeout:
                    continue
                self._take(receiving, payload, sender)

    def _take(self, receiving, payload, sender):
        now = time.time_ns()
        if receiving is self.events:
            self.capture.add(sender, self.events.getsockname(), payload, now)
            self.event_seen.set()
        elif receiving is self.front:
            self.asker = sender
            self.capture.add(sender, self.address, payload, now)
            self.back.sendto(payload, self.card)
        else:
            self.capture.add(self.address, self.asker, payload, now)
            self.front.sendto(payload, self.asker)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.stopped = True
        self.thread.join()
        for used in (self.front, self.back, self.events):
            used.close()
