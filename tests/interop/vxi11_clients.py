#!/usr/bin/env python3
"""VXI-11 by independent clients, and by bad ones: vxi11_clients.py SCPI_ZLT

They find the server by port 111 of 127.0.0.1 alone, so all this runs in a network namespace of its own (own_network.py). Prints
one line per client."""
import os
import pathlib
import resource
import shutil
import socket
import struct
import subprocess
import sys
import time

import own_network
from client_table import ClientTable
from server_process import Server, ask, closed, visa_error

PROGRAM = sys.argv[1]
CORE, MAPPER = 0x0607AF, 100000
LOCKED = 11
END, WAITLOCK = 8, 1

TABLE = ClientTable("VXI-11")
MAPPER_TABLE = ClientTable("port mapper")


def find(program):
    """A program that an ordinary user's path does not have, or that ./test has unpacked without installing it."""
    unpacked = pathlib.Path(__file__).resolve().parents[2] / "build/rpcbind"
    return shutil.which(program, path=f"{os.environ['PATH']}:/usr/sbin:/sbin:{unpacked}/sbin:{unpacked}/usr/bin")


class Rpc:
    """Calls of ONC RPC by TCP, written from RFC 5531."""

    def __init__(self, port, program, version=1):
        self.link = socket.create_connection(("127.0.0.1", port), timeout=20)
        self.program, self.version, self.xid = program, version, 0

    def send(self, procedure, *words, data=None, rpc=2):
        self.xid += 1
        body = struct.pack(">10I", self.xid, 0, rpc, self.program, self.version, procedure, 0, 0, 0, 0)
        body += struct.pack(f">{len(words)}I", *words)
        if data is not None:
            body += struct.pack(">I", len(data)) + data + bytes(-len(data) % 4)
        self.link.sendall(struct.pack(">I", 1 << 31 | len(body)) + body)

    def receive(self):
        """The words after the xid."""
        record = self.exactly(struct.unpack(">I", self.exactly(4))[0] & 0x7FFFFFFF)
        assert struct.unpack(">I", record[:4])[0] == self.xid, record
        return record[4:]

    def exactly(self, count):
        data = b""
        while len(data) < count:
            piece = self.link.recv(count - len(data))
            assert piece, "closed"
            data += piece
        return data

    def call(self, procedure, *words, data=None):
        """The words of the results, after "accepted" and "success"."""
        self.send(procedure, *words, data=data)
        reply = self.receive()
        assert reply[:20] == struct.pack(">5I", 1, 0, 0, 0, 0), reply
        return struct.unpack(f">{(len(reply) - 20) // 4}I", reply[20:])

    def create(self):
        error, link, self.abort_port, size = self.call(10, 7, 0, 0, data=b"inst0")
        assert (error, size) == (0, 1024)
        return link


def pyvisa(server):
    try:
        import pyvisa
        import pyvisa_py
    except ImportError:
        return "skipped: python3-pyvisa and python3-pyvisa-py are not installed"

    manager = pyvisa.ResourceManager("@py")
    generator = manager.open_resource("TCPIP::127.0.0.1::inst0::INSTR", timeout=5000)
    assert generator.query("*IDN?").strip().split(",")[:2] == ["Sorvik", "ZG-20E"], "*IDN?"
    generator.write(":FREQ 1.25GHZ")
    assert generator.query(":FREQ?") == "1250000000\n"
    generator.write("*IDN?")
    deadline = time.monotonic() + 5
    while generator.read_stb() & 16 == 0:
        assert time.monotonic() < deadline, "MAV comes when an answer waits"
    generator.clear()
    assert generator.read_stb() & 16 == 0, "a device clear drops the answer"
    generator.assert_trigger()
    generator.timeout = 100
    assert visa_error(generator.read) == "VI_ERROR_TMO", "nothing was asked"
    generator.timeout = 10000
    # The longest message that the library takes, line end included, and one byte more.
    for size, expected in (160144, "none"), (160145, "VI_ERROR_IO"):
        message = ":LIST:FREQ " + "1000000000," * 14000
        message += "1000000000".rjust(size - 2 - len(message))
        assert visa_error(generator.write, message) == expected, (size, len(message))
    assert generator.query(":LIST:FREQ:POIN?") == "14001\n"
    assert visa_error(generator.write, ":FREQ 9GHZ" + " " * 200000) == "VI_ERROR_IO", "a block above the limit"
    assert generator.query(":FREQ?") == "1250000000\n", "nothing of it was carried out"
    second = manager.open_resource("TCPIP::127.0.0.1::inst0::INSTR")
    generator.lock_excl()
    assert visa_error(second.query, ":FREQ?") == "VI_ERROR_IO", "locked out"
    generator.unlock()
    assert second.query(":FREQ?") == "1250000000\n"
    generator.lock_excl()
    generator.close()
    second.lock_excl()  # a lock ends with its link
    second.close()
    return TABLE.tried(f"pyvisa {pyvisa.__version__} with pyvisa-py {pyvisa_py.__version__}",
                       "VXI-11 (`TCPIP::HOST::inst0::INSTR`)",
                       "query, set, clear, status byte, trigger, a list of 160144 bytes, one byte more, 200 kB, lock against a second "
                       "client")


