// What `vorin invert` leaves behind: tables, JSON, pictures and the library's log.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "invert_options.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"
#include "toolkit/writing/json_report.hpp"
#include "toolkit/writing/lcurve_picture.hpp"
#include "toolkit/writing/picture.hpp"
#include "toolkit/writing/sample_report.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view stemMark = "{}";

/// `pattern` with the stem of the file name `input` in place of each {}.
std::string nameFor(std::string pattern, const std::string& input) {
  const std::string stem = fs::path(input).stem().string();
  for (std::size_t at = 0; (at = pattern.find(stemMark, at)) != std::string::npos;
       at += stem.size()) {
    pattern.replace(at, stemMark.size(), stem);
  }
  return pattern;
}

}  // namespace

fs::path logIn(const PrivateFolder& scratch) {
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
  addOption(line, "--report", report, "FILE.html",
            "Write a report of the sample: picture, results, checks of the residual,\n"
            "settings and versions on paper size; also FILE.pdf");
  addOption(line, "--together", together, "overlay|stack",
            "One picture by --plot of all decays: their distributions from one line,\n"
            "or each above the one before; 24 decays at most");
  picture.addTo(line, "1000x1050", true);
  addOption(line, "--table", table, "FILE.csv", "Write a row of results for each decay");
  addOption(line, "--log", log, "FILE", "Keep the library's log");
  addOption(line, "--truth", truth, "FILE.csv",
            "A known distribution (relaxation time, amplitude) to compare with");
  line.add_flag("--no-picture", noPicture, "Draw no bars in the terminal");
  addOption(line, "--jobs", jobs, "N",
            "Invert N decays at a time (default: one for each processor); the\n"
            "answers do not depend on it");
  line.add_flag("--keep-going", keepGoing,
                "A file that can't be read or inverted is a row with its sentence, and\n"
                "the others are done; the exit status is 1");
  line.add_flag("--resume", resume,
                "Go on with the batch that the same command began and that was\n"
                "interrupted");
}

InvertOutputs::Targets InvertOutputs::announceEach(const std::string& name, std::string_view option,
                                                   const std::vector<Input>& inputs) {
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
  for (const Input& input : inputs) {
    targets.push_back(files_.announce(nameFor(name, input.outputName), option));
  }
  return targets;
}

