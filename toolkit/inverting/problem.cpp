#include "toolkit/inverting/problem.hpp"

#include <vorin.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <string>

#include "toolkit/inverting/library.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/model/median_deviation.hpp"

namespace vorin::toolkit {

namespace {

std::vector<float> toSingle(const std::vector<double>& values, double divisor = 1.0) {
  std::vector<float> result(values.size());
  std::transform(values.begin(), values.end(), result.begin(),
                 [&](double value) { return static_cast<float>(value / divisor); });
  return result;
}

int wholeNumber(std::string_view key) {
  return static_cast<int>(std::lround(queryNumber(key)));
}

/// The scale that the library gives to an outlier before the samples are gathered.
constexpr float kOutlierScale = 1e6F;

/// How a driver reduces the problem, by the keys as they stand.
struct Reduction {
  std::int32_t mode = 0;      ///< of the bins, as VorinComp_s takes it; 0 for none
  std::int32_t wanted = 0;    ///< count of bins
  std::int32_t capacity = 0;  ///< most rows
  std::int32_t vectors = 0;   ///< most rows after a compression; 0 for none
};

/// The plain driver: LIN and LILO are one, and the count is limited to 10 .. 5000.
Reduction plainReduction() {
  constexpr std::int32_t kCapacity = 5000;
  Reduction reduction;
  const int code = wholeNumber("PRMO");
  reduction.mode = code == 0 ? 0 : code == 1 ? VORIN_PRUNE_LOG : VORIN_PRUNE_LINEAR;
  reduction.wanted = std::clamp(wholeNumber("PRPO"), 10, kCapacity);
  reduction.capacity = kCapacity;
  return reduction;
}

/// The fifth compressed driver: at most nf / 2 bins, but no fewer than grid times.
Reduction compressedReduction(std::int32_t nf, std::int32_t ng) {
  constexpr std::int32_t kSpare = 5;
  Reduction reduction;
  reduction.mode = wholeNumber("PRMO");
  reduction.wanted = wholeNumber("PRPO");
  reduction.vectors = std::max(std::min(wholeNumber("SVDN"), ng), 0);
  if (reduction.mode * reduction.wanted < 1) {
    reduction.capacity = ng;
  } else {
    reduction.wanted = std::max(std::min(reduction.wanted, nf / 2), ng);
    reduction.capacity = reduction.wanted;
  }
  reduction.capacity += kSpare;
  reduction.wanted = std::min(std::max(reduction.wanted, 10), reduction.capacity);
  return reduction;
}

/// Replaces the first `rows` of the kernel K (leading dimension ldK, n columns) and the data
/// d by the compressed ones in arrays of leading dimension ldC; `rows` follows.
void compress(std::int32_t& rows, std::int32_t n, std::int32_t ldK, std::int32_t ldC,
              std::int32_t vectors, std::vector<float>& K, std::vector<float>& d) {
  const auto columns = static_cast<std::size_t>(n);
  const float threshold = queryNumber("SVDT");
  const std::int32_t mode = VORIN_COMP_DECOMPOSE;
  std::vector<float> scratch(columns * (static_cast<std::size_t>(rows) + 1 + columns) + 10);
  const auto length = static_cast<std::int32_t>(scratch.size());
  std::vector<float> Kc(static_cast<std::size_t>(ldC) * columns);
  std::vector<float> dc(static_cast<std::size_t>(std::max(ldC, n)));
  std::int32_t count = 0;
  std::int32_t status = 0;
  VorinCompSVD3_s(&mode, &length, &rows, &n, &ldK, &ldC, K.data(), d.data(), &threshold, &vectors,
                  &count, Kc.data(), dc.data(), scratch.data(), &status);
  rows = count;
  K = std::move(Kc);
  d = std::move(dc);
}

}  // namespace

std::vector<float> pruningAbscissae(const std::vector<double>& times) {
  std::vector<double> abscissae = times;
  if (abscissae.front() < static_cast<double>(FLT_MIN)) {
    // A spacing that is nothing beside the whole would leave all bins near 0.
    constexpr double kLeastShift = 1e-6;
    const double shift = std::max(times.at(1) - times.front(), kLeastShift * times.back());
    for (double& abscissa : abscissae) {
      abscissa += shift;
    }
  }
  return toSingle(abscissae);
}

Problem::Problem(const Decay& decay, const InversionSettings& settings)
    : scale_(largestMagnitude(decay.amplitude)),
      compressed_(settings.compression.has_value() || rejectsInLibrary(settings)),
      K_(settings.matrix ? settings.matrix
                         : std::make_shared<const std::vector<float>>(
                               kernelMatrix(settings.kernel, decay.time, settings.grid))),
      T_(pruningAbscissae(decay.time)),
      amplitude_(decay.amplitude),
      Y_(toSingle(decay.amplitude, scale_)),
      G_(toSingle(settings.grid)),
      columns_(G_.size()) {}

Problem Problem::withData(const std::vector<float>& data) const {
  Problem result = *this;
  result.Y_ = data;
  return result;
}

Problem Problem::within(std::size_t first, std::size_t last) const {
  Problem result = *this;
  result.firstColumn_ = first;
  result.columns_ = last - first + 1;
  return result;
}

Problem Problem::without(const std::vector<std::size_t>& left) const {
  Problem result = *this;
  if (left.empty()) {
    return result;
  }
  const std::size_t rows = Y_.size();
  result.K_ = std::make_shared<const std::vector<float>>(withoutRows(*K_, rows, left));
  result.T_ = withoutRows(T_, rows, left);
  result.amplitude_ = withoutRows(amplitude_, rows, left);
  result.scale_ = largestMagnitude(result.amplitude_);  // an outlier may have been the largest
  result.Y_ = toSingle(result.amplitude_, result.scale_);
  return result;
}

std::vector<double> Problem::fitOf(const std::vector<double>& F) const {
  std::vector<double> fit(Y_.size());
  for (std::size_t column = 0; column < F.size(); ++column) {
    if (F[column] == 0.0) {
      continue;
    }
    for (std::size_t i = 0; i < fit.size(); ++i) {
      fit[i] += static_cast<double>((*K_)[column * fit.size() + i]) * F[column];
    }
  }
  return fit;
}

Solution Problem::solve(const std::vector<float>& Y) const {
  const auto nf = static_cast<std::int32_t>(Y.size());
  const auto ng = static_cast<std::int32_t>(columns_);
  Solution result;
  result.F.resize(G_.size());
  result.FIT.resize(Y.size());
  std::vector<float> W(Y.size());
  const auto driver = compressed_ ? &VorinyC5_s : &Voriny_s;
  driver(nf, ng, &nf, &ng, K_->data() + firstColumn_ * Y.size(), T_.data(), Y.data(), W.data(),
         G_.data() + firstColumn_, result.F.data() + firstColumn_, result.FIT.data(),
         &result.status);
  for (std::size_t i = 0; i < W.size(); ++i) {
    if (W[i] > 1.0F) {
      result.rejected.push_back(i);
    }
  }
  return result;
}

ReducedProblem Problem::reduced(const std::vector<std::size_t>& rejected) const {
  const auto nf = static_cast<std::int32_t>(Y_.size());
  const auto ng = static_cast<std::int32_t>(columns_);
  const float* const kernel = K_->data() + firstColumn_ * Y_.size();
  const Reduction reduction = compressed_ ? compressedReduction(nf, ng) : plainReduction();
  std::vector<float> K;
  std::vector<float> d;
  std::int32_t rows = nf;
  std::int32_t ld = nf;
  if (reduction.mode > 0) {
    ld = reduction.capacity;
    K.resize(static_cast<std::size_t>(ld) * columns_);
    d.resize(static_cast<std::size_t>(ld));
    std::vector<float> W(Y_.size(), 1.0F);
    for (const std::size_t i : rejected) {
      W[i] = kOutlierScale;
    }
    std::int32_t status = 0;
    VorinComp_s(ng, nf, nf, ld, Y_.data(), T_.data(), kernel, W.data(), wholeNumber("PRLO"),
                wholeNumber("PRHI"), reduction.wanted, reduction.mode, 0.0F, 0, &rows, d.data(),
                K.data(), &status);
  } else {
    K.assign(kernel, kernel + columns_ * Y_.size());
    d = Y_;
  }
  if (reduction.vectors > 0) {
    compress(rows, ng, ld, reduction.capacity, reduction.vectors, K, d);
    ld = reduction.capacity;
  }
  ReducedProblem result{rows, ng, {}, {d.begin(), d.begin() + rows}};
  result.K.reserve(static_cast<std::size_t>(rows) * columns_);
  for (std::size_t column = 0; column < columns_; ++column) {
    const auto start = K.begin() + static_cast<std::ptrdiff_t>(column) * ld;
    result.K.insert(result.K.end(), start, start + rows);
  }
  return result;
}

std::vector<std::size_t> Problem::outliers(double threshold) const {
  const auto nf = static_cast<std::int32_t>(Y_.size());
  const auto ng = static_cast<std::int32_t>(G_.size());
  const std::vector<double> A(K_->begin(), K_->end());
  const std::vector<double> b(Y_.begin(), Y_.end());
  std::vector<double> x(G_.size());
  std::int32_t status = 0;
  plsN_dll(A.data(), nf, ng, b.data(), x.data(), &status);
  const std::vector<double> fit = fitOf(x);
  std::vector<double> off(fit.size());
  std::transform(b.begin(), b.end(), fit.begin(), off.begin(),
                 [](double datum, double fitted) { return std::fabs(datum - fitted); });
  constexpr double kRounding = 1e-6;  // of data of magnitude 1
  const double noise = medianDeviation(off);
  std::vector<std::size_t> found;
  if (!(noise > kRounding)) {
    return found;  // computed data
  }
  const double limit = std::max(threshold * noise, 0.5 * *std::max_element(off.begin(), off.end()));
  for (std::size_t i = 0; i < off.size(); ++i) {
    if (off[i] >= limit) {
      found.push_back(i);
    }
  }
  return found;
}

}  // namespace vorin::toolkit
