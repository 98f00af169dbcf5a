// The walk over the command tree.
#include <algorithm>
#include <utility>

#include "scpi_core/Ascii.h"
#include "scpi_core/pcore.h"

namespace {

/// Never destroyed: a session whose own thread ends the process still walks the tree while statics go.
union TreeStorage {
  constexpr TreeStorage() : tree() {}
  ~TreeStorage() {}
  std::vector<STree> tree;
};
constinit TreeStorage storage;

}  // namespace

constinit std::vector<STree>& CommandTree = storage.tree;

namespace {

const STree* Level(int level) {
  return level >= 0 && static_cast<std::size_t>(level) < CommandTree.size()
             ? &CommandTree[static_cast<std::size_t>(level)]
             : nullptr;
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
}

void AddTreeLevel(int level, const sCommandTreeNode* rows, std::size_t count) {
  if (level < 0) return;
  const STree tree{rows, static_cast<std::int32_t>(count)};
  if (static_cast<std::size_t>(level) < CommandTree.size()) {
    CommandTree[static_cast<std::size_t>(level)] = tree;
  } else {
    CommandTree.push_back(tree);
  }
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
  const STree* below = Level(level + 1);
  if (below == nullptr) return false;
  for (int child = 0; child < below->count; ++child) {
    if (below->rows[child].parent != node.id) continue;
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
  for (int i = 0; i < tree->count; ++i) {
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
