#!/usr/bin/env python3
"""Every verb under everything that can go wrong around it: bad_input.py SCPI_ZLT

One line on the error stream that says what to do, the exit status of docs/tool.md, and an end within seconds. Prints one line per
table."""
import fcntl
import os
import pty
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import time

PROGRAM = os.path.abspath(sys.argv[1])
GENERATOR = "SIM0::INSTR::ZLT"
SWEEP = ["--start", "1GHz", "--stop", "2GHz", "--points", "3", "--dwell", "10ms", "--level", "-10"]
# The verbs that talk to an instrument, with what they need after it.
TALKING = {"query": [":FREQ?"], "run": ["script"], "shell": [], "save": [], "load": ["script"], "sweep": SWEEP, "bench": ["-n", "10"]}
PACKET = "AA 55 03 00 00 80 08 00 01 60 00 00 00 00 00 00 00 00 00 CA 9A 3B 00 00".split()
PRINTING = {"errors": [], "decode": PACKET, "sim list": [], "s2p show": ["--no-plot", "pad.s2p"], "matrix show": ["pad.txt"]}
FILES = {
    "script": "*IDN?\n:FREQ?\n",
    "setting": ":OUTP ON\n" + ":FREQ 1GHZ\n" * 50,
    "mistake": ":OUTP ON\n:FREQUENZY 1GHZ\n:FREQ 2GHZ\n",
    "pad.s2p": "# GHz S MA R 50\n1 0 0 0.5 0 0.5 0 0 0\n2 0 0 0.5 0 0.5 0 0 0\n",
    "pad.txt": "1 2\n3 4\n",
    "broken/libSkVisa.so.2": "",
}


def command(verb, *words):
    return [PROGRAM, *verb.split(), *words]


def expect(what, status, run, *texts):
    """`run` as subprocess.run returns it. Says all, so that a failure needs no second run."""
    lines = run.stderr.splitlines()
    good = run.returncode == status and lines and all(text in lines[-1] for text in texts) and lines[-1].startswith("scpi-zlt: ")
    assert good, f"{what}: exit {run.returncode}, wanted {status} and {texts}; {run.stdout!r} {run.stderr!r}"


def outcome(words, **options):
    if "input" not in options:
        options["stdin"] = subprocess.DEVNULL
    return subprocess.run(words, **{"stdout": subprocess.PIPE, **options}, stderr=subprocess.PIPE, text=True, timeout=60)


def wrong_options():
    for verb in [*TALKING, *PRINTING, "serve", "lint", "s2p convert", "matrix convert"]:
        expect(verb, 2, outcome(command(verb, "--nonsense")), f"; see scpi-zlt {verb} --help")


def no_instrument():
    for verb, words in {**TALKING, "serve": []}.items():
        run = outcome(command(verb, "SIM0::lost=0::INSTR::ZLT", *words))
        expect(verb, 3, run, 'cannot open "SIM0::lost=0::INSTR::ZLT": there is no such instrument')


def no_provider():
    environment = {**os.environ, "LD_LIBRARY_PATH": "broken"}
    for verb, words in {**TALKING, "serve": [], "lint": None}.items():
        words = ["script"] if words is None else [GENERATOR, *words]
        expect(verb, 3, outcome(command(verb, *words), env=environment), "install the VISA provider (libSkVisa.so.2)")
    for verb, words in PRINTING.items():
        assert outcome(command(verb, *words), env=environment).returncode == 0, f"{verb} needs no provider"


def no_server():
    with socket.create_server(("127.0.0.1", 0)) as free:
        place = f"127.0.0.1:{free.getsockname()[1]}"
    for verb, words in TALKING.items():
        expect(verb, 3, outcome(command(verb, "-s", place, *words)), "cannot reach a server", "start one with")


def server_goes_away():
    """After as many lines as it takes: one that accepts, answers the first and closes."""
    def serve(listener):
        link, _ = listener.accept()
        with link:
            link.recv(1000)
            link.sendall(b"+1\n")
            link.recv(1000)

    for verb, words in TALKING.items():
        with socket.create_server(("127.0.0.1", 0)) as listener:
            thread = threading.Thread(target=serve, args=(listener,))
            thread.start()
            place = f"127.0.0.1:{listener.getsockname()[1]}"
            lines = {"input": ":FREQ?\n" * 3} if verb == "shell" else {}
            expect(verb, 3, outcome(command(verb, "-s", place, *words), **lines), "the server", "RF output")
            thread.join()


