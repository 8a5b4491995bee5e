// The toolkit's C boundary: its functions in any order with the handles at hand, null ones among
// them, settings of any name and value, results that outlive the settings and maps they came from,
// hostile numbers. Every call ends with a status of the header, a sentence where it says so, and a
// handle only where it succeeded.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "toolkit/vorin_toolkit.h"

namespace {

using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;
using vorin::fuzz::require;

// Settings whose values are of this pool are for jobs; what any text or number may ask for (a grid
// of 10000 values, 100000 replicates) is a host's own choice of a long job.
constexpr const char* pool[][2] = {{"grid", "1ms:1s:8"},
                                   {"grid", "2ms:0.5s:5"},
                                   {"kernel", "t2"},
                                   {"kernel", "diffusion"},
                                   {"kernel", "t2-epg"},
                                   {"kernel", "t1-inversion"},
                                   {"kernel", "x"},
                                   {"weight", "0.1"},
                                   {"weight", "noise"},
                                   {"weight", "corner"},
                                   {"noise", "0.02"},
                                   {"noise", "1e300"},
                                   {"compress", "5,1e-4"},
                                   {"prune", "none"},
                                   {"prune_points", "6"},
                                   {"skip", "1"},
                                   {"skip", "1000000000"},
                                   {"log", "l.log"},
                                   {"log", "missing/l.log"},
                                   {"log", "/"},
                                   {"replicates", "20"},
                                   {"seed", "7"},
                                   {"threads", "2"},
                                   {"distribution", "on"},
                                   {"threshold", "0.5"},
                                   {"calibrate", "100pu=2"},
                                   {"cutoff", "3ms,30ms"},
                                   {"cutoff", "30ms,3ms"},
                                   {"percentiles", "10,90"},
                                   {"percentiles", "0,200"},
                                   {"grid1", "10ms:1s:4"},
                                   {"grid2", "1ms:1s:4"},
                                   {"kernel1", "t1-saturation"},
                                   {"kernel2", "t2"},
                                   {"kernel2", "t2-epg"},
                                   {"flip", "estimate"},
                                   {"flip", "160"},
                                   {"baseline", "fit"},
                                   {"rician", "on"},
                                   {"method", "classic"},
                                   {"reject_outliers", "3"},
                                   {"inversion_efficiency", "fit"},
                                   {"key.MAXI", "30"},
                                   {"key.BRDA", "1"},
                                   {"key.TOL", "1e-3"},
                                   {"key.NALG", "ASYM"},
                                   {"key.FLOG", "x"},
                                   {"key.", "1"},
                                   {"sigma", "0.1"},
                                   {"phase", "1"},
                                   {"columns", "2,1"},
                                   {"spacing", "1ms"},
                                   {"time_unit", "ms"},
                                   {"header_lines", "1"}};
constexpr int poolSize = sizeof pool / sizeof pool[0];

/// All handles that an input makes, freed with it.
struct Handles {
  std::array<vorin_settings*, 3> settings{};
  std::array<vorin_settings*, 1> wild{};  ///< any values: for no job but the reading of files
  std::array<vorin_result*, 5> results{};
  std::array<vorin_map*, 2> maps{};

  Handles() = default;
  Handles(const Handles&) = delete;
  Handles& operator=(const Handles&) = delete;
  ~Handles() {
    // Results last: they stay valid.
    for (vorin_settings* one : settings) {
      vorin_settings_free(one);
    }
    vorin_settings_free(wild[0]);
    for (vorin_map* one : maps) {
      vorin_map_free(one);
    }
    for (vorin_result* one : results) {
      vorin_result_free(one);
    }
  }
};

class Calls {
 public:
  Calls(Bytes& bytes, Handles& handles)
      : bytes_(bytes), all_(handles), message_(static_cast<std::size_t>(bytes.within(0, 200))) {}