def lxi(server):
    if shutil.which("lxi") is None:
        return "skipped: lxi-tools is not installed"

    def run(*words):
        return subprocess.run(["lxi", *words], capture_output=True, text=True, timeout=30)

    assert run("scpi", "-a", "127.0.0.1", "*IDN?").stdout == "Sorvik,ZG-20E,000000\n"
    run("scpi", "-a", "127.0.0.1", ":FREQ 2.5GHZ")
    assert run("scpi", "-a", "127.0.0.1", ":FREQ?").stdout == "2500000000\n"
    with server.connect() as link:
        assert ask(link, ":FREQ?") == "2500000000\n", "a setting of lxi is seen by others"
    assert "requests/second" in run("benchmark", "-a", "127.0.0.1", "-c", "100").stdout
    start = time.monotonic()
    screenshot = run("screenshot", "-a", "127.0.0.1")
    assert screenshot.returncode == 1 and time.monotonic() - start < 10, screenshot
    found = run("discover").stdout
    assert '"Sorvik,ZG-20E,000000" on address 127.0.0.1' in found, found
    version = run("--version").stdout.split()[1].lstrip("v")
    return TABLE.tried(f"lxi-tools {version}", "VXI-11 (`lxi scpi`, `lxi benchmark`, `lxi discover`)",
                       "query, set; found by a broadcast")


def octave(server):
    if shutil.which("octave-cli") is None:
        return "skipped: octave-instrument-control is not installed"
    script = """pkg load instrument-control
link = vxi11("127.0.0.1"); vxi11_write(link, ":FREQ 3GHZ"); vxi11_write(link, ":FREQ?");
printf("%s", char(vxi11_read(link, 100, 5000))); vxi11_close(link);"""
    result = subprocess.run(["octave-cli", "--quiet", "--eval", script], capture_output=True, text=True, timeout=60)
    if "doesn't support the VXI11 interface" in result.stderr:
        return "skipped: this octave-instrument-control is built without VXI-11"
    if "package" in result.stderr and "not" in result.stderr:
        return "skipped: octave-instrument-control is not installed"
    assert result.stdout == "3000000000\n", result
    return "ok: octave vxi11"


def locks(server):
    """A lock of this door keeps the others out, and the other way round."""
    first, second, raw = Rpc(server.ports["vxi11"], CORE), Rpc(server.ports["vxi11"], CORE), server.connect()
    mine, other = first.create(), second.create()
    assert first.call(18, mine, 0, 0) == (0,)
    raw.sendall(b":FREQ 5GHZ;:FREQ?\n")
    assert first.call(11, mine, 1000, 0, END, data=b":FREQ?")[0] == 0
    error, reason, *_ = first.call(12, mine, 100, 5000, 0, 0, 0)
    assert (error, reason) == (0, 4)
    raw.settimeout(0.2)
    try:
        assert not raw.recv(100), "the raw socket waits for the lock"
    except TimeoutError:
        pass
    assert second.call(11, other, 1000, 0, END, data=b":FREQ 6GHZ") == (LOCKED, 0)
    start = time.monotonic()
    assert second.call(11, other, 1000, 300, END | WAITLOCK, data=b":FREQ 6GHZ") == (LOCKED, 0)
    assert time.monotonic() - start >= 0.3, "waitlock waits"
    second.send(18, other, WAITLOCK, 20000)
    first.link.close()  # the lock ends with its connection
    assert second.receive()[20:] == bytes(4), "the client that waits for the lock gets it"
    second.call(19, other)
    raw.settimeout(20)
    assert raw.recv(100) == b"5000000000\n"
    return "ok: a lock keeps the raw socket and other links out until its connection ends"


def port_mapper(server):
    mapping = struct.pack(">4I", CORE, 1, 6, 0)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as link:
        link.settimeout(20)
        link.sendto(struct.pack(">10I", 1000, 0, 2, MAPPER, 2, 3, 0, 0, 0, 0) + mapping, ("127.0.0.1", 111))
        assert struct.unpack(">7I", link.recv(100)) == (1000, 1, 0, 0, 0, 0, server.ports["vxi11"]), "GETPORT by UDP"
    newer = Rpc(111, MAPPER, 4)
    newer.send(3)
    assert struct.unpack(">7I", newer.receive()) == (1, 0, 0, 0, 2, 2, 2), "version 4: mismatch, 2 to 2"
    rpcinfo = find("rpcinfo")
    if rpcinfo is None:
        return "ok: GETPORT by UDP (rpcinfo is not installed)"
    listed = subprocess.run([rpcinfo, "-p", "127.0.0.1"], capture_output=True, text=True, timeout=30).stdout
    assert f"395183    1   tcp  {server.ports['vxi11']:5}" in listed, listed
    return "ok: GETPORT by UDP, rpcinfo -p"


