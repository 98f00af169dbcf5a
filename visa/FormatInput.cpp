#include "visa/FormatInput.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "visa/FormatDirective.h"

namespace visa {
namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// One number in any form of IEEE 488.2 (sections 7.7.2 and 7.7.4).
struct Number {
  double real = 0;
  std::int64_t integer = 0;
};

class Scan {
 public:
  Scan(va_list list, ScanInput& input) : m_list(list), m_input(input) {}

  ViStatus Run(std::string_view rest) {
    ViStatus status = kSuccess;
    while (!rest.empty() && status == kSuccess) {
      const char c = rest.front();
      rest.remove_prefix(1);
      std::optional<char> literal = c;
      if (c == '%' && !rest.starts_with('%')) {
        const std::optional<Directive> directive = ReadDirective(rest, true);
        status = directive ? Convert(*directive) : kInvalidFormat;
        continue;
      }
      if (c == '%') rest.remove_prefix(1);
      if (c == '\\') literal = ReadEscape(rest);
      status = literal ? Match(*literal) : kInvalidFormat;
    }
    return status;
  }

 private:
  /// The limit on what is stored: a number of the format, or of an argument that also takes how much was stored.
  struct Limit {
    std::size_t count = kNoLimit;
    ViUInt32* stored = nullptr;
  };

  Limit TakeLimit(int value, bool suppressed) {
    if (value >= 0) return {static_cast<std::size_t>(value), nullptr};
    if (value != Directive::kFromArgument || suppressed) return {};
    auto* const place = va_arg(m_list, ViUInt32*);
    return {place != nullptr ? *place : 0, place};
  }
  static void Store(const Limit& limit, std::size_t count) {
    if (limit.stored != nullptr) *limit.stored = static_cast<ViUInt32>(count);
  }
  void* TakePlace(bool suppressed) { return suppressed ? nullptr : va_arg(m_list, void*); }

  bool Ready(bool past_end = false) { return m_input.Ready(past_end || !m_begun); }
  char Pop() {
    const char c = m_input.Front();
    m_input.Pop();
    m_begun = true;
    return c;
  }
  ViStatus Missing() const { return m_input.Status() < kSuccess ? m_input.Status() : kIoError; }

  void SkipBlanks(bool past_end) {
    while (Ready(past_end) && IsBlank(m_input.Front())) Pop();
  }
  ViStatus Match(char literal) {
    if (IsBlank(literal)) {
      // Blanks of the format are as many of the response as there are; there may be none.
      while (m_begun && Ready() && IsBlank(m_input.Front())) Pop();
      return kSuccess;
    }
    if (!Ready() || m_input.Front() != literal) return Missing();
    Pop();
    return kSuccess;
  }

