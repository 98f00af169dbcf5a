"""A network namespace of its own for a test: port 111 of 127.0.0.1, where clients of VXI-11 look, is free there, and /run is empty,
so that nothing registers with the port mapper of the machine."""
import ctypes
import fcntl
import os
import shutil
import socket
import struct
import subprocess
import sys
import tempfile

LIBC = ctypes.CDLL(None, use_errno=True)
MS_BIND = 4096


def rename_root(name):
    """In here a user of this name is root, so a service that gives up its rights to that user runs on a machine without it. False
    where nothing can be mounted, or where only a real root can give up rights."""
    if os.environ["ZLT_NAMESPACE"] != "-nm":
        return False
    with open("/etc/passwd") as users, tempfile.NamedTemporaryFile("w") as changed:
        changed.write(f"{name}:x:0:0::/:/bin/sh\n")
        changed.writelines(line for line in users if not line.startswith(name + ":"))
        changed.flush()
        return LIBC.mount(changed.name.encode(), b"/etc/passwd", None, MS_BIND, None) == 0


def enter():
    """Starts the script again inside; inside, makes the loopback work and hides /run, where rpcbind has a socket. Where that is
    impossible, one line says so and the exit status is 77."""
    if os.environ.get("ZLT_NAMESPACE"):
        with socket.socket() as link:
            fcntl.ioctl(link, 0x8914, struct.pack("16sh", b"lo", 0x1 | 0x40))  # SIOCSIFFLAGS: up, running
        hidden = os.environ["ZLT_NAMESPACE"] != "-n"
        if hidden and LIBC.mount(b"none", b"/run", b"tmpfs", 0, None) != 0:
            sys.exit(77)
        return
    # In a changed root no mounts can be made private; without rpcbind there is nothing to hide.
    ways = ["-nm", "-rnm"] + ([] if os.path.exists("/run/rpcbind.sock") else ["-n"])
    for way in ways:
        unshare = ["unshare", way]
        if shutil.which("unshare") and subprocess.run([*unshare, "true"], stderr=subprocess.DEVNULL).returncode == 0:
            environment = {**os.environ, "ZLT_NAMESPACE": way}
            sys.exit(subprocess.run([*unshare, sys.executable, *sys.argv], env=environment).returncode)
    print("skipped: VXI-11 clients ask port 111, and no network namespace can be made here")
    sys.exit(77)
