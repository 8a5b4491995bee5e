// The options of `vorin map`: a volume of decays inverted voxel by voxel.
#pragma once

#include <string>
#include <vector>

#include "invert_options.hpp"
#include "toolkit/mapping/files/sample_times.hpp"

namespace vorin::toolkit {

/// What the user wrote.
struct MapOptions {
  std::string file;
  std::string kernel = "t2";
  std::string grid;
  TimesText times;
  std::string axis;
  std::string skip;
  std::string mask;
  std::string threshold;
  std::string flipMap;
  MethodOptions method;
  std::string cutoff;
  std::string calibrate;
  std::string out;
  bool distribution = false;
  bool single = false;
  std::string jobs;
  bool resume = false;
  std::string part;
  std::vector<std::string> join;
};

/// Inverts the volume, or a part of it.
ExitStatus runMap(const MapOptions& options, const GivenOptions& given);

/// Joins parts into maps.
ExitStatus joinMap(const MapOptions& options);

}  // namespace vorin::toolkit
