#!/usr/bin/env python3
"""The HiSLIP client's octets, and its side of a session with a peer on loopback that plays recorded correct answers."""
import socket
import threading
import unittest

import hislip_conformance
from hislip_client import *


class Peer:
    """Takes two connections and answers each message with those of the script, then ends both. What it got is in `got`."""

    def __init__(self, sync_script, side_script):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.address = self.listener.getsockname()
        self.got = {"sync": [], "side": []}
        self.threads = [threading.Thread(target=self.play, args=("sync", sync_script, True))]
        self.side_script = side_script
        self.threads[0].start()

    def play(self, name, script, first=False):
        connection, _ = self.listener.accept()
        if first:
            self.threads.append(threading.Thread(target=self.play, args=("side", self.side_script)))
            self.threads[1].start()
        connection.settimeout(5)
        with connection, connection.makefile("rb") as stream:
            for answers in script:
                header = stream.read(16)
                self.got[name].append(header + stream.read(int.from_bytes(header[8:], "big")))
                connection.sendall(b"".join(answers))

    def finish(self):
        for thread in list(self.threads):
            thread.join(10)
        self.threads[-1].join(10)
        self.listener.close()


OPEN_SYNC = [bytes.fromhex("48530100 01000007 0000000000000000")]
OPEN_SIDE = [bytes.fromhex("48531200 00005a4c 0000000000000000")]


class Client(unittest.TestCase):
    def peer(self, sync_script, side_script=()):
        peer = Peer([OPEN_SYNC, *sync_script], [OPEN_SIDE, *side_script])
        self.addCleanup(peer.finish)
        return peer

    def test_octets(self):
        peer = self.peer([[encode(DATA, 0, UNKNOWN_ID, b"+"), encode(DATA_END, 0, FIRST_ID, b"1\n")], []],
                         [[encode(ASYNC_STATUS_RESPONSE, 0x10)]])
        with Session(peer.address) as session:
            self.assertEqual((7, 0x5A4C), (session.id, session.paired.parameter))
            self.assertEqual(b"+1\n", session.query(b"*OPC?\n"))
            self.assertEqual(0x10, session.status().control)
            session.write(b"A")
            peer.finish()
        self.assertEqual([bytes.fromhex("48530000 01007878 0000000000000007") + b"hislip0",
                          bytes.fromhex("48530700 ffffff00 0000000000000006") + b"*OPC?\n",
                          bytes.fromhex("48530700 ffffff02 0000000000000001") + b"A"], peer.got["sync"])
        self.assertEqual([bytes.fromhex("48531100 00000007 0000000000000000"),
                          bytes.fromhex("48531501 ffffff00 0000000000000000")], peer.got["side"])

    def test_device_clear_starts_the_ids_afresh(self):
        peer = self.peer([[encode(DATA_END, 0, FIRST_ID, b"left")], [encode(DEVICE_CLEAR_ACKNOWLEDGE)], []],
                         [[encode(ASYNC_INTERRUPTED), encode(ASYNC_DEVICE_CLEAR_ACKNOWLEDGE)]])
        with Session(peer.address) as session:
            session.write(b"*OPC?\n")
            self.assertEqual([ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, DEVICE_CLEAR_ACKNOWLEDGE],
                             [message.type for message in session.clear()])
            session.write(b"A")
            peer.finish()
        self.assertEqual(encode(DATA_END, 0, FIRST_ID, b"A"), peer.got["sync"][-1])

    def test_bad_messages_and_ends_are_told(self):
        for answer, error in ((b"XX" + bytes(14), ValueError), (encode(DATA)[:9], Closed), (b"", Closed),
                              (encode(DATA_END, 0, 0, b"four")[:-1], Closed)):
            peer = self.peer([[answer]])
            with Session(peer.address) as session, self.assertRaises(error):
                session.query(b"*OPC?\n")

    def test_ids_wrap(self):
        peer = self.peer([[]] * 2)
        with Session(peer.address) as session:
            session.next_id = 0xFFFFFFFE
            session.write(b"A")
            session.write(b"B")
            self.assertEqual((0, 2), (session.last_id, session.next_id))

    def test_the_walk_tells_a_wrong_answer(self):
        peer = self.peer([[encode(DATA_END, 0, FIRST_ID + 2, b"+1\n")]])
        with self.assertRaisesRegex(AssertionError, "answer: expected"):
            hislip_conformance.answers_carry_the_id_of_the_query(peer.address)


if __name__ == "__main__":
    unittest.main()
