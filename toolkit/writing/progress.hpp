// A bar on the terminal for work that takes a while.
#pragma once

#include <chrono>
#include <string>

namespace vorin::toolkit {

/// Draws on stderr while it is a terminal, and nothing elsewhere. The line is gone when
/// the bar is.
class ProgressBar {
 public:
  /// `before` of the `total` were done before the time is taken.
  ProgressBar(std::string label, int total, int before = 0);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  /// `done` of the total.
  void show(int done);

  /// Clears the line, so that others can be written; the next show() draws it again.
  void clear();

 private:
  std::string label_;
  int total_;
  int before_;
  bool terminal_;
  std::chrono::steady_clock::time_point start_;
  std::string shown_;  ///< on the screen
};

/// The bar's text: "label [#####.....]  50 %, 0:42 left"; without the time where `secondsLeft` is
/// below 0, which is not known.
std::string progressText(const std::string& label, int percent, double secondsLeft = -1.0);

/// The seconds that are left when `done` of `total`, `before` of them before the start, took
/// `seconds`: what each of the others will take if they take as long. Below 0 where none is done.
double secondsLeft(int done, int total, int before, double seconds);

}  // namespace vorin::toolkit
