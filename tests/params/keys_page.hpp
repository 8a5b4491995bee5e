// The page of keys, docs/keys.md, as it follows from the table of keys.
#pragma once

#include <sstream>
#include <string>

#include "params/key_table.hpp"
#include "params/number_field.hpp"

namespace vorin::test {

inline const char* const keysPageIntroduction = R"(# Parameter keys

<!-- Written from the table of keys (src/params/key_table.hpp) by
     `cmake --build --preset dev --target keys_page`; a test compares the two. -->

A host sets and queries parameters with `VorinSQR` (numbers), `VorinSQI` (integers),
`VorinSQC` (texts) and their kin; see `include/vorin.h`. A key is four characters, padded
with blanks, in any case. It is compared on as many characters as it has here: anything
that begins `SIG` reaches `SIG`, and `CSE2` reaches `CSE`. An unknown key does nothing.

- **Kind.** A *number* is a single-precision value, also where it is an integer by
  meaning; it is stored as it comes, and who reads it applies his own limits. A *text* is
  stored in upper case, cut to the length given. A *choice* is one of a few texts, set by
  its beginning or, with a blank text, by its code. Read-only keys ignore a set.
- **Load value.** What the key holds when the library has just been loaded.
- **Reset value.** What the operation `I` writes. A key that shows none keeps what it holds.
- **Text form.** What a query writes into the text beside the number. `I4`: the number plus
  0.5, without its fraction, in 4 columns. `G12.5`: 12 columns with 5 significant places. For
  a choice the codes and texts that a query answers, the last one for whatever else is
  stored.

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
  } else if (row.kind == params::Kind::Choice) {
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
    case params::Kind::Integer:
      return "`I4`";
    case params::Kind::General:
      return "`G12.5`";
    case params::Kind::Text:
      return "the text";
    case params::Kind::Choice:
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
