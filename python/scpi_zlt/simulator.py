"""A simulated generator of its own for each test, with states and faults set from the test.

    from scpi_zlt.simulator import SimulatedGenerator

    with SimulatedGenerator(fw="oldest", pll=0) as generator:
        generator.set(button=0)
        generator.write(":OUTP ON")

The keys are those of docs/simulator.md. "pass", a word of Python, is written pass_; True and False are 1 and 0.
"""
from __future__ import annotations

import ctypes
import itertools
from typing import Union

from ._errors import LibraryMissing
from ._generator import Generator
from ._library import library

Value = Union[str, float, bool]

# Low numbers are left to programs that write names themselves.
_numbers = itertools.count(1000)


class SimulatedGenerator(Generator):
    """A new instrument with the state that `keys` give it, and a session with it. It lives as long as the process."""

    def __init__(self, *, timeout: float = 10.0, open_timeout: float = 10.0, check: bool = True, **keys: Value) -> None:
        self._control = _control_of(library("SIM"))
        self.name = f"SIM{next(_numbers)}"
        listed = ",".join(_listed(keys))
        resource = f"{self.name}::{listed}::INSTR::ZLT" if listed else f"{self.name}::INSTR::ZLT"
        super().__init__(resource, timeout=timeout, open_timeout=open_timeout, check=check)

    def set(self, **keys: Value) -> None:
        """Changes states and faults while the instrument lives: set(button=0), set(lost=3), set(heal=1)."""
        self._do(" ".join(_listed(keys)))

    def trigger(self, count: int = 1) -> None:
        """Pulses on the trigger input."""
        self._do(f"trigger={count}")

    def wait(self, state: str) -> None:
        """Waits, 10 s at most, for "run", for "held" (a run waits for its trigger), "packets:N" or "passes:N"."""
        self._do(f"await={state}")

    def ask(self, what: str) -> str:
        """What the simulator knows: "packets", "passes", "held", "links", "state", or "status P_FREQUENCY"."""
        text = ctypes.create_string_buffer(256)
        question = f"{self.name} {what}".encode()
        length = self._control.simQuery(question, text, len(text))
        if length >= len(text):
            text = ctypes.create_string_buffer(length + 1)
            length = self._control.simQuery(question, text, len(text))
        if length < 0:
            raise ValueError(f"the simulator has no answer to {what!r}; docs/simulator.md lists what it knows")
        return text.value.decode("latin-1")

    def holds(self, parameter: str) -> list[float]:
        """What the instrument really holds: holds("P_FREQUENCY") is [start, points, step, stop]."""
        return [float(number) for number in self.ask(parameter).split()]

    def _do(self, command: str) -> None:
        if self._control.simControl(f"{self.name} {command}".encode()) != 0:
            raise ValueError(f"the simulator refuses {command!r}; its line on the error stream says why")


def _listed(keys: dict[str, Value]) -> list[str]:
    return [f"{key.rstrip('_')}={int(value) if isinstance(value, bool) else value}" for key, value in keys.items()]


def _control_of(loaded: ctypes.CDLL) -> ctypes.CDLL:
    try:
        loaded.simControl.argtypes = [ctypes.c_char_p]
        loaded.simQuery.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_int]
    except AttributeError:
        raise LibraryMissing("the VISA provider that is loaded is not the simulator: start Python with "
                             "LD_LIBRARY_PATH=<repository>/build/release/simulator") from None
    return loaded
