#!/usr/bin/env python3
"""Every relative link on the pages leads to a file that is there and, after a #, to a heading on that page."""
import pathlib
import re
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parent.parent
fence = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)


def anchors(page):
    """What GitHub makes of the headings: no punctuation, blanks as hyphens, a number after one that is repeated."""
    found = set()
    for heading in re.findall(r"^#+ +(.*?) *$", fence.sub("", page.read_text()), re.MULTILINE):
        base = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
        name, again = base, 0
        while name in found:
            again += 1
            name = f"{base}-{again}"
        found.add(name)
    return found


broken, count = [], 0
for name in subprocess.run(["git", "ls-files", "*.md"], cwd=root, capture_output=True, text=True, check=True).stdout.split():
    page = root / name
    for link in re.findall(r"\]\(([^()\s]+)\)", fence.sub("", page.read_text())):
        if re.match(r"[a-z]+:", link):
            continue
        count += 1
        path, _, anchor = link.partition("#")
        target = page.parent / path if path else page
        if not target.exists():
            broken.append(f"{name}: {link}: no such file")
        elif anchor and anchor not in anchors(target):
            broken.append(f"{name}: {link}: no such heading")
print("\n".join(broken) or f"{count} links")
sys.exit(1 if broken or count == 0 else 0)
