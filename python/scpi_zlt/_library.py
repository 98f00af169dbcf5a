"""The C library by ctypes: finding it, its functions with their types, and advice where it cannot be loaded."""
from __future__ import annotations

import ctypes
import os
import threading
from ctypes import POINTER, c_char_p, c_int, c_long, c_ulong, c_void_p

from ._errors import LibraryMissing
from ._places import beside_package, existing, of_system

NAME = "libscpi_zlt_client.so.2"
# Where the simulated generator is installed, beside the library.
_SIMULATOR = os.path.join("scpi-zlt", "simulator", "libSkVisa.so.2")

# Each of these is found through the one library: the loader looks into those that it needs, too.
_FUNCTIONS = {
    "skOpen": (c_long, [c_ulong, c_char_p, c_ulong, c_ulong, POINTER(c_ulong)]),
    "skClose": (c_long, [c_ulong]),
    "zltExchangeCreate": (c_void_p, [c_ulong]),
    "zltExchangeDelete": (None, [c_void_p]),
    "zltExchangeBegin": (c_int, [c_void_p, c_char_p, c_ulong]),
    "zltExchangeAwait": (c_int, [c_void_p, c_long]),
    "zltExchangeResponse": (c_void_p, [c_void_p, POINTER(c_ulong)]),
    "zltExchangeStatus": (c_long, [c_void_p]),
    "zltExchangeBusy": (c_int, [c_void_p]),
    "zltStatusText": (None, [c_long, c_char_p, c_ulong]),
}

_lock = threading.Lock()
_loaded: ctypes.CDLL | None = None
_loaded_by = 0


def library(resource: str = "") -> ctypes.CDLL:
    """The library, loaded at the first call. Raises LibraryMissing with advice.

    If that call is for a simulated generator ("SIM..."), the installed simulator becomes the VISA provider of the process."""
    global _loaded, _loaded_by
    with _lock:
        if _loaded is None:
            if resource.startswith("SIM"):
                _load_simulator()
            _loaded = _load()
            _loaded_by = os.getpid()
        return _loaded


def forked() -> bool:
    """True in a process that was forked after the library was loaded: it can open nothing there."""
    return _loaded is not None and _loaded_by != os.getpid()


def status_text(status: int) -> str:
    """A VISA status in words."""
    text = ctypes.create_string_buffer(256)
    library().zltStatusText(status, text, len(text))
    return text.value.decode()


def _candidates() -> list[str]:
    named = os.environ.get("SCPI_ZLT_LIBRARY")
    return [named] if named else [*existing(beside_package("client"), NAME), NAME]


def _load_simulator() -> None:
    """Once it is loaded the library takes it by its name, and looks for no other. Where none is installed, the library finds
    one by the loader, or says that it is missing."""
    folders = [os.path.dirname(path) for path in _candidates() if os.path.dirname(path)]
    for path in existing([*folders, *of_system()], _SIMULATOR)[:1]:
        try:
            ctypes.CDLL(path)
        except OSError as error:
            raise LibraryMissing(f"{error}\nThat is the installed simulator: install it again, or take it away.") from None


def _load() -> ctypes.CDLL:
    reason = ""
    for path in _candidates():
        try:
            loaded = ctypes.CDLL(path)
            for name, (result, arguments) in _FUNCTIONS.items():
                function = getattr(loaded, name)
                function.restype = result
                function.argtypes = arguments
            return loaded
        except OSError as error:
            reason = str(error)
        except AttributeError as error:
            reason = f"{path} is another library: {error}"
    raise LibraryMissing(_advice(reason))


def _advice(reason: str) -> str:
    """The loader's message and what to do about it."""
    if reason.startswith("libSkVisa.so.2"):
        todo = ("That is the VISA provider of the instrument. Install it, or put its folder into LD_LIBRARY_PATH before "
                "Python starts. Without an instrument, use the simulator: SIM0::INSTR::ZLT finds the installed one.")
    elif "another library" in reason:
        todo = f"Let SCPI_ZLT_LIBRARY name {NAME}, or take the variable away."
    elif os.environ.get("SCPI_ZLT_LIBRARY"):
        todo = f"SCPI_ZLT_LIBRARY has to name {NAME}: correct it, or take it away."
    else:
        todo = ("Install the library and run ldconfig, or let SCPI_ZLT_LIBRARY name it: "
                f"SCPI_ZLT_LIBRARY=<repository>/build/release/client/{NAME}")
    return f"{reason}\n{todo}"
