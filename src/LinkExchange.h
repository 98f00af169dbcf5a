// One request, one reply, on a bare session handle. Two results at once: the function's is a VISA status, and 0 means
// that the packet's Status is the thing to read. There is no request id on the wire: a reply belongs to the request
// before it, so every exchange that fails clears the link, lest a late reply answer the next request.
//
// No lock is taken: whoever calls holds the session's ExchangeGate. `connected` is only ever cleared here.
#pragma once

#include <cstdint>

#include "src/PacketTypes.h"

/// A live look at a stop request, in place of a flag that is read once. A light view: who makes it keeps `context`.
struct StopTest {
  bool (*test)(const void* context) = nullptr;
  const void* context = nullptr;

  bool Up() const { return test != nullptr && test(context); }
};

/// Writes the whole packet. Status SE_CONNECTION_LOST or SE_WRITE_TIMEOUT when that fails.
long SendToDevice(unsigned long session, CBasePacket* packet, bool& connected);

/// Reads a reply into `packet`, in slices of 500 ms. `timeout` in milliseconds: 0 has no limit, 0xFFFFFFFF is 5000.
/// `cancel`: give up after the first slice that times out. `stopping`: read nothing, the result is the wrong-signature
/// error.
long RecvFromDevice(unsigned long session, CDevCommand* packet, bool cancel, unsigned int timeout, bool stopping,
                    bool& connected);
/// The same, cancelled when `stop` comes up: looked at before the first read (then VI_ERROR_ABORT with Status
/// SE_OPERATION_CANCELED), after each slice that times out, and before a probe.
long RecvFromDevice(unsigned long session, CDevCommand* packet, const StopTest& stop, unsigned int timeout,
                    bool& connected);

/// Sends, receives, sends again for as long as replies don't start with the signature, and resets the instrument after
/// a reply that is a failure. `no_limit`: a packet without a time-out of its own waits for ever, not 10 s. A `stopping`
/// that is set sends the request again and again until a write fails; callers rely on it.
long ProcessDevCommand(unsigned long session, CDevCommand* packet, bool stopping, bool& connected, bool no_limit);
/// The same under a live stop request, which is also looked at before every send: once it is up nothing more is sent
/// (VI_ERROR_ABORT, Status SE_OPERATION_CANCELED). Only an SK_RUN that fails or is cancelled still gets its SK_RESET,
/// with 1 s for the answer: the instrument would go on sweeping.
long ProcessDevCommand(unsigned long session, CDevCommand* packet, const StopTest& stop, bool& connected,
                       bool no_limit);

/// Clears the link; with `probe` and `connected` also asks for P_MODE, to bring request and reply into step again.
/// Probes never nest. Returns the result of viClear.
long ClearDevice(unsigned long session, bool probe, bool connected);
/// The same; no probe once `stop` is up.
long ClearDevice(unsigned long session, bool probe, bool connected, const StopTest& stop);

/// Sends SK_RESET. Returns the result of that exchange.
long ResetDevice(unsigned long session, bool connected);
long ResetDevice(unsigned long session, bool connected, const StopTest& stop);
/// The SK_RESET behind a poll that a stop ended: 1 s for the answer, no stop request of its own, no probe, no resend.
long ResetAfterRun(unsigned long session);

/// The packet's Status; after an SK_RUN that succeeded, the word at the end of its data.
std::int16_t GetCommandStatus(const CDevCommand* packet);

/// Status for a VISA status (sign-extended) that is not 0.
std::int16_t ConvertErrorVisaToSorvs(long status);
