// docs/toolkit.md as it follows from toolkit/vorin_toolkit.h: the reader and the writer of
// docs/exports.md, on a header whose macros have other names.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "abi/exports_page.hpp"

namespace vorin::test {

inline const char* const toolkitPageIntroduction = R"(# The toolkit's C functions

<!-- Written from toolkit/vorin_toolkit.h by
     `cmake --build --preset dev --target toolkit_page`; a test compares the two. -->

Every function of `libvorin_toolkit.so`, as [toolkit/vorin_toolkit.h](../toolkit/vorin_toolkit.h) declares it; what holds for all of them stands at its head. [hosts.md](hosts.md) tells when to use the toolkit and when the numerical library, and [python.md](python.md) is the same from Python.

An argument is *in*, *out* or both.
)";

/// `text` with every occurrence of `from` as `to`.
inline std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

/// The header in the form that the reader of vorin.h takes.
inline std::string toolkitHeaderText(const std::string& header) {
  std::string text = replaceAll(header, "VORIN_TOOLKIT_API", "VORIN_API");
  text = replaceAll(text, "VORIN_TOOLKIT_CALL", "VORIN_CALL");
  // The reader takes a declaration's type as one word, and `(void)` for an argument.
  text = replaceAll(text, "VORIN_API const char* ", "VORIN_API text ");
  return replaceAll(text, "(void)", "()");
}

inline std::string toolkitPage(const std::string& header) {
  const ExportsPage page(toolkitHeaderText(header), "");
  std::string text = page.page();
  text.replace(0, std::string(exportsPageIntroduction).size(), toolkitPageIntroduction);
  text = replaceAll(text, "\ntext vorin_", "\nconst char* vorin_");
  return replaceAll(text, "`text`", "`const char*`");
}

}  // namespace vorin::test
