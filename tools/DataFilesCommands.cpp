// "scpi-zlt s2p" and "scpi-zlt matrix", over the modern layer of the data files.
#include "tools/DataFilesCommands.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "scpi_zlt/datafiles.h"

#include "tools/NetworkCsv.h"
#include "tools/Plot.h"
#include "tools/SvgPlot.h"
#include "tools/ToolError.h"

namespace {

using scpi_zlt::FrequencyUnit;
using scpi_zlt::Matrix;
using scpi_zlt::MatrixForm;
using scpi_zlt::Network;
using scpi_zlt::SParameterFormat;

const std::map<std::string, SParameterFormat> kFormats = {{"ri", SParameterFormat::kRealImaginary},
                                                          {"ma", SParameterFormat::kMagnitudeAngle},
                                                          {"db", SParameterFormat::kDecibelAngle}};
const std::map<std::string, FrequencyUnit> kUnits = {{"hz", FrequencyUnit::kHz},
                                                     {"khz", FrequencyUnit::kKilohertz},
                                                     {"mhz", FrequencyUnit::kMegahertz},
                                                     {"ghz", FrequencyUnit::kGigahertz}};
const std::map<std::string, MatrixForm> kForms = {
    {"plain", MatrixForm::kPlain}, {"csv", MatrixForm::kCsv}, {"enr", MatrixForm::kEnr}};

/// Takes one of these words in any case, and lists them when it is none.
template <typename Value>
CLI::Validator OneOf(const std::map<std::string, Value>& values) {
  return CLI::Validator(
      [&values](std::string& text) -> std::string {
        std::string words;
        for (const auto& [word, value] : values) {
          if (CLI::detail::to_lower(text) == word) {
            text = std::to_string(static_cast<int>(value));
            return "";
          }
          words += (words.empty() ? "" : ", ") + word;
        }
        return "must be one of " + words + ", not " + text;
      },
      "");
}

struct NetworkArguments {
  std::vector<std::string> inputs;
  std::string input;
  std::string output;
  std::vector<std::string> parameters;
  std::string svg;
  bool from_csv = false;
  bool no_plot = false;
  std::size_t width = 66;
  std::size_t height = 17;
  scpi_zlt::TouchstoneOptions options;
};

struct MatrixArguments {
  std::string input;
  std::string output;
  scpi_zlt::MatrixOptions from;
  scpi_zlt::MatrixOptions to;
  std::vector<std::string> names;
  std::string svg;
};

std::vector<double> Column(const Matrix& matrix, std::size_t column) {
  std::vector<double> values;
  for (std::size_t row = 0; row < matrix.Rows(); ++row) values.push_back(matrix.At(row, column));
  return values;
}

/// Each further column over the first one.
void DrawMatrix(const Matrix& matrix, const std::string& file) {
  Panel panel{matrix.names.empty() ? "over column 1" : "over " + matrix.names[0], {}};
  for (std::size_t column = 1; column < matrix.columns; ++column) {
    const std::string name = matrix.names.empty() ? "column " + std::to_string(column + 1) : matrix.names[column];
    panel.curves.push_back({name, Column(matrix, 0), Column(matrix, column)});
  }
  WriteFile(file, SvgPicture({panel}, Exact));
}

/// The extension in lower case, with its dot.
std::string Extension(const std::filesystem::path& file) {
  std::string extension = file.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension;
}

/// "-" is the standard input.
std::string InputFile(const std::string& name) {
  return name == "-" ? "/dev/stdin" : name;
}

Network ReadNetwork(const NetworkArguments& arguments, const std::string& file) {
  if (arguments.from_csv || Extension(file) == ".csv") return ReadNetworkCsv(InputFile(file));
  return scpi_zlt::ReadTouchstone(InputFile(file));
}

struct PortPair {
  std::size_t to;
  std::size_t from;
};

std::string ParameterName(const Network& network, PortPair pair) {
  const char* const between = network.ports > 9 ? "," : "";
  return network.parameter + std::to_string(pair.to) + between + std::to_string(pair.from);
}

/// What to draw: the parameters asked for by name ("S21"), else all up to two ports, else the first column.
std::vector<PortPair> Chosen(const Network& network, const std::vector<std::string>& names) {
  std::vector<PortPair> all;
  for (std::size_t to = 1; to <= network.ports; ++to) {
    for (std::size_t from = 1; from <= network.ports; ++from) {
      all.push_back({to, from});
    }
  }
  std::vector<PortPair> chosen;
  for (std::string name : names) {
    if (!name.empty()) name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    const auto found =
        std::find_if(all.begin(), all.end(), [&](PortPair pair) { return ParameterName(network, pair) == name; });
    if (found == all.end()) throw CLI::ValidationError("--parameter", "the file has no " + name);
    chosen.push_back(*found);
  }
  if (!names.empty()) return chosen;
  if (network.ports > 2) {
    std::erase_if(all, [](PortPair pair) { return pair.from != 1; });
  }
  return all;
}

std::vector<double> Decibels(const Network& network, PortPair pair) {
  std::vector<double> values;
  for (std::size_t point = 0; point < network.Points(); ++point) {
    values.push_back(20.0 * std::log10(std::abs(network.At(point, pair.to, pair.from))));
  }
  return values;
}

std::vector<double> Degrees(const Network& network, PortPair pair) {
  std::vector<double> values;
  for (std::size_t point = 0; point < network.Points(); ++point) {
    values.push_back(std::arg(network.At(point, pair.to, pair.from)) * 180.0 / std::numbers::pi);
  }
  return Unwrapped(std::move(values));
}

/// Prints what the file holds, and adds its curves to the panels of the picture.
void ShowNetwork(const NetworkArguments& arguments, const std::string& file, std::vector<Panel>& panels) {
  const Network network = ReadNetwork(arguments, file);
  const std::vector<PortPair> chosen = Chosen(network, arguments.parameters);
  std::cout << "Ports      " << network.ports << "\nPoints     " << network.Points() << "\nRange      "
            << FrequencyText(network.frequency_hz.front()) << " to " << FrequencyText(network.frequency_hz.back())
            << "\nReference  " << Short(network.reference_ohm) << " ohm\n";
  if (!network.noise.empty()) {
    std::cout << "Noise      " << network.noise.size() << " points, "
              << FrequencyText(network.noise.front().frequency_hz) << " to "
              << FrequencyText(network.noise.back().frequency_hz) << "\n";
  }
  std::vector<Trace> traces;
  for (const PortPair pair : chosen) {
    const std::string name = ParameterName(network, pair);
    traces.push_back({"|" + name + "|", Decibels(network, pair)});
    const auto [low, high] = std::minmax_element(traces.back().y.begin(), traces.back().y.end());
    std::cout << "|" << name << "|      " << Short(*low) << " to " << Short(*high) << " dB\n";
    const std::vector<double> degrees = Degrees(network, pair);
    std::vector<double> delay = GroupDelay(network.frequency_hz, degrees);
    for (double& seconds : delay) seconds *= 1e9;
    std::string curve = file;
    curve.append(" ").append(name);
    panels[0].curves.push_back({curve, network.frequency_hz, traces.back().y});
    panels[1].curves.push_back({curve, network.frequency_hz, degrees});
    panels[2].curves.push_back({curve, network.frequency_hz, delay});
  }
  if (!arguments.no_plot) {
    std::cout << "\n      dB\n" << Plot(network.frequency_hz, traces, arguments.width, arguments.height);
  }
}

void ShowNetworks(const NetworkArguments& arguments) {
  std::vector<Panel> panels = {{"magnitude, dB", {}}, {"phase, degrees", {}}, {"group delay, ns", {}}};
  for (const std::string& file : arguments.inputs) {
    if (arguments.inputs.size() > 1) std::cout << (&file == &arguments.inputs.front() ? "" : "\n") << file << "\n";
    ShowNetwork(arguments, file, panels);
  }
  if (!arguments.svg.empty()) WriteFile(arguments.svg, SvgPicture(panels, FrequencyText));
}

/// Refuses an output whose name promises another kind of file: ".s2p" and the like are Touchstone.
void CheckTouchstoneName(const std::filesystem::path& file) {
  const std::string extension = Extension(file);
  if (extension.size() > 3 && extension.starts_with(".s") &&
      extension.find_first_not_of("0123456789", 2) == extension.size() - 1 && extension.ends_with('p')) {
    return;
  }
  throw scpi_zlt::DataFileError(file, 0, "the name of a Touchstone file ends in .s2p, .s1p and so on, of CSV in .csv");
}

void ConvertNetwork(const NetworkArguments& arguments) {
  const bool to_csv = Extension(arguments.output) == ".csv";
  if (!to_csv) CheckTouchstoneName(arguments.output);
  const Network network = ReadNetwork(arguments, arguments.input);
  if (!to_csv) return scpi_zlt::WriteTouchstone(arguments.output, network, arguments.options);
  if (!network.noise.empty()) Warn(arguments.output + ": CSV has no place for the noise rows; they are left out");
  WriteNetworkCsv(arguments.output, network, arguments.options);
}

/// Refuses a name that does not show the form, unless an option does.
void CheckMatrixName(const std::filesystem::path& file, const scpi_zlt::MatrixOptions& options,
                     const std::string& option) {
  const std::string extension = Extension(file);
  if (options.form || extension == ".txt" || extension == ".csv" || extension == ".enr") return;
  throw scpi_zlt::DataFileError(
      file, 0, "the form of a matrix file shows in .txt, .csv or .enr; " + option + " names it for any other");
}

/// Says so if "1,2" in a text file is about to become 1.2: a user who meant two columns would not see it in the
/// numbers.
void WarnOfDecimalCommas(const std::filesystem::path& file, const scpi_zlt::MatrixOptions& options,
                         const std::string& option) {
  if (options.form || options.scrambled || Extension(file) != ".txt") return;
  std::ifstream stream(file);
  std::size_t number = 0;
  const auto digit = [](char c) { return c >= '0' && c <= '9'; };
  for (std::string line; std::getline(stream, line);) {
    ++number;
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == line.npos || line.find_first_of("[!#", start) == start) continue;
    for (std::size_t comma = line.find(',', start); comma != line.npos; comma = line.find(',', comma + 1)) {
      if (comma == 0 || comma + 1 == line.size() || !digit(line[comma - 1]) || !digit(line[comma + 1])) continue;
      std::cerr << "scpi-zlt: " << file.string() << ":" << number
                << ": a comma between digits is read as a decimal point; " << option << " csv makes it a separator"
                << std::endl;
      return;
    }
  }
}

