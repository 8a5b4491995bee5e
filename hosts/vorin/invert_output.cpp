// What `vorin invert` leaves behind: tables, pictures and the library's log.
#include "common/picture.hpp"
#include "invert_options.hpp"

namespace vorin::host {

void OutputOptions::addTo(CLI::App& line) {
  addOption(line, "--truth", truth, "FILE.csv",
            "A known distribution (relaxation time, amplitude) to compare with");
  addOption(line, "--out", out, "FILE.csv", "Write the distribution");
  addOption(line, "--fit", fit, "FILE.csv", "Write time, amplitude, fit and residual");
  addOption(line, "--plot", plot, "FILE.png",
            "Draw decay, fit and distribution; also FILE.svg, FILE.pdf");
  addOption(line, "--plot-lcurve", plotLCurve, "FILE.png",
            "Draw the L-curve, its corner and the weight of the result;\n"
            "also FILE.svg, FILE.pdf");
  addOption(line, "--log", log, "FILE", "Keep the library's log");
}

InvertOutputs::InvertOutputs(const OutputOptions& options, const std::string& inputFile) {
  if (!options.truth.empty()) {
    truth_ = readDistribution(options.truth);
  }
  const auto announce = [&](const std::string& name, std::string_view option) {
    return name.empty() ? std::filesystem::path() : files_.announce(name, option, inputFile);
  };
  out_ = announce(options.out, "--out");
  fit_ = announce(options.fit, "--fit");
  plot_ = announce(options.plot, "--plot");
  plotLCurve_ = announce(options.plotLCurve, "--plot-lcurve");
  log_ = announce(options.log, "--log");
  if (!plot_.empty()) {
    requireGnuplot(options.plot, "--plot");
  }
  if (!plotLCurve_.empty()) {
    requireGnuplot(options.plotLCurve, "--plot-lcurve");
  }
}

void InvertOutputs::write(const Inversion& inversion, const ReportContext& context,
                          const std::optional<LCurve>& curve, const ScratchFolder& scratch) {
  if (!out_.empty()) {
    files_.write(out_, distributionCsv(inversion, context));
  }
  if (!fit_.empty()) {
    files_.write(fit_, fitCsv(inversion, context));
  }
  if (!plot_.empty()) {
    files_.write(plot_, drawPicture(plot_, scratch, inversion, context));
  }
  if (curve) {
    files_.write(plotLCurve_, drawLCurve(plotLCurve_, scratch, *curve, context.name));
  }
  if (!log_.empty()) {
    files_.write(log_, contentOf(scratch.path() / "Vorin.log"));
  }
  files_.commit();
}

}  // namespace vorin::host
