// From a program message to the calls of its handlers, and the response message that they leave on the stream: response
// message units with ";" between them (IEEE 488.2, 8.4.1).
#include <array>
#include <cstring>
#include <memory>

#include "scpi_core/pcore.h"
#include "support/LogHooks.h"

namespace {

/// A unit of fewer characters is passed over; the last one holds the line end too.
constexpr int kShortestUnit = 3;
/// Of all units but lists and blocks.
constexpr int kUsualLength = 256;

/// What one unit came to.
struct Failure {
  int code = 0;
  const char* text = "";
  bool silent = false;  ///< the time-out of a waiting operation: nothing is raised, nothing is sent
};

/// The error info speaks first, then the command's error; a code of 0 means that the unit succeeded.
Failure FailureOf(const sCommand& command) {
  if (command.error_info != nullptr && command.error_info->code != 0) {
    return {command.error_info->code, command.error_info->text, false};
  }
  return {command.error, "", command.error == scpi_error::kTimeOutError};
}

/// The error exit: a query still ends its response, so that nobody waits for it.
void Fail(const Failure& failure, bool query, IResponseStream& stream) {
  if (failure.silent) return;
  stream.RaiseError(failure.code, failure.text);
  if (query) stream.SendEnd();
  LogMessageParse("Parse", failure.text != nullptr ? failure.text : "");
}

}  // namespace

void Parse(char* text, int length, IResponseStream* stream, void* device) {
  sUnitCommand command;
  Parse(text, length, stream, device, command);
}

void Parse(char* text, int length, IResponseStream* stream, void* device, sUnitCommand& command) {
  const int units = GetComCount(text, length);
  int level = 0;
  int parent = -1;
  SubStringParams cursor{.delimiters = ";"};
  std::array<char, kUsualLength> usual;
  std::unique_ptr<char[]> longer;
  for (int unit = 0; unit < units; ++unit) {
    FindSubString(text, length, cursor);
    int unit_length = cursor.length;
    if (unit_length < kShortestUnit) continue;
    if (unit_length > kUsualLength && !longer) longer.reset(new char[static_cast<std::size_t>(length)]);
    char* const copy = unit_length > kUsualLength ? longer.get() : usual.data();
    std::memcpy(copy, text + cursor.position, static_cast<std::size_t>(unit_length));
    Trim(copy, unit_length);
    if (unit_length == 0) return;

    GetCommandInstance(copy, unit_length, command);
    if (command.error != 0) return Fail({command.error, "", false}, command.query, *stream);

    command.final_attempt = units == 1;
    FindNodes(&command, level, parent, device);
    bool second_attempt = false;
    Failure failure = FailureOf(command);
    if (failure.code != 0 && units > 1) {
      // The unit may not belong on the current path. All failures get this chance, so a handler that failed runs again,
      // with its first parameters still in front. Odd, and kept.
      second_attempt = true;
      command.final_attempt = true;
      level = 0;
      FindNodes(&command, level, parent, device);
      failure = FailureOf(command);
    }
    if (failure.code != 0) return Fail(failure, command.query, *stream);

    const bool last = unit == units - 1;
    if (!last && command.query) stream->SendResponse(";", 1);
    // Odd, and kept: a last unit that is no query but took the second attempt sends a lone terminator.
    if (last && (command.query || second_attempt)) stream->SendEnd();
  }
}
