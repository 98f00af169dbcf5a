// The veil over scrambled files: each character XOR a short repeating key. It hides a file from a glance, not from
// anyone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "datafiles/TextFile.h"

namespace datafiles {

/// The character at `position` of a text, scrambled or made plain again.
wchar_t Scramble(wchar_t c, std::size_t position);

/// The plain text of a scrambled file, with one more character behind its end: WEOF, scrambled. Callers rely on it.
std::wstring ReadScrambled(Source<char>& source, const TextCodec& codec);

/// The scrambled bytes of a text. What cannot be encoded, plain or scrambled, goes out as a scrambled "?".
std::string WriteScrambled(std::wstring_view text, const TextCodec& codec);

}  // namespace datafiles
