// The settings of an instrument as SCPI text that restores them.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// The answer to a query, without its line end.
using AskFunction = std::function<std::string(const std::string& query)>;

/// Messages that bring a newly opened session to the state of the one that is asked: settings that are not at their
/// start value, or with `all` every one, in an order in which none undoes another. What cannot be asked for is named in
/// a comment. Asks queries only.
std::vector<std::string> SettingsAsMessages(const AskFunction& ask, bool all);
