"""The package in processes of its own: libraries that are missing, fork, exit, interrupts, and pytest in an empty folder. All
children run side by side."""
import importlib.util
import os
import re
import shutil
import signal
import subprocess
import sys

import pytest

LIBRARY = os.environ["SCPI_ZLT_LIBRARY"]
BUILD = os.path.dirname(os.path.dirname(LIBRARY))
PACKAGES = os.environ["PYTHONPATH"]

OPEN = "import os, signal, sys, threading\nfrom scpi_zlt import *\ngenerator = Generator('SIM0::INSTR::ZLT')\n"
IMPORT = "import scpi_zlt\ntry: scpi_zlt.Generator('SIM0::INSTR::ZLT')\nexcept scpi_zlt.LibraryMissing as error: print(error)\n"
FORK = OPEN + """
child = os.fork()
if child == 0:
    for action in (lambda: generator.query("*IDN?"), lambda: Generator("SIM1::INSTR::ZLT"), generator.close):
        try: action()
        except GeneratorError as error: print(type(error).__name__, error, flush=True)
    os._exit(generator.is_open)
print(os.waitpid(child, 0)[1], generator.query("*OPC?"))
generator.close()
"""
SPAWN = """
import multiprocessing, scpi_zlt
def work(number):
    with scpi_zlt.Generator(f"SIM{number}::INSTR::ZLT") as generator: return generator.query("*IDN?")
if __name__ == "__main__":
    scpi_zlt.Generator("SIM0::INSTR::ZLT").close()
    with multiprocessing.get_context("spawn").Pool(2) as pool: print(pool.map(work, [1, 2]))
"""
# A signal that the process sends itself reaches the main thread where it waits.
INTERRUPT = """
import os, signal, threading
from scpi_zlt.simulator import SimulatedGenerator
with SimulatedGenerator(latency=0) as generator:
    generator.set(latency=1000)
    under_way = int(generator.ask("packets")) + 1
    def interrupt():
        generator.wait(f"packets:{under_way}")
        os.kill(os.getpid(), signal.SIGINT)
    threading.Thread(target=interrupt).start()
    generator.write(":FREQ 3GHZ")
    print("not interrupted")
"""
WAITING_AT_EXIT = """
import threading
from scpi_zlt.simulator import SimulatedGenerator
generator = SimulatedGenerator()
generator.set(latency=500)
threading.Thread(target=lambda: generator.write(":FREQ 3GHZ"), daemon=True).start()
generator.wait("packets:14")
print("leaves")
"""
NO_NUMPY = "import scpi_zlt, sys\nprint([name for name in ('numpy', 'pyvisa') if name in sys.modules])"

# name: (program, variables, what it prints, exit status). ? is replaced by the folder of the installed libraries.
CHILDREN = {
    "no library": (IMPORT, {"SCPI_ZLT_LIBRARY": "/nowhere/libscpi_zlt_client.so.2"},
                   "/nowhere/.*: cannot open shared object file.*\nSCPI_ZLT_LIBRARY has to name", 0),
    "not installed": ("import os\ndel os.environ['SCPI_ZLT_LIBRARY']\n" + IMPORT, {"PYTHONPATH": "?/python"},
                      "libscpi_zlt_client.*: cannot open.*\nInstall the library and run ldconfig", 0),
    "no provider": (IMPORT.replace("SIM0", "TCPIP::10.0.0.1"), {"SCPI_ZLT_LIBRARY": "?/lib/libscpi_zlt_client.so.2", "LD_LIBRARY_PATH": "?/lib"},
                    "libSkVisa.so.2: cannot open.*\nThat is the VISA provider.*LD_LIBRARY_PATH", 0),
    "installed simulator": ("import scpi_zlt.simulator\n"
                            "with scpi_zlt.simulator.SimulatedGenerator() as generator: print(generator.query('*IDN?'))",
                            {"SCPI_ZLT_LIBRARY": "?/lib/libscpi_zlt_client.so.2", "LD_LIBRARY_PATH": "?/lib"},
                            "Sorvik,ZG-20E,00....", 0),
    "not the simulator": (IMPORT.replace("scpi_zlt.Generator('SIM0::INSTR::ZLT')", "scpi_zlt.simulator.SimulatedGenerator()")
                          .replace("import scpi_zlt", "import scpi_zlt.simulator"), {"LD_LIBRARY_PATH": "?/other"},
                          "the VISA provider that is loaded is not the simulator", 0),
    "another library": (IMPORT, {"SCPI_ZLT_LIBRARY": "libm.so.6"}, "libm.so.6 is another library", 0),
    "fork": (FORK, {}, r"Closed .*forked.*\nOpenFailed .*spawn.*\n0 \+1", 0),
    "spawn": (SPAWN, {}, r"\['Sorvik,ZG-20E,000001', 'Sorvik,ZG-20E,000002'\]", 0),
    "exit with a session open": (OPEN + "generator.write(':OUTP ON'); sys.exit(3)", {}, "$", 3),
    "exit while a thread waits": (WAITING_AT_EXIT, {}, "leaves", 0),
    "interrupt": (INTERRUPT, {}, r"(?s)Traceback.*KeyboardInterrupt\n$", -signal.SIGINT),
    "imports": (NO_NUMPY, {}, r"\[\]", 0),
}


