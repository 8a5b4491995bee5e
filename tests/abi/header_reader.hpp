// The public header taken apart: its sections, its constants, and for each export the
// prototype and what the comment before it says of every argument.
//
// A comment's prose begins one blank behind the asterisk. Two blanks further stands a
// row of the list of arguments: a name or several, the direction (in, out, in and out,
// a hyphen for what is not touched, none for "returns") and a text, which may go on in
// lines that are indented more. What is indented elsewhere is a formula.
#pragma once

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::test {

using Words = std::vector<std::string>;

struct Argument {
  Words names;
  std::string direction;
  std::string text;
};

/// A part of a comment: a paragraph, lines of a formula, or rows of arguments.
struct Piece {
  std::string paragraph;
  Words formula;
  std::vector<Argument> arguments;
};
using Comment = std::vector<Piece>;

struct Constant {
  std::string name;
  std::string value;
  std::string meaning;
};

struct Parameter {
  std::string type;
  std::string name;
};

struct Prototype {
  std::string name;
  std::string returns;
  std::vector<Parameter> parameters;

  std::string text() const {
    std::string line = returns + ' ' + name + '(';
    for (const Parameter& parameter : parameters) {
      line +=
          (&parameter == &parameters.front() ? "" : ", ") + parameter.type + ' ' + parameter.name;
    }
    return line + ");";
  }
};

/// A comment with what it stands before: the constants of an enum, or exports.
struct Entry {
  Comment comment;
  std::vector<Constant> constants;
  std::vector<Prototype> exports;
};

struct Section {
  std::string title;
  Comment comment;
  std::vector<Entry> entries;
};

namespace header {

inline std::size_t indentOf(const std::string& line) {
  return std::min(line.find_first_not_of(' '), line.size());
}

inline std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\n");
  return first == std::string::npos
             ? ""
             : text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

inline void append(std::string& text, const std::string& more) {
  text += text.empty() ? more : ' ' + more;
}

/// The lines between the marks of a comment, less the asterisks and the blank behind.
inline Words linesOfComment(const std::string& comment) {
  Words lines;
  std::istringstream in(comment.substr(2, comment.size() - 4));
  for (std::string line; std::getline(in, line);) {
    const std::size_t star = line.find_first_not_of(' ');
    if (!lines.empty() && star != std::string::npos && line[star] == '*') {
      line.erase(0, star + 1);
    }
    line.erase(0, line.starts_with(' ') ? 1 : 0);
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back(line);
  }
  return lines;
}

/// Splits a row of arguments; without names when the line is none.
inline Argument argumentOf(const std::string& line) {
  const std::string row = trimmed(line);
  const std::size_t gap = row.find("  ");
  if (gap == std::string::npos) {
    return {};
  }
  Argument argument;
  std::istringstream names(row.substr(0, gap));
  for (std::string name; names >> name;) {
    if (name.back() == ',') {
      name.pop_back();
    }
    if (!std::all_of(name.begin(), name.end(),
                     [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; })) {
      return {};
    }
    argument.names.push_back(name);
  }
  std::string rest = trimmed(row.substr(gap));
  constexpr std::array<std::string_view, 5> directions{"in on S, out on Q: ", "in and out ", "in ",
                                                       "out ", "- "};
  for (const std::string_view direction : directions) {
    const bool marked = direction.back() == ' ' && direction[direction.size() - 2] == ':';
    if (rest.starts_with(direction) &&
        (marked || rest.size() == direction.size() || rest[direction.size()] == ' ')) {
      argument.direction = direction.substr(0, direction.size() - (marked ? 2 : 1));
      rest = trimmed(rest.substr(direction.size()));
      break;
    }
  }
  argument.text = rest;
  return argument;
}

inline Comment commentOf(const Words& lines) {
  Comment comment;
  enum class State { none, paragraph, formula, arguments } state = State::none;
  for (const std::string& line : lines) {
    if (line.empty()) {
      state = State::none;
      continue;
    }
    const std::size_t indent = indentOf(line);
    if (indent == 2) {
      const Argument argument = argumentOf(line);
      if (!argument.names.empty()) {
        if (state != State::arguments) {
          comment.emplace_back();
        }
        state = State::arguments;
        comment.back().arguments.push_back(argument);
        continue;
      }
    }
    if (indent > 2 && state == State::arguments) {
      append(comment.back().arguments.back().text, trimmed(line));
    } else if (indent > 0) {
      if (state != State::formula) {
        comment.emplace_back();
      }
      state = State::formula;
      comment.back().formula.push_back(line);
    } else {
      if (state != State::paragraph) {
        comment.emplace_back();
      }
      state = State::paragraph;
      append(comment.back().paragraph, line);
    }
  }
  return comment;
}

/// The text with every run of white space as one blank.
inline std::string collapsed(const std::string& text) {
  std::string result;
  std::istringstream in(text);
  for (std::string word; in >> word;) {
    append(result, word);
  }
  return result;
}

/// `declaration` reads: VORIN_API type VORIN_CALL name(parameters) VORIN_NOEXCEPT
inline Prototype prototypeOf(const std::string& declaration) {
  const std::string text = collapsed(declaration);
  const std::size_t open = text.find('(');
  std::istringstream front(text.substr(0, open));
  Prototype prototype;
  std::string ignored;
  front >> ignored >> prototype.returns >> ignored >> prototype.name;
  std::istringstream parameters(text.substr(open + 1, text.find(')') - open - 1));
  for (std::string parameter; std::getline(parameters, parameter, ',');) {
    parameter = trimmed(parameter);
    const std::size_t name = parameter.find_last_of(" *") + 1;
    prototype.parameters.push_back({trimmed(parameter.substr(0, name)), parameter.substr(name)});
  }
  return prototype;
}

/// Between the braces of an enum: NAME = VALUE, /* meaning */ with the comma or without.
inline std::vector<Constant> constantsOf(const std::string& body) {
  std::vector<Constant> constants;
  for (std::size_t at = body.find("VORIN_"); at != std::string::npos;) {
    const std::size_t equals = body.find('=', at);
    const std::size_t end = std::min(body.find_first_of(",/\n}", equals), body.size());
    Constant constant{trimmed(body.substr(at, equals - at)),
                      trimmed(body.substr(equals + 1, end - equals - 1)), ""};
    at = body.find("VORIN_", end);
    const std::size_t comment = body.find("/*", end);
    const std::size_t line = body.find('\n', end);
    if (comment < line) {  // on the line of the constant
      const std::size_t close = body.find("*/", comment);
      Words lines = linesOfComment(body.substr(comment, close + 2 - comment));
      for (const std::string& text : lines) {
        append(constant.meaning, trimmed(text));
      }
      at = body.find("VORIN_", close);
    }
    constants.push_back(constant);
  }
  return constants;
}

}  // namespace header

/// The sections of the header `text`.
inline std::vector<Section> sectionsOf(const std::string& text) {
  std::vector<Section> sections;
  std::size_t at = text.find("\n/* ---");
  while (at != std::string::npos) {
    ++at;  // the line's end before the comment
    const std::size_t close = text.find("*/", at) + 2;
    Words lines = header::linesOfComment(text.substr(at, close - at));
    if (lines.front().starts_with("---")) {
      lines.erase(lines.begin());
      lines.pop_back();
      const std::string title = lines.front();
      lines.erase(lines.begin());
      sections.push_back({title, header::commentOf(lines), {}});
    } else {
      Entry entry{header::commentOf(lines), {}, {}};
      std::size_t next = close + 1;
      if (text.compare(next, 4, "enum") == 0) {
        const std::size_t open = text.find('{', next);
        entry.constants = header::constantsOf(text.substr(open, text.find("};", open) - open));
      }
      while (text.compare(next, 9, "VORIN_API") == 0) {
        const std::size_t end = text.find(';', next);
        entry.exports.push_back(header::prototypeOf(text.substr(next, end - next)));
        next = end + 2;
      }
      sections.back().entries.push_back(entry);
    }
    at = text.find("\n/* ", close);
  }
  return sections;
}

}  // namespace vorin::test
