// What the instrument did with the requests of a message, as the packet log of the simulated generator shows it.
#pragma once

#include <string>
#include <vector>

class PacketWatch {
 public:
  /// Asks for a log of its own through SCPI_ZLT_SIM_LOG, unless that names one already. Comes before the library is
  /// loaded.
  PacketWatch();
  ~PacketWatch();
  PacketWatch(const PacketWatch&) = delete;
  PacketWatch& operator=(const PacketWatch&) = delete;

  /// Settings that the instrument has refused or corrected since the last call, with the values asked and taken. Empty
  /// without a simulated generator.
  std::vector<std::string> Take();

 private:
  std::string ReadOn();

  int m_file = -1;
};
