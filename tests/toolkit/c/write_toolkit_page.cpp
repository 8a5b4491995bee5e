// Writes the page of the toolkit's C functions: HEADER PAGE.
#include <fstream>

#include "toolkit_page.hpp"

int main(int argc, char** argv) {
  if (argc != 3) {
    return 1;
  }
  const std::string page = vorin::test::toolkitPage(vorin::test::contentOf(argv[1]));
  std::ofstream out(argv[2], std::ios::binary);
  out << page;
  return out.flush() ? 0 : 1;
}
