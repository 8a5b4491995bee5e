#include "batch_journal.hpp"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

/// Any bytes as a text that JSON can hold.
std::string hexadecimal(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    text += fmt::format("{:02x}", static_cast<unsigned char>(c));
  }
  return text;
}

/// Not a number is null in JSON.
double numberOf(const Json& value) {
  return value.is_null() ? BatchRow::unknown : value.get<double>();
}

Json jsonOf(const BatchRow& row) {
  Json measures = Json::array();
  for (double measure : row.measures) {
    measures.push_back(measure);
  }
  return {{"samples", row.samples},     {"status", row.status},    {"success", row.success},
          {"advice", row.advice},       {"noise", row.noise},      {"weight", row.weight},
          {"error", row.standardError}, {"log_mean", row.logMean}, {"total", row.total},
          {"peaks", row.peaks},         {"measures", measures},    {"peak_list", row.peakList},
          {"notes", row.notes}};
}

BatchRow rowOf(const Json& object) {
  BatchRow row;
  row.samples = object.at("samples").get<std::size_t>();
  row.status = object.at("status").get<int>();
  row.success = object.at("success").get<bool>();
  row.advice = object.at("advice").get<std::string>();
  row.noise = numberOf(object.at("noise"));
  row.weight = numberOf(object.at("weight"));
  row.standardError = numberOf(object.at("error"));
  row.logMean = numberOf(object.at("log_mean"));
  row.total = numberOf(object.at("total"));
  row.peaks = object.at("peaks").get<std::size_t>();
  row.notes = object.at("notes").get<std::string>();
  for (const Json& peak : object.at("peak_list")) {
    std::array<double, 5>& numbers = row.peakList.emplace_back();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      numbers[i] = numberOf(peak.at(i));  // throws where the file has fewer
    }
  }
  for (const Json& measure : object.at("measures")) {
    row.measures.push_back(numberOf(measure));
  }
  return row;
}

}  // namespace

BatchJournal::BatchJournal(fs::path file, const std::string& settings)
    : file_(std::move(file)),
      head_(Json({{"vorin", "batch"}, {"settings", hexadecimal(settings)}}).dump()) {}

std::map<std::string, DoneDecay> BatchJournal::read() const {
  std::map<std::string, DoneDecay> done;
  std::ifstream stream(file_, std::ios::binary);
  std::string line;
  if (!stream || !std::getline(stream, line)) {
    return done;
  }
  if (stream.eof() && head_.starts_with(line)) {
    return done;  // the run was interrupted, or the disk full, in the first line
  }
  if (line != head_) {
    throw UserError(fmt::format(
        "--resume: {} is of a run with other options; give the same ones, or leave out --resume to "
        "begin anew",
        file_.string()));
  }
  while (std::getline(stream, line)) {
    const Json object = Json::parse(line, nullptr, false);
    if (!object.is_object()) {
      break;
    }
    try {
      done[object.at("key").get<std::string>()] = {rowOf(object.at("row")),
                                                   object.at("json").get<std::string>()};
    } catch (const Json::exception&) {
      break;
    }
  }
  return done;
}

void BatchJournal::begin() {
  std::error_code error;
  fs::create_directories(file_.parent_path(), error);
  stream_.open(file_, std::ios::binary | std::ios::trunc);
  stream_ << head_ << '\n' << std::flush;
  if (!stream_) {
    throw UserError(fmt::format("{}: the file can't be written", file_.string()));
  }
}

void BatchJournal::add(const std::string& key, const DoneDecay& done) {
  const std::string text = Json({{"key", key}, {"row", jsonOf(done.row)}, {"json", done.json}})
                               .dump(-1, ' ', false, Json::error_handler_t::replace);
  stream_ << text << '\n' << std::flush;
  if (!stream_) {
    throw UserError(fmt::format("{}: the file can't be written", file_.string()));
  }
}

void BatchJournal::end() {
  stream_.close();
  std::error_code ignored;
  fs::remove(file_, ignored);
}

std::string BatchJournal::key(const std::string& decay, const fs::path& file) {
  std::error_code error;
  const auto size = fs::file_size(file, error);
  const auto written = fs::last_write_time(file, error).time_since_epoch().count();
  return hexadecimal(fmt::format("{}\n{}\n{}", decay, size, written));
}

}  // namespace vorin::toolkit
