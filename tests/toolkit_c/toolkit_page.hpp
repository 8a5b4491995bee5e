// docs/toolkit.md as it follows from toolkit/vorin_toolkit.h: the reader and the writer of
// docs/exports.md, on a header whose macros have other names.
#pragma once

#include <regex>
#include <string>

#include "abi/exports_page.hpp"

namespace vorin::test {

inline const char* const toolkitPageIntroduction = R"(# The toolkit's C functions

<!-- Written from toolkit/vorin_toolkit.h by
     `cmake --build --preset dev --target toolkit_page`; a test compares the two. -->

Every function of `libvorin_toolkit.so`, as [toolkit/vorin_toolkit.h](../toolkit/vorin_toolkit.h) declares it; what holds for all of them stands at its head. [hosts.md](hosts.md) tells when to use the toolkit and when the numerical library, and [python.md](python.md) is the same from Python.

An argument is *in*, *out* or both.
)";

/// The header as the reader of vorin.h takes it.
inline std::string toolkitHeaderText(const std::string& header) {
  std::string text = std::regex_replace(header, std::regex("VORIN_TOOLKIT_API"), "VORIN_API");
  text = std::regex_replace(text, std::regex("VORIN_TOOLKIT_CALL"), "VORIN_CALL");
  // A declaration's type is one word to the reader, and no arguments are none.
  text = std::regex_replace(text, std::regex("VORIN_API const char\\* "), "VORIN_API text ");
  return std::regex_replace(text, std::regex("\\(void\\)"), "()");
}

inline std::string toolkitPage(const std::string& header) {
  const ExportsPage page(toolkitHeaderText(header), "");
  std::string text = page.page();
  text.replace(0, std::string(exportsPageIntroduction).size(), toolkitPageIntroduction);
  text = std::regex_replace(text, std::regex("\ntext vorin_"), "\nconst char* vorin_");
  return std::regex_replace(text, std::regex("`text`"), "`const char*`");
}

}  // namespace vorin::test
