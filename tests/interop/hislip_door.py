"""HiSLIP (IVI-6.1, protocol 1.0) as a client sees it: hislip_door.py SCPI-ZLT

Starts the server on the simulated generator and walks through a session by bytes written from the standard's tables."""
import socket
import struct
import sys
import time

from server_process import Server

DATA, DATA_END, TRIGGER = 6, 7, 12
FIRST = 0xFFFFFF00
FLOOD = 64 << 20
failed = 0


def check(name, got, expected):
    global failed
    if got != expected:
        failed += 1
        print(f"not ok {name}: expected {expected}, got {got}")


def encode(kind, control=0, parameter=0, payload=b""):
    return b"HS" + struct.pack(">BBIQ", kind, control, parameter & 0xFFFFFFFF, len(payload)) + payload


def receive(channel, count):
    data = b""
    while len(data) < count:
        piece = channel.recv(count - len(data))
        if not piece:
            raise EOFError("the server has closed the connection")
        data += piece
    return data


def message(channel):
    """(type, control code, parameter, payload) of the next message."""
    header = receive(channel, 16)
    check("prologue", header[:2], b"HS")
    kind, control, parameter, length = struct.unpack(">BBIQ", header[2:])
    return kind, control, parameter, receive(channel, length)


def connect(port):
    channel = socket.create_connection(("127.0.0.1", port), timeout=10)
    channel.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    return channel


def flood(channel):
    """Sends messages that get errors until the server takes no more; returns the bytes that it took."""
    channel.settimeout(2)
    sent = 0
    try:
        while sent < FLOOD:
            sent += channel.send(encode(99) * 4096)
    except TimeoutError:
        pass
    return sent


class Session:
    def __init__(self, port):
        self.s = connect(port)
        self.s.sendall(encode(0, 0, 0x0100_7878, b"hislip0"))
        kind, control, parameter, payload = message(self.s)
        check("InitializeResponse", (kind, control, parameter >> 16, payload), (1, 0, 0x0100, b""))
        self.a = connect(port)
        self.a.sendall(encode(17, 0, parameter & 0xFFFF))
        kind, control, _, payload = message(self.a)
        check("AsyncInitializeResponse", (kind, control, payload), (18, 0, b""))
        self.id = FIRST - 2

    def send(self, text, kind=DATA_END, rmt=0):
        self.id += 2
        self.s.sendall(encode(kind, rmt, self.id, text))

    def ask(self, kind, control=0, parameter=0, payload=b""):
        self.a.sendall(encode(kind, control, parameter, payload))
        return message(self.a)

    def lock(self, timeout=0, key=b""):
        return self.ask(4, 1, timeout, key)[:2]

    def release(self):
        return self.ask(4, 0, self.id)[:2]

    def close(self):
        self.s.close()
        self.a.close()


