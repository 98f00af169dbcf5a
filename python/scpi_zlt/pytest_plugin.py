"""Fixtures for pytest: a fresh simulated generator for each test.

    def test_refuses_above_the_range(zlt_generator):
        with pytest.raises(scpi_zlt.QueuedError, match="-222"):
            zlt_generator.write(":FREQ 99GHZ")

    @pytest.mark.zlt(fw="oldest", pll=0)       # the keys of docs/simulator.md
    def test_not_locked(zlt_generator): ...

    def test_two(zlt_simulate):
        first, second = zlt_simulate(), zlt_simulate(fw="g1")
"""
from __future__ import annotations

import threading
from collections import deque
from typing import TYPE_CHECKING, Any, Callable, Iterator

import pytest

if TYPE_CHECKING:
    from .simulator import SimulatedGenerator

# Closing takes a second, so sessions close side by side after the tests, at most this many at a time.
_MOST_CLOSING = 32
_closing: deque[threading.Thread] = deque()


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line("markers", "zlt(**keys): the keys of the simulated generator that zlt_generator is")


@pytest.fixture
def zlt_simulate() -> Iterator[Callable[..., SimulatedGenerator]]:
    """Makes simulated generators, each with the keys it is called with; they are closed after the test."""
    from .simulator import SimulatedGenerator

    made: list[SimulatedGenerator] = []

    def simulate(**keys: Any) -> SimulatedGenerator:
        made.append(SimulatedGenerator(**keys))
        return made[-1]

    yield simulate
    for generator in made:
        if len(_closing) == _MOST_CLOSING:
            _closing.popleft().join()
        # No daemon: Python waits for it before it exits.
        thread = threading.Thread(target=generator.close)
        thread.start()
        _closing.append(thread)


@pytest.fixture
def zlt_generator(request: pytest.FixtureRequest, zlt_simulate: Callable[..., SimulatedGenerator]) -> SimulatedGenerator:
    """A fresh simulated generator; a mark zlt(fw="oldest") gives it keys."""
    keys: dict[str, Any] = {}
    for mark in reversed(list(request.node.iter_markers("zlt"))):
        keys.update(mark.kwargs)
    return zlt_simulate(**keys)
