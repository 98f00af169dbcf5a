#!/usr/bin/env python3
"""How the server is run: allowed networks, limits, locks over doors, the service manager, signals, a lost instrument.

Usage: server_run.py SCPI_ZLT. Prints one line per check and fails at the first error."""
import os
import re
import signal
import socket
import sys
import tempfile
import time

from hislip_client import Channel, Session
from server_process import Server, ask, closed, eventually

PROGRAM = sys.argv[1]


class Manager:
    """The service manager's end of NOTIFY_SOCKET."""

    def __init__(self):
        self.place = tempfile.TemporaryDirectory()
        self.path = os.path.join(self.place.name, "notify")
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(self.path)
        self.socket.settimeout(20)

    def lines(self):
        return self.socket.recv(4096).decode().splitlines()


def allow(server):
    assert ask(server.connect(source="127.0.0.2"), "*OPC?") == "+1\n"
    for door in ("raw", "hislip"):
        assert closed(server.connect(door, source="127.0.0.3")), f"{door}: an address that is not allowed"
    assert "127.0.0.3" in server.log() and "is not allowed" in server.log()


def locks_over_doors(server):
    address = ("127.0.0.1", server.ports["hislip"])
    with Session(address) as holder, Session(address) as other, server.connect() as raw:
        assert holder.lock() == 1 and other.lock() == 0
        raw.sendall(b":FREQ 2GHZ\n:FREQ?\n")
        assert holder.query(b":FREQ 1GHZ;:FREQ?\n") == b"1000000000\n"
        raw.settimeout(0.2)
        try:
            assert not raw.recv(1), "a message came past the lock of another door"
        except TimeoutError:
            pass
        raw.settimeout(20)
        assert holder.release() == 1
        assert raw.recv(100) == b"2000000000\n"


def vanished_clients_are_looked_for(server):
    """The kernel's own list has a keep-alive timer, 2, of at most a minute for the server's end."""
    with server.connect() as link:
        ends = tuple(f":{port:04X}" for port in (server.ports["raw"], link.getsockname()[1]))

        def is_timed():
            with open("/proc/net/tcp") as table:
                timers = [row.split()[5] for row in table if re.search(ends[0] + r" \w+" + ends[1], row)]
            return timers[0].startswith("02:") and int(timers[0][3:], 16) <= 60 * os.sysconf("SC_CLK_TCK")

        eventually(is_timed, "a timer")


def clients_and_silence(server):
    """Five may be connected; a client that is silent for the limit of a second is closed, an open HiSLIP session is not."""
    eventually(lambda: server.log().count(": disconnected") == server.log().count(": connected"), "connections left")
    with Session(("127.0.0.1", server.ports["hislip"])) as resting:
        links = [server.connect() for _ in range(4)]
        assert closed(links[3]) and "too many clients" in server.log()
        late = Channel(("127.0.0.1", server.ports["hislip"]))
        assert late.receive()[:2] == (2, 4), "HiSLIP has a FatalError for it"
        for link in links[:3]:
            assert closed(link)
        assert server.log().count("silent for too long") == 3
        assert resting.query(b"*OPC?\n") == b"+1\n"


def by_ipv6():
    server = Server(PROGRAM, "--raw", "0", "--hislip", "0", "--bind", "::1", "--allow", "::1/128")
    assert " on ::1 port " in server.first_line, server.first_line
    with socket.create_connection(("::1", server.ports["raw"]), timeout=20) as link:
        assert ask(link, "*OPC?") == "+1\n"
        assert f"raw [::1]:{link.getsockname()[1]}: connected" in server.log(), server.log()
    with Session(("::1", server.ports["hislip"])) as session:
        assert session.query(b"*OPC?\n") == b"+1\n"
    assert socket.socket().connect_ex(("127.0.0.1", server.ports["raw"])) != 0
    assert "controls the instrument" not in server.log(), "::1 is this machine alone"
    server.end()


def untaken_answers():
    """Of two clients that never read, the one with the larger limit is sent more answers."""
    servers = [Server(PROGRAM, "--raw", "0", "--log-messages", "--max-unsent", limit) for limit in ("1000", str(8 << 20))]
    links = [server.connect() for server in servers]
    for link in links:
        link.setblocking(False)
    question = ";".join([":FREQ?"] * 2000).encode() + b"\n"
    unsent = [question * 1000 for _ in links]

    def more():
        for number, link in enumerate(links):
            try:
                unsent[number] = unsent[number][link.send(unsent[number]):]
            except BlockingIOError:
                pass
        small, large = (server.log().count("(24000 bytes)") for server in servers)
        return (large - small) * 24000 > 4 << 20

    eventually(more, "the limits are the same")
    for link, server in zip(links, servers):
        link.close()
        server.end()


def memory_comes_back():
    """Clients by the hundred, once and again: what they used is given back, although one client stays."""
    server = Server(PROGRAM, "--raw", "0", "--max-clients", "1000")
    with server.connect() as resting:
        ask(resting, "*OPC?")
        before = server.memory()
        for _ in range(2):
            many = [server.connect() for _ in range(800)]
            ask(many[-1], "*OPC?")
            during = server.memory()
            for link in many:
                link.close()
            eventually(lambda: server.log().count(": connected") == server.log().count(": disconnected") + 1, "they are gone")
            ask(resting, "*OPC?")
            assert during - before > 8 << 20 and server.memory() - before < (during - before) / 2, (before, during, server.memory())
    server.end()


