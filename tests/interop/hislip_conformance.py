#!/usr/bin/env python3
"""Walks through HiSLIP 1.0 against a server in front of a signal generator.

Usage: hislip_conformance.py HOST PORT [--slow] [NAME...]. Prints "ok NAME" or "not ok NAME: ..." per check; a NAME picks the
checks that contain it. --slow adds those that need an instrument whose answers take 20 ms or more. The exit status is 0 only if all
are ok. Or: hislip_conformance.py --serve SCPI_ZLT [NAME...] starts the server of a slow simulated instrument for all of them."""
import contextlib
import sys
import time

from client_table import ClientTable
from hislip_client import *  # the message types are meant to be read by name
from server_process import Server

CHECKS = []
SLOW_CHECKS = []
IDENTITY = b"*IDN?\n"


def check(function):
    CHECKS.append(function)
    return function


def slow_check(function):
    SLOW_CHECKS.append(function)
    return function


def expect(what, expected, got):
    if expected != got:
        raise AssertionError(f"{what}: expected {expected!r}, got {got!r}")


def expect_fatal(code, *channels):
    """A FatalError and then the end, on each of the channels."""
    for channel in channels:
        message = channel.receive()
        expect("fatal error", (FATAL_ERROR, code), message[:2])
        try:
            expect("after a fatal error", "end", channel.receive())
        except Closed:
            pass


@contextlib.contextmanager
def sessions(address, count):
    with contextlib.ExitStack() as stack:
        yield [stack.enter_context(Session(address)) for _ in range(count)]


def expect_alive(session):
    expect("next answer", b"+1\n", session.query(b"*OPC?\n"))


# Opening and closing.


@check
def opening_answers_version_and_fresh_id(address):
    for version in (0x0100, 0x0101, 0x0200):
        with Session(address, version) as one, Session(address, version, b"ZL", b"") as other:
            for session in (one, other):
                expect("type 1", (INITIALIZE_RESPONSE, 0, 0x0100, b""),
                       (session.opened.type, session.opened.control, session.opened.parameter >> 16, session.opened.payload))
                expect("type 18", (ASYNC_INITIALIZE_RESPONSE, 0, b""),
                       (session.paired.type, session.paired.control, session.paired.payload))
                expect("type 18, high half", 0, session.paired.parameter >> 16)
                expect_alive(session)
            expect("ids differ", True, one.id != other.id)


@check
def opening_interleaved_and_probed(address):
    probe, one, other = (Channel(address) for _ in range(3))
    for channel in (probe, one, other):
        channel.send(INITIALIZE, 0, 0x01007878, b"hislip0")
    ids = [channel.receive().parameter & 0xFFFF for channel in (probe, one, other)]
    expect("ids differ", 3, len(set(ids)))
    probe.close()
    sides = [Channel(address) for _ in range(2)]
    for side, session_id in zip(sides, (ids[2], ids[1])):
        expect("type 18", ASYNC_INITIALIZE_RESPONSE, side.ask(ASYNC_INITIALIZE, 0, session_id).type)
    for channel in (other, one):
        expect("answer", (DATA_END, 0, FIRST_ID, b"+1\n"), channel.ask(DATA_END, 0, FIRST_ID, b"*OPC?\n"))
    for channel in (one, other, *sides):
        channel.close()


@check
def opening_out_of_order_is_fatal(address):
    for kind in [kind for kind in range(256) if kind not in (INITIALIZE, ASYNC_INITIALIZE, FATAL_ERROR, ERROR)][::9]:
        channel = Channel(address)
        channel.send(kind)
        expect_fatal(3, channel)
    with Session(address) as session:
        side = Channel(address)
        side.send(ASYNC_INITIALIZE, 0, session.id)
        expect_fatal(3, side)
        expect_alive(session)
        unknown = Channel(address)
        unknown.send(ASYNC_INITIALIZE, 0, session.id ^ 0x8000)
        expect_fatal(3, unknown)
        expect_alive(session)
    early = Channel(address)
    early.ask(INITIALIZE, 0, 0x01007878, b"hislip0")
    early.send(DATA_END, 0, FIRST_ID, b"*OPC?\n")
    expect_fatal(2, early)


