"""Touchstone files against an independent tool: written by it and read by us, written by us and read by it.

Usage: /usr/bin/python3 scikit_rf.py PATH_OF_network_files
Exit status 77 means skipped: Debian's python3-scikit-rf is not installed.
"""
import subprocess
import sys
import tempfile
import warnings
from pathlib import Path

warnings.simplefilter("ignore")
try:
    import numpy as np
    import skrf
except ImportError as error:
    print(f"SKIPPED: {error}; to run this test: apt-get install python3-scikit-rf")
    sys.exit(77)

program = sys.argv[1]
checks = 0


def ours(*arguments):
    """The rows that our program prints, by their first word."""
    result = subprocess.run([program, *map(str, arguments)], capture_output=True, text=True)
    assert result.returncode == 0, f"{arguments}: exit status {result.returncode}, {result.stderr}"
    rows = {"data": [], "noise": []}
    for line in result.stdout.splitlines():
        head, *numbers = line.split()
        rows[head].append([float(number) for number in numbers])
    return {head: np.array(values) for head, values in rows.items()}


def rows_of(network):
    """Frequency and values in the order of a file: two-port files have S21 before S12."""
    s = network.s.transpose(0, 2, 1) if network.nports == 2 else network.s
    flat = s.reshape(len(network.f), -1)
    pairs = np.stack([flat.real, flat.imag], axis=-1).reshape(len(network.f), -1)
    return np.column_stack([network.f, pairs])


def expect_close(name, got, expected, relative):
    """Each frequency, and each pair as a complex number, to `relative`."""
    global checks
    assert got.shape == expected.shape, f"{name}: {got.shape} instead of {expected.shape}"
    assert np.all(np.abs(got[:, 0] - expected[:, 0]) <= relative * np.abs(expected[:, 0])), f"{name}: frequencies"
    a = got[:, 1::2] + 1j * got[:, 2::2]
    b = expected[:, 1::2] + 1j * expected[:, 2::2]
    worst = np.max(np.abs(a - b) / np.abs(b))
    assert worst <= relative, f"{name}: values differ by {worst:g}"
    checks += 1


NOISE = "! noise\n{0} 1.23456789012 0.543210987654 45.6789012345 0.345678901234\n{1} 2.5 0.25 -90 0.1\n"


def noise_of(file):
    """The noise block that the independent tool reads, as it is written in the file."""
    return skrf.io.touchstone.Touchstone(str(file)).noise


def expect_same_noise(name, out, out_factor, fixture, factor):
    """The block that we wrote, to the last of its 13 digits, against the one that we had read."""
    global checks
    ours, theirs = noise_of(out), noise_of(fixture)
    assert ours is not None and ours.shape == theirs.shape, f"{name}: noise {ours}"
    ours[:, 0] *= out_factor / factor
    assert np.allclose(ours, theirs, rtol=1e-12, atol=0), f"{name}: noise {ours} instead of {theirs}"
    checks += 1


def expect_noise(noise, file, factor):
    """Frequency, figure as a ratio, and the other three as they are written in the file."""
    global checks
    theirs = noise_of(file)
    shown = np.column_stack([noise[:, 0] / factor, 10 * np.log10(noise[:, 1]), noise[:, 2:]])
    assert shown.shape == theirs.shape and np.allclose(shown, theirs, rtol=1e-12, atol=0), f"noise: {shown}"
    checks += 1


def main(folder):
    random = np.random.default_rng(1)
    for ports in (1, 2, 3, 4):
        for form in ("ri", "ma", "db"):
            for unit, factor in (("hz", 1), ("khz", 1e3), ("mhz", 1e6), ("ghz", 1e9)):
                name = f"{ports} ports, {form}, {unit}"
                frequency = skrf.Frequency(1e9 / factor, 5e9 / factor, 33, unit)
                s = random.uniform(-1, 1, (33, ports, ports)) + 1j * random.uniform(-1, 1, (33, ports, ports))
                skrf.Network(frequency=frequency, s=s, z0=50).write_touchstone("fixture", dir=str(folder), form=form)
                fixture = folder / f"fixture.s{ports}p"
                if ports == 2:
                    with open(fixture, "a") as file:
                        file.write(NOISE.format(0.5e9 / factor, 6e9 / factor))
                theirs = skrf.Network(str(fixture))
                expected = rows_of(theirs)
                expect_close(name + ", modern", ours("read", "modern", fixture)["data"], expected, 1e-12)
                out = folder / f"out.s{ports}p"
                for ours_form in ("RI", "MA", "dB"):
                    ours("write", "modern", fixture, out, ours_form)
                    expect_close(f"{name}, modern to {ours_form}", rows_of(skrf.Network(str(out))), expected, 1e-12)
                    if ports == 2:
                        expect_same_noise(f"{name}, modern to {ours_form}", out, 1e6, fixture, factor)
                if ports > 2:
                    continue
                exact = ours("read", "exact", fixture)
                expect_close(name + ", exact", exact["data"], expected, 1e-12)
                if ports == 2:
                    expect_noise(exact["noise"], fixture, factor)
                for ours_form in ("RI", "MA", "dB"):
                    ours("write", "exact", fixture, out, ours_form)
                    expect_close(f"{name}, exact to {ours_form}", rows_of(skrf.Network(str(out))), expected, 1.5e-11)
                    if ports == 2:
                        expect_same_noise(f"{name}, exact to {ours_form}", out, 1, fixture, factor)
    print(f"{checks} comparisons passed")


with tempfile.TemporaryDirectory() as name:
    main(Path(name))
