// One shape for everything that is sent to the instrument: build one packet, exchange it, read back what the instrument
// took, free. A sender is a list of fields and what to read back, nothing else:
//
//   Exchange exchange(P_PHASE, {4, 2}, {*phase});
//   exchange.Run(m_link);
//   if (exchange.DemandValues(1)) *phase = exchange.Value(0);  // a refusal carries values too
//   return exchange.Status();                                  // the instrument's status, or the link's
//
// A reply with fewer values than its sender reads is no link failure: nothing is read, and if the instrument claims
// success, the status becomes SK_SMALL_SIZE. A sender that reads no value makes no such demand, so it takes a short
// reply as well.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>

#include "protocol/comset.h"
#include "protocol/visa.h"
#include "src/Device/Link.h"
#include "src/LinkExchange.h"
#include "src/PacketTypes.h"

/// Bytes of one value on the wire, and how many of them are fraction: {6, 2} is the format 6.2.
struct ValueFormat {
  unsigned char size;
  unsigned char fraction;
};

class Exchange {
 public:
  Exchange(EParameter parameter, ValueFormat format, std::span<const double> values, ECommand command = SK_SET)
      : m_packet(parameter, static_cast<unsigned int>(values.size()), format.size, format.fraction, command) {
    unsigned int index = 0;
    for (const double value : values) m_packet.SetValue(index++, value);
  }
  Exchange(EParameter parameter, ValueFormat format, std::initializer_list<double> values, ECommand command = SK_SET)
      : Exchange(parameter, format, std::span<const double>(values.begin(), values.size()), command) {}
  /// A question: SK_GET with `count` values of zero.
  static Exchange Query(EParameter parameter, ValueFormat format, unsigned int count) {
    return Exchange(parameter, format, count, SK_GET);
  }

  /// True when there is a reply to read.
  bool Run(Link& link) {
    m_link_result = link.ProcessParameter(m_packet, false);
    m_reply_is_short = false;
    return Replied();
  }
  bool Replied() const { return m_link_result == VI_SUCCESS; }
  /// The VISA status of the exchange.
  long LinkResult() const { return m_link_result; }

  /// True if the reply holds at least `count` values. If not, a success becomes SK_SMALL_SIZE in Status, so demand only
  /// the values that the sender needs.
  bool DemandValues(unsigned int count) {
    if (!Replied()) return false;
    const bool carries = m_packet.CarriesValues(count);
    if (!carries) m_reply_is_short = true;
    return carries;
  }
  /// Value `index` of a reply that carries it.
  double Value(unsigned int index) const { return m_packet.CarriedValue(index); }
  /// The reply's status, sign-extended; SK_SMALL_SIZE for a success without the values demanded. Without a reply, the
  /// status of the link, which is 0 if a read ended in a completion code of the provider.
  int Status() const {
    if (!Replied()) return ConvertErrorVisaToSorvs(m_link_result);
    const int status = m_packet.Status();
    return status == SK_NO_ERROR && m_reply_is_short ? SK_SMALL_SIZE : status;
  }

  Sent Result() const { return {Status(), Replied()}; }

  /// The packet's own status field, also after a failed exchange.
  int PacketStatus() const { return m_packet.Status(); }

  /// For lists and pulses, which put another number where the head has the count of values.
  void SetHeadCount(unsigned char count) {
    CHead* head = m_packet.Head();
    head->Flags = static_cast<std::uint16_t>((head->Flags & 0xFF00) | count);
  }

 private:
  Exchange(EParameter parameter, ValueFormat format, unsigned int count, ECommand command)
      : m_packet(parameter, count, format.size, format.fraction, command) {}

  CDevParameter m_packet;
  long m_link_result = 0;
  bool m_reply_is_short = false;
};
