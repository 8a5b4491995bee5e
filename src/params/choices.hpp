// The three parameters that hold one of a few texts: the mode of pruning (PRMO),
// the algorithm of the noise estimate (NALG) and the target of the weight search
// (TARG). Each can be set by a text or by a numeric code and answers both; the
// tables here are the whole mapping.
#pragma once

#include <span>
#include <string_view>

namespace vorin::params {

/// Set by number: the text that `code` stores.
struct CodeRow {
  int code;
  std::string_view stored;
};

/// Set by text: what a text that begins with `prefix` (case aside) stores.
struct TextRow {
  std::string_view prefix;
  std::string_view stored;
};

/// Query: what a stored text that begins with `prefix` answers.
struct AnswerRow {
  std::string_view prefix;
  int code;
  std::string_view text;
};

/// The mapping of one choice. Rows are tried in order; the first match wins and
/// the fallback serves what no row matches.
struct Choice {
  std::span<const CodeRow> byCode;
  std::span<const TextRow> byText;
  std::string_view storedOtherwise;
  std::span<const AnswerRow> answers;
  AnswerRow answerOtherwise;
};

namespace choices {

inline constexpr CodeRow targByCode[] = {{0, "WEIG"}, {1, "NOISE"}, {2, "2"}};
inline constexpr TextRow targByText[] = {{"W", "WEIG"}, {"N", "NOISE"}, {"L", "2"}, {"2", "2"}};
inline constexpr AnswerRow targAnswers[] = {{"W", 0, "WEIG"}, {"N", 1, "NOISE"}, {"2", 2, "2"}};
inline constexpr Choice targ = {targByCode, targByText, "NOISE", targAnswers, {"", 1, "NOISE"}};

inline constexpr CodeRow nalgByCode[] = {{1, "UREG"}, {2, "ASYM"}, {3, "REG"},
                                         {4, "D2"},   {5, "D3"},   {99, "ASY2"}};
// Required: a D alone, or with anything but a 2 behind it, means D3; hosts rely
// on the short form.
inline constexpr TextRow nalgByText[] = {{"U", "UREG"},    {"F", "FIT"}, {"ASYM", "ASYM"},
                                         {"ASY2", "ASY2"}, {"R", "REG"}, {"D2", "D2"},
                                         {"D3", "D3"},     {"D", "D3"}};
// Required: the answer is not always what was stored. UREG answers as URF, ASY2
// as ASYM, and FIT answers as NONE does; hosts know these answers. A routine that needs
// the stored text reads the slot (storedText).
inline constexpr AnswerRow nalgAnswers[] = {
    {"U", 1, "URF"}, {"A", 2, "ASYM"}, {"R", 3, "REG"}, {"D2", 4, "D2"}, {"D3", 5, "D3"}};
inline constexpr Choice nalg = {nalgByCode, nalgByText, "NONE", nalgAnswers, {"", 0, "N"}};

inline constexpr CodeRow prmoByCode[] = {{1, "LOG"}, {2, "LIN"}, {3, "LILO"}};
inline constexpr TextRow prmoByText[] = {{"LOG", "LOG"}, {"LIN", "LIN"}, {"LILO", "LILO"}};
inline constexpr AnswerRow prmoAnswers[] = {
    {"LOG", 1, "LOG"}, {"LIN", 2, "LIN"}, {"LILO", 3, "LILO"}};
inline constexpr Choice prmo = {prmoByCode, prmoByText, "NONE", prmoAnswers, {"", 0, "NONE"}};

}  // namespace choices
}  // namespace vorin::params