def bad_clients(server):
    def core():
        return Rpc(server.ports["vxi11"], CORE)

    good = core()
    link = good.create()
    before = server.memory()
    for name, spoil, expected in (
        ("another program", {"program": 5}, (1, 0, 0, 0, 1)),
        ("another version", {"version": 2}, (1, 0, 0, 0, 2, 1, 1)),
        ("another RPC", {"rpc": 3}, (1, 1, 0, 2, 2)),
        ("an unused number", {"procedure": 21}, (1, 0, 0, 0, 3)),
        ("no arguments", {"procedure": 11}, (1, 0, 0, 0, 4)),
    ):
        bad = core()
        bad.program, bad.version = spoil.get("program", CORE), spoil.get("version", 1)
        bad.send(spoil.get("procedure", 0), rpc=spoil.get("rpc", 2))
        reply = bad.receive()
        assert struct.unpack(f">{len(reply) // 4}I", reply) == expected, (name, reply)
    for mark in (0x7FFFFFFF, 0xFFFFFFFF):
        bad = core()
        bad.link.sendall(struct.pack(">I", mark))
        assert closed(bad.link), "a record of 2 GiB"
    bad = core()
    bad.send(0)
    bad.receive()
    bad.link.sendall(b"x" * 50)
    assert closed(bad.link), "garbage after a call"
    slow = [core() for _ in range(20)]
    for number, one in enumerate(slow):
        one.link.sendall(struct.pack(">I", 0x80000100)[: number % 4 + 1])  # and then nothing
    flood = core()
    flood.link.setblocking(False)
    try:
        while True:
            flood.send(0)  # and never reads
    except BlockingIOError:
        pass
    resource.setrlimit(resource.RLIMIT_NOFILE, (2000, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))  # often 1024
    many = [core() for _ in range(1000)]
    assert sum(closed(one.link) for one in many[100:]) == 900, "the limit on clients refuses"
    assert good.call(11, link, 1000, 0, END, data=b":FREQ?")[0] == 0
    assert good.call(12, link, 100, 5000, 0, 0, 0)[:2] == (0, 4), "others are served meanwhile"
    assert server.memory() - before < 16 << 20, "what clients send and do not read is bounded"
    for one in [*slow, *many, flood]:
        one.link.close()
    return "ok: wrong calls are answered, wrong records dropped, the others served"


def alone():
    server = Server(PROGRAM, "--vxi11")
    assert "--portmapper answers there" in server.log(), server.log()
    Rpc(server.ports["vxi11"], CORE).create()
    server.end()
    return "ok: without a port mapper it says so, and serves"


def taken(server):
    second = subprocess.run([PROGRAM, "serve", "SIM0::INSTR::ZLT", "--vxi11", "--portmapper"], capture_output=True, text=True,
                            timeout=30)
    assert second.returncode == 1 and "port 111" in second.stderr, second
    return "ok: " + second.stderr.strip().splitlines()[-1]


def registration():
    """With a running port mapper: a killed server leaves its entry, and a new server replaces it."""
    rpcbind = find("rpcbind")
    if rpcbind is None:
        return "skipped: there is no rpcbind"
    if not own_network.rename_root("_rpc"):
        return "skipped: rpcbind needs a root that can mount"
    daemon = subprocess.Popen([rpcbind, "-f", "-w"])
    try:
        deadline = time.monotonic() + 10
        while socket.socket().connect_ex(("127.0.0.1", 111)) != 0:
            assert daemon.poll() is None and time.monotonic() < deadline, "rpcbind does not start"
            time.sleep(0.01)
        getport = lambda: Rpc(111, MAPPER, 2).call(3, CORE, 1, 6, 0)[0]
        first = Server(PROGRAM, "--vxi11", "--portmapper")
        assert getport() == first.ports["vxi11"] and "portmapper" not in first.ports, first.log()
        first.process.kill()
        first.process.wait()
        second = Server(PROGRAM, "--vxi11")
        assert getport() == second.ports["vxi11"], second.log()
        second.end()
        assert getport() == 0, "the entry goes with the server"
    finally:
        daemon.terminate()
        daemon.wait()
    return MAPPER_TABLE.tried("rpcinfo and rpcbind", "port mapper", "list, registering, an entry that a killed server left behind")


def main():
    results = {}

    def show(check, *server):
        results[check] = check(*server)
        print(f"{check.__name__:12} {results[check]}", flush=True)

    server = Server(PROGRAM, "--vxi11", "--portmapper", "--raw", "0")
    for check in (pyvisa, lxi, octave, locks, port_mapper, taken, bad_clients):
        show(check, server)
    server.end()
    for check in (alone, registration):
        show(check)
    # The page has no row for octave, which Debian 12 builds without VXI-11.
    if not any(results[check].startswith("skipped") for check in (pyvisa, lxi)):
        TABLE.finish()
    if not results[registration].startswith("skipped"):
        MAPPER_TABLE.finish()


if __name__ == "__main__":
    own_network.enter()
    main()
