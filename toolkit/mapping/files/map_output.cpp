#include "toolkit/mapping/files/map_output.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>

#include "toolkit/mapping/files/elements.hpp"
#include "toolkit/mapping/files/map_writers.hpp"
#include "toolkit/mapping/files/nifti.hpp"
#include "toolkit/mapping/files/unpacked.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

ElementType storedType(const MapHead& head, const MapArray& array) {
  ElementType type;
  type.kind = array.isWhole ? NumberKind::signedInteger : NumberKind::floating;
  type.size = array.isWhole || head.single ? 4 : 8;
  return type;
}

void writeDense(const MapResults& results, std::size_t array, const OwnFile& file,
                std::uint64_t offset, bool rowsTogether) {
  const MapHead& head = results.head();
  const Tiling tiling = head.tiling();
  const ElementType type = storedType(head, head.arrays[array]);
  const std::size_t width = head.arrays[array].numbers();
  std::vector<std::size_t> strides = rowMajorStrides(head.voxels);
  const std::size_t rowStride = rowsTogether ? 1 : countOf(head.voxels);
  std::vector<char> bytes;
  std::vector<double> ordered;
  for (std::size_t block = 0; block < tiling.count(); ++block) {
    const VoxelBox box = tiling.box(block);
    const std::vector<double> numbers = results.read(block, array);
    const std::vector<std::size_t> steps = rowMajorStrides(box.extent);
    std::vector<CopiedAxis> axes;
    for (std::size_t axis = 0; axis < head.voxels.size(); ++axis) {
      axes.push_back({box.first[axis], box.extent[axis], head.voxels[axis],
                      rowsTogether ? strides[axis] * width : strides[axis], steps[axis] * width});
    }
    axes.push_back({0, width, width, rowStride, 1});
    visitRuns(std::move(axes), [&](const Run& run) {
      ordered.resize(run.length);
      std::transform(run.at.begin(), run.at.end(), ordered.begin(),
                     [&](std::size_t at) { return numbers[at]; });
      bytes.resize(run.length * type.size);
      putNumbers(ordered.data(), run.length, type, bytes.data());
      file.write(offset + run.start * type.size, bytes.data(), bytes.size());
    });
  }
}

