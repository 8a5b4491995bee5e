// The page of exports, docs/exports.md, as it follows from the public header and the
// table of exports.
#pragma once

#include <cctype>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "header_reader.hpp"

namespace vorin::test {

inline const char* const exportsPageIntroduction = R"(# Exports

<!-- Written from include/vorin.h and src/entry/exports.table by
     `cmake --build --preset dev --target exports_page`; a test compares the three. -->

Every function of `libVorin01056.so`, as [include/vorin.h](../include/vorin.h) declares it. Matrices are column-major: element (i, j), counted from 0, of a matrix with leading dimension ld is at offset i + j * ld. Numbers are in the units of the host. Integers are 32-bit signed. Nothing throws, and arguments are not checked; a status word reports the outcome, and outputs are delivered also after a failure. All calls use library-wide state, so make one at a time. The keys are those of [keys.md](keys.md).

An argument is *in*, *out* or both; a hyphen means that it is not used. What the comment of a call leaves to another call is repeated here from there.
)";

/// A row of the table of exports.
struct ExportRow {
  std::string name;
  std::string bytes;
  std::string linkage;
  bool decorated = false;
};

inline std::vector<ExportRow> exportRowsOf(const std::string& table) {
  std::vector<ExportRow> rows;
  std::istringstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    ExportRow row;
    std::string decorated;
    if (!line.starts_with('#') && fields >> row.name >> row.bytes >> row.linkage >> decorated) {
      row.decorated = decorated == "yes";
      rows.push_back(row);
    }
  }
  return rows;
}

/// The exports of a header and the entries that describe them.
class ExportsPage {
 public:
  ExportsPage(const std::string& header, const std::string& table)
      : sections_(sectionsOf(header)), rows_(exportRowsOf(table)) {
    for (const Section& section : sections_) {
      for (const Entry& entry : section.entries) {
        for (const Prototype& prototype : entry.exports) {
          entryOf_[prototype.name] = &entry;
        }
      }
    }
  }
  ExportsPage(const ExportsPage&) = delete;
  ExportsPage& operator=(const ExportsPage&) = delete;

  const std::vector<Section>& sections() const { return sections_; }
  const std::vector<ExportRow>& rows() const { return rows_; }
  bool describes(const std::string& name) const { return entryOf_.contains(name); }

  /// What is said of `parameter` by the comment of `entry`, or by that of the first
  /// export which that comment names and which says something; null when nobody does.
  const Argument* find(const Entry& entry, const std::string& parameter) const {
    std::set<const Entry*> seen;
    return find(entry, parameter, seen);
  }

  std::string page() const {
    std::string text = exportsPageIntroduction;
    for (const Section& section : sections_) {
      text += "\n## " + section.title + "\n";
      text += prose(section.comment);
      for (const Entry& entry : section.entries) {
        text += entry.exports.empty() ? constantsText(entry) : exportsText(entry);
      }
    }
    return text;
  }

