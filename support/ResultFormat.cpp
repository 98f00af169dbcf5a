// From a value to the text of a reply.
#include "support/ResultFormat.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <langinfo.h>
#include <locale.h>

#include "scpi_zlt/lookups.h"

constinit thread_local char scpi_lib::CommandResultBuffer[kCommandResultSize];

namespace {

constexpr std::size_t kNumberSize = 128;

/// The value at a caller's pointer, which need not be aligned.
template <class Value>
Value Load(const void* data) {
  Value value;
  std::memcpy(&value, data, sizeof value);
  return value;
}

/// Switches this thread to a locale for as long as it lives; does nothing where the locale is not installed.
class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) : m_locale(newlocale(LC_ALL_MASK, name, nullptr)) {
    if (m_locale != nullptr) m_saved = uselocale(m_locale);
  }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;
  ~ScopedLocale() {
    if (m_locale == nullptr) return;
    uselocale(m_saved);
    freelocale(m_locale);
  }

 private:
  locale_t m_locale;
  locale_t m_saved = nullptr;
};

std::size_t PrintInt(int value, char* out) {
  return static_cast<std::size_t>(std::to_chars(out, out + kNumberSize, value).ptr - out);
}

/// "%.12g" of the current locale. Where that writes a plain point, to_chars gives the same text in a fraction of the
/// time.
std::size_t PrintDouble(double value, char* out) {
  if (std::strcmp(nl_langinfo(RADIXCHAR), ".") != 0) {
    return static_cast<std::size_t>(std::snprintf(out, kNumberSize, "%.12g", value));
  }
  return static_cast<std::size_t>(std::to_chars(out, out + kNumberSize, value, std::chars_format::general, 12).ptr -
                                  out);
}

}  // namespace

void ConvertOutputData(void* data, int type, char* out, bool terminate) {
  constexpr std::size_t kShortSize = 8;
  char text[kNumberSize] = {};
  const char* source = text;
  std::size_t length = 0;
  switch (type) {
    case kResultPointer:
      length = static_cast<std::size_t>(
          std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(data))));
      break;
    case kResultInt:
      length = PrintInt(Load<int>(data), text);
      break;
    case kResultDouble:
      length = PrintDouble(Load<double>(data), text);
      break;
    case kResultRegister: {
      const ScopedLocale english("english");
      length = static_cast<std::size_t>(std::snprintf(text, sizeof text, "%d", Load<int>(data)));
      break;
    }
    case kResultShortDouble:
      // Odd, and kept: always eight characters, a shorter text filled up with zero bytes.
      std::snprintf(text, sizeof text, "%g", Load<double>(data));
      length = kShortSize;
      break;
    default:
      source = static_cast<const char*>(data);
      length = std::strlen(source);
      break;
  }
  std::memcpy(out, source, length);
  if (terminate) out[length] = '\0';
}