  std::optional<Number> ReadNumber(std::size_t width) {
    SkipBlanks(true);
    std::string text;
    const auto take = [&](auto accepts) {
      if (text.size() >= width || !Ready() || !accepts(m_input.Front())) return false;
      text += Pop();
      return true;
    };
    const auto is = [](std::string_view set) {
      return [set](char c) { return set.find(c) != std::string_view::npos; };
    };
    if (take(is("#"))) return ReadNonDecimal(take, text);
    take(is("+-"));
    while (take(IsDigit)) {
    }
    if (take(is("."))) {
      while (take(IsDigit)) {
      }
    }
    if (text.find_first_of("0123456789") == std::string::npos) return std::nullopt;
    if (take(is("eE"))) {
      take(is("+-"));
      while (take(IsDigit)) {
      }
    }
    const char* const first = text.data() + (text.front() == '+' ? 1 : 0);
    const char* const last = text.data() + text.size();
    Number number;
    std::from_chars(first, last, number.real);
    const auto [end, error] = std::from_chars(first, last, number.integer);
    if (end != last || error != std::errc()) number.integer = Whole(number.real);
    return number;
  }
  template <typename Take>
  static std::optional<Number> ReadNonDecimal(const Take& take, std::string& text) {
    if (!take([](char c) { return std::string_view("HhQqBb").find(c) != std::string_view::npos; })) return std::nullopt;
    const char letter = text.back();
    const int base = letter == 'H' || letter == 'h' ? 16 : letter == 'Q' || letter == 'q' ? 8 : 2;
    const auto digit = [base](char c) {
      const std::string_view digits = "0123456789ABCDEFabcdef";
      const std::size_t at = digits.find(c);
      return at != std::string_view::npos && static_cast<int>(at < 16 ? at : at - 6) < base;
    };
    while (take(digit)) {
    }
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), value, base);
    if (error != std::errc()) return std::nullopt;
    return Number{static_cast<double>(value), static_cast<std::int64_t>(value)};
  }
  /// Rounded; what no integer holds becomes the nearest that does.
  static std::int64_t Whole(double value) {
    constexpr double kBound = 9223372036854774784.0;  // the largest double below 2 to the 63rd
    return std::llround(std::clamp(std::isnan(value) ? 0.0 : value, -kBound, kBound));
  }

  static std::size_t StoreNumber(const Directive& directive, const Number& number, char* place) {
    const auto put = [place](auto value) {
      std::memcpy(place, &value, sizeof value);
      return sizeof value;
    };
    if (std::string_view("efg").find(directive.type) != std::string_view::npos) {
      if (directive.size == "l" || directive.size == "ll") return put(number.real);
      if (directive.size == "L") return put(static_cast<long double>(number.real));
      constexpr double kBound = std::numeric_limits<float>::max();
      return put(static_cast<float>(std::clamp(number.real, -kBound, kBound)));
    }
    // The low bytes come first on this machine.
    const std::size_t width = directive.size == "h" ? 2 : directive.size == "ll" ? 8 : 4;
    std::memcpy(place, &number.integer, width);
    return width;
  }

  ViStatus Numbers(const Directive& directive) {
    Limit limit{1, nullptr};
    const std::size_t width = TakeLimit(directive.width, directive.suppressed).count;
    if (directive.is_array) limit = TakeLimit(directive.array_size, directive.suppressed);
    auto* place = static_cast<char*>(TakePlace(directive.suppressed));
    std::size_t count = 0;
    std::array<char, sizeof(long double)> unused{};
    while (count < limit.count) {
      const std::optional<Number> number = ReadNumber(width);
      if (!number) return Missing();
      const std::size_t bytes = StoreNumber(directive, *number, place != nullptr ? place : unused.data());
      if (place != nullptr) place += bytes;
      ++count;
      if (count == limit.count || !directive.is_array) break;
      while (Ready() && IsBlank(m_input.Front()) && m_input.Front() != '\n') Pop();
      if (!Ready() || m_input.Front() != ',') break;
      Pop();
    }
    Store(limit, count);
    return kSuccess;
  }

  /// Bytes up to where `goes_on` says no. What has no room is read and dropped. `zero`: ends with a zero byte.
  template <typename GoesOn>
  ViStatus Text(const Directive& directive, bool zero, GoesOn goes_on) {
    Limit limit = TakeLimit(directive.width, directive.suppressed);
    auto* const place = static_cast<char*>(TakePlace(directive.suppressed));
    // A limit from an argument is the size of the buffer, one of the format is the length of the text.
    const bool is_size = limit.stored != nullptr;
    const std::size_t room = limit.count - (is_size && zero && limit.count > 0 ? 1 : 0);
    std::size_t count = 0;
    bool found = false;
    while ((is_size || count < room) && Ready() && goes_on(m_input.Front())) {
      const char c = Pop();
      found = true;
      if (count >= room) continue;
      if (place != nullptr) place[count] = c;
      ++count;
    }
    if (place != nullptr && zero && limit.count > 0) place[count] = '\0';
    Store(limit, count);
    return found || m_input.Status() >= kSuccess ? kSuccess : m_input.Status();
  }

  ViStatus Characters(Directive directive) {
    if (directive.width == Directive::kNone) directive.width = directive.is_array ? directive.array_size : 1;
    return Text(directive, false, [](char) { return true; });
  }

  ViStatus Set(const Directive& directive) {
    std::string_view set = directive.set;
    const bool wanted = !set.starts_with('^');
    if (!wanted) set.remove_prefix(1);
    return Text(directive, true, [&](char c) {
      bool found = false;
      for (std::size_t i = 0; i < set.size() && !found; ++i) {
        if (i + 2 < set.size() && set[i + 1] == '-') {
          found = c >= set[i] && c <= set[i + 2];
          i += 2;
        } else {
          found = c == set[i];
        }
      }
      return found == wanted;
    });
  }

  /// A block of IEEE 488.2 (sections 7.7.6 and 8.7.9), or with y the bytes themselves. Elements of several bytes come
  /// most significant byte first.
  ViStatus Block(const Directive& directive) {
    const std::string& size = directive.size;
    const std::size_t width = size == "h" ? 2 : size == "l" || size == "z" ? 4 : size == "ll" || size == "Z" ? 8 : 1;
    const Limit limit = TakeLimit(directive.is_array ? directive.array_size : directive.width, directive.suppressed);
    auto* const place = static_cast<char*>(TakePlace(directive.suppressed));
    std::size_t length = kNoLimit;
    if (directive.type == 'b') {
      SkipBlanks(true);
      if (!ReadBlockHead(length)) return Missing();
    } else if (limit.count != kNoLimit) {
      length = limit.count * width;
    }
    const std::size_t room = limit.count == kNoLimit ? (limit.stored == nullptr ? kNoLimit : 0) : limit.count * width;
    std::size_t stored = 0;
    for (std::size_t at = 0; at < length; ++at) {
      if (!Ready()) {
        if (length == kNoLimit || directive.type == 'y') break;  // an indefinite block goes on to the end
        return Missing();
      }
      const char c = Pop();
      if (stored < room && place != nullptr) place[stored] = c;
      if (stored < room) ++stored;
    }
    // The line end after an indefinite block is no data.
    if (length == kNoLimit && directive.type == 'b' && place != nullptr && stored > 0 && place[stored - 1] == '\n') {
      --stored;
    }
    if (place != nullptr && width > 1 && std::endian::native == std::endian::little) {
      for (std::size_t at = 0; at + width <= stored; at += width) std::reverse(place + at, place + at + width);
    }
    Store(limit, stored / width);
    return kSuccess;
  }
  bool ReadBlockHead(std::size_t& length) {
    if (!Ready() || Pop() != '#' || !Ready() || !IsDigit(m_input.Front())) return false;
    const int digits = Pop() - '0';
    if (digits == 0) return true;
    length = 0;
    for (int i = 0; i < digits; ++i) {
      if (!Ready() || !IsDigit(m_input.Front())) return false;
      length = length * 10 + static_cast<std::size_t>(Pop() - '0');
    }
    return true;
  }

  ViStatus Convert(const Directive& directive) {
    switch (directive.type) {
      case 'd':
      case 'i':
      case 'o':
      case 'u':
      case 'x':
      case 'e':
      case 'f':
      case 'g':
        return Numbers(directive);
      case 'c':
        return Characters(directive);
      case 's':
        SkipBlanks(true);
        return Text(directive, true, [](char c) { return !IsBlank(c); });
      case 't':
        return Text(directive, true, [](char) { return true; });
      case 'T': {
        bool ended = false;
        return Text(directive, true, [&ended](char c) {
          const bool goes_on = !ended;
          ended = c == '\n';
          return goes_on;
        });
      }
      case '[':
        return Set(directive);
      case 'b':
      case 'y':
        return Block(directive);
      default:
        return kInvalidFormat;
    }
  }

  std::decay_t<va_list> m_list;
  ScanInput& m_input;
  bool m_begun = false;  ///< a byte has been taken: an end counts from now on
};

}  // namespace

ViStatus FormatInput(const char* format, va_list arguments, ScanInput& input) {
  if (format == nullptr) return kInvalidFormat;
  return Scan(arguments, input).Run(format);
}

}  // namespace visa
