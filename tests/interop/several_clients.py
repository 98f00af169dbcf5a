#!/usr/bin/env python3
"""lxi and pyvisa at one server, by different doors at the same time: several_clients.py SCPI_ZLT

They see each other's settings; one that is killed leaves the sweep of the other alone; a lock of one keeps the other out. What the
instrument gets is read in the simulator's log of packets. VXI-11 needs port 111, so all this runs in a network namespace of
its own (own_network.py). Prints one line per check."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

import own_network
from hislip_client import Session
from server_process import Server, ask, eventually, visa_error

PROGRAM = sys.argv[1]
# What a running sweep is left with unless somebody ends or changes it: its own polls, and questions.
UNTOUCHED = re.compile(r"(->|<-) (RUN|GET) ?.*")


class Clients:
    """Each way of each program: a way to send a message, to ask a question, and to be busy until it is killed."""

    def __init__(self, server):
        self.server = server
        self.raw_port = str(server.ports["raw"])
        self.names = {"raw": f"TCPIP::127.0.0.1::{self.raw_port}::SOCKET", "vxi11": "TCPIP::127.0.0.1::inst0::INSTR"}

    def pyvisa(self, door):
        import pyvisa
        return pyvisa.ResourceManager("@py").open_resource(self.names[door], read_termination="\n", write_termination="\n",
                                                           timeout=5000)

    def lxi(self, door, message, seconds=5):
        by_raw = ["--raw", "-p", self.raw_port] if door == "raw" else []
        return subprocess.run(["lxi", "scpi", "-a", "127.0.0.1", "-t", str(seconds), *by_raw, message], capture_output=True,
                              text=True, timeout=60)

    def busy(self, program, door):
        """A process that asks without end."""
        if program == "lxi":
            by_raw = ["--raw", "-p", self.raw_port] if door == "raw" else []
            command = ["lxi", "benchmark", "-a", "127.0.0.1", "-c", "100000000", *by_raw]
        else:
            talk = (f"import pyvisa; g = pyvisa.ResourceManager('@py').open_resource('{self.names[door]}', read_termination='\\n', "
                    "write_termination='\\n')\nwhile True: g.query('*IDN?')")
            command = [sys.executable, "-c", talk]
        return subprocess.Popen(command, stdout=subprocess.DEVNULL)

    def kill_while_busy(self, program, door):
        """SIGKILL in the middle of its talk; returns when the server has seen the end of the connection."""
        log = self.server.log()
        victim = self.busy(program, door)
        connected = re.compile(rf"{door} (\S+): connected")
        eventually(lambda: connected.search(self.server.log()[len(log):]), f"{program} connects by {door}")
        peer = connected.search(self.server.log()[len(log):]).group(1)
        asked = f"{door} {peer} <- Sorvik"
        eventually(lambda: self.server.log().count(asked) > 20, f"{program} asks by {door}")
        assert victim.poll() is None
        victim.kill()
        victim.wait()
        eventually(lambda: f"{door} {peer}: disconnected" in self.server.log(), "the server sees the end")


class Packets:
    """What the simulated instrument got and answered, from a mark on."""

    def __init__(self, path):
        self.path = path
        self.begin = 0

    def lines(self):
        with open(self.path) as file:
            return [line.split(None, 2)[2].rstrip("\n") for line in file.readlines()]

    def mark(self):
        self.begin = len(self.lines())

    def since(self):
        return self.lines()[self.begin:]

    def passes(self):
        return sum(line.startswith("<- RUN SK_NO_ERROR") for line in self.since())


def settings_are_shared(clients, _):
    """Every way of one program against every way of the other."""
    for door, other, hertz in (("raw", "vxi11", 1_100_000_000), ("vxi11", "raw", 1_200_000_000), ("raw", "raw", 1_300_000_000)):
        with clients.pyvisa(door) as generator:
            generator.write(f":FREQ {hertz}")
            generator.query("*OPC?")
            assert clients.lxi(other, ":FREQ?").stdout.strip() == str(hertz), (door, other)
            clients.lxi(other, f":FREQ {hertz + 1}")
            assert generator.query(":FREQ?").strip() == str(hertz + 1), (other, door)


RANGE = ":FREQ:STAR 1GHZ", ":FREQ:STOP 2GHZ", ":SWE:POIN 11"
LISTS = ":LIST:FREQ 1GHZ,1.5GHZ,3GHZ", ":LIST:POW -10,-20,-30"
# name; messages up to the start; whose sweep it is; who is killed; what the sweep does then
SWEEPS = (
    ("frequency, continuous", (*RANGE, ":SWE:DWEL 20MS", ":FREQ:MODE SWE", ":INIT:CONT ON"), "pyvisa raw", "lxi vxi11", "passes"),
    ("list, continuous", (*LISTS, ":LIST:DWEL 30MS", ":FREQ:MODE LIST", ":POW:MODE LIST", ":INIT:CONT ON"), "lxi vxi11",
     "pyvisa raw", "passes"),
    ("frequency, one pass of four seconds", (*RANGE, ":SWE:DWEL 0.4", ":FREQ:MODE SWE", ":INIT"), "lxi raw", "pyvisa vxi11", "ends"),
    ("level, waits for its trigger", (":POW:STAR -20", ":POW:STOP 0", ":TRIG:SOUR EXT", ":POW:MODE SWE", ":INIT"), "pyvisa vxi11",
     "lxi raw", "waits"),
    ("list, stepped by triggers", (*LISTS, ":FREQ:MODE LIST", ":TRIG:SOUR EXT", ":LIST:MODE MAN", ":INIT:CONT ON"), "pyvisa raw",
     "lxi raw", "waits"),
)


def start_sweep(clients, whose, messages):
    program, door = whose.split()
    if program == "lxi":
        for message in messages:
            clients.lxi(door, message)
        return None
    generator = clients.pyvisa(door)
    for message in messages:
        generator.write(message)
    generator.query("*OPC?")
    return generator


def a_killed_client_leaves_the_sweep(clients, packets):
    for name, messages, whose, victim, then in SWEEPS:
        with clients.server.connect() as link:
            ask(link, ":ABOR;:INIT:CONT OFF;:FREQ:MODE FIX;:POW:MODE FIX;:TRIG:SOUR BUS;:LIST:MODE AUTO;*OPC?")
        packets.mark()
        owner = start_sweep(clients, whose, messages)
        eventually(lambda: "-> RUN" in packets.since(), f"{name}: it starts")
        packets.mark()
        clients.kill_while_busy(*victim.split())
        if then == "passes":
            seen = packets.passes()
            eventually(lambda: packets.passes() >= seen + 3, f"{name}: it goes on")
        elif then == "ends":
            assert packets.passes() == 0, f"{name}: the client was to be killed in the middle of the pass"
            eventually(lambda: packets.passes() == 1, f"{name}: it ends as it would have")
        touched = [line for line in packets.since() if not UNTOUCHED.fullmatch(line)]
        assert not touched, f"{name}: {touched}"
        if then == "waits":
            assert not any("RUN" in line for line in packets.since()), f"{name}: the run still waits for its trigger"
        if owner:
            owner.close()


def a_lock_keeps_the_others_out(clients, _):
    with clients.server.connect() as link:
        ask(link, ":ABOR;:INIT:CONT OFF;:FREQ:MODE FIX;:POW:MODE FIX;:FREQ 1GHZ;*OPC?")
    address = ("127.0.0.1", clients.server.ports["hislip"])
    with clients.pyvisa("vxi11") as holder, clients.pyvisa("raw") as raw, Session(address) as hislip:
        raw.timeout = 300
        holder.lock_excl()
        assert clients.lxi("raw", ":FREQ?", 1).stdout == "" and clients.lxi("vxi11", ":FREQ?", 1).stdout == ""
        clients.lxi("raw", ":FREQ 2GHZ", 1)  # closed in order, so it is carried out when the lock is gone
        assert visa_error(raw.query, ":FREQ?") == "VI_ERROR_TMO"
        assert hislip.lock() == 0 and hislip.lock_info() == (1, 1)
        hislip.write(b":FREQ?\n")
        assert hislip.sync.silent_for(0.3), "HiSLIP waits"
        assert holder.query(":FREQ?").strip() == "1000000000"
        holder.unlock()
        hislip.read(), raw.read()
        eventually(lambda: clients.lxi("raw", ":FREQ?").stdout.strip() == "2000000000", "what waited for the lock is carried out")

        assert hislip.lock(b"key") == 1, "the shared lock of HiSLIP keeps out who does not share it"
        assert visa_error(holder.query, ":FREQ?") == "VI_ERROR_IO" and visa_error(holder.lock_excl) == "VI_ERROR_RSRC_LOCKED"
        assert visa_error(raw.query, "*OPC?") == "VI_ERROR_TMO" and clients.lxi("vxi11", ":FREQ?", 1).stdout == ""
    # The lock ended with its session.
    assert clients.lxi("vxi11", ":FREQ?").stdout.strip() == "2000000000"


def main():
    own_network.enter()
    try:
        import pyvisa_py  # noqa: F401
    except ImportError:
        print("skipped: python3-pyvisa and python3-pyvisa-py are not installed")
        sys.exit(77)
    if shutil.which("lxi") is None:
        print("skipped: lxi-tools is not installed")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as place:
        log = os.path.join(place, "packets")
        server = Server(PROGRAM, "--raw", "0", "--hislip", "0", "--vxi11", "--portmapper", "--log-messages",
                        environment={"SCPI_ZLT_SIM_LOG": log})
        for check in (settings_are_shared, a_killed_client_leaves_the_sweep, a_lock_keeps_the_others_out):
            start = time.monotonic()
            check(Clients(server), Packets(log))
            print(f"ok {check.__name__} ({time.monotonic() - start:.1f} s)", flush=True)
        server.end()


if __name__ == "__main__":
    main()
