// The openers that openVolume() chooses from, a function for each kind of file.
#pragma once

#include <memory>

#include "toolkit/mapping/files/volume.hpp"

namespace vorin::toolkit {

std::unique_ptr<Volume> openNpy(const VolumeRequest& request);
std::unique_ptr<Volume> openTable(const VolumeRequest& request);

/// `request.file` is FILE:DATASET, or FILE where it has one that suits.
std::unique_ptr<Volume> openHdf5(const VolumeRequest& request);

/// FILE and DATASET of a name, of which the second may be empty.
struct ContainerName {
  std::string file;
  std::string inner;
};
ContainerName containerName(const std::string& name);

}  // namespace vorin::toolkit
