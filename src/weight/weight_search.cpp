#include "weight/weight_search.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "brd/dispatch.hpp"
#include "params/log.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "toolbox/convert.hpp"
#include "toolbox/extremes.hpp"

namespace vorin::weight {
namespace {

constexpr std::size_t messageWidth = 200;
constexpr float riseAfterFailure = 10.0f;
constexpr int touchesAllowed = 2;  // of a limit; one more ends the search

template <class Compose>
void log(std::string_view kind, const Compose& compose, std::string_view tag = "Vorin_TargSE") {
  params::VorinLogLine(tag, kind,
                       [&] { return std::string(params::cutTo(compose(), messageWidth)); });
}

std::string number(float value, int digits) {
  return params::generalField(double(value), 12, digits);
}

std::string count(float value) {
  return params::integerField(truncateToInt(value), 2);
}

// The settings of one search. STOL has no effect and is not read.
struct Settings {
  float tolerance = params::queryReal("WTOL");
  float ratio = params::queryReal("WRAT");
  float fraction = params::queryReal("WFRA");
  float reference = params::queryReal("WREF");
  float wlo = largerOf(params::queryReal("WMIN"), params::queryReal("WNMI") * reference);
  float whi = smallerOf(params::queryReal("WMAX"), params::queryReal("WNMA") * reference);
  std::int32_t level = params::queryInteger("REPO");
};

// The last good solve. Until there is one, its distribution is not defined.
struct SavedSolve {
  bool exists = false;
  bool isDeferred = false;
  float w = 1.0f;
  float signow = 0.0f;
  float iter = 0.0f;
  std::vector<float> f;
};

class Search {
 public:
  Search(brd::Problem<float>& problem, float* f, float* c, float sigwant, float iterationLimit,
         std::int32_t& status)
      : problem_(problem),
        f_(f),
        c_(c),
        status_(status),
        limit_(static_cast<float>(truncateToInt(iterationLimit))),
        target_(static_cast<float>(problem.m()) * sigwant * sigwant) {
    saved_.f.resize(static_cast<std::size_t>(std::max(problem.n(), 0)));
  }

  void begin(float given, float sigwant);
  bool iterate();

  float w() const { return w_; }
  float signow() const { return signow_; }
  float iter() const { return iter_; }

 private:
  float afterGoodSolve();
  float insideLimits(float wnew);
  bool touchedLimitTooOften();
  bool endAfterFailure();
  brd::Reads reads() const;
  void complete();
  void restore();
  float standardError(float rss) const;

