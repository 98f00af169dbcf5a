// The walk over the command tree: from a program header, in long or short form (SCPI-99, volume 1, 6.2), to its
// handler.
#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "scpi_core/pcore.h"
#include "support/Ascii.h"

namespace {

/// What a token can begin with: a character, of which several share one bit, and "perhaps any".
constexpr std::size_t kInitials = 32;
constexpr std::size_t kAnyInitial = kInitials;
using Initials = std::bitset<kInitials + 1>;

constexpr std::size_t Initial(char c) {
  return static_cast<unsigned char>(Lower(c)) % kInitials;
}

/// What the walk asks of a row, worked out once: which rows one level down could take a token, by what it begins with.
struct Node {
  std::array<std::uint16_t, kInitials + 2> candidates{};  ///< where each list begins in the index; the last one's end
  Initials initials;  ///< of the tokens that the row, or one reached by passing over it, could take
};

/// Beside the tree and kept in step with it.
struct Index {
  std::vector<std::vector<Node>> levels;
  std::vector<Node> whole;          ///< for each level, with all of its rows
  std::vector<std::uint16_t> rows;  ///< all lists, each in the order of the rows
};

/// Never destroyed: a session whose own thread ends the process still walks the tree while statics go.
union TreeStorage {
  constexpr TreeStorage() : tree() {}
  ~TreeStorage() {}
  std::vector<STree> tree;
};
constinit TreeStorage storage;

/// Destroyed as little.
union IndexStorage {
  constexpr IndexStorage() : index() {}
  ~IndexStorage() {}
  Index index;
};
constinit IndexStorage index_storage;
constinit Index& tree_index = index_storage.index;
/// No row has more than one instance, so no header suffix is a value.
constinit bool single_instances = true;

}  // namespace

constinit std::vector<STree>& CommandTree = storage.tree;

namespace {

const STree* Level(int level) {
  return level >= 0 && static_cast<std::size_t>(level) < CommandTree.size()
             ? &CommandTree[static_cast<std::size_t>(level)]
             : nullptr;
}

const Node& NodeOf(int level, int row) {
  return tree_index.levels[static_cast<std::size_t>(level)][static_cast<std::size_t>(row)];
}

std::span<const sCommandTreeNode> Rows(std::size_t level) {
  return {CommandTree[level].rows, static_cast<std::size_t>(CommandTree[level].count)};
}

/// Lists the rows of a level that `belongs` says are below the node, which takes over their initials.
template <class Belongs>
void ListCandidates(Node& node, std::size_t level, Belongs belongs) {
  std::vector<std::uint16_t> below;
  for (std::uint16_t row = 0; row < Rows(level).size(); ++row) {
    if (belongs(Rows(level)[row])) below.push_back(row);
  }
  for (std::size_t initial = 0; initial <= kInitials; ++initial) {
    node.candidates[initial] = static_cast<std::uint16_t>(tree_index.rows.size());
    for (const std::uint16_t row : below) {
      const Initials& initials = tree_index.levels[level][row].initials;
      if (initials[initial] || initial == kAnyInitial) tree_index.rows.push_back(row);
      node.initials |= initials;
    }
  }
  node.candidates.back() = static_cast<std::uint16_t>(tree_index.rows.size());
}

/// From the deepest level up, because an optional row takes over the initials of its children.
void BuildIndex() {
  tree_index = {};
  tree_index.levels.resize(CommandTree.size());
  tree_index.whole.resize(CommandTree.size());
  single_instances = true;
  for (std::size_t level = CommandTree.size(); level-- > 0;) {
    for (const sCommandTreeNode& row : Rows(level)) {
      single_instances = single_instances && row.instance_limit == 1;
      Node& node = tree_index.levels[level].emplace_back();
      if (level + 1 < CommandTree.size()) {
        ListCandidates(node, level + 1, [&row](const sCommandTreeNode& below) { return below.parent == row.id; });
      }
      if (!row.optional) node.initials.reset();
      node.initials.set(Initial(row.name[0]));
      if (row.name[0] == '\0') node.initials.set();
    }
    ListCandidates(tree_index.whole[level], level, [](const sCommandTreeNode&) { return true; });
  }
}

/// The rows below a node that a header token could match, or could be passed to.
std::span<const std::uint16_t> Candidates(const Node& node, const sCommand& command, int token) {
  const sSubString& substring = command.substrings[static_cast<std::size_t>(token)];
  const std::size_t initial =
      substring.length > 0 && substring.offset < command.length ? Initial(command.text[substring.offset]) : kAnyInitial;
  return {tree_index.rows.data() + node.candidates[initial], tree_index.rows.data() + node.candidates[initial + 1]};
}

/// True if the token is exactly the row's short form or its whole name.
bool Matches(const sCommandTreeNode& row, const sCommand& command, int token) {
  const sSubString& substring = command.substrings[static_cast<std::size_t>(token)];
  // Most rows differ in their first character, so nothing is asked of the command for each.
  const char* const text = command.text + substring.offset;
  const int length = std::min(substring.length, command.length - substring.offset);
  int equal = 0;
  while (equal < length && row.name[equal] != '\0' && row.name[equal] == Lower(text[equal])) ++equal;
  const bool acceptable = equal == row.short_length || row.name[equal] == '\0';
  return acceptable && substring.length == equal;
}

bool AllowsForm(const sFunctionCallInfo& info, bool query) {
  return (info.flags & (query ? kQueryForm : kSetForm)) != 0;
}

/// The numeric suffixes of the nodes on the way, outermost first, for nodes with more than one instance.
void CollectSuffixes(sCommand& command, int level, std::int32_t id) {
  if (single_instances) return;
  std::vector<sParamInfo> suffixes;
  for (; level >= 0; --level) {
    const STree* tree = Level(level);
    for (std::int32_t i = 0; i < tree->count; ++i) {
      const sCommandTreeNode& row = tree->rows[i];
      if (row.id != id) continue;
      if (row.instance_limit != 1 && static_cast<std::size_t>(level) < command.substrings.size()) {
        const std::int32_t channel = command.substrings[static_cast<std::size_t>(level)].channel;
        sParamInfo suffix;
        suffix.type = kParamHeaderSuffix;
        suffix.value = channel == 0 && level == 0 ? 1 : channel;
        suffixes.push_back(suffix);
      }
      id = row.parent;
      break;
    }
  }
  command.parameters.insert(command.parameters.end(), suffixes.rbegin(), suffixes.rend());
}

/// The header ends on this row: matches the parameters and calls the handler. False if that is not to be.
[[gnu::noinline]] bool Execute(sCommand& command, const sCommandTreeNode& row, int level, void* device) {
  if (row.handler == nullptr || !AllowsForm(row.call_info, command.query)) {
    command.error = scpi_error::kUndefinedHeader;
    return false;
  }
  CollectSuffixes(command, level, row.id);
  command.error = 0;  // what an earlier row left does not stop this one
  FindParameters(row.call_info, row.call_info.parameters, &command);
  if (command.error != 0) return false;
  // A long list is copied only where a second attempt may need it.
  command.error = row.handler(command.final_attempt ? std::move(command.parameters) : command.parameters, command.query,
                              device, command.error_info);
  return true;
}

}  // namespace

