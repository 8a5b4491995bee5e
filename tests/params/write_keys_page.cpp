// Writes the page of keys into the file given.
#include <fstream>

#include "params/keys_page.hpp"

int main(int argc, char** argv) {
  if (argc != 2) {
    return 1;
  }
  std::ofstream out(argv[1], std::ios::binary);
  out << vorin::test::keysPage();
  return out.flush() ? 0 : 1;
}
