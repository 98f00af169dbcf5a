#!/usr/bin/env python3
"""An independent dissector reads a HiSLIP session from the wire.

Usage: hislip_tshark.py SCPI_ZLT. Records the loopback traffic of the walk in hislip_conformance.py, without the checks that send
what is malformed on purpose, and lets tshark judge it: no malformed packet and no complaint. One message at the end is wrong on
purpose: if tshark does not complain about it, it did not judge. Exit status 77: skipped, the line says why."""
import os
import shutil
import socket
import subprocess
import sys
import time

import hislip_conformance
from hislip_client import *
from server_process import Server

# The other checks send a bad prologue, absurd lengths, or types that do not exist.
LEFT_OUT = ("bad_prologue", "absurd", "out_of_order", "unknown", "other_channel", "profile")
# Stray characters are the zero bytes of several "*IDN?" in one answer: the dissector shows payloads as text.
COMPLAINT = ("hislip.wrongprologue || hislip.msgnotnull || _ws.malformed || "
             '(hislip && _ws.expert.severity >= "Note" && !(_ws.expert.message contains "stray characters"))')
WARM_UP = 10  # seconds


def start_capture(port, path):
    """Returns when packets are being recorded; None without the rights to."""
    capture = subprocess.Popen(["tshark", "-q", "-i", "lo", "-B", "32", "-f", f"tcp port {port}", "-w", path, "-a", "duration:120"],
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    while line := capture.stderr.readline():
        if line.startswith("Capturing on"):
            break
    # It says that it records before it does: the first connection in the file shows that it has begun.
    until = time.monotonic() + WARM_UP
    empty = None
    while capture.poll() is None and time.monotonic() < until:
        socket.create_connection(("127.0.0.1", port)).close()
        time.sleep(0.05)
        size = os.path.getsize(path) if os.path.exists(path) else 0
        empty = empty or size
        if size > empty > 0:
            return capture
    print("skipped: tshark cannot record loopback traffic here:", capture.stderr.read() if capture.poll() is not None else "silent")
    return None


def dissect(path, port, filter_text, *fields):
    options = [option for field in fields for option in ("-e", field)]
    result = subprocess.run(["tshark", "-r", path, "-d", f"tcp.port=={port},hislip", "-Y", filter_text,
                             "-o", "tcp.analyze_sequence_numbers:FALSE", "-T", "fields", *options],
                            capture_output=True, text=True, check=True)
    return result.stdout.splitlines()


def wrong_on_purpose(address):
    with Session(address) as session:
        session.side.ask(ASYNC_LOCK_INFO, 0, 1)


def main():
    if shutil.which("tshark") is None:
        print("skipped: tshark is not installed")
        sys.exit(77)
    server = Server(sys.argv[1], "--hislip", "0", resource="SIM7::latency=20::INSTR::ZLT")
    port = server.ports["hislip"]
    path = os.path.join(server.place.name, "traffic.pcapng")
    capture = start_capture(port, path)
    if capture is None:
        sys.exit(77)
    address = ("127.0.0.1", port)
    checks = hislip_conformance.CHECKS + hislip_conformance.SLOW_CHECKS
    names = [check.__name__ for check in checks if not any(part in check.__name__ for part in LEFT_OUT)]
    assert hislip_conformance.walk(address, True, names) == 0
    wrong_on_purpose(address)
    server.end()
    capture.terminate()
    capture.communicate(timeout=20)
    types = {int(kind, 16) for line in dissect(path, port, "hislip", "hislip.messagetype") for kind in line.split(",")}
    missing = set(range(ASYNC_LOCK_INFO_RESPONSE + 1)) - types - {ASYNC_SERVICE_REQUEST}
    assert not missing, f"types that were not seen: {missing}"
    complaints = dissect(path, port, COMPLAINT, "tcp.dstport", "hislip.messagetype", "_ws.expert.message")
    expected = f"{port}\t0x{ASYNC_LOCK_INFO:02x}\t"
    assert len(complaints) == 1 and complaints[0].startswith(expected), complaints
    print(f"tshark complains about nothing but the message that is wrong on purpose; {len(types)} types seen")


if __name__ == "__main__":
    main()
