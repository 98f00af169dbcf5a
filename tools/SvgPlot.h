// A picture of curves over frequency or another quantity, as SVG 1.1.
#pragma once

#include <string>
#include <vector>

struct Curve {
  std::string name;
  std::vector<double> x;
  std::vector<double> y;  ///< as many; what is not finite is left out
};

/// One diagram: a vertical axis with a unit, and its curves.
struct Panel {
  std::string label;
  std::vector<Curve> curves;
};

/// The panels under one another over one horizontal axis, which `x_text` labels. A curve of the same place in each
/// panel has the same colour, and the first panel has the legend. Text is escaped.
std::string SvgPicture(const std::vector<Panel>& panels, std::string (*x_text)(double));

/// Degrees without jumps of 360.
std::vector<double> Unwrapped(std::vector<double> degrees);

/// Group delay in seconds, minus the slope of an unwrapped phase over angular frequency: over both neighbours inside,
/// over the only one at the ends. Empty for fewer than two points.
std::vector<double> GroupDelay(const std::vector<double>& hertz, const std::vector<double>& degrees);
