// ONC RPC (RFC 5531) for a server with its own event loop: cuts records out of a stream, reads the heads of calls and
// writes replies. Bodies are coded by libtirpc's XDR routines (RFC 4506) and those that rpcgen makes from vxi11.x.
// Buffers grow with what has come, never by a length that was announced.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <rpc/rpc.h>
#include <string>
#include <string_view>

namespace server::rpc {

/// Cuts a stream into records (RFC 5531 clause 11).
class RecordReader {
 public:
  enum class Result { kNeedsMore, kRecord, kTooLarge };

  /// `limit` bytes is the longest record. After a longer one the stream cannot be followed any more.
  explicit RecordReader(std::size_t limit) : m_limit(limit) {}

  /// Takes bytes off the front of `bytes`, until a record is whole or they are used up.
  Result Next(std::string_view& bytes, std::string& record);

 private:
  const std::size_t m_limit;
  std::string m_record;
  std::uint32_t m_mark = 0;
  std::size_t m_mark_bytes = 0;  ///< bytes of the mark that have come
  std::size_t m_left = 0;        ///< bytes of the fragment still to come
};

/// A record of one fragment.
std::string ToRecord(std::string_view message);

struct Call {
  std::uint32_t xid = 0;
  std::uint32_t rpc_version = 0;  ///< the other members are valid only if this is 2
  std::uint32_t program = 0;
  std::uint32_t version = 0;
  std::uint32_t procedure = 0;
  std::string_view arguments;  ///< points into the message that was read
};

/// Empty if the message is not a call. Any credentials are accepted.
std::optional<Call> ReadCall(std::string_view message);

/// The reply of a server that has only these versions of this program; empty if the call is for it.
std::string Refusal(const Call& call, std::uint32_t program, std::uint32_t low, std::uint32_t high);

/// A reply without results: PROC_UNAVAIL, GARBAGE_ARGS, SYSTEM_ERR; or SUCCESS of a procedure that returns nothing.
std::string Reply(std::uint32_t xid, accept_stat status);

/// The XDR routine for a T.
template <typename T>
using Xdr = bool_t (*)(XDR*, T*);

inline XDR Reading(std::string_view text) {
  XDR xdrs{};
  xdrmem_create(&xdrs, const_cast<char*>(text.data()), static_cast<u_int>(text.size()), XDR_DECODE);
  return xdrs;
}

/// False if the bytes end too early or exceed a bound. Free releases what it allocates, whatever the result.
template <typename T>
bool Decode(std::string_view text, Xdr<T> xdr, T& value) {
  XDR xdrs = Reading(text);
  return xdr(&xdrs, &value) != FALSE;
}

template <typename T>
void Free(Xdr<T> xdr, T& value) {
  XDR xdrs{};
  xdrs.x_op = XDR_FREE;
  xdr(&xdrs, &value);
}

/// A successful reply. `room` is the space in bytes for strings, lists and data in the results.
template <typename T>
std::string Reply(std::uint32_t xid, Xdr<T> xdr, T& results, std::size_t room = 0) {
  constexpr std::size_t kNumbers = 64;
  std::string text = Reply(xid, SUCCESS);
  const std::size_t head = text.size();
  text.resize(head + kNumbers + room);
  XDR xdrs{};
  xdrmem_create(&xdrs, text.data() + head, static_cast<u_int>(text.size() - head), XDR_ENCODE);
  if (xdr(&xdrs, &results) == FALSE) return Reply(xid, SYSTEM_ERR);
  text.resize(head + XDR_GETPOS(&xdrs));
  return text;
}

}  // namespace server::rpc
