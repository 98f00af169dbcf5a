"""Runs the programs of docs/programs.md unchanged and compares what they print with the lines under them.

Usage: run_programs.py BUILD_FOLDER
A server listens on a free port, which replaces the one on the page. A program that needs something that is not installed
is skipped with a line."""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

BUILD = os.path.abspath(sys.argv[1])
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
COMPILE = [f"-I{ROOT}/include", f"-L{BUILD}/library", "-lscpi_zlt", f"-Wl,-rpath,{BUILD}/library"]
PYTHON = "/usr/bin/python3"
ENVIRONMENT = {**os.environ, "SCPI_ZLT_LIBRARY": f"{BUILD}/client/libscpi_zlt_client.so.2",
               "ZLT_VISA_LIBRARY": f"{BUILD}/visa/libzlt_visa.so.1", "PYTHONPATH": f"{ROOT}/python",
               "LD_LIBRARY_PATH": f"{BUILD}/visa", "PYTHONDONTWRITEBYTECODE": "1"}

# language: (file, commands). The last command is the program.
LANGUAGES = {
    "c": ("my.c", [["cc", "-Wall", "-Werror", "my.c", *COMPILE, "-o", "c"], ["./c"]]),
    "cpp": ("my.cpp", [["c++", "-Wall", "-Werror", "my.cpp", *COMPILE, "-o", "cpp"], ["./cpp"]]),
    "python": ("my.py", [[PYTHON, "my.py"]]),
    "pytest": ("test_my.py", [[PYTHON, "-m", "pytest", "-q", "-p", "no:cacheprovider", "-p", "scpi_zlt.pytest_plugin"]]),
    "csharp": ("my.cs", [["mcs", "my.cs"], ["mono", "my.exe"]]),
    "java": ("My.java", [["java", "-cp", "/usr/share/java/jna.jar", "My.java"]]),
    "rust": ("my.rs", [["rustc", "my.rs", "-L", f"{BUILD}/visa", "-o", "rust"], ["./rust"]]),
    "javascript": ("my.js", [["node", "my.js"]]),
    "octave": ("my.m", [["octave-cli", "--quiet", "my.m"]]),
}
# Messages that mean that something is not installed.
MISSING = re.compile(r"No module named '?(?!scpi_zlt|pyvisa_zlt)\w+|package.* not found|could not be found|required.*not installed|"
                     r"com.sun.jna\S* does not exist|jdk.compiler not found")


def programs():
    with open(os.path.join(ROOT, "docs", "programs.md")) as page:
        text = page.read()
    heading = r"(?:^## (?P<title>[^\n]*)\n)"
    found, title = [], ""
    for match in re.finditer(heading + r"|^```(?P<language>\w+)\n(?P<program>.*?)^```\n\n```output\n(?P<output>.*?)^```", text,
                             re.M | re.S):
        title = match["title"] or title
        if match["language"]:
            found.append((title, match["language"], match["program"], match["output"]))
    blocks = len(re.findall(r"^```(?!output)\w+$", text, re.M))
    assert blocks == len(found) >= 7, f"{blocks} programs, {len(found)} of them with what they print"
    return found


def start(port, number, language, program):
    folder = os.path.join(PLACE, str(number))
    os.mkdir(folder)
    file, commands = LANGUAGES[language]
    with open(os.path.join(folder, file), "w") as stored:
        stored.write(program.replace("5025", str(port)))
    if not all(command[0].startswith("./") or shutil.which(command[0]) for command in commands):
        return None
    for command in commands[:-1]:
        subprocess.run(command, cwd=folder, check=True)
    return subprocess.Popen(commands[-1], cwd=folder, env=ENVIRONMENT, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def serve():
    ports = os.path.join(PLACE, "ports")
    server = subprocess.Popen([f"{BUILD}/tools/scpi-zlt", "serve", "SIM0::INSTR::ZLT", "--raw", "0", "--port-file", ports],
                              stdout=subprocess.PIPE, text=True)
    server.stdout.readline()  # the doors are open now
    deadline = time.monotonic() + 20
    while not os.path.exists(ports):
        assert server.poll() is None and time.monotonic() < deadline
        time.sleep(0.01)
    with open(ports) as file:
        return server, json.load(file)["raw"]


def main():
    server, port = serve()
    wrong = 0
    try:
        started = [(title, language, output, start(port, number, language, program))
                   for number, (title, language, program, output) in enumerate(programs())]
        for title, language, wanted, child in started:
            if child is None:
                print(f"{title}, {language}: skipped, not installed")
                continue
            printed, said = child.communicate(timeout=60)
            if child.returncode != 0 and MISSING.search(said):
                print(f"{title}, {language}: skipped, {MISSING.search(said)[0]}")
            elif child.returncode == 0 and (printed == wanted or language == "pytest" and wanted.strip() in printed):
                print(f"{title}, {language}: ok")
            else:
                print(f"{title}, {language}: exit status {child.returncode}, printed\n{printed}and not\n{wanted}{said}")
                wrong += 1
    finally:
        server.terminate()
        server.wait(timeout=30)
    return wrong != 0


with tempfile.TemporaryDirectory() as PLACE:
    sys.exit(main())
