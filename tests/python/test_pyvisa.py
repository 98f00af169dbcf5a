"""pyvisa.ResourceManager("@zlt"): the front is found, or the message says what is missing."""
import os
import re
import subprocess
import sys

import pytest

pyvisa = pytest.importorskip("pyvisa")
import pyvisa_zlt  # noqa: E402


@pytest.fixture(scope="module")
def manager():
    manager = pyvisa.ResourceManager("@zlt")
    yield manager
    manager.close()


def test_a_query(manager):
    assert isinstance(manager.visalib, pyvisa_zlt.ZltVisaLibrary)
    with manager.open_resource("SIM0::INSTR::ZLT") as generator:
        generator.write(":FREQ 1.5 GHZ")
        assert generator.query(":FREQ?").strip() == "1500000000"
        assert generator.query_ascii_values(":FREQ?;:POW?", separator=";") == [1.5e9, -100]
    with pytest.raises(pyvisa.errors.VisaIOError):
        manager.open_resource("SIM0::nonsense=1::INSTR::ZLT")


def test_the_instrument_of_pymeasure_on_it(manager):
    adapters = pytest.importorskip("pymeasure.adapters")
    from scpi_zlt import GeneratorError, QueuedError
    from scpi_zlt.pymeasure import MicrowaveGenerator

    instrument = MicrowaveGenerator(adapters.VISAAdapter("SIM1::INSTR::ZLT", visa_library="@zlt"))
    instrument.frequency, instrument.pulse_polarity, instrument.output = 2e9, "inverted", True
    assert (instrument.frequency, instrument.pulse_polarity, instrument.output) == (2e9, "inverted", True)
    assert instrument.limits("power") == (-100, 20)
    instrument.levelling = False
    with pytest.raises(QueuedError, match="levelling|ALC|-2"):
        instrument.check_errors()
    with pytest.raises(GeneratorError, match="give the resource name"):
        instrument.wait_for_sweep()
    instrument.shutdown()
    assert not instrument.output
    instrument.adapter.connection.close()


def test_both_ways_in_one_process(manager, zlt_generator):
    with manager.open_resource("SIM0::INSTR::ZLT") as other:
        other.write(":FREQ 3 GHZ")
        zlt_generator.write(":FREQ 1 GHZ")
        assert (other.query(":FREQ?").strip(), zlt_generator.query(":FREQ?")) == ("3000000000", "1000000000")


@pytest.mark.parametrize("named, said", [
    ("/nowhere/libzlt_visa.so.1", "/nowhere/.*cannot open shared object"),
    ("libm.so.6", "libm.so.6.*viOpen"),
])
def test_a_front_that_cannot_be_loaded(named, said):
    child = subprocess.run([sys.executable, "-c", "import pyvisa; pyvisa.ResourceManager('@zlt')"],
                           env={**os.environ, "ZLT_VISA_LIBRARY": named}, capture_output=True, text=True)
    assert child.returncode == 1 and re.search(said, child.stderr), child.stderr
    assert "let ZLT_VISA_LIBRARY name libzlt_visa.so.1" in child.stderr