@check
def closing_either_channel_ends_the_other(address):
    for ended, left in (("sync", "side"), ("side", "sync")):
        with Session(address) as session, Session(address) as other:
            expect("lock", 1, session.lock())
            getattr(session, ended).close()
            try:
                expect("the other channel", "end", getattr(session, left).receive())
            except Closed:
                pass
            expect("lock after the holder went", 1, other.lock(timeout=3000))


# Messages, their numbers and sizes.


@check
def answers_carry_the_id_of_the_query(address):
    with Session(address) as session:
        for text in (b"*OPC?\n", b"*OPC?"):
            session.write(text)
            expect("answer", [(DATA_END, 0, session.last_id, b"+1\n")], session.read_messages())
        session.send(DATA, b"*OP")
        session.send(DATA, b"")
        session.send(DATA_END, b"C?\n")
        expect("answer to parts", [(DATA_END, 0, session.last_id, b"+1\n")], session.read_messages())
        session.write(b":FREQ 1GHZ\n")
        expect("frequency", b"1000000000\n", session.query(b":FREQ?\n"))


@check
def ids_wrap_to_zero(address):
    with Session(address) as session:
        ids = []
        for _ in range(130):
            session.write(b"*OPC?\n")
            ids.append(session.read_messages()[-1].parameter)
        expect("ids", [(FIRST_ID + 2 * step) & 0xFFFFFFFF for step in range(130)], ids)


@check
def small_client_gets_parts(address):
    with Session(address) as session:
        answer, size = session.maximum_size(272)
        expect("type 16", (ASYNC_MAXIMUM_SIZE_RESPONSE, 0, 0, 8), (*answer[:3], len(answer.payload)))
        expect("a size to work with", True, size > 272)
        one = session.query(IDENTITY).rstrip(b"\0\n")
        session.write(b";".join([b"*IDN?"] * 60) + b"\n")
        messages = session.read_messages()
        expect("types", [DATA] * (len(messages) - 1) + [DATA_END], [message.type for message in messages])
        expect("sizes", True, max(len(message.payload) for message in messages) <= 256 and len(messages) > 1)
        expect("ids", True, {message.parameter for message in messages} <= {session.last_id, UNKNOWN_ID})
        expect("id of DataEND", session.last_id, messages[-1].parameter)
        text = b"".join(message.payload for message in messages)
        expect("units", [one] * 60, [unit.rstrip(b"\0\n") for unit in text.split(b";")])
        session.maximum_size(1 << 20)
        session.write(b";".join([b"*IDN?"] * 60) + b"\n")
        expect("one message after a larger size", 1, len(session.read_messages()))


@check
def too_large_is_an_error_and_goes_on(address):
    with Session(address) as session:
        _, size = session.maximum_size(1 << 20)
        if size < 1 << 24:
            session.send(DATA_END, b" " * (size + 1))
            expect("type 3", (ERROR, 4), session.sync.receive()[:2])
        expect_alive(session)


