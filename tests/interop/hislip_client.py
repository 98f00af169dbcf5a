"""A HiSLIP 1.0 client (IVI-6.1), written from the standard's tables alone, so that it can check a server against them.

Nothing is hidden: each message is sent and received exactly as it is on the wire. Every wait is bounded by the socket time-out."""
import collections
import socket
import struct

HEADER = struct.Struct(">2sBBIQ")
PROLOGUE = b"HS"
FIRST_ID = 0xFFFFFF00
NOTHING_SENT = 0xFFFFFEFE
UNKNOWN_ID = 0xFFFFFFFF

(INITIALIZE, INITIALIZE_RESPONSE, FATAL_ERROR, ERROR, ASYNC_LOCK, ASYNC_LOCK_RESPONSE, DATA, DATA_END, DEVICE_CLEAR_COMPLETE,
 DEVICE_CLEAR_ACKNOWLEDGE, ASYNC_REMOTE_LOCAL, ASYNC_REMOTE_LOCAL_RESPONSE, TRIGGER, INTERRUPTED, ASYNC_INTERRUPTED,
 ASYNC_MAXIMUM_SIZE, ASYNC_MAXIMUM_SIZE_RESPONSE, ASYNC_INITIALIZE, ASYNC_INITIALIZE_RESPONSE, ASYNC_DEVICE_CLEAR,
 ASYNC_SERVICE_REQUEST, ASYNC_STATUS_QUERY, ASYNC_STATUS_RESPONSE, ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, ASYNC_LOCK_INFO,
 ASYNC_LOCK_INFO_RESPONSE) = range(26)

Message = collections.namedtuple("Message", "type control parameter payload")


def encode(kind, control=0, parameter=0, payload=b""):
    return HEADER.pack(PROLOGUE, kind, control, parameter, len(payload)) + payload


class Closed(Exception):
    """The peer ended the connection."""


class Channel:
    """One TCP connection."""

    def __init__(self, address, wait=5.0):
        self.socket = socket.create_connection(address, wait)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def send(self, kind, control=0, parameter=0, payload=b""):
        self.socket.sendall(encode(kind, control, parameter, payload))

    def _exactly(self, count):
        parts = bytearray()
        while len(parts) < count:
            try:
                part = self.socket.recv(min(count - len(parts), 1 << 16))
            except ConnectionResetError:
                part = b""
            if not part:
                raise Closed(f"closed after {len(parts)} of {count} octets")
            parts += part
        return bytes(parts)

    def receive(self):
        prologue, kind, control, parameter, length = HEADER.unpack(self._exactly(HEADER.size))
        if prologue != PROLOGUE:
            raise ValueError(f"prologue {prologue!r}")
        if length > 1 << 24:
            raise ValueError(f"payload of {length} octets")
        return Message(kind, control, parameter, self._exactly(length))

    def ask(self, *message):
        self.send(*message)
        return self.receive()

    def silent_for(self, seconds):
        """True if nothing arrives in this time, not even the end of the connection."""
        before = self.socket.gettimeout()
        self.socket.settimeout(seconds)
        try:
            self.socket.recv(1, socket.MSG_PEEK)
            return False
        except TimeoutError:
            return True
        finally:
            self.socket.settimeout(before)

    def close(self):
        self.socket.close()


class Session:
    """A session with both channels up; the caller sees every message."""

    def __init__(self, address, version=0x0100, vendor=b"xx", sub_address=b"hislip0", wait=5.0):
        self.sync = Channel(address, wait)
        self.side = None
        try:
            self.opened = self.sync.ask(INITIALIZE, 0, version << 16 | int.from_bytes(vendor, "big"), sub_address)
            self.id = self.opened.parameter & 0xFFFF
            self.side = Channel(address, wait)
            self.paired = self.side.ask(ASYNC_INITIALIZE, 0, self.id)
        except BaseException:
            self.close()
            raise
        self.restart()

    def restart(self):
        """The state after opening and after device clear."""
        self.next_id, self.last_id, self.delivered = FIRST_ID, NOTHING_SENT, False

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        for channel in (self.sync, self.side):
            if channel:
                channel.close()

    def take_delivered(self):
        """RMT-delivered for the next message: set once per response."""
        bit, self.delivered = int(self.delivered), False
        return bit

    def send(self, kind, payload=b"", control=None):
        control = self.take_delivered() if control is None else control
        self.last_id, self.next_id = self.next_id, (self.next_id + 2) & 0xFFFFFFFF
        self.sync.send(kind, control, self.last_id, payload)

    def write(self, text):
        self.send(DATA_END, text)

    def read_messages(self):
        """The messages of one response, the last a DataEND."""
        messages = [self.sync.receive()]
        while messages[-1].type == DATA:
            messages.append(self.sync.receive())
        self.delivered = messages[-1].type == DATA_END
        return messages

    def read(self):
        messages = self.read_messages()
        if messages[-1].type != DATA_END:
            raise ValueError(f"a response ended in {messages[-1]}")
        return b"".join(message.payload for message in messages)

    def query(self, text):
        self.write(text)
        return self.read()

    def lock(self, key=b"", timeout=0):
        return self.side.ask(ASYNC_LOCK, 1, timeout, key).control

    def release(self):
        return self.side.ask(ASYNC_LOCK, 0, self.last_id).control

    def lock_info(self):
        answer = self.side.ask(ASYNC_LOCK_INFO)
        return answer.control, answer.parameter

    def status(self, message_id=None):
        message_id = self.last_id if message_id is None else message_id
        return self.side.ask(ASYNC_STATUS_QUERY, self.take_delivered(), message_id)

    def maximum_size(self, size):
        answer = self.side.ask(ASYNC_MAXIMUM_SIZE, 0, 0, struct.pack(">Q", size))
        return answer, int.from_bytes(answer.payload, "big")

    def clear(self):
        """Device clear, dropping what comes in between; returns both acknowledgements."""
        self.side.send(ASYNC_DEVICE_CLEAR)
        first = self.side.receive()
        while first.type not in (ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, FATAL_ERROR):
            first = self.side.receive()
        self.sync.send(DEVICE_CLEAR_COMPLETE, first.control)
        second = self.sync.receive()
        while second.type not in (DEVICE_CLEAR_ACKNOWLEDGE, FATAL_ERROR):
            second = self.sync.receive()
        self.restart()
        return first, second
