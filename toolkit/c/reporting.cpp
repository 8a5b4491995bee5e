// The report of an inversion as a file.
#include "toolkit/c/boundary.hpp"
#include "toolkit/c/job.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/writing/sample_report.hpp"

namespace vorin::toolkit::c {

ReportContext contextOf(const Inverted& job, const vorin_result* bootstrap,
                        const vorin_settings& settings) {
  const std::string& name = settings.text("name");
  ReportContext context{name.empty() ? "decay" : name, job.input.decay, job.settings.kernel};
  if (job.settings.kernel == Kernel::matrix) {
    context.kernelFile = ownKernel;
  }
  context.phase = job.input.phase;
  context.amplitudeUnit = job.amplitudeUnit;
  context.settings = job.given;
  context.picture.title = settings.text("title");
  context.picture.amplitudeLabel = settings.text("amplitude_label");
  if (const std::string& text = settings.text("cutoff"); !text.empty()) {
    context.measures.cutoffs = parseCutoffs(text, "cutoff", gridQuantity(context.kernel));
  }
  if (const std::string& text = settings.text("percentiles"); !text.empty()) {
    context.measures.percentiles = parsePercentiles(text, "percentiles");
  }
  if (bootstrap != nullptr) {
    if (bootstrap->band == nullptr ||
        bootstrap->band->lower.size() != job.inversion.distribution.time.size()) {
      throw UserError("bootstrap: give a result of vorin_bootstrap for this inversion");
    }
    context.band = *bootstrap->band;
  }
  return context;
}

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;

extern "C" {

int32_t vorin_write_report(const vorin_result* inversion, const vorin_result* bootstrap,
                           const vorin_settings* settings, const char* path, char* message,
                           int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    const c::Inverted& job = c::inversionOf(inversion);
    c::requireAddress(path, "path");
    const vorin_settings defaults;
    const auto context = c::contextOf(job, bootstrap, c::orDefaults(settings, defaults));
    vorin::toolkit::OutputFiles files;
    const std::filesystem::path target = files.announce(path, "path");
    vorin::toolkit::requireReport(target, "path");
    const vorin::toolkit::PrivateFolder scratch;
    files.write(target, vorin::toolkit::sampleReport(target, scratch, job.inversion, context));
    files.commit();
  });
}

}  // extern "C"
