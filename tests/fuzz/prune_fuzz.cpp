// The three prunings: any shapes, capacities, targets and modes.
#include <vorin.h>

#include <algorithm>

#include "bytes.hpp"

namespace {

using vorin::fuzz::area;
using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;
using vorin::fuzz::room;

/// What all three take.
struct Points {
  explicit Points(Bytes& bytes)
      : count(bytes.size()),
        capacity(std::max(count, 0) + bytes.byte() % 4),
        maxBins(bytes.size(40)),
        first(bytes.byte() < 230 ? bytes.within(-2, 70) : bytes.integer()),
        last(bytes.integer()),
        target(bytes.byte() < 230 ? bytes.within(-2, 60) : bytes.integer()),
        mode(bytes.byte() < 230 ? bytes.within(-1, 4) : bytes.integer()),
        y(room(count)),
        t(room(capacity)),
        scale(room(count)) {
    bytes.fill(y);
    bytes.rising(t);
    if (bytes.byte() < 20) {
      bytes.fill(t);
    }
    bytes.fill(scale);
  }

  int count, capacity, maxBins, first, last, target, mode;
  Exact<float> y, t, scale;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  const std::uint8_t which = bytes.byte() % 3;
  const Points p(bytes);
  const int columns = bytes.size(16);
  const std::size_t bins = room(p.maxBins);
  Exact<float> k(area(p.capacity, columns)), yPruned(bins), t(bins), norm(bins);
  Exact<float> kPruned(area(p.maxBins, columns)), P(area(p.maxBins, p.capacity));
  bytes.fill(k);
  std::int32_t count = bytes.within(-2, 40);
  count = std::min(count, p.maxBins);
  std::int32_t status = -77;
  if (which == 0) {
    VorinPruneZ(p.count, p.capacity, p.maxBins, p.y.data(), p.t.data(), p.scale.data(), p.first,
                p.last, p.target, p.mode, &count, yPruned.data(), t.data(), norm.data(), P.data(),
                &status);
  } else {
    const auto prune = which == 1 ? VorinPrune : VorinPrune2;
    prune(columns, p.count, p.capacity, p.maxBins, p.y.data(), p.t.data(), k.data(), p.scale.data(),
          p.first, p.last, p.target, p.mode, &count, yPruned.data(), t.data(), kPruned.data(),
          norm.data(), P.data(), &status);
  }
  vorin::fuzz::require(status == 0);
  // A capacity that holds the answer is never left, the empty row of VorinPruneZ included.
  vorin::fuzz::require(count <= std::max(p.maxBins, 1) + 1);
  return 0;
}
