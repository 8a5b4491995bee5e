// How near the answers of an inversion come to the truth where it is known, beside references:
// the best possible weight (known only to who knows the truth), a plain discrepancy principle
// with the true noise, and generalised cross validation.
//
//   truth_bench [DRAWS [PART-OF-A-NAME]]
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <numeric>

#include "bench/truth/cases.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/nonnegative.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::bench {

namespace {

using toolkit::Distribution;
using toolkit::InversionSettings;

/// The area between two normalised cumulative distributions over log10 T.
double distanceBetween(const Distribution& a, const Distribution& b) {
  struct Step {
    double at;
    double height;
  };
  std::vector<Step> steps;
  const auto add = [&](const Distribution& f, double sign) {
    const double total = toolkit::totalAmplitude(f);
    for (std::size_t k = 0; k < f.time.size(); ++k) {
      steps.push_back({std::log10(f.time[k]), total > 0.0 ? sign * f.amplitude[k] / total : 0.0});
    }
  };
  add(a, 1.0);
  add(b, -1.0);
  std::sort(steps.begin(), steps.end(), [](const Step& x, const Step& y) { return x.at < y.at; });
  double area = 0.0;
  double height = 0.0;
  for (std::size_t i = 0; i + 1 < steps.size(); ++i) {
    height += steps[i].height;
    area += std::fabs(height) * (steps[i + 1].at - steps[i].at);
  }
  return area;
}

/// One way's result of one draw.
struct Outcome {
  double logMean = 0.0;  ///< off the truth, relative
  double total = 0.0;    ///< off the truth, relative
  double distance = 0.0;
  double noise = 0.0;  ///< off the truth, relative
  bool success = true;
};

struct PathPoint {
  toolkit::PenalisedFit fit;
  Distribution found;
};

/// The times of the host's grid from that of the first sample on, so that references and rule
/// differ by the weight alone: how near a line lies to a time of the grid is the same for all.
std::vector<double> sampledGrid(const toolkit::Decay& decay, toolkit::Kernel kernel) {
  constexpr double roundingLevel = 1e-6;
  const double first = decay.time.front() > 0.0 ? decay.time.front() : decay.time.at(1);
  std::vector<double> result;
  for (const double at : toolkit::gridFor(decay.time, kernel).times()) {
    if (kernel == toolkit::Kernel::diffusion ? at * first <= 1.0 + roundingLevel
                                             : at >= (1.0 - roundingLevel) * first) {
      result.push_back(at);
    }
  }
  return result;
}

/// Fits at all weights of the path, on the grid from the first time on.
std::vector<PathPoint> weightPath(const toolkit::Decay& decay, toolkit::Kernel kernel, int* rows) {
  InversionSettings settings;
  settings.kernel = kernel;
  settings.grid = sampledGrid(decay, kernel);
  toolkit::setKeys(settings);
  const toolkit::Problem problem(decay, settings);
  const toolkit::ReducedProblem reduced = problem.reduced();
  toolkit::PenalisedFits fits(reduced);
  std::vector<PathPoint> result;
  constexpr int gridWeights = 45;
  *rows = reduced.rows;
  for (int i = 0; i < gridWeights; ++i) {
    const double weight = fits.largestColumn() * std::pow(10.0, 2.0 - 0.25 * i);
    std::vector<double> f;
    PathPoint point{fits.at(weight, &f), {settings.grid, {}}};
    for (double value : f) {
      point.found.amplitude.push_back(value * problem.scale());
    }
    point.fit.rss *= problem.scale() * problem.scale();
    result.push_back(std::move(point));
  }
  return result;
}

double rootMeanSquare(const std::vector<Outcome>& all, double Outcome::*what) {
  double sum = 0.0;
  for (const Outcome& each : all) {
    sum += each.*what * (each.*what);
  }
  return std::sqrt(sum / static_cast<double>(all.size()));
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// What is summed up of a way over all cases.
struct Summary {
  std::vector<double> medians;
  double worst = 0.0;
  int farTold = 0;
  int failures = 0;
  int draws = 0;
  int aboveReference = 0;
};

/// All draws of one case by every way.
class CaseRun {
 public:
  CaseRun(const Case& what, int draws) : what_(what), truth_(truthOf(what)) {
    for (int draw = 0; draw < draws; ++draw) {
      run(drawOf(what_, truth_, draw));
    }
  }

  void print(std::map<std::string, Summary>& summaries) const {
    const double reference = std::min(rootMeanSquare(all_.at("best weight"), &Outcome::logMean),
                                      rootMeanSquare(all_.at("discrepancy"), &Outcome::logMean));
    const std::vector<Outcome>& best = all_.at("best weight");
    fmt::print("{}\n", what_.name);
    for (const auto& [name, outcomes] : all_) {
      std::vector<double> ratios;
      double worst = 0.0;
      int failures = 0;
      int farTold = 0;
      for (std::size_t i = 0; i < outcomes.size(); ++i) {
        ratios.push_back(outcomes[i].distance / best[i].distance);
        worst = std::max(worst, std::fabs(outcomes[i].logMean));
        failures += outcomes[i].success ? 0 : 1;
        farTold += outcomes[i].success && std::fabs(outcomes[i].logMean) > 0.15 ? 1 : 0;
      }
      const double rms = rootMeanSquare(outcomes, &Outcome::logMean);
      fmt::print(
          "  {:<12} log mean {:6.2f} % ({:6.1f} %)  total {:5.1f} %  distance {:6.3f}  ratio "
          "{:5.2f} "
          "({:5.2f})  noise {:5.1f} %  failures {}\n",
          name, 100.0 * rms, 100.0 * worst, 100.0 * rootMeanSquare(outcomes, &Outcome::total),
          rootMeanSquare(outcomes, &Outcome::distance), median(ratios),
          *std::max_element(ratios.begin(), ratios.end()),
          100.0 * rootMeanSquare(outcomes, &Outcome::noise), failures);
      Summary& summary = summaries[name];
      summary.medians.push_back(median(ratios));
      summary.worst = std::max(summary.worst, *std::max_element(ratios.begin(), ratios.end()));
      summary.farTold += farTold;
      summary.failures += failures;
      summary.draws += static_cast<int>(outcomes.size());
      summary.aboveReference += what_.signalToNoise > 50.0 && rms > 1.3 * reference ? 1 : 0;
    }
  }

 private:
  Outcome outcomeOf(const Distribution& found) const {
    Outcome outcome;
    outcome.logMean = toolkit::logMean(found) / toolkit::logMean(truth_) - 1.0;
    if (!std::isfinite(outcome.logMean)) {
      outcome.logMean = -1.0;
    }
    outcome.total = toolkit::totalAmplitude(found) / toolkit::totalAmplitude(truth_) - 1.0;
    outcome.distance = distanceBetween(found, truth_);
    return outcome;
  }

  void addInversion(const std::string& name, const toolkit::Decay& decay, toolkit::Method method) {
    InversionSettings settings;
    settings.kernel = what_.kernel;
    settings.method = method;
    settings.grid = toolkit::gridFor(decay.time, what_.kernel).times();
    const toolkit::Inversion inversion = toolkit::invert(decay, settings);
    Outcome outcome = outcomeOf(inversion.distribution);
    outcome.noise = inversion.noise * what_.signalToNoise / 100.0 - 1.0;
    outcome.success = toolkit::succeeded(inversion);
    if (!outcome.success && method == toolkit::Method::automatic) {
      ++told_[toolkit::statusText(inversion)];
    }
    all_[name].push_back(outcome);
  }

  void run(const toolkit::Decay& decay) {
    int rows = 0;
    const std::vector<PathPoint> points = weightPath(decay, what_.kernel, &rows);
    const auto least = [&](const std::function<double(const PathPoint&)>& cost) {
      return outcomeOf(std::min_element(points.begin(), points.end(),
                                        [&](const PathPoint& a, const PathPoint& b) {
                                          return cost(a) < cost(b);
                                        })
                           ->found);
    };
    all_["best weight"].push_back(
        least([&](const PathPoint& point) { return distanceBetween(point.found, truth_); }));
    all_["gcv"].push_back(least([&](const PathPoint& point) {
      const double left = rows - point.fit.freedom;
      return point.fit.rss / (left * left);
    }));
    const double noise = 100.0 / what_.signalToNoise;
    const auto close = std::find_if(points.begin(), points.end() - 1, [&](const PathPoint& point) {
      return point.fit.rss <= rows * noise * noise;
    });
    all_["discrepancy"].push_back(outcomeOf(close->found));
    addInversion("classic", decay, toolkit::Method::classic);
    addInversion("automatic", decay, toolkit::Method::automatic);
  }

 public:
  void printTold() const {
    for (const auto& [text, count] : told_) {
      fmt::print("    told {} times: {}\n", count, text);
    }
  }

 private:
  const Case& what_;
  Distribution truth_;
  std::map<std::string, std::vector<Outcome>> all_;
  std::map<std::string, int> told_;
};

int runAll(int draws, const std::string& part) {
  std::map<std::string, Summary> summaries;
  for (const Case& what : allCases()) {
    if (what.name.find(part) == std::string::npos) {
      continue;
    }
    const CaseRun run(what, draws);
    run.print(summaries);
    run.printTold();
    std::fflush(stdout);
  }
  fmt::print("\n{:<12} {:>22} {:>22} {:>11} {:>9} {:>9} {:>18}\n", "", "ratio, median of cases",
             "worst case's median", "worst draw", "failures", "far, told", "cases above 1.3");
  for (const auto& [name, summary] : summaries) {
    fmt::print("{:<12} {:>22.2f} {:>22.2f} {:>11.1f} {:>9} {:>9} {:>18}\n", name,
               median(summary.medians),
               *std::max_element(summary.medians.begin(), summary.medians.end()), summary.worst,
               summary.failures, summary.farTold, summary.aboveReference);
  }
  return 0;
}

}  // namespace

}  // namespace vorin::bench

int main(int argc, char** argv) {
  const int draws = argc > 1 ? std::atoi(argv[1]) : 40;
  return vorin::bench::runAll(draws > 0 ? draws : 1, argc > 2 ? argv[2] : "");
}
