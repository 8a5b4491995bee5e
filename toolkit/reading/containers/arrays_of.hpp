// What vorin-containers reads, a function for each library. Both take the numbers of an array only
// where `wanted` names it or its group, and where `allowed` has room for them.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "toolkit/reading/containers/stream.hpp"

namespace vorin::toolkit::containers {

/// Where records go, and what may still be read.
struct Request {
  std::string wanted;  ///< the array or group that the user named, or nothing for all
  std::uint64_t allowed = 0;
  std::set<std::string> scales{};  ///< abscissas that were read beside what is wanted
  std::function<void(const Array&)> array;
  std::function<void(const Listed&)> listed;

  /// True when the numbers of `name` are asked for: the array, one below it, or one beside it,
  /// which may hold its times.
  bool wants(const std::string& name) const;
  /// Takes `count` numbers of those that are allowed, or answers false.
  bool takeRoom(std::uint64_t count);
};

/// "3 x 4 numbers".
std::string extentsText(const std::vector<std::uint64_t>& shape);

/// HDF5, MATLAB 7.3 among it, by libhdf5, from the `size` bytes at `content`. Data sets of other
/// files are not read. Returns an error, empty for none.
std::string readHdf5(void* content, std::size_t size, Request& request);

/// False where a packed variable of the MATLAB file in `content` (version 5 to 7) is cut, damaged
/// or has another checksum than its numbers; libmatio reads on there.
bool isWholeMatlab(std::string_view content);

/// MATLAB 4 to 7 by libmatio. `sealed` is called when the file is open.
std::string readMatlab(const std::string& path, Request& request,
                       const std::function<void()>& sealed);

}  // namespace vorin::toolkit::containers