void InvertOutputs::protectInputs(const OutputOptions& options, const InputOptions& input) {
  if (!options.truth.empty()) {
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
}

void InvertOutputs::findJournal(const OutputOptions& options) {
  const bool oneJson = !options.json.empty() && jsonEach_.empty() && !jsonToOutput_;
  for (const std::string& name :
       {options.table, oneJson ? options.json : std::string(), options.out, options.fit,
        options.json, options.report, options.plot, options.plotLCurve, options.log}) {
    if (!name.empty() && name != "-") {
      journal_ = fs::absolute(name + ".unfinished");
      return;
    }
  }
}

InvertOutputs::InvertOutputs(const OutputOptions& options, const InputOptions& input,
                             const std::vector<Input>& inputs, BatchLayout layout)
    : layout_(std::move(layout)),
      jsonToOutput_(options.json == "-"),
      jsonObjects_(inputs.size()),
      rows_(inputs.size()) {
  if (!options.truth.empty()) {
    truth_ = readDistribution(options.truth, gridQuantity(layout_.kernel));
  }
  protectInputs(options, input);
  out_ = announceEach(options.out, "--out", inputs);
  fit_ = announceEach(options.fit, "--fit", inputs);
  announcePlot(options, inputs);
  plotLCurve_ = announceEach(options.plotLCurve, "--plot-lcurve", inputs);
  report_ = announceEach(options.report, "--report", inputs);
  log_ = announceEach(options.log, "--log", inputs);
  // One file holds all decays unless its name asks for one each.
  if (options.json.find(stemMark) != std::string::npos) {
    jsonEach_ = announceEach(options.json, "--json", inputs);
  } else if (!options.json.empty() && !jsonToOutput_) {
    jsonOfAll_ = files_.announce(options.json, "--json");
  }
  if (!options.table.empty()) {
    table_ = files_.announce(options.table, "--table");
  }
  findJournal(options);
  files_.removeLeftovers();
  if (!options.plot.empty()) {
    requireGnuplot(options.plot, "--plot");
  }
  if (!plotLCurve_.empty()) {
    requireGnuplot(options.plotLCurve, "--plot-lcurve");
  }
  if (!report_.empty()) {
    requireReport(options.report, "--report");
  }
}

void InvertOutputs::announcePlot(const OutputOptions& options, const std::vector<Input>& inputs) {
  if (options.together.empty()) {
    plot_ = announceEach(options.plot, "--plot", inputs);
    return;
  }
  if (options.together != "overlay" && options.together != "stack") {
    throw UserError(
        fmt::format("--together {}: write overlay or stack", inQuotes(options.together)));
  }
  if (options.plot.empty()) {
    throw UserError("--together: it is about the picture of --plot, which is not asked for");
  }
  if (inputs.size() > mostTogether) {
    throw UserError(fmt::format("--together {}: there are {} decays; one picture shows {} at most",
                                options.together, inputs.size(), mostTogether));
  }
  arrangement_ = options.together == "stack" ? Arrangement::stack : Arrangement::overlay;
  plotOfAll_ = files_.announce(options.plot, "--plot");
  curves_.resize(inputs.size());
}

DecayOutputs InvertOutputs::outputsOf(std::size_t index, const Inversion& inversion,
                                      const ReportContext& context,
                                      const std::optional<LCurve>& curve,
                                      const PrivateFolder& scratch) const {
  DecayOutputs outputs;
  const auto add = [&](const Targets& targets, auto content) {
    if (!targets.empty()) {
      outputs.files.emplace_back(targets[index], content());
    }
  };
  add(out_, [&] { return distributionCsv(inversion, context); });
  add(fit_, [&] { return fitCsv(inversion, context); });
  add(plot_, [&] { return drawPicture(plot_[index], scratch, inversion, context); });
  if (curve) {
    add(plotLCurve_, [&] { return drawLCurve(plotLCurve_[index], scratch, *curve, context); });
  }
  add(report_, [&] { return sampleReport(report_[index], scratch, inversion, context); });
  add(log_, [&] { return contentOf(logIn(scratch)); });
  add(jsonEach_, [&] { return jsonObject(inversion, context) + "\n"; });
  if (!jsonOfAll_.empty() || jsonToOutput_) {
    outputs.json = jsonObject(inversion, context);
  }
  if (!plotOfAll_.empty()) {
    outputs.curve = togetherCurve(inversion, context);
  }
  outputs.row = batchRow(inversion, context);
  return outputs;
}

DecayOutputs InvertOutputs::failureOf(const std::string& name, const std::string& sentence) const {
  DecayOutputs outputs;
  outputs.row = failureRow(name, sentence);
  if (!jsonOfAll_.empty() || jsonToOutput_) {
    outputs.json = failureObject(name, sentence);
  }
  return outputs;
}

void InvertOutputs::write(std::size_t index, DecayOutputs outputs) {
  for (const auto& [target, content] : outputs.files) {
    files_.write(target, content);
  }
  files_.commit();
  if (outputs.curve) {
    curves_[index] = std::move(outputs.curve);
  }
  restore(index, std::move(outputs.row), std::move(outputs.json));
}

void InvertOutputs::drawAll(const ReportContext& context) {
  std::vector<TogetherCurve> done;
  for (const std::optional<TogetherCurve>& curve : curves_) {
    if (curve) {
      done.push_back(*curve);
    }
  }
  if (!done.empty()) {
    const PrivateFolder scratch;
    files_.write(plotOfAll_, drawTogether(plotOfAll_, scratch, done, arrangement_, context));
    files_.commit();
  }
}

void InvertOutputs::writeWholeAtTimes() {
  // A crash leaves what was written last: as much as a twentieth of the time affords, which is
  // after each decay unless there are many thousands.
  constexpr int mostShare = 20;
  if (spent_ * mostShare <= std::chrono::steady_clock::now() - start_) {
    writeWhole();
  }
}

void InvertOutputs::restore(std::size_t index, BatchRow row, std::string json) {
  rows_[index] = std::move(row);
  jsonObjects_[index] = std::move(json);
}

bool InvertOutputs::written(std::size_t index) const {
  if (!plotOfAll_.empty()) {
    return false;  // the curves of a decay are in no file
  }
  const std::array<const Targets*, 7> all{&out_,    &fit_, &plot_,    &plotLCurve_,
                                          &report_, &log_, &jsonEach_};
  return std::all_of(all.begin(), all.end(), [&](const Targets* targets) {
    std::error_code error;
    return targets->empty() || fs::exists((*targets)[index], error);
  });
}

std::vector<BatchRow> InvertOutputs::rows() const {
  std::vector<BatchRow> done;
  for (const std::optional<BatchRow>& row : rows_) {
    if (row) {
      done.push_back(*row);
    }
  }
  return done;
}

std::string InvertOutputs::wholeJson() const {
  std::vector<std::string> done;
  std::copy_if(jsonObjects_.begin(), jsonObjects_.end(), std::back_inserter(done),
               [](const std::string& object) { return !object.empty(); });
  return (jsonObjects_.size() > 1 ? jsonArray(done) : done.front()) + "\n";
}

void InvertOutputs::writeWhole() {
  const auto before = std::chrono::steady_clock::now();
  if (!jsonOfAll_.empty()) {
    files_.write(jsonOfAll_, wholeJson());
  }
  if (!table_.empty()) {
    files_.write(table_, batchCsv(rows(), layout_));
  }
  files_.commit();
  spent_ += std::chrono::steady_clock::now() - before;
}

void InvertOutputs::print() const {
  if (jsonToOutput_) {
    fmt::print("{}", wholeJson());
  }
}

}  // namespace vorin::toolkit
