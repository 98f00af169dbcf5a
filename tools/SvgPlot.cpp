#include "tools/SvgPlot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "tools/Plot.h"

namespace {

// In pixels.
constexpr double kWidth = 800;
constexpr double kPanelHeight = 260;
constexpr double kLeft = 80;
constexpr double kRight = 20;
constexpr double kTop = 24;
constexpr double kBottom = 44;
constexpr double kLegendLine = 18;

constexpr std::array kColours = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                 "#56b4e9", "#e69f00", "#000000", "#999999"};

// A band may be narrow: 1 MHz at 10 GHz is shown whole. Values that differ by less are noise.
constexpr double kLeastOfX = 1e-9;
constexpr double kLeastOfValues = 0.01;

struct Axis {
  double low = HUGE_VAL;
  double high = -HUGE_VAL;
  double step = 1.0;

  void Take(double value) {
    if (!std::isfinite(value)) return;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  double Share(double value) const { return (value - low) / (high - low); }
};

/// Widens an axis to whole steps of 1, 2 or 5 times a power of ten, some five of them. It shows at least `share` of its
/// largest value, so that the rounding of a flat curve does not fill it.
void MakeRound(Axis& axis, double share) {
  if (axis.low > axis.high) axis.low = axis.high = 0.0;
  const double largest = std::max(std::abs(axis.low), std::abs(axis.high));
  const double least = largest > 0.0 ? largest * share : 1.0;
  const double raw = std::max(axis.high - axis.low, least) / 5;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  const double lead = raw / power;
  axis.step = power * (lead <= 1 ? 1 : lead <= 2 ? 2 : lead <= 5 ? 5 : 10);
  axis.low = std::floor(axis.low / axis.step) * axis.step;
  axis.high = std::ceil(axis.high / axis.step) * axis.step;
  if (axis.high <= axis.low) axis.high = axis.low + axis.step;
}

std::string Escaped(const std::string& text) {
  std::string safe;
  for (const char c : text) {
    if (c == '&') {
      safe += "&amp;";
    } else if (c == '<') {
      safe += "&lt;";
    } else if (static_cast<unsigned char>(c) < ' ') {
      safe += '?';  // XML has no such characters
    } else {
      safe += c;
    }
  }
  return safe;
}

std::string Pixels(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

std::string Line(double x1, double y1, double x2, double y2, const char* colour) {
  return "<line x1=\"" + Pixels(x1) + "\" y1=\"" + Pixels(y1) + "\" x2=\"" + Pixels(x2) + "\" y2=\"" + Pixels(y2) +
         "\" stroke=\"" + colour + "\"/>\n";
}

std::string Text(double x, double y, const char* anchor, const std::string& text, const std::string& more = "") {
  return "<text x=\"" + Pixels(x) + "\" y=\"" + Pixels(y) + "\" text-anchor=\"" + anchor + "\"" + more + ">" +
         Escaped(text) + "</text>\n";
}

/// Where a panel is, and what its axes show.
struct Frame {
  double top;
  Axis x;
  Axis y;

  double X(double value) const { return kLeft + x.Share(value) * (kWidth - kLeft - kRight); }
  double Y(double value) const { return top + (1 - y.Share(value)) * kPanelHeight; }
};

std::string Grid(const Frame& frame, const std::string& label, std::string (*x_text)(double)) {
  std::string svg;
  const double bottom = frame.top + kPanelHeight;
  // Half a step more, so that rounding does not lose the last line.
  for (double value = frame.y.low; value < frame.y.high + frame.y.step / 2; value += frame.y.step) {
    // A sum of steps may miss zero by a rounding.
    const double shown = std::abs(value) < frame.y.step / 1e6 ? 0.0 : value;
    svg += Line(kLeft, frame.Y(value), kWidth - kRight, frame.Y(value), "#dddddd");
    svg += Text(kLeft - 6, frame.Y(value) + 4, "end", Short(shown));
  }
  for (double value = frame.x.low; value < frame.x.high + frame.x.step / 2; value += frame.x.step) {
    svg += Line(frame.X(value), frame.top, frame.X(value), bottom, "#dddddd");
    svg += Text(frame.X(value), bottom + 16, "middle", x_text(value));
  }
  const double middle = frame.top + kPanelHeight / 2;
  return svg + Text(16, middle, "middle", label, " transform=\"rotate(-90 16 " + Pixels(middle) + ")\"");
}

std::string Path(const Frame& frame, const Curve& curve, const char* colour) {
  std::string path;
  bool drawing = false;
  for (std::size_t i = 0; i < curve.y.size(); ++i) {
    if (!std::isfinite(curve.y[i])) {
      drawing = false;
      continue;
    }
    path += (drawing ? " L" : " M") + Pixels(frame.X(curve.x[i])) + " " + Pixels(frame.Y(curve.y[i]));
    drawing = true;
  }
  if (path.empty()) return path;
  return std::string("<path fill=\"none\" stroke=\"") + colour + "\" stroke-width=\"1.5\" d=\"" + path.substr(1) +
         "\"/>\n";
}

const char* Colour(std::size_t curve) {
  return kColours[curve % kColours.size()];
}

}  // namespace

std::string SvgPicture(const std::vector<Panel>& panels, std::string (*x_text)(double)) {
  Axis x;
  std::size_t names = 0;
  for (const Panel& panel : panels) {
    names = std::max(names, panel.curves.size());
    for (const Curve& curve : panel.curves) {
      for (const double value : curve.x) x.Take(value);
    }
  }
  MakeRound(x, kLeastOfX);
  const double legend = kTop + kLegendLine * static_cast<double>(names);
  const double height = legend + (kPanelHeight + kBottom) * static_cast<double>(panels.size());
  std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Pixels(kWidth) + "\" height=\"" +
                    Pixels(height) + "\" font-family=\"sans-serif\" font-size=\"12\">\n" +
                    "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
  for (std::size_t i = 0; !panels.empty() && i < panels.front().curves.size(); ++i) {
    const double y = kTop + kLegendLine * static_cast<double>(i);
    svg +=
        Line(kLeft, y - 4, kLeft + 24, y - 4, Colour(i)) + Text(kLeft + 30, y, "start", panels.front().curves[i].name);
  }
  for (std::size_t p = 0; p < panels.size(); ++p) {
    Frame frame{legend + (kPanelHeight + kBottom) * static_cast<double>(p), x, {}};
    for (const Curve& curve : panels[p].curves) {
      for (const double value : curve.y) frame.y.Take(value);
    }
    MakeRound(frame.y, kLeastOfValues);
    svg += Grid(frame, panels[p].label, x_text);
    for (std::size_t i = 0; i < panels[p].curves.size(); ++i) svg += Path(frame, panels[p].curves[i], Colour(i));
  }
  return svg + "</svg>\n";
}

std::vector<double> Unwrapped(std::vector<double> degrees) {
  for (std::size_t i = 1; i < degrees.size(); ++i) {
    degrees[i] -= 360.0 * std::round((degrees[i] - degrees[i - 1]) / 360.0);
  }
  return degrees;
}

std::vector<double> GroupDelay(const std::vector<double>& hertz, const std::vector<double>& degrees) {
  std::vector<double> seconds;
  if (hertz.size() < 2) return seconds;
  for (std::size_t i = 0; i < hertz.size(); ++i) {
    const std::size_t before = i == 0 ? 0 : i - 1;
    const std::size_t after = std::min(i + 1, hertz.size() - 1);
    seconds.push_back(-(degrees[after] - degrees[before]) / 360.0 / (hertz[after] - hertz[before]));
  }
  return seconds;
}
