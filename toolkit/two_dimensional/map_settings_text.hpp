// The settings of a map as users write them: a name and a text each. The command's options and
// the settings of the C boundary are read by this one table.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "toolkit/inverting/preparation.hpp"
#include "toolkit/two_dimensional/map_bootstrap.hpp"
#include "toolkit/two_dimensional/map_inversion.hpp"
#include "toolkit/two_dimensional/map_measures.hpp"

namespace vorin::toolkit {

/// One setting of the method. The command's option is "--" and the name.
struct MapSettingText {
  std::string_view name;
  std::string_view takes;     ///< "noise|corner|W"
  std::string_view standard;  ///< what an empty text means, in words
  std::string_view meaning;   ///< one sentence
  void (*read)(const std::string& text, MapSettings& settings);
};

/// All settings of the method, in the order of the command's help.
std::span<const MapSettingText> mapSettingTexts();

/// Sets `name` (a name of mapSettingTexts()) to what its text says; an empty text is the default.
/// Throws UserError, which names the command's option, for a text that the setting does not take.
void readMapSetting(std::string_view name, const std::string& text, MapSettings& settings);

/// Reads "NAME,NAME" into the kernels of the two axes; a name that is no kernel's is the file of
/// a matrix. Throws UserError, which names `option`, for anything else.
std::pair<KernelChoice, KernelChoice> parseKernels(std::string_view text, std::string_view option);

/// Reads "FROM1:TO1,FROM2:TO2". Throws UserError, which names `option`, for anything else.
MapRegion parseMapRegion(const std::string& text, std::string_view option, Quantity first,
                         Quantity second);

/// Throws UserError, which names `name`, unless both ranges of `region` rise from above 0.
void requireRegion(const MapRegion& region, std::string_view name);

/// The replicates and the seed of a bootstrap, by the rules of one dimension (readBootstrap()).
MapBootstrapSettings readMapBootstrap(const std::string& replicates, const std::string& seed,
                                      std::string_view option = "--bootstrap");

}  // namespace vorin::toolkit
