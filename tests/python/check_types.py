"""Checks the types of the Python packages with mypy, strictly.

Usage: check_types.py CACHE_FOLDER    Exit status 77 (skipped) where it is not installed."""
import os
import subprocess
import sys

python = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "python")
if subprocess.run([sys.executable, "-c", "import mypy"], stderr=subprocess.DEVNULL).returncode != 0:
    print("skipped: mypy is not installed")
    sys.exit(77)
packages = [name for name in os.listdir(python) if os.path.exists(os.path.join(python, name, "py.typed"))]
assert "scpi_zlt" in packages
sys.exit(subprocess.run([sys.executable, "-m", "mypy", f"--cache-dir={sys.argv[1]}", "--config-file", "pyproject.toml", *packages],
                        cwd=python).returncode)
