#!/usr/bin/env python3
"""Every relative link on the pages leads to a file that is there and, after a #, to a heading or an anchor on that page.
So does every docs/PAGE.md#ANCHOR in the transcripts: the tool prints such links."""
import pathlib
import re
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parent.parent
fence = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)


def anchors(page):
    """Those written as <a id="...">, and what GitHub makes of the headings: no punctuation, blanks as hyphens, a number after
    one that is repeated."""
    found = set(re.findall(r'<a id="([^"]+)">', page.read_text()))
    for heading in re.findall(r"^#+ +(.*?) *$", fence.sub("", page.read_text()), re.MULTILINE):
        base = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
        name, again = base, 0
        while name in found:
            again += 1
            name = f"{base}-{again}"
        found.add(name)
    return found


def files(*patterns):
    listed = subprocess.run(["git", "ls-files", *patterns], cwd=root, capture_output=True, text=True, check=True)
    return listed.stdout.split()


links = [(name, root / name, link) for name in files("*.md")
         for link in re.findall(r"\]\(([^()\s]+)\)", fence.sub("", (root / name).read_text()))]
printed = {(name, root / "README.md", link) for name in files("tests/tool/*.txt")
           for link in re.findall(r"docs/[\w-]+\.md#[\w-]+", (root / name).read_text())}
broken, count = [] if printed else ["no link in a transcript"], 0
for name, page, link in links + sorted(printed):
    if re.match(r"[a-z]+:", link):
        continue
    count += 1
    path, _, anchor = link.partition("#")
    target = page.parent / path if path else page
    if not target.exists():
        broken.append(f"{name}: {link}: no such file")
    elif anchor and anchor not in anchors(target):
        broken.append(f"{name}: {link}: no such heading or anchor")
print("\n".join(broken) or f"{count} links")
sys.exit(1 if broken or count == 0 else 0)
