"""The generator as an instrument of pymeasure, every setting a property with its range.

    from scpi_zlt.pymeasure import MicrowaveGenerator

    generator = MicrowaveGenerator("SIM0::INSTR::ZLT")
    generator.frequency = 1.5e9
    generator.output = True
    generator.shutdown()

A value outside of its range raises ValueError and is not sent; what the generator refuses raises QueuedError.
"""
from __future__ import annotations

from typing import Any, Union

from pymeasure.adapters import Adapter
from pymeasure.instruments import Instrument

from ._errors import GeneratorError, QueuedError
from ._generator import Generator
from .settings import SETTINGS, Setting, limits_of, message_of, value_of


class GeneratorAdapter(Adapter):
    """pymeasure's adapter over a Generator: no VISA library is needed."""

    def __init__(self, generator: Generator, **options: Any) -> None:
        super().__init__(**options)
        self.connection = generator
        self._answer = ""

    def write(self, command: str) -> None:
        if "?" in command:
            self._answer = self.connection.query(command)
        else:
            self.connection.write(command)

    def read(self) -> str:
        """The answer of the query that was written last."""
        answer, self._answer = self._answer, ""
        return answer


class MicrowaveGenerator(Instrument):
    """`adapter` is a resource name that ends in ::ZLT, a scpi_zlt.Generator, or any adapter of pymeasure.

    Opening switches the output off and sets the lowest level. Keyword arguments go to scpi_zlt.Generator.
    """

    def __init__(self, adapter: Union[str, Generator, Adapter], name: str = "Microwave generator", **options: Any) -> None:
        if isinstance(adapter, str):
            adapter = Generator(adapter, **options)
        if isinstance(adapter, Generator):
            adapter = GeneratorAdapter(adapter)
        self._limits: dict[str, tuple[float, float]] = {}
        super().__init__(adapter, name)

    def limits(self, name: str) -> tuple[float, float]:
        """Lowest and highest value of a setting: limits("frequency")."""
        if name not in self._limits:
            (setting,) = [row for row in SETTINGS if row.name == name]
            unit = self.ask(":UNIT:POW?").strip() if setting.limits == ":POW" else "DBM"
            if unit != "DBM":
                self.write(":UNIT:POW DBM")
            try:
                self._limits[name] = limits_of(setting, self.ask)
            finally:
                if unit != "DBM":
                    self.write(f":UNIT:POW {unit}")
        return self._limits[name]

    def start(self) -> None:
        """Starts one sweep. With trigger_source "external" it is armed."""
        self.write(":INIT")

    def abort(self) -> None:
        """Ends a sweep, a continuous one too."""
        self.write(":INIT:CONT OFF")
        self.write(":ABOR")

    def wait_for_sweep(self, timeout: float = 60.0) -> None:
        """Until the sweep that was started is over; needs an adapter over a scpi_zlt.Generator."""
        if not isinstance(self.adapter, GeneratorAdapter):
            raise GeneratorError("wait_for_sweep needs a session of scpi_zlt: give the resource name instead of an adapter")
        self.adapter.connection.wait_for_sweep(timeout)

    def check_errors(self) -> None:
        """Raises what the generator has queued."""
        errors = []
        while True:
            number, _, text = self.ask(":SYST:ERR?").strip().partition(",")
            if int(number) == 0:
                break
            errors.append((int(number), text.strip('"')))
        if errors:
            raise QueuedError("messages before", errors)

    def shutdown(self) -> None:
        """Switches the output off and closes the session."""
        if not self.isShutdown:
            self.output = False
            if isinstance(self.adapter, GeneratorAdapter):
                self.adapter.connection.close()
        super().shutdown()


def _property(setting: Setting) -> property:
    def get(self: MicrowaveGenerator) -> Any:
        return value_of(setting, self.ask(f"{setting.header}?").strip())

    def put(self: MicrowaveGenerator, value: Any) -> None:
        self.write(message_of(setting, value, lambda: self.limits(setting.name)))

    described = setting.doc
    if setting.words:
        described += f" One of {', '.join(setting.words)}."
    elif isinstance(setting.limits, tuple):
        described += f" {setting.limits[0]:.12g} to {setting.limits[1]:.12g} {setting.unit}."
    elif setting.limits:
        described += f" In {setting.unit or 'whole numbers'}; limits({setting.name!r}) has its range."
    return property(get if "query" in setting.forms else None, put if "set" in setting.forms else None, doc=described)


for _setting in SETTINGS:
    setattr(MicrowaveGenerator, _setting.name, _property(_setting))