@pytest.fixture(scope="module")
def installed(tmp_path_factory):
    """The installed libraries, which find no provider, and the packages as pip installs them."""
    missing = [tool for tool in ("pip", "setuptools", "wheel") if importlib.util.find_spec(tool) is None]
    if missing:
        pytest.skip(f"not installed: {missing}")
    folder = tmp_path_factory.mktemp("installed")
    subprocess.run(["cmake", "--install", BUILD, "--prefix", folder], check=True, stdout=subprocess.DEVNULL)
    # A provider without simulated generators.
    (folder / "other").mkdir()
    functions = ("OpenDefaultRM", "Open", "Close", "Clear", "Read", "Write", "GetAttribute", "SetAttribute")
    (folder / "other" / "provider.c").write_text("\n".join(f"long vi{name}(void) {{ return -1; }}" for name in functions))
    subprocess.run(["cc", "-shared", "-fPIC", "-Wl,-soname,libSkVisa.so.2", "-o", folder / "other" / "libSkVisa.so.2",
                    folder / "other" / "provider.c"], check=True)
    source = folder / "source"  # building leaves files in it
    shutil.copytree(PACKAGES, source, ignore=shutil.ignore_patterns("__pycache__"))
    subprocess.run([sys.executable, "-m", "pip", "install", "--quiet", "--no-index", "--no-deps", "--no-build-isolation",
                    "--disable-pip-version-check", "--root-user-action=ignore", "--target", folder / "python", source],
                   check=True)
    return folder


@pytest.fixture(scope="module")
def children(installed, tmp_path_factory):
    started = {}
    for name, (program, variables, _, _) in CHILDREN.items():
        file = tmp_path_factory.mktemp("child") / "program.py"
        file.write_text(program)
        variables = {key: value.replace("?", str(installed)) for key, value in variables.items()}
        started[name] = subprocess.Popen([sys.executable, file], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                         env={**os.environ, **variables})
    yield started
    for child in started.values():
        child.kill()
        child.wait()


@pytest.mark.parametrize("name", CHILDREN)
def test_child(children, name):
    _, _, wanted, status = CHILDREN[name]
    output = children[name].communicate(timeout=60)[0]
    assert re.match(wanted, output), output
    assert children[name].returncode == status, output


def test_the_fixtures_are_there_in_an_empty_folder(installed, tmp_path):
    (tmp_path / "test_mine.py").write_text("""
import pytest

@pytest.mark.zlt(pll=0)
def test_mine(zlt_generator):
    assert zlt_generator.query("*ESR?") == "8"

def test_fresh(zlt_generator, zlt_simulate):
    assert zlt_generator.query("*ESR?") == "0" and zlt_simulate(model="Z1").query("*IDN?").startswith("Sorvik,Z1,")
""")
    ran = subprocess.run([sys.executable, "-m", "pytest", "-q", "--strict-markers", "-p", "no:cacheprovider"], cwd=tmp_path,
                         env={**os.environ, "PYTHONPATH": str(installed / "python")}, capture_output=True, text=True)
    assert ran.returncode == 0 and "2 passed" in ran.stdout, ran.stdout + ran.stderr
