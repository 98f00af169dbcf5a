"""What this package raises. Every text says what to do."""
from __future__ import annotations

LINK_LOST = 20506

# Numbers of the error queue that come from the instrument or the link and have no text there.
_REMEDIES = {
    20486: "the instrument did not answer in 10 s: ask again; it has hung if that lasts",
    20503: "the VISA provider reported an error: look at the link, close and open again",
    LINK_LOST: "the link is lost, for this session for good: close and open again",
    -32766: "the instrument's firmware does not know this packet",
    -32765: "the instrument's firmware does not know this packet",
    -32761: "the instrument refused, its synthesizer is not locked: write it again once it is",
}


class GeneratorError(Exception):
    """The base of all of these."""


class LibraryMissing(GeneratorError, ImportError):
    """The library, or the VISA provider that it needs, could not be loaded."""


class OpenFailed(GeneratorError, OSError):
    """No session could be opened. `status` is the VISA status."""

    def __init__(self, text: str, status: int) -> None:
        super().__init__(text)
        self.status = status


class Closed(GeneratorError, ValueError):
    """The session is closed, or belongs to the process that this one was forked from."""


class AnswerTimeout(GeneratorError, TimeoutError):
    """A message did not come to its end in time. It may still take effect; the next call waits for it first."""


class QueuedError(GeneratorError):
    """The generator queued errors. `errors` has (number, text) of each, oldest first; `message` is what caused them."""

    def __init__(self, message: str, errors: list[tuple[int, str]]) -> None:
        listed = "; ".join(f"{number}, {text or _remedy(number)}" for number, text in errors)
        super().__init__(f"'{message}': {listed}")
        self.message = message
        self.errors = errors


class LinkLost(QueuedError):
    """The link is lost, for this session for good: what is written reaches nothing. Close it and open another one."""


def refusal(message: str, errors: list[tuple[int, str]]) -> QueuedError:
    """What to raise for errors that were queued."""
    return (LinkLost if any(number == LINK_LOST for number, _ in errors) else QueuedError)(message, errors)


def _remedy(number: int) -> str:
    if number < -32000 and number not in _REMEDIES:
        return "the instrument refused: write it again once the cause is gone"
    return _REMEDIES.get(number, "no text")
