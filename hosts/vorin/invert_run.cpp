// The run of `vorin invert`: one decay with its summary, or a batch with its table.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "batch_journal.hpp"
#include "invert_options.hpp"
#include "jobs.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/kernel_source.hpp"
#include "toolkit/inverting/lcurve.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/system/console.hpp"
#include "toolkit/writing/batch_table.hpp"
#include "toolkit/writing/progress.hpp"
#include "toolkit/writing/report.hpp"
#include "toolkit/writing/terminal_picture.hpp"

namespace vorin::toolkit {

namespace {

/// The table of several decays, shown as it grows, in the order of the decays.
class GrowingTable {
 public:
  GrowingTable(const std::vector<Input>& inputs, const BatchLayout& layout, bool shown)
      : shown_(shown), text_(namesOf(inputs), layout) {
    show(text_.heading());
  }

  void add(std::size_t index, const BatchRow& row) {
    rows_.emplace(index, row);
    for (auto at = rows_.find(next_); at != rows_.end(); at = rows_.find(next_)) {
      show(text_.row(at->second));
      rows_.erase(at);
      ++next_;
    }
  }
  void end(const std::vector<BatchRow>& rows) const { show(BatchText::ending(rows)); }

 private:
  static std::vector<std::string> namesOf(const std::vector<Input>& inputs) {
    std::vector<std::string> names;
    names.reserve(inputs.size());
    for (const Input& input : inputs) {
      names.push_back(input.name);
    }
    return names;
  }

  void show(const std::string& text) const {
    if (shown_) {
      fmt::print("{}", text);
      std::fflush(stdout);
    }
  }

  bool shown_;
  BatchText text_;
  std::size_t next_ = 0;                  ///< the first that is not shown
  std::map<std::size_t, BatchRow> rows_;  ///< done before it
};

/// What all decays of a run have in common.
struct Run {
  InversionSettings settings;
  std::optional<BootstrapSettings> bandRequest;
  Calibration calibration;
  BatchLayout layout;
  std::optional<Distribution> truth;
  PictureStyle picture;
  std::vector<std::pair<std::string, std::string>> given;  ///< the options of the inversion
};

void showOne(const Inversion& inversion, const ReportContext& context, bool noPicture) {
  fmt::print("{}", summary(inversion, context));
  if (!noPicture && outputIsTerminal()) {
    fmt::print("{}", terminalPicture(inversion.distribution, context.kernel, terminalStyle()));
  }
}

/// Throws UserError for a decay that can't be inverted. The sentences below don't know the
/// names of files; among several decays the name is put first.
void requireInvertible(const Input& input, const InversionSettings& settings, bool amongSeveral) {
  try {
    InversionSettings own = settings;
    own.kernel = input.kernel;
    requireUsable(input.decay, own);
    if (amongSeveral) {
      requireNoise(input.decay, own);  // a single one will show while it is inverted
    }
  } catch (const UserError& error) {
    throw amongSeveral ? UserError(fmt::format("{}: {}", input.name, error.what())) : error;
  }
}

ReportContext contextOf(const Input& input, const Run& run) {
  ReportContext context{input.name, input.decay, input.kernel};
  context.truth = run.truth;
  context.kernelFile = input.kernelFile;
  context.phase = input.phase;
  context.found = input.found;
  context.picture = run.picture;
  context.measures = run.layout.measures;
  context.amplitudeUnit = run.calibration.unit;
  context.settings = run.given;
  return context;
}

/// One decay inverted, with all that is said of it.
struct Inverted {
  InversionSettings settings;
  Inversion inversion;
  ReportContext context;
  std::optional<LCurve> curve;
};

Inverted inverted(const Input& input, const Run& run, SharedKernel& kernels,
                  const InvertOutputs& outputs, const PrivateFolder& scratch,
                  const std::function<void(int)>& progress) {
  Inverted result{run.settings, {}, contextOf(input, run), {}};
  InversionSettings& settings = result.settings;
  settings.kernel = input.kernel;
  settings.grid = input.grid;
  settings.matrix =
      input.matrix ? input.matrix : kernels.of(input.kernel, input.decay.time, input.grid);
  if (outputs.wantsLog()) {
    settings.logFile = logIn(scratch).string();
  }
  result.inversion = invert(input.decay, settings);
  if (run.bandRequest && succeeded(result.inversion)) {
    BootstrapSettings request = *run.bandRequest;
    request.progress = progress;
    result.context.band = bootstrap(input.decay, settings, result.inversion, request);
  }
  if (outputs.wantsLCurve()) {
    result.curve = lCurve(input.decay, settings, result.inversion);
  }
  return result;
}

ExitStatus invertOne(const Input& input, Run& run, InvertOutputs& outputs, std::size_t threads,
                     bool noPicture) {
  SharedKernel kernels;
  const PrivateFolder scratch;
  std::optional<ProgressBar> bar;
  if (run.bandRequest) {
    run.bandRequest->threads = static_cast<int>(threads);
    bar.emplace("bootstrap", run.bandRequest->replicates);
  }
  const Inverted result = inverted(input, run, kernels, outputs, scratch, [&](int done) {
    if (bar) {
      bar->show(done);
    }
  });
  bar.reset();
  outputs.write(0, outputs.outputsOf(0, result.inversion, result.context, result.curve, scratch));
  outputs.drawAll(result.context);
  outputs.writeWhole();
  outputs.print();
  if (!outputs.takesStandardOutput()) {
    showOne(result.inversion, result.context, noPicture);
  }
  return succeeded(result.inversion) ? ExitStatus::success : ExitStatus::unsuccessfulInversion;
}

/// Several decays, of which an earlier run may have done some.
class Batch {
 public:
  Batch(const std::vector<Input>& inputs, const Run& run, InvertOutputs& outputs,
        const std::string& settings)
      : inputs_(inputs),
        run_(run),
        outputs_(outputs),
        table_(inputs, run.layout, !outputs.takesStandardOutput()) {
    if (!outputs.journal().empty()) {
      journal_.emplace(outputs.journal(), settings);
    }
  }

