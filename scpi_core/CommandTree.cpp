// The walk over the command tree: from a program header, in long or short form (SCPI-99, volume 1, 6.2), to its
// handler.
#include <algorithm>
#include <span>
#include <utility>

#include "scpi_core/pcore.h"
#include "support/Ascii.h"

namespace {

/// A row one level down.
struct Child {
  int row;
  std::uint32_t initials;  ///< beside the row, so that most children are passed over without a look at their nodes
};

/// What the walk asks of a row, worked out once.
struct Node {
  std::vector<Child> children;  ///< in their order
  std::uint32_t initials = 0;   ///< of the tokens that the row, or one reached by passing over it, could take
};

/// Never destroyed: a session whose own thread ends the process still walks the tree while statics go.
union TreeStorage {
  constexpr TreeStorage() : tree() {}
  ~TreeStorage() {}
  std::vector<STree> tree;
};
constinit TreeStorage storage;

/// Beside the tree and kept in step with it; destroyed as little.
union IndexStorage {
  constexpr IndexStorage() : levels() {}
  ~IndexStorage() {}
  std::vector<std::vector<Node>> levels;
};
constinit IndexStorage node_index;
/// No row has more than one instance, so no header suffix is a value.
constinit bool single_instances = true;

constexpr std::uint32_t kAnyInitial = ~std::uint32_t{0};

/// One bit for a character; several share one, so that a bit in common means "perhaps".
constexpr std::uint32_t Initial(char c) {
  return std::uint32_t{1} << (static_cast<unsigned char>(Lower(c)) & 31);
}

}  // namespace

constinit std::vector<STree>& CommandTree = storage.tree;

namespace {

const STree* Level(int level) {
  return level >= 0 && static_cast<std::size_t>(level) < CommandTree.size()
             ? &CommandTree[static_cast<std::size_t>(level)]
             : nullptr;
}

const Node& NodeOf(int level, int row) {
  return node_index.levels[static_cast<std::size_t>(level)][static_cast<std::size_t>(row)];
}

/// From the deepest level up, because an optional row takes over the initials of its children.
void BuildIndex() {
  node_index.levels.assign(CommandTree.size(), {});
  single_instances = true;
  for (std::size_t level = CommandTree.size(); level-- > 0;) {
    for (const sCommandTreeNode& row :
         std::span(CommandTree[level].rows, static_cast<std::size_t>(CommandTree[level].count))) {
      single_instances = single_instances && row.instance_limit == 1;
      Node& node = node_index.levels[level].emplace_back();
      node.initials = row.name[0] == '\0' ? kAnyInitial : Initial(row.name[0]);
      if (level + 1 == CommandTree.size()) continue;
      const STree& below = CommandTree[level + 1];
      for (int child = 0; child < below.count; ++child) {
        if (below.rows[child].parent != row.id) continue;
        const std::uint32_t initials = NodeOf(static_cast<int>(level) + 1, child).initials;
        node.children.push_back({child, initials});
        if (row.optional) node.initials |= initials;
      }
    }
  }
}

/// The bit of a header token's first letter.
std::uint32_t InitialOf(const sCommand& command, int token) {
  const sSubString& substring = command.substrings[static_cast<std::size_t>(token)];
  return substring.length > 0 && substring.offset < command.length ? Initial(command.text[substring.offset])
                                                                   : kAnyInitial;
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
bool Execute(sCommand& command, const sCommandTreeNode& row, int level, void* device) {
  if (row.handler == nullptr || !AllowsForm(row.call_info, command.query)) {
    command.error = scpi_error::kUndefinedHeader;
    return false;
  }
  CollectSuffixes(command, level, row.id);
  command.error = 0;  // what an earlier row left does not stand against this one
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
  std::vector<std::vector<Node>>().swap(node_index.levels);
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
  const std::vector<Child>& children = NodeOf(level, row).children;
  if (children.empty()) return false;
  const std::uint32_t initial = InitialOf(*command, next_token);
  for (const Child& child : children) {
    if ((child.initials & initial) == 0) continue;
    int child_level = level + 1;
    int child_row = child.row;
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
  const std::uint32_t initial = InitialOf(*command, 0);
  const std::vector<Node>& nodes = node_index.levels[static_cast<std::size_t>(level)];
  for (int i = 0; i < tree->count; ++i) {
    if ((nodes[static_cast<std::size_t>(i)].initials & initial) == 0) continue;
    if (!all && tree->rows[i].parent != parent) continue;
    int row_level = level;
    int row = i;
    if (CheckTree(command, row_level, row, 0, device)) {
      parent = Level(row_level)->rows[row].parent;
      level = row_level;
      return;
    }
  }
  if (command->error == 0) command->error = scpi_error::kUndefinedHeader;
}
