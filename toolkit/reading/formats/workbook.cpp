// Workbooks (.xlsx): a zip archive of XML (ECMA-376), of which the cells' values are read.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <optional>

#include "toolkit/reading/formats/archive.hpp"
#include "toolkit/reading/formats/arrays.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

#ifdef VORIN_READ_CONTAINERS
#include <pugixml.hpp>
#endif

namespace vorin::toolkit {

#ifdef VORIN_READ_CONTAINERS

namespace {

using Members = std::map<std::string, std::string>;

/// The limits of the format itself.
constexpr std::size_t mostRows = 1'048'576;
constexpr std::size_t mostColumns = 16'384;

pugi::xml_document parsed(const Members& members, const std::string& member,
                          const std::string& name) {
  pugi::xml_document document;
  const auto found = members.find(member);
  if (found == members.end() || !document.load_buffer(found->second.data(), found->second.size())) {
    throw UserError(fmt::format("{}: the workbook is damaged ({})", name, inOneLine(member)));
  }
  return document;
}

/// All text below `node`, as that of a string with several formats is kept in pieces.
std::string textBelow(const pugi::xml_node& node) {
  std::string text = node.child("t").text().as_string();
  for (const pugi::xml_node& run : node.children("r")) {
    text += run.child("t").text().as_string();
  }
  return text;
}

/// What stands in a line between tabs: no tab, semicolon or line end of its own.
std::string cellText(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char c) { return c == '\t' || c == '\n' || c == '\r' || c == '"'; }, ' ');
  std::replace(text.begin(), text.end(), ';', ',');
  return text;
}

/// The column, from 0, of a reference such as "AB12".
std::optional<std::size_t> columnOf(std::string_view reference) {
  std::size_t column = 0;
  std::size_t at = 0;
  while (at < reference.size() && reference[at] >= 'A' && reference[at] <= 'Z') {
    column = 26 * column + static_cast<std::size_t>(reference[at] - 'A' + 1);
    if (++at > 3) {
      return std::nullopt;
    }
  }
  return column == 0 || column > mostColumns ? std::nullopt : std::optional(column - 1);
}

/// The member that holds the sheet `inner`, or the first; `inner` becomes its name.
std::string sheetMember(const Members& members, std::string& inner, const std::string& name) {
  const pugi::xml_document workbook = parsed(members, "xl/workbook.xml", name);
  const pugi::xml_document relations = parsed(members, "xl/_rels/workbook.xml.rels", name);
  std::string names;
  for (const pugi::xml_node& sheet : workbook.child("workbook").child("sheets").children("sheet")) {
    const std::string sheetName = sheet.attribute("name").as_string();
    names += (names.empty() ? "" : ", ") + inQuotes(sheetName);
    if (!inner.empty() && inner != sheetName) {
      continue;
    }
    inner = sheetName;
    const std::string id = sheet.attribute("r:id").as_string();
    const pugi::xml_node relation =
        relations.child("Relationships").find_child_by_attribute("Relationship", "Id", id.c_str());
    const std::string target = relation.attribute("Target").as_string();
    return target.starts_with('/') ? target.substr(1) : "xl/" + target;
  }
  throw UserError(
      fmt::format("{}: there is no sheet {}; there are {}", name, inQuotes(inner), names));
}

/// Throws UserError for an archive that is something else.
void requireWorkbook(const std::vector<std::string>& members, const std::string& name) {
  const auto has = [&](std::string_view member) {
    return std::find(members.begin(), members.end(), member) != members.end();
  };
  if (has("xl/workbook.xml")) {
    return;
  }
  if (has("mimetype") && has("content.xml")) {
    throw UserError(
        fmt::format("{}: this is an OpenDocument file; save its sheet as .xlsx or CSV", name));
  }
  constexpr std::size_t most = 5;
  std::string list;
  for (std::size_t i = 0; i < members.size() && i < most; ++i) {
    list += (i == 0 ? "" : ", ") + inQuotes(members[i]);
  }
  throw UserError(fmt::format(
      "{}: this zip archive is neither a workbook (.xlsx) nor arrays of numpy's (.npz); it holds "
      "{}{}; take the file with the decay out of it",
      name, list.empty() ? "nothing" : list, members.size() > most ? " ..." : ""));
}

}  // namespace

std::string workbookText(const std::filesystem::path& path, const std::string& inner,
                         std::string& name) {
  requireWorkbook(archiveNames(path, name), name);
  Members members = archiveMembers(path, name, ".xml");
  members.merge(archiveMembers(path, name, ".rels"));
  std::string sheetName = inner;
  const std::string member = sheetMember(members, sheetName, name);
  std::vector<std::string> strings;
  if (members.contains("xl/sharedStrings.xml")) {
    const pugi::xml_document shared = parsed(members, "xl/sharedStrings.xml", name);
    for (const pugi::xml_node& item : shared.child("sst").children("si")) {
      strings.push_back(cellText(textBelow(item)));
    }
  }
  const pugi::xml_document sheet = parsed(members, member, name);
  name = fmt::format("{}:{}", name, inOneLine(sheetName));
  std::string text;
  std::size_t line = 1;
  const std::size_t most = 64'000'000 + 4 * members.at(member).size();
  for (const pugi::xml_node& row : sheet.child("worksheet").child("sheetData").children("row")) {
    const auto told = static_cast<std::size_t>(row.attribute("r").as_ullong(line));
    if (told < line || told > mostRows) {
      throw UserError(fmt::format("{}: row {} is out of order", name, told));
    }
    for (; line < told; ++line) {
      text += '\n';  // so that messages name the row of the sheet
    }
    std::size_t column = 0;
    for (const pugi::xml_node& cell : row.children("c")) {
      const std::size_t place = columnOf(cell.attribute("r").as_string()).value_or(column);
      for (; column < place; ++column) {
        text += "\"\"\t";
      }
      const std::string_view type = cell.attribute("t").as_string("n");
      std::string value = cell.child("v").text().as_string();
      if (type == "s") {
        const std::optional<long long> index = parseInteger(value);
        value = index && *index >= 0 && static_cast<std::size_t>(*index) < strings.size()
                    ? strings[static_cast<std::size_t>(*index)]
                    : "";
      } else if (type == "inlineStr") {
        value = textBelow(cell.child("is"));
      } else if (type == "e") {
        value = "nan";  // #N/A, #DIV/0! and others
      }
      text += value.empty() ? "\"\"" : cellText(std::move(value));
      text += '\t';
      ++column;
    }
    if (text.size() > most) {
      throw UserError(
          fmt::format("{}: the sheet has cells far from its numbers; save it as CSV", name));
    }
    if (!text.empty() && text.back() == '\t') {
      text.pop_back();
    }
    text += '\n';
    ++line;
  }
  return text;
}

#else

std::string workbookText(const std::filesystem::path& path, const std::string& /*inner*/,
                         std::string& name) {
  archiveMembers(path, name, "");
  return {};
}

#endif

}  // namespace vorin::toolkit
