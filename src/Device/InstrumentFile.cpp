// Files of the instrument, and the identity text made from two of them. A file comes in chunks: the request holds the
// offset, the reply says how many bytes it delivers.
//
// A partial file is never delivered: unless the file ends regularly, the caller's text stays as it was.
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "src/Device.h"
#include "support/Integers.h"

namespace {

constexpr unsigned int kBytesWanted = 64000;
constexpr unsigned char kFourByteFormat = 0x40;  ///< values of four bytes without fraction
constexpr unsigned int kNameOffset = 10;         ///< in the body: after the id, the offset and the count
constexpr std::size_t kLongestName = 1000;
constexpr std::int64_t kLongestFile = 16 * 1024 * 1024;
constexpr int kRepliesWithoutProgress = 8;
/// A chunk with status 1 and fewer bytes than this is the last one. A longer one was cut by the instrument, and more
/// follows.
constexpr std::int64_t kLastChunkBelow = 900;

/// Fills a request's body, which is zero before.
void WriteRequest(CDevParameter& packet, std::string_view name, std::int64_t offset) {
  packet.SetParameterID(P_FILE);
  packet.SetValue(0, static_cast<double>(offset));
  packet.SetValue(1, kBytesWanted);
  std::memcpy(packet.Body() + kNameOffset, name.data(), name.size());
}

/// One file read: takes the replies in turn and says how to go on.
class FileRead {
 public:
  enum class Next { kMore, kDone, kLeave };

  explicit FileRead(std::string_view name) : m_name(name) {}

  std::int64_t Offset() const { return m_offset; }
  /// Moves the text out. False if some chunk was not whole: then there is no file.
  bool Take(std::string& content) {
    if (m_broken) return false;
    content = std::move(m_content);
    return true;
  }

  Next Accept(const CDevParameter& reply, bool exchange_failed) {
    const auto body = reply.BodyBytes();
    if (!IsEcho(reply)) return Next::kLeave;
    const int status = reply.Status();
    if (status == SK_UNKNOWN_PARAMETER || status == SKAPI_FILE_NOTFOUND || status == SKAPI_PATH_NOTFOUND ||
        status == SKAPI_FILE_SYSTEM_ERROR) {
      return Next::kLeave;
    }
    const std::int64_t delivered = reply.CarriesValues(2) ? TruncToInt64(reply.CarriedValue(1)) : 0;
    const bool first = m_chunks == 0;
    const bool is_end = status == SK_PARAMETER_INCORRECT;
    const std::string_view data = Data(body);
    const bool overclaims = delivered > static_cast<std::int64_t>(data.size());
    if (!first) {
      if (status < 0 ? !is_end || m_offset == 0 : overclaims) return Next::kLeave;
      if (is_end) return Next::kDone;
    }
    if (status < 0) return Next::kLeave;

    // The first reply is always followed up once, whatever it says.
    if (m_broken || (!first && exchange_failed)) return Next::kLeave;
    m_broken = overclaims || exchange_failed;
    ++m_chunks;
    if (delivered > 0 && !overclaims) m_content += data.substr(0, CutAtZero(data, delivered));
    if (!first && status == SK_PARAMETER_CORRECTED && delivered < kLastChunkBelow) return Next::kDone;

    m_idle_replies = delivered > 0 ? 0 : m_idle_replies + 1;
    m_offset += delivered;
    if (delivered < 0 || m_offset > kLongestFile || m_idle_replies == kRepliesWithoutProgress) return Next::kLeave;
    return Next::kMore;
  }

 private:
  /// True for a reply that carries the file's id, and its name with a terminating zero.
  bool IsEcho(const CDevParameter& reply) const {
    const auto body = reply.BodyBytes();
    if (reply.ParameterID() != P_FILE || reply.BodyLength() < kNameOffset + 1) return false;
    if (body.size() < kNameOffset + m_name.size() + 1) return false;
    const std::string_view echo(reinterpret_cast<const char*>(body.data()) + kNameOffset, m_name.size() + 1);
    return echo.substr(0, m_name.size()) == m_name && echo.back() == '\0';
  }
  std::string_view Data(std::span<const unsigned char> body) const {
    const std::string_view all(reinterpret_cast<const char*>(body.data()), body.size());
    return all.substr(kNameOffset + m_name.size() + 1);
  }
  static std::size_t CutAtZero(std::string_view data, std::int64_t delivered) {
    return std::min(data.substr(0, static_cast<std::size_t>(delivered)).find('\0'),
                    static_cast<std::size_t>(delivered));
  }

  std::string_view m_name;
  std::string m_content;
  std::int64_t m_offset = 0;
  int m_chunks = 0;
  int m_idle_replies = 0;
  bool m_broken = false;
};

}  // namespace

void CDevice::GetFile(std::string name, std::string* content) {
  if (name.empty() || name.size() > kLongestName) return;
  FileRead file(name);
  FileRead::Next next = FileRead::Next::kMore;
  while (next == FileRead::Next::kMore) {
    const CDevCommand shape(SK_GET, static_cast<unsigned short>(kNameOffset + name.size() + 1), 2, kFourByteFormat, 0,
                            0);
    CDevParameter packet(&shape);
    WriteRequest(packet, name, file.Offset());
    const bool failed = ProcessParameter(&packet) != 0;
    next = file.Accept(packet, failed);
  }
  if (next == FileRead::Next::kDone) file.Take(*content);
}

// Odd, and kept: the second file is read into the text of the first, so without a second file "*IDN?" has the model
// name twice. Otherwise its last field would be empty.
void CDevice::ReadIdn() {
  m_identity = "Sorvik,";
  std::string text;
  GetFile("\\fram\\type.txt", &text);
  m_identity += text;
  m_identity += ",";
  GetFile("\\fram\\serial.txt", &text);
  m_identity += text;
}

int CDevice::GetIdn(std::string& text) {
  try {
    text = m_identity;
  } catch (const std::exception&) {
    text = "Sorvik,,,0.0.1";
  }
  return 0;
}