void ReleaseCommandTree() {
  std::vector<STree>().swap(CommandTree);
  tree_index = {};
}

void AddTreeLevel(int level, const sCommandTreeNode* rows, std::size_t count) {
  if (level < 0) return;
  const STree tree{rows, static_cast<std::int32_t>(count)};
  if (static_cast<std::size_t>(level) < CommandTree.size()) {
    CommandTree[static_cast<std::size_t>(level)] = tree;
  } else {
    CommandTree.push_back(tree);
  }
  BuildIndex();
}

bool CheckTree(sCommand* command, int& level, int& row, int token, void* device) {
  const STree* tree = Level(level);
  if (tree == nullptr) return false;
  const sCommandTreeNode& node = tree->rows[row];
  const bool matched = Matches(node, *command, token);
  if (!matched && !node.optional) return false;
  if (matched) {
    command->substrings[static_cast<std::size_t>(token)].type = kTokenNode;
    if (token == command->level_count - 1) return Execute(*command, node, level, device);
  }
  const int next_token = matched ? token + 1 : token;
  for (const std::uint16_t child : Candidates(NodeOf(level, row), *command, next_token)) {
    int child_level = level + 1;
    int child_row = child;
    if (CheckTree(command, child_level, child_row, next_token, device)) {
      level = child_level;
      row = child_row;
      return true;
    }
  }
  return false;
}

void FindNodes(sCommand* command, int& level, int& parent, void* device) {
  command->error = 0;
  const STree* tree = Level(level);
  if (tree == nullptr || tree->count == 0) {
    command->error = scpi_error::kUndefinedHeader;
    return;
  }
  const bool all = level == 0 || parent == -1;
  for (const std::uint16_t candidate : Candidates(tree_index.whole[static_cast<std::size_t>(level)], *command, 0)) {
    if (!all && tree->rows[candidate].parent != parent) continue;
    int row_level = level;
    int row = candidate;
    if (CheckTree(command, row_level, row, 0, device)) {
      parent = Level(row_level)->rows[row].parent;
      level = row_level;
      return;
    }
  }
  if (command->error == 0) command->error = scpi_error::kUndefinedHeader;
}