  void one() {
    switch (bytes_.byte() % 24) {
      case 0:
      case 1:
        free();
        break;
      case 2:
      case 3:
      case 4:
        set();
        break;
      case 5:
        setAnything();
        break;
      case 6:
        setNumbers();
        break;
      case 7:
      case 8:
        lookAt(result());
        break;
      case 9:
      case 10:
        invert();
        break;
      case 11:
        make([&](vorin_result** made) {
          return vorin_bootstrap(result(), settings(), progress(), this, made, text(), size());
        });
        break;
      case 12:
        make([&](vorin_result** made) { return vorin_lcurve(result(), made, text(), size()); });
        break;
      case 13:
        map();
        break;
      case 14:
        invertMap();
        break;
      case 15:
        invert2d();
        break;
      case 16:
        onInverted2d();
        break;
      case 17:
        simulate();
        break;
      case 18:
        model();
        break;
      case 19:
        measures();
        break;
      case 20:
        lists();
        break;
      case 21:
        sharedWeight();
        break;
      default:
        create();
    }
  }

 private:
  char* text() { return bytes_.byte() < 20 ? nullptr : message_.data(); }
  std::int64_t size() { return static_cast<std::int64_t>(message_.size()); }

  vorin_settings*& settings() { return all_.settings[bytes_.byte() % all_.settings.size()]; }
  vorin_result*& result() { return all_.results[bytes_.byte() % all_.results.size()]; }
  vorin_map*& mapHandle() { return all_.maps[bytes_.byte() % all_.maps.size()]; }

  static std::int32_t VORIN_TOOLKIT_CALL stopOrGo(void* user, std::int64_t done,
                                                  std::int64_t total) {
    require(done >= 0 && done <= total);
    auto* const calls = static_cast<Calls*>(user);
    return --calls->stopAfter_ == 0 ? 1 : 0;
  }
  vorin_progress progress() {
    stopAfter_ = bytes_.byte();
    return stopAfter_ < 100 ? nullptr : stopOrGo;
  }

  void requireStatus(std::int32_t status) {
    require(status >= VORIN_TOOLKIT_OK && status <= VORIN_TOOLKIT_NO_FIELD);
    if (message_.size() > 0 && message_[0] != '\0') {
      require(std::memchr(message_.data(), '\0', message_.size()) != nullptr);
    }
  }

  /// Puts what `job` makes in the place of another result, which is freed after the job: a job may
  /// have it as an input.
  template <class Job>
  void make(Job job) {
    vorin_result* made = nullptr;
    const std::int32_t status = job(&made);
    requireStatus(status);
    require((status == VORIN_TOOLKIT_OK) == (made != nullptr));
    if (made != nullptr) {
      vorin_result*& place = result();
      vorin_result_free(place);
      place = made;
      lookAt(place);
    }
  }

  void create() {
    vorin_settings*& place = bytes_.byte() < 230 ? settings() : all_.wild[0];
    vorin_settings_free(place);
    requireStatus(vorin_settings_create(&place, text(), size()));
    requireStatus(vorin_settings_create(nullptr, text(), size()));
    vorin_settings_set_text(place, "grid", "1ms:1s:6", nullptr, 0);
    vorin_settings_set_text(place, "grid1", "10ms:1s:3", nullptr, 0);
    vorin_settings_set_text(place, "grid2", "10ms:1s:3", nullptr, 0);
    vorin_settings_set_text(place, "replicates", "20", nullptr, 0);
  }

  void free() {
    switch (bytes_.byte() % 3) {
      case 0: {
        vorin_settings*& one = settings();
        vorin_settings_free(one);
        one = nullptr;
        break;
      }
      case 1: {
        vorin_map*& one = mapHandle();
        vorin_map_free(one);
        one = nullptr;
        break;
      }
      default: {
        vorin_result*& one = result();
        vorin_result_free(one);
        one = nullptr;
      }
    }
  }

  void set() {
    for (int left = 1 + bytes_.byte() % 4; left > 0; --left) {
      const auto& row = pool[bytes_.within(0, poolSize - 1)];
      requireStatus(vorin_settings_set_text(settings(), row[0], row[1], text(), size()));
    }
  }

  void setAnything() {
    const std::string name =
        bytes_.byte() < 200 ? pool[bytes_.within(0, poolSize - 1)][0] : bytes_.text(20);
    const std::string value = bytes_.text(40);
    vorin_settings* const one = all_.wild[0];
    requireStatus(vorin_settings_set_text(one, name.c_str(), value.c_str(), text(), size()));
    requireStatus(vorin_settings_set_number(one, name.c_str(), bytes_.number(), text(), size()));
    requireStatus(vorin_settings_set_text(one, nullptr, value.c_str(), text(), size()));
    requireStatus(vorin_settings_set_text(one, name.c_str(), nullptr, text(), size()));
  }

