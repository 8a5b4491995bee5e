// What every function of the C boundary shares: no exception leaves, a sentence for what is
// wrong, arguments looked at before they are used.
#pragma once

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "toolbox/default_arithmetic.hpp"
#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/refused_memory.hpp"
#include "toolkit/user_error.hpp"
#include "toolkit/vorin_toolkit.h"

namespace vorin::toolkit::c {

inline constexpr double unknownValue = std::numeric_limits<double>::quiet_NaN();

/// A result has no such field.
class NoField : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Copies `text` into a buffer of `size` bytes, cut between characters of UTF-8 at its end.
inline void copyText(std::string_view text, char* buffer, std::int64_t size) noexcept {
  if (buffer == nullptr || size < 1) {
    return;
  }
  std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  constexpr unsigned leadMask = 0xC0U;
  constexpr unsigned following = 0x80U;
  while (length > 0 && length < text.size() &&
         (static_cast<unsigned char>(text[length]) & leadMask) == following) {
    --length;
  }
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

/// Runs `body` in the default floating-point environment, which threads that it starts inherit,
/// and turns what it throws into a status and a sentence.
template <class Body>
std::int32_t guarded(char* message, std::int64_t size, Body body) noexcept {
  const DefaultArithmetic arithmetic;
  copyText("", message, size);
  try {
    body();
    return VORIN_TOOLKIT_OK;
  } catch (const RefusedMemory& error) {
    copyText(error.what(), message, size);
    return VORIN_TOOLKIT_NO_MEMORY;
  } catch (const UserError& error) {
    try {
      copyText(inSettingNames(error.what()), message, size);
    } catch (...) {
      copyText(error.what(), message, size);
    }
    return VORIN_TOOLKIT_BAD_INPUT;
  } catch (const NoField& error) {
    copyText(error.what(), message, size);
    return VORIN_TOOLKIT_NO_FIELD;
  } catch (const Cancelled&) {
    copyText("the job was cancelled", message, size);
    return VORIN_TOOLKIT_CANCELLED;
  } catch (const std::bad_alloc&) {
    copyText("the system has refused memory; give fewer samples or grid values", message, size);
    return VORIN_TOOLKIT_NO_MEMORY;
  } catch (const std::length_error&) {
    copyText("more memory is asked for than there can be; give fewer samples or grid values",
             message, size);
    return VORIN_TOOLKIT_NO_MEMORY;
  } catch (const std::exception& error) {
    copyText(error.what(), message, size);
    return VORIN_TOOLKIT_INTERNAL;
  } catch (...) {
    copyText("an unknown fault", message, size);
    return VORIN_TOOLKIT_INTERNAL;
  }
}

/// Throws UserError, which names the argument, for a null address.
template <class Pointer>
void requireAddress(Pointer address, std::string_view name) {
  if (address == nullptr) {
    throw UserError(fmt::format("{} is null; an address is required", name));
  }
}

/// As guarded(), for a function that makes a handle at `handle`, which `body` returns.
template <class Handle, class Body>
std::int32_t making(Handle** handle, char* message, std::int64_t size, Body body) noexcept {
  return guarded(message, size, [&] {
    requireAddress(handle, "the address for the handle");
    *handle = nullptr;
    *handle = body().release();
  });
}

/// The `count` finite numbers at `values`. Throws UserError, which names the argument, for a
/// null address, a count below `fewest` and a number that is not finite, the first `unchecked`
/// aside.
inline std::vector<double> numbersAt(const double* values, std::int64_t count, std::int64_t fewest,
                                     std::string_view name, std::size_t unchecked = 0) {
  requireAddress(values, name);
  if (count < fewest) {
    throw UserError(fmt::format("{} has {} element{}; {} or more are required", name, count,
                                count == 1 ? "" : "s", fewest));
  }
  std::vector<double> result(values, values + count);
  for (std::size_t i = unchecked; i < result.size(); ++i) {
    if (!std::isfinite(result[i])) {
      throw UserError(
          fmt::format("{}[{}] is not a finite number; leave out what has no value", name, i));
    }
  }
  return result;
}

}  // namespace vorin::toolkit::c
