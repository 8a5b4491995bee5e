// Reading save sections: an inversion as the library writes it into its log (in full,
// with SAVE = 1 or REPO above 3) or into a compact file beside it. This reader takes
// text, not the library, so that whoever keeps a log can read it anywhere.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

/// A key of the library and the text that it answered.
struct SavedSetting {
  std::string key;   ///< as spelled in the section ("NAlg"), without blanks
  std::string text;  ///< without outer blanks; none for the names that are no keys
};

/// One save section. Times and amplitudes are in the units that the host chose which
/// ran the inversion. Tables are as long as announced; sizes below 0 leave them empty.
struct SaveSection {
  bool compact = false;        ///< comma-separated, without fit, second column and kernel
  long firstLine = 0;          ///< line of its title in the text, from 1
  long lastLine = 0;           ///< its last line
  long long coefficients = 0;  ///< grid points; the line that the section labels nf
  long long points = 0;        ///< data points; the line that it labels ng
  std::vector<SavedSetting> settings;
  std::vector<double> grid;          ///< grid abscissae
  std::vector<double> second;        ///< second column of the distribution; full only
  std::vector<double> distribution;  ///< amplitudes
  std::vector<double> time;          ///< abscissae of the data
  std::vector<double> data;
  std::vector<double> fit;     ///< full only
  std::vector<double> kernel;  ///< points x coefficients, row-major; full only

  /// The text saved for `key`, its case aside; none when the section does not list it.
  std::string_view setting(std::string_view key) const;
  /// That text as a number; not a number when it is none.
  double number(std::string_view key) const;
};

/// How many save sections `content` holds, cut short or not.
std::size_t saveSectionCount(std::string_view content);

/// Save section `number`, from 1, of `content`. Blanks between items count for nothing.
/// Throws UserError, which names the file `name` and the line, when there is no such
/// section and for one that is cut short or holds anything but what belongs there.
SaveSection readSaveSection(std::string_view content, std::string_view name, std::size_t number);

}  // namespace vorin::toolkit
