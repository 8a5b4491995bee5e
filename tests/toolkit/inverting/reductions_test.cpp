// The reductions of an inversion (none, pruned to bins, compressed), the noise estimates and the
// L-curve: where mathematics says that two of them agree, they do.
#include <gtest/gtest.h>
#include <vorin.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/lcurve.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/inverting/reduced_decays.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

/// The problem that invert(decay, settings) solves.
ReducedProblem reducedProblem(const Decay& decay, const InversionSettings& settings) {
  const LibraryJob job;
  setKeys(settings);
  return Problem(decay, settings).reduced();
}

double relativeDistance(const std::vector<double>& a, const std::vector<double>& b) {
  double difference = 0.0;
  double size = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference += (a[i] - b[i]) * (a[i] - b[i]);
    size += b[i] * b[i];
  }
  return std::sqrt(difference / size);
}

/// |K f - d|^2 of a reduced problem.
double squares(const ReducedProblem& problem, const std::vector<double>& f) {
  double sum = 0.0;
  for (std::size_t i = 0; i < problem.d.size(); ++i) {
    double residual = -problem.d[i];
    for (std::size_t j = 0; j < f.size(); ++j) {
      residual += problem.K[j * problem.d.size() + i] * f[j];
    }
    sum += residual * residual;
  }
  return sum;
}

class Reductions : public testing::TestWithParam<Reduction> {
 protected:
  InversionSettings settings(const Decay& decay) const {
    InversionSettings result = settingsFor(decay);
    result.pruning = GetParam().pruning;
    if (GetParam().compressed) {
      result.compression = Compression{};
    }
    return result;
  }
};

TEST(Compression, KeepingAllRowsIsTheUncompressedProblem) {
  const Decay decay = train();
  for (double weight : {0.01, 1.0}) {
    InversionSettings settings = settingsFor(decay);
    settings.pruning = "NONE";
    settings.weight = weight;
    const Inversion plain = invertQuietly(decay, settings);
    settings.compression = Compression{static_cast<int>(settings.grid.size()), 0.0};
    const Inversion compressed = invertQuietly(decay, settings);
    ASSERT_EQ(compressed.status, 0);
    // The compressed kernel is off by some roundings of its norm, which is about 150 here;
    // one of 6e-8 moves f by 150^2 6e-8 / weight of itself at most.
    EXPECT_LT(relativeDistance(compressed.distribution.amplitude, plain.distribution.amplitude),
              1.4e-3 / weight);
    EXPECT_NEAR(logMean(compressed.distribution) / logMean(plain.distribution), 1.0, 1e-4);
    EXPECT_NEAR(compressed.fitError / plain.fitError, 1.0, 1e-5);
  }
}

TEST(Compression, ChangesTheSumOfSquaresByAConstant) {
  const Decay decay = train();
  InversionSettings settings = settingsFor(decay);
  settings.pruning = "NONE";
  settings.weight = 1.0;
  invertQuietly(decay, settings);
  const ReducedProblem plain = reducedProblem(decay, settings);
  settings.compression = Compression{static_cast<int>(settings.grid.size()), 0.0};
  invertQuietly(decay, settings);
  const ReducedProblem compressed = reducedProblem(decay, settings);
  EXPECT_EQ(plain.rows, 1200);
  EXPECT_LE(compressed.rows, 60);
  const std::vector<double> none(60, 0.0);
  std::vector<double> some(60, 0.0);
  some[20] = 0.3;
  some[40] = 0.9;
  const double lost = squares(plain, none) - squares(compressed, none);
  // What is lost is the noise outside the kernel's range: 1200 - rank samples of variance
  // (0.5 / 100)^2 in the library's unit, but for what the rank of about a dozen takes.
  EXPECT_NEAR(lost / (1200 * 2.5e-5), 1.0, 0.15);
  EXPECT_NEAR(squares(plain, some) - squares(compressed, some), lost, 1e-2 * lost);
}

TEST(Compression, KeepsNoMoreRowsThanItIsTold) {
  const Decay decay = train();
  InversionSettings settings = settingsFor(decay);
  settings.weight = 1.0;
  settings.compression = Compression{4, 0.0};
  invertQuietly(decay, settings);
  EXPECT_EQ(reducedProblem(decay, settings).rows, 4);
  settings.compression = Compression{60, 0.01};
  invertQuietly(decay, settings);
  const std::int32_t rows = reducedProblem(decay, settings).rows;
  EXPECT_GT(rows, 1);
  EXPECT_LT(rows, 10);  // singular values of this kernel fall by about a factor 3 a step
}

