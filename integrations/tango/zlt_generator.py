#!/usr/bin/env python3
"""The generator as a Tango device: settings as attributes with units and ranges, a state from sweep and lamps.

Device properties: resource, a name that ends in ::ZLT; timeout, seconds for each message.

Without a database, with the properties in a file:

    ZltGenerator/test/DEVICE/ZltGenerator: "lab/zlt/1"
    lab/zlt/1->resource: "SIM0::INSTR::ZLT"

    zlt_generator.py test -file=properties.txt -ORBendPoint giop:tcp:127.0.0.1:10000

Clients reach it as tango://127.0.0.1:10000/lab/zlt/1#dbase=no then.

State     Means
FAULT     no session, or the link is lost: Init opens again, which switches the output off
RUNNING   a sweep runs
STANDBY   a sweep was armed and waits for its external trigger, or runs: the link does not show which
ALARM     the synthesizer is not locked
ON, OFF   the output

While a sweep runs the state takes 400 ms to ask, and a setting up to 3 s, which is Tango's own time-out: clients that set
something then should give it 10 s (set_timeout_millis).
"""
import os
import sys
import time

import tango
from tango import AttrWriteType, DevState
from tango.server import Device, attribute, command, device_property

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "python"))

from scpi_zlt import Generator, GeneratorError, LinkLost  # noqa: E402
from scpi_zlt.settings import INTEGER, LIST, NUMBER, SETTINGS, SWITCH, WORD, limits_of, message_of, value_of  # noqa: E402

_TYPES = {NUMBER: float, INTEGER: int, SWITCH: bool, LIST: (float,), WORD: "DevEnum"}
_ACCESS = {"query": AttrWriteType.READ, "set": AttrWriteType.WRITE, "set, query": AttrWriteType.READ_WRITE}
_ROWS = {setting.name: setting for setting in SETTINGS}
_LONGEST_LIST = 2500
_START_TIME = 0.2  # seconds from ":INIT" until the link shows the sweep
_NEVER = float("-inf")
_NOT_LOCKED, _RF_ON = 8, 128  # bits of "*ESR?"


def _raise(error):
    """Tango's exception for one of the package: clients see its text and not the way through this file."""
    tango.Except.throw_exception(f"ZLT_{type(error).__name__}", str(error), "ZltGenerator")


