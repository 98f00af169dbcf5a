#!/usr/bin/env python3
"""Independent programs, unchanged, on the VISA library in front: pyvisa in three ways, a driver of pymeasure,
labgrid. What works of the driver is compared with the table in docs/visa.md.

Usage: programs.py LIBRARY PAGE [--write]. Prints a line per program. Those that are not installed are skipped with a line;
exit status 77 if all are. --write puts the table into the page."""
import os
import re
import signal
import subprocess
import sys
import tempfile

LIBRARY, PAGE = sys.argv[1:3]
ALIASES = """# Names that the programs below want.
GPIB0::19::INSTR = SIM3::INSTR::ZLT
TCPIP::10.0.0.5::INSTR = SIM4::INSTR::ZLT
"""

try:
    import pyvisa
except ImportError:
    print("skipped: python3-pyvisa is not installed")
    sys.exit(77)


def ways():
    """By path, by PYVISA_LIBRARY, and by an alias, which pyvisa rewrites first."""
    for manager in (pyvisa.ResourceManager(LIBRARY), pyvisa.ResourceManager()):
        for name in ("GPIB::19", "GPIB0::19::INSTR", "SIM3::INSTR::ZLT"):
            with manager.open_resource(name, read_termination="\n") as generator:
                assert generator.query("*IDN?") == "Sorvik,ZG-20E,000003"
    assert manager.list_resources() == ("GPIB0::19::INSTR", "TCPIP::10.0.0.5::INSTR")
    print("pyvisa by path, by PYVISA_LIBRARY, through an alias: ok")


def labgrid():
    try:
        from labgrid import Target
        from labgrid.driver import PyVISADriver
        from labgrid.resource import PyVISADevice
    except ImportError:
        print("labgrid: skipped, python3-labgrid is not installed")
        return
    target = Target("bench")
    PyVISADevice(target, None, type="TCPIP", url="10.0.0.5")
    driver = PyVISADriver(target, None)
    target.activate(driver)
    session = driver.get_session()
    assert session.query("*IDN?").startswith("Sorvik,ZG-20E,000004")
    session.close()
    target.deactivate(driver)
    print("labgrid: ok")


def interrupted():
    """Control-C in the middle of a query: the exception comes, the session is in step, and the program ends."""
    program = """
import ctypes, pyvisa, sys
generator = pyvisa.ResourceManager(sys.argv[1]).open_resource("SIM5::pass=300::INSTR::ZLT", read_termination="\\n")
for message in (":FREQ:MODE SWE", ":INIT:CONT ON", ":OUTP ON"):
    generator.write(message)
generator.timeout = 10000
try:
    generator.write(":POW -10;:POW?")  # takes more than a second beside the sweep
    print("ready", flush=True)
    while True:
        generator.read()
except (KeyboardInterrupt, ctypes.ArgumentError):  # ctypes makes that of one while it converts
    print(generator.query(":FREQ:MODE?"), flush=True)
# The session stays open: the interpreter's end closes it.
"""
    process = subprocess.Popen([sys.executable, "-c", program, LIBRARY], stdout=subprocess.PIPE, text=True)
    assert process.stdout.readline() == "ready\n"
    process.send_signal(signal.SIGINT)
    assert process.stdout.read() == "SWEep\n"
    assert process.wait(30) == 0
    print("interrupted: ok")


def ends_with_threads_inside():
    """The main thread ends while others wait for an answer, for a lock, and ask: nothing keeps the program."""
    program = """
import pyvisa, sys, threading
manager = pyvisa.ResourceManager(sys.argv[1])
asks, locks, reads = [manager.open_resource(name + "::INSTR::ZLT", timeout=None) for name in ("SIM6", "SIM6", "SIM7")]
asks.lock_excl()
asked = threading.Event()

def ask():
    while True:
        asks.query("*IDN?")
        asked.set()

for work in (reads.read, lambda: locks.lock_excl(timeout=60000), ask):
    threading.Thread(target=work, daemon=True).start()
asked.wait()
print("end", flush=True)
sys.exit(3)
"""
    run = subprocess.run([sys.executable, "-c", program, LIBRARY], capture_output=True, text=True, timeout=60)
    assert run.stdout == "end\n" and run.returncode == 3, run
    print("ends with threads inside: ok")


