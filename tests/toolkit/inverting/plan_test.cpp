// Many decays on one plan against invert() on each: every number to the last bit, on any number of
// threads, and decays that cannot be inverted.
#include "toolkit/inverting/plan.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

std::vector<double> evenTimes(double first, double spacing, int count) {
  std::vector<double> times;
  for (int i = 0; i < count; ++i) {
    times.push_back(first + spacing * i);
  }
  return times;
}

InversionSettings classic(int gridPoints) {
  InversionSettings settings;
  settings.method = Method::classic;
  settings.grid = LogGrid{1e-3, 1.0, gridPoints}.times();
  return settings;
}

/// Decays of two or three components with noise, in units from 1e-3 to 1e6.
class Decays {
 public:
  explicit Decays(std::vector<double> times, std::uint64_t seed)
      : times_(std::move(times)), engine_(seed) {}

  std::vector<double> next(double noise = 0.01) {
    std::uniform_real_distribution<double> share(0.0, 1.0);
    std::normal_distribution<double> normal(0.0, noise);
    const double unit = std::pow(10.0, 9.0 * share(engine_) - 3.0);
    std::vector<double> components;
    std::vector<double> lifetimes;
    for (int k = 0; k < 3; ++k) {
      components.push_back(share(engine_));
      lifetimes.push_back(std::pow(10.0, -2.5 + 2.0 * share(engine_)));
    }
    std::vector<double> amplitude;
    for (const double t : times_) {
      double sum = normal(engine_);
      for (std::size_t k = 0; k < components.size(); ++k) {
        sum += components[k] * std::exp(-t / lifetimes[k]);
      }
      amplitude.push_back(unit * sum);
    }
    return amplitude;
  }

  const std::vector<double>& times() const { return times_; }

 private:
  std::vector<double> times_;
  std::mt19937_64 engine_;
};

void expectSame(const Inversion& planned, const Inversion& single) {
  EXPECT_EQ(planned.distribution.amplitude, single.distribution.amplitude);
  EXPECT_EQ(planned.distribution.time, single.distribution.time);
  EXPECT_EQ(planned.fit, single.fit);
  EXPECT_EQ(planned.status, single.status);
  EXPECT_EQ(planned.mode, single.mode);
  EXPECT_EQ(planned.weight, single.weight);
  EXPECT_EQ(planned.noise, single.noise);
  EXPECT_EQ(planned.noiseOrigin, single.noiseOrigin);
  EXPECT_EQ(planned.relaxedTarget, single.relaxedTarget);
  EXPECT_EQ(planned.cornerWeight, single.cornerWeight);
  EXPECT_EQ(planned.wantedError, single.wantedError);
  EXPECT_EQ(planned.reachedError, single.reachedError);
  EXPECT_EQ(planned.fitError, single.fitError);
  EXPECT_EQ(planned.weightSteps, single.weightSteps);
  EXPECT_EQ(planned.passes, single.passes);
  EXPECT_EQ(planned.firstColumn, single.firstColumn);
  EXPECT_EQ(planned.lastColumn, single.lastColumn);
  EXPECT_EQ(planned.rejected, single.rejected);
  EXPECT_EQ(planned.soughtOutliers, single.soughtOutliers);
}

/// invertWithoutFit() against what invert() of the same decay gave.
void expectSameButTheFit(const PlannedInversion& lean, PlannedInversion planned) {
  EXPECT_EQ(lean.failure, DecayFailure::none);
  planned.inversion.fit.clear();
  planned.inversion.fitError = 0.0;
  expectSame(lean.inversion, planned.inversion);
}

void expectSameOnAll(Decays& decays, const InversionSettings& settings, int count,
                     bool shares = true) {
  const InversionPlan plan(decays.times(), settings);
  EXPECT_EQ(plan.shares(), shares);
  InversionPlan::Worker worker(plan);
  PlannedInversion lean;
  for (int k = 0; k < count; ++k) {
    SCOPED_TRACE(testing::Message() << "decay " << k);
    const std::vector<double> amplitude = decays.next();
    const PlannedInversion planned = worker.invert(amplitude);
    ASSERT_EQ(planned.failure, DecayFailure::none);
    expectSame(planned.inversion, invert({decays.times(), amplitude}, settings));
    if (k % 4 == 0) {
      worker.invertWithoutFit(amplitude, {}, lean);
      expectSameButTheFit(lean, planned);
    }
  }
}

