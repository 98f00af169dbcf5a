#!/usr/bin/env python3
"""What Python adds: the import of the package, and a query by each way into the library, medians of turns in one run.

Usage: python_bench.py [BUILD_FOLDER]    (default: build/release)"""
import ctypes
import os
import resource
import statistics
import subprocess
import sys
import time

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
BUILD = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else os.path.join(ROOT, "build", "release")
os.environ["SCPI_ZLT_LIBRARY"] = f"{BUILD}/client/libscpi_zlt_client.so.2"
os.environ["ZLT_VISA_LIBRARY"] = f"{BUILD}/visa/libzlt_visa.so.1"
os.environ["PYTHONPATH"] = f"{ROOT}/python"
sys.path.insert(0, f"{ROOT}/python")

import scpi_zlt  # noqa: E402


def seconds(call):
    start = time.perf_counter()
    call()
    return time.perf_counter() - start


def medians(calls, turns, repeats):
    times = {name: [] for name in calls}
    for _ in range(turns):
        for name, call in calls.items():
            times[name].append(seconds(lambda: [call() for _ in range(repeats)]) / repeats)
    return {name: statistics.median(each) for name, each in times.items()}


def processor_time(program, turns=15):
    """Processor time of a new Python, so other programs on the machine do not count."""
    times = []
    for _ in range(turns):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run([sys.executable, "-c", program], check=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        times.append(after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)
    return statistics.median(times)


def bare(generator):
    """A write and a read by ctypes, as examples/sweep.py does it: no step after a time-out, no interrupt in between."""
    library, session, count = generator._library, generator._session, ctypes.c_ulong()
    answer = ctypes.create_string_buffer(4096)
    read, write = library.skRead, library.skWrite

    def query():
        write(session, b":FREQ?\n", ctypes.c_ulong(7), ctypes.byref(count))
        read(session, answer, ctypes.c_ulong(4096), ctypes.byref(count))
        return answer.raw[:count.value].rstrip(b"\n").decode()

    return query


start = processor_time("pass")
print(f"import scpi_zlt    {1000 * (processor_time('import scpi_zlt') - start):5.1f} ms (goal 50), on top of {1000 * start:.1f} ms")

with scpi_zlt.Generator("SIM0::INSTR::ZLT", check=False) as plain, scpi_zlt.Generator("SIM1::INSTR::ZLT") as checked, \
        scpi_zlt.Generator("SIM2::INSTR::ZLT") as naked:
    ways = {"skWrite and skRead by ctypes": bare(naked), "scpi_zlt, check=False": lambda: plain.query(":FREQ?"),
            "scpi_zlt, errors asked for": lambda: checked.query(":FREQ?")}
    try:
        import pyvisa
        front = pyvisa.ResourceManager("@zlt").open_resource("SIM3::INSTR::ZLT")
        ways["pyvisa and the front"] = lambda: front.query(":FREQ?")
    except ImportError:
        print("pyvisa is not installed")
    found = medians(ways, 40, 250)
    bound = found["skWrite and skRead by ctypes"]
    for name, each in found.items():
        print(f"{name:30} {1e6 * each:6.1f} us  {each / bound:5.2f}")
