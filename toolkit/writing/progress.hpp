// A bar on the terminal for work that takes a while.
#pragma once

#include <string>

namespace vorin::toolkit {

/// Draws on stderr while it is a terminal, and nothing elsewhere. The line is gone when
/// the bar is.
class ProgressBar {
 public:
  ProgressBar(std::string label, int total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  /// `done` of the total.
  void show(int done);

 private:
  std::string label_;
  int total_;
  bool terminal_;
  int shown_ = -1;  ///< percent on the screen
};

/// The bar's text: "label [#####.....]  50 %".
std::string progressText(const std::string& label, int percent);

}  // namespace vorin::toolkit