Matrix ReadMatrixFile(const MatrixArguments& arguments, const std::string& option) {
  CheckMatrixName(arguments.input, arguments.from, option);
  WarnOfDecimalCommas(arguments.input, arguments.from, option);
  return scpi_zlt::ReadMatrix(InputFile(arguments.input), arguments.from);
}

void ShowMatrix(const MatrixArguments& arguments) {
  const Matrix matrix = ReadMatrixFile(arguments, "--form");
  std::cout << "Rows     " << matrix.Rows() << "\nColumns  " << matrix.columns << "\n\n"
            << "column         first          last           min           max"
            << (matrix.names.empty() ? "\n" : "  name\n");
  for (std::size_t column = 0; column < matrix.columns; ++column) {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (std::size_t row = 0; row < matrix.Rows(); ++row) {
      low = std::fmin(low, matrix.At(row, column));
      high = std::fmax(high, matrix.At(row, column));
    }
    char line[128];
    std::snprintf(line, sizeof line, "%6zu %13.6g %13.6g %13.6g %13.6g", column + 1, matrix.At(0, column),
                  matrix.At(matrix.Rows() - 1, column), low, high);
    std::cout << line << (matrix.names.empty() ? "" : "  " + matrix.names[column]) << "\n";
  }
  if (!matrix.comment.empty()) {
    std::cout << "\n" << matrix.comment << "\n";
  }
  if (!arguments.svg.empty()) DrawMatrix(matrix, arguments.svg);
}

