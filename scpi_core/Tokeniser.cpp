// From a program message to the tokens of its units (IEEE 488.2, 7.3: program message, program message unit, program
// header, program data). A definite-length block (7.7.6) is skipped as one piece wherever it is; a quote of either kind
// toggles one flag.
#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <emmintrin.h>
#include <span>

#include "scpi_core/pcore.h"
#include "support/Ascii.h"

namespace {

constexpr std::size_t kUsualTokens = 8;  // of all that is no list
constexpr int kShortUnit = 64;           // shorter ones are no lists worth counting

/// The block at a place of a text, as far as it lies in the text; 0 if there is none.
int BlockAt(const char* text, int length, int at) {
  if (text[at] != '#') return 0;
  const unsigned int size = BinaryBlockSize(text + at, length - at, kBlockWhole);
  return static_cast<int>(std::min<unsigned int>(size, static_cast<unsigned int>(length - at)));
}

constexpr int kAtOnce = 16;  // characters that are looked at together

/// Which of the characters at a place are a shield or one of the marks: a bit for each.
template <class... Marks>
[[gnu::always_inline]] inline unsigned int HitsAt(const char* text, Marks... marks) {
  const __m128i step = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const auto hit = [&step](char c) { return _mm_cmpeq_epi8(step, _mm_set1_epi8(c)); };
  return static_cast<unsigned int>(_mm_movemask_epi8(((hit('#') | hit('"') | hit('\'')) | ... | hit(marks))));
}

template <class... Marks>
[[gnu::always_inline]] inline bool IsHit(char c, Marks... marks) {
  return ((c == '#' || c == '"' || c == '\'') || ... || (c == marks));
}

/// The first character from `at` on that is a shield or one of the marks, or the length of the text. Inlined, so that
/// constant marks are tested together.
template <class... Marks>
[[gnu::always_inline]] inline int NextMark(const char* text, int at, int length, Marks... marks) {
  for (; at + kAtOnce <= length; at += kAtOnce) {
    if (const unsigned int hits = HitsAt(text + at, marks...)) return at + std::countr_zero(hits);
  }
  while (at < length && !IsHit(text[at], marks...)) ++at;
  return at;
}

/// The first place of a character anywhere, or the length of the text. It costs so little that the scans ask it whether
/// there is anything to look for.
int PlaceOf(char wanted, const char* text, int length) {
  const void* const place = std::memchr(text, wanted, static_cast<std::size_t>(length));
  return place == nullptr ? length : static_cast<int>(static_cast<const char*>(place) - text);
}

/// The first place from `at` on of one of the marks outside of quotes and blocks, or the length of the text.
/// `at` has to lie outside of them.
template <class... Marks>
int FindUnshielded(const char* text, int at, int length, Marks... marks) {
  bool quoted = false;
  for (; (at = NextMark(text, at, length, marks...)) < length; ++at) {
    if (const int block = BlockAt(text, length, at)) {
      at += block - 1;
    } else if (IsQuote(text[at])) {
      quoted = !quoted;
    } else if (text[at] != '#' && !quoted) {
      return at;
    }
  }
  return length;
}

/// Calls `visit` with each place of one of the marks outside of quotes and blocks. Faster than one search
/// after the other where there are many, as in a list.
template <class Visit, class... Marks>
void VisitUnshielded(const char* text, int length, Visit visit, Marks... marks) {
  bool quoted = false;
  int free = 0;  // where the last block ends
  const auto look = [&](int at) {
    if (at < free) return;
    if (const int block = BlockAt(text, length, at)) {
      free = at + block;
    } else if (IsQuote(text[at])) {
      quoted = !quoted;
    } else if (text[at] != '#' && !quoted) {
      visit(at);
    }
  };
  int at = 0;
  for (; at + kAtOnce <= length; at = std::max(at + kAtOnce, free)) {
    for (unsigned int hits = HitsAt(text + at, marks...); hits != 0; hits &= hits - 1) {
      look(at + std::countr_zero(hits));
    }
  }
  for (; at < length; ++at) {
    if (IsHit(text[at], marks...)) look(at);
  }
}

/// How often a character occurs, anywhere. In steps that the compiler can do at one go.
std::size_t CountBytes(char wanted, const char* text, int length) {
  constexpr int kStep = 64;
  std::size_t count = 0;
  int at = 0;
  for (; at + kStep <= length; at += kStep) {
    unsigned char in_step = 0;
    for (int i = 0; i < kStep; ++i) in_step = static_cast<unsigned char>(in_step + (text[at + i] == wanted));
    count += in_step;
  }
  return count + static_cast<std::size_t>(std::count(text + at, text + length, wanted));
}

/// Where the program mnemonics of a unit's header begin: after the "*" of a common command (IEEE 488.2, 7.6.1), or
/// after the ":" of a header that starts at the root (SCPI-99, volume 1, 6.2.4).
int HeaderStart(const char* text, int length) {
  return length > 0 && (text[0] == '*' || text[0] == ':') ? 1 : 0;
}

/// Cuts the first "?" outside of blocks out of the text, which makes the unit a query (IEEE 488.2, 7.6.2); -1 if there
/// is none. Odd, and kept: quotes do not protect it, so a string that holds "?" makes a query of its unit.
int CutQuestionMark(char* text, int& length) {
  int at = PlaceOf('?', text, length);
  if (at < length && PlaceOf('#', text, at) < at) {
    for (at = 0; (at = NextMark(text, at, length, '?')) < length && text[at] != '?';) {
      at += std::max(BlockAt(text, length, at), 1);
    }
  }
  if (at == length) return -1;
  --length;
  if (at < length) std::memmove(text + at, text + at + 1, static_cast<std::size_t>(length - at));
  return at;
}

/// The first and the last character that Trim keeps; a first one that is not below the last one means none.
void FindEnds(const char* text, int length, int& first, int& last) {
  const bool plain = PlaceOf('#', text, length) == length;
  for (int at = 0; at < length; ++at) {
    if (const int block = BlockAt(text, length, at)) {
      at += block - 1;
      last = at;
    } else if (!IsWhite(text[at])) {
      last = at;
    } else if (last == 0) {
      first = at + 1;  // odd, and kept: a lone character before white space is dropped with it
    }
    if (last == 0 || !plain) continue;
    // Only the last end can still move, and it is the same when looked for from the end.
    for (last = length - 1; IsWhite(text[last]);) --last;
    return;
  }
}

/// True if Trim drops the blank between the kept characters `before_last`, `last` and the next one.
bool DropsBlank(char before_last, char last, char next) {
  if (IsLetter(last)) return next == ',' || next == ' ';
  if (IsLetter(before_last)) return next == ' ' || (last == ',' && !IsLetter(next));
  if (IsLetter(next)) return last != '?';
  return last == ',' || next == ' ';
}

}  // namespace

