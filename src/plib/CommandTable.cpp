// Makes the header tree: each row of Commands.def becomes the nodes of its keywords; nodes that rows share are made
// once. The compiler does all of it, and refuses rows that contradict each other. The library holds the finished
// levels.
#include "src/plib/CommandTable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <vector>

#include "scpi_core/pcore.h"
#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

constexpr const sFParam* Pointer(const sFParam& parameter) {
  return &parameter;
}
constexpr const sFParam* Pointer(None) {
  return nullptr;
}
// Counted by type: under UBSan the compiler does not take a comparison of an address with null as a constant.
constexpr int Count(const sFParam&) {
  return 1;
}
constexpr int Count(None) {
  return 0;
}

template <Handler* handler>
int Entry(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error) {
  return handler({parameters, query, device, error});
}

constexpr SCommandRow kCommands[] = {
#define COMMAND(header, handler, forms, parameter) \
  {header, handler, Entry<handler>, forms, Pointer(parameter), Count(parameter)},
#include "src/plib/Commands.def"
#undef COMMAND
};

/// One keyword of a header.
struct Keyword {
  std::string_view spelled;  ///< "FREQuency"
  bool common = false;       ///< of a common command: "*IDN"
  bool optional = false;     ///< in brackets
};

consteval std::vector<Keyword> Keywords(std::string_view header) {
  std::vector<Keyword> keywords;
  for (std::size_t at = 0; at < header.size();) {
    Keyword keyword;
    keyword.optional = header[at] == '[';
    at += keyword.optional ? 1 : 0;
    keyword.common = header[at] == '*';
    if (!keyword.common && header[at] != ':') throw "a keyword begins with a colon or, in a common command, a star";
    const std::size_t start = ++at;
    at = std::min(header.find_first_of(":[]", at), header.size());
    keyword.spelled = header.substr(start, at - start);
    if (keyword.optional && (at == header.size() || header[at++] != ']')) throw "a bracket is not closed";
    keywords.push_back(keyword);
  }
  return keywords;
}

/// A node of the tree while it is made.
struct Node {
  Keyword keyword;
  std::size_t level = 0;
  std::int32_t parent = 0;
  std::int32_t id = 0;
  const SCommandRow* command = nullptr;  ///< null where no header ends
};

/// The node of a keyword below `parent`; made if there is none.
consteval Node& FindOrAdd(std::vector<Node>& nodes, const Keyword& keyword, std::size_t level, std::int32_t parent) {
  std::int32_t id = 0;
  for (Node& node : nodes) {
    if (node.level != level) continue;
    ++id;
    if (node.parent != parent || node.keyword.spelled != keyword.spelled) continue;
    if (node.keyword.optional != keyword.optional) throw "one keyword, with and without brackets";
    return node;
  }
  return nodes.emplace_back(Node{keyword, level, parent, keyword.common ? -1 : id, nullptr});
}

consteval void Add(std::vector<Node>& nodes, const SCommandRow& command) {
  const std::vector<Keyword> keywords = Keywords(command.header);
  std::int32_t parent = 0;
  for (std::size_t level = 0; level < keywords.size(); ++level) {
    Node& node = FindOrAdd(nodes, keywords[level], level, parent);
    parent = node.id;
    const auto rest = keywords.begin() + static_cast<std::ptrdiff_t>(level) + 1;
    if (!std::all_of(rest, keywords.end(), [](const Keyword& keyword) { return keyword.optional; })) continue;
    // The header may end here.
    if (node.command != nullptr && node.command->handler != command.handler) throw "one header, two commands";
    if (node.command == nullptr) node.command = &command;
  }
}

/// All nodes, level by level.
consteval std::vector<Node> MakeNodes() {
  std::vector<Node> nodes;
  for (const SCommandRow& command : kCommands) Add(nodes, command);
  std::vector<Node> sorted;
  for (std::size_t level = 0; sorted.size() < nodes.size(); ++level) {
    std::copy_if(nodes.begin(), nodes.end(), std::back_inserter(sorted),
                 [&](const Node& n) { return n.level == level; });
  }
  return sorted;
}

/// The sizes of the arrays below.
struct Sizes {
  std::size_t nodes = 0;
  std::size_t levels = 0;
  std::size_t characters = 0;  ///< of all names, each with its terminating zero
};

consteval Sizes Measure() {
  const std::vector<Node> nodes = MakeNodes();
  Sizes sizes{nodes.size(), nodes.back().level + 1, 0};
  for (const Node& node : nodes) sizes.characters += node.keyword.spelled.size() + 1;
  return sizes;
}
constexpr Sizes kSizes = Measure();

/// The long forms of all nodes in lower case.
consteval std::array<char, kSizes.characters> MakeNames() {
  const std::vector<Node> nodes = MakeNodes();
  std::array<char, kSizes.characters> names{};
  std::size_t at = 0;
  for (const Node& node : nodes) {
    for (const char c : node.keyword.spelled) names[at++] = ToLower(c);
    ++at;
  }
  return names;
}
constexpr auto kNames = MakeNames();

consteval std::array<sCommandTreeNode, kSizes.nodes> MakeRows() {
  const std::vector<Node> nodes = MakeNodes();
  std::array<sCommandTreeNode, kSizes.nodes> rows{};
  const char* name = kNames.data();
  std::size_t at = 0;
  for (const Node& node : nodes) {
    sCommandTreeNode& row = rows[at++];
    row = {name,    ShortLength(node.keyword.spelled), node.parent, node.id, node.keyword.optional, 1,
           nullptr, {kBothForms, nullptr, 0}};
    if (node.command != nullptr) {
      row.handler = node.command->entry;
      row.call_info = {node.command->forms, node.command->parameter, node.command->parameter_count};
    }
    name += node.keyword.spelled.size() + 1;
  }
  return rows;
}
constexpr auto kRows = MakeRows();

consteval std::array<std::size_t, kSizes.levels> MakeLevelEnds() {
  const std::vector<Node> nodes = MakeNodes();
  std::array<std::size_t, kSizes.levels> ends{};
  std::size_t count = 0;
  for (const Node& node : nodes) ends[node.level] = ++count;
  return ends;
}
constexpr auto kLevelEnds = MakeLevelEnds();

}  // namespace

std::span<const SCommandRow> Commands() {
  return kCommands;
}

void RegisterCommandTree() {
  std::size_t start = 0;
  int level = 0;
  for (const std::size_t end : kLevelEnds) {
    AddTreeLevel(level++, kRows.data() + start, end - start);
    start = end;
  }
}

}  // namespace scpi_lib
