// Scrambled files: each character is combined by XOR with a short repeating key. This hides a text from a glance, not
// from anyone who wants to read it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "datafiles/TextFile.h"

namespace datafiles {

/// The character at `position` of a text, scrambled or made plain again.
wchar_t Scramble(wchar_t c, std::size_t position);

/// The plain text of a scrambled file, and after its end one more character: WEOF, scrambled. Odd, and kept.
std::wstring ReadScrambled(Source<char>& source, const TextCodec& codec);

/// The scrambled bytes of a text. A character that cannot be encoded, plain or scrambled, is written as a scrambled
/// "?".
std::string WriteScrambled(std::wstring_view text, const TextCodec& codec);

}  // namespace datafiles
