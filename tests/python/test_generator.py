"""The package scpi_zlt on the simulated generator: answers, errors, time-outs, interrupts, threads."""
import random
import re
import signal
import sys
import threading
import time

import pytest

import scpi_zlt
from scpi_zlt.simulator import SimulatedGenerator


def test_answers(zlt_generator):
    cases = [
        ("*IDN?", r"Sorvik,ZG-20E,\d+$"),
        (":FREQ 1.5GHZ;:FREQ?", "1500000000$"),
        (":OUTP OFF;:FREQ 2GHZ;:FREQ?\n", "2000000000$"),
        (":FREQ?;:POW?", "2000000000;-100$"),
        (":LIST:DWEL:POIN?", "$"),
    ]
    for message, wanted in cases:
        answer = zlt_generator.query(message)
        assert re.match(wanted, answer), (message, answer)


def test_refusals_are_raised_with_their_text(zlt_generator):
    cases = [
        (":FREQ 99GHZ", [(-222, "Data out of range")]),
        (":FREQ 99GHZ\n:FOO 1", [(-222, "Data out of range"), (-113, "Undefined header")]),
        (":FREQ 1 PARSEC", None),
    ]
    for message, errors in cases:
        with pytest.raises(scpi_zlt.QueuedError) as raised:
            zlt_generator.write(message)
        assert errors is None or raised.value.errors == errors
        assert message.replace("\n", "\\n")[:5] in str(raised.value)
    assert zlt_generator.query(":POW:ATT?") == "0"  # the number that it leaves means nothing
    zlt_generator.check = False
    zlt_generator.write(":FREQ 99GHZ")
    assert zlt_generator.errors() == [(-222, "Data out of range")]
    assert zlt_generator.errors() == []


def test_what_cannot_be_sent(zlt_generator):
    cases = [
        (":LIST:FREQ #9123456789", "block"),
        ("X" * 200000, "at most"),
        (":FREQ?\u20ac", "latin-1"),
    ]
    for message, why in cases:
        with pytest.raises((scpi_zlt.GeneratorError, ValueError), match=why):
            zlt_generator.query(message)
    with pytest.raises(scpi_zlt.GeneratorError, match="is it a query"):
        zlt_generator.query(":FREQ 1GHZ")
    assert zlt_generator.query("*OPC?") == "+1"


def test_lists(zlt_generator):
    numpy = pytest.importorskip("numpy")
    points = numpy.linspace(1e9, 2e9, 7)
    zlt_generator.write_values(":LIST:FREQ", points)
    zlt_generator.write(":FREQ:MODE LIST")
    assert zlt_generator.holds("P_FREQUENCY_LIST2") == [round(point) for point in points]
    zlt_generator.write_values(":PULM:INT:TRA:OFFT", (3, 4))
    train = zlt_generator.query_values(":PULM:INT:TRA:REP?")
    assert isinstance(train, numpy.ndarray) and list(train) == [3, 4]


def test_lists_without_numpy(zlt_generator, monkeypatch):
    monkeypatch.setitem(sys.modules, "numpy", None)
    assert zlt_generator.query_values(":FREQ:CENT?") == [10005000000.0]


def test_in_step_after_a_time_out(zlt_generator):
    zlt_generator.timeout = 0.05
    zlt_generator.set(latency=1500)
    with pytest.raises(scpi_zlt.AnswerTimeout, match="in step"):
        zlt_generator.query(":FREQ 3GHZ;:FREQ?")
    with pytest.raises(scpi_zlt.AnswerTimeout, match="was not sent"):
        zlt_generator.query(":POW?")
    zlt_generator.timeout = 10
    assert zlt_generator.query(":POW?") == "-100"
    # Errors of a late message are not blamed on the next one alone.
    zlt_generator.timeout = 0.05
    with pytest.raises(scpi_zlt.AnswerTimeout):
        zlt_generator.write(":FREQ 1GHZ\n:FREQ 99GHZ")
    zlt_generator.timeout = 10
    with pytest.raises(scpi_zlt.QueuedError, match=r"(?s)99GHZ.* or '\*OPC"):
        zlt_generator.query("*OPC?")
    assert zlt_generator.query(":FREQ?") == "1000000000"


class Interrupt:
    """A Ctrl-C after so many seconds."""

    def __init__(self, seconds):
        self.seconds = seconds

    def __enter__(self):
        self.before = signal.signal(signal.SIGALRM, signal.default_int_handler)
        signal.setitimer(signal.ITIMER_REAL, self.seconds)

    def __exit__(self, *_):
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, self.before)


def test_in_step_after_interrupts_at_any_moment(zlt_generator):
    moments = random.Random(1)
    interrupted = 0
    for turn in range(400):
        frequency = 1000000000 + turn
        try:
            with Interrupt(moments.uniform(1e-6, 120e-6)):
                for _ in range(3):
                    zlt_generator.query(f":FREQ {frequency + 5000};:FREQ?")
        except KeyboardInterrupt:
            interrupted += 1
        assert zlt_generator.query(f":FREQ {frequency};:FREQ?") == str(frequency)
    assert interrupted > 50


