// Prints |S21| of a two-port file: what a user of the data files alone links.
#include <cmath>
#include <iostream>
#include <scpi_zlt/datafiles.h>

int main(int, char** arguments) {
  std::cout << std::abs(scpi_zlt::ReadTouchstone(arguments[1]).At(0, 2, 1)) << '\n';
}
