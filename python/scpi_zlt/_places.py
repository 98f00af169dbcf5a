"""Where the installed libraries are."""
from __future__ import annotations

import os

_PACKAGES = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
_BUILD = os.path.join(os.path.dirname(_PACKAGES), "build", "release")
# Of the prefix that has this package in <prefix>/lib/python3*/site-packages, or in dist-packages.
_PREFIX_LIBRARIES = os.path.dirname(os.path.dirname(_PACKAGES))


def beside_package(part: str) -> list[str]:
    """Folders that belong to this copy of the package: `part` of the build tree around it, and those of its prefix."""
    return [os.path.join(_BUILD, part), _PREFIX_LIBRARIES, os.path.join(_PREFIX_LIBRARIES, "x86_64-linux-gnu")]


def of_system() -> list[str]:
    """Folders in which the loader looks."""
    named = [folder for folder in os.environ.get("LD_LIBRARY_PATH", "").split(":") if folder]
    return [*named, "/usr/local/lib", "/usr/local/lib/x86_64-linux-gnu", "/usr/lib/x86_64-linux-gnu", "/usr/lib"]


def existing(folders: list[str], name: str) -> list[str]:
    """The paths of the files `name` in these folders."""
    return [path for path in (os.path.join(folder, name) for folder in folders) if os.path.exists(path)]