  void setNumbers() {
    static constexpr const char* names[] = {"grid", "grid1", "grid2", "kernel", "kernel1", "noise"};
    const std::int64_t rows = bytes_.within(-1, 12);
    const std::int64_t columns = bytes_.within(-1, 8);
    Exact<double> values(vorin::fuzz::area(static_cast<int>(rows), static_cast<int>(columns)));
    bytes_.fill(values);
    const char* const name = names[bytes_.byte() % 6];
    requireStatus(
        vorin_settings_set_matrix(settings(), name, values.data(), rows, columns, text(), size()));
    Exact<double> list(vorin::fuzz::room(static_cast<int>(columns)));
    double at = bytes_.byte() < 200 ? 0.001 : bytes_.number();
    for (std::size_t i = 0; i < list.size(); ++i) {
      list[i] = at;
      at += bytes_.byte() / 100.0;
    }
    requireStatus(vorin_settings_set_array(settings(), name, list.data(), columns, text(), size()));
  }

  /// Reads every field as its kind says, and one under a name or kind that it has not.
  void lookAt(const vorin_result* one) {
    const char* name = nullptr;
    std::int32_t kind = 0;
    std::int64_t count = 0;
    double number = 0.0;
    const char* words = nullptr;
    const double* numbers = nullptr;
    for (std::int64_t i = 0;
         vorin_result_field(one, i, &name, &kind, &count, text(), size()) == VORIN_TOOLKIT_OK;
         ++i) {
      if (kind == VORIN_TOOLKIT_NUMBER) {
        require(vorin_result_number(one, name, &number, text(), size()) == VORIN_TOOLKIT_OK);
        require(vorin_result_numbers(one, &name, 1, &number, text(), size()) == VORIN_TOOLKIT_OK);
      } else if (kind == VORIN_TOOLKIT_TEXT) {
        require(vorin_result_text(one, name, &words, text(), size()) == VORIN_TOOLKIT_OK);
        sum_ += std::strlen(words);
      } else if (kind == VORIN_TOOLKIT_ARRAY) {
        std::int64_t again = -1;
        require(vorin_result_array(one, name, &numbers, &again, text(), size()) ==
                VORIN_TOOLKIT_OK);
        require(again == count);
        for (std::int64_t k = 0; k < count; ++k) {
          sum_ += std::isnan(numbers[k]) ? 1U : 0U;
        }
      } else {
        for (std::int64_t k = 0; k < count; ++k) {
          require(vorin_result_text_at(one, name, k, &words, text(), size()) == VORIN_TOOLKIT_OK);
          sum_ += std::strlen(words);
        }
        require(vorin_result_text_at(one, name, count, &words, text(), size()) ==
                VORIN_TOOLKIT_NO_FIELD);
      }
    }
    const std::string any = bytes_.text(12);
    requireStatus(vorin_result_number(one, any.c_str(), &number, text(), size()));
    requireStatus(vorin_result_array(one, "kernel", &numbers, &count, text(), size()));
    requireStatus(vorin_result_text(one, "total", &words, text(), size()));
    requireStatus(vorin_result_field(one, bytes_.integer(), &name, &kind, &count, text(), size()));
  }

  /// Times that mostly rise, and a decay over them or hostile numbers.
  Exact<double> times(int count) {
    Exact<double> made(vorin::fuzz::room(count));
    double at = bytes_.byte() < 240 ? 0.0 : bytes_.number();
    for (std::size_t i = 0; i < made.size(); ++i) {
      at += (1 + bytes_.byte() % 64) / 1000.0;
      made[i] = bytes_.byte() < 252 ? at : bytes_.number();
    }
    return made;
  }
  Exact<double> decay(const Exact<double>& over) {
    Exact<double> made(over.size());
    if (bytes_.byte() < 60) {
      bytes_.fill(made);
      return made;
    }
    const double rate = 1.0 + bytes_.byte();
    for (std::size_t i = 0; i < made.size(); ++i) {
      made[i] = std::exp(-rate * over[i]) + (bytes_.byte() - 128) / 4096.0;
    }
    return made;
  }