@check
def long_messages_pass(address):
    with Session(address) as session:
        _, size = session.maximum_size(1 << 20)
        text = b" " * (min(160000, size - 16) - 6) + b"*OPC?\n"
        expect("one message", b"+1\n", session.query(text))
        expect("a payload of the whole size", b"+1\n", session.query(b" " * (min(160000, size) // 2 - 1) + b"\n" +
                                                                     b"*OPC?\n".rjust(size - min(160000, size) // 2)))
        for start in range(0, len(text) - 7, 4000):
            session.send(DATA, text[start:min(start + 4000, len(text) - 7)])
        session.send(DATA_END, text[-7:])
        expect("in parts", [(DATA_END, 0, session.last_id, b"+1\n")], session.read_messages())


@check
def absurd_length_is_refused_without_waiting_for_it(address):
    with Session(address) as session, Session(address) as other:
        session.sync.socket.sendall(HEADER.pack(PROLOGUE, DATA_END, 0, FIRST_ID, 1 << 63))
        expect("answer", True, session.sync.receive()[:2] in ((ERROR, 4), (FATAL_ERROR, 1)))
        expect_alive(other)


@check
def trigger_has_an_id(address):
    with Session(address) as session:
        session.send(TRIGGER)
        session.write(b"*OPC?\n")
        expect("id", FIRST_ID + 2, session.read_messages()[-1].parameter)


# Errors.


def expect_error(channel, code, *message):
    expect(f"answer to {message[:3]}", (ERROR, code), channel.ask(*message)[:2])


@check
def unknown_types_are_errors_on_their_channel(address):
    with Session(address) as session:
        for channel in (session.sync, session.side):
            for kind in (*range(26, 42), 127):
                expect_error(channel, 1, kind, 0, 0, b"payload")
            for kind in (128, 200, 255):
                expect_error(channel, 3, kind, 0, 0, b"payload")
        expect_alive(session)


@check
def types_of_the_other_channel_or_side_are_errors(address):
    to_sync = {DATA, DATA_END, DEVICE_CLEAR_COMPLETE, TRIGGER}
    to_side = {ASYNC_LOCK, ASYNC_REMOTE_LOCAL, ASYNC_MAXIMUM_SIZE, ASYNC_DEVICE_CLEAR, ASYNC_STATUS_QUERY, ASYNC_LOCK_INFO}
    either = {INITIALIZE, ASYNC_INITIALIZE, FATAL_ERROR, ERROR}
    with Session(address) as session:
        for channel, right in ((session.sync, to_sync), (session.side, to_side)):
            for kind in sorted(set(range(26)) - right - either):
                expect(f"answer to type {kind}", ERROR, channel.ask(kind).type)
        expect_alive(session)
    for kind in (INITIALIZE, ASYNC_INITIALIZE):
        for name in ("sync", "side"):
            with Session(address) as session:
                getattr(session, name).send(kind)
                expect_fatal(3, session.sync, session.side)


@check
def unknown_control_codes_are_errors(address):
    with Session(address) as session:
        expect_error(session.side, 2, ASYNC_REMOTE_LOCAL, 7, NOTHING_SENT)
        expect_error(session.side, 2, ASYNC_REMOTE_LOCAL, 255, NOTHING_SENT)
        expect_error(session.side, 2, ASYNC_LOCK, 2, 0)
        expect_alive(session)


@check
def an_error_needs_no_answer(address):
    with Session(address) as session:
        for channel in (session.sync, session.side):
            channel.send(ERROR, 0, 0, b"only told")
        expect("status", ASYNC_STATUS_RESPONSE, session.status().type)
        expect_alive(session)


@check
def bad_prologue_is_fatal_on_both(address):
    for bad in ("sync", "side"):
        with Session(address) as session, Session(address) as other:
            expect("lock", 1, session.lock())
            getattr(session, bad).socket.sendall(b"XX" + encode(DATA_END)[2:])
            expect_fatal(1, session.sync, session.side)
            expect("lock after the fatal error", 1, other.lock(timeout=3000))
            expect_alive(other)


@check
def a_fatal_error_from_the_client_ends_it(address):
    with Session(address) as session, Session(address) as other:
        expect("lock", 1, session.lock())
        session.sync.send(FATAL_ERROR, 0)
        session.side.send(FATAL_ERROR, 0)
        expect("lock", 1, other.lock(timeout=3000))


# Locks. Each step: client, key, answer; a key of None is a release, "" an exclusive lock, else a shared one.

LOCK_ROWS = {
    "unlocked": [(0, None, 3), (0, "", 1), (0, None, 1), (0, "k", 1), (0, None, 2), (0, None, 3)],
    "exclusive": [(0, "", 1), (0, "", 3), (1, "", 0), (0, "k", 3), (1, "k", 0), (1, None, 3), (0, None, 1), (1, "", 1)],
    "shared": [(0, "k", 1), (1, "", 0), (0, "k", 3), (1, "k", 1), (2, "other", 0), (2, None, 3), (1, None, 2), (0, None, 2),
               (2, "", 1)],
    "shared_to_both": [(0, "k", 1), (0, "", 1), (0, "", 3), (1, "", 0), (0, "k", 3), (1, "k", 1), (1, "k", 3), (2, "other", 0),
                       (1, "", 0), (2, None, 3), (0, None, 1), (1, "", 1), (0, "", 0), (0, None, 2), (1, None, 1), (1, None, 2),
                       (2, "", 1)],
    "both_outlives_other_shared": [(0, "k", 1), (1, "k", 1), (0, "", 1), (1, None, 2), (1, "", 0), (1, "k", 1), (0, None, 1),
                                   (0, None, 2), (1, None, 2), (1, None, 3)],
}


def lock_row(name, steps):
    def walk(address):
        with sessions(address, 3) as clients:
            for number, (who, key, answer) in enumerate(steps):
                client = clients[who]
                got = client.release() if key is None else client.lock(key.encode())
                expect(f"step {number} (client {who}, key {key})", answer, got)

    walk.__name__ = f"lock_{name}"
    check(walk)


for row in LOCK_ROWS.items():
    lock_row(*row)


@check
def lock_info_counts_clients(address):
    with sessions(address, 3) as clients:
        expect("unlocked", (0, 0), clients[2].lock_info())
        expect("shared", [1, 1], [client.lock(b"k") for client in clients[:2]])
        expect("two shared", (0, 2), clients[2].lock_info())
        expect("exclusive too", 1, clients[0].lock())
        expect("both", (1, 2), clients[2].lock_info())


@check
def lock_waits_for_its_timeout_or_the_release(address):
    with sessions(address, 2) as (holder, waiter):
        expect("lock", 1, holder.lock())
        began = time.monotonic()
        expect("lock in vain", 0, waiter.lock(timeout=300))
        expect("waited", True, 0.29 <= time.monotonic() - began < 3)
        waiter.side.send(ASYNC_LOCK, 1, 0xFFFFFFFF)
        waiter.side.send(ASYNC_LOCK_INFO)
        expect("other traffic meanwhile", (ASYNC_LOCK_INFO_RESPONSE, 1, 1), waiter.side.receive()[:3])
        expect("release", 1, holder.release())
        expect("lock", (ASYNC_LOCK_RESPONSE, 1, 0, b""), waiter.side.receive())


@check
def lock_keeps_the_messages_of_others_unread(address):
    with sessions(address, 2) as (holder, other):
        expect("lock", 1, holder.lock())
        other.write(b"*OPC?\n")
        expect("nothing while locked", True, other.sync.silent_for(0.3))
        expect_alive(holder)
        expect("status", ASYNC_STATUS_RESPONSE, other.status().type)
        expect("remote", ASYNC_REMOTE_LOCAL_RESPONSE, other.side.ask(ASYNC_REMOTE_LOCAL, 1, NOTHING_SENT).type)
        expect("size", ASYNC_MAXIMUM_SIZE_RESPONSE, other.maximum_size(1 << 20)[0].type)
        expect("release", 1, holder.release())
        expect("answer after the release", b"+1\n", other.read())


@check
def lock_shared_lets_its_holders_in_only(address):
    with sessions(address, 3) as (one, two, outside):
        expect("shared", [1, 1], [client.lock(b"k") for client in (one, two)])
        outside.write(b"*OPC?\n")
        expect_alive(one)
        expect_alive(two)
        expect("nothing for a client without", True, outside.sync.silent_for(0.2))
        expect("exclusive too", 1, one.lock())
        two.write(b"*OPC?\n")
        expect("nothing for the other holder", True, two.sync.silent_for(0.2))
        expect_alive(one)
        expect("release", 1, one.release())
        expect("answer", b"+1\n", two.read())
        expect("releases", [2, 2], [client.release() for client in (one, two)])
        expect("answer", b"+1\n", outside.read())


@check
def lock_waits_vanish_with_their_session(address):
    with sessions(address, 3) as (holder, waiter, other):
        expect("lock", 1, holder.lock())
        waiter.side.send(ASYNC_LOCK, 1, 60000)
        expect("waits", True, waiter.side.silent_for(0.1))
        waiter.close()
        expect("release", 1, holder.release())
        expect("lock", 1, other.lock(timeout=3000))


@slow_check
def lock_is_held_until_the_last_message_is_complete(address):
    with sessions(address, 2) as (holder, other):
        expect("lock", 1, holder.lock())
        holder.write(b";".join([b"*STB?"] * 10) + b"\n")
        holder.side.send(ASYNC_LOCK, 0, holder.last_id)
        expect("lock", 1, other.lock(timeout=4000))
        holder.sync.socket.settimeout(0.05)
        expect("the answer is there", DATA_END, holder.read_messages()[-1].type)
        holder.sync.socket.settimeout(5)
        expect("release", (ASYNC_LOCK_RESPONSE, 1), holder.side.receive()[:2])


# Device clear.


@check
def clear_starts_afresh(address):
    with Session(address) as session:
        session.write(b";".join([b"*IDN?"] * 500) + b"\n")
        expect("acknowledges", [(ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, 0, 0, b""), (DEVICE_CLEAR_ACKNOWLEDGE, 0, 0, b"")],
               list(session.clear()))
        session.write(b"*OPC?\n")
        expect("answer", [(DATA_END, 0, FIRST_ID, b"+1\n")], session.read_messages())


@check
def clear_drops_half_a_message_and_what_waits(address):
    with Session(address) as session:
        session.write(b"*CLS\n")
        session.send(DATA, b":NONSENSE")
        session.side.send(ASYNC_DEVICE_CLEAR)
        expect("type 23", ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, session.side.receive().type)
        session.write(b":MORE:NONSENSE\n")
        expect("nothing yet", True, session.sync.silent_for(0.1))
        expect("wish for overlapped", (DEVICE_CLEAR_ACKNOWLEDGE, 0), session.sync.ask(DEVICE_CLEAR_COMPLETE, 1)[:2])
        session.restart()
        expect("error queue", b'+0,"No error"\n', session.query(b":SYST:ERR?\n"))


@check
def clear_ends_a_waiting_lock(address):
    with sessions(address, 2) as (holder, waiter):
        expect("lock", 1, holder.lock())
        waiter.side.send(ASYNC_LOCK, 1, 60000)
        waiter.side.send(ASYNC_DEVICE_CLEAR)
        expect("lock, then type 23", [(ASYNC_LOCK_RESPONSE, 0), (ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, 0)],
               [waiter.side.receive()[:2] for _ in range(2)])
        expect("lock info", (1, 1), holder.lock_info())


@check
def clear_ends_in_a_fatal_error_on_a_bad_prologue(address):
    with Session(address) as session:
        expect("type 23", ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, session.side.ask(ASYNC_DEVICE_CLEAR).type)
        session.sync.socket.sendall(bytes(16))
        expect_fatal(1, session.sync, session.side)


@check
def clear_keeps_the_error_queue(address):
    with Session(address) as session:
        session.write(b"*CLS\n")
        session.write(b":NONSENSE\n")
        expect_alive(session)
        session.clear()
        expect("error kept", True, session.query(b":SYST:ERR?\n").startswith(b"-113"))


# Status and MAV, interrupted, remote and local.


def mav(message):
    expect("type 22", (ASYNC_STATUS_RESPONSE, 0, b""), (message.type, message.parameter, message.payload))
    return message.control >> 4 & 1


@check
def message_available_follows_the_response(address):
    with Session(address) as session:
        expect("at the start", 0, mav(session.status()))
        session.write(b"*OPC?\n")
        session.read()
        session.delivered = False
        expect("sent, not yet delivered", 1, mav(session.status()))
        expect("a query that overtook data", 0, mav(session.status(session.last_id + 40)))
        session.delivered = True
        expect("delivered", 0, mav(session.status()))
        expect_alive(session)
        session.clear()
        expect("after device clear", 0, mav(session.status()))


@check
def undelivered_response_is_interrupted_inside_only(address):
    with Session(address) as session:
        expect_alive(session)
        session.send(DATA_END, b"*OPC?\n", control=0)
        expect("answer", [(DATA_END, 0, session.last_id, b"+1\n")], session.read_messages())
        session.send(DATA_END, b"*OPC?\n", control=1)
        expect("answer", [(DATA_END, 0, session.last_id, b"+1\n")], session.read_messages())
        expect("nothing unsolicited", True, session.side.silent_for(0.1))


def interrupt(session):
    """Sends a query that asks the instrument and, in the same segment, the next one; returns the messages up to its answer."""
    first, second = session.next_id, session.next_id + 2
    session.sync.socket.sendall(encode(DATA_END, session.take_delivered(), first, b"*STB?\n") +
                                encode(DATA_END, 0, second, b"*OPC?\n"))
    session.last_id, session.next_id = second, second + 2
    messages = [session.sync.receive()]
    while (messages[-1].type, messages[-1].parameter) != (DATA_END, second):
        messages.append(session.sync.receive())
    session.delivered = True
    return messages


@slow_check
def input_that_waits_interrupts_the_response(address):
    with Session(address) as session:
        expect_alive(session)
        messages = interrupt(session)
        expect("type 13", [(INTERRUPTED, 0, session.last_id, b"")], messages[:-1])
        expect("answer", b"+1\n", messages[-1].payload)
        expect("type 14", (ASYNC_INTERRUPTED, 0, session.last_id, b""), session.side.receive())
        expect_alive(session)


@slow_check
def clear_while_the_instrument_works(address):
    with sessions(address, 2) as (session, other):
        session.write(b";".join([b"*STB?"] * 10) + b"\n")
        expect("no answer yet", True, session.sync.silent_for(0.03))
        expect("status meanwhile", ASYNC_STATUS_RESPONSE, session.status().type)
        session.clear()
        session.write(b"*OPC?\n")
        expect("answer", [(DATA_END, 0, FIRST_ID, b"+1\n")], session.read_messages())
        expect_alive(other)


@check
def remote_local_is_answered(address):
    with Session(address) as session:
        for code in (*range(7), 1):
            expect(f"code {code}", (ASYNC_REMOTE_LOCAL_RESPONSE, 0, 0, b""),
                   session.side.ask(ASYNC_REMOTE_LOCAL, code, session.last_id))
            expect_alive(session)


# Clients in use.


@check
def profile_pyvisa_py(address):
    with Session(address, 0x0100, b"xx", b"hislip0") as session:
        answer, size = session.maximum_size(1048576)
        expect("type 16", (0, 0, 8), (*answer[1:3], len(answer.payload)))
        expect("room for a writer", True, size > 16)
        expect("status by the next id", 0, mav(session.status(session.next_id)))
        expect("release by id 0", 3, session.side.ask(ASYNC_LOCK, 0, 0).control)
        expect("remote by id 0", (ASYNC_REMOTE_LOCAL_RESPONSE, 0, 0, b""), session.side.ask(ASYNC_REMOTE_LOCAL, 1, 0))
        expect("identity", True, session.query(IDENTITY).endswith(b"\n"))
        session.delivered = False
        expect("MAV by the next id", 1, mav(session.status(session.next_id)))
        session.clear()
        session.send(DATA_END, b"*OPC?\n", control=1)
        expect("answer after clear", b"+1\n", session.read())
        session.write(b":FREQ 2GHZ\n")
        expect("nothing unsolicited", True, session.side.silent_for(0.1))


@check
def profile_pyhislip(address):
    with Session(address, 0x0101, b"ZL", b"") as session:
        session.maximum_size(272)
        session.write(b"*IDN?\n")
        until = time.monotonic() + 3
        while not mav(session.status()) and time.monotonic() < until:
            pass
        messages = session.read_messages()
        expect("parts", True, all(len(message.payload) <= 256 for message in messages))
        b"".join(message.payload for message in messages).decode("utf-8")


def walk(address, slow, names):
    failed = passed = 0
    for function in CHECKS + SLOW_CHECKS * slow:
        if names and not any(name in function.__name__ for name in names):
            continue
        try:
            function(address)
            passed += 1
            print("ok", function.__name__, flush=True)
        except (AssertionError, OSError, Closed, ValueError) as error:
            failed += 1
            print(f"not ok {function.__name__}: {error or type(error).__name__}", flush=True)
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


def serve_and_walk(program, names):
    server = Server(program, "--hislip", "0", resource="SIM7::latency=20::INSTR::ZLT")
    result = walk(("127.0.0.1", server.ports["hislip"]), True, names)
    server.end()
    if not names:
        table = ClientTable("HiSLIP")
        print(table.tried("`tests/interop/hislip_client.py`", "HiSLIP",
                          f"{len(CHECKS + SLOW_CHECKS)} checks from the standard's tables"))
        table.finish()
    return result


if __name__ == "__main__":
    if sys.argv[1] == "--serve":
        sys.exit(serve_and_walk(sys.argv[2], sys.argv[3:]))
    options = sys.argv[3:]
    sys.exit(walk((sys.argv[1], int(sys.argv[2])), "--slow" in options, [name for name in options if name != "--slow"]))
