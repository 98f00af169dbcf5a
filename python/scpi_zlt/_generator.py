"""One generator: messages, answers, errors."""
from __future__ import annotations

import ctypes
import os
import threading
import time
import warnings
from types import TracebackType
from typing import Any, Iterable

from ._errors import LINK_LOST, AnswerTimeout, Closed, GeneratorError, OpenFailed, refusal
from ._library import forked, library, status_text

# As client/exchange.h has them.
_COMPLETE, _TIMEOUT, _, _UNFINISHED, _TOO_LONG, _FAILED = range(6)
_INV_OBJECT = 0xBFFF000E
_TMO = 0xBFFF0015

# Python acts on an interrupt between two calls into the library, so none of them waits longer than this.
_SLICE_MS = 50


class Generator:
    """A session with the generator `resource`, a VISA resource name followed by ::ZLT.

    resource      "SIM0::INSTR::ZLT" is the first simulated one
    timeout       seconds for each message; a setting during or after a sweep takes 1.5 s
    open_timeout  seconds for opening; an instrument that is silent takes twice as long and a second
    check         asks for errors after each message and raises them as QueuedError

    Opening switches the output off and sets the lowest level. Closing takes a second, 1.5 s more after a sweep: what was
    written before still takes effect. It does not switch the output off.

    Threads may share a generator: each message and its answer are one step. An interrupt (Ctrl-C) ends a wait within
    a twentieth of a second, opening and closing when they are over; the next call is in step. A process that is forked
    has no session and can open none: use multiprocessing's "spawn".
    """

    def __init__(self, resource: str, *, timeout: float = 10.0, open_timeout: float = 10.0, check: bool = True) -> None:
        self.resource = resource
        self.timeout = timeout
        self.check = check
        self._session = ctypes.c_ulong(0)
        self._exchange: int | None = None
        self._pid = os.getpid()
        self._turn = threading.RLock()
        self._within = False  # a message is under way in the thread that has the turn
        self._closing = False
        self._unchecked = ""  # the message whose errors were not asked for yet
        self._library = library(resource)
        if forked():
            raise OpenFailed("this process was forked from one that had loaded the library, and can open nothing: start it "
                             'with multiprocessing.get_context("spawn"), or fork before the first Generator', 0)
        try:
            limit = min(max(int(open_timeout * 1000), 1), 0xFFFFFFFF)
            status = self._library.skOpen(0, resource.encode(), 0, limit, ctypes.byref(self._session))
            if status != 0:
                raise OpenFailed(self._open_failure(status, open_timeout), status)
            self._exchange = self._library.zltExchangeCreate(self._session)
            if self._exchange is None:
                raise MemoryError
        except BaseException:
            self.close()
            raise

    def _open_failure(self, status: int, open_timeout: float) -> str:
        if status & 0xFFFFFFFF == _INV_OBJECT:
            reason = "a resource name has to end in ::ZLT, as in SIM0::INSTR::ZLT"
        elif status & 0xFFFFFFFF == _TMO:
            reason = f"not ready within {open_timeout:g} s; give a longer open_timeout, or look whether it is switched on"
        elif status > 0:
            reason = f"the provider answered with a warning, VISA status {status:#010x}"
        else:
            reason = status_text(status)
        return f"cannot open {self.resource!r}: {reason}"

    def write(self, message: str) -> None:
        """Sends a message and waits until it has run. What it answers, if anything, is dropped."""
        self._run(message)

    def query(self, message: str) -> str:
        """Sends a message and returns its answer without the line end."""
        answer = self._run(message)
        if not answer:
            raise GeneratorError(f"{message!r} has no answer: is it a query?")
        return answer[:-1] if answer.endswith("\n") else answer

    def query_values(self, message: str) -> Any:
        """The numbers of an answer: a numpy array of float64 where numpy is installed, else a list of floats."""
        numbers = [float(number) for number in self.query(message).split(",")]
        try:
            import numpy
        except ImportError:
            return numbers
        return numpy.array(numbers)

    def write_values(self, header: str, values: Iterable[float]) -> None:
        """Sends a list: write_values(":LIST:FREQ", [1e9, 2e9]). Any iterable of numbers, a numpy array too."""
        self.write(header + " " + ",".join(f"{float(value):.15g}" for value in values))

    def errors(self) -> list[tuple[int, str]]:
        """Takes the error queue: (number, text) of each, oldest first."""
        with self._turn:
            found: list[tuple[int, str]] = []
            while True:
                number, _, text = self._exchanged(":SYST:ERR?").partition(",")
                if int(number) == 0:
                    return found
                found.append((int(number), text.strip().strip('"')))

    def is_sweeping(self) -> bool:
        """Whether a sweep holds the link; a tenth of a second after its start at the earliest. Clears "*STB?"."""
        start = time.monotonic()
        if self._exchanged("*STB?").strip() == "":
            raise refusal("*STB?", self.errors() + [(LINK_LOST, "")])
        # While a sweep runs, the answer comes after 400 ms.
        return time.monotonic() - start >= 0.3

    def wait_for_sweep(self, timeout: float = 60.0) -> None:
        """Waits until the sweep or list that was started is over. With an external trigger that may be never."""
        deadline = time.monotonic() + timeout
        # No command reports the end, and if asked too early the link is still free.
        time.sleep(0.1)
        while self.is_sweeping():
            if time.monotonic() >= deadline:
                raise AnswerTimeout(f"{self.resource} still sweeps after {timeout:g} s: wait longer, trigger it, or write "
                                    '":INIT:CONT OFF" and ":ABOR"')

    def close(self) -> None:
        """Closes the session. A second call does nothing; a call that waits in another thread ends with Closed."""
        if not self.is_open:
            return
        self._closing = True
        # Marked as closed only after the call: an interrupt before it leaves a session that can still be closed.
        self._library.skClose(self._session.value)
        self._session.value = 0
        with self._turn:
            exchange, self._exchange = self._exchange, None
            # A signal handler that closes has interrupted a call that still uses the exchange: that stays in memory.
            if not self._within:
                self._library.zltExchangeDelete(exchange)

    @property
    def is_open(self) -> bool:
        return self._session.value != 0 and self._pid == os.getpid()

    def __enter__(self) -> Generator:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_pid", None) is not None and self.is_open:
            warnings.warn(f"{self.resource} was not closed", ResourceWarning, source=self)
            self.close()

    def __repr__(self) -> str:
        return f"<Generator {self.resource!r}{'' if self.is_open else ', closed'}>"

    def _run(self, message: str) -> str:
        with self._turn:
            # Errors of a message that was late or interrupted show after the next one.
            suspects = f"{self._unchecked}' or '{message}" if self._unchecked else message
            self._unchecked = suspects if self.check else ""
            answer = self._exchanged(message)
            if self.check:
                # 1 means nothing: ":POW:ATT?" always leaves it.
                errors = [error for error in self.errors() if error[0] != 1]
                self._unchecked = ""
                if errors:
                    raise refusal(suspects, errors)
            return answer

    def _exchanged(self, message: str) -> str:
        """One message and its answer, line end included. Drops what an interrupted or late message before it answers."""
        text = message.encode("latin-1")
        with self._turn:
            if self._within:
                raise GeneratorError(f"{message!r} is sent by a signal handler or finalizer while a message is under way")
            self._within = True
            try:
                deadline = time.monotonic() + self.timeout
                outcome = self._await(deadline)
                if outcome == _TIMEOUT:
                    raise AnswerTimeout(f"{message!r} was not sent: the message before it still runs after {self.timeout:g} s."
                                        " Try again, give a longer timeout, or close and open again")
                if outcome == _COMPLETE:
                    outcome = self._library.zltExchangeBegin(self._open_exchange(), text, len(text))
                if outcome == _COMPLETE:
                    outcome = self._await(deadline)
                self._raise_for(outcome, message)
                length = ctypes.c_ulong()
                response = self._library.zltExchangeResponse(self._open_exchange(), ctypes.byref(length))
                return ctypes.string_at(response, length.value).decode("latin-1")
            finally:
                self._within = False

    def _await(self, deadline: float) -> int:
        """Waits in slices, between which Python may raise an interrupt; the exchange keeps the step."""
        while True:
            left = max(int((deadline - time.monotonic()) * 1000), 0)
            outcome: int = self._library.zltExchangeAwait(self._open_exchange(), min(left, _SLICE_MS))
            if outcome != _TIMEOUT or left <= _SLICE_MS:
                return outcome

    def _open_exchange(self) -> int:
        if self._pid != os.getpid():
            raise Closed(f"{self.resource}: this process was forked and has no session; open it where it is used")
        if self._exchange is None or self._closing:
            raise Closed(f"{self.resource} is closed; open it again")
        return self._exchange

    def _raise_for(self, outcome: int, message: str) -> None:
        if outcome == _COMPLETE:
            return
        shown = message if len(message) <= 60 else message[:57] + "..."
        if outcome == _TIMEOUT:
            raise AnswerTimeout(f"{shown!r} did not end within {self.timeout:g} s and may still take effect. The next call waits "
                                "for it first and is in step. A setting during or after a sweep takes 1.5 s: give a "
                                "longer timeout if it needs more")
        if outcome == _FAILED:
            status = self._library.zltExchangeStatus(self._open_exchange())
            raise GeneratorError(f"{shown!r}: {status_text(status)}")
        raise GeneratorError(f"{shown!r} was not sent: " + {
            _UNFINISHED: "it ends inside a definite-length block",
            _TOO_LONG: "a message has at most 160144 bytes with its line end",
        }.get(outcome, "no memory"))