 private:
  static bool isWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
  }

  /// Calls `with` for each word of `text`, and `between` for each character outside.
  template <class Word, class Other>
  static void walk(const std::string& text, Word with, Other between) {
    for (std::size_t at = 0; at < text.size();) {
      std::size_t end = at;
      while (end < text.size() && isWordCharacter(text[end])) {
        ++end;
      }
      if (end > at) {
        with(text.substr(at, end - at));
        at = end;
      } else {
        between(text[at++]);
      }
    }
  }

  const Argument* find(const Entry& entry, const std::string& parameter,
                       std::set<const Entry*>& seen) const {
    if (!seen.insert(&entry).second) {
      return nullptr;
    }
    for (const Piece& piece : entry.comment) {
      for (const Argument& argument : piece.arguments) {
        for (const std::string& name : argument.names) {
          if (name == parameter) {
            return &argument;
          }
        }
      }
    }
    const Argument* found = nullptr;
    for (const Piece& piece : entry.comment) {
      walk(
          piece.paragraph,
          [&](const std::string& word) {
            const auto other = entryOf_.find(word);
            if (found == nullptr && other != entryOf_.end()) {
              found = find(*other->second, parameter, seen);
            }
          },
          [](char) {});
    }
    return found;
  }

  static std::string anchorOf(const std::string& name) {
    std::string anchor;
    for (const char c : name) {
      anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return anchor;
  }

  /// `text` for Markdown: exports become links, constants code, and no character of a
  /// formula is taken for markup.
  std::string marked(const std::string& text, const Entry* within) const {
    std::string result;
    walk(
        text,
        [&](const std::string& word) {
          const auto found = entryOf_.find(word);
          // `sum` is also a word of prose.
          if (found != entryOf_.end() && word != "sum") {
            result += found->second == within ? '`' + word + '`'
                                              : "[`" + word + "`](#" + anchorOf(word) + ')';
          } else {
            result += word.starts_with("VORIN_") ? '`' + word + '`' : word;
          }
        },
        [&](char c) {
          if (c == '|' || c == '*' || c == '<' || c == '[') {
            result += '\\';
          }
          result += c;
        });
    return result;
  }

  std::string prose(const Comment& comment, const Entry* within = nullptr) const {
    std::string text;
    for (const Piece& piece : comment) {
      if (!piece.paragraph.empty()) {
        text += '\n' + marked(piece.paragraph, within) + '\n';
      }
      if (!piece.formula.empty()) {
        text += "\n```text\n";
        for (const std::string& line : piece.formula) {
          text += line.substr(header::indentOf(piece.formula.front())) + '\n';
        }
        text += "```\n";
      }
    }
    return text;
  }

  std::string constantsText(const Entry& entry) const {
    std::string text = prose(entry.comment) + "\n| constant | value | meaning |\n|---|---|---|\n";
    for (const Constant& constant : entry.constants) {
      text += "| `" + constant.name + "` | " + constant.value + " | " +
              marked(constant.meaning, nullptr) + " |\n";
    }
    return text;
  }

  /// The types of the parameter at `place` in all prototypes of an entry.
  static std::string typesOf(const Entry& entry, std::size_t place) {
    std::string types;
    std::set<std::string> seen;
    for (const Prototype& prototype : entry.exports) {
      const std::string& type = prototype.parameters[place].type;
      if (seen.insert(type).second) {
        types += (types.empty() ? "`" : " or `") + type + '`';
      }
    }
    return types;
  }

  /// The rows of the table of arguments, in the order of the prototype of `like`.
  std::string argumentRows(const Entry& entry, const Prototype& like) const {
    std::string text;
    for (std::size_t i = 0; i < like.parameters.size(); ++i) {
      const std::string& name = like.parameters[i].name;
      const Argument* const argument = find(entry, name);
      text += "| `" + name + "` | " + typesOf(entry, i) + " | " +
              (argument == nullptr ? "" : argument->direction) + " | " +
              (argument == nullptr ? "" : marked(argument->text, &entry)) + " |\n";
    }
    if (like.returns != "void") {
      const Argument* const argument = find(entry, "returns");
      text += "| returns | `" + like.returns + "` | out | " +
              (argument == nullptr ? "" : marked(argument->text, &entry)) + " |\n";
    }
    return text;
  }

  std::string exportsText(const Entry& entry) const {
    std::string text = "\n### ";
    for (const Prototype& prototype : entry.exports) {
      text += (&prototype == &entry.exports.front() ? "" : ", ") + ("`" + prototype.name + "`");
    }
    text += '\n';
    for (const Prototype& prototype : entry.exports) {
      text += "<a id=\"" + anchorOf(prototype.name) + "\"></a>";
    }
    text += "\n\n```c\n";
    for (const Prototype& prototype : entry.exports) {
      text += prototype.text() + '\n';
    }
    text += "```\n" + prose(entry.comment, &entry);
    text += "\n| argument | type | direction | what |\n|---|---|---|---|\n";
    // Exports of one comment differ in types only, but for those of two prototypes.
    const Prototype* longest = &entry.exports.front();
    for (const Prototype& prototype : entry.exports) {
      longest = prototype.parameters.size() > longest->parameters.size() ? &prototype : longest;
    }
    bool alike = true;
    for (const Prototype& prototype : entry.exports) {
      alike = alike && prototype.parameters.size() == longest->parameters.size();
    }
    if (alike) {
      text += argumentRows(entry, *longest);
    } else {
      for (const Prototype& prototype : entry.exports) {
        Entry single = entry;
        single.exports = {prototype};
        text += "| **" + prototype.name + "** | | | |\n" + argumentRows(single, prototype);
      }
    }
    for (const Prototype& prototype : entry.exports) {
      text += '\n' + linkageText(prototype.name);
    }
    return text;
  }

  std::string linkageText(const std::string& name) const {
    for (const ExportRow& row : rows_) {
      if (row.name == name) {
        return "On 32-bit Windows `" + name + "` takes " + row.bytes + " bytes of arguments by " +
               row.linkage +
               (row.decorated ? " and is also exported as `_" + name + '@' + row.bytes + "`.\n"
                              : ".\n");
      }
    }
    return "";
  }

  std::vector<Section> sections_;
  std::vector<ExportRow> rows_;
  std::map<std::string, const Entry*> entryOf_;
};

inline std::string contentOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace vorin::test
