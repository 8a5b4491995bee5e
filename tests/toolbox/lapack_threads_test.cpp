// LAPACK called by many threads at once. The library's jobs may run on a thread each, and they
// share the one LAPACK that is linked in: its work buffers must not go to two calls at once, and
// each call has to give the bits that it gives alone.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "support/sanitizers.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"

#if defined(VORIN_OPENBLAS)
// Not used by the library, whose Cholesky factor is a kernel of its own; here because a future
// use would rest on it.
extern "C" void dpotrf_(const char* uplo, const int* n, double* a, const int* lda, int* info,
                        std::size_t uploLength);
#endif

namespace {

constexpr int threadCount = 16;
// A sanitizer takes ten times as long, and what it sees it sees at once.
constexpr int roundsPerThread = VORIN_UNDER_ADDRESS_SANITIZER ? 3 : 12;

template <class Real>
using Values = std::vector<Real>;

template <class Real>
Values<Real> randomMatrix(int rows, int columns, unsigned seed) {
  std::mt19937 engine(seed);
  std::uniform_real_distribution<Real> uniform(Real(-1), Real(1));
  Values<Real> values(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
  for (Real& value : values) {
    value = uniform(engine);
  }
  return values;
}

/// B'B + I for a random B: positive definite.
Values<double> definiteMatrix(int n, unsigned seed) {
  const Values<double> B = randomMatrix<double>(n, n, seed);
  Values<double> A(B.size());
  const auto size = static_cast<std::size_t>(n);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t j = 0; j < size; ++j) {
      double sum = i == j ? 1.0 : 0.0;
      for (std::size_t k = 0; k < size; ++k) {
        sum += B[k + i * size] * B[k + j * size];
      }
      A[i + j * size] = sum;
    }
  }
  return A;
}

/// The solution of a random system by getrf and getrs.
template <class Real>
Values<Real> solveByLu(int n, unsigned seed) {
  Values<Real> A = randomMatrix<Real>(n, n, seed);
  Values<Real> b = randomMatrix<Real>(n, 1, seed + 1);
  std::vector<int> pivots(static_cast<std::size_t>(n));
  vorin::getrf(n, A.data(), n, pivots.data());
  vorin::getrs(n, A.data(), n, pivots.data(), b.data());
  return b;
}

/// U, the singular values and V' of a random matrix, one after the other.
Values<float> decompose(int m, int n, unsigned seed) {
  Values<float> all = randomMatrix<float>(m, n, seed);
  Values<float> s(static_cast<std::size_t>(n));
  Values<float> vt(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
  vorin::gesvd(m, n, all.data(), m, s.data(), vt.data(), n);
  all.insert(all.end(), s.begin(), s.end());
  all.insert(all.end(), vt.begin(), vt.end());
  return all;
}

#if defined(VORIN_OPENBLAS)
Values<double> factorByLapack(int n, unsigned seed) {
  Values<double> A = definiteMatrix(n, seed);
  int info = -1;
  dpotrf_("L", &n, A.data(), &n, &info, 1);
  A.push_back(info);
  return A;
}
#endif

/// The pivots of the library's own Cholesky factorisation.
Values<double> factorByKernel(int n, unsigned seed) {
  Values<double> A = definiteMatrix(n, seed);
  Values<double> pivots(static_cast<std::size_t>(n));
  vorin::kernels::table<double>().cholesky(n, n, A.data(), pivots.data());
  return pivots;
}

struct Results {
  std::vector<Values<float>> single;
  std::vector<Values<double>> inDouble;
};

/// Every routine at sizes below and above the ones at which LAPACK goes over to blocks.
Results runAll() {
  Results results;
  unsigned seed = 1;
  for (const int n : {3, 30, 129}) {
    results.single.push_back(solveByLu<float>(n, ++seed));
    results.inDouble.push_back(solveByLu<double>(n, ++seed));
#if defined(VORIN_OPENBLAS)
    results.inDouble.push_back(factorByLapack(n, ++seed));
#endif
    results.inDouble.push_back(factorByKernel(n, ++seed));
  }
  results.single.push_back(decompose(7, 5, ++seed));
  results.single.push_back(decompose(90, 40, ++seed));
  return results;
}

template <class Real>
bool sameBits(const std::vector<Values<Real>>& a, const std::vector<Values<Real>>& b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].size() != b[i].size() ||
        std::memcmp(a[i].data(), b[i].data(), a[i].size() * sizeof(Real)) != 0) {
      return false;
    }
  }
  return true;
}

TEST(LapackThreads, SixteenThreadsAtOnceGiveTheBitsOfOne) {
  const Results alone = runAll();
  // The results are solutions: 0 as the last value of dpotrf_ says that it succeeded.
#if defined(VORIN_OPENBLAS)
  EXPECT_EQ(alone.inDouble[1].back(), 0.0);
#endif
  std::atomic<int> waiting = threadCount;
  std::atomic<int> different = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < threadCount; ++t) {
    threads.emplace_back([&] {
      --waiting;
      while (waiting > 0) {
        std::this_thread::yield();  // so that all begin together
      }
      for (int round = 0; round < roundsPerThread; ++round) {
        const Results now = runAll();
        if (!sameBits(now.single, alone.single) || !sameBits(now.inDouble, alone.inDouble)) {
          ++different;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(different, 0);
}

// Small systems, which take a work buffer and give it back the most often: the serial OpenBLAS's
// own table of buffers fails here some tens of times.
TEST(LapackThreads, ManySmallSystemsAtOnceGiveTheBitsOfOne) {
  constexpr int largest = 32;
  constexpr int threadsAtOnce = 8;
  constexpr int rounds = VORIN_UNDER_ADDRESS_SANITIZER ? 100 : 400;
  std::vector<Values<double>> alone;
  for (int n = 1; n <= largest; ++n) {
    alone.push_back(solveByLu<double>(n, static_cast<unsigned>(n)));
  }
  std::atomic<int> different = 0;
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < threadsAtOnce; ++t) {
      threads.emplace_back([&] {
        for (int round = 0; round < rounds; ++round) {
          for (int n = 1; n <= largest; ++n) {
            const Values<double>& wanted = alone[static_cast<std::size_t>(n) - 1];
            different += solveByLu<double>(n, static_cast<unsigned>(n)) != wanted ? 1 : 0;
          }
        }
      });
    }
  }
  EXPECT_EQ(different, 0);
}

}  // namespace