def test_an_interrupt_ends_a_wait(zlt_generator):
    zlt_generator.set(silent=0)
    start = time.monotonic()
    with pytest.raises(KeyboardInterrupt), Interrupt(0.1):
        zlt_generator.write(":FREQ 3GHZ")
    assert time.monotonic() - start < 9  # what is awaited takes 20 s
    zlt_generator.set(heal=1)


@pytest.mark.parametrize("moment", [0.001, 0.003, 0.1])
def test_an_interrupt_while_opening_or_closing_leaves_nothing_open(zlt_simulate, moment):
    watcher = zlt_simulate()
    name = f"SIM{int(watcher.name[3:]) + 1}"
    with pytest.raises(KeyboardInterrupt), Interrupt(moment):
        SimulatedGenerator(latency=0.3).close()
    watcher.name = name
    try:
        assert watcher.ask("links") == "0"
    except ValueError:
        pass  # interrupted before there was such an instrument


def test_threads_share_a_session(zlt_generator):
    def work(number):
        for turn in range(50):
            frequency = 1000000000 + 1000 * number + turn
            if zlt_generator.query(f":FREQ {frequency};:FREQ?") != str(frequency):
                wrong.append(number)

    wrong = []
    threads = [threading.Thread(target=work, args=(number,)) for number in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


def test_closing_ends_a_call_in_another_thread(zlt_generator):
    zlt_generator.set(latency=1500)
    raised = []

    def wait():
        try:
            zlt_generator.write(":FREQ 3GHZ")
        except scpi_zlt.Closed as error:
            raised.append(str(error))

    threads = [threading.Thread(target=wait) for _ in range(3)]
    for thread in threads:
        thread.start()
    zlt_generator.close()
    for thread in threads:
        thread.join()
    assert len(raised) == 3 and "open it again" in raised[0]
    zlt_generator.close()


def test_a_signal_handler_is_told_that_a_message_is_under_way(zlt_generator):
    zlt_generator.set(latency=1000)
    said = []

    def handler(*_):
        try:
            zlt_generator.query(":POW?")
        except scpi_zlt.GeneratorError as error:
            said.append(str(error))

    def send():
        zlt_generator.wait(f"packets:{under_way}")
        signal.pthread_kill(threading.main_thread().ident, signal.SIGALRM)

    under_way = int(zlt_generator.ask("packets")) + 1
    before = signal.signal(signal.SIGALRM, handler)
    sender = threading.Thread(target=send)
    sender.start()
    assert zlt_generator.query(":FREQ 3GHZ;:FREQ?") == "3000000000"
    sender.join()
    signal.signal(signal.SIGALRM, before)
    assert len(said) == 1 and "signal handler" in said[0]


def test_a_generator_that_is_dropped_is_closed_with_a_warning():
    with pytest.warns(ResourceWarning, match="was not closed"):
        SimulatedGenerator()


@pytest.mark.parametrize("resource, limit, why", [
    ("SIM0::INSTR", 10, "has to end in ::ZLT"),
    ("SIM0::nonsense=1::INSTR::ZLT", 10, "no such instrument|does not understand"),
    ("SIM2000::silent=0::INSTR::ZLT", 0.2, "not ready within 0.2 s|does not answer"),
])
def test_names_that_do_not_open(resource, limit, why):
    with pytest.raises(scpi_zlt.OpenFailed, match=why) as raised:
        scpi_zlt.Generator(resource, open_timeout=limit)
    assert raised.value.status < 0


@pytest.mark.zlt(fw="oldest", pll=0)
def test_states_are_set_by_a_mark(zlt_generator):
    assert zlt_generator.query("*ESR?") == "8"
    zlt_generator.set(pll=True)
    assert zlt_generator.query("*ESR?") == "0"
    with pytest.raises(ValueError, match="refuses"):
        zlt_generator.set(nonsense=1)
    with pytest.raises(ValueError, match="no answer"):
        zlt_generator.ask("nonsense")


def test_a_lost_link_is_told(zlt_generator):
    zlt_generator.set(lost=0)
    for call in (lambda: zlt_generator.write(":OUTP ON"), zlt_generator.is_sweeping):
        with pytest.raises(scpi_zlt.LinkLost, match="close and open again"):
            call()


def test_a_run_that_waits_for_its_triggers(zlt_generator):
    for message in (":LIST:FREQ 1GHZ,2GHZ", ":FREQ:MODE LIST", ":TRIG:SOUR EXT", ":LIST:MODE MAN", ":INIT"):
        zlt_generator.write(message)
    zlt_generator.wait("held")
    zlt_generator.trigger(2)
    zlt_generator.wait("passes:1")
    assert zlt_generator.holds("P_FREQUENCY_LIST2") == [1e9, 2e9]