std::string descriptionOf(const MapHead& head, std::size_t countOfVoxels) {
  nlohmann::json object;
  object["voxels"] = head.voxels;
  object["voxels_in_all"] = countOfVoxels;
  object["times"] = head.times;
  object["grid"] = head.grid;
  object["grid_name"] = head.gridName;
  object["grid_unit"] = head.gridUnit;
  for (const MapArray& array : head.arrays) {
    object["maps"][array.name] = {{"unit", array.unit}, {"meaning", array.meaning}};
  }
  for (const auto& [name, value] : head.shown) {
    object["settings"][name] = value;
  }
  if (head.sharedWeight) {
    object["shared_weight"] = *head.sharedWeight;
  }
  return object.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

namespace {

constexpr std::array<std::string_view, 3> imageEndings{".nii", ".nii.gz", ".npy"};

bool endsWith(const std::string& text, std::string_view ending) {
  return lowerCase(text).ends_with(ending);
}

std::string_view ownEnding(const MapHead& head) {
  return head.kind == VolumeKind::nifti ? (head.packed ? ".nii.gz" : ".nii") : ".npy";
}

struct KindText {
  std::string_view input;
  std::string_view output;
  std::vector<std::string_view> endings;  ///< of names that fit
};

const KindText& textOf(VolumeKind kind) {
  static const std::array<KindText, 4> texts{{
      {"a NIfTI image",
       "images: give a folder, or a name such as maps.nii.gz, which the names of "
       "all images begin with",
       {".nii", ".nii.gz"}},
      {"an HDF5 file", "one HDF5 file: give a name such as maps.h5", {".h5", ".hdf5", ".nc"}},
      {"a numpy array", "arrays: give maps.npz, or a folder for .npy files", {".npz", ".npy"}},
      {"a table", "a table: give a name such as maps.csv", {".csv", ".txt", ".tsv"}},
  }};
  return texts.at(static_cast<std::size_t>(kind));
}

/// Throws UserError for a name with the ending of another kind of file.
void requireKind(const std::string& out, VolumeKind kind) {
  for (const VolumeKind other :
       {VolumeKind::nifti, VolumeKind::hdf5, VolumeKind::npy, VolumeKind::table}) {
    const std::vector<std::string_view>& endings = textOf(other).endings;
    const bool named = std::any_of(endings.begin(), endings.end(),
                                   [&](std::string_view ending) { return endsWith(out, ending); });
    if (named && other != kind) {
      throw UserError(
          fmt::format("--out {}: maps of {} are {}", out, textOf(kind).input, textOf(kind).output));
    }
  }
  if (kind == VolumeKind::hdf5) {
    const std::vector<std::string_view>& endings = textOf(kind).endings;
    if (std::none_of(endings.begin(), endings.end(),
                     [&](std::string_view ending) { return endsWith(out, ending); })) {
      throw UserError(
          fmt::format("--out {}: maps of {} are {}", out, textOf(kind).input, textOf(kind).output));
    }
  }
}

/// What the names of several files begin with.
std::string beginning(const std::string& out) {
  for (const std::string_view ending : imageEndings) {
    if (endsWith(out, ending)) {
      return out.substr(0, out.size() - ending.size()) + "_";
    }
  }
  return out.ends_with('_') || out.ends_with('-') || out.ends_with('/') ? out : out + "/";
}

std::string npyHeader(const Extents& shape, const ElementType& type) {
  std::string text;
  for (const std::size_t extent : shape) {
    text += fmt::format("{}, ", extent);
  }
  if (shape.size() > 1) {
    text.resize(text.size() - 2);
  }
  std::string header = fmt::format("{{'descr': '<{}{}', 'fortran_order': False, 'shape': ({}), }}",
                                   type.kind == NumberKind::floating ? 'f' : 'i', type.size, text);
  constexpr std::size_t before = 10;
  constexpr std::size_t unit = 64;
  header.append(unit - (before + header.size() + 1) % unit, ' ');
  header += '\n';
  std::string bytes("\x93NUMPY\x01\x00", 8);
  bytes += static_cast<char>(header.size() % 256);
  bytes += static_cast<char>(header.size() / 256);
  return bytes + header;
}

Extents shapeOf(const MapHead& head, const MapArray& array) {
  Extents shape = head.voxels;
  if (array.width > 0) {
    shape.push_back(array.width);
  }
  return shape;
}

/// A map as a .npy file; its length.
std::uint64_t writeNpyMap(const MapResults& results, std::size_t array, const OwnFile& file) {
  const MapHead& head = results.head();
  const ElementType type = storedType(head, head.arrays[array]);
  const Extents shape = shapeOf(head, head.arrays[array]);
  const std::string header = npyHeader(shape, type);
  file.write(0, header.data(), header.size());
  writeDense(results, array, file, header.size(), true);
  return header.size() + countOf(shape) * type.size;
}

std::string npyVector(const std::vector<double>& values) {
  std::string bytes = npyHeader({values.size()}, {});
  bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double));
  return bytes;
}

}  // namespace

fs::path unfinishedName(const std::string& out) {
  std::string name = out;
  while (name.size() > 1 && !fs::path(name).has_filename()) {
    name.pop_back();
  }
  return fs::absolute(name + ".unfinished");
}

MapOutput::MapOutput(const std::string& out, const MapHead& head,
                     const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    files_.protect(input);
  }
  requireKind(out, head.kind);
  if (endsWith(out, ".npz")) {
    requireNpz(out);
  }
  const bool one =
      head.kind == VolumeKind::hdf5 || head.kind == VolumeKind::table || endsWith(out, ".npz");
  if (one) {
    announce(out);
  } else {
    for (const MapArray& array : head.arrays) {
      announce(fmt::format("{}{}{}", beginning(out), array.name, ownEnding(head)));
    }
    announce(beginning(out) + "maps.json");
  }
  files_.removeLeftovers();
}

