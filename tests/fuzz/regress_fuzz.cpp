// The regression fits, the noise from differences and the search for outliers.
#include <vorin.h>

#include <algorithm>

#include "bytes.hpp"

namespace {

using vorin::fuzz::area;
using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;
using vorin::fuzz::room;

void fits(Bytes& bytes, std::uint8_t which) {
  const int m = bytes.size(48);
  const int n = bytes.size(24);
  Exact<double> A(area(m, n)), b(room(m)), x(room(n));
  bytes.fill(A);
  bytes.fill(b);
  bytes.fill(x);
  const int order = bytes.byte() < 230 ? bytes.within(-2, 30) : -bytes.within(1, 30000);
  Exact<double> lambda(room(order) + (order < 0 ? 0 : 1));
  bytes.fill(lambda);
  std::int32_t status = -77;
  switch (which) {
    case 0:
      plsN_dll(A.data(), m, n, b.data(), x.data(), &status);
      break;
    case 1:
      plsB_dll(A.data(), m, n, b.data(), x.data(), bytes.within(-2, 1000), &status);
      break;
    case 2:
      plsReg_DLL(A.data(), m, n, b.data(), x.data(), lambda.data(), order, &status);
      break;
    default:
      LUReg_DLL(A.data(), m, n, b.data(), x.data(), lambda.data(), order, &status);
      break;
  }
  vorin::fuzz::require(status >= 0 && status <= 4);
}

void outliers(Bytes& bytes) {
  const std::int32_t m = bytes.size(48);
  const std::int32_t n = bytes.size(24);
  const std::int32_t lda = std::max(m, 0) + bytes.byte() % 4;
  const float threshold = bytes.single();
  const float ridge = bytes.single();
  Exact<float> K(area(lda, n)), y(room(m)), W(room(m)), x(room(n)), flags(room(m));
  bytes.fill(K);
  bytes.fill(y);
  bytes.fill(W);
  std::int32_t good = -77;
  std::int32_t bad = -77;
  std::int32_t status = -77;
  VorinSEROL(&threshold, &ridge, &lda, &m, &n, K.data(), y.data(), W.data(), x.data(), flags.data(),
             &good, &bad, nullptr, &status);
  vorin::fuzz::require(m < 0 || good + bad == m);
}

void differences(Bytes& bytes) {
  const int count = bytes.size();
  Exact<float> x(room(count));
  bytes.fill(x);
  const int order = bytes.byte() < 230 ? bytes.within(1, 4) : bytes.integer();
  const float deviation = VorinSEDiff(order, count, x.data());
  vorin::fuzz::require(!(deviation < 0.0F));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  const std::uint8_t which = bytes.byte() % 6;
  if (which < 4) {
    fits(bytes, which);
  } else if (which == 4) {
    outliers(bytes);
  } else {
    differences(bytes);
  }
  return 0;
}
