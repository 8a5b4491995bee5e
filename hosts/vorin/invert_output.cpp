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
  addOption(line, "--title", title, "TEXT", "The title of pictures of --plot and of reports");
  addOption(line, "--amplitude-label", amplitudeLabel, "TEXT",
            "What the amplitudes in pictures are called");
  addOption(line, "--size", size, "WIDTHxHEIGHT",
            "The size of pictures of --plot in pixels of 1/96 inch (default 1000x1050)");
  addOption(line, "--dpi", dpi, "N",
            "Pixels to an inch of a PNG of --plot, 48 to 1200 (default 96)");
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

PictureStyle pictureStyle(const OutputOptions& options) {
  PictureStyle style;
  style.title = options.title;
  style.amplitudeLabel = options.amplitudeLabel;
  constexpr long long shortest = 300;
  constexpr long long longest = 5000;
  if (!options.size.empty()) {
    const std::size_t cross = std::min(options.size.find('x'), options.size.size());
    const auto width = parseInteger(options.size.substr(0, cross));
    const auto height =
        parseInteger(cross < options.size.size() ? options.size.substr(cross + 1) : "");
    if (!width || !height || std::min(*width, *height) < shortest ||
        std::max(*width, *height) > longest) {
      throw UserError(
          fmt::format("--size {}: two whole numbers from {} to {} are required, as "
                      "1000x1050",
                      inQuotes(options.size), shortest, longest));
    }
    style.width = static_cast<int>(*width);
    style.height = static_cast<int>(*height);
  }
  if (!options.dpi.empty()) {
    constexpr long long coarsest = 48;
    constexpr long long finest = 1200;
    const auto dpi = parseInteger(options.dpi);
    if (!dpi || *dpi < coarsest || *dpi > finest) {
      throw UserError(fmt::format("--dpi {}: a whole number from {} to {} is required",
                                  inQuotes(options.dpi), coarsest, finest));
    }
    style.dpi = static_cast<int>(*dpi);
  }
  return style;
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
  plot_ = announceEach(options.plot, "--plot", inputs);
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
  if (!plot_.empty()) {
    requireGnuplot(options.plot, "--plot");
  }
  if (!plotLCurve_.empty()) {
    requireGnuplot(options.plotLCurve, "--plot-lcurve");
  }
  if (!report_.empty()) {
    requireReport(options.report, "--report");
  }
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
    add(plotLCurve_, [&] { return drawLCurve(plotLCurve_[index], scratch, *curve, context.name); });
  }
  add(report_, [&] { return sampleReport(report_[index], scratch, inversion, context); });
  add(log_, [&] { return contentOf(logIn(scratch)); });
  add(jsonEach_, [&] { return jsonObject(inversion, context) + "\n"; });
  if (!jsonOfAll_.empty() || jsonToOutput_) {
    outputs.json = jsonObject(inversion, context);
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
  restore(index, std::move(outputs.row), std::move(outputs.json));
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
