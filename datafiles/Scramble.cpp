// Scrambled text is scrambled in characters, not in bytes, so it is decoded before and encoded afterwards.
#include "datafiles/Scramble.h"

#include <array>
#include <cwchar>

namespace datafiles {
namespace {

constexpr std::size_t kUsedKey = 30;

// 7-bit values: a scrambled ASCII text is ASCII, whatever encoding the file is written in. The last two are not used.
constexpr std::array<unsigned char, 32> key = {0x35, 0x6E, 0x13, 0x58, 0x27, 0x7A, 0x41, 0x0C, 0x63, 0x1F, 0x52,
                                               0x2D, 0x76, 0x08, 0x4B, 0x3E, 0x61, 0x15, 0x5C, 0x29, 0x70, 0x04,
                                               0x47, 0x32, 0x6B, 0x1A, 0x55, 0x23, 0x7D, 0x0E, 0x49, 0x36};

}  // namespace

wchar_t Scramble(wchar_t c, std::size_t position) {
  return static_cast<wchar_t>(static_cast<std::wint_t>(c) ^ key[position % kUsedKey]);
}

std::wstring ReadScrambled(Source<char>& source, const TextCodec& codec) {
  std::string bytes;
  std::array<char, 65536> piece;
  for (std::size_t got = source.Read(piece.data(), piece.size()); got != 0;
       got = source.Read(piece.data(), piece.size())) {
    bytes.append(piece.data(), got);
  }
  std::wstring text = codec.Decode(bytes);
  text += static_cast<wchar_t>(WEOF);
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = Scramble(text[i], i);
  }
  return text;
}

std::string WriteScrambled(std::wstring_view text, const TextCodec& codec) {
  std::string bytes;
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    plain.clear();
    if (!codec.Encode(text[i], plain) || !codec.Encode(Scramble(text[i], i), bytes)) {
      codec.Encode(Scramble(L'?', i), bytes);
    }
  }
  return bytes;
}

}  // namespace datafiles
