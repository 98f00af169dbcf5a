// What was said and heard, for a person or for a program.
#pragma once

#include <optional>
#include <string>
#include <vector>

enum class ReportForm { kText, kJson, kCsv, kNone };

/// One message, its answer without the line end, and what went wrong with it.
struct Said {
  std::string message;
  std::optional<std::string> answer;  ///< none if the message has no answer
  std::vector<std::string> errors;
};

/// Writes to the standard output. Text: the answer alone. JSON: one object a message, one a line (JSON Lines). CSV
/// (RFC 4180): a header line, then one line a message.
class Report {
 public:
  explicit Report(ReportForm form) : m_form(form) {}

  /// In text form, as soon as the answer is there. Throws ToolError as Print does.
  void Answered(const std::string& answer);
  /// In the other forms, once all errors are known.
  void Finished(const Said& said);

 private:
  ReportForm m_form;
  bool m_begun = false;
};

/// A text as JSON has it, in quotes. Bytes above 127 count as ISO 8859-1.
std::string JsonText(const std::string& text);
/// A field of a CSV line: in quotes if it needs them.
std::string CsvField(const std::string& text);
