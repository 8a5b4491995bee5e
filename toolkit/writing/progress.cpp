#include "toolkit/writing/progress.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "toolkit/system/console.hpp"

namespace vorin::toolkit {

std::string progressText(const std::string& label, int percent, double secondsLeft) {
  constexpr int percentAMark = 5;
  constexpr long secondsAMinute = 60;
  const auto marks = static_cast<std::size_t>(std::clamp(percent, 0, 100) / percentAMark);
  std::string text = fmt::format("{} [{:.<20}] {:3} %", label, std::string(marks, '#'), percent);
  if (secondsLeft >= 0.0) {
    const long seconds = std::lround(std::min(secondsLeft, 1e9));
    const long minutes = seconds / secondsAMinute;
    text += minutes < secondsAMinute
                ? fmt::format(", {}:{:02} left", minutes, seconds % secondsAMinute)
                : fmt::format(", {}:{:02}:{:02} left", minutes / secondsAMinute,
                              minutes % secondsAMinute, seconds % secondsAMinute);
  }
  return text;
}

double secondsLeft(int done, int total, int before, double seconds) {
  return done > before ? seconds / (done - before) * (total - done) : -1.0;
}

ProgressBar::ProgressBar(std::string label, int total, int before)
    : label_(std::move(label)),
      total_(std::max(total, 1)),
      before_(before),
      terminal_(errorsAreOnTerminal()),
      start_(std::chrono::steady_clock::now()) {}

ProgressBar::~ProgressBar() {
  clear();
}

void ProgressBar::clear() {
  if (!shown_.empty()) {
    std::fputs("\r\x1b[K", stderr);  // to the start of the line, and clear it
    shown_.clear();
  }
}

void ProgressBar::show(int done) {
  if (!terminal_) {
    return;
  }
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_;
  std::string text = progressText(label_, static_cast<int>(100LL * done / total_),
                                  secondsLeft(done, total_, before_, taken.count()));
  if (text != shown_) {
    std::fprintf(stderr, "\r%s\x1b[K", text.c_str());
    shown_ = std::move(text);
  }
}

}  // namespace vorin::toolkit