TEST(InversionPlan, HasTheBitsOfSingleInversionsAtTheWeightOfTheNoise) {
  for (const int samples : {20, 56, 300, 1000}) {
    for (const int grid : {30, 60, 100}) {
      Decays decays(evenTimes(2e-3, 0.5 / samples, samples), 17);
      SCOPED_TRACE(testing::Message() << samples << " samples on " << grid);
      expectSameOnAll(decays, classic(grid), 40);
    }
  }
}

TEST(InversionPlan, HasTheBitsOfSingleInversionsWithOtherSettings) {
  Decays decays(evenTimes(0.0, 2e-3, 120), 5);
  std::vector<InversionSettings> variants(10, classic(60));
  variants[0].weight = 0.3;
  variants[1].corner = true;
  variants[2].pruning = "NONE";
  variants[3].pruning = "LIN";
  variants[3].prunedPoints = 30;
  variants[4].kernel = Kernel::t1Saturation;
  variants[5].noiseSource = NoiseSource::difference;
  variants[6].noiseSource = NoiseSource::fit;
  variants[7].noiseSource = NoiseSource::scan;
  variants[8].assignments = {"BRDA=3", "WITE=20"};
  variants[9].assignments = {"BRDA=1"};
  for (std::size_t k = 0; k < variants.size(); ++k) {
    SCOPED_TRACE(testing::Message() << "variant " << k);
    expectSameOnAll(decays, variants[k], 8);
  }
}

TEST(InversionPlan, LeavesWhatItDoesNotShareToSingleInversions) {
  Decays decays(evenTimes(2e-3, 2e-3, 80), 5);
  std::vector<InversionSettings> variants(3, classic(40));
  variants[0].method = Method::automatic;
  variants[1].compression = Compression{};
  variants[2].rejectBeyond = 4.0;
  for (const InversionSettings& settings : variants) {
    expectSameOnAll(decays, settings, 2, false);
  }
}

TEST(InversionPlan, TakesANoiseForEachDecay) {
  Decays decays(evenTimes(2e-3, 2e-3, 56), 8);
  const InversionSettings settings = classic(60);
  const InversionPlan plan(decays.times(), settings);
  InversionPlan::Worker worker(plan);
  const std::vector<double> amplitude = decays.next();
  const double noise = 0.02 * amplitude.front();
  InversionSettings given = settings;
  given.noise = noise;
  const Inversion single = invert({decays.times(), amplitude}, given);
  expectSame(worker.invert(amplitude, noise).inversion, single);
  expectSame(
      InversionPlan::Worker(InversionPlan(decays.times(), given)).invert(amplitude).inversion,
      single);
  // The next decay without one has its own again.
  const std::vector<double> next = decays.next();
  expectSame(worker.invert(next).inversion, invert({decays.times(), next}, settings));
}

TEST(InversionPlan, GivesTheSameOnAnyNumberOfThreads) {
  Decays decays(evenTimes(2e-3, 2e-3, 56), 21);
  constexpr std::size_t count = 300;
  std::vector<std::vector<double>> amplitudes;
  for (std::size_t k = 0; k < count; ++k) {
    amplitudes.push_back(decays.next(k % 7 == 0 ? 0.2 : 0.01));
  }
  const auto invertAll = [&](unsigned threads) {
    // The forms that are made at their first use are made by whichever thread comes first.
    const InversionPlan plan(decays.times(), classic(60));
    std::vector<std::vector<double>> found(count);
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
      InversionPlan::Worker worker(plan);
      for (std::size_t k = next++; k < count; k = next++) {
        found[k] = worker.invert(amplitudes[k]).inversion.distribution.amplitude;
      }
    };
    std::vector<std::jthread> others;
    for (unsigned i = 1; i < threads; ++i) {
      others.emplace_back(work);
    }
    work();
    others.clear();
    return found;
  };
  const std::vector<std::vector<double>> alone = invertAll(1);
  EXPECT_EQ(invertAll(2), alone);
  EXPECT_EQ(invertAll(8), alone);
}

