#include "visa/FormatOutput.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "visa/FormatDirective.h"

namespace visa {
namespace {

/// Functions pass a va_list on as a pointer, so what one takes is gone for its caller too: viQueryf counts on that.
struct Arguments {
  std::decay_t<va_list> list;
};

int TakeInt(Arguments& arguments) {
  return va_arg(arguments.list, int);
}

/// Width, precision and array size from the arguments where the format says so, in this order.
bool Complete(Directive& directive, Arguments& arguments) {
  const auto take = [&](int& place) {
    if (place == Directive::kFromArgument) place = TakeInt(arguments);
  };
  take(directive.width);
  if (directive.width < 0 && directive.width != Directive::kNone) {
    directive.flags += '-';
    directive.width = -directive.width;
  }
  take(directive.precision);
  if (directive.precision < 0) directive.precision = Directive::kNone;
  take(directive.array_size);
  return !directive.is_array || directive.array_size >= 0;
}

/// The conversion for the C library; `size` and `type` are those of the argument passed.
std::string Pattern(const Directive& directive, std::string_view size, char type) {
  std::string pattern = "%" + directive.flags;
  if (directive.width >= 0) pattern += std::to_string(directive.width);
  if (directive.precision >= 0) pattern += "." + std::to_string(directive.precision);
  return pattern.append(size) + type;
}

template <typename Value>
std::string Printed(const std::string& pattern, Value value) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::string text(static_cast<std::size_t>(std::max(0, std::snprintf(nullptr, 0, pattern.c_str(), value))), '\0');
  std::snprintf(text.data(), text.size() + 1, pattern.c_str(), value);
#pragma GCC diagnostic pop
  return text;
}

std::string Padded(Directive directive, const std::string& text) {
  directive.precision = Directive::kNone;
  return Printed(Pattern(directive, "", 's'), text.c_str());
}

/// #H, #Q or #B in front of the digits (IEEE 488.2 section 7.7.4).
std::string NonDecimal(const Directive& directive, std::uint64_t value) {
  const unsigned bits = directive.number_form == 'H' ? 4 : directive.number_form == 'Q' ? 3 : 1;
  std::string digits;
  do {
    digits += "0123456789ABCDEF"[value & ((1U << bits) - 1)];
    value >>= bits;
  } while (value != 0);
  std::reverse(digits.begin(), digits.end());
  return Padded(directive, std::string("#") + directive.number_form + digits);
}

std::string Integer(const Directive& directive, std::int64_t value) {
  switch (directive.number_form) {
    case 'H':
    case 'Q':
    case 'B':
      return NonDecimal(directive, static_cast<std::uint64_t>(value));
    case '2':
      return Printed(Pattern(directive, "", 'f'), static_cast<double>(value));
    case '3':
      return Printed(Pattern(directive, "", 'E'), static_cast<double>(value));
    default:
      if (directive.type == 'd' || directive.type == 'i') {
        return Printed(Pattern(directive, "ll", 'd'), static_cast<long long>(value));
      }
      return Printed(Pattern(directive, "ll", directive.type), static_cast<unsigned long long>(value));
  }
}

std::string Real(Directive directive, double value) {
  switch (directive.number_form) {
    case '1':
      // NR1 has no fraction and no exponent.
      directive.precision = 0;
      return Printed(Pattern(directive, "", 'f'), value);
    case '2':
      return Printed(Pattern(directive, "", 'f'), value);
    case '3':
      return Printed(Pattern(directive, "", 'E'), value);
    case 'H':
    case 'Q':
    case 'B':
      return NonDecimal(directive, static_cast<std::uint64_t>(std::llround(value)));
    default:
      return Printed(Pattern(directive, "", directive.type), value);
  }
}

bool IsSigned(char type) {
  return type == 'd' || type == 'i';
}

/// One element of an array, or an argument passed in full.
std::int64_t WidenInteger(const Directive& directive, const void* place, std::size_t width) {
  std::uint64_t raw = 0;
  std::memcpy(&raw, place, width);
  if (!IsSigned(directive.type) || width == sizeof raw) return static_cast<std::int64_t>(raw);
  const std::uint64_t sign = std::uint64_t{1} << (8 * width - 1);
  return static_cast<std::int64_t>((raw ^ sign) - sign);
}

/// ViInt32 is an int, also with l: long has 64 bits here, and the standard's types do not. ll and q are 64 bits.
std::size_t IntegerWidth(const Directive& directive) {
  if (directive.size == "h") return 2;
  return directive.size == "ll" ? 8 : 4;
}

std::string Integers(const Directive& directive, Arguments& arguments) {
  const std::size_t width = IntegerWidth(directive);
  if (!directive.is_array) {
    const std::int64_t passed = width == 8 ? va_arg(arguments.list, long long) : TakeInt(arguments);
    return Integer(directive, WidenInteger(directive, &passed, width));
  }
  const auto* place = va_arg(arguments.list, const char*);
  std::string text;
  for (int i = 0; i < directive.array_size; ++i) {
    if (i > 0) text += ',';
    text += Integer(directive, WidenInteger(directive, place + static_cast<std::size_t>(i) * width, width));
  }
  return text;
}

/// Elements of an array are floats, with l doubles; single numbers are passed as doubles.
std::string Reals(const Directive& directive, Arguments& arguments) {
  if (!directive.is_array) {
    const double value = directive.size == "L" ? static_cast<double>(va_arg(arguments.list, long double))
                                               : va_arg(arguments.list, double);
    return Real(directive, value);
  }
  const auto* place = va_arg(arguments.list, const char*);
  const bool wide = !directive.size.empty() && directive.size != "h";
  std::string text;
  for (int i = 0; i < directive.array_size; ++i) {
    double value = 0;
    if (wide) {
      std::memcpy(&value, place + static_cast<std::size_t>(i) * sizeof value, sizeof value);
    } else {
      float narrow = 0;
      std::memcpy(&narrow, place + static_cast<std::size_t>(i) * sizeof narrow, sizeof narrow);
      value = narrow;
    }
    if (i > 0) text += ',';
    text += Real(directive, value);
  }
  return text;
}

/// Bytes in the order of the network: most significant first, as IEEE 488.2 has them. h, l, z and Z give the width of
/// an element; %y with "o" or a precision is not known here.
bool Block(const Directive& directive, Arguments& arguments, std::string& out) {
  const std::string& size = directive.size;
  const std::size_t width = size == "h" ? 2 : size == "l" || size == "z" ? 4 : size == "ll" || size == "Z" ? 8 : 1;
  int count = directive.is_array ? directive.array_size : directive.width;
  if (count < 0) return false;
  const auto* const place = va_arg(arguments.list, const char*);
  std::string data(place, static_cast<std::size_t>(count) * width);
  if (width > 1 && std::endian::native == std::endian::little) {
    for (std::size_t at = 0; at < data.size(); at += width) {
      std::reverse(data.begin() + static_cast<std::ptrdiff_t>(at),
                   data.begin() + static_cast<std::ptrdiff_t>(at + width));
    }
  }
  if (directive.type == 'b') {
    const std::string length = std::to_string(data.size());
    out.append("#").append(std::to_string(length.size())).append(length);
  } else if (directive.type == 'B') {
    out.append("#0");
  }
  out.append(data);
  return true;
}

std::string Character(const Directive& directive, Arguments& arguments) {
  if (!directive.is_array) return Printed(Pattern(directive, "", 'c'), TakeInt(arguments));
  const auto* const place = va_arg(arguments.list, const char*);
  std::string text;
  for (int i = 0; i < directive.array_size; ++i) text.append(i > 0 ? "," : "").append(1, place[i]);
  return text;
}

ViStatus Convert(Directive directive, Arguments& arguments, std::string& out) {
  if (!Complete(directive, arguments)) return kInvalidFormat;
  constexpr std::string_view kIntegers = "diouxX";
  constexpr std::string_view kReals = "eEfgG";
  constexpr std::string_view kBlocks = "bBy";
  if (kIntegers.find(directive.type) != std::string_view::npos) {
    out += Integers(directive, arguments);
  } else if (kReals.find(directive.type) != std::string_view::npos) {
    out += Reals(directive, arguments);
  } else if (kBlocks.find(directive.type) != std::string_view::npos) {
    if (!Block(directive, arguments, out)) return kInvalidFormat;
  } else if (directive.type == 'c') {
    out += Character(directive, arguments);
  } else if (directive.type == 's' && !directive.is_array) {
    const char* const text = va_arg(arguments.list, const char*);
    if (text == nullptr) return kUserBuffer;
    out += Printed(Pattern(directive, "", 's'), text);
  } else {
    return directive.type == 's' ? kUnknownFormat : kInvalidFormat;
  }
  return kSuccess;
}

}  // namespace

ViStatus FormatOutput(const char* format, va_list list, std::string& out, const std::function<ViStatus()>& flush) {
  if (format == nullptr) return kInvalidFormat;
  Arguments arguments{list};
  ViStatus status = kSuccess;
  std::string_view rest = format;
  while (!rest.empty() && status == kSuccess) {
    std::optional<char> literal = rest.front();
    rest.remove_prefix(1);
    if (*literal == '\\') {
      literal = ReadEscape(rest);
    } else if (*literal == '%' && !rest.starts_with('%')) {
      const std::optional<Directive> directive = ReadDirective(rest, false);
      status = directive ? Convert(*directive, arguments, out) : kInvalidFormat;
      continue;
    } else if (*literal == '%') {
      rest.remove_prefix(1);
    }
    if (!literal) {
      status = kInvalidFormat;
      break;
    }
    out += *literal;
    if (*literal == '\n') status = flush();
  }
  return status;
}

}  // namespace visa
