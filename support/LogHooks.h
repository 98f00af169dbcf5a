// Hooks at the places where the code would report: a packet that is misread, a message unit that failed, an exception
// that ended a message. They do nothing; whoever needs to look there gives them a body. The fatal checks __M_Assert and
// __D_Assert are public: scpi_zlt/helpers.h.
#pragma once

#include <string>

inline void LogMessageP(const std::string& /*where*/, const std::string& /*what*/) {}
inline void LogMessageParse(const std::string& /*where*/, const std::string& /*what*/) {}
inline void LogMessageGD(const std::string& /*where*/, const std::string& /*what*/) {}
