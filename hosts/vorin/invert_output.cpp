// What `vorin invert` leaves behind: tables, JSON, pictures and the library's log.
#include <fmt/format.h>

#include "invert_options.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/user_error.hpp"
#include "toolkit/writing/json_report.hpp"
#include "toolkit/writing/picture.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view stemMark = "{}";

/// `pattern` with the stem of `input` in place of each {}.
std::string nameFor(std::string pattern, const std::string& input) {
  const std::string stem = input == "-" ? "stdin" : fs::path(input).stem().string();
  for (std::size_t at = 0; (at = pattern.find(stemMark, at)) != std::string::npos;
       at += stem.size()) {
    pattern.replace(at, stemMark.size(), stem);
  }
  return pattern;
}

}  // namespace

fs::path logIn(const ScratchFolder& scratch) {
  return scratch.path() / "Vorin.log";
}

void OutputOptions::addTo(CLI::App& line) {
  addOption(line, "--out", out, "FILE.csv", "Write the distribution");
  addOption(line, "--fit", fit, "FILE.csv", "Write time, amplitude, fit and residual");
  addOption(line, "--json", json, "FILE|-",
            "Write all results as JSON; - is standard output, which then gets\n"
            "nothing else");
  addOption(line, "--plot", plot, "FILE.png",
            "Draw decay, fit and distribution; also FILE.svg, FILE.pdf");
  addOption(line, "--plot-lcurve", plotLCurve, "FILE.png",
            "Draw the L-curve, its corner and the weight of the result;\n"
            "also FILE.svg, FILE.pdf");
  addOption(line, "--table", table, "FILE.csv", "Write a row of results for each decay");
  addOption(line, "--log", log, "FILE", "Keep the library's log");
  addOption(line, "--truth", truth, "FILE.csv",
            "A known distribution (relaxation time, amplitude) to compare with");
  line.add_flag("--no-picture", noPicture, "Draw no bars in the terminal");
}

InvertOutputs::Targets InvertOutputs::announceEach(const std::string& name, std::string_view option,
                                                   const std::vector<std::string>& inputs) {
  Targets targets;
  if (name.empty()) {
    return targets;
  }
  if (inputs.size() > 1 && name.find(stemMark) == std::string::npos) {
    throw UserError(fmt::format(
        "{} {}: there are {} decays; put {{}} into the name, which becomes the name of each "
        "without its folder and ending",
        option, name, inputs.size()));
  }
  for (const std::string& input : inputs) {
    targets.push_back(files_.announce(nameFor(name, input), option));
  }
  return targets;
}

InvertOutputs::InvertOutputs(const OutputOptions& options, const InputOptions& input,
                             const std::vector<Input>& inputs, BatchLayout layout)
    : layout_(std::move(layout)),
      jsonToOutput_(options.json == "-"),
      severalInputs_(inputs.size() > 1) {
  std::vector<std::string> names;
  for (const Input& decay : inputs) {
    names.push_back(decay.outputName);
  }
  if (!options.truth.empty()) {
    truth_ = readDistribution(options.truth, gridQuantity(layout_.kernel));
    files_.protect(options.truth);
  }
  for (const std::string& file : input.files) {
    if (file != "-") {
      files_.protect(file);
    }
  }
  for (const std::string* file : {&input.kernel, &input.grid}) {
    std::error_code error;
    if (fs::exists(*file, error)) {
      files_.protect(*file);
    }
  }
  out_ = announceEach(options.out, "--out", names);
  fit_ = announceEach(options.fit, "--fit", names);
  plot_ = announceEach(options.plot, "--plot", names);
  plotLCurve_ = announceEach(options.plotLCurve, "--plot-lcurve", names);
  log_ = announceEach(options.log, "--log", names);
  // One file holds all decays unless its name asks for one each.
  if (options.json.find(stemMark) != std::string::npos) {
    jsonEach_ = announceEach(options.json, "--json", names);
  } else if (!options.json.empty() && !jsonToOutput_) {
    jsonOfAll_ = files_.announce(options.json, "--json");
  }
  if (!options.table.empty()) {
    table_ = files_.announce(options.table, "--table");
  }
  if (!plot_.empty()) {
    requireGnuplot(options.plot, "--plot");
  }
  if (!plotLCurve_.empty()) {
    requireGnuplot(options.plotLCurve, "--plot-lcurve");
  }
}

void InvertOutputs::write(std::size_t index, const Inversion& inversion,
                          const ReportContext& context, const std::optional<LCurve>& curve,
                          const ScratchFolder& scratch) {
  if (!out_.empty()) {
    files_.write(out_[index], distributionCsv(inversion, context));
  }
  if (!fit_.empty()) {
    files_.write(fit_[index], fitCsv(inversion, context));
  }
  if (!plot_.empty()) {
    files_.write(plot_[index], drawPicture(plot_[index], scratch, inversion, context));
  }
  if (curve) {
    files_.write(plotLCurve_[index], drawLCurve(plotLCurve_[index], scratch, *curve, context.name));
  }
  if (!log_.empty()) {
    files_.write(log_[index], contentOf(logIn(scratch)));
  }
  if (!jsonEach_.empty()) {
    files_.write(jsonEach_[index], jsonObject(inversion, context) + "\n");
  } else if (!jsonOfAll_.empty() || jsonToOutput_) {
    jsonObjects_.push_back(jsonObject(inversion, context));
  }
  rows_.push_back(batchRow(inversion, context));
  files_.commit();
}

const std::vector<BatchRow>& InvertOutputs::finish() {
  if (!jsonObjects_.empty()) {
    const std::string text =
        (severalInputs_ ? jsonArray(jsonObjects_) : jsonObjects_.front()) + "\n";
    if (jsonToOutput_) {
      fmt::print("{}", text);
    } else {
      files_.write(jsonOfAll_, text);
    }
  }
  if (!table_.empty()) {
    files_.write(table_, batchCsv(rows_, layout_));
  }
  files_.commit();
  return rows_;
}

}  // namespace vorin::toolkit