fs::path MapOutput::announce(const std::string& name) {
  targets_.push_back(files_.announce(name, "--out"));
  return targets_.back();
}

void MapOutput::write(const MapResults& results) {
  switch (results.head().kind) {
    case VolumeKind::nifti:
      writeImages(results);
      break;
    case VolumeKind::hdf5:
      writeHdf5(results);
      break;
    case VolumeKind::npy:
      endsWith(targets_.front().string(), ".npz") ? writeNpz(results) : writeNpy(results);
      break;
    case VolumeKind::table:
      writeTable(results);
      break;
  }
  files_.commit();
}

void MapOutput::writeImages(const MapResults& results) {
  const MapHead& head = results.head();
  for (std::size_t k = 0; k < head.arrays.size(); ++k) {
    const MapArray& array = head.arrays[k];
    const ElementType type = storedType(head, array);
    const std::string description =
        array.name + (array.unit.empty() ? std::string() : " (" + array.unit + ")");
    const std::string header = niftiMapHeader(head.niftiHeader, array.width, type, description);
    const std::uint64_t size = header.size() + countOf(head.voxels) * array.numbers() * type.size;
    const OwnFile target = OwnFile::toWrite(files_.stage(targets_[k]), true);
    const OwnFile scratch = head.packed ? OwnFile::unnamed(targets_[k].parent_path()) : OwnFile();
    const OwnFile& image = head.packed ? scratch : target;
    image.write(0, header.data(), header.size());
    writeDense(results, k, image, header.size(), false);
    if (head.packed) {
      packInto(image, size, target);
    }
  }
  files_.write(targets_.back(), descriptionOf(head, countOf(head.voxels)));
}

void MapOutput::writeNpy(const MapResults& results) {
  const MapHead& head = results.head();
  for (std::size_t k = 0; k < head.arrays.size(); ++k) {
    writeNpyMap(results, k, OwnFile::toWrite(files_.stage(targets_[k]), true));
  }
  files_.write(targets_.back(), descriptionOf(head, countOf(head.voxels)));
}

void MapOutput::writeNpz(const MapResults& results) {
  const MapHead& head = results.head();
  NpzWriter archive(files_.stage(targets_.front()));
  for (std::size_t k = 0; k < head.arrays.size(); ++k) {
    const OwnFile scratch = OwnFile::unnamed(targets_.front().parent_path());
    const std::uint64_t size = writeNpyMap(results, k, scratch);
    archive.add(head.arrays[k].name + ".npy", scratch, size);
  }
  archive.add("grid.npy", npyVector(head.grid));
  archive.add("times.npy", npyVector(head.times));
  archive.close();
}

void MapOutput::writeTable(const MapResults& results) {
  const MapHead& head = results.head();
  const Tiling tiling = head.tiling();
  const OwnFile target = OwnFile::toWrite(files_.stage(targets_.front()), true);
  std::string text = "row";
  for (const MapArray& array : head.arrays) {
    for (std::size_t i = 0; i < array.numbers(); ++i) {
      text += array.width > 0 ? fmt::format(",{}_{}", array.name, head.grid[i])
                              : fmt::format(",{}", array.name);
    }
  }
  text += '\n';
  std::uint64_t at = 0;
  std::size_t row = 0;
  for (std::size_t block = 0; block < tiling.count(); ++block) {
    std::vector<std::vector<double>> arrays;
    for (std::size_t k = 0; k < head.arrays.size(); ++k) {
      arrays.push_back(results.read(block, k));
    }
    for (std::size_t voxel = 0; voxel < tiling.box(block).count(); ++voxel) {
      text += std::to_string(++row);
      for (std::size_t k = 0; k < arrays.size(); ++k) {
        const std::size_t width = head.arrays[k].numbers();
        for (std::size_t i = 0; i < width; ++i) {
          const double value = arrays[k][voxel * width + i];
          text += std::isnan(value) ? "," : fmt::format(",{}", value);
        }
      }
      text += '\n';
    }
    target.write(at, text.data(), text.size());
    at += text.size();
    text.clear();
  }
}

}  // namespace vorin::toolkit
