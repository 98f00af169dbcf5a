"""Runs files of tests with pytest, on the package of this tree and the library of the build named.

Usage: run.py LIBRARY_OF_THE_CLIENT FILE...    Exit status 77 (skipped) where pytest is not installed."""
import os
import sys

library, files = sys.argv[1], sys.argv[2:]
root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
os.environ["SCPI_ZLT_LIBRARY"] = library
os.environ["ZLT_VISA_LIBRARY"] = os.path.join(os.path.dirname(library), "..", "visa", "libzlt_visa.so.1")
os.environ["PYTHONPATH"] = os.path.join(root, "python")
os.environ["PYTHONDONTWRITEBYTECODE"] = "1"
try:
    import pytest  # noqa: F401
except ImportError:
    print("skipped: python3-pytest is not installed")
    sys.exit(77)
os.execv(sys.executable, [sys.executable, "-m", "pytest", "-q", "--no-header", "-p", "no:cacheprovider",
                          "-p", "scpi_zlt.pytest_plugin", *files])