  /// Takes what an interrupted run has done.
  void resume() {
    if (!journal_) {
      throw UserError(
          "--resume: there is no file to go on with; name what the run writes, as --table FILE");
    }
    done_ = journal_->read();
  }

  ExitStatus invertAll(std::size_t threads, bool keepGoing) {
    const std::vector<std::size_t> open = restoreDone();
    ProgressBar bar("inverting", static_cast<int>(inputs_.size()),
                    static_cast<int>(inputs_.size() - open.size()));
    const StopOnSignal stop;
    try {
      runJobs(open.size(), threads, [&](std::size_t job, const PrivateFolder& scratch) {
        DecayOutputs outputs = outputsOf(open[job], scratch, keepGoing);
        const std::lock_guard guard(guard_);
        bar.clear();
        keep(open[job], std::move(outputs));
        bar.show(static_cast<int>(++count_));
      });
    } catch (...) {
      outputs_.writeWhole();
      throw;
    }
    outputs_.writeWhole();
    bar.clear();
    const std::vector<BatchRow> rows = outputs_.rows();
    if (StopOnSignal::received() != 0 && rows.size() < inputs_.size()) {
      fmt::print(stderr, "vorin: stopped after {} of {} decays{}\n", rows.size(), inputs_.size(),
                 journal_ ? "; the same command with --resume goes on" : "");
      std::fflush(stdout);
      StopOnSignal::passOn();
    }
    outputs_.drawAll(contextOf(inputs_.front(), run_));
    if (journal_) {
      journal_->end();
    }
    outputs_.print();
    table_.end(rows);
    return std::all_of(rows.begin(), rows.end(), [](const BatchRow& row) { return row.success; })
               ? ExitStatus::success
               : ExitStatus::unsuccessfulInversion;
  }

 private:
  /// Puts what is done in its place and begins the journal with it; what is left is returned.
  std::vector<std::size_t> restoreDone() {
    if (journal_) {
      journal_->begin();
    }
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < inputs_.size(); ++i) {
      const auto found = done_.find(BatchJournal::key(inputs_[i].name, inputs_[i].file));
      if (found == done_.end() || !inputs_[i].trouble.empty() || !outputs_.written(i)) {
        open.push_back(i);
        continue;
      }
      DoneDecay done = found->second;
      done.row.file = inputs_[i].name;
      journal_->add(found->first, done);
      table_.add(i, done.row);
      outputs_.restore(i, std::move(done.row), std::move(done.json));
      ++count_;
    }
    return open;
  }

