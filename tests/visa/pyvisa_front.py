#!/usr/bin/env python3
"""Debian's pyvisa, unchanged, on the VISA library in front.

Usage: pyvisa_front.py LIBRARY. Fails at the first error. Exit status 77: pyvisa is not installed."""
import ctypes
import random
import signal
import sys
import threading

try:
    import pyvisa
    from pyvisa import constants
except ImportError:
    print("skipped: python3-pyvisa is not installed")
    sys.exit(77)

LIBRARY = sys.argv[1]
Status = constants.StatusCode


def fails(status, call, *arguments, **keywords):
    try:
        call(*arguments, **keywords)
    except pyvisa.VisaIOError as error:
        assert error.error_code == status, error
    else:
        raise AssertionError(f"{call} did not fail with {status!r}")


def messages(manager):
    generator = manager.open_resource("SIM0::INSTR::ZLT")
    assert generator.query("*IDN?") == "Sorvik,ZG-20E,000000\n"
    generator.read_termination = "\n"
    generator.write(":FREQ 1 GHZ;:POW -10")
    assert generator.query(":FREQ?") == "1000000000"  # no line end of the settings in front of it
    generator.write(":LIST:FREQ 1GHZ,1.5GHZ,3GHZ")
    assert generator.query_ascii_values(":LIST:FREQ:POIN?") == [3.0]
    assert generator.query_ascii_values(":FREQ?;:POW?", separator=";") == [1e9, -10.0]
    assert generator.query(":POW?;") == "-10"  # as drivers write it
    generator.write_raw(b":POW?\n")
    assert generator.read_raw() == b"-10\n"
    generator.write_raw(b":FREQ?\n:POW?\n")
    assert [generator.read(), generator.read()] == ["1000000000", "-10"]
    generator.write(":POW?")
    assert generator.read_bytes(2) == b"-1"
    assert generator.query(":FREQ?") == "1000000000"  # what was left of the answer is gone
    return generator


def states(generator):
    generator.write(":FREQ 99GHZ")
    assert generator.read_stb() == 0x24  # answered as "00100100", bit 0 first
    assert generator.query(":SYST:ERR?").startswith("-222")
    generator.write(":POW?")
    assert generator.read_stb() & 0x10
    assert generator.read() == "-10"
    generator.write(":POW?")
    generator.clear()
    assert not generator.read_stb() & 0x10
    generator.assert_trigger()
    generator.control_ren(constants.RENLineOperation.asrt)
    assert generator.query(":SYST:ERR?").startswith("+0")


def times_out(generator):
    generator.timeout = 50
    fails(Status.error_timeout, generator.read)
    fails(Status.error_timeout, generator.query, ":FREQ 2 GHZ")
    # A setting during a run takes 1.5 s; its answer comes too late, and is never taken for that of the next question.
    generator.timeout = 10000
    generator.write(":FREQ:MODE SWE")
    generator.write(":INIT:CONT ON")
    assert generator.query(":OUTP ON;:OUTP?") == "ON"
    generator.timeout = 50
    fails(Status.error_timeout, generator.query, ":POW -20;:POW?")
    fails(Status.error_timeout, generator.query, ":FREQ?")  # not sent: the setting still runs
    generator.write(":POW -15")  # a setting is taken at any time
    generator.timeout = 10000
    assert generator.query(":FREQ:MODE?").upper().startswith("SWE")
    generator.write(":OUTP OFF;:ABOR")
    generator.timeout = None
    assert generator.query(":POW?") == "-15"
    generator.write(":POW -20")


def locks(manager, generator):
    other = manager.open_resource("SIM0::INSTR::ZLT")
    with generator.lock_context():
        fails(Status.error_resource_locked, other.query, "*IDN?")
        fails(Status.error_timeout, other.lock_excl, timeout=20)
        assert other.lock_state == constants.AccessModes.exclusive_lock
    assert other.query(":POW?") == "-20\n"  # one generator, shared
    with generator.lock_context(requested_key="ours"):
        fails(Status.error_invalid_access_key, other.lock, requested_key="theirs")
        fails(Status.error_resource_locked, other.query, "*IDN?")
        with other.lock_context(requested_key="ours"):
            assert other.query(":POW?") == "-20\n"
    fails(Status.error_session_not_locked, other.unlock)
    waited = threading.Thread(target=other.lock_excl, kwargs={"timeout": 5000})
    generator.lock_excl()
    waited.start()
    generator.unlock()
    waited.join()
    fails(Status.error_resource_locked, generator.query, "*IDN?")
    other.close()  # gives its lock up
    assert generator.query(":POW?") == "-20"


def attributes(manager, generator):
    assert generator.resource_name == "SIM0::INSTR::ZLT" and generator.resource_class == "INSTR"
    assert generator.interface_number == 0 and generator.resource_manufacturer_name == "libzlt_visa"
    assert generator.visalib.get_attribute(manager.session, constants.ResourceAttribute.resource_manufacturer_name)
    generator.send_end = False
    generator.write_raw(b":POW")
    generator.write_raw(b"?")
    generator.send_end = True
    generator.write_raw(b"\n")
    assert generator.read() == "-20"
    generator.set_visa_attribute(constants.ResourceAttribute.termchar, ord("0"))
    generator.set_visa_attribute(constants.ResourceAttribute.termchar_enabled, True)
    generator.write(":POW?")
    generator.read_termination = "0"
    assert generator.read() == "-2"
    generator.read_termination = None
    fails(Status.error_nonsupported_attribute, generator.get_visa_attribute, constants.ResourceAttribute.tcpip_hislip_version)
    fails(Status.error_attribute_read_only, generator.set_visa_attribute, constants.ResourceAttribute.interface_number,
          1)
    fails(Status.error_nonsupported_attribute_state, generator.visalib.set_attribute, generator.session,
          constants.VI_ATTR_SEND_END_EN, 4)
    fails(Status.error_invalid_event, generator.enable_event, constants.EventType.service_request,
          constants.EventMechanism.queue)


def interrupts(generator):
    """An exception at any moment of a query; the next answer is that of the next question all the same."""
    moments = random.Random(1)
    before = signal.signal(signal.SIGALRM, signal.default_int_handler)
    interrupted = 0
    for turn in range(400):
        try:
            signal.setitimer(signal.ITIMER_REAL, moments.uniform(1e-6, 200e-6))
            for number in range(100000):  # the exception ends it much sooner
                generator.query(f":FREQ {2000000000 + number};:FREQ?")
        except (KeyboardInterrupt, ctypes.ArgumentError):  # ctypes makes that of one while it converts
            interrupted += 1
        frequency = str(1000000000 + turn)
        assert generator.query(f":FREQ {frequency};:FREQ?").strip() == frequency
    signal.signal(signal.SIGALRM, before)
    assert interrupted > 350, interrupted


def errors(manager):
    fails(Status.error_resource_not_found, manager.open_resource, "GPIB0::7::INSTR")
    # The instrument does not answer at all.
    fails(Status.error_timeout, manager.open_resource, "SIM8::silent=1::INSTR::ZLT", open_timeout=300)
    fails(Status.error_invalid_object, manager.visalib.read, 999, 10)
    fails(Status.error_invalid_object, manager.visalib.read, manager.session, 10)
    fails(Status.error_invalid_expression, manager.list_resources, "?*{")
    assert manager.list_resources() == ()


def main():
    manager = pyvisa.ResourceManager(LIBRARY)
    generator = messages(manager)
    states(generator)
    times_out(generator)
    locks(manager, generator)
    attributes(manager, generator)
    interrupts(generator)
    errors(manager)
    manager.close()
    print("ok")


main()
