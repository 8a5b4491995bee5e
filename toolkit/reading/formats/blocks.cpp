#include "toolkit/reading/formats/blocks.hpp"

#include <algorithm>
#include <cmath>

namespace vorin::toolkit {

namespace {

using Complex = std::complex<double>;

/// The first right singular vector of the matrix with rows of `length`, by the power method. It
/// starts from the row of the greatest norm, which is never orthogonal to it but by accident.
std::vector<Complex> sharedShape(const std::vector<Complex>& samples, std::size_t length) {
  const std::size_t rows = samples.size() / length;
  std::size_t greatest = 0;
  double most = -1.0;
  for (std::size_t row = 0; row < rows; ++row) {
    double norm = 0.0;
    for (std::size_t k = 0; k < length; ++k) {
      norm += std::norm(samples[row * length + k]);
    }
    if (norm > most) {
      most = norm;
      greatest = row;
    }
  }
  const auto start = samples.begin() + static_cast<std::ptrdiff_t>(greatest * length);
  std::vector<Complex> shape(start, start + static_cast<std::ptrdiff_t>(length));
  constexpr int passes = 50;
  constexpr double steady = 1e-12;
  for (int pass = 0; pass < passes; ++pass) {
    std::vector<Complex> next(length);
    for (std::size_t row = 0; row < rows; ++row) {
      Complex product = 0.0;
      for (std::size_t k = 0; k < length; ++k) {
        product += samples[row * length + k] * std::conj(shape[k]);
      }
      for (std::size_t k = 0; k < length; ++k) {
        next[k] += std::conj(product) * samples[row * length + k];
      }
    }
    double norm = 0.0;
    for (const Complex& point : next) {
      norm += std::norm(point);
    }
    if (!(norm > 0.0) || !std::isfinite(norm)) {
      break;
    }
    double change = 0.0;
    for (std::size_t k = 0; k < length; ++k) {
      next[k] /= std::sqrt(norm);
      change += std::norm(next[k] - shape[k]);
    }
    shape = std::move(next);
    if (change < steady) {
      break;
    }
  }
  return shape;
}

}  // namespace

ColumnNumbers blockAmplitudes(const std::vector<Complex>& samples, std::size_t length) {
  std::vector<Complex> shape = sharedShape(samples, length);
  const Complex peak = *std::max_element(
      shape.begin(), shape.end(),
      [](const Complex& a, const Complex& b) { return std::norm(a) < std::norm(b); });
  double weight = 0.0;
  for (const Complex& point : shape) {
    weight += std::abs(point);
  }
  ColumnNumbers amplitudes;
  for (std::size_t row = 0; row < samples.size() / length; ++row) {
    Complex sum = 0.0;
    for (std::size_t k = 0; k < length; ++k) {
      sum += samples[row * length + k] * std::conj(shape[k]);
    }
    if (weight > 0.0) {
      sum *= peak / std::abs(peak) / weight;
    }
    amplitudes.real.push_back(sum.real());
    amplitudes.imaginary.push_back(sum.imag());
  }
  return amplitudes;
}

}  // namespace vorin::toolkit