TEST_P(Reductions, KeepTheLogMean) {
  // Noise of 0.002 of the amplitude may stand at the shortest time of the grid, which moves the
  // mean of ln T by 0.002 ln(43.5 ms / 0.13 ms) = 0.012. The penalty does as much again for some
  // 200 bins, and more in proportion to the norm of the misfit that the target grants.
  const Decay decay = train(1, 0.2);
  const InversionSettings wanted = settings(decay);
  const Inversion inversion = invertQuietly(decay, wanted);
  EXPECT_EQ(inversion.status, 0);
  const double rows = reducedProblem(decay, wanted).rows;
  EXPECT_NEAR(logMean(inversion.distribution) / logMean(trueDistribution), 1.0,
              0.012 * (1.0 + std::max(1.0, std::sqrt(rows / 200.0))));
}

TEST_P(Reductions, TheReducedProblemIsTheOneThatIsSolved) {
  // The library's corner search on what reduced() gives answers the very weight, to its last
  // bit, that the driver has found on its own.
  const Decay decay = train();
  InversionSettings corner = settings(decay);
  corner.corner = true;
  corner.assignments = {"RWEI=1"};
  const Inversion inversion = invertQuietly(decay, corner);
  const LibraryJob job;
  setKeys(corner);
  setNumber("RWEI", 0.1F);
  const ReducedProblem reduced = reducedProblem(decay, corner);
  const std::vector<float> K(reduced.K.begin(), reduced.K.end());
  const std::vector<float> d(reduced.d.begin(), reduced.d.end());
  std::vector<float> f(corner.grid.size());
  float weight = 0.0F;
  float rss = 0.0F;
  float slope = 0.0F;
  std::int32_t status = 0;
  vorinTarget2_sp(reduced.rows, reduced.columns, K.data(), d.data(), f.data(), &weight, &rss,
                  &slope, &status);
  EXPECT_EQ(inversion.weight, static_cast<double>(weight));
  EXPECT_EQ(inversion.cornerWeight, inversion.weight);
  EXPECT_NEAR(inversion.reachedError, std::sqrt(static_cast<double>(rss) / reduced.rows) * 100.0,
              0.05 * noiseLevel);
}

TEST_P(Reductions, TheCornerIsThePointWhereTheCurveTurnsMost) {
  const Decay decay = train();
  InversionSettings corner = settings(decay);
  corner.corner = true;
  const ScratchFolder scratch;
  const Inversion inversion = invert(decay, corner);
  EXPECT_EQ(inversion.status, VORIN_CORNER_MODE);
  EXPECT_TRUE(succeeded(inversion));
  EXPECT_NEAR(inversion.weight / inversion.cornerWeight, 0.1, 1e-7);

  const LCurve curve = lCurve(decay, corner, inversion);
  ASSERT_EQ(curve.points.size(), 17U);
  EXPECT_NEAR(curve.points.at(curve.corner).weight / inversion.cornerWeight, 1.0, 2e-7);
  EXPECT_EQ(curve.used.weight, inversion.weight);
  EXPECT_NEAR(curve.points.back().weight / curve.points.front().weight, 1e4, 1e-8);
  // The turn from step to step, as an angle over the length of both, by its sine.
  std::size_t sharpest = 0;
  double most = 0.0;
  for (std::size_t i = 1; i + 1 < curve.points.size(); ++i) {
    EXPECT_GE(curve.points[i].residualNorm, curve.points[i - 1].residualNorm);
    EXPECT_LE(curve.points[i].solutionNorm, curve.points[i - 1].solutionNorm);
    const auto step = [&](std::size_t at) {
      return std::pair(
          2.0 * std::log(curve.points[at + 1].residualNorm / curve.points[at].residualNorm),
          2.0 * std::log(curve.points[at + 1].solutionNorm / curve.points[at].solutionNorm));
    };
    const auto [ax, ay] = step(i - 1);
    const auto [bx, by] = step(i);
    const double la = std::hypot(ax, ay);
    const double lb = std::hypot(bx, by);
    const double turn = std::asin((ax * by - ay * bx) / (la * lb)) / (la + lb);
    if (turn > most) {
      most = turn;
      sharpest = i;
    }
  }
  EXPECT_EQ(sharpest, curve.corner);
}