unsigned int BinaryBlockSize(const char* text, int length, eBBS what) {
  if (length < 2 || text[0] != '#' || text[1] < '1' || text[1] > '9') return 0;
  const int digits = text[1] - '0';
  const auto header = static_cast<unsigned int>(digits + 2);
  if (what == kBlockHeader) return header;
  unsigned int size = 0;
  for (int i = 0; i < digits; ++i) {
    if (2 + i >= length || !IsDigit(text[2 + i])) return 0;
    size = size * 10 + static_cast<unsigned int>(text[2 + i] - '0');
  }
  return what == kBlockData ? size : size + header;
}

int GetComCount(const char* text, int length) {
  int count = 1;
  if (PlaceOf(';', text, length) == length) return count;
  bool quoted = false;
  for (int at = 0; (at = NextMark(text, at, length, ';', '\n', '\0')) < length; ++at) {
    if (const int block = BlockAt(text, length, at)) {
      at += block - 1;
    } else if (IsQuote(text[at])) {
      quoted = !quoted;
    } else if (text[at] == ';') {
      count += !quoted;
    } else if (text[at] != '#') {
      break;
    }
  }
  return count;
}

// An earlier delimiter wins even where a later one is nearer.
void FindSubString(const char* text, int length, SubStringParams& params) {
  if (params.length != 0) params.position = std::min(params.position + params.length + 1, length);
  text += params.position;
  length -= params.position;
  params.length = length;
  for (const char* delimiter = params.delimiters; *delimiter != '\0' && params.length == length; ++delimiter) {
    const int place = PlaceOf(*delimiter, text, length);
    if (place < length) params.length = FindUnshielded(text, 0, length, *delimiter);
  }
}