def closed_in_order():
    """Messages of some 50 ms each, and the client of the raw socket closes while they wait."""
    server = Server(PROGRAM, "--raw", "0", "--log-messages", resource="SIM1::latency=50::INSTR::ZLT")
    settings = [f":FREQ {number}GHZ\n" for number in range(2, 10)]

    def carried_out(text, close):
        """How many settings are started of those in `text`, once the connection is gone."""
        link = server.connect()
        peer = f"raw 127.0.0.1:{link.getsockname()[1]}"
        link.sendall(text.encode())
        close(link)
        eventually(lambda: f"{peer}: disconnected" in server.log(), "the connection ends")
        return server.log().count(f"{peer} -> :FREQ")

    def sending_side(link):
        link.shutdown(socket.SHUT_WR)
        answers = b""
        while piece := link.recv(100):
            answers += piece
        assert answers == b"00000000\n", answers

    settings = "".join(settings)
    assert carried_out("*STB?\n" + settings, sending_side) == 8, "the sending side alone: all answers come, then the end"
    assert carried_out(settings, socket.socket.close) == 8, "no answer is due to it"
    dropped = carried_out("*STB?\n" + settings, socket.socket.close)
    assert dropped <= 1, f"the answer finds nobody, and the rest is dropped: {dropped}"
    server.end()


def notified(manager):
    assert "READY=1" in manager.lines()


def second_signal(server):
    """A message of many seconds is under way: the first signal waits for it, the second one does not."""
    link = server.connect()
    link.sendall(b"*STB?;" * 100 + b"*STB?\n*IDN?\n")
    eventually(lambda: "-> *STB?" in server.log(), "the message starts")
    server.process.send_signal(signal.SIGTERM)
    eventually(lambda: "messages under way finish" in server.log(), "the first signal")
    assert server.process.poll() is None
    start = time.monotonic()
    server.process.send_signal(signal.SIGTERM)
    assert server.process.wait(10) == 1 and time.monotonic() - start < 3
    assert "second signal" in server.log() and "-> *IDN?" not in server.log()


def killed():
    """SIGKILL beside a sweep without end: nothing more is sent, so the output stays on and no further pass begins. The next server
    gets the same port at once; its opening begins with a reset and leaves the output off."""
    with tempfile.TemporaryDirectory() as place:
        log = os.path.join(place, "packets")

        def sent():
            with open(log) as file:
                return [line.split(" ", 2)[2].rstrip() for line in file if " <- " not in line]

        first = Server(PROGRAM, "--raw", "0", resource="SIM3::pass=200::INSTR::ZLT", environment={"SCPI_ZLT_SIM_LOG": log})
        link = first.connect()
        link.sendall(b":FREQ:MODE SWE\n:OUTP ON\n:INIT:CONT ON\n")
        eventually(lambda: sent().count("-> RUN") > 1, "the sweep runs")
        first.process.kill()
        first.process.wait()
        assert closed(link)
        before = sent()
        last = max(number for number, line in enumerate(before) if line == "-> RUN")
        assert all(line.startswith("-> GET") for line in before[last + 1:]), before[last:]
        assert [line for line in before if "SET P_RF_OUT2" in line][-1].split("[")[1][0] == "1", "the output is on"
        second = Server(PROGRAM, "--raw", str(first.ports["raw"]), resource="SIM3::pass=200::INSTR::ZLT",
                        environment={"SCPI_ZLT_SIM_LOG": log})
        opening = sent()[len(before):]
        assert opening[:2] == ["-- open SIM3::pass=200::INSTR", "-> RESET"], opening
        assert all(line.split("[")[1][0] == "0" for line in opening if "SET P_RF_OUT2" in line), opening
        assert ask(second.connect(), ":INIT:CONT?;:OUTP?") == "off;OFF\n"
        second.end()


def lost(server):
    """The instrument misses one packet: the loss is logged once, clients get errors, and the server opens it again."""
    link = server.connect()
    with Session(("127.0.0.1", server.ports["hislip"])) as session:
        eventually(lambda: "instrument lost" in server.log(), "the loss is noticed")
        session.write(b"*IDN?\n")
        assert session.sync.receive()[:2] == (3, 128), "an Error of the device's own"
        link.sendall(b"*IDN?\n")
        assert closed(link)
        eventually(lambda: "open again" in server.log(), "opened again")
        assert session.query(b"*OPC?\n") == b"+1\n"
    assert server.log().count("instrument lost") == server.log().count("open again") == 1
    server.end()


def main():
    # Noticing a loss takes the server five seconds, so this one is left alone meanwhile.
    losing = Server(PROGRAM, "--raw", "0", "--hislip", "0", "--check", "100", resource="SIM2::silent=60x1::INSTR::ZLT")
    manager = Manager()
    server = Server(PROGRAM, "--raw", "0", "--hislip", "0", "--allow", "127.0.0.0/31", "--allow", "127.0.0.2", "--idle", "1",
                    "--max-clients", "5", environment={"NOTIFY_SOCKET": manager.path})
    notified(manager)
    for check in (vanished_clients_are_looked_for, allow, locks_over_doors, clients_and_silence):
        check(server)
        print("ok", check.__name__, flush=True)
    server.end()
    assert manager.lines() == ["STOPPING=1"]
    print("ok service manager", flush=True)
    second_signal(Server(PROGRAM, "--raw", "0", "--log-messages", resource="SIM1::latency=50::INSTR::ZLT"))
    print("ok second signal", flush=True)
    for check in (by_ipv6, untaken_answers, memory_comes_back, closed_in_order, killed):
        check()
        print("ok", check.__name__, flush=True)
    lost(losing)
    print("ok lost", flush=True)


if __name__ == "__main__":
    main()