TEST_P(Reductions, TheCurveOfAnyOtherInversionPassesThroughItsWeight) {
  const Decay decay = train();
  const ScratchFolder scratch;
  const InversionSettings search = settings(decay);
  const Inversion inversion = invert(decay, search);
  const LCurve curve = lCurve(decay, search, inversion);
  const ReducedProblem reduced = reducedProblem(decay, search);
  EXPECT_EQ(curve.used.weight, inversion.weight);
  // The iteration and the quadratic program meet at the same minimum.
  EXPECT_NEAR(curve.used.residualNorm / (inversion.reachedError * std::sqrt(reduced.rows)), 1.0,
              1e-3);
  double norm = 0.0;
  for (double amplitude : inversion.distribution.amplitude) {
    norm += amplitude * amplitude;
  }
  EXPECT_NEAR(curve.used.solutionNorm / std::sqrt(norm), 1.0, 1e-3);
}

TEST(LCurve, ThereIsNoneWhereTheFirstRowHasNoSignal) {
  // A recovery from saturation is 0 at time 0, so that the weights would begin at infinity.
  Decay decay;
  for (int i = 0; i < 40; ++i) {
    decay.time.push_back(0.1 * i);
    decay.amplitude.push_back(1.0 - std::exp(-0.1 * i) + 0.01 * (i % 3));
  }
  InversionSettings settings;
  settings.kernel = Kernel::t1Saturation;
  settings.grid = LogGrid{0.03, 12.0, 30}.times();
  settings.pruning = "NONE";
  settings.weight = 0.1;
  const ScratchFolder scratch;
  const Inversion inversion = invert(decay, settings);
  EXPECT_THROW(lCurve(decay, settings, inversion), UserError);
}

TEST_P(Reductions, TheNoiseByDifferencesIsTheirClosedForm) {
  const Decay decay = train();
  InversionSettings settings = this->settings(decay);
  settings.noiseSource = NoiseSource::difference;
  const Inversion inversion = invertQuietly(decay, settings);
  const std::vector<double>& y = decay.amplitude;
  double sum = 0.0;
  for (std::size_t i = 0; i + 2 < y.size(); ++i) {
    const double difference = y[i] - 2.0 * y[i + 1] + y[i + 2];
    sum += difference * difference;
  }
  const double closed = std::sqrt(sum / static_cast<double>(y.size() - 2) / 6.0);
  EXPECT_NEAR(inversion.noise / closed, 1.0, 1e-4);
  EXPECT_EQ(inversion.noiseOrigin, NoiseOrigin::libraryDifference);
  EXPECT_EQ(inversion.status, 0);
  EXPECT_NEAR(inversion.wantedError / closed, 1.05, 1e-4);
}

TEST_P(Reductions, TheNoiseByTheFitIsTheSmallestErrorThereIs) {
  const Decay decay = train();
  InversionSettings settings = this->settings(decay);
  settings.noiseSource = NoiseSource::fit;
  const Inversion byFit = invertQuietly(decay, settings);
  EXPECT_EQ(byFit.noiseOrigin, NoiseOrigin::libraryFit);
  settings.noiseSource = NoiseSource::ridge;
  const Inversion byRidge = invertQuietly(decay, settings);
  EXPECT_EQ(byRidge.noiseOrigin, NoiseOrigin::libraryRidge);
  settings.noiseSource = NoiseSource::scan;
  const Inversion byScan = invertQuietly(decay, settings);
  EXPECT_EQ(byScan.noiseOrigin, NoiseOrigin::libraryScan);
  settings.noiseSource = NoiseSource::robust;
  settings.weight = 1e-5;
  const Inversion light = invertQuietly(decay, settings);
  EXPECT_LE(byFit.noise, light.reachedError * (1.0 + 1e-4));
  EXPECT_LE(byFit.noise, byRidge.noise * (1.0 + 1e-4));
  EXPECT_LE(byFit.noise, byScan.noise * (1.0 + 1e-4));
  EXPECT_NEAR(byScan.noise / byFit.noise, 1.0, 0.03);
}

