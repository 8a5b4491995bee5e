// Tables with a decay a row. The text is read once, line by line, into a temporary file of numbers,
// so that its length does not matter.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/mapping/files/open_volume.hpp"
#include "toolkit/mapping/files/raw_volume.hpp"
#include "toolkit/mapping/files/unpacked.hpp"
#include "toolkit/reading/table_layout.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::size_t longestLine = 16'000'000;

/// The lines of a text of any length.
class Lines {
 public:
  explicit Lines(const std::string& file) : name_(file), reader_(file), block_(1U << 16U) {}

  /// The next line without blanks at its ends. False at the end.
  bool next(std::string& line) {
    line.clear();
    bool any = false;
    while (true) {
      if (at_ == filled_) {
        filled_ = reader_.read(block_.data(), block_.size());
        at_ = 0;
        if (filled_ == 0) {
          break;
        }
      }
      any = true;
      const char* const begin = block_.data() + at_;
      const char* const end = block_.data() + filled_;
      const char* const stop = std::find(begin, end, '\n');
      line.append(begin, stop);
      at_ += static_cast<std::size_t>(stop - begin);
      if (line.size() > longestLine) {
        throw UserError(fmt::format("{}, line {}: the line is longer than {} bytes", name_,
                                    number_ + 1, longestLine));
      }
      if (stop != end) {
        ++at_;
        break;
      }
    }
    number_ += any ? 1 : 0;
    if (number_ == 1 && line.starts_with("\xEF\xBB\xBF")) {
      line.erase(0, 3);
    }
    if (line.find('\0') != std::string::npos) {
      throw UserError(
          fmt::format("{}: this is no NIfTI image, HDF5 file, .npy array or table", name_));
    }
    line = std::string(trimmed(line));
    return any;
  }

  long number() const { return number_; }

 private:
  std::string name_;
  PackedReader reader_;
  std::vector<char> block_;
  std::size_t at_ = 0;
  std::size_t filled_ = 0;
  long number_ = 0;
};

/// Takes a table apart and keeps its numbers.
class TableReader {
 public:
  explicit TableReader(const VolumeRequest& request)
      : request_(request), target_(OwnFile::unnamed(request.scratch)) {}

  std::unique_ptr<Volume> read() {
    Lines lines(request_.file);
    std::string line;
    while (lines.next(line)) {
      if (!line.empty() && line.front() != '#') {
        take(line, lines.number());
      }
    }
    if (rows_ == 0) {
      throw UserError(
          fmt::format("{}: there are no rows of numbers; a decay a row is needed, below "
                      "a row of times",
                      request_.file));
    }
    writeOut();
    RawLayout layout;
    layout.voxels = {rows_};
    layout.samples = columns_;
    layout.voxelStrides = {columns_};
    layout.sampleStride = 1;
    auto volume = std::make_unique<RawVolume>(std::move(target_), request_.file, VolumeKind::table,
                                              std::move(layout));
    volume->setTimes(std::move(times_));
    return volume;
  }

 private:
  void take(const std::string& line, long number) {
    if (separator_ == '\0') {
      separator_ = separatorOf(line);
    }
    const std::vector<std::string_view> fields = fieldsOf(line, separator_);
    const bool begins = rows_ == 0 && times_.empty();
    if (begins && takeHeader(fields)) {
      return;
    }
    std::vector<double> numbers;
    numbers.reserve(fields.size());
    for (const std::string_view field : fields) {
      numbers.push_back(numberIn(field, number));
    }
    if (begins) {
      columns_ = numbers.size();
    }
    if (numbers.size() != columns_) {
      throw UserError(fmt::format("{}, line {}: {} numbers, but the rows above have {}",
                                  request_.file, number, numbers.size(), columns_));
    }
    if (begins && request_.withSamples && !request_.timesGiven) {
      times_ = std::move(numbers);
      return;
    }
    pending_.insert(pending_.end(), numbers.begin(), numbers.end());
    ++rows_;
    constexpr std::size_t most = 1U << 16U;
    if (pending_.size() > most) {
      writeOut();
    }
  }

  /// True for a line without a number in front of the first row: names, or times with their units,
  /// which are kept.
  bool takeHeader(const std::vector<std::string_view>& fields) {
    const bool numbers = std::any_of(fields.begin(), fields.end(), [](std::string_view field) {
      return numberWithComma(field).has_value();
    });
    if (numbers) {
      return false;
    }
    std::vector<double> times;
    for (const std::string_view field : fields) {
      if (const std::optional<double> time = parseQuantity(field, request_.abscissa)) {
        times.push_back(*time);
      }
    }
    if (times.size() == fields.size() && request_.withSamples && !request_.timesGiven) {
      times_ = std::move(times);
      columns_ = times_.size();
    } else {
      separator_ = '\0';
    }
    return true;
  }

  double numberIn(std::string_view field, long line) const {
    const std::optional<double> number = numberWithComma(field);
    if (number) {
      return *number;
    }
    if (meansNoNumber(field)) {
      return std::numeric_limits<double>::quiet_NaN();
    }
    throw UserError(
        fmt::format("{}, line {}: {} is no number", request_.file, line, inQuotes(field)));
  }

  void writeOut() {
    const std::size_t bytes = pending_.size() * sizeof(double);
    target_.write(written_, reinterpret_cast<const char*>(pending_.data()), bytes);
    written_ += bytes;
    pending_.clear();
  }

  const VolumeRequest& request_;
  OwnFile target_;
  char separator_ = '\0';
  std::vector<double> times_;
  std::vector<double> pending_;
  std::uint64_t written_ = 0;
  std::size_t columns_ = 0;
  std::size_t rows_ = 0;
};

}  // namespace

std::unique_ptr<Volume> openTable(const VolumeRequest& request) {
  return TableReader(request).read();
}

}  // namespace vorin::toolkit
