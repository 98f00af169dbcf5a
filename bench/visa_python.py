#!/usr/bin/env python3
"""A query through pyvisa: the VISA library in front, against pyvisa's own pure-Python backend over a raw socket of this
machine (scpi-zlt serve). Both in one run, taking turns; medians.

Usage: /usr/bin/python3 bench/visa_python.py [BUILD_FOLDER]     python3-pyvisa and python3-pyvisa-py are needed"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time

import pyvisa

BUILD = sys.argv[1] if len(sys.argv) > 1 else "build/release"
TURNS, QUERIES = 40, 100


def microseconds(generator):
    start = time.perf_counter()
    for _ in range(QUERIES):
        generator.query(":FREQ?")
    return (time.perf_counter() - start) / QUERIES * 1e6


with tempfile.TemporaryDirectory() as place:
    ports = os.path.join(place, "ports")
    server = subprocess.Popen([f"{BUILD}/tools/scpi-zlt", "serve", "SIM2::INSTR::ZLT", "--raw", "0", "--port-file", ports],
                              stdout=subprocess.DEVNULL)
    try:
        while not os.path.exists(ports):
            assert server.poll() is None
            time.sleep(0.01)
        with open(ports) as file:
            port = json.load(file)["raw"]
        ends = {"read_termination": "\n", "write_termination": "\n"}
        front = pyvisa.ResourceManager(f"{BUILD}/visa/libzlt_visa.so").open_resource("SIM1::INSTR::ZLT", **ends)
        socket = pyvisa.ResourceManager("@py").open_resource(f"TCPIP::127.0.0.1::{port}::SOCKET", **ends)
        turns = [(microseconds(front), microseconds(socket)) for _ in range(TURNS)]
        through_front, over_socket = (statistics.median(times) for times in zip(*turns))
        print(f"pyvisa and the front {through_front:.1f} us, pyvisa-py over a raw socket {over_socket:.1f} us, "
              f"ratio {through_front / over_socket:.2f} (goal 0.5)")
        socket.close()
        front.close()
    finally:
        server.terminate()
        server.wait()
