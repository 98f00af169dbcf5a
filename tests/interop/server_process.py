"""A server of its own on free loopback ports, for the tests in this directory."""
import atexit
import json
import os
import signal
import socket
import subprocess
import tempfile
import time


class Server:
    """Runs `scpi-zlt serve RESOURCE OPTIONS`; the doors are open when the constructor returns. `ports` is what the port file says."""

    def __init__(self, program, *options, resource="SIM0::INSTR::ZLT", environment=None):
        self.place = tempfile.TemporaryDirectory()
        ports = os.path.join(self.place.name, "ports")
        self.log_path = os.path.join(self.place.name, "log")
        with open(self.log_path, "w") as log:
            self.process = subprocess.Popen([program, "serve", resource, "--port-file", ports, *options], text=True,
                                            stdout=subprocess.PIPE, stderr=log, env={**os.environ, **(environment or {})})
        atexit.register(self.process.kill)
        self.first_line = self.process.stdout.readline()  # a door is open now
        deadline = time.monotonic() + 20
        while not os.path.exists(ports):
            assert self.process.poll() is None and time.monotonic() < deadline, self.log()
            time.sleep(0.01)
        with open(ports) as file:
            self.ports = json.load(file)

    def log(self):
        with open(self.log_path) as file:
            return file.read()

    def connect(self, door="raw", source="127.0.0.1"):
        return socket.create_connection(("127.0.0.1", self.ports[door]), timeout=20, source_address=(source, 0))

    def memory(self):
        with open(f"/proc/{self.process.pid}/statm") as file:
            return int(file.read().split()[1]) * 4096

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        assert self.process.wait(timeout=30) == 0, self.log()


def ask(link, message):
    """One answer that ends in a line end."""
    link.sendall(message.encode() + b"\n")
    answer = b""
    while not answer.endswith(b"\n"):
        piece = link.recv(65536)
        assert piece, f"closed after {message}: {answer}"
        answer += piece
    return answer.decode()


def closed(link):
    try:
        return link.recv(65536) == b""
    except ConnectionError:
        return True


def eventually(condition, what, seconds=20):
    until = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < until, what
        time.sleep(0.02)


def visa_error(action, *words):
    """The name of the error that pyvisa raises, or "none"."""
    import pyvisa
    try:
        action(*words)
    except pyvisa.errors.VisaIOError as failure:
        return failure.abbreviation
    return "none"