void Trim(char* text, int& length) {
  int first = 0;
  int last = 0;
  FindEnds(text, length, first, last);
  if (first >= last) {
    length = 0;
    return;
  }
  const int end = last + 1;
  if (first == 0 && PlaceOf(' ', text, end) == end) {
    length = end;
    return;
  }
  int kept = 0;
  bool quoted = false;
  for (int at = first; at < end;) {
    // What is copied on: all up to the next mark, and the mark itself unless it is a blank to be dropped.
    const int mark = NextMark(text, at, end, ' ');
    int next = mark;
    const bool blank = mark < end && text[mark] == ' ' && !quoted;
    if (mark < end) {
      if (IsQuote(text[mark])) quoted = !quoted;
      next += std::max(BlockAt(text, end, mark), 1);
    }
    if (kept != at) std::memmove(text + kept, text + at, static_cast<std::size_t>(next - at));
    kept += next - at;
    if (blank) {
      const char before_last = kept > 2 ? text[kept - 3] : '\0';
      const char previous = kept > 1 ? text[kept - 2] : '\0';
      if (DropsBlank(before_last, previous, next < end ? text[next] : '\0')) --kept;
    }
    at = next;
  }
  length = kept;
}

int GetChannel(const char* token, int& length) {
  if (length < 1) return -1;
  int letters = 0;
  while (letters < length && IsLetter(token[letters])) ++letters;
  if (letters == length) return 0;
  if (letters == 0) return -1;
  // Odd, and kept: reduction and copying meet in the middle, so of a longer suffix only half the digits are read.
  std::array<char, 21> suffix{};
  std::size_t copied = 0;
  while (copied + 1 < suffix.size() && length > letters + static_cast<int>(copied)) {
    const char c = token[letters + static_cast<int>(copied)];
    if (c == '\0') break;
    suffix[copied++] = c;
    --length;
  }
  const long value = std::strtol(suffix.data(), nullptr, 10);
  return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

// The mnemonics of a header are separated by ":" (SCPI-99, volume 1, 6.2), the header from its data by a blank and the
// program data elements by "," (IEEE 488.2, 7.4.3 and 7.4.2). A unit is cut at ":" as long as there is one, then at
// blanks, then at commas. One pass does it: a ":" takes back the cuts at blanks and commas that were made since the ":"
// before it, a blank those at commas.
void GetSubStrings(const char* text, int length, sCommand* command) {
  const int start = HeaderStart(text, length);
  text += start;
  length -= start;
  std::vector<sSubString>& pieces = command->substrings;
  // The exact size of a long list: one that grew would leave so much free memory behind that the allocator gives it
  // back and faults it in again with every message.
  pieces.reserve(kUsualTokens + (length < kShortUnit ? 0 : CountBytes(',', text, length)));
  std::size_t headers = 0;  // pieces in front of the last ":"
  std::size_t words = 0;    // pieces in front of the last ":" or blank
  int header_start = 0;     // of what follows them
  int word_start = 0;
  int piece_start = 0;
  std::size_t gap = SIZE_MAX;  // the first piece without a character
  const auto end_piece = [&](int from, int to) {
    if (from == to) gap = std::min(gap, pieces.size());
    sSubString& piece = pieces.emplace_back();
    piece.offset = from;
    piece.length = to - from;
    piece_start = to + 1;
  };
  const auto end_at = [&](int at) {
    if (text[at] == ',') return end_piece(piece_start, at);
    const bool header = text[at] == ':';
    pieces.resize(header ? headers : words);
    if (gap >= pieces.size()) gap = SIZE_MAX;
    end_piece(header ? header_start : word_start, at);
    words = pieces.size();
    word_start = piece_start;
    if (!header) return;
    headers = words;
    header_start = word_start;
  };
  VisitUnshielded(text, length, end_at, ':', ' ', ',');
  end_piece(piece_start, length);
  command->level_count = static_cast<std::int32_t>(headers) + 1;
  command->substring_count = static_cast<std::int32_t>(pieces.size());
  command->error = gap == SIZE_MAX ? 0 : scpi_error::kUndefinedHeader;
  if (command->error != 0) return;
  for (sSubString& keyword : std::span(pieces).first(headers + 1)) {
    keyword.channel = GetChannel(text + keyword.offset, keyword.length);
  }
}

void GetCommandInstance(char* text, int length, sUnitCommand& command) {
  const int question = CutQuestionMark(text, length);
  const int start = HeaderStart(text, length);
  command.Begin(text, length);
  command.query = question >= 0;
  command.first_character = length > 0 ? text[0] : '\0';
  GetSubStrings(text, length, &command);
  if (command.error != 0) return;
  command.parameter_count = command.substring_count - command.level_count;
  if (command.first_character == '*' && command.level_count > 1) {
    command.error = scpi_error::kUndefinedHeader;
    return;
  }
  if (start != 0) {
    for (sSubString& token : command.substrings) token.offset += start;
  }
  if (question >= 0 && command.parameter_count >= 1) {
    const sSubString& last = command.substrings[static_cast<std::size_t>(command.level_count - 1)];
    if (question > last.offset + last.length) command.error = scpi_error::kUndefinedHeader;
  }
}
