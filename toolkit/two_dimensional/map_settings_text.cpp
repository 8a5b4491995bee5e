#include "toolkit/two_dimensional/map_settings_text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>

#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr double largest = 1e300;

/// The number above 0 that `text` spells. Throws UserError, which tells to write `otherwise`.
double numberAboveZero(const std::string& text, std::string_view option,
                       std::string_view otherwise) {
  const std::optional<double> value = parseNumber(text);
  if (!value || !(*value > 0.0 && *value < largest)) {
    throw UserError(fmt::format("{} {}: write {}", option, inQuotes(text), otherwise));
  }
  return *value;
}

/// "noise", "corner" or a number above 0.
void readWeight(const std::string& text, MapSettings& settings) {
  settings.mode = text == "corner" ? MapWeightMode::corner : MapWeightMode::noise;
  if (text.empty() || text == "noise" || text == "corner") {
    return;
  }
  settings.weight = numberAboveZero(text, "--weight", "noise, corner or a number above 0");
  settings.mode = MapWeightMode::fixed;
}

/// "projection", "quadrature" or a number above 0.
void readNoise(const std::string& text, MapSettings& settings) {
  settings.noise.reset();
  settings.quadrature = text == "quadrature";
  if (text.empty() || text == "projection" || settings.quadrature) {
    return;
  }
  settings.noise = numberAboveZero(text, "--noise", "a number above 0, projection or quadrature");
}

constexpr std::array<MapSettingText, 2> textTable{{
    {"weight", "noise|corner|W", "noise",
     "how strongly the map is smoothed: by the noise, by the corner of the L-curve, or the w of "
     "1/2 |K1 F K2' - D|^2 + w/2 |F|^2",
     &readWeight},
    {"noise", "SIGMA|projection|quadrature", "projection",
     "standard deviation of a sample: a number, what no map can fit, or the imaginary channel",
     &readNoise},
}};

/// One of two kernels.
KernelChoice parseOneKernel(std::string_view name, std::string_view option) {
  for (Kernel kernel : formulaKernels()) {
    if (equalIgnoringCase(kernelName(kernel), name)) {
      return {kernel, {}, {}};
    }
  }
  const std::string path(name);
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    throw UserError(
        fmt::format("{} {}: there is no such kernel or file; write t1-inversion, t1-saturation, "
                    "t2, diffusion, or the name of a file with a matrix",
                    option, inQuotes(name)));
  }
  return {Kernel::matrix, path, readMatrix(path)};
}

}  // namespace

std::span<const MapSettingText> mapSettingTexts() {
  return textTable;
}

void readMapSetting(std::string_view name, const std::string& text, MapSettings& settings) {
  const auto found = std::find_if(textTable.begin(), textTable.end(),
                                  [&](const MapSettingText& row) { return row.name == name; });
  if (found == textTable.end()) {
    throw UserError(fmt::format("--{}: there is no such setting", name));
  }
  found->read(text, settings);
}

std::pair<KernelChoice, KernelChoice> parseKernels(std::string_view text, std::string_view option) {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos || text.find(',', comma + 1) != std::string_view::npos) {
    throw UserError(
        fmt::format("{} {}: write two kernels with a comma between them, that of the rows first, "
                    "for instance t1-inversion,t2",
                    option, inQuotes(text)));
  }
  return {parseOneKernel(trimmed(text.substr(0, comma)), option),
          parseOneKernel(trimmed(text.substr(comma + 1)), option)};
}

void requireRegion(const MapRegion& region, std::string_view name) {
  for (const auto& [from, to] :
       {std::pair(region.from1, region.to1), std::pair(region.from2, region.to2)}) {
    if (!(from > 0.0 && to > from && to < largest)) {
      throw UserError(
          fmt::format("{}: {:g} to {:g} is no range that rises from above 0", name, from, to));
    }
  }
}

MapRegion parseMapRegion(const std::string& text, std::string_view option, Quantity first,
                         Quantity second) {
  const auto fail = [&] {
    return UserError(
        fmt::format("{} {}: write FROM1:TO1,FROM2:TO2 with rising values above 0, for instance "
                    "100ms:1s,10ms:1s",
                    option, inQuotes(text)));
  };
  const auto range = [&](std::string_view part, Quantity quantity) {
    const std::size_t colon = part.find(':');
    const auto from = parseQuantity(part.substr(0, colon), quantity);
    const auto to = colon == std::string_view::npos
                        ? std::nullopt
                        : parseQuantity(part.substr(colon + 1), quantity);
    if (!from || !to) {
      throw fail();
    }
    return std::pair(*from, *to);
  };
  const std::string_view view = text;
  const std::size_t comma = view.find(',');
  if (comma == std::string_view::npos) {
    throw fail();
  }
  const auto [from1, to1] = range(view.substr(0, comma), first);
  const auto [from2, to2] = range(view.substr(comma + 1), second);
  const MapRegion region{from1, to1, from2, to2};
  try {
    requireRegion(region, option);
  } catch (const UserError&) {
    throw fail();
  }
  return region;
}

MapBootstrapSettings readMapBootstrap(const std::string& replicates, const std::string& seed,
                                      std::string_view option) {
  const BootstrapSettings read = readBootstrap(replicates, seed, option);
  MapBootstrapSettings settings;
  settings.replicates = read.replicates;
  settings.seed = read.seed;
  return settings;
}

}  // namespace vorin::toolkit