class _Base(Device):
    """What is not made of the table of settings."""

    resource = device_property(dtype=str, mandatory=True, doc="VISA resource name followed by ::ZLT")
    timeout = device_property(dtype=float, default_value=10.0, doc="seconds for each message")

    def init_device(self):
        super().init_device()
        self._generator = None
        self._limits = {}
        self._run_counts = False  # a sweep was started, and nothing was set since: the lamps mean nothing then
        self._armed = _NEVER  # when a single sweep was started that nothing has ended
        try:
            self._generator = Generator(self.resource, timeout=self.timeout)
            for setting in SETTINGS:
                if setting.limits:
                    self._take_limits(setting)
        except (GeneratorError, ImportError) as error:
            self._fail(error)

    def delete_device(self):
        """Closes the session, which takes a second. The output stays as it is."""
        if self._generator is not None:
            self._generator.close()

    def dev_state(self):
        state, status = self._look()
        self.set_state(state)
        self.set_status(status)
        return state

    def dev_status(self):
        self.dev_state()
        return self.get_status()

    def is_open(self, *_):
        return self._generator is not None and self._generator.is_open

    @attribute(dtype=bool, doc="The synthesizer is locked. Asked of the instrument, but for a sweep and until the next setting.",
               fisallowed="is_open")
    def locked(self):
        return not self._lamps() & _NOT_LOCKED

    @attribute(dtype=bool, doc="RF is on: the output, and the button at the front panel.", fisallowed="is_open")
    def rf_on(self):
        return bool(self._lamps() & _RF_ON)

    @command(doc_in="Starts one sweep; with trigger_source external it waits for its trigger.")
    def Arm(self):
        self._do(":INIT")
        self._run_counts = True
        self._armed = time.monotonic()

    @command(doc_in="Ends a sweep, a continuous one too.")
    def Abort(self):
        self._do(":INIT:CONT OFF\n:ABOR")
        self._run_counts = False
        self._armed = _NEVER

    def is_Arm_allowed(self):
        return self.is_open()

    def is_Abort_allowed(self):
        return self.is_open()

    def read_setting(self, setting):
        try:
            value = self._ask(setting)
        except GeneratorError as error:
            self._fail(error)
            _raise(error)
        return setting.words.index(value) if setting.kind == WORD else value

    def write_setting(self, setting, value):
        value = setting.words[value] if setting.kind == WORD else value
        try:
            self._do(message_of(setting, value, lambda: self._limits[setting.name]))
        except ValueError as error:
            _raise(error)
        self._armed = _NEVER
        self._run_counts = self._sweeps_on()
        self.dev_state()  # a link that is lost shows in no answer but this one

    def _do(self, message):
        try:
            self._generator.write(message)
        except GeneratorError as error:
            self._fail(error)
            _raise(error)

    def _ask(self, setting):
        return value_of(setting, self._generator.query(f"{setting.header}?"))

    def _lamps(self):
        """The bits of "*ESR?" that are lamps: asked a second time, those of errors are gone."""
        bits = int(self._generator.query("*ESR?"))
        return int(self._generator.query("*ESR?")) if bits & _NOT_LOCKED else bits

    def _sweeps_on(self):
        """Sweeping that the link need not show: between two passes it is free, and just after the start too."""
        modes = (self._ask(_ROWS["frequency_mode"]), self._ask(_ROWS["power_mode"]))
        goes_on = time.monotonic() - self._armed < _START_TIME or self._ask(_ROWS["continuous"])
        return goes_on and modes != ("fixed", "fixed")

    def _look(self):
        if not self.is_open():
            return DevState.FAULT, self.get_status()
        try:
            if self._generator.is_sweeping() or self._run_counts and self._sweeps_on():
                if self._ask(_ROWS["trigger_source"]) == "external":
                    return DevState.STANDBY, "a sweep waits for its external trigger, or runs"
                return DevState.RUNNING, "a sweep runs"
            if not self._run_counts and self._lamps() & _NOT_LOCKED:
                return DevState.ALARM, "the synthesizer is not locked"
            if self._ask(_ROWS["output"]):
                return DevState.ON, "the output is on"
            return DevState.OFF, "the output is off"
        except GeneratorError as error:
            self._fail(error)
            return DevState.FAULT, str(error) if self.is_open() else self.get_status()

    def _fail(self, error):
        """Remembers why there is no session. One without a link is closed; after other errors it goes on."""
        if isinstance(error, LinkLost):
            self._generator.close()
        if not self.is_open():
            self.set_state(DevState.FAULT)
            self.set_status(f"{error}\nInit opens the session again, which switches the output off.")

    def _take_limits(self, setting):
        """Tango refuses what is outside of the limits before it comes here, and shows them to clients."""
        limits = self._limits[setting.name] = limits_of(setting, self._generator.query)
        attr = self.get_device_attr().get_w_attr_by_name(setting.name)
        low, high = map(int if setting.kind == INTEGER else float, limits)
        attr.set_min_value(low)
        attr.set_max_value(high)


def _attribute_of(setting):
    options = {"dtype": _TYPES[setting.kind], "access": _ACCESS[setting.forms], "unit": setting.unit, "doc": setting.doc}
    if setting.kind == WORD:
        options["enum_labels"] = list(setting.words)
    if setting.kind == LIST:
        options["max_dim_x"] = _LONGEST_LIST
    if setting.kind == NUMBER:
        options["format"] = "%.12g"
    return attribute(fget=f"read_{setting.name}", fset=f"write_{setting.name}", fisallowed="is_open", **options)


def _methods_of(setting):
    # Tango counts the parameters of these, so the row is none of them.
    def read(self):
        return self.read_setting(setting)

    def write(self, value):
        self.write_setting(setting, value)

    return {f"read_{setting.name}": read, f"write_{setting.name}": write}


def _members():
    """An attribute and its two methods for each row of the table."""
    members = {"__doc__": "Microwave generator; see the head of this file."}
    for setting in SETTINGS:
        members[setting.name] = _attribute_of(setting)
        members.update(_methods_of(setting))
    return members


ZltGenerator = type(_Base)("ZltGenerator", (_Base,), _members())

if __name__ == "__main__":
    ZltGenerator.run_server()
