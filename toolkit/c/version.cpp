#include "toolkit/vorin_toolkit.h"

const char* vorin_toolkit_version(void) noexcept {
  return VORIN_TOOLKIT_BUILD_VERSION;
}
