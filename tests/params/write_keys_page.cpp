// Writes the page of keys and the table of keys in the header.
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "params/keys_page.hpp"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: write_keys_page PAGE HEADER\n";
    return 2;
  }
  std::ostringstream header;
  header << std::ifstream(argv[2], std::ios::binary).rdbuf();
  const std::string text = vorin::test::withKeys(header.str(), vorin::test::keysOfHeader());
  if (text.empty()) {
    std::cerr << "write_keys_page: cannot read " << argv[2] << '\n';
    return 1;
  }
  std::ofstream page(argv[1], std::ios::binary);
  page << vorin::test::keysPage();
  std::ofstream out(argv[2], std::ios::binary);
  out << text;
  return page.flush() && out.flush() ? 0 : 1;
}
