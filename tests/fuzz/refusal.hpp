// What a reader does with bytes that it can't use, and what all volumes are held to.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::fuzz {

/// Runs `work`, which may refuse its input with a sentence that holds nothing that a terminal
/// obeys.
template <class Work>
void doOrRefuse(Work work) {
  try {
    work();
  } catch (const toolkit::UserError& error) {
    for (const char c : std::string(error.what())) {
      require(static_cast<unsigned char>(c) >= ' ' && c != 0x7f);
    }
  }
}

/// Reads the first boxes of a toolkit's volume. `Tiling` and `Numbers` are its types of these
/// names.
template <class Tiling, class Numbers, class Volume>
void readBoxes(Volume& volume, std::size_t boxVoxels, std::size_t mostBoxes) {
  const Tiling tiling(volume.voxels(), volume.tile(boxVoxels, boxVoxels));
  volume.expect(tiling, 0, tiling.count());
  Numbers numbers;
  for (std::size_t box = 0; box < tiling.count() && box < mostBoxes; ++box) {
    volume.read(tiling.box(box), numbers);
    require(numbers.real.size() == tiling.box(box).count() * volume.samples());
    require(numbers.imaginary.size() == (volume.isComplex() ? numbers.real.size() : 0));
  }
}

}  // namespace vorin::fuzz
