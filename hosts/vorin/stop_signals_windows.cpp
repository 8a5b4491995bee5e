// The signals on Windows, of which a handler takes one before it has to be set again.
#include <array>
#include <csignal>

#include "stop_signals.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::array<int, 3> stopSignals{SIGINT, SIGTERM, SIGBREAK};

}  // namespace

void catchStops(StopHandler handler) {
  for (int signal : stopSignals) {
    if (std::signal(signal, handler) == SIG_IGN) {
      std::signal(signal, SIG_IGN);
    }
  }
}

void releaseStops(StopHandler handler) {
  for (int signal : stopSignals) {
    const StopHandler before = std::signal(signal, SIG_DFL);
    if (before != handler) {
      std::signal(signal, before);
    }
  }
}

}  // namespace vorin::toolkit
