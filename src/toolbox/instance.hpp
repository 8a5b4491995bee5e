// Whose state a call works on. The library's state (parameter block, log, kept work arrays)
// exists once for the process, which is what hosts of the exports share. A thread of the
// toolkit that sets an Instance has all of it to itself meanwhile, so that inversions run
// side by side without a lock.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace vorin {

/// The subsystems that keep state from call to call.
enum class InstancePart : std::size_t {
  parameters,        ///< the parameter block
  log,               ///< the log unit and its file
  driverArrays,      ///< work arrays of the compressed drivers
  compressionArrays  ///< singular vectors of the exported compression
};

/// One set of that state. A subsystem's part is created, as it is when the library is loaded,
/// at its first use. Not safe for two threads at once.
class Instance {
 public:
  template <class State>
  State& part(InstancePart which) {
    std::shared_ptr<void>& slot = parts_[static_cast<std::size_t>(which)];
    if (slot == nullptr) {
      slot = std::make_shared<State>();
    }
    return *static_cast<State*>(slot.get());
  }

  /// Where the log goes in place of the file that the key FLOG names: a path, or none at all
  /// when it is empty. Not set: as FLOG says.
  std::optional<std::string> logFile;

 private:
  static constexpr std::size_t partCount = 4;
  std::array<std::shared_ptr<void>, partCount> parts_;
};

/// The instance that this thread has set; null where it works on the process-wide state.
Instance* currentInstance() noexcept;

/// Lets this thread's calls work on `instance` for as long as the scope lives. Scopes nest.
class InstanceScope {
 public:
  explicit InstanceScope(Instance& instance) noexcept;
  ~InstanceScope();
  InstanceScope(const InstanceScope&) = delete;
  InstanceScope& operator=(const InstanceScope&) = delete;

 private:
  Instance* before_;
};

/// The state of one subsystem: this thread's own where it has set an instance, else the
/// `processWide` one.
template <class State>
State& stateOf(InstancePart part, State& processWide) {
  Instance* const instance = currentInstance();
  return instance == nullptr ? processWide : instance->part<State>(part);
}

}  // namespace vorin
