#!/usr/bin/env python3
"""The server with independent clients, and with clients that behave badly, on loopback.

Usage: server_clients.py SCPI_ZLT. Prints one line per client: what was tried, and "ok" or why it was skipped. Fails at the
first thing that is wrong."""
import os
import shutil
import socket
import struct
import subprocess
import sys
import time

from client_table import ClientTable
from server_process import Server, ask, closed

PROGRAM = sys.argv[1]
TABLE = ClientTable("raw")


def pyvisa(server):
    try:
        import pyvisa
        import pyvisa_py
    except ImportError:
        return "skipped: python3-pyvisa and python3-pyvisa-py are not installed"
    manager = pyvisa.ResourceManager("@py")
    generator = manager.open_resource(f"TCPIP::127.0.0.1::{server.ports['raw']}::SOCKET", read_termination="\n",
                                      write_termination="\n")
    assert generator.query("*IDN?").startswith("Sorvik,ZG-20E"), "*IDN?"
    generator.write(":FREQ 1.25GHZ")
    assert generator.query(":FREQ?") == "1250000000"
    generator.write(":LIST:FREQ " + ",".join(["1GHZ"] * 2500))
    assert generator.query(":LIST:FREQ:POIN?") == "2500"
    generator.close()
    return TABLE.tried(f"pyvisa {pyvisa.__version__} with pyvisa-py {pyvisa_py.__version__}",
                       "raw (`TCPIP::HOST::PORT::SOCKET`)", "query, set, a list of 2500 points")


def lxi(server):
    if shutil.which("lxi") is None:
        return "skipped: lxi-tools is not installed"
    def run(*words):
        return subprocess.run(["lxi", *words], capture_output=True, text=True, timeout=30)
    answer = run("scpi", "--raw", "-a", "127.0.0.1", "-p", str(server.ports["raw"]), "*IDN?")
    assert answer.stdout.startswith("Sorvik,ZG-20E"), answer
    run("scpi", "--raw", "-a", "127.0.0.1", "-p", str(server.ports["raw"]), ":FREQ 2.5GHZ")
    with server.connect() as link:
        assert ask(link, ":FREQ?") == "2500000000\n", "a setting of lxi is seen by others"
    version = run("--version").stdout.split()[1].lstrip("v")
    return TABLE.tried(f"lxi-tools {version}", "raw (`lxi scpi --raw`)", "query, set")


def octave(server):
    if shutil.which("octave-cli") is None:
        return "skipped: octave-instrument-control is not installed"
    script = f"""pkg load instrument-control
link = tcp("127.0.0.1", {server.ports['raw']}, 5000);
tcp_write(link, ":FREQ 3GHZ\\n"); tcp_write(link, ":FREQ?\\n");
answer = "";
while isempty(answer) || answer(end) != "\\n"
  answer = [answer char(tcp_read(link, 1, 5000))];
end
printf("%s", answer); tcp_close(link);"""
    result = subprocess.run(["octave-cli", "--quiet", "--eval", script], capture_output=True, text=True, timeout=60)
    if "package" in result.stderr and "not" in result.stderr:
        return "skipped: octave-instrument-control is not installed"
    assert result.stdout == "3000000000\n", result
    return TABLE.tried("octave instrument-control", "raw (`tcp`)", "set, query")


def bad_clients(server):
    def latency():
        times = []
        for _ in range(200):
            start = time.perf_counter()
            ask(good, ":FREQ?")
            times.append(time.perf_counter() - start)
        return sorted(times)[len(times) // 2]

    good = server.connect()
    ask(good, ":FREQ 1GHZ;:FREQ?")
    before_latency, before_memory = latency(), server.memory()
    bad = [server.connect() for _ in range(6)]
    bad[0].sendall(b":FREQ 2GHZ")                              # never ends its line
    bad[1].sendall(os.urandom(100000) + b"\n")                 # garbage; it may hold questions
    bad[2].sendall(b";" * 10000 + b"\n" + b"\0" * 10000 + b"\n")
    bad[3].sendall(b"#9999999999" + b"x" * 300000)             # a block that never ends
    bad[4].sendall(b"POST / HTTP/1.1\r\nHost: here\r\n\r\n:FREQ 9GHZ\n")
    assert closed(bad[4]), "a browser is dropped"
    bad[5].setblocking(False)                                  # never reads what it asks for
    try:
        for _ in range(2000):
            bad[5].send(b"*IDN?\n" * 1000)
    except BlockingIOError:
        pass
    assert ask(good, ":FREQ?") == "1000000000\n", "of no bad client a setting was carried out"
    during = latency()
    assert server.memory() - before_memory < 16 << 20, "what clients send and do not read is bounded"
    for link in bad:
        link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))  # breaks off
        link.close()
    many = []
    for _ in range(1000):
        many.append(server.connect())
    refused = sum(closed(link) for link in many[200:])
    assert refused == 800, f"the limit on clients refuses: {refused}"
    for link in many:
        link.close()
    assert ask(good, ":FREQ?") == "1000000000\n"
    return f"ok: median latency {during / before_latency:.2f} of that without bad clients"


def several(server):
    """A killed client leaves the sweep of another running."""
    link = server.connect()
    link.sendall(b":FREQ:STAR 1GHZ\n:FREQ:STOP 2GHZ\n:TRIG:SOUR EXT\n:FREQ:MODE SWE\n:INIT\n")
    assert ask(link, ":FREQ:MODE?") != "", "a sweep waits for its trigger"
    talk = f"import socket,time; s=socket.create_connection(('127.0.0.1',{server.ports['raw']})); s.sendall(b':FREQ?\\n'*100); time.sleep(60)"
    victim = subprocess.Popen([sys.executable, "-c", talk])
    time.sleep(0.3)
    victim.kill()
    victim.wait()
    mode = ask(link, ":FREQ:MODE?")
    assert "SWE" in mode.upper(), mode
    assert ask(link, ":FREQ:STAR?") == "1000000000\n"
    return "ok: a client that is killed leaves the sweep"


def ends(server):
    link = server.connect()
    assert ask(link, "*OPC?") == "+1\n"
    server.end()
    assert closed(link)
    return "ok: SIGTERM with a client connected"


def fails():
    result = subprocess.run([PROGRAM, "serve", "SIM0::INSTR", "--raw", "0"], capture_output=True, text=True, timeout=30)
    assert result.returncode != 0 and "::ZLT" in result.stderr, result
    return "ok: a resource that does not open ends the program with a reason"


def main():
    server = Server(PROGRAM, "--raw", "0")
    assert server.first_line.startswith("serving SIM0::INSTR::ZLT by raw on 127.0.0.1 port "), server.first_line
    skipped = False
    for check in (pyvisa, lxi, octave, bad_clients, several, ends):
        result = check(server)
        print(f"{check.__name__:12} {result}", flush=True)
        skipped = skipped or result.startswith("skipped")
    if not skipped:
        TABLE.finish()
    print(f"{'fails':12} {fails()}")


if __name__ == "__main__":
    main()