def walk(port):
    one, two = Session(port), Session(port)

    kind, _, _, size = one.ask(15, 0, 0, struct.pack(">Q", 1 << 20))
    check("AsyncMaximumMessageSizeResponse", (kind, struct.unpack(">Q", size)[0] >= 160144), (16, True))
    one.send(b"*IDN?\n")
    kind, control, parameter, text = message(one.s)
    check("DataEND has the id of the query", (kind, control, parameter), (DATA_END, 0, FIRST))
    check("identity", (text.count(b","), text[-1:], b"\0" in text), (2, b"\n", False))
    check("MAV is set", one.ask(21, 0, one.id)[:2], (22, 1 << 4))
    one.send(b":FREQ 1GHZ", rmt=1)
    one.send(b":FR", kind=DATA)
    one.send(b"EQ?")
    check("END without LF ends a message", message(one.s), (DATA_END, 0, one.id, b"1000000000\n"))
    two.send(b":FREQ?\n")
    check("one instrument for both", message(two.s)[3], b"1000000000\n")
    check("MAV is cleared by RMT-delivered", one.ask(21, 1, one.id)[:2], (22, 0))

    check("exclusive", one.lock(), (5, 1))
    check("exclusive twice", one.lock(), (5, 3))
    start = time.monotonic()
    check("exclusive of another", two.lock(200), (5, 0))
    check("waited as long as asked", 0.15 < time.monotonic() - start < 5, True)
    two.send(b":FREQ 3GHZ\n")
    one.send(b":FREQ?\n", rmt=1)
    check("a client without the lock waits", message(one.s)[3], b"1000000000\n")
    check("info", one.ask(24)[:3], (25, 1, 1))
    check("release", one.release(), (5, 1))
    check("release of none", one.release(), (5, 3))
    check("shared", (two.lock(0, b"key"), one.lock(0, b"key"), one.lock(0, b"other")), ((5, 1), (5, 1), (5, 3)))
    check("both", (one.lock(), one.ask(24)[:3]), ((5, 1), (25, 1, 2)))
    check("exclusive goes first", (one.release(), one.release(), two.release()), ((5, 1), (5, 2), (5, 2)))
    one.send(b":FREQ?\n", rmt=1)
    check("what waited has run", message(one.s)[3], b"3000000000\n")
    check("exclusive again", two.lock(), (5, 1))
    two.close()
    check("a lock dies with its connection", one.lock(5000), (5, 1))
    check("release", one.release(), (5, 1))

    queries = encode(DATA_END, 1, one.id + 2, b"*IDN?\n") + encode(DATA_END, 0, one.id + 4, b":FREQ?\n")
    one.s.sendall(queries)
    one.id += 4
    check("interrupted", (message(one.a)[:3], message(one.s)[:3]), ((14, 0, one.id), (13, 0, one.id)))
    check("the later answer comes", message(one.s), (DATA_END, 0, one.id, b"3000000000\n"))

    one.send(b":FREQ?\n:FR", kind=DATA, rmt=1)
    message(one.s)
    check("device clear", one.ask(19)[:2], (23, 0))
    one.s.sendall(encode(DATA_END, 0, 5, b"garbage") + encode(8))
    check("acknowledged on both", message(one.s)[:3], (9, 0, 0))
    one.id = FIRST - 2
    one.send(b":FREQ?\n")
    check("starts again after a clear", message(one.s), (DATA_END, 0, FIRST, b"3000000000\n"))

    one.ask(15, 0, 0, struct.pack(">Q", 272))
    one.send(b"*OPC?;" * 1000 + b"*OPC?\n", rmt=1)
    parts = [message(one.s)]
    while parts[-1][0] == DATA:
        parts.append(message(one.s))
    check("in pieces of the client's size", max(len(part[3]) for part in parts), 256)
    check("whole", b"".join(part[3] for part in parts), b"+1;" * 1000 + b"+1\n")

    for name, channel, bytes_sent, expected in [
        ("unknown type", one.s, encode(99, 0, 0, b"payload"), (3, 1)),
        ("vendor type", one.s, encode(200), (3, 3)),
        ("a type of the other channel", one.s, encode(24), (3, 1)),
        ("unknown control code", one.a, encode(10, 9), (3, 2)),
        ("remote", one.a, encode(10, 1), (11, 0)),
        ("too large", one.s, encode(DATA_END, 1, 2, b"x" * 160145), (3, 4)),
        ("too long a lock string", one.a, encode(4, 1, 0, b"k" * 300), (3, 4)),
    ]:
        channel.sendall(bytes_sent)
        check(name, message(channel)[:2], expected)
    one.send(b":FREQ?\n", rmt=1)
    check("goes on after errors", message(one.s)[3], b"3000000000\n")

    check("exclusive", one.lock(), (5, 1))
    three = Session(port)
    three.a.sendall(encode(4, 1, 60000) + encode(4, 1, 60000))
    check("one wait at a time", message(three.a)[:2], (5, 3))
    three.a.sendall(encode(19))
    check("a clear ends the wait", (message(three.a)[:2], message(three.a)[:2]), ((5, 0), (23, 0)))
    one.a.sendall(encode(4, 0, one.id + 2) + encode(19))
    check("a clear ends what a release waits for", message(one.a)[:2], (23, 0))
    three.s.sendall(encode(8))
    check("acknowledged", message(three.s)[0], 9)
    check("released at once", three.lock(), (5, 1))
    check("released", three.release(), (5, 1))
    one.s.sendall(encode(8))
    check("acknowledged", message(one.s)[0], 9)

    three.send(b"x" * 160145)
    check("too large", message(three.s)[:2], (3, 4))
    start = time.monotonic()
    check("a release after it", (three.lock(), three.release()), ((5, 1), (5, 1)))
    check("is not held up", time.monotonic() - start < 1, True)
    for channel in (three.s, three.a):
        check("a client that never reads is not read from", flood(channel) < FLOOD, True)

    one.s.sendall(b"XX")
    check("bad prologue", (message(one.s)[:2], message(one.a)[:2]), ((2, 1), (2, 1)))
    for name, first, expected in [
        ("data first", encode(DATA_END, 0, 0, b"*IDN?\n"), (2, 3)),
        ("asynchronous connection of no session", encode(17, 0, 0xFFFE), (2, 3)),
        ("no such device", encode(0, 0, 0x0100_0000, b"gpib0,5"), (2, 0)),
        ("no HiSLIP", b"GET / HTTP/1.1\r\n", (2, 1)),
    ]:
        channel = connect(port)
        channel.sendall(first)
        check(name, message(channel)[:2], expected)
        check(name + ": closed", channel.recv(1), b"")
    half = connect(port)
    half.sendall(encode(0, 0, 0x0100_0000, b"") + encode(DATA_END, 0, FIRST, b"*IDN?\n"))
    check("data before both connections are open", (message(half)[0], message(half)[:2]), (1, (2, 2)))


def many_messages_at_once(server):
    """One payload may hold as many messages as lines. They and their answers are kept, so the payload bounds both."""
    one, other = Session(server.ports["hislip"]), Session(server.ports["hislip"])
    before = server.memory()
    count = 160144 // len("*OPC?\n")
    one.send(b"*OPC?\n" * count)
    other.send(b"*OPC?\n")
    check("another client has its turn", message(other.s)[3], b"+1\n")
    answers = [message(one.s)[3] for _ in range(count)]
    check("all are answered", answers.count(b"+1\n"), count)
    check("in bounded memory", server.memory() - before < 16 << 20, True)
    print(f"{count} messages in one payload: {(server.memory() - before) >> 10} KiB more")


def main():
    server = Server(sys.argv[1], "--hislip", "0")
    many_messages_at_once(server)
    walk(server.ports["hislip"])
    server.end()
    sys.exit(1 if failed else 0)


main()
