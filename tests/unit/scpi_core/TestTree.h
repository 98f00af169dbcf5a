// A small command tree shaped like the real one, whose handlers write down what reaches them, and a stream that keeps
// what is sent. One Talk is one session's parser.
#pragma once

#include <string>
#include <vector>

#include "scpi_core/pcore.h"

namespace test {

class Talk : public IResponseStream {
 public:
  Talk();

  int SendResponse(const char* text, int length) override;
  int RaiseError(int code, const char* text) override;
  int SendEnd() override;

  /// Parses a message; returns what went out, then "|", the handlers called with their values, then "|", the errors.
  std::string operator()(const std::string& message);

  std::string calls;
  int refusal = 0;       ///< what the setting handlers answer
  sComErrorInfo detail;  ///< what handlers record, if its code is set
  std::string sent;
  std::string errors;
};

}  // namespace test