// What a worker keeps from one decay to the next leaves no trace: noisy decays, whose searches fail
// at the least weights, come between others.
TEST(InversionPlan, GivesTheSameInAnyOrder) {
  Decays decays(evenTimes(2e-3, 2e-3, 56), 33);
  const InversionPlan plan(decays.times(), classic(60));
  constexpr std::size_t count = 60;
  std::vector<std::vector<double>> amplitudes;
  std::vector<PlannedInversion> alone(count);
  for (std::size_t k = 0; k < count; ++k) {
    amplitudes.push_back(decays.next(k % 5 == 0 ? 0.3 : 0.003));
    InversionPlan::Worker(plan).invertWithoutFit(amplitudes[k], {}, alone[k]);
  }
  InversionPlan::Worker worker(plan);
  PlannedInversion lean;
  for (std::size_t i = 0; i < 2 * count; ++i) {
    const std::size_t k = i < count ? count - 1 - i : i * 7 % count;
    worker.invertWithoutFit(amplitudes[k], {}, lean);
    ASSERT_EQ(lean.failure, alone[k].failure);
    expectSame(lean.inversion, alone[k].inversion);
  }
}

TEST(InversionPlan, TellsWhyADecayCannotBeInvertedAndGoesOn) {
  Decays decays(evenTimes(2e-3, 2e-3, 56), 3);
  const InversionSettings settings = classic(60);
  const InversionPlan plan(decays.times(), settings);
  InversionPlan::Worker worker(plan);
  const std::vector<double> good = decays.next();
  const Inversion expected = invert({decays.times(), good}, settings);
  std::vector<double> spoiled = good;
  const auto expectFailure = [&](DecayFailure failure, const std::vector<double>& amplitude,
                                 std::optional<double> noise = std::nullopt) {
    const PlannedInversion failed = worker.invert(amplitude, noise);
    EXPECT_EQ(failed.failure, failure);
    EXPECT_TRUE(failed.inversion.distribution.amplitude.empty());
    PlannedInversion lean = worker.invert(good);
    expectSame(lean.inversion, expected);
    worker.invertWithoutFit(amplitude, noise, lean);
    EXPECT_EQ(lean.failure, failure);
    EXPECT_TRUE(lean.inversion.distribution.amplitude.empty());
  };
  spoiled[20] = std::numeric_limits<double>::quiet_NaN();
  expectFailure(DecayFailure::notFinite, spoiled);
  spoiled[20] = std::numeric_limits<double>::infinity();
  expectFailure(DecayFailure::notFinite, spoiled);
  expectFailure(DecayFailure::allZero, std::vector<double>(56, 0.0));
  expectFailure(DecayFailure::noNoise, std::vector<double>(56, 3.0));
  expectFailure(DecayFailure::noiseTooLarge, good, 10.0 * std::fabs(good.front()) + 1e9);
  // invert() answers these decays in the same way.
  EXPECT_THROW(invert({decays.times(), std::vector<double>(56, 3.0)}, settings), NoNoise);
}

TEST(PlannedProblem, SolvesPartsOfProblemsWithTheSameBits) {
  Decays decays(evenTimes(2e-3, 2e-3, 500), 11);
  const InversionSettings settings = classic(60);
  const Problem whole({decays.times(), decays.next()}, settings);
  const LibraryJob job;
  setKeys(settings);
  setFixedWeight(settings, 0.2);
  for (const Problem& problem : {whole, whole.within(10, 45), whole.without({0, 7, 300}),
                                 whole.without({3}).within(0, 30)}) {
    const Problem planned = problem.planned();
    for (int k = 0; k < 5; ++k) {
      std::vector<float> Y = problem.data();
      for (float& value : Y) {
        value *= 1.0F + 0.1F * static_cast<float>(k);
      }
      const Solution single = problem.solve(Y);
      const Solution shared = planned.solve(Y);
      EXPECT_EQ(shared.F, single.F);
      EXPECT_EQ(shared.FIT, single.FIT);
      EXPECT_EQ(shared.status, single.status);
      EXPECT_EQ(planned.solveWithoutFit(Y).F, single.F);
    }
  }
}

TEST(InversionPlan, RefusesAssignmentsThatCannotBeCarriedOut) {
  InversionSettings settings = classic(60);
  settings.assignments = {"NOSUCHKEY=1"};
  EXPECT_THROW(InversionPlan(evenTimes(2e-3, 2e-3, 56), settings), UserError);
}

}  // namespace
}  // namespace vorin::toolkit
