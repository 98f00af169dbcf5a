#!/usr/bin/env python3
"""A swept measurement from Python, with nothing but ctypes: set up a sweep, read every setting back, look for errors.

usage: sweep.py [RESOURCE]    (default: the simulated generator)
The library is found by LD_LIBRARY_PATH or in the build tree.
"""
import ctypes
import os
import sys

TMO_VALUE = 0x3FFF001A
TERM_CHAR = 0x3FFF0005


def load():
    tree = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../build/release/library/libscpi_zlt.so.2")
    return ctypes.CDLL(tree if os.path.exists(tree) else "libscpi_zlt.so.2")


class Generator:
    def __init__(self, resource):
        self.lib = load()
        for name in ("skOpen", "skClose", "skRead", "skWrite", "skSetAttribute"):
            getattr(self.lib, name).restype = ctypes.c_long
        self.session = ctypes.c_ulong()
        status = self.lib.skOpen(
            ctypes.c_ulong(0), resource.encode(), ctypes.c_ulong(0), ctypes.c_ulong(10000), ctypes.byref(self.session))
        if status != 0:
            raise SystemExit(f"cannot open {resource}: {status & 0xFFFFFFFF:#010x}")
        self.lib.skSetAttribute(self.session, ctypes.c_ulong(TMO_VALUE), ctypes.c_ulong(10000))

    def write(self, message):
        data = message.encode() + b"\n"
        count = ctypes.c_ulong()
        self.lib.skWrite(self.session, data, ctypes.c_ulong(len(data)), ctypes.byref(count))

    def ask(self, query):
        self.write(query)
        buffer, count = ctypes.create_string_buffer(4096), ctypes.c_ulong()
        status = self.lib.skRead(self.session, buffer, ctypes.c_ulong(4096), ctypes.byref(count))
        if status != TERM_CHAR:
            raise SystemExit(f"no answer to {query}: {status & 0xFFFFFFFF:#010x}")
        return buffer.raw[: count.value].rstrip(b"\n\0").decode()

    def close(self):
        self.lib.skClose(self.session)


def main():
    generator = Generator(sys.argv[1] if len(sys.argv) > 1 else "SIM0::INSTR::ZLT")
    print(generator.ask("*IDN?"))
    for message in (":FREQ:STAR 1GHZ", ":FREQ:STOP 2GHZ", ":SWE:POIN 11", ":POW -10", ":FREQ:MODE SWE"):
        generator.write(message)
    for query in (":FREQ:STAR?", ":FREQ:STOP?", ":SWE:POIN?", ":POW?", ":FREQ:MODE?", ":SYST:ERR?"):
        print(f"{query:12} {generator.ask(query)}")
    generator.close()


if __name__ == "__main__":
    main()
