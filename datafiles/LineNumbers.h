// The numbers of one line, also of one that does not fit into the reader's buffer.
#pragma once

#include <cstddef>

#include "datafiles/NumberScan.h"
#include "datafiles/TextReader.h"

namespace datafiles {

/// Gives each number of `text` to `take`, up to the first thing that is none. Returns their count.
template <CommaRule rule, class Char, class Take>
std::size_t ScanText(std::basic_string_view<Char> text, Take&& take) {
  const Char* p = text.data();
  const Char* const end = p + text.size();
  std::size_t count = 0;
  for (double value = 0.0; ScanNumber<rule>(p, end, value); ++count) {
    take(value);
  }
  return count;
}

/// The part of a piece whose numbers do not go on after it: up to its last gap.
template <CommaRule rule, class Char>
std::size_t CompletePart(std::basic_string_view<Char> piece) {
  std::size_t size = piece.size();
  while (size != 0 && !IsGap<rule>(piece[size - 1])) {
    --size;
  }
  return size;
}

/// As ScanText, for the reader's line: pieces of a long line are read and forgotten one by one.
template <CommaRule rule, class Char, class Take>
std::size_t ScanLine(TextReader<Char>& reader, Take&& take) {
  if (reader.Whole()) {
    return ScanText<rule>(reader.Text(), take);
  }
  std::size_t count = 0;
  for (;;) {
    const auto piece = reader.Text();
    const std::size_t size = reader.Whole() ? piece.size() : CompletePart<rule>(piece);
    const Char* p = piece.data();
    const Char* const end = p + size;
    for (double value = 0.0; ScanNumber<rule>(p, end, value); ++count) {
      take(value);
    }
    while (p != end && IsGap<rule>(*p)) {
      ++p;
    }
    if (p != end || reader.Whole()) {
      return count;
    }
    reader.More(size);
  }
}

}  // namespace datafiles
