// The thread's present instance.
#include "toolbox/instance.hpp"

namespace vorin {
namespace {

thread_local constinit Instance* current = nullptr;

}  // namespace

Instance* currentInstance() noexcept {
  return current;
}

InstanceScope::InstanceScope(Instance& instance) noexcept : before_(current) {
  current = &instance;
}

InstanceScope::~InstanceScope() {
  current = before_;
}

}  // namespace vorin
