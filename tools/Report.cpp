#include "tools/Report.h"

#include <cstdio>

#include "tools/ToolError.h"

std::string JsonText(const std::string& text) {
  std::string json = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      json += {'\\', c};
    } else if (byte < 0x20 || byte > 0x7E) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
      json += escaped;
    } else {
      json += c;
    }
  }
  return json + '"';
}

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string field = "\"";
  for (const char c : text) field.append(c == '"' ? 2 : 1, c);
  return field + '"';
}

void Report::Answered(const std::string& answer) {
  if (m_form == ReportForm::kText) Print(answer + "\n");
}

void Report::Finished(const Said& said) {
  if (m_form == ReportForm::kText || m_form == ReportForm::kNone) return;
  std::string errors;
  if (m_form == ReportForm::kJson) {
    for (const std::string& error : said.errors) errors += (errors.empty() ? "" : ",") + JsonText(error);
    const std::string answer = said.answer ? JsonText(*said.answer) : "null";
    Print("{\"message\":" + JsonText(said.message) + ",\"answer\":" + answer + ",\"errors\":[" + errors + "]}\n");
    return;
  }
  for (const std::string& error : said.errors) errors += (errors.empty() ? "" : "; ") + error;
  if (!m_begun) Print("message,answer,errors\n");
  m_begun = true;
  Print(CsvField(said.message) + "," + CsvField(said.answer.value_or("")) + "," + CsvField(errors) + "\n");
}
