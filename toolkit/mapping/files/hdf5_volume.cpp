// Volumes in HDF5 files: a program of its own reads them (toolkit/reading/containers), since the
// library of this format trusts the sizes in a file.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "toolkit/mapping/files/open_volume.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/raw_volume.hpp"
#include "toolkit/reading/formats/helper_program.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

using Json = nlohmann::json;

class Hdf5Volume : public Volume {
 public:
  explicit Hdf5Volume(const VolumeRequest& request)
      : file_(containerName(request.file)), input_(OwnFile::toRead(file_.file)) {
    facts().name = request.file;
    facts().kind = VolumeKind::hdf5;
    axisText_ = request.withSamples ? std::to_string(request.axis.value_or(-1)) : "-";
    try {
      takeDescription(Json::parse(described()), request);
    } catch (const Json::exception&) {
      throw damaged();
    }
  }

  Extents tile(std::size_t about, std::size_t most) const override {
    if (std::count(chunk_.begin(), chunk_.end(), std::size_t{0}) > 0) {
      return contiguousTile(facts().voxels, strides_, about);
    }
    // Whole chunks, several where they are small, the fastest axes first.
    Extents tile = chunk_;
    for (std::size_t axis = tile.size(); axis-- > 0;) {
      const std::size_t room = std::max<std::size_t>(about / countOf(tile), 1);
      const std::size_t chunks = (facts().voxels[axis] + chunk_[axis] - 1) / chunk_[axis];
      tile[axis] *= std::min(room, chunks);
      if (tile[axis] < facts().voxels[axis]) {
        break;
      }
    }
    // Parts of a chunk where it is too large; those of one are read one after the other, along the
    // slowest axes first, and vorin-containers keeps it meanwhile.
    for (std::size_t axis = 0; axis < tile.size() && countOf(tile) > most; ++axis) {
      const std::size_t others = countOf(tile) / tile[axis];
      tile[axis] = std::clamp<std::size_t>(most / others, 1, tile[axis]);
    }
    return tile;
  }

  void expect(const Tiling& tiling, std::size_t first, std::size_t last) override {
    tiling_ = tiling;
    next_ = first;
    last_ = last;
    helper_.emplace(std::vector<std::string>{"boxes", path_, axisText_,
                                             fmt::format("{}", fmt::join(tiling.tile(), ",")),
                                             std::to_string(first), std::to_string(last)},
                    input_.descriptor());
  }

  void read(const VoxelBox& box, VolumeNumbers& numbers) override {
    if (!helper_ || next_ >= last_ || tiling_.box(next_).first != box.first ||
        tiling_.box(next_).extent != box.extent) {
      // A box out of turn: that is the whole of a small data set.
      expect(Tiling(facts().voxels, facts().voxels), 0, 1);
    }
    const std::size_t count = box.count() * facts().samples;
    numbers.real.resize(count);
    numbers.imaginary.resize(facts().isComplex ? count : 0);
    for (std::vector<double>* const channel : {&numbers.real, &numbers.imaginary}) {
      const std::size_t bytes = channel->size() * sizeof(double);
      if (helper_->receive(reinterpret_cast<char*>(channel->data()), bytes) != bytes) {
        throw damaged();
      }
    }
    ++next_;
  }

 private:
  UserError damaged() const {
    return UserError(fmt::format(
        "{}: this is an HDF5 file that is damaged or packed in a way that is not known here",
        facts().name));
  }

  std::string described() {
    HelperProcess helper({"describe", file_.inner, axisText_}, input_.descriptor());
    if (!helper.found() || !helper.running()) {
      throw withoutHelper(facts().name, "an HDF5 file", helper.found());
    }
    constexpr std::size_t mostBytes = 300'000'000;
    std::string answer;
    std::vector<char> block(1U << 16U);
    while (const std::size_t got = helper.receive(block.data(), block.size())) {
      answer.append(block.data(), got);
      if (answer.size() > mostBytes) {
        throw damaged();
      }
    }
    if (answer.empty() && !helper.wasBegun()) {
      throw withoutHelper(facts().name, "an HDF5 file", true);
    }
    return answer;
  }

  void takeDescription(const Json& told, const VolumeRequest& request) {
    if (told.contains("error")) {
      throw UserError(
          fmt::format("{}: {}", facts().name, inOneLine(told.at("error").get<std::string>())));
    }
    path_ = told.at("path").get<std::string>();
    auto extents = told.at("extents").get<Extents>();
    chunk_ = told.at("chunk").get<Extents>();
    facts().isComplex = told.at("complex").get<bool>();
    facts().unit = told.at("unit").get<std::string>();
    strides_ = rowMajorStrides(extents);
    facts().samples = 1;
    if (request.withSamples) {
      const auto axis = told.at("axis").get<std::ptrdiff_t>();
      facts().samples = extents.at(static_cast<std::size_t>(axis));
      for (Extents* const list : {&extents, &chunk_, &strides_}) {
        list->erase(list->begin() + axis);
      }
      const Json& times = told.at("times");
      const auto unit = times.at("unit").get<std::string>();
      const std::optional<double> size = unitSize(unit, request.abscissa);
      for (const double value : times.at("values").get<std::vector<double>>()) {
        facts().times.push_back(size ? toSi(value, *size) : value);
      }
    }
    facts().voxels = std::move(extents);
    for (const Json& axis : told.at("axes")) {
      facts().axes.push_back({axis.at("name").get<std::string>(),
                              axis.at("unit").get<std::string>(),
                              axis.at("values").get<std::vector<double>>()});
    }
    constexpr std::size_t mostNumbers = 100'000'000;
    if (facts().samples > mostNumbers) {
      throw damaged();
    }
  }

  ContainerName file_;
  OwnFile input_;
  std::string axisText_;
  std::string path_;
  Extents chunk_;  ///< of the voxels; zeros without chunks
  std::vector<std::size_t> strides_;
  Tiling tiling_;
  std::size_t next_ = 0;
  std::size_t last_ = 0;
  std::optional<HelperProcess> helper_;
};

}  // namespace

std::unique_ptr<Volume> openHdf5(const VolumeRequest& request) {
  return std::make_unique<Hdf5Volume>(request);
}

}  // namespace vorin::toolkit
