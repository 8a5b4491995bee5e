// The compressions: any shapes with the leading dimensions their comments ask for, any
// thresholds, requested rows, modes and scratch lengths.
#include <vorin.h>

#include <algorithm>

#include "bytes.hpp"

namespace {

using vorin::fuzz::area;
using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;
using vorin::fuzz::room;

struct Shape {
  explicit Shape(Bytes& bytes)
      : m(bytes.size(48)),
        n(bytes.size(24)),
        ldK(std::max(m, 0) + bytes.byte() % 4),
        ldC(std::max(n, 0) + bytes.byte() % 4),
        SVDN(bytes.byte() < 230 ? bytes.within(-2, 30) : bytes.integer()),
        SVDT(bytes.single()) {}

  std::int32_t m, n, ldK, ldC, SVDN;
  float SVDT;
};

void withFactorsInside(Bytes& bytes, const Shape& s) {
  Exact<float> K(area(s.ldK, s.n)), d(room(s.m)), Kc(area(s.ldC, s.n)), dc(room(s.n));
  Exact<float> V(area(s.ldC, s.n)), S(room(s.n));
  bytes.fill(K);
  bytes.fill(d);
  std::int32_t count = -77;
  std::int32_t status = -77;
  if (bytes.byte() % 2 == 0) {
    VorinCompSVD_s(s.m, s.n, s.ldK, s.ldC, K.data(), d.data(), s.SVDT, s.SVDN, &count, Kc.data(),
                   dc.data(), &status);
    vorin::fuzz::require(status != VORIN_COMP_OK || (count >= 1 && count <= std::max(s.n, 1)));
  } else {
    VorinCompSVD2_s(s.m, s.n, s.ldK, s.ldC, K.data(), d.data(), s.SVDT, s.SVDN, &count, Kc.data(),
                    dc.data(), V.data(), S.data(), &status);
  }
  vorin::fuzz::require(status == (s.SVDN > s.ldC ? VORIN_COMP_ROWS_ABOVE_CAPACITY : VORIN_COMP_OK));
}

void withFactorsOutside(Bytes& bytes, const Shape& s) {
  const std::int32_t mode = bytes.byte() < 200 ? 1 : bytes.within(-1, 3);
  Exact<float> K(area(s.ldK, s.n)), d(room(s.m)), Kc(area(s.ldC, s.n)), dc(room(s.n));
  bytes.fill(K);
  bytes.fill(d);
  const std::size_t needed = room(s.n) + area(s.n, s.n) + area(s.m, s.n);
  const auto length = static_cast<std::int32_t>(needed) + bytes.within(-3, 3);
  Exact<float> scratch(room(length));
  Exact<float> U(area(s.m, s.n)), VT(area(s.n, s.n)), S(room(s.n));
  bytes.fill(scratch);
  bytes.fill(U);
  bytes.fill(VT);
  bytes.fill(S);
  std::int32_t count = -77;
  std::int32_t status = 0;
  if (bytes.byte() % 2 == 0) {
    VorinCompSVD3_s(&mode, &length, &s.m, &s.n, &s.ldK, &s.ldC, K.data(), d.data(), &s.SVDT,
                    &s.SVDN, &count, Kc.data(), dc.data(), scratch.data(), &status);
  } else {
    VorinCompSVD3z_s(&mode, &s.m, &s.n, &s.ldK, &s.ldC, K.data(), d.data(), &s.SVDT, &s.SVDN,
                     &count, Kc.data(), dc.data(), U.data(), VT.data(), S.data(), &status);
  }
}

void withPruning(Bytes& bytes, const Shape& s) {
  Exact<float> K(area(s.ldK, s.n)), Y(room(s.m)), T(room(s.ldK)), W(room(s.m));
  const std::int32_t capacity = std::max({s.n, s.ldC, 1}) + bytes.byte() % 8;
  Exact<float> Yout(room(capacity)), Kout(area(capacity, s.n));
  bytes.fill(K);
  bytes.fill(Y);
  bytes.rising(T);
  bytes.fill(W);
  const int first = bytes.within(-2, 70);
  const int want = bytes.byte() < 230 ? bytes.within(-2, 60) : bytes.integer();
  const int mode = bytes.within(-1, 4);
  std::int32_t count = -77;
  std::int32_t status = -77;
  VorinComp_s(s.n, s.m, s.ldK, capacity, Y.data(), T.data(), K.data(), W.data(), first, 0, want,
              mode, s.SVDT, s.SVDN, &count, Yout.data(), Kout.data(), &status);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  const std::uint8_t which = bytes.byte() % 3;
  const Shape shape(bytes);
  if (which == 0) {
    withFactorsInside(bytes, shape);
  } else if (which == 1) {
    withFactorsOutside(bytes, shape);
  } else {
    withPruning(bytes, shape);
  }
  return 0;
}
