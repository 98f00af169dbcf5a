// Hooks where the code could report something: a packet that is misread, a message unit that failed, an exception that
// ended a message. They do nothing. To look there, give them a body. The fatal checks __M_Assert and __D_Assert are
// public: scpi_zlt/helpers.h.
#pragma once

#include <string_view>

inline void LogMessageP(std::string_view /*where*/, std::string_view /*what*/) {}
inline void LogMessageParse(std::string_view /*where*/, std::string_view /*what*/) {}
inline void LogMessageGD(std::string_view /*where*/, std::string_view /*what*/) {}
