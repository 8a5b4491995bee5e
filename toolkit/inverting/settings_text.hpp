// The settings of an inversion as users write them: a name and a text each. The command's
// options and the settings of the C boundary are read by this one table.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/measures/bootstrap.hpp"

namespace vorin::toolkit {

/// One setting of the method. The command's option is "--" and the name, the setting of the
/// C boundary the name with '_' in place of '-'.
struct SettingText {
  std::string_view name;      ///< "prune-points"
  std::string_view takes;     ///< "N", "log|linear|none"
  std::string_view standard;  ///< what an empty text means, in words
  std::string_view meaning;   ///< one sentence
  void (*read)(const std::string& text, InversionSettings& settings);
};

/// All settings of the method, in the order of the command's help.
std::span<const SettingText> settingTexts();

/// Sets `name` (a name of settingTexts()) to what its text says; an empty text is the default.
/// Throws UserError, which names the command's option, for a text that the setting does not take.
void readSetting(std::string_view name, const std::string& text, InversionSettings& settings);

/// Throws UserError for settings that are good one by one and rule each other out.
void requireCompatible(const InversionSettings& settings);

/// The replicates and the seed of a bootstrap (without a text: 1). Throws UserError, which
/// names `option` or --seed, for texts that are no such numbers.
BootstrapSettings readBootstrap(const std::string& replicates, const std::string& seed,
                                std::string_view option = "--bootstrap");

/// The count of samples to leave out at the start of a decay of `samples`. Throws UserError,
/// which names --skip, unless two stay.
std::size_t readSkip(const std::string& text, std::size_t samples);

/// `sentence` with settings named as programs name them: the command's "--prune-points 9" reads
/// "prune_points 9", and "--noise SIGMA" reads "noise=SIGMA".
std::string inSettingNames(std::string_view sentence);

}  // namespace vorin::toolkit
