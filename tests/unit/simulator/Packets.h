// Packets for the tests: from hexadecimal text, byte by byte, or from words ("SET P_FREQUENCY 6.0 0 2 1e11 1e11").
#pragma once

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>

#include "simulator/PacketText.h"
#include "simulator/Wire.h"

inline sim::Bytes FromHex(const std::string& text) {
  sim::Bytes bytes;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    for (std::size_t i = 0; i + 1 < word.size(); i += 2)
      bytes.push_back(static_cast<std::uint8_t>(std::stoi(word.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

inline std::string ToHex(sim::View bytes) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0 && i % 2 == 0) text += ' ';
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

/// "SET NAME S.F value...", a "#n" in front of the values overwrites the count in the head. "RESET" and "RUN" alone.
inline sim::Bytes FromWords(const std::string& text) {
  std::istringstream words(text);
  std::string command;
  std::string name;
  std::string format = "0.0";
  words >> command >> name >> format;
  const int number = command == "RESET" ? 1 : command == "SET" ? 3 : command == "GET" ? 4 : 6;
  const int size = format[0] - '0';
  int count = 0;
  int head_count = -1;
  sim::Bytes values;
  for (std::string word; words >> word;) {
    if (word[0] == '#') {
      head_count = std::stoi(word.substr(1));
      continue;
    }
    const auto raw = std::llround(std::stod(word) * std::pow(256.0, format[2] - '0'));
    for (int i = 0; i < size; ++i) values.push_back(static_cast<std::uint8_t>(raw >> 8 * i & 0xFF));
    ++count;
  }
  sim::Bytes packet(name.empty() ? 16 : 18);
  packet.insert(packet.end(), values.begin(), values.end());
  if (packet.size() % 2 != 0) packet.push_back(0);
  const auto body = packet.size() - 16;
  const auto shown = static_cast<std::uint8_t>(head_count >= 0 ? head_count : count);
  const sim::Bytes head{0xAA,
                        0x55,
                        static_cast<std::uint8_t>(number),
                        0,
                        0,
                        0x80,
                        static_cast<std::uint8_t>(body & 0xFF),
                        static_cast<std::uint8_t>(body >> 8),
                        shown,
                        static_cast<std::uint8_t>(size << 4 | (format[2] - '0'))};
  std::copy(head.begin(), head.end(), packet.begin());
  if (!name.empty()) packet[16] = static_cast<std::uint8_t>(sim::ParameterNumber(name));
  return packet;
}
