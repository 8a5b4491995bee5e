// The formats beside plain text. Each reader knows its files by their content, answers nothing for
// others, and fills columns of numbers with what it found.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/reading/columns.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/text_file.hpp"

namespace vorin::toolkit {

/// A file with what its reader may need beside the bytes.
struct FormatInput {
  const FileBytes& file;
  const std::filesystem::path& path;  ///< companions lie in its folder; "-" has none
  const DecayFormat& format;
};

using ColumnsFound = std::unique_ptr<ColumnSource>;

/// GeoSpec text: "[GITData]", sections, and "[Data]" with X, Y, real, imaginary.
ColumnsFound readGeoSpec(const FormatInput& input);

/// minispec text: number from 0, time in ms, amplitude, tabs between them, without a header.
ColumnsFound readMinispec(const FormatInput& input);

/// Prospa: the text of time, real, imaginary beside an acqu.par, whose times tell the unit, and
/// the binary .1d.
ColumnsFound readProspaText(const FormatInput& input);
ColumnsFound readProspaBinary(const FormatInput& input);

/// The unit in which the steps of `times` are an echo or dwell time of the acqu.par beside `path`.
std::optional<ToldUnit> prospaUnit(const std::vector<double>& times,
                                   const std::filesystem::path& path);

/// Tecmag .tnt: echo trains and one-parameter series.
ColumnsFound readTecmag(const FormatInput& input);

/// One of the series of a file, each with times of its own.
struct ZoneFound {
  std::string name;  ///< empty where it is the only one
  ColumnsFound columns;
};

/// Stelar's data files of version 1, a series for each zone. `inner` is the number of one zone, or
/// empty for all. Nothing for other files.
std::vector<ZoneFound> readStelar(const FormatInput& input, const std::string& inner);

/// LAS 3 with an echo array: a decay at each depth.
ColumnsFound readLas(const FormatInput& input);

/// TopSpin's tables of relaxation: ct1t2.txt and t1t2.dx.
ColumnsFound readTopspinTable(const FormatInput& input);

/// A folder of TopSpin with `ser`, acqus, acqu2s and vdlist: each row is reduced to one number.
/// `path` is the folder or the ser file; nothing for any other.
ColumnsFound readTopspinFolder(const std::filesystem::path& path, const DecayFormat& format);

/// Lines "key = value" of a companion file; quotes are left out. Empty where there is none.
std::map<std::string, std::string> readParameters(const std::filesystem::path& path);

/// A time with the suffix of TopSpin and Tecmag lists in seconds: "20.000m", "5u", "1.5s", "2".
std::optional<double> parseListTime(std::string_view text);

/// Numbers stored in a binary file. Reading behind the end gives nothing.
class BinaryReader {
 public:
  explicit BinaryReader(std::string_view bytes, bool bigEndian = false)
      : bytes_(bytes), bigEndian_(bigEndian) {}

  std::optional<std::int32_t> int32At(std::size_t at) const;
  std::optional<float> floatAt(std::size_t at) const;
  std::optional<double> doubleAt(std::size_t at) const;

 private:
  template <class Number>
  std::optional<Number> numberAt(std::size_t at) const;

  std::string_view bytes_;
  bool bigEndian_;
};

}  // namespace vorin::toolkit
