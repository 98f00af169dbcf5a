"""The settings of the generator as a table: name, header, range, words. The classes for pymeasure and Tango are made of it.

A range in words of SCPI ("MIN to MAX of :FREQ") is the instrument's own and is asked from it; the others are those of the
fields on the link, beyond which a value would wrap, or those that the generator checks.
"""
from __future__ import annotations

from typing import Any, Callable, Iterable, NamedTuple, Union

NUMBER, INTEGER, WORD, SWITCH, LIST = "number", "integer", "word", "switch", "list"


class Setting(NamedTuple):
    """One row. Numbers are in `unit`; a list has a range for its points."""

    name: str
    header: str
    kind: str
    unit: str = ""
    limits: Union[str, tuple[float, float]] = ""  # a header: what it answers to MIN and MAX
    words: tuple[str, ...] = ()
    doc: str = ""
    forms: str = "set, query"


_MODES = ("fixed", "sweep", "list")
_SOURCES = ("internal", "external")
_SIGNS = ("positive", "negative")
_LONGEST = (0.0, 4.294967295)  # seconds that fit into 32 bits of nanoseconds

SETTINGS = (
    Setting("frequency", ":FREQ", NUMBER, "Hz", ":FREQ", doc="Frequency in fixed mode; whole Hz."),
    Setting("frequency_mode", ":FREQ:MODE", WORD, words=_MODES, doc="A change sends what the mode needs."),
    Setting("frequency_start", ":FREQ:STAR", NUMBER, "Hz", ":FREQ", doc="Start of the sweep."),
    Setting("frequency_stop", ":FREQ:STOP", NUMBER, "Hz", ":FREQ", doc="Stop of the sweep."),
    Setting("frequency_center", ":FREQ:CENT", NUMBER, "Hz", ":FREQ", doc="Centre of the sweep."),
    Setting("frequency_span", ":FREQ:SPAN", NUMBER, "Hz", ":FREQ", doc="Span of the sweep, from 0; shrinks at the limits."),
    Setting("frequency_list", ":LIST:FREQ", LIST, "Hz", ":FREQ", doc="Points of the frequency list.", forms="set"),
    Setting("frequency_list_points", ":LIST:FREQ:POIN", INTEGER, doc="How many points it holds.", forms="query"),
    Setting("power", ":POW", NUMBER, "dBm", ":POW", doc="Level in fixed mode. Some firmware takes whole dBm."),
    Setting("power_mode", ":POW:MODE", WORD, words=_MODES, doc="The oldest RF output has no power sweep."),
    Setting("power_start", ":POW:STAR", NUMBER, "dBm", ":POW", doc="Start of the power sweep."),
    Setting("power_stop", ":POW:STOP", NUMBER, "dBm", ":POW", doc="Stop of the power sweep."),
    Setting("power_center", ":POW:CENT", NUMBER, "dBm", ":POW", doc="Centre of the power sweep."),
    Setting("power_span", ":POW:SPAN", NUMBER, "dB", ":POW", doc="Span of the power sweep, from 0."),
    Setting("power_list", ":LIST:POW", LIST, "dBm", ":POW", doc="Points of the power list.", forms="set"),
    Setting("power_list_points", ":LIST:POW:POIN", INTEGER, doc="How many points it holds.", forms="query"),
    Setting("power_unit", ":UNIT:POW", WORD, words=("dbm", "w"), doc="Unit of what is read; what is set stays dBm."),
    Setting("power_control", ":POW:CONT", WORD, words=_SOURCES, doc="Levelling; it also sets the trigger source."),
    Setting("levelling", ":POW:ALC", SWITCH, doc="Always on: the generator refuses False."),
    Setting("attenuator_mode", ":POW:ATT:MODE", WORD, words=("distortion", "vswr", "optimal", "saving"),
            doc="What the attenuators are used for."),
    Setting("points", ":SWE:POIN", INTEGER, "", ":SWE:POIN", doc="Points of both sweeps."),
    Setting("step", ":SWE:STEP", NUMBER, "Hz", (1.0, 1e12), doc="Step of the frequency sweep; the points follow."),
    Setting("dwell", ":SWE:DWEL", NUMBER, "s", _LONGEST, doc="Time at each point of sweeps and lists."),
    Setting("spacing", ":SWE:SPAC", WORD, words=("linear", "logarithmic"), doc="Goes out with the next change of the range."),
    Setting("list_mode", ":LIST:MODE", WORD, words=("auto", "manual"),
            doc="manual: an external trigger for each point. Set trigger_source first."),
    Setting("output", ":OUTP", SWITCH, doc="The RF output."),
    Setting("continuous", ":INIT:CONT", SWITCH, doc="Sweeps again and again."),
    Setting("trigger_source", ":TRIG:SOUR", WORD, words=("immediate", "external", "bus"),
            doc="bus starts at once; immediate too, but it breaks a sweep off after a second."),
    Setting("trigger_slope", ":TRIG:SLOP", WORD, words=_SIGNS, doc="The edge of the external trigger."),
    Setting("aux_output", ":TRIG:AUX", SWITCH, doc="The auxiliary output."),
    Setting("aux_interval", ":TRIG:AUX:INT", WORD, words=("point", "sweep", "auxiliary", "pulse", "step", "input"),
            doc="When it pulses."),
    Setting("aux_polarity", ":TRIG:AUX:OPOL", WORD, words=_SIGNS, doc="Its polarity."),
    Setting("aux_duration", ":TRIG:AUX:DUR", NUMBER, "s", (0.0, 255e-6), doc="Length of its pulses; whole microseconds."),
    Setting("sync_period", ":TRIG:AUX:PULS:PER", NUMBER, "s", _LONGEST,
            doc="Period of the synchronisation generator, not below its width."),
    Setting("sync_width", ":TRIG:AUX:PULS:WIDT", NUMBER, "s", _LONGEST, doc="Pulse width of the synchronisation generator."),
    Setting("pulse", ":PULM:STAT", SWITCH, doc="Pulse modulation."),
    Setting("pulse_source", ":PULM:SOUR", WORD, words=_SOURCES, doc="Internal generator or external input."),
    Setting("pulse_shape", ":PULM:SOUR:INT", WORD, words=("frun", "square", "ptrain"),
            doc="What the internal generator makes. A pulse train can be stored, not started."),
    Setting("pulse_polarity", ":PULM:POL", WORD, words=("normal", "inverted"), doc="Polarity of the pulses."),
    Setting("pulse_period", ":PULM:INT:PER", NUMBER, "s", ":PULM:INT:PER", doc="Goes out in whole seconds."),
    Setting("pulse_width", ":PULM:INT:PWID", NUMBER, "s", ":PULM:INT:PER", doc="Goes out in whole seconds."),
    Setting("pulse_train_on", ":PULM:INT:TRA:ONT", LIST, "s", _LONGEST, doc="On-times of the train.", forms="set"),
    Setting("pulse_train_off", ":PULM:INT:TRA:OFFT", LIST, "s", _LONGEST, doc="Off-times of the train."),
    Setting("pulse_train_repetitions", ":PULM:INT:TRA:REP", LIST, "", (0.0, 65535.0), doc="Repetitions.", forms="set"),
    Setting("reference_source", ":ROSC:SOUR", WORD, words=_SOURCES, doc="The reference oscillator."),
    Setting("reference_frequency", ":ROSC:EXT:FREQ", NUMBER, "Hz", (0.0, 4294967295.0), doc="Of the external one; whole Hz."),
    Setting("phase", ":PHAS", NUMBER, "deg", (-360.0, 360.0), doc="Phase of the output."),
)


