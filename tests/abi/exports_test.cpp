// The boundary in its three forms must name the same functions: the table of
// exports, the header's declarations, and the dynamic symbols of the built library.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace {

struct Row {
  int bytes = 0;
  std::string linkage;
  std::string decorated;
};

std::string read(const std::string& path) {
  std::ifstream in(path);
  EXPECT_TRUE(in) << path;
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::map<std::string, Row> table() {
  std::map<std::string, Row> rows;
  std::istringstream in(read(VORIN_EXPORT_TABLE));
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    std::string name;
    Row row;
    if (line.empty() || line[0] == '#' || !(fields >> name)) {
      continue;
    }
    EXPECT_TRUE(fields >> row.bytes >> row.linkage >> row.decorated) << line;
    EXPECT_TRUE(rows.emplace(name, row).second) << "repeated in the table: " << name;
  }
  return rows;
}

struct Declaration {
  int bytes = 0;
  std::string linkage;
};

// Bytes of the arguments on a 32-bit machine: an address, a 32-bit integer or a
// float takes four, a double by value eight.
int bytesOf(const std::string& parameters) {
  int bytes = 0;
  std::istringstream in(parameters);
  for (std::string parameter; std::getline(in, parameter, ',');) {
    const bool address = parameter.find('*') != std::string::npos;
    bytes += !address && parameter.find("double") != std::string::npos ? 8 : 4;
  }
  return bytes;
}

/// The text with every run of white space as one blank.
std::string collapsed(const std::string& text) {
  std::string result;
  std::istringstream in(text);
  for (std::string word; in >> word;) {
    result += (result.empty() ? "" : " ") + word;
  }
  return result;
}

const std::string declarationStart = "\nVORIN_API ";

// A declaration reads: VORIN_API type VORIN_CALL name(parameters) VORIN_NOEXCEPT;
std::map<std::string, Declaration> header() {
  std::map<std::string, Declaration> found;
  const std::string text = read(VORIN_HEADER);
  for (std::size_t at = text.find(declarationStart); at != std::string::npos;
       at = text.find(declarationStart, at + 1)) {
    const std::string declaration = collapsed(text.substr(at, text.find(';', at) - at));
    const std::size_t open = declaration.find('(');
    const std::size_t close = declaration.find(')');
    std::istringstream front(declaration.substr(0, open));
    std::string api, type, linkage, name;
    EXPECT_TRUE(front >> api >> type >> linkage >> name) << declaration;
    EXPECT_TRUE(linkage == "VORIN_CALL" || linkage == "VORIN_CDECL") << declaration;
    EXPECT_EQ(declaration.substr(close), ") VORIN_NOEXCEPT") << declaration;
    found[name] = {bytesOf(declaration.substr(open + 1, close - open - 1)),
                   linkage == "VORIN_CDECL" ? "cdecl" : "stdcall"};
  }
  return found;
}

std::set<std::string> symbols() {
  std::set<std::string> names;
  const std::string command = std::string("nm -D --defined-only '") + VORIN_LIBRARY + "'";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::array<char, 512> line{};
  while (pipe && std::fgets(line.data(), static_cast<int>(line.size()), pipe.get()) != nullptr) {
    std::istringstream fields(line.data());
    std::string address;
    std::string kind;
    std::string name;
    fields >> address >> kind >> name;
    names.insert(name);
  }
  return names;
}

template <class Map>
std::set<std::string> namesOf(const Map& map) {
  std::set<std::string> names;
  for (const auto& entry : map) {
    names.insert(entry.first);
  }
  return names;
}

TEST(Exports, TheLibraryExportsTheTableAndNothingElse) {
  ASSERT_FALSE(table().empty());
  EXPECT_EQ(symbols(), namesOf(table()));
}

TEST(Exports, TheHeaderDeclaresTheTableAndNothingElse) {
  EXPECT_EQ(namesOf(header()), namesOf(table()));
}

TEST(Exports, LinkageAndArgumentBytesOfTheTableAreThoseOfTheHeader) {
  const auto declared = header();
  for (const auto& [name, row] : table()) {
    const auto found = declared.find(name);
    ASSERT_NE(found, declared.end()) << name;
    EXPECT_EQ(found->second.bytes, row.bytes) << name;
    EXPECT_EQ(found->second.linkage, row.linkage) << name;
    EXPECT_TRUE(row.decorated == "yes" || row.decorated == "no") << name;
  }
}

TEST(Exports, NoFunctionIsDeclaredOutsideTheForm) {
  // Two declarations of one name, or one that does not begin a line, would hide here.
  const std::string text = read(VORIN_HEADER);
  std::size_t marks = 0;
  for (std::size_t at = text.find("VORIN_NOEXCEPT;"); at != std::string::npos;
       at = text.find("VORIN_NOEXCEPT;", at + 1)) {
    ++marks;
  }
  EXPECT_EQ(marks, header().size());
}

}  // namespace
