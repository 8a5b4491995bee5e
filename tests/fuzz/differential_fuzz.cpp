// The library (normal equations on the active set, bins as runs, kept factors) against the
// reference implementation (the full m-by-m system factored anew in every pass, dense pruning,
// whole decompositions): inversions of decays of any shape, noise and scale by every path have the
// same status and counts, and a distribution that differs by the rounding of single precision.
#include <vorin.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "support/problems.hpp"
#include "support/reference.hpp"
#include "support/store.hpp"

namespace {

using vorin::fuzz::Bytes;
using vorin::fuzz::require;
using vorin::test::getNumber;
using vorin::test::Reference;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::TestProblem;

constexpr auto unit = static_cast<double>(std::numeric_limits<float>::epsilon());

struct Outcome {
  std::int32_t status = -1;
  std::vector<float> F;
  float weight = 0.0F;
  float passes = 0.0F;
  float iterations = 0.0F;
};

double norm(const std::vector<float>& values) {
  double square = 0.0;
  for (const float value : values) {
    square += double(value) * double(value);
  }
  return std::sqrt(square);
}

/// The settings of one path through the library. No path computes its noise from the fit: there
/// one unit in the last place of f is many of the noise.
void choosePath(Bytes& bytes, float noise) {
  vorin::test::loadSettings();
  setText("FLOG", "/");
  setNumber("REPO", 0.0F);
  setNumber("PRPO", static_cast<float>(bytes.within(5, 40)));
  setNumber("SIG", noise);
  static constexpr const char* prunings[] = {"LOG", "LIN", "LILO", "NONE"};
  setText("PRMO", prunings[bytes.byte() % 4]);
  switch (bytes.byte() % 6) {
    case 0:
      setNumber("BRDA", 1.0F);
      break;
    case 1:
      setNumber("BRDA", 3.0F);
      break;
    case 2:
      setText("TARG", "WEIG");
      setNumber("WEIG", std::ldexp(1.0F, bytes.within(-20, 6)));
      break;
    default:
      break;
  }
}

TestProblem<float> problem(Bytes& bytes) {
  const int m = bytes.within(1, 60);
  const int n = bytes.within(1, 30);
  const double sigma = std::ldexp(1.0, -bytes.within(2, 11));
  const auto seed = static_cast<std::uint64_t>(bytes.within(0, 65535));
  TestProblem<float> made = bytes.byte() < 200
                                ? vorin::test::laplaceProblem<float>(m, n, sigma, seed)
                                : vorin::test::randomProblem<float>(m, n, seed);
  // By a power of 2, which rounds nothing.
  const float scale = std::ldexp(1.0F, bytes.within(-8, 8));
  for (float& value : made.d) {
    value *= scale;
  }
  return made;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  const Reference& reference = Reference::instance();
  Bytes bytes(data, size);
  const TestProblem<float> made = problem(bytes);
  const float largest = made.d.empty() ? 1.0F : *std::max_element(made.d.begin(), made.d.end());
  choosePath(bytes, std::abs(largest) * static_cast<float>(bytes.within(1, 200)) / 1000.0F);
  reference.takeSettings();
  Outcome fast;
  Outcome slow;
  fast.F.assign(static_cast<std::size_t>(made.n), 0.0F);
  slow.F = fast.F;
  Vorin_s(made.m, made.n, made.K.data(), made.d.data(), fast.F.data(), &fast.status);
  reference.find<decltype(Vorin_s)>("referenceVorin_s")(made.m, made.n, made.K.data(),
                                                        made.d.data(), slow.F.data(), &slow.status);
  for (Outcome* one : {&fast, &slow}) {
    const auto number = [&](const char* key) {
      return one == &fast ? getNumber(key) : reference.getNumber(key);
    };
    one->weight = number("CWEI");
    one->passes = number("CITE");
    one->iterations = number("CWIT");
  }
  require(fast.status == slow.status);
  require(fast.passes == slow.passes && fast.iterations == slow.iterations);
  const double weights = std::abs(double(fast.weight) - double(slow.weight));
  require(!(weights > 8.0 * unit * std::abs(double(slow.weight))));
  // A change of the weight w moves f by no more than its own relative size: |df| <= |f| dw / w.
  std::vector<float> difference(fast.F.size());
  std::transform(fast.F.begin(), fast.F.end(), slow.F.begin(), difference.begin(), std::minus<>());
  require(!(norm(difference) > (1.0 + 8.0) * unit * norm(slow.F)));
  return 0;
}
