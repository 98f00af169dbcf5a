// libFuzzer harness of the HiSLIP wire form: any bytes, once whole and once in pieces. Both must give the same
// messages, and no more may be kept than the limits say.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "server/HislipMessage.h"

namespace {

std::string Read(std::string_view bytes, std::size_t piece) {
  using namespace server::hislip;
  Reader reader(64);
  std::string seen;
  while (!bytes.empty()) {
    std::string_view part = bytes.substr(0, piece);
    bytes.remove_prefix(part.size());
    Message message;
    while (!part.empty()) {
      const Reader::Result result = reader.Next(part, message);
      if (result == Reader::Result::kBadHeader) return seen + '!';
      if (result == Reader::Result::kNeedsMore) break;
      if (message.payload.size() > 256 || (message.too_large && !message.payload.empty())) std::abort();
      seen += Encode(message.type, message.control, message.parameter, message.payload);
    }
  }
  return seen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string whole = Read(bytes, size + 1);
  for (const std::size_t piece : {1u, 5u, 16u}) {
    if (Read(bytes, piece) != whole) std::abort();
  }
  return 0;
}
