"""The Tango device server in a process of its own, without a database, by Tango's own client."""
import os
import socket
import subprocess
import sys
import time

import pytest

tango = pytest.importorskip("tango")

from scpi_zlt.settings import LIST, NUMBER, SETTINGS  # noqa: E402

SERVER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "integrations", "tango", "zlt_generator.py")
DEVICES = {
    "plain": "SIM1::INSTR::ZLT",
    "unlocked": "SIM2::pll=0::INSTR::ZLT",
    "slow": "SIM3::pass=2000::INSTR::ZLT",
    "breaks": "SIM4::lost=25::INSTR::ZLT",
    "misnamed": "SIM5::INSTR",
    "silent_lamp": "SIM6::button=0::INSTR::ZLT",
}


@pytest.fixture(scope="module")
def server(tmp_path_factory):
    """Starts it; yields a function that gives a client of a device."""
    properties = tmp_path_factory.mktemp("tango") / "properties.txt"
    listed = ", \\\n".join(f'"lab/zlt/{name}"' for name in DEVICES)
    lines = [f'lab/zlt/{name}->resource: "{resource}"' for name, resource in DEVICES.items()]
    properties.write_text(f"ZltGenerator/test/DEVICE/ZltGenerator: {listed}\n" + "\n".join(lines) + "\n")
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        port = free.getsockname()[1]
    log = properties.with_name("log.txt")
    with open(log, "wb") as said:
        process = subprocess.Popen([sys.executable, SERVER, "test", f"-file={properties}", "-ORBendPoint",
                                    f"giop:tcp:127.0.0.1:{port}"], stdout=said, stderr=subprocess.STDOUT)

    def client(name):
        device = tango.DeviceProxy(f"tango://127.0.0.1:{port}/lab/zlt/{name}#dbase=no")
        device.set_timeout_millis(20000)
        return device

    # It prints that it is ready only on a terminal, so it is polled.
    deadline = time.monotonic() + 60
    while True:
        assert process.poll() is None and time.monotonic() < deadline, log.read_text()
        try:
            client("plain").ping()
            break
        except tango.DevFailed:
            time.sleep(0.05)
    yield client
    process.terminate()
    process.wait(timeout=30)


def refused(call):
    with pytest.raises(tango.DevFailed) as raised:
        call()
    return raised.value.args[0].desc


def wait_for(device, state):
    """The state is polled, not pushed: each poll takes 400 ms while a sweep runs."""
    deadline = time.monotonic() + 20
    while device.state() != state:
        assert time.monotonic() < deadline, device.status()


def test_each_setting_is_an_attribute_with_unit_and_range(server):
    device = server("plain")
    for setting in SETTINGS:
        shown = device.get_attribute_config(setting.name)
        assert (shown.unit, shown.description) == (setting.unit, setting.doc), setting.name
        assert list(shown.enum_labels) == list(setting.words)
        if "query" in setting.forms:
            device.read_attribute(setting.name)
        if setting.kind in (NUMBER, LIST) and setting.limits:
            assert float(shown.min_value) < float(shown.max_value)
    frequency = device.get_attribute_config("frequency")
    assert (float(frequency.min_value), float(frequency.max_value)) == (1e7, 2e10)


@pytest.mark.parametrize("name, value", [
    ("frequency", 1.5e9), ("power", -10.0), ("points", 11), ("output", True), ("pulse_polarity", 1), ("dwell", 0.01),
    ("continuous", False), ("pulse_train_off", [3.0, 4.0]), ("trigger_slope", 1), ("phase", -90.0)])
def test_what_is_written_is_read(server, name, value):
    device = server("plain")
    device.write_attribute(name, value)
    assert device.read_attribute(name).value == pytest.approx(value)


def test_what_is_refused(server):
    device = server("plain")
    assert "above the maximum" in refused(lambda: device.write_attribute("frequency", 1e12))
    assert "above the maximum" in refused(lambda: device.write_attribute("frequency_list", [1e9, 1e12]))
    assert "Illegal parameter" in refused(lambda: device.write_attribute("levelling", False))
    device.write_attribute("frequency_list", [1e9, 2e9])
    assert device.frequency_list_points == 2


def test_lamps_make_the_state(server):
    plain, unlocked, dark = server("plain"), server("unlocked"), server("silent_lamp")
    plain.output = False
    assert plain.state() == tango.DevState.OFF and not plain.rf_on
    plain.output = True
    assert plain.state() == tango.DevState.ON and plain.locked and plain.rf_on and plain.status() == "the output is on"
    assert unlocked.state() == tango.DevState.ALARM and not unlocked.locked
    dark.output = True
    assert dark.state() == tango.DevState.ON and not dark.rf_on


def test_a_sweep_makes_the_state(server):
    device = server("slow")
    device.points, device.frequency_mode = 11, 1
    # On a busy machine the pass may be over before the state is asked for, so RUNNING shows in the time that it took.
    start = time.monotonic()
    device.Arm()
    wait_for(device, tango.DevState.OFF)
    assert time.monotonic() - start > 1.9
    # The other states stay until somebody ends them.
    device.trigger_source = 1
    device.Arm()
    assert device.state() == tango.DevState.STANDBY
    device.Abort()
    assert device.state() == tango.DevState.OFF
    device.trigger_source = 2
    device.continuous = True
    assert device.state() == tango.DevState.RUNNING
    device.Abort()
    assert device.state() == tango.DevState.OFF and not device.continuous


def test_faults(server):
    device = server("misnamed")
    assert device.state() == tango.DevState.FAULT and "has to end in ::ZLT" in device.status()
    assert "not" in refused(lambda: device.read_attribute("frequency"))
    device = server("breaks")
    deadline = time.monotonic() + 20
    while device.state() != tango.DevState.FAULT:
        assert time.monotonic() < deadline
    assert "link is lost" in device.status() and "Init opens" in device.status()
    refused(lambda: device.write_attribute("frequency", 1e9))
    assert "not allowed" in refused(device.Arm)
    device = server("silent_lamp")
    device.output = True
    device.Init()
    assert device.state() == tango.DevState.OFF and device.power == -100