  void invert() {
    const int count = bytes_.within(0, 16);
    const Exact<double> t = times(count);
    const Exact<double> real = decay(t);
    const Exact<double> imaginary = decay(t);
    const bool isComplex = bytes_.byte() < 80;
    make([&](vorin_result** made) {
      return vorin_invert(settings(), t.data(), real.data(), isComplex ? imaginary.data() : nullptr,
                          count, made, text(), size());
    });
  }

  void map() {
    const int count = bytes_.within(0, 12);
    const Exact<double> t = times(count);
    vorin_map*& place = mapHandle();
    vorin_map_free(place);
    const std::int32_t status =
        vorin_map_create(settings(), t.data(), count, &place, text(), size());
    requireStatus(status);
    require((status == VORIN_TOOLKIT_OK) == (place != nullptr));
    make([&](vorin_result** made) { return vorin_map_describe(place, made, text(), size()); });
  }

  /// How many samples a voxel of `one` has.
  static int samplesOf(const vorin_map* one) {
    vorin_result* described = nullptr;
    double samples = 2.0;
    if (vorin_map_describe(one, &described, nullptr, 0) == VORIN_TOOLKIT_OK) {
      vorin_result_number(described, "samples", &samples, nullptr, 0);
      vorin_result_free(described);
    }
    return static_cast<int>(samples);
  }

  void invertMap() {
    vorin_map* const one = mapHandle();
    const int samples = samplesOf(one);
    const int voxels = bytes_.within(0, 4);
    Exact<double> block(vorin::fuzz::area(voxels, samples));
    bytes_.fill(block);
    Exact<std::uint8_t> mask(vorin::fuzz::room(voxels));
    Exact<double> noise(mask.size());
    Exact<double> flip(mask.size());
    for (std::size_t i = 0; i < mask.size(); ++i) {
      mask[i] = bytes_.byte();
      noise[i] = bytes_.number();
      flip[i] = bytes_.byte() < 200 ? bytes_.within(1, 359) : bytes_.number();
    }
    const int width = bytes_.byte() < 100 ? 4 : bytes_.byte() < 250 ? 8 : bytes_.within(-1, 9);
    make([&](vorin_result** made) {
      return vorin_map_invert(
          one, block.data(), width, voxels, bytes_.byte() < 128 ? mask.data() : nullptr,
          bytes_.byte() < 60 ? noise.data() : nullptr, bytes_.byte() < 60 ? flip.data() : nullptr,
          progress(), this, made, text(), size());
    });
    Exact<double> sums(vorin::fuzz::room(samples));
    std::int64_t count = 0;
    requireStatus(vorin_map_add_to_mean(one, block.data(), width, voxels, mask.data(), sums.data(),
                                        &count, text(), size()));
  }

  void sharedWeight() {
    const int count = bytes_.within(0, 12);
    const Exact<double> t = times(count);
    const Exact<double> mean = decay(t);
    double weight = 0.0;
    requireStatus(
        vorin_map_shared_weight(settings(), t.data(), mean.data(), count, &weight, text(), size()));
  }

  void invert2d() {
    const int rows = bytes_.within(0, 6);
    const int columns = bytes_.within(0, 6);
    const Exact<double> t1 = times(rows);
    const Exact<double> t2 = times(columns);
    Exact<double> samples(vorin::fuzz::area(rows, columns));
    bytes_.fill(samples);
    make([&](vorin_result** made) {
      return vorin_invert2d(settings(), t1.data(), rows, t2.data(), columns, samples.data(),
                            bytes_.byte() < 40 ? samples.data() : nullptr, progress(), this, made,
                            text(), size());
    });
  }

  void onInverted2d() {
    vorin_result* const one = result();
    const double* samples = nullptr;
    std::int64_t count = 0;
    vorin_result_array(one, "samples", &samples, &count, nullptr, 0);
    Exact<double> fit(static_cast<std::size_t>(count));
    requireStatus(vorin_fit2d(one, fit.data(), text(), size()));
    Exact<double> regions(8);
    bytes_.fill(regions);
    make([&](vorin_result** made) {
      return vorin_bootstrap2d(one, settings(), regions.data(), bytes_.within(-1, 2), progress(),
                               this, made, text(), size());
    });
  }

