// Writes the page of exports: HEADER TABLE PAGE.
#include <fstream>

#include "exports_page.hpp"

int main(int argc, char** argv) {
  if (argc != 4) {
    return 1;
  }
  const vorin::test::ExportsPage page(vorin::test::contentOf(argv[1]),
                                      vorin::test::contentOf(argv[2]));
  if (page.rows().empty() || page.sections().empty()) {
    return 1;
  }
  std::ofstream out(argv[3], std::ios::binary);
  out << page.page();
  return out.flush() ? 0 : 1;
}
