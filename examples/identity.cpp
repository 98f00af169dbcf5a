// From C++: one owner for the session, one function for a query. Prints the instrument's name and its settings.
#include <array>
#include <iostream>
#include <scpi_zlt/scpi_zlt.h>
#include <stdexcept>
#include <string>

namespace {

class Generator {
 public:
  explicit Generator(const char* resource) {
    if (skOpen(0, resource, 0, 10000, &m_session) != VI_SUCCESS) throw std::runtime_error("cannot open the generator");
  }
  ~Generator() { skClose(m_session); }
  Generator(const Generator&) = delete;
  Generator& operator=(const Generator&) = delete;

  std::string Ask(std::string query) const {
    query += '\n';
    unsigned long count = 0;
    skWrite(m_session, reinterpret_cast<unsigned char*>(query.data()), query.size(), &count);
    std::array<unsigned char, 1024> answer{};
    if (skRead(m_session, answer.data(), answer.size(), &count) != VI_SUCCESS_TERM_CHAR) {
      throw std::runtime_error("no answer to " + query);
    }
    return {answer.begin(), answer.begin() + static_cast<long>(count)};
  }

 private:
  unsigned long m_session = 0;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    const Generator generator(argc > 1 ? argv[1] : "SIM0::INSTR::ZLT");
    for (const char* query : {"*IDN?", ":FREQ?", ":POW?", ":OUTP?", ":SYST:ERR?"}) {
      std::cout << query << '\t' << generator.Ask(query);
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
