// How `vorin invert` inverts: weight, noise, reduction and the library's keys.
#include <fmt/format.h>

#include <filesystem>
#include <optional>

#include "invert_options.hpp"
#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

constexpr const char* standardRejection = "4";

/// Adds an option whose value may be left out. A file that follows it on the line would be
/// taken for its value and missed elsewhere; what begins like no number is told as that.
CLI::Option* addOptionalValue(CLI::App& line, const std::string& name, std::string& value,
                              const std::string& type, const std::string& standard,
                              const std::string& text) {
  return addOption(line, name, value, type, text)
      ->expected(0, 1)
      ->default_str(standard)
      ->check([name](const std::string& given) {
        return fs::exists(given) && !parseNumber(given)
                   ? fmt::format(
                         "{} {}: this is a file; write the file before it, or its value as "
                         "{}=VALUE",
                         name, inQuotes(given), name)
                   : std::string();
      });
}

}  // namespace

void MethodOptions::addTo(CLI::App& line) {
  addOption(line, "--method", method, "automatic|classic",
            "automatic (default): range, noise and weight are chosen from the data,\n"
            "and data that the kernel can't describe are told; classic: the library\n"
            "looks on the whole grid for the weight at which the fit misses the\n"
            "data by 1.05 times the noise, as it does where --noise fit, ridge or\n"
            "scan, --reject-outliers by the library, or --set with a key of that\n"
            "search asks for it");
  addOption(line, "--weight", weight, "noise|corner|W",
            "How strongly the distribution is smoothed: noise (default) as --method\n"
            "says, corner by the corner of the L-curve, W is a weight of your own");
  addOption(line, "--baseline", baseline, "fit|C",
            "A constant beside the curve, fitted or given in the unit of the data");
  addOption(line, "--inversion-efficiency", efficiency, "fit|E",
            "How complete the inversion was, for --kernel t1-inversion: E of\n"
            "1 - (1 + E) exp(-t/T1), fitted or given, 0 to 1");
  addOption(line, "--noise", noise, "SIGMA|HOW",
            "Standard deviation of the noise in the unit of the data, or where it\n"
            "comes from: difference, fit, ridge, scan (estimates of the library),\n"
            "quadrature (the imaginary channel). Default: from the residual of the\n"
            "closest fit; --method classic: from second differences of neighbouring\n"
            "samples, outliers and the start of the decay apart");
  addOption(line, "--prune", prune, "log|linear|none",
            "Bins in which samples are averaged before the inversion: log\n"
            "(default), linear, or none");
  addOption(line, "--prune-points", prunePoints, "N", "Number of bins, 10 to 5000 (default 200)");
  addOptionalValue(line, "--compress", compress, "N[,RATIO]", "20,1e-6",
                   "Compress the (binned) samples to N rows at most by a singular value\n"
                   "decomposition, without those of a singular value not above RATIO\n"
                   "times the largest (20,1e-6 where no value is given)");
  addOptionalValue(line, "--reject-outliers", rejectOutliers, "K|robust[,K]", standardRejection,
                   "Leave out samples that a first fit misses by K standard deviations\n"
                   "of the noise or more (4 where no value is given): by the library's\n"
                   "ridge fit, with their bins; robust by an unpenalised fit, alone");
  addOption(line, "--flip", flip, "A|estimate",
            "Refocusing angle in degrees for --kernel t2-epg (default 180), or the\n"
            "one at which a distribution comes closest to the decay");
  addOption(line, "--t1", t1, "TIME",
            "Longitudinal relaxation time for --kernel t2-epg (default 1s)");
  addOption(line, "--echo-spacing", echoSpacing, "TIME",
            "From echo to echo for --kernel t2-epg (default: the first time)");
  line.add_flag("--rician", rician,
                "The data are magnitudes, as images are: take away the floor that noise\n"
                "leaves under them");
  addOption(line, "--bootstrap", bootstrap, "N",
            "Draw the noise N times anew from the residual and tell how far log mean\n"
            "and distribution spread (68 %); 200 is a fair number");
  addOption(line, "--seed", seed, "N", "Seed of the bootstrap (default 1)");
  addOption(line, "--set", assignments, "KEY=VALUE",
            "Set a key of the library, for instance MAXI=200; may be repeated.\n"
            "The library sees data whose largest magnitude is 1")
      ->allow_extra_args(false);
}

InversionSettings settingsFrom(const MethodOptions& options) {
  InversionSettings settings;
  readSetting("method", options.method, settings);
  readSetting("baseline", options.baseline, settings);
  readSetting("inversion-efficiency", options.efficiency, settings);
  readSetting("weight", options.weight, settings);
  readSetting("noise", options.noise, settings);
  readSetting("compress", options.compress, settings);
  readSetting("prune", options.prune, settings);
  readSetting("reject-outliers", options.rejectOutliers, settings);
  readSetting("flip", options.flip, settings);
  readSetting("t1", options.t1, settings);
  readSetting("echo-spacing", options.echoSpacing, settings);
  readSetting("rician", options.rician ? "on" : "", settings);
  requireCompatible(settings);
  readSetting("prune-points", options.prunePoints, settings);
  settings.assignments = options.assignments;
  return settings;
}

std::optional<BootstrapSettings> bootstrapFrom(const MethodOptions& options) {
  if (options.bootstrap.empty()) {
    if (!options.seed.empty()) {
      throw UserError(fmt::format("--seed {}: it is that of --bootstrap, which is not asked for",
                                  inQuotes(options.seed)));
    }
    return std::nullopt;
  }
  return readBootstrap(options.bootstrap, options.seed);
}

}  // namespace vorin::toolkit
