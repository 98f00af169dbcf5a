// Lookups in tables whose rows are written like enumerators in source code. The numbers are counted afresh on every
// call.
#include <cstdint>
#include <cstring>
#include <string_view>

#include "scpi_zlt/helpers.h"
#include "scpi_zlt/lookups.h"

#include "support/Ascii.h"

namespace {

/// The running number of a walk over the rows.
class RowCounter {
 public:
  /// The number of the next row.
  int Next(const char* row) {
    // Only after the "=": a name may hold digits.
    const char* base = row != nullptr ? std::strchr(row, '=') : nullptr;
    if (base != nullptr) m_next = static_cast<std::uint32_t>(str2int(base + 1));
    return static_cast<int>(m_next++);
  }

 private:
  std::uint32_t m_next = 0;
};

/// A row without its number.
std::string_view RowName(const char* row) {
  const std::string_view text = row != nullptr ? row : "";
  return text.substr(0, text.find_first_of(" ="));
}

bool Matches(std::string_view name, std::string_view text) {
  return name == text || (name.size() >= 2 && name.substr(2) == text) || (name.size() >= 3 && name.substr(3) == text);
}

}  // namespace

int GetEnumIndexByID(const char** names, int count, int id) {
  RowCounter counter;
  int index = 0;
  while (index < count && counter.Next(names[index]) != id) ++index;
  return index;
}

const char* GetEnumName(const char** names, int count, int id) {
  return GetEnumValue(names, names, count, id);
}

const char* GetEnumValue(const char** names, const char** values, int count, int id) {
  const int index = GetEnumIndexByID(names, count, id);
  return index < count ? values[index] : nullptr;
}

const wchar_t* GetEnumValueW(const char** names, const wchar_t** values, int count, int id) {
  const int index = GetEnumIndexByID(names, count, id);
  return index < count ? values[index] : nullptr;
}

int GetEnumID(const char** names, int count, const char* text) {
  if (text == nullptr) return -1;
  if (IsDigit(*text)) return str2int(text);
  RowCounter counter;
  for (int i = 0; i < count; ++i) {
    const int id = counter.Next(names[i]);
    if (Matches(RowName(names[i]), text)) return id;
  }
  return -1;
}

int GetEnumID(const char** names, int index) {
  RowCounter counter;
  int id = -1;
  for (int i = 0; i <= index; ++i) id = counter.Next(names[i]);
  return id;
}