  DecayOutputs outputsOf(std::size_t index, const PrivateFolder& scratch, bool keepGoing) {
    const Input& input = inputs_[index];
    if (!input.trouble.empty()) {
      return outputs_.failureOf(input.name, input.trouble);
    }
    try {
      const Inverted result = inverted(input, run_, kernels_, outputs_, scratch, {});
      return outputs_.outputsOf(index, result.inversion, result.context, result.curve, scratch);
    } catch (const UserError& error) {
      const std::string sentence = fmt::format("{}: {}", input.name, error.what());
      if (!keepGoing) {
        throw UserError(sentence);
      }
      return outputs_.failureOf(input.name, sentence);
    }
  }

  /// One thread at a time.
  void keep(std::size_t index, DecayOutputs outputs) {
    const DoneDecay done{outputs.row, outputs.json};
    outputs_.write(index, std::move(outputs));
    // One that failed is tried again by a run that goes on.
    if (journal_ && done.row.inverted) {
      journal_->add(BatchJournal::key(inputs_[index].name, inputs_[index].file), done);
    }
    // What has a row is in the journal: a run that goes on does not do it again.
    outputs_.writeWholeAtTimes();
    table_.add(index, done.row);
  }

  const std::vector<Input>& inputs_;
  const Run& run_;
  InvertOutputs& outputs_;
  GrowingTable table_;
  SharedKernel kernels_;
  std::optional<BatchJournal> journal_;
  std::map<std::string, DoneDecay> done_;
  std::mutex guard_;
  std::size_t count_ = 0;
};

/// Calibrates the decays and looks whether they can be inverted, before any is.
void checkInputs(std::vector<Input>& inputs, const Run& run, bool keepGoing) {
  for (Input& input : inputs) {
    if (!input.trouble.empty()) {
      continue;
    }
    calibrate(run.calibration, input.decay);
    try {
      requireInvertible(input, run.settings, inputs.size() > 1 || keepGoing);
    } catch (const UserError& error) {
      if (!keepGoing) {
        throw;
      }
      input.trouble = error.what();
    }
  }
}

/// The times at which the files beside the decays were written last.
std::string stampsOf(const InvertOptions& options) {
  std::string text;
  for (const std::string& file : {options.input.kernel, options.input.grid, options.output.truth}) {
    std::error_code error;
    if (std::filesystem::exists(file, error)) {
      text += "\n" + BatchJournal::key(file, file);
    }
  }
  return text;
}

}  // namespace

ExitStatus runInvert(const InvertOptions& options, const GivenOptions& given) {
  // Everything that can be wrong is looked at before any work is done.
  Run run;
  run.settings = settingsFrom(options.method);
  run.bandRequest = bootstrapFrom(options.method);
  run.calibration = calibrationFrom(options.measures);
  run.picture = pictureStyle(options.output.picture);
  run.given = given.ofInversion;
  calibrate(run.calibration, run.settings);
  const std::size_t threads = jobCount(options.output.jobs);
  const bool keepGoing = options.output.keepGoing;
  if (options.output.resume &&
      std::count(options.input.files.begin(), options.input.files.end(), std::string("-")) > 0) {
    throw UserError("--resume: standard input can't be read again; give the decays as files");
  }
  std::vector<Input> inputs = readInputs(options.input, keepGoing);
  checkInputs(inputs, run, keepGoing);
  const Kernel kernel = inputs.front().kernel;
  run.layout = {kernel, measuresFrom(options.measures, kernel), !options.method.bootstrap.empty(),
                !options.measures.percentiles.empty()};
  InvertOutputs outputs(options.output, options.input, inputs, run.layout);
  run.truth = outputs.truth();
  if (run.truth) {
    calibrate(run.calibration, *run.truth);
  }
  if (inputs.size() == 1 && inputs.front().trouble.empty()) {
    return invertOne(inputs.front(), run, outputs, threads, options.output.noPicture);
  }
  Batch batch(inputs, run, outputs, given.resultText + stampsOf(options));
  if (options.output.resume) {
    batch.resume();
  }
  return batch.invertAll(threads, keepGoing);
}

}  // namespace vorin::toolkit
