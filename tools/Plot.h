// A plot made of characters, for looking at in a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct Trace {
  std::string name;
  std::vector<double> y;  ///< one value per x; what is not finite is left out
};

/// The traces over a common x axis that rises. Several points in one column of characters: each is drawn.
std::string Plot(const std::vector<double>& x, const std::vector<Trace>& traces, std::size_t width, std::size_t height);

/// A number for reading: 4 significant digits.
std::string Short(double value);

/// Ten significant digits: the ends of a narrow band differ late.
std::string Exact(double value);

/// A frequency with its unit: "1.5 GHz".
std::string FrequencyText(double hertz);