INSTANTIATE_TEST_SUITE_P(All, Reductions, testing::ValuesIn(reductions),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(NoiseSources, TheImaginaryChannelsIsTaken) {
  Decay decay = train();
  decay.quadratureNoise = 0.6;
  InversionSettings settings = settingsFor(decay);
  settings.noiseSource = NoiseSource::quadrature;
  const Inversion inversion = invertQuietly(decay, settings);
  EXPECT_EQ(inversion.noise, 0.6);
  EXPECT_EQ(inversion.noiseOrigin, NoiseOrigin::quadrature);
  EXPECT_NEAR(inversion.wantedError, 1.05 * 0.6, 1e-6);
}

TEST(NoiseSources, WithoutAnImaginaryChannelThereIsNone) {
  const Decay decay = train();
  InversionSettings settings = settingsFor(decay);
  settings.noiseSource = NoiseSource::quadrature;
  EXPECT_THROW(requireUsable(decay, settings), UserError);
  settings.noise = 0.5;  // a number goes before
  EXPECT_NO_THROW(requireUsable(decay, settings));
}

TEST(NoiseSources, DifferencesThatVanishGiveNone) {
  const Decay line{{1.0, 2.0, 3.0, 4.0, 5.0}, {5.0, 4.0, 3.0, 2.0, 1.0}};
  InversionSettings settings;
  settings.grid = {1.0, 2.0, 4.0};
  settings.noiseSource = NoiseSource::difference;
  EXPECT_THROW(invertQuietly(line, settings), UserError);
  settings.compression = Compression{};
  EXPECT_THROW(invertQuietly(line, settings), UserError);
  EXPECT_THROW(invertQuietly({{1.0, 2.0}, {2.0, 1.0}}, settings), UserError);
}

TEST(NoiseSources, AnEstimateDoesNotStayForTheNextInversion) {
  const Decay decay = train();
  InversionSettings settings = settingsFor(decay);
  const Inversion before = invertQuietly(decay, settings);
  settings.noiseSource = NoiseSource::ridge;
  settings.compression = Compression{5, 0.0};
  invertQuietly(decay, settings);
  const Inversion after = invertQuietly(decay, settingsFor(decay));
  EXPECT_EQ(after.noiseOrigin, NoiseOrigin::differences);
  EXPECT_EQ(after.weight, before.weight);
  EXPECT_EQ(after.distribution.amplitude, before.distribution.amplitude);
}

// A kernel of more elements than are kept is computed a column at a time; given as a matrix, the
// same kernel takes the way of every other.
TEST(LargeKernels, GiveTheBitsOfTheirMatrix) {
  constexpr int samples = 168000;
  std::vector<double> times;
  for (int i = 1; i <= samples; ++i) {
    times.push_back(4e-6 * i);
  }
  Decay decay = simulatedDecay(Kernel::t2, trueDistribution, times, noiseLevel, 5);
  decay.amplitude[0] += 40.0;
  decay.amplitude[80000] -= 20.0;
  InversionSettings settings;
  settings.grid = gridFor(decay.time).times();
  ASSERT_GT(times.size() * settings.grid.size(), std::size_t{1} << 24U);
  InversionSettings withMatrix = settings;
  withMatrix.matrix = std::make_shared<const std::vector<float>>(
      kernelMatrix(settings.kernel, decay.time, settings.grid));
  for (const Method method : {Method::automatic, Method::classic}) {
    for (InversionSettings* either : {&settings, &withMatrix}) {
      either->method = method;
      either->rejection = Rejection::robust;
      either->rejectBeyond =
          method == Method::automatic ? std::optional<double>(6.0) : std::nullopt;
    }
    const Inversion computed = invert(decay, settings);
    const Inversion kept = invert(decay, withMatrix);
    EXPECT_EQ(computed.distribution.amplitude, kept.distribution.amplitude);
    EXPECT_EQ(computed.weight, kept.weight);
    EXPECT_EQ(computed.noise, kept.noise);
    EXPECT_EQ(computed.status, kept.status);
    EXPECT_EQ(computed.rejected, kept.rejected);
    EXPECT_EQ(computed.passes, kept.passes);
    EXPECT_LT(relativeDistance(computed.fit, kept.fit), 1e-6);
    EXPECT_NEAR(computed.fitError / kept.fitError, 1.0, 1e-6);
  }
}

}  // namespace
}  // namespace vorin::toolkit
