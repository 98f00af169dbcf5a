// Hooks at the places where the code would report: a packet that is misread, a message unit that failed, an exception
// that ended a message. They do nothing; whoever needs to look there gives them a body. The fatal checks __M_Assert and
// __D_Assert are public: scpi_zlt/helpers.h.
#pragma once

#include <string_view>

inline void LogMessageP(std::string_view /*where*/, std::string_view /*what*/) {}
inline void LogMessageParse(std::string_view /*where*/, std::string_view /*what*/) {}
inline void LogMessageGD(std::string_view /*where*/, std::string_view /*what*/) {}
