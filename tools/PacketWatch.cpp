#include "tools/PacketWatch.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr const char* kVariable = "SCPI_ZLT_SIM_LOG";

/// "12:34:56.789012 SIM0 <- SET P_FREQUENCY 6.0 [1000000000] SK_NO_ERROR"
struct Packet {
  std::string direction;
  std::string command;
  std::string parameter;
  std::string values;  ///< with their brackets
  std::string status;
};

Packet Parse(const std::string& line) {
  Packet packet;
  std::istringstream words(line);
  std::string skipped;
  words >> skipped >> skipped >> packet.direction >> packet.command >> packet.parameter >> skipped;
  const std::size_t start = line.find('[');
  const std::size_t end = line.rfind(']');
  if (start == std::string::npos || end == std::string::npos) return packet;
  packet.values = line.substr(start, end + 1 - start);
  std::istringstream(line.substr(end + 1)) >> packet.status;
  return packet;
}

}  // namespace

PacketWatch::PacketWatch() {
  if (const char* const present = std::getenv(kVariable); present != nullptr && *present != '\0') {
    m_file = open(present, O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
    if (m_file >= 0) lseek(m_file, 0, SEEK_END);
    return;
  }
  m_file = memfd_create("packets", MFD_CLOEXEC);
  setenv(kVariable, ("/proc/self/fd/" + std::to_string(m_file)).c_str(), 1);
}

PacketWatch::~PacketWatch() {
  if (m_file >= 0) close(m_file);
}

/// The generator writes through a descriptor of its own, whose position is another one.
std::string PacketWatch::ReadOn() {
  std::string text;
  std::array<char, 4096> piece{};
  for (ssize_t count = 0; (count = read(m_file, piece.data(), piece.size())) > 0;) {
    text.append(piece.data(), static_cast<std::size_t>(count));
  }
  return text;
}

std::vector<std::string> PacketWatch::Take() {
  std::vector<std::string> found;
  if (m_file < 0) return found;
  std::istringstream lines(ReadOn());
  Packet request;
  for (std::string line; std::getline(lines, line);) {
    const Packet packet = Parse(line);
    if (packet.command != "SET") continue;
    if (packet.direction == "->") request = packet;
    if (packet.direction != "<-" || packet.status == "SK_NO_ERROR") continue;
    const bool corrected = packet.status == "SK_PARAMETER_CORRECTED";
    found.push_back("the instrument " + std::string(corrected ? "corrected " : "refused ") + packet.parameter + " " +
                    request.values + (corrected ? " to " + packet.values : " (" + packet.status + ")"));
  }
  return found;
}
