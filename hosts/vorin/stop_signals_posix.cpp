// The signals on POSIX systems.
#include <array>
#include <csignal>

#include "stop_signals.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::array<int, 3> stopSignals{SIGINT, SIGTERM, SIGHUP};

}  // namespace

void catchStops(StopHandler handler) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(SA_RESETHAND | static_cast<unsigned>(SA_RESTART));
  for (int signal : stopSignals) {
    struct sigaction before = {};
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) {
      ::sigaction(signal, &action, nullptr);
    }
  }
}

void releaseStops(StopHandler handler) {
  for (int signal : stopSignals) {
    struct sigaction before = {};
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler == handler) {
      std::signal(signal, SIG_DFL);
    }
  }
}

}  // namespace vorin::toolkit
