"""The VISA library in front of the generator, for pyvisa: pyvisa.ResourceManager("@zlt") finds it.

    generator = pyvisa.ResourceManager("@zlt").open_resource("SIM0::INSTR::ZLT")
    print(generator.query("*IDN?"))

Other instruments are reached too if ZLT_VISA_NEXT names their VISA library (docs/visa.md).
"""
from __future__ import annotations

import os

from pyvisa import errors
from pyvisa.ctwrapper.highlevel import IVIVisaLibrary
from pyvisa.util import LibraryPath

from scpi_zlt._places import beside_package, existing, of_system

NAME = "libzlt_visa.so.1"


class ZltVisaLibrary(IVIVisaLibrary):
    """pyvisa's own wrapper of a VISA library; only where the library is found is ours."""

    @staticmethod
    def get_library_paths() -> tuple[LibraryPath, ...]:
        named = os.environ.get("ZLT_VISA_LIBRARY")
        if named:
            return (LibraryPath(named, "ZLT_VISA_LIBRARY"),)
        found = existing([*beside_package("visa"), *of_system()], NAME)
        return (LibraryPath(found[0] if found else NAME, "pyvisa_zlt"),)

    def _init(self) -> None:
        try:
            super()._init()
        except (errors.LibraryError, AttributeError) as error:
            raise errors.LibraryError(f"{error}\nInstall the library and run ldconfig, or let ZLT_VISA_LIBRARY name {NAME}: "
                                      f"ZLT_VISA_LIBRARY=<repository>/build/release/visa/{NAME}") from None


WRAPPER_CLASS = ZltVisaLibrary
