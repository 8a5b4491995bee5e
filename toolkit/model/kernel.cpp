#include "toolkit/model/kernel.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

struct Row {
  Kernel kernel;
  std::string_view name;
  std::string_view formula;
  std::string_view gridShort;
  std::string_view gridName;
  std::string_view gridColumn;
  std::string_view abscissaColumn;
  Quantity abscissa;
  Quantity grid;
};

constexpr std::array<Row, 6> kernelTable{{
    {Kernel::t2, "t2", "exp(-t/T2)", "T2", "relaxation time T2", "t2_s", "time_s", Quantity::time,
     Quantity::time},
    {Kernel::t1Saturation, "t1-saturation", "1 - exp(-t/T1)", "T1", "relaxation time T1", "t1_s",
     "time_s", Quantity::time, Quantity::time},
    {Kernel::t1Inversion, "t1-inversion", "1 - 2 exp(-t/T1)", "T1", "relaxation time T1", "t1_s",
     "time_s", Quantity::time, Quantity::time},
    {Kernel::diffusion, "diffusion", "exp(-b D)", "D", "diffusion coefficient D", "d_m2_s",
     "b_s_m2", Quantity::bValue, Quantity::diffusion},
    {Kernel::t2Epg, "t2-epg", "echoes of T2 by the extended phase graph", "T2",
     "relaxation time T2", "t2_s", "time_s", Quantity::time, Quantity::time},
    {Kernel::matrix, "matrix", "matrix from a file", "the grid", "grid value", "grid", "time_s",
     Quantity::time, Quantity::plain},
}};

const Row& rowOf(Kernel kernel) {
  return kernelTable.at(static_cast<std::size_t>(kernel));
}

}  // namespace

std::span<const Kernel> namedKernels() {
  static constexpr std::array<Kernel, 5> kernels{
      Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion, Kernel::diffusion, Kernel::t2Epg};
  return kernels;
}

std::span<const Kernel> formulaKernels() {
  return namedKernels().first(namedKernels().size() - 1);
}

std::string listOf(std::span<const Kernel> kernels) {
  std::string list;
  for (std::size_t i = 0; i < kernels.size(); ++i) {
    list += i == 0 ? "" : i + 1 < kernels.size() ? ", " : " or ";
    list += kernelName(kernels[i]);
  }
  return list;
}

Kernel parseKernel(std::string_view name, std::string_view option,
                   std::span<const Kernel> kernels) {
  for (const Kernel kernel : kernels) {
    if (equalIgnoringCase(kernelName(kernel), name)) {
      return kernel;
    }
  }
  throw UserError(fmt::format("{} {}: there is no such kernel; write {}", option, inQuotes(name),
                              listOf(kernels)));
}

std::string_view kernelName(Kernel kernel) {
  return rowOf(kernel).name;
}
std::string_view kernelFormula(Kernel kernel) {
  return rowOf(kernel).formula;
}
std::string_view relaxationTimeName(Kernel kernel) {
  return rowOf(kernel).gridShort;
}
std::string_view gridName(Kernel kernel) {
  return rowOf(kernel).gridName;
}
std::string_view gridColumn(Kernel kernel) {
  return rowOf(kernel).gridColumn;
}
std::string_view abscissaColumn(Kernel kernel) {
  return rowOf(kernel).abscissaColumn;
}
Quantity abscissaQuantity(Kernel kernel) {
  return rowOf(kernel).abscissa;
}
Quantity gridQuantity(Kernel kernel) {
  return rowOf(kernel).grid;
}

double kernelValue(Kernel kernel, double t, double T) {
  switch (kernel) {
    case Kernel::t1Saturation:
      // expm1 keeps all places where t is much shorter than T.
      return -std::expm1(-t / T);
    case Kernel::t1Inversion:
      return -2.0 * std::expm1(-t / T) - 1.0;
    case Kernel::diffusion:
      return std::exp(-t * T);
    case Kernel::matrix:
      return 0.0;
    case Kernel::t2:
    case Kernel::t2Epg:
      break;
  }
  return std::exp(-t / T);
}

std::vector<float> kernelMatrix(Kernel kernel, const std::vector<double>& times,
                                const std::vector<double>& relaxationTimes) {
  // A long decay has faded in half of its columns' elements: there exp(-x) is 0 in single
  // precision, and what it is taken from stays as it is.
  constexpr double faded = 105.0;
  const bool recovers = kernel == Kernel::t1Saturation || kernel == Kernel::t1Inversion;
  const float end = recovers ? 1.0F : 0.0F;
  std::vector<float> matrix(times.size() * relaxationTimes.size());
  auto column = matrix.begin();
  for (double T : relaxationTimes) {
    column = std::transform(times.begin(), times.end(), column, [kernel, T, end](double t) {
      const double x = kernel == Kernel::diffusion ? t * T : t / T;
      return x > faded ? end : static_cast<float>(kernelValue(kernel, t, T));
    });
  }
  return matrix;
}

std::vector<double> decayOf(Kernel kernel, const std::vector<double>& times,
                            const std::vector<double>& relaxationTimes,
                            const std::vector<double>& amplitudes, const EchoTrain& train) {
  std::vector<double> decay(times.size(), 0.0);
  if (kernel == Kernel::t2Epg) {
    const std::vector<std::size_t> numbers = echoNumbers(train, times);
    const std::size_t count = *std::max_element(numbers.begin(), numbers.end());
    for (std::size_t k = 0; k < relaxationTimes.size(); ++k) {
      const std::vector<double> echo =
          echoes(train, train.spacing.value_or(times.front()), relaxationTimes[k], count);
      for (std::size_t i = 0; i < times.size(); ++i) {
        decay[i] += amplitudes[k] * echo[numbers[i] - 1];
      }
    }
    return decay;
  }
  for (std::size_t k = 0; k < relaxationTimes.size(); ++k) {
    for (std::size_t i = 0; i < times.size(); ++i) {
      decay[i] += amplitudes[k] * kernelValue(kernel, times[i], relaxationTimes[k]);
    }
  }
  return decay;
}

}  // namespace vorin::toolkit
