// One least-squares problem as the solver sees it: kernel, data, and what its
// solves share. A weight search makes one Problem and solves it many times, so
// conversions are made once and work arrays are allocated once.
#pragma once

#include <memory>

namespace vorin::brd {

template <class Real>
class SharedWork;

/// K (m x n by columns, leading dimension m) and d (m) belong to the caller and
/// must stay as they are while the Problem lives. Sizes below 1 count as empty.
template <class Real>
class Problem {
 public:
  Problem(int m, int n, const Real* K, const Real* d);
  ~Problem();
  Problem(const Problem&) = delete;
  Problem& operator=(const Problem&) = delete;

  int m() const { return m_; }
  int n() const { return n_; }
  const Real* K() const { return K_; }
  const Real* d() const { return d_; }
  SharedWork<Real>& work() { return *work_; }

 private:
  int m_;
  int n_;
  const Real* K_;
  const Real* d_;
  std::unique_ptr<SharedWork<Real>> work_;
};

}  // namespace vorin::brd