void ConvertMatrix(const MatrixArguments& arguments) {
  CheckMatrixName(arguments.output, arguments.to, "--to-form");
  Matrix matrix = ReadMatrixFile(arguments, "--from-form");
  if (!arguments.names.empty()) matrix.names = arguments.names;
  scpi_zlt::WriteMatrix(arguments.output, matrix, arguments.to);
}

void AddNetworkCommands(CLI::App& app) {
  const auto arguments = std::make_shared<NetworkArguments>();
  CLI::App* const s2p =
      app.add_subcommand("s2p", "Shows and converts S-parameters: Touchstone (any number of ports) and CSV");
  s2p->require_subcommand(1);
  const auto add_csv = [&arguments](CLI::App& command) {
    command.add_flag("--from-csv", arguments->from_csv,
                     "The input is CSV whatever its name, also of the standard input");
  };

  CLI::App* const show = s2p->add_subcommand("show", "Points, range, ports, and a plot in dB over frequency");
  show->add_option("FILE", arguments->inputs, "Touchstone or CSV files; - is the standard input")->required();
  add_csv(*show);
  show->add_option("-p,--parameter", arguments->parameters, "What to plot, for example S21; may be repeated")
      ->allow_extra_args(false);
  show->add_flag("--no-plot", arguments->no_plot, "Print the summary only");
  show->add_option("--svg", arguments->svg,
                   "Write magnitude, phase and group delay of all files as one picture to this file, as SVG");
  show->add_option("--width", arguments->width, "Columns of the plot")->check(CLI::Range(10, 1000));
  show->add_option("--height", arguments->height, "Lines of the plot")->check(CLI::Range(3, 1000));
  show->callback([arguments] { ShowNetworks(*arguments); });

  CLI::App* const convert = s2p->add_subcommand("convert", "Writes a file anew in another format or unit");
  convert->add_option("INPUT", arguments->input, "Touchstone or CSV file to read; - is the standard input")->required();
  convert->add_option("OUTPUT", arguments->output, "Touchstone (.s2p and so on) or CSV (.csv) file to write")
      ->required();
  add_csv(*convert);
  convert->add_option("-f,--format", arguments->options.format, "ri, ma or db; ri unless given")
      ->type_name("FORMAT")
      ->transform(OneOf(kFormats));
  convert->add_option("-u,--unit", arguments->options.unit, "hz, khz, mhz or ghz; hz unless given")
      ->type_name("UNIT")
      ->transform(OneOf(kUnits));
  convert->callback([arguments] { ConvertNetwork(*arguments); });
}

