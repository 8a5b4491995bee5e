// A job of each kind through the toolkit's C header, small, with all that it answers as bits.
#pragma once

#include <toolkit/vorin_toolkit.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace vorin::test {

/// The statuses of a job's calls up to the first that failed, and the bits of its results.
struct JobAnswer {
  std::int32_t status = VORIN_TOOLKIT_OK;
  char sentence[VORIN_TOOLKIT_MESSAGE_SIZE] = "";  ///< takes no memory, which may be refused
  std::vector<std::uint64_t> bits;

  bool operator==(const JobAnswer& other) const {
    return status == other.status && bits == other.bits;
  }

  void add(double value) {
    std::uint64_t word = 0;
    std::memcpy(&word, &value, sizeof word);
    bits.push_back(word);
  }
};

struct Job {
  const char* name;
  JobAnswer (*run)();
};

/// A decay of two relaxation times with a noise of about 0.01, and samples over two axes.
struct JobData {
  explicit JobData(int count) {
    unsigned state = 1;
    for (int i = 0; i < count; ++i) {
      t.push_back(2e-3 * (i + 1));
      state = state * 1103515245U + 12345U;
      const double noise = (static_cast<double>(state >> 16U & 0x7fffU) / 16384.0 - 1.0) * 0.017;
      y.push_back(0.4 * std::exp(-t.back() / 4e-3) + 0.6 * std::exp(-t.back() / 2e-2) + noise);
    }
    for (const double first : t) {
      for (const double at : t) {
        plane.push_back((1.0 - 2.0 * std::exp(-first / 5e-3)) * std::exp(-at / 1e-2) +
                        0.01 * std::sin(7e3 * at + 9e4 * first));
      }
    }
    voxels = y;
    voxels.resize(3 * y.size(), 0.5);
    voxels.back() = NAN;
  }

  std::int64_t count() const { return static_cast<std::int64_t>(t.size()); }

  std::vector<double> t;
  std::vector<double> y;
  std::vector<double> plane;   ///< t.size() x t.size()
  std::vector<double> voxels;  ///< a decay, a constant, and one with a sample that is no number
};

/// Computed once: a job may run in another floating-point environment.
inline const JobData& jobData() {
  static const JobData data(20);
  return data;
}
inline const JobData& smallJobData() {
  static const JobData data(6);
  return data;
}

/// All handles of one job, freed in the end.
class JobCalls {
 public:
  JobCalls() = default;
  JobCalls(const JobCalls&) = delete;
  JobCalls& operator=(const JobCalls&) = delete;
  ~JobCalls() {
    vorin_settings_free(settings);
    vorin_map_free(map);
    vorin_result_free(result);
    vorin_result_free(second);
  }

  /// False, with the sentence, for a call that failed.
  bool good(std::int32_t status) {
    answer.status = status;
    if (status != VORIN_TOOLKIT_OK) {
      std::memcpy(answer.sentence, text, sizeof text);
    }
    return status == VORIN_TOOLKIT_OK;
  }

  bool set(std::initializer_list<std::pair<const char*, const char*>> values) {
    if (!good(vorin_settings_create(&settings, text, sizeof text))) {
      return false;
    }
    for (const auto& [name, value] : values) {
      if (!good(vorin_settings_set_text(settings, name, value, text, sizeof text))) {
        return false;
      }
    }
    return true;
  }

  bool invert() {
    const JobData& data = jobData();
    return good(vorin_invert(settings, data.t.data(), data.y.data(), nullptr, data.count(), &result,
                             text, sizeof text));
  }

  /// Adds all numbers of a result to the answer.
  void take(const vorin_result* from) {
    const char* name = nullptr;
    std::int32_t kind = 0;
    std::int64_t count = 0;
    for (std::int64_t i = 0; vorin_result_field(from, i, &name, &kind, &count, nullptr, 0) == 0;
         ++i) {
      const double* values = nullptr;
      double number = 0.0;
      if (kind == VORIN_TOOLKIT_NUMBER) {
        if (!good(vorin_result_number(from, name, &number, text, sizeof text))) {
          return;
        }
        answer.add(number);
      } else if (kind == VORIN_TOOLKIT_ARRAY) {
        if (!good(vorin_result_array(from, name, &values, &count, text, sizeof text))) {
          return;
        }
        for (std::int64_t k = 0; k < count; ++k) {
          answer.add(values[k]);
        }
      }
    }
  }

  vorin_settings* settings = nullptr;
  vorin_map* map = nullptr;
  vorin_result* result = nullptr;
  vorin_result* second = nullptr;
  char text[VORIN_TOOLKIT_MESSAGE_SIZE] = "";
  JobAnswer answer;
};

