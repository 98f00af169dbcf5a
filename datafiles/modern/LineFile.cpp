// Bodies of LineFile.h.
#include "datafiles/modern/LineFile.h"

#include <bit>
#include <cmath>
#include <limits>
#include <system_error>

#include "datafiles/NumberScan.h"
#include "datafiles/Scramble.h"

namespace scpi_zlt::detail {
namespace {

/// Text in memory, in bytes.
class StringSource : public datafiles::Source<char> {
 public:
  explicit StringSource(std::string text) : m_text(std::move(text)) {}

  std::size_t Read(char* to, std::size_t size) override {
    const std::size_t got = m_text.copy(to, size, m_position);
    m_position += got;
    return got;
  }

  bool Rewind() override {
    m_position = 0;
    return true;
  }

 private:
  std::string m_text;
  std::size_t m_position = 0;
};

std::string PlainText(datafiles::Source<char>& source) {
  std::string bytes;
  std::string piece(65536, '\0');
  for (std::size_t got = source.Read(piece.data(), piece.size()); got != 0;
       got = source.Read(piece.data(), piece.size())) {
    bytes.append(piece, 0, got);
  }
  std::wstring text = FromUtf8(bytes);
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = datafiles::Scramble(text[i], i);
  }
  return ToUtf8(text);
}

std::string Message(int error) {
  return std::generic_category().message(error);
}

}  // namespace

LineFile::LineFile(const std::filesystem::path& file, bool scrambled) : m_file(file) {
  if (!m_bytes.Open(file.c_str())) {
    FailWhole("cannot open: " + Message(m_bytes.Error()));
  }
  if (scrambled) {
    m_plain = std::make_unique<StringSource>(PlainText(m_bytes));
  }
  datafiles::Source<char>& source = m_plain ? *m_plain : static_cast<datafiles::Source<char>&>(m_bytes);
  m_reader = std::make_unique<datafiles::TextReader<char>>(source);
}

bool LineFile::Next() {
  if (!m_reader->NextLine()) {
    if (m_bytes.Error() != 0) {
      FailWhole("cannot read: " + Message(m_bytes.Error()));
    }
    return false;
  }
  m_reader->Hold();
  m_line = m_reader->Text();
  while (m_line.ends_with('\r')) {
    m_line.remove_suffix(1);
  }
  ++m_number;
  return true;
}

void LineFile::Fail(const std::string& reason) const {
  throw DataFileError(m_file, m_number, reason);
}

void LineFile::FailWhole(const std::string& reason) const {
  throw DataFileError(m_file, 0, reason);
}

std::optional<double> StrictNumber(std::string_view token, bool words) {
  const char* p = token.data();
  const char* const end = p + token.size();
  double value = 0.0;
  if (datafiles::ScanNumber<datafiles::CommaRule::kPoint>(p, end, value)) {
    return p == end ? std::optional(value) : std::nullopt;
  }
  if (!words || token.empty()) {
    return std::nullopt;
  }
  const double sign = token.front() == '-' ? -1.0 : 1.0;
  const std::string word = Lower(token.substr(token.front() == '-' || token.front() == '+' ? 1 : 0));
  if (word == "nan") {
    return std::copysign(std::numeric_limits<double>::quiet_NaN(), sign);
  }
  if (word == "inf" || word == "infinity") {
    return sign * std::numeric_limits<double>::infinity();
  }
  return std::nullopt;
}

std::string_view TakeWord(std::string_view& text) {
  while (!text.empty() && IsSpace(text.front())) {
    text.remove_prefix(1);
  }
  std::size_t size = 0;
  while (size < text.size() && !IsSpace(text[size])) {
    ++size;
  }
  const std::string_view word = text.substr(0, size);
  text.remove_prefix(size);
  return word;
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    c = ::Lower(c);
  }
  return lower;
}

std::string Quoted(std::string_view word) {
  constexpr std::size_t kShown = 24;
  std::string text = "\"";
  for (const char c : word.substr(0, kShown)) {
    text += c >= ' ' && c <= '~' ? c : '?';
  }
  return text + (word.size() > kShown ? "...\"" : "\"");
}

std::size_t PromisedPorts(const std::filesystem::path& file) {
  const std::string extension = Lower(file.extension().string());
  constexpr std::size_t kLongest = 5;  // ".s99p"
  if (extension.size() < 4 || extension.size() > kLongest || extension[1] != 's' || extension.back() != 'p') {
    return 0;
  }
  std::size_t ports = 0;
  for (const char c : extension.substr(2, extension.size() - 3)) {
    if (!IsDigit(c)) {
      return 0;
    }
    ports = ports * 10 + static_cast<std::size_t>(c - '0');
  }
  return ports;
}

std::wstring FromUtf8(std::string_view bytes) {
  std::wstring text;
  for (std::size_t i = 0; i < bytes.size();) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    const unsigned first = byte(i);
    const std::size_t length = first < 0xC2 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 1;
    std::uint32_t code = length == 1 ? first : first & (0x7Fu >> length);
    bool good = i + length <= bytes.size();
    for (std::size_t k = 1; good && k < length; ++k) {
      good = (byte(i + k) & 0xC0u) == 0x80;
      code = code << 6 | (byte(i + k) & 0x3Fu);
    }
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    good = good && code >= kLeast[length] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    text += static_cast<wchar_t>(good ? code : first);
    i += good ? length : 1;
  }
  return text;
}

std::string ToUtf8(std::wstring_view text) {
  std::string bytes;
  const auto add = [&](std::uint32_t value) { bytes.push_back(static_cast<char>(value & 0xFF)); };
  for (const wchar_t c : text) {
    const auto code = std::bit_cast<std::uint32_t>(c);
    if (code < 0x80) {
      add(code);
    } else if (code < 0x800) {
      add(0xC0 | code >> 6);
      add(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      add(0xE0 | code >> 12);
      add(0x80 | (code >> 6 & 0x3F));
      add(0x80 | (code & 0x3F));
    } else {
      add(0xF0 | (code >> 18 & 0x07));
      add(0x80 | (code >> 12 & 0x3F));
      add(0x80 | (code >> 6 & 0x3F));
      add(0x80 | (code & 0x3F));
    }
  }
  return bytes;
}

void WriteFile(const std::filesystem::path& file, std::string_view bytes) {
  const datafiles::TextCodec codec(std::locale::classic());
  datafiles::FileSink sink(codec);
  if (!sink.Open(file.c_str())) {
    throw DataFileError(file, 0, "cannot open for writing: " + Message(sink.Error()));
  }
  sink.Ascii(bytes);
  if (!sink.Close()) {
    throw DataFileError(file, 0, "cannot write: " + Message(sink.Error()));
  }
}

}  // namespace scpi_zlt::detail
