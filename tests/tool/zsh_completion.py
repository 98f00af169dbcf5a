#!/usr/bin/env python3
"""Completion in zsh: zsh_completion.py FOLDER_OF_THE_TOOL COMPLETION. Exit status 77 (skipped) without zsh."""
import os
import pty
import select
import shutil
import sys
import time

tool, completion = sys.argv[1:]
if shutil.which("zsh") is None:
    print("skipped: zsh is not installed")
    sys.exit(77)

# What is typed before Tab, and what zsh then shows. Twice Tab, where there is a choice to list.
CASES = [
    (b"scpi-zlt s\t\t", ["s2p", "save", "serve", "shell", "sim", "sweep"]),
    (b"scpi-zlt s2p \t\t", ["convert", "show"]),
    (b"scpi-zlt s2p show --p\t", ["--parameter"]),
    (b"scpi-zlt sweep --l\t\t", ["--leave-on", "--level"]),
]

process, terminal = pty.fork()
if process == 0:
    os.environ.update(PATH=f"{tool}:{os.environ['PATH']}", TERM="dumb", PS1="", HOME="/nonexistent")
    os.execlp("zsh", "zsh", "-f", "-i")


def wait_for(words):
    shown, deadline = "", time.monotonic() + 20
    while not all(word in shown for word in words):
        assert time.monotonic() < deadline, f"{words} not in {shown!r}"
        if select.select([terminal], [], [], 0.2)[0]:
            shown += os.read(terminal, 65536).decode(errors="replace")


os.write(terminal, f"autoload -U compinit; compinit -u -D; source {completion}; echo rea''dy\n".encode())
wait_for(["ready"])
for typed, words in CASES:
    os.write(terminal, typed)
    wait_for(words)
    os.write(terminal, b"\x15")  # kills the line
    print(typed.strip().decode(), *words)
os.write(terminal, b"exit\n")
os.waitpid(process, 0)
