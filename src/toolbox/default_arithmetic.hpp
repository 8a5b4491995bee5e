// The floating-point environment in which the library computes: rounding to nearest, subnormal
// numbers kept, no traps. A host may have set another one for its own computations.
#pragma once

#include <cfenv>
#include <cstdint>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace vorin {

/// Sets the default environment for as long as it lives, then the one before, its flags included.
/// Where that is the default one, which is told in a few nanoseconds, it has nothing to do.
class DefaultArithmetic {
 public:
  DefaultArithmetic() noexcept : isNeeded_(isOther()) {
    if (isNeeded_) {
      std::fegetenv(&before_);
      std::fesetenv(FE_DFL_ENV);
    }
  }
  ~DefaultArithmetic() {
    if (isNeeded_) {
      std::fesetenv(&before_);
    }
  }
  DefaultArithmetic(const DefaultArithmetic&) = delete;
  DefaultArithmetic& operator=(const DefaultArithmetic&) = delete;

 private:
  static bool isOther() noexcept {
#if defined(__x86_64__)
    // Both units count: OpenBLAS computes norms in the older one.
    constexpr unsigned flags = 0x3f;
    constexpr unsigned atStart = 0x1f80;
    constexpr std::uint16_t olderAtStart = 0x37f;
    std::uint16_t older = 0;
    __asm__ volatile("fnstcw %0" : "=m"(older));
    return (_mm_getcsr() & ~flags) != atStart || older != olderAtStart;
#else
    return true;
#endif
  }

  bool isNeeded_;
  std::fenv_t before_{};
};

}  // namespace vorin
