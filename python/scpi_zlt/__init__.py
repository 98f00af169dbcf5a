"""A microwave signal generator as a SCPI instrument inside your process.

    from scpi_zlt import Generator

    with Generator("SIM0::INSTR::ZLT") as generator:
        generator.write(":FREQ 1.5GHZ")
        print(generator.query(":FREQ?"))

What the generator refuses is raised as `QueuedError`, what it does not answer in time as `AnswerTimeout`.
"""
from ._errors import AnswerTimeout, Closed, GeneratorError, LibraryMissing, LinkLost, OpenFailed, QueuedError
from ._generator import Generator

__all__ = ["AnswerTimeout", "Closed", "Generator", "GeneratorError", "LibraryMissing", "LinkLost",
           "OpenFailed", "QueuedError"]
__version__ = "2.0.0"
