// One request, one reply, on a bare session handle. There are two results: the function returns a VISA status, and if
// that is 0, the packet's Status says how the request went. There is no request id on the wire: a reply belongs to the
// request before it. So every exchange that fails clears the link; otherwise a late reply would answer the next
// request.
//
// No lock is taken: the caller holds the session's ExchangeGate. `connected` is only ever cleared here.
#pragma once

#include <cstdint>

#include "src/PacketTypes.h"

/// Tests a stop request each time it is asked, unlike a flag that is read once. Owns nothing: `context` outlives it.
struct StopTest {
  bool (*test)(const void* context) = nullptr;
  const void* context = nullptr;

  bool Up() const { return test != nullptr && test(context); }
};

/// Writes the whole packet. Status SE_CONNECTION_LOST or SE_WRITE_TIMEOUT when that fails.
long SendToDevice(unsigned long session, CBasePacket* packet, bool& connected);

/// Reads a reply into `packet`, in slices of 500 ms. `timeout` in milliseconds: 0 has no limit, 0xFFFFFFFF means 5000.
/// `cancel`: give up after the first slice that times out. `stopping`: read nothing, and return the error for a wrong
/// signature.
long RecvFromDevice(unsigned long session, CDevCommand* packet, bool cancel, unsigned int timeout, bool stopping,
                    bool& connected);
/// The same, cancelled when `stop` comes up. It is tested before the first read (then VI_ERROR_ABORT with Status
/// SE_OPERATION_CANCELED), after each slice that times out, and before a probe.
long RecvFromDevice(unsigned long session, CDevCommand* packet, const StopTest& stop, unsigned int timeout,
                    bool& connected);

/// Sends and receives. Sends again while replies don't start with the signature, and resets the instrument after a
/// reply that is a failure. `no_limit`: a packet without a time-out of its own waits for ever, not 10 s. Odd, and kept:
/// with `stopping` set, the request is sent again and again until a write fails, so such a call on a good link never
/// returns.
long ProcessDevCommand(unsigned long session, CDevCommand* packet, bool stopping, bool& connected, bool no_limit);
/// The same with a stop request, which is also tested before every send: once it is up, nothing more is sent
/// (VI_ERROR_ABORT, Status SE_OPERATION_CANCELED). Only an SK_RUN that fails or is cancelled still gets its SK_RESET,
/// with 1 s for the answer: the instrument would go on sweeping.
long ProcessDevCommand(unsigned long session, CDevCommand* packet, const StopTest& stop, bool& connected,
                       bool no_limit);

/// Clears the link. With `probe` and `connected` it also asks for P_MODE, which brings request and reply into step
/// again. Probes never nest. Returns the result of viClear.
long ClearDevice(unsigned long session, bool probe, bool connected);
/// The same; no probe once `stop` is up.
long ClearDevice(unsigned long session, bool probe, bool connected, const StopTest& stop);

/// Sends SK_RESET. Returns the result of that exchange.
long ResetDevice(unsigned long session, bool connected);
long ResetDevice(unsigned long session, bool connected, const StopTest& stop);
/// The SK_RESET after a poll that a stop ended: 1 s for the answer, no stop request of its own, no probe, no resend.
long ResetAfterRun(unsigned long session);

/// The packet's Status; after an SK_RUN that succeeded, the word at the end of its data.
std::int16_t GetCommandStatus(const CDevCommand* packet);

/// Status for a VISA status (sign-extended) that is not 0.
std::int16_t ConvertErrorVisaToSorvs(long status);
