#include "manual.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "command_line.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

/// `text` unchanged, for roff: no character is a command, a hyphen is a hyphen that
/// can be copied, and no line begins with a control character.
std::string escaped(std::string_view text) {
  std::string result;
  bool startsLine = true;
  for (const char c : text) {
    if (startsLine && (c == '.' || c == '\'')) {
      result += "\\&";
    }
    startsLine = c == '\n';
    switch (c) {
      case '\\':
        result += "\\e";
        break;
      case '-':
        result += "\\-";
        break;
      case '\'':
        result += "\\(aq";
        break;
      case '`':
        result += "\\(ga";
        break;
      case '^':
        result += "\\(ha";
        break;
      case '~':
        result += "\\(ti";
        break;
      case '"':
        result += "\\(dq";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string bold(std::string_view text) {
  return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(std::string_view text) {
  return "\\fI" + escaped(text) + "\\fR";
}

/// Help texts are broken for a terminal; a page is filled anew, sentence by sentence.
std::string filled(std::string_view text) {
  std::string joined(text);
  std::replace(joined.begin(), joined.end(), '\n', ' ');
  return escaped(trimmed(joined)) + '\n';
}

std::vector<const CLI::Option*> shownOptions(const CLI::App& line, bool positional) {
  return line.get_options([positional](const CLI::Option* option) {
    return option->get_positional() == positional && !option->get_group().empty();
  });
}

/// "--kernel NAME", the value's name slanted; nothing behind a flag.
std::string optionHead(const CLI::Option& option) {
  std::string head;
  for (const std::string& name : option.get_snames()) {
    head += (head.empty() ? "" : ", ") + bold('-' + name);
  }
  for (const std::string& name : option.get_lnames()) {
    head += (head.empty() ? "" : ", ") + bold("--" + name);
  }
  const bool takesValue = option.get_items_expected_max() > 0;
  const std::string type = option.get_type_name();
  return takesValue && !type.empty() ? head + ' ' + italic(type) : head;
}

std::string synopsisOf(const CLI::App& line) {
  std::string text = bold("vorin " + line.get_name());
  for (const CLI::Option* option : shownOptions(line, true)) {
    const std::string name = italic(option->get_name(true));
    text += option->get_required() ? ' ' + name : " [" + name + "]";
    text += option->get_items_expected_max() > 1 ? " ..." : "";
  }
  const bool hasOptions = shownOptions(line, false).size() > 1;  // beside --help
  return text + (hasOptions ? " [options]\n" : "\n");
}

std::string tagged(const std::string& head, std::string_view text) {
  return ".TP\n" + head + '\n' + filled(text);
}

std::string commandText(const CLI::App& line) {
  std::string text = ".SS " + synopsisOf(line) + filled(line.get_description());
  for (const CLI::Option* option : shownOptions(line, true)) {
    text += tagged(italic(option->get_name(true)), option->get_description());
  }
  for (const std::string& group : line.get_groups()) {
    for (const CLI::Option* option : shownOptions(line, false)) {
      if (option->get_group() == group && option != line.get_help_ptr()) {
        text += tagged(optionHead(*option), option->get_description());
      }
    }
  }
  return text;
}

struct Row {
  std::string_view head;
  std::string_view text;
};

constexpr std::array<Row, 5> fileRows{{
    {"FILE.csv",
     "Decays and distributions: comma, semicolon, tab or blanks between the fields, decimals with "
     "a point; lines that begin with # and empty lines are ignored, and one header line may "
     "come first. Times are in seconds."},
    {"FILE.log",
     "The log that vorin invert keeps with --log. With --set SAVE=1 it ends in a save section, "
     "which vorin show reads."},
    {"FILE.png, FILE.svg, FILE.pdf", "Pictures, drawn by gnuplot."},
    {"$TMPDIR",
     "The place of a temporary folder of the program (/tmp when it is not set). Nothing "
     "stays there."},
    {"libVorin01056.so", "The library that does the work."},
}};

constexpr std::array<Row, 3> exitStatus{{
    {"0", "Success."},
    {"1",
     "The inversion did not succeed. The summary says why and what to try, and the files are "
     "written all the same."},
    {"2",
     "Bad input or options. One sentence on the standard error output says where and what would "
     "be right, and no file is written."},
}};

/// Each works in the folder in which those before it ran.
constexpr std::array<Row, 8> exampleRows{{
    {"vorin simulate --out decay.csv --truth truth.csv", "Make a computed decay with known truth."},
    {"vorin invert decay.csv --truth truth.csv",
     "Invert it, with a weight that suits its noise, and compare."},
    {"vorin invert decay.csv --out f.csv --plot f.png", "Keep the distribution and a picture."},
    {"vorin invert decay.csv --weight 0.5 --log run.log --set SAVE=1",
     "Invert with a fixed weight and keep all of it in the log."},
    {"vorin show run.log --out g.csv", "Read the log again."},
    {"vorin simulate2d --times2 1ms:1s:400:linear --out t1t2.csv",
     "Make a computed T1-T2 experiment."},
    {"vorin invert2d t1t2.csv --kernels t1-inversion,t2 --out map.csv --json map.json",
     "Turn it into a map."},
    {"vorin keys TARG WEIG", "See what two keys of the library mean."},
}};

template <std::size_t Size>
std::string tagList(const std::array<Row, Size>& rows) {
  std::string text;
  for (const Row& row : rows) {
    text += tagged(bold(row.head), row.text);
  }
  return text;
}

std::string examplesText() {
  std::string text;
  for (const Row& example : exampleRows) {
    text += ".PP\n" + filled(example.text) + ".PP\n.nf\n.RS 4\n" + escaped(example.head) +
            "\n.RE\n.fi\n";
  }
  return text;
}

}  // namespace

std::string manualPage(const CLI::App& program, const std::string& version) {
  std::string page =
      ".\\\" Written from the program's own help: cmake --build --preset dev --target man_page\n";
  page += fmt::format(".TH VORIN 1 \"\" \"{}\" \"User commands\"\n", escaped(version));
  page += ".nh\n.ad l\n";  // words of options are not to be broken
  page += ".SH NAME\nvorin \\- from measured decays to distributions of relaxation times\n";
  page += ".SH SYNOPSIS\n";
  for (const CLI::App* line : shownCommands(program)) {
    page += synopsisOf(*line) + ".br\n";
  }
  page +=
      bold("vorin") + " [" + bold("--help") + " | " + bold("--version") + "]\n.SH DESCRIPTION\n";
  page += filled(program.get_description());
  page += ".PP\n" + filled("Each command has the option --help, which lists the same.");
  page += ".SH COMMANDS\n";
  for (const CLI::App* line : shownCommands(program)) {
    page += commandText(*line);
  }
  page += ".SH FILES\n" + tagList(fileRows);
  page += ".SH EXIT STATUS\n" + tagList(exitStatus);
  page += ".SH EXAMPLES\n" + examplesText();
  page += ".SH SEE ALSO\n.BR gnuplot (1)\n.PP\n";
  page += filled(
      "docs/invert.md explains the numbers of a summary, docs/two_dimensional.md maps; "
      "docs/keys.md and docs/exports.md describe the library.");
  return page;
}

}  // namespace vorin::toolkit
