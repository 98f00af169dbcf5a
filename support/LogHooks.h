// Hooks at the places where the code would report. They do nothing; they mark the places for whoever needs to look
// there. The fatal checks __M_Assert and __D_Assert are public: scpi_zlt/helpers.h.
#pragma once

#include <string>

inline void LogMessageP(const std::string& /*where*/, const std::string& /*what*/) {}
inline void LogMessageParse(const std::string& /*where*/, const std::string& /*what*/) {}
inline void LogMessageGD(const std::string& /*where*/, const std::string& /*what*/) {}