  brd::Problem<float>& problem_;
  float* f_;
  float* c_;
  std::int32_t& status_;
  Settings set_;
  float limit_;
  float target_;  // of rss
  float w_ = 0.0f;
  float wwant_ = 0.0f;  // keeps its last value through a failed solve
  float rss_ = 0.0f;
  float rssSlope_ = 0.0f;
  float signow_ = 0.0f;
  float iter_ = 0.0f;
  int loHits_ = 0;
  int hiHits_ = 0;
  bool touched_ = false;     // a limit, in this iteration
  bool isDeferred_ = false;  // f_ has the mask of the distribution at w_
  SavedSolve saved_;
};

// Clamps the start to its limits; a start on a limit counts as a touch.
void Search::begin(float given, float sigwant) {
  w_ = smallerOf(set_.whi, largerOf(set_.wlo, given));
  if (set_.level > 3) {
    log(
        "Comment",
        [&] {
          return "dwei=" + params::fixedField(double(given), 8, 4) + " =>" +
                 params::fixedField(double(w_), 8, 4);
        },
        "VorinCalcSE");
  }
  log("Comment", [] { return std::string(44, '-'); });
  log("Comment", [&] {
    return "Begin: Iter from w= " + number(w_, 4) + " to get sigwant = " + number(sigwant, 4);
  });
  status_ = searchConverged;
  if (w_ <= set_.wlo) {
    w_ = set_.wlo;
    loHits_ = 1;
  }
  if (w_ >= set_.whi) {
    w_ = set_.whi;
    hiHits_ = 1;
  }
}

// One solve and what follows from it. True when the search has ended; w, signow, iter
// and the distribution then stand as they are to be returned.
bool Search::iterate() {
  iter_ += 1.0f;
  isDeferred_ = brd::vrBRD_s(problem_, f_, c_, w_, rss_, rssSlope_, status_, reads());
  signow_ = standardError(rss_);
  const float wnew = insideLimits(status_ == 0 ? afterGoodSolve() : riseAfterFailure * w_);
  const float conv = (rss_ - target_) / rss_;
  log("I", [&] {
    return "iw=" + count(iter_) + " w=" + number(w_, 5) + " wwant=" + number(wwant_, 5) +
           " wnew=" + number(wnew, 5) + " signow=" + number(signow_, 5) +
           " conv=" + number(conv, 5);
  });
  if (touchedLimitTooOften()) {
    complete();
    return true;
  }
  if (status_ == 1 || status_ == 2) {
    return endAfterFailure();
  }
  if (set_.tolerance > std::abs(conv)) {
    log("I", [&] { return "Weight iteration succesful after " + count(iter_) + "iterations"; });
    status_ = searchConverged;
    complete();
    return true;
  }
  if (iter_ > limit_) {
    log("E", [&] { return "Weight iterations " + count(iter_) + " exceeded"; });
    restore();
    status_ = searchExhausted;
    return true;
  }
  w_ = wnew;
  return false;
}

// Saves the solve and returns Newton's next weight, within the ratio. A NaN of
// wwant passes, since it is the second operand of each comparison.
float Search::afterGoodSolve() {
  saved_.exists = true;
  saved_.isDeferred = isDeferred_;
  saved_.w = w_;
  saved_.signow = signow_;
  saved_.iter = iter_;
  std::copy_n(f_, saved_.f.size(), saved_.f.begin());
  wwant_ = w_ - ((rss_ - target_) * set_.fraction) / rssSlope_;
  return smallerOf(w_ * set_.ratio, largerOf(w_ / set_.ratio, wwant_));
}

float Search::insideLimits(float wnew) {
  touched_ = false;
  if (wnew <= set_.wlo) {
    ++loHits_;
    touched_ = true;
    wnew = set_.wlo;
  }
  if (wnew >= set_.whi) {
    ++hiHits_;
    touched_ = true;
    wnew = set_.whi;
  }
  return wnew;
}

// Precedes the test of convergence: the third touch is a failure even when this
// very solve has reached the target.
bool Search::touchedLimitTooOften() {
  if (loHits_ > touchesAllowed) {
    status_ = searchLowerLimit;
    log("E", [&] { return "Wmin " + number(set_.wlo, 4) + " is hit"; });
    return true;
  }
  if (hiHits_ > touchesAllowed) {
    status_ = searchUpperLimit;
    log("E", [&] { return "Wmax " + number(set_.whi, 4) + " is hit"; });
    return true;
  }
  return false;
}

// Only the solve that is returned needs its distribution. Where a failure of the solve at hand ends
// the search with the last good solve, its numbers are not used: no limit is touched, and there is
// no log.
brd::Reads Search::reads() const {
  const float risen = riseAfterFailure * w_;
  const bool isDiscarded =
      saved_.exists && risen > set_.wlo && risen < set_.whi && !params::logIsOpen();
  return {isDiscarded ? brd::Failure::discarded : brd::Failure::reported, brd::Success::deferred};
}

float Search::standardError(float rss) const {
  return std::sqrt(rss / static_cast<float>(problem_.m()));
}

// After a good solve a failure ends the search with that solve. Before one the weight
// rises and the search goes on, past the iteration limit if need be.
bool Search::endAfterFailure() {
  log("W", [] { return "BRD Iterations exceeeded"; });
  status_ = searchSolverFailed;
  if (saved_.exists) {
    restore();
    iter_ = saved_.iter;
    return true;
  }
  // Required: not limited from above. The touches of the limit that the solves count
  // are what ends a run of failures.
  const float risen = riseAfterFailure * w_;
  // Only with a limit that is not a number, or a weight of zero above a negative one,
  // can a weight that rises no more touch no limit. Counting it as a touch from above
  // ensures termination.
  if (!touched_ && (!std::isfinite(risen) || risen == w_)) {
    ++hiHits_;
  }
  w_ = risen;
  return false;
}

void Search::restore() {
  // Without a good solve there is no distribution to go back to, and f stays.
  if (saved_.exists) {
    std::copy(saved_.f.begin(), saved_.f.end(), f_);
    isDeferred_ = saved_.isDeferred;
  }
  w_ = saved_.w;
  signow_ = saved_.signow;
  complete();
}

// Makes the distribution of a solve that is returned.
void Search::complete() {
  if (isDeferred_) {
    signow_ = standardError(brd::completeSolve(problem_, f_, w_));
    isDeferred_ = false;
  }
}

}  // namespace

void Vorin_TargSE(brd::Problem<float>& problem, float* f, float* c, float& w, float sigwant,
                  float iterationLimit, float& signow, float& iter, std::int32_t& status) {
  Search search(problem, f, c, sigwant, iterationLimit, status);
  search.begin(w, sigwant);
  while (!search.iterate()) {
  }
  w = search.w();
  signow = search.signow();
  iter = search.iter();
}

}  // namespace vorin::weight
