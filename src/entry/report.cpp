#include "entry/report.hpp"

#include <algorithm>

#include "params/log.hpp"
#include "params/number_field.hpp"
#include "toolbox/linear_map.hpp"

namespace vorin::entry {

void report(std::string_view message) {
  constexpr std::size_t messageWidth = 70;
  params::VorinLogLine("Vorin", "M", params::cutTo(message, messageWidth));
}

std::string reductionLine(std::string_view start, int points, int rows) {
  return std::string(start) + params::integerField(points, 5) + " to" +
         params::integerField(rows, 3);
}

void beginInversion(const Inversion& job) {
  params::VorinLogOpen(true);
  std::fill_n(job.W, std::max(job.nf, 0), 1.0f);
  report("Start inversion");
}

void endInversion(const Inversion& job, bool saves, std::int32_t status) {
  if (saves || !job.fitIsScratch) {
    formFit(job.nf, job.ng, job.K, job.F, job.FIT);
  }
  const std::string_view outcome = status < 1 ? "Successful" : "Unsuccessful";
  report(std::string(outcome) + " inversion, status = " + params::integerField(status, 3));
}

}  // namespace vorin::entry