inline JobAnswer inverted(std::initializer_list<std::pair<const char*, const char*>> values) {
  JobCalls job;
  if (job.set(values) && job.invert()) {
    job.take(job.result);
  }
  return job.answer;
}

/// What the job "file" reads, in the working folder.
inline void writeJobFile() {
  std::FILE* const file = std::fopen("job.csv", "w");
  std::fputs("time,amplitude\n1.5,3e0\n2.5,2.25\n4.0,1.125\n1234.5,1e-400\n", file);
  std::fclose(file);
}

inline const std::vector<Job>& jobs() {
  static const std::vector<Job> all = {
      {"by the noise",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"noise", "0.01"}});
       }},
      {"compressed at a weight",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"weight", "0.01"}, {"compress", "8"}});
       }},
      {"of all samples",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"prune", "none"}, {"noise", "0.01"}});
       }},
      {"with keys of the library",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"key.BRDA", "1"}, {"noise", "0.01"}});
       }},
      {"by the corner",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"weight", "corner"}});
       }},
      {"classic",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"method", "classic"}, {"noise", "0.01"}});
       }},
      {"a noise that the data contradict",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"noise", "1e-9"}});
       }},
      {"echo train",
       [] {
         return inverted(
             {{"grid", "1ms:0.2s:12"}, {"kernel", "t2-epg"}, {"flip", "150"}, {"noise", "0.01"}});
       }},
      {"log",
       [] {
         return inverted({{"grid", "1ms:0.2s:12"}, {"noise", "0.01"}, {"log", "job.log"}});
       }},
      {"bootstrap",
       [] {
         JobCalls job;
         if (job.set({{"grid", "1ms:0.2s:8"},
                      {"noise", "0.01"},
                      {"replicates", "20"},
                      {"threads", "2"}}) &&
             job.invert() &&
             job.good(vorin_bootstrap(job.result, job.settings, nullptr, nullptr, &job.second,
                                      job.text, sizeof job.text))) {
           job.take(job.second);
         }
         return job.answer;
       }},
      {"L-curve",
       [] {
         JobCalls job;
         if (job.set({{"grid", "1ms:0.2s:8"}, {"weight", "corner"}}) && job.invert() &&
             job.good(vorin_lcurve(job.result, &job.second, job.text, sizeof job.text))) {
           job.take(job.second);
         }
         return job.answer;
       }},
      {"simulation",
       [] {
         JobCalls job;
         const JobData& data = jobData();
         if (job.set({{"noise", "0.01"}}) &&
             job.good(vorin_simulate(job.settings, data.t.data(), data.count(), nullptr, 0,
                                     &job.result, job.text, sizeof job.text))) {
           job.take(job.result);
         }
         return job.answer;
       }},
      {"map",
       [] {
         JobCalls job;
         const JobData& data = jobData();
         if (job.set({{"grid", "1ms:0.2s:8"}, {"threads", "2"}, {"cutoff", "10ms"}}) &&
             job.good(vorin_map_create(job.settings, data.t.data(), data.count(), &job.map,
                                       job.text, sizeof job.text)) &&
             job.good(vorin_map_invert(job.map, data.voxels.data(), 8, 3, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, &job.result, job.text, sizeof job.text))) {
           job.take(job.result);
         }
         return job.answer;
       }},
      {"map over two axes",
       [] {
         JobCalls job;
         const JobData& data = smallJobData();
         if (job.set({{"grid1", "1ms:0.1s:5"}, {"grid2", "1ms:0.1s:5"}, {"weight", "0.01"}}) &&
             job.good(vorin_invert2d(job.settings, data.t.data(), data.count(), data.t.data(),
                                     data.count(), data.plane.data(), nullptr, nullptr, nullptr,
                                     &job.result, job.text, sizeof job.text))) {
           job.take(job.result);
         }
         return job.answer;
       }},
      {"file",
       [] {
         JobCalls job;
         if (job.set({{"time_unit", "ms"}}) &&
             job.good(vorin_read_decay("job.csv", job.settings, &job.result, job.text,
                                       sizeof job.text))) {
           job.take(job.result);
         }
         return job.answer;
       }},
      {"lists",
       [] {
         JobCalls job;
         if (job.good(vorin_keys(&job.result, job.text, sizeof job.text)) &&
             job.good(vorin_setting_names(&job.second, job.text, sizeof job.text))) {
           job.take(job.result);
         }
         return job.answer;
       }},
  };
  return all;
}

}  // namespace vorin::test
