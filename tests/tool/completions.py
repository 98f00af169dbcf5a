#!/usr/bin/env python3
"""What the shells offer after Tab, against the tool's help: completions.py FOLDER_OF_THE_TOOL FOLDER_OF_THE_COMPLETIONS.

Every verb and every option of every verb has to be offered, and nothing else. Exit status 77 (skipped) without zsh, once bash
has passed."""
import os
import pty
import re
import select
import shutil
import subprocess
import sys
import time

tool, folder = sys.argv[1:]
os.environ["PATH"] = f"{tool}:{os.environ['PATH']}"


def section(help_text, title):
    """The first words of its entries; what they say goes on in lines that are further to the right."""
    found = re.search(rf"^{title}:\n((?:  .*\n|)*)", help_text, re.MULTILINE)
    return [line.split()[0] for line in found[1].splitlines() if re.match(r"  \S", line)] if found else []


def all_verbs(path=()):
    """Each path of verbs, the empty one first, with its verbs and its long options."""
    text = subprocess.run(["scpi-zlt", *path, "--help"], capture_output=True, text=True, check=True).stdout
    options = {name for entry in section(text, "Options") for name in entry.split(",") if name.startswith("--")}
    verbs = section(text, "Subcommands")
    yield path, set(verbs), options
    for verb in verbs:
        yield from all_verbs((*path, verb))


VERBS = list(all_verbs())
assert {("s2p", "show"), ("errors",)} <= {path for path, _, _ in VERBS}, VERBS

BASH = """source "$1/scpi-zlt.bash"; shift; cd /proc/self/fdinfo
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _scpi_zlt; printf '%s\\n' "${COMPREPLY[@]}" """


def bash(*words):
    shown = subprocess.run(["bash", "-c", BASH, "-", folder, "scpi-zlt", *words], capture_output=True, text=True, check=True)
    # The folder has numbers for files: no verb is one.
    return {word for word in shown.stdout.split() if not word.isdigit()}


for path, verbs, options in VERBS:
    assert bash(*path, "--") == options, (path, bash(*path, "--"), options)
    assert bash(*path, "") == verbs, (path, bash(*path, ""), verbs)
print(f"bash: {len(VERBS)} lists of verbs and options")

if shutil.which("zsh") is None:
    print("skipped: zsh is not installed")
    sys.exit(77)

process, terminal = pty.fork()
if process == 0:
    os.environ.update(TERM="dumb", PS1="", HOME="/nonexistent")
    os.execlp("zsh", "zsh", "-f", "-i")


def read_until(done):
    shown, deadline = "", time.monotonic() + 20
    while not done(shown):
        assert time.monotonic() < deadline, shown
        if select.select([terminal], [], [], 0.2)[0]:
            shown += os.read(terminal, 65536).decode(errors="replace")
    return shown


def zsh(line, pattern, words):
    """The words shown after Tab twice. zsh lists nothing while more is typed, so the line is killed once all `words` are there;
    what was listed besides comes before the answer to the next line."""
    typed = line.rstrip("-")
    os.write(terminal, f"{line}\t\t".encode())
    shown = read_until(lambda text: words <= set(re.findall(pattern, text.replace(typed, ""))))
    os.write(terminal, b"\x15echo ne''xt\n")
    shown += read_until(lambda text: re.search("next\r?\n", text)).split("echo")[0]
    return set(re.findall(pattern, shown.replace(typed, "")))


os.write(terminal, f"LISTMAX=0; autoload -U compinit; compinit -u -D; source {folder}/scpi-zlt.zsh; echo ne''xt\n".encode())
read_until(lambda text: re.search("next\r?\n", text))
for path, verbs, options in VERBS:
    line = " ".join(["scpi-zlt", *path, ""])
    found = zsh(line + "-", r"--[a-z0-9][a-z0-9-]*", options)
    assert found == options, (path, found, options)
    if len(verbs) > 1:
        zsh(line, r"[a-z0-9]+", verbs)
print(f"zsh: {len(VERBS)} lists of verbs and options")
os.write(terminal, b"exit\n")
os.waitpid(process, 0)