def limits_of(setting: Setting, ask: Callable[[str], str]) -> tuple[float, float]:
    """Lowest and highest value; `ask` sends a query where the instrument has to be asked. Power answers in power_unit."""
    if not isinstance(setting.limits, str):
        return setting.limits
    low, high = float(ask(f"{setting.limits}? MIN")), float(ask(f"{setting.limits}? MAX"))
    return (0.0, high - low) if setting.name.endswith("_span") else (low, high)


def message_of(setting: Setting, value: Any, limits: Callable[[], tuple[float, float]]) -> str:
    """The message that sets `value`. Raises ValueError for one outside of the range or the words."""
    if setting.kind == SWITCH:
        if value not in (False, True):
            raise ValueError(f"{setting.name} is True or False, not {value!r}")
        return f"{setting.header} {'ON' if value else 'OFF'}"  # "1" means off for two of them
    if setting.kind == WORD:
        if str(value).lower() not in setting.words:
            raise ValueError(f"{setting.name} is one of {', '.join(setting.words)}, not {value!r}")
        return f"{setting.header} {str(value).upper()}"
    values: Iterable[float] = value if setting.kind == LIST else [value]
    texts = [_checked(setting, number, limits()) for number in values]
    if not texts:
        raise ValueError(f"{setting.name} needs a point")
    return f"{setting.header} {','.join(texts)}"


def value_of(setting: Setting, answer: str) -> Any:
    """What a query of the setting has answered, as a float, int, word, bool or list of floats."""
    if setting.kind == SWITCH:
        return answer.lower() == "on"
    if setting.kind == WORD:
        return answer.lower()
    if setting.kind == LIST:
        return [float(number) for number in answer.split(",")] if answer else []
    return int(float(answer)) if setting.kind == INTEGER else float(answer)


def _checked(setting: Setting, number: float, limits: tuple[float, float]) -> str:
    low, high = limits
    if not low <= number <= high:
        raise ValueError(f"{setting.name} is {low:.12g} to {high:.12g} {setting.unit}".rstrip() + f", not {number!r}")
    if setting.kind == INTEGER and number != int(number):
        raise ValueError(f"{setting.name} is a whole number, not {number!r}")
    return f"{float(number):.15g}"
