#include "toolkit/writing/progress.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace vorin::toolkit {

std::string progressText(const std::string& label, int percent) {
  constexpr int percentAMark = 5;
  const auto marks = static_cast<std::size_t>(std::clamp(percent, 0, 100) / percentAMark);
  return fmt::format("{} [{:.<20}] {:3} %", label, std::string(marks, '#'), percent);
}

ProgressBar::ProgressBar(std::string label, int total)
    : label_(std::move(label)),
      total_(std::max(total, 1)),
      terminal_(::isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
  if (shown_ >= 0) {
    std::fputs("\r\x1b[K", stderr);  // to the start of the line, and clear it
  }
}

void ProgressBar::show(int done) {
  const int percent = static_cast<int>(100LL * done / total_);
  if (terminal_ && percent != shown_) {
    shown_ = percent;
    std::fprintf(stderr, "\r%s", progressText(label_, percent).c_str());
  }
}

}  // namespace vorin::toolkit