def without_provider():
    """The loader's message becomes advice, the status says that a library is missing."""
    with tempfile.TemporaryDirectory() as place:
        # The copy's RUNPATH would find the simulator, an empty file comes before it.
        open(os.path.join(place, "libSkVisa.so.2"), "w").close()
        program = ("import pyvisa, sys\n"
                   "try: pyvisa.ResourceManager(sys.argv[1]).open_resource('SIM1::INSTR::ZLT')\n"
                   "except pyvisa.VisaIOError as error: print(error.abbreviation)\n")
        run = subprocess.run([sys.executable, "-c", program, LIBRARY], capture_output=True, text=True, timeout=60,
                             env={**os.environ, "LD_LIBRARY_PATH": place})
    assert run.stdout == "VI_ERROR_LIBRARY_NFOUND\n", run
    assert "LD_LIBRARY_PATH" in run.stderr and run.stderr.count("\n") == 1, run.stderr
    print("without a provider: ok")


# A plausible value for each property that can be set.
VALUES = {"power": -10, "frequency": 5e9, "start_frequency": 1e9, "center_frequency": 2e9, "stop_frequency": 3e9,
          "start_power": -20, "stop_power": -10, "dwell_time": 0.01, "step_points": 11, "amplitude_depth": 50,
          "amplitude_source": "internal", "pulse_source": "internal", "pulse_input": "square", "pulse_frequency": 1000,
          "low_freq_out_amplitude": 1, "low_freq_out_source": "internal", "internal_frequency": 1000,
          "internal_shape": "sine"}


def tried(generator, action):
    """What is wrong with `action`, by its exception or by the generator's error queue; empty if nothing is."""
    text = ""
    try:
        text = action() or ""
    except pyvisa.VisaIOError as error:
        text = "no answer" if error.abbreviation == "VI_ERROR_TMO" else error.abbreviation
    except Exception as error:  # whatever the driver makes of an answer
        text = f"{type(error).__name__}: {error}"
    queued = []
    while not (error := generator.ask(":SYST:ERR?").strip()).startswith("+0"):
        queued.append(error)
    return ", ".join(filter(None, [f"`{error}`" for error in dict.fromkeys(queued)] + [text]))


def driver_table():
    try:
        from pymeasure.instruments.agilent import Agilent8257D as Driver
    except ImportError:
        print("pymeasure: skipped, python3-pymeasure is not installed")
        return None
    generator = Driver("GPIB0::19::INSTR", timeout=150)
    generator.ask("*IDN?")
    rows = []
    for name, member in vars(Driver).items():
        if not isinstance(member, property):
            continue

        def get_and_set(name=name):
            if name in VALUES:
                setattr(generator, name, VALUES[name])
                got = getattr(generator, name)
                return "" if got == VALUES[name] else f"reads {got!r} where {VALUES[name]!r} was set"
            return None if (got := getattr(generator, name)) is False else f"reads {got!r} where it is off"

        rows.append((f"`{name}`", tried(generator, get_and_set)))
    for name in ("enable", "disable", "enable_modulation", "disable_modulation", "enable_amplitude_modulation",
                 "enable_pulse_modulation", "disable_pulse_modulation", "config_step_sweep", "enable_retrace",
                 "single_sweep", "start_step_sweep", "stop_step_sweep", "shutdown"):
        rows.append((f"`{name}()`", tried(generator, getattr(generator, name))))
    generator.adapter.connection.close()
    lines = ["| Property, function | Works | Why not |", "|---|---|---|"]
    return "\n".join(lines + [f"| {name} | {'no' if why else 'yes'} | {why} |" for name, why in rows]) + "\n"


def check_table():
    table = driver_table()
    if table is None:
        return
    with open(PAGE) as file:
        page = file.read()
    place = re.compile(r"(?<=<!-- the driver: by tests/visa/programs.py --write -->\n\n).*?(?=\n<!-- end -->)", re.S)
    if "--write" in sys.argv:
        with open(PAGE, "w") as file:
            file.write(place.sub(lambda _: table, page))
    else:
        found = place.search(page)
        assert found and found[0] == table, f"{PAGE} has another table; --write puts this one in:\n{table}"
    print("pymeasure: ok")


with tempfile.NamedTemporaryFile("w") as aliases:
    aliases.write(ALIASES)
    aliases.flush()
    os.environ["ZLT_ALIASES"] = aliases.name
    os.environ["XDG_CONFIG_HOME"] = "/nowhere"
    os.environ["PYVISA_LIBRARY"] = LIBRARY
    without_provider()
    interrupted()
    ends_with_threads_inside()
    ways()
    check_table()
    labgrid()
