#include "server/Rpc.h"

#include <algorithm>
#include <array>
#include <utility>

namespace server::rpc {
namespace {

constexpr std::uint32_t kLastFragment = 0x80000000;
constexpr std::size_t kMarkSize = 4;

std::string Encode(rpc_msg& message) {
  std::array<char, 64> buffer{};
  XDR xdrs{};
  xdrmem_create(&xdrs, buffer.data(), buffer.size(), XDR_ENCODE);
  if (xdr_replymsg(&xdrs, &message) == FALSE) return {};
  return {buffer.data(), XDR_GETPOS(&xdrs)};
}

bool_t NoResults(XDR*, ...) {
  return TRUE;
}

}  // namespace

RecordReader::Result RecordReader::Next(std::string_view& bytes, std::string& record) {
  while (!bytes.empty()) {
    if (m_mark_bytes < kMarkSize) {
      m_mark = m_mark << 8 | static_cast<unsigned char>(bytes.front());
      bytes.remove_prefix(1);
      if (++m_mark_bytes < kMarkSize) continue;
      m_left = m_mark & ~kLastFragment;
      if (m_left > m_limit - m_record.size()) return Result::kTooLarge;
    }
    const std::string_view piece = bytes.substr(0, m_left);
    m_record += piece;
    bytes.remove_prefix(piece.size());
    m_left -= piece.size();
    if (m_left > 0) continue;
    m_mark_bytes = 0;
    if ((m_mark & kLastFragment) == 0) continue;
    record = std::exchange(m_record, {});
    return Result::kRecord;
  }
  return Result::kNeedsMore;
}

std::string ToRecord(std::string_view message) {
  const std::uint32_t mark = kLastFragment | static_cast<std::uint32_t>(message.size());
  std::string record;
  record.reserve(kMarkSize + message.size());
  for (int shift = 24; shift >= 0; shift -= 8) record += static_cast<char>(mark >> shift & 0xFF);
  record += message;
  return record;
}

std::optional<Call> ReadCall(std::string_view message) {
  XDR xdrs = Reading(message);
  Call call;
  std::uint32_t direction = 0;
  if (!xdr_uint32_t(&xdrs, &call.xid) || !xdr_uint32_t(&xdrs, &direction) || direction != CALL ||
      !xdr_uint32_t(&xdrs, &call.rpc_version)) {
    return std::nullopt;
  }
  if (call.rpc_version != RPC_MSG_VERSION) return call;
  xdrs = Reading(message);
  rpc_msg head{};
  std::array<char, MAX_AUTH_BYTES> credentials{};
  std::array<char, MAX_AUTH_BYTES> verifier{};
  head.rm_call.cb_cred.oa_base = credentials.data();
  head.rm_call.cb_verf.oa_base = verifier.data();
  if (xdr_callmsg(&xdrs, &head) == FALSE) return std::nullopt;
  call.program = static_cast<std::uint32_t>(head.rm_call.cb_prog);
  call.version = static_cast<std::uint32_t>(head.rm_call.cb_vers);
  call.procedure = static_cast<std::uint32_t>(head.rm_call.cb_proc);
  call.arguments = message.substr(std::min<std::size_t>(XDR_GETPOS(&xdrs), message.size()));
  return call;
}

std::string Refusal(const Call& call, std::uint32_t program, std::uint32_t low, std::uint32_t high) {
  rpc_msg reply{};
  reply.rm_xid = call.xid;
  reply.rm_direction = REPLY;
  if (call.rpc_version != RPC_MSG_VERSION) {
    reply.rm_reply.rp_stat = MSG_DENIED;
    reply.rm_reply.rp_rjct.rj_stat = RPC_MISMATCH;
    reply.rm_reply.rp_rjct.rj_vers.low = RPC_MSG_VERSION;
    reply.rm_reply.rp_rjct.rj_vers.high = RPC_MSG_VERSION;
    return Encode(reply);
  }
  if (call.program != program) return Reply(call.xid, PROG_UNAVAIL);
  if (call.version >= low && call.version <= high) return {};
  reply.rm_reply.rp_stat = MSG_ACCEPTED;
  reply.rm_reply.rp_acpt.ar_stat = PROG_MISMATCH;
  reply.rm_reply.rp_acpt.ar_vers.low = low;
  reply.rm_reply.rp_acpt.ar_vers.high = high;
  return Encode(reply);
}

std::string Reply(std::uint32_t xid, accept_stat status) {
  rpc_msg reply{};
  reply.rm_xid = xid;
  reply.rm_direction = REPLY;
  reply.rm_reply.rp_stat = MSG_ACCEPTED;
  reply.rm_reply.rp_acpt.ar_stat = status;
  reply.rm_reply.rp_acpt.ar_results.proc = NoResults;
  return Encode(reply);
}

}  // namespace server::rpc
