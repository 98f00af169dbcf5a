// Text of packets, and the log.
#include "simulator/PacketText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <span>

#include "protocol/ComSetInfo.h"
#include "protocol/comset.h"

namespace sim {
namespace {

constexpr int kShownValues = 16;

/// One row of a table of names. Its number is the one after its "=", or one more than that of the row before.
struct Row {
  int number;
  std::string_view name;
};

template <class Table>
std::vector<Row> ReadRows(const Table& table) {
  std::vector<Row> rows;
  int number = 0;
  for (const std::string_view row : table) {
    const std::size_t equals = row.find('=');
    if (equals != std::string_view::npos) {
      const std::string_view digits = row.substr(row.find_first_not_of(' ', equals + 1));
      std::from_chars(digits.data(), digits.data() + digits.size(), number);
    }
    rows.push_back({number++, row.substr(0, row.find(' '))});
  }
  return rows;
}

std::string NameOf(const std::vector<Row>& rows, int number) {
  for (const Row& row : rows) {
    if (row.number == number) return std::string(row.name);
  }
  return std::to_string(number);
}

// The rows are made once and never destroyed: other threads may still log while the process ends.
const std::vector<Row>& Parameters() {
  static const auto* const rows = new std::vector<Row>(ReadRows(szParametersNames));
  return *rows;
}

std::string CommandText(int command) {
  static const auto* const rows = new std::vector<Row>(ReadRows(szCommandsNames));
  const std::string name = NameOf(*rows, command);
  return name.starts_with("SK_") ? name.substr(3) : "command " + name;
}

/// Whole numbers in digits, others in the shortest text that reads back as the same number.
void Append(std::string& text, double value) {
  constexpr double kWholeLimit = 1e15;
  std::array<char, 40> digits{};
  char* const end = digits.data() + digits.size();
  const bool whole = value == std::floor(value) && std::fabs(value) < kWholeLimit;
  const auto written = whole ? std::to_chars(digits.data(), end, static_cast<std::int64_t>(value))
                             : std::to_chars(digits.data(), end, value);
  text.append(digits.data(), written.ptr);
}

std::string ValuesText(View packet, const Head& head) {
  std::string text = std::to_string(head.format.size) + "." + std::to_string(head.format.fraction) + " [";
  const auto fit = static_cast<int>((packet.size() - kHeadSize - 2) / static_cast<std::size_t>(head.format.size));
  const int count = std::min(CarriedValues(head), fit);
  for (int i = 0; i < std::min(count, kShownValues); ++i) {
    if (i > 0) text += ", ";
    const auto offset = kHeadSize + 2 + static_cast<std::size_t>(i * head.format.size);
    const bool is_signed = head.format.fraction > 0 || head.format.size >= 6;
    Append(text, FromRaw(ReadInteger(packet, offset, head.format.size, is_signed), head.format));
  }
  return text + (count > kShownValues ? ", ... " + std::to_string(count) + " values]" : "]");
}

std::string FileText(View body) {
  constexpr std::size_t kName = 10;
  if (body.size() <= kName) return "";
  const auto end = std::find(body.begin() + kName, body.end(), 0);
  return "\"" + std::string(body.begin() + kName, end) + "\" [" + std::to_string(ReadInteger(body, 2, 4, false)) +
         ", " + std::to_string(ReadInteger(body, 6, 4, false)) + "]";
}

std::string Text(View packet) {
  if (packet.size() < kHeadSize) return std::to_string(packet.size()) + " bytes, no head";
  const Head head = ReadHead(packet);
  std::string text = head.signature == kSignature ? "" : "(wrong signature) ";
  text += CommandText(head.command);
  const View body = packet.subspan(kHeadSize);
  if (body.size() < 2) return text;
  if (head.command == SK_RUN)
    return text + " " + StatusText(static_cast<std::int16_t>(ReadWord(body, body.size() - 2)));
  const int parameter = ReadWord(body, 0);
  text += " " + NameOf(Parameters(), parameter) + " ";
  if (parameter == P_FILE) return text + FileText(body);
  if (head.format.size < 1 || head.format.size > 8) return text + std::to_string(body.size()) + " body bytes";
  return text + ValuesText(packet, head);
}

struct Log {
  std::FILE* file = nullptr;
  std::mutex lock;
};

Log* OpenLog() {
  const char* name = std::getenv("SCPI_ZLT_SIM_LOG");
  if (name == nullptr || *name == '\0') return nullptr;
  // Never closed or freed: threads may still write while the process ends.
  static Log log;
  const std::string_view text = name;
  log.file = text == "-" || text == "stderr" ? stderr : std::fopen(name, "a");
  if (log.file == nullptr) {
    std::fprintf(stderr, "SCPI_ZLT_SIM_LOG: cannot write to \"%s\"\n", name);
    return nullptr;
  }
  return &log;
}

Log* TheLog() {
  static Log* const log = OpenLog();
  return log;
}

}  // namespace

std::string RequestText(View packet) {
  return Text(packet);
}

std::string ReplyText(View packet) {
  if (packet.size() < kHeadSize) return Text(packet);
  return Text(packet) + " " + StatusText(ReadHead(packet).status);
}

std::string StatusText(std::int16_t status) {
  static const auto* const rows = new std::vector<Row>(ReadRows(szErrorsNames));
  return NameOf(*rows, status);
}

int ParameterNumber(std::string_view name) {
  for (const Row& row : Parameters()) {
    if (row.name == name) return row.number;
  }
  return -1;
}

std::string NumbersText(const std::vector<double>& values) {
  std::string text;
  for (const double value : values) {
    if (!text.empty()) text += ' ';
    Append(text, value);
  }
  return text;
}

bool LogIsOn() {
  return TheLog() != nullptr;
}

void LogLine(int instrument, std::string_view text) {
  Log* const log = TheLog();
  if (log == nullptr) return;
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  std::tm local{};
  localtime_r(&now.tv_sec, &local);
  std::array<char, 64> head{};
  std::snprintf(head.data(), head.size(), "%02d:%02d:%02d.%06ld SIM%d ", local.tm_hour, local.tm_min, local.tm_sec,
                now.tv_nsec / 1000, instrument);
  std::string line = head.data();
  line.append(text).push_back('\n');
  const std::lock_guard hold(log->lock);
  std::fwrite(line.data(), 1, line.size(), log->file);
  std::fflush(log->file);
}

}  // namespace sim