/// Options of one side of a matrix command.
void AddMatrixOptions(CLI::App& command, const std::string& prefix, const std::string& what,
                      scpi_zlt::MatrixOptions& options) {
  command
      .add_option_function<MatrixForm>(
          "--" + prefix + "form", [&options](const MatrixForm& form) { options.form = form; },
          "Form of the " + what + ": plain, csv or enr; by its extension (.txt, .csv, .enr) unless given")
      ->type_name("FORM")
      ->transform(OneOf(kForms));
  command.add_flag("--" + prefix + "scrambled", options.scrambled, "The " + what + " is scrambled");
}

void AddMatrixCommands(CLI::App& app) {
  const auto arguments = std::make_shared<MatrixArguments>();
  CLI::App* const matrix = app.add_subcommand("matrix", "Shows and converts matrix files");
  matrix->require_subcommand(1);

  CLI::App* const show = matrix->add_subcommand("show", "Rows, columns and range of each column");
  show->add_option("FILE", arguments->input, "Matrix file; - is the standard input, whose form has to be given")
      ->required();
  AddMatrixOptions(*show, "", "file", arguments->from);
  show->add_flag("--stop-at-crc", arguments->from.stop_at_crc, "A line that starts with #CRC ends the file");
  show->add_option("--svg", arguments->svg, "Draw all columns over the first one in a picture in this file, as SVG");
  show->callback([arguments] { ShowMatrix(*arguments); });

  CLI::App* const convert = matrix->add_subcommand("convert", "Writes a file anew in another form");
  convert
      ->add_option("INPUT", arguments->input,
                   "Matrix file to read; - is the standard input, whose form has to be given")
      ->required();
  convert->add_option("OUTPUT", arguments->output, "Matrix file to write")->required();
  AddMatrixOptions(*convert, "from-", "input", arguments->from);
  AddMatrixOptions(*convert, "to-", "output", arguments->to);
  convert->add_option("--names", arguments->names, "Names of the columns, as f,level: the header line of a CSV file")
      ->delimiter(',')
      ->allow_extra_args(false);
  convert->add_flag("--stop-at-crc", arguments->from.stop_at_crc, "A line that starts with #CRC ends the input");
  convert->callback([arguments] { ConvertMatrix(*arguments); });
}

}  // namespace

void AddDataFileCommands(CLI::App& app) {
  AddNetworkCommands(app);
  AddMatrixCommands(app);
}
