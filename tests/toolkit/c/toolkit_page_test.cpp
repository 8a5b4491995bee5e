// The page of the toolkit's C functions is that of its header; the header describes every
// argument; and the library has these functions and nothing else.
#include "toolkit_page.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <set>
#include <string>

namespace {

using vorin::test::contentOf;
using vorin::test::ExportsPage;

const ExportsPage& thePage() {
  static const ExportsPage page(vorin::test::toolkitHeaderText(contentOf(VORIN_TOOLKIT_HEADER)),
                                "");
  return page;
}

std::set<std::string> declared() {
  std::set<std::string> names;
  for (const auto& section : thePage().sections()) {
    for (const auto& entry : section.entries) {
      for (const auto& prototype : entry.exports) {
        names.insert(prototype.name);
      }
    }
  }
  return names;
}

TEST(ToolkitPage, IsThatOfTheHeader) {
  EXPECT_EQ(contentOf(VORIN_TOOLKIT_PAGE),
            vorin::test::toolkitPage(contentOf(VORIN_TOOLKIT_HEADER)))
      << "write it anew: cmake --build --preset dev --target toolkit_page";
}

TEST(ToolkitPage, HasEveryFunctionThatTheHeaderDeclares) {
  const std::string header = contentOf(VORIN_TOOLKIT_HEADER);
  std::size_t macros = 0;
  for (std::size_t at = header.find("\nVORIN_TOOLKIT_API"); at != std::string::npos;
       at = header.find("\nVORIN_TOOLKIT_API", at + 1)) {
    ++macros;
  }
  EXPECT_EQ(declared().size(), macros);
  EXPECT_GE(macros, 27U);
}

TEST(ToolkitPage, EveryArgumentIsDescribedAndNoOther) {
  for (const auto& section : thePage().sections()) {
    for (const auto& entry : section.entries) {
      for (const auto& prototype : entry.exports) {
        std::set<std::string> names{"returns"};
        for (const auto& parameter : prototype.parameters) {
          names.insert(parameter.name);
          const auto* const argument = thePage().find(entry, parameter.name);
          ASSERT_NE(argument, nullptr) << prototype.name << ": " << parameter.name;
          EXPECT_FALSE(argument->text.empty()) << prototype.name << ": " << parameter.name;
        }
        if (prototype.returns != "void") {
          EXPECT_NE(thePage().find(entry, "returns"), nullptr) << prototype.name;
        }
        for (const auto& piece : entry.comment) {
          for (const auto& argument : piece.arguments) {
            for (const std::string& name : argument.names) {
              EXPECT_TRUE(names.contains(name)) << prototype.name << ": " << name;
            }
          }
        }
      }
    }
  }
}

TEST(ToolkitLibrary, ExportsTheFunctionsOfTheHeaderAndNothingElse) {
  const std::string command = "nm -D --defined-only '" VORIN_TOOLKIT_LIBRARY "'";
  std::FILE* const pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::set<std::string> exported;
  std::array<char, 512> line{};
  while (std::fgets(line.data(), static_cast<int>(line.size()), pipe) != nullptr) {
    std::string text(line.data());
    text.erase(text.find_last_not_of('\n') + 1);
    exported.insert(text.substr(text.find_last_of(' ') + 1));
  }
  EXPECT_EQ(pclose(pipe), 0);
  EXPECT_EQ(exported, declared());
}

}  // namespace
