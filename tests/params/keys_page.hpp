// The page of keys, docs/keys.md, and the table of keys in include/vorin.h, as both follow from
// the table of keys in the code.
#pragma once

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "params/key_table.hpp"
#include "params/number_field.hpp"

namespace vorin::test {

inline const char* const keysPageIntroduction = R"(# Parameter keys

<!-- Written from the table of keys (src/params/key_table.hpp) by
     `cmake --build --preset dev --target keys_page`; a test compares the two. -->

A host sets and queries parameters with `VorinSQR` (numbers), `VorinSQI` (integers),
`VorinSQC` (texts) and the entries like them; see `include/vorin.h`. A key is four
characters, padded with blanks, in any case. It is compared on as many characters as it has
here: anything that begins with `SIG` reaches `SIG`, and `CSE2` reaches `CSE`. An unknown key
does nothing.

- **Kind.** A *number* is a single-precision value, also where it is an integer by
  meaning; it is stored as it comes, and the routine that reads it applies its limits. A
  *text* is stored in upper case, cut to the length given. A *choice* is one of a few texts, set by
  its beginning or, with a blank text, by its code. Read-only keys ignore a set.
- **Load value.** What the key holds when the library has just been loaded.
- **Reset value.** What the operation `I` writes. A key that shows none keeps what it holds.
- **Text form.** What a query writes into the text beside the number. `I4`: the number plus
  0.5, without its fraction, in 4 columns. `G12.5`: 12 columns with 5 significant places. For
  a choice the codes and texts that a query answers, the last one for any other stored text.

By default the noise of an inversion is `SIG`, 0.01 in the unit of the data: neither the load
value nor the reset value of `NALG` names an estimator.

| Key | Kind | Load value | Reset value | Text form | Meaning |
|---|---|---|---|---|---|
)";

inline std::string quoted(std::string_view text) {
  std::string result = "\"";
  result += text;
  result += '"';
  return result;
}

inline std::string kindOf(const params::KeyRow& row) {
  std::string kind;
  if (row.holdsNumber()) {
    kind = "number";
  } else if (row.kind == params::Kind::choice) {
    kind = "choice";
  } else {
    kind = "text of ";
    kind += std::to_string(row.slotLength);
  }
  return row.settable ? kind : kind + ", read-only";
}

inline std::string loadValueOf(const params::KeyRow& row) {
  return row.holdsNumber() ? params::freeForm(row.load) : quoted(row.loadText);
}

inline std::string resetValueOf(const params::KeyRow& row) {
  if (row.reset) {
    return params::freeForm(*row.reset);
  }
  return row.resetText ? quoted(*row.resetText) : "";
}

inline std::string textFormOf(const params::KeyRow& row) {
  switch (row.kind) {
    case params::Kind::integer:
      return "`I4`";
    case params::Kind::general:
      return "`G12.5`";
    case params::Kind::text:
      return "the text";
    case params::Kind::choice:
      break;
  }
  std::ostringstream answers;
  for (const params::AnswerRow& answer : row.choice->answers) {
    answers << answer.code << ' ' << quoted(answer.text) << ", ";
  }
  answers << "else " << row.choice->answerOtherwise.code << ' '
          << quoted(row.choice->answerOtherwise.text);
  return answers.str();
}

/// `text` in lines of at most `width` characters.
inline std::vector<std::string> wrapped(const std::string& text, std::size_t width) {
  std::vector<std::string> lines(1);
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!lines.back().empty() && lines.back().size() + 1 + word.size() > width) {
      lines.emplace_back();
    }
    lines.back() += lines.back().empty() ? word : ' ' + word;
  }
  return lines;
}

/// The first line of the table in the header; the table ends before an empty comment line.
inline constexpr std::string_view headerTableHead = " *    key   loaded        reset    meaning\n";
inline constexpr std::string_view headerTableEnd = " *\n";

/// The table of keys as the header has it.
inline std::string keysOfHeader() {
  constexpr std::size_t keyColumns = 6;
  constexpr std::size_t loadColumns = 14;
  constexpr std::size_t resetColumns = 9;
  constexpr std::size_t meaningColumns = 62;
  const auto padded = [](std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
  };
  const std::string margin = " *    ";
  std::string table(headerTableHead);
  for (const params::KeyRow& row : params::keyTable) {
    const std::string reset = resetValueOf(row);
    std::string front = margin + padded(std::string(row.key), keyColumns) +
                        padded(loadValueOf(row), loadColumns) +
                        padded(reset.empty() ? "-" : reset, resetColumns);
    std::string meaning(row.meaning);
    if (!row.settable) {
      meaning += "; read-only";
    }
    for (const std::string& line : wrapped(meaning, meaningColumns)) {
      table += front + line + '\n';
      front = margin + std::string(front.size() - margin.size(), ' ');
    }
  }
  return table;
}

/// `header` with the table of keys replaced by `table`; as it is when it has none.
inline std::string withKeys(std::string header, const std::string& table) {
  const std::size_t start = header.find(headerTableHead);
  const std::size_t end = header.find(headerTableEnd, start);
  if (start != std::string::npos && end != std::string::npos) {
    header.replace(start, end - start, table);
  }
  return header;
}

inline std::string keysPage() {
  std::ostringstream page;
  page << keysPageIntroduction;
  for (const params::KeyRow& row : params::keyTable) {
    page << "| `" << row.key << "` | " << kindOf(row) << " | " << loadValueOf(row) << " | "
         << resetValueOf(row) << " | " << textFormOf(row) << " | " << row.meaning << " |\n";
  }
  return page.str();
}

}  // namespace vorin::test
