#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "server/LockTable.h"

namespace {

using server::LockTable;

char Letter(LockTable::Request result) {
  return result == LockTable::Request::kGranted ? 'g' : result == LockTable::Request::kHeld ? 'h' : 'w';
}

/// Plays steps such as "1x" (client 1 asks for the exclusive lock), "2a" (client 2 for the shared one of key a),
/// "1-" (releases one), "1!" (disconnects), and writes the result of each.
std::string Play(LockTable& table, const std::string& steps) {
  std::istringstream words(steps);
  std::string results;
  for (std::string step; words >> step;) {
    const auto client = static_cast<server::ClientId>(step[0] - '0');
    if (step[1] == 'x') {
      results += Letter(table.AskExclusive(client));
    } else if (step[1] == '-') {
      results += "xs-"[static_cast<int>(table.GiveUp(client))];
    } else if (step[1] == '!') {
      results += table.Drop(client) ? 'd' : '-';
    } else {
      results += Letter(table.AskShared(client, step.substr(1)));
    }
  }
  return results;
}

TEST(LockTable, FollowsTheTableOfTheStandard) {
  const struct {
    const char* name;
    const char* steps;
    const char* results;
    const char* may_use;  ///< which of the clients 1, 2 and 3
    bool exclusive;
    std::size_t holders;
  } cases[] = {
      {"unlocked, release", "1-", "-", "123", false, 0},
      {"unlocked, exclusive", "1x", "g", "1", true, 1},
      {"unlocked, shared", "1a", "g", "1", false, 1},
      {"exclusive, asked again and by another", "1x 1x 2x", "ghw", "1", true, 1},
      {"exclusive, shared asked by holder and another", "1x 1a 2a", "ghw", "1", true, 1},
      {"exclusive, released", "1x 2- 1-", "g-x", "123", false, 0},
      {"shared, exclusive by a holder and another", "1a 3x 1x", "gwg", "1", true, 1},
      {"shared, joined, refused by key, asked again", "1a 2a 3b 1a", "ggwh", "12", false, 2},
      {"shared, released by one and by the last", "1a 2a 1- 3- 2-", "ggs-s", "123", false, 0},
      {"both, asked for everything", "1a 2a 1x 1x 2x 3x 1a 2a 3b", "ggghwwhhw", "1", true, 2},
      {"both, joined after the exclusive lock", "1a 1x 3a", "ggg", "1", true, 2},
      {"both, exclusive one given up first", "1a 2a 1x 1- 1-", "gggxs", "2", false, 1},
      {"both, the other holder leaves", "1a 2a 1x 2- 3-", "gggs-", "1", true, 1},
      {"another key when nobody shares any more", "1a 1- 2b", "gsg", "2", false, 1},
      {"a client is gone with all it held", "1a 2a 1x 1! 1!", "gggd-", "2", false, 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    LockTable table;
    EXPECT_EQ(Play(table, row.steps), row.results);
    std::string may_use;
    for (const char client : std::string("123")) {
      if (table.MayUse(static_cast<server::ClientId>(client - '0'))) may_use += client;
    }
    EXPECT_EQ(may_use, row.may_use);
    EXPECT_EQ(table.Exclusive(), row.exclusive);
    EXPECT_EQ(table.Holders(), row.holders);
  }
}

}  // namespace