def mistakes_in_scripts():
    for verb in ("run", "load"):
        run = outcome(command(verb, GENERATOR, "mistake"))
        assert "mistake:2:" in run.stderr and ":FREQUENZY" in run.stderr, run.stderr
        expect(verb, 1, run, "RF output")
    assert outcome(command("lint", "mistake")).returncode == 1
    for verb, words in (("run", [GENERATOR]), ("load", [GENERATOR]), ("lint", []), ("s2p show", []), ("matrix show", [])):
        name = "missing.txt" if verb == "matrix show" else "missing.s2p"
        expect(verb, 4, outcome(command(verb, *words, name)), f"{name}: cannot", "No such file")


def interrupted():
    """During opening, which takes seconds here, and in the middle of the work."""
    slow = "SIM0::latency=200::INSTR::ZLT"
    for signal_number in (signal.SIGINT, signal.SIGTERM):
        for verb, words in {**TALKING, "serve": ["--raw", "0"]}.items():
            process = started(verb, slow, words, "-- open")
            process.send_signal(signal_number)
            out, error = process.communicate(timeout=20)
            wanted = (0,) if verb == "serve" else (-signal_number, 128 + signal_number)
            assert process.returncode in wanted, (verb, process.returncode, out, error)
            assert verb == "serve" or "interrupted" in error and "RF output" in error, (verb, error)
        for verb, words in {"query": [":OUTP ON"] + [":FREQ 1GHZ"] * 50, "run": ["setting"], "load": ["setting"],
                            "sweep": [*SWEEP[:-4], "--dwell", "2", "--level", "-10"]}.items():
            process = started(verb, "SIM0::latency=20::INSTR::ZLT", words, "SET P_RF_OUT2 6.2 [1")
            process.send_signal(signal_number)
            out, error = process.communicate(timeout=20)
            assert process.returncode == 128 + signal_number, (verb, process.returncode, out, error)
            assert "interrupted" in error and "RF output" in error, (verb, error)


def started(verb, resource, words, packet):
    """The process, once its log of packets has this."""
    log = "packets"
    if os.path.exists(log):
        os.remove(log)
    process = subprocess.Popen(command(verb, resource, *words), stdin=subprocess.PIPE if verb == "shell" else subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env={**os.environ, "SCPI_ZLT_SIM_LOG": log})
    until = time.monotonic() + 20
    while not os.path.exists(log) or packet not in open(log).read():
        assert time.monotonic() < until and process.poll() is None, (verb, packet, process.poll())
        time.sleep(0.01)
    return process


def nowhere_to_write():
    """A full disk, and a reader that is gone."""
    verbs = {**{verb: [GENERATOR, *words] for verb, words in TALKING.items() if verb not in ("load", "sweep")}, **PRINTING}
    for verb, words in verbs.items():
        lines = {"input": ":FREQ?\n"} if verb == "shell" else {}
        with open("/dev/full", "w") as full:
            expect(verb, 4, outcome(command(verb, *words), stdout=full, **lines), "cannot write the", "No space left on device")
        reader, writer = os.pipe()
        os.close(reader)
        run = outcome(command(verb, *words), stdout=writer, **lines)
        os.close(writer)
        assert run.returncode in (4, -signal.SIGPIPE), (verb, run)
    for verb, words in (("save", [GENERATOR, "-o"]), ("serve", [GENERATOR, "--raw", "0", "--port-file"]), ("s2p convert", ["pad.s2p"]),
                        ("matrix convert", ["pad.txt"])):
        expect(verb, 4, outcome(command(verb, *words, "missing/out" + os.path.splitext(words[0])[1])), "cannot", "No such file")


def narrow_terminal():
    """Progress stays on its one line of twenty columns."""
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("4H", 10, 20, 0, 0))
    process = subprocess.Popen(command("sweep", GENERATOR, *SWEEP[:-4], "--dwell", "0.5", "--level", "-10"), stdout=subprocess.DEVNULL,
                               stderr=slave, env={**os.environ, "TERM": "xterm", "NO_COLOR": "1"})
    os.close(slave)
    shown = b""
    try:
        while piece := os.read(master, 1000):
            shown += piece
    except OSError:  # the other end is closed
        pass
    assert process.wait() == 0
    texts = [text.removeprefix(b"\x1b[K") for text in shown.split(b"\r")]
    assert any(b"%" in text for text in texts) and max(map(len, texts)) < 20, texts


def main():
    with tempfile.TemporaryDirectory() as place:
        os.chdir(place)
        os.mkdir("broken")
        for name, text in FILES.items():
            with open(name, "w") as file:
                file.write(text)
        for check in (wrong_options, no_instrument, no_provider, no_server, server_goes_away, mistakes_in_scripts, interrupted,
                      nowhere_to_write, narrow_terminal):
            check()
            print("ok", check.__name__, flush=True)


if __name__ == "__main__":
    main()