  void simulate() {
    const int count = bytes_.within(0, 8);
    const Exact<double> t = times(count);
    Exact<double> peaks(8);
    bytes_.fill(peaks);
    make([&](vorin_result** made) {
      return vorin_simulate(settings(), t.data(), count, peaks.data(), bytes_.within(-1, 2), made,
                            text(), size());
    });
    make([&](vorin_result** made) {
      return vorin_simulate2d(settings(), t.data(), count, t.data(), count, peaks.data(),
                              bytes_.within(-1, 2), made, text(), size());
    });
  }

  void model() {
    static constexpr const char* kernels[] = {"t2", "t1-inversion", "diffusion", "t2-epg", "", "x"};
    const char* const kernel = bytes_.byte() < 10 ? nullptr : kernels[bytes_.byte() % 6];
    const int count = bytes_.within(0, 12);
    const Exact<double> t = times(count);
    Exact<double> real = decay(t);
    Exact<double> imaginary = decay(t);
    Exact<double> matrix(vorin::fuzz::area(count, count));
    double number = 0.0;
    double other = 0.0;
    requireStatus(vorin_kernel_matrix(kernel, t.data(), count, t.data(), count, matrix.data(),
                                      text(), size()));
    requireStatus(vorin_difference_noise(t.data(), real.data(), count, &number, text(), size()));
    requireStatus(vorin_phase_correct(kernel, real.data(), imaginary.data(), count, &number, &other,
                                      text(), size()));
    const int points = bytes_.within(-1, 30);
    Exact<double> grid(vorin::fuzz::room(points));
    requireStatus(
        vorin_log_grid(bytes_.number(), bytes_.number(), points, grid.data(), text(), size()));
    make([&](vorin_result** made) {
      return vorin_default_grid(kernel, t.data(), count, made, text(), size());
    });
    make([&](vorin_result** made) {
      return vorin_picture_axes(kernel, bytes_.number(), bytes_.number(), made, text(), size());
    });
  }

  void measures() {
    const int points = bytes_.within(0, 10);
    const Exact<double> grid = times(points);
    Exact<double> amplitudes(grid.size());
    bytes_.fill(amplitudes);
    Exact<double> some(2);
    bytes_.fill(some);
    make([&](vorin_result** made) {
      return vorin_measures(grid.data(), amplitudes.data(), points, bytes_.number(), made, text(),
                            size());
    });
    make([&](vorin_result** made) {
      return vorin_report_measures(grid.data(), amplitudes.data(), points, some.data(),
                                   bytes_.within(-1, 2), some.data(), bytes_.within(-1, 2),
                                   amplitudes.data(), bytes_.within(-1, 1), bytes_.number(), made,
                                   text(), size());
    });
    const int rows = bytes_.within(0, 3);
    Exact<double> both(vorin::fuzz::area(points, rows));
    bytes_.fill(both);
    const Exact<double> region = times(4);
    double share = 0.0;
    requireStatus(vorin_share2d(grid.data(), points, grid.data(), std::min(rows, points),
                                both.data(), region.data(), &share, text(), size()));
    make([&](vorin_result** made) {
      return vorin_measures2d(grid.data(), points, grid.data(), std::min(rows, points), both.data(),
                              bytes_.number(), made, text(), size());
    });
  }

  void lists() {
    switch (bytes_.byte() % 4) {
      case 0:
        make([&](vorin_result** made) { return vorin_keys(made, text(), size()); });
        break;
      case 1:
        make([&](vorin_result** made) { return vorin_setting_names(made, text(), size()); });
        break;
      case 2:
        make([&](vorin_result** made) {
          return vorin_read_decay(bytes_.byte() < 20 ? nullptr : "l.log", all_.wild[0], made,
                                  text(), size());
        });
        break;
      default:
        make([&](vorin_result** made) {
          return vorin_read2d(bytes_.byte() < 20 ? nullptr : "l.log", all_.wild[0], made, text(),
                              size());
        });
    }
  }

  Bytes& bytes_;
  Handles& all_;
  Exact<char> message_;
  int stopAfter_ = 0;
  std::size_t sum_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  Bytes bytes(data, size);
  Handles handles;
  Calls calls(bytes, handles);
  constexpr int mostCalls = 40;
  for (int left = mostCalls; left > 0 && !bytes.empty(); --left) {
    calls.one();
  }
  return 0;
}
