// Bodies of Plot.h. The vertical range is that of the values, at least 1 and at most 120 below the largest.
#include "tools/Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr std::string_view kMarks = "*+ox#%@&";
constexpr double kLeastSpan = 1.0;
constexpr double kLargestSpan = 120.0;

struct Range {
  double low = HUGE_VAL;
  double high = -HUGE_VAL;
};

Range ValueRange(const std::vector<Trace>& traces) {
  Range range;
  for (const Trace& trace : traces) {
    for (const double y : trace.y) {
      if (std::isfinite(y)) {
        range.low = std::min(range.low, y);
        range.high = std::max(range.high, y);
      }
    }
  }
  if (range.low > range.high) {
    return {-kLeastSpan, 0.0};
  }
  range.low = std::max(range.low, range.high - kLargestSpan);
  if (range.high - range.low < kLeastSpan) {
    const double middle = (range.high + range.low) / 2;
    range = {middle - kLeastSpan / 2, middle + kLeastSpan / 2};
  }
  return range;
}

/// The cell in which `share` (0 to 1) falls.
std::size_t Cell(double share, std::size_t cells) {
  return static_cast<std::size_t>(std::lround(share * static_cast<double>(cells - 1)));
}

}  // namespace

std::string Short(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4g", value);
  return text;
}

std::string Exact(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

std::string FrequencyText(double hertz) {
  const double magnitude = std::abs(hertz);
  if (magnitude >= 1e9) return Exact(hertz / 1e9) + " GHz";
  if (magnitude >= 1e6) return Exact(hertz / 1e6) + " MHz";
  if (magnitude >= 1e3) return Exact(hertz / 1e3) + " kHz";
  return Exact(hertz) + " Hz";
}

std::string Plot(const std::vector<double>& x, const std::vector<Trace>& traces, std::size_t width,
                 std::size_t height) {
  const Range range = ValueRange(traces);
  std::vector<std::string> rows(height, std::string(width, ' '));
  const double span = x.size() > 1 ? x.back() - x.front() : 0.0;
  for (std::size_t t = 0; t < traces.size(); ++t) {
    for (std::size_t i = 0; i < x.size(); ++i) {
      const double y = traces[t].y[i];
      if (!std::isfinite(y) || y < range.low) continue;
      const std::size_t column = span > 0.0 ? Cell((x[i] - x.front()) / span, width) : width / 2;
      const std::size_t row = Cell((range.high - y) / (range.high - range.low), height);
      rows[row][column] = kMarks[t % kMarks.size()];
    }
  }
  std::string text;
  for (std::size_t row = 0; row < height; ++row) {
    const double y = range.high - (range.high - range.low) * static_cast<double>(row) / static_cast<double>(height - 1);
    char label[32];
    std::snprintf(label, sizeof label, "%8.2f |", y);
    text += (row % 4 == 0 || row + 1 == height ? std::string(label) : std::string(9, ' ') + "|") + rows[row];
    text.erase(text.find_last_not_of(' ') + 1);
    text += '\n';
  }
  text += std::string(9, ' ') + "+" + std::string(width, '-') + "\n";
  const std::string first = FrequencyText(x.front());
  const std::string last = FrequencyText(x.back());
  const std::size_t gap = width > first.size() + last.size() ? width - first.size() - last.size() : 1;
  text += std::string(10, ' ') + first + std::string(gap, ' ') + last + "\n" + std::string(10, ' ');
  for (std::size_t t = 0; t < traces.size(); ++t) {
    text += std::string(t != 0 ? "   " : "") + kMarks[t % kMarks.size()] + " " + traces[t].name;
  }
  return text + "\n";
}
