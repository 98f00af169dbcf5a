// From message text to tokens. A definite-length block is skipped as one piece wherever it stands; a quote of either
// kind toggles one flag.
#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "scpi_core/Ascii.h"
#include "scpi_core/pcore.h"

namespace {

constexpr std::size_t kUsualTokens = 8;  // of all that is no list

/// The block at a place of a text, as far as it lies in the text; 0 if there is none.
int BlockAt(const char* text, int length, int at) {
  if (text[at] != '#') return 0;
  const unsigned int size = BinaryBlockSize(text + at, length - at, kBlockWhole);
  return static_cast<int>(std::min<unsigned int>(size, static_cast<unsigned int>(length - at)));
}

/// Position of a character, or the length of the text.
int PositionOf(char wanted, const char* text, int length) {
  const void* found = length > 0 ? std::memchr(text, wanted, static_cast<std::size_t>(length)) : nullptr;
  return found != nullptr ? static_cast<int>(static_cast<const char*>(found) - text) : length;
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

/// Length of the front part that holds no quote and no block. Most messages are plain to their end, and there a
/// delimiter is found without a look at each character.
int PlainLength(const char* text, int length) {
  for (const char protector : {'#', '"', '\''}) length = PositionOf(protector, text, length);
  return length;
}

/// Finds the occurrences of one character outside of quotes and blocks, front to back, in one pass.
class Occurrences {
 public:
  /// `plain` is the length of a front part that is known to hold no quote and no block.
  Occurrences(const char* text, int length, int plain, char wanted)
      : m_text(text), m_length(length), m_plain(plain), m_wanted(wanted) {}

  /// The first one at or behind `from`, or the length of the text. `from` never goes down, and lies outside of quotes
  /// and blocks, so that the scan that began at the front stands for one that begins there.
  int From(int from) {
    while (m_found < from) Advance();
    return m_found;
  }

 private:
  void Advance() {
    if (m_at < m_plain) {
      m_found = m_at + PositionOf(m_wanted, m_text + m_at, m_plain - m_at);
      m_at = m_found;
      if (m_found < m_plain) {
        ++m_at;
        return;
      }
    }
    while (m_at < m_length) {
      if (const int block = BlockAt(m_text, m_length, m_at)) {
        m_at += block;
        continue;
      }
      const char c = m_text[m_at++];
      if (IsQuote(c)) m_quoted = !m_quoted;
      if (c == m_wanted && !m_quoted) {
        m_found = m_at - 1;
        return;
      }
    }
    m_found = m_length;
  }

  const char* m_text;
  int m_length;
  int m_plain;
  char m_wanted;
  int m_at = 0;
  bool m_quoted = false;
  int m_found = -1;
};

/// Moves the cursor over the piece and one delimiter; not at all over an empty piece.
void StepOver(SubStringParams& params) {
  if (params.length != 0) params.position += params.length + 1;
}

/// Where a unit's header tokens begin: behind a leading "*" or ":".
int HeaderStart(const char* text, int length) {
  return length > 0 && (text[0] == '*' || text[0] == ':') ? 1 : 0;
}

/// How often a character occurs outside of quotes and blocks.
int CountOf(char wanted, const char* text, int length, int plain) {
  int count = 0;
  Occurrences occurrences(text, length, plain, wanted);
  for (int at = occurrences.From(0); at < length; at = occurrences.From(at + 1)) ++count;
  return count;
}

/// Cuts the first "?" outside of blocks out of the text; -1 if there is none. Quotes do not protect it, and callers
/// rely on that.
int CutQuestionMark(char* text, int& length) {
  if (PositionOf('?', text, length) == length) return -1;
  for (int at = 0; at < length; ++at) {
    if (const int block = BlockAt(text, length, at)) {
      at += block - 1;
    } else if (text[at] == '?') {
      std::memmove(text + at, text + at + 1, static_cast<std::size_t>(length - at - 1));
      --length;
      return at;
    }
  }
  return -1;
}

/// The first and the last character that Trim keeps; a first one that is not below the last one means none.
void FindEnds(const char* text, int length, int& first, int& last) {
  const bool has_blocks = PositionOf('#', text, length) < length;
  for (int at = 0; at < length; ++at) {
    if (const int block = BlockAt(text, length, at)) {
      at += block - 1;
      last = at;
    } else if (!IsWhite(text[at])) {
      last = at;
    } else if (last == 0) {
      first = at + 1;  // callers rely on a lone character in front of white space going with it
    }
    if (last == 0 || has_blocks) continue;
    // Only the last end can still move, and it is the same when looked for from behind.
    for (last = length - 1; IsWhite(text[last]);) --last;
    return;
  }
}

/// True if Trim drops the blank that stands between the kept characters `before_last`, `last` and the next one.
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
  const int plain = PlainLength(text, length);
  const int stop = PositionOf('\0', text, PositionOf('\n', text, plain));
  int count = 1 + CountOf(';', text, stop, stop);
  if (stop < plain) return count;
  bool quoted = false;
  for (int at = plain; at < length && text[at] != '\n' && text[at] != '\0'; ++at) {
    if (const int block = BlockAt(text, length, at)) {
      at += block - 1;
    } else if (IsQuote(text[at])) {
      quoted = !quoted;
    } else if (text[at] == ';' && !quoted) {
      ++count;
    }
  }
  return count;
}

void FindSubString(const char* text, int length, SubStringParams& params) {
  StepOver(params);
  params.position = std::min(params.position, length);
  params.length = 0;
  for (const char* delimiter = params.delimiters; *delimiter != '\0'; ++delimiter) {
    const char* rest = text + params.position;
    const int rest_length = length - params.position;
    // Only as far as the piece can reach: a message of many units is not looked through for each of them.
    const int plain = PlainLength(rest, PositionOf(*delimiter, rest, rest_length));
    params.length = Occurrences(rest, rest_length, plain, *delimiter).From(0);
    if (params.length < rest_length) return;
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
  const int plain = first + PlainLength(text + first, end - first);
  int kept = 0;
  bool quoted = false;
  const auto keep = [&](int from, int count) {
    std::memmove(text + kept, text + from, static_cast<std::size_t>(count));
    kept += count;
    return from + count;
  };
  for (int at = first; at < end;) {
    if (at < plain && text[at] != ' ') {
      at = keep(at, PositionOf(' ', text + at, plain - at));
      continue;
    }
    if (const int block = BlockAt(text, end, at)) {
      at = keep(at, block);
      continue;
    }
    const char c = text[at++];
    if (IsQuote(c)) quoted = !quoted;
    if (c == ' ' && !quoted) {
      const char before_last = kept > 1 ? text[kept - 2] : '\0';
      const char previous = kept > 0 ? text[kept - 1] : '\0';
      if (DropsBlank(before_last, previous, at < end ? text[at] : '\0')) continue;
    }
    text[kept++] = c;
  }
  length = kept;
}

int GetChannel(const char* token, int& length) {
  if (length < 1) return -1;
  int letters = 0;
  while (letters < length && IsLetter(token[letters])) ++letters;
  if (letters == length) return 0;
  if (letters == 0) return -1;
  // Reduction and copying meet in the middle: of a longer suffix only about half the digits are read. Callers rely on
  // it.
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

// The pieces are those of FindSubString with the delimiters ": ,": each is searched for ":" to the end of the unit,
// then for a blank, then for a comma. One pass per delimiter over the whole unit finds the same in linear time.
void GetSubStrings(const char* text, int length, sCommand* command) {
  const int start = HeaderStart(text, length);
  text += start;
  length -= start;
  const int plain = PlainLength(text, length);
  std::array occurrences = {Occurrences(text, length, plain, ':'), Occurrences(text, length, plain, ' '),
                            Occurrences(text, length, plain, ',')};
  // The exact size of a long list: one that grew would leave so much free memory behind that the allocator gives it
  // back and faults it in again with every message.
  command->substrings.reserve(kUsualTokens + CountBytes(',', text, length));
  SubStringParams cursor;
  for (int token = 0; cursor.position + cursor.length < length; ++token) {
    StepOver(cursor);
    int end = length;
    for (Occurrences& delimiter : occurrences) {
      end = delimiter.From(cursor.position);
      if (end < length) break;
    }
    cursor.length = end - cursor.position;
    if (cursor.length == 0) {
      command->error = scpi_error::kUndefinedHeader;
      return;
    }
    sSubString& piece = command->substrings.emplace_back();
    piece.offset = cursor.position;
    piece.length = cursor.length;
    if (token < command->level_count) piece.channel = GetChannel(text + piece.offset, piece.length);
    ++command->substring_count;
  }
  command->error = command->substrings.empty() ? scpi_error::kUndefinedHeader : 0;
}

void GetCommandInstance(char* text, int length, sCommand** out) {
  const int question = CutQuestionMark(text, length);
  auto owner = std::make_unique<sCommand>(text, length);
  sCommand* command = owner.get();
  command->query = question >= 0;
  command->first_character = length > 0 ? text[0] : '\0';
  const int start = HeaderStart(text, length);
  const int plain = PlainLength(text + start, length - start);
  command->level_count = 1 + CountOf(':', text + start, length - start, plain);
  command->error_info = new sComErrorInfo;
  GetSubStrings(text, length, command);
  *out = owner.release();
  if (command->error != 0) return;
  command->parameter_count = command->substring_count - command->level_count;
  if (command->first_character == '*' && command->level_count > 1) {
    command->error = scpi_error::kUndefinedHeader;
    return;
  }
  for (sSubString& token : command->substrings) token.offset += start;
  if (question >= 0 && command->parameter_count >= 1) {
    const sSubString& last = command->substrings[static_cast<std::size_t>(command->level_count - 1)];
    if (question > last.offset + last.length) command->error = scpi_error::kUndefinedHeader;
  }
}
